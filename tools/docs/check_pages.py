#!/usr/bin/env python3
"""check_pages.py: the tree's Markdown pages: links and their places, pictures that are older than their sources,
spelling; the manual page of the journal; and misspellings in the sources."""
import re
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import pages  # noqa: E402
import pictures  # noqa: E402

ROOT = pages.ROOT
WORDS = ROOT / "docs/words.txt"
FIGURES = "docs/figures.md"


def files(*patterns):
    """Those of the tree that git knows, or would take."""
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", *patterns], cwd=ROOT,
                            check=True, capture_output=True, text=True).stdout.split()
    return [path for path in listed if (ROOT / path).exists()]


def all_markdown():
    return [pages.read(path) for path in files("*.md")]


def link_complaints(site_pages):
    by_path = {page.path: page for page in site_pages}
    for page in site_pages:
        for line, is_picture, _, target, part in pages.links(page):
            path = pages.resolve(page, target)
            where = f"{page.path}:{line}: {target}{'#' + part if part else ''}"
            if path is None:
                continue
            if path.startswith("..") or not (ROOT / path).exists():
                yield f"{where}: there is no such file"
            elif part and path in by_path and part not in [heading.slug for heading in by_path[path].headings]:
                yield f"{where}: there is no such heading"
            elif is_picture and not path.endswith(".svg"):
                yield f"{where}: pictures are drawn from sources, as .svg"


def picture_complaints():
    for source in sorted(pictures.FOLDER.glob("*.dot")):
        if not pictures.is_fresh(source):
            yield f"docs/pictures/{source.name}: not drawn since it changed; ./dev docs draws it"
    for picture in sorted(pictures.FOLDER.glob("*.svg")):
        if not picture.with_suffix(".dot").exists():
            yield f"docs/pictures/{picture.name}: its source is not there"


def spelling_complaints(site_pages):
    """Words of the prose, outside of code and links, that neither the dictionary nor docs/words.txt knows."""
    known = {word.lower() for word in WORDS.read_text().split()}
    for page in site_pages:
        # A page that is made has the names of benchmarks, processors and packages.
        if page.path == FIGURES:
            continue
        prose = pages.LINK.sub(lambda match: match[2], pages.prose(page))
        # Names in prose are left to the compiler, which sees them in code.
        words = set(re.findall(r"(?<![\w./-])[A-Za-z][a-z]+(?:'[a-z]+)?(?![\w/]|\.\w)", prose))
        doubtful = subprocess.run(["aspell", "--lang=en_GB", "list"], input="\n".join(sorted(words)), check=True,
                                  capture_output=True, text=True).stdout.split()
        lines = prose.split("\n")
        for word in sorted(set(doubtful)):
            if word.lower() not in known:
                line = next((number for number, text in enumerate(lines, 1) if word in text), 0)
                yield f"{page.path}:{line}: '{word}' is misspelt, or missing in docs/words.txt"


def source_complaints():
    """Common misspellings in what else the tree holds: comments, messages, scripts. Names and strings are left out."""
    sources = files("*.h", "*.cpp", "*.py", "*.sh", "*.cmake", "*.css", "*.js", "*.1", "*.dot", "*CMakeLists.txt", "dev",
                    "docs/Doxyfile")
    yield from subprocess.run(["codespell", "--quiet-level=3", r"--ignore-regex=\b\w+[A-Z]\w*|\"[^\"]*\"|^\.\w\w\b",
                               "--ignore-words-list=statics", *sources], cwd=ROOT, check=False, capture_output=True,
                              text=True).stdout.splitlines()


def manual_complaints():
    """The journal's manual page: its form, and that it has the options that the program has."""
    path = "examples/journal/journal.1"
    lint = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", path], cwd=ROOT, check=False, capture_output=True,
                          text=True)
    yield from (line.removeprefix("mandoc: ") for line in (lint.stdout + lint.stderr).splitlines())
    items = "".join(re.findall(r"^\.It Fl .*\n", (ROOT / path).read_text(), re.M))
    told = set(re.findall(r"Fl \\-(\w+)", items))
    taken = set(re.findall(r'\{"(\w+)", (?:required|no)_argument', (ROOT / "examples/journal/options.cpp").read_text()))
    for option in sorted(told ^ taken):
        yield f"{path}: --{option} is {'an option that is missing' if option in taken else 'no option'}"


def main():
    site_pages = all_markdown()
    found = list(link_complaints(site_pages)) + list(picture_complaints()) + list(manual_complaints())
    found += list(spelling_complaints(site_pages)) + list(source_complaints())
    for line in found:
        print(line)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
