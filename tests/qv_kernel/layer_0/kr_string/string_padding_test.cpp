// Padding: a text brought to a width, as a new string.
#include <gtest/gtest.h>

#include <string>

#include "edge_allocators.h"
#include "edit_model.h"
#include "every_text.h"
#include "kr_string.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// A text that tells every position apart.
std::string PaddedCountingText(size_t length)
{
    std::string text;
    for (size_t i = 0; i < length; ++i)
        text += static_cast<char>('!' + i % 90);
    return text;
}

TEST(StringPadding, PadLeftPutsWhatIsMissingInFront)
{
    ExpectText(CString("7").PadLeft(4, '0'), "0007");
    ExpectText(CString("abc").PadLeft(5), "  abc");
    ExpectText(CString().PadLeft(3, '-'), "---");
}

TEST(StringPadding, PadRightPutsWhatIsMissingBehind)
{
    ExpectText(CString("7").PadRight(4, '.'), "7...");
    ExpectText(CString("abc").PadRight(5), "abc  ");
    ExpectText(CString().PadRight(3, '-'), "---");
}

TEST(StringPadding, PadLeftAndPadRightGiveACopyOfTheHandleWhenNothingIsMissing)
{
    CTestAllocator allocator;
    for (const CString &string : {Fixed("abc"), Resizable("abc"), CString(), Fixed(std::string("\0ab", 3))})
    {
        const u64 requests = allocator.RequestCount();
        for (u32 width = 0; width <= string.Length(); ++width)
        {
            EXPECT_EQ(ContainerOf(string.PadLeft(width, 'x')), ContainerOf(string));
            EXPECT_EQ(ContainerOf(string.PadRight(width, 'x')), ContainerOf(string));
        }
        EXPECT_EQ(allocator.RequestCount(), requests);
    }
}

TEST(StringPadding, PadLeftAndPadRightAreTheModelsForEveryShortText)
{
    CTestAllocator allocator;
    for (const std::string &text : EveryText(std::string("a \0\x80", 4), 3))
        for (unsigned width = 0; width <= 6; ++width)
            for (const char character : {' ', 'a', '\0', '\xFF'})
                for (const CString &string : {Fixed(text), Resizable(text)})
                {
                    SCOPED_TRACE(::testing::Message() << text.size() << " characters to " << width);
                    ExpectCharacters(string.PadLeft(width, character), ModelPaddedLeft(text, width, character));
                    ExpectCharacters(string.PadRight(width, character), ModelPaddedRight(text, width, character));
                }
}

// At the end of memory, so that nothing is written outside the new block either.
TEST(StringPadding, PadLeftAndPadRightWorkAtEveryLengthAndKeepTheZeroTail)
{
    CPageEndAllocator allocator;
    for (size_t length = 0; length <= 65; ++length)
        for (const unsigned added : {1u, 2u, 15u, 16u, 17u, 100u})
            for (const CString &string : {Fixed(PaddedCountingText(length)), Resizable(PaddedCountingText(length))})
            {
                const unsigned width = static_cast<unsigned>(length) + added;
                ExpectText(string.PadLeft(width, '*'), ModelPaddedLeft(PaddedCountingText(length), width, '*'));
                ExpectText(string.PadRight(width, '*'), ModelPaddedRight(PaddedCountingText(length), width, '*'));
            }
}

TEST(StringPadding, PadLeftAndPadRightNeverTouchTheSource)
{
    const CString source("abc");
    const CString other = source;
    const CStringContainer *const container = ContainerOf(source);
    EXPECT_NE(ContainerOf(source.PadLeft(9)), container);
    EXPECT_NE(ContainerOf(source.PadRight(9)), container);
    EXPECT_EQ(ContainerOf(source), container);
    EXPECT_EQ(ContainerOf(other), container);
    ExpectText(source, "abc");
}

TEST(StringPadding, PadLeftAndPadRightMayBeAssignedToTheStringItself)
{
    CTestAllocator allocator;
    CString string = Resizable("abc");
    string = string.PadLeft(5);
    string = string.PadRight(7, '!');
    ExpectText(string, "  abc!!");
}

TEST(StringPadding, PadLeftAndPadRightOfABrokenStringReport)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    EXPECT_EQ(broken.Get().PadLeft(9).Data(), nullptr);
    EXPECT_EQ(broken.Get().PadRight(9).Data(), nullptr);
    ExpectReports(recorder, {"data != null", "data != null"});
}

TEST(StringPadding, PadLeftAndPadRightMakeOneBlockOfExactlyTheirSizeAndOfTheFixedForm)
{
    const CString string("0123456789");
    CTestAllocator allocator;
    for (const CString &padded : {string.PadLeft(70), string.PadRight(70)})
    {
        EXPECT_FALSE(ContainerOf(padded)->SupportsDynamicResize());
        EXPECT_EQ(CapacityOf(*ContainerOf(padded)), 80u);
    }
    EXPECT_EQ(allocator.RequestCount(), 2u);
}

TEST(StringPadding, PadLeftAndPadRightGiveAnEmptyStringWhenMemoryIsRefused)
{
    struct SState
    {
        CString m_Source = CString("abc");
        CString m_Left = CString("before");
        CString m_Right = CString("before");
    };
    SweepRefusals([] { return SState(); },
                  [](SState &state)
                  {
                      state.m_Left = state.m_Source.PadLeft(5);
                      state.m_Right = state.m_Source.PadRight(5);
                  },
                  [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      const bool leftLost = refusal.m_Nth == 1;
                      const bool rightLost = refusal.m_Nth == 2 || (refusal.m_Nth == 1 && refusal.m_AndAllAfter);
                      ExpectText(state.m_Source, "abc");
                      ExpectText(state.m_Left, leftLost ? "" : "  abc");
                      ExpectText(state.m_Right, rightLost ? "" : "abc  ");
                      ExpectReports(recorder, {});
                  });
}

TEST(StringPadding, PadLeftAndPadRightToAWidthThatNoStringMayHaveAreRefusedAndAskForNothing)
{
    const CString string("abc");
    CAssertRecorder recorder;
    const CChoosyAllocator allocator([](u64, u64) { return true; });
    for (const u32 width : {0x3FFFFFFFu, 0x40000000u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(string.PadLeft(width).Data(), nullptr);
        EXPECT_EQ(string.PadRight(width).Data(), nullptr);
    }
    EXPECT_TRUE(allocator.Sizes().empty());
    // The longest one is asked for.
    EXPECT_EQ(string.PadLeft(0x3FFFFFFEu).Data(), nullptr);
    EXPECT_EQ(string.PadRight(0x3FFFFFFEu).Data(), nullptr);
    EXPECT_EQ(allocator.Sizes(), std::vector<u64>(2, 0x3FFFFFFFu + 1 + 32));
    ExpectReports(recorder, {});
}

} // namespace
