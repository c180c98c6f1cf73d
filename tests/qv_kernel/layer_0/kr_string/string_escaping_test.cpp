// Escape sequences and indentation: rewrites of the whole string.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "edge_allocators.h"
#include "edit_model.h"
#include "escape_model.h"
#include "every_text.h"
#include "kr_string.h"
#include "odd_allocators.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// Bytes of a fixed container of this length.
u64 EscapedFixedBytes(u64 length)
{
    return (length + 16) / 16 * 16 + 32;
}

constexpr u64 kMegabyte = 1 << 20;

bool RefusesLargeBlocks(u64, u64 size)
{
    return size > kMegabyte;
}

// Escape.

TEST(StringEscaping, EscapeTurnsSpecialCharactersIntoSequences)
{
    CString string("say \"hi\"\n\tand 'bye' \\o/");
    string.Escape();
    ExpectText(string, "say \\\"hi\\\"\\n\\tand \\'bye\\' \\\\o/");
}

TEST(StringEscaping, EscapeKnowsTenCharactersAndLeavesEveryOtherByte)
{
    CString special("\a\b\t\n\v\f\r\"'\\");
    special.Escape();
    ExpectText(special, "\\a\\b\\t\\n\\v\\f\\r\\\"\\'\\\\");
    std::string others;
    for (int value = 1; value < 256; ++value)
        if (std::string("\a\b\t\n\v\f\r\"'\\").find(static_cast<char>(value)) == std::string::npos)
            others += static_cast<char>(value);
    CString string = Fixed(others);
    string.Escape();
    ExpectText(string, others);
}

TEST(StringEscaping, EscapeOfNothingButSpecialCharactersReportsNothing)
{
    const CAssertRecorder recorder;
    CString text("\n\"\\");
    EXPECT_STREQ(text.Escape().CStr(), "\\n\\\"\\\\");
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringEscaping, EscapeAnswersTheStringItself)
{
    CString string("\n");
    EXPECT_EQ(&string.Escape(), &string);
    EXPECT_EQ(&string.Unescape(), &string);
    CString empty;
    EXPECT_EQ(&empty.Escape(), &empty);
    EXPECT_EQ(&empty.Unescape(), &empty);
}

TEST(StringEscaping, EscapeAllocatesOnceForTwiceTheLength)
{
    for (size_t length = 1; length <= 33; ++length)
    {
        CTestAllocator allocator;
        for (const char character : {'a', '\n'})
        {
            CString string = Fixed(std::string(length, character));
            allocator.ForgetCalls();
            allocator.RefuseNth(0);
            string.Escape();
            ASSERT_EQ(allocator.RequestCount(), 1u);
            const SAllocatorCall request = allocator.Requests().back();
            EXPECT_EQ(request.m_Size, EscapedFixedBytes(2 * length + 1));
            EXPECT_EQ(request.m_Origin, Mem::Origin_New);
            EXPECT_EQ(request.m_Tag, "Kernel|Mem|Default");
        }
    }
}

TEST(StringEscaping, EscapeAlwaysGivesANewFixedContainer)
{
    for (const char *text : {"plain", "\n\n"})
    {
        CString string = Resizable(text);
        const PStringContainer before(ContainerOf(string));
        string.Escape();
        EXPECT_NE(ContainerOf(string), before.Get());
        EXPECT_FALSE(ContainerOf(string)->SupportsDynamicResize());
        EXPECT_EQ(ContainerOf(string)->RefCount(), 1u);
        EXPECT_EQ(before->RefCount(), 1u);
    }
}

TEST(StringEscaping, EscapeLeavesZeroUpToTwiceTheLengthPlusOne)
{
    // Fresh blocks hold garbage, which must not show behind the text.
    CTestAllocator allocator;
    for (size_t length = 1; length <= 40; ++length)
    {
        for (size_t special = 0; special <= length; special += length)
        {
            CString string = Fixed(std::string(special, '\n') + std::string(length - special, 'a'));
            string.Escape();
            ASSERT_EQ(string.Length(), length + special);
            ExpectZero(string.Data(), string.Length(), 2 * length + 2);
            ExpectWellFormed(string);
        }
    }
}

TEST(StringEscaping, EscapeEndsAtTheFirstEmbeddedTerminator)
{
    CTestAllocator allocator;
    CString string = Fixed(std::string("a\nb\0c\n", 6));
    allocator.ForgetCalls();
    string.Escape();
    ExpectText(string, "a\\nb");
    // The room is for the stored length all the same.
    EXPECT_EQ(allocator.Requests().back().m_Size, EscapedFixedBytes(13));
    ExpectZero(string.Data(), 4, 14);
}

TEST(StringEscaping, EscapeLeavesAStringThatSharedTheContainerAlone)
{
    CString string("a\n");
    const CString other = string;
    string.Escape();
    ExpectText(string, "a\\n");
    ExpectText(other, "a\n");
    EXPECT_EQ(ContainerOf(other)->RefCount(), 1u);
}

TEST(StringEscaping, AnEmptyStringKeepsItsContainerAndAllocatesNothing)
{
    CTestAllocator allocator;
    for (const CString &source : {CString(), Resizable(""), Fixed(std::string("\0\nc", 3))})
    {
        CString string = source;
        const u64 requests = allocator.RequestCount();
        string.Escape().Unescape();
        EXPECT_EQ(ContainerOf(string), ContainerOf(source));
        EXPECT_EQ(ContainerOf(source.Escaped()), ContainerOf(source));
        EXPECT_EQ(ContainerOf(source.Unescaped()), ContainerOf(source));
        EXPECT_EQ(allocator.RequestCount(), requests);
        EXPECT_EQ(TextOf(string), TextOf(source));
    }
}

TEST(StringEscaping, AContainerWithoutCharactersIsEmpty)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    const CStringContainer *const container = ContainerOf(broken.Get());
    broken.Get().Escape().Unescape();
    EXPECT_EQ(ContainerOf(broken.Get()), container);
    ExpectReports(recorder, {});
}

TEST(StringEscaping, EscapedLeavesTheSourceUnchanged)
{
    const CString source("a\n");
    const CStringContainer *const container = ContainerOf(source);
    ExpectText(source.Escaped(), "a\\n");
    ExpectText(source, "a\n");
    EXPECT_EQ(ContainerOf(source), container);
    EXPECT_EQ(container->RefCount(), 1u);
}

TEST(StringEscaping, EscapeRefusedLeavesTheStringUnchanged)
{
    struct SState
    {
        CString m_String;
        CStringContainer *m_Container;
    };
    const auto prepare = []
    {
        SState state{Resizable("a\nb"), nullptr};
        state.m_Container = ContainerOf(state.m_String);
        return state;
    };
    SweepRefusals(
        prepare, [](SState &state) { state.m_String.Escape(); },
        [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ExpectText(state.m_String, refusal.m_Refused ? "a\nb" : "a\\nb");
            EXPECT_EQ(ContainerOf(state.m_String) == state.m_Container, refusal.m_Refused);
            ExpectReports(recorder, {});
        });
}

TEST(StringEscaping, EscapedRefusedIsTheTextAsItWas)
{
    struct SState
    {
        CString m_Source;
        CString m_Escaped;
    };
    SweepRefusals(
        [] {
            return SState{CString("a\nb"), CString()};
        },
        [](SState &state) { state.m_Escaped = state.m_Source.Escaped(); },
        [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ExpectText(state.m_Source, "a\nb");
            ExpectText(state.m_Escaped, refusal.m_Refused ? "a\nb" : "a\\nb");
            ExpectReports(recorder, {});
        });
}

TEST(StringEscaping, EscapeOfATextTooLongToDoubleIsRefusedAndAsksForNothing)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to spare";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    // 2 * length + 1 is the first length that no string can have.
    constexpr u32 kTooLong = 0x1FFFFFFFu;
    CString string(CStringContainer::NewResizable(nullptr, kTooLong, 0));
    ASSERT_NE(string.Data(), nullptr);
    *string.RawDataForWriting() = '\n';
    const CStringContainer *const container = ContainerOf(string);
    const u64 requests = allocator.RequestCount();
    string.Escape();
    EXPECT_EQ(allocator.RequestCount(), requests);
    EXPECT_EQ(ContainerOf(string), container);
    EXPECT_EQ(string.Length(), kTooLong);
    EXPECT_EQ(string[0], '\n');
    ExpectReports(recorder, {});
}

TEST(StringEscaping, EscapeOfTheLongestTextThatCanDoubleAsksForItsSizeUnwrapped)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to spare";
    CHugeAllocator allocator;
    constexpr u32 kLongestEscaped = 0x1FFFFFFEu;
    CString string(CStringContainer::NewResizable(nullptr, kLongestEscaped, 0));
    ASSERT_NE(string.Data(), nullptr);
    *string.RawDataForWriting() = '\n';
    const CChoosyAllocator choosy([](u64, u64) { return true; });
    string.Escape();
    EXPECT_EQ(choosy.Sizes(), std::vector<u64>{EscapedFixedBytes(0x3FFFFFFDu)});
    EXPECT_EQ(string[0], '\n');
}

// Unescape.

TEST(StringEscaping, UnescapeTurnsSequencesBackIntoCharacters)
{
    CString string("say \\\"hi\\\"\\n\\tand \\'bye\\' \\\\o/");
    string.Unescape();
    ExpectText(string, "say \"hi\"\n\tand 'bye' \\o/");
}

TEST(StringEscaping, UnescapeLeavesOtherSequencesAndALoneTrailingBackslash)
{
    CString string("\\x41 \\q \\0 \\");
    string.Unescape();
    ExpectText(string, "\\x41 \\q \\0 \\");
}

TEST(StringEscaping, UnescapeWorksInPlaceWithoutAllocating)
{
    CTestAllocator allocator;
    CString string = Resizable("a\\nb\\tc");
    CStringContainer *const container = ContainerOf(string);
    const char *const data = string.Data();
    const u32 capacity = CapacityOf(*container);
    const u64 requests = allocator.RequestCount();
    string.Unescape();
    EXPECT_EQ(allocator.RequestCount(), requests);
    EXPECT_EQ(ContainerOf(string), container);
    EXPECT_EQ(string.Data(), data);
    EXPECT_EQ(CapacityOf(*container), capacity);
    EXPECT_TRUE(container->SupportsDynamicResize());
    ExpectText(string, "a\nb\tc");
}

TEST(StringEscaping, UnescapeZeroesWhatTheShorterTextLeavesBehind)
{
    for (size_t count = 1; count <= 20; ++count)
    {
        std::string text;
        for (size_t i = 0; i < count; ++i)
            text += "\\n";
        CString string = Fixed(text);
        string.Unescape();
        ExpectText(string, std::string(count, '\n'));
        ExpectZero(string.Data(), count, 2 * count + 1);
    }
}

TEST(StringEscaping, UnescapeSplitsASharedContainerFirst)
{
    CString string("a\\n");
    const CString other = string;
    string.Unescape();
    ExpectText(string, "a\n");
    ExpectText(other, "a\\n");
    EXPECT_NE(ContainerOf(string), ContainerOf(other));
}

TEST(StringEscaping, UnescapeDetachesEvenWhereNothingIsUnescaped)
{
    CString string("plain");
    const CString other = string;
    string.Unescape();
    EXPECT_NE(ContainerOf(string), ContainerOf(other));
    ExpectText(string, "plain");
}

TEST(StringEscaping, UnescapeEndsAtTheFirstEmbeddedTerminator)
{
    CString string = Fixed(std::string("a\\nb\0c\\n", 8));
    string.Unescape();
    ExpectText(string, "a\nb");
    ExpectZero(string.Data(), 3, 9);
}

TEST(StringEscaping, UnescapedLeavesTheSourceUnchanged)
{
    const CString source("a\\n");
    ExpectText(source.Unescaped(), "a\n");
    ExpectText(source, "a\\n");
    EXPECT_EQ(ContainerOf(source)->RefCount(), 1u);
}

TEST(StringEscaping, UnescapeRefusedItsCopyLeavesAnEmptyStringAndReports)
{
    struct SState
    {
        CString m_String;
        CString m_Other;
    };
    const auto prepare = []
    {
        SState state{CString("a\\nb"), CString()};
        state.m_Other = state.m_String;
        return state;
    };
    // The count of a container that is not there: the pointer reports as well.
    const std::vector<std::string> reports = {"_P::m_Ptr != null", "m_Container->RefCount() == 1"};
    SweepRefusals(
        prepare, [](SState &state) { state.m_String.Unescape(); },
        [&](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ExpectText(state.m_String, refusal.m_Refused ? "" : "a\nb");
            EXPECT_EQ(state.m_String.Data() == nullptr, refusal.m_Refused);
            ExpectText(state.m_Other, "a\\nb");
            ExpectReports(recorder, refusal.m_Refused ? reports : std::vector<std::string>());
        });
}

TEST(StringEscaping, UnescapedRefusedIsEmptyAndLeavesTheSource)
{
    struct SState
    {
        CString m_Source;
        CString m_Unescaped;
    };
    SweepRefusals(
        [] {
            return SState{CString("a\\nb"), CString()};
        },
        [](SState &state) { state.m_Unescaped = state.m_Source.Unescaped(); },
        [](const SState &state, const SRefusal &refusal, const CAssertRecorder &)
        {
            ExpectText(state.m_Source, "a\\nb");
            ExpectText(state.m_Unescaped, refusal.m_Refused ? "" : "a\nb");
        });
}

// Both.

TEST(StringEscaping, EveryShortTextOfSpecialCharactersSurvivesTheRoundTrip)
{
    for (const std::string &text : EveryText("\a\b\t\n\v\f\r\"'\\abtnvfrx/\xDC", 3))
    {
        const CString source = Fixed(text);
        const CString escaped = source.Escaped();
        if (TextOf(escaped) != EscapeModelEscaped(text) || TextOf(escaped.Unescaped()) != text ||
            TextOf(source) != text)
        {
            FAIL() << ::testing::PrintToString(text) << " became " << ::testing::PrintToString(TextOf(escaped))
                   << ", then " << ::testing::PrintToString(TextOf(escaped.Unescaped()));
        }
    }
}

TEST(StringEscaping, EveryShortTextOfSequencesIsUnescapedAsTheModelSays)
{
    for (const std::string &text : EveryText("\\\"'antx\n", 4))
    {
        if (TextOf(Fixed(text).Unescaped()) != EscapeModelUnescaped(text))
        {
            FAIL() << ::testing::PrintToString(text);
        }
    }
}

TEST(StringEscaping, LongTextsSurviveTheRoundTripAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (size_t length = 1; length <= 70; ++length)
    {
        for (size_t special = 0; special < length; special += 7)
        {
            std::string text(length, 'a');
            text[special] = '\n';
            text[length - 1 - special] = '\\';
            const CString source = Fixed(text);
            const CString escaped = source.Escaped();
            ASSERT_EQ(TextOf(escaped), EscapeModelEscaped(text));
            ExpectWellFormed(escaped);
            ExpectText(escaped.Unescaped(), text);
        }
    }
}

// Ident.

struct SIndentCase
{
    u32 m_Column;
    u32 m_Width;
    u32 m_TabWidth;
    std::string m_Indent;
};

const std::vector<SIndentCase> kIndentCases = {
    {0, 4, 4, "\t"},         {0, 6, 4, "\t  "}, {2, 1, 4, " "},       {2, 2, 4, "\t"}, {3, 9, 4, "\t\t\t"},
    {1, 3, 4, "\t"},         {0, 3, 4, "   "},  {5, 2, 4, "  "},      {5, 3, 4, "\t"}, {7, 1, 4, "\t"},
    {0, 5, 1, "\t\t\t\t\t"}, {9, 1, 1, "\t"},   {0, 7, 8, "       "},
};

TEST(StringEscaping, IdentAppendsATabForEveryTabStopCrossedThenSpaces)
{
    for (const SIndentCase &test : kIndentCases)
    {
        CString string("ab");
        const u32 appended = string.Ident(test.m_Column, test.m_Width, test.m_TabWidth);
        EXPECT_EQ(appended, test.m_Indent.size());
        ExpectText(string, "ab" + test.m_Indent);
    }
}

TEST(StringEscaping, IdentOfAStringWithoutAContainerMakesOne)
{
    for (const SIndentCase &test : kIndentCases)
    {
        CString string;
        EXPECT_EQ(string.Ident(test.m_Column, test.m_Width, test.m_TabWidth), test.m_Indent.size());
        ExpectText(string, test.m_Indent);
    }
}

TEST(StringEscaping, IdentOfNothingOnAnEmptyStringLeavesItWithoutAContainer)
{
    CTestAllocator allocator;
    CString string;
    EXPECT_EQ(string.Ident(0, 0, 4), 0u);
    EXPECT_EQ(string.Ident(3, 0, 4), 0u);
    EXPECT_EQ(string.Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringEscaping, IdentOfNothingOnAContainerOfLengthZeroDoesNotTouchIt)
{
    CString string = Resizable("");
    const CStringContainer *const container = ContainerOf(string);
    EXPECT_EQ(string.Ident(0, 0, 4), 0u);
    EXPECT_EQ(ContainerOf(string), container);
}

TEST(StringEscaping, IdentOfNothingOnATextStillBuildsANewContainer)
{
    CTestAllocator allocator;
    {
        CString string("ab");
        const PStringContainer before(ContainerOf(string));
        EXPECT_EQ(string.Ident(5, 0, 4), 0u);
        ExpectText(string, "ab");
        EXPECT_NE(ContainerOf(string), before.Get());
    }
}

TEST(StringEscaping, IdentAlwaysBuildsAFixedContainerWithOneAllocation)
{
    CTestAllocator allocator;
    CString string(CStringContainer::NewResizable("ab", 2, 100));
    allocator.ForgetCalls();
    allocator.RefuseNth(0);
    EXPECT_EQ(string.Ident(0, 6, 4), 3u);
    EXPECT_EQ(allocator.RequestCount(), 1u);
    EXPECT_EQ(allocator.Requests().back().m_Size, EscapedFixedBytes(5));
    EXPECT_FALSE(ContainerOf(string)->SupportsDynamicResize());
    ExpectText(string, "ab\t  ");
}

TEST(StringEscaping, IdentLeavesAStringThatSharedTheContainerAlone)
{
    CString string("ab");
    const CString other = string;
    string.Ident(0, 4, 4);
    ExpectText(string, "ab\t");
    ExpectText(other, "ab");
    EXPECT_EQ(ContainerOf(other)->RefCount(), 1u);
}

TEST(StringEscaping, IdentKeepsTheWholeStoredLength)
{
    CString string = Fixed(std::string("a\0b", 3));
    EXPECT_EQ(string.Ident(0, 1, 4), 1u);
    ExpectCharacters(string, std::string("a\0b ", 4));
    CString leading = Fixed(std::string("\0b", 2));
    EXPECT_EQ(leading.Ident(0, 4, 4), 1u);
    ExpectCharacters(leading, std::string("\0b\t", 3));
}

TEST(StringEscaping, IdentWithTabWidthZeroReportsAndChangesNothing)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString string("ab");
    const CStringContainer *const container = ContainerOf(string);
    const u64 requests = allocator.RequestCount();
    EXPECT_EQ(string.Ident(1, 2, 0), 0u);
    ExpectText(string, "ab");
    EXPECT_EQ(ContainerOf(string), container);
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectReports(recorder, {"tabWidth != 0"});
}

TEST(StringEscaping, IdentOfAContainerWithoutCharactersReportsAndChangesNothing)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    const CStringContainer *const container = ContainerOf(broken.Get());
    EXPECT_EQ(broken.Get().Ident(0, 1, 4), 0u);
    EXPECT_EQ(ContainerOf(broken.Get()), container);
    ExpectReports(recorder, {"oldLength == 0 || oldData != null"});
}

TEST(StringEscaping, IdentWalksFromTabStopToTabStopAsTheModelSays)
{
    for (u32 tabWidth = 1; tabWidth <= 9; ++tabWidth)
    {
        for (u32 column = 0; column <= 20; ++column)
        {
            for (u32 width = 0; width <= 20; ++width)
            {
                CString string("x");
                const std::string indent = ModelIndent(column, width, tabWidth);
                ASSERT_EQ(string.Ident(column, width, tabWidth), indent.size());
                ASSERT_EQ(TextOf(string), "x" + indent)
                    << "column " << column << ", width " << width << ", tab width " << tabWidth;
            }
        }
    }
}

TEST(StringEscaping, IdentKeepsTheZeroTailAtEveryLength)
{
    CTestAllocator allocator;
    for (u32 length = 1; length <= 70; ++length)
    {
        CString string("x");
        EXPECT_EQ(string.Ident(0, length, 100), length);
        ExpectText(string, "x" + std::string(length, ' '));
    }
}

TEST(StringEscaping, IdentOfMoreThanAStringCanHoldIsRefusedAndAsksForNothing)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    CString string("ab");
    const CStringContainer *const container = ContainerOf(string);
    const u64 requests = allocator.RequestCount();
    EXPECT_EQ(string.Ident(0, 0xFFFFFFFFu, 1), 0u);
    EXPECT_EQ(string.Ident(0, 0x3FFFFFFFu, 1), 0u);
    EXPECT_EQ(string.Ident(0, 0x3FFFFFFDu, 1), 0u); // with the text it reaches 0x3FFFFFFF
    EXPECT_EQ(string.Ident(0, 0xFFFFFFFEu, 0xFFFFFFFFu), 0u);
    // Reaches beyond 32 bits: 0x40000000 tabs, and 0xFFFFFFFE spaces.
    EXPECT_EQ(string.Ident(3, 0xFFFFFFFFu, 4), 0u);
    EXPECT_EQ(string.Ident(0xFFFFFFFEu, 0xFFFFFFFFu, 0xFFFFFFFFu), 0u);
    ExpectText(string, "ab");
    EXPECT_EQ(ContainerOf(string), container);
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectReports(recorder, {});
}

TEST(StringEscaping, IdentWhoseReachPasses32BitsDoesNotWrap)
{
    CString string("ab");
    EXPECT_EQ(string.Ident(0xFFFFFFFDu, 4, 0xFFFFFFFEu), 4u);
    ExpectText(string, "ab\t   ");
    CString other("ab");
    EXPECT_EQ(other.Ident(0, 0xFFFFFFFFu, 0xFFFFFFFEu), 2u);
    ExpectText(other, "ab\t ");
}

TEST(StringEscaping, IdentWhoseReachPasses32BitsAsksForItsSizeUnwrapped)
{
    CString string("ab");
    const CStringContainer *const container = ContainerOf(string);
    const CChoosyAllocator choosy(RefusesLargeBlocks);
    // Reach 0x100000006: 0x20000000 tabs and 6 spaces.
    EXPECT_EQ(string.Ident(7, 0xFFFFFFFFu, 8), 0u);
    EXPECT_EQ(choosy.Sizes(), std::vector<u64>{EscapedFixedBytes(2 + 0x20000000u + 6)});
    ExpectText(string, "ab");
    EXPECT_EQ(ContainerOf(string), container);
}

TEST(StringEscaping, IdentRefusedAnswersZeroAndLeavesTheStringUnchanged)
{
    struct SState
    {
        CString m_String;
        CStringContainer *m_Container;
        u32 m_Appended;
    };
    const auto prepare = []
    {
        SState state{Resizable("ab"), nullptr, 77};
        state.m_Container = ContainerOf(state.m_String);
        return state;
    };
    SweepRefusals(
        prepare, [](SState &state) { state.m_Appended = state.m_String.Ident(0, 6, 4); },
        [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            EXPECT_EQ(state.m_Appended, refusal.m_Refused ? 0u : 3u);
            ExpectText(state.m_String, refusal.m_Refused ? "ab" : "ab\t  ");
            EXPECT_EQ(ContainerOf(state.m_String) == state.m_Container, refusal.m_Refused);
            ExpectReports(recorder, {});
        });
}

} // namespace
