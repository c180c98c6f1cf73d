// Splitting at what a predicate says.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "edge_allocators.h"
#include "every_text.h"
#include "kr_string.h"
#include "random_numbers.h"
#include "refusal_sweep.h"
#include "split_checks.h"
#include "split_model.h"
#include "string_checks.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

TEST(StringSplitPredicate, PiecesAreTheRunsThatItIsFalseFor)
{
    EXPECT_EQ(SplitAt("a,b;c", [](char c) { return c == ',' || c == ';'; }), (PieceTexts{"a", "b", "c"}));
    EXPECT_EQ(SplitAt(",;a,;b;,", [](char c) { return c == ',' || c == ';'; }), (PieceTexts{"a", "b"}));
    EXPECT_EQ(SplitAt("abc", [](char) { return false; }), (PieceTexts{"abc"}));
    EXPECT_EQ(SplitAt("abc", [](char) { return true; }), PieceTexts());
}

TEST(StringSplitPredicate, PiecesAreAppendedAndTheOutputIsNeverCleared)
{
    TArray<CString> out = Strings({"first", "second"});
    EXPECT_TRUE(CString("a|b").Split([](char c) { return c == '|'; }, out));
    EXPECT_EQ(TextsOf(out), (PieceTexts{"first", "second", "a", "b"}));
    EXPECT_TRUE(CString("|||").Split([](char c) { return c == '|'; }, out));
    EXPECT_EQ(out.Count(), 4u);
}

TEST(StringSplitPredicate, AnEmptyStringLeavesTheOutputUntouchedAndAsksNothing)
{
    for (const CString &string : EmptyStrings())
    {
        TArray<CString> out = UsedStrings();
        bool asked = false;
        EXPECT_TRUE(string.Split(
            [&asked](char)
            {
                asked = true;
                return false;
            },
            out));
        EXPECT_EQ(TextsOf(out), (PieceTexts{"old", "older", "oldest"}));
        EXPECT_FALSE(asked);
    }
}

TEST(StringSplitPredicate, ItIsAskedForEveryCharacterAndForNothingBehindThem)
{
    std::string text;
    for (int byte = 1; byte < 256; ++byte)
        text += static_cast<char>(byte);
    bool asked[256] = {};
    TArray<CString> out;
    EXPECT_TRUE(Fixed(text).Split(
        [&asked](char character)
        {
            asked[static_cast<u8>(character)] = true;
            return character == '\xE9';
        },
        out));
    for (int byte = 1; byte < 256; ++byte)
        EXPECT_TRUE(asked[byte]) << byte;
    EXPECT_FALSE(asked[0]);
    EXPECT_EQ(TextsOf(out), (PieceTexts{text.substr(0, 0xE8), text.substr(0xE9)}));
}

TEST(StringSplitPredicate, ALongTextSplitsAsTheModelSaysWhereverNewCharactersBegin)
{
    // Separators and pieces across every multiple of 4096, characters that are met late, and one byte more each time.
    std::string text;
    u32 state = 1;
    for (u32 i = 0; i < 20000; ++i)
    {
        state = NextRandomState(state);
        const u32 kinds = 4 + i / 400;
        text +=
            static_cast<char>((state >> 16) % kinds < 2 ? ',' + (state >> 24) % 2 * 15 : 'a' + (state >> 16) % kinds);
    }
    const auto isSeparator = [](char c) { return c == ',' || c == ';' || c == '\xA0'; };
    for (u32 length = 12250; length <= text.size(); length += length < 12330 ? 1 : 997)
    {
        const std::string part = text.substr(0, length);
        std::vector<u32> asked(256, 0);
        const auto counted = [&](char c)
        {
            ++asked[static_cast<u8>(c)];
            return isSeparator(c);
        };
        PieceTexts expected;
        std::string piece;
        for (const char c : part + ';')
        {
            if (!isSeparator(c))
                piece += c;
            else if (!piece.empty())
                expected.push_back(std::exchange(piece, std::string()));
        }
        TArray<CString> out;
        EXPECT_TRUE(Fixed(part).Split(counted, out));
        ASSERT_EQ(TextsOf(out), expected) << length;
        for (u32 byte = 0; byte < 256; ++byte)
            EXPECT_EQ(asked[byte], part.find(static_cast<char>(byte)) != std::string::npos ? 1u : 0u) << byte;
    }
}

TEST(StringSplitPredicate, TheStoredLengthEndsTheTextNotATerminator)
{
    const CString string = Fixed(std::string("a,b\0c,d", 7));
    CAssertRecorder recorder;
    EXPECT_EQ(SplitAt(string, &IsComma), (PieceTexts{"a", std::string("b\0c", 3), "d"}));
    ExpectReports(recorder, {kExtractCheck});

    recorder.Clear();
    EXPECT_EQ(SplitAt(string, [](char c) { return c == '\0' || c == ','; }), (PieceTexts{"a", "b", "c", "d"}));
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringSplitPredicate, StringsShareNothingWithTheSource)
{
    const CString string("whole");
    TArray<CString> out;
    EXPECT_TRUE(string.Split(&IsComma, out));
    ASSERT_EQ(out.Count(), 1u);
    EXPECT_NE(out[0].Data(), string.Data());
    EXPECT_EQ(ContainerOf(out[0])->RefCount(), 1u);
    EXPECT_EQ(ContainerOf(string)->RefCount(), 1u);
    ExpectText(out[0], "whole");
}

TEST(StringSplitPredicate, ASourceInTheOutputItselfStaysAndIsSplitWhileTheArrayGrows)
{
    for (u32 count = 1; count <= 9; ++count)
        for (u32 index = 0; index < count; ++index)
        {
            TArray<CString> out = Strings(PieceTexts(count, "x"));
            out[index] = CString("one,two,three,four,five,six,seven,eight,nine,ten");
            PieceTexts expected = TextsOf(out);
            for (const std::string &piece : SplitModelRuns(expected[index], ','))
                expected.push_back(piece);
            EXPECT_TRUE(out[index].Split(&IsComma, out));
            ASSERT_EQ(TextsOf(out), expected) << index << " of " << count;
        }
}

TEST(StringSplitPredicate, EveryRefusalLosesWhatItsRequestWasFor)
{
    const std::string text = ",1,2,3,,4,5,6,7,8,9,10,11";
    struct SState
    {
        CString m_String;
        TArray<CString> m_Out;
        bool m_Result = false;
    };
    SweepRefusals(
        [&]
        {
            SState state;
            state.m_String = CString(text.c_str());
            return state;
        },
        [](SState &state) { state.m_Result = state.m_String.Split(&IsComma, state.m_Out); },
        [&](SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            const SSplitModelUnderRefusal expected = SplitModelUnderRefusal(
                SplitModelRuns(text, ','), true, true, [&](u64 request) { return IsRefused(refusal, request); });
            EXPECT_EQ(TextsOf(state.m_Out), expected.m_Pieces);
            EXPECT_EQ(state.m_Result, !expected.m_Stopped);
            EXPECT_EQ(recorder.Count(), IfAsserting(expected.m_RefusedGrowths));
        });
}

TEST(StringSplitPredicate, AnArrayThatCannotGrowKeepsWhatItHeldBefore)
{
    TArray<CString> out = Strings(PieceTexts(9, "held"));
    const CString string("a,b");
    const CAssertRecorder recorder;
    {
        const CChoosyAllocator allocator([](u64, u64 size) { return size == 23 * sizeof(CString); });
        EXPECT_FALSE(string.Split(&IsComma, out));
    }
    EXPECT_EQ(TextsOf(out), PieceTexts(9, "held"));
    ExpectReports(recorder, {"false"});
}

// Into views.

TEST(StringSplitPredicate, RefusedMemoryIsAnsweredForViewsOfStringsAndOfViews)
{
    const CString string("a,b");
    const CAssertRecorder recorder;
    TArray<CStringView> ofString;
    TArray<CStringView> ofView;
    {
        const CChoosyAllocator refusing([](u64, u64) { return true; });
        EXPECT_FALSE(string.Split(&IsComma, ofString));
        EXPECT_FALSE(CStringView(string).Split(&IsComma, ofView));
    }
    EXPECT_TRUE(ofString.Empty());
    EXPECT_TRUE(ofView.Empty());
    ExpectReports(recorder, {"false", "false"});
    EXPECT_TRUE(string.Split(&IsComma, ofString));
    EXPECT_TRUE(CStringView(string).Split(&IsComma, ofView));
    const CString none;
    EXPECT_TRUE(none.Split(&IsComma, ofString));
    EXPECT_TRUE(CStringView().Split(&IsComma, ofView));
    EXPECT_EQ(ofString.Count(), 2u);
    EXPECT_EQ(ofView.Count(), 2u);
}

TEST(StringSplitPredicate, ViewsLieInTheBufferOfTheSourceAndAreAppended)
{
    CTestAllocator allocator;
    {
        const CString string("ab,;cde;f");
        TArray<CStringView> out = UsedViews();
        allocator.ForgetCalls();
        EXPECT_TRUE(string.Split([](char c) { return c == ',' || c == ';'; }, out));
        ASSERT_EQ(TextsOf(out), (PieceTexts{"old", "older", "oldest", "ab", "cde", "f"}));
        EXPECT_EQ(out[3].Data(), string.Data());
        EXPECT_EQ(out[4].Data(), string.Data() + 4);
        EXPECT_EQ(out[5].Data(), string.Data() + 8);
        EXPECT_TRUE(allocator.Calls().empty());
    }
}

TEST(StringSplitPredicate, AnEmptyStringLeavesTheViewsUntouchedAndAsksNothing)
{
    for (const CString &string : EmptyStrings())
    {
        TArray<CStringView> out = UsedViews();
        bool asked = false;
        EXPECT_TRUE(string.Split(
            [&asked](char)
            {
                asked = true;
                return false;
            },
            out));
        EXPECT_EQ(TextsOf(out), (PieceTexts{"old", "older", "oldest"}));
        EXPECT_FALSE(asked);
    }
}

TEST(StringSplitPredicate, StringsAndViewsAreTheSamePieces)
{
    // Chunks end where the questions do; terminators in pieces are reported for strings alone.
    std::string text;
    u32 state = 7;
    for (u32 i = 0; i < 5000; ++i)
    {
        state = NextRandomState(state);
        text += "a,b;c\0\xE9"[(state >> 16) % 7];
    }
    const auto isSeparator = [](char c) { return c == ',' || c == ';' || c == '\xE9'; };
    for (u32 length = 1; length <= text.size(); length += length < 70 ? 1 : 613)
    {
        const std::string part = text.substr(0, length);
        const CString string = Fixed(part);
        TArray<CStringView> views;
        CAssertRecorder recorder;
        EXPECT_TRUE(string.Split(isSeparator, views));
        ExpectReports(recorder, {});
        ASSERT_EQ(TextsOf(views), SplitModelRuns(part, isSeparator)) << length;
    }
}

TEST(StringSplitPredicate, AViewIsAskedAboutEachOfItsCharactersOnce)
{
    const std::string text(3000, 'b');
    std::vector<u32> asked(256, 0);
    TArray<CStringView> out;
    const std::string whole = "\1a" + text + "," + std::string("\0c", 2);
    EXPECT_TRUE(ViewOf(whole).Slice(1).Split(
        [&asked](char c)
        {
            ++asked[static_cast<u8>(c)];
            return c == ',';
        },
        out));
    EXPECT_EQ(TextsOf(out), (PieceTexts{"a" + text, std::string("\0c", 2)}));
    for (u32 byte = 0; byte < 256; ++byte)
        EXPECT_EQ(asked[byte], byte != 1 && whole.find(static_cast<char>(byte)) != std::string::npos ? 1u : 0u) << byte;
}

// What a separator may be.

struct SIsComma
{
    bool operator()(char character) const { return character == ','; }
};

struct SCountingIsComma
{
    bool operator()(char character)
    {
        ++m_Calls;
        return character == ',';
    }
    int m_Calls = 0;
};

bool IsCommaOfInteger(int character)
{
    return character == ',';
}

TEST(StringSplitSeparator, LambdasFunctionsAndFunctionObjectsArePredicates)
{
    const CString string("a,b");
    const PieceTexts expected = {"a", "b"};
    const auto split = [&](auto &&predicate)
    {
        TArray<CString> out;
        EXPECT_TRUE(string.Split(predicate, out));
        return TextsOf(out);
    };
    const SIsComma constant;
    SCountingIsComma counting;
    int calls = 0;
    EXPECT_EQ(split([](char c) { return c == ','; }), expected);
    EXPECT_EQ(split(
                  [calls](char c) mutable
                  {
                      ++calls;
                      return c == ',';
                  }),
              expected);
    EXPECT_EQ(split(IsComma), expected);
    EXPECT_EQ(split(&IsComma), expected);
    EXPECT_EQ(split(IsCommaOfInteger), expected);
    EXPECT_EQ(split(std::function<bool(char)>(IsComma)), expected);
    EXPECT_EQ(split(SIsComma()), expected);
    EXPECT_EQ(split(constant), expected);
    EXPECT_EQ(split(counting), expected);
    // The caller's own object is asked, not a copy of it.
    EXPECT_GE(counting.m_Calls, 3);
}

TEST(StringSplitSeparator, TemporaryPredicatesNeedNoName)
{
    TArray<CString> out;
    EXPECT_TRUE(CString("a,b").Split([](char c) { return c == ','; }, out));
    EXPECT_TRUE(CString("c,d").Split(IsComma, out));
    EXPECT_TRUE(CString("e,f").Split(SIsComma(), out));
    EXPECT_EQ(TextsOf(out), (PieceTexts{"a", "b", "c", "d", "e", "f"}));
}

TEST(StringSplitSeparator, IntegersAreCharacters)
{
    const CString string("a,b");
    TArray<CString> strings = UsedStrings();
    TArray<CStringView> views = UsedViews();
    EXPECT_TRUE(string.Split(44, strings));
    EXPECT_EQ(TextsOf(strings), (PieceTexts{"a", "b"}));
    EXPECT_TRUE(string.Split(44, views));
    EXPECT_EQ(TextsOf(views), (PieceTexts{"a", "b"}));
    const signed char separator = 'a';
    EXPECT_TRUE(string.Split(separator, strings));
    EXPECT_EQ(TextsOf(strings), (PieceTexts{",b"}));
}

TEST_F(StringSplitLong, ManyPiecesBeforeALongTailSplitByAPredicate)
{
    TArray<CString> strings;
    EXPECT_TRUE(m_String.Split(&IsComma, strings));
    ExpectAllPieces(strings);
}

} // namespace
