// What strings and views are made of and assigned from: texts, braces, numbers that are null pointers, views of ours and
// the standard's; and which of several overloads each of them goes to. conversions.inc in tests/conversions/ lists what
// each operation takes.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "kr_string_std.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// Overloads of programs, each of which takes what it took before views became strings.
const char *OfStringOrView(const CString &)
{
    return "string";
}

const char *OfStringOrView(const CStringView &)
{
    return "view";
}

const char *OfAnyText(const CString &)
{
    return "string";
}

const char *OfAnyText(const CStringView &)
{
    return "view";
}

const char *OfAnyText(std::string_view)
{
    return "standard";
}

const char *OfTextOrView(const char *)
{
    return "text";
}

const char *OfTextOrView(const CStringView &)
{
    return "view";
}

u32 LengthOfView(CStringView view)
{
    return view.Length();
}

size_t LengthOfStandardView(std::string_view view)
{
    return view.size();
}

// A type of a program that becomes both views by itself.
struct SBoth
{
    operator CStringView() const { return CStringView("ours", 4); }
    operator std::string_view() const { return "standard"; }
};

// Derived types, which programs may have.
class CName : public CString
{
public:
    using CString::CString;
};

class CNameView : public CStringView
{
public:
    using CStringView::CStringView;
};

// ---- What compiled before views became strings, and means the same -----------------------------------------------------

TEST(StringConversions, BracesMakeStrings)
{
    ExpectText(CString({"abc", 2}), "ab");
    const CString braces{"abc", 2};
    ExpectText(braces, "ab");
    const CString none = {};
    EXPECT_EQ(none.Data(), nullptr);
    const CString text = {"abc"};
    ExpectText(text, "abc");
    const CString copy{text};
    EXPECT_EQ(copy.Data(), text.Data());
    ExpectText(CString(nullptr), "");
    ExpectText(CString(0), "");
}

TEST(StringConversions, BracesAreAssigned)
{
    CString string("before");
    string = {"abc", 2};
    ExpectText(string, "ab");
    string = {"abc"};
    ExpectText(string, "abc");
    string = {};
    EXPECT_EQ(string.Data(), nullptr);
}

TEST(StringConversions, NullIsAssigned)
{
    CString string("before");
    string = nullptr;
    EXPECT_EQ(string.Data(), nullptr);
    string = "before";
    string = 0;
    EXPECT_EQ(string.Data(), nullptr);
    string = "before";
    string = null;
    EXPECT_EQ(string.Data(), nullptr);
}

TEST(StringConversions, TextsContainersAndStringsAreAssigned)
{
    CString string;
    string = "abc";
    ExpectText(string, "abc");
    const PStringContainer container = CStringContainer::New("def");
    string = container;
    EXPECT_EQ(string.Data(), container->Data());
    CString other("ghi");
    const char *data = other.Data();
    string = other;
    EXPECT_EQ(string.Data(), data);
    string.Clear();
    string = std::move(other);
    EXPECT_EQ(string.Data(), data);
    (string = "abc") = "def";
    ExpectText(string, "def");
}

TEST(StringConversions, BracesMakeViews)
{
    EXPECT_EQ(LengthOfView({"abc", 2}), 2u);
    EXPECT_EQ(LengthOfView({}), 0u);
    EXPECT_EQ(LengthOfView(CString("abc")), 3u);
    CStringView view("abc");
    view = {"abc", 2};
    EXPECT_EQ(view.Length(), 2u);
    view = {};
    EXPECT_EQ(view.Data(), nullptr);
}

TEST(StringConversions, OverloadsOfProgramsTakeWhatTheyTook)
{
    const CString string("abc");
    const CStringView view(string);
    EXPECT_STREQ(OfStringOrView("abc"), "string");
    EXPECT_STREQ(OfStringOrView(string.Data()), "string");
    EXPECT_STREQ(OfStringOrView(string), "string");
    EXPECT_STREQ(OfStringOrView(CString()), "string");
    EXPECT_STREQ(OfStringOrView(nullptr), "string");
    EXPECT_STREQ(OfStringOrView(view), "view");
    EXPECT_STREQ(OfStringOrView({view}), "view");
    EXPECT_STREQ(OfStringOrView({string}), "string");
    EXPECT_STREQ(OfTextOrView("abc"), "text");
    EXPECT_STREQ(OfTextOrView(0), "text");
    EXPECT_STREQ(OfTextOrView(string), "view");
    EXPECT_STREQ(OfTextOrView(view), "view");
    EXPECT_STREQ(OfTextOrView({view}), "view");
    EXPECT_STREQ(OfAnyText(string), "string");
    EXPECT_STREQ(OfAnyText(view), "view");
    EXPECT_STREQ(OfAnyText({view}), "view");
    EXPECT_STREQ(OfAnyText(std::string_view("abc")), "standard");
    EXPECT_STREQ(OfAnyText(std::string("abc")), "standard");
}

TEST(StringConversions, OtherTypesThatBecomeViewsStayWhatTheyWere)
{
    const SBoth both;
    EXPECT_EQ(LengthOfView(both), 4u);
    EXPECT_EQ(LengthOfStandardView(both), 8u);
    EXPECT_TRUE(CString("ours") == both);
    EXPECT_TRUE(CStringView("ours") == both);
    EXPECT_TRUE(CStringView("our") < both);
    ExpectText(CString("x") + both, "xours");
    EXPECT_TRUE((std::is_constructible<CStringView, SBoth>::value));
    EXPECT_FALSE((std::is_constructible<CString, SBoth>::value));
    EXPECT_FALSE((std::is_assignable<CString &, SBoth>::value));
}

// ---- Strings of views --------------------------------------------------------------------------------------------------

TEST(StringConversions, AStringOfAViewIsACopyOfAllItsCharacters)
{
    const std::string text("ab\0c", 4);
    const CString string(ViewOf(text));
    ExpectCharacters(string, text);
    EXPECT_NE(static_cast<const void *>(string.Data()), static_cast<const void *>(text.data()));
    EXPECT_FALSE(ContainerOf(string)->SupportsDynamicResize());
    ExpectCharacters(CString(CStringView("\0bc", 3)), std::string("\0bc", 3));
    const CString braces{CStringView("abcd").Slice(1, 2)};
    ExpectText(braces, "bc");
    ExpectText(static_cast<CString>(CStringView("abc")), "abc");
}

TEST(StringConversions, AStringOfAViewOfNothingHasNoContainer)
{
    CTestAllocator allocator;
    CAssertRecorder recorder;
    EXPECT_EQ(CString(CStringView()).Data(), nullptr);
    EXPECT_EQ(CString(CStringView(nullptr, 3)).Data(), nullptr);
    EXPECT_EQ(CString(CStringView("abc", 0)).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(StringConversions, AStringOfAViewIsMadeOnDemandOnly)
{
    EXPECT_TRUE((std::is_nothrow_constructible<CString, CStringView>::value));
    EXPECT_TRUE((std::is_nothrow_constructible<CString, CStringView &>::value));
    EXPECT_TRUE((std::is_nothrow_constructible<CString, const CStringView>::value));
    EXPECT_FALSE((std::is_convertible<CStringView, CString>::value));
    EXPECT_FALSE((std::is_convertible<std::string_view, CString>::value));
    EXPECT_FALSE((std::is_constructible<CString, TMemoryView<const char>>::value));
    EXPECT_FALSE((std::is_constructible<CString, std::string>::value));
    EXPECT_FALSE((std::is_constructible<CString, int>::value));
    EXPECT_FALSE((std::is_constructible<CString, char>::value));
}

TEST(StringConversions, AViewIsAssigned)
{
    CString string("before");
    const CString shared = string;
    CString &answered = string = CStringView("abcd", 3);
    EXPECT_EQ(&answered, &string);
    ExpectText(string, "abc");
    ExpectText(shared, "before");
    string = CStringView("\0b", 2);
    ExpectCharacters(string, std::string("\0b", 2));
    string = CStringView(nullptr, 3);
    EXPECT_EQ(string.Data(), nullptr);
    string = CStringView();
    EXPECT_EQ(string.Data(), nullptr);
}

// Every piece of the string, and of the room behind its text.
TEST(StringConversions, AViewOfTheStringItselfIsAssigned)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    const std::string text = "0123456789abcdefghij";
    for (u32 start = 0; start <= 20; ++start)
    {
        for (u32 count = 0; start + count <= 20; ++count)
        {
            CString string = Resizable(text);
            string = CStringView(string).Slice(start, count);
            ExpectText(string, text.substr(start, count));
        }
    }
    CString string = Resizable("abc");
    string = CStringView(string.Data() + 2, 3);
    ExpectCharacters(string, std::string("c\0\0", 3));
}

TEST(StringConversions, AStringOfAViewRefusedIsEmpty)
{
    SweepRefusals([] { return CString(); }, [](CString &string) { string = CString(CStringView("abcd", 3)); },
                  [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(string, refusal.m_Refused ? "" : "abc");
                      ExpectReports(recorder, {});
                  });
}

TEST(StringConversions, AnAssignedViewRefusedLeavesAnEmptyStringThatReleasedItsText)
{
    SweepRefusals([] { return CString("before"); }, [](CString &string) { string = CStringView(string).Slice(2); },
                  [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(string, refusal.m_Refused ? "" : "fore");
                      EXPECT_EQ(string.Data() == nullptr, refusal.m_Refused);
                      ExpectReports(recorder, {});
                  });
}

TEST(StringConversions, AViewOfALengthThatNoStringCanHaveGivesAnEmptyString)
{
    CTestAllocator allocator;
    CAssertRecorder recorder;
    CString string("before");
    const u64 requests = allocator.RequestCount();
    for (const u32 length : {0x3FFFFFFFu, 0x40000000u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(CString(CStringView("abc", length)).Data(), nullptr);
        string = CStringView("abc", length);
        EXPECT_EQ(string.Data(), nullptr);
    }
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectReports(recorder, {});
}

TEST(StringConversions, AnAssignedViewAsksForOneBlock)
{
    CTestAllocator allocator;
    CString string;
    const u64 requests = allocator.RequestCount();
    string = CStringView("abc");
    EXPECT_EQ(allocator.RequestCount(), requests + 1);
}

TEST(StringConversions, DerivedTypesConvertAsTheirBasesDid)
{
    const CName name("abc");
    const CNameView nameView("abc", 3);
    EXPECT_EQ(LengthOfView(name), 3u);
    EXPECT_EQ(LengthOfView(nameView), 3u);
    EXPECT_TRUE(name == nameView);
    EXPECT_FALSE((std::is_constructible<CString, CNameView>::value));
    ExpectText(CString(name), "abc");
}

// ---- The standard's view -----------------------------------------------------------------------------------------------

TEST(StringStd, ViewsBecomeEachOtherByThemselves)
{
    const std::string text("ab\0c", 4);
    const std::string_view standard = text;
    const CStringView view = standard;
    EXPECT_EQ(static_cast<const void *>(view.Data()), static_cast<const void *>(text.data()));
    EXPECT_EQ(view.Length(), 4u);
    const std::string_view back = view;
    EXPECT_EQ(static_cast<const void *>(back.data()), static_cast<const void *>(text.data()));
    EXPECT_EQ(back.size(), 4u);
    EXPECT_EQ(LengthOfView(standard), 4u);
    EXPECT_EQ(LengthOfStandardView(view), 4u);
    EXPECT_EQ(std::string(view), text);
    std::string copy;
    copy = view;
    copy += view;
    EXPECT_EQ(copy, text + text);
    CStringView assigned;
    assigned = standard;
    EXPECT_EQ(assigned.Length(), 4u);
    std::string_view assignedStandard;
    assignedStandard = view;
    EXPECT_EQ(assignedStandard.size(), 4u);
}

TEST(StringStd, ViewsBecomeEachOtherInConstantExpressions)
{
    constexpr std::string_view standard = CStringView("abc", 2);
    constexpr CStringView view = std::string_view("abcd").substr(1);
    static_assert(standard.size() == 2 && view.Length() == 3, "known to the compiler");
    EXPECT_EQ(standard, "ab");
    EXPECT_TRUE(view == "bcd");
}

TEST(StringStd, NothingIsAnEmptyViewOnTheOtherSide)
{
    EXPECT_TRUE(std::string_view(CStringView()).empty());
    EXPECT_TRUE(std::string_view(CStringView(nullptr, 3)).empty());
    EXPECT_TRUE(std::string_view(CString()).empty());
    CBrokenString broken;
    EXPECT_TRUE(std::string_view(broken.Get()).empty());
    EXPECT_TRUE(CStringView(std::string_view()).Empty());
    EXPECT_EQ(CString(std::string_view()).Data(), nullptr);
}

TEST(StringStd, OnlyTheStandardsViewOfCharactersConverts)
{
    EXPECT_TRUE((std::is_nothrow_constructible<CStringView, std::string_view>::value));
    EXPECT_TRUE((std::is_nothrow_constructible<CString, std::string_view>::value));
    EXPECT_TRUE((std::is_nothrow_assignable<CString &, std::string_view>::value));
    EXPECT_TRUE((std::is_nothrow_constructible<std::string_view, CStringView>::value));
    EXPECT_TRUE((std::is_nothrow_constructible<std::string_view, CString>::value));
    EXPECT_TRUE((std::is_convertible<CStringView, std::string_view>::value));
    EXPECT_FALSE((std::is_convertible<CString, std::string_view>::value));
    EXPECT_FALSE((std::is_constructible<CStringView, std::wstring_view>::value));
    EXPECT_FALSE((std::is_constructible<CString, std::wstring_view>::value));
    EXPECT_FALSE((std::is_constructible<CStringView, std::string>::value));
    EXPECT_FALSE((std::is_convertible<CStringView, std::wstring_view>::value));
    EXPECT_FALSE((std::is_convertible<CStringView, std::string>::value));
    EXPECT_FALSE((std::is_convertible<CStringView, const char *>::value));
    EXPECT_FALSE((std::is_convertible<CStringView, bool>::value));
    EXPECT_TRUE(std::is_trivially_copyable<CStringView>::value);
}

TEST(StringStd, AStringBecomesTheStandardsViewOnDemand)
{
    const CString string = Fixed(std::string("a\0b", 3));
    const std::string_view view(string);
    EXPECT_EQ(static_cast<const void *>(view.data()), static_cast<const void *>(string.Data()));
    EXPECT_EQ(view.size(), 3u);
    EXPECT_EQ(LengthOfStandardView(static_cast<std::string_view>(CString("abcd"))), 4u);
}

TEST(StringStd, AStringIsMadeOfAndAssignedFromTheStandardsView)
{
    const std::string text("ab\0c", 4);
    const CString made{std::string_view(text)};
    ExpectCharacters(made, text);
    CString string("before");
    string = std::string_view(text);
    ExpectCharacters(string, text);
    string = static_cast<std::string_view>(string).substr(1, 2);
    ExpectCharacters(string, std::string("b\0", 2));
    string = std::string_view();
    EXPECT_EQ(string.Data(), nullptr);
}

TEST(StringStd, StandardViewsThatNoStringCanHoldGiveEmptyStrings)
{
    std::vector<u64> lengths = {0x3FFFFFFFu, 0xFFFFFFFFu};
    if (sizeof(size_t) > 4)
        lengths.push_back(0x100000003u);
    CTestAllocator allocator;
    CAssertRecorder recorder;
    CString string("before");
    const u64 requests = allocator.RequestCount();
    for (const u64 length : lengths)
    {
        const std::string_view view("abc", static_cast<size_t>(length));
        EXPECT_EQ(CString(view).Data(), nullptr);
        string = view;
        EXPECT_EQ(string.Data(), nullptr);
        EXPECT_EQ(CStringView(view).Length(), static_cast<u32>(QVMin<u64>(length, 0xFFFFFFFFu)));
    }
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectReports(recorder, {});
}

TEST(StringStd, OperationsOnTextTakeTheStandardsView)
{
    const std::string_view bc = std::string_view("abcd").substr(1, 2);
    CString string("a");
    string.Append(bc).Prepend(bc);
    string += bc;
    ExpectText(string, "bcabcbc");
    ExpectText(string + bc, "bcabcbcbc");
    ExpectText(bc + string, "bcbcabcbc");
    ExpectText(CString("a") / bc, "a/bc");
    ExpectText(bc / CString("a"), "bc/a");
    ExpectText(JoinPath(bc, "x", bc), "bc/x/bc");
    ExpectText(string.Replace(bc, std::string_view("-")), "-a--");
    EXPECT_TRUE(string.StartsWith(bc));
    EXPECT_TRUE(string.EndsWith(bc));
    EXPECT_TRUE(CStringView(string).Contains(bc));
    EXPECT_TRUE(CString("BC").Compare(bc, CaseInsensitive));
}

// The comparisons with the standard's view are those with ours, on either side.
template <typename Text>
void ExpectComparisonsAgree(const Text &a, std::string_view b)
{
    const CStringView ours = b;
    EXPECT_EQ(a == b, a == ours);
    EXPECT_EQ(a != b, a != ours);
    EXPECT_EQ(a < b, a < ours);
    EXPECT_EQ(a > b, a > ours);
    EXPECT_EQ(a <= b, a <= ours);
    EXPECT_EQ(a >= b, a >= ours);
    EXPECT_EQ(b == a, ours == a);
    EXPECT_EQ(b != a, ours != a);
    EXPECT_EQ(b < a, ours < a);
    EXPECT_EQ(b > a, ours > a);
    EXPECT_EQ(b <= a, ours <= a);
    EXPECT_EQ(b >= a, ours >= a);
}

TEST(StringStd, OperatorsCompareWithTheStandardsViewAsWithOurs)
{
    const std::vector<std::string> texts = {
        "", "a", "b", "ab", "\xE9", std::string("\0", 1), std::string("\0a", 2), std::string("a\0b", 3)};
    for (const std::string &a : texts)
    {
        for (const std::string &b : texts)
        {
            SCOPED_TRACE(::testing::PrintToString(a) + " and " + ::testing::PrintToString(b));
            ExpectComparisonsAgree(Fixed(a), b);
            ExpectComparisonsAgree(ViewOf(a), b);
        }
        ExpectComparisonsAgree(Fixed(a), std::string_view());
        ExpectComparisonsAgree(ViewOf(a), std::string_view());
        ExpectComparisonsAgree(CString(), a);
        ExpectComparisonsAgree(CStringView(), a);
        ExpectComparisonsAgree(CStringView(nullptr, 1), a);
    }
    EXPECT_TRUE(CString("abc") == std::string_view("abc"));
    EXPECT_FALSE(CStringView("abc") != std::string_view("abc"));
    EXPECT_TRUE(CString("abc") < std::string_view("abd"));
    EXPECT_TRUE(std::string_view("ab") < CStringView("abc"));
    EXPECT_FALSE(std::string_view("abc") < CString("abc"));
    EXPECT_TRUE(CStringView("b") >= std::string_view("abc"));
}

TEST(StringStd, OperatorsFindAStandardViewBeyond32BitsLonger)
{
    if (sizeof(size_t) <= 4)
        GTEST_SKIP() << "no such views here";
    // Both sides begin with the same character at the same place, and ours with one that is greater: nothing behind it is
    // read.
    const std::string_view beyond("b", static_cast<size_t>(0x100000001u));
    EXPECT_FALSE(CStringView("b") == beyond);
    EXPECT_TRUE(CStringView("b") != beyond);
    EXPECT_TRUE(CStringView("b") < beyond);
    EXPECT_TRUE(beyond > CStringView("b"));
    EXPECT_FALSE(beyond <= CString("b"));
    EXPECT_TRUE(CString("c") > beyond);
    EXPECT_FALSE(CString("b") == beyond);
    EXPECT_TRUE(CString("b") < beyond);
    // Ours of the greatest length that there is, over the same characters: memory that holds them all is not at hand.
    EXPECT_FALSE(CStringView(nullptr, 0xFFFFFFFFu) == beyond);
}

// This file uses the library's namespace, whose operators the comparisons of the standard's view with buffers meet.
template <typename Text>
void ExpectStandardComparisons(const Text &text, std::string_view view, int order)
{
    EXPECT_EQ(text == view, order == 0);
    EXPECT_EQ(text != view, order != 0);
    EXPECT_EQ(text < view, order < 0);
    EXPECT_EQ(text > view, order > 0);
    EXPECT_EQ(text <= view, order <= 0);
    EXPECT_EQ(text >= view, order >= 0);
    EXPECT_EQ(view == text, order == 0);
    EXPECT_EQ(view != text, order != 0);
    EXPECT_EQ(view > text, order < 0);
    EXPECT_EQ(view<text, order> 0);
    EXPECT_EQ(view >= text, order <= 0);
    EXPECT_EQ(view <= text, order >= 0);
}

TEST(StringStd, OperatorsOfTheStandardsViewStayWhatTheyWere)
{
    const char buffer[] = "abc\0d";
    char *const writable = const_cast<char *>(buffer);
    ExpectStandardComparisons(buffer, "abc", 0);
    ExpectStandardComparisons(writable, "abd", -1);
    ExpectStandardComparisons<const char *>(buffer, "ab", 1);
    ExpectStandardComparisons("abc", "abcd", -1);
    ExpectStandardComparisons("a", std::string_view("a\0b", 3), -1);
    ExpectStandardComparisons("\xE9", "a", 1);
    ExpectStandardComparisons("", std::string_view(), 0);
    ExpectStandardComparisons(std::string("abc"), "abc", 0);
    ExpectStandardComparisons(std::string_view("b"), "abc", 1);
    const SBoth both;
    ExpectStandardComparisons(both, "standard", 0);
    using namespace std::string_view_literals;
    static_assert("abc" == "abc"sv && "abd"sv > "abc" && "abc"sv != "ab", "known to the compiler");
}

TEST(StringStd, BuffersStillCompareWithStringsAndViews)
{
    EXPECT_TRUE("abc" == CString("abc"));
    EXPECT_TRUE(CStringView("abc") == "abc");
    EXPECT_TRUE("abc" < CStringView("abd"));
    EXPECT_FALSE(CString() == "a");
    EXPECT_TRUE(CString() == nullptr);
    EXPECT_TRUE(CStringView() == nullptr);
    EXPECT_TRUE(nullptr == CString());
}

} // namespace
