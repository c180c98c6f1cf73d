// Fuzzy matching, which characters match: the positions that a best alignment matches.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "edge_allocators.h"
#include "every_text.h"
#include "fuzzy_model.h"
#include "fuzzy_texts.h"
#include "kr_string.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

typedef std::vector<unsigned> Positions;

// An array with something in it that has to go.
TArray<u32> Used()
{
    TArray<u32> array;
    for (u32 i = 0; i < 3; ++i)
        array.PushBack(1000 + i);
    return array;
}

Positions PositionsOf(const TArray<u32> &array)
{
    return Positions(array.begin(), array.end());
}

Positions Match(const std::string &query, const std::string &other)
{
    TArray<u32> out = Used();
    EXPECT_TRUE(Fixed(query).FuzzyMatchPositions(Fixed(other), out));
    return PositionsOf(out);
}

bool AreRising(const Positions &positions)
{
    for (size_t i = 1; i < positions.size(); ++i)
        if (positions[i - 1] >= positions[i])
            return false;
    return true;
}

// Rising places in the query, and an alignment that matches just these is as good as any.
void ExpectBestAlignment(const std::string &query, const std::string &other)
{
    const Positions positions = Match(query, other);
    ASSERT_TRUE(AreRising(positions)) << query << " and " << other;
    ASSERT_TRUE(positions.empty() || positions.back() < query.size()) << query << " and " << other;
    ASSERT_EQ(FuzzyModelDistanceMatching(query, other, positions), FuzzyModelDistance(query, other))
        << query << " and " << other;
}

TEST(StringFuzzyPositions, WorkedValues)
{
    EXPECT_EQ(Match("abc", "abc"), (Positions{0, 1, 2}));
    EXPECT_EQ(Match("abc", "abd"), (Positions{0, 1}));
    EXPECT_EQ(Match("abc", "ab"), (Positions{0, 1}));
    EXPECT_EQ(Match("ab", "abc"), (Positions{0, 1}));
    EXPECT_EQ(Match("abcd", "bcd"), (Positions{1, 2, 3}));
    EXPECT_EQ(Match("bcd", "abcd"), (Positions{0, 1, 2}));
    EXPECT_EQ(Match("Hello", "hello"), (Positions{1, 2, 3, 4}));
    EXPECT_EQ(Match("sunday", "saturday"), (Positions{0, 1, 3, 4, 5}));
    EXPECT_EQ(Match("saturday", "sunday"), (Positions{0, 3, 5, 6, 7}));
}

TEST(StringFuzzyPositions, NoCharacterInCommonGivesNone)
{
    EXPECT_EQ(Match("abc", "xyz"), Positions());
    EXPECT_EQ(Match("a", "xyz"), Positions());
    EXPECT_EQ(Match("abc", "x"), Positions());
    EXPECT_EQ(Match("a", "A"), Positions());
}

TEST(StringFuzzyPositions, TheSameTextMatchesInAllItsCharacters)
{
    for (const size_t length : FuzzyLengths())
    {
        Positions all;
        for (unsigned i = 0; i < length; ++i)
            all.push_back(i);
        EXPECT_EQ(Match(std::string(length, 'a'), std::string(length, 'a')), all);
    }
}

TEST(StringFuzzyPositions, AnEmptyStringMatchesNothingAndClearsTheOutput)
{
    CString emptied = Resizable("abc");
    emptied.Clear();
    const CString empties[] = {CString(), CString(""), emptied};
    CTestAllocator allocator;
    for (const CString &empty : empties)
        for (const CString &other : {CString("abc"), empty})
        {
            TArray<u32> out = Used();
            allocator.ForgetCalls();
            EXPECT_TRUE(empty.FuzzyMatchPositions(other, out));
            EXPECT_TRUE(out.Empty());
            EXPECT_TRUE(allocator.Calls().empty());
            out.PushBack(1);
            EXPECT_TRUE(other.FuzzyMatchPositions(empty, out));
            EXPECT_TRUE(out.Empty());
        }
}

TEST(StringFuzzyPositions, TerminatorsAreCharacters)
{
    EXPECT_EQ(Match(std::string("\0ab", 3), std::string("\0xb", 3)), (Positions{0, 2}));
    EXPECT_EQ(Match(std::string("a\0b", 3), "a"), (Positions{0}));
    EXPECT_EQ(Match(std::string("a\0b", 3), "b"), (Positions{2}));
}

TEST(StringFuzzyPositions, FuzzyMatchPositionsOfTheStringItselfAreAllItsCharacters)
{
    const CString string = Resizable("itself");
    TArray<u32> out;
    EXPECT_TRUE(string.FuzzyMatchPositions(string, out));
    EXPECT_EQ(PositionsOf(out), (Positions{0, 1, 2, 3, 4, 5}));
    ExpectText(string, "itself");
}

TEST(StringFuzzyPositions, EveryPairOfShortTextsIsAlignedBest)
{
    const std::vector<std::string> texts = EveryText("ab", kSanitized ? 5 : 6);
    for (const std::string &query : texts)
        for (const std::string &other : texts)
            if (!query.empty() && !other.empty())
            {
                ASSERT_NO_FATAL_FAILURE(ExpectBestAlignment(query, other));
            }
}

TEST(StringFuzzyPositions, RandomPairsAreAlignedBestWhicheverIsTheShorter)
{
    CFuzzyTexts source(20);
    for (const std::string &alphabet : {std::string("ab"), std::string("abcdefgh"), std::string("\x00\x7F\x80\xFF", 4)})
        for (int i = 0; i < (kSanitized ? 100 : 1000); ++i)
        {
            const std::string a = source.Random(alphabet, 1 + source.Below(i % 20 == 0 ? 300 : 40));
            const size_t length = 1 + source.Below(i % 20 == 0 ? 300 : 40);
            const std::string b = source.Misspelt(a, alphabet, i % 3 == 0 ? a.size() : length);
            ASSERT_NO_FATAL_FAILURE(ExpectBestAlignment(a, b));
            ASSERT_NO_FATAL_FAILURE(ExpectBestAlignment(b, a));
        }
}

TEST(StringFuzzyPositions, TheOutputHasRoomForTheShorterTextAndNoMore)
{
    TArray<u32> out;
    EXPECT_TRUE(CString("abc").FuzzyMatchPositions(CString("abcdefghijklmnop"), out));
    EXPECT_EQ(out.Count(), 3u);
    EXPECT_LE(out.MaxCount(), 3u);
}

TEST(StringFuzzyPositions, NothingOutsideTheBlocksIsRead)
{
    CPageEndAllocator allocator;
    for (size_t length = 1; length <= 40; ++length)
    {
        const CString query = Fixed(std::string(length, 'a'));
        const CString other = Resizable(std::string(41 - length, 'a'));
        TArray<u32> out;
        EXPECT_TRUE(query.FuzzyMatchPositions(other, out));
        EXPECT_EQ(out.Count(), length < 41 - length ? length : 41 - length);
    }
}

TEST(StringFuzzyPositions, RefusedMemoryAnswersFalseAndLeavesTheOutputEmpty)
{
    struct SState
    {
        CString m_Query = CString("sunday");
        CString m_Other = CString("saturday");
        TArray<u32> m_Out;
        bool m_Result = false;
    };
    for (const bool used : {false, true})
        SweepRefusals(
            [used]
            {
                SState state;
                if (used)
                    state.m_Out = Used();
                return state;
            },
            [](SState &state) { state.m_Result = state.m_Query.FuzzyMatchPositions(state.m_Other, state.m_Out); },
            [](SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
            {
                EXPECT_EQ(state.m_Result, !refusal.m_Refused);
                EXPECT_EQ(PositionsOf(state.m_Out), refusal.m_Refused ? Positions() : (Positions{0, 1, 3, 4, 5}));
                // Nothing but what the array says of its own growth.
                EXPECT_EQ(recorder.CountOf("false"), recorder.Count());
            });
}

} // namespace
