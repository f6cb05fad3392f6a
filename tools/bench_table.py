#!/usr/bin/env python3
"""Prints one table over the JSON results of benchmark binaries: each time of ours beside its peers'.

A benchmark is called WHAT/ours[/SIZE] or WHAT/PEER[/SIZE]; the label of ours names the path in use, if there are several.
The ratio is the peer's time by ours: above 1, ours is faster. Of several repetitions the shortest counts.
"""
import json
import pathlib
import re
import sys

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
NAME = re.compile(r"(?P<what>[^/]+)/(?P<who>[^/]+)(?:/(?P<size>.+))?")
HEADER = ("what", "size", "ours", "peer", "", "ratio", "path in use")
LEFT_ALIGNED = {"what", "peer", "path in use"}


def read_repetitions(files):
    """Returns {(what, size): {who: [nanoseconds]}} in the order of the files, and the path in use of each (what, size)."""
    times, paths = {}, {}
    for file in files:
        # The runs were shuffled; their numbers tell in which order the source has them.
        runs = json.loads(pathlib.Path(file).read_text())["benchmarks"]
        for run in sorted(runs, key=lambda run: (run["family_index"], run["per_family_instance_index"])):
            name = NAME.fullmatch(run["run_name"])
            if run["run_type"] != "iteration" or run.get("error_occurred"):
                continue
            if name is None:
                sys.exit(f"{file}: '{run['run_name']}' is not called WHAT/WHO[/SIZE]")
            size = name["size"] or ""
            # The processor's time leaves out what other programs took, but also what threads wait for each other.
            waits = run["threads"] > 1 or size.endswith("real_time")
            key = name["what"], size.removesuffix("real_time").removesuffix("/").replace("threads:", "threads ")
            time = run["real_time" if waits else "cpu_time"] * NANOSECONDS[run["time_unit"]]
            times.setdefault(key, {}).setdefault(name["who"], []).append(time)
            if name["who"] == "ours":
                paths[key] = run.get("label", "")
    for (what, size), sides in times.items():
        if "ours" not in sides:
            sys.exit(f"{what}/{size}: there are peers, but no time of ours")
    return times, paths


def as_text(nanoseconds):
    unit = next((unit for unit, size in NANOSECONDS.items() if nanoseconds < 999.95 * size), "s")
    return f"{nanoseconds / NANOSECONDS[unit]:.1f} {unit:2}"


def rows_of(times, paths):
    for (what, size), sides in times.items():
        ours = min(sides["ours"])
        peers = [(who, min(times)) for who, times in sides.items() if who != "ours"]
        for peer, time in peers or [("", None)]:
            compared = (as_text(time), f"{time / ours:.2f}") if time is not None else ("", "")
            yield what, size, as_text(ours), peer, *compared, paths[what, size]


def print_table(rows):
    widths = [max(map(len, column)) for column in zip(*rows)]
    for row in rows:
        cells = (cell.ljust(width) if title in LEFT_ALIGNED else cell.rjust(width)
                 for title, cell, width in zip(HEADER, row, widths))
        print("  ".join(cells).rstrip())


def main(files):
    times, paths = read_repetitions(files)
    print_table([HEADER, *rows_of(times, paths)])


if __name__ == "__main__":
    main(sys.argv[1:])
