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

#include "kr_mem_utils.h"
#include "string_block.h"

namespace Quorvane::Internal::String
{

struct SGrowth
{
    // The fast path, in a straight line with as few instructions as there can be: programs build texts from short pieces
    // in loops.
    //     if (TakesFast(container, other, length))
    //         CopyUpTo32(LengthenFast(*container, length), other, length)

    // Longer arguments take the slow path.
    static constexpr u32 kMaxInlineCopy = 32;

    // Whether nobody shares the container, and it may grow by kMaxInlineCopy characters and one more.
    static bool MayGrowFast(const CStringContainer &container)
    {
        if (container.RefCount() != 1)
            return false;
        // One comparison for the form and for the longest length; with the reserved bit set it takes the slow path.
        return _LengthOfResizable(container) < CStringContainer::kLengthMask - kMaxInlineCopy - 1;
    }

    static bool HasRoomFor(const CStringContainer &container, u32 added)
    {
        return _LengthOfResizable(container) + added < container.m_Capacity;
    }

    // OverlapsRoom as one comparison. Requires: a `length` of 1 to kMaxInlineCopy.
    static bool OverlapsRoomFast(const CStringContainer &container, const char *other, u32 length)
    {
        const ureg fromRoom = reinterpret_cast<ureg>(other) - (reinterpret_cast<ureg>(container.m_Characters) - length);
        return fromRoom < static_cast<ureg>(container.m_Capacity) + length;
    }

    // Whether the fast path is that of an argument: a few characters from elsewhere, for which there is room. `length` - 1
    // wraps for 0, so that one comparison asks for both bounds.
    QV_SIMD_INLINE static bool TakesFast(const CStringContainer *container, const char *other, u32 length)
    {
        return container != nullptr && length - 1 < kMaxInlineCopy && MayGrowFast(*container) &&
               HasRoomFor(*container, length) && !OverlapsRoomFast(*container, other, length);
    }

    // Makes the text longer. Returns: where the new characters go. Requires: MayGrowFast, and the room.
    static char *LengthenFast(CStringContainer &container, u32 added)
    {
        return _LengthenFrom(container, _LengthOfResizable(container), added);
    }

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
        const ureg offset = reinterpret_cast<ureg>(at) - reinterpret_cast<ureg>(container->m_Characters);
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

    // With any other flags than those of the resizable form it is no length that a text may have.
    static u32 _LengthOfResizable(const CStringContainer &container)
    {
        return container.m_Length - CStringContainer::kResizableFlag;
    }

    static char *_LengthenFrom(CStringContainer &container, u32 length, u32 added)
    {
        char *const data = container.m_Characters;
        // The block of the old terminator is zero behind it already.
        if (LastBlockStart(length + added) > length)
            ZeroLastBlock(data, length + added);
        container._ChangeLengthBy(added);
        return data + length;
    }
};

} // namespace Quorvane::Internal::String
