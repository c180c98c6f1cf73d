// Private header: the character table by names. Its rows, the escape sequences that one of them is made from, and the
// look-ups that are no part of the interface.
#pragma once

#include "kr_buffer.h"
#include "qv_defs.h"

namespace Quorvane::Internal::Buffer
{

// Where the rows of SNativeStringUtils::kr_buffer_char_lookups begin.
constexpr u32 kRowBytes = 256;
constexpr u32 kClassRow = 0 * kRowBytes;
constexpr u32 kEscapeRow = 1 * kRowBytes;
constexpr u32 kUpperRow = 2 * kRowBytes;
constexpr u32 kLowerRow = 3 * kRowBytes;
constexpr u32 kTableBytes = 4 * kRowBytes;

// The character, and what follows the backslash in its escape sequence.
struct SEscapeSequence
{
    char m_Character;
    char m_Letter;
};

constexpr SEscapeSequence kEscapeSequences[] = {{'\a', 'a'}, {'\b', 'b'}, {'\t', 't'}, {'\n', 'n'},  {'\v', 'v'},
                                                {'\f', 'f'}, {'\r', 'r'}, {'"', '"'},  {'\'', '\''}, {'\\', '\\'}};

// The letter in the list; 0 where there is none. For tables and proofs, which the compiler makes; everyone else looks
// it up in the table.
constexpr u8 ListedEscapeLetterOf(u32 character)
{
    for (const SEscapeSequence &sequence : kEscapeSequences)
        if (static_cast<u8>(sequence.m_Character) == character)
            return static_cast<u8>(sequence.m_Letter);
    return 0;
}

// The letter in the table; 0 where there is none.
inline u8 EscapeLetterOf(char character)
{
    return SNativeStringUtils::kr_buffer_char_lookups[kEscapeRow + static_cast<u8>(character)];
}

// The character without its case, for comparisons. Only the terminator gives 0.
inline u8 LowerCaseOf(u8 character)
{
    return SNativeStringUtils::kr_buffer_char_lookups[kLowerRow + character];
}

inline u8 LowerCaseOf(char character)
{
    return LowerCaseOf(static_cast<u8>(character));
}

} // namespace Quorvane::Internal::Buffer
