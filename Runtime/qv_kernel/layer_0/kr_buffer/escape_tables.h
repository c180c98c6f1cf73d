// Private header: what the kernel of escaping.inc looks up. Made by the compiler.
#pragma once

#include "qv_defs.h"

#include "character_table.h"

namespace Quorvane::Internal::Buffer
{

// The characters with a sequence are all control characters from one to another, and three that stay themselves behind
// the backslash.
constexpr char kFirstEscapedControl = '\a';
constexpr char kLastEscapedControl = '\r';

constexpr bool IsEscapedAsItself(u32 character)
{
    return character == '"' || character == '\'' || character == '\\';
}

constexpr bool SequencesAreOfTheseTwoKinds()
{
    for (u32 character = 0; character < kRowBytes; ++character)
    {
        const u32 letter = ListedEscapeLetterOf(character);
        const bool isControl = character >= kFirstEscapedControl && character <= kLastEscapedControl;
        if (isControl ? letter == 0 : letter != (IsEscapedAsItself(character) ? character : 0))
            return false;
    }
    return true;
}

static_assert(SequencesAreOfTheseTwoKinds(), "the kernel looks for these characters only");

// What a control character becomes, by the lower half of its code.
struct SControlLetters
{
    u8 m_Of[16];
};

constexpr SControlLetters MakeControlLetters()
{
    SControlLetters letters = {};
    for (u8 character = kFirstEscapedControl; character <= kLastEscapedControl; ++character)
        letters.m_Of[character] = ListedEscapeLetterOf(character);
    return letters;
}

inline constexpr SControlLetters kControlLetters = MakeControlLetters();

// How 8 characters are put with room before some of them: by the set of those, the first character in its lowest bit,
// the indices to look up. Behind the last character there is room, too.
constexpr u32 kExpandedCharacters = 8;
constexpr u32 kExpandedBytes = 2 * kExpandedCharacters;
constexpr u32 kExpansionCount = 1u << kExpandedCharacters;

// The index of no character, for which a look-up gives 0.
constexpr u8 kRoom = 0xFF;

struct SExpansions
{
    u8 m_Indices[kExpansionCount][kExpandedBytes];
};

constexpr SExpansions MakeExpansions()
{
    SExpansions expansions = {};
    for (u32 special = 0; special < kExpansionCount; ++special)
    {
        u32 at = 0;
        for (u32 i = 0; i < kExpandedCharacters; ++i)
        {
            if ((special >> i & 1) != 0)
                expansions.m_Indices[special][at++] = kRoom;
            expansions.m_Indices[special][at++] = static_cast<u8>(i);
        }
        while (at < kExpandedBytes)
            expansions.m_Indices[special][at++] = kRoom;
    }
    return expansions;
}

QV_INTERNAL_HIDDEN inline constexpr SExpansions kExpansions = MakeExpansions();

} // namespace Quorvane::Internal::Buffer
