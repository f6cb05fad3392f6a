#!/usr/bin/env python3
"""Renders the public headers with doxygen and fails where the reference lacks what the source says:

- a public member, or anything else that programs can name, has no text;
- a paragraph has lost words; a result, a heading or another item of a list is no list item, or has lost words;
- an example or a diagram is no listing, or its lines are joined;
- doxygen warns.

Before that it reads the headers in tests/reference, which are bad on purpose: if it does not complain about each as the
header itself says ("// complaint: ...", with "at" and a number for another line), it fails as well. Usage: check_reference.py
"""

import collections
import difflib
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parent / 'docs'))
import filter_header  # noqa: E402
from shared_comments import COMMENT  # noqa: E402

ROOT = Path(__file__).resolve().parent.parent
CHANGES = """
FILTER_PATTERNS =
INPUT = framework
EXCLUDE_SYMBOLS =
EXTRACT_PRIVATE = YES
EXTRACT_STATIC = YES
INLINE_INHERITED_MEMB = NO
WARN_IF_UNDOCUMENTED = NO
WARN_LOGFILE = warnings
GENERATE_XML = YES
GENERATE_HTML = NO
XML_OUTPUT = xml
XML_PROGRAMLISTING = NO
"""
INTERNAL = 'orvel_internal'


def essence(text):
    """What is left of a text in every rendering: letters and digits."""
    return re.sub(r'[^0-9A-Za-z]', '', text)


class CComment:
    """What a documentation comment promises: paragraphs, items of lists, and listings. Complaints about what no tool keeps."""

    def __init__(self, first_line, lines):
        self.paragraphs, self.items, self.listings, self.complaints = [], [], [], []
        self.last_line = first_line + len(lines) - 1
        item, paragraph, listing, before = None, None, None, ''
        for number, line in enumerate(lines, first_line):
            if line.startswith('```'):
                if listing is None: listing = (number, [])
                else:
                    self.listings.append(listing)
                    listing = None
                item, paragraph, before = None, None, line
                continue
            if listing is not None:
                listing[1].append(line)
                if re.search(r';.*//.*[^.:,;!?]$', line):
                    self.complain(number, 'a comment in an example ends with a full stop: hovers join lines without one')
                continue
            found = re.match(r' *- +(.*)', line)
            if found:
                item, paragraph = [number, found.group(1)], None
                self.items.append(item)
                if before and not re.match(r' *-', before) and len(self.items) == 1:
                    self.complain(number, 'no empty line in front of the list')
            elif not line: item, paragraph = None, None
            elif line.startswith('  ') and item: item[1] += ' ' + line
            elif line.startswith('    '):
                self.complain(number, 'only indented, which hovers join: put it between ``` fences')
            elif re.match(r'QV_RES_\w+  ', line):
                self.complain(number, 'a result in columns, which are joined: write "- `QV_RES_...`: ..."')
            elif re.match(r'[A-Z][\w()-]*  +\S', line):
                self.complain(number, 'a heading in columns, which are joined: write "- **Heading:** ..."')
            elif item: self.complain(number, 'a text right behind a list becomes part of it: put an empty line between')
            if item is None and line:
                if paragraph is None:
                    paragraph = [number, '']
                    self.paragraphs.append(paragraph)
                paragraph[1] += ' ' + line
            if number == first_line and re.match(r'The same\b(?! as\b)|As above\b', line):
                self.complain(number, 'stands alone in hovers and in the reference: say what is the same')
            before = line if item is None or found else '- '
        if listing is not None: self.complain(listing[0], 'a fence that is never closed')

    def complain(self, number, text):
        self.complaints.append((number, text))


def comments_of(lines):
    """The documentation comments of a header."""
    number = 0
    has_text = False
    while number < len(lines):
        first = number
        while number < len(lines) and COMMENT.match(lines[number]): number += 1
        if number > first:
            comment = CComment(first + 1, [re.sub(r'^\s*/// ?', '', line) for line in lines[first:number]])
            is_alone = number == len(lines) or not lines[number].strip()
            if is_alone and (has_text or lines[first].startswith(' ')):
                comment.complain(first + 1, 'a comment on nothing: an empty line follows')
            has_text = has_text or is_alone
            yield comment
        number += 1


def has_text(element):
    texts = [element.find('briefdescription'), element.find('detaileddescription')]
    return any(text is not None and ''.join(text.itertext()).strip() for text in texts)


def rendered_lists(element):
    return [essence(''.join(item.itertext())) for item in element.iter('listitem')]


def rendered_listings(element):
    """Each listing as its lines."""
    result = []
    for listing in element.iter('programlisting'):
        # Spaces are elements of their own there, and do not matter.
        result.append([essence(''.join(line.itertext())) for line in listing.iter('codeline')])
    for listing in list(element.iter('verbatim')) + list(element.iter('preformatted')):
        result.append([essence(line) for line in (listing.text or '').strip('\n').split('\n')])
    return result


class CReference:
    """The headers of a folder as doxygen renders them."""

    def __init__(self, folder, settings):
        self.folder = folder
        self.headers = sorted(p.relative_to(folder) for p in (folder / 'framework').rglob('*.h')
                              if 'internal' not in p.parts)
        self.sources, self.filtered, self.complaints = {}, {}, []
        with tempfile.TemporaryDirectory() as scratch:
            self.scratch = Path(os.path.realpath(scratch))
            self.filter_headers()
            # What doxygen says of its settings is for who changes them.
            subprocess.run(['doxygen', '-'], cwd=self.scratch, input=settings + CHANGES, text=True, check=True,
                           stderr=subprocess.DEVNULL)
            self.read_warnings()
            self.compounds = [ElementTree.parse(p).getroot() for p in sorted((self.scratch / 'xml').glob('*.xml'))
                              if p.name != 'index.xml']

    def filter_headers(self):
        for header in self.headers:
            lines = (self.folder / header).read_text(encoding='utf-8').splitlines()
            text = filter_header.filtered(self.folder / header)
            self.sources[str(header)] = lines
            self.filtered[str(header)] = text.splitlines()
            if self.filtered[str(header)].count('/// @file') != 1:
                self.complaints.append(f'{header}: not marked as documented, so that its functions are not shown')
            copy = self.scratch / header
            copy.parent.mkdir(parents=True, exist_ok=True)
            copy.write_text(text, encoding='utf-8')

    def read_warnings(self):
        for line in (self.scratch / 'warnings').read_text(encoding='utf-8').splitlines():
            found = re.match(r'%s/([^:]*):(\d+): (.*)' % re.escape(str(self.scratch)), line)
            if found: self.complain(found.group(1), int(found.group(2)), found.group(3))
            elif line.strip(): self.complaints.append(line)

    def complain(self, header, filtered_line, text):
        self.complaints.append(f'{header}:{self.line_in_source(header, filtered_line)}: {text}')

    def line_in_source(self, header, filtered_line):
        """The line of the header that became a filtered one, or of that in front of which it was added."""
        matcher = difflib.SequenceMatcher(None, self.sources[header], self.filtered[header], autojunk=False)
        for begin, filtered_begin, size in matcher.get_matching_blocks():
            if filtered_line <= filtered_begin: return begin + 1
            if filtered_line <= filtered_begin + size: return begin + filtered_line - filtered_begin
        return len(self.sources[header])

    def check(self):
        self.check_texts()
        self.check_contents()
        return sorted(set(self.complaints))

    def check_texts(self):
        for compound in self.compounds:
            for definition in compound.iter('compounddef'):
                name = definition.findtext('compoundname')
                if INTERNAL in name or definition.get('kind') not in ('class', 'struct', 'union', 'file', 'namespace'):
                    continue
                # What specialises a template has its text.
                if definition.get('prot', 'public') != 'public' or '<' in name: continue
                if definition.get('kind') != 'namespace': self.demand_text(definition, definition, name)
                for member in definition.iter('memberdef'): self.check_member(definition, member)

    def check_member(self, definition, member):
        scope = definition.findtext('compoundname')
        name = member.findtext('name')
        in_class = definition.get('kind') in ('class', 'struct', 'union')
        if member.get('prot') != 'public' or (member.findtext('definition') or '').startswith(('friend class', 'friend struct')):
            return
        if not in_class and (INTERNAL in (member.findtext('qualifiedname') or '') or member.get('static') == 'yes'): return
        if re.match(r'FRAMEWORK_\w+_H$', name): return
        full_name = scope + '::' + name if in_class else name
        # The text of a structure or an enumeration may speak for all that is in it.
        if member.get('kind') == 'variable' and definition.get('kind') == 'struct':
            if not any(has_text(other) for other in definition.iter('memberdef')): return
        self.demand_text(member, member, full_name + (member.findtext('argsstring') or ''))
        values = list(member.iter('enumvalue'))
        if any(has_text(value) for value in values):
            for value in values: self.demand_text(value, member, full_name + '::' + value.findtext('name'))

    def demand_text(self, element, located, name):
        if has_text(element): return
        if element.get('kind') == 'file': return  # which are only marked
        location = located.find('location')
        self.complain(location.get('file'), int(location.get('line') or 1), f'{name} has no text')

    def check_contents(self):
        texts, items, listings = (collections.defaultdict(list) for _ in range(3))
        for compound in self.compounds:
            for element in compound.iter():
                location = element.find('location')
                if location is None: continue
                header = location.get('file')
                described = element.findall('briefdescription') + element.findall('detaileddescription')
                texts[header].append(essence(''.join(''.join(part.itertext()) for part in described)))
                for part in described + [text for value in element.findall('enumvalue') for text in value]:
                    items[header] += rendered_lists(part)
                    listings[header] += rendered_listings(part)
                for value in element.findall('enumvalue'): texts[header].append(essence(''.join(value.itertext())))
        for header, lines in self.sources.items():
            for comment in comments_of(lines):
                for number, text in comment.complaints: self.complaints.append(f'{header}:{number}: {text}')
                for number, text in comment.paragraphs:
                    if not any(essence(text) in rendered for rendered in texts[header]):
                        self.complaints.append(f'{header}:{number}: no text of the reference has all of this paragraph')
                for number, text in comment.items:
                    if not any(rendered.startswith(essence(text)) for rendered in items[header]):
                        self.complaints.append(f'{header}:{number}: no list of the reference has all of this item')
                for number, lines_of_listing in comment.listings:
                    if [essence(line) for line in lines_of_listing] not in listings[header]:
                        self.complaints.append(f'{header}:{number}: no listing of the reference has these lines')


def self_test(settings):
    """What is not as the bad headers say."""
    folder = ROOT / 'tests/reference'
    reference = CReference(folder, settings)
    expected = []
    for header, lines in reference.sources.items():
        for number, line in enumerate(lines, 1):
            found = re.search(r'// complaint(?: at (\d+))?: (.*)', line)
            if found: expected.append(f'{header}:{found[1] or number}: {found[2]}')
    # The words of doxygen's warnings change with its versions.
    complaints = [re.sub(': warning: .*', ': warning', text) for text in reference.check()]
    wrong = [f'tests/reference: missed: {text}' for text in expected if text not in complaints]
    wrong += [f'tests/reference: nobody expected: {text}' for text in complaints if text not in expected]
    if not expected: wrong.append('tests/reference: no header there expects a complaint')
    return wrong


def main():
    settings = (ROOT / 'docs/Doxyfile').read_text(encoding='utf-8')
    complaints = self_test(settings) + CReference(ROOT, settings).check()
    for complaint in complaints: print(complaint)
    return 1 if complaints else 0


if __name__ == '__main__':
    sys.exit(main())
