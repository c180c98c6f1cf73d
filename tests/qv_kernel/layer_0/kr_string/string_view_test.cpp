// What the view needs a string for: measuring, and turning into one.
#include <gtest/gtest.h>

#include "kr_string.h"
#include "refusal_sweep.h"
#include "string_checks.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

TEST(StringView, FromNullTerminatedStringCoversTheTextWithoutItsTerminator)
{
    const char text[] = "abc";
    const CStringView view = CStringView::FromNullTerminatedString(text);
    EXPECT_EQ(view.Data(), text);
    EXPECT_EQ(view.Length(), 3u);
}

TEST(StringView, FromNullTerminatedStringStopsAtTheFirstTerminator)
{
    EXPECT_EQ(CStringView::FromNullTerminatedString("ab\0cd").Length(), 2u);
}

TEST(StringView, FromNullTerminatedStringOfNullIsTheEmptyView)
{
    const CStringView view = CStringView::FromNullTerminatedString(nullptr);
    EXPECT_EQ(view.Data(), nullptr);
    EXPECT_EQ(view.Length(), 0u);
    EXPECT_TRUE(view.Empty());
}

TEST(StringView, FromNullTerminatedStringOfEmptyTextIsEmpty)
{
    EXPECT_TRUE(CStringView::FromNullTerminatedString("").Empty());
}

TEST(StringView, ToStringCopiesTheCharactersWithoutATerminatorBehindThem)
{
    CTestAllocator allocator;
    const char text[] = {'a', 'b', 'c', 'd'};
    const CString string = CStringView(text, 3).ToString();
    ExpectText(string, "abc");
    EXPECT_NE(string.Data(), text);
    EXPECT_EQ(allocator.Requests().size(), 1u);
}

TEST(StringView, ToStringKeepsEmbeddedTerminators)
{
    const CString string = CStringView("a\0b", 3).ToString();
    EXPECT_EQ(TextOf(string), std::string("a\0b", 3));
    ExpectWellFormed(*ContainerOf(string));
}

TEST(StringView, ToStringKeepsALeadingTerminator)
{
    CAssertRecorder recorder;
    const CString string = CStringView("\0ab", 3).ToString();
    EXPECT_EQ(TextOf(string), std::string("\0ab", 3));
    ExpectReports(recorder, {});
}

TEST(StringView, ToStringOfAnEmptyViewHasNoContainerAndAllocatesNothing)
{
    CTestAllocator allocator;
    CAssertRecorder recorder;
    EXPECT_EQ(CStringView().ToString().Data(), nullptr);
    EXPECT_EQ(CStringView("abc", 0).ToString().Data(), nullptr);
    EXPECT_EQ(CStringView(CString()).ToString().Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(StringView, ToStringOfANullViewWithALengthIsEmpty)
{
    EXPECT_EQ(CStringView(nullptr, 3).ToString().Data(), nullptr);
}

TEST(StringView, ToStringRefusedIsEmpty)
{
    SweepRefusals([] { return CString(); }, [](CString &string) { string = CStringView("abcdef", 4).ToString(); },
                  [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(string, refusal.m_Refused ? "" : "abcd");
                      ExpectReports(recorder, {});
                  });
}

} // namespace
