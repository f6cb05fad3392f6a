#!/usr/bin/env python3
"""Keeps a few small inputs of a fuzz target: pick_corpus.py CONTROL-FILE MERGED CORPUS

CONTROL-FILE is what a merge wrote about the inputs, MERGED the directory it merged into. CORPUS, the checked-in
directory, keeps its inputs with names given by hand; those named by their content are chosen anew.
"""
import re
import shutil
import sys
from pathlib import Path

MOST_FILES = 40
MOST_BYTES = 1000


def read_features(control):
    """What each merged input reached: [(path, {features})]."""
    lines = control.read_text().splitlines()
    count = int(lines[0])
    paths = [Path(line) for line in lines[2:2 + count]]
    features = {}
    for line in lines[2 + count:]:
        if line.startswith("FT "):
            words = line.split()
            features[int(words[1])] = set(map(int, words[2:]))
    return [(path, features.get(index, set())) for index, path in enumerate(paths)]


def edges(features):
    """A feature is an edge of the program, and how often it was taken, as one of eight ranges."""
    return {feature // 8 for feature in features}


def weight(features, covered):
    """An edge that is new counts more than one that is taken another number of times."""
    return 20 * len(edges(features) - edges(covered)) + len(features - covered)


def main():
    control, merged, corpus = map(Path, sys.argv[1:])
    # The control file names the inputs where they lay, which may hold more bytes than the merge read.
    candidates = [(path, reached) for path, reached in read_features(control) if path.stat().st_size <= MOST_BYTES]
    by_hand = {path.name for path in corpus.iterdir() if not re.fullmatch("[0-9a-f]{40}", path.name)}
    covered = set()
    for path, reached in candidates:
        if path.parent == corpus and path.name in by_hand:
            covered |= reached
    everything = set().union(*(reached for _, reached in candidates))
    picked = []
    while len(picked) + len(by_hand) < MOST_FILES and candidates:
        path, reached = max(candidates, key=lambda one: (weight(one[1], covered), -one[0].stat().st_size))
        if not reached - covered:
            break
        covered |= reached
        picked.append((path.name, path.read_bytes()))
    for path in corpus.iterdir():
        if path.name not in by_hand:
            path.unlink()
    for name, content in picked:
        (corpus / name).write_bytes(content)
    shutil.rmtree(merged)
    print(f"{corpus}: {len(picked) + len(by_hand)} inputs, "
          f"{sum(path.stat().st_size for path in corpus.iterdir())} bytes, "
          f"{len(edges(covered))} of {len(edges(everything))} edges")


main()
