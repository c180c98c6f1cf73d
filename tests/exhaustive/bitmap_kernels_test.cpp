// The kernels that find matches as bits, in every form: every length, every place in memory, every character as a match.
// Around each text lies nothing but matches.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "every_place.h"
#include "kernel_forms.h"
#include "kr_buffer/buffer_bitmap.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;
using Internal::Buffer::kBitmapWordBits;
using Internal::Buffer::SMatchWord;

template <typename Form>
using BitmapKernelsExhaustive = CKernelTest<Form>;
TYPED_TEST_SUITE(BitmapKernelsExhaustive, CEveryForm, SEveryFormNames);

constexpr u32 kWords = 2; // of the longest text
static_assert(kMaxPlacedLength <= kWords * kBitmapWordBits, "a text has bits for all its characters");

// The bits of a text, and what the kernels answer of them.
class CMatches
{
public:
    // `isMatch(i)` for all characters up to `length`.
    template <typename IsMatch>
    CMatches(u32 length, const IsMatch &isMatch) : m_Length(length)
    {
        for (u32 i = 0; i < length; ++i)
            m_Words[i / kBitmapWordBits] |= static_cast<u64>(isMatch(i) ? 1 : 0) << i % kBitmapWordBits;
    }

    bool Has(u32 index) const
    {
        return index < m_Length && (m_Words[index / kBitmapWordBits] >> index % kBitmapWordBits & 1) != 0;
    }

    // All words that the text has, to their ends.
    bool Are(const u64 *bitmap) const
    {
        for (u32 at = 0; at < m_Length; at += kBitmapWordBits)
            if (bitmap[at / kBitmapWordBits] != m_Words[at / kBitmapWordBits])
                return false;
        return true;
    }

    // The word with the first match or the last one: all of those that it could hold, and no others.
    bool AreFirst(const SMatchWord &word) const { return _IsWord(word, _First()); }
    bool AreLast(const SMatchWord &word) const { return _IsWord(word, _Last()); }

    const u64 *Words() const { return m_Words; }

private:
    // The length, if there is none.
    u32 _First() const
    {
        u32 index = 0;
        while (index < m_Length && !Has(index))
            ++index;
        return index;
    }
    u32 _Last() const
    {
        u32 end = m_Length;
        while (end != 0 && !Has(end - 1))
            --end;
        return end != 0 ? end - 1 : m_Length;
    }

    bool _IsWord(const SMatchWord &word, u32 wanted) const
    {
        if (wanted == m_Length)
            return word.m_Bits == 0;
        if (wanted < word.m_At || wanted - word.m_At >= kBitmapWordBits)
            return false;
        for (u32 i = 0; i < kBitmapWordBits; ++i)
            if ((word.m_Bits >> i & 1) != (Has(word.m_At + i) ? 1 : 0))
                return false;
        return true;
    }

    u32 m_Length;
    u64 m_Words[kWords] = {};
};

constexpr char kMatch = '\xAC';
constexpr char kOthers[] = ",\x7F\xFF\x2C-";

// A text with one match, or with all up to it.
void WriteMatches(char *text, u32 length, u32 hit, bool allBefore)
{
    for (u32 i = 0; i < length; ++i)
        text[i] = i == hit || (allBefore && i < hit) ? kMatch : kOthers[i % (sizeof(kOthers) - 1)];
}

// Calls `check(text, length, matches)` for all of it.
template <typename Check>
void TryMatches(CPlacedText::EKind kind, const Check &check)
{
    CPlacedText placed(kind);
    char *text = nullptr;
    ForEveryPlace(
        0, [&](u32 length, u32 place) { text = placed.Put(place, length, kMatch); },
        [&](u32 length, u32 hit)
        {
            for (const bool allBefore : {false, true})
            {
                WriteMatches(text, length, hit, allBefore);
                const Wrong wrong = check(text, length, CMatches(length, [&](u32 i) { return text[i] == kMatch; }));
                if (wrong != nullptr)
                    return wrong;
            }
            return Wrong(nullptr);
        });
}

TYPED_TEST(BitmapKernelsExhaustive, ACharacterOfAContainerIsAMatchWhereverItStands)
{
    TryMatches(CPlacedText::Kind_Container,
               [](const char *text, u32 length, const CMatches &matches)
               {
                   u64 bitmap[kWords];
                   TypeParam::FindMatches(bitmap, text, length, kMatch);
                   QV_TEST_SAME(matches.Are(bitmap), true);
                   return Wrong(nullptr);
               });
}

TYPED_TEST(BitmapKernelsExhaustive, ACharacterOfATableOrOfASetIsAMatchWhereverItStands)
{
    u8 table[256] = {};
    u8 set[Internal::Buffer::kSetBytes] = {};
    for (const char listed : {kMatch, 'Q', '\0'})
    {
        const u8 byte = static_cast<u8>(listed);
        table[byte] = 1;
        set[byte / 128 * 16 + byte % 16] = static_cast<u8>(set[byte / 128 * 16 + byte % 16] | 1 << byte / 16 % 8);
    }
    TryMatches(CPlacedText::Kind_Counted,
               [&](const char *text, u32 length, const CMatches &matches)
               {
                   u64 bitmap[kWords];
                   TypeParam::FindTableMatches(bitmap, text, length, table);
                   QV_TEST_SAME(matches.Are(bitmap), true);
                   QV_TEST_SAME(matches.AreFirst(TypeParam::FirstSetMatches(text, length, set)), true);
                   QV_TEST_SAME(matches.AreLast(TypeParam::LastSetMatches(text, length, set)), true);
                   return Wrong(nullptr);
               });
}

TYPED_TEST(BitmapKernelsExhaustive, TheFirstAndTheLastMatchAreFoundWhereverTheyStand)
{
    TryMatches(CPlacedText::Kind_Counted,
               [](const char *text, u32 length, const CMatches &matches)
               {
                   QV_TEST_SAME(matches.AreFirst(TypeParam::FirstMatches(text, length, kMatch)), true);
                   QV_TEST_SAME(matches.AreLast(TypeParam::LastMatches(text, length, kMatch)), true);
                   return Wrong(nullptr);
               });
}

// The second character of a pair, so far behind the first, which stands everywhere.
TYPED_TEST(BitmapKernelsExhaustive, APairIsAMatchWhereverItsSecondCharacterStands)
{
    for (const u32 distance : {0u, 1u, 16u, 33u})
        TryMatches(
            CPlacedText::Kind_Counted,
            [distance](const char *text, u32 length, const CMatches &)
            {
                if (length < distance)
                    return Wrong(nullptr);
                const u32 count = length - distance;
                for (const char first : {kMatch, kOthers[0]})
                {
                    const CMatches pairs(count,
                                         [&](u32 i) { return text[i] == first && text[i + distance] == kMatch; });
                    u64 bitmap[kWords];
                    TypeParam::FindPairMatches(bitmap, text, count, first, distance, kMatch);
                    QV_TEST_SAME(pairs.Are(bitmap), true);
                    QV_TEST_SAME(pairs.AreFirst(TypeParam::FirstPairMatches(text, count, first, distance, kMatch)),
                                 true);
                    QV_TEST_SAME(pairs.AreLast(TypeParam::LastPairMatches(text, count, first, distance, kMatch)), true);
                }
                return Wrong(nullptr);
            });
}

TYPED_TEST(BitmapKernelsExhaustive, MatchesAreListedInTheirOrderWithinTheirRoom)
{
    TryMatches(CPlacedText::Kind_Counted,
               [](const char *, u32 length, const CMatches &matches)
               {
                   u16 indices[kMaxPlacedLength + Internal::Buffer::kIndexSlack + 1];
                   std::memset(indices, 0xFF, sizeof(indices));
                   const u32 listed = TypeParam::ListMatches(indices, matches.Words(), length);
                   u32 count = 0;
                   for (u32 i = 0; i < length; ++i)
                   {
                       if (!matches.Has(i))
                           continue;
                       QV_TEST_SAME(indices[count], i);
                       ++count;
                   }
                   QV_TEST_SAME(listed, count);
                   QV_TEST_SAME(indices[count + Internal::Buffer::kIndexSlack], 0xFFFF);
                   return Wrong(nullptr);
               });
}

} // namespace
