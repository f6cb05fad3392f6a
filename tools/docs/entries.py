"""What the search finds: the names of the reference, and the sections of the pages."""
import re
import xml.etree.ElementTree as ElementTree

import pages


def text_of(node):
    return re.sub(r"\s+", " ", "".join(node.itertext())).strip() if node is not None else ""


def reference(work):
    """The compounds and members of the reference: [name, where, kind, address, text], header, whether it is nested.
    A sixth element marks members that few look for: protected ones, and what a class only inherits."""
    kinds = {"class": "class", "struct": "class", "union": "class", "function": "function", "define": "macro",
             "typedef": "type", "enum": "type", "variable": "constant"}
    seen = set()
    for entry in ElementTree.parse(work / "xml/index.xml").getroot().findall("compound"):
        kind = entry.get("kind")
        if kind not in ("class", "struct", "union", "file", "namespace"):
            continue
        compound = ElementTree.parse(work / f"xml/{entry.get('refid')}.xml").getroot().find("compounddef")
        location = compound.find("location")
        header = location.get("file") if location is not None else ""
        name = text_of(compound.find("compoundname"))
        if kind == "file" and not name.endswith(".h"):
            continue
        short = name.rsplit("::", 1)[-1]
        brief = text_of(compound.find("briefdescription"))
        address = f"{entry.get('refid')}.html"
        if kind in ("class", "struct", "union") and compound.get("prot") != "private":
            yield [short, name.rpartition("::")[0], "class", address, brief], header, "::" in name
        elif kind == "file":
            yield [header, "", "header", address, brief], header, False
        for member in compound.iter("memberdef"):
            anchor = member.get("id").rpartition("_1")[2]
            page = member.get("id").rpartition("_1")[0]
            member_name = text_of(member.find("name"))
            if member.get("prot") == "private" or member_name.lstrip("~") == short or member.get("kind") == "friend":
                continue
            if kind == "file" and page != entry.get("refid"):
                continue
            where = name if kind != "file" else ""
            text = text_of(member.find("briefdescription"))
            item = [member_name, where, kinds.get(member.get("kind"), "type"), f"{address}#{anchor}", text]
            owner = re.sub(r"<.*>", "", text_of(member.find("qualifiedname"))).rpartition("::")[0]
            mark = [1] if where and (member.get("prot") == "protected" or owner != re.sub(r"<.*>", "", where)) else []
            # Overloads are one result: they stand together on the page. One with a text is taken first.
            if (member_name, where) not in seen:
                seen.add((member_name, where))
                yield item + mark, header, True
            for value in member.findall("enumvalue"):
                place = value.get("id").rpartition("_1")[2]
                value_item = [text_of(value.find("name")), where or member_name, "constant", f"{address}#{place}",
                              text_of(value.find("briefdescription"))]
                yield value_item + mark, header, True


def page_entries(site_pages):
    for page in site_pages:
        heading, words, taken = page.headings[0] if page.headings else None, [], []
        headings = iter(page.headings)
        for kind, line in pages.lines_with_kind(page.text):
            if kind == "text" and re.match(r"#{1,6} ", line):
                if words or taken:
                    yield section(page, heading, words)
                heading, words = next(headings), []
                taken.append(heading)
            elif kind != "fence":
                words.append(pages.plain(line) if kind == "text" else line.strip())
        yield section(page, heading, words)


def section(page, heading, words):
    text = re.sub(r"\s+", " ", re.sub(r"[|]|-{3,}", " ", " ".join(words))).strip()
    first = heading is page.headings[0]
    address = f"{page.label}.html" + ("" if first else f"#{page.label}_{heading.slug}")
    return [heading.text, "" if first else page.title, "page" if first else "section", address, text]
