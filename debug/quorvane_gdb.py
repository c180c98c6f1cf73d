"""Printers of the library's types for gdb.

Where the library is a shared one in a folder that gdb trusts, gdb loads them by itself; elsewhere, with the folder that
this file is in:

    (gdb) source <folder>/quorvane_gdb.py
"""

import os
import sys

import gdb
import gdb.printing

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import quorvane_layout as layout  # noqa: E402


class _Memory(layout.Memory):
    def __init__(self):
        order = gdb.execute("show endian", to_string=True)
        super().__init__(gdb.lookup_type("void").pointer().sizeof, "little endian" in order)

    def read(self, address, count):
        try:
            return bytes(gdb.selected_inferior().read_memory(address, count))
        except (gdb.error, OverflowError):
            raise layout.Unreadable() from None


class _Value:
    """The bytes of a value: of memory, by their layout; of registers, by its fields."""

    def __init__(self, value):
        self.value = value
        self.memory = _Memory()
        self.address = None if value.address is None else int(value.address)

    def pointer(self, offset=0, field=None):
        if self.address is not None:
            return self.memory.pointer(self.address + offset)
        return int(_only_pointer(self.value) if field is None else self.value[field])

    def word(self, offset, field):
        if self.address is not None:
            return self.memory.word(self.address + offset)
        return int(self.value[field])


def _only_pointer(value):
    """The pointer in a value of one pointer, however deep its classes."""
    while value.type.strip_typedefs().code != gdb.TYPE_CODE_PTR:
        fields = value.type.strip_typedefs().fields()
        if not fields:
            raise layout.Broken("the program has no debug information for " + str(value.type))
        value = value[fields[0]]
    return value


class _Printer:
    """Asks `show` of the value, and shows what goes wrong instead of failing."""

    def __init__(self, value):
        self.value = _Value(value)

    def to_string(self):
        try:
            return self.show()
        except layout.Broken as reason:
            return layout.broken(reason)
        except (layout.Unreadable, gdb.error) as reason:
            return layout.broken(str(reason) or "it cannot be read")


class StringPrinter(_Printer):
    def show(self):
        return layout.show_string(self.value.memory, self.value.pointer())


class ContainerPrinter(_Printer):
    def show(self):
        if self.value.address is None:
            raise layout.Broken("a container that is not in memory")
        return layout.show_container(self.value.memory, self.value.address)


class ViewPrinter(_Printer):
    def show(self):
        data = self.value.pointer(0, "m_Data")
        return layout.show_view(self.value.memory, data, self.value.word(self.value.memory.pointer_bytes, "m_Length"))


class _Elements(_Printer):
    """What has elements: `place` gives the address of the first one, their number and their distance."""

    def __init__(self, value):
        super().__init__(value)
        self.element = value.type.strip_typedefs().template_argument(0)

    def display_hint(self):
        return "array"

    def children(self):
        try:
            first, count, stride = self.place()
        except (layout.Broken, layout.Unreadable, gdb.error):
            return
        for index in range(count):
            yield "[%d]" % index, gdb.Value(first + index * stride).cast(self.element.pointer()).dereference()

    def element_bytes(self):
        return self.element.sizeof

    def counts(self, *fields):
        size = self.value.memory.pointer_bytes
        return [self.value.word(size + 4 * i, field) for i, field in enumerate(fields)]


class ArrayPrinter(_Elements):
    def show(self):
        count, room = self.counts("m_Count", "m_MaxCount")
        return layout.show_array(self.value.pointer(0, "m_Data"), count, room)

    def place(self):
        count, room = self.counts("m_Count", "m_MaxCount")
        data = self.value.pointer(0, "m_Data")
        return data, count if count <= room and data != 0 else 0, self.element_bytes()


class MemoryViewPrinter(_Elements):
    def show(self):
        return layout.show_elements(self.value.pointer(0, "m_Data"), *self.counts("m_Count"))

    def place(self):
        data = self.value.pointer(0, "m_Data")
        (count,) = self.counts("m_Count")
        return data, count if data != 0 else 0, self.element_bytes()


class StridedViewPrinter(_Elements):
    def __init__(self, value):
        super().__init__(value)
        if self.value.address is None:
            self.value.value = value["m_Storage"]

    def show(self):
        count, stride = self.counts("m_Count", "m_Stride")
        text = layout.show_elements(self.value.pointer(0, "m_RawDataPtr"), count)
        return "%s, stride %d" % (text, stride)

    def place(self):
        count, stride = self.counts("m_Count", "m_Stride")
        data = self.value.pointer(0, "m_RawDataPtr")
        return data, count if data != 0 else 0, stride


class GuidPrinter(_Printer):
    def show(self):
        number = self.value.value["m_Guid"]
        return layout.show_guid(int(number), 8 * number.type.sizeof)


class RankedPrinter(_Printer):
    def show(self):
        value = self.value.value
        return layout.show_ranked(int(value["m_IndexInStringList"]), float(value["m_MatchWeight"]))


class PointerPrinter(_Printer):
    def show(self):
        address = self.value.pointer()
        pointee = self.value.value.type.strip_typedefs().template_argument(0)
        if str(pointee.unqualified()) == "Quorvane::CStringContainer":
            return "null" if address == 0 else layout.show_container(self.value.memory, address)
        return layout.show_pointer(address, self._references(address, pointee))

    def _references(self, address, pointee):
        counts = _counts_within(pointee)
        if address == 0 or counts is None:
            return None
        try:
            return layout.references_of(self.value.memory, address + counts)
        except layout.Unreadable:
            return None


def _counts_within(class_type):
    """Where the counted base lies in an object; None where the class is not known, or has none."""
    class_type = class_type.strip_typedefs()
    if class_type.name in layout.COUNTED_BASES:
        return 0
    if class_type.code != gdb.TYPE_CODE_STRUCT:
        return None
    for field in class_type.fields():
        if field.is_base_class and hasattr(field, "bitpos"):
            within = _counts_within(field.type)
            if within is not None:
                return field.bitpos // 8 + within
    return None


_PRINTERS = (
    ("CString", "CString", StringPrinter),
    ("CStringContainer", "CStringContainer", ContainerPrinter),
    ("CStringView", "CStringView", ViewPrinter),
    ("TArray", "TArray<.*>", ArrayPrinter),
    ("TMemoryView", "TMemoryView<.*>", MemoryViewPrinter),
    ("TStridedMemoryView", "TStridedMemoryView<.*>", StridedViewPrinter),
    ("TGuid", "TGuid<.*>", GuidPrinter),
    ("TRefPtr", "TBaseRefPtr<.*>", PointerPrinter),
    ("SFuzzyMatchListElement", "CString::SFuzzyMatchListElement", RankedPrinter),
)


def _collection():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("quorvane")
    for name, pattern, printer in _PRINTERS:
        printers.add_printer(name, "^Quorvane::" + pattern + "$", printer)
    return printers


gdb.printing.register_pretty_printer(None, _collection(), replace=True)
