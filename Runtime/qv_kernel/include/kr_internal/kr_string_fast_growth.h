// Private header: growing a text by a few characters, in place, in a straight line with as few instructions as there can
// be. Programs build texts from short pieces in loops; the headers do it in line for pieces of a known length.
//
//     if (SFastGrowth::TakesFast(container, other, length))
//         CopyUpTo32(SFastGrowth::LengthenFast(*container, length), other, length);
//
// Users include kr_string.h.
#pragma once

#include <cstring>

#include "kr_internal/kr_string_tail.h"
#include "kr_mem_utils.h"
#include "kr_string_container.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Internal::String
{

struct SFastGrowth
{
    // Longer arguments take the slow path.
    QV_INTERNAL_HIDDEN static constexpr u32 kMaxInlineCopy = 32;

    // Whether nobody shares the container, and it may grow by kMaxInlineCopy characters and one more.
    static bool MayGrowFast(const CStringContainer &container) noexcept QV_NONBLOCKING
    {
        if (container.RefCount() != 1)
            return false;
        // One comparison for the form and for the longest length; with the reserved bit set it takes the slow path.
        return _LengthOfResizable(container) < CStringContainer::kLengthMask - kMaxInlineCopy - 1;
    }

    static bool HasRoomFor(const CStringContainer &container, u32 added) noexcept QV_NONBLOCKING
    {
        return _LengthOfResizable(container) + added < container.m_Capacity;
    }

    // Whether the argument shares a character with the container's room, as one comparison. Requires: a `length` of 1 to
    // kMaxInlineCopy.
    static bool OverlapsRoomFast(const CStringContainer &container, const char *other,
                                 u32 length) noexcept QV_NONBLOCKING
    {
        const ureg fromRoom =
            WrappingDifference(reinterpret_cast<ureg>(other), reinterpret_cast<ureg>(container.m_Characters) - length);
        return fromRoom < static_cast<ureg>(container.m_Capacity) + length;
    }

    // Whether the fast path is that of an argument: a few characters from elsewhere, for which there is room. `length` - 1
    // wraps for 0, so that one comparison asks for both bounds.
    QV_INTERNAL_ALWAYS_INLINE static bool TakesFast(const CStringContainer *container, const char *other,
                                                    u32 length) noexcept QV_NONBLOCKING
    {
        return container != nullptr && WrappingDifference(length, 1u) < kMaxInlineCopy && MayGrowFast(*container) &&
               HasRoomFor(*container, length) && !OverlapsRoomFast(*container, other, length);
    }

    // Makes the text longer. Returns: where the new characters go. Requires: MayGrowFast, and the room.
    static char *LengthenFast(CStringContainer &container, u32 added) noexcept QV_NONBLOCKING
    {
        return _LengthenFrom(container, _LengthOfResizable(container), added);
    }

protected:
    // With any other flags than those of the resizable form it is no length that a text may have.
    static u32 _LengthOfResizable(const CStringContainer &container) noexcept QV_NONBLOCKING
    {
        return WrappingDifference(container.m_Length, CStringContainer::kResizableFlag);
    }

    static char *_LengthenFrom(CStringContainer &container, u32 length, u32 added) noexcept QV_NONBLOCKING
    {
        constexpr u32 kBlockBytes = CStringContainer::kBlockBytes;
        char *const data = container.m_Characters;
        const u32 lastBlock = (length + added) / kBlockBytes * kBlockBytes;
        // The block of the old terminator is zero behind it already.
        STail::Restore(data, length);
        if (lastBlock > length)
            std::memset(data + lastBlock, 0, kBlockBytes);
        container._ChangeLengthBy(added);
        STail::Poison(data, length + added);
        return data + length;
    }
};

} // namespace Internal::String

} // namespace Quorvane
