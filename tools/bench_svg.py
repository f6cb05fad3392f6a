"""Draws the plots of the page of figures: bars of ratios, and curves of cost over work.

Colours follow the reader's light or dark setting.
"""
import math
from xml.sax.saxutils import escape

LIGHT = {"ink": "#57606a", "grid": "#d0d7de", "ours": "#0969da", "peer": "#bc4c00"}
DARK = {"ink": "#adbac7", "grid": "#444c56", "ours": "#539bf5", "peer": "#e0823d"}


def colours(ink, grid, ours, peer):
    return f""".figure text {{ fill: {ink}; }} .figure .one, .figure .spread {{ stroke: {ink}; }}
.figure .grid {{ stroke: {grid}; }} .figure .faster {{ fill: {ours}; }} .figure .slower {{ fill: {peer}; }}
.figure .ours {{ stroke: {ours}; }} .figure .peer {{ stroke: {peer}; }}"""


STYLE = f"""<style>
.figure text {{ font: 12px system-ui, sans-serif; }}
.figure .ours, .figure .peer {{ fill: none; stroke-width: 2; }} .figure .peer {{ stroke-dasharray: 5 3; }}
{colours(**LIGHT)}
@media (prefers-color-scheme: dark) {{
{colours(**DARK)}
}}
</style>"""

ROW, LABEL, BARS, NUMBER = 18, 330, 390, 60
CURVE_WIDTH, CURVE_HEIGHT = 360, 210


def svg(width, height, title, parts):
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" class="figure" viewBox="0 0 {width} {height}" '
                      f'width="{width}" height="{height}" role="img">', f"<title>{escape(title)}</title>", STYLE, *parts,
                      "</svg>", ""])


def text(x, y, words, anchor="start"):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}">{escape(words)}</text>'


def line(x1, y1, x2, y2, kind):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" class="{kind}"/>'


def powers(low, high, base):
    """The powers of the base from the last not above low to the first not below high."""
    first, last = math.floor(math.log(low, base) + 1e-9), math.ceil(math.log(high, base) - 1e-9)
    return [base ** exponent for exponent in range(first, max(last, first + 1) + 1)]


def short(number):
    return f"{number:g}" if number >= 1 else f"1/{1 / number:g}"


def bars(title, rows):
    """rows: (label, ratio, lowest, highest). The bar begins at 1, where both are equally fast."""
    ticks = powers(min(0.5, *(row[2] for row in rows)), max(2, *(row[3] for row in rows)), 2)
    while len(ticks) > 9:
        ticks = ticks[::2] if ticks.index(1) % 2 == 0 else ticks[1::2]
    low, high = (math.log2(min(ticks[0], *(row[2] for row in rows))), math.log2(max(ticks[-1], *(row[3] for row in rows))))

    def x(ratio):
        return LABEL + (math.log2(ratio) - low) / (high - low) * BARS

    bottom = ROW * (len(rows) + 1)
    parts = []
    for tick in ticks:
        parts.append(line(x(tick), ROW - 2, x(tick), bottom, "one" if tick == 1 else "grid"))
        parts.append(text(x(tick), ROW - 6, short(tick), "middle"))
    for number, (label, ratio, lowest, highest) in enumerate(rows, 1):
        y = number * ROW
        left, right = sorted((x(1), x(ratio)))
        parts.append(text(LABEL - 8, y + 13, label, "end"))
        parts.append(f'<rect x="{left:.1f}" y="{y + 4}" width="{max(right - left, 0.5):.1f}" height="{ROW - 8}" '
                     f'class="{"faster" if ratio >= 1 else "slower"}"/>')
        parts.append(line(x(lowest), y + ROW / 2, x(highest), y + ROW / 2, "spread"))
        parts.append(text(LABEL + BARS + 8, y + 13, f"{ratio:.2f}"))
    return svg(LABEL + BARS + NUMBER, bottom + 6, title, parts)


def curves(title, unit, sides):
    """sides: {who: [(work, cost)]}, ours first. Costs are drawn as multiples of the least one."""
    points = [point for curve in sides.values() for point in curve]
    least = min(cost for _, cost in points)
    base = 2 if max(work for work, _ in points) <= 64 else 10
    columns = powers(min(work for work, _ in points), max(work for work, _ in points), base)
    rows = powers(1, max(cost for _, cost in points) / least, 10 if max(c for _, c in points) / least > 64 else 2)
    left, top, right, bottom = 44, 34, CURVE_WIDTH - 14, CURVE_HEIGHT - 34

    def x(work):
        return left + math.log(work / columns[0]) / math.log(columns[-1] / columns[0]) * (right - left)

    def y(cost):
        return bottom - math.log(cost / least) / math.log(rows[-1]) * (bottom - top)

    parts = [text(left, 12, title)]
    for column in columns:
        parts += [line(x(column), top, x(column), bottom, "grid"), text(x(column), bottom + 14, power_text(column), "middle")]
    for row in rows:
        parts += [line(left, y(row * least), right, y(row * least), "grid"),
                  text(left - 5, y(row * least) + 4, power_text(row), "end")]
    parts.append(text(right, bottom + 29, unit, "end"))
    key = left
    for number, (who, curve) in enumerate(sides.items()):
        kind = "ours" if number == 0 else "peer"
        parts.append(f'<polyline class="{kind}" points="' + " ".join(f"{x(w):.1f},{y(c):.1f}" for w, c in sorted(curve)) + '"/>')
        parts += [line(key, 23, key + 22, 23, kind), text(key + 27, 27, who)]
        key += 40 + 7 * len(who)
    return svg(CURVE_WIDTH, CURVE_HEIGHT, title, parts)


def power_text(number):
    for size, suffix in ((10 ** 6, " M"), (1000, " k")):
        if number >= size:
            return f"{number // size:g}{suffix}"
    return f"{number:g}"
