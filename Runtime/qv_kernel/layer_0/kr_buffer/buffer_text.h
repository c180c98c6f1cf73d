// Private header: what the helpers on native text share. Null taken as the empty text, case as a policy, and lengths.
#pragma once

#include <cstddef>

#include "qv_defs.h"

#include "character_table.h"

namespace Quorvane::Internal::Buffer
{

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

// A length for the interface, whose lengths have 32 bits: longer ones become the largest, which every string operation
// refuses.
inline u32 ReportedLength(std::size_t length)
{
    constexpr std::size_t kMaxLength = 0xFFFFFFFFu;
    return static_cast<u32>(QVMin(length, kMaxLength));
}

} // namespace Quorvane::Internal::Buffer
