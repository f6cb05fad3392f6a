#!/usr/bin/env python3
"""filter_header.py HEADER: the header as doxygen is to read it.

A header gets a text, without which doxygen leaves out its functions. A typed container gets the public calls of the
internal bases that it shares with the others, so that its page has all that it can do. Comments that speak for more
than one declaration are given to each (see shared_comments.py).
"""
import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True
import shared_comments  # noqa: E402

INTERNAL = Path(__file__).resolve().parents[2] / "framework/basic/internal"
# What has the calls that containers share, and what they call these bases in their own declarations.
SHARED = ("typed_elements.h", "typed_sequence.h")
ALIASES = ("Sequence", "Elements", "Nodes", "Vector")
TYPED = re.compile(r"^class (?:QV_EXPORT )?(\w+)\s*: public orvel_internal::(CTypedSequence|CTypedNodes)<T, ([^{]*)>\s*$", re.M)


def code_only(text):
    """The text with comments, strings and preprocessor lines blanked, at the same places."""
    def blank(match):
        return re.sub(r"[^\n]", " ", match[0])
    return re.sub(r"//[^\n]*|/\*.*?\*/|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])'|^[ \t]*#[^\n]*", blank, text,
                  flags=re.S | re.M)


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


def members(body):
    """Of each member of a class body its access, its comment and its declaration without the code."""
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
                begin, close = body_of(body, end)
                is_type = re.search(r"\b(class|struct|enum|union)\b[^;()]*$", code[place:end])
                rest = close + 1
                if is_type:
                    rest = code.index(";", close) + 1
                    declaration = body[place:rest]
                else:
                    # What stands between the parameters and the code initialises members.
                    head = re.sub(r"\)((?:\s*(?:const|override|noexcept))*)\s*:(?!:).*", r")\1", body[place:end].rstrip(),
                                  flags=re.S)
                    declaration = head.rstrip() + ";"
                break
            end += 1
        comment = re.match(r"(?:\s*//[^\n]*\n)*", declaration)[0]
        result.append((access, comment.strip("\n"), declaration[len(comment):].strip()))
        place = rest


def function_name(declaration):
    found = re.search(r"(operator\s*[^\s\w(]+(?:\(\))?|operator \w+|~?\w+)\s*\(", re.sub(r"^template <.*?>\n", "", declaration,
                                                                        flags=re.S))
    return found[1] if found else None


def parameters(declaration):
    """What tells overloads apart: the types, without names and default arguments."""
    text = declaration[declaration.index(function_name(declaration)):]
    text = text[text.index("("):text.rindex(")") + 1] + text[text.rindex(")") + 1:].replace("override", "").strip("; ")
    text = re.sub(r" = [^,)]*(?:\(\))?", "", text)
    return re.sub(r"(\w+&*\*?) ?\w*([,)])", r"\1\2", text).replace(" ", "")


def shared_calls(shared, name, chain, base, own):
    """The public calls of the bases in chain, but for those that the class hides by its own."""
    declared, taken, again = {}, set(), {alias: set() for alias in ALIASES}
    for access, _, declaration in own:
        used = re.match(r"using (?:\w+::)*(\w+)::(\w+);", declaration)
        if used and used[1] in ALIASES:
            again[used[1]].add(used[2])
        elif used:
            declared.setdefault(used[2], set())
        elif alias := re.match(r"using (\w+) =", declaration):
            declared.setdefault(alias[1], set())
        elif function_name(declaration):
            declared.setdefault(function_name(declaration), set()).add(parameters(declaration))
    lines = []
    for shared_class in chain:
        here = set()
        wanted = again["Vector"] if shared_class == "CVectorOf" else set().union(*again.values())
        begin, end = body_of(shared, re.search(rf"^class {shared_class}\b", shared, re.M).start())
        for access, comment, declaration in members(shared[begin:end]):
            if access != "public" or declaration.startswith(("~", "static_assert")):
                continue
            used = re.match(r"using (?:typename )?Base::(\w+);", declaration)
            alias = re.match(r"using (\w+) =", declaration)
            called = used[1] if used else alias[1] if alias else function_name(declaration)
            # What this one does for the others is told there.
            if shared_class == "CVectorOf" and called not in wanted:
                continue
            if called in taken or (called in declared and called not in wanted):
                continue
            if called in declared and (used or alias or parameters(declaration) in declared[called]):
                continue
            here.add(called)
            lines.append((comment + "\n" if comment else "") + as_of(name, base, declaration))
        taken |= here
    return "\n".join(lines)


def as_of(name, base, declaration):
    """A shared declaration as a member of the class of that name; what only selects overloads is left out."""
    declaration = re.sub(r"\bBase\b", base, declaration)
    declaration = re.sub(r"\bCTyped(Sequence|Nodes|Elements)\b|\bContainer\b", name, declaration)
    declaration = re.sub(r"template <typename Movable = T>\n|, typename Movable = T\b", "", declaration)
    declaration = declaration.replace("MovedResult<Movable>", "QvResult")
    declaration = re.sub(r"std::enable_if_t<!std::is_scalar<Movable>::value(?:, ([^>]*))?>",
                         lambda found: found[1] or "void", declaration)
    return declaration.replace("orvel_internal::", "")


def with_shared_calls(text, header):
    shared = "\n".join((INTERNAL / name).read_text(encoding="utf-8") for name in SHARED) + text
    handles = False
    while match := TYPED.search(text):
        name, first, arguments = match.groups()
        chain = [first]
        if "CVectorOf<" in arguments:
            chain.insert(0, "CVectorOf")
        if first != "CTypedNodes" and "CTypedNodes<" in arguments:
            chain.append("CTypedNodes")
        chain.append("CTypedElements")
        base = "CVectorBase" if "CVectorOf<" in arguments else re.match(r"\w+", arguments)[0]
        handles = handles or "CTypedNodes" in chain
        begin, end = body_of(text, match.end())
        own = members(text[begin:end])
        calls = shared_calls(shared, name, chain, base, own)
        head = re.sub(r"\s*: public orvel_internal::.*", "", match[0], flags=re.S).rstrip()
        body = re.sub(rf"^    using (?:{'|'.join(ALIASES)})::\w+;\n", "", text[begin:end], flags=re.M)
        text = text[:match.start()] + head + "\n{" + body + "\npublic:\n" + calls + "\n" + text[end:]
    if handles and Path(header).name == "list.h":
        for name in ("CNodeCursor", "CNodeIterator"):
            found = re.search(rf"(^///[^\n]*\n)*^template <[^\n]*>\nclass {name}\b", shared, re.M)
            text += "\n" + shared[found.start():body_of(shared, found.end())[1]] + "};\n"
    return text


def filtered(header):
    """The text of a header as doxygen is to read it."""
    return shared_comments.with_shared_comments(with_shared_calls(Path(header).read_text(encoding="utf-8"), header))


if __name__ == "__main__":
    sys.stdout.write(filtered(sys.argv[1]))
