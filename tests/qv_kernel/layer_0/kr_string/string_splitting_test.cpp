// Splitting at a character, into views and strings.
#include <gtest/gtest.h>

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

// All forms of the split at a character; they agree in everything but how a piece is stored.
enum ESplitForm
{
    Form_Views,
    Form_Strings,
    Form_ViewsThreadSafe,
    Form_StringsThreadSafe,
};

const ESplitForm kForms[] = {Form_Views, Form_Strings, Form_ViewsThreadSafe, Form_StringsThreadSafe};

bool MakesStrings(ESplitForm form)
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
    bool Split(ESplitForm form, const CString &string, char separator)
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
    PieceTexts Texts(ESplitForm form) const { return MakesStrings(form) ? TextsOf(m_Strings) : TextsOf(m_Views); }
    u32 MaxCount(ESplitForm form) const { return MakesStrings(form) ? m_Strings.MaxCount() : m_Views.MaxCount(); }
};

PieceTexts Split(ESplitForm form, const CString &string, char separator)
{
    SOutput output = SOutput::Used();
    EXPECT_TRUE(output.Split(form, string, separator));
    return output.Texts(form);
}

TEST(StringSplit, PiecesAreTheRunsBetweenSeparators)
{
    for (const ESplitForm form : kForms)
    {
        EXPECT_EQ(Split(form, "a,b,c", ','), (PieceTexts{"a", "b", "c"}));
        EXPECT_EQ(Split(form, "one two", ' '), (PieceTexts{"one", "two"}));
        EXPECT_EQ(Split(form, "a", ','), (PieceTexts{"a"}));
        EXPECT_EQ(Split(form, "a,b", ';'), (PieceTexts{"a,b"}));
        EXPECT_EQ(Split(form, "aXbxc", 'x'), (PieceTexts{"aXb", "c"}));
    }
}

TEST(StringSplit, NoPieceIsEverEmpty)
{
    for (const ESplitForm form : kForms)
    {
        EXPECT_EQ(Split(form, ",a,,b,", ','), (PieceTexts{"a", "b"}));
        EXPECT_EQ(Split(form, ",a", ','), (PieceTexts{"a"}));
        EXPECT_EQ(Split(form, "a,", ','), (PieceTexts{"a"}));
        EXPECT_EQ(Split(form, ",,,", ','), PieceTexts());
        EXPECT_EQ(Split(form, ",", ','), PieceTexts());
    }
}

TEST(StringSplit, AnEmptyStringClearsTheOutputAndIsTrue)
{
    const CAssertRecorder recorder;
    for (const ESplitForm form : kForms)
        for (const CString &string : EmptyStrings())
            for (const char separator : {',', '\0'})
                EXPECT_EQ(Split(form, string, separator), PieceTexts());
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringSplit, TheOutputIsClearedAndKeepsItsBlock)
{
    const CString string("a,b");
    for (const ESplitForm form : kForms)
    {
        SOutput output = SOutput::Used();
        const void *const views = output.m_Views.Data();
        const void *const strings = output.m_Strings.Data();
        EXPECT_TRUE(output.Split(form, string, ','));
        EXPECT_EQ(output.Texts(form), (PieceTexts{"a", "b"}));
        EXPECT_EQ(output.m_Views.Data(), views);
        EXPECT_EQ(output.m_Strings.Data(), strings);
    }
}

TEST(StringSplit, ATerminatorCanBeTheSeparator)
{
    for (const ESplitForm form : kForms)
    {
        EXPECT_EQ(Split(form, Fixed(std::string("ab\0cd\0\0e", 8)), '\0'), (PieceTexts{"ab", "cd", "e"}));
        EXPECT_EQ(Split(form, Fixed(std::string("ab\0", 3)), '\0'), (PieceTexts{"ab"}));
        EXPECT_EQ(Split(form, "ab", '\0'), (PieceTexts{"ab"}));
    }
}

TEST(StringSplit, TheStoredLengthEndsTheTextNotATerminator)
{
    const CString string = Fixed(std::string("a,b\0c,d", 7));
    const PieceTexts expected = {"a", std::string("b\0c", 3), "d"};
    for (const ESplitForm form : kForms)
    {
        const CAssertRecorder recorder;
        EXPECT_EQ(Split(form, string, ','), expected);
        // A string is built of the piece all the same; a view needs no look at it.
        ExpectReports(recorder, MakesStrings(form) ? PieceTexts{kExtractCheck} : PieceTexts());
    }
}

TEST(StringSplit, WhatLiesBehindTheStoredLengthIsNotSplit)
{
    CString string = Resizable("ab,cd,ef");
    ContainerOf(string)->Data()[5] = '\0';
    ContainerOf(string)->UnsafeSetLength(5);
    for (const ESplitForm form : kForms)
        EXPECT_EQ(Split(form, string, ','), (PieceTexts{"ab", "cd"}));
}

TEST(StringSplit, AllBytesCanSeparate)
{
    for (const ESplitForm form : kForms)
        for (int byte = 1; byte < 256; ++byte)
        {
            const char separator = static_cast<char>(byte);
            const char other = static_cast<char>(byte ^ 0x80);
            const std::string text = {separator, 'a', 'b', separator, separator, '1', separator};
            const bool ofText = byte == 'a' || byte == 'b' || byte == '1';
            if (!ofText)
            {
                EXPECT_EQ(Split(form, Fixed(text), separator), (PieceTexts{"ab", "1"})) << byte;
            }
            if (other != '\0')
            {
                EXPECT_EQ(Split(form, Fixed(std::string(2, other)), separator), (PieceTexts{std::string(2, other)}))
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

// A string that lies in the array is told from others by where it lies: below it, in it, above it.
TEST(StringSplit, StringsBelowTheArrayAndAboveItAreNotItsElements)
{
    static CString s_Lower("a,b");
    const CString higher("c,d");
    // A block of this size is the system's, whose addresses are above those of the program.
    TArray<CString> pieces;
    ASSERT_TRUE(pieces.Reserve(1000000));
    EXPECT_TRUE(s_Lower.Split(',', pieces));
    EXPECT_EQ(TextsOf(pieces), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(higher.Split(',', pieces));
    EXPECT_EQ(TextsOf(pieces), (std::vector<std::string>{"c", "d"}));
    s_Lower = CString();
}

TEST(StringSplit, SplitAndSplitThreadSafeIntoViewsCopyNoCharacter)
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
    for (const ESplitForm form : kForms)
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
    for (const ESplitForm form : kForms)
    {
        EXPECT_EQ(Split(form, string, ','), (PieceTexts{"a", "b", "c"}));
        EXPECT_EQ(string.Data(), copy.Data());
        EXPECT_EQ(ContainerOf(string)->RefCount(), 2u);
        ExpectText(string, "a,b,c");
    }
}

// Every form and the predicate, with separators that are there and such that are not.
TEST(StringSplit, EveryShortTextSplitsAsTheModelSays)
{
    const std::string alphabet("a,\xE9\0", 4);
    for (const std::string &text : EveryText(alphabet, kVerySlow ? 4 : 6))
    {
        // Terminators in pieces are reported.
        const CAssertRecorder recorder;
        const CString string = Resizable(text);
        for (const char separator : {',', '\xE9', '\0', 'x'})
        {
            const PieceTexts expected = SplitModelRuns(text, separator);
            for (const ESplitForm form : kForms)
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
                    TArray<CString> out = Strings(PieceTexts(count, "x,x"));
                    out[index] = CString("one,two,three,four");
                    const CString other = shared ? out[index] : CString();
                    const CString &source = out[index];
                    EXPECT_TRUE(threadSafe ? source.Split_ThreadSafe(',', out) : source.Split(',', out));
                    ASSERT_EQ(TextsOf(out), (PieceTexts{"one", "two", "three", "four"})) << index << " of " << count;
                    EXPECT_EQ(TextOf(other), shared ? "one,two,three,four" : "");
                }
}

TEST(StringSplit, ASourceInTheOutputItselfMaySplitIntoMoreThanTheArrayHolds)
{
    TArray<CString> out = Strings({"1,2,3,4,5,6,7,8,9,10,11,12", "x"});
    EXPECT_TRUE(out[0].Split(',', out));
    EXPECT_EQ(TextsOf(out), (PieceTexts{"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"}));
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
    for (const ESplitForm form : kForms)
    {
        const CString string("1,2,3,4,5,6,7,8,9,10");
        const CAssertRecorder recorder;
        SOutput output;
        // The tenth piece asks for 23 slots.
        const u64 bytes = MakesStrings(form) ? 23 * sizeof(CString) : 23 * sizeof(CStringView);
        {
            const CChoosyAllocator allocator([bytes](u64, u64 size) { return size == bytes; });
            EXPECT_FALSE(output.Split(form, string, ','));
        }
        EXPECT_EQ(output.Texts(form), (PieceTexts{"1", "2", "3", "4", "5", "6", "7", "8", "9"}));
        EXPECT_EQ(output.MaxCount(form), 9u);
        ExpectReports(recorder, {"false"});
        if (kSitesReport)
        {
            EXPECT_EQ(recorder.Last().m_Message,
                      "could not grow array of TArray<> to 23 elements (" + std::to_string(bytes) + " bytes)\n");
        }
    }
}

// What is reported of a piece finds the array as it is.
TEST(StringSplit, WhatAPieceReportsFindsThePiecesBeforeIt)
{
    if (!kSitesReport)
        GTEST_SKIP() << "the library was built without assertions";
    static const TArray<CString> *pieces;
    static std::vector<u32> counts;
    TArray<CString> array;
    ASSERT_TRUE(array.Reserve(8));
    pieces = &array;
    counts.clear();
    const Assert::FHandler before = Assert::SetHandler(
        [](const char *, const char *, int, const char *, const char *, const char *)
        {
            counts.push_back(pieces->Count());
            return 2;
        });
    EXPECT_TRUE(Fixed(std::string("a\0b,cd,e\0f", 10)).Split(',', array));
    Assert::SetHandler(before);
    EXPECT_EQ(array.Count(), 3u);
    EXPECT_EQ(counts, (std::vector<u32>{0, 2}));
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
    ASSERT_EQ(TextsOf(out), (PieceTexts{"one", "", "three"}));
    EXPECT_EQ(out[1].Data(), nullptr);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringSplit, EveryRefusalLosesWhatItsRequestWasFor)
{
    const std::string text = ",1,2,3,,4,5,6,7,8,9,10,11";
    for (const ESplitForm form : kForms)
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
    for (const ESplitForm form : kForms)
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
    EXPECT_EQ(TextsOf(out), (PieceTexts{"one", "two", "three"}));
    EXPECT_EQ(string.Data(), nullptr);
}

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

template <typename Text, typename Piece, typename = void>
constexpr bool SplitsByPredicate = false;
template <typename Text, typename Piece>
constexpr bool SplitsByPredicate<
    Text, Piece, std::void_t<decltype(std::declval<Text>().Split(IsComma, std::declval<TArray<Piece> &>()))>> = true;

} // namespace

TEST(StringSplit, OnlyWhatStaysSplitsIntoViews)
{
    EXPECT_TRUE((SplitsByPredicate<CString &, CStringView> && SplitsByPredicate<const CString &, CStringView>));
    EXPECT_FALSE((SplitsByPredicate<CString, CStringView> || SplitsByPredicate<const CString &&, CStringView>));
    EXPECT_TRUE((SplitsByPredicate<CString, CString> && SplitsByPredicate<const CString &, CString>));
    EXPECT_TRUE((SplitsByPredicate<CStringView, CStringView>));
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

// Views at a character, and the same by a predicate that is true for it.
PieceTexts SplitView(const CStringView &view, char separator)
{
    TArray<CStringView> out = UsedViews();
    EXPECT_TRUE(view.Split(separator, out));
    const PieceTexts pieces = TextsOf(out);
    TArray<CStringView> byPredicate;
    EXPECT_TRUE(view.Split([separator](char character) { return character == separator; }, byPredicate));
    EXPECT_EQ(TextsOf(byPredicate), pieces);
    return pieces;
}

PieceTexts ModelOfView(const std::string &text, char separator)
{
    return SplitModelRunsByLength(text, [separator](char character) { return character == separator; });
}

TEST(StringViewSplit, PiecesAreTheRunsBetweenSeparators)
{
    EXPECT_EQ(SplitView(CStringView("a,b,c"), ','), (PieceTexts{"a", "b", "c"}));
    EXPECT_EQ(SplitView(CStringView("a,b"), ';'), (PieceTexts{"a,b"}));
    EXPECT_EQ(SplitView(CStringView(",a,,b,"), ','), (PieceTexts{"a", "b"}));
    EXPECT_EQ(SplitView(CStringView(",,,"), ','), PieceTexts());
    // Only the view's own characters.
    EXPECT_EQ(SplitView(CStringView("a,b,c").Slice(1, 3), ','), (PieceTexts{"b"}));
}

TEST(StringViewSplit, AViewWithoutCharactersClearsTheOutputAndIsTrue)
{
    const CAssertRecorder recorder;
    for (const CStringView &view : {CStringView(), CStringView(nullptr, 3), CStringView("a,b", 0)})
        EXPECT_EQ(SplitView(view, ','), PieceTexts());
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringViewSplit, TerminatorsAreCharactersLikeOthers)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(SplitView(CStringView("\0a,b\0,\0", 7), ','),
              (PieceTexts{std::string("\0a", 2), std::string("b\0", 2), std::string("\0", 1)}));
    EXPECT_EQ(SplitView(CStringView("\0ab\0\0cd", 7), '\0'), (PieceTexts{"ab", "cd"}));
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringViewSplit, PiecesBorrowFromTheSameCharacters)
{
    CTestAllocator allocator;
    {
        const char text[] = "ab,,cde,f";
        TArray<CStringView> views;
        EXPECT_TRUE(CStringView(text).Split(',', views));
        ASSERT_EQ(views.Count(), 3u);
        EXPECT_EQ(static_cast<const void *>(views[0].Data()), static_cast<const void *>(text));
        EXPECT_EQ(static_cast<const void *>(views[1].Data()), static_cast<const void *>(text + 4));
        EXPECT_EQ(static_cast<const void *>(views[2].Data()), static_cast<const void *>(text + 8));
        EXPECT_EQ(views[1].Length(), 3u);
        // The array's one growth.
        EXPECT_EQ(allocator.Calls().size(), 1u);
        EXPECT_EQ(views.MaxCount(), 9u);
    }
}

TEST(StringViewSplit, EveryShortViewSplitsAsTheModelSays)
{
    for (const std::string &text : EveryText(std::string("a,\xE9\0", 4), kSlow ? 4 : 6))
        for (const char separator : {',', '\xE9', '\0', 'x'})
            ASSERT_EQ(SplitView(ViewOf(text), separator), ModelOfView(text, separator))
                << ::testing::PrintToString(text) << " at " << separator;
}

// Lengths around blocks, words and chunks; nothing behind the view is there to be read.
TEST(StringViewSplit, ViewsOfEveryLengthSplitAsTheModelSaysAndNothingBehindThemIsRead)
{
    std::string text;
    u32 state = 1;
    for (u32 i = 0; i < 3000; ++i)
    {
        state = NextRandomState(state);
        text += ",abc\0"[(state >> 16) % 5];
    }
    for (u32 length = 0; length <= text.size(); length += length < 130 || (length > 1000 && length < 1060) ? 1 : 7)
    {
        const std::string part = text.substr(text.size() - length);
        const CTextAtPageEnd guarded(part);
        ASSERT_EQ(SplitView(guarded.View(), ','), ModelOfView(part, ',')) << length;
    }
}

TEST(StringViewSplit, TheViewMayLieInTheOutput)
{
    for (u32 index = 0; index < 3; ++index)
    {
        TArray<CStringView> out = UsedViews();
        out[index] = CStringView("1,2,3,4,5,6,7,8,9,10,11,12");
        EXPECT_TRUE(out[index].Split(',', out));
        EXPECT_EQ(TextsOf(out), (PieceTexts{"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"}));
    }
    // A split by a predicate adds to the array, which moves the view that is being split.
    TArray<CStringView> out = UsedViews();
    out[1] = CStringView("1,2,3,4,5,6,7,8,9,10");
    EXPECT_TRUE(out[1].Split(IsComma, out));
    EXPECT_EQ(TextsOf(out),
              (PieceTexts{"old", "1,2,3,4,5,6,7,8,9,10", "oldest", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}));
}

TEST(StringViewSplit, AnArrayThatCannotGrowIsReportedAndKeepsThePiecesBefore)
{
    for (const bool byPredicate : {false, true})
    {
        const CStringView view("1,2,3,4,5,6,7,8,9,10");
        const CAssertRecorder recorder;
        TArray<CStringView> out;
        {
            const CChoosyAllocator allocator([](u64, u64 size) { return size == 23 * sizeof(CStringView); });
            EXPECT_FALSE(byPredicate ? view.Split(IsComma, out) : view.Split(',', out));
        }
        EXPECT_EQ(TextsOf(out), (PieceTexts{"1", "2", "3", "4", "5", "6", "7", "8", "9"}));
        ExpectReports(recorder, {"false"});
    }
}

TEST_F(StringSplitLong, ManyPiecesBeforeALongTailSplitAView)
{
    TArray<CStringView> views;
    EXPECT_TRUE(CStringView(m_String).Split(',', views));
    ExpectAllPieces(views);
    views.Clear();
    EXPECT_TRUE(CStringView(m_String).Split(IsComma, views));
    ExpectAllPieces(views);
}

} // namespace
