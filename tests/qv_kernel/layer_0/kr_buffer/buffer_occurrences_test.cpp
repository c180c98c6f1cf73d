#include "kr_buffer/buffer_occurrences.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "guarded_text.h"
#include "kr_simd/simd_machine.h"

namespace QuorvaneTest
{

namespace
{

using Quorvane::u32;
using Quorvane::u64;
namespace Internal = Quorvane::Internal;

using CIndices = std::vector<u32>;

CIndices Expected(const std::string &text, const std::string &pattern, u32 from)
{
    CIndices indices;
    for (size_t at = text.find(pattern, from); at != std::string::npos; at = text.find(pattern, at + pattern.size()))
        indices.push_back(static_cast<u32>(at));
    return indices;
}

// Walks a text that ends at a protected page, with a pattern that does, too.
CIndices Walked(const std::string &text, const std::string &pattern, u32 from)
{
    const CGuardedText guardedText(text.data(), text.size());
    const CGuardedText guardedPattern(pattern.data(), pattern.size());
    CIndices indices;
    Internal::Buffer::WalkOccurrences(guardedText.Get(), static_cast<u32>(text.size()), guardedPattern.Get(),
                                      static_cast<u32>(pattern.size()), from,
                                      [&](u32 at)
                                      {
                                          indices.push_back(at);
                                          return true;
                                      });
    return indices;
}

// Walks a text from `from` on. Returns: the characters compared in vain.
u64 WastedOn(const std::string &text, const std::string &pattern, CIndices &outIndices, u32 from = 0)
{
    const auto onMatch = [&](u32 at)
    {
        outIndices.push_back(at);
        return true;
    };
    using CWalk = Internal::Buffer::TOccurrences<decltype(onMatch)>;
    CWalk walk(text.data(), static_cast<u32>(text.size()), pattern.data(), static_cast<u32>(pattern.size()), from,
               onMatch);
    walk.Walk();
    // What was walked over paid for all but the last comparison.
    EXPECT_LE(walk.Wasted(), 4096 + 4 * (text.size() - from) + pattern.size());
    return walk.Wasted();
}

// With and without wide instructions.
class BufferOccurrences : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override { Internal::Simd::AllowWideInstructions(GetParam()); }
    void TearDown() override { Internal::Simd::AllowWideInstructions(true); }
};

} // namespace

TEST_P(BufferOccurrences, OnePatternIsFoundAtEveryPlace)
{
    for (const std::string pattern : {"x", "xy", "xyz", "xyzabcd", "xyzabcde", "xyzabcdef", "xyzabcdefghijklmnopqrst"})
        for (u32 length = 0; length <= 4 * Internal::Buffer::kBitmapWordBits + 1; length += length < 100 ? 1 : 13)
            for (u32 at = 0; at + pattern.size() <= length; ++at)
            {
                std::string text(length, '-');
                text.replace(at, pattern.size(), pattern);
                ASSERT_EQ(Walked(text, pattern, 0), CIndices(1, at)) << pattern << " in " << length;
            }
}

TEST_P(BufferOccurrences, RandomTextsOfFewCharactersAgreeWithTheSearch)
{
    std::mt19937 generator(1);
    const auto random = [&]() { return static_cast<u32>(generator()); };
    for (u32 round = 0; round < 3000; ++round)
    {
        const u32 letters = 1 + random() % 3;
        const auto fill = [&](u32 length)
        {
            std::string text;
            while (text.size() < length)
                text += static_cast<char>('a' + random() % letters);
            return text;
        };
        const std::string text = fill(random() % 400);
        const std::string pattern = fill(1 + random() % 20);
        const u32 from = random() % static_cast<u32>(text.size() + 1);
        ASSERT_EQ(Walked(text, pattern, from), Expected(text, pattern, from)) << pattern << " in " << text;
    }
}

TEST_P(BufferOccurrences, StretchesFollowEachOther)
{
    constexpr u32 kEdge = Internal::Buffer::kChunkCharacters;
    for (const std::string pattern : {"x", "xyz", "xyzabcdefghij"})
        for (u32 at = kEdge - 20; at < kEdge + 20; ++at)
        {
            std::string text(2 * kEdge + 100, '-');
            text.replace(at, pattern.size(), pattern);
            text.replace(2 * kEdge + 50, pattern.size(), pattern);
            EXPECT_EQ(Walked(text, pattern, 0), CIndices({at, 2 * kEdge + 50}));
        }
    // A pattern longer than a stretch, overlapping itself.
    const std::string run(3 * kEdge, 'a');
    EXPECT_EQ(Walked(run + run + "b", run, 0), CIndices({0, 3 * kEdge}));
}

TEST_P(BufferOccurrences, WalkEndsWhereItIsToldTo)
{
    const std::string text(100, 'a');
    u32 calls = 0;
    const auto onMatch = [&](u32 at)
    {
        ++calls;
        return at != 8;
    };
    Internal::Buffer::WalkOccurrences(text.data(), 100, "aa", 2, 0, onMatch);
    EXPECT_EQ(calls, 5u);
}

TEST_P(BufferOccurrences, WhatIsComparedInVainIsBounded)
{
    // Every place is a candidate, and differs in its middle only.
    const std::string text(100000, 'a');
    const std::string pattern = std::string(1000, 'a') + "b" + std::string(1000, 'a');
    CIndices indices;
    EXPECT_GT(WastedOn(text, pattern, indices), 0u);
    EXPECT_EQ(indices, CIndices());

    // An occurrence behind the place where comparing is given up is found all the same, and so are those behind it.
    indices.clear();
    WastedOn(text + pattern + "--" + pattern, pattern, indices);
    EXPECT_EQ(indices, CIndices({100000, 102003}));

    // What lies in front of the place where a walk begins pays for nothing, what lies behind it for as much again.
    indices.clear();
    WastedOn(text + pattern, pattern, indices, 90000);
    EXPECT_EQ(indices, CIndices({100000}));
    indices.clear();
    WastedOn(std::string(2000, '-') + text + pattern, pattern, indices);
    EXPECT_EQ(indices, CIndices({102000}));
}

TEST_P(BufferOccurrences, WhereComparingIsGivenUpNothingBehindTheTextIsReadOrFound)
{
    const std::string text(100000, 'a');
    const std::string pattern = std::string(1000, 'a') + "b" + std::string(1000, 'a');
    EXPECT_EQ(Walked(text, pattern, 0), CIndices());
    EXPECT_EQ(Walked(text + pattern, pattern, 0), CIndices({100000}));
    EXPECT_EQ(Walked(text + pattern.substr(0, 2000), pattern, 0), CIndices());
}

TEST_P(BufferOccurrences, AnOccurrenceMayBeginRightBehindAPlaceThatOnlyLookedLikeOne)
{
    // At the first place the first word and the last character are the pattern's, and the one between is not.
    EXPECT_EQ(Walked("aaaaaaaaacbb", "aaaaaaaacbb", 0), CIndices({1}));
    EXPECT_EQ(Walked("aaaaaaaaacbb-aaaaaaaacbb", "aaaaaaaacbb", 0), CIndices({1, 13}));
}

TEST_P(BufferOccurrences, WalkEndsWhereItIsToldToBehindThePlaceWhereComparingIsGivenUp)
{
    const std::string pattern = std::string(1000, 'a') + "b" + std::string(1000, 'a');
    const std::string text = std::string(100000, 'a') + pattern + "--" + pattern + "--" + pattern;
    CIndices indices;
    const auto onMatch = [&](u32 at)
    {
        indices.push_back(at);
        return indices.size() != 2;
    };
    Internal::Buffer::WalkOccurrences(text.data(), static_cast<u32>(text.size()), pattern.data(),
                                      static_cast<u32>(pattern.size()), 0, onMatch);
    EXPECT_EQ(indices, CIndices({100000, 102003}));
}

TEST_P(BufferOccurrences, NothingIsComparedInVainInOrdinaryText)
{
    CIndices indices;
    EXPECT_EQ(WastedOn("the quick brown fox jumps over the lazy dog", "lazy", indices), 0u);
    EXPECT_EQ(indices, CIndices(1, 35));
}

INSTANTIATE_TEST_SUITE_P(Forms, BufferOccurrences, testing::Bool());

} // namespace QuorvaneTest
