#!/usr/bin/env python3
"""Turns the C++ blocks of a guide page into the source of one test, and checks what a page must have.

    page_programs.py PAGE SOURCE      writes the source
    page_programs.py --check FOLDER   checks all pages of a folder, and its README.md; prints what is wrong

What a fenced block is, its language says:

    cpp            compiled and run. With main() it is a program; otherwise its statements stand in a function of their
                   own, in which the framework is up, a QvResult may be returned, and a failure counts.
    text           what the nearest C++ block above writes to standard output. A block without one writes nothing.
                   Where the page has no C++ block above, it is for the reader only,
    sh, cmake, console   and so are these

Comments right in front of a C++ block, which the reader does not see, say more about it:

    <!-- declares -->          it stands at namespace scope, and all statements below may use it
    <!-- needs: LINES -->      lines in front of its statements
    <!-- input: LINES -->      its standard input
    <!-- ends: `LINE` -->      abort() ends it, after this line on standard error
    <!-- does not compile: WORDS -->   the compiler refuses it, with these words
"""
import re
import sys
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LANGUAGES = {"cpp", "text", "sh", "cmake", "console"}
NOTES = ("declares", "needs", "input", "ends", "does not compile")
DEFAULT_INCLUDES = ["#include <cstdio>", '#include "framework/framework.h"']


class PageError(Exception):
    pass


@dataclass
class Block:
    language: str
    line: int  # of its first line
    lines: list
    notes: dict = field(default_factory=dict)
    output: str = ""

    @property
    def is_run(self):
        return not {"declares", "does not compile"} & self.notes.keys()

    @property
    def is_program(self):
        return any(re.match(r"int main\(", line) for line in self.lines)

    @property
    def includes(self):
        return [line for line in self.lines if line.startswith("#include")]

    def body(self):
        # An empty line in place of an include keeps the numbers of the lines.
        return "\n".join("" if line.startswith("#include") else line for line in self.lines)


def note_of(text, where):
    name, _, value = text.partition(":")
    name = name.strip()
    if name not in NOTES:
        raise PageError(f"{where}: '{name}' is none of the notes {', '.join(NOTES)}")
    # Words of programs may stand between back quotes, as elsewhere in the page: spelling is not looked at there.
    return name, value.strip().strip("`") if name in ("ends", "does not compile") else value.strip("\n")


def blocks_of(page):
    """The fenced blocks of a page, with the notes in front of them and their output."""
    lines = page.read_text(encoding="utf-8").split("\n")
    blocks, notes, last_cpp = [], {}, None
    at = 0
    while at < len(lines):
        where = f"{page}:{at + 1}"
        line = lines[at]
        if line.startswith("<!--"):
            end = at
            while "-->" not in lines[end]:
                end += 1
                if end == len(lines):
                    raise PageError(f"{where}: the comment has no end")
            text = "\n".join(lines[at : end + 1])
            name, value = note_of(text[4 : text.index("-->")], where)
            notes[name] = value
            at = end + 1
            continue
        if line.lstrip().startswith(("```", "~~~")):
            language = line[3:].strip()
            if not line.startswith("```") or language not in LANGUAGES:
                raise PageError(f"{where}: a block begins with ``` and one of {', '.join(sorted(LANGUAGES))}")
            end = at + 1
            while end < len(lines) and lines[end] != "```":
                end += 1
            if end == len(lines):
                raise PageError(f"{where}: the block has no end")
            block = Block(language, at + 2, lines[at + 1 : end], notes)
            if notes and language != "cpp":
                raise PageError(f"{where}: notes belong to a C++ block")
            if language == "cpp":
                last_cpp = block
            elif language == "text":
                if last_cpp is not None and (last_cpp.output or not last_cpp.is_run):
                    raise PageError(f"{where}: this is the output of no C++ block")
                if last_cpp is not None:
                    last_cpp.output = "\n".join(block.lines) + "\n"
            blocks.append(block)
            notes = {}
            at = end + 1
            continue
        if line.strip() and notes:
            raise PageError(f"{where}: notes stand right in front of a C++ block")
        at += 1
    if notes:
        raise PageError(f"{page}: notes stand right in front of a C++ block")
    return [block for block in blocks if block.language == "cpp"]


def literal(text):
    return "nullptr" if text is None else f'R"guide({text})guide"'


def name_of(page):
    return page.resolve().relative_to(ROOT)


def located(page, block, code):
    return f'#line {block.line} "{name_of(page)}"\n{code}\n'


def function_of(page, block, name):
    """The function of a fragment."""
    needs = block.notes.get("needs", "")
    return f"QvResult {name}()\n{{\n{needs}\n{located(page, block, block.body())}return QV_RES_OK;\n}}\n"


def source_of(page):
    blocks = blocks_of(page)
    includes = DEFAULT_INCLUDES + [line for block in blocks for line in block.includes]
    includes = "\n".join(dict.fromkeys(includes)) + "\n"
    declared, programs, functions, rows = "", "", "", []
    for block in blocks:
        where = f"{page}:{block.line}"
        name = f"Line{block.line}"
        refused = None
        if "declares" in block.notes:
            declared_here = located(page, block, block.body())
            declared += declared_here
            functions += declared_here
            run = "nullptr"
        elif "does not compile" in block.notes:
            refused = includes + declared + function_of(page, block, name)
            run = "nullptr"
        elif block.is_program:
            if not any("framework/" in line for line in block.includes):
                raise PageError(f"{where}: a program includes what it uses")
            main = re.search(r"^int main\(([^)]*)\)", block.body(), re.MULTILINE)
            arguments = "nCount, ppszValues" if main.group(1) else ""
            # Only the real main() may end without a value.
            code = re.sub(r"(^int main\(.*?)^}", r"\1return 0; }", block.body(), count=1, flags=re.MULTILINE | re.DOTALL)
            programs += f"namespace {name}\n{{\n{located(page, block, code)}}}\n"
            run = f"[]([[maybe_unused]] int nCount, [[maybe_unused]] char** ppszValues) {{ return {name}::main({arguments}); }}"
        else:
            functions += function_of(page, block, name)
            run = f"[](int, char**) {{ return RunFragment(page::{name}); }}"
        row = [str(block.line), run, literal(block.notes.get("input", "")), literal(block.output)]
        row += [literal(block.notes.get("ends")), literal(refused), literal(block.notes.get("does not compile"))]
        rows.append("    {" + ", ".join(row) + "},\n")
    return "".join(
        [includes, '#include "tests/guide/page.h"\n', programs, "namespace page\n{\n", functions, "}\n"]
        + [f'const char* const g_pszPage = "{name_of(page)}";\n', "const SPageBlock g_astPageBlocks[] = {\n"]
        + rows
        + ["    {0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr}};\n"]
    )


def links_of(page):
    """What a page refers to: (whether it is a picture, its text, its target)."""
    text = re.sub(r"^```.*?^```$", "", page.read_text(encoding="utf-8"), flags=re.MULTILINE | re.DOTALL)
    text = re.sub(r"`[^`\n]*`", "", text)
    return [(bool(mark), words, target) for mark, words, target in re.findall(r"(!?)\[([^\]]*)\]\(([^)\s]+)\)", text)]


def complaints_about(page, neighbours):
    """What is wrong with a page whose neighbours in the list are these."""
    targets = []
    for is_picture, words, target in links_of(page):
        if "://" in target:
            continue
        path = (page.parent / target.partition("#")[0]).resolve()
        targets.append(path)
        if is_picture:
            if path.with_suffix(".dot").name not in {dot.name for dot in (page.parent.parent / "pictures").glob("*.dot")}:
                yield f"{page}: no source of the picture {target}"
            if len(words.split()) < 5:
                yield f"{page}: the words of the picture {target} do not say what it shows"
        elif target.partition("#")[0] and not path.exists():
            yield f"{page}: there is no {target}"
    if neighbours is None:
        return
    for neighbour in neighbours:
        if neighbour.resolve() not in targets:
            yield f"{page}: it does not lead to its neighbour {neighbour.name}"
    if not any("framework" in path.parts and path.suffix == ".h" for path in targets):
        yield f"{page}: it leads to no header"


def complaints_of(folder):
    readme = folder / "README.md"
    listed = [folder / target for picture, _, target in links_of(readme) if not picture and "/" not in target]
    pages = sorted(page for page in folder.glob("*.md") if page != readme)
    for page in pages:
        if listed.count(page) != 1:
            yield f"{readme}: it lists {page.name} {listed.count(page)} times"
    yield from complaints_about(readme, None)
    if blocks_of(readme):
        yield f"{readme}: the list of pages has no C++ blocks"
    for page in pages:
        blocks_of(page)  # which complains of what it does not know
    for at, page in enumerate(listed):
        if page.exists():
            yield from complaints_about(page, listed[max(at - 1, 0) : at] + listed[at + 1 : at + 2])
    shown = {Path(target).stem for page in [readme, *pages] for picture, _, target in links_of(page) if picture}
    for dot in sorted((folder.parent / "pictures").glob("*.dot")):
        if dot.stem not in shown:
            yield f"{dot}: no page shows it"


def main(arguments):
    if len(arguments) != 2:
        sys.exit(__doc__)
    try:
        if arguments[0] == "--check":
            complaints = list(complaints_of(Path(arguments[1])))
            print("\n".join(complaints))
            return 1 if complaints else 0
        Path(arguments[1]).write_text(source_of(Path(arguments[0])), encoding="utf-8")
        return 0
    except PageError as error:
        print(error)
        return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
