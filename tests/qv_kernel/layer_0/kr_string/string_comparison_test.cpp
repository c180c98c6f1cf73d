// Equality and ordering of strings, with buffers, views and each other.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "comparison_matrix.h"
#include "edge_allocators.h"
#include "edit_model.h"
#include "every_locale.h"
#include "every_text.h"
#include "guarded_page.h"
#include "kr_string.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "test_port.h"
#include "text_pieces.h"
#include "wide_choice.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const std::string kLetters = "aAb\x80";
constexpr size_t kLongest = 4;
const ECaseSensitivity kBeyondTheNamedOnes = static_cast<ECaseSensitivity>(2);
const std::vector<ECaseSensitivity> kSensitivities = {CaseSensitive, CaseInsensitive, kBeyondTheNamedOnes};

// While one lives, the characters of a resizable string from a page-end allocator may not be read.
class CUnreadable
{
public:
    explicit CUnreadable(const CString &string)
    {
        const ureg pageBytes = SystemPageBytes();
        m_Page = reinterpret_cast<void *>(reinterpret_cast<ureg>(string.Data()) / pageBytes * pageBytes);
        m_Bytes = static_cast<size_t>(pageBytes);
        EXPECT_TRUE(ProtectPages(m_Page, m_Bytes, PageAccess_None));
    }
    ~CUnreadable() { ProtectPages(m_Page, m_Bytes, PageAccess_ReadWrite); }
    CUnreadable(const CUnreadable &) = delete;
    CUnreadable &operator=(const CUnreadable &) = delete;

private:
    void *m_Page;
    size_t m_Bytes;
};

TEST(StringComparison, SensitivitiesHaveTheirValues)
{
    EXPECT_EQ(static_cast<u32>(CaseSensitive), 0u);
    EXPECT_EQ(static_cast<u32>(CaseInsensitive), 1u);
    EXPECT_EQ(sizeof(ECaseSensitivity), 4u);
}

// Equality with a buffer.

TEST(StringComparison, CompareWithABufferIsEquality)
{
    const CString string("abc");
    EXPECT_TRUE(string.Compare("abc", CaseSensitive));
    EXPECT_FALSE(string.Compare("abd", CaseSensitive));
    EXPECT_FALSE(string.Compare("ab", CaseSensitive));
    EXPECT_FALSE(string.Compare("abcd", CaseSensitive));
    EXPECT_FALSE(string.Compare("ABC", CaseSensitive));
    EXPECT_TRUE(string.Compare("aBC", CaseInsensitive));
    EXPECT_TRUE(string.Compare("aBC", kBeyondTheNamedOnes));
    EXPECT_FALSE(string.Compare("aBD", CaseInsensitive));
    EXPECT_FALSE(string.Compare("aB", CaseInsensitive));
}

TEST(StringComparison, CompareDefaultsToCaseSensitive)
{
    const CString string("abc");
    EXPECT_FALSE(string.Compare("ABC"));
    EXPECT_FALSE(string.Compare(CStringView("ABC", 3)));
    EXPECT_FALSE(string.Compare(CString("ABC")));
    EXPECT_TRUE(string.Compare("abc"));
    EXPECT_TRUE(string.Compare(CStringView("abc", 3)));
    EXPECT_TRUE(string.Compare(CString("abc")));
    EXPECT_TRUE(CString("A").LessThan(CString("a")));
}

TEST(StringComparison, CompareWithABufferEndsAtTheFirstTerminator)
{
    const CString string = Fixed(std::string("ab\0c", 4));
    for (const ECaseSensitivity sensitivity : kSensitivities)
    {
        EXPECT_TRUE(string.Compare("ab", sensitivity));
        EXPECT_FALSE(string.Compare("abc", sensitivity));
    }
}

TEST(StringComparison, CompareWithItsOwnCharactersIsTrueWithoutReadingThem)
{
    CPageEndAllocator allocator;
    const CString string = Resizable("abc");
    const CUnreadable unreadable(string);
    EXPECT_TRUE(string.Compare(string.Data(), CaseSensitive));
    EXPECT_TRUE(string.Compare(CStringView(string), CaseSensitive));
    EXPECT_TRUE(string.Compare(string, CaseSensitive));
    const CString copy = string;
    EXPECT_TRUE(copy.Compare(string, CaseSensitive));
}

TEST(StringComparison, CompareWithItselfIgnoringCaseIsTrueWithoutTheShortcut)
{
    const CString string("abC");
    for (const ECaseSensitivity sensitivity : {CaseInsensitive, kBeyondTheNamedOnes})
    {
        EXPECT_TRUE(string.Compare(string, sensitivity));
        EXPECT_TRUE(string.Compare(string.Data(), sensitivity));
        EXPECT_TRUE(string.Compare(CStringView(string), sensitivity));
    }
}

// Equality with a view.

TEST(StringComparison, CompareWithAViewIsEqualityWithoutATerminatorBehindIt)
{
    const CString string("abc");
    EXPECT_TRUE(string.Compare(CStringView("abcx", 3), CaseSensitive));
    EXPECT_FALSE(string.Compare(CStringView("abd", 3), CaseSensitive));
    EXPECT_FALSE(string.Compare(CStringView("abc", 2), CaseSensitive));
    EXPECT_FALSE(string.Compare(CStringView("abcd", 4), CaseSensitive));
    EXPECT_FALSE(string.Compare(CStringView("ABC", 3), CaseSensitive));
    EXPECT_TRUE(string.Compare(CStringView("ABCx", 3), CaseInsensitive));
    EXPECT_TRUE(string.Compare(CStringView("ABCx", 3), kBeyondTheNamedOnes));
    EXPECT_FALSE(string.Compare(CStringView("ABD", 3), CaseInsensitive));
    EXPECT_FALSE(string.Compare(CStringView("AB", 2), CaseInsensitive));
}

TEST(StringComparison, CompareWithAViewStopsAtATerminatorWhereTheOperatorDoesNot)
{
    const CString string = Fixed(std::string("ab\0c", 4));
    const CStringView same("ab\0c", 4);
    const CStringView differs("ab\0d", 4);
    for (const ECaseSensitivity sensitivity : kSensitivities)
    {
        EXPECT_TRUE(string.Compare(same, sensitivity));
        EXPECT_TRUE(string.Compare(differs, sensitivity));
        EXPECT_FALSE(string.Compare(CStringView("ab\0", 3), sensitivity));
    }
    EXPECT_TRUE(string == same);
    EXPECT_FALSE(string == differs);
    EXPECT_TRUE(string != differs);
}

TEST(StringComparison, EqualityWithAViewNeedsTheLengthsToMatch)
{
    EXPECT_FALSE(CString("abc") == CStringView("ab", 2));
    EXPECT_FALSE(CString("ab") == CStringView("abc", 3));
    EXPECT_FALSE(CString("abc") == CStringView("abd", 3));
    EXPECT_TRUE(CString("abc") == CStringView("abcx", 3));
    EXPECT_FALSE(CString("abc") == CStringView("ABC", 3));
}

TEST(StringComparison, EqualityWithAViewJudgesEmptinessByTheFirstCharacter)
{
    const CString leading = Fixed(std::string("\0b", 2));
    EXPECT_TRUE(leading == CStringView());
    EXPECT_TRUE(leading == CStringView("x", 0));
    // An empty string equals no view with characters, not even one with the same.
    EXPECT_FALSE(leading == CStringView("\0b", 2));
    EXPECT_FALSE(CString() == CStringView("\0", 1));
    EXPECT_FALSE(Resizable("") == CStringView("\0", 1));
    // Compare decides by lengths, then up to the terminator.
    EXPECT_TRUE(leading.Compare(CStringView("\0b", 2)));
    EXPECT_TRUE(leading.Compare(CStringView("\0c", 2)));
    EXPECT_FALSE(leading.Compare(CStringView("\0", 1)));
}

TEST(StringComparison, AStringWithoutAContainerEqualsAViewOfLengthZeroWhereverItPoints)
{
    const char text[] = "abc";
    EXPECT_TRUE(CString() == CStringView(text, 0));
    EXPECT_TRUE(CStringView(text, 0) == CString());
    EXPECT_FALSE(CString() == CStringView(text, 1));
}

TEST(StringComparison, AViewOfNullWithALengthEqualsAnotherOneOfThatLength)
{
    const CStringView view(nullptr, 3);
    for (const ECaseSensitivity sensitivity : kSensitivities)
    {
        EXPECT_TRUE(view.Compare(CStringView(nullptr, 3), sensitivity));
        EXPECT_FALSE(view.Compare(CStringView(nullptr, 2), sensitivity));
        EXPECT_FALSE(view.Compare(CStringView("abc", 3), sensitivity));
        EXPECT_FALSE(CStringView("abc", 3).Compare(view, sensitivity));
    }
    EXPECT_TRUE(view == CStringView(nullptr, 3));
    EXPECT_FALSE(view == CStringView(nullptr, 2));
    EXPECT_FALSE(view == CStringView("abc", 3));
    EXPECT_FALSE(CStringView("abc", 3) == view);
}

TEST(StringComparison, AViewOfNullWithALengthEqualsNoText)
{
    const CStringView view(nullptr, 3);
    EXPECT_FALSE(CString("abc") == view);
    EXPECT_FALSE(CString("abc").Compare(view));
    EXPECT_FALSE(CString("abc").Compare(view, CaseInsensitive));
    EXPECT_FALSE(CString() == view);
}

// Equality of strings.

TEST(StringComparison, CompareOfStringsIsEquality)
{
    const CString string("abc");
    EXPECT_TRUE(string.Compare(CString("abc"), CaseSensitive));
    EXPECT_TRUE(string.Compare(Resizable("abc"), CaseSensitive));
    EXPECT_FALSE(string.Compare(CString("abd"), CaseSensitive));
    EXPECT_FALSE(string.Compare(CString("ab"), CaseSensitive));
    EXPECT_FALSE(string.Compare(CString("ABC"), CaseSensitive));
    EXPECT_TRUE(string.Compare(CString("ABC"), CaseInsensitive));
    EXPECT_TRUE(string.Compare(CString("ABC"), kBeyondTheNamedOnes));
    EXPECT_FALSE(string.Compare(CString("ABD"), CaseInsensitive));
}

TEST(StringComparison, CompareOfStringsGoesBeyondEmbeddedTerminators)
{
    const CString string = Fixed(std::string("ab\0c", 4));
    EXPECT_TRUE(string.Compare(Fixed(std::string("ab\0c", 4))));
    EXPECT_FALSE(string.Compare(Fixed(std::string("ab\0d", 4))));
    EXPECT_FALSE(string.Compare(CString("ab")));
    EXPECT_TRUE(string.Compare(Fixed(std::string("AB\0C", 4)), CaseInsensitive));
    EXPECT_FALSE(string.Compare(Fixed(std::string("AB\0D", 4)), CaseInsensitive));
}

TEST(StringComparison, CompareOfStringsIgnoringCaseIsAsciiAlone)
{
    const std::string lower = "\xE4\xF6\xFC";
    const std::string upper = "\xC4\xD6\xDC";
    EXPECT_FALSE(Fixed(lower).Compare(Fixed(upper), CaseInsensitive));
    EXPECT_FALSE(CString("[").Compare(CString("{"), CaseInsensitive));
    EXPECT_FALSE(CString("@").Compare(CString("`"), CaseInsensitive));
    EXPECT_TRUE(CString("IiZz").Compare(CString("iIzZ"), CaseInsensitive));
}

TEST(StringComparison, CompareOfDifferentLengthsReadsNoCharacter)
{
    CPageEndAllocator allocator;
    const CString string = Resizable("abc");
    const CString longer = Resizable("abcd");
    const CUnreadable first(string);
    const CUnreadable second(longer);
    for (const ECaseSensitivity sensitivity : kSensitivities)
    {
        EXPECT_FALSE(string.Compare(longer, sensitivity));
        EXPECT_FALSE(longer.Compare(string, sensitivity));
        EXPECT_FALSE(string.Compare(CStringView("abcd", 4), sensitivity));
    }
}

// Order.

TEST(StringComparison, OrderIsByUnsignedBytes)
{
    EXPECT_TRUE(CString("a").LessThan(CString("b"), CaseSensitive));
    EXPECT_FALSE(CString("b").LessThan(CString("a"), CaseSensitive));
    EXPECT_FALSE(CString("a").LessThan(CString("a"), CaseSensitive));
    EXPECT_TRUE(CString("A").LessThan(CString("a"), CaseSensitive));
    EXPECT_TRUE(CString("z").LessThan(CString("\x80"), CaseSensitive));
    EXPECT_TRUE(CString("\x80").LessThan(CString("\xFF"), CaseSensitive));
    EXPECT_TRUE(CString("z") < CString("\x80"));
    EXPECT_TRUE(CString("z") < "\x80");
    EXPECT_TRUE(CString("z") < CStringView("\x80", 1));
    EXPECT_TRUE(CString("\x80") > "z");
}

TEST(StringComparison, TheShorterOfTwoTextsWithACommonBeginningOrdersFirst)
{
    const CString shorter("ab");
    const CString longer("abc");
    for (const ECaseSensitivity sensitivity : kSensitivities)
    {
        EXPECT_TRUE(shorter.LessThan(longer, sensitivity));
        EXPECT_FALSE(longer.LessThan(shorter, sensitivity));
    }
    EXPECT_TRUE(shorter < longer);
    EXPECT_TRUE(longer > shorter);
    EXPECT_FALSE(longer < shorter);
    EXPECT_FALSE(shorter > longer);
}

TEST(StringComparison, LessThanHeedsCaseInLongTextsWhereItIsAskedTo)
{
    for (const char *const same : {"", "0123456789abcdef", "0123456789abcdef0123456789abcdef0123456789abcdef"})
    {
        const CString lower = CString(same) + "a";
        const CString upper = CString(same) + "B";
        EXPECT_TRUE(upper.LessThan(lower, CaseSensitive)) << same;
        EXPECT_FALSE(lower.LessThan(upper, CaseSensitive)) << same;
        EXPECT_TRUE(lower.LessThan(upper, CaseInsensitive)) << same;
        EXPECT_FALSE(upper.LessThan(lower, CaseInsensitive)) << same;
    }
}

TEST(StringComparison, LongTextsAreEqualOrNotWithoutWideInstructions)
{
    const std::string text(100, 'x');
    for (const bool isWide : {false, true})
    {
        const CWideChoice choice(isWide);
        EXPECT_TRUE(CString(text.c_str()).Compare(CString(text.c_str()))) << isWide;
        EXPECT_FALSE(CString((text + "a").c_str()).Compare(CString((text + "b").c_str()))) << isWide;
        EXPECT_FALSE(CString((text + "b").c_str()).Compare(CString((text + "a").c_str()))) << isWide;
    }
}

TEST(StringComparison, LessThanIgnoringCaseOrdersByLowerCasedBytes)
{
    EXPECT_FALSE(CString("A").LessThan(CString("a"), CaseInsensitive));
    EXPECT_FALSE(CString("a").LessThan(CString("A"), CaseInsensitive));
    EXPECT_TRUE(CString("A").LessThan(CString("b"), CaseInsensitive));
    EXPECT_TRUE(CString("a").LessThan(CString("B"), kBeyondTheNamedOnes));
    EXPECT_FALSE(CString("B").LessThan(CString("a"), CaseInsensitive));
    // '[' lies between the upper-case and the lower-case letters.
    EXPECT_TRUE(CString("A").LessThan(CString("["), CaseSensitive));
    EXPECT_FALSE(CString("A").LessThan(CString("["), CaseInsensitive));
    EXPECT_TRUE(CString("[").LessThan(CString("A"), CaseInsensitive));
    EXPECT_TRUE(CString("z").LessThan(CString("\xC4"), CaseInsensitive));
    EXPECT_TRUE(CString("\xC4").LessThan(CString("\xE4"), CaseInsensitive));
}

TEST(StringComparison, OperatorsOrderCaseSensitively)
{
    EXPECT_TRUE(CString("B") < CString("a"));
    EXPECT_TRUE(CString("B") < "a");
    EXPECT_TRUE(CString("B") < CStringView("a", 1));
}

TEST(StringComparison, OrderWithABufferEndsAtTheFirstTerminator)
{
    const CString string = Fixed(std::string("ab\0c", 4));
    EXPECT_FALSE(string < "ab");
    EXPECT_FALSE(string > "ab");
    EXPECT_TRUE(string < "abc");
}

TEST(StringComparison, AStringOfTheSameCharactersAndMoreTerminatorsOrdersByWhatTheFirstOneCovers)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    // The first string's length + 1 bytes take part, of the second one as many as its last block holds.
    const CString text("ab");
    const CString longer = Fixed(std::string("ab\0c", 4));
    EXPECT_FALSE(text < longer); // "ab" and its terminator are in both
    EXPECT_FALSE(text > longer);
    EXPECT_TRUE(longer > text);
    EXPECT_FALSE(longer < text);
    EXPECT_FALSE(longer.LessThan(text, CaseSensitive));
    EXPECT_FALSE(longer.LessThan(text, CaseInsensitive));
}

TEST(StringComparison, ATextThatRunsOnInTerminatorsBehindTheOtherOnesBlockIsAfterIt)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    const CString text("ab");
    for (const size_t terminators : {1u, 12u, 13u, 14u, 15u, 30u, 100u})
    {
        const CString longer = Fixed("ab" + std::string(terminators, '\0'));
        // Within the block nothing tells them apart.
        const bool runsOut = 2 + terminators + 1 > 16;
        EXPECT_EQ(longer > text, runsOut) << terminators;
        EXPECT_FALSE(longer < text) << terminators;
        EXPECT_FALSE(longer.LessThan(text, CaseSensitive)) << terminators;
        EXPECT_FALSE(longer.LessThan(text, CaseInsensitive)) << terminators;
        EXPECT_FALSE(text < longer) << terminators;
        EXPECT_FALSE(text > longer) << terminators;
    }
}

TEST(StringComparison, OrderWithAViewIsByAllItsBytes)
{
    EXPECT_TRUE(CString("ab") < CStringView("abc", 3));
    EXPECT_TRUE(CString("abc") > CStringView("abcd", 2));
    EXPECT_FALSE(CString("ab") < CStringView("abc", 2));
    EXPECT_FALSE(CString("ab") > CStringView("abc", 2));
    EXPECT_TRUE(Fixed(std::string("a\0b", 3)) < CStringView("a\0c", 3));
    EXPECT_TRUE(CString("a") < CStringView("a\0", 2));
}

// Empty strings, in every way to be empty.

// Equality and order of a pair: "=" or "!", then "<", ">" or "-".
typedef std::vector<std::string> CRow;

template <typename A, typename B>
std::string Relation(const A &a, const B &b)
{
    return std::string(a == b ? "=" : "!") + (a < b ? "<" : a > b ? ">" : "-");
}

std::string Mirrored(std::string relation)
{
    relation[1] = relation[1] == '<' ? '>' : relation[1] == '>' ? '<' : '-';
    return relation;
}

// The remaining operators are the negations of those.
template <typename A, typename B>
void ExpectRelation(const A &a, const B &b, const std::string &relation)
{
    EXPECT_EQ(Relation(a, b), relation);
    EXPECT_EQ(a != b, relation[0] == '!');
    EXPECT_EQ(a <= b, relation[1] != '>');
    EXPECT_EQ(a >= b, relation[1] != '<');
    // Never both.
    EXPECT_FALSE(a < b && a > b);
}

// No container; one of length 0; a text that begins with a terminator; two texts.
std::vector<CString> StringsToOrder()
{
    return {CString(), Resizable(""), Fixed(std::string("\0b", 2)), CString("a"), CString("b")};
}

TEST(StringComparison, EveryEmptyStringOrdersWithBuffersAsPromised)
{
    const std::vector<CString> strings = StringsToOrder();
    const char *const buffers[] = {nullptr, "", "a", "b"};
    const std::vector<CRow> rows = {{"=-", "=<", "!<", "!<"},
                                    {"=>", "=-", "!<", "!<"},
                                    {"=>", "=-", "!<", "!<"},
                                    {"!>", "!>", "=-", "!<"},
                                    {"!>", "!>", "!>", "=-"}};
    CAssertRecorder recorder;
    for (size_t i = 0; i < strings.size(); ++i)
    {
        for (size_t j = 0; j < 4; ++j)
        {
            SCOPED_TRACE(::testing::Message() << "string " << i << ", buffer " << j);
            ExpectRelation(strings[i], buffers[j], rows[i][j]);
            ExpectRelation(buffers[j], strings[i], Mirrored(rows[i][j]));
            for (const ECaseSensitivity sensitivity : kSensitivities)
                EXPECT_EQ(strings[i].Compare(buffers[j], sensitivity), rows[i][j][0] == '=');
        }
    }
    ExpectReports(recorder, {});
}

TEST(StringComparison, EveryEmptyStringOrdersWithViewsAsPromised)
{
    const std::vector<CString> strings = StringsToOrder();
    const CStringView views[] = {CStringView(), CStringView("a", 0), CStringView("a", 1), CStringView("b", 1)};
    const std::vector<CRow> rows = {{"=-", "=<", "!<", "!<"},
                                    {"=>", "=-", "!<", "!<"},
                                    {"=>", "=>", "!<", "!<"},
                                    {"!>", "!>", "=-", "!<"},
                                    {"!>", "!>", "!>", "=-"}};
    CAssertRecorder recorder;
    for (size_t i = 0; i < strings.size(); ++i)
    {
        for (size_t j = 0; j < 4; ++j)
        {
            SCOPED_TRACE(::testing::Message() << "string " << i << ", view " << j);
            ExpectRelation(strings[i], views[j], rows[i][j]);
            ExpectRelation(views[j], strings[i], Mirrored(rows[i][j]));
            for (const ECaseSensitivity sensitivity : kSensitivities)
                EXPECT_EQ(strings[i].Compare(views[j], sensitivity), rows[i][j][0] == '=');
        }
    }
    ExpectReports(recorder, {});
}

TEST(StringComparison, EveryEmptyStringOrdersWithStringsAsPromised)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    const std::vector<CString> strings = StringsToOrder();
    const std::vector<CString> others = StringsToOrder();
    // Two texts of which one begins with a terminator are told apart by length, and ordered by the first one's.
    const std::vector<CRow> rows = {{"=-", "=<", "=<", "!<", "!<"},
                                    {"=>", "=-", "!-", "!<", "!<"},
                                    {"=>", "!>", "=-", "!<", "!<"},
                                    {"!>", "!>", "!>", "=-", "!<"},
                                    {"!>", "!>", "!>", "!>", "=-"}};
    CAssertRecorder recorder;
    for (size_t i = 0; i < strings.size(); ++i)
    {
        for (size_t j = 0; j < others.size(); ++j)
        {
            SCOPED_TRACE(::testing::Message() << "string " << i << ", string " << j);
            ExpectRelation(strings[i], others[j], rows[i][j]);
            for (const ECaseSensitivity sensitivity : kSensitivities)
            {
                EXPECT_EQ(strings[i].Compare(others[j], sensitivity), rows[i][j][0] == '=');
                EXPECT_EQ(strings[i].LessThan(others[j], sensitivity), rows[i][j][1] == '<');
            }
        }
    }
    ExpectReports(recorder, {});
}

// Locales.

TEST(StringComparison, NoLocaleChangesHowStringsCompareIgnoringCase)
{
    InEveryLocale(
        [](const char *locale)
        {
            SCOPED_TRACE(locale);
            for (int a = 1; a < 256; ++a)
            {
                const std::string x(1, static_cast<char>(a));
                for (int b = 1; b < 256; ++b)
                {
                    const std::string y(1, static_cast<char>(b));
                    ASSERT_EQ(Fixed(x).Compare(Fixed(y), CaseInsensitive), ModelEqual(x, y, true)) << a << ", " << b;
                    ASSERT_EQ(Fixed(x).LessThan(Fixed(y), CaseInsensitive), ModelLess(x, y, true)) << a << ", " << b;
                    ASSERT_EQ(Fixed(x) < y.c_str(), a < b);
                }
            }
        });
}

// Operators.

TEST(StringComparison, EveryOperatorExistsForEveryPairInBothOrders)
{
    const std::vector<std::string> texts = {"a", "aA", "ab", "abc", "b", "\x80"};
    for (const std::string &a : texts)
    {
        for (const std::string &b : texts)
        {
            const int order = ModelLess(a, b, false) ? -1 : ModelLess(b, a, false) ? 1 : 0;
            EXPECT_EQ(CountWrongComparisons(Fixed(a), a.c_str(), Fixed(b), b.c_str(), order), 0u) << a << " and " << b;
        }
    }
    EXPECT_EQ(CountWrongComparisonsOfOtherOperands(), 0u);
}

TEST(StringComparison, NoComparisonAllocates)
{
    CTestAllocator allocator;
    const CString a("abc");
    const CString b = Resizable("abD");
    const CString null;
    const u64 requests = allocator.RequestCount();
    EXPECT_EQ(CountWrongComparisons(a, "abc", b, "abD", 1), 0u);
    EXPECT_EQ(CountWrongComparisons(b, "abD", a, "abc", -1), 0u);
    EXPECT_EQ(CountWrongComparisons(a, "abc", a, "abc", 0), 0u);
    EXPECT_FALSE(a.Compare(b, CaseInsensitive));
    EXPECT_FALSE(a.Compare(CStringView(b), CaseInsensitive));
    EXPECT_FALSE(a.Compare(b.Data(), CaseInsensitive));
    EXPECT_TRUE(a.LessThan(b, CaseInsensitive));
    EXPECT_TRUE(null < a && null < "" && null != "a" && "a" != null);
    EXPECT_EQ(allocator.RequestCount(), requests);
}

TEST(StringComparison, EveryPairOfViewsAndBuffersOrdersByBytes)
{
    CTestAllocator allocator;
    const std::vector<std::string> texts = EveryText(std::string("a\0\x80", 3), 4);
    const u64 requests = allocator.RequestCount();
    for (const std::string &a : texts)
        for (const std::string &b : texts)
        {
            const CStringView viewB = ViewOf(b);
            EXPECT_EQ(OrderOf(ViewOf(a), viewB), OrderOf(a, b));
            // A buffer ends at its terminator.
            EXPECT_EQ(OrderOf(ViewOf(a), b.c_str()), OrderOf(a, std::string(b.c_str())));
            EXPECT_EQ(OrderOf(a.c_str(), viewB), OrderOf(std::string(a.c_str()), b));
        }
    EXPECT_EQ(allocator.RequestCount(), requests);
}

TEST(StringComparison, AViewLooksAtABufferNoFurtherThanOneCharacterBeyondItsOwn)
{
    // Nothing to stop at: the buffer's terminator is far away, and unreadable.
    const CTextAtPageEnd atEnd("abcd");
    EXPECT_TRUE(CStringView("abc", 3) < atEnd.Data());
    EXPECT_TRUE(atEnd.Data() > CStringView("abc", 3));
    EXPECT_FALSE(CStringView("abc", 3) >= atEnd.Data());
}

TEST(StringComparison, ANullViewOrdersWithANullBufferBeforeEveryOtherText)
{
    const char *const none = nullptr;
    for (const CStringView &null : {CStringView(), CStringView(nullptr, 5)})
    {
        EXPECT_EQ(OrderOf(null, none), OrderOf(0, 0));
        EXPECT_EQ(OrderOf(none, null), OrderOf(0, 0));
        EXPECT_EQ(OrderOf(null, CStringView()), OrderOf(0, 0));
        EXPECT_EQ(OrderOf(null, ""), OrderOf(0, 1));
        EXPECT_EQ(OrderOf("", null), OrderOf(1, 0));
        EXPECT_EQ(OrderOf(null, CStringView("", 0)), OrderOf(0, 1));
        EXPECT_EQ(OrderOf(CStringView("", 0), none), OrderOf(1, 0));
    }
}

TEST(StringComparison, LessThanABufferIsLessThanAStringOfIt)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    const std::vector<std::string> texts = EveryText(std::string("aB\0\x80", 4), 3);
    for (const std::string &text : texts)
        for (const std::string &other : texts)
            for (const ECaseSensitivity sensitivity : kSensitivities)
            {
                const CString string = Resizable(text);
                EXPECT_EQ(string.LessThan(other.c_str(), sensitivity),
                          string.LessThan(CString(other.c_str()), sensitivity));
                EXPECT_EQ(CString().LessThan(other.c_str(), sensitivity),
                          CString().LessThan(CString(other.c_str()), sensitivity));
            }
    const char *const none = nullptr;
    EXPECT_FALSE(CString().LessThan(none));
    EXPECT_FALSE(CString("a").LessThan(none));
    CTestAllocator allocator;
    const CString string("b");
    const u64 requests = allocator.RequestCount();
    EXPECT_TRUE(string.LessThan("c") && !string.LessThan("B", CaseInsensitive));
    EXPECT_EQ(allocator.RequestCount(), requests);
}

TEST(StringComparison, NoComparisonTouchesTheStrings)
{
    const CString string("abc");
    const CString other = string;
    const CStringContainer *const container = ContainerOf(string);
    EXPECT_TRUE(string == other && !(string < other) && string.Compare("ABC", CaseInsensitive));
    EXPECT_EQ(ContainerOf(string), container);
    EXPECT_EQ(ContainerOf(other), container);
    EXPECT_EQ(container->RefCount(), 2u);
}

// Reports.

TEST(StringComparison, ComparingAContainerWithoutCharactersReports)
{
    CAssertRecorder recorder;
    const auto expect = [&](const std::string &report)
    {
        ExpectReports(recorder, {report});
        recorder.Clear();
    };
    CBrokenString broken;
    const CString &string = broken.Get();
    const CString whole("abc");
    const std::string one = "m_Container->Data() != null";
    const std::string both = "srcA != null && srcB != null";
    const char *null = nullptr;
    for (const ECaseSensitivity sensitivity : kSensitivities)
    {
        EXPECT_FALSE(string.Compare("abc", sensitivity));
        expect(one);
        EXPECT_TRUE(string.Compare(null, sensitivity));
        expect(one);
        EXPECT_FALSE(string.Compare(CStringView("abc", 3), sensitivity));
        expect(one);
        EXPECT_TRUE(string.Compare(CStringView(), sensitivity));
        expect(one);
        EXPECT_FALSE(string.Compare(whole, sensitivity));
        expect(both);
        EXPECT_FALSE(whole.Compare(string, sensitivity));
        expect(both);
        EXPECT_FALSE(CString("abcd").Compare(string, sensitivity));
        expect(both);
        static_cast<void>(string.LessThan(whole, sensitivity));
        expect(both);
        EXPECT_FALSE(whole.LessThan(string, sensitivity));
        expect(both);
    }
}

TEST(StringComparison, TwoContainersWithoutCharactersAreEqualAndNeitherIsLess)
{
    const CAssertRecorder recorder;
    CBrokenString one;
    CBrokenString other;
    const std::string both = "srcA != null && srcB != null";
    EXPECT_TRUE(one.Get().Compare(other.Get()));
    EXPECT_FALSE(one.Get().LessThan(other.Get()));
    ExpectReports(recorder, {both, both});
}

TEST(StringComparison, AContainerWithoutCharactersIsLessThanABuffer)
{
    const CAssertRecorder recorder;
    CBrokenString broken;
    EXPECT_TRUE(broken.Get().LessThan("abc"));
    ExpectReports(recorder, {"srcA != null && srcB != null"});
}

TEST(StringComparison, AContainerWithoutCharactersOrdersBeforeOnesThatHaveSome)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    CBrokenString anotherBroken;
    const CString &string = broken.Get();
    const CString &another = anotherBroken.Get();
    const CString whole("abc");
    EXPECT_TRUE(string < whole);
    EXPECT_FALSE(string > whole);
    EXPECT_FALSE(whole < string);
    EXPECT_TRUE(whole > string);
    EXPECT_FALSE(string < another);
    EXPECT_FALSE(string > another);
}

TEST(StringComparison, OrderingAContainerWithoutCharactersReports)
{
    CAssertRecorder recorder;
    const auto expect = [&](const std::string &report)
    {
        ExpectReports(recorder, {report});
        recorder.Clear();
    };
    CBrokenString broken;
    const CString &string = broken.Get();
    const CString whole("abc");
    const std::string handles = "m_Container->Data() != null && other.m_Container->Data() != null";
    const std::string buffers = "data0 != null && data1 != null";
    EXPECT_FALSE(string > whole);
    expect(handles);
    static_cast<void>(string < whole);
    expect(handles);
    EXPECT_FALSE(whole < string);
    expect(handles);
    static_cast<void>(whole > string);
    expect(handles);
    EXPECT_FALSE(string > "abc");
    expect(buffers);
    static_cast<void>(string < "abc");
    expect(buffers);
}

TEST(StringComparison, WhereOneStringHasNoContainerNothingIsReported)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    const CString null;
    EXPECT_TRUE(null < broken.Get());
    EXPECT_TRUE(broken.Get() > null);
    EXPECT_FALSE(broken.Get() < null);
    EXPECT_TRUE(null.LessThan(broken.Get()));
    EXPECT_TRUE(broken.Get() > static_cast<const char *>(nullptr));
    ExpectReports(recorder, {});
}

// Against the model.

TEST(StringComparison, EveryPairOfShortTextsComparesAsTheModelSays)
{
    const std::vector<std::string> texts = EveryText(kLetters, kLongest);
    std::vector<std::string> lowered;
    std::vector<CString> strings;
    for (const std::string &text : texts)
    {
        lowered.push_back(ModelLowercase(text));
        // The empty text gets a container, so that the model's order holds for it.
        strings.push_back(text.empty() ? Resizable("") : Fixed(text));
    }
    for (size_t i = 0; i < texts.size(); ++i)
    {
        for (size_t j = 0; j < texts.size(); ++j)
        {
            const CString &a = strings[i];
            const CString &b = strings[j];
            const CStringView view = ViewOf(texts[j]);
            const char *const buffer = texts[j].c_str();
            const bool equal = texts[i] == texts[j];
            const bool equalCase = lowered[i] == lowered[j];
            // The standard's strings order by unsigned bytes as well.
            const int order = texts[i].compare(texts[j]);
            const bool less = order < 0;
            const bool greater = order > 0;
            const bool right =
                a.Compare(b) == equal && a.Compare(b, CaseInsensitive) == equalCase && a.Compare(view) == equal &&
                a.Compare(view, CaseInsensitive) == equalCase && a.Compare(buffer) == equal &&
                a.Compare(buffer, CaseInsensitive) == equalCase && (a == view) == equal && a.LessThan(b) == less &&
                a.LessThan(b, CaseInsensitive) == (lowered[i] < lowered[j]) && (a < b) == less && (a > b) == greater &&
                (a < buffer) == less && (a > buffer) == greater && (a < view) == less && (a > view) == greater;
            if (!right)
            {
                FAIL() << ::testing::PrintToString(texts[i]) << " and " << ::testing::PrintToString(texts[j]);
            }
        }
    }
}

// What ordering is to see of two strings: the first one's length + 1 bytes, and the second one's whole blocks.
int ModelBlockOrder(const std::string &a, const std::string &b, bool ignoreCase)
{
    const std::string seenA = a + '\0';
    const std::string seenB = b + std::string(16 - b.size() % 16, '\0');
    const size_t common = std::min(seenA.size(), seenB.size());
    const std::string cutA = seenA.substr(0, common);
    const std::string cutB = seenB.substr(0, common);
    if (ModelLess(cutA, cutB, ignoreCase))
        return -1;
    return ModelLess(cutB, cutA, ignoreCase) || seenA.size() > common ? 1 : 0;
}

TEST(StringComparison, EveryPairOfShortTextsWithTerminatorsOrdersAsTheModelSays)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    const std::vector<std::string> texts = EveryText(std::string("a\0B", 3), 5);
    std::vector<CString> strings;
    for (const std::string &text : texts)
        strings.push_back(text.empty() ? Resizable("") : Fixed(text));
    for (size_t i = 0; i < texts.size(); ++i)
    {
        for (size_t j = 0; j < texts.size(); ++j)
        {
            const CString &a = strings[i];
            const CString &b = strings[j];
            const std::string x = ModelToTerminator(texts[i]);
            const std::string y = ModelToTerminator(texts[j]);
            const int order = ModelBlockOrder(texts[i], texts[j], false);
            ASSERT_EQ(a < b, order < 0);
            ASSERT_EQ(a > b, order > 0);
            ASSERT_EQ(a.LessThan(b), order < 0);
            ASSERT_EQ(a.LessThan(b, CaseInsensitive), ModelBlockOrder(texts[i], texts[j], true) < 0);
            ASSERT_EQ(a.Compare(b), texts[i] == texts[j]);
            ASSERT_EQ(a.Compare(texts[j].c_str()), x == y);
            ASSERT_EQ(a < texts[j].c_str(), x < y);
            const bool sameLength = texts[i].size() == texts[j].size();
            const bool emptyView = texts[j].empty();
            ASSERT_EQ(a.Compare(ViewOf(texts[j])), emptyView ? x.empty() : sameLength && x == y);
            ASSERT_EQ(a == ViewOf(texts[j]), emptyView ? x.empty() : !x.empty() && texts[i] == texts[j]);
            ASSERT_EQ(a < ViewOf(texts[j]), texts[i] < texts[j]);
        }
    }
}

// The end of memory.

// Texts of a length: all the same, differing at the end, differing at the start, ending in terminators.
std::vector<std::string> TextsOfLength(size_t length)
{
    std::vector<std::string> texts = {std::string(length, 'a')};
    if (length != 0)
    {
        texts.push_back(std::string(length - 1, 'a') + 'b');
        texts.push_back('b' + std::string(length - 1, 'a'));
        texts.push_back(std::string(length / 2, 'a') + std::string(length - length / 2, '\0'));
    }
    return texts;
}

// A resizable string whose buffer ends with the terminator's block.
CString WithoutSpareRoom(const std::string &text)
{
    return CString(CStringContainer::NewResizable(text.data(), LengthOf(text), std::max(LengthOf(text), 1u)));
}

TEST(StringComparison, OrderReadsNothingBehindTheLastBlockOfEitherString)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CPageEndAllocator allocator;
    const size_t lengths[] = {0, 1, 7, 14, 15, 16, 17, 30, 31, 32, 33, 47, 48, 63, 64, 65, 100};
    std::vector<std::string> texts;
    std::vector<CString> strings;
    for (const size_t length : lengths)
    {
        for (const std::string &text : TextsOfLength(length))
        {
            texts.push_back(text);
            strings.push_back(length % 2 != 0 ? Fixed(text) : WithoutSpareRoom(text));
        }
    }
    for (size_t i = 0; i < strings.size(); ++i)
    {
        for (size_t j = 0; j < strings.size(); ++j)
        {
            const int order = ModelBlockOrder(texts[i], texts[j], false);
            ASSERT_EQ(strings[i] < strings[j], order < 0) << i << ", " << j;
            ASSERT_EQ(strings[i] > strings[j], order > 0) << i << ", " << j;
            ASSERT_EQ(strings[i].LessThan(strings[j]), order < 0) << i << ", " << j;
            ASSERT_EQ(strings[i].LessThan(strings[j], CaseInsensitive), order < 0) << i << ", " << j;
            ASSERT_EQ(strings[i].Compare(strings[j]), texts[i] == texts[j]) << i << ", " << j;
            ASSERT_EQ(strings[i].Compare(strings[j], CaseInsensitive), texts[i] == texts[j]) << i << ", " << j;
        }
    }
}

TEST(StringComparison, ADifferenceIsFoundInEveryPlaceOfALongText)
{
    for (const u32 length : {1000u, 5000u, 20000u})
    {
        const std::string text(length, 'a');
        EXPECT_TRUE(Fixed(text) == Fixed(text));
        for (u32 at = 0; at < length; at += at % 512 == 0 || at + 512 >= length ? 1 : 511)
        {
            std::string other = text;
            other[at] = 'b';
            ASSERT_FALSE(Fixed(text) == Fixed(other)) << at;
            ASSERT_FALSE(Fixed(text).Compare(Fixed(other))) << at;
        }
    }
}

TEST(StringComparison, ADifferenceIsFoundInEveryPlaceAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (size_t length = 1; length <= 66; ++length)
    {
        const CString string = Fixed(std::string(length, 'm'));
        for (size_t place = 0; place < length; ++place)
        {
            for (const char character : {'\x01', 'a', 'M', 'z', '\x80', '\xFF'})
            {
                std::string text(length, 'm');
                text[place] = character;
                const CString other = Fixed(text);
                ASSERT_FALSE(string.Compare(other));
                ASSERT_EQ(string.Compare(other, CaseInsensitive), character == 'M');
                ASSERT_EQ(string < other, static_cast<u8>('m') < static_cast<u8>(character));
                ASSERT_EQ(string > other, static_cast<u8>('m') > static_cast<u8>(character));
                ASSERT_EQ(string.LessThan(other, CaseInsensitive), ModelLess("m", std::string(1, character), true));
            }
        }
    }
}

TEST(StringComparison, ViewsAndBuffersAreReadNoFurtherThanTheirEnd)
{
    CPageEndAllocator allocator;
    for (size_t length = 0; length <= 64; ++length)
    {
        const std::string text(length, 'a');
        const std::string longer = text + "ab";
        const CString same = text.empty() ? Resizable("") : Fixed(text);
        const CString beyond = Fixed(longer);
        for (size_t offset = 0; offset < 16; ++offset)
        {
            const CTextAtPageEnd piece(text, offset, 'a');
            const CStringView view = piece.View();
            ASSERT_TRUE(same == view);
            ASSERT_TRUE(same.Compare(view));
            ASSERT_TRUE(same.Compare(view, CaseInsensitive));
            ASSERT_FALSE(same < view || same > view);
            ASSERT_FALSE(beyond == view);
            ASSERT_FALSE(beyond.Compare(view));
            ASSERT_TRUE(beyond > view);
            ASSERT_FALSE(beyond < view);
        }
        const CTextAtPageEnd buffer(text + '\0');
        ASSERT_TRUE(same == buffer.Data());
        ASSERT_TRUE(same.Compare(buffer.Data(), CaseInsensitive));
        ASSERT_FALSE(same < buffer.Data() || same > buffer.Data());
        ASSERT_FALSE(beyond == buffer.Data());
        ASSERT_FALSE(beyond.Compare(buffer.Data(), CaseInsensitive));
        ASSERT_TRUE(beyond > buffer.Data());
    }
}

// The comparison behind `==`, which containers hide the edges of: their own bytes stand in front of the characters.
TEST(StringComparison, EqualCharactersLooksAtEachOfThemAndAtNothingAround)
{
    const CGuardedPage pageA;
    const CGuardedPage pageB;
    for (u32 length = 0; length <= 70; ++length)
    {
        for (const bool atFront : {false, true})
        {
            // What stands around differs where it may be read.
            std::memset(pageA.Begin(), 'x', pageA.Bytes());
            std::memset(pageB.Begin(), 'y', pageB.Bytes());
            char *const a = atFront ? pageA.Begin() : pageA.Last(length);
            char *const b = atFront ? pageB.Begin() : pageB.Last(length);
            for (u32 i = 0; i < length; ++i)
                a[i] = b[i] = static_cast<char>(1 + i);
            ASSERT_TRUE(Internal::String::EqualCharacters(a, b, length)) << length;
            for (u32 place = 0; place < length; ++place)
            {
                b[place] = static_cast<char>(b[place] ^ 0x80);
                ASSERT_FALSE(Internal::String::EqualCharacters(a, b, length)) << length << ", " << place;
                b[place] = a[place];
            }
        }
    }
}

} // namespace
