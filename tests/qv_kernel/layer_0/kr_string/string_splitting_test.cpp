// Splitting: at a character into views and strings, at what a predicate says, and at a configured set.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "edge_allocators.h"
#include "every_text.h"
#include "kr_string.h"
#include "refusal_sweep.h"
#include "split_model.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

typedef std::vector<std::string> Pieces;

const char *const kExtractCheck =
    "from != null && last > first && SNativeStringUtils::Length(from) >= QVMax(first, last)";
const char *const kContainerCheck = "_P::m_Ptr != null";

template <typename Piece>
Pieces TextsOf(const TArray<Piece> &pieces)
{
    Pieces texts;
    for (const Piece &piece : pieces)
        texts.push_back(TextOf(piece));
    return texts;
}

TArray<CString> Strings(const Pieces &texts)
{
    TArray<CString> strings;
    for (const std::string &text : texts)
        strings.PushBack(CString(text.c_str()));
    return strings;
}

// Arrays with something in them that has to go.
TArray<CString> UsedStrings()
{
    return Strings({"old", "older", "oldest"});
}

TArray<CStringView> UsedViews()
{
    TArray<CStringView> views;
    for (const char *text : {"old", "older", "oldest"})
        views.PushBack(CStringView::FromNullTerminatedString(text));
    return views;
}

// The strings that are empty: never assigned, emptied, and one that begins with a terminator.
std::vector<CString> EmptyStrings()
{
    CString emptied = Resizable("a,b");
    emptied.Clear();
    return {CString(), CString(""), emptied, Fixed(std::string("\0,a", 3))};
}

CStringBatchSplitter SplitterAt(const char *separators)
{
    CStringBatchSplitter splitter;
    splitter.AddSplitChars(separators);
    return splitter;
}

Pieces BatchSplit(const std::string &text, const char *separators)
{
    TArray<CString> out = UsedStrings();
    SplitterAt(separators).Split(Resizable(text), out);
    return TextsOf(out);
}

// All forms of the split at a character; they agree in everything but how a piece is stored.
enum EForm
{
    Form_Views,
    Form_Strings,
    Form_ViewsThreadSafe,
    Form_StringsThreadSafe,
};

const EForm kForms[] = {Form_Views, Form_Strings, Form_ViewsThreadSafe, Form_StringsThreadSafe};

bool MakesStrings(EForm form)
{
    return form == Form_Strings || form == Form_StringsThreadSafe;
}

// The output of any form.
struct SOutput
{
    TArray<CStringView> m_Views;
    TArray<CString> m_Strings;

    static SOutput Used()
    {
        SOutput output;
        output.m_Views = UsedViews();
        output.m_Strings = UsedStrings();
        return output;
    }
    bool Split(EForm form, const CString &string, char separator)
    {
        switch (form)
        {
        case Form_Views:
            return string.Split(separator, m_Views);
        case Form_Strings:
            return string.Split(separator, m_Strings);
        case Form_ViewsThreadSafe:
            return string.Split_ThreadSafe(separator, m_Views);
        default:
            return string.Split_ThreadSafe(separator, m_Strings);
        }
    }
    Pieces Texts(EForm form) const { return MakesStrings(form) ? TextsOf(m_Strings) : TextsOf(m_Views); }
    u32 MaxCount(EForm form) const { return MakesStrings(form) ? m_Strings.MaxCount() : m_Views.MaxCount(); }
};

Pieces Split(EForm form, const CString &string, char separator)
{
    SOutput output = SOutput::Used();
    EXPECT_TRUE(output.Split(form, string, separator));
    return output.Texts(form);
}

Pieces SplitAt(const CString &string, const std::function<bool(char)> &isSeparator)
{
    TArray<CString> out;
    EXPECT_TRUE(string.Split(isSeparator, out));
    return TextsOf(out);
}

bool IsComma(char character)
{
    return character == ',';
}

bool IsRefused(const SRefusal &refusal, u64 request)
{
    return refusal.m_Nth != 0 && (refusal.m_AndAllAfter ? request >= refusal.m_Nth : request == refusal.m_Nth);
}

// At a character.

TEST(StringSplit, PiecesAreTheRunsBetweenSeparators)
{
    for (const EForm form : kForms)
    {
        EXPECT_EQ(Split(form, "a,b,c", ','), (Pieces{"a", "b", "c"}));
        EXPECT_EQ(Split(form, "one two", ' '), (Pieces{"one", "two"}));
        EXPECT_EQ(Split(form, "a", ','), (Pieces{"a"}));
        EXPECT_EQ(Split(form, "a,b", ';'), (Pieces{"a,b"}));
        EXPECT_EQ(Split(form, "aXbxc", 'x'), (Pieces{"aXb", "c"}));
    }
}

TEST(StringSplit, NoPieceIsEverEmpty)
{
    for (const EForm form : kForms)
    {
        EXPECT_EQ(Split(form, ",a,,b,", ','), (Pieces{"a", "b"}));
        EXPECT_EQ(Split(form, ",a", ','), (Pieces{"a"}));
        EXPECT_EQ(Split(form, "a,", ','), (Pieces{"a"}));
        EXPECT_EQ(Split(form, ",,,", ','), Pieces());
        EXPECT_EQ(Split(form, ",", ','), Pieces());
    }
}

TEST(StringSplit, AnEmptyStringClearsTheOutputAndIsTrue)
{
    const CAssertRecorder recorder;
    for (const EForm form : kForms)
        for (const CString &string : EmptyStrings())
            for (const char separator : {',', '\0'})
                EXPECT_EQ(Split(form, string, separator), Pieces());
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringSplit, TheOutputIsClearedAndKeepsItsBlock)
{
    const CString string("a,b");
    for (const EForm form : kForms)
    {
        SOutput output = SOutput::Used();
        const void *const views = output.m_Views.Data();
        const void *const strings = output.m_Strings.Data();
        EXPECT_TRUE(output.Split(form, string, ','));
        EXPECT_EQ(output.Texts(form), (Pieces{"a", "b"}));
        EXPECT_EQ(output.m_Views.Data(), views);
        EXPECT_EQ(output.m_Strings.Data(), strings);
    }
}

TEST(StringSplit, ATerminatorCanBeTheSeparator)
{
    for (const EForm form : kForms)
    {
        EXPECT_EQ(Split(form, Fixed(std::string("ab\0cd\0\0e", 8)), '\0'), (Pieces{"ab", "cd", "e"}));
        EXPECT_EQ(Split(form, Fixed(std::string("ab\0", 3)), '\0'), (Pieces{"ab"}));
        EXPECT_EQ(Split(form, "ab", '\0'), (Pieces{"ab"}));
    }
}

TEST(StringSplit, TheStoredLengthEndsTheTextNotATerminator)
{
    const CString string = Fixed(std::string("a,b\0c,d", 7));
    const Pieces expected = {"a", std::string("b\0c", 3), "d"};
    for (const EForm form : kForms)
    {
        const CAssertRecorder recorder;
        EXPECT_EQ(Split(form, string, ','), expected);
        // A string is built of the piece all the same; a view needs no look at it.
        ExpectReports(recorder, MakesStrings(form) ? Pieces{kExtractCheck} : Pieces());
    }
}

TEST(StringSplit, WhatLiesBehindTheStoredLengthIsNotSplit)
{
    CString string = Resizable("ab,cd,ef");
    ContainerOf(string)->Data()[5] = '\0';
    ContainerOf(string)->UnsafeSetLength(5);
    for (const EForm form : kForms)
        EXPECT_EQ(Split(form, string, ','), (Pieces{"ab", "cd"}));
}

TEST(StringSplit, AllBytesCanSeparate)
{
    for (const EForm form : kForms)
        for (int byte = 1; byte < 256; ++byte)
        {
            const char separator = static_cast<char>(byte);
            const char other = static_cast<char>(byte ^ 0x80);
            const std::string text = {separator, 'a', 'b', separator, separator, '1', separator};
            const bool ofText = byte == 'a' || byte == 'b' || byte == '1';
            if (!ofText)
            {
                EXPECT_EQ(Split(form, Fixed(text), separator), (Pieces{"ab", "1"})) << byte;
            }
            if (other != '\0')
            {
                EXPECT_EQ(Split(form, Fixed(std::string(2, other)), separator), (Pieces{std::string(2, other)}))
                    << byte;
            }
        }
}

TEST(StringSplit, ViewsLieInTheBufferOfTheSource)
{
    const CString string("ab,,cde,f");
    for (const bool threadSafe : {false, true})
    {
        TArray<CStringView> views;
        EXPECT_TRUE(threadSafe ? string.Split_ThreadSafe(',', views) : string.Split(',', views));
        ASSERT_EQ(views.Count(), 3u);
        EXPECT_EQ(views[0].Data(), string.Data());
        EXPECT_EQ(views[0].Length(), 2u);
        EXPECT_EQ(views[1].Data(), string.Data() + 4);
        EXPECT_EQ(views[1].Length(), 3u);
        EXPECT_EQ(views[2].Data(), string.Data() + 8);
        EXPECT_EQ(views[2].Length(), 1u);
    }
}

TEST(StringSplit, ViewsCopyNoCharacter)
{
    CTestAllocator allocator;
    {
        const CString string("a,b,c");
        TArray<CStringView> views;
        allocator.ForgetCalls();
        EXPECT_TRUE(string.Split(',', views));
        EXPECT_TRUE(string.Split_ThreadSafe(',', views));
        // The array's one growth.
        EXPECT_EQ(allocator.Calls().size(), 1u);
        EXPECT_EQ(views.MaxCount(), 9u);
    }
}

TEST(StringSplit, StringsShareNothingWithTheSource)
{
    for (const bool threadSafe : {false, true})
    {
        CString string = Resizable("whole");
        TArray<CString> strings;
        EXPECT_TRUE(threadSafe ? string.Split_ThreadSafe(',', strings) : string.Split(',', strings));
        ASSERT_EQ(strings.Count(), 1u);
        EXPECT_NE(strings[0].Data(), string.Data());
        // The slot took the reference that the piece was made with.
        EXPECT_EQ(ContainerOf(strings[0])->RefCount(), 1u);
        EXPECT_EQ(ContainerOf(string)->RefCount(), 1u);
        EXPECT_FALSE(ContainerOf(strings[0])->SupportsDynamicResize());
        ExpectText(strings[0], "whole");
        string.RawDataForWriting()[0] = 'W';
        EXPECT_EQ(TextOf(strings[0]), "whole");
    }
}

TEST(StringSplit, TheFirstGrowthMakesNineSlots)
{
    for (const EForm form : kForms)
    {
        SOutput output;
        EXPECT_TRUE(output.Split(form, "1,2,3,4,5,6,7,8,9", ','));
        EXPECT_EQ(output.MaxCount(form), 9u);
        EXPECT_TRUE(output.Split(form, "1,2,3,4,5,6,7,8,9,10", ','));
        EXPECT_EQ(output.MaxCount(form), 23u);
    }
}

TEST(StringSplit, OnlyAPieceThatIsStoredMakesTheArrayGrow)
{
    // Nine pieces fill the first nine slots.
    for (const std::string &rest : {std::string(), std::string(1, ','), std::string(5000, ',')})
    {
        const CString full = Fixed("1,2,3,4,5,6,7,8,9" + rest);
        TArray<CStringView> views;
        EXPECT_TRUE(full.Split(',', views));
        EXPECT_EQ(views.Count(), 9u);
        EXPECT_EQ(views.MaxCount(), 9u) << rest.size();
        TArray<CString> strings;
        EXPECT_TRUE(full.Split(',', strings));
        EXPECT_EQ(strings.Count(), 9u);
        EXPECT_EQ(strings.MaxCount(), 9u) << rest.size();
        const CString more = Fixed("1,2,3,4,5,6,7,8,9" + rest + ",10");
        EXPECT_TRUE(more.Split(',', views));
        EXPECT_EQ(views.Count(), 10u);
        EXPECT_GT(views.MaxCount(), 9u);
        EXPECT_EQ(views[9], CStringView("10", 2));
    }
}

TEST(StringSplit, TheSourceStaysAsItWas)
{
    const CString string = Resizable("a,b,c");
    const CString copy = string;
    for (const EForm form : kForms)
    {
        EXPECT_EQ(Split(form, string, ','), (Pieces{"a", "b", "c"}));
        EXPECT_EQ(string.Data(), copy.Data());
        EXPECT_EQ(ContainerOf(string)->RefCount(), 2u);
        ExpectText(string, "a,b,c");
    }
}

// Every form and the predicate, with separators that are there and such that are not.
TEST(StringSplit, EveryShortTextSplitsAsTheModelSays)
{
    const std::string alphabet("a,\xE9\0", 4);
    for (const std::string &text : EveryText(alphabet, kSanitized ? 4 : 6))
    {
        // Terminators in pieces are reported.
        const CAssertRecorder recorder;
        const CString string = Resizable(text);
        for (const char separator : {',', '\xE9', '\0', 'x'})
        {
            const Pieces expected = SplitModelRuns(text, separator);
            for (const EForm form : kForms)
                ASSERT_EQ(Split(form, string, separator), expected) << text << " at " << separator;
            ASSERT_EQ(SplitAt(string, [separator](char character) { return character == separator; }), expected)
                << text << " at " << separator;
        }
        ASSERT_EQ(SplitAt(string, [](char character) { return character == ',' || character == '\xE9'; }),
                  SplitModelRuns(text, [](char character) { return character == ',' || character == '\xE9'; }))
            << text;
    }
}

TEST(StringSplit, ASourceInTheOutputItselfIsSplitInWhole)
{
    for (const bool threadSafe : {false, true})
        for (const bool shared : {false, true})
            for (u32 count = 1; count <= 9; ++count)
                for (u32 index = 0; index < count; ++index)
                {
                    TArray<CString> out = Strings(Pieces(count, "x,x"));
                    out[index] = CString("one,two,three,four");
                    const CString other = shared ? out[index] : CString();
                    const CString &source = out[index];
                    EXPECT_TRUE(threadSafe ? source.Split_ThreadSafe(',', out) : source.Split(',', out));
                    ASSERT_EQ(TextsOf(out), (Pieces{"one", "two", "three", "four"})) << index << " of " << count;
                    EXPECT_EQ(TextOf(other), shared ? "one,two,three,four" : "");
                }
}

TEST(StringSplit, ASourceInTheOutputItselfMaySplitIntoMoreThanTheArrayHolds)
{
    TArray<CString> out = Strings({"1,2,3,4,5,6,7,8,9,10,11,12", "x"});
    EXPECT_TRUE(out[0].Split(',', out));
    EXPECT_EQ(TextsOf(out), (Pieces{"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"}));
}

TEST(StringSplit, AnEmptySourceInTheOutputItselfClearsIt)
{
    for (u32 index = 0; index < 3; ++index)
    {
        TArray<CString> out = Strings({"a,b", "c,d", "e,f"});
        out[index] = CString();
        EXPECT_TRUE(out[index].Split(',', out));
        EXPECT_TRUE(out.Empty());
    }
}

TEST(StringSplit, AnArrayThatCannotGrowIsReportedAndTheSplitIsFalse)
{
    for (const EForm form : kForms)
    {
        const CString string("1,2,3,4,5,6,7,8,9,10");
        const CAssertRecorder recorder;
        SOutput output;
        {
            // The tenth piece asks for 23 slots.
            const u64 bytes = MakesStrings(form) ? 23 * sizeof(CString) : 23 * sizeof(CStringView);
            const CChoosyAllocator allocator([bytes](u64, u64 size) { return size == bytes; });
            EXPECT_FALSE(output.Split(form, string, ','));
        }
        EXPECT_EQ(output.Texts(form), (Pieces{"1", "2", "3", "4", "5", "6", "7", "8", "9"}));
        EXPECT_EQ(output.MaxCount(form), 9u);
        ExpectReports(recorder, {"false"});
        if (kSitesReport)
        {
            EXPECT_EQ(recorder.Last().m_Message, MakesStrings(form)
                                                     ? "could not grow array of TArray<> to 23 elements (184 bytes)\n"
                                                     : "could not grow array of TArray<> to 23 elements (368 bytes)\n");
        }
    }
}

TEST(StringSplit, APieceWhoseMemoryIsRefusedIsStoredEmpty)
{
    TArray<CString> out;
    out.Reserve(9);
    const CString string("one,two,three");
    const CAssertRecorder recorder;
    {
        const CChoosyAllocator allocator([](u64 nth, u64) { return nth == 2; });
        EXPECT_TRUE(string.Split(',', out));
    }
    ASSERT_EQ(TextsOf(out), (Pieces{"one", "", "three"}));
    EXPECT_EQ(out[1].Data(), nullptr);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringSplit, EveryRefusalLosesWhatItsRequestWasFor)
{
    const std::string text = ",1,2,3,,4,5,6,7,8,9,10,11";
    for (const EForm form : kForms)
    {
        struct SState
        {
            CString m_String;
            SOutput m_Output;
            bool m_Result = false;
        };
        SweepRefusals(
            [&]
            {
                SState state;
                state.m_String = CString(text.c_str());
                return state;
            },
            [form](SState &state) { state.m_Result = state.m_Output.Split(form, state.m_String, ','); },
            [&](SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
            {
                const SSplitModelUnderRefusal expected =
                    SplitModelUnderRefusal(SplitModelRuns(text, ','), MakesStrings(form), true,
                                           [&](u64 request) { return IsRefused(refusal, request); });
                EXPECT_EQ(state.m_Output.Texts(form), expected.m_Pieces);
                EXPECT_EQ(state.m_Result, !expected.m_Stopped);
                EXPECT_EQ(recorder.Count(), IfAsserting(expected.m_RefusedGrowths));
                ExpectText(state.m_String, text);
            });
    }
}

// The reference of the thread-safe forms, seen from the allocator in the midst of the split.

TEST(StringSplit, TheThreadSafeFormsHoldAReferenceOfTheirOwnAndDropIt)
{
    for (const EForm form : kForms)
    {
        const CString string("a,b,c");
        const u32 expected = form == Form_ViewsThreadSafe || form == Form_StringsThreadSafe ? 2 : 1;
        u32 requests = 0;
        SOutput output;
        {
            const CChoosyAllocator allocator(
                [&](u64, u64)
                {
                    ++requests;
                    EXPECT_EQ(ContainerOf(string)->RefCount(), expected);
                    return false;
                });
            EXPECT_TRUE(output.Split(form, string, ','));
        }
        EXPECT_GT(requests, 0u);
        EXPECT_EQ(ContainerOf(string)->RefCount(), 1u);
    }
}

TEST(StringSplit, AHandleThatIsDroppedInTheMidstOfAThreadSafeSplitDoesNotTakeTheCharacters)
{
    CString string("one,two,three");
    TArray<CString> out;
    {
        const CChoosyAllocator allocator(
            [&](u64, u64)
            {
                string = CString();
                return false;
            });
        EXPECT_TRUE(string.Split_ThreadSafe(',', out));
    }
    EXPECT_EQ(TextsOf(out), (Pieces{"one", "two", "three"}));
    EXPECT_EQ(string.Data(), nullptr);
}

// By a predicate.

TEST(StringSplitPredicate, PiecesAreTheRunsThatItIsFalseFor)
{
    EXPECT_EQ(SplitAt("a,b;c", [](char c) { return c == ',' || c == ';'; }), (Pieces{"a", "b", "c"}));
    EXPECT_EQ(SplitAt(",;a,;b;,", [](char c) { return c == ',' || c == ';'; }), (Pieces{"a", "b"}));
    EXPECT_EQ(SplitAt("abc", [](char) { return false; }), (Pieces{"abc"}));
    EXPECT_EQ(SplitAt("abc", [](char) { return true; }), Pieces());
}

TEST(StringSplitPredicate, PiecesAreAppendedAndTheOutputIsNeverCleared)
{
    TArray<CString> out = Strings({"first", "second"});
    EXPECT_TRUE(CString("a|b").Split([](char c) { return c == '|'; }, out));
    EXPECT_EQ(TextsOf(out), (Pieces{"first", "second", "a", "b"}));
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
        EXPECT_EQ(TextsOf(out), (Pieces{"old", "older", "oldest"}));
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
    EXPECT_EQ(TextsOf(out), (Pieces{text.substr(0, 0xE8), text.substr(0xE9)}));
}

TEST(StringSplitPredicate, ALongTextSplitsAsTheModelSaysWhereverNewCharactersBegin)
{
    // Separators and pieces across every multiple of 4096, characters that are met late, and one byte more each time.
    std::string text;
    u32 state = 1;
    for (u32 i = 0; i < 20000; ++i)
    {
        state = state * 1664525u + 1013904223u;
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
        Pieces expected;
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
    EXPECT_EQ(SplitAt(string, &IsComma), (Pieces{"a", std::string("b\0c", 3), "d"}));
    ExpectReports(recorder, {kExtractCheck});

    recorder.Clear();
    EXPECT_EQ(SplitAt(string, [](char c) { return c == '\0' || c == ','; }), (Pieces{"a", "b", "c", "d"}));
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
            TArray<CString> out = Strings(Pieces(count, "x"));
            out[index] = CString("one,two,three,four,five,six,seven,eight,nine,ten");
            Pieces expected = TextsOf(out);
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
    TArray<CString> out = Strings(Pieces(9, "held"));
    const CString string("a,b");
    const CAssertRecorder recorder;
    {
        const CChoosyAllocator allocator([](u64, u64 size) { return size == 23 * sizeof(CString); });
        EXPECT_FALSE(string.Split(&IsComma, out));
    }
    EXPECT_EQ(TextsOf(out), Pieces(9, "held"));
    ExpectReports(recorder, {"false"});
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
    const Pieces expected = {"a", "b"};
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
    EXPECT_EQ(TextsOf(out), (Pieces{"a", "b", "c", "d", "e", "f"}));
}

TEST(StringSplitSeparator, IntegersAreCharacters)
{
    const CString string("a,b");
    TArray<CString> strings = UsedStrings();
    TArray<CStringView> views = UsedViews();
    EXPECT_TRUE(string.Split(44, strings));
    EXPECT_EQ(TextsOf(strings), (Pieces{"a", "b"}));
    EXPECT_TRUE(string.Split(44, views));
    EXPECT_EQ(TextsOf(views), (Pieces{"a", "b"}));
    const signed char separator = 'a';
    EXPECT_TRUE(string.Split(separator, strings));
    EXPECT_EQ(TextsOf(strings), (Pieces{",b"}));
}

// At a configured set.

// The table is all that a splitter consists of.
std::vector<u8> TableOf(const CStringBatchSplitter &splitter)
{
    static_assert(sizeof(CStringBatchSplitter) == 256, "one byte for every character");
    std::vector<u8> table(256);
    std::memcpy(table.data(), static_cast<const void *>(&splitter), 256);
    return table;
}

std::vector<u8> TableWith(const std::string &separators)
{
    std::vector<u8> table(256, 0);
    table[0] = 1;
    for (const char separator : separators)
        table[static_cast<u8>(separator)] = 1;
    return table;
}

TEST(StringBatchSplitter, ANewOneHasNoSeparatorButTheTerminator)
{
    EXPECT_EQ(TableOf(CStringBatchSplitter()), TableWith(""));
    EXPECT_EQ(BatchSplit("a b", ""), (Pieces{"a b"}));
}

TEST(StringBatchSplitter, AdjacentSeparatorsGiveAnEmptyPiece)
{
    EXPECT_EQ(BatchSplit("a,,b", ","), (Pieces{"a", "", "b"}));
    EXPECT_EQ(BatchSplit("a, b", " ,"), (Pieces{"a", "", "b"}));
    EXPECT_EQ(BatchSplit("a,,,b", ","), (Pieces{"a", "", "", "b"}));
}

TEST(StringBatchSplitter, ALeadingSeparatorGivesAnEmptyPiece)
{
    EXPECT_EQ(BatchSplit(",a", ","), (Pieces{"", "a"}));
    EXPECT_EQ(BatchSplit(",,a", ","), (Pieces{"", "", "a"}));
}

TEST(StringBatchSplitter, ATrailingSeparatorGivesNone)
{
    EXPECT_EQ(BatchSplit("a,", ","), (Pieces{"a"}));
    EXPECT_EQ(BatchSplit("a,,", ","), (Pieces{"a", ""}));
    EXPECT_EQ(BatchSplit(",", ","), (Pieces{""}));
    EXPECT_EQ(BatchSplit(",,", ","), (Pieces{"", ""}));
}

TEST(StringBatchSplitter, EmptyPiecesHaveNoContainer)
{
    TArray<CString> out;
    SplitterAt(",").Split(CString(",a"), out);
    ASSERT_EQ(out.Count(), 2u);
    EXPECT_EQ(out[0].Data(), nullptr);
    EXPECT_EQ(ContainerOf(out[1])->RefCount(), 1u);
}

TEST(StringBatchSplitter, AnEmptyStringWithAContainerClearsTheOutputWithoutAReport)
{
    CString emptied = Resizable("a,b");
    emptied.Clear();
    const CAssertRecorder recorder;
    for (const CString &string : {emptied, Fixed(std::string("\0,a", 3))})
    {
        CStringBatchSplitter splitter = SplitterAt(",");
        TArray<CString> out = UsedStrings();
        splitter.Split(string, out);
        EXPECT_TRUE(out.Empty());
        EXPECT_EQ(out.MaxCount(), 9u);

        out = UsedStrings();
        splitter.Split_ThreadSafe(string, out);
        EXPECT_TRUE(out.Empty());
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringBatchSplitter, AStringWithoutAContainerReportsAndLeavesTheOutputCleared)
{
    CStringBatchSplitter splitter = SplitterAt(",");
    for (const bool threadSafe : {false, true})
    {
        TArray<CString> out = UsedStrings();
        const CAssertRecorder recorder;
        if (threadSafe)
            splitter.Split_ThreadSafe(CString(), out);
        else
            splitter.Split(CString(), out);
        EXPECT_TRUE(out.Empty());
        ExpectReports(recorder, {kContainerCheck});
    }
}

TEST(StringBatchSplitter, AContainerWithoutCharactersIsNotRead)
{
    CBrokenString broken;
    CStringBatchSplitter splitter = SplitterAt(",");
    TArray<CString> out = UsedStrings();
    const CAssertRecorder recorder;
    splitter.Split(broken.Get(), out);
    EXPECT_TRUE(out.Empty());
    ExpectReports(recorder, {kContainerCheck});
}

TEST(StringBatchSplitter, TheFirstTerminatorEndsTheText)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(BatchSplit(std::string("a,b\0c,d", 7), ","), (Pieces{"a", "b"}));
    EXPECT_EQ(BatchSplit(std::string("a,\0,d", 5), ","), (Pieces{"a"}));
    EXPECT_EQ(BatchSplit(std::string("a\0", 2), ","), (Pieces{"a"}));
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringBatchSplitter, EveryByteHasItsOwnEntry)
{
    for (int byte = 1; byte < 256; ++byte)
    {
        const char separator = static_cast<char>(byte);
        CStringBatchSplitter splitter;
        splitter.AddSplitChar(separator);
        EXPECT_EQ(TableOf(splitter), TableWith(std::string(1, separator)));
        splitter.RemoveSplitChar(separator);
        EXPECT_EQ(TableOf(splitter), TableWith(""));
    }
    EXPECT_EQ(BatchSplit("a\x80"
                         "b\xFF"
                         "c\x7F"
                         "d",
                         "\x80\xFF"),
              (Pieces{"a", "b",
                      "c\x7F"
                      "d"}));
}

TEST(StringBatchSplitter, ListsAddAndRemoveEachOfTheirCharacters)
{
    CStringBatchSplitter splitter;
    splitter.AddSplitChars(" ,;");
    EXPECT_EQ(TableOf(splitter), TableWith(" ,;"));
    splitter.AddSplitChars(CString("|,\xE9"));
    EXPECT_EQ(TableOf(splitter), TableWith(" ,;|\xE9"));
    splitter.RemoveSplitChars(",|");
    EXPECT_EQ(TableOf(splitter), TableWith(" ;\xE9"));
    splitter.RemoveSplitChars(CString(" \xE9"));
    EXPECT_EQ(TableOf(splitter), TableWith(";"));
}

TEST(StringBatchSplitter, EmptyAndNullListsChangeNothing)
{
    CStringBatchSplitter splitter = SplitterAt(",");
    const char *const none = nullptr;
    CString emptied = Resizable("abc");
    emptied.Clear();
    const CAssertRecorder recorder;
    splitter.AddSplitChars("");
    splitter.AddSplitChars(none);
    splitter.AddSplitChars(CString());
    splitter.AddSplitChars(emptied);
    splitter.RemoveSplitChars("");
    splitter.RemoveSplitChars(none);
    splitter.RemoveSplitChars(CString());
    splitter.RemoveSplitChars(emptied);
    EXPECT_EQ(TableOf(splitter), TableWith(","));
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringBatchSplitter, RemovingWhatWasNeverAddedLeavesTheTable)
{
    CStringBatchSplitter splitter = SplitterAt(",");
    splitter.RemoveSplitChar(';');
    splitter.RemoveSplitChars("ab;");
    splitter.RemoveSplitChars(CString("ab;"));
    EXPECT_EQ(TableOf(splitter), TableWith(","));
}

TEST(StringBatchSplitter, AddingTwiceIsAddingOnce)
{
    CStringBatchSplitter splitter = SplitterAt(",,");
    splitter.AddSplitChar(',');
    splitter.AddSplitChar('\0');
    EXPECT_EQ(TableOf(splitter), TableWith(","));
    splitter.RemoveSplitChar(',');
    EXPECT_EQ(TableOf(splitter), TableWith(""));
}

TEST(StringBatchSplitter, ListsThatAreStringsGoByTheirStoredLength)
{
    CStringBatchSplitter splitter;
    splitter.AddSplitChars(Fixed(std::string("a\0b", 3)));
    splitter.AddSplitChars(Fixed(std::string("\0c", 2)));
    EXPECT_EQ(TableOf(splitter), TableWith("abc"));
    // The terminator stays a separator.
    splitter.RemoveSplitChars(Fixed(std::string("a\0b", 3)));
    EXPECT_EQ(TableOf(splitter), TableWith("c"));
}

TEST(StringBatchSplitter, RemovingTheTerminatorReportsAndRemovesIt)
{
    CStringBatchSplitter splitter = SplitterAt(",");
    const CAssertRecorder recorder;
    splitter.RemoveSplitChar('\0');
    ExpectReports(recorder, {"c != '\\0'"});
    std::vector<u8> expected = TableWith(",");
    expected[0] = 0;
    EXPECT_EQ(TableOf(splitter), expected);
}

TEST(StringBatchSplitter, ATableWithoutTheTerminatorStillEndsWithTheText)
{
    CPageEndAllocator allocator;
    const CAssertRecorder recorder;
    CStringBatchSplitter splitter = SplitterAt(",");
    splitter.RemoveSplitChar('\0');
    for (u32 length = 1; length <= 40; ++length)
    {
        TArray<CString> out;
        const std::string text = "a," + std::string(length, 'b');
        splitter.Split(CString(text.c_str()), out);
        EXPECT_EQ(TextsOf(out), (Pieces{"a", std::string(length, 'b')}));
    }
    // An embedded terminator is no separator then, but no piece begins with one.
    TArray<CString> out;
    splitter.Split(Fixed(std::string("a\0b,c,\0d", 8)), out);
    EXPECT_EQ(TextsOf(out), (Pieces{std::string("a\0b", 3), "c"}));
}

TEST(StringBatchSplitter, OneSplitterSplitsManyStrings)
{
    CStringBatchSplitter splitter = SplitterAt(",;");
    TArray<CString> out;
    splitter.Split(CString("a,b"), out);
    EXPECT_EQ(TextsOf(out), (Pieces{"a", "b"}));
    splitter.Split(CString("c;d;e"), out);
    EXPECT_EQ(TextsOf(out), (Pieces{"c", "d", "e"}));
    splitter.RemoveSplitChar(';');
    splitter.Split(CString("f;g,h"), out);
    EXPECT_EQ(TextsOf(out), (Pieces{"f;g", "h"}));
    EXPECT_EQ(TableOf(splitter), TableWith(","));
}

TEST(StringBatchSplitter, TheOutputIsClearedAndKeepsItsBlock)
{
    TArray<CString> out = UsedStrings();
    const CString *const block = out.Data();
    SplitterAt(",").Split(CString("a,b"), out);
    EXPECT_EQ(TextsOf(out), (Pieces{"a", "b"}));
    EXPECT_EQ(out.Data(), block);
}

TEST(StringBatchSplitter, TheFirstGrowthMakesNineSlots)
{
    TArray<CString> out;
    SplitterAt(",").Split(CString(",,,,,,,,,"), out);
    EXPECT_EQ(out.Count(), 9u);
    EXPECT_EQ(out.MaxCount(), 9u);
    SplitterAt(",").Split(CString(",,,,,,,,,,"), out);
    EXPECT_EQ(out.Count(), 10u);
    EXPECT_EQ(out.MaxCount(), 23u);
}

TEST(StringBatchSplitter, EveryShortTextSplitsAsTheModelSays)
{
    const std::string alphabet("a,\xE9\0", 4);
    for (const char *separators : {"", ",", "\xE9", ",\xE9", "a,\xE9", "x"})
    {
        CStringBatchSplitter splitter = SplitterAt(separators);
        for (const std::string &text : EveryText(alphabet, kSanitized ? 4 : 6))
        {
            const CString string = Resizable(text);
            const Pieces expected = SplitModelFields(text, separators);
            TArray<CString> out;
            splitter.Split(string, out);
            ASSERT_EQ(TextsOf(out), expected) << text << " at " << separators;
            splitter.Split_ThreadSafe(string, out);
            ASSERT_EQ(TextsOf(out), expected) << text << " at " << separators;
        }
    }
}

TEST(StringBatchSplitter, ASourceInTheOutputItselfIsSplitInWhole)
{
    CStringBatchSplitter splitter = SplitterAt(",");
    for (const bool threadSafe : {false, true})
        for (u32 count = 1; count <= 9; ++count)
            for (u32 index = 0; index < count; ++index)
            {
                TArray<CString> out = Strings(Pieces(count, "x,x"));
                out[index] = CString("one,,two,three");
                if (threadSafe)
                    splitter.Split_ThreadSafe(out[index], out);
                else
                    splitter.Split(out[index], out);
                ASSERT_EQ(TextsOf(out), (Pieces{"one", "", "two", "three"})) << index << " of " << count;
            }
}

TEST(StringBatchSplitter, TheThreadSafeFormHoldsAReferenceOfItsOwnAndDropsIt)
{
    CString string("one,two,three");
    TArray<CString> out;
    CStringBatchSplitter splitter = SplitterAt(",");
    {
        const CChoosyAllocator allocator(
            [&](u64 nth, u64)
            {
                if (nth == 1)
                {
                    EXPECT_EQ(ContainerOf(string)->RefCount(), 2u);
                    string = CString();
                }
                return false;
            });
        splitter.Split_ThreadSafe(string, out);
    }
    EXPECT_EQ(TextsOf(out), (Pieces{"one", "two", "three"}));

    const CString kept("a,b");
    splitter.Split_ThreadSafe(kept, out);
    EXPECT_EQ(ContainerOf(kept)->RefCount(), 1u);
}

TEST(StringBatchSplitter, EveryRefusalLosesWhatItsRequestWasForAndNothingElse)
{
    const std::string text = ",1,2,3,,4,5,6,7,8,9,10,11,";
    struct SState
    {
        CString m_String;
        TArray<CString> m_Out;
    };
    for (const bool threadSafe : {false, true})
        SweepRefusals(
            [&]
            {
                SState state;
                state.m_String = CString(text.c_str());
                return state;
            },
            [threadSafe](SState &state)
            {
                CStringBatchSplitter splitter = SplitterAt(",");
                if (threadSafe)
                    splitter.Split_ThreadSafe(state.m_String, state.m_Out);
                else
                    splitter.Split(state.m_String, state.m_Out);
            },
            [&](SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
            {
                const SSplitModelUnderRefusal expected = SplitModelUnderRefusal(
                    SplitModelFields(text, ","), true, false, [&](u64 request) { return IsRefused(refusal, request); });
                EXPECT_EQ(TextsOf(state.m_Out), expected.m_Pieces);
                EXPECT_EQ(recorder.Count(), IfAsserting(expected.m_RefusedGrowths));
                ExpectText(state.m_String, text);
            });
}

// Many pieces in front of a long one: whoever looks through the rest of the text for each piece never ends.

class StringSplitLong : public ::testing::Test
{
protected:
    static constexpr u32 kPieces = 60000;
    static constexpr u32 kTail = 2 << 20;

    StringSplitLong()
    {
        std::string text;
        for (u32 i = 0; i < kPieces; ++i)
            text += "p,";
        text += std::string(kTail, 't');
        m_String = Fixed(text);
    }

    template <typename Piece>
    static void ExpectAllPieces(const TArray<Piece> &pieces)
    {
        ASSERT_EQ(pieces.Count(), kPieces + 1);
        for (u32 i = 0; i < kPieces; ++i)
            ASSERT_TRUE(pieces[i].Length() == 1 && *pieces[i].Data() == 'p') << i;
        EXPECT_EQ(pieces[kPieces].Length(), kTail);
    }

    CString m_String;
};

TEST_F(StringSplitLong, ManyPiecesBeforeALongTailSplitIntoViews)
{
    TArray<CStringView> views;
    EXPECT_TRUE(m_String.Split(',', views));
    ExpectAllPieces(views);
}

TEST_F(StringSplitLong, ManyPiecesBeforeALongTailSplitIntoStrings)
{
    TArray<CString> strings;
    EXPECT_TRUE(m_String.Split(',', strings));
    ExpectAllPieces(strings);
}

TEST_F(StringSplitLong, ManyPiecesBeforeALongTailSplitByAPredicate)
{
    TArray<CString> strings;
    EXPECT_TRUE(m_String.Split(&IsComma, strings));
    ExpectAllPieces(strings);
}

TEST_F(StringSplitLong, ManyPiecesBeforeALongTailSplitInABatch)
{
    TArray<CString> strings;
    SplitterAt(",").Split(m_String, strings);
    ExpectAllPieces(strings);
}

namespace
{

template <typename Text, typename Piece, typename = void>
constexpr bool Splits = false;
template <typename Text, typename Piece>
constexpr bool
    Splits<Text, Piece, std::void_t<decltype(std::declval<Text>().Split(',', std::declval<TArray<Piece> &>()))>> = true;

template <typename Text, typename Piece, typename = void>
constexpr bool SplitsThreadSafely = false;
template <typename Text, typename Piece>
constexpr bool SplitsThreadSafely<
    Text, Piece, std::void_t<decltype(std::declval<Text>().Split_ThreadSafe(',', std::declval<TArray<Piece> &>()))>> =
    true;

} // namespace

TEST(StringSplit, OnlyWhatStaysSplitsIntoViews)
{
    EXPECT_TRUE((Splits<CString &, CStringView> && Splits<const CString &, CStringView>));
    EXPECT_FALSE((Splits<CString, CStringView> || Splits<CString &&, CStringView>));
    EXPECT_FALSE((Splits<const CString, CStringView> || Splits<const CString &&, CStringView>));
    EXPECT_TRUE((SplitsThreadSafely<CString &, CStringView> && SplitsThreadSafely<const CString &, CStringView>));
    EXPECT_FALSE((SplitsThreadSafely<CString, CStringView> || SplitsThreadSafely<const CString &&, CStringView>));
}

TEST(StringSplit, WhatGoesSplitsIntoStrings)
{
    EXPECT_TRUE((Splits<CString, CString> && Splits<const CString &&, CString> && Splits<CString &, CString>));
    EXPECT_TRUE((SplitsThreadSafely<CString, CString> && SplitsThreadSafely<const CString &, CString>));
    TArray<CString> out;
    EXPECT_TRUE(CString("a,b").Split(',', out));
    ASSERT_EQ(out.Count(), 2u);
    ExpectText(out[1], "b");
    CString text("c,d,e");
    EXPECT_TRUE(std::move(text).Split_ThreadSafe(',', out));
    EXPECT_EQ(out.Count(), 3u);
}

TEST(StringSplit, ItsAddressCanBeTaken)
{
    bool (CString::*const intoViews)(char, TArray<CStringView> &) const & = &CString::Split;
    bool (CString::*const intoStrings)(char, TArray<CString> &) const = &CString::Split;
    const CString text("a,b");
    TArray<CStringView> views;
    TArray<CString> strings;
    EXPECT_TRUE((text.*intoViews)(',', views));
    EXPECT_TRUE((text.*intoStrings)(',', strings));
    EXPECT_EQ(views.Count(), 2u);
    EXPECT_EQ(strings.Count(), 2u);
}

} // namespace
