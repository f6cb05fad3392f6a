"""What a reader of the source knows of what a comment is about, doxygen has to be told:

- A comment at the left margin with an empty line behind it is the text of the header itself. A header without one is
  marked at its end: what belongs to no class is shown only of headers that are documented.
- What follows a documented declaration directly, without a comment, shares its comment when it is an overload of it, a
  comparison behind a comparison, FinalizeX() behind InitializeX(), or named in the comment as X().
- Copies that are deleted, destructors, and what the compiler makes get the one text that there is to say.
"""

import re

COMMENT = re.compile(r'\s*///(?!<)')
NO_DECLARATION = re.compile(r'\s*(#|//|$|[{}]|(public|protected|private):|namespace\b|using\b|friend\b|extern template\b'
                            r'|extern "C"|static_assert\b)')
CLASS = re.compile(r'(template\s*<.*?>\s*)*(class|struct|union)\s[^(]*\{')
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


def shares(name, comment, before, is_special):
    """Whether a function without a comment shares that of those in front of it. One that overrides another has the text of
    that; neither it nor one that is deleted shares a comment that does not name it."""
    if name is None or not comment: return False
    if re.search(r'(?<!\w)%s\(\)' % re.escape(name), ' '.join(comment)): return True
    if is_special: return False
    if name in before or name.replace('Finalize', 'Initialize', 1) in before: return True
    return COMPARISON.match(name) is not None and any(COMPARISON.match(one) for one in before)


def with_shared_comments(text):
    """The text of a header with the comments that doxygen needs."""
    lines = text.splitlines()
    result = []
    has_text = False
    classes = []  # of those around: the indentation of the braces, the name, and whether nothing of it is public
    comment, before = [], set()
    pending_class = None
    number = 0

    while number < len(lines):
        line = lines[number]
        indent = len(line) - len(line.lstrip())
        if COMMENT.match(line):
            comment = []
            while number < len(lines) and COMMENT.match(lines[number]):
                comment.append(lines[number].strip())
                result.append(lines[number])
                number += 1
            if indent == 0 and not has_text and number < len(lines) and (
                    not lines[number].strip() or lines[number].startswith('#include')):
                result.append('/// @file')
                has_text = True
                comment = []
            before = set()
            fresh = True
            if number == len(lines): break
            line = lines[number]
            indent = len(line) - len(line.lstrip())
        else: fresh = False

        opened = re.match(r'\s*(?:template\s*<.*>\s*)?(?:class|struct)\s+(?:QV_\w+\s+)*(?:alignas\(\w+\)\s+)?(\w+)[^;]*$', line)
        if opened: pending_class = opened.group(1)
        if line.strip() == '{' and pending_class:
            classes.append((indent, pending_class))
            pending_class = None
        if re.match(r'\s*};?\s*$', line) and classes and classes[-1][0] == indent: classes.pop()

        if not fresh and (not line.strip() or NO_DECLARATION.match(line)):
            comment, before = [], set()
        declared = None
        if not NO_DECLARATION.match(line) and not opened: declared = declaration_at(lines, number)
        if declared and CLASS.match(declared[0]): declared = None
        if declared is None:
            result.append('' if line.startswith('extern template') else line)
            number += 1
            continue
        text, behind = declared
        name = name_of(text)
        class_name = classes[-1][1] if classes else None
        if not fresh:
            standard = standard_text(text, class_name) if class_name else None
            if standard: result.append(' ' * indent + '/// ' + standard)
            elif shares(name, comment, before, re.search(r'\boverride\b|= delete;', text.split('{')[0])):
                for one in comment: result.append(' ' * indent + one)
            else: comment, before = [], set()
        if comment and name: before.add(name)
        while number < behind:
            result.append(lines[number])
            number += 1
    if not has_text: result.append('/// @file')
    return '\n'.join(result) + '\n'

