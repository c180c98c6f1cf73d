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
#include "wide_choice.h"

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

// The whole matrix, walked back from its end: where the characters differ, to the cell before both unless one of the
// other two is less, to the left before above.
Positions ModelPositions(const std::string &query, const std::string &other)
{
    const bool queryIsRows = FuzzyModelQueryIsRows(query, other);
    const std::string &rows = queryIsRows ? query : other;
    const std::string &columns = queryIsRows ? other : query;
    const size_t width = columns.size() + 1;
    std::vector<u16> cells((rows.size() + 1) * width);
    for (size_t j = 0; j < width; ++j)
        cells[j] = static_cast<u16>(j + 1);
    for (size_t i = 1; i <= rows.size(); ++i)
    {
        u16 *const row = cells.data() + i * width;
        const u16 *const above = row - width;
        row[0] = static_cast<u16>(i);
        for (size_t j = 1; j < width; ++j)
        {
            const int paired = above[j - 1] - (rows[i - 1] == columns[j - 1] ? 1 : 0);
            const int skipped = row[j - 1] < above[j] ? row[j - 1] : above[j];
            row[j] = static_cast<u16>((paired < skipped ? paired : skipped) + 1);
        }
    }
    Positions positions;
    size_t i = rows.size();
    size_t j = columns.size();
    while (i != 0 && j != 0)
    {
        const u16 *const row = cells.data() + i * width;
        const u16 *const above = row - width;
        const bool equal = rows[i - 1] == columns[j - 1];
        const bool leftIsLess = row[j - 1] < above[j - 1];
        const bool aboveIsLess = above[j] < above[j - 1];
        if (equal)
            positions.insert(positions.begin(), static_cast<unsigned>(queryIsRows ? i - 1 : j - 1));
        i -= equal || !leftIsLess ? 1 : 0;
        j -= equal || leftIsLess || !aboveIsLess ? 1 : 0;
    }
    return positions;
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

TEST(StringFuzzyPositions, TextsOfEveryByteAreAlignedBest)
{
    std::string text;
    Positions all;
    for (unsigned i = 0; i < 1024; ++i)
    {
        text += static_cast<char>(i & 0xFF);
        all.push_back(i);
    }
    for (const bool wide : {false, true})
    {
        const CWideChoice choice(wide);
        EXPECT_EQ(Match(text, text + "a"), all) << wide;
        EXPECT_EQ(Match(text + "a", text), all) << wide;
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
    const std::vector<std::string> texts = EveryText("ab", kVerySlow ? 5 : 6);
    for (const std::string &query : texts)
        for (const std::string &other : texts)
            if (!query.empty() && !other.empty())
            {
                ASSERT_NO_FATAL_FAILURE(ExpectBestAlignment(query, other));
                ASSERT_EQ(Match(query, other), ModelPositions(query, other)) << query << " and " << other;
            }
}

struct SQueryAndText
{
    std::string m_Query;
    std::string m_Other;
};

struct SLengths
{
    size_t m_Query;
    size_t m_Other;
};

// Around what is kept as a whole, 32 KiB of 16 bytes for each column of 64 rows, and around parts of 512 rows and 64
// columns.
TEST(StringFuzzyPositions, FuzzyMatchPositionsOfPairsInPartsAreThoseOfTheWholeMatrix)
{
    CFuzzyTexts source(26);
    const std::string allBytes = []
    {
        std::string bytes;
        for (int byte = 0; byte < 256; ++byte)
            bytes += static_cast<char>(byte);
        return bytes;
    }();
    for (const SLengths lengths : {SLengths{63, 65}, SLengths{128, 1024}, SLengths{128, 1025}, SLengths{129, 700},
                                   SLengths{40, 3000}, SLengths{520, 511}, SLengths{1030, 1025}, SLengths{600, 2100}})
        for (const std::string &alphabet :
             {std::string("ab"), std::string("abcdefghijklmnopqrstuvwxyz0123456789_-."), allBytes})
        {
            const std::string query = source.Random(alphabet, lengths.m_Query);
            const std::string near = source.Misspelt(query, alphabet, lengths.m_Other);
            const std::string far = source.Random(alphabet, lengths.m_Other);
            for (const std::string &other : {near, far})
            {
                const Positions expected = ModelPositions(query, other);
                for (const bool wide : {true, false})
                {
                    const CWideChoice choice(wide);
                    ASSERT_EQ(Match(query, other), expected) << lengths.m_Query << ", " << lengths.m_Other;
                }
            }
        }
}

// More than eight parts of 512 rows, so that parts are cut again.
TEST(StringFuzzyPositions, PairsWhosePartsAreCutAreThoseOfTheWholeMatrix)
{
    CFuzzyTexts source(27);
    const size_t length = kVerySlow ? 4100 : 4300;
    const std::string query = source.Random("abcd", length);
    // The way back goes far from the diagonal here: through a middle that the other text lacks.
    const std::string other =
        query.substr(0, 700) + source.Random("abcd", 1000) + query.substr(2500) + source.Random("abcd", 800);
    EXPECT_EQ(Match(query, other), ModelPositions(query, other));
    const CWideChoice choice(false);
    EXPECT_EQ(Match(other, query), ModelPositions(other, query));
}

// Many characters in a row that are left out, of either text: the way back goes along the boundaries of the matrix, and of
// parts.
TEST(StringFuzzyPositions, AnAlignmentMayLeaveOutManyCharactersInARow)
{
    const std::string common = CFuzzyTexts(29).Random("abcd", 700);
    const SQueryAndText pairs[] = {
        // Along the first row, and down to the last one.
        {"=" + std::string(600, '*') + common + std::string(600, '*'), "=" + common + "+"},
        // Up the first column, from another band.
        {"+=" + std::string(520, '-') + common, "=" + common + std::string(521, '*')},
        // With and without a first row, as well, but for the boundary.
        {std::string(70, '-') + std::string(130, 'c'), std::string(130, 'c') + std::string(70, '*')},
        // Up the last column, which is a part of its own.
        {common.substr(0, 399) + std::string(50, '-'), std::string(50, '*') + common.substr(0, 399)},
    };
    for (const SQueryAndText &pair : pairs)
    {
        EXPECT_EQ(Match(pair.m_Query, pair.m_Other), ModelPositions(pair.m_Query, pair.m_Other)) << pair.m_Query;
        EXPECT_EQ(Match(pair.m_Other, pair.m_Query), ModelPositions(pair.m_Other, pair.m_Query)) << pair.m_Query;
    }
}

// What is lost of a band is lost of the ways through it.
TEST(StringFuzzyPositions, PartsOfEveryByteAreThoseOfTheWholeMatrix)
{
    std::string bytes;
    for (unsigned i = 0; i < 1024; ++i)
        bytes += static_cast<char>(i * 77 & 0xFF);
    CFuzzyTexts source(30);
    for (const size_t length : {1024u, 1100u})
    {
        const std::string other = source.Misspelt(bytes, "\x01\xFE#", length);
        for (const bool wide : {true, false})
        {
            const CWideChoice choice(wide);
            ASSERT_EQ(Match(bytes, other), ModelPositions(bytes, other)) << length << ", " << wide;
        }
    }
}

TEST(StringFuzzyPositions, MemoryIsLinearInTheLengths)
{
    CTestAllocator allocator;
    for (const size_t length : {1000u, 10000u})
    {
        const CString query = Fixed(std::string(length, 'a'));
        const CString other = Fixed(std::string(length, 'b'));
        TArray<u32> out;
        allocator.ForgetCalls();
        EXPECT_TRUE(query.FuzzyMatchPositions(other, out));
        const std::vector<SAllocatorCall> calls = allocator.Calls();
        ASSERT_FALSE(calls.empty());
        EXPECT_EQ(calls[0].m_Kind, SAllocatorCall::Kind_Alloc);
        EXPECT_LE(calls[0].m_Size, 32 * length + 50 * 1024);
    }
}

TEST(StringFuzzyPositions, RandomPairsAreAlignedBestWhicheverIsTheShorter)
{
    CFuzzyTexts source(20);
    for (const std::string &alphabet : {std::string("ab"), std::string("abcdefgh"), std::string("\x00\x7F\x80\xFF", 4)})
        for (int i = 0; i < (kSlow ? 100 : 1000); ++i)
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

// Lengths at which parts, bands or strips of rows begin with one row or column, and at which a block of memory ends with
// the terminator.
TEST(StringFuzzyPositions, NothingOutsideTheBlocksIsTouchedByPairsInParts)
{
    CPageEndAllocator allocator;
    CFuzzyTexts source(31);
    for (const SLengths lengths : {SLengths{79, 79}, SLengths{143, 1023}, SLengths{385, 385}, SLengths{449, 449},
                                   SLengths{591, 623}, SLengths{1039, 1151}, SLengths{2111, 2111}})
    {
        const std::string query = source.Random("abcd", lengths.m_Query);
        const std::string other = source.Misspelt(query, "abcd", lengths.m_Other);
        const Positions expected = ModelPositions(query, other);
        for (const bool wide : {true, false})
        {
            const CWideChoice choice(wide);
            ASSERT_EQ(Match(query, other), expected) << lengths.m_Query << ", " << lengths.m_Other;
        }
    }
    // A band more than eight, of texts whose alignment is plain.
    const std::string text(4111, 'a');
    EXPECT_EQ(Match(text, text).size(), text.size());
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
