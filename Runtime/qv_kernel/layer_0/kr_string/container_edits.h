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

// True when the argument lies in the string's characters, so that it moves when they do.
inline bool IsAliased(const char *data, u32 dataLength, const char *other, u32 length)
{
    const ureg dataAddress = reinterpret_cast<ureg>(data);
    const ureg otherAddress = reinterpret_cast<ureg>(other);
    return dataAddress < otherAddress ? otherAddress - dataAddress < dataLength : dataAddress - otherAddress < length;
}

struct SContainerEdits
{
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
    // from short pieces in loops. First the question, then the room, then the characters:
    //     MayTakeFew(container, other, length)
    //     DynamicResize(length of the container + added)
    //     CopyUpTo32(ExtendBy(container, added), other, length)

    static constexpr u32 kFew = 32;

    // Whether nobody shares the container, it may grow by `length` characters and one more, and the argument lies
    // elsewhere. Requires: a `length` of 1 to kFew.
    static bool MayTakeFew(const CStringContainer &container, const char *other, u32 length)
    {
        if (container.RefCount() != 1)
            return false;
        // One comparison for the form and for the longest length; with the reserved bit set it takes the longer road.
        const u32 oldLength = container.m_Length - CStringContainer::kResizableFlag;
        if (oldLength >= CStringContainer::kLengthMask - kFew - 1)
            return false;
        // Whether the argument lies in the room, again as one comparison.
        const ureg fromRoom = reinterpret_cast<ureg>(other) - (reinterpret_cast<ureg>(container.m_Characters) - length);
        return fromRoom >= static_cast<ureg>(container.m_Capacity) + length;
    }

    static bool HasRoom(const CStringContainer &container, u32 newLength) { return newLength < container.m_Capacity; }

    // Makes the text longer. Returns: where the new characters go. Requires: the room.
    static char *ExtendBy(CStringContainer &container, u32 added)
    {
        const u32 word = container.m_Length;
        const u32 oldLength = word - CStringContainer::kResizableFlag;
        char *const data = container.m_Characters;
        const u32 lastBlock = LastBlockStart(oldLength + added);
        if (lastBlock > oldLength)
            std::memset(data + lastBlock, 0, kCharacterBlockBytes);
        container.m_Length = word + added;
        return data + oldLength;
    }
};

} // namespace Quorvane::Internal
