"""Summaries of the library's types for lldb.

    (lldb) command script import <folder>/quorvane_lldb.py
"""

import os
import sys

import lldb

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import quorvane_layout as layout  # noqa: E402


class _Memory(layout.Memory):
    def __init__(self, process):
        super().__init__(process.GetAddressByteSize(), process.GetByteOrder() == lldb.eByteOrderLittle)
        self.process = process

    def read(self, address, count):
        error = lldb.SBError()
        data = self.process.ReadMemory(address, count, error)
        if error.Fail() or data is None or len(data) != count:
            raise layout.Unreadable()
        return data


class _Value:
    """The bytes of a value, wherever it is, by their layout."""

    def __init__(self, value):
        value = value.GetNonSyntheticValue()
        if value.GetType().IsReferenceType() or value.GetType().IsPointerType():
            value = value.Dereference().GetNonSyntheticValue()
        self.value = value
        self.memory = _Memory(value.GetProcess())
        error = lldb.SBError()
        data = value.GetData()
        self.data = data.ReadRawData(error, 0, data.GetByteSize())
        if error.Fail() or self.data is None:
            raise layout.Broken("it cannot be read")
        if len(self.data) < self.memory.pointer_bytes and not self._is_small():
            raise layout.Broken("the program has no debug information for " + value.GetTypeName())

    def _is_small(self):
        return len(self.data) != 0 and "TGuid<" in self.value.GetType().GetCanonicalType().GetName()

    def address(self):
        return self.value.AddressOf().GetValueAsUnsigned()

    def pointer(self):
        return self.memory.number_in(self.data[:self.memory.pointer_bytes])

    def counts(self, number):
        begin = self.memory.pointer_bytes
        return [self.memory.number_in(self.data[begin + 4 * i:begin + 4 * i + 4]) for i in range(number)]

    def type(self):
        return self.value.GetType().GetCanonicalType()


def _summary(show):
    """A function of the kind that lldb calls, which shows what goes wrong instead of failing."""

    def summary(value, _dictionary):
        try:
            return show(_Value(value))
        except layout.Broken as reason:
            return layout.broken(reason)
        except layout.Unreadable:
            return layout.broken("it cannot be read")

    return summary


def _view(value):
    return layout.show_view(value.memory, value.pointer(), value.counts(1)[0])


def _strided(value):
    count, stride = value.counts(2)
    return "%s, stride %d" % (layout.show_elements(value.pointer(), count), stride)


def _ranked(value):
    index = value.memory.number_in(value.data[:4])
    weight = value.value.GetChildMemberWithName("m_MatchWeight").GetData().GetFloat(lldb.SBError(), 0)
    return layout.show_ranked(index, weight)


def _pointer(value):
    address = value.pointer()
    pointee = value.type().GetTemplateArgumentType(0)
    if pointee.GetUnqualifiedType().GetName() == "Quorvane::CStringContainer":
        return "null" if address == 0 else layout.show_container(value.memory, address)
    return layout.show_pointer(address, _references(value, address, pointee))


def _references(value, address, pointee):
    counts = _counts_within(pointee)
    if address == 0 or counts is None:
        return None
    try:
        return layout.references_of(value.memory, address + counts)
    except layout.Unreadable:
        return None


def _counts_within(class_type):
    """Where the counted base lies in an object; None where the class is not known, or has none."""
    class_type = class_type.GetUnqualifiedType().GetCanonicalType()
    if class_type.GetName() in layout.COUNTED_BASES:
        return 0
    for index in range(class_type.GetNumberOfDirectBaseClasses()):
        base = class_type.GetDirectBaseClassAtIndex(index)
        within = _counts_within(base.GetType())
        if within is not None:
            return base.GetOffsetInBytes() + within
    return None


show_string = _summary(lambda value: layout.show_string(value.memory, value.pointer()))
show_container = _summary(lambda value: layout.show_container(value.memory, value.address()))
show_view = _summary(_view)
show_array = _summary(lambda value: layout.show_array(value.pointer(), *value.counts(2)))
show_memory_view = _summary(lambda value: layout.show_elements(value.pointer(), *value.counts(1)))
show_strided_view = _summary(_strided)
show_guid = _summary(lambda value: layout.show_guid(value.memory.number_in(value.data), 8 * len(value.data)))
show_ranked = _summary(_ranked)
show_pointer = _summary(_pointer)


class _Elements:
    """The children of what has elements: `_place` gives the address of the first one, their number and their distance."""

    def __init__(self, value, _dictionary):
        self.value = value
        self.update()

    def update(self):
        self.first, self.count, self.stride = 0, 0, 0
        try:
            value = _Value(self.value)
            self.element = value.type().GetTemplateArgumentType(0)
            self.first, self.count, self.stride = self._place(value)
        except (layout.Broken, layout.Unreadable):
            pass
        if self.first == 0:
            self.count = 0
        return False

    def has_children(self):
        return self.count != 0

    def num_children(self):
        return self.count

    def get_child_index(self, name):
        try:
            return int(name.strip("[]"))
        except ValueError:
            return -1

    def get_child_at_index(self, index):
        if not 0 <= index < self.count:
            return None
        return self.value.CreateValueFromAddress("[%d]" % index, self.first + index * self.stride, self.element)


class ArrayElements(_Elements):
    def _place(self, value):
        count, room = value.counts(2)
        return value.pointer(), count if count <= room else 0, self.element.GetByteSize()


class ViewElements(_Elements):
    def _place(self, value):
        return value.pointer(), value.counts(1)[0], self.element.GetByteSize()


class StridedElements(_Elements):
    def _place(self, value):
        count, stride = value.counts(2)
        return value.pointer(), count, stride


# A pattern of type names, the summary, and the class that has the children.
_TYPES = (
    ("CString", "show_string", None),
    ("CStringContainer", "show_container", None),
    ("CStringView", "show_view", None),
    ("TArray<.*>", "show_array", "ArrayElements"),
    ("TMemoryView<.*>", "show_memory_view", "ViewElements"),
    ("TStridedMemoryView<.*>", "show_strided_view", "StridedElements"),
    ("TGuid<.*>", "show_guid", None),
    ("TBaseRefPtr<.*>", "show_pointer", None),
    ("CString::SFuzzyMatchListElement", "show_ranked", None),
)


def __lldb_init_module(debugger, _dictionary):
    for pattern, summary, elements in _TYPES:
        pattern = "^(const )?Quorvane::%s( &)?$" % pattern
        # With children, they come behind the summary.
        expand = "-e " if elements else ""
        debugger.HandleCommand('type summary add %s-w quorvane -x "%s" -F %s.%s'
                               % (expand, pattern, __name__, summary))
        if elements:
            debugger.HandleCommand('type synthetic add -w quorvane -x "%s" -l %s.%s' % (pattern, __name__, elements))
    debugger.HandleCommand("type category enable quorvane")
