#!/usr/bin/env python3
"""filter_header.py HEADER: the header as doxygen is to read it.

A header gets a text, without which doxygen leaves out its functions. A typed container gets the public calls of its
internal bases, so that its page has all that it can do. Comments that speak for more than one declaration are given to
each (see shared_comments.py).
"""
import functools
import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True
import shared_comments  # noqa: E402

INTERNAL = Path(__file__).resolve().parents[2] / "framework/basic/internal"
INTERNAL_BASE = re.compile(r"\borvel_internal::(\w+)<")
CLASS = re.compile(r"^(?P<template>template <(?P<parameters>[^\n]*)>\n)?class (?:QV_EXPORT )?(?P<name>\w+)"
                   r"(?P<bases>\s*:(?!:)[^;{]*)?\s*(?=\{)", re.M)


@functools.lru_cache(maxsize=None)
def code_only(text):
    """The text with comments, strings and preprocessor lines blanked, at the same places."""
    def blank(match):
        return re.sub(r"[^\n]", " ", match[0])
    return re.sub(r"//[^\n]*|/\*.*?\*/|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])'|^[ \t]*#[^\n]*", blank, text,
                  flags=re.S | re.M)


@functools.lru_cache(maxsize=None)
def body_of(text, start):
    """Begin and end of what stands between the braces that open behind start."""
    code = code_only(text)
    begin = code.index("{", start)
    depth = 0
    for place in range(begin, len(code)):
        depth += {"{": 1, "}": -1}.get(code[place], 0)
        if depth == 0:
            return begin + 1, place
    raise ValueError("a brace is not closed")


def split_arguments(text):
    """What stands between the commas of a list of template arguments or parameters."""
    parts, depth = [""], 0
    for char in text:
        depth += {"<": 1, "(": 1, ">": -1, ")": -1}.get(char, 0)
        if char == "," and depth == 0:
            parts.append("")
        else:
            parts[-1] += char
    return [part.strip() for part in parts]


def closing(text, begin):
    """The place of the bracket that closes the one in front of begin."""
    depth = 1
    for place in range(begin, len(text)):
        depth += {"<": 1, ">": -1}.get(text[place], 0)
        if depth == 0:
            return place
    raise ValueError("a bracket is not closed")


class Member:
    def __init__(self, access, comment, declaration, apart):
        self.access, self.comment, self.declaration, self.apart = access, comment, declaration, apart

    def used(self):
        """For a using-declaration, the class that it names and the name."""
        found = re.match(r"using (?:typename )?([\w:<>, ]*?)::(\w+);", self.declaration)
        return (found[1], found[2]) if found else None

    def name(self):
        if self.used():
            return self.used()[1]
        alias = re.match(r"(?:template <[^\n]*>\s*)?using (\w+) =", self.declaration)
        return alias[1] if alias else function_name(self.declaration)

    def parameters(self):
        return parameters(self.declaration) if function_name(self.declaration) else None

    def replaced(self, pattern, text):
        return Member(self.access, self.comment, re.sub(pattern, lambda _: text, self.declaration), self.apart)


def members(body):
    """The members of a class body, their declarations without the code."""
    code = code_only(body)
    access, place, result = "private", 0, []
    while True:
        while label := re.compile(r"\s*(public|protected|private):").match(code, place):
            access, place = label[1], label.end()
        if not code[place:].strip():
            return result
        round_brackets, end = 0, place
        while True:
            char = code[end]
            round_brackets += {"(": 1, ")": -1}.get(char, 0)
            if char == ";" and round_brackets == 0:
                declaration, rest = body[place:end] + ";", end + 1
                break
            if char == "{" and round_brackets == 0:
                close = body_of(body, end)[1]
                rest = close + 1
                if re.search(r"\b(class|struct|enum|union)\b[^;()]*$", code[place:end]):
                    rest = code.index(";", close) + 1
                    declaration = body[place:rest]
                else:
                    # What stands between the parameters and the code initialises members.
                    head = re.sub(r"\)((?:\s*(?:const|override|noexcept))*)\s*:(?!:).*", r")\1",
                                  body[place:end].rstrip(), flags=re.S)
                    declaration = head.rstrip() + ";"
                break
            end += 1
        comment = re.match(r"(?:\s*//[^\n]*\n)*", declaration)[0]
        apart = bool(re.match(r"[ \t]*\n[ \t]*\n", declaration))
        result.append(Member(access, comment.strip("\n"), declaration[len(comment):].strip(), apart))
        place = rest


def function_name(declaration):
    plain = re.sub(r"^template <.*?>\n", "", declaration, flags=re.S)
    found = re.search(r"(operator\s*[^\s\w(]+(?:\(\))?|operator \w+|~?\w+)\s*\(", re.sub(r"<[^()]*>", "", plain)
                      if "operator" not in plain else plain)
    return found[1] if found else None


def parameters(declaration):
    """What tells overloads apart: the types, without names and default arguments."""
    text = declaration[declaration.rindex(function_name(declaration) + "("):]
    text = text[text.index("("):text.rindex(")") + 1] + text[text.rindex(")") + 1:].replace("override", "").strip("; ")
    text = re.sub(r" = [^,)]*(?:\(\))?", "", text)
    return re.sub(r"(\w+&*\*?) ?\w*([,)])", r"\1\2", text).replace(" ", "")


class Internals:
    """The internal class templates that public ones derive from."""

    def __init__(self, texts):
        self.found = {}
        for text in texts:
            for match in CLASS.finditer(text):
                if match["template"]:
                    self.found.setdefault(match["name"], (match, text))

    def instance(self, reference):
        """Members and bases of `orvel_internal::CTypedSequence<T, CListBase>`; None for what is not internal."""
        name = re.match(r"(?:orvel_internal::)?(\w+)<", reference)
        if not name or name[1] not in self.found:
            return None
        match, text = self.found[name[1]]
        begin, end = body_of(text, match.end())
        given = split_arguments(reference[name.end():closing(reference, name.end())])
        own, bases = members(text[begin:end]), match["bases"] or ""
        arguments = {}
        for place, parameter in enumerate(split_arguments(match["parameters"])):
            parameter, _, default = parameter.partition(" = ")
            for pattern, earlier in arguments.items():
                default = re.sub(pattern, lambda _, text=earlier: text, default)
            pattern = rf"\b{parameter.split()[-1].lstrip('.')}\b"
            arguments[pattern] = given[place] if place < len(given) else default
        for pattern, argument in arguments.items():
            own = [member.replaced(pattern, argument) for member in own]
            bases = re.sub(pattern, lambda _, text=argument: text, bases)
        own = [member.replaced(rf"\b{name[1]}\b(?!<)", reference) for member in own if member.name() != name[1]]
        return own, re.findall(r"\b(public|protected|private) ([^,<]*(?:<.*>)?)", bases.strip())

    def lookup(self, reference, name):
        """The public members of this name in a class or its bases."""
        instance = self.instance(reference)
        if not instance:
            return [Member("public", "", f"using {reference}::{name};", False)]
        own, bases = instance
        found = [member for member in own if member.access == "public" and member.name() == name]
        if not found:
            return [member for _, base in bases for member in self.lookup(base, name)]
        return [other for member in found for other in self.resolved(member)]

    def resolved(self, member):
        """What a using-declaration names, where that is internal."""
        if member.used() and self.instance(member.used()[0]):
            others = self.lookup(*member.used())
            if member.comment and others and not others[0].comment:
                others[0] = Member("public", member.comment, others[0].declaration, True)
            return others
        return [member]

    def calls(self, reference):
        """What users of a class can call, with what comes from its public bases."""
        instance = self.instance(reference)
        if not instance:
            return []
        own, bases = instance
        named = {member.name() for member in own}
        out = [other for member in own if member.access == "public" and not re.match("~|static_assert", member.declaration)
               for other in self.resolved(member)]
        for access, base in bases:
            if access == "public":
                out += [member for member in self.calls(base) if member.name() not in named]
        return out


def shared_calls(internals, name, base, own):
    """The public calls of a class's internal base, but for those that the class hides by its own."""
    aliases = {alias: target for alias, target in (
        re.match(r"using (\w+) = (.*);", member.declaration, re.S).groups() for member in own
        if re.match(r"using \w+ = ", member.declaration)) if INTERNAL_BASE.match(target)}
    while any(alias in re.findall(r"\w+", target) for alias in aliases for target in aliases.values()):
        aliases = {key: re.sub(r"\b(" + "|".join(aliases) + r")\b", lambda match: aliases[match[1]], target)
                   for key, target in aliases.items()}
    declared, again = {}, set()
    added = []
    for member in own:
        if member.used() and member.used()[0] in aliases:
            again.add(member.name())
            if member.access == "public":
                added += internals.lookup(aliases[member.used()[0]], member.name())
        elif member.name():
            declared.setdefault(member.name(), set()).add(member.parameters())
    calls = added + [member for member in internals.calls(base) if member.name() not in again]
    lines, there = [], set()
    for member in calls:
        is_hidden = member.name() in declared and member.name() not in again
        key = (member.name(), member.parameters())
        if is_hidden or key in there or member.parameters() in declared.get(member.name(), ()):
            continue
        there.add(key)
        declaration = re.sub(r"(?:orvel_internal::)?CTyped(?:Sequence|Nodes|Elements)<[^()&;]*>(?=[&:,)])", name,
                             member.declaration)
        declaration = re.sub(r"(?:orvel_internal::)?CVectorOf<T>(?=[&:,)])", name, declaration)
        declaration = re.sub(r"\bMovedResult<\w+>", "QvResult", declaration)
        lines.append(("\n" if member.apart or member.comment else "")
                     + (member.comment + "\n" if member.comment else "") + declaration.replace("orvel_internal::", ""))
    return "\n".join(lines)


def with_shared_calls(text, header):
    texts = [path.read_text(encoding="utf-8") for path in sorted(INTERNAL.glob("typed_*.h"))]
    internals = Internals(texts + [text])
    out, place, handles = "", 0, False
    for match in CLASS.finditer(text):
        base = INTERNAL_BASE.search(match["bases"] or "")
        if match.start() < place or not base or "QV_EXPORT" not in match[0] or base[1] not in internals.found:
            continue
        reference = match["bases"][base.start():closing(match["bases"], base.end()) + 1]
        reference = re.sub(r"\s+", " ", reference)
        handles = handles or "CTypedNodes" in reference
        begin, end = body_of(text, match.end())
        calls = shared_calls(internals, match["name"], reference, members(text[begin:end]))
        body = re.sub(r"^    using (?:typename )?(Sequence|Elements|Nodes|Vector)::\w+;\n", "", text[begin:end],
                      flags=re.M)
        head = match[0].replace(match["bases"], "").rstrip()
        out += text[place:match.start()] + head + "\n{" + body + "\npublic:\n" + calls + "\n"
        place = end
    out += text[place:]
    if handles and Path(header).name == "list.h":
        for name in ("CNodeCursor", "CNodeIterator"):
            found, shared = internals.found[name]
            start = re.search(r"(?:^///[^\n]*\n)*\Z", shared[:found.start()], re.M).start()
            out += "\n" + shared[start:body_of(shared, found.end())[1]] + "};\n"
    return out


def filtered(header):
    """The text of a header as doxygen is to read it."""
    return shared_comments.with_shared_comments(with_shared_calls(Path(header).read_text(encoding="utf-8"), header))


if __name__ == "__main__":
    sys.stdout.write(filtered(sys.argv[1]))
