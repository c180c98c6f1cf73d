// What the view needs a string for: measuring, and turning into one.
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

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

TEST(StringView, AViewMadeOfATextPointsAtTheTextItself)
{
    CTestAllocator allocator;
    static const char text[] = "a text that no string copies";
    const CStringView view(text);
    EXPECT_EQ(view.Data(), text);
    EXPECT_EQ(view.Length(), 28u);
    const char *const pointer = text;
    EXPECT_EQ(CStringView{pointer}.Data(), text);
    EXPECT_EQ(static_cast<CStringView>(pointer).Length(), 28u);
    char buffer[] = "ab\0cd";
    EXPECT_EQ(CStringView(buffer).Data(), buffer);
    EXPECT_EQ(CStringView(buffer).Length(), 2u);
    EXPECT_TRUE(CStringView("").Empty());
    EXPECT_EQ(allocator.Calls().size(), 0u);
}

TEST(StringView, AViewMadeOfATextInsideAnotherObjectPointsAtTheTextItself)
{
    static const char text[] = "a text that no string copies";
    CTestAllocator allocator;
    const std::optional<CStringView> optional(text);
    EXPECT_EQ(optional->Data(), text);
    const std::pair<CStringView, CStringView> pair(text, text + 2);
    EXPECT_EQ(pair.second.Data(), text + 2);
    std::vector<CStringView> views;
    views.emplace_back(text);
    EXPECT_EQ(views[0].Data(), text);
    EXPECT_EQ(views[0].Length(), 28u);
    EXPECT_EQ(allocator.Calls().size(), 0u);
}

TEST(StringView, AViewMadeOfNullIsTheEmptyView)
{
    const char *const none = nullptr;
    for (const CStringView &view : {CStringView(none), CStringView(nullptr), CStringView(null), CStringView(0)})
    {
        EXPECT_EQ(view.Data(), nullptr);
        EXPECT_EQ(view.Length(), 0u);
    }
}

TEST(StringView, AViewMadeOfALiteralIsKnownToTheCompiler)
{
    static constexpr CStringView kName("name");
    static_assert(kName.Length() == 4 && *kName.Data() == 'n', "known to the compiler");
    static_assert(CStringView(nullptr).Empty(), "known to the compiler");
    EXPECT_TRUE(kName == "name");
}

TEST(StringView, ATextBecomesAViewOnlyWhereItIsAskedFor)
{
    EXPECT_TRUE((std::is_constructible<CStringView, const char *>::value));
    EXPECT_TRUE((std::is_constructible<CStringView, const char(&)[4]>::value));
    EXPECT_FALSE((std::is_convertible<const char *, CStringView>::value));
    EXPECT_FALSE((std::is_convertible<const char(&)[4], CStringView>::value));
    EXPECT_TRUE((std::is_convertible<const CString &, CStringView>::value));
    EXPECT_TRUE((std::is_convertible<CString &&, CStringView>::value));
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
