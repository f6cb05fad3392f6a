#!/usr/bin/env python3
"""mutate.py [MODULE] [COUNT] [SEED]: breaks single places of the sources and prints what no test noticed.

MODULE is a regular expression over the paths of framework/ and examples/, COUNT how many mutants are tried (default 20),
SEED makes the same ones again. Each mutant is one change of one place: a comparison, an operator, a number, a condition, a
result code, a statement that is left out. It is built in a copy of the tree; first the tests that are called after the
module run, then, while none fails, those of the same directory, then all the others but package and debugger, which look
at what is installed, and, for mutants of the library, the examples.

A mutant that changes nothing a caller can see is listed, with the reason, in tools/equivalent_mutants.txt: see there.
Exit status: 0 when no mutant survived but those listed.
"""
import concurrent.futures
import dataclasses
import os
import pathlib
import queue
import random
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutate"
KNOWN = ROOT / "tools" / "equivalent_mutants.txt"
# A mutant may loop or allocate for ever: that counts as noticed.
TEST_SECONDS = 120
STAGE_SECONDS = 900
MEMORY_KIB = 6 * 1024 * 1024
NOT_RUN = r"^(package|debugger)\."

# What is code: neither comments nor texts nor preprocessor lines.
NO_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*', re.M | re.S)
# Declarations and promises to the compiler: nothing runs there.
NO_TARGET = re.compile(r"static_assert|\[\[gnu::|alignas|QV_HOT_CODE|template|using |typedef|friend |noexcept|__builtin_|"
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


class Tree:
    """A copy of the sources with a build of its own."""

    def __init__(self, number):
        self.path = WORK / str(number)
        self.build = self.path / "build"
        self.log = WORK / f"{number}.log"

    def run(self, command, seconds=STAGE_SECONDS):
        with self.log.open("ab") as log:
            try:
                return subprocess.run(["bash", "-c", f"ulimit -v {MEMORY_KIB}; exec \"$@\"", "-", *command], cwd=self.path,
                                      stdin=subprocess.DEVNULL, stdout=log, stderr=log, timeout=seconds).returncode == 0
            except subprocess.TimeoutExpired:
                return False

    def prepare(self, test):
        self.path.mkdir(parents=True, exist_ok=True)
        files = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, text=True, check=True,
                               capture_output=True).stdout.split("\n")
        # Only what differs is written, so that a second run builds little.
        subprocess.run(["rsync", "-rlc", "--files-from=-", f"{ROOT}/", f"{self.path}/"], text=True, check=True,
                       input="\n".join(file for file in files if file and (ROOT / file).exists()))
        self.log.write_bytes(b"")
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        if not self.run(["cmake", "-S", ".", "-B", "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                         "-DORVEL_EXAMPLES=ON", "-DORVEL_WARNINGS_ARE_ERRORS=OFF", *launcher]):
            sys.exit(f"the copy cannot be configured: see {self.log}")
        if not self.run(["cmake", "--build", "build"], 7200):
            sys.exit(f"the copy does not build: see {self.log}")
        if test and not self.run(["ctest", "--test-dir", "build", "-E", NOT_RUN, "--timeout", str(TEST_SECONDS * 5)], 7200):
            sys.exit(f"tests fail without a mutant: see {self.log}")

    def tests(self):
        listed = subprocess.run(["ctest", "--test-dir", "build", "-N", "-E", NOT_RUN], cwd=self.path, text=True, check=True,
                                capture_output=True).stdout
        return re.findall(r"^ *Test +#\d+: (\S+)$", listed, re.M)

    def stages(self, file):
        """The tests in three groups: called after the module, of its directory, the rest."""
        path = pathlib.Path(file)
        if path.parts[0] == "examples":
            stem, directory = path.parts[1], "examples"
        else:
            # digest.h belongs to the digests, sha_blocks_x86.cpp to sha_blocks.
            stem, directory = re.sub(r"_(blocks|x86|avx\w*|v?pclmul|vaes|aesni).*$", "", path.stem), path.parts[1]
        tests = self.tests()
        own = [test for test in tests if stem in test.split(".", 1)[1]]
        if path.suffix == ".h":
            # One program holds all fuzz targets, and a header is in many of them: that takes long to build.
            own = [test for test in own if not test.startswith("fuzz.")] or own
        if path.parts[0] != "examples":
            # Examples take long, and reach little that the module's own tests do not.
            tests = [test for test in tests if not test.startswith("examples.")]
        near = [test for test in tests if test.startswith(directory + ".") and test not in own]
        far = [test for test in tests if test not in own and test not in near]
        return [stage for stage in (own, near, far) if stage]

    def passes(self, tests):
        targets = {"test_" + test if not test.startswith("fuzz.") else "fuzz_replay" for test in tests}
        # What is built already is not asked for by name: some tests have programs of other names.
        if not self.run(["cmake", "--build", "build", "--target", *sorted(targets & self.targets())]):
            return None
        names = "^(" + "|".join(re.escape(test) for test in tests) + ")$"
        return self.run(["ctest", "--test-dir", "build", "-R", names, "--stop-on-failure", "--timeout", str(TEST_SECONDS)])

    def targets(self):
        if not hasattr(self, "_targets"):
            listed = subprocess.run(["ninja", "-C", "build", "-t", "targets", "all"], cwd=self.path, text=True, check=True,
                                    capture_output=True).stdout
            self._targets = set(re.findall(r"^([\w.+-]+): phony$", listed, re.M))
        return self._targets

    def judge(self, mutant):
        """Returns "killed", "survived" or "not compiled"."""
        file = self.path / mutant.file
        original = file.read_text()
        lines = original.split("\n")
        lines[mutant.line - 1] = mutant.new
        file.write_text("\n".join(lines))
        try:
            for number, stage in enumerate(self.stages(mutant.file)):
                passed = self.passes(stage)
                if passed is None and number == 0:
                    return "not compiled"
                if not passed:
                    return "killed"
            return "survived"
        finally:
            file.write_text(original)


def read_known():
    """The mutants listed as equivalent: file, line before and line after, each without the blanks around it."""
    known = set()
    if KNOWN.exists():
        blocks = re.findall(r"^(\S+)\n- (.*)\n\+ (.*)\n", KNOWN.read_text(), re.M)
        known = {tuple(part.strip() for part in block) for block in blocks}
    return known


def main():
    pattern = sys.argv[1] if len(sys.argv) > 1 else "."
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 20
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else random.randrange(1 << 31)
    candidates = draw(pattern, count, seed)
    known = read_known()
    trees = queue.SimpleQueue()
    workers = min(os.cpu_count() or 1, count)
    for number in range(workers):
        tree = Tree(number)
        tree.prepare(number == 0)
        trees.put(tree)
    print(f"{len(candidates)} candidates, seed {seed}", flush=True)

    def judge(mutant):
        tree = trees.get()
        try:
            return mutant, tree.judge(mutant)
        finally:
            trees.put(tree)

    sums = {"killed": 0, "survived": 0, "equivalent": 0, "not compiled": 0}
    pending = iter(candidates)
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        running = {pool.submit(judge, mutant) for mutant in (next(pending, None) for _ in range(workers)) if mutant}
        while running:
            done, running = concurrent.futures.wait(running, return_when=concurrent.futures.FIRST_COMPLETED)
            for future in done:
                mutant, verdict = future.result()
                if verdict == "survived":
                    if (mutant.file, mutant.old.strip(), mutant.new.strip()) in known:
                        verdict = "equivalent"
                    else:
                        print(mutant.describe(), flush=True)
                sums[verdict] += 1
                tried = sums["killed"] + sums["survived"] + sums["equivalent"]
                following = next(pending, None) if tried + len(running) < count else None
                if following is not None:
                    running.add(pool.submit(judge, following))
    print(f"{sums['killed']} killed, {sums['survived']} survived, {sums['equivalent']} known to be equivalent, "
          f"{sums['not compiled']} did not compile; seed {seed}")
    return 0 if sums["survived"] == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
