#!/usr/bin/env python3
"""build.py SITE: makes the site from the headers, the pages of the tree and the theme, and fails on what is broken in it.

doxygen turns headers and pages into HTML. What it cannot do comes before (pages.py: Markdown as other programs read it) and
after: the list of all pages at the side, pictures as part of the page, and the data of the search.
"""
import html
import json
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import check_pages  # noqa: E402
import check_site  # noqa: E402
import pages  # noqa: E402
import pictures  # noqa: E402

ROOT = Path(__file__).resolve().parents[2]
THEME = ROOT / "docs/theme"
AWESOME = Path("/usr/share/doxygen-awesome-css/doxygen-awesome.css")
DIRECTORIES = {"kernel": "Results, threads, locks", "basic": "Containers, texts, time", "ecom": "Components",
               "crypto": "Cryptography", "interop": "Standard library"}


def version():
    text = (ROOT / "framework/kernel/framework_version.h").read_text()
    numbers = re.findall(r"^#define QV_FRAMEWORK_VERSION_(?:MAJOR|MINOR|RELEASE) (\d+)$", text, re.M)
    return ".".join(numbers)


# What doxygen reads besides headers.

def example_pages(work, site_pages):
    """A page for each example that shows its sources. Gives what links into examples/ lead to."""
    readmes = {Path(page.path).parent.name: page for page in site_pages if page.label.startswith("example_")}
    files, listed = {}, []
    for folder in sorted(path for path in (ROOT / "examples").iterdir() if path.is_dir()):
        sources = sorted(folder.glob("*.h")) + sorted(folder.glob("*.cpp")) + sorted(folder.glob("CMakeLists.txt"))
        if not sources:
            continue
        label = f"sources_{folder.name}"
        lines = [f"# The sources of {folder.name} {{#{label}}}", ""]
        for source in sources:
            where = str(source.relative_to(ROOT))
            anchor = re.sub(r"\W", "_", where)
            files[where] = f"@ref {anchor}"
            language = ".cpp" if source.suffix in (".h", ".cpp") else ".unparsed"
            lines += [f"## {source.name} {{#{anchor}}}", "", f"~~~{{{language}}}", source.read_text().rstrip(), "~~~", ""]
        (work / f"{label}.md").write_text("\n".join(lines))
        files[f"examples/{folder.name}"] = f"@ref {label}"
        listed.append((folder.name, label, readmes.get(folder.name)))
    return files, listed


def prepare(work):
    """Writes the pages as doxygen reads them; gives the pages and the examples."""
    site_pages = pages.all_pages()
    by_path = {page.path: page for page in site_pages}
    files, examples = example_pages(work, site_pages)
    for header in (ROOT / "framework").glob("**/*.h"):
        if "internal" not in header.parts:
            where = str(header.relative_to(ROOT))
            files[where] = f"@ref {where}"
    children = [page.path for page in site_pages if page.label.startswith("guide_")]
    for page in site_pages:
        own = children if page.label == "guide" else ()
        (work / f"{page.label}.md").write_text(pages.for_doxygen(page, by_path, files, own))
    return site_pages, examples


def run_doxygen(work, site):
    (work / "header.html").write_text((THEME / "header.html").read_text())
    dark = re.search(r"html\.dark-mode \{(.*?)\n\}", AWESOME.read_text(), re.S)[1]
    dark += """
    --primary-color: #6db3f2; --page-background-color: #16181b; --side-nav-background: #1b1e22; --code-background: #262a30;
    --fragment-background: #1e2227; --page-secondary-foreground-color: #9aa8b4; --fragment-comment: #98a4af;
    --picture-line: #8fb4d9; --picture-text: #dbe6f0; --picture-group: #1d2126; --picture-soft: #55687a;
    --picture-soft-text: #93a5b5; --picture-fill: #24384b; --picture-strong: #2f5680; --picture-accent: #1f4430; --picture-accent-line: #63c08a;
    --picture-warn: #4a2a18; --picture-warn-line: #e9975f;
"""
    dark = f"html.dark-mode {{{dark}}}\n@media (prefers-color-scheme: dark) {{ html:not(.light-mode) {{{dark}}} }}"
    picture = (THEME / "picture.css").read_text()
    picture = picture[:picture.index("@media")]
    (work / "site.css").write_text((THEME / "site.css").read_text().replace("/*DARK*/", dark) + picture)
    settings = (ROOT / "docs/Doxyfile").read_text() + f"""
PROJECT_NUMBER = {version()}
INPUT += {work}
FILE_PATTERNS += *.md
EXCLUDE_SYMBOLS += std
OUTPUT_DIRECTORY = {work}
GENERATE_HTML = YES
HTML_OUTPUT = {site}
GENERATE_XML = YES
XML_OUTPUT = xml
HTML_HEADER = {work}/header.html
HTML_FOOTER = {THEME}/footer.html
HTML_EXTRA_STYLESHEET = {AWESOME} {work}/site.css
HTML_EXTRA_FILES = {THEME}/site.js
HTML_COLORSTYLE_SAT = 0
LAYOUT_FILE = {THEME}/DoxygenLayout.xml
DISABLE_INDEX = YES
GENERATE_TREEVIEW = NO
SEARCHENGINE = NO
HTML_DYNAMIC_SECTIONS = NO
SOURCE_BROWSER = NO
VERBATIM_HEADERS = YES
TOC_INCLUDE_HEADINGS = 3
"""
    # From here doxygen sees the prepared pages without the directories above them.
    done = subprocess.run(["doxygen", "-"], input=settings, cwd=ROOT, text=True, capture_output=True, check=False)
    warnings = sorted(set(done.stderr.splitlines()))
    if done.returncode != 0:
        sys.exit("\n".join(warnings) + "\ndoxygen failed")
    return [line for line in warnings if line.strip()]


# What the reference holds.

def text_of(node):
    return re.sub(r"\s+", " ", "".join(node.itertext())).strip() if node is not None else ""


def reference(work):
    """The compounds and members of the reference: [name, where, kind, address, text], header, whether it is nested."""
    kinds = {"class": "class", "struct": "class", "union": "class", "function": "function", "define": "macro",
             "typedef": "type", "enum": "type", "variable": "constant"}
    seen = set()
    for entry in ElementTree.parse(work / "xml/index.xml").getroot().findall("compound"):
        kind = entry.get("kind")
        if kind not in ("class", "struct", "union", "file", "namespace"):
            continue
        compound = ElementTree.parse(work / f"xml/{entry.get('refid')}.xml").getroot().find("compounddef")
        location = compound.find("location")
        header = location.get("file") if location is not None else ""
        name = text_of(compound.find("compoundname"))
        if kind == "file" and not name.endswith(".h"):
            continue
        short = name.rsplit("::", 1)[-1]
        brief = text_of(compound.find("briefdescription"))
        address = f"{entry.get('refid')}.html"
        if kind in ("class", "struct", "union") and compound.get("prot") != "private":
            yield [short, name.rpartition("::")[0], "class", address, brief], header, "::" in name
        elif kind == "file":
            yield [header, "", "header", address, brief], header, False
        for member in compound.iter("memberdef"):
            anchor = member.get("id").rpartition("_1")[2]
            page = member.get("id").rpartition("_1")[0]
            member_name = text_of(member.find("name"))
            if member.get("prot") == "private" or member_name.lstrip("~") == short or member.get("kind") == "friend":
                continue
            if kind == "file" and page != entry.get("refid"):
                continue
            where = name if kind != "file" else ""
            text = text_of(member.find("briefdescription"))
            item = [member_name, where, kinds.get(member.get("kind"), "type"), f"{address}#{anchor}", text]
            # Overloads are one result: they stand together on the page. One with a text is taken first.
            if (member_name, where) not in seen:
                seen.add((member_name, where))
                yield item, header, True
            for value in member.findall("enumvalue"):
                value_item = [text_of(value.find("name")), where or member_name, "constant",
                              f"{address}#{value.get('id').rpartition('_1')[2]}", text_of(value.find("briefdescription"))]
                yield value_item, header, True


def page_entries(site_pages):
    for page in site_pages:
        heading, words, taken = page.headings[0] if page.headings else None, [], []
        headings = iter(page.headings)
        for kind, line in pages.lines_with_kind(page.text):
            if kind == "text" and re.match(r"#{1,6} ", line):
                if words or taken:
                    yield section(page, heading, words)
                heading, words = next(headings), []
                taken.append(heading)
            elif kind != "fence":
                words.append(pages.plain(line) if kind == "text" else line.strip())
        yield section(page, heading, words)


def section(page, heading, words):
    text = re.sub(r"\s+", " ", re.sub(r"[|]|-{3,}", " ", " ".join(words))).strip()
    first = heading is page.headings[0]
    address = f"{page.label}.html" + ("" if first else f"#{page.label}_{heading.slug}")
    return [heading.text, "" if first else page.title, "page" if first else "section", address, text]


# The list of all pages.

def navigation(site_pages, examples, entries):
    by_label = {page.label: page for page in site_pages}

    def item(address, text):
        # Long names may be broken between their parts.
        words = re.sub(r"(?<=[a-z])(?=[A-Z])", "<wbr>", html.escape(text)) if len(text) > 22 else html.escape(text)
        return f'<li><a href="{address}">{words}</a></li>'

    def group(text, items):
        return f"<li><details><summary>{html.escape(text)}</summary><ul>{''.join(items)}</ul></details></li>"

    out = [item("index.html", "Start")]
    guide = [page for page in site_pages if page.label == "guide" or page.label.startswith("guide_")]
    if guide:
        out.append(group("Guide", [item(f"{page.label}.html", "Overview" if page.label == "guide" else page.title)
                                   for page in guide]))
    reference_groups = []
    for folder, title in DIRECTORIES.items():
        names = {}
        headers = {}
        for entry, header, nested in entries:
            if not header.startswith(f"framework/{folder}/"):
                continue
            if entry[2] == "class" and not nested and not re.search("BremoFw|<", entry[0]):
                names[entry[0]] = entry[3]
            if entry[2] == "header":
                headers[header] = entry[3]
        of_class = {header for entry, header, nested in entries if entry[2] == "class" and not nested}
        links = [item(address, name) for name, address in sorted(names.items(), key=lambda pair: pair[0].lower())]
        links += [item(address, Path(header).name) for header, address in sorted(headers.items())
                  if header not in of_class or header == "framework/interop/standard.h"]
        if links:
            reference_groups.append(group(title, links))
    out.append(group("Reference", reference_groups + [item("annotated.html", "All classes"), item("files.html", "All headers")]))
    overview = [item("examples.html", "Overview")] if "examples" in by_label else []
    out.append(group("Examples", overview + [item(f"{readme.label}.html", readme.title) + item(f"{label}.html", f"{name}: sources")
                                  if readme else item(f"{label}.html", name) for name, label, readme in examples]))
    for label, title in (("figures", "Figures"), ("architecture", "Architecture"), ("changes", "Changes"),
                         ("contributing", "Contributing")):
        if label in by_label:
            out.append(item(f"{label}.html", title))
    return out


def with_navigation(text, name, items):
    """The list of all pages in one page: what leads to this page is open, and it is marked."""
    nav = "".join(items)
    here = f'<a href="{name}">'
    if here in nav:
        place = nav.index(here)
        nav = nav[:place] + f'<a href="{name}" aria-current="page">' + nav[place + len(here):]
        depth = 0
        for match in reversed(list(re.finditer(r"<details>|</details>", nav[:place]))):
            depth += 1 if match[0] == "</details>" else -1
            if depth < 0:
                nav = nav[:match.start()] + "<details open>" + nav[match.end():]
                depth = 0
    return text.replace("<!-- site-nav -->", f'<nav id="site-nav" aria-label="All pages"><ul>{nav}</ul></nav>', 1)


def first_numbers(page):
    """The number at which each numbered list of a page begins."""
    out, last = [], None
    for kind, line in pages.lines_with_kind(page.text):
        found = re.match(r" *(\d+)\. ", line) if kind == "text" else None
        if found:
            if last is None or int(found[1]) != last + 1:
                out.append(int(found[1]))
            last = int(found[1])
        elif line.strip() and not line.startswith(" "):
            last = None
    return out


def finish_page(path, items, numbers, page, names):
    text = path.read_text()
    lists = first_numbers(page) if page else []
    if len(lists) == text.count('<ol type="1">'):
        text = re.sub('<ol type="1">', lambda _: f'<ol start="{lists.pop(0)}">', text)

    def picture(match):
        numbers.append(match[1])
        svg = pictures.inline(match[1], len(numbers))
        words = re.sub(r"<[^>]+>", "", match[2])
        svg = svg.replace(' role="img"', "", 1).replace("<svg", f'<svg role="img" aria-label="{words}"', 1)
        return f'<figure class="picture-frame">{svg}<figcaption>{match[2]}</figcaption></figure>'

    text = re.sub(r"<p>\s*PICTURE\(([^()]+)\)\((.*?)\)\s*</p>", picture, text, flags=re.S)
    text = re.sub(r"PICTURE\(([^()]+)\)\((.*?)\)", picture, text, flags=re.S)
    # doxygen makes links of classes and calls alone.
    text = re.sub(r"<code>(\w+)(\(\))?</code>", lambda match: f'<code><a class="el" href="{names[match[1]]}">{match[1]}{match[2] or ""}'
                  "</a></code>" if match[1] in names else match[0], text)
    # The text of a class follows at once.
    text = re.sub(r"<p>(?:(?!</p>).)*? \n?<a href=\"[^\"]*#details\">More...</a></p>\n", "", text, count=1, flags=re.S)
    text = re.sub(r'(<div class="title">[^<]*?)&lt; (.*?) &gt;', r"\1&lt;\2&gt;", text)
    text = re.sub(r"(<title>|<div class=\"title\">)([^<]*?) (?:File|Directory|Class|Struct|Class Template|Struct Template) "
                  r"Reference(?= - |<)", r"\1\2", text)
    text = re.sub(r"(<title>|<div class=\"title\">)(Class|File) List", lambda match: match[1] + (
        "All classes" if match[2] == "Class" else "All headers"), text)
    text = re.sub(r'<td class="memItemLeft"([^>]*>(?:<a id="\w+" name="\w+"></a>)?\s*&#160;</td>)',
                  r'<td class="memItemLeft empty"\1', text)
    # What a macro does is told in words.
    text = re.sub(r'(#define&#160;</td><td class="memItemRight"[^>]*>(?:<a [^>]*>|<b>)\w+(?:</a>|</b>)\([^()]*\))&#160;.*?</td>',
                  r"\1</td>", text, flags=re.S)
    text = text.replace('<a href="#nested-classes">Classes</a>', "Classes") if 'id="nested-classes"' not in text else text
    text = with_navigation(text, path.name, items)
    # The address of what the page is about, for those who skip the head.
    text = re.sub(r'<div class="contents">', '<div class="contents" id="content">', text, count=1)
    path.write_text(text)


def lost_code(site, site_pages):
    """What a page shows as code and doxygen did not take for it."""
    out = []
    for page in site_pages:
        text = (site / f"{page.label}.html").read_text()
        shown = {html.unescape(re.sub(r"<[^>]+>", "", code)).replace("\xa0", " ")
                 for code in re.findall(r"<code>(.*?)</code>", text, re.S)}
        lines = {html.unescape(re.sub(r"<[^>]+>", "", line)).replace("\xa0", " ").strip()
                 for line in re.findall(r'<div class="line">(.*?)</div>', text)}
        prose = "\n".join(line if kind == "text" and not line.startswith("#") else "" for kind, line in pages.lines_with_kind(page.text))
        wanted = {pages.words_of_code(match[2]) for match in pages.CODE_SPAN.finditer(prose)}
        out += [f"{page.path}: `{code}` is not shown as it stands" for code in sorted(wanted - shown)]
        wanted = {line.strip() for kind, line in pages.lines_with_kind(page.text) if kind == "code"}
        out += [f"{page.path}: the line '{line}' of code is not shown as it stands" for line in sorted(wanted - lines - {""})]
    return out


def main():
    site = Path(sys.argv[1]).resolve()
    work = site.parent / (site.name + "_work")
    for folder in (site, work):
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
    pictures.draw_all()
    site_pages, examples = prepare(work)
    warnings = run_doxygen(work, site)
    entries = list(reference(work))
    items = navigation(site_pages, examples, entries)
    names = {entry[0]: entry[3] for entry, _, _ in entries if not entry[1] and entry[2] not in ("class", "header")}
    numbers, by_name = [], {page.label: page for page in site_pages}
    for path in sorted(site.glob("*.html")):
        finish_page(path, items, numbers, by_name.get(path.stem), names)
    data = [entry for entry, _, _ in entries] + list(page_entries(site_pages))
    (site / "search_data.js").write_text("window.orvelSearchData=" + json.dumps(data, separators=(",", ":")) + ";\n")
    # Lists of members: the search finds them quicker.
    for pattern in ("*-members.html", "functions*.html", "globals*.html", "namespace*.html", "classes.html", "pages.html",
                    "hierarchy.html"):
        for path in site.glob(pattern):
            path.unlink()
    for path in site.glob("dir_*.html"):
        if re.search(rf"<title>(build|{work.name})/? ", path.read_text()) or f">{work.name}</a>" in path.read_text():
            path.unlink()
    # Source pages link to declarations that the reference leaves out.
    places = {path.name: set(re.findall(r'id="([^"]+)"', path.read_text())) for path in site.glob("*.html")}
    for path in site.glob("*_source.html"):
        path.write_text(re.sub(r'href="([\w.]+)#(\w+)"', lambda match: match[0] if match[2] in places.get(match[1], ())
                               else f'href="{match[1]}"', path.read_text()))
    complaints = list(check_pages.link_complaints(check_pages.all_markdown()))
    complaints += [line.replace(f"{work}/", "").replace(f"{ROOT}/", "") for line in warnings]
    complaints += lost_code(site, site_pages) + check_site.complaints(site)
    print(f"{len(list(site.glob('*.html')))} pages, {len(data)} names and sections in the search, {len(numbers)} pictures")
    if complaints:
        sys.exit("\n".join(complaints))


if __name__ == "__main__":
    main()
