// Matches: wildcards within the product of the lengths, fuzzy weights within words times columns.
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "every_text.h"
#include "hard_needles.h"
#include "kr_buffer/buffer_wildcard.h"
#include "kr_string.h"
#include "step_count.h"
#include "wide_choice.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

CStringView ViewOf(const std::string &text)
{
    return CStringView(text.data(), static_cast<u32>(text.size()));
}

// ---- Wildcards ------------------------------------------------------------------------------------------------------

struct SWildcardSteps
{
    u64 m_Steps = 0;

    void Count() { ++m_Steps; }
};

u64 MostWildcardSteps(const std::string &pattern, const std::string &text)
{
    return pattern.size() * text.size() + pattern.size() + text.size();
}

// Characters of the text looked at and stars skipped: the matcher's own steps.
void ExpectFewWildcardSteps(const std::string &name, const std::string &pattern, const std::string &text)
{
    const std::string of = pattern.size() < 20 ? ", short patterns" : ", long patterns";
    using namespace Internal::Buffer;
    const TCharacters<SToEnd> wanted = {pattern.data(), {pattern.data() + pattern.size()}};
    const TCharacters<SToEnd> characters = {text.data(), {text.data() + text.size()}};
    SWildcardSteps plain;
    static_cast<void>(MatchWildcards<SCaseMatters, SNoInhibitors>(wanted, characters, plain));
    ExpectSteps("steps of Match" + of, name, plain.m_Steps, MostWildcardSteps(pattern, text));
    SWildcardSteps inhibited;
    static_cast<void>(MatchWildcards<SCaseIgnored, SBackslashInhibits>(wanted, characters, inhibited));
    ExpectSteps("steps of MatchWithInhibitors" + of, name, inhibited.m_Steps, MostWildcardSteps(pattern, text));
}

// The whole operations, with what they look up before, in blocks of code.
void ExpectMatchesAreBounded(const std::string &name, const std::string &pattern, const std::string &text)
{
    const u64 bound = 40 * MostWildcardSteps(pattern, text) + 1000;
    const auto expect = [&](const char *operation, const auto &match)
    { ExpectSteps(operation, name, StepsOf([&] { static_cast<void>(match()); }), bound); };
    const CStringView view = ViewOf(text);
    const CStringView wanted = ViewOf(pattern);
    expect("Match", [&] { return view.Match(wanted); });
    expect("Match, no case", [&] { return view.Match(wanted, CaseInsensitive); });
    expect("MatchWithInhibitors", [&] { return view.MatchWithInhibitors(wanted); });
    expect("MatchWithInhibitors, no case", [&] { return view.MatchWithInhibitors(wanted, CaseInsensitive); });
    expect("Match, no length", [&] { return SNativeStringUtils::Match(pattern.c_str(), text.c_str()); });
}

TEST(MatchSteps, EveryShortPatternAndText)
{
    const std::vector<std::string> texts = EveryText("ab", 6);
    for (const std::string &pattern : EveryText("ab*?", 4))
        for (const std::string &text : texts)
            ExpectFewWildcardSteps(pattern, pattern, text);
    for (const std::string &pattern : EveryText("a*\\", 5))
        for (const std::string &text : EveryText("a\\", 5))
            ExpectFewWildcardSteps(pattern, pattern, text);
}

std::vector<std::pair<std::string, std::string>> HardPatterns()
{
    return {{"*a^m b", "*" + std::string(60, 'a') + "b"},
            {"*a*a*a*b", Repeated("*a", 60) + "b"},
            {"*a^m b*a", "*" + std::string(60, 'a') + "b*a"},
            {"*aab*aab", Repeated("*aab", 60) + "*"},
            {"stars", std::string(60, '*') + "b"},
            {"*?*?*?b", Repeated("*?", 60) + "b"},
            {"*?^m b", "*" + std::string(60, '?') + "b"},
            {"a*a^m b*", "a*" + std::string(60, 'a') + "b*"},
            {"Fibonacci", "*" + FibonacciWord(60) + "c"},
            {"inhibited", "*" + Repeated("\\a", 60) + "b"},
            {"inhibited stars", Repeated("\\*", 60) + "*"}};
}

TEST(MatchSteps, HardPatterns)
{
    for (const size_t length : {size_t(60), size_t(240), size_t(480)})
        for (const std::string &text :
             {std::string(length, 'a'), std::string(length, 'a') + "b", Repeated("aaaaaaab", length),
              FibonacciWord(length), Repeated("aab", length), std::string(length, '*')})
            for (const auto &hard : HardPatterns())
            {
                const std::string name = hard.first + " in " + std::to_string(length) + " of " + text.substr(0, 4);
                ExpectFewWildcardSteps(name, hard.second, text);
                ExpectMatchesAreBounded(name, hard.second, text);
            }
}

TEST(MatchSteps, RandomPatterns)
{
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round)
    {
        std::string pattern(random() % 20, ' ');
        for (char &character : pattern)
            character = "aab*?\\"[random() % 6];
        std::string text(random() % 60, ' ');
        for (char &character : text)
            character = "aaab"[random() % 4];
        ExpectFewWildcardSteps(pattern + " in " + text, pattern, text);
    }
}

// ---- Fuzzy weights --------------------------------------------------------------------------------------------------

// Words of 64 rows times columns, where the shorter text runs along the rows; and both lengths.
u64 FuzzyCells(const std::string &a, const std::string &b)
{
    const u64 rows = std::min(a.size(), b.size());
    const u64 columns = std::max(a.size(), b.size());
    return (rows + 63) / 64 * columns + rows + columns;
}

std::vector<std::string> FuzzyTexts(size_t length)
{
    std::string counted(length, ' ');
    for (size_t i = 0; i < length; ++i)
        counted[i] = static_cast<char>(1 + i % 255);
    return {std::string(length, 'a'), std::string(length, 'b'), Repeated("ab", length), FibonacciWord(length), counted};
}

void ExpectFewFuzzySteps(const std::string &a, const std::string &b)
{
    const std::string name = std::to_string(a.size()) + " with " + std::to_string(b.size());
    float weight = 0;
    ExpectSteps("FuzzyMatch", name, StepsOf([&] { weight = ViewOf(a).FuzzyMatch(ViewOf(b)); }),
                30 * FuzzyCells(a, b) + 3000);
}

TEST(FuzzySteps, TextsOfAllLengthsAroundTheStrips)
{
    for (const bool wide : {true, false})
    {
        const CWideChoice choice(wide);
        for (const size_t rows : {size_t(1), size_t(8), size_t(32), size_t(33), size_t(64), size_t(65), size_t(128),
                                  size_t(129), size_t(255), size_t(256), size_t(600)})
            for (const size_t columns : {size_t(1), size_t(33), size_t(65), size_t(129), size_t(257), size_t(2000)})
                for (const std::string &a : FuzzyTexts(rows))
                    for (const std::string &b : FuzzyTexts(columns))
                        ExpectFewFuzzySteps(a, b);
    }
}

TEST(FuzzySteps, LongTexts)
{
    for (const size_t length : {size_t(1000), size_t(4000)})
        for (const std::string &a : FuzzyTexts(length))
            ExpectFewFuzzySteps(a, Repeated("ba", length));
}

TEST(FuzzySteps, AListIsTheSumOfItsTexts)
{
    std::mt19937 random(1);
    for (const size_t queryLength : {size_t(1), size_t(12), size_t(16), size_t(17), size_t(32), size_t(33), size_t(64)})
    {
        const std::string query = Repeated("abc", queryLength);
        const CString queryString(query.c_str());
        TArray<CString> list;
        u64 cells = 0;
        for (int i = 0; i < 500; ++i)
        {
            // Lengths that do not fall into groups.
            const std::string text = Repeated("acb", random() % 300);
            ASSERT_TRUE(list.PushBack(CString(text.c_str())).Valid());
            cells += FuzzyCells(query, text);
        }
        TArray<CString::SFuzzyMatchListElement> matches;
        const TStridedMemoryView<const CString> strings(list.Data(), list.Count(), sizeof(CString));
        const u64 steps = StepsOf([&] { queryString.FuzzyMatchList_Ordered(strings, matches, 0.0f); });
        EXPECT_EQ(matches.Count(), 500u);
        // The order that the matches are put in costs comparisons besides.
        ExpectSteps("FuzzyMatchList_Ordered", std::to_string(queryLength) + " with 500", steps,
                    30 * cells + 30 * 3 * 500 * 9 + 3000);
    }
}

// Each entry is better than those before, so each takes another's place.
TEST(FuzzySteps, TheBestOfAListOfEverBetterTexts)
{
    const std::string query(30, 'a');
    const CString queryString(query.c_str());
    for (const u32 count : {100u, 1000u})
    {
        TArray<CString> list;
        u64 cells = 0;
        for (u32 i = 0; i < count; ++i)
        {
            const std::string text = std::string(30 * i / count, 'a') + std::string(30 - 30 * i / count, 'b');
            ASSERT_TRUE(list.PushBack(CString(text.c_str())).Valid());
            cells += FuzzyCells(query, text);
        }
        TArray<CString::SFuzzyMatchListElement> best;
        const TStridedMemoryView<const CString> strings(list.Data(), list.Count(), sizeof(CString));
        const u64 steps = StepsOf([&] { EXPECT_TRUE(queryString.FuzzyMatchList_Top(strings, best, 0.0f, 64)); });
        EXPECT_EQ(best.Count(), 64u);
        // A heap of 64: six levels down and up again for each entry.
        ExpectSteps("FuzzyMatchList_Top", std::to_string(count), steps, 10 * cells + 40 * 12 * count + 20000);
    }
}

// The way back needs some columns once more, and a step for each character.
TEST(FuzzySteps, PositionsTakeFewMoreStepsThanTheWeight)
{
    for (const bool wide : {true, false})
    {
        const CWideChoice choice(wide);
        for (const size_t length : {size_t(30), size_t(100), size_t(300), size_t(1000)})
            for (const std::string &a : FuzzyTexts(length))
            {
                const CString query(a.c_str(), static_cast<u32>(a.size()));
                const std::string b = Repeated("ba", 2 * length);
                const CString text(b.c_str());
                TArray<u32> positions;
                const u64 steps = StepsOf([&] { EXPECT_TRUE(query.FuzzyMatchPositions(text, positions)); });
                ExpectSteps("FuzzyMatchPositions", std::to_string(length), steps, 40 * FuzzyCells(a, b) + 5000);
            }
    }
}

} // namespace

} // namespace QuorvaneTest
