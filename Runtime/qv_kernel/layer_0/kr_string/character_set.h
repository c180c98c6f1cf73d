// A set of characters, for stripping and searching: one bit per byte value.
#pragma once

#include <cstring>

#include "../kr_buffer/buffer_bitmap.h"
#include "../kr_simd/simd_words.h"
#include "kr_internal/kr_string_strip.h"
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
        m_IsLow = all < 64;
        if (QV_INTERNAL_LIKELY(m_IsLow))
            m_Words[0] = first;
        else
            _GatherAll(characters);
    }
    explicit CCharacterSet(char character) : m_IsLow(_Word(character) == 0)
    {
        m_Words[_Word(character)] |= _Bit(character);
    }

    // The first word's characters are asked for by a constant index, so that the word stays in a register.
    bool Contains(char character) const
    {
        const u32 bit = static_cast<u8>(character) % 64;
        if (QV_INTERNAL_LIKELY(_Word(character) == 0))
            return (m_Words[0] >> bit & 1) != 0;
        return (m_Words[_Word(character)] >> bit & 1) != 0;
    }

    // Whether all are in Low().
    bool IsLow() const { return m_IsLow; }
    CLowSet Low() const { return CLowSet(m_Words[0]); }

    // The set of all other characters, as the search for the next one of a set wants it.
    void ListOthers(u8 (&set)[Buffer::kSetBytes]) const
    {
        std::memset(set, 0xFF, sizeof(set));
        for (u32 word = 0; word < 4; ++word)
            for (u64 bits = m_Words[word]; bits != 0; bits &= bits - 1)
            {
                const u32 character = word * 64 + Simd::TrailingZeroBits(bits);
                u8 &entry = set[character / 128 * 16 + character % 16];
                entry = static_cast<u8>(entry & ~(1 << character / 16 % 8));
            }
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
    bool m_IsLow = true;
};

// The two functions that follow, for texts that begin or end with such a run. Out of line, for short runs' sake.

QV_INTERNAL_COLD inline u32 CountLeadingSlow(const char *data, u32 length, const CCharacterSet &set)
{
    u8 others[Buffer::kSetBytes];
    set.ListOthers(others);
    const Buffer::SMatchWord found = Buffer::FirstSetMatches(data, length, others);
    return found.m_Bits != 0 ? found.m_At + Simd::TrailingZeroBits(found.m_Bits) : length;
}

QV_INTERNAL_COLD inline u32 LengthWithoutTrailingSlow(const char *data, u32 length, const CCharacterSet &set)
{
    u8 others[Buffer::kSetBytes];
    set.ListOthers(others);
    const Buffer::SMatchWord found = Buffer::LastSetMatches(data, length, others);
    return found.m_Bits != 0 ? found.m_At + Simd::HighestSetBit(found.m_Bits) + 1 : 0;
}

// The index of the first character that is not in the set, or `length`.
inline u32 CountLeading(const char *data, u32 length, const CCharacterSet &set)
{
    const u32 count = QV_INTERNAL_LIKELY(set.IsLow()) ? CountLeadingShort(data, length, set.Low())
                                                      : CountLeadingShort(data, length, set);
    if (QV_INTERNAL_LIKELY(count < kShortRun) || count == length)
        return count;
    return count + CountLeadingSlow(data + count, length - count, set);
}

// The length without the characters at the end that are in the set.
inline u32 LengthWithoutTrailing(const char *data, u32 length, const CCharacterSet &set)
{
    const u32 count = QV_INTERNAL_LIKELY(set.IsLow()) ? CountTrailingShort(data, length, set.Low())
                                                      : CountTrailingShort(data, length, set);
    if (QV_INTERNAL_LIKELY(count < kShortRun) || count == length)
        return length - count;
    return LengthWithoutTrailingSlow(data, length - count, set);
}

} // namespace Quorvane::Internal::String
