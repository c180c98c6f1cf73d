#include "kr_buffer/buffer_bitmap.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "guarded_page.h"
#include "guarded_text.h"
#include "kr_simd/simd_block.h"

namespace QuorvaneTest
{

namespace
{

using Quorvane::u32;
using Quorvane::u64;
using Quorvane::u8;
namespace Internal = Quorvane::Internal;

using CIndices = std::vector<u32>;

// Lengths around the ends of blocks, of words and of a whole chunk.
std::vector<u32> Lengths()
{
    std::vector<u32> lengths;
    for (u32 length = 0; length <= 4 * Internal::Buffer::kBitmapWordBits + 1; ++length)
        lengths.push_back(length);
    for (u32 back = 0; back <= Internal::Buffer::kBitmapWordBits; ++back)
        lengths.push_back(Internal::Buffer::kChunkCharacters - back);
    return lengths;
}

// Text of few characters, some of them above 127, so that every second one or so matches.
std::string MakeText(u32 length)
{
    static const char kCharacters[] = {'a', 'b', ',', '\0', '\x7F', '\x80', '\xAC', '\xFF'};
    std::mt19937 random(length);
    std::string text;
    while (text.size() < length)
        text += kCharacters[random() % sizeof(kCharacters)];
    return text;
}

// The matches as they are visited; what lies behind them must be zero to the end of the word.
CIndices Visited(const u64 *bitmap, u32 count)
{
    CIndices indices;
    Internal::Buffer::ForEachMatch(bitmap, count,
                                   [&](u32 index)
                                   {
                                       indices.push_back(index);
                                       return true;
                                   });
    for (const u32 index : indices)
        EXPECT_LT(index, count);
    return indices;
}

template <typename IsMatch>
CIndices Expected(u32 count, const IsMatch &isMatch)
{
    CIndices indices;
    for (u32 i = 0; i < count; ++i)
        if (isMatch(i))
            indices.push_back(i);
    return indices;
}

// A text as a container has it: zero behind its end, to the end of the terminator's block, which ends at a page.
CGuardedText Padded(const std::string &text)
{
    std::string padded = text;
    padded.resize((text.size() / Internal::Simd::SBlock::kBytes + 1) * Internal::Simd::SBlock::kBytes);
    return CGuardedText(padded.data(), padded.size());
}

// With and without wide instructions.
class BufferBitmap : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override { Internal::Simd::AllowWideInstructions(GetParam()); }
    void TearDown() override { Internal::Simd::AllowWideInstructions(true); }

    u64 m_Bitmap[Internal::Buffer::kBitmapWords];
};

} // namespace

TEST_P(BufferBitmap, CharactersAreFoundWithoutReadingBehindTheirBlock)
{
    for (const u32 length : Lengths())
    {
        const std::string text = MakeText(length);
        const CGuardedText guarded = Padded(text);
        for (const char wanted : {',', '\0', '\xFF', 'z'})
        {
            Internal::Buffer::FindMatches(m_Bitmap, guarded.Get(), length, wanted);
            EXPECT_EQ(Visited(m_Bitmap, length), Expected(length, [&](u32 i) { return text[i] == wanted; })) << length;
        }
    }
}

TEST_P(BufferBitmap, CountedCharactersAreFoundWithoutReadingBehindTheText)
{
    for (const u32 length : Lengths())
    {
        const std::string text = MakeText(length);
        const CGuardedText guarded(text.data(), text.size());
        for (const char wanted : {',', '\0', '\xFF', 'z'})
        {
            Internal::Buffer::FindMatchesInCounted(m_Bitmap, guarded.Get(), length, wanted);
            EXPECT_EQ(Visited(m_Bitmap, length), Expected(length, [&](u32 i) { return text[i] == wanted; })) << length;
        }
    }
}

TEST_P(BufferBitmap, ListedCharactersAreFoundWithoutReadingBehindTheText)
{
    const std::vector<std::string> lists = {std::string(), std::string(1, '\0'), ",", "a,\x80\xFF",
                                            std::string("\0\x7F\x80\xAC", 4)};
    for (const std::string &list : lists)
    {
        u8 table[256] = {};
        for (const char character : list)
            table[static_cast<u8>(character)] = 1;
        for (const u32 length : Lengths())
        {
            const std::string text = MakeText(length);
            const CGuardedText guarded(text.data(), text.size());
            Internal::Buffer::FindTableMatches(m_Bitmap, guarded.Get(), length, table);
            EXPECT_EQ(Visited(m_Bitmap, length),
                      Expected(length, [&](u32 i) { return list.find(text[i]) != std::string::npos; }))
                << length;
        }
    }
}

TEST_P(BufferBitmap, EveryCharacterIsListedByItself)
{
    std::string all;
    for (u32 character = 0; character < 256; ++character)
        all += static_cast<char>(character);
    for (u32 character = 0; character < 256; ++character)
    {
        u8 table[256] = {};
        table[character] = 1;
        Internal::Buffer::FindTableMatches(m_Bitmap, all.data(), 256, table);
        EXPECT_EQ(Visited(m_Bitmap, 256), CIndices(1, character));
    }
}

TEST_P(BufferBitmap, NeitherATableNorASetIsReadOutsideOfItsBytes)
{
    const CGuardedPage page;
    const std::string text(2 * Internal::Buffer::kBitmapWordBits, 'a');
    const u32 length = static_cast<u32>(text.size());
    for (const bool atEnd : {false, true})
    {
        char *const table = atEnd ? page.Last(256) : page.Begin();
        std::memset(table, 0, 256);
        table[static_cast<u8>('a')] = 1;
        Internal::Buffer::FindTableMatches(m_Bitmap, text.data(), length, reinterpret_cast<const u8 *>(table));
        EXPECT_EQ(Visited(m_Bitmap, length).size(), length);

        char *const set = atEnd ? page.Last(Internal::Buffer::kSetBytes) : page.Begin();
        std::memset(set, 0xFF, Internal::Buffer::kSetBytes);
        const u64 all =
            Internal::Buffer::FirstSetMatches(text.data(), length, reinterpret_cast<const u8 *>(set)).m_Bits;
        EXPECT_EQ(all, ~u64{0});
    }
}

TEST_P(BufferBitmap, OfWholeWordsNothingIsWrittenBehindTheLast)
{
    constexpr u32 kWords = 4;
    u64 bitmap[kWords + 1];
    const std::string text(kWords * Internal::Buffer::kBitmapWordBits, 'a');
    u8 table[256] = {};
    table[static_cast<u8>('a')] = 1;
    for (u32 words = 1; words <= kWords; ++words)
    {
        std::fill(std::begin(bitmap), std::end(bitmap), 0x5555555555555555u);
        Internal::Buffer::FindTableMatches(bitmap, text.data(), words * Internal::Buffer::kBitmapWordBits, table);
        EXPECT_EQ(bitmap[words - 1], ~u64{0});
        EXPECT_EQ(bitmap[words], 0x5555555555555555u);
    }
}

TEST_P(BufferBitmap, PairsAreFoundWithoutReadingBehindTheText)
{
    for (const u32 length : Lengths())
    {
        for (const u32 distance : {0u, 1u, 2u, 15u, 16u, 33u})
        {
            const std::string text = MakeText(length + distance);
            const CGuardedText guarded(text.data(), text.size());
            Internal::Buffer::FindPairMatches(m_Bitmap, guarded.Get(), length, 'a', distance,
                                              distance == 0 ? 'a' : '\x80');
            EXPECT_EQ(Visited(m_Bitmap, length),
                      Expected(length, [&](u32 i)
                               { return text[i] == 'a' && (distance == 0 || text[i + distance] == '\x80'); }))
                << length << " and " << distance;
        }
    }
}

TEST_P(BufferBitmap, VisitEndsWhereItIsToldTo)
{
    const std::string text(Internal::Buffer::kChunkCharacters, 'a');
    Internal::Buffer::FindMatches(m_Bitmap, Padded(text).Get(), Internal::Buffer::kChunkCharacters, 'a');
    for (const u32 last : {0u, 1u, 63u, 64u, Internal::Buffer::kChunkCharacters - 1})
    {
        u32 calls = 0;
        const auto onMatch = [&](u32 index)
        {
            ++calls;
            return index != last;
        };
        EXPECT_FALSE(Internal::Buffer::ForEachMatch(m_Bitmap, Internal::Buffer::kChunkCharacters, onMatch));
        EXPECT_EQ(calls, last + 1);
    }
}

TEST_P(BufferBitmap, RunsAreFoundWhereTheyBeginAndEnd)
{
    for (const u32 length : Lengths())
    {
        // A second match in a row now and then, and runs longer than a word.
        std::string text = MakeText(length);
        for (u32 i = 0; i < length; ++i)
            if (i % 500 > 300)
                text[i] = 'a';
        u8 table[256] = {};
        table[static_cast<u8>('b')] = table[static_cast<u8>(',')] = 1;
        const auto isMatch = [&](u32 i) { return text[i] == 'b' || text[i] == ','; };
        for (const u64 first : {0u, 1u})
        {
            u64 begins[Internal::Buffer::kBitmapWords];
            u64 ends[Internal::Buffer::kBitmapWords];
            u64 before = first;
            Internal::Buffer::FindTableMatches(m_Bitmap, text.data(), length, table);
            Internal::Buffer::FindRuns(m_Bitmap, length, before, begins, ends);
            const auto isBehindMatch = [&](u32 i) { return i == 0 ? first != 0 : isMatch(i - 1); };
            std::vector<Quorvane::u16> listed(length + Internal::Buffer::kIndexSlack + 1);
            u32 count = Internal::Buffer::ListMatches(listed.data(), begins, length);
            // One may seem to begin behind the last character.
            count -= count != 0 && listed[count - 1] == length ? 1 : 0;
            EXPECT_EQ(CIndices(listed.begin(), listed.begin() + count),
                      Expected(length, [&](u32 i) { return isBehindMatch(i) && !isMatch(i); }))
                << length;
            count = Internal::Buffer::ListMatches(listed.data(), ends, length);
            EXPECT_EQ(CIndices(listed.begin(), listed.begin() + count),
                      Expected(length, [&](u32 i) { return !isBehindMatch(i) && isMatch(i); }))
                << length;
            EXPECT_EQ(before, length == 0 ? first : u64{isMatch(length - 1)}) << length;
        }
    }
}

// The matches that a word says there are; all of them lie in the text, and none is left out between them and the end of
// the text that they are looked for from.
template <typename IsMatch>
void ExpectFirstWord(const Internal::Buffer::SMatchWord &word, u32 count, const IsMatch &isMatch)
{
    const CIndices all = Expected(count, isMatch);
    EXPECT_EQ(word.m_Bits == 0, all.empty());
    if (word.m_Bits == 0)
        return;
    CIndices found;
    for (u32 i = 0; i < Internal::Buffer::kBitmapWordBits; ++i)
        if ((word.m_Bits >> i & 1) != 0)
            found.push_back(word.m_At + i);
    CIndices expected;
    for (const u32 index : all)
        if (index < word.m_At + Internal::Buffer::kBitmapWordBits)
            expected.push_back(index);
    EXPECT_EQ(found, expected) << count;
}

template <typename IsMatch>
void ExpectLastWord(const Internal::Buffer::SMatchWord &word, u32 count, const IsMatch &isMatch)
{
    const CIndices all = Expected(count, isMatch);
    EXPECT_EQ(word.m_Bits == 0, all.empty());
    if (word.m_Bits == 0)
        return;
    CIndices found;
    for (u32 i = 0; i < Internal::Buffer::kBitmapWordBits; ++i)
        if ((word.m_Bits >> i & 1) != 0)
            found.push_back(word.m_At + i);
    CIndices expected;
    for (const u32 index : all)
        if (index >= word.m_At)
            expected.push_back(index);
    EXPECT_EQ(found, expected) << count;
}

TEST_P(BufferBitmap, WordsOfMatchesAreTheNextOnesAndNothingBehindTheTextIsRead)
{
    for (const u32 length : Lengths())
    {
        // Dense matches, and one far away.
        std::string sparse(length, 'x');
        if (length != 0)
            sparse[length * 2 / 3] = ',';
        for (const std::string &text : {MakeText(length), sparse})
        {
            const CGuardedText guarded(text.data(), text.size());
            for (const char wanted : {',', '\0', '\xFF', 'z'})
            {
                const auto isMatch = [&](u32 i) { return text[i] == wanted; };
                ExpectFirstWord(Internal::Buffer::FirstMatches(guarded.Get(), length, wanted), length, isMatch);
                ExpectLastWord(Internal::Buffer::LastMatches(guarded.Get(), length, wanted), length, isMatch);
            }
        }
    }
}

TEST_P(BufferBitmap, WordsOfAPair)
{
    for (const u32 length : Lengths())
    {
        for (const u32 distance : {0u, 1u, 15u, 16u, 33u})
        {
            const std::string text = MakeText(length + distance);
            const CGuardedText guarded(text.data(), text.size());
            const char second = distance == 0 ? 'a' : '\x80';
            const auto isMatch = [&](u32 i) { return text[i] == 'a' && text[i + distance] == second; };
            ExpectFirstWord(Internal::Buffer::FirstPairMatches(guarded.Get(), length, 'a', distance, second), length,
                            isMatch);
            ExpectLastWord(Internal::Buffer::LastPairMatches(guarded.Get(), length, 'a', distance, second), length,
                           isMatch);
        }
    }
}

TEST_P(BufferBitmap, WordsOfASet)
{
    for (const std::string &list : {std::string(), std::string(1, '\0'), std::string(","), std::string("a,\x80\xFF"),
                                    std::string("\0\x7F\xAC", 3)})
    {
        u8 set[Internal::Buffer::kSetBytes] = {};
        for (const char character : list)
        {
            const u8 byte = static_cast<u8>(character);
            u8 &entry = set[byte / 128 * 16 + byte % 16];
            entry = static_cast<u8>(entry | 1 << byte / 16 % 8);
        }
        for (const u32 length : Lengths())
        {
            std::string sparse(length, 'x');
            if (length != 0)
                sparse[length / 3] = list.empty() ? 'x' : list.back();
            for (const std::string &text : {MakeText(length), sparse})
            {
                const CGuardedText guarded(text.data(), text.size());
                const auto isMatch = [&](u32 i) { return list.find(text[i]) != std::string::npos; };
                ExpectFirstWord(Internal::Buffer::FirstSetMatches(guarded.Get(), length, set), length, isMatch);
                ExpectLastWord(Internal::Buffer::LastSetMatches(guarded.Get(), length, set), length, isMatch);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, BufferBitmap, testing::Bool());

} // namespace QuorvaneTest
