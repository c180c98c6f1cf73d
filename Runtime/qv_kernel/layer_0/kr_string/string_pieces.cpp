// Cutting a text lazily: where its separators are, a word of places at a time.
#include "kr_string.h"

#include <cstring>

#include "../kr_buffer/buffer_bitmap.h"
#include "../kr_buffer/buffer_find.h"
#include "../kr_simd/simd_words.h"

namespace Quorvane::Internal::String
{

using Buffer::SMatchWord;

namespace
{

u32 CountBetween(const char *begin, const char *end)
{
    return static_cast<u32>(end - begin);
}

// What a search has found that looked for separators of one character in the text from `begin` to `end`.
SSeparators ForwardsFrom(const SMatchWord &word, const char *begin, const char *end)
{
    const char *const base = begin + word.m_At;
    const bool isLast = word.m_Bits == 0 || CountBetween(base, end) <= Buffer::kBitmapWordBits;
    return {word.m_Bits, base, isLast ? end : base + Buffer::kBitmapWordBits};
}

SSeparators BackwardsFrom(const SMatchWord &word, const char *begin)
{
    const char *const base = begin + word.m_At;
    return {word.m_Bits, base, word.m_Bits != 0 ? base : begin};
}

// Where a piece is longer than this, the platform's search for a character is faster; before, it is not.
constexpr u32 kLongPiece = 2 * Buffer::kBitmapWordBits;

// A longer separator is searched for each time, which takes no longer than the separator itself. A shorter one is looked
// for by two of its characters; comparing the others in vain cannot take long.
constexpr u32 kMaxCompared = 16;

// The places of one word at which a separator stands, chosen so that none overlaps the one before.
class CTextPlaces
{
public:
    // Requires: a separator of 1 to kMaxCompared characters.
    CTextPlaces(const char *separator, u32 length) : m_Separator(separator), m_Length(length) {}

    // Of the places where the first and the last character match, those of separators, from the first one on.
    u64 ChosenForwards(u64 bits, const char *base) const
    {
        if (_AreAllChosen())
            return bits;
        u64 chosen = 0;
        for (u32 free = 0; bits != 0; bits &= bits - 1)
        {
            const u32 place = Simd::TrailingZeroBits(bits);
            if (place < free || !_StandsAt(base + place))
                continue;
            chosen |= u64(1) << place;
            free = place + m_Length;
        }
        return chosen;
    }

    // The same from the last one on.
    u64 ChosenBackwards(u64 bits, const char *base) const
    {
        if (_AreAllChosen())
            return bits;
        u64 chosen = 0;
        for (u32 free = Buffer::kBitmapWordBits + kMaxCompared; bits != 0;)
        {
            const u32 place = Simd::HighestSetBit(bits);
            bits ^= u64(1) << place;
            if (place + m_Length > free || !_StandsAt(base + place))
                continue;
            chosen |= u64(1) << place;
            free = place;
        }
        return chosen;
    }

private:
    // Whether two characters are the separator, and two separators cannot overlap.
    bool _AreAllChosen() const { return m_Length == 1 || (m_Length == 2 && m_Separator[0] != m_Separator[1]); }

    bool _StandsAt(const char *place) const
    {
        return m_Length <= 2 || std::memcmp(place + 1, m_Separator + 1, m_Length - 2) == 0;
    }

    const char *m_Separator;
    u32 m_Length;
};

} // namespace

SSeparators CCharacterSeparator::Next(const char *, const char *end, const char *known) const noexcept QV_NONBLOCKING
{
    const u32 count = CountBetween(known, end);
    const SMatchWord first = Buffer::FirstMatches(known, QVMin(count, kLongPiece), m_Character);
    if (first.m_Bits != 0 || count <= kLongPiece)
        return ForwardsFrom(first, known, end);
    const void *const found = __builtin_memchr(known + kLongPiece, m_Character, count - kLongPiece);
    if (found == nullptr)
        return {0, end, end};
    const char *const place = static_cast<const char *>(found);
    return {1, place, place + 1};
}

SSeparators CCharacterSeparator::Previous(const char *begin, const char *,
                                          const char *known) const noexcept QV_NONBLOCKING
{
    return BackwardsFrom(Buffer::LastMatches(begin, CountBetween(begin, known), m_Character), begin);
}

CSetSeparator::CSetSeparator(const CPieceText &characters) noexcept QV_NONBLOCKING
{
    static_assert(kSetBytes == Buffer::kSetBytes, "one size of sets");
    for (const char *cur = characters.Begin(); cur != characters.End(); ++cur)
    {
        const u8 character = static_cast<u8>(*cur);
        u8 &entry = m_Set[character / 128 * 16 + character % 16];
        entry = static_cast<u8>(entry | 1 << character / 16 % 8);
    }
}

SSeparators CSetSeparator::Next(const char *, const char *end, const char *known) const noexcept QV_NONBLOCKING
{
    return ForwardsFrom(Buffer::FirstSetMatches(known, CountBetween(known, end), m_Set), known, end);
}

SSeparators CSetSeparator::Previous(const char *begin, const char *, const char *known) const noexcept QV_NONBLOCKING
{
    return BackwardsFrom(Buffer::LastSetMatches(begin, CountBetween(begin, known), m_Set), begin);
}

SSeparators CTextSeparator::Next(const char *begin, const char *end, const char *known) const noexcept QV_NONBLOCKING
{
    const char *const separator = m_Text.Begin();
    const u32 length = m_Text.Length();
    if (length == 0 || length > CountBetween(begin, end))
        return {0, end, end};
    if (length > kMaxCompared)
    {
        const char *const found = SNativeStringUtils::Find(begin, CountBetween(begin, end), separator, length);
        return found != nullptr ? SSeparators{1, found, found + length} : SSeparators{0, end, end};
    }
    const CTextPlaces places(separator, length);
    const char *const placesEnd = end - length + 1;
    for (const char *from = QVMax(begin, known); from < placesEnd;)
    {
        const SMatchWord word = Buffer::FirstPairMatches(from, CountBetween(from, placesEnd), separator[0], length - 1,
                                                         separator[length - 1]);
        const SSeparators candidates = ForwardsFrom(word, from, placesEnd);
        const u64 chosen = places.ChosenForwards(word.m_Bits, candidates.m_Base);
        from = candidates.m_Known;
        if (chosen != 0)
            return {chosen, candidates.m_Base, from != placesEnd ? from : end};
    }
    return {0, end, end};
}

SSeparators CTextSeparator::Previous(const char *begin, const char *end,
                                     const char *known) const noexcept QV_NONBLOCKING
{
    const char *const separator = m_Text.Begin();
    const u32 length = m_Text.Length();
    if (length == 0 || length > CountBetween(begin, end))
        return {0, begin, begin};
    if (length > kMaxCompared)
    {
        const char *const found = Buffer::FindLastInCounted(begin, CountBetween(begin, end), separator, length);
        return found != nullptr ? SSeparators{1, found, found} : SSeparators{0, begin, begin};
    }
    const CTextPlaces places(separator, length);
    for (const char *placesEnd = QVMin(known, end - length + 1); placesEnd > begin;)
    {
        const SMatchWord word = Buffer::LastPairMatches(begin, CountBetween(begin, placesEnd), separator[0], length - 1,
                                                        separator[length - 1]);
        const SSeparators candidates = BackwardsFrom(word, begin);
        const u64 chosen = places.ChosenBackwards(word.m_Bits, candidates.m_Base);
        placesEnd = candidates.m_Known;
        if (chosen != 0)
            return {chosen, candidates.m_Base, placesEnd};
    }
    return {0, begin, begin};
}

} // namespace Quorvane::Internal::String
