"""gdb pretty-printers for the classes of liborvel_framework.

They read memory and nothing else, so that core dumps will do, and only through the debug information of the classes,
which class_layouts.o gives to a library that was built or stripped without. An object may be anything: not constructed
yet, destroyed, overwritten. Before a printer believes what it reads, it compares what must agree; where that does not,
it says so in angle brackets, as gdb does. Children are read one by one as gdb asks for them, so that its limits hold
(`set print elements`).
"""
import datetime
import os
import shlex

import gdb
import gdb.printing

RESULT_NAMES = {
    0x00000000: "QV_RES_OK",
    0x80000001: "QV_RES_FAIL",
    0x80000002: "QV_RES_INVALID_STATE",
    0x80000003: "QV_RES_INVALID_ARGUMENT",
    0x80000007: "QV_RES_OUT_OF_MEMORY",
    0x80000009: "QV_RES_ALREADY_EXISTS",
    0x80008417: "QV_RES_THREAD_ATTRIBUTES",
    0x80008418: "QV_RES_THREAD_CREATE_FAILED",
    0x80008419: "QV_RES_TSD_UNAVAILABLE",
    0x8000841A: "QV_RES_TSD_KEY_NOT_FOUND",
    0x8000841B: "QV_RES_THREAD_JOIN_SELF",
    0x80008422: "QV_RES_NO_INTERFACE",
    0x80008424: "QV_RES_CLASS_NOT_REGISTERED",
}
# By the two most significant bits.
RESULT_CLASSES = ("success", "success with a warning", "failure", "severe failure")

BYTE_CHUNK = 256
# An AA tree of 2^32 elements is no higher.
MAX_TREE_HEIGHT = 64
# 8.8 MB: a longer marshaler is not counted to its end.
MAX_SEGMENTS = 100000

UNREADABLE = (gdb.error, OverflowError, ValueError)


class Damaged(ValueError):
    """What an object holds contradicts itself."""


def require(condition, complaint):
    if not condition:
        raise Damaged(complaint)


def require_capacity(capacity, size):
    """Sizes in bytes, and so numbers of elements, have 32 bits."""
    require(capacity * size < 1 << 32, f"a capacity of {capacity} elements cannot be")


def counted(count, noun):
    return f"{count} {noun}" if count == 1 else f"{count} {noun}s"


def print_limit():
    """How many elements of an array gdb prints, None for all."""
    if hasattr(gdb, "print_options"):  # from gdb 13 on; knows also what `print -elements` says
        return gdb.print_options()["max_elements"] or None
    return gdb.parameter("print elements") or None


def read_bytes(address, size):
    return bytes(gdb.selected_inferior().read_memory(int(address), size)) if size > 0 else b""


def bytes_from(address, size):
    """The bytes one by one, read as they are asked for."""
    for offset in range(0, size, BYTE_CHUNK):
        yield from read_bytes(address + offset, min(BYTE_CHUNK, size - offset))


def hex_text(address, size):
    """The bytes in pairs of digits, no more of them than gdb prints of an array."""
    limit = print_limit()
    shown = size if limit is None else min(size, limit)
    return " ".join(f"{byte:02x}" for byte in bytes_from(int(address), shown)) + ("..." if shown < size else "")


class Printer:
    """Reads what it needs when it is made; then tells it, or why it could not be read."""

    def __init__(self, value):
        self.value = value
        self.name = str(value.type.strip_typedefs().unqualified())
        self.problem = None
        try:
            self.read()
        except UNREADABLE as error:
            self.problem = f"<{self.name}: {error}>"

    def number(self, field):
        return int(self.value[field])

    def to_string(self):
        if self.problem is not None:
            return self.problem
        try:
            return self.describe()
        except UNREADABLE as error:
            return f"<{self.name}: {error}>"


class ChildrenPrinter(Printer):
    """Tells also what is inside: the values of items()."""

    def children(self):
        if self.problem is not None:
            return
        index = 0
        try:
            for item in self.items():
                yield f"[{index}]", item
                index += 1
        except UNREADABLE as error:
            yield f"[{index}]", f"<{error}>"

    def display_hint(self):
        return "array"


class StringPrinter(Printer):
    """CString: its text, as gdb shows any string."""

    def read(self):
        info = self.value["m_pstInfo"]
        require(int(info) != 0, "no text yet")
        self.size = int(info["uSize"])
        require(self.size <= int(info["uCapacity"]), f"size {self.size} above capacity {int(info['uCapacity'])}")
        characters = info["szCharacters"]
        self.text = characters.address.cast(characters.type.target().pointer())
        # Before gdb does, which would complain in the midst of a line.
        read_bytes(self.text, self.size)

    def describe(self):
        return self.text.lazy_string(length=self.size)

    def display_hint(self):
        return "string" if self.problem is None else None


class BytesPrinter(ChildrenPrinter):
    def items(self):
        return (f"0x{byte:02x}" for byte in self.bytes())


class BlobPrinter(BytesPrinter):
    """CBlob: its bytes and the cursor of reading."""

    def read(self):
        self.size, self.capacity = self.number("m_uSize"), self.number("m_uCapacity")
        self.read_index, self.read_bits = self.number("m_uReadIndex"), self.number("m_uReadBitOffset")
        self.storage = self.number("m_pvStorage")
        require(self.size <= self.capacity, f"size {self.size} above capacity {self.capacity}")
        require(self.number("m_uElementSize") == 1, "elements that are not bytes")
        require(self.storage != 0 or self.capacity == 0, "no storage")

    def describe(self):
        bits = f" and {counted(self.read_bits, 'bit')}" if self.read_bits != 0 else ""
        return f"CBlob of {counted(self.size, 'byte')}, capacity {self.capacity}, read index {self.read_index}{bits}"

    def bytes(self):
        return bytes_from(self.storage, self.size)


class MarshalerPrinter(BytesPrinter):
    """CMarshaler: all the bytes of its segments, extracted or not."""

    def read(self):
        inline = self.value["m_auInline"]
        write, write_end = self.number("m_puWrite"), self.number("m_puWriteEnd")
        read, read_end = self.number("m_puRead"), self.number("m_puReadEnd")
        start, size, later_size = int(inline.address), inline.type.sizeof, int(self.value["uSEGMENT_SIZE"])
        self.segments, self.stored, self.unread, seen = [], 0, None, set()
        while start + size != write_end:
            require(start not in seen, "its segments form a circle")
            require(len(seen) < MAX_SEGMENTS, f"more than {MAX_SEGMENTS} segments")
            seen.add(start)
            self.add_segment(start, size, start + size, read, read_end)
            start, size = int.from_bytes(read_bytes(start + size, 8), "little"), later_size
            require(start != 0, "the write pointer is in none of its segments")
        require(start <= write <= write_end, "the write pointer is outside of its segment")
        self.add_segment(start, write - start, write_end, read, read_end)
        require(self.unread is not None, "the read pointer is in none of its segments")

    def add_segment(self, start, size, end, read, read_end):
        self.segments.append((start, size))
        self.stored += size
        if end == read_end:
            require(start <= read <= end, "the read pointer is outside of its segment")
            # In the last segment more may have been extracted than was inserted.
            self.unread = max(0, start + size - read)
        elif self.unread is not None:
            self.unread += size

    def describe(self):
        return (f"CMarshaler of {counted(self.stored, 'byte')}, {self.unread} unread, "
                f"{counted(len(self.segments), 'segment')}")

    def bytes(self):
        for start, size in self.segments:
            yield from bytes_from(start, size)


class ContainerPrinter(ChildrenPrinter):
    """The elements of a container: typed, or as the bytes that they are to its untyped base.

    A derived class reads size and capacity and gives the addresses of the elements.
    """

    def read(self):
        self.element_size = self.number("m_uElementSize")
        self.element_type = self.type_of_elements()
        if self.element_type is not None:
            size = self.element_type.sizeof
            require(size == self.element_size, f"elements of {self.element_size} bytes, not {size}")
        self.read_container()

    def type_of_elements(self):
        return None if self.name.endswith("Base") else self.value.type.strip_typedefs().template_argument(0)

    def describe(self):
        each = "" if self.element_type is not None else f" of {counted(self.element_size, 'byte')}"
        return f"{self.name} of {counted(self.size, 'element')}{each}, capacity {self.capacity}"

    def items(self):
        for address in self.addresses():
            if self.element_type is None:
                yield hex_text(address, self.element_size)
            else:
                yield gdb.Value(address).cast(self.element_type.pointer()).dereference()


class VectorPrinter(ContainerPrinter):
    def read_container(self):
        self.size, self.capacity = self.number("m_uSize"), self.number("m_uCapacity")
        self.storage = self.number("m_pvStorage")
        require(self.size <= self.capacity, f"size {self.size} above capacity {self.capacity}")
        require_capacity(self.capacity, self.element_size)
        require(self.storage != 0 or self.capacity == 0, "no storage")

    def addresses(self):
        return (self.storage + index * self.element_size for index in range(self.size))


class VListPrinter(ContainerPrinter):
    def read_container(self):
        order = self.value["m_order"]
        self.size, self.capacity = int(order["m_uSize"]), int(order["m_uCapacity"])
        self.slots = order["m_pvStorage"].cast(order["m_pvStorage"].type.pointer())
        require(self.size <= self.capacity, f"size {self.size} above capacity {self.capacity}")
        require_capacity(self.capacity, self.slots.type.target().sizeof)
        require(int(self.slots) != 0 or self.capacity == 0, "no storage")

    def addresses(self):
        return (int(self.slots[index]) for index in range(self.size))


class NodesPrinter(ContainerPrinter):
    """Lists and trees: an element lies behind its node."""

    def read_container(self):
        self.size = self.number("m_uSize")
        self.capacity = self.size + int(self.value["m_nodeAllocator"]["m_uBlockCount"])
        require_capacity(self.capacity, 1)
        self.read_nodes()

    def addresses(self):
        return (int(node + 1) for node in self.nodes())


class ListPrinter(NodesPrinter):
    def read_nodes(self):
        self.head, self.tail = self.value["m_pHead"], self.value["m_pTail"]
        ends = [int(self.head), int(self.tail)]
        require(all(ends) if self.size != 0 else not any(ends), f"size {self.size} and ends that are not of it")

    def nodes(self):
        # A link back that fits each link forwards leaves no circle.
        previous, node = 0, self.head
        for index in range(self.size):
            require(int(node) != 0, f"the links end here, and the size is {self.size}")
            require(int(node["stBackwards"]["pNext"]) == previous, "the links break here")
            yield node
            previous, node = int(node), node["pFollowing"]
        require(previous == int(self.tail) and int(node) == 0, f"the links go on, and the size is {self.size}")


class AATreePrinter(NodesPrinter):
    def read_nodes(self):
        self.root = self.value["m_pRoot"]
        self.capacity += self.number("m_uAllocatedCount")
        require(int(self.root) != 0 or self.size == 0, f"size {self.size} and no root")

    @staticmethod
    def is_sentinel(node):
        return int(node["uLevel"]) == 0

    def child(self, node, side):
        """The node at the side, None for the sentinel. Each has one parent, so that no way leads back."""
        child = node[side]
        if self.is_sentinel(child):
            return None
        require(int(child["pParent"]) == int(node), "the links break here")
        return child

    def nodes(self):
        if self.size == 0:
            return
        waiting = []
        node = None if self.is_sentinel(self.root) else self.root
        for index in range(self.size):
            while node is not None:
                waiting.append(node)
                require(len(waiting) <= MAX_TREE_HEIGHT, "the tree is too high")
                node = self.child(node, "pLeft")
            require(waiting, f"the tree ends here, and the size is {self.size}")
            yield waiting[-1]
            node = self.child(waiting.pop(), "pRight")
        require(node is None and not waiting, f"the tree goes on, and the size is {self.size}")


class MapPrinter(AATreePrinter):
    """CMap: its entries in the order of their keys, as gdb shows any map."""

    def type_of_elements(self):
        # The tree below it has them as elements.
        tree = self.value.type.strip_typedefs().fields()[0].type
        return tree.strip_typedefs().template_argument(0)

    def describe(self):
        entries = f"{self.size} entry" if self.size == 1 else f"{self.size} entries"
        return f"{self.name} of {entries}, capacity {self.capacity}"

    def children(self):
        if self.problem is not None:
            return
        index = 0
        try:
            for entry in self.items():
                yield f"[{index}] key", entry["key"]
                yield f"[{index}] value", entry["value"]
                index += 1
        except UNREADABLE as error:
            # The same text in place of a key and of its value: gdb expects both.
            yield f"[{index}] key", f"<{error}>"
            yield f"[{index}] value", f"<{error}>"

    def display_hint(self):
        return "map"


class TimePrinter(Printer):
    """CTime: the moment in UTC, then its members."""

    MEMBERS = ("m_timeZone", "m_uJulianDay", "m_uTimeMs", "m_bDefault")
    JULIAN_DAY_OF_ORDINAL_0 = 1721425

    def read(self):
        self.day, self.time = self.number("m_uJulianDay"), self.number("m_uTimeMs")

    def describe(self):
        ordinal = self.day - self.JULIAN_DAY_OF_ORDINAL_0
        in_range = 1 <= ordinal <= datetime.date.max.toordinal()
        day = datetime.date.fromordinal(ordinal).isoformat() if in_range else f"Julian day {self.day}"
        seconds, ms = divmod(self.time, 1000)
        # 24 hours and more stay in their day.
        return f"{day} {seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02}.{ms:03} UTC"

    def children(self):
        if self.problem is None:
            for name in self.MEMBERS:
                yield name, self.value[name]


class TimeZonePrinter(Printer):
    """CTimeZone: the text that describes it."""

    def read(self):
        self.text = self.value["m_strTimeZone"]
        string = StringPrinter(self.text)
        require(string.problem is None, "no text")
        self.is_set = string.size != 0

    def describe(self):
        return self.text if self.is_set else "UTC, never set"


class VersionPrinter(Printer):
    PARTS = ("m_uMajor", "m_uMinor", "m_uRelease", "m_uBuild")

    def read(self):
        self.parts = [self.number(part) for part in self.PARTS]

    def describe(self):
        return ".".join(map(str, self.parts))


class MutexPrinter(Printer):
    """CMutex: who holds it, by the thread number of the system (LWP in `info threads`)."""

    def read(self):
        lock = self.value["m_mutex"]["__data"]
        self.is_locked = int(lock["__lock"]) != 0
        self.owner, self.count = int(lock["__owner"]), int(lock["__count"])

    def describe(self):
        return f"CMutex, held by LWP {self.owner}, {counted(self.count, 'time')}" if self.is_locked else "CMutex, free"


class GuidPrinter(Printer):
    """SEComGuid: its bytes, and the text that they mostly are."""

    def read(self):
        self.size, self.data = self.number("uSize"), self.value["puData"]
        require(int(self.data) != 0 or self.size == 0, f"{counted(self.size, 'byte')} at null")

    def describe(self):
        digits = f": {hex_text(self.data, self.size)}" if self.size != 0 else ""
        return f"SEComGuid of {counted(self.size, 'byte')}{digits}{self.text()}"

    def text(self):
        if not 1 < self.size <= (print_limit() or self.size):
            return ""
        *characters, last = read_bytes(self.data, self.size)
        is_text = last == 0 and all(0x20 <= character < 0x7F for character in characters)
        return f' "{bytes(characters).decode()}"' if is_text else ""


class ResultPrinter(Printer):
    """QvResult: its name; an application's own code by its class."""

    def read(self):
        self.code = int(self.value) & 0xFFFFFFFF

    def describe(self):
        return RESULT_NAMES.get(self.code) or f"0x{self.code:08x} ({RESULT_CLASSES[self.code >> 30]})"


class OrvelPrinters(gdb.printing.RegexpCollectionPrettyPrinter):
    """Finds a printer by the name of the type; that of a typedef counts where it stands for a number."""

    def __init__(self):
        super().__init__("orvel_framework")
        for name, printer in (("CAATree", AATreePrinter), ("CList", ListPrinter), ("CVector", VectorPrinter),
                              ("CVList", VListPrinter)):
            self.add_printer(name, f"^{name}<.*>$", printer)
            self.add_printer(f"{name}Base", f"^{name}Base$", printer)
        for name, printer in (("CBlob", BlobPrinter), ("CMarshaler", MarshalerPrinter), ("CMutex", MutexPrinter),
                              ("CString", StringPrinter), ("CTime", TimePrinter), ("CTimeZone", TimeZonePrinter),
                              ("CVersion", VersionPrinter), ("QvResult", ResultPrinter), ("SEComGuid", GuidPrinter)):
            self.add_printer(name, f"^{name}$", printer)
        self.add_printer("CMap", "^CMap<.*>$", MapPrinter)

    def __call__(self, value):
        if value.type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
        return super().__call__(value)


def add_layouts(file):
    """Gives gdb the debug information of the classes, unless it has it: it stays when the program is run again."""
    if not any(os.path.realpath(objfile.filename) == file for objfile in gdb.objfiles()):
        gdb.execute(f"add-symbol-file {shlex.quote(file)}", to_string=True)


def register(objfile):
    """Makes gdb use the printers as long as it has the library, once or again."""
    directory = os.path.dirname(os.path.abspath(__file__))
    add_layouts(os.path.realpath(os.path.join(directory, "class_layouts.o")))
    gdb.printing.register_pretty_printer(objfile, OrvelPrinters(), replace=True)
