"""What a reader of the source knows of what a comment is about, doxygen has to be told:

- A comment at the left margin with an empty line behind it is the text of the header itself. A header without one is
  marked at its end: what belongs to no class is shown only of headers that are documented.
- What follows a documented declaration directly, without a comment, shares its comment when it is an overload of it, a
  comparison behind a comparison, FinalizeX() behind InitializeX(), or named in the comment as X().
- Copies that are deleted, destructors, what the compiler makes, and names that all containers of the standard library
  have, get the one text that there is to say.
"""

import re

COMMENT = re.compile(r'\s*///(?!<)')
NO_DECLARATION = re.compile(r'\s*(#|//|$|[{}]|(public|protected|private):|namespace\b|extern "C")')
# Declares nothing that has a comment of its own.
STATEMENT = re.compile(r'\s*(using\b|friend (class|struct)\b|extern template\b|static_assert\b)')
CLASS = re.compile(r'(template\s*<.*?>\s*)*(class|struct|union)\s[^(]*\{')
CLASS_HEAD = re.compile(r'\s*(?:template\s*<.*>\s*)?(?:class|struct)\s+(?:\[\[\w+\]\]\s+|QV_\w+\s+)*(?:alignas\(\w+\)\s+)?(\w+)[^;]*$')
ALIAS = re.compile(r'\s*using (?:typename )?(?:\w+::)*(\w+)(?: =[^;]*)?;$')
# Only what these containers have: lower-case names of our own are told of as others are.
STANDARD_TYPES = set("""const_iterator const_pointer const_reference const_reverse_iterator difference_type iterator key_type
    mapped_type pointer reference reverse_iterator size_type value_type""".split())
STANDARD_CALLS = set('back begin cbegin cend clear crbegin crend data empty end front rbegin rend size'.split())
COMPARISON = re.compile(r'operator(==|!=|<=?|>=?)$')


def declaration_at(lines, start):
    """The text of the declaration that begins at a line, and the line behind it; None where a block begins instead."""
    depth = 0
    text = []
    for number in range(start, len(lines)):
        line = re.sub(r'//.*', '', lines[number])
        if line.startswith('#'): continue
        line = re.sub(r"'(\\.|[^'\\])'|\"(\\.|[^\"\\])*\"", '""', line)
        for character in line:
            if character in '({[': depth += 1
            if character in ')}]': depth -= 1
        text.append(line.strip())
        if depth != 0: continue
        if line.rstrip().endswith((';', '}')): return ' '.join(text), number + 1
        if not line.strip(): break
    return None


def name_of(declaration):
    """What the declaration declares, if it is a function; an operator with its sign."""
    depth = 0
    plain = ''
    declaration = re.sub(r'\b__attribute__\s*\(\(.*?\)\)|\[\[.*?\]\]|\balignas\s*\(.*?\)', '', declaration)
    # Without what stands between angle brackets, which may hold calls; operators keep theirs.
    for part in re.split(r'(operator\s*[^\s\w(]+(?=\()|operator\(\)|->|<|>)', declaration):
        if part.startswith('operator') and depth == 0: plain += part.replace('()', '`call`')
        elif part == '<': depth += 1
        elif part == '>': depth -= 1
        elif depth == 0: plain += part
    found = re.match(r'[^(={;]*?(~?\w+|operator\s*[^\s\w(]+|operator`call`|operator\s+[\w\s*&:]+)\s*\(', plain)
    return re.sub(r'operator\s+(?=\W)', 'operator', found.group(1)) if found else None


def standard_text(declaration, class_name):
    """The text of what means the same in every class."""
    name = name_of(declaration)
    if name is None: return None
    if declaration.endswith('= delete;'):
        is_copy = name in (class_name, 'operator=') and re.search(r'\(const %s ?&+\w*\)' % class_name, declaration)
        return 'Not copyable.' if is_copy else None
    if name == '~' + class_name: return 'Ends the object.'
    if declaration.endswith('= default;'): return 'As the compiler makes it.'
    is_copy = re.search(r'\(const %s(<\w+>)? ?& ?\w*\)' % class_name, declaration)
    if name == class_name and is_copy: return 'A copy.'
    if name == 'operator=' and is_copy: return 'Becomes a copy.'
    return None


def shares(declaration, comment, told):
    """Whether a function without a comment shares one that speaks for other functions already. One that overrides another
    has the text of that; neither it nor one that is deleted shares a comment that does not name it."""
    name = name_of(declaration)
    if name is None or not comment: return False
    if re.search(r'(?<!\w)%s\(\)' % re.escape(name), ' '.join(comment)): return True
    if re.search(r'\boverride\b|= delete;', declaration.split('{')[0]): return False
    if name in told or name.replace('Finalize', 'Initialize', 1) in told: return True
    return COMPARISON.match(name) is not None and any(COMPARISON.match(one) for one in told)


class CHeader:
    """Reads the lines of a header and writes them with the comments that doxygen needs."""

    def __init__(self, lines):
        self.lines, self.result = lines, []
        self.number = 0  # of the line that is read next
        self.has_text = False
        self.classes = []  # around that line: the indentation of their braces, and their names
        self.opened_class = None  # whose brace comes next
        self.forget_comment()

    def forget_comment(self):
        # The comment in front of the declarations that are being read, and the functions that it speaks for so far.
        self.comment, self.told = [], set()

    def read(self):
        while self.number < len(self.lines):
            has_comment = self.read_comment()
            if self.number == len(self.lines): break
            self.keep_classes()
            line = self.lines[self.number]
            declared = None if NO_DECLARATION.match(line) else declaration_at(self.lines, self.number)
            if declared and STATEMENT.match(declared[0]): self.read_statement(*declared, has_comment)
            elif declared and not CLASS.match(declared[0]): self.read_declaration(*declared, has_comment)
            else: self.read_other(has_comment)
        if not self.has_text: self.result.append('/// @file')

    def read_comment(self):
        first = self.number
        while self.number < len(self.lines) and COMMENT.match(self.lines[self.number]): self.number += 1
        if first == self.number: return False
        self.forget_comment()
        self.comment = self.lines[first:self.number]
        self.result += self.comment
        behind = self.lines[self.number] if self.number < len(self.lines) else ''
        if not self.has_text and self.comment[0].startswith('///') and (not behind or behind.startswith('#include')):
            self.result.append('/// @file')
            self.has_text = True
        return True

    def keep_classes(self):
        line = self.lines[self.number]
        indent = len(line) - len(line.lstrip())
        opened = CLASS_HEAD.match(line)
        if opened: self.opened_class = opened[1]
        if line.strip() == '{' and self.opened_class:
            self.classes.append((indent, self.opened_class))
            self.opened_class = None
        if line.strip() in ('}', '};') and self.classes and self.classes[-1][0] == indent: self.classes.pop()

    def read_declaration(self, text, behind, has_comment):
        name = name_of(text)
        if not has_comment:
            standard = standard_text(text, self.classes[-1][1]) if self.classes else None
            if standard: self.result.append('/// ' + standard)
            elif shares(text, self.comment, self.told): self.result += self.comment
            else:
                self.forget_comment()
                if name in STANDARD_CALLS: self.result.append("/// As in the standard library's containers.")
        if self.comment and name: self.told.add(name)
        self.result += self.lines[self.number:behind]
        self.number = behind

    def read_statement(self, text, behind, has_comment):
        alias = ALIAS.match(text)
        if not has_comment:
            self.forget_comment()
            if alias and alias[1] in STANDARD_TYPES:
                self.result.append("/// As in the standard library's containers.")
        lines = self.lines[self.number:behind]
        # Made in the library: that is no declaration that anyone looks for.
        self.result += [''] * len(lines) if text.startswith('extern template') else lines
        self.number = behind

    def read_other(self, has_comment):
        self.result.append(self.lines[self.number])
        if not has_comment: self.forget_comment()
        self.number += 1


def with_shared_comments(text):
    header = CHeader(text.splitlines())
    header.read()
    return '\n'.join(header.result) + '\n'
