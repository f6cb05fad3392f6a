#!/usr/bin/env python3
"""Compares the include lines with the levels in ARCHITECTURE.md: every one must point to a lower level.

The levels are the first block that is fenced with ```levels. In it
    4 vector (ordered_sequence), pool     a level and its modules; in parentheses files that belong to the one before
    # crypto -> secure_prng: reason       a source, not a header, that may nevertheless include a header from above
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
UMBRELLA = "framework/framework.h"
# A project of its own, which finds the framework where it is installed.
FOREIGN = "tests/package/foreign_project/"
# Programs that declare the library's classes themselves.
WITHOUT_OUR_HEADERS = "tests/abi/"
INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')

complaints = []


def complain(where, what):
    complaints.append(f"{where}: {what}")


def read_levels():
    """Returns the level and the module of each file stem, and the exceptions as (from, to)."""
    text = (ROOT / "ARCHITECTURE.md").read_text()
    block = re.search(r"^```levels\n(.*?)^```", text, re.M | re.S)
    if block is None:
        sys.exit("ARCHITECTURE.md: no block that is fenced with ```levels")
    levels, modules, exceptions = {}, {}, set()
    for line in block[1].splitlines():
        if line.startswith("#"):
            exception = re.fullmatch(r"# (\w+) -> (\w+): .+", line)
            if exception is None:
                complain("ARCHITECTURE.md", f"not `# from -> to: reason`: {line}")
            else:
                exceptions.add((exception[1], exception[2]))
            continue
        level, _, names = line.strip().partition(" ")
        for module, parts in re.findall(r"(\w+)(?: \(([^)]*)\))?", names):
            for stem in [module] + re.findall(r"\w+", parts):
                if stem in levels:
                    complain("ARCHITECTURE.md", f"{stem} stands there twice")
                levels[stem], modules[stem] = int(level), module
    return levels, modules, exceptions


def stem_of(path, levels):
    """A source may have parts without a header, called after it: x_part.cpp belongs to x."""
    stem = pathlib.PurePath(path).stem
    while stem not in levels and path.endswith(".cpp") and "_" in stem:
        stem = stem.rpartition("_")[0]
    return stem if stem in levels else pathlib.PurePath(path).stem


def includes_of(path):
    for number, line in enumerate((ROOT / path).read_text().splitlines(), 1):
        match = INCLUDE.match(line)
        if match:
            yield number, match[1], match[2]


def sources(*directories):
    for directory in directories:
        for path in sorted((ROOT / directory).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield path.relative_to(ROOT).as_posix()


def check_include_lines():
    """Our own files are included in quotes and from the root, others in angle brackets."""
    for path in sources("framework", "debugger", "tests", "bench", "examples", "fuzz", "stress"):
        if path.startswith(FOREIGN):
            continue
        for number, quote, target in includes_of(path):
            if target.endswith(".inc"):
                continue  # The build makes it.
            ours = (ROOT / target).is_file()
            if quote == '"' and not ours:
                complain(f"{path}:{number}", f'"{target}" is not written from the root of the tree')
            if path.startswith(WITHOUT_OUR_HEADERS) and target.startswith("framework/"):
                complain(f"{path}:{number}", "these tests know the library without its headers")
            if quote == "<" and ours:
                complain(f"{path}:{number}", f"<{target}> is ours and belongs in quotes")


def check_levels():
    levels, modules, exceptions = read_levels()
    graph, used, seen = {}, set(), set()
    for path in sources("framework"):
        stem = stem_of(path, levels)
        if path == UMBRELLA:
            continue
        seen.add(stem)
        if stem not in levels:
            complain(path, "its module is missing from the levels in ARCHITECTURE.md")
            continue
        for number, _, target in includes_of(path):
            if not target.startswith("framework/"):
                continue
            if target == UMBRELLA:
                complain(f"{path}:{number}", "the library itself must not include everything")
                continue
            to = stem_of(target, levels)
            if to == stem or to not in levels:
                continue
            if path.endswith(".cpp") and (stem, to) in exceptions:
                used.add((stem, to))
                continue
            graph.setdefault(stem, {})[to] = f"{path}:{number}"
            if levels[to] >= levels[stem] and modules[to] != modules[stem]:
                complain(f"{path}:{number}", f"{stem} is on level {levels[stem]}, but {to} on {levels[to]}")
    for stem in sorted(levels.keys() - seen):
        complain("ARCHITECTURE.md", f"there is no module {stem}")
    for stem, to in sorted(exceptions - used):
        complain("ARCHITECTURE.md", f"the exception {stem} -> {to} is not needed")
    check_cycles(graph)


def check_cycles(graph):
    done = set()

    def visit(stem, trail):
        if stem in trail:
            complain(graph[trail[-1]][stem], "a cycle: " + " -> ".join(trail[trail.index(stem):] + [stem]))
        elif stem not in done:
            for to in graph.get(stem, {}):
                visit(to, trail + [stem])
            done.add(stem)

    for stem in sorted(graph):
        visit(stem, [])


check_include_lines()
check_levels()
print("\n".join(complaints), end="\n" if complaints else "")
sys.exit(1 if complaints else 0)
