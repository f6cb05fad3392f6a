"""What is left to do on the pages that doxygen made: the list of all pages, pictures, and links that it does not see."""
import html
import re
from pathlib import Path

import pages
import pictures

DIRECTORIES = {"kernel": "Results, threads, locks", "basic": "Containers, texts, time", "ecom": "Components",
               "crypto": "Cryptography", "interop": "Standard library"}
TITLE = r"(<title>|<div class=\"title\">)"
# What doxygen writes, and how it shall read.
REPLACEMENTS = [(re.compile(pattern, re.S), replacement) for pattern, replacement in (
    # The text of a class follows at once.
    (r'<p>(?:(?!</p>).)*? \n?<a href="[^"]*#details">More...</a></p>\n', ""),
    (r'(<div class="title">[^<]*?)&lt; (.*?) &gt;', r"\1&lt;\2&gt;"),
    (TITLE + r"([^<]*?) (?:File|Directory|(?:Class|Struct)(?: Template)?) Reference(?= - |<)", r"\1\2"),
    (TITLE + "Class List", r"\1All classes"),
    (TITLE + "File List", r"\1All headers"),
    (r'<td class="memItemLeft"([^>]*>(?:<a id="\w+" name="\w+"></a>)?\s*&#160;</td>)',
     r'<td class="memItemLeft empty"\1'),
    # What a macro does is told in words.
    (r'(#define&#160;</td><td class="memItemRight"[^>]*>(?:<a [^>]*>|<b>)\w+(?:</a>|</b>)\([^()]*\))&#160;.*?</td>',
     r"\1</td>"),
    # For those who skip the head.
    (r'<div class="contents">', '<div class="contents" id="content">'))]


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
    everything = [item("annotated.html", "All classes"), item("files.html", "All headers")]
    out.append(group("Reference", reference_groups + everything))
    overview = [item("examples.html", "Overview")] if "examples" in by_label else []
    for name, label, readme in examples:
        overview += [item(f"{readme.label}.html", readme.title)] if readme else []
        overview.append(item(f"{label}.html", f"{name}: sources" if readme else name))
    out.append(group("Examples", overview))
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


def with_pictures(text, numbers):
    def picture(match):
        numbers.append(match[1])
        svg = pictures.inline(match[1], len(numbers))
        words = re.sub(r"<[^>]+>", "", match[2])
        svg = svg.replace(' role="img"', "", 1).replace("<svg", f'<svg role="img" aria-label="{words}"', 1)
        return f'<figure class="picture-frame">{svg}<figcaption>{match[2]}</figcaption></figure>'

    return re.sub(r"<p>\s*PICTURE\(([^()]+)\)\((.*?)\)\s*</p>|PICTURE\(([^()]+)\)\((.*?)\)",
                  lambda match: picture(match if match[1] else [None, match[3], match[4]]), text, flags=re.S)


def with_links(text, names):
    """doxygen makes links of classes and calls alone."""
    def link(match):
        if match[1] not in names:
            return match[0]
        return f'<code><a class="el" href="{names[match[1]]}">{match[1]}{match[2] or ""}</a></code>'

    return re.sub(r"<code>(\w+)(\(\))?</code>", link, text)


def finish_page(path, page, items, names, numbers):
    """page: the one that it was made of, or None. numbers: the pictures so far."""
    text = path.read_text()
    lists = first_numbers(page) if page else []
    if len(lists) == text.count('<ol type="1">'):
        text = re.sub('<ol type="1">', lambda _: f'<ol start="{lists.pop(0)}">', text)
    text = with_links(with_pictures(text, numbers), names)
    for pattern, replacement in REPLACEMENTS:
        text = pattern.sub(replacement, text)
    if 'id="nested-classes"' not in text:
        text = text.replace('<a href="#nested-classes">Classes</a>', "Classes")
    path.write_text(with_navigation(text, path.name, items))


def remove_unused(site, work_name):
    """Lists of members, which the search finds quicker, and pages about where the pages come from."""
    for pattern in ("*-members.html", "functions*.html", "globals*.html", "namespace*.html", "classes.html", "pages.html",
                    "hierarchy.html"):
        for path in site.glob(pattern):
            path.unlink()
    for path in site.glob("dir_*.html"):
        text = path.read_text()
        if re.search(rf"<title>(build|{work_name})/? ", text) or f">{work_name}</a>" in text:
            path.unlink()


def remove_dead_places(site):
    """Source pages link to declarations that the reference leaves out."""
    places = {path.name: set(re.findall(r'id="([^"]+)"', path.read_text())) for path in site.glob("*.html")}

    def link(match):
        return match[0] if match[2] in places.get(match[1], ()) else f'href="{match[1]}"'

    for path in site.glob("*_source.html"):
        path.write_text(re.sub(r'href="([\w.]+)#(\w+)"', link, path.read_text()))


def shown(pattern, text):
    """The words of what matches in a page."""
    return {html.unescape(re.sub(r"<[^>]+>", "", found)).replace("\xa0", " ")
            for found in re.findall(pattern, text, re.S)}


def lost_code(site, site_pages):
    """What a page shows as code and doxygen did not take for it."""
    out = []
    for page in site_pages:
        text = (site / f"{page.label}.html").read_text()
        kinds = list(pages.lines_with_kind(page.text))
        prose = "\n".join(line if kind == "text" and not line.startswith("#") else "" for kind, line in kinds)
        wanted = {pages.words_of_code(match[2]) for match in pages.CODE_SPAN.finditer(prose)}
        wanted -= shown("<code>(.*?)</code>", text)
        lines = {line.strip() for line in shown('<div class="line">(.*?)</div>', text)}
        wanted |= {line.strip() for kind, line in kinds if kind == "code"} - lines - {""}
        out += [f"{page.path}: `{code}` is not shown as it stands" for code in sorted(wanted)]
    return out
