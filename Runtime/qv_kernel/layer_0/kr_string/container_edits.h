// What the edits that grow a text share: they change a container that nobody else holds, in place.
//
// What must be zero behind the new end is zeroed before the characters are written, since reading back a block that was
// just written in pieces stalls; only an argument that lies in the container's own room comes first.
#pragma once

#include <cstring>

#include "kr_mem_utils.h"
#include "string_sizes.h"

namespace Quorvane::Internal
{

// True when the argument lies in that many of the string's characters.
inline bool IsAliased(const char *data, u32 dataLength, const char *other, u32 length)
{
    const ureg dataAddress = reinterpret_cast<ureg>(data);
    const ureg otherAddress = reinterpret_cast<ureg>(other);
    return dataAddress < otherAddress ? otherAddress - dataAddress < dataLength : dataAddress - otherAddress < length;
}

struct SContainerEdits
{
    static constexpr u32 kAnywhere = 0xFFFFFFFFu;

    // The number of characters that the container's room has from `at` on; kAnywhere for what begins elsewhere.
    static u32 RoomFrom(const CStringContainer *container, const char *at)
    {
        if (container == nullptr)
            return kAnywhere;
        const ureg offset = reinterpret_cast<ureg>(at) - reinterpret_cast<ureg>(container->m_Characters);
        return offset < container->m_Capacity ? container->m_Capacity - static_cast<u32>(offset) : kAnywhere;
    }

    // Whether the argument begins in the room, and its count goes beyond it.
    static bool GoesBeyondRoom(const CStringContainer *container, const char *other, u32 length)
    {
        return RoomFrom(container, other) < length;
    }

    // Lets a copy stand for such an argument, in which terminators stand for what the room has not; any other argument
    // stays as it is. Returns: false when memory is refused.
    static bool CopyBeyondRoom(const CStringContainer *container, const char *&other, u32 length,
                               PStringContainer &outCopy)
    {
        return QV_INTERNAL_LIKELY(!GoesBeyondRoom(container, other, length)) ||
               _CopyFromRoom(container, other, length, outCopy);
    }

    // Makes room for a text of `newLength`, and lets the argument, some of which lies in the room, follow it.
    // Returns: false, with all as it was, when the container cannot grow, or the argument begins in front of it.
    static bool GrowAround(CStringContainer &container, u32 newLength, const char *&other)
    {
        if (RoomFrom(&container, other) == kAnywhere)
            return false;
        const ureg offset = reinterpret_cast<ureg>(other) - reinterpret_cast<ureg>(container.m_Characters);
        if (!container.DynamicResize(newLength))
            return false;
        other = container.m_Characters + offset;
        return true;
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

    // Terminates the text behind its new end and makes that its length.
    static void EndAt(CStringContainer &container, u32 newLength)
    {
        container.Data()[newLength] = '\0';
        container.UnsafeSetLength(newLength);
    }

    static void LengthenTo(CStringContainer &container, u32 newLength) { container._LengthenTo(newLength); }

    static bool IsInRoom(const CStringContainer &container, const char *other, u32 length)
    {
        return Mem::Overlaps(container.Data(), container.m_Capacity, other, length);
    }

    // The common case of growing, in a straight line with as few instructions as there can be: programs build texts
    // from short pieces in loops.
    //     MayGrow(container) && HasRoomFor(container, length) && IsElsewhere(container, other, length)
    //     CopyUpTo32(ExtendBy(container, length), other, length)

    static constexpr u32 kFew = 32;

    // Whether nobody shares the container, and it may grow by kFew characters and one more.
    static bool MayGrow(const CStringContainer &container)
    {
        if (container.RefCount() != 1)
            return false;
        // One comparison for the form and for the longest length; with the reserved bit set it takes the longer road.
        return LengthOfResizable(container) < CStringContainer::kLengthMask - kFew - 1;
    }

    static bool HasRoomFor(const CStringContainer &container, u32 added)
    {
        return LengthOfResizable(container) + added < container.m_Capacity;
    }

    // Whether the argument lies outside the room, as one comparison. Requires: a `length` of 1 to kFew.
    static bool IsElsewhere(const CStringContainer &container, const char *other, u32 length)
    {
        const ureg fromRoom = reinterpret_cast<ureg>(other) - (reinterpret_cast<ureg>(container.m_Characters) - length);
        return fromRoom >= static_cast<ureg>(container.m_Capacity) + length;
    }

    // Makes the text longer. Returns: where the new characters go. Requires: the room.
    static char *ExtendBy(CStringContainer &container, u32 added)
    {
        const u32 oldLength = LengthOfResizable(container);
        char *const data = container.m_Characters;
        const u32 lastBlock = LastBlockStart(oldLength + added);
        if (lastBlock > oldLength)
            std::memset(data + lastBlock, 0, kCharacterBlockBytes);
        container.m_Length += added;
        return data + oldLength;
    }

private:
    QV_INTERNAL_COLD static bool _CopyFromRoom(const CStringContainer *container, const char *&other, u32 length,
                                               PStringContainer &outCopy)
    {
        const u32 there = RoomFrom(container, other);
        outCopy = CStringContainer::New(nullptr, length);
        if (outCopy == null)
            return false;
        Mem::Internal::CopyDisjoint(outCopy->Data(), other, there);
        std::memset(outCopy->Data() + there, 0, length - there);
        other = outCopy->Data();
        return true;
    }

    // With any other flags than those of the resizable form it is no length that a text may have.
    static u32 LengthOfResizable(const CStringContainer &container)
    {
        return container.m_Length - CStringContainer::kResizableFlag;
    }
};

} // namespace Quorvane::Internal
