// Private header: what the helpers on terminated text share. The rows of the character table by name, null taken as
// the empty text, case as a policy, and lengths as the interface gives them.
#pragma once

#include <cstddef>

#include "kr_buffer.h"
#include "qv_defs.h"

namespace Quorvane::Internal::Buffer
{

// What follows the backslash in the character's escape sequence; 0 where it has none.
inline u8 EscapeLetterOf(char character)
{
    return SNativeStringUtils::kr_buffer_char_lookups[256 + static_cast<u8>(character)];
}

// The character without its case, for comparisons. Only the terminator gives 0.
inline u8 LowerCaseOf(char character)
{
    return SNativeStringUtils::kr_buffer_char_lookups[768 + static_cast<u8>(character)];
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

// A length for the interface, whose lengths have 32 bits: longer ones become the largest, which every string operation
// refuses.
inline u32 ReportedLength(std::size_t length)
{
    constexpr std::size_t kMaxLength = 0xFFFFFFFFu;
    return static_cast<u32>(QVMin(length, kMaxLength));
}

} // namespace Quorvane::Internal::Buffer
