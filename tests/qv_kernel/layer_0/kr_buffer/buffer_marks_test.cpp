#include "kr_buffer/buffer_marks.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "guarded_text.h"
#include "kr_simd/simd_wide.h"

namespace QuorvaneTest
{

namespace
{

using Quorvane::u32;
using Quorvane::u64;
using Quorvane::u8;
namespace Internal = Quorvane::Internal;

using CIndices = std::vector<u32>;

// Lengths around the ends of blocks, of words and of a whole stretch.
std::vector<u32> Lengths()
{
    std::vector<u32> lengths;
    for (u32 length = 0; length <= 4 * Internal::kMarksPerWord + 1; ++length)
        lengths.push_back(length);
    for (u32 back = 0; back <= Internal::kMarksPerWord; ++back)
        lengths.push_back(Internal::kMarkedCharacters - back);
    return lengths;
}

// Text of few characters, some of them above 127, so that every second one or so is marked.
std::string MakeText(u32 length)
{
    static const char kCharacters[] = {'a', 'b', ',', '\0', '\x7F', '\x80', '\xAC', '\xFF'};
    std::mt19937 random(length);
    std::string text;
    while (text.size() < length)
        text += kCharacters[random() % sizeof(kCharacters)];
    return text;
}

// The marks as a walk meets them; what lies behind them must be zero to the end of the word.
CIndices Walked(const u64 *marks, u32 count)
{
    CIndices indices;
    Internal::WalkMarks(marks, count,
                        [&](u32 index)
                        {
                            indices.push_back(index);
                            return true;
                        });
    for (const u32 index : indices)
        EXPECT_LT(index, count);
    return indices;
}

template <typename IsMarked>
CIndices Expected(u32 count, const IsMarked &isMarked)
{
    CIndices indices;
    for (u32 i = 0; i < count; ++i)
        if (isMarked(i))
            indices.push_back(i);
    return indices;
}

// A text as a container has it: zero behind its end, to the end of the terminator's block, which ends at a page.
CGuardedText Padded(const std::string &text)
{
    std::string padded = text;
    padded.resize((text.size() / Internal::SBlock::kBytes + 1) * Internal::SBlock::kBytes);
    return CGuardedText(padded.data(), padded.size());
}

// With and without wide instructions.
class BufferMarks : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override { Internal::AllowWideInstructions(GetParam()); }
    void TearDown() override { Internal::AllowWideInstructions(true); }

    u64 m_Marks[Internal::kMarkWords];
};

} // namespace

TEST_P(BufferMarks, CharactersAreMarkedWithoutReadingBehindTheirBlock)
{
    for (const u32 length : Lengths())
    {
        const std::string text = MakeText(length);
        const CGuardedText guarded = Padded(text);
        for (const char wanted : {',', '\0', '\xFF', 'z'})
        {
            Internal::MarkCharacter(m_Marks, guarded.Get(), length, wanted);
            EXPECT_EQ(Walked(m_Marks, length), Expected(length, [&](u32 i) { return text[i] == wanted; })) << length;
        }
    }
}

TEST_P(BufferMarks, ListedCharactersAreMarkedWithoutReadingBehindTheText)
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
            Internal::MarkListed(m_Marks, guarded.Get(), length, table);
            EXPECT_EQ(Walked(m_Marks, length),
                      Expected(length, [&](u32 i) { return list.find(text[i]) != std::string::npos; }))
                << length;
        }
    }
}

TEST_P(BufferMarks, EveryCharacterIsListedByItself)
{
    std::string all;
    for (u32 character = 0; character < 256; ++character)
        all += static_cast<char>(character);
    for (u32 character = 0; character < 256; ++character)
    {
        u8 table[256] = {};
        table[character] = 1;
        Internal::MarkListed(m_Marks, all.data(), 256, table);
        EXPECT_EQ(Walked(m_Marks, 256), CIndices(1, character));
    }
}

TEST_P(BufferMarks, PairsAreMarkedWithoutReadingBehindTheText)
{
    for (const u32 length : Lengths())
    {
        for (const u32 distance : {0u, 1u, 2u, 15u, 16u, 33u})
        {
            const std::string text = MakeText(length + distance);
            const CGuardedText guarded(text.data(), text.size());
            Internal::MarkPairs(m_Marks, guarded.Get(), length, 'a', distance, distance == 0 ? 'a' : '\x80');
            EXPECT_EQ(Walked(m_Marks, length),
                      Expected(length, [&](u32 i)
                               { return text[i] == 'a' && (distance == 0 || text[i + distance] == '\x80'); }))
                << length << " and " << distance;
        }
    }
}

TEST_P(BufferMarks, WalkEndsWhereItIsToldTo)
{
    const std::string text(Internal::kMarkedCharacters, 'a');
    Internal::MarkCharacter(m_Marks, Padded(text).Get(), Internal::kMarkedCharacters, 'a');
    for (const u32 last : {0u, 1u, 63u, 64u, Internal::kMarkedCharacters - 1})
    {
        u32 calls = 0;
        const auto onMark = [&](u32 index)
        {
            ++calls;
            return index != last;
        };
        EXPECT_FALSE(Internal::WalkMarks(m_Marks, Internal::kMarkedCharacters, onMark));
        EXPECT_EQ(calls, last + 1);
    }
}

TEST_P(BufferMarks, GapsAreMarkedWhereTheyBeginAndEnd)
{
    for (const u32 length : Lengths())
    {
        // A second mark in a row now and then, and gaps longer than a word.
        std::string text = MakeText(length);
        for (u32 i = 0; i < length; ++i)
            if (i % 500 > 300)
                text[i] = 'a';
        u8 table[256] = {};
        table[static_cast<u8>('b')] = table[static_cast<u8>(',')] = 1;
        const auto isMarked = [&](u32 i) { return text[i] == 'b' || text[i] == ','; };
        for (const u64 first : {0u, 1u})
        {
            u64 begins[Internal::kMarkWords];
            u64 ends[Internal::kMarkWords];
            u64 before = first;
            Internal::MarkListed(m_Marks, text.data(), length, table);
            Internal::MarkGaps(m_Marks, length, before, begins, ends);
            const auto isBehindMark = [&](u32 i) { return i == 0 ? first != 0 : isMarked(i - 1); };
            std::vector<Quorvane::u16> listed(length + Internal::kIndexSlack + 1);
            u32 count = Internal::ListMarks(listed.data(), begins, length);
            // One may seem to begin behind the last character.
            count -= count != 0 && listed[count - 1] == length ? 1 : 0;
            EXPECT_EQ(CIndices(listed.begin(), listed.begin() + count),
                      Expected(length, [&](u32 i) { return isBehindMark(i) && !isMarked(i); }))
                << length;
            count = Internal::ListMarks(listed.data(), ends, length);
            EXPECT_EQ(CIndices(listed.begin(), listed.begin() + count),
                      Expected(length, [&](u32 i) { return !isBehindMark(i) && isMarked(i); }))
                << length;
            EXPECT_EQ(before, length == 0 ? first : u64{isMarked(length - 1)}) << length;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, BufferMarks, testing::Bool());

} // namespace QuorvaneTest
