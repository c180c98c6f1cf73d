// Repetition: a text several times in a row, as a new string.
#include <gtest/gtest.h>

#include <string>

#include "edge_allocators.h"
#include "edit_model.h"
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

// Texts that tell every position apart, of lengths around the blocks.
std::string CountingToRepeat(size_t length)
{
    std::string text;
    for (size_t i = 0; i < length; ++i)
        text += static_cast<char>('!' + i % 90);
    return text;
}

TEST(StringRepeat, RepeatPutsTheCharactersThatManyTimesInARow)
{
    ExpectText(CString("ab").Repeat(3), "ababab");
    ExpectText(CString("-").Repeat(5), "-----");
    ExpectText(CString("abc").Repeat(2), "abcabc");
}

TEST(StringRepeat, RepeatNoTimesGivesAnEmptyStringWithoutAContainer)
{
    const CString repeated = CString("abc").Repeat(0);
    EXPECT_EQ(repeated.Data(), nullptr);
    EXPECT_EQ(repeated.Length(), 0u);
}

TEST(StringRepeat, RepeatOnceGivesACopyOfTheHandle)
{
    CTestAllocator allocator;
    for (const CString &string : {Fixed("abc"), Resizable("abc"), CString(), Fixed(std::string("\0ab", 3))})
    {
        const u64 requests = allocator.RequestCount();
        EXPECT_EQ(ContainerOf(string.Repeat(1)), ContainerOf(string));
        EXPECT_EQ(allocator.RequestCount(), requests);
    }
}

TEST(StringRepeat, RepeatOfEveryShortTextIsThatOfTheModel)
{
    CTestAllocator allocator;
    for (const std::string &text : EveryText(std::string("aB\0\x80", 4), 4))
        for (u32 times = 0; times <= 9; ++times)
        {
            SCOPED_TRACE(::testing::Message() << text.size() << " characters, " << times << " times");
            ExpectCharacters(Fixed(text).Repeat(times), ModelRepeated(text, times));
            ExpectCharacters(Resizable(text).Repeat(times), ModelRepeated(text, times));
        }
}

TEST(StringRepeat, RepeatWorksAtEveryLengthAndKeepsTheZeroTail)
{
    CTestAllocator allocator;
    for (size_t length = 0; length <= 65; ++length)
        for (const u32 times : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 31u, 100u})
            for (const CString &string : {Fixed(CountingToRepeat(length)), Resizable(CountingToRepeat(length))})
                ExpectText(string.Repeat(times), ModelRepeated(CountingToRepeat(length), times));
}

TEST(StringRepeat, RepeatNeverTouchesTheSource)
{
    const CString source("abc");
    const CString other = source;
    const CStringContainer *const container = ContainerOf(source);
    const CString repeated = source.Repeat(2);
    EXPECT_NE(ContainerOf(repeated), container);
    EXPECT_EQ(ContainerOf(source), container);
    EXPECT_EQ(ContainerOf(other), container);
    ExpectText(source, "abc");
}

TEST(StringRepeat, RepeatMayBeAssignedToTheStringItself)
{
    CTestAllocator allocator;
    CString string = Resizable("abc");
    string = string.Repeat(3);
    ExpectText(string, "abcabcabc");
}

TEST(StringRepeat, RepeatOfEachOfTheFourEmptyStrings)
{
    CTestAllocator allocator;
    CString cleared("abc");
    cleared.Clear();
    EXPECT_EQ(CString().Repeat(3).Data(), nullptr);
    EXPECT_EQ(cleared.Repeat(3).Data(), nullptr);
    EXPECT_EQ(ContainerOf(cleared.Repeat(1)), ContainerOf(cleared));
    ExpectCharacters(Fixed(std::string("\0a", 2)).Repeat(3), std::string("\0a\0a\0a", 6));
    CAssertRecorder recorder;
    CBrokenString broken;
    EXPECT_EQ(broken.Get().Repeat(3).Data(), nullptr);
    ExpectReports(recorder, {"data != null"});
}

TEST(StringRepeat, RepeatMakesOneBlockOfExactlyItsSizeAndOfTheFixedForm)
{
    const CString string("0123456789");
    CTestAllocator allocator;
    const CString repeated = string.Repeat(7);
    EXPECT_EQ(allocator.RequestCount(), 1u);
    EXPECT_FALSE(ContainerOf(repeated)->SupportsDynamicResize());
    EXPECT_EQ(CapacityOf(*ContainerOf(repeated)), 80u);
}

TEST(StringRepeat, RepeatGivesAnEmptyStringWhenMemoryIsRefused)
{
    struct SState
    {
        CString m_Source = CString("abc");
        CString m_Result = CString("before");
    };
    SweepRefusals([] { return SState(); }, [](SState &state) { state.m_Result = state.m_Source.Repeat(20); },
                  [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(state.m_Source, "abc");
                      ExpectText(state.m_Result, refusal.m_Refused ? std::string() : ModelRepeated("abc", 20));
                      ExpectReports(recorder, {});
                  });
}

TEST(StringRepeat, RepeatToALengthThatNoStringMayHaveIsRefusedAndAsksForNothing)
{
    const CString three("abc");
    const CString sixteen("0123456789abcdef");
    CAssertRecorder recorder;
    CTestAllocator allocator;
    // 0x3FFFFFFF, the first length that is refused, and more than 32 bits hold.
    EXPECT_EQ(three.Repeat(0x15555555u).Data(), nullptr);
    EXPECT_EQ(three.Repeat(0x55555556u).Data(), nullptr);
    EXPECT_EQ(sixteen.Repeat(0x10000001u).Data(), nullptr);
    EXPECT_EQ(sixteen.Repeat(0xFFFFFFFFu).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(StringRepeat, RepeatTouchesNothingOutsideItsBlocksAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (size_t length = 1; length <= 65; ++length)
        for (const u32 times : {2u, 3u, 5u})
            ExpectText(Fixed(CountingToRepeat(length)).Repeat(times), ModelRepeated(CountingToRepeat(length), times));
}

} // namespace
