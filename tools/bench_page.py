#!/usr/bin/env python3
"""bench_page.py RESULTS PAGE: writes the page of figures from the JSON results in a directory.

PAGE is a Markdown file; its plots are written beside it, into a directory of its name without the suffix. Only ratios
are shown: times of one machine say little about another.
"""
import datetime
import pathlib
import re
import statistics
import subprocess
import sys

import bench_svg
import bench_table
import header_times

ROOT = pathlib.Path(__file__).resolve().parent.parent
GROWTH = "growth."
PACKAGES = {"libssl3": "libcrypto", "libstdc++6": "libstdc++", "libc6": "glibc", "zlib1g": "zlib", "libisal2": "ISA-L",
            "libboost-dev": "Boost", "libmodpbase64-0": "modp_b64", "libbenchmark1debian": "Google Benchmark"}


class Page:
    def __init__(self, path):
        self.path = path
        self.plots = path.with_suffix("")
        self.plots.mkdir(parents=True, exist_ok=True)
        for old in self.plots.glob("*.svg"):
            old.unlink()
        self.lines = []

    def write(self, *lines):
        self.lines += [*lines, ""]

    def picture(self, name, alt, drawing):
        (self.plots / f"{name}.svg").write_text(drawing)
        return f"![{alt}]({self.plots.name}/{name}.svg)"

    def save(self):
        self.path.write_text("\n".join(self.lines))


def output_of(*command):
    try:
        return subprocess.run(command, cwd=ROOT, text=True, capture_output=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def rows_of(file):
    """(what and size, peer, ratio, lowest, highest) of each comparison; the extremes are of single repetitions."""
    times, _ = bench_table.read_repetitions([file])
    for (what, size), sides in times.items():
        ours = sides["ours"]
        for peer, theirs in sides.items():
            if peer != "ours":
                single = [their / our for our, their in zip(ours, theirs)]
                ratio = min(theirs) / min(ours)
                yield f"{what} {size}".strip(), peer, ratio, min(single + [ratio]), max(single + [ratio])


def write_modules(page, files):
    """A plot for each program; returns all ratios by module."""
    ratios = {}
    for file in files:
        module = file.stem
        rows = list(rows_of(file))
        if not rows:
            continue
        ratios[module] = [row[2] for row in rows]
        page.write(f"### {module.split('.')[1].replace('_', ' ')}")
        alt = (f"{len(rows)} rows of {module}, ratios from {min(ratios[module]):.2f} to {max(ratios[module]):.2f}, "
               f"median {statistics.median(ratios[module]):.2f}")
        drawn = [(f"{what}, beside {peer}", *figures) for what, peer, *figures in rows]
        page.write(page.picture(module, alt, bench_svg.bars(alt, drawn)))
    return ratios


def write_overview(page, files):
    rows = []
    for file in files:
        ratios = [row[2] for row in rows_of(file)]
        if ratios:
            rows.append((f"{file.stem.split('.')[1].replace('_', ' ')} ({len(ratios)} rows)", statistics.median(ratios),
                         min(ratios), max(ratios)))
    everything = [row[2] for file in files for row in rows_of(file)]
    alt = f"Median ratio of each module; of {len(everything)} rows {sum(r >= 1 for r in everything)} are at least 1"
    page.write(f"Of {len(everything)} rows, {sum(r >= 1 for r in everything)} are at 1 or above and "
               f"{sum(r < 0.9 for r in everything)} below 0.9; the median is {statistics.median(everything):.2f}. Each bar is the "
               "median of a module, its line reaches from the module's lowest row to its highest.")
    page.write(page.picture("overview", alt, bench_svg.bars(alt, rows)))


def write_growth(page, files):
    pictures = []
    for file in files:
        times, _ = bench_table.read_repetitions([file])
        charts = {}
        for (what, size), sides in times.items():
            work = int(size.rsplit("/")[-1])
            for who, repetitions in sides.items():
                charts.setdefault(what, {}).setdefault(who, []).append((work, min(repetitions) / items_of(what, work)))
        unit = "pairs of threads" if file.stem.endswith("queues") else \
            "characters" if file.stem.endswith("strings") else "elements"
        for what, sides in charts.items():
            alt = f"{what}: cost over the number of {unit}, ours beside {', '.join(who for who in sides if who != 'ours')}"
            pictures.append(page.picture(f"growth-{what.replace(' ', '-')}", alt, bench_svg.curves(what, unit, sides)))
    page.write(*pictures)


def items_of(what, work):
    """What one iteration of a benchmark of growth does: a find looks up one key, all others touch every element."""
    return 1 if what.endswith(("find", "hand over", "copy")) else work


def write_sizes(page):
    library = ROOT / "build/release/liborvel_framework.so"
    stripped = page.plots / "stripped"
    subprocess.run(["strip", "--strip-unneeded", "-o", stripped, library], check=True)
    size = stripped.stat().st_size
    stripped.unlink()
    page.write("## Sizes", f"The library has {size / 1024:.0f} KiB when it is stripped, as packages ship it (the limit of the checks is "
               "480 KiB).")


def write_header_costs(page):
    peers = ["string", "vector", "map", "iostream"]
    measured = header_times.measure([*header_times.public_headers(), *peers])
    unit = measured["string"]
    page.write("## What a header costs a compile", "Processor time that an include adds, as a multiple of what `<string>` adds. "
               "`framework/framework.h` is all of the library.")
    rows = [f"| `<{name}>` | {measured[name] / unit:.2f} |" for name in peers]
    rows += [f"| `{name}` | {max(measured[name], 0) / unit:.2f} |" for name in sorted(measured, key=measured.get, reverse=True)
             if name not in peers]
    page.write("| header | times `<string>` |", "|---|---|", *rows)


def write_machine(page):
    processor = re.search(r"model name\s*:\s*(.*)", pathlib.Path("/proc/cpuinfo").read_text())[1]
    cores = len(re.findall(r"^processor", pathlib.Path("/proc/cpuinfo").read_text(), re.M))
    versions = [f"{name} {version}" for package, name in PACKAGES.items()
                if (version := output_of("dpkg-query", "-W", "-f=${Version}", package))]
    page.write("## The run", f"- **When:** {datetime.date.today().isoformat()}, at {output_of('git', 'describe', '--always', '--dirty')}.",
               f"- **Processor:** {processor}, {cores} {'core' if cores == 1 else 'cores'}; a machine shared with others.",
               f"- **Compiler:** {output_of('g++', '--version').splitlines()[0]}, the options of the preset `release`.",
               f"- **Peers:** {', '.join(versions)}.",
               "- **Again:** `./dev bench --page` writes this page and its plots anew; `./dev bench vector` prints the rows of a module "
               "with their times.")


def main(results, path):
    files = sorted(pathlib.Path(results).glob("*.json"))
    modules = [file for file in files if not file.stem.startswith(GROWTH)]
    page = Page(pathlib.Path(path))
    page.write("# Figures")
    page.write("Every row of the benchmarks beside its peer, measured in one run. A bar is the peer's time divided by ours: **to the "
               "right of 1 ours is faster**, to the left the peer is. The thin line reaches from the lowest to the highest ratio of "
               "single repetitions.")
    write_overview(page, modules)
    page.write("## How cost grows", "The cost of one element, character or record, as a multiple of the least one in the same plot; both "
               "axes are logarithmic. Our curve is the full one.")
    write_growth(page, [file for file in files if file.stem.startswith(GROWTH)])
    page.write("## Every row")
    write_modules(page, modules)
    write_sizes(page)
    write_header_costs(page)
    write_machine(page)
    page.save()


if __name__ == "__main__":
    main(*sys.argv[1:])
