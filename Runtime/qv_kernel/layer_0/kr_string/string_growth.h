// Growing a text: in place, where nobody else holds its container, which is of the resizable form and has room or gets
// it; else in a new container.
//
// What must be zero behind the new end is zeroed before the characters are written, since reading back a block that was
// just written in pieces stalls; only an argument that lies in the container's own room comes first.
//
// An argument may lie in the room that it is to be added to:
// - it overlaps the room when one of its characters is there;
// - it begins in the room when its first character is there;
// - it ends beyond the room when it begins there and its count goes further than the room does.
#pragma once

#include <cstring>

#include "kr_internal/kr_string_fast_growth.h"
#include "kr_mem_utils.h"
#include "string_block.h"

namespace Quorvane::Internal::String
{

struct SGrowth : SFastGrowth
{
    // The slow path, in place. Each of these requires the resizable form, and nobody else who holds the container.

    // Makes the text longer by characters that do not overlap the room.
    // Returns: where they go; null, with all as it was, when the container cannot grow.
    static char *Lengthen(CStringContainer &container, u32 added)
    {
        const u32 length = container.Length();
        return container.DynamicResize(CheckedSum(length, added)) ? _LengthenFrom(container, length, added) : nullptr;
    }

    // The same where the room is there. Requires: HoldsLength of the sum.
    static char *LengthenWithin(CStringContainer &container, u32 added)
    {
        return _LengthenFrom(container, container.Length(), added);
    }

    // Whether a container of the resizable form has room for a text of this length.
    static bool HoldsLength(const CStringContainer &container, u32 length)
    {
        return length < container.m_Capacity && length < kRefusedLength;
    }

    static bool OverlapsRoom(const CStringContainer &container, const char *other, u32 length)
    {
        return Mem::Overlaps(container.Data(), container.m_Capacity, other, length);
    }

    // Makes room for a text of `newLength`, and lets the argument, which overlaps the room, follow it.
    // Returns: false, with all as it was, when the container cannot grow, or the argument begins in front of it.
    static bool ReserveAround(CStringContainer &container, u32 newLength, const char *&other)
    {
        if (_RoomFrom(&container, other) == kNotInRoom)
            return false;
        const ureg offset = reinterpret_cast<ureg>(other) - reinterpret_cast<ureg>(container.m_Characters);
        if (!container.DynamicResize(newLength))
            return false;
        other = container.m_Characters + offset;
        return true;
    }

    // Terminates the text behind its new end, for which there is room, and makes that its length.
    static void EndAt(CStringContainer &container, u32 newLength)
    {
        container.Data()[newLength] = '\0';
        container.UnsafeSetLength(newLength);
    }

    // Arguments that claim more characters than there are.

    static bool EndsBeyondRoom(const CStringContainer *container, const char *other, u32 length)
    {
        return _RoomFrom(container, other) < length;
    }

    // Lets a copy stand for such an argument, in which terminators stand for what the room has not; any other argument
    // stays as it is. Returns: false when memory is refused.
    static bool CopyBeyondRoom(const CStringContainer *container, const char *&other, u32 length,
                               PStringContainer &outCopy)
    {
        return QV_INTERNAL_LIKELY(!EndsBeyondRoom(container, other, length)) ||
               _CopyFromRoom(container, other, length, outCopy);
    }

    // How far the container's text was searched for backslashes, and none found, nor a terminator. Requires: the
    // resizable form, and nobody else who holds it.
    static u32 Searched(const CStringContainer &container) { return container._Searched(); }
    static void SetSearched(CStringContainer &container, u32 count) { container._SetSearched(count); }
    // The characters from `count` on will be others.
    static void KeepSearched(CStringContainer &container, u32 count)
    {
        if (container._Searched() > count)
            container._SetSearched(count);
    }

private:
    static constexpr u32 kNotInRoom = 0xFFFFFFFFu;

    // The number of characters that the container's room has from `at` on; kNotInRoom for what begins elsewhere.
    static u32 _RoomFrom(const CStringContainer *container, const char *at)
    {
        if (container == nullptr)
            return kNotInRoom;
        const ureg offset =
            WrappingDifference(reinterpret_cast<ureg>(at), reinterpret_cast<ureg>(container->m_Characters));
        return offset < container->m_Capacity ? container->m_Capacity - static_cast<u32>(offset) : kNotInRoom;
    }

    QV_INTERNAL_COLD static bool _CopyFromRoom(const CStringContainer *container, const char *&other, u32 length,
                                               PStringContainer &outCopy)
    {
        const u32 there = _RoomFrom(container, other);
        outCopy = CStringContainer::New(nullptr, length);
        if (outCopy == null)
            return false;
        Mem::Internal::CopyDisjoint(outCopy->Data(), other, there);
        std::memset(outCopy->Data() + there, 0, length - there);
        other = outCopy->Data();
        return true;
    }
};

} // namespace Quorvane::Internal::String
