#!/usr/bin/env python3
"""Prints what an editor shows of names of the library when the mouse rests on them, as clangd answers.

Usage: hover.py [--clangd PROGRAM] NAME...
       hover.py [--clangd PROGRAM] --check [HEADER...]

--check looks at all that has a comment in the public headers, or in some, and fails where the comment is not shown, or
an item of a list does not begin a line of its own. (Lines between ``` fences are kept by newer versions only.)
A NAME is what a program writes after including framework/framework.h: CBlob, QvFailed, CBlob::Append, and CVector<int>::Sort
for a member of a template. Of overloads the first is shown; NAME@TEXT shows the first of whose declaration TEXT is a part.
"""

import argparse
import json
import re
import subprocess
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True
from check_reference import comments_of, essence  # noqa: E402

ROOT = Path(__file__).resolve().parent.parent


class CClangd:
    """A clangd that is asked over its standard input and output (the language server protocol)."""

    def __init__(self, program):
        self.folder = tempfile.TemporaryDirectory()
        self.process = subprocess.Popen([program, f'--compile-commands-dir={self.folder.name}', '--sync', '--background-index=false', '--log=error', '--clang-tidy=false'],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                        cwd=self.folder.name)
        self.last_id = 0
        flags = ['clang++', '-x', 'c++', '-std=c++20', f'-I{ROOT}', '-c']
        commands = [{'directory': self.folder.name, 'file': str(path), 'arguments': [*flags, str(path)]}
                    for path in sorted((ROOT / 'framework').rglob('*.h'))]
        (Path(self.folder.name) / 'compile_commands.json').write_text(json.dumps(commands), encoding='utf-8')
        markdown = {'hover': {'contentFormat': ['markdown']}}
        self.ask('initialize', {'processId': None, 'rootUri': None, 'capabilities': {'textDocument': markdown}})
        self.tell('initialized', {})

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.ask('shutdown', None)
        self.tell('exit', None)
        self.process.wait()
        self.folder.cleanup()

    def send(self, message):
        body = json.dumps({'jsonrpc': '2.0', **message}).encode()
        self.process.stdin.write(b'Content-Length: %d\r\n\r\n' % len(body) + body)
        self.process.stdin.flush()

    def tell(self, method, params):
        self.send({'method': method, 'params': params})

    def ask(self, method, params):
        self.last_id += 1
        self.send({'id': self.last_id, 'method': method, 'params': params})
        while True:
            size = 0
            while (line := self.process.stdout.readline().strip()):
                if line.lower().startswith(b'content-length:'): size = int(line.split(b':')[1])
            if size == 0: raise RuntimeError('clangd ended without an answer')
            answer = json.loads(self.process.stdout.read(size))
            if answer.get('id') == self.last_id and 'method' not in answer: return answer.get('result')

    def hovers(self, path, positions):
        """The text at each position, a pair of line and column from 0 on; empty where there is none."""
        uri = Path(path).as_uri()
        text = Path(path).read_text(encoding='utf-8')
        self.tell('textDocument/didOpen',
                  {'textDocument': {'uri': uri, 'languageId': 'cpp', 'version': 1, 'text': text}})
        for line, column in positions:
            answer = self.ask('textDocument/hover', {'textDocument': {'uri': uri},
                                                     'position': {'line': line, 'character': column}})
            yield answer['contents']['value'] if answer else ''


def position_of(name):
    """The header, line and column of the declaration of a name, CClass::Member or Name."""
    name, _, part = name.partition('@')
    scope, _, member = re.sub(r'<[^>]*>', '', name).rpartition('::')
    word = re.compile(r'(?<![\w~])%s(?!\w)' % re.escape(member))
    for header in sorted((ROOT / 'framework').rglob('*.h')):
        lines = header.read_text(encoding='utf-8').splitlines()
        begin, end = 0, len(lines)
        if scope:
            inside = [n for n, line in enumerate(lines)
                      if re.match(r'\s*(class|struct|enum|enum class) (QV_\w+ )*%s\b[^;]*$' % re.escape(scope.split('::')[-1]), line)]
            if not inside: continue
            begin = inside[0] + 1
            indent = re.match(r'\s*', lines[inside[0]]).group()
            end = next(n for n in range(begin, len(lines)) if lines[n].startswith(indent + '};'))
        for number in range(begin, end):
            line = re.sub(r'"[^"]*"|//.*', lambda found: ' ' * len(found.group()), lines[number])
            if line.startswith('#') and not line.startswith('#define'): continue
            if line.lstrip().startswith(('friend ', 'extern template', 'return ')): continue
            found = word.search(line)
            if not found or (part and part not in line): continue
            if not scope and (line.startswith(' ') or re.match(r'(class|struct) .*;$|.*[:<,] *(public )?\S*%s' % word.pattern, line)): continue
            return header, number, found.start()
    return None


DECLARED = [re.compile(r'\s*(?:class|struct|enum class|enum)\s+(?:QV_\w+\s+|alignas\(.*?\)\s+)*(\w+)'),
            re.compile(r'\s*typedef .*\(\*(\w+)\)\('), re.compile(r'\s*typedef .*\b(\w+);'),
            re.compile(r'.*?(?<![\w(])(operator \w+|operator\s*[^\s\w(]+|operator\(\)|~?\w+)\s*\((?!\()'),
            re.compile(r'.*?(\w+)(?:\[.*\])?(?: = .*)?[;,]?(?:\s*//.*)?$')]


def declared_at(lines, number):
    """Line and column of the name that is declared at a line; None for what clangd shows no comment of: macros, names that
    are only made known, and what specialises a template."""
    if lines[number].strip() == 'template <>': return None
    while re.match(r'\s*(template\b|//)', lines[number]):
        depth = 0
        while True:
            depth += lines[number].count('<') - lines[number].count('>')
            number += 1
            if depth <= 0: break
    line = lines[number]
    if re.match(r'\s*(#|using\b|QV_ECOM|$)', line): return None
    line = re.sub(r'alignas\(.*?\) |\[.*\];|__attribute__\(\(\w+\)\)|\[\[[^\]]*\]\]', lambda found: ' ' * len(found.group()), line)
    for pattern in DECLARED:
        found = pattern.match(line)
        if found: return number, found.start(1)
    return None


def check_header(clangd, header):
    """What is lost of the comments of a header."""
    lines = header.read_text(encoding='utf-8').splitlines()
    asked = []
    for comment in comments_of(lines):
        behind = comment.last_line
        if behind < len(lines) and lines[behind].strip():
            place = declared_at(lines, behind)
            if place: asked.append((comment, place))
    complaints = []
    for (comment, place), text in zip(asked, clangd.hovers(header, [place for _, place in asked])):
        where = header.relative_to(ROOT)
        shown = [line for line in text.splitlines()]
        for number, paragraph in comment.paragraphs:
            if essence(paragraph) not in essence(text): complaints.append(f'{where}:{number}: not shown: {paragraph}')
        for number, item in comment.items:
            begins = [essence(line) for line in shown if re.match(r'\s*\\?-', line)]
            if not any(one and essence(item).startswith(one) for one in begins):
                complaints.append(f'{where}:{number}: no line of its own: {item}')
    return complaints, len(asked)


def check(clangd, headers):
    status, count = 0, 0
    for header in headers:
        complaints, asked = check_header(clangd, header)
        count += asked
        for complaint in complaints: print(complaint)
        if complaints: status = 1
    print(f'{count} comments looked at')
    return status


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--clangd', default='clangd')
    parser.add_argument('--check', action='store_true')
    parser.add_argument('names', nargs='*')
    arguments = parser.parse_args()
    if arguments.check:
        headers = [Path(name).resolve() for name in arguments.names]
        if not headers:
            headers = sorted(path for path in (ROOT / 'framework').rglob('*.h') if 'internal' not in path.parts)
        with CClangd(arguments.clangd) as clangd: return check(clangd, headers)
    status = 0
    with CClangd(arguments.clangd) as clangd:
        for name in arguments.names:
            place = position_of(name)
            text = next(clangd.hovers(place[0], [place[1:]])) if place else ''
            if not text: status = 1
            print(f'===== {name}')
            print(text or 'nothing is shown')
            print()
    return status


if __name__ == '__main__':
    sys.exit(main())
