// The two-way search: what it finds, and the comparisons that it takes.
#include "kr_buffer/two_way_search.h"

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "every_text.h"
#include "guarded_page.h"
#include "hard_needles.h"
#include "search_model.h"

namespace QuorvaneTest
{

namespace
{

namespace Buffer = Quorvane::Internal::Buffer;
using Quorvane::u64;

struct SComparisonCounter
{
    u64 m_Comparisons = 0;

    void Count() { ++m_Comparisons; }
};

// Where the search finds the needle, and how many comparisons it takes; without case unless another one is wanted.
template <typename TCase = Buffer::SCaseIgnored>
size_t CountedFind(const std::string &text, const std::string &needle, u64 &comparisons)
{
    SComparisonCounter counter;
    const Buffer::TTwoWaySearch<TCase, SComparisonCounter> search(needle.data(), needle.size(), counter);
    const size_t found = search.FindIn(text.data(), text.size());
    comparisons = counter.m_Comparisons;
    return found != search.kNowhere ? found : std::string::npos;
}

// The same backwards: the last place.
template <typename TCase = Buffer::SCaseIgnored>
size_t CountedFindLast(const std::string &text, const std::string &needle, u64 &comparisons)
{
    SComparisonCounter counter;
    using CSearch = Buffer::TTwoWaySearch<TCase, SComparisonCounter, Buffer::CBackwardText>;
    const CSearch search(Buffer::CBackwardText(needle.data() + needle.size()), needle.size(), counter);
    const size_t found = search.FindIn(Buffer::CBackwardText(text.data() + text.size()), text.size());
    comparisons = counter.m_Comparisons;
    return found != search.kNowhere ? text.size() - found - needle.size() : std::string::npos;
}

// The promised bound.
u64 MostComparisons(const std::string &text, const std::string &needle)
{
    return 4 * text.size() + 10 * needle.size();
}

// Needles of two letters have all kinds of periods; the search must not skip over an occurrence for any of them.
TEST(TwoWaySearchCase, EveryNeedleIsFoundAtItsFirstPlaceWithinTheBound)
{
    const std::vector<std::string> texts = EveryText("aB", kVerySlow ? 9 : 11);
    const std::vector<std::string> needles = EveryText("Ab", kVerySlow ? 6 : 8);
    for (const std::string &needle : needles)
    {
        if (needle.empty())
            continue;
        for (const std::string &text : texts)
        {
            u64 comparisons = 0;
            ASSERT_EQ(CountedFind(text, needle, comparisons), SearchModelFind(text, needle, true))
                << text << " " << needle;
            ASSERT_LE(comparisons, MostComparisons(text, needle)) << text << " " << needle;
        }
    }
}

TEST(TwoWaySearchCase, LongerNeedlesAreFoundAtTheirFirstPlaceWithinTheBound)
{
    std::mt19937 random(8);
    const std::string alphabet = "aAbBc";
    for (int round = 0; round < (kVerySlow ? 5000 : 30000); ++round)
    {
        // A piece repeated, so that both have periods, with a few other characters.
        std::string piece(1 + random() % 8, ' ');
        for (char &character : piece)
            character = alphabet[random() % alphabet.size()];
        std::string text;
        while (text.size() < 120)
            text += piece;
        for (unsigned i = 0; i < random() % 4; ++i)
            text[random() % text.size()] = alphabet[random() % alphabet.size()];
        std::string needle = text.substr(random() % 60, 1 + random() % 50);
        if (random() % 2 == 0)
            needle[random() % needle.size()] = alphabet[random() % alphabet.size()];
        u64 comparisons = 0;
        ASSERT_EQ(CountedFind(text, needle, comparisons), SearchModelFind(text, needle, true)) << text << " " << needle;
        ASSERT_LE(comparisons, MostComparisons(text, needle)) << text << " " << needle;
    }
}

// Trying every place would take up to needle times text comparisons.
TEST(TwoWaySearchCase, NeedlesThatRecurInPartStayLinear)
{
    const std::string text(100000, 'a');
    const std::string half(1000, 'A');
    const std::string needles[] = {half + "b", "b" + half, half + "b" + half};
    for (const std::string &needle : needles)
    {
        u64 comparisons = 0;
        EXPECT_EQ(CountedFind(text, needle, comparisons), std::string::npos);
        EXPECT_LE(comparisons, MostComparisons(text, needle));
        // Nobody can tell without a look at one character in each stretch of the needle's length.
        EXPECT_GE(comparisons, text.size() / needle.size());
    }
}

// Needles and texts with a long period, broken in the text wherever a needle has nearly matched.
TEST(TwoWaySearchCase, NeedlesWithAPeriodStayLinear)
{
    for (size_t pieceLength = 2; pieceLength <= 64; pieceLength += 7)
    {
        const std::string piece = std::string(pieceLength - 1, 'a') + "B";
        const std::string reversed = "B" + std::string(pieceLength - 1, 'a');
        for (const std::string &unit : {piece, reversed})
        {
            std::string needle;
            for (int i = 0; i < 5; ++i)
                needle += unit;
            std::string text;
            while (text.size() < 50000)
                text += needle.substr(1) + needle.substr(0, needle.size() - 1) + "c";
            u64 comparisons = 0;
            EXPECT_EQ(CountedFind(text, needle, comparisons), SearchModelFind(text, needle, true));
            EXPECT_LE(comparisons, MostComparisons(text, needle));
        }
    }
}

// With case.

TEST(TwoWaySearch, EveryNeedleIsFoundAtItsFirstPlaceWithinTheBound)
{
    const std::vector<std::string> texts = EveryText("ab", kVerySlow ? 9 : 11);
    const std::vector<std::string> needles = EveryText("ab", kVerySlow ? 6 : 8);
    for (const std::string &needle : needles)
    {
        if (needle.empty())
            continue;
        for (const std::string &text : texts)
        {
            u64 comparisons = 0;
            ASSERT_EQ(CountedFind<Buffer::SCaseMatters>(text, needle, comparisons), text.find(needle))
                << text << " " << needle;
            ASSERT_LE(comparisons, MostComparisons(text, needle)) << text << " " << needle;
        }
    }
    u64 comparisons = 0;
    EXPECT_EQ(CountedFind<Buffer::SCaseMatters>("xAbab", "ab", comparisons), 3u);
}

TEST(TwoWaySearch, HardNeedlesStayWithinTheBoundWithAndWithoutCase)
{
    for (const SHardCase &hard : HardCases(40000))
    {
        u64 comparisons = 0;
        const size_t place = CountedFind<Buffer::SCaseMatters>(hard.m_Text, hard.m_Needle, comparisons);
        EXPECT_LE(comparisons, MostComparisons(hard.m_Text, hard.m_Needle));
        EXPECT_EQ(CountedFind<Buffer::SCaseIgnored>(hard.m_Text, hard.m_Needle, comparisons), place);
        EXPECT_LE(comparisons, MostComparisons(hard.m_Text, hard.m_Needle));
    }
}

// Backwards.

TEST(TwoWaySearchBackwards, EveryNeedleIsFoundAtItsLastPlaceWithinTheBound)
{
    const std::vector<std::string> texts = EveryText("aB", kVerySlow ? 9 : 11);
    const std::vector<std::string> needles = EveryText("Ab", kVerySlow ? 6 : 8);
    for (const std::string &needle : needles)
    {
        if (needle.empty())
            continue;
        for (const std::string &text : texts)
        {
            u64 comparisons = 0;
            ASSERT_EQ(CountedFindLast(text, needle, comparisons), SearchModelFindLast(text, needle, true))
                << text << " " << needle;
            ASSERT_LE(comparisons, MostComparisons(text, needle)) << text << " " << needle;
        }
    }
    u64 comparisons = 0;
    EXPECT_EQ(CountedFindLast<Buffer::SCaseMatters>("ababAb", "ab", comparisons), 2u);
}

TEST(TwoWaySearchBackwards, HardNeedlesStayWithinTheBoundWithAndWithoutCase)
{
    // What is expected is found in the product of the lengths.
    for (SHardCase &hard : HardCases(kVerySlow ? 4000 : 40000))
    {
        // What resembles the needle from the front does so from behind when both are reversed.
        for (const bool reversed : {false, true})
        {
            if (reversed)
            {
                hard.m_Text.assign(hard.m_Text.rbegin(), hard.m_Text.rend());
                hard.m_Needle.assign(hard.m_Needle.rbegin(), hard.m_Needle.rend());
            }
            u64 comparisons = 0;
            const size_t place = CountedFindLast<Buffer::SCaseMatters>(hard.m_Text, hard.m_Needle, comparisons);
            EXPECT_LE(comparisons, MostComparisons(hard.m_Text, hard.m_Needle));
            EXPECT_EQ(place, hard.m_Text.rfind(hard.m_Needle));
            EXPECT_EQ(CountedFindLast<Buffer::SCaseIgnored>(hard.m_Text, hard.m_Needle, comparisons), place);
            EXPECT_LE(comparisons, MostComparisons(hard.m_Text, hard.m_Needle));
        }
    }
}

// Both ends of text and needle, each beside protected memory.

TEST(TwoWaySearch, NeitherTextNorNeedleIsReadOutsideOfItsCount)
{
    const CGuardedPage textPage;
    const CGuardedPage needlePage;
    for (const std::string &text : EveryText("ab", 6))
    {
        for (const std::string &needle : EveryText("ab", 4))
        {
            if (needle.empty())
                continue;
            for (const bool atEnd : {false, true})
            {
                char *const t = atEnd ? textPage.Last(text.size()) : textPage.Begin();
                char *const n = atEnd ? needlePage.Last(needle.size()) : needlePage.Begin();
                std::memcpy(t, text.data(), text.size());
                std::memcpy(n, needle.data(), needle.size());
                const char *const first = Buffer::FindTwoWay<Buffer::SCaseMatters>(t, text.size(), n, needle.size());
                ASSERT_EQ(first != nullptr ? static_cast<size_t>(first - t) : std::string::npos, text.find(needle))
                    << text << " " << needle;
                const char *const last = Buffer::FindLastTwoWay<Buffer::SCaseMatters>(t, text.size(), n, needle.size());
                ASSERT_EQ(last != nullptr ? static_cast<size_t>(last - t) : std::string::npos, text.rfind(needle))
                    << text << " " << needle;
            }
        }
    }
}

TEST(TwoWaySearch, WhatStandsBehindTheTextIsNotFound)
{
    const std::string needle = "abaab";
    // All but the last characters of the needle belong to the text, more and more of them.
    for (size_t length = 0; length < 2 * needle.size(); ++length)
    {
        const std::string front = std::string(length < needle.size() ? 0 : length - needle.size() + 1, 'x');
        const std::string memory = front + needle + needle;
        EXPECT_EQ(Buffer::FindTwoWay<Buffer::SCaseMatters>(memory.data(), length, needle.data(), needle.size()),
                  nullptr)
            << length;
    }
}

// What the bounds above rest on. Preparing "ab" takes two comparisons in each of the two orders, b being another letter
// and coming behind a or before it, and one that finds that "a" does not recur; finding it in itself takes one to come to
// a candidate, and then each character once.
TEST(TwoWaySearch, EveryComparisonIsCounted)
{
    SComparisonCounter counter;
    const Buffer::TTwoWaySearch<Buffer::SCaseMatters, SComparisonCounter> search("ab", 2, counter);
    EXPECT_EQ(counter.m_Comparisons, 5u);
    EXPECT_EQ(search.FindIn("ab", 2), 0u);
    EXPECT_EQ(counter.m_Comparisons, 8u);
}

TEST(TwoWaySearchBackwards, ItsCallersGetThePlaceInTheText)
{
    const std::string text = "one two one TWO one";
    const char *const last = Buffer::FindLastTwoWay<Buffer::SCaseMatters>(text.data(), text.size(), "two", 3);
    EXPECT_EQ(static_cast<const void *>(last), static_cast<const void *>(text.data() + 4));
    const char *const lastCase = Buffer::FindLastTwoWay<Buffer::SCaseIgnored>(text.data(), text.size(), "two", 3);
    EXPECT_EQ(static_cast<const void *>(lastCase), static_cast<const void *>(text.data() + 12));
    EXPECT_EQ(Buffer::FindLastTwoWay<Buffer::SCaseMatters>(text.data(), text.size(), "three", 5), nullptr);
    const char *const first = Buffer::FindTwoWay<Buffer::SCaseMatters>(text.data(), text.size(), "one", 3);
    EXPECT_EQ(static_cast<const void *>(first), static_cast<const void *>(text.data()));
    EXPECT_EQ(Buffer::FindTwoWay<Buffer::SCaseMatters>(text.data(), text.size(), "three", 5), nullptr);
}

} // namespace

} // namespace QuorvaneTest
