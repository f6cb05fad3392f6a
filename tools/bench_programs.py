#!/usr/bin/env python3
"""Compares examples with the same programs on other libraries: lines, and the processor's time.

bench/programs/PROGRAM/PEER.cpp, or PROGRAM/PEER/ with a main.cpp and plug-ins, does what examples/PROGRAM does. Lines are
those that are neither blank nor comments, in one format. Of several runs, taken in turn, the shortest time counts, user and
system together. What two of them write has to be the same. The examples have to be built.

  tools/bench_programs.py [--runs N] [PROGRAM...]
"""
import argparse
import collections
import os
import pathlib
import random
import re
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
EXAMPLES = ROOT / "build/release/examples"
WORK = ROOT / "build/release/programs"
OPTIONS = ["-O3", "-std=c++20", "-w", f"-I{ROOT}"]
LIBRARIES = {"std": ["-lcrypto"], "poco": ["-lPocoNet", "-lPocoCrypto", "-lPocoFoundation", "-lcrypto"], "qt": ["-lQt5Core"]}

Way = collections.namedtuple("Way", "name program directory sources")


def lines_of(sources):
    code = re.compile(r"\s*(?!//)\S")
    return sum(bool(code.match(line)) for source in sources for line in source.read_text().splitlines())


def ways_of(program):
    """Ours first, then the peers."""
    ours = EXAMPLES / program
    yield Way("ours", ours / program, ours, sources_in(ROOT / "examples" / program))
    for peer in sorted((ROOT / "bench/programs" / program).iterdir()):
        sources = [peer] if peer.is_file() else sources_in(peer)
        yield build(program, peer.stem, sources)


def sources_in(directory):
    return sorted(path for path in directory.iterdir() if path.suffix in (".h", ".cpp"))


def build(program, peer, sources):
    directory = WORK / program / peer
    directory.mkdir(parents=True, exist_ok=True)
    flags = list(OPTIONS)
    if peer == "qt":
        flags += ["-fPIC", *subprocess.check_output(["pkg-config", "--cflags", "Qt5Core"], text=True).split()]
    main = [source for source in sources if source.suffix == ".cpp" and (len(sources) == 1 or source.stem == "main")]
    for source in sources:
        if source.suffix == ".cpp" and source not in main:
            plugin = ["-shared", "-fPIC", "-fvisibility=hidden"]
            subprocess.check_call(
                ["g++", *flags, *plugin, source, "-o", directory / f"{source.stem}.so", *LIBRARIES[peer]])
    subprocess.check_call(["g++", *flags, *main, "-o", directory / program, *LIBRARIES[peer]])
    return Way(peer, directory / program, directory, sources)


def log_text(rng):
    """Lines as servers write them."""
    words = "connection request session token message record file block page user order job accepted rejected opened closed".split()
    now = 0
    while True:
        now += rng.randrange(40)
        yield (f"2026-11-{1 + now // 86400000 % 28:02}T{now // 3600000 % 24:02}:{now // 60000 % 60:02}:"
               f"{now // 1000 % 60:02}.{now % 1000:03} {rng.choice(('INFO', 'INFO', 'INFO', 'WARN', 'ERROR'))} "
               f"[worker-{rng.randrange(16)}] {rng.choice(words)} {rng.choice(words)} id={rng.randrange(20000)} "
               f"in {rng.randrange(900)} ms from 10.0.{rng.randrange(4)}.{rng.randrange(255)} {rng.choice(words)}\n")


def distinct_text(rng):
    """Every other word comes once."""
    while True:
        yield " ".join(f"{rng.getrandbits(20):x}" for _ in range(8)) + "\n"


def write_text(path, text_size, lines):
    """Made once."""
    if path.exists():
        return path
    size = 0
    with open(path.with_suffix(".new"), "w", encoding="ascii") as file:
        for line in lines:
            size += file.write(line)
            if size >= text_size:
                break
    path.with_suffix(".new").rename(path)
    return path


def run(command, stdin=os.devnull, stop_after=None):
    """What it wrote, and the seconds of processor time that it took."""
    output = WORK / "output"
    with open(stdin, "rb") as source, open(output, "wb") as target:
        process = subprocess.Popen(command, stdin=source, stdout=target)
        if stop_after is not None:
            time.sleep(stop_after)
            process.send_signal(signal.SIGINT)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))} ended with status {process.returncode}")
    return output.read_bytes(), usage.ru_utime + usage.ru_stime


def words(text):
    return lambda way: run([way.program], stdin=text)


def messages(way):
    return run([way.program, "200000"])


def scheduler(way):
    """Twenty jobs, each every 10 ms. How far it gets differs, but it must do what it puts in."""
    output, seconds = run([way.program, *["10"] * 20], stop_after=3)
    lines = output.decode().splitlines()
    runs = [tuple(map(int, re.fullmatch(r"job (\d+), run (\d+)", line).groups())) for line in lines[:-1]]
    most = max(number for _, number in runs)
    whole = sorted(runs) == [(job, number) for job in range(1, 21) for number in range(1, most + 1)]
    right = lines[-1] == f"stopped: {len(runs)} runs put in, {len(runs)} done"
    return (whole, right), seconds / len(runs) * 6000


def host(way):
    plugins = [way.directory / name for name in ("shout.so", "digest.so")]
    outcomes = [run([way.program, "Hello", "twice", "shout", "digest", "--", *plugins]) for _ in range(50)]
    return outcomes[0][0], sum(seconds for _, seconds in outcomes)


def encrypt(text):
    key, secret = WORK / "key", WORK / "secret"

    def measure(way):
        if not key.exists():
            run([way.program, "key", key])
        if not secret.exists():
            secret.write_bytes(run([way.program, "e", key], stdin=text)[0])
        # One's own, and the first one's.
        sealed, seconds = run([way.program, "e", key], stdin=text)
        own = WORK / "own"
        own.write_bytes(sealed)
        opened, more_seconds = run([way.program, "d", key], stdin=own)
        return (opened, run([way.program, "d", key], stdin=secret)[0]), seconds + more_seconds

    return measure


def compare(what, ways, measure, runs):
    """One row for each peer."""
    shortest = {}
    wanted = None
    for _ in range(runs):
        for way in ways:
            output, seconds = measure(way)
            if wanted is None:
                wanted = output
            if output != wanted:
                sys.exit(f"{what}: {way.name} gives something else than {ways[0].name}")
            shortest[way.name] = min(seconds, shortest.get(way.name, seconds))
    ours = ways[0]
    for way in ways[1:]:
        lines = lines_of(ours.sources), lines_of(way.sources)
        times = shortest[ours.name] * 1e3, shortest[way.name] * 1e3
        print(f"{what:16} {way.name:5} {lines[0]:6} {lines[1]:6} {lines[1] / lines[0]:6.2f}"
              f" {times[0]:9.1f} {times[1]:9.1f} {times[1] / times[0]:6.2f}", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("program", nargs="*")
    arguments = parser.parse_args()
    WORK.mkdir(parents=True, exist_ok=True)
    log = write_text(WORK / "log.txt", 40_000_000, log_text(random.Random(1)))
    distinct = write_text(WORK / "distinct.txt", 10_000_000, distinct_text(random.Random(2)))
    programs = [("words", "words, log", words(log)), ("words", "words, distinct", words(distinct)),
                ("messages", "messages", messages), ("scheduler", "scheduler", scheduler), ("host", "host", host),
                ("encrypt", "encrypt", encrypt(log))]
    unknown = set(arguments.program) - {name for name, _, _ in programs}
    if unknown:
        sys.exit(f"there is no program {', '.join(sorted(unknown))}")
    print("                       lines of               ms of CPU of\n"
          "program          peer    ours   peer  ratio      ours      peer  ratio")
    for name, what, measure in programs:
        if not arguments.program or name in arguments.program:
            compare(what, list(ways_of(name)), measure, arguments.runs)
    for file in ("output", "own", "secret", "key"):
        (WORK / file).unlink(missing_ok=True)


if __name__ == "__main__":
    main()
