// Private header: what the helpers on native text share. Characters as bytes, case as a policy, null taken as the empty
// text, and lengths.
#pragma once

#include <cstddef>
#include <cstring>

#include "qv_defs.h"

#include "character_table.h"

namespace Quorvane::Internal::Buffer
{

// Characters as unsigned bytes, which kernels work on.

inline u8 *ToBytes(char *characters)
{
    return reinterpret_cast<u8 *>(characters);
}

inline const u8 *ToBytes(const void *characters)
{
    return static_cast<const u8 *>(characters);
}

// Case policies: two characters are the same when their folded forms are.

struct SCaseMatters
{
    static constexpr bool kIsExact = true;
    static u8 Fold(char character) { return static_cast<u8>(character); }
};

struct SCaseIgnored
{
    static constexpr bool kIsExact = false;
    static u8 Fold(char character) { return LowerCaseOf(character); }
};

inline const char *TextOrEmpty(const char *str)
{
    return str != nullptr ? str : "";
}

// The number of characters before the terminator, or `count` when none stands among that many. With 0 null will do.
template <typename TCount>
TCount LengthWithin(const char *text, TCount count)
{
    const void *const terminator = count != 0 ? __builtin_memchr(text, '\0', count) : nullptr;
    return terminator != nullptr ? static_cast<TCount>(static_cast<const char *>(terminator) - text) : count;
}

// A length for the interface, whose lengths have 32 bits: longer ones become the largest, which every string operation
// refuses.
inline u32 ReportedLength(std::size_t length)
{
    constexpr std::size_t kMaxLength = 0xFFFFFFFFu;
    return static_cast<u32>(QVMin(length, kMaxLength));
}

} // namespace Quorvane::Internal::Buffer
