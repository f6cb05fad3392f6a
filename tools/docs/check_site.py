#!/usr/bin/env python3
"""check_site.py SITE: links that lead nowhere, pages that nothing leads to or that have no way back, and HTML that is
not closed as it was opened."""
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote

EMPTY = {"area", "base", "br", "col", "embed", "hr", "img", "input", "link", "meta", "source", "track", "wbr"}
# What HTML lets stand open.
OPTIONAL = {"p", "li", "td", "tr", "th", "dd", "dt", "tbody", "thead", "option"}
START = "index.html"


class Page(HTMLParser):
    def __init__(self, name):
        super().__init__(convert_charrefs=True)
        self.name, self.ids, self.links, self.open, self.errors = name, set(), [], [], []
        self.has_title, self.has_text = False, False

    def complain(self, text):
        self.errors.append(f"{self.name}:{self.getpos()[0]}: {text}")

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        identifier = attributes.get("id")
        if identifier is not None:
            if identifier in self.ids:
                self.complain(f'id="{identifier}" twice')
            self.ids.add(identifier)
        if tag == "a" and attributes.get("name"):
            self.ids.add(attributes["name"])
        for key in ("href", "src", "data"):
            if attributes.get(key) is not None and tag != "use":
                self.links.append((self.getpos()[0], tag, attributes[key]))
        if tag == "img" and not (attributes.get("alt") or "").strip():
            self.complain("a picture without words")
        if tag == "title":
            self.has_title = True
        if tag not in EMPTY:
            self.open.append(tag)

    def handle_startendtag(self, tag, attrs):
        self.handle_starttag(tag, attrs)
        if tag not in EMPTY:
            self.open.pop()

    def handle_endtag(self, tag):
        if tag in EMPTY:
            return
        if tag not in self.open:
            if tag != "p":
                self.complain(f"</{tag}> closes nothing")
            return
        while self.open[-1] != tag:
            left = self.open.pop()
            if left not in OPTIONAL:
                self.complain(f"<{left}> is not closed before </{tag}>")
        self.open.pop()


def complaints(site):
    pages, out = {}, []
    for path in sorted(site.glob("**/*.html")):
        page = Page(str(path.relative_to(site)))
        page.feed(path.read_text())
        page.close()
        pages[page.name] = page
        out += page.errors
        out += [f"{page.name}: <{tag}> is not closed" for tag in page.open if tag not in OPTIONAL]
        if not page.has_title:
            out.append(f"{page.name}: no title")
    leads_to = {name: set() for name in pages}
    for page in pages.values():
        for line, tag, link in page.links:
            where = f"{page.name}:{line}: {link}"
            if link.startswith(("http:", "https:", "mailto:")):
                if tag != "a":
                    out.append(f"{where}: the page needs a network")
                continue
            if link.startswith(("javascript:", "data:")):
                continue
            target, _, part = link.partition("#")
            target = str(Path(Path(page.name).parent / unquote(target))) if target else page.name
            if target not in pages:
                if not (site / target).exists():
                    out.append(f"{where}: there is no such file")
                continue
            if part and unquote(part) not in pages[target].ids:
                out.append(f"{where}: there is no such place")
            leads_to[page.name].add(target)
    reached, new = set(), [START]
    while new:
        name = new.pop()
        if name in reached:
            continue
        reached.add(name)
        new += leads_to.get(name, ())
    out += [f"{name}: no page leads to it" for name in pages if name not in reached]
    out += [f"{name}: no way back to the start" for name in pages if START not in leads_to[name]]
    return out


if __name__ == "__main__":
    found = complaints(Path(sys.argv[1]))
    print("\n".join(found))
    sys.exit(1 if found else 0)
