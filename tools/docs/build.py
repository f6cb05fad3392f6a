#!/usr/bin/env python3
"""build.py SITE: makes the site of the headers, the pages of the tree and the theme, and fails on what is broken in it.

doxygen turns headers and pages into HTML. What it cannot do comes before (pages.py: Markdown as other programs read it)
and after: the list of all pages, pictures as part of the page (finish.py), and the data of the search (entries.py).
"""
import json
import re
import shutil
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import check_pages  # noqa: E402
import check_site  # noqa: E402
import entries  # noqa: E402
import finish  # noqa: E402
import pages  # noqa: E402
import pictures  # noqa: E402

ROOT = Path(__file__).resolve().parents[2]
THEME = ROOT / "docs/theme"
AWESOME = Path("/usr/share/doxygen-awesome-css/doxygen-awesome.css")

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
            lines += [f"## {source.name} {{#{anchor}}}", ""]
            if source.name == "CMakeLists.txt":
                lines += ["Within the tree. The package has one that stands alone: see @ref examples \"Examples\".", ""]
            lines += [f"~~~{{{language}}}", source.read_text().rstrip(), "~~~", ""]
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
    dark += re.search(r"html\.dark-mode \{(.*?)\}", (THEME / "dark.css").read_text(), re.S)[1]
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
    done = subprocess.run(["doxygen", "-"], input=settings, cwd=ROOT, text=True, capture_output=True, check=False)
    warnings = sorted(set(done.stderr.splitlines()))
    if done.returncode != 0:
        sys.exit("\n".join(warnings) + "\ndoxygen failed")
    return [line for line in warnings if line.strip()]


def main():
    site = Path(sys.argv[1]).resolve()
    work = site.parent / (site.name + "_work")
    for folder in (site, work):
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
    pictures.draw_all()
    site_pages, examples = prepare(work)
    warnings = run_doxygen(work, site)
    found = list(entries.reference(work))
    items = finish.navigation(site_pages, examples, found)
    names = {entry[0]: entry[3] for entry, _, _ in found if not entry[1] and entry[2] not in ("class", "header")}
    by_name = {page.label: page for page in site_pages}
    numbers = []
    for path in sorted(site.glob("*.html")):
        finish.finish_page(path, by_name.get(path.stem), items, names, numbers)
    finish.remove_unused(site, work.name)
    finish.remove_dead_places(site)
    data = [entry for entry, _, _ in found] + list(entries.page_entries(site_pages))
    (site / "search_data.js").write_text("window.orvelSearchData=" + json.dumps(data, separators=(",", ":")) + ";\n")
    complaints = list(check_pages.link_complaints(check_pages.all_markdown()))
    complaints += [line.replace(f"{work}/", "").replace(f"{ROOT}/", "") for line in warnings]
    complaints += finish.lost_code(site, site_pages) + check_site.complaints(site)
    print(f"{len(list(site.glob('*.html')))} pages, {len(data)} names and sections to be found, {len(numbers)} pictures")
    if complaints:
        sys.exit("\n".join(complaints))


if __name__ == "__main__":
    main()
