"""How the library's types lie in memory, and how a debugger shows them.

A program that is linked to a Release library has no debug information for the blocks behind its strings, so they are read
by their layout. The numbers below are compared with the headers by a test. quorvane_gdb.py and quorvane_lldb.py give each
debugger the words that are made here.

Nothing here trusts what it reads: a block that cannot be one is shown as broken, with the reason, and no more than
MAX_SHOWN bytes of a text are read.
"""

import locale

# A container: the address of its virtual functions, and behind that, wherever pointers have this many bytes:
REFERENCES_BEHIND_POINTER = 0
WEAK_REFERENCES_BEHIND_POINTER = 4
LENGTH_BEHIND_POINTER = 8
CAPACITY_BEHIND_POINTER = 12
CHARACTERS_BEHIND_POINTER = 16
# From the beginning of the container; characters of the fixed form lie there.
FIXED_CHARACTERS = 32

# What has such counts, at the same places.
COUNTED_BASES = ("Quorvane::CRefCountedObject", "Quorvane::CRefCountedObjectBase")

LENGTH_MASK = 0x3FFFFFFF
RESIZABLE_FLAG = 0x80000000
DESTRUCTION_MARK = 0x40000000
BLOCK_BYTES = 16

# What debuggers show of a text.
MAX_SHOWN = 200


class Unreadable(Exception):
    """Memory that cannot be read; adapters raise it."""


class Broken(Exception):
    """What cannot be the block that it should be, with the reason."""


class Memory:
    """What a debugger lends: subclasses have read(address, count), which returns bytes or raises Unreadable."""

    def __init__(self, pointer_bytes, is_little_endian):
        self.pointer_bytes = pointer_bytes
        self.byte_order = "little" if is_little_endian else "big"

    def read(self, address, count):
        raise NotImplementedError

    def number(self, address, count):
        return self.number_in(self.read(address, count))

    def number_in(self, data):
        return int.from_bytes(data, self.byte_order)

    def word(self, address):
        return self.number(address, 4)

    def pointer(self, address):
        return self.number(address, self.pointer_bytes)


class Block:
    """A container of characters, read and checked."""

    def __init__(self, memory, address):
        self.address = address
        behind = address + memory.pointer_bytes
        try:
            self.references = memory.word(behind + REFERENCES_BEHIND_POINTER)
            weak = memory.word(behind + WEAK_REFERENCES_BEHIND_POINTER)
            length = memory.word(behind + LENGTH_BEHIND_POINTER)
            self.capacity = memory.word(behind + CAPACITY_BEHIND_POINTER)
            self.characters = memory.pointer(behind + CHARACTERS_BEHIND_POINTER)
        except Unreadable:
            raise Broken("there is no memory at 0x%x" % address) from None
        self.weak_references = weak & ~DESTRUCTION_MARK if weak & 0x80000000 == 0 else weak
        self.length = length & LENGTH_MASK
        self.is_resizable = length & RESIZABLE_FLAG != 0
        self._check(memory)

    def _check(self, memory):
        if self.references == 0:
            raise Broken("the block at 0x%x has no references: it was freed, or is being freed" % self.address)
        if self.references >= 0x80000000:
            raise Broken("the block at 0x%x has %d references" % (self.address, self.references - (1 << 32)))
        if self.capacity == 0 or self.capacity % BLOCK_BYTES != 0 or self.capacity > LENGTH_MASK + 1:
            raise Broken("the block at 0x%x has room for %d bytes" % (self.address, self.capacity))
        if self.length >= self.capacity:
            raise Broken("the block at 0x%x has %d characters and room for %d bytes"
                         % (self.address, self.length, self.capacity))
        if not self.is_resizable and self.characters != self.address + FIXED_CHARACTERS:
            raise Broken("the block at 0x%x has its characters at 0x%x" % (self.address, self.characters))
        try:
            terminator = memory.read(self.characters + self.length, 1)
        except Unreadable:
            raise Broken("the block at 0x%x has its characters at 0x%x, where there is no memory"
                         % (self.address, self.characters)) from None
        if terminator != b"\0":
            raise Broken("the text at 0x%x does not end where its length of %d says" % (self.characters, self.length))


def references_of(memory, counted):
    """The count of references of a counted object, by the address of its counted base."""
    return memory.word(counted + memory.pointer_bytes + REFERENCES_BEHIND_POINTER)


def broken(reason):
    return "<broken: %s>" % reason


def _is_shown_as_it_is(character):
    return character.isprintable() and character not in '"\\'


_ESCAPES = {"\n": "\\n", "\t": "\\t", "\r": "\\r", '"': '\\"', "\\": "\\\\"}


def quote(data, is_cut=False):
    """A text in quotes: bytes that are not printable as escapes; characters of UTF-8 where the terminal has them."""
    has_utf8 = locale.getpreferredencoding(False).lower().replace("-", "") == "utf8"
    text = data.decode("utf-8" if has_utf8 else "ascii", "surrogateescape")
    shown = []
    for character in text:
        code = ord(character)
        if _is_shown_as_it_is(character):
            shown.append(character)
        elif character in _ESCAPES:
            shown.append(_ESCAPES[character])
        elif 0xDC80 <= code <= 0xDCFF:
            shown.append("\\x%02x" % (code - 0xDC00))
        else:
            shown.extend("\\x%02x" % byte for byte in character.encode("utf-8"))
    return '"%s"%s' % ("".join(shown), "..." if is_cut else "")


def show_text(memory, address, length):
    """The characters at an address, cut to MAX_SHOWN bytes; raises Broken where they cannot be read."""
    count = min(length, MAX_SHOWN)
    try:
        data = memory.read(address, count) if count != 0 else b""
    except Unreadable:
        raise Broken("%d characters at 0x%x, where there is no memory" % (length, address)) from None
    return quote(data, count < length)


def show_string(memory, container):
    """A string, by the address of its container, which may be 0."""
    if container == 0:
        return '""'
    try:
        block = Block(memory, container)
        text = show_text(memory, block.characters, block.length)
    except Broken as reason:
        return broken(reason)
    return text if block.references == 1 else "%s shared by %d" % (text, block.references)


def show_container(memory, address):
    """A container: its text, form, length and room, and its counts."""
    try:
        block = Block(memory, address)
        text = show_text(memory, block.characters, block.length)
    except Broken as reason:
        return broken(reason)
    return "%s, %s, length %d, room for %d, references %d, weak %d" % (
        text, "resizable" if block.is_resizable else "fixed", block.length, block.capacity - 1, block.references,
        block.weak_references)


def show_view(memory, data, length):
    """A view: no character beyond its end is read. A view of null is told from an empty one."""
    if data == 0:
        return "null" if length == 0 else broken("a view of null with %d characters" % length)
    try:
        return show_text(memory, data, length)
    except Broken as reason:
        return broken(reason)


def show_array(data, count, room):
    """The summary of an array; elements are the debugger's."""
    if count > room or (data == 0 and room != 0):
        return broken("%d elements at 0x%x, with room for %d" % (count, data, room))
    return "%d element%s, room for %d" % (count, "" if count == 1 else "s", room)


def show_elements(data, count):
    """The summary of a memory view; elements are the debugger's."""
    if data == 0 and count != 0:
        return broken("a view of null with %d elements" % count)
    return "%d element%s" % (count, "" if count == 1 else "s")


def show_guid(value, bits):
    """A guid: the number, or INVALID where all bits are set."""
    return "INVALID" if value & ((1 << bits) - 1) == (1 << bits) - 1 else str(value)


def show_ranked(index, weight):
    """An element of a fuzzy ranking."""
    return "entry %d, weight %.6g" % (index, weight)


def show_pointer(address, references):
    """A counted pointer; `references` is None where the object's counts are not known."""
    if address == 0:
        return "null"
    return "0x%x" % address if references is None else "0x%x, references %d" % (address, references)
