#!/usr/bin/env python3
"""header_times.py [COMPILER]: how many milliseconds of processor time each public header adds to a compile.

The least of several runs, less that of an empty file; the last line is the umbrella header.
"""
import pathlib
import re
import resource
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
UMBRELLA = "framework/framework.h"
RUNS = 5


def milliseconds(compiler, source):
    """Processor time, since others may be using the machine."""
    def children():
        usage = resource.getrusage(resource.RUSAGE_CHILDREN)
        return (usage.ru_utime + usage.ru_stime) * 1000

    best = float("inf")
    for _ in range(RUNS):
        before = children()
        subprocess.run([compiler, "-std=c++17", "-O2", "-I", ROOT, "-x", "c++", "-c", "-o", "/dev/null", "-"],
                       input=source, text=True, check=True)
        best = min(best, children() - before)
    return best


def public_headers():
    return sorted(re.findall(r'^#include "(.*)"$', (ROOT / UMBRELLA).read_text(), re.M)) + [UMBRELLA]


def measure(headers, compiler="g++"):
    """Milliseconds by header."""
    empty = milliseconds(compiler, "")
    return {header: milliseconds(compiler, f"#include <{header}>") - empty for header in headers}


def main():
    for header, cost in measure(public_headers(), *sys.argv[1:2]).items():
        print(f"{cost:5.0f} ms  {header}")


if __name__ == "__main__":
    main()
