// A set of characters, for stripping and searching: one bit per byte value.
#pragma once

#include "qv_defs.h"

namespace Quorvane::Internal::String
{

class CCharacterSet
{
public:
    // The characters of a terminated text; null is the empty set. The terminator is never in it.
    explicit CCharacterSet(const char *characters)
    {
        if (characters == nullptr)
            return;
        // The blanks and most of the separators belong to the first word: taken for a set of such to begin with, which
        // is gathered in registers.
        u64 first = 0;
        u32 all = 0;
        for (const char *cur = characters; *cur != '\0'; ++cur)
        {
            first |= _Bit(*cur);
            all |= static_cast<u8>(*cur);
        }
        if (QV_INTERNAL_LIKELY(all < 64))
            m_Words[0] = first;
        else
            _GatherAll(characters);
    }
    explicit CCharacterSet(char character) { m_Words[_Word(character)] |= _Bit(character); }

    // The first word's characters are asked for by a constant index, so that the word stays in a register.
    bool Contains(char character) const
    {
        const u64 word = QV_INTERNAL_LIKELY(_Word(character) == 0) ? m_Words[0] : m_Words[_Word(character)];
        return (word & _Bit(character)) != 0;
    }

private:
    void _GatherAll(const char *characters)
    {
        for (; *characters != '\0'; ++characters)
            m_Words[_Word(*characters)] |= _Bit(*characters);
    }

    static u32 _Word(char character) { return static_cast<u8>(character) >> 6; }
    static u64 _Bit(char character) { return 1ull << (static_cast<u8>(character) & 63); }

    u64 m_Words[4] = {0, 0, 0, 0};
};

// The index of the first character that is not in the set, or `length`.
inline u32 CountLeading(const char *data, u32 length, const CCharacterSet &set)
{
    u32 count = 0;
    while (count < length && set.Contains(data[count]))
        ++count;
    return count;
}

// The length without the characters at the end that are in the set.
inline u32 LengthWithoutTrailing(const char *data, u32 length, const CCharacterSet &set)
{
    while (length != 0 && set.Contains(data[length - 1]))
        --length;
    return length;
}

} // namespace Quorvane::Internal::String
