// The batch splitter: at a configured set.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "edge_allocators.h"
#include "every_text.h"
#include "kr_string.h"
#include "refusal_sweep.h"
#include "split_checks.h"
#include "split_model.h"
#include "string_checks.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const char *const kContainerCheck = "_P::m_Ptr != null";

CStringBatchSplitter SplitterAt(const char *separators)
{
    CStringBatchSplitter splitter;
    splitter.AddSplitChars(separators);
    return splitter;
}

PieceTexts BatchSplit(const std::string &text, const char *separators)
{
    TArray<CString> out = UsedStrings();
    SplitterAt(separators).Split(Resizable(text), out);
    return TextsOf(out);
}

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
    EXPECT_EQ(BatchSplit("a b", ""), (PieceTexts{"a b"}));
}

TEST(StringBatchSplitter, AdjacentSeparatorsGiveAnEmptyPiece)
{
    EXPECT_EQ(BatchSplit("a,,b", ","), (PieceTexts{"a", "", "b"}));
    EXPECT_EQ(BatchSplit("a, b", " ,"), (PieceTexts{"a", "", "b"}));
    EXPECT_EQ(BatchSplit("a,,,b", ","), (PieceTexts{"a", "", "", "b"}));
}

TEST(StringBatchSplitter, ALeadingSeparatorGivesAnEmptyPiece)
{
    EXPECT_EQ(BatchSplit(",a", ","), (PieceTexts{"", "a"}));
    EXPECT_EQ(BatchSplit(",,a", ","), (PieceTexts{"", "", "a"}));
}

TEST(StringBatchSplitter, ATrailingSeparatorGivesNone)
{
    EXPECT_EQ(BatchSplit("a,", ","), (PieceTexts{"a"}));
    EXPECT_EQ(BatchSplit("a,,", ","), (PieceTexts{"a", ""}));
    EXPECT_EQ(BatchSplit(",", ","), (PieceTexts{""}));
    EXPECT_EQ(BatchSplit(",,", ","), (PieceTexts{"", ""}));
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
    EXPECT_EQ(BatchSplit(std::string("a,b\0c,d", 7), ","), (PieceTexts{"a", "b"}));
    EXPECT_EQ(BatchSplit(std::string("a,\0,d", 5), ","), (PieceTexts{"a"}));
    EXPECT_EQ(BatchSplit(std::string("a\0", 2), ","), (PieceTexts{"a"}));
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
              (PieceTexts{"a", "b",
                          "c\x7F"
                          "d"}));
}

TEST(StringBatchSplitter, AddSplitCharsAndRemoveSplitCharsTakeEachCharacterOfAList)
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

TEST(StringBatchSplitter, AddSplitCharTwiceIsAddSplitCharOnce)
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

TEST(StringBatchSplitter, RemoveSplitCharOfTheTerminatorReportsAndRemovesIt)
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
        EXPECT_EQ(TextsOf(out), (PieceTexts{"a", std::string(length, 'b')}));
    }
    // An embedded terminator is no separator then, but no piece begins with one.
    TArray<CString> out;
    splitter.Split(Fixed(std::string("a\0b,c,\0d", 8)), out);
    EXPECT_EQ(TextsOf(out), (PieceTexts{std::string("a\0b", 3), "c"}));
}

TEST(StringBatchSplitter, OneSplitterSplitsManyStrings)
{
    CStringBatchSplitter splitter = SplitterAt(",;");
    TArray<CString> out;
    splitter.Split(CString("a,b"), out);
    EXPECT_EQ(TextsOf(out), (PieceTexts{"a", "b"}));
    splitter.Split(CString("c;d;e"), out);
    EXPECT_EQ(TextsOf(out), (PieceTexts{"c", "d", "e"}));
    splitter.RemoveSplitChar(';');
    splitter.Split(CString("f;g,h"), out);
    EXPECT_EQ(TextsOf(out), (PieceTexts{"f;g", "h"}));
    EXPECT_EQ(TableOf(splitter), TableWith(","));
}

TEST(StringBatchSplitter, TheOutputIsClearedAndKeepsItsBlock)
{
    TArray<CString> out = UsedStrings();
    const CString *const block = out.Data();
    SplitterAt(",").Split(CString("a,b"), out);
    EXPECT_EQ(TextsOf(out), (PieceTexts{"a", "b"}));
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
        for (const std::string &text : EveryText(alphabet, kVerySlow ? 4 : 6))
        {
            const CString string = Resizable(text);
            const PieceTexts expected = SplitModelFields(text, separators);
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
                TArray<CString> out = Strings(PieceTexts(count, "x,x"));
                out[index] = CString("one,,two,three");
                if (threadSafe)
                    splitter.Split_ThreadSafe(out[index], out);
                else
                    splitter.Split(out[index], out);
                ASSERT_EQ(TextsOf(out), (PieceTexts{"one", "", "two", "three"})) << index << " of " << count;
            }
}

TEST(StringBatchSplitter, SplitThreadSafeHoldsAReferenceOfItsOwnAndDropsIt)
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
    EXPECT_EQ(TextsOf(out), (PieceTexts{"one", "two", "three"}));

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

TEST_F(StringSplitLong, ManyPiecesBeforeALongTailSplitInABatch)
{
    TArray<CString> strings;
    SplitterAt(",").Split(m_String, strings);
    ExpectAllPieces(strings);
}

} // namespace
