"""Pictures of the guide: drawn by graphviz from docs/pictures/*.dot, in colours that follow the page around them."""
import hashlib
import re
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FOLDER = ROOT / "docs/pictures"
# What a source says by class="..." (accent, strong, muted, warn, free) decides the colours, and the page's theme what
# these are.
STYLE = (ROOT / "docs/theme/picture.css").read_text()
DEFAULTS = ["-Gbgcolor=transparent", "-Gfontname=Helvetica", "-Nfontname=Helvetica", "-Efontname=Helvetica",
            "-Gfontsize=12", "-Nfontsize=12", "-Efontsize=11", "-Earrowsize=0.7", "-Gpad=0.1"]


def fingerprint(source):
    return hashlib.sha256(source.read_bytes() + STYLE.encode()).hexdigest()[:16]


def is_fresh(source):
    picture = source.with_suffix(".svg")
    return picture.exists() and f"<!-- {source.name} {fingerprint(source)} -->" in picture.read_text()


def draw(source):
    svg = subprocess.run(["dot", "-Tsvg", *DEFAULTS, str(source)], check=True, capture_output=True, text=True).stdout
    svg = svg[svg.index("<svg"):]
    svg = re.sub(r"<!--.*?-->\n?", "", svg, flags=re.S)
    # Colours that the source does not name are the page's.
    svg = re.sub(r' (fill|stroke)="(black|none|transparent)"', "", svg)
    svg = re.sub(r' font-family="[^"]*"', "", svg)
    svg = re.sub(r"<title>.*?</title>\n?", "", svg, flags=re.S)
    size = re.search(r'<svg width="(\d+)pt" height="(\d+)pt"', svg)
    width = round(int(size[1]) * 4 / 3)
    svg = re.sub(r'<svg width="\d+pt" height="\d+pt"', f'<svg class="picture" width="{width}"', svg, count=1)
    svg = svg.replace("<g ", f"<style>\n{STYLE}</style>\n<g ", 1)
    return f"<!-- {source.name} {fingerprint(source)} -->\n{svg}"


def draw_all():
    """Draws those whose source has changed."""
    for source in sorted(FOLDER.glob("*.dot")):
        if not is_fresh(source):
            source.with_suffix(".svg").write_text(draw(source))


def by_theme(style):
    """A picture's rules for dark surroundings, where the page's own switch decides what surrounds it."""
    def split(match):
        rules = re.findall(r"([^{}]+)\{([^{}]*)\}", match[1])
        def under(root):
            return "\n".join(", ".join(f"{root} {part.strip()}" for part in selectors.split(",")) + f" {{{text}}}"
                             for selectors, text in rules)
        preferred = under("html:not(.light-mode)")
        return f"@media (prefers-color-scheme: dark) {{\n{preferred}\n}}\n{under('html.dark-mode')}"
    return re.sub(r"@media \(prefers-color-scheme: dark\) \{((?:[^{}]*\{[^{}]*\})*)\s*\}", split, style)


def inline(path, number):
    """A picture as part of a page, with identifiers of its own; what was drawn here has the page's style."""
    svg = (ROOT / path).read_text()
    svg = svg[svg.index("<svg"):]
    drawn_here = (ROOT / path).parent == FOLDER
    svg = re.sub(r"<style>.*?</style>\n?", lambda match: "" if drawn_here else by_theme(match[0]), svg, count=1,
                 flags=re.S)
    # On a small screen a wide picture is moved rather than made too small to be read.
    if width := re.search(r'<svg class="\w+"[^>]*? width="(\d+)"', svg):
        least = min(int(width[1]) * 13 // 20, 760)
        svg = svg.replace("<svg", f'<svg style="min-width: {least}px"', 1)
    svg = re.sub(r'\bid="([^"]*)"', lambda match: f'id="picture{number}_{match[1]}"', svg)
    return re.sub(r"url\(#|href=\"#", lambda match: f"{match[0]}picture{number}_", svg)
