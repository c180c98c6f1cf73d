// Pieces of a text, one at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "every_text.h"
#include "guarded_page.h"
#include "hard_needles.h"
#include "kr_simd/simd_machine.h"
#include "kr_string.h"
#include "kr_string_std.h"
#include "split_checks.h"
#include "split_model.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

#if __cplusplus >= 202002L
#include <ranges>
#endif

// A program with names of its own: no call of them may find those of the library, whatever its arguments are.
namespace Program
{

using Quorvane::CString;
using Quorvane::CStringView;

inline std::string Lines(const CStringView &)
{
    return "of the program";
}

inline std::string Pieces(const CStringView &, int)
{
    return "of the program";
}

inline std::string CallLines(CString text)
{
    return Lines(text);
}

inline std::string CallPieces(CString text)
{
    return Pieces(text, ',');
}

} // namespace Program

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

template <typename Range>
PieceTexts TextsIn(const Range &range)
{
    PieceTexts texts;
    for (const CStringView &piece : range)
        texts.push_back(TextOf(piece));
    return texts;
}

// The range as the model's options say.
template <typename Range>
PieceTexts WithOptions(Range range, const SLazySplit &split)
{
    range = split.m_WithEmpty ? range.WithEmpty() : range.WithoutEmpty();
    if (split.m_AtMost != std::string::npos)
        range = range.AtMost(static_cast<u32>(split.m_AtMost));
    return split.m_FromEnd ? TextsIn(range.FromEnd()) : TextsIn(range);
}

template <typename Text>
PieceTexts Cut(const Text &text, const SLazySplit &split)
{
    switch (split.m_Cut)
    {
    case Cut_Character:
        return WithOptions(Pieces(text, split.m_Separator[0]), split);
    case Cut_Text:
        return WithOptions(Pieces(text, ViewOf(split.m_Separator)), split);
    case Cut_Set:
        return WithOptions(PiecesOfSet(text, ViewOf(split.m_Separator)), split);
    default:
        return WithOptions(Lines(text), split);
    }
}

// Every way of cutting with every option.
std::vector<SLazySplit> AllSplits(const std::vector<SLazySplit> &cuts)
{
    std::vector<SLazySplit> splits;
    for (SLazySplit split : cuts)
        for (const bool withEmpty : {false, true})
            for (const bool fromEnd : {false, true})
                for (const size_t atMost : {std::string::npos, size_t(0), size_t(1), size_t(2), size_t(3)})
                {
                    split.m_WithEmpty = withEmpty;
                    split.m_FromEnd = fromEnd;
                    split.m_AtMost = atMost;
                    splits.push_back(split);
                }
    return splits;
}

std::string Named(const SLazySplit &split)
{
    return "cut " + std::to_string(split.m_Cut) + " at \"" + split.m_Separator + "\"" +
           (split.m_WithEmpty ? ", with empty" : "") + (split.m_FromEnd ? ", from the end" : "") + ", at most " +
           std::to_string(static_cast<long long>(split.m_AtMost));
}

// A view that ends at a protected page, or begins behind one.
class CExactView
{
public:
    CExactView(const std::string &text, bool atEnd) : m_Page(text.size() + 1)
    {
        m_Text = atEnd ? m_Page.Last(text.size()) : m_Page.Begin();
        std::copy(text.begin(), text.end(), m_Text);
        m_Length = LengthOf(text);
    }
    CStringView View() const { return CStringView(m_Text, m_Length); }

private:
    CGuardedPage m_Page;
    char *m_Text;
    u32 m_Length;
};

// ---- What the pieces are --------------------------------------------------------------------------------------------

TEST(StringPieces, AreTheRunsBetweenCharacters)
{
    EXPECT_EQ(TextsIn(Pieces("a,b,c", ',')), (PieceTexts{"a", "b", "c"}));
    EXPECT_EQ(TextsIn(Pieces(",,a,,bc,", ',')), (PieceTexts{"a", "bc"}));
    EXPECT_EQ(TextsIn(Pieces("abc", ',')), (PieceTexts{"abc"}));
    EXPECT_EQ(TextsIn(Pieces(",,", ',')), PieceTexts());
    EXPECT_EQ(TextsIn(Pieces("", ',')), PieceTexts());
}

TEST(StringPieces, WithEmptyTheyAreWhatStandsAtBothSidesOfEachSeparator)
{
    EXPECT_EQ(TextsIn(Pieces(",a,,b,", ',').WithEmpty()), (PieceTexts{"", "a", "", "b", ""}));
    EXPECT_EQ(TextsIn(Pieces(",", ',').WithEmpty()), (PieceTexts{"", ""}));
    EXPECT_EQ(TextsIn(Pieces("", ',').WithEmpty()), (PieceTexts{""}));
    EXPECT_EQ(TextsIn(Pieces("::a::::b", "::").WithEmpty()), (PieceTexts{"", "a", "", "b"}));
    EXPECT_EQ(TextsIn(PiecesOfSet("a, b", ", ").WithEmpty()), (PieceTexts{"a", "", "b"}));
    EXPECT_EQ(TextsIn(Pieces(",a,", ',').WithEmpty().WithoutEmpty()), (PieceTexts{"a"}));
}

TEST(StringPieces, ATextSeparatesAsAWholeFromLeftToRight)
{
    EXPECT_EQ(TextsIn(Pieces("a::b:c::", "::")), (PieceTexts{"a", "b:c"}));
    EXPECT_EQ(TextsIn(Pieces("a---b", "--")), (PieceTexts{"a", "-b"}));
    EXPECT_EQ(TextsIn(Pieces("a---b", "--").FromEnd()), (PieceTexts{"b", "a-"}));
    EXPECT_EQ(TextsIn(Pieces("aXYZb", CString("XYZ"))), (PieceTexts{"a", "b"}));
    EXPECT_EQ(TextsIn(Pieces("aXYZb", CStringView("XYZW", 2))), (PieceTexts{"a", "Zb"}));
    EXPECT_EQ(TextsIn(Pieces("ab", "abc")), (PieceTexts{"ab"}));
    EXPECT_EQ(TextsIn(Pieces("abc", "abc")), PieceTexts());
}

TEST(StringPiecesOfSet, EveryCharacterOfTheSetSeparates)
{
    EXPECT_EQ(TextsIn(PiecesOfSet("a, b;c", ",; ")), (PieceTexts{"a", "b", "c"}));

    EXPECT_EQ(TextsIn(PiecesOfSet(CStringView("a\0b\xFF"
                                              "c\x7F"
                                              "d\x80"
                                              "e",
                                              9),
                                  CStringView("\0\xFF\x80", 3))),
              (PieceTexts{"a", "b",
                          "c\x7F"
                          "d",
                          "e"}));
    for (u32 character = 0; character < 256; ++character)
    {
        const std::string set(1, static_cast<char>(character));
        std::string text(100, static_cast<char>(character + 1));
        text[7] = text[80] = set[0];
        const PieceTexts expected = {std::string(7, text[0]), std::string(72, text[0]), std::string(19, text[0])};
        EXPECT_EQ(TextsIn(PiecesOfSet(ViewOf(text), ViewOf(set))), expected) << character;
    }
}

TEST(StringLines, EndWithALineFeedOrBothCharacters)
{
    EXPECT_EQ(TextsIn(Lines("a\nb\r\nc")), (PieceTexts{"a", "b", "c"}));
    EXPECT_EQ(TextsIn(Lines("a\n")), (PieceTexts{"a"}));
    EXPECT_EQ(TextsIn(Lines("a\r\n")), (PieceTexts{"a"}));
    EXPECT_EQ(TextsIn(Lines("\n\r\n\n")), (PieceTexts{"", "", ""}));
    EXPECT_EQ(TextsIn(Lines("")), PieceTexts());
    EXPECT_EQ(TextsIn(Lines("").WithEmpty()), PieceTexts());
    EXPECT_EQ(TextsIn(Lines("\n\r\na\n\n").WithoutEmpty()), (PieceTexts{"a"}));
}

TEST(StringLines, ACarriageReturnAloneIsACharacter)
{
    EXPECT_EQ(TextsIn(Lines("a\rb\r\r\nc\r")), (PieceTexts{"a\rb\r", "c\r"}));
    EXPECT_EQ(TextsIn(Lines("\r")), (PieceTexts{"\r"}));
    EXPECT_EQ(TextsIn(Lines("\r").FromEnd()), (PieceTexts{"\r"}));
    EXPECT_EQ(TextsIn(Lines("\r\n\r").FromEnd()), (PieceTexts{"\r", ""}));
}

TEST(StringLines, FromTheEndAreTheSameLines)
{
    EXPECT_EQ(TextsIn(Lines("a\n\nb\r\n").FromEnd()), (PieceTexts{"b", "", "a"}));
    EXPECT_EQ(TextsIn(Lines("\na").FromEnd()), (PieceTexts{"a", ""}));
    EXPECT_EQ(TextsIn(Lines("").FromEnd()), PieceTexts());
}

TEST(StringPieces, AtMostEndsWithAllThatIsLeft)
{
    EXPECT_EQ(TextsIn(Pieces("a,b,c,", ',').AtMost(2)), (PieceTexts{"a", "b,c,"}));
    EXPECT_EQ(TextsIn(Pieces("a,,b,", ',').AtMost(2)), (PieceTexts{"a", "b,"}));
    EXPECT_EQ(TextsIn(Pieces("a,,b,", ',').AtMost(3)), (PieceTexts{"a", "b"}));
    EXPECT_EQ(TextsIn(Pieces("a,,b,", ',').WithEmpty().AtMost(2)), (PieceTexts{"a", ",b,"}));
    EXPECT_EQ(TextsIn(Pieces(",a,b", ',').AtMost(1)), (PieceTexts{"a,b"}));
    EXPECT_EQ(TextsIn(Pieces("a,b", ',').AtMost(0)), PieceTexts());
    EXPECT_EQ(TextsIn(Pieces(",,", ',').AtMost(1)), PieceTexts());
    EXPECT_EQ(TextsIn(Lines("a\nb\r\n").AtMost(2)), (PieceTexts{"a", "b\r\n"}));
    EXPECT_EQ(TextsIn(Pieces("a,b,c", ',').FromEnd().AtMost(2)), (PieceTexts{"c", "a,b"}));
    EXPECT_EQ(TextsIn(Pieces(",a,,b,", ',').AtMost(2).FromEnd()), (PieceTexts{"b", ",a"}));
    EXPECT_EQ(TextsIn(Pieces("a,b,c", ',').AtMost(2).AtMost(3)), (PieceTexts{"a", "b", "c"}));
    // Behind the last piece nothing is looked for, with separators that are searched for one at a time neither.
    EXPECT_EQ(TextsIn(Pieces("a<----------------->b<----------------->c", "<----------------->").AtMost(2)),
              (PieceTexts{"a", "b<----------------->c"}));
    EXPECT_EQ(TextsIn(Pieces("a<----------------->b<----------------->c", "<----------------->").AtMost(1)),
              (PieceTexts{"a<----------------->b<----------------->c"}));
}

TEST(StringPieces, AnEmptySeparatorCutsNowhere)
{
    for (const char *const nothing : {static_cast<const char *>(nullptr), ""})
    {
        EXPECT_EQ(TextsIn(Pieces("abc", nothing)), (PieceTexts{"abc"}));
        EXPECT_EQ(TextsIn(Pieces("abc", nothing).FromEnd()), (PieceTexts{"abc"}));
        EXPECT_EQ(TextsIn(PiecesOfSet("abc", nothing)), (PieceTexts{"abc"}));
        EXPECT_EQ(TextsIn(PiecesOfSet("abc", nothing).FromEnd()), (PieceTexts{"abc"}));
        EXPECT_EQ(TextsIn(Pieces("", nothing)), PieceTexts());
        EXPECT_EQ(TextsIn(Pieces("", nothing).WithEmpty()), (PieceTexts{""}));
    }
    EXPECT_EQ(TextsIn(Pieces("abc", CString())), (PieceTexts{"abc"}));
    EXPECT_EQ(TextsIn(Pieces("abc", CStringView(nullptr, 3))), (PieceTexts{"abc"}));
    EXPECT_EQ(TextsIn(PiecesOfSet("abc", CStringView(nullptr, 3))), (PieceTexts{"abc"}));
}

TEST(StringPieces, TerminatorsAreCharactersLikeOthers)
{
    const std::string text("\0a,b\0,\0", 7);
    const PieceTexts expected = {std::string("\0a", 2), std::string("b\0", 2), std::string(1, '\0')};
    EXPECT_EQ(TextsIn(Pieces(Fixed(text), ',')), expected);
    EXPECT_EQ(TextsIn(Pieces(ViewOf(text), ',')), expected);
    EXPECT_EQ(TextsIn(Pieces(Fixed(text), '\0')), (PieceTexts{"a,b", ","}));
    EXPECT_EQ(TextsIn(Pieces(Fixed(text), CStringView("b\0", 2))),
              (PieceTexts{std::string("\0a,", 3), std::string(",\0", 2)}));
    EXPECT_EQ(TextsIn(PiecesOfSet(Fixed(text), Fixed(std::string("\0b", 2)))), (PieceTexts{"a,", ","}));
    EXPECT_EQ(TextsIn(Lines(Fixed(std::string("\0\na\0", 4)))),
              (PieceTexts{std::string(1, '\0'), std::string("a\0", 2)}));
    EXPECT_EQ(TextsIn(Pieces("a,b\0,c", ',')), (PieceTexts{"a", "b"})) << "a terminated text ends there";
}

// ---- Against a model ------------------------------------------------------------------------------------------------

TEST(StringPieces, EveryShortTextIsCutAsTheModelSays)
{
    const std::vector<SLazySplit> splits = AllSplits({{Cut_Character, ","},
                                                      {Cut_Text, ","},
                                                      {Cut_Text, ",,"},
                                                      {Cut_Text, ",a,"},
                                                      {Cut_Text, "a,"},
                                                      {Cut_Text, ""},
                                                      {Cut_Set, ",b"},
                                                      {Cut_Set, ""}});
    for (const std::string &text : EveryText("a,b", 6))
        for (const SLazySplit &split : splits)
            ASSERT_EQ(Cut(ViewOf(text), split), SplitModelLazily(text, split)) << text << ", " << Named(split);
}

TEST(StringLines, EveryShortTextHasTheLinesOfTheModel)
{
    const std::vector<SLazySplit> splits = AllSplits({{Cut_Lines, ""}});
    for (const std::string &text : EveryText("a\r\n", 6))
        for (const SLazySplit &split : splits)
            ASSERT_EQ(Cut(ViewOf(text), split), SplitModelLazily(text, split)) << text << ", " << Named(split);
}

// With and without wide instructions.
class StringPiecesForms : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override { Internal::Simd::AllowWideInstructions(GetParam()); }
    void TearDown() override { Internal::Simd::AllowWideInstructions(true); }
};

INSTANTIATE_TEST_SUITE_P(Forms, StringPiecesForms, testing::Bool());

// Separators at all distances, around the ends of blocks and of words.
TEST_P(StringPiecesForms, PiecesOfExactTextsAreThoseOfTheModelAndNothingElseIsRead)
{
    const std::string longText = "-" + std::string(20, '=') + "-";
    std::vector<SLazySplit> splits;
    for (SLazySplit split : std::vector<SLazySplit>{{Cut_Character, ","},
                                                    {Cut_Character, "x"},
                                                    {Cut_Text, ",,"},
                                                    {Cut_Text, ", ,"},
                                                    {Cut_Text, longText},
                                                    {Cut_Set, ", \xE9"},
                                                    {Cut_Lines, ""}})
        for (const bool withEmpty : {false, true})
            for (const bool fromEnd : {false, true})
            {
                split.m_WithEmpty = withEmpty;
                split.m_FromEnd = fromEnd;
                splits.push_back(split);
            }
    std::mt19937 random(7);
    for (u32 length = 0; length <= 200; length += kSlow && length > 70 ? 13 : 1)
    {
        for (const u32 distance : {2u, 5u, 40u, 150u})
        {
            std::string text;
            while (text.size() < length)
            {
                static const std::string kSeparators[] = {",", ",,", ", ,", " ", "\xE9", "\n", "\r\n"};
                text += std::string(random() % distance, 'x');
                const u32 which = static_cast<u32>(random() % 8);
                text += which < 7 ? kSeparators[which] : longText;
            }
            text.resize(length);
            for (const bool atEnd : {false, true})
            {
                const CExactView exact(text, atEnd);
                for (const SLazySplit &split : splits)
                    ASSERT_EQ(Cut(exact.View(), split), SplitModelLazily(text, split)) << text << ", " << Named(split);
            }
        }
    }
}

TEST_P(StringPiecesForms, PiecesOfAnyLengthAreFoundInLongTexts)
{
    std::mt19937 random(11);
    for (const u32 distance : {1u, 3u, 12u, 100u, 3000u, 100000u})
    {
        std::string text;
        while (text.size() < (kSlow ? 20000u : 200000u))
        {
            text += std::string(random() % distance, 'x');
            text += random() % 4 == 0 ? "\r\n" : random() % 4 == 0 ? ", ;" : "\n";
        }
        for (const bool withEmpty : {false, true})
            for (const SLazySplit &cut : std::vector<SLazySplit>{
                     {Cut_Character, "\n"}, {Cut_Text, "\r\n"}, {Cut_Text, ", ;"}, {Cut_Set, "\r\n,"}, {Cut_Lines, ""}})
            {
                SLazySplit split = cut;
                split.m_WithEmpty = withEmpty;
                ASSERT_EQ(Cut(ViewOf(text), split), SplitModelLazily(text, split)) << Named(split);
                split.m_FromEnd = true;
                const PieceTexts pieces = Cut(ViewOf(text), split);
                split.m_FromEnd = false;
                PieceTexts expected = SplitModelLazily(text, split);
                std::reverse(expected.begin(), expected.end());
                ASSERT_EQ(pieces, expected) << Named(split) << ", from the end";
            }
    }
}

// A separator of every length, overlapping itself or not, in texts that are full of its beginnings and its ends.
TEST_P(StringPiecesForms, PiecesBetweenTextsThatResembleTheirSurroundings)
{
    for (u32 length = 1; length <= 40; ++length)
    {
        for (const std::string &separator :
             {std::string(length, 'a'), Repeated("ab", length), std::string(length - 1, 'a') + "b",
              "b" + std::string(length - 1, 'a'), FibonacciWord(length)})
        {
            std::mt19937 random(length);
            std::string text;
            while (text.size() < 1000)
            {
                const u32 cut = static_cast<u32>(random() % (length + 1));
                text += random() % 2 == 0   ? separator
                        : random() % 2 == 0 ? separator.substr(0, cut)
                                            : separator.substr(cut);
            }
            for (const bool fromEnd : {false, true})
            {
                SLazySplit split = {Cut_Text, separator};
                split.m_WithEmpty = true;
                split.m_FromEnd = fromEnd;
                ASSERT_EQ(Cut(ViewOf(text), split), SplitModelLazily(text, split)) << separator << ", " << fromEnd;
            }
        }
    }
}

// Trying each place would take the product of the lengths: hours.
// Compared at each place up to its middle, this one would take 10^12 comparisons.
TEST(StringPieces, ALongSeparatorThatIsLikeTheTextUpToItsMiddleTakesLinearTime)
{
    const size_t length = kVerySlow ? 200000 : 4000000;
    const std::string text(length, 'a');
    std::string separator(length / 4, 'a');
    separator[length / 8] = 'b';
    u64 count = 0;
    for (const CStringView &piece : Pieces(ViewOf(text), ViewOf(separator)))
        count += piece.Length();
    EXPECT_EQ(count, length);
}

TEST(StringPieces, HardSeparatorsTakeLinearTime)
{
    for (const SHardCase &hard : HardCases(kSlow ? 200000 : 1000000))
    {
        size_t forwards = 0;
        for (const CStringView &piece : Pieces(ViewOf(hard.m_Text), ViewOf(hard.m_Needle)))
            forwards += piece.Length();
        EXPECT_LE(forwards, hard.m_Text.size());
        size_t backwards = 0;
        for (const CStringView &piece : Pieces(ViewOf(hard.m_Text), ViewOf(hard.m_Needle)).FromEnd())
            backwards += piece.Length();
        EXPECT_LE(backwards, hard.m_Text.size());
    }
}

// ---- Whose characters they are --------------------------------------------------------------------------------------

TEST(StringPieces, TheRangeSharesTheStringWhileTheLoopChangesIt)
{
    CString text = Resizable("a,b,c");
    PieceTexts texts;
    for (const CStringView &piece : Pieces(text, ','))
    {
        texts.push_back(TextOf(piece));
        text.Append("!,!");
        if (texts.size() == 2)
            text = CString();
    }
    EXPECT_EQ(texts, (PieceTexts{"a", "b", "c"}));
    EXPECT_EQ(TextOf(text), "!,!");
}

TEST(StringPieces, ARangeHoldsOneReferenceAndLetsGoOfIt)
{
    const CString text("a,b");
    {
        const auto pieces = Pieces(text, ',');
        EXPECT_EQ(ContainerOf(text)->RefCount(), 2u);
        EXPECT_EQ((*pieces.begin()).Data(), text.Data());
        const auto other = pieces;
        EXPECT_EQ(ContainerOf(text)->RefCount(), 3u);
        const auto byModifiers = Pieces(text, CString(text)).WithEmpty().AtMost(3).FromEnd();
        EXPECT_EQ(ContainerOf(text)->RefCount(), 5u);
        static_cast<void>(byModifiers);
    }
    EXPECT_EQ(ContainerOf(text)->RefCount(), 1u);
}

TEST(StringPieces, ATemporaryLivesAsLongAsTheRange)
{
    const auto make = [](const char *text) { return CString(text); };
    PieceTexts texts;
    for (const CStringView &piece : Pieces(make("a, b, c"), make(", ")).WithEmpty().AtMost(5).FromEnd())
        texts.push_back(TextOf(piece));
    EXPECT_EQ(texts, (PieceTexts{"c", "b", "a"}));
    texts.clear();
    for (const CStringView &line : Lines(make("a\nb")).WithoutEmpty())
        texts.push_back(TextOf(line));
    EXPECT_EQ(texts, (PieceTexts{"a", "b"}));
    texts.clear();
    for (const CStringView &piece : PiecesOfSet(make("a b"), make(" ")).AtMost(9))
        texts.push_back(TextOf(piece));
    EXPECT_EQ(texts, (PieceTexts{"a", "b"}));
}

TEST(StringPieces, ModifiersLeaveTheirRangeAsItIs)
{
    const CString text(",a,b");
    const auto pieces = Pieces(text, ',');
    EXPECT_EQ(TextsIn(pieces.WithEmpty()), (PieceTexts{"", "a", "b"}));
    EXPECT_EQ(TextsIn(pieces.AtMost(1)), (PieceTexts{"a,b"}));
    EXPECT_EQ(TextsIn(pieces.FromEnd()), (PieceTexts{"b", "a"}));
    EXPECT_EQ(TextsIn(pieces.FromEnd().FromEnd()), (PieceTexts{"b", "a"}));
    EXPECT_EQ(TextsIn(pieces), (PieceTexts{"a", "b"}));
}

TEST(StringPieces, NothingIsAllocated)
{
    CTestAllocator allocator;
    const CString text("a,b;;c\n");
    allocator.ForgetCalls();
    u32 count = 0;
    for (const CStringView &piece : Pieces(text, ',').WithEmpty())
        count += piece.Length();
    for (const CStringView &piece : Pieces(text, ";;").AtMost(2))
        count += piece.Length();
    for (const CStringView &piece : PiecesOfSet(text, ",;").FromEnd())
        count += piece.Length();
    for (const CStringView &line : Lines(text))
        count += line.Length();
    EXPECT_EQ(count, 6u + 5u + 4u + 6u);
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(StringPieces, NothingIsReported)
{
    CAssertRecorder recorder;
    for (const CString &string : EmptyStrings())
    {
        TextsIn(Pieces(string, ','));
        TextsIn(Pieces(string, ",,").FromEnd());
        TextsIn(PiecesOfSet(string, ",;"));
        TextsIn(Lines(string));
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

// ---- Iterators ------------------------------------------------------------------------------------------------------

TEST(StringPieces, IteratorsAreValuesThatMayBeWalkedAgain)
{
    const auto pieces = Pieces("a,b,c", ',');
    auto it = pieces.begin();
    const auto first = it;
    EXPECT_TRUE(it == first);
    EXPECT_EQ(TextOf(*it++), "a");
    EXPECT_TRUE(it != first);
    const auto second = it;
    EXPECT_EQ(it->Length(), 1u);
    EXPECT_EQ(TextOf(*++it), "c");
    EXPECT_EQ(TextOf(*second), "b");
    EXPECT_EQ(TextOf(*first), "a");
    EXPECT_TRUE(std::next(first) == second);
    EXPECT_TRUE(++it == pieces.end());
    EXPECT_TRUE(++it == pieces.end()) << "there it stays";
    EXPECT_TRUE(decltype(it)() == decltype(it)());
}

TEST(StringPieces, EmptyPiecesAreAtPlacesOfTheirOwn)
{
    for (const char *const text : {"", ",", ",,", ",a,"})
    {
        const auto check = [](const auto &pieces)
        {
            for (auto a = pieces.begin(); a != pieces.end(); ++a)
            {
                size_t same = 0;
                for (auto b = pieces.begin(); b != pieces.end(); ++b)
                    same += a == b ? 1 : 0;
                EXPECT_EQ(same, 1u);
            }
        };
        check(Pieces(text, ',').WithEmpty());
        check(Pieces(text, ',').WithEmpty().FromEnd());
        check(Pieces(text, ',').WithEmpty().AtMost(2));
        check(Pieces(text, ',').WithEmpty().FromEnd().AtMost(2));
    }
    const auto ofNull = Pieces(CStringView(), ',').WithEmpty();
    EXPECT_TRUE(ofNull.begin() != ofNull.end());
    EXPECT_TRUE(++ofNull.begin() == ofNull.end());
}

TEST(StringPieces, AlgorithmsTakeThem)
{
    const auto pieces = Pieces("one two three four", ' ');
    EXPECT_EQ(std::distance(pieces.begin(), pieces.end()), 4);
    const auto found =
        std::find_if(pieces.begin(), pieces.end(), [](const CStringView &piece) { return piece.StartsWith("th"); });
    ASSERT_TRUE(found != pieces.end());
    EXPECT_EQ(TextOf(*found), "three");
    EXPECT_EQ(TextOf(*std::next(found)), "four");
    EXPECT_EQ(std::count_if(pieces.begin(), pieces.end(), [](const CStringView &piece) { return piece.Length() == 3; }),
              2);
    const std::vector<CStringView> copied(pieces.begin(), pieces.end());
    EXPECT_EQ(copied.size(), 4u);
}

template <typename Range>
constexpr bool IsWhatLoopsWant()
{
    using CIterator = decltype(std::declval<const Range &>().begin());
    static_assert(std::is_same<CIterator, decltype(std::declval<const Range &>().end())>::value, "one type");
    static_assert(std::is_nothrow_default_constructible<CIterator>::value, "an iterator of nothing");
    static_assert(std::is_trivially_copyable<CIterator>::value, "iterators are plain values");
    static_assert(std::is_nothrow_copy_constructible<Range>::value, "copies share");
    static_assert(std::is_nothrow_move_constructible<Range>::value && std::is_nothrow_move_assignable<Range>::value,
                  "ranges move");
    static_assert(noexcept(++std::declval<CIterator &>()) &&noexcept(*std::declval<CIterator &>()), "nothing throws");
    static_assert(noexcept(std::declval<const Range &>().begin()), "nothing throws");
    static_assert(noexcept(std::declval<const Range &>().WithEmpty().WithoutEmpty().AtMost(1).FromEnd()),
                  "nothing throws");
    static_assert(!std::is_polymorphic<Range>::value && !std::is_polymorphic<CIterator>::value, "no virtual functions");
    static_assert(sizeof(CIterator) <= 64, "an iterator is a line of the cache");
#if defined(__cpp_lib_ranges)
    static_assert(std::forward_iterator<CIterator> && !std::bidirectional_iterator<CIterator>);
    static_assert(std::ranges::forward_range<Range> && std::ranges::common_range<Range>);
    static_assert(std::ranges::viewable_range<Range &> && std::ranges::viewable_range<Range>);
    static_assert(!std::ranges::borrowed_range<Range>, "iterators borrow from the range");
#endif
    return true;
}

static_assert(IsWhatLoopsWant<decltype(Pieces("", ','))>(), "by a character");
static_assert(IsWhatLoopsWant<decltype(Pieces("", ""))>(), "by a text");
static_assert(IsWhatLoopsWant<decltype(PiecesOfSet("", ""))>(), "by a set");
static_assert(IsWhatLoopsWant<decltype(Lines("").FromEnd())>(), "by lines");
static_assert(noexcept(Pieces(CString(), ',')) &&noexcept(PiecesOfSet(CStringView(), "")) &&noexcept(Lines(CString())),
              "nothing throws");

#if defined(__cpp_lib_ranges)
TEST(StringPieces, RangesOfTheStandardTakeThem)
{
    const CString text("1,22,333");
    const auto pieces = Pieces(text, ',');
    EXPECT_EQ(std::ranges::distance(pieces), 3);
    EXPECT_TRUE(std::ranges::any_of(pieces, [](const CStringView &piece) { return piece == "22"; }));
#if !defined(__clang__) || __clang_major__ >= 16 // before, it cannot read the views of the other compiler's library
    std::vector<u32> lengths;
    for (const u32 length :
         pieces | std::views::transform([](const CStringView &piece) { return piece.Length(); }) | std::views::drop(1))
        lengths.push_back(length);
    EXPECT_EQ(lengths, (std::vector<u32>{2, 3}));
#endif
}
#endif

// ---- What is taken for a text and for a separator -------------------------------------------------------------------

struct SName : CString
{
    using CString::CString;
};

TEST(StringPieces, EveryKindOfTextIsTaken)
{
    const PieceTexts expected = {"a", "b"};
    char buffer[] = "a,b";
    char *const writable = buffer;
    const char *const text = buffer;
    const CString string("a,b");
    CString changing("a,b");
    EXPECT_EQ(TextsIn(Pieces("a,b", ',')), expected);
    EXPECT_EQ(TextsIn(Pieces(buffer, ',')), expected);
    EXPECT_EQ(TextsIn(Pieces(writable, ",")), expected);
    EXPECT_EQ(TextsIn(Pieces(text, writable + 1).AtMost(1)), (PieceTexts{"a,b"}));
    EXPECT_EQ(TextsIn(Pieces(string, CString(","))), expected);
    EXPECT_EQ(TextsIn(Pieces(changing, ',')), expected);
    EXPECT_EQ(TextsIn(Pieces(std::move(changing), ',')), expected);
    EXPECT_EQ(TextsIn(Pieces(CStringView(string), CStringView(","))), expected);
    EXPECT_EQ(TextsIn(Pieces(SName("a,b"), ',')), expected);
    EXPECT_EQ(TextsIn(PiecesOfSet(string, SName(","))), expected);
    EXPECT_EQ(TextsIn(Pieces(std::string_view("a,b,c", 3), ',')), expected);
    EXPECT_EQ(TextsIn(Pieces(string, std::string_view(",b", 1))), expected);
    EXPECT_EQ(TextsIn(PiecesOfSet(std::string_view("a,b"), std::string_view(","))), expected);
    EXPECT_EQ(TextsIn(Lines(std::string_view("a\nb"))), expected);
}

TEST(StringPieces, NamesOfAProgramAreNotHidden)
{
    EXPECT_EQ(Program::CallLines(CString("a")), "of the program");
    EXPECT_EQ(Program::CallPieces(CString("a")), "of the program");
    EXPECT_EQ(TextsIn(Quorvane::Pieces("a,b", ',')), (PieceTexts{"a", "b"}));
}

template <typename Text, typename Separator, typename = void>
constexpr bool IsTaken = false;
template <typename Text, typename Separator>
constexpr bool
    IsTaken<Text, Separator, std::void_t<decltype(Pieces(std::declval<Text>(), std::declval<Separator>()))>> = true;

static_assert(IsTaken<const CString &, char> && IsTaken<CString, const char *> && IsTaken<char *, CString &>, "texts");
static_assert(!IsTaken<CString, int> && !IsTaken<CString, std::nullptr_t> && !IsTaken<CString, bool>, "no characters");
static_assert(!IsTaken<CString, unsigned char> && !IsTaken<CString, signed char>, "no characters of text");
static_assert(!IsTaken<std::nullptr_t, char> && !IsTaken<int, char> && !IsTaken<char, char>, "no texts");
static_assert(!IsTaken<std::string, char> && !IsTaken<CString, std::string>, "they would not outlive the call");
static_assert(!IsTaken<TMemoryView<char>, char>, "elements, no text");

} // namespace
