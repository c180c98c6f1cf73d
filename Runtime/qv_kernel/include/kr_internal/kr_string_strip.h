// Private header: stripping in line where the compiler knows the set.
//
// Users include kr_string.h.
#pragma once

#include "kr_string_view.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Internal::String
{

// Runs of so many characters of a set are gone through one by one, longer ones many characters at a time.
constexpr u32 kShortRun = 16;

// Sets of characters below 64, which the blanks and most of the separators are: one bit for each. The terminator is in
// none.
class CLowSet
{
public:
    constexpr explicit CLowSet(u64 bits) noexcept QV_NONBLOCKING : m_Bits(bits) {}

    constexpr bool Contains(char character) const noexcept QV_NONBLOCKING
    {
        const u8 code = static_cast<u8>(character);
        return code < 64 && (m_Bits >> code & 1) != 0;
    }

private:
    u64 m_Bits;
};

// How many of the first `length` characters, kShortRun at most, are in the set, up to the first one that is not. The usual
// loop has a bound that the compiler knows: it takes half of the time.
template <typename Set>
inline u32 CountLeadingShort(const char *data, u32 length, const Set &set) noexcept QV_NONBLOCKING
{
    u32 count = 0;
    if (QV_INTERNAL_LIKELY(length >= kShortRun))
        while (count < kShortRun && set.Contains(data[count]))
            ++count;
    else
        while (count < length && set.Contains(data[count]))
            ++count;
    return count;
}

// The same at the end.
template <typename Set>
inline u32 CountTrailingShort(const char *data, u32 length, const Set &set) noexcept QV_NONBLOCKING
{
    u32 count = 0;
    if (QV_INTERNAL_LIKELY(length >= kShortRun))
        while (count < kShortRun && set.Contains(data[length - 1 - count]))
            ++count;
    else
        while (count < length && set.Contains(data[length - 1 - count]))
            ++count;
    return count;
}

// The set as bits if the compiler knows it, and it has a few characters, all below 64; else 0. Either is known when
// this is in line, and costs nothing.

// A bit for the character at `index`, which is below 64; none behind the end.
constexpr u64 BitAt(const char *set, std::size_t length, std::size_t index) noexcept QV_NONBLOCKING
{
    return index < length ? 1ull << static_cast<u8>(set[index]) : 0;
}

constexpr bool IsLowAt(const char *set, std::size_t length, std::size_t index) noexcept QV_NONBLOCKING
{
    return index >= length || static_cast<u8>(set[index]) < 64;
}

// Not in loops, which compilers do not fold.
QV_INTERNAL_ALWAYS_INLINE inline u64 KnownBits(const char *set) noexcept QV_NONBLOCKING
{
    if (set == nullptr)
        return 0;
    const std::size_t length = __builtin_strlen(set);
    if (!__builtin_constant_p(length) || length > 8)
        return 0;
    if (!(IsLowAt(set, length, 0) && IsLowAt(set, length, 1) && IsLowAt(set, length, 2) && IsLowAt(set, length, 3) &&
          IsLowAt(set, length, 4) && IsLowAt(set, length, 5) && IsLowAt(set, length, 6) && IsLowAt(set, length, 7)))
        return 0;
    return BitAt(set, length, 0) | BitAt(set, length, 1) | BitAt(set, length, 2) | BitAt(set, length, 3) |
           BitAt(set, length, 4) | BitAt(set, length, 5) | BitAt(set, length, 6) | BitAt(set, length, 7);
}

// For any set, and for runs of any length.
QV_INTERNAL_API CStringView StripLeftSlow(const CStringView &view, const char *set) noexcept QV_NONBLOCKING;
QV_INTERNAL_API CStringView StripRightSlow(const CStringView &view, const char *set) noexcept QV_NONBLOCKING;
QV_INTERNAL_API CStringView StripSlow(const CStringView &view, const char *set) noexcept QV_NONBLOCKING;

} // namespace Internal::String

} // namespace Quorvane
