"""The Markdown pages of the tree: what they are, what they hold, and how doxygen is to read them."""
import html
import re
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
CODE_SPAN = re.compile(r"(?<!`)(`+)(?!`)(.+?)(?<!`)\1(?!`)", re.S)
LINK = re.compile(r"(!?)\[((?:[^\[\]]|\[[^\[\]]*\])*)\]\(([^()\s]+)\)", re.S)
FENCE = re.compile(r"^ *(```+|~~~+) *([\w+.-]*)")
GUIDE = "docs/guide/README.md"


@dataclass
class Heading:
    level: int
    text: str
    slug: str


@dataclass
class Page:
    path: str  # from the root of the tree
    label: str  # its name in the site, without .html
    text: str
    title: str = ""
    headings: list = field(default_factory=list)


def plain(text):
    """The words of a line of Markdown."""
    text = LINK.sub(lambda match: match[2], text)
    return re.sub(r"[`*]", "", text).strip()


def slug_of(text, taken):
    slug = re.sub(r"[^\w\- ]", "", plain(text).lower()).replace(" ", "-")
    number = taken.get(slug, 0)
    taken[slug] = number + 1
    return f"{slug}-{number}" if number else slug


def lines_with_kind(text):
    """Of each line whether it is text, code, or the fence around code."""
    fence, in_list, may_begin, in_code, blank = None, False, True, False, []
    for line in text.split("\n"):
        found = FENCE.match(line)
        if not fence and not line.strip():
            blank.append(line)
            continue
        # Between lines of indented code, empty lines are code as well.
        is_code = line.startswith("    ") and not (fence or found or in_list) and (in_code or may_begin or blank)
        for empty in blank:
            yield ("code" if in_code and is_code else "text"), empty
        may_begin, blank = bool(blank), []
        if fence:
            ends = found and found[1].startswith(fence) and not found[2]
            yield ("fence" if ends else "code"), line
            fence = None if ends else fence
        elif found:
            fence, in_code = found[1][:3], False
            yield "fence", line
        else:
            in_code = bool(is_code)
            if not line.startswith(" "):
                in_list = bool(re.match(r"([-*+]|\d+\.) ", line))
            yield ("code" if is_code else "text"), line
    for empty in blank:
        yield "text", empty


def label_of(path):
    if path == "README.md":
        return "index"
    if path == GUIDE:
        return "guide"
    if path.startswith("docs/guide/"):
        return "guide_" + Path(path).stem.replace("-", "_")
    if path == "docs/figures.md":
        return "figures"
    if path == "examples/README.md":
        return "examples"
    if path.startswith("examples/"):
        return "example_" + Path(path).parent.name
    return {"CHANGELOG.md": "changes"}.get(path, Path(path).stem.lower())


def read(path):
    # A comment is for who writes the page, or for a test of it.
    text = re.sub(r"^<!--.*?-->$", lambda match: "\n" * match[0].count("\n"), (ROOT / path).read_text(),
                  flags=re.M | re.S)
    page = Page(path, label_of(path), text)
    taken = {}
    for kind, line in lines_with_kind(page.text):
        found = re.match(r"(#{1,6}) +(.*)", line) if kind == "text" else None
        if found:
            page.headings.append(Heading(len(found[1]), plain(found[2]), slug_of(found[2], taken)))
    page.title = page.headings[0].text if page.headings else page.path
    return page


def prose(page):
    """The lines outside of code, numbered, code spans blanked."""
    text = "\n".join(line if kind == "text" else "" for kind, line in lines_with_kind(page.text))
    return CODE_SPAN.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), text)


def links(page):
    """Of each link its line, whether it is a picture, its text, its target and the part of the page behind #."""
    text = prose(page)
    for match in LINK.finditer(text):
        target, _, part = match[3].partition("#")
        yield text.count("\n", 0, match.start()) + 1, bool(match[1]), match[2], target, part


def resolve(page, target):
    """The path from the root of the tree that a link of a page leads to; None where it leaves the tree."""
    if re.match(r"[a-z][a-z+.-]*:", target):
        return None
    if not target:
        return page.path
    path = (ROOT / page.path).parent / target
    return str(Path(*path.parts)) if not path.is_absolute() else _relative(path)


def _relative(path):
    import os.path
    return os.path.relpath(os.path.normpath(path), ROOT)


def guide_paths():
    """The pages of the guide, in the order in which its first page names them, then those that it does not name."""
    folder = ROOT / "docs/guide"
    found = sorted(f"docs/guide/{file.name}" for file in folder.glob("*.md"))
    if GUIDE not in found:
        return found
    start, order = read(GUIDE), []
    for _, _, _, target, _ in links(start):
        path = resolve(start, target)
        if path in found and path != GUIDE and path not in order:
            order.append(path)
    return [GUIDE] + order + [path for path in found if path != GUIDE and path not in order]


def all_pages():
    """Every page that the site shows."""
    paths = ["README.md"] + guide_paths()
    others = ("docs/figures.md", "ARCHITECTURE.md", "CHANGELOG.md", "CONTRIBUTING.md", "examples/README.md")
    paths += [path for path in others if (ROOT / path).exists()]
    paths += sorted(str(file.relative_to(ROOT)) for file in (ROOT / "examples").glob("*/README.md"))
    return [read(path) for path in paths]


# For doxygen.

LANGUAGES = {"cpp": ".cpp", "c++": ".cpp", "c": ".cpp", "python": ".py"}


def escape(text):
    """Prose in which doxygen shall see no commands of its own. A word that is a name stays one: it becomes a link."""
    text = re.sub(r"([\\@])(?=\w)", r"\\\1", text)
    text = re.sub(r"%(?=\w)", r"\\%", text)
    return re.sub(r"(?<![\w#(&])#(?=\w)", r"\\#", text)


def code_span(match):
    # Two marks: between single ones an apostrophe would end the code.
    return f"``{words_of_code(match[2])}``"


def words_of_code(text):
    return re.sub(r"\s*\n\s*", " ", text).strip()


def for_doxygen(page, by_path, files, children=()):
    """The page as doxygen reads it. files: what the tree holds besides pages, with its place in the site."""
    out, block, fence = [], [], None
    headings = iter(page.headings)

    def link(match):
        target, _, part = match[3].partition("#")
        path = resolve(page, target)
        if match[1]:
            if not (ROOT / path).exists():
                return match[2]
            return f"PICTURE({path})({match[2]})"
        if path is None:
            return match[0]
        if path in by_path:
            other = by_path[path]
            if other.path in children and not part:
                children.remove(other.path)
                return f"\\subpage {other.label} \"{plain(match[2])}\""
            label = f"{other.label}_{part}" if part and part != other.headings[0].slug else other.label
            return f"[{match[2]}](@ref {label})"
        if path in files:
            return f"[{match[2]}]({files[path]})"
        return match[2]

    def flush():
        if not block:
            return
        text = "\n".join(block)
        block.clear()
        spans = []

        def keep(match):
            spans.append(code_span(match))
            return f"\x01{len(spans) - 1}\x02"

        text = CODE_SPAN.sub(keep, text)
        text = LINK.sub(link, escape(text))
        out.extend(re.sub("\x01(\\d+)\x02", lambda match: spans[int(match[1])], text).split("\n"))

    for kind, line in lines_with_kind(page.text):
        if kind == "text":
            if fence == "indented":
                out.append("~~~")
                out.append("")
                fence = None
            found = re.match(r"(#{1,6}) +(.*)", line)
            if found:
                flush()
                heading = next(headings)
                label = page.label if heading is page.headings[0] else f"{page.label}_{heading.slug}"
                label = "mainpage" if label == "index" else label
                # doxygen shows no code in headings.
                words = re.sub(r"(?=[<>])", r"\\", escape(plain(found[2])))
                out.append(f"{found[1]} {words} {{#{label}}}")
                # A list that is longer than the window helps nobody.
                if heading is page.headings[0] and 4 < len(page.headings) < 30 and page.label != "index":
                    out += ["", "[TOC]", ""]
            else:
                block.append(line)
            continue
        flush()
        found = FENCE.match(line)
        if kind == "fence" and fence is None:
            indent = re.match(" *", line)[0]
            out.append(f"{indent}~~~{{{LANGUAGES.get(found[2], '.unparsed')}}}")
            fence = "fenced"
        elif kind == "fence":
            out.append(re.match(" *", line)[0] + "~~~")
            fence = None
        else:
            if fence is None:
                out.append("~~~{.unparsed}")
                fence = "indented"
            out.append(line[4:] if fence == "indented" else line)
    flush()
    if fence == "indented":
        out.append("~~~")
    return "\n".join(out) + "\n"
