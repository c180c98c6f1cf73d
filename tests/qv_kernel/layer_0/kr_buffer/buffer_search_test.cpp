#include "kr_buffer/buffer_search.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "every_locale.h"
#include "every_text.h"
#include "guarded_text.h"
#include "kr_buffer.h"
#include "kr_buffer/buffer_kernels.h"
#include "kr_string.h"
#include "search_model.h"

namespace QuorvaneTest
{

namespace
{

using Quorvane::SNativeStringUtils;
using Quorvane::u32;
using Quorvane::u64;
namespace Internal = Quorvane::Internal;

typedef bool (*FSearch)(const char *str, const char *part);

const FSearch kSearches[] = {SNativeStringUtils::StartsWith, SNativeStringUtils::StartsWithCase,
                             SNativeStringUtils::EndsWith,   SNativeStringUtils::EndsWithCase,
                             SNativeStringUtils::Contains,   SNativeStringUtils::ContainsCase};
const FSearch kCaseSearches[] = {SNativeStringUtils::StartsWithCase, SNativeStringUtils::EndsWithCase,
                                 SNativeStringUtils::ContainsCase};
const FSearch kExactSearches[] = {SNativeStringUtils::StartsWith, SNativeStringUtils::EndsWith,
                                  SNativeStringUtils::Contains};

struct SComparisonCounter
{
    u64 m_Comparisons = 0;

    void Count() { ++m_Comparisons; }
};

// Where the search finds the needle, and how many comparisons it takes; without case unless another one is wanted.
template <typename TCase = Internal::SCaseIgnored>
size_t CountedFind(const std::string &text, const std::string &needle, u64 &comparisons)
{
    SComparisonCounter counter;
    const Internal::TLinearSearch<TCase, SComparisonCounter> search(needle.data(), needle.size(), counter);
    const char *found = search.FindIn(text.data(), text.size());
    comparisons = counter.m_Comparisons;
    return found != nullptr ? static_cast<size_t>(found - text.data()) : std::string::npos;
}

// The promised bound.
u64 MostComparisons(const std::string &text, const std::string &needle)
{
    return 4 * text.size() + 10 * needle.size();
}

// Prefixes.

TEST(BufferStartsWith, TellsWhetherTheTextBeginsSo)
{
    EXPECT_TRUE(SNativeStringUtils::StartsWith("textures/wall", "textures/"));
    EXPECT_TRUE(SNativeStringUtils::StartsWith("textures", "textures"));
    EXPECT_FALSE(SNativeStringUtils::StartsWith("textures", "Textures"));
    EXPECT_FALSE(SNativeStringUtils::StartsWith("textures", "textures/"));
    EXPECT_FALSE(SNativeStringUtils::StartsWith("a textures", "textures"));
    EXPECT_FALSE(SNativeStringUtils::StartsWith("", "a"));
}

TEST(BufferStartsWithCase, IgnoresCase)
{
    EXPECT_TRUE(SNativeStringUtils::StartsWithCase("Textures/Wall", "tEXTURES/"));
    EXPECT_TRUE(SNativeStringUtils::StartsWithCase("textures", "TEXTURES"));
    EXPECT_FALSE(SNativeStringUtils::StartsWithCase("textures", "TEXTURES/"));
    EXPECT_FALSE(SNativeStringUtils::StartsWithCase("a textures", "textures"));
    EXPECT_FALSE(SNativeStringUtils::StartsWithCase("", "a"));
}

// Suffixes.

TEST(BufferEndsWith, TellsWhetherTheTextEndsSo)
{
    EXPECT_TRUE(SNativeStringUtils::EndsWith("wall.png", ".png"));
    EXPECT_TRUE(SNativeStringUtils::EndsWith("wall.png", "wall.png"));
    EXPECT_FALSE(SNativeStringUtils::EndsWith("wall.png", ".PNG"));
    EXPECT_FALSE(SNativeStringUtils::EndsWith("wall.png.bak", ".png"));
    EXPECT_FALSE(SNativeStringUtils::EndsWith("png", ".png"));
    EXPECT_FALSE(SNativeStringUtils::EndsWith("", "a"));
    // The only occurrence that counts is the last.
    EXPECT_TRUE(SNativeStringUtils::EndsWith("aba ab aba", "aba"));
}

TEST(BufferEndsWithCase, IgnoresCase)
{
    EXPECT_TRUE(SNativeStringUtils::EndsWithCase("wall.png", ".PNG"));
    EXPECT_TRUE(SNativeStringUtils::EndsWithCase("WALL.png", "wall.PNG"));
    EXPECT_FALSE(SNativeStringUtils::EndsWithCase("wall.png.bak", ".PNG"));
    EXPECT_FALSE(SNativeStringUtils::EndsWithCase("png", ".PNG"));
    EXPECT_FALSE(SNativeStringUtils::EndsWithCase("", "a"));
}

// Substrings.

TEST(BufferContains, TellsWhetherTheTextHoldsIt)
{
    EXPECT_TRUE(SNativeStringUtils::Contains("textures/wall.png", "wall"));
    EXPECT_TRUE(SNativeStringUtils::Contains("wall", "wall"));
    EXPECT_TRUE(SNativeStringUtils::Contains("aaab", "aab"));
    EXPECT_FALSE(SNativeStringUtils::Contains("textures/wall.png", "Wall"));
    EXPECT_FALSE(SNativeStringUtils::Contains("wal", "wall"));
    EXPECT_FALSE(SNativeStringUtils::Contains("", "a"));
}

TEST(BufferContainsCase, IgnoresCase)
{
    EXPECT_TRUE(SNativeStringUtils::ContainsCase("textures/Wall.png", "wALL"));
    EXPECT_TRUE(SNativeStringUtils::ContainsCase("wall", "WALL"));
    EXPECT_TRUE(SNativeStringUtils::ContainsCase("aAaB", "AAb"));
    EXPECT_FALSE(SNativeStringUtils::ContainsCase("textures/wall.png", "walls"));
    EXPECT_FALSE(SNativeStringUtils::ContainsCase("wal", "WALL"));
    EXPECT_FALSE(SNativeStringUtils::ContainsCase("", "a"));
}

// What holds for all six.

TEST(BufferSearch, NullAndEmptyAreContainedInEverything)
{
    for (FSearch search : kSearches)
    {
        EXPECT_TRUE(search("abc", nullptr));
        EXPECT_TRUE(search("abc", ""));
        EXPECT_TRUE(search("", nullptr));
        EXPECT_TRUE(search("", ""));
        EXPECT_TRUE(search(nullptr, nullptr));
        EXPECT_TRUE(search(nullptr, ""));
    }
}

TEST(BufferSearch, NullContainsNothingElse)
{
    for (FSearch search : kSearches)
        EXPECT_FALSE(search(nullptr, "a"));
}

TEST(BufferSearch, TextsEndAtTheFirstTerminator)
{
    for (FSearch search : kSearches)
    {
        EXPECT_TRUE(search("ab\0cd", "ab\0xy"));
        EXPECT_FALSE(search("ab\0cd", "cd"));
        EXPECT_FALSE(search("ab\0cd", "abc"));
    }
}

// Two characters are the same when equal; without case also when one is the other's upper-case form as ASCII has it.
TEST(BufferSearch, EachCharacterIsFoundInItselfAndItsOtherCaseOnly)
{
    for (int a = 1; a < 256; ++a)
    {
        for (int b = 1; b < 256; ++b)
        {
            const char text[] = {static_cast<char>(a), 0};
            const char part[] = {static_cast<char>(b), 0};
            const int lower = std::max(a, b);
            const bool sameLetter = lower - std::min(a, b) == 'a' - 'A' && lower >= 'a' && lower <= 'z';
            for (FSearch search : kExactSearches)
                ASSERT_EQ(search(text, part), a == b) << a << " " << b;
            for (FSearch search : kCaseSearches)
                ASSERT_EQ(search(text, part), a == b || sameLetter) << a << " " << b;
        }
    }
}

TEST(BufferSearch, NoLocaleChangesCase)
{
    InEveryLocale(
        [](const char *locale)
        {
            for (FSearch search : kCaseSearches)
            {
                EXPECT_TRUE(search("iI", "Ii")) << locale;
                EXPECT_FALSE(search("\xC4", "\xE4")) << locale;
                EXPECT_FALSE(search("i", "\xDD")) << locale;
                EXPECT_FALSE(search("\xFD", "I")) << locale;
            }
        });
}

TEST(BufferSearch, NothingBehindTheTerminatorsIsRead)
{
    const char *const texts[] = {"", "a", "ab", "aab", "aabaab", "aabaabaabaabaabaab"};
    for (const char *text : texts)
    {
        for (const char *part : texts)
        {
            const CGuardedText guardedText(text);
            const CGuardedText guardedPart(part);
            const bool contained = SearchModelFind(text, part, false) != std::string::npos;
            EXPECT_EQ(SNativeStringUtils::Contains(guardedText.Get(), guardedPart.Get()), contained);
            EXPECT_EQ(SNativeStringUtils::ContainsCase(guardedText.Get(), guardedPart.Get()), contained);
            const bool starts = SearchModelStartsWith(text, part, false);
            EXPECT_EQ(SNativeStringUtils::StartsWith(guardedText.Get(), guardedPart.Get()), starts);
            EXPECT_EQ(SNativeStringUtils::StartsWithCase(guardedText.Get(), guardedPart.Get()), starts);
            const bool ends = SearchModelEndsWith(text, part, false);
            EXPECT_EQ(SNativeStringUtils::EndsWith(guardedText.Get(), guardedPart.Get()), ends);
            EXPECT_EQ(SNativeStringUtils::EndsWithCase(guardedText.Get(), guardedPart.Get()), ends);
        }
    }
}

// Against the model.

TEST(BufferSearch, EveryPairOfShortTextsAgreesWithTheModel)
{
    const std::vector<std::string> texts = EveryText("aAbB", kSanitized ? 4 : 5);
    const std::vector<std::string> parts = EveryText("aAbB", kSanitized ? 3 : 4);
    for (const std::string &text : texts)
    {
        for (const std::string &part : parts)
        {
            const char *t = text.c_str();
            const char *p = part.c_str();
            ASSERT_EQ(SNativeStringUtils::StartsWith(t, p), SearchModelStartsWith(text, part, false)) << t << " " << p;
            ASSERT_EQ(SNativeStringUtils::StartsWithCase(t, p), SearchModelStartsWith(text, part, true))
                << t << " " << p;
            ASSERT_EQ(SNativeStringUtils::EndsWith(t, p), SearchModelEndsWith(text, part, false)) << t << " " << p;
            ASSERT_EQ(SNativeStringUtils::EndsWithCase(t, p), SearchModelEndsWith(text, part, true)) << t << " " << p;
            ASSERT_EQ(SNativeStringUtils::Contains(t, p), SearchModelFind(text, part, false) != std::string::npos)
                << t << " " << p;
            ASSERT_EQ(SNativeStringUtils::ContainsCase(t, p), SearchModelFind(text, part, true) != std::string::npos)
                << t << " " << p;
        }
    }
}

// Needles of two letters have all kinds of periods; the search must not skip over an occurrence for any of them.
TEST(BufferContainsCase, EveryNeedleIsFoundAtItsFirstPlaceWithinTheBound)
{
    const std::vector<std::string> texts = EveryText("aB", kSanitized ? 9 : 11);
    const std::vector<std::string> needles = EveryText("Ab", kSanitized ? 6 : 8);
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

TEST(BufferContainsCase, LongerNeedlesAreFoundAtTheirFirstPlaceWithinTheBound)
{
    std::mt19937 random(8);
    const std::string alphabet = "aAbBc";
    for (int round = 0; round < (kSanitized ? 5000 : 30000); ++round)
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
TEST(BufferContainsCase, NeedlesThatRecurInPartStayLinear)
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
TEST(BufferContainsCase, NeedlesWithAPeriodStayLinear)
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

TEST(BufferContains, EveryNeedleIsFoundAtItsFirstPlaceWithinTheBound)
{
    const std::vector<std::string> texts = EveryText("ab", kSanitized ? 9 : 11);
    const std::vector<std::string> needles = EveryText("ab", kSanitized ? 6 : 8);
    for (const std::string &needle : needles)
    {
        if (needle.empty())
            continue;
        for (const std::string &text : texts)
        {
            u64 comparisons = 0;
            ASSERT_EQ(CountedFind<Internal::SCaseMatters>(text, needle, comparisons), text.find(needle))
                << text << " " << needle;
            ASSERT_LE(comparisons, MostComparisons(text, needle)) << text << " " << needle;
        }
    }
    u64 comparisons = 0;
    EXPECT_EQ(CountedFind<Internal::SCaseMatters>("xAbab", "ab", comparisons), 3u);
}

// A text and a needle that resembles it throughout.
struct SHardCase
{
    std::string m_Text;
    std::string m_Needle;
};

std::string Repeated(const std::string &piece, size_t length)
{
    std::string text;
    while (text.size() < length)
        text += piece;
    return text.substr(0, length);
}

std::string FibonacciWord(size_t length)
{
    std::string before = "b";
    std::string word = "a";
    while (word.size() < length)
    {
        const std::string next = word + before;
        before = word;
        word = next;
    }
    return word.substr(0, length);
}

// Trying each place, or as many as look well, would take the product of the lengths: 10^10 comparisons.
std::vector<SHardCase> HardCases(size_t length)
{
    std::vector<SHardCase> cases;
    for (const std::string &text : {Repeated("ab", length), std::string(length, 'a'), FibonacciWord(length),
                                    Repeated("aaaaaaab", length), Repeated(FibonacciWord(1000) + "a", length)})
    {
        const std::string quarter = text.substr(0, length / 4);
        for (const size_t place : {quarter.size() - 1, quarter.size() / 2, quarter.size() / 3, size_t(1), size_t(0)})
        {
            std::string needle = quarter;
            needle[place] = 'c';
            cases.push_back({text, needle});
            // A character that the text has, too.
            needle[place] = quarter[place] == 'a' ? 'b' : 'a';
            cases.push_back({text, needle});
        }
    }
    return cases;
}

TEST(BufferContains, HardNeedlesStayWithinTheBoundWithAndWithoutCase)
{
    for (const SHardCase &hard : HardCases(40000))
    {
        u64 comparisons = 0;
        const size_t place = CountedFind<Internal::SCaseMatters>(hard.m_Text, hard.m_Needle, comparisons);
        EXPECT_LE(comparisons, MostComparisons(hard.m_Text, hard.m_Needle));
        EXPECT_EQ(CountedFind<Internal::SCaseIgnored>(hard.m_Text, hard.m_Needle, comparisons), place);
        EXPECT_LE(comparisons, MostComparisons(hard.m_Text, hard.m_Needle));
        // The block search gives up as long as what it has compared is linear, too.
        typedef Internal::TPairSearch<Internal::SBlock, Internal::SExactBytes, Internal::End_Counted> CPairs;
        const u32 needleLength = static_cast<u32>(hard.m_Needle.size());
        CPairs pairs(reinterpret_cast<const Quorvane::u8 *>(hard.m_Text.data()), static_cast<u32>(hard.m_Text.size()),
                     {reinterpret_cast<const Quorvane::u8 *>(hard.m_Needle.data()), needleLength, 0, needleLength - 1});
        pairs.Find();
        EXPECT_LE(pairs.Spent(), CPairs::MostSpent(static_cast<u32>(hard.m_Text.size())) + needleLength);
    }
}

TEST(BufferContains, EveryPublicSearchComesToAnEndWithHardNeedles)
{
    for (const SHardCase &hard : HardCases(kSanitized ? 100000 : 300000))
    {
        const char *const text = hard.m_Text.c_str();
        const char *const needle = hard.m_Needle.c_str();
        const u32 length = static_cast<u32>(hard.m_Text.size());
        const u32 needleLength = static_cast<u32>(hard.m_Needle.size());
        u64 comparisons = 0;
        const bool expected =
            CountedFind<Internal::SCaseMatters>(hard.m_Text, hard.m_Needle, comparisons) != std::string::npos;
        const bool expectedBehind =
            CountedFind<Internal::SCaseMatters>(hard.m_Text.substr(1), hard.m_Needle, comparisons) != std::string::npos;
        EXPECT_EQ(SNativeStringUtils::Contains(text, needle), expected);
        EXPECT_EQ(SNativeStringUtils::ContainsCase(text, needle), expected);
        EXPECT_EQ(SNativeStringUtils::Find(text, length, needle, needleLength) != nullptr, expected);
        EXPECT_EQ(SNativeStringUtils::FindCase(text, length, needle, needleLength) != nullptr, expected);
        const Quorvane::CString string(text);
        EXPECT_EQ(string.FindFirstOf(needle).Valid(), expected);
        EXPECT_EQ(string.FindNextOf(needle, 1).Valid(), expectedBehind);
        for (const Quorvane::ECaseSensitivity sensitivity : {Quorvane::CaseSensitive, Quorvane::CaseInsensitive})
        {
            EXPECT_EQ(string.Contains(needle, sensitivity), expected);
            EXPECT_EQ(Quorvane::CStringView(string).Contains(needle, sensitivity), expected);
        }
    }
}

// Texts of unknown length are measured and searched a window at a time; nothing may be lost between two of them.
TEST(BufferContains, ANeedleIsFoundWhereverItStandsInALongText)
{
    for (const size_t needleLength : {1u, 16u, 17u, 40u, 600u, 3000u})
    {
        std::string needle(needleLength, 'n');
        needle.back() = 'N';
        const size_t length = 20000;
        const CGuardedText text(std::string(length, 'n'));
        for (size_t place = 0; place + needleLength <= length; place += place % 97 == 0 ? 1 : 13)
        {
            char *const last = text.Get() + place + needleLength - 1;
            *last = 'N';
            ASSERT_TRUE(SNativeStringUtils::Contains(text.Get(), needle.c_str())) << needleLength << ", " << place;
            ASSERT_TRUE(SNativeStringUtils::ContainsCase(text.Get(), needle.c_str()));
            // It must be whole, and stand before the end.
            *last = '\0';
            ASSERT_FALSE(SNativeStringUtils::Contains(text.Get(), needle.c_str())) << needleLength << ", " << place;
            *last = 'n';
        }
        ASSERT_FALSE(SNativeStringUtils::Contains(text.Get(), needle.c_str()));
    }
}

TEST(BufferContains, AllWindowsBordersLetANeedleThrough)
{
    const std::string needle = "a needle that is longer than sixteen";
    std::string text(300000, '.');
    // Around the multiples of 2 KiB, where windows end: each is a little shorter by what overlaps.
    for (size_t border = 2048; border < text.size(); border += 2048)
    {
        for (size_t place = border - 900; place + needle.size() < std::min(border + 4, text.size());
             place += place + 40 < border && border > 8192 ? 31 : 1)
        {
            text.replace(place, needle.size(), needle);
            ASSERT_TRUE(SNativeStringUtils::Contains(text.c_str(), needle.c_str())) << place;
            text.replace(place, needle.size(), needle.size(), '.');
        }
    }
}

} // namespace

} // namespace QuorvaneTest
