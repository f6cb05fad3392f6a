#!/usr/bin/env python3
"""mutate.py [MODULE] [COUNT] [SEED]: breaks single places of the sources and prints what no test noticed.

MODULE is a regular expression over the paths of framework/ and examples/, COUNT how many mutants are tried (default
20), SEED makes the same ones again. Each mutant is one change of one place: a comparison, an operator, a number, a
condition, a result code, a statement that is left out. It is built, optimised, in a copy of the tree, of which each
processor has one; what does not compile is not counted. Until a test fails, these run:

  a source of the library   the tests that are called after the module, those of the same directory, all the others, but
                            not the examples;
  a header of the library   the library is built anew and, one after the other, at most a dozen of the programs that
                            include the header: those called after the module first, then those called after a module
                            that includes it, those of the same directory, the others; within each group what compiles
                            fastest comes first. Then all that need not be built anew;
  an example                its test, then those of the other examples.

Tests of packages and of the debugger do not run: they look at what is installed. build/mutate/verdicts.log gets all
verdicts, with the test that noticed and the seconds that it took.

A mutant that changes nothing a caller can see is listed, with the reason, in tools/equivalent_mutants.txt: see there.
Exit status: 0 when no mutant survived but those listed.
"""
import collections
import concurrent.futures
import contextlib
import dataclasses
import json
import os
import pathlib
import queue
import random
import re
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutate"
KNOWN = ROOT / "tools" / "equivalent_mutants.txt"
# A mutant may loop, write or allocate for ever: that counts as noticed. A test may take ten times as long as without a
# mutant, and this.
TEST_SECONDS = 30
BUILD_SECONDS = 7200
MEMORY_KIB = 6 * 1024 * 1024
FILE_KIB = 4 * 1024 * 1024
# How many programs are built anew with a header's mutant, and of how many sources each.
PROGRAMS_WITH_A_HEADER = 12
SOURCES_OF_A_PROGRAM = 4
# The process groups that are under way.
RUNNING = set()
NOT_RUN = r"^(package|debugger)\."

# What is code: neither comments nor texts nor preprocessor lines.
NO_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'|'
                     r'^[ \t]*#(?:[^\n]*\\\n)*[^\n]*', re.M | re.S)
# Declarations and promises to the compiler: nothing runs there.
NO_TARGET = re.compile(r"static_assert|\[\[gnu::|alignas|QV_CACHE_LINE_ALIGNED|template|using |typedef|friend |noexcept|__builtin_|"
                       r"operator|concept|requires|memory_order|QV_REMOVE_UNUSED|= delete|= default")

SWAPS = [
    (r"(?<![<>=!+\-*/&|^-])<(?![<=])(?= )", "<="), (r"(?<=\s)<=(?=\s)", "<"), (r"(?<=\s)>(?=\s)", ">="),
    (r"(?<=\s)>=(?=\s)", ">"), (r"==", "!="), (r"!=", "=="), (r"&&(?=\s)", "||"), (r"\|\|", "&&"),
    (r"(?<=\s)\+(?=\s)", "-"), (r"(?<=\s)-(?=\s)", "+"), (r"(?<=\s)\*(?=\s)", "/"), (r"(?<=\s)/(?=\s)", "*"),
    (r"(?<=\s)%(?=\s)", "/"), (r"\+\+", "--"), (r"--", "++"), (r"\+=", "-="), (r"-=", "+="), (r"<<=", ">>="),
    (r">>=", "<<="), (r"(?<=\s)<<(?=\s)", ">>"), (r"(?<=\s)>>(?=\s)", "<<"), (r"(?<=\s)&(?=\s)", "|"),
    (r"(?<=\s)\|(?=\s)", "&"), (r"(?<=\s)\^(?=\s)", "&"), (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
    (r"std::min\b", "std::max"), (r"std::max\b", "std::min"), (r"(?<![\w.])0(?![\w.'])", "1"),
    (r"(?<![\w.])[1-9][0-9]*[uU]?(?![\w.'])", lambda match: str(int(match[0].rstrip("uU")) + 1)),
    (r"\bif \((?=[^;]*\)$)", "if (!"), (r"(?<=[(\s])!(?=[\w(])", ""), (r"\bbreak;", ";"), (r"\bcontinue;", ";"),
    (r"QV_RES_(?!OK\b)\w+", lambda match: "QV_RES_FAIL" if match[0] != "QV_RES_FAIL" else "QV_RES_INVALID_STATE"),
    (r"QV_RES_OK\b", "QV_RES_FAIL"),
]
# A statement on a line of its own that is left out; no declaration, no jump.
STATEMENT = re.compile(r"^\s+(?!return|break|continue|goto|case|default|const |auto |static |unsigned |int |delete |throw )"
                       r"[\w:>.\[\]()*&+\-]+(?:\(.*\)| [-+*/|&^]?= .+|\+\+|--);$")
KEPT_STATEMENT = re.compile(r"^\s+\w[\w:<>,\s]*[\s&*]\w+( =.*|\{.*)?;$")


@dataclasses.dataclass(frozen=True)
class Mutant:
    file: str
    line: int  # from 1
    old: str
    new: str

    def describe(self):
        return f"{self.file}:{self.line}\n    - {self.old.strip()}\n    + {self.new.strip() or '(left out)'}"


def mutants_of(file):
    """Yields every mutant of a file."""
    text = (ROOT / file).read_text()
    code = NO_CODE.sub(lambda match: re.sub(r"[^\n]", "\0", match[0]), text)
    for number, (line, codes) in enumerate(zip(text.split("\n"), code.split("\n")), 1):
        if NO_TARGET.search(codes) or not codes.strip("\0 "):
            continue
        for pattern, new in SWAPS:
            for match in re.finditer(pattern, codes):
                replaced = new(match) if callable(new) else new
                changed = line[:match.start()] + replaced + line[match.end():]
                if replaced == "if (!":  # the whole condition
                    changed = re.sub(r"if \(!(.*)\)$", r"if (!(\1))", changed)
                yield Mutant(file, number, line, changed)
        if STATEMENT.match(codes) and not KEPT_STATEMENT.match(codes):
            yield Mutant(file, number, line, "")


def draw(pattern, count, seed):
    files = subprocess.run(["git", "ls-files", "framework", "examples"], cwd=ROOT, text=True, check=True,
                           capture_output=True).stdout.split()
    files = [file for file in files if file.endswith((".h", ".cpp")) and re.search(pattern, file)]
    mutants = [mutant for file in files for mutant in mutants_of(file)]
    if not mutants:
        sys.exit(f"no source is called like '{pattern}'")
    random.Random(seed).shuffle(mutants)
    return mutants[:count * 2]  # some do not compile


@dataclasses.dataclass(frozen=True)
class Test:
    name: str
    command: tuple
    directory: str

    @property
    def program(self):
        return self.command[0]


class Tree:
    """A copy of the sources with a build of its own."""

    def __init__(self, number):
        self.path = WORK / str(number)
        self.build = self.path / "build" / "release"
        self.log = WORK / f"{number}.log"

    def run(self, command, seconds, directory=None):
        """Returns whether it ended well, in time and within its memory; nothing that it started goes on."""
        # In the background a shell ignores some signals, which the tests do not expect.
        limits = f"ulimit -v {MEMORY_KIB} -f {FILE_KIB}; exec env --default-signal=HUP,INT,QUIT \"$@\""
        with self.log.open("ab") as log:
            process = subprocess.Popen(["bash", "-c", limits, "-", *command], cwd=directory or self.path,
                                       stdin=subprocess.DEVNULL, stdout=log, stderr=log, start_new_session=True,
                                       env={**os.environ, "GTEST_FAIL_FAST": "1"})
            RUNNING.add(process.pid)
            try:
                return process.wait(seconds) == 0
            except subprocess.TimeoutExpired:
                return False
            finally:
                kill_group(process.pid)
                process.wait()
                RUNNING.discard(process.pid)

    def output(self, *command):
        return subprocess.run(command, cwd=self.path, text=True, check=True, capture_output=True).stdout

    def prepare(self):
        """Returns whether it differs from what was there before."""
        self.path.mkdir(parents=True, exist_ok=True)
        files = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, text=True, check=True,
                               capture_output=True).stdout.split("\n")
        # Only what differs is written, so that a second run builds little.
        written = subprocess.run(["rsync", "-rlci", "--files-from=-", f"{ROOT}/", f"{self.path}/"], text=True,
                                 check=True, capture_output=True,
                                 input="\n".join(file for file in files if file and (ROOT / file).exists())).stdout
        # What the tree no longer has would be found by the build's patterns.
        kept = {self.path / file for file in files}
        for directory in {file.partition("/")[0] for file in files if "/" in file}:
            for path in (self.path / directory).rglob("*"):
                if path.is_file() and path not in kept:
                    path.unlink()
        self.log.write_bytes(b"")
        # Warnings are no errors in a mutant.
        launcher = WORK / "compile"
        cache = "ccache " if shutil.which("ccache") else ""
        launcher.write_text(f'#!/bin/sh\n{cache}"$@" || exec "$@" -w\n')
        launcher.chmod(0o755)
        # As the tests are built otherwise, so that the compiler's cache knows most of it. A program is not linked anew
        # because the library has changed.
        if not self.run(["cmake", "--preset", "release", "-DORVEL_BENCHMARKS=OFF", "-DORVEL_INSTALL=OFF",
                         "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON", f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher}"],
                        BUILD_SECONDS):
            sys.exit(f"the copy cannot be configured: see {self.log}")
        if not self.run(["ninja", "-C", self.build], BUILD_SECONDS):
            sys.exit(f"the copy does not build: see {self.log}")
        self.learn()
        return written != ""

    def learn(self):
        """What tests there are, and which objects depend on a file."""
        listed = json.loads(self.output("ctest", "--test-dir", self.build, "--show-only=json-v1", "-E", NOT_RUN))
        self.tests = [Test(test["name"], tuple(test["command"]),
                           next(each["value"] for each in test["properties"] if each["name"] == "WORKING_DIRECTORY"))
                      for test in listed["tests"]]
        self.objects, self.dependents = {}, collections.defaultdict(set)
        for block in self.output("ninja", "-C", self.build, "-t", "deps").split("\n\n"):
            lines = block.split("\n")
            built = self.build / lines[0].split(":")[0]
            if "(VALID)" in lines[0] and built.exists():
                self.objects[built] = built.stat().st_size
                for file in lines[1:]:
                    self.dependents[os.path.normpath(self.build / file.strip())].add(built)

    def measure(self):
        """Runs every test without a mutant and returns how many seconds each takes."""
        seconds = {}
        for test in self.tests:
            start = time.monotonic()
            if not self.run(test.command, BUILD_SECONDS, test.directory):
                sys.exit(f"{test.name} fails without a mutant: see {self.log}")
            seconds[test.name] = time.monotonic() - start
        return seconds

    def stages(self, file):
        """The tests in groups, of which each is built and run when those before have noticed nothing."""
        path = pathlib.Path(file)
        if path.parts[0] == "examples":
            tests = [test for test in self.tests if test.name.startswith("examples.")]
            own = [test for test in tests if test.name == f"examples.{path.parts[1]}"]
            return [own, [test for test in tests if test not in own]]
        # Examples take long, and reach little that the module's own tests do not.
        tests = sorted((test for test in self.tests if not test.name.startswith("examples.")),
                       key=lambda test: self.seconds[test.name])
        directory, stem = path.parts[1], stem_of(path)
        including = {stem_of(other) for other in self.path.glob("framework/**/*.*")
                     if f'#include "{file}"' in other.read_text()}

        def distance(test):
            name = test.name.split(".", 1)[1]
            if stem in name:
                return 0
            if path.suffix == ".h" and any(other in name for other in including):
                return 1
            return 2 if test.name.startswith(directory + ".") else 3

        if path.suffix != ".h":
            return [[test for test in tests if distance(test) == nearness] for nearness in (0, 2, 3)]
        stale = collections.defaultdict(list)
        for built in self.dependents[str(self.path / file)]:
            stale[built.relative_to(self.build).as_posix().split(".dir/")[0]].append(self.objects[built])
        costs = {test: stale.get(self.objects_of(test), []) for test in tests}
        ready = [test for test in tests if not costs[test]]
        # Programs of many sources take too long.
        built = sorted((test for test in tests if 0 < len(costs[test]) <= SOURCES_OF_A_PROGRAM),
                       key=lambda test: (distance(test), sum(costs[test])))[:PROGRAMS_WITH_A_HEADER]
        return [[test for test in ready if distance(test) == 0], *([test] for test in built),
                [test for test in ready if distance(test) != 0]]

    def objects_of(self, test):
        program = pathlib.Path(os.path.relpath(test.program, self.build))
        return (program.parent / "CMakeFiles" / program.name).as_posix()

    def judge(self, mutant, known):
        """Returns "killed", "survived" or "not compiled", and the name of the test that noticed it."""
        file = self.path / mutant.file
        original, before = file.read_text(), file.stat()
        lines = original.split("\n")
        lines[mutant.line - 1] = mutant.new
        self.log.write_bytes(b"")
        file.write_text("\n".join(lines))
        changed = file.stat().st_mtime_ns
        try:
            stages = [stage for stage in self.stages(mutant.file) if stage]
            # Of those that are listed it is only seen that the nearest tests still do not notice them.
            for stage in stages[:1] if known else stages:
                programs = sorted({os.path.relpath(test.program, self.build) for test in stage})
                if not self.run(["ninja", "-C", self.build, *programs], BUILD_SECONDS):
                    return "not compiled", ""
                for test in stage:
                    if not self.run(test.command, TEST_SECONDS + 10 * self.seconds[test.name], test.directory):
                        return "killed", test.name
            return "survived", ""
        finally:
            # What was made of the mutant goes, so that the rest is as new as the file, which gets its old time again.
            for built in self.dependents[str(file)]:
                if built.exists() and built.stat().st_mtime_ns >= changed:
                    built.unlink()
            file.write_text(original)
            if (self.build / "build.ninja").stat().st_mtime_ns < changed:
                os.utime(file, ns=(before.st_atime_ns, before.st_mtime_ns))


def stem_of(path):
    """The name of the module that a part belongs to: that of sha_blocks_x86.cpp is sha."""
    return re.sub(r"_(blocks|x86|avx\w*|v?pclmul|vaes|aesni).*$", "", path.stem)


def kill_group(process, how=signal.SIGKILL):
    with contextlib.suppress(ProcessLookupError):
        os.killpg(process, how)


def stop(*_):
    # A build ends its compilers itself when it is asked to: each is a group of its own.
    for how in (signal.SIGTERM, signal.SIGKILL):
        for process in list(RUNNING):
            kill_group(process, how)
        time.sleep(1)
    os._exit(130)


def read_known():
    """The mutants listed as equivalent: file, line before and line after, each without the blanks around it."""
    known = set()
    if KNOWN.exists():
        blocks = re.findall(r"^(\S+)\n- (.*)\n\+ (.*)\n", KNOWN.read_text(), re.M)
        known = {tuple(part.strip().replace("(left out)", "") for part in block) for block in blocks}
    return known


def main():
    pattern = sys.argv[1] if len(sys.argv) > 1 else "."
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 20
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else random.randrange(1 << 31)
    candidates = draw(pattern, count, seed)
    known = read_known()
    signal.signal(signal.SIGINT, stop)
    signal.signal(signal.SIGTERM, stop)
    workers = min(os.cpu_count() or 1, count)
    prepared = [Tree(number) for number in range(workers)]
    is_new = any([tree.prepare() for tree in prepared])
    measured = WORK / "seconds.json"
    if is_new or not measured.exists():
        measured.unlink(missing_ok=True)
        measured.write_text(json.dumps(prepared[0].measure()))
    trees = queue.SimpleQueue()
    for tree in prepared:
        tree.seconds = json.loads(measured.read_text())
        trees.put(tree)
    print(f"{len(candidates)} candidates, seed {seed}", flush=True)

    def judge(mutant):
        tree = trees.get()
        try:
            start = time.monotonic()
            is_known = (mutant.file, mutant.old.strip(), mutant.new.strip()) in known
            verdict, test = tree.judge(mutant, is_known)
            if is_known and verdict == "survived":
                verdict = "equivalent"
            return mutant, verdict, test, time.monotonic() - start
        finally:
            trees.put(tree)

    sums = {"killed": 0, "survived": 0, "equivalent": 0, "not compiled": 0}
    pending = iter(candidates)
    with (concurrent.futures.ThreadPoolExecutor(workers) as pool,
          (WORK / "verdicts.log").open("a", buffering=1) as verdicts):
        running = {pool.submit(judge, mutant) for mutant in (next(pending, None) for _ in range(workers)) if mutant}
        while running:
            done, running = concurrent.futures.wait(running, return_when=concurrent.futures.FIRST_COMPLETED)
            for future in done:
                mutant, verdict, test, seconds = future.result()
                verdicts.write(f"{mutant.describe()}\n    {verdict} {test} {seconds:.0f} s\n")
                if verdict == "survived":
                    print(mutant.describe(), flush=True)
                sums[verdict] += 1
                tried = sums["killed"] + sums["survived"] + sums["equivalent"]
                if verdict != "not compiled" and tried % 10 == 0:
                    print(f"{tried} tried, {sums['survived']} survived", flush=True)
                following = next(pending, None) if tried + len(running) < count else None
                if following is not None:
                    running.add(pool.submit(judge, following))
    print(f"{sums['killed']} killed, {sums['survived']} survived, {sums['equivalent']} known to be equivalent, "
          f"{sums['not compiled']} did not compile; seed {seed}")
    return 0 if sums["survived"] == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
