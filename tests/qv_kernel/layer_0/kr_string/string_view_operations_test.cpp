// The view on its own: construction and access, slicing, comparison, casing questions, search and stripping. Whatever
// it is asked, it looks at nothing but its own characters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "edit_model.h"
#include "every_locale.h"
#include "every_text.h"
#include "guarded_page.h"
#include "kr_string.h"
#include "search_model.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// Views of literals, embedded terminators included.
template <size_t N>
constexpr CStringView Literal(const char (&text)[N])
{
    return CStringView(text, static_cast<u32>(N - 1));
}

const ECaseSensitivity kBeyondTheNamedCases = static_cast<ECaseSensitivity>(7);

void ExpectView(const CStringView &view, const char *data, u32 length)
{
    EXPECT_EQ(static_cast<const void *>(view.Data()), static_cast<const void *>(data));
    EXPECT_EQ(view.Length(), length);
}

// Construction and access.

TEST(StringViewOperations, DefaultIsNullAndEmpty)
{
    const CStringView view;
    ExpectView(view, nullptr, 0);
    EXPECT_TRUE(view.Empty());
}

TEST(StringViewOperations, PointerAndLengthAreStoredUnchanged)
{
    const char text[] = {'a', 'b', 'c'};
    ExpectView(CStringView(text, 3), text, 3);
    ExpectView(CStringView(text + 1, 0), text + 1, 0);
    ExpectView(CStringView(nullptr, 5), nullptr, 5);
}

TEST(StringViewOperations, IsAPlainValueOfPointerThenLength)
{
    static_assert(std::is_trivially_copyable<CStringView>::value, "copying copies both members");
    static_assert(std::is_standard_layout<CStringView>::value, "members lie in the order of their declaration");
    const char text[] = "abc";
    const CStringView view(text, 2);
    const char *data = nullptr;
    u32 length = 0;
    std::memcpy(&data, &view, sizeof(data));
    std::memcpy(&length, reinterpret_cast<const char *>(&view) + sizeof(data), sizeof(length));
    EXPECT_EQ(static_cast<const void *>(data), static_cast<const void *>(text));
    EXPECT_EQ(length, 2u);
}

TEST(StringViewOperations, CanBeAConstant)
{
    static constexpr CStringView kView("abc", 2);
    static_assert(kView.Length() == 2 && !kView.Empty() && kView.View().Count() == 2, "made by the compiler");
    EXPECT_EQ(TextOf(kView), "ab");
}

TEST(StringViewOperations, OfAStringIsItsCharactersAndItsLength)
{
    const CString string("abc");
    ExpectView(CStringView(string), string.Data(), 3);
    const CString withTerminator = Fixed(std::string("a\0c", 3));
    ExpectView(CStringView(withTerminator), withTerminator.Data(), 3);
}

TEST(StringViewOperations, OfANullStringIsNullAndEmpty)
{
    const CString null;
    ExpectView(CStringView(null), nullptr, 0);
    ExpectView(CStringView(CString()), nullptr, 0);
}

TEST(StringViewOperations, OfATemporaryStringBorrowsItsCharacters)
{
    CTestAllocator allocator;
    {
        CString string("abc");
        const u64 requests = allocator.RequestCount();
        // The handle is only named as one that is about to go; its characters stay where they are.
        ExpectView(CStringView(std::move(string)), string.Data(), 3);
        EXPECT_EQ(allocator.RequestCount(), requests);
        EXPECT_EQ(TextOf(string), "abc");
    }
    EXPECT_EQ(TextOf(CStringView(CString("temporary"))), "temporary");
}

TEST(StringViewOperations, OfAMemoryViewIsItsDataAndItsCount)
{
    const char text[] = "abc";
    ExpectView(CStringView(TMemoryView<const char>(text, 2)), text, 2);
    ExpectView(CStringView(TMemoryView<const char>()), nullptr, 0);
}

TEST(StringViewOperations, EmptyLooksAtTheLengthAlone)
{
    EXPECT_TRUE(CStringView("abc", 0).Empty());
    EXPECT_TRUE(CStringView(nullptr, 0).Empty());
    EXPECT_FALSE(CStringView(nullptr, 3).Empty());
    EXPECT_FALSE(CStringView("\0bc", 3).Empty());
}

TEST(StringViewOperations, ClearGoesBackToNullAndEmpty)
{
    CStringView view("abc", 3);
    view.Clear();
    ExpectView(view, nullptr, 0);
}

TEST(StringViewOperations, ViewIsTheSameCharactersAsAMemoryView)
{
    const char text[] = "abc";
    const TMemoryView<const char> memory = CStringView(text, 2).View();
    EXPECT_EQ(static_cast<const void *>(memory.Data()), static_cast<const void *>(text));
    EXPECT_EQ(memory.Count(), 2u);
}

TEST(StringViewOperations, BeginAndEndAreTheEndsOfTheView)
{
    const char text[] = {'a', '\0', '\xE9', 'd'};
    const CStringView view(text, 3);
    EXPECT_EQ(static_cast<const void *>(view.begin()), static_cast<const void *>(text));
    EXPECT_EQ(static_cast<const void *>(view.end()), static_cast<const void *>(text + 3));
    std::string walked;
    for (const char character : view)
        walked += character;
    EXPECT_EQ(walked, std::string("a\0\xE9", 3));
    static constexpr CStringView kName("name");
    static_assert(kName.end() - kName.begin() == 4 && *kName.begin() == 'n', "known to the compiler");
}

TEST(StringViewOperations, BeginAndEndOfAViewWithoutCharactersAreAnEmptyRange)
{
    for (const CStringView &view :
         {CStringView(), CStringView(nullptr, 3), CStringView(nullptr, 0xFFFFFFFFu), CStringView("abc", 0)})
    {
        EXPECT_EQ(static_cast<const void *>(view.begin()), static_cast<const void *>(view.Data()));
        EXPECT_EQ(static_cast<const void *>(view.end()), static_cast<const void *>(view.Data()));
    }
}

TEST(StringViewOperations, IndexAnswersTheCharacterByValue)
{
    CAssertRecorder recorder;
    char text[] = {'a', 'b', 'c'};
    const CStringView view(text, 3);
    static_assert(std::is_same<decltype(view[0]), char>::value, "by value");
    EXPECT_EQ(view[0], 'a');
    EXPECT_EQ(view[2], 'c');
    text[2] = 'x';
    EXPECT_EQ(view[2], 'x');
    ExpectReports(recorder, {});
}

TEST(StringViewOperations, IndexPastTheEndReportsAndReadsTheCharacterAnyway)
{
    CAssertRecorder recorder;
    const char text[] = "abcd";
    const CStringView view(text, 2);
    EXPECT_EQ(view[2], 'c');
    ExpectReports(recorder, {"index < m_Length"});
    EXPECT_EQ(view[3], 'd');
    ExpectReports(recorder, {"index < m_Length", "index < m_Length"});
}

TEST(StringViewOperations, IndexOfANullViewReportsAndAnswersATerminator)
{
    CAssertRecorder recorder;
    EXPECT_EQ(CStringView()[0], '\0');
    ExpectReports(recorder, {"index < m_Length"});
}

TEST(StringViewOperations, EmptyWithASetAsksForNothingButCharactersOfTheSet)
{
    const CStringView view(" \t x ");
    EXPECT_TRUE(view.Slice(0, 3).Empty(" \t"));
    EXPECT_FALSE(view.Slice(0, 4).Empty(" \t"));
    EXPECT_FALSE(view.Slice(0, 3).Empty(" "));
    EXPECT_TRUE(view.Empty("x \t"));
    // A terminator is no blank, wherever it stands.
    EXPECT_FALSE(CStringView("\0", 1).Empty(" "));
    EXPECT_FALSE(CStringView(" \0", 2).Empty(" "));
    EXPECT_TRUE(CStringView("\xE9\xFF", 2).Empty("\xFF\xE9"));
    EXPECT_FALSE(CStringView("\xE9", 1).Empty("\xC9"));
}

TEST(StringViewOperations, EmptyWithANullOrEmptySetIsPlainEmptiness)
{
    const char *const null = nullptr;
    for (const char *set : {null, "", "\0 "})
    {
        EXPECT_TRUE(CStringView().Empty(set));
        EXPECT_TRUE(CStringView("abc", 0).Empty(set));
        EXPECT_FALSE(CStringView(" ").Empty(set));
        // By its length alone, as without a set.
        EXPECT_FALSE(CStringView(nullptr, 3).Empty(set));
    }
}

TEST(StringViewOperations, AViewWithoutCharactersIsBlankForEverySet)
{
    for (const CStringView &view : {CStringView(), CStringView(nullptr, 3), CStringView("abc", 0)})
        EXPECT_TRUE(view.Empty(" "));
}

TEST(StringViewOperations, EmptyWithASetReadsNothingOutsideTheView)
{
    for (u32 length = 0; length <= 65; ++length)
    {
        const CTextAtPageEnd guarded(std::string(length, ' '));
        EXPECT_TRUE(guarded.View().Empty(" ")) << length;
        EXPECT_EQ(guarded.View().Empty("x"), length == 0) << length;
    }
}

// Slicing.

TEST(StringViewOperations, SliceFromAStartGoesToTheEnd)
{
    const char text[] = "abcde";
    const CStringView view(text, 4);
    ExpectView(view.Slice(0), text, 4);
    ExpectView(view.Slice(1), text + 1, 3);
    ExpectView(view.Slice(3), text + 3, 1);
}

TEST(StringViewOperations, SliceTakesCountCharactersFromStart)
{
    const char text[] = "abcde";
    const CStringView view(text, 4);
    ExpectView(view.Slice(0, 4), text, 4);
    ExpectView(view.Slice(1, 2), text + 1, 2);
    ExpectView(view.Slice(2, 0), text + 2, 0);
}

TEST(StringViewOperations, SliceClampsStartAndCountToTheViewWithoutAReport)
{
    CAssertRecorder recorder;
    const char text[] = "abcde";
    const CStringView view(text, 4);
    ExpectView(view.Slice(4), text + 4, 0);
    ExpectView(view.Slice(5), text + 4, 0);
    ExpectView(view.Slice(0xFFFFFFFFu), text + 4, 0);
    ExpectView(view.Slice(1, 9), text + 1, 3);
    ExpectView(view.Slice(9, 9), text + 4, 0);
    ExpectView(view.Slice(4, 1), text + 4, 0);
    ExpectReports(recorder, {});
}

TEST(StringViewOperations, SliceOfStartPlusCountBeyond32BitsDoesNotWrap)
{
    const char text[] = "abcde";
    const CStringView view(text, 4);
    ExpectView(view.Slice(2, 0xFFFFFFFFu), text + 2, 2);
    ExpectView(view.Slice(0xFFFFFFFFu, 3), text + 4, 0);
    ExpectView(view.Slice(0xFFFFFFFFu, 0xFFFFFFFFu), text + 4, 0);
}

TEST(StringViewOperations, SliceOfANullViewIsEmpty)
{
    EXPECT_TRUE(CStringView().Slice(0).Empty());
    EXPECT_TRUE(CStringView().Slice(1, 2).Empty());
    EXPECT_EQ(CStringView().Slice(1).Data(), nullptr);
}

// Comparison.

TEST(StringViewOperations, CompareWithABufferIsEqualityWithoutATerminatorBehindTheView)
{
    const CStringView view("abcd", 3);
    EXPECT_TRUE(view.Compare("abc", CaseSensitive));
    EXPECT_FALSE(view.Compare("abd", CaseSensitive));
    EXPECT_FALSE(view.Compare("ab", CaseSensitive));
    EXPECT_FALSE(view.Compare("abcd", CaseSensitive));
    EXPECT_FALSE(view.Compare("", CaseSensitive));
    EXPECT_FALSE(view.Compare("ABC", CaseSensitive));
}

TEST(StringViewOperations, CompareWithABufferIgnoresCaseWhenAskedTo)
{
    const CStringView view("aBcd", 3);
    EXPECT_TRUE(view.Compare("AbC", CaseInsensitive));
    EXPECT_TRUE(view.Compare("AbC", kBeyondTheNamedCases));
    EXPECT_FALSE(view.Compare("AbD", CaseInsensitive));
    EXPECT_FALSE(view.Compare("Ab", CaseInsensitive));
    EXPECT_FALSE(view.Compare("AbCd", CaseInsensitive));
}

TEST(StringViewOperations, CompareDefaultsToCaseSensitive)
{
    const CStringView view("abc", 3);
    EXPECT_FALSE(view.Compare("ABC"));
    EXPECT_FALSE(view.Compare(Literal("ABC")));
    EXPECT_TRUE(view.Compare("abc"));
    EXPECT_TRUE(view.Compare(Literal("abc")));
}

TEST(StringViewOperations, CompareWithNullIsCompareWithAnEmptyBuffer)
{
    const char *null = nullptr;
    for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
    {
        for (const CStringView &empty :
             {CStringView(), CStringView("abc", 0), Literal("\0bc"), CStringView(nullptr, 3)})
        {
            EXPECT_TRUE(empty.Compare(null, sensitivity));
            EXPECT_TRUE(empty.Compare("", sensitivity));
        }
        EXPECT_FALSE(Literal("abc").Compare(null, sensitivity));
        EXPECT_FALSE(Literal("abc").Compare("", sensitivity));
    }
}

TEST(StringViewOperations, CompareEndsWhereBothTextsHaveATerminator)
{
    for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
    {
        EXPECT_TRUE(Literal("ab\0c").Compare("ab", sensitivity));
        EXPECT_TRUE(Literal("ab\0c").Compare(Literal("ab\0d"), sensitivity));
        EXPECT_FALSE(Literal("ab\0c").Compare(Literal("a\0bc"), sensitivity));
        EXPECT_FALSE(Literal("ab\0c").Compare("ab c", sensitivity));
    }
}

TEST(StringViewOperations, CompareWithAViewNeedsTheSameLength)
{
    const CStringView view("abcd", 3);
    EXPECT_TRUE(view.Compare(CStringView("abcx", 3), CaseSensitive));
    EXPECT_FALSE(view.Compare(Literal("ab"), CaseSensitive));
    EXPECT_FALSE(view.Compare(Literal("abcd"), CaseSensitive));
    EXPECT_FALSE(view.Compare(Literal("abd"), CaseSensitive));
    EXPECT_FALSE(view.Compare(CStringView(), CaseSensitive));
    EXPECT_TRUE(view.Compare(Literal("ABC"), CaseInsensitive));
    EXPECT_TRUE(view.Compare(Literal("ABC"), kBeyondTheNamedCases));
    EXPECT_FALSE(view.Compare(Literal("ABCD"), CaseInsensitive));
    EXPECT_FALSE(view.Compare(Literal("ABD"), CaseInsensitive));
}

TEST(StringViewOperations, EmptyViewsAreEqualWhereverTheyPoint)
{
    for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
    {
        EXPECT_TRUE(CStringView().Compare(CStringView("abc", 0), sensitivity));
        EXPECT_TRUE(CStringView("abc", 0).Compare(CStringView(), sensitivity));
        EXPECT_TRUE(CStringView("abc", 0).Compare(CStringView("xyz", 0), sensitivity));
    }
    EXPECT_TRUE(CStringView() == CStringView("abc", 0));
    EXPECT_TRUE(CStringView("abc", 0) == CStringView());
    EXPECT_FALSE(CStringView() != CStringView("abc", 0));
}

TEST(StringViewOperations, EqualityTellsCaseAndAllCharacters)
{
    const CStringView view("abcd", 3);
    EXPECT_TRUE(view == "abc");
    EXPECT_TRUE(view == CStringView("abcx", 3));
    EXPECT_FALSE(view == "ABC");
    EXPECT_FALSE(view == Literal("ABC"));
    EXPECT_FALSE(view == "ab");
    EXPECT_FALSE(view == "abcd");
    EXPECT_FALSE(view == Literal("abcd"));
    EXPECT_FALSE(view != "abc");
    EXPECT_FALSE(view != CStringView("abcx", 3));
    EXPECT_TRUE(view != "abd");
    EXPECT_TRUE(view != Literal("abd"));
}

TEST(StringViewOperations, EqualityGoesBeyondEmbeddedTerminators)
{
    EXPECT_TRUE(Literal("ab\0c") == Literal("ab\0c"));
    EXPECT_FALSE(Literal("ab\0c") == Literal("ab\0d"));
    EXPECT_FALSE(Literal("ab\0c") == "ab");
    EXPECT_FALSE(Literal("\0") == "");
    EXPECT_FALSE(Literal("\0") == CStringView());
}

TEST(StringViewOperations, EqualityWithNullIsEmptiness)
{
    const char *null = nullptr;
    EXPECT_TRUE(CStringView() == null);
    EXPECT_TRUE(CStringView("abc", 0) == null);
    EXPECT_TRUE(CStringView() == "");
    EXPECT_FALSE(Literal("abc") == null);
    EXPECT_FALSE(Literal("\0") == null);
    EXPECT_TRUE(Literal("abc") != null);
}

// Casing.

TEST(StringViewOperations, IsUpperWhenNoCharacterDiffersFromItsUpperCaseForm)
{
    EXPECT_TRUE(Literal("ABC 1!").IsUpper());
    EXPECT_TRUE(Literal("1!").IsUpper());
    EXPECT_TRUE(CStringView().IsUpper());
    EXPECT_FALSE(Literal("ABc").IsUpper());
    EXPECT_TRUE(CStringView("ABc", 2).IsUpper());
    EXPECT_TRUE(Literal("\xE4\xFC\x80\xFF").IsUpper());
}

TEST(StringViewOperations, IsLowerWhenNoCharacterDiffersFromItsLowerCaseForm)
{
    EXPECT_TRUE(Literal("abc 1!").IsLower());
    EXPECT_TRUE(Literal("1!").IsLower());
    EXPECT_TRUE(CStringView().IsLower());
    EXPECT_FALSE(Literal("abC").IsLower());
    EXPECT_TRUE(CStringView("abC", 2).IsLower());
    EXPECT_TRUE(Literal("\xC4\xDC\x80\xFF").IsLower());
}

TEST(StringViewOperations, AnalyzeCasingNamesTheCasingOfTheLetters)
{
    EXPECT_EQ(Literal("abc 1").AnalyzeCasing(), CasingType_Lowercase);
    EXPECT_EQ(Literal("ABC 1").AnalyzeCasing(), CasingType_Uppercase);
    EXPECT_EQ(Literal("aBC 1").AnalyzeCasing(), CasingType_Mixed);
    EXPECT_EQ(Literal("12 !").AnalyzeCasing(), CasingType_Unspecified);
    EXPECT_EQ(CStringView().AnalyzeCasing(), CasingType_Unspecified);
    EXPECT_EQ(Literal("\xE4\xC4").AnalyzeCasing(), CasingType_Unspecified);
    EXPECT_EQ(CStringView("aB", 1).AnalyzeCasing(), CasingType_Lowercase);
}

TEST(StringViewOperations, CasingQuestionsCoverEmbeddedTerminators)
{
    EXPECT_EQ(Literal("a\0B").AnalyzeCasing(), CasingType_Mixed);
    EXPECT_FALSE(Literal("A\0b").IsUpper());
    EXPECT_FALSE(Literal("a\0B").IsLower());
    EXPECT_FALSE(Literal("\0b").IsUpper());
}

// Prefix, suffix and substring.

TEST(StringViewOperations, StartsWithTestsThePrefix)
{
    const CStringView view("abcd", 3);
    EXPECT_TRUE(view.StartsWith("ab"));
    EXPECT_TRUE(view.StartsWith("abc"));
    EXPECT_TRUE(view.StartsWith(CStringView("abx", 2)));
    EXPECT_FALSE(view.StartsWith("abcd"));
    EXPECT_FALSE(view.StartsWith("b"));
    EXPECT_FALSE(view.StartsWith("AB"));
    EXPECT_TRUE(view.StartsWith("AB", CaseInsensitive));
    EXPECT_TRUE(view.StartsWith(Literal("AB"), CaseInsensitive));
    EXPECT_TRUE(view.StartsWith(Literal("AB"), kBeyondTheNamedCases));
    EXPECT_FALSE(view.StartsWith("AC", CaseInsensitive));
}

TEST(StringViewOperations, EndsWithTestsTheSuffix)
{
    const CStringView view("abcd", 3);
    EXPECT_TRUE(view.EndsWith("bc"));
    EXPECT_TRUE(view.EndsWith("abc"));
    EXPECT_TRUE(view.EndsWith(CStringView("bcx", 2)));
    EXPECT_FALSE(view.EndsWith("xabc"));
    EXPECT_FALSE(view.EndsWith("cd"));
    EXPECT_FALSE(view.EndsWith("b"));
    EXPECT_FALSE(view.EndsWith("BC"));
    EXPECT_TRUE(view.EndsWith("BC", CaseInsensitive));
    EXPECT_TRUE(view.EndsWith(Literal("BC"), kBeyondTheNamedCases));
    EXPECT_FALSE(view.EndsWith("BD", CaseInsensitive));
}

TEST(StringViewOperations, ContainsTestsForASubstring)
{
    const CStringView view("abcd", 3);
    EXPECT_TRUE(view.Contains("b"));
    EXPECT_TRUE(view.Contains("abc"));
    EXPECT_TRUE(view.Contains(CStringView("bcx", 2)));
    EXPECT_FALSE(view.Contains("cd"));
    EXPECT_FALSE(view.Contains("ac"));
    EXPECT_FALSE(view.Contains("abcd"));
    EXPECT_FALSE(view.Contains("BC"));
    EXPECT_TRUE(view.Contains("BC", CaseInsensitive));
    EXPECT_TRUE(view.Contains(Literal("BC"), kBeyondTheNamedCases));
    EXPECT_FALSE(view.Contains("CD", CaseInsensitive));
}

TEST(StringViewOperations, EmptyAndNullArgumentsAreContainedInEverything)
{
    const char *null = nullptr;
    for (const CStringView &view : {Literal("abc"), CStringView(), CStringView("abc", 0), CStringView(nullptr, 3)})
    {
        for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
        {
            for (const CStringView &empty : {CStringView(), CStringView("abc", 0)})
            {
                EXPECT_TRUE(view.StartsWith(empty, sensitivity));
                EXPECT_TRUE(view.EndsWith(empty, sensitivity));
                EXPECT_TRUE(view.Contains(empty, sensitivity));
            }
            for (const char *empty : {null, ""})
            {
                EXPECT_TRUE(view.StartsWith(empty, sensitivity));
                EXPECT_TRUE(view.EndsWith(empty, sensitivity));
                EXPECT_TRUE(view.Contains(empty, sensitivity));
            }
        }
    }
}

TEST(StringViewOperations, NothingIsContainedInAnEmptyView)
{
    for (const CStringView &empty : {CStringView(), CStringView("abc", 0)})
    {
        EXPECT_FALSE(empty.StartsWith("a"));
        EXPECT_FALSE(empty.EndsWith("a"));
        EXPECT_FALSE(empty.Contains("a"));
    }
}

TEST(StringViewOperations, TerminatorsInViewsAreCharactersToFind)
{
    const CStringView view = Literal("a\0b\0");
    for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
    {
        EXPECT_TRUE(view.StartsWith(Literal("a\0b"), sensitivity));
        EXPECT_FALSE(view.StartsWith(Literal("a\0c"), sensitivity));
        EXPECT_TRUE(view.EndsWith(Literal("b\0"), sensitivity));
        EXPECT_FALSE(view.EndsWith(Literal("c\0"), sensitivity));
        EXPECT_TRUE(view.Contains(Literal("\0b"), sensitivity));
        EXPECT_FALSE(view.Contains(Literal("\0c"), sensitivity));
        EXPECT_FALSE(view.EndsWith("b", sensitivity));
    }
}

TEST(StringViewOperations, ContainsFindsANeedleThatRecursInPart)
{
    EXPECT_TRUE(Literal("aabaabaaab").Contains("aabaaab"));
    EXPECT_TRUE(Literal("aabaabaaab").Contains("AABAAAB", CaseInsensitive));
    EXPECT_FALSE(Literal("aabaabaabaab").Contains("aabaaab"));
    EXPECT_FALSE(Literal("aabaabaabaab").Contains("AABAAAB", CaseInsensitive));
}

// Stripping.

TEST(StringViewOperations, StripNarrowsAtBothEndsStripLeftAtTheStartAndStripRightAtTheEnd)
{
    const char text[] = "xxaxbxx";
    const CStringView view(text, 7);
    ExpectView(view.Strip('x'), text + 2, 3);
    ExpectView(view.StripLeft('x'), text + 2, 5);
    ExpectView(view.StripRight('x'), text, 5);
    ExpectView(view.Strip("x"), text + 2, 3);
    ExpectView(view.StripLeft("x"), text + 2, 5);
    ExpectView(view.StripRight("x"), text, 5);
}

TEST(StringViewOperations, StripTakesAnyCharacterOfTheSet)
{
    const char text[] = " \tab c\t \xE9";
    const CStringView view(text, 9);
    ExpectView(view.Strip("\t\xE9 "), text + 2, 4);
    ExpectView(view.StripLeft("\t "), text + 2, 7);
    ExpectView(view.StripRight("\xE9\t "), text, 6);
}

TEST(StringViewOperations, StripWithoutAMatchGivesTheViewItself)
{
    const char text[] = "abc";
    const CStringView view(text, 3);
    for (const CStringView &stripped : {view.Strip('b'), view.StripLeft('b'), view.StripRight('b'), view.Strip("bx"),
                                        view.StripLeft("bx"), view.StripRight("bx")})
        ExpectView(stripped, text, 3);
}

TEST(StringViewOperations, StripWithANullOrEmptySetStripsNothing)
{
    const char text[] = " abc ";
    const CStringView view(text, 5);
    for (const char *set : {static_cast<const char *>(nullptr), ""})
    {
        ExpectView(view.Strip(set), text, 5);
        ExpectView(view.StripLeft(set), text, 5);
        ExpectView(view.StripRight(set), text, 5);
    }
}

TEST(StringViewOperations, StripOfNothingElseLeavesAnEmptyView)
{
    const CStringView view = Literal("abab");
    EXPECT_TRUE(view.Strip("ab").Empty());
    EXPECT_TRUE(view.StripLeft("ab").Empty());
    EXPECT_TRUE(view.StripRight("ab").Empty());
    EXPECT_TRUE(Literal("aaa").Strip('a').Empty());
    EXPECT_TRUE(CStringView().Strip("ab").Empty());
    EXPECT_TRUE(CStringView().Strip('a').Empty());
}

TEST(StringViewOperations, StripTakesATerminatorOnlyWhenItIsTheCharacter)
{
    const char text[] = "\0a\0";
    const CStringView view(text, 3);
    ExpectView(view.Strip('\0'), text + 1, 1);
    ExpectView(view.StripLeft('\0'), text + 1, 2);
    ExpectView(view.StripRight('\0'), text, 2);
    ExpectView(view.Strip("a"), text, 3);
    ExpectView(view.StripLeft("a"), text, 3);
    ExpectView(view.StripRight("a"), text, 3);
}

TEST(StringViewOperations, StripOfLongRunsStripsThemAllAndReadsNothingElse)
{
    // Characters of every part of a set, in runs of which the last one ends at a place of its own.
    const std::string set = " \t;@Z`z~\x80\x9F\xC3\xFF";
    const CGuardedPage page;
    for (const size_t front : {0u, 1u, 15u, 16u, 17u, 31u, 32u, 33u, 63u, 64u, 79u, 80u, 81u, 200u})
    {
        for (const size_t back : {0u, 1u, 15u, 16u, 17u, 32u, 79u, 80u, 81u, 145u, 200u})
        {
            for (const std::string &middle :
                 {std::string(), std::string("x"), std::string("\0 [ \0", 5), std::string(100, '\x81')})
            {
                std::string text;
                for (size_t i = 0; i < front; ++i)
                    text += set[i % set.size()];
                text += middle;
                for (size_t i = 0; i < back; ++i)
                    text += set[i * 5 % set.size()];
                for (char *const data : {page.Begin(), page.Last(text.size())})
                {
                    std::copy(text.begin(), text.end(), data);
                    const CStringView view(data, static_cast<u32>(text.size()));
                    ASSERT_EQ(TextOf(view.Strip(set.c_str())), ModelStrip(text, set));
                    ASSERT_EQ(TextOf(view.StripLeft(set.c_str())), ModelStripLeft(text, set));
                    ASSERT_EQ(TextOf(view.StripRight(set.c_str())), ModelStripRight(text, set));
                    ASSERT_EQ(view.Empty(set.c_str()), middle.empty());
                    ASSERT_EQ(Fixed(text).Empty(set.c_str()), middle.empty() || middle[0] == '\0');
                }
            }
        }
    }
}

TEST(StringViewOperations, StripOfManyOfOneCharacterKnowsEveryOne)
{
    for (u32 code = 0; code < 256; ++code)
    {
        const char c = static_cast<char>(code);
        const std::string run(50, c);
        const std::string kept(1, static_cast<char>(code + 16));
        const std::string text = run + kept + run;
        ASSERT_EQ(TextOf(ViewOf(text).Strip(c)), kept);
        ASSERT_EQ(TextOf(ViewOf(text).StripLeft(c)), kept + run);
        ASSERT_EQ(TextOf(ViewOf(text).StripRight(c)), run + kept);
    }
}

// Search.

TEST(StringViewOperations, FindFirstOfACharacterAnswersItsFirstIndex)
{
    const CStringView view("abcbx", 4);
    EXPECT_EQ(view.FindFirstOf('a'), 0u);
    EXPECT_EQ(view.FindFirstOf('b'), 1u);
    EXPECT_FALSE(view.FindFirstOf('x').Valid());
    EXPECT_FALSE(CStringView().FindFirstOf('a').Valid());
}

TEST(StringViewOperations, FindFirstOfASetAnswersTheFirstOfAnyOfItsCharacters)
{
    const CStringView view("abcbx", 4);
    EXPECT_EQ(view.FindFirstOf("cb"), 1u);
    EXPECT_EQ(view.FindFirstOf("c"), 2u);
    EXPECT_FALSE(view.FindFirstOf("xyz").Valid());
    EXPECT_FALSE(CStringView().FindFirstOf("abc").Valid());
}

TEST(StringViewOperations, FindNextOfBeginsAtItsStart)
{
    const CStringView view("abcbx", 4);
    EXPECT_EQ(view.FindNextOf('b', 1), 1u);
    EXPECT_EQ(view.FindNextOf('b', 2), 3u);
    EXPECT_FALSE(view.FindNextOf('a', 1).Valid());
    EXPECT_EQ(view.FindNextOf("ab", 1), 1u);
    EXPECT_EQ(view.FindNextOf("ab", 2), 3u);
    EXPECT_FALSE(view.FindNextOf("a", 1).Valid());
}

TEST(StringViewOperations, FindNextOfAtOrBehindTheEndFindsNothing)
{
    const CStringView view("abcbx", 4);
    for (const u32 start : {4u, 5u, 0xFFFFFFFFu})
    {
        EXPECT_FALSE(view.FindNextOf('x', start).Valid());
        EXPECT_FALSE(view.FindNextOf('b', start).Valid());
        EXPECT_FALSE(view.FindNextOf("bx", start).Valid());
    }
    EXPECT_FALSE(CStringView().FindNextOf('a', 0).Valid());
    EXPECT_FALSE(CStringView().FindNextOf("a", 0).Valid());
}

TEST(StringViewOperations, FindLastOfAnswersEveryPlaceOfAFewBlocks)
{
    const CGuardedPage page;
    for (u32 length = 1; length <= 300; ++length)
        for (char *const data : {page.Begin(), page.Last(length)})
        {
            std::fill(data, data + length, '.');
            const CStringView view(data, length);
            ASSERT_FALSE(view.FindLastOf('\xE9').Valid()) << length;
            // Those in front of it stand there, too.
            for (u32 place = 0; place < length; ++place)
            {
                data[place] = '\xE9';
                ASSERT_EQ(view.FindLastOf('\xE9'), place) << length;
            }
        }
}

TEST(StringViewOperations, FindLastOfAnswersTheLastIndex)
{
    const CStringView view("abcbx", 4);
    EXPECT_EQ(view.FindLastOf('b'), 3u);
    EXPECT_EQ(view.FindLastOf('a'), 0u);
    EXPECT_FALSE(view.FindLastOf('x').Valid());
    EXPECT_FALSE(CStringView().FindLastOf('a').Valid());
}

TEST(StringViewOperations, FindTextAnswersTheFirstPlaceOfTheWholeTextFromStartOn)
{
    const CStringView view("abcabcx", 6);
    EXPECT_EQ(view.FindText("ab"), 0u);
    EXPECT_EQ(view.FindText("bc"), 1u);
    EXPECT_EQ(view.FindText("bc", 2), 4u);
    EXPECT_EQ(view.FindText(CStringView("bcx", 2), 4), 4u);
    EXPECT_EQ(view.FindText(CString("BC"), 2, CaseInsensitive), 4u);
    EXPECT_EQ(view.FindText("BC", 2, kBeyondTheNamedCases), 4u);
    EXPECT_FALSE(view.FindText("bc", 5).Valid());
    EXPECT_FALSE(view.FindText("BC").Valid());
    EXPECT_FALSE(view.FindText("cx").Valid());
    EXPECT_FALSE(view.FindText("abcabcx").Valid());
    EXPECT_EQ(Literal("a\0b\0c").FindText(Literal("\0c")), 3u);
    EXPECT_EQ(Literal("a\0b\0c").FindText("\0c", 5), 5u);
    EXPECT_FALSE(Literal("a\0b\0c").FindText("\0c", 6).Valid());
}

TEST(StringViewOperations, FindLastTextAnswersTheLastPlaceOfTheWholeText)
{
    const CStringView view("abcabcx", 6);
    EXPECT_EQ(view.FindLastText("bc"), 4u);
    EXPECT_EQ(view.FindLastText("abcabc"), 0u);
    EXPECT_EQ(view.FindLastText(CStringView("abx", 2)), 3u);
    EXPECT_EQ(view.FindLastText(CString("BC"), CaseInsensitive), 4u);
    EXPECT_EQ(view.FindLastText("BC", kBeyondTheNamedCases), 4u);
    EXPECT_FALSE(view.FindLastText("BC").Valid());
    EXPECT_FALSE(view.FindLastText("cx").Valid());
    EXPECT_FALSE(view.FindLastText("abcabcx").Valid());
    EXPECT_EQ(Literal("a\0b\0c").FindLastText(Literal("\0")), 3u);
    EXPECT_EQ(Literal("a\0b\0c").FindLastText("\0c"), 5u);
}

TEST(StringViewOperations, FindWithANullOrEmptySetFindsNothing)
{
    const CStringView view = Literal("a\0b");
    for (const char *set : {static_cast<const char *>(nullptr), ""})
    {
        EXPECT_FALSE(view.FindFirstOf(set).Valid());
        EXPECT_FALSE(view.FindNextOf(set, 1).Valid());
    }
}

TEST(StringViewOperations, FindOfATerminatorNeedsTheCharacterNotASet)
{
    const CStringView view = Literal("a\0b\0c");
    EXPECT_EQ(view.FindFirstOf('\0'), 1u);
    EXPECT_EQ(view.FindNextOf('\0', 2), 3u);
    EXPECT_EQ(view.FindLastOf('\0'), 3u);
    EXPECT_EQ(view.FindFirstOf("bc"), 2u);
    EXPECT_FALSE(Literal("a").FindFirstOf('\0').Valid());
}

TEST(StringViewOperations, FindTellsAllBytesApart)
{
    std::string text;
    for (int value = 0; value < 256; ++value)
        text += static_cast<char>(value);
    const CStringView view = ViewOf(text);
    for (u32 value = 0; value < 256; ++value)
    {
        const char character = static_cast<char>(value);
        EXPECT_EQ(view.FindFirstOf(character), value);
        EXPECT_EQ(view.FindLastOf(character), value);
        const char set[] = {character, '\0'};
        EXPECT_EQ(view.FindFirstOf(set).Valid(), value != 0);
        if (value != 0)
        {
            EXPECT_EQ(view.FindFirstOf(set), value);
        }
    }
}

// A view of null whose length claims characters has none.
TEST(StringViewOperations, NullWithALengthHasNoCharactersToLookAt)
{
    const CStringView view(nullptr, 5);
    EXPECT_TRUE(view.IsUpper());
    EXPECT_TRUE(view.IsLower());
    EXPECT_EQ(view.AnalyzeCasing(), CasingType_Unspecified);
    EXPECT_FALSE(view.StartsWith("a"));
    EXPECT_FALSE(view.EndsWith("a"));
    EXPECT_FALSE(view.Contains("a"));
    EXPECT_FALSE(view.Contains("A", CaseInsensitive));
    EXPECT_FALSE(view == Literal("abcde"));
    EXPECT_FALSE(Literal("abcde") == view);
    EXPECT_FALSE(view == "abcde");
    EXPECT_FALSE(view.Compare(Literal("abcde"), CaseInsensitive));
    EXPECT_FALSE(Literal("abcde").Compare(view));
    EXPECT_FALSE(view.FindFirstOf('a').Valid());
    EXPECT_FALSE(view.FindFirstOf("a").Valid());
    EXPECT_FALSE(view.FindNextOf('\0', 1).Valid());
    EXPECT_FALSE(view.FindLastOf('\0').Valid());
    EXPECT_FALSE(view.FindText("a").Valid());
    EXPECT_EQ(view.FindText(view), 0u);
    EXPECT_FALSE(view.FindText("", 1).Valid());
    EXPECT_FALSE(view.FindLastText("a", CaseInsensitive).Valid());
    EXPECT_EQ(view.FindLastText(view), 0u);
    EXPECT_EQ(Literal("abc").FindText(view, 2), 2u);
    EXPECT_EQ(Literal("abc").FindLastText(view), 3u);
    for (const CStringView &derived : {view.Slice(2), view.Slice(1, 2), view.Strip('\0'), view.Strip("ab")})
        EXPECT_EQ(derived.Data(), nullptr);
}

// Everything that a view can be asked, as one list of answers.

const std::vector<char> kCharacters = {'a', 'B', ' ', '\0', '\xE9'};
const std::vector<std::string> kSets = {"a", " aB", "\xE9", "xyz", ""};
const std::vector<std::string> kTexts = {"", "a", "A", "aB", "Ba", "aB c\xE9", " ", "b", "aaaaaaaaaaaaaaaaaaaa"};
const std::vector<u32> kPlaces = {0, 1, 7, 16, 31, 64, 0xFFFFFFFFu};

typedef std::vector<std::string> CAnswers;

std::string Answer(bool answer)
{
    return answer ? "yes" : "no";
}

std::string Answer(const CGuid &found)
{
    return found.Valid() ? std::to_string(found.Get()) : "none";
}

std::string AnswerFound(size_t found)
{
    return found != std::string::npos ? std::to_string(found) : "none";
}

// What the library says of the view.
CAnswers AnswersOf(const CStringView &view)
{
    CAnswers answers;
    const auto add = [&](const std::string &answer) { answers.push_back(answer); };
    add(TextOf(view));
    add(Answer(view.Empty()));
    add(TextOf(view.ToString()));
    add(Answer(view.IsUpper()));
    add(Answer(view.IsLower()));
    add(std::to_string(view.AnalyzeCasing()));
    for (const u32 start : kPlaces)
    {
        add(TextOf(view.Slice(start)));
        for (const u32 count : kPlaces)
            add(TextOf(view.Slice(start, count)));
    }
    for (const char c : kCharacters)
    {
        for (const CStringView &stripped : {view.StripLeft(c), view.StripRight(c), view.Strip(c)})
            add(TextOf(stripped));
        add(Answer(view.FindFirstOf(c)));
        add(Answer(view.FindLastOf(c)));
        for (const u32 start : kPlaces)
            add(Answer(view.FindNextOf(c, start)));
    }
    for (const std::string &set : kSets)
    {
        for (const CStringView &stripped :
             {view.StripLeft(set.c_str()), view.StripRight(set.c_str()), view.Strip(set.c_str())})
            add(TextOf(stripped));
        add(Answer(view.FindFirstOf(set.c_str())));
        for (const u32 start : kPlaces)
            add(Answer(view.FindNextOf(set.c_str(), start)));
    }
    for (const std::string &text : kTexts)
    {
        for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
        {
            add(Answer(view.Compare(text.c_str(), sensitivity)));
            add(Answer(view.Compare(ViewOf(text), sensitivity)));
            add(Answer(view.StartsWith(text.c_str(), sensitivity)));
            add(Answer(view.StartsWith(ViewOf(text), sensitivity)));
            add(Answer(view.EndsWith(text.c_str(), sensitivity)));
            add(Answer(view.EndsWith(ViewOf(text), sensitivity)));
            add(Answer(view.Contains(text.c_str(), sensitivity)));
            add(Answer(view.Contains(ViewOf(text), sensitivity)));
            add(Answer(view.FindLastText(text.c_str(), sensitivity)));
            add(Answer(view.FindLastText(ViewOf(text), sensitivity)));
            for (const u32 start : kPlaces)
            {
                add(Answer(view.FindText(text.c_str(), start, sensitivity)));
                add(Answer(view.FindText(ViewOf(text), start, sensitivity)));
            }
        }
        add(Answer(view == text.c_str()));
        add(Answer(view == ViewOf(text)));
    }
    return answers;
}

// What there is to say about the text.
CAnswers ModelAnswersOf(const std::string &view)
{
    CAnswers answers;
    const auto add = [&](const std::string &answer) { answers.push_back(answer); };
    add(view);
    add(Answer(view.empty()));
    add(view);
    add(Answer(ModelUppercase(view) == view));
    add(Answer(ModelLowercase(view) == view));
    add(std::to_string(ModelCasing(view)));
    for (const size_t start : kPlaces)
    {
        const std::string from = start < view.size() ? view.substr(start) : "";
        add(from);
        for (const size_t count : kPlaces)
            add(from.substr(0, count));
    }
    for (const char c : kCharacters)
    {
        const std::string set(1, c);
        for (const std::string &stripped :
             {ModelStripLeft(view, set), ModelStripRight(view, set), ModelStrip(view, set)})
            add(stripped);
        add(AnswerFound(view.find(c)));
        add(AnswerFound(view.rfind(c)));
        for (const size_t start : kPlaces)
            add(AnswerFound(view.find(c, start)));
    }
    for (const std::string &set : kSets)
    {
        for (const std::string &stripped :
             {ModelStripLeft(view, set), ModelStripRight(view, set), ModelStrip(view, set)})
            add(stripped);
        add(AnswerFound(view.find_first_of(set)));
        for (const size_t start : kPlaces)
            add(AnswerFound(view.find_first_of(set, start)));
    }
    for (const std::string &text : kTexts)
    {
        for (const bool ignoreCase : {false, true})
        {
            const bool equalToTerminator = ModelEqual(ModelToTerminator(view), text, ignoreCase);
            add(Answer(equalToTerminator));
            add(Answer(view.size() == text.size() && equalToTerminator));
            for (int form = 0; form < 2; ++form)
                add(Answer(ModelStartsWith(view, text, ignoreCase)));
            for (int form = 0; form < 2; ++form)
                add(Answer(ModelEndsWith(view, text, ignoreCase)));
            for (int form = 0; form < 2; ++form)
                add(Answer(ModelContains(view, text, ignoreCase)));
            for (int form = 0; form < 2; ++form)
                add(AnswerFound(SearchModelFindLast(view, text, ignoreCase)));
            for (const size_t start : kPlaces)
                for (int form = 0; form < 2; ++form)
                    add(AnswerFound(SearchModelFindFrom(view, text, start, ignoreCase)));
        }
        add(Answer(view == text));
        add(Answer(view == text));
    }
    return answers;
}

// A text of a length: varied characters, or all the same.
std::string VariedText(size_t length, bool withTerminators)
{
    const std::string letters = withTerminators ? std::string("aB\0c\xE9 b", 7) : std::string("aBc\xE9 bA");
    std::string text;
    for (size_t i = 0; i < length; ++i)
        text += letters[(i * 5 + length) % letters.size()];
    return text;
}

TEST(StringViewOperations, NothingOutsideTheViewIsReadAtTheEndOfMemory)
{
    for (size_t length = 0; length <= 64; ++length)
    {
        for (const std::string &text : {VariedText(length, false), VariedText(length, true), std::string(length, 'a')})
        {
            const CAnswers expected = ModelAnswersOf(text);
            for (size_t offset = 0; offset < 16; ++offset)
            {
                const CTextAtPageEnd atPageEnd(text, offset);
                ASSERT_EQ(AnswersOf(atPageEnd.View()), expected)
                    << "length " << length << ", " << offset << " bytes before the end of the page";
            }
        }
    }
}

TEST(StringViewOperations, NothingAroundTheViewChangesItsAnswers)
{
    for (const size_t length : {0u, 1u, 2u, 7u, 15u, 16u, 17u, 31u, 33u})
    {
        for (const std::string &text : {VariedText(length, false), VariedText(length, true), std::string(length, 'a')})
        {
            const CAnswers expected = ModelAnswersOf(text);
            for (const char around : {'a', 'A', 'B', ' ', '\0', '\xE9', '\xFF'})
            {
                const std::string whole = std::string(16, around) + text + std::string(16, around);
                ASSERT_EQ(AnswersOf(CStringView(whole.data() + 16, LengthOf(text))), expected)
                    << "length " << length << " amid " << static_cast<int>(around);
            }
        }
    }
}

TEST(StringViewOperations, NeitherOfTwoViewsIsReadOutsideAtTheEndOfMemory)
{
    for (size_t length = 0; length <= 64; ++length)
    {
        const std::string text = VariedText(length, false);
        std::string changed = text;
        if (length != 0)
            changed.back() = '#';
        const std::string otherCase = length % 2 != 0 ? ModelUppercase(text) : ModelLowercase(text);
        for (size_t offset = 0; offset < 16; ++offset)
        {
            const CTextAtPageEnd a(text, offset);
            for (const std::string &other :
                 {text, changed, otherCase, text.substr(length / 2), text.substr(0, length / 2)})
            {
                const CTextAtPageEnd b(other, (offset * 7) % 16);
                ASSERT_EQ(a.View() == b.View(), text == other);
                ASSERT_EQ(a.View().Compare(b.View()), text == other);
                ASSERT_EQ(a.View().Compare(b.View(), CaseInsensitive), ModelEqual(text, other, true));
                for (const bool ignoreCase : {false, true})
                {
                    const ECaseSensitivity sensitivity = ignoreCase ? CaseInsensitive : CaseSensitive;
                    ASSERT_EQ(a.View().StartsWith(b.View(), sensitivity), ModelStartsWith(text, other, ignoreCase));
                    ASSERT_EQ(a.View().EndsWith(b.View(), sensitivity), ModelEndsWith(text, other, ignoreCase));
                    ASSERT_EQ(a.View().Contains(b.View(), sensitivity), ModelContains(text, other, ignoreCase));
                    ASSERT_EQ(Answer(a.View().FindText(b.View(), 0, sensitivity)),
                              AnswerFound(SearchModelFind(text, other, ignoreCase)));
                    ASSERT_EQ(Answer(a.View().FindLastText(b.View(), sensitivity)),
                              AnswerFound(SearchModelFindLast(text, other, ignoreCase)));
                }
            }
        }
    }
}

TEST(StringViewOperations, BuffersAreReadNoFurtherThanTheirTerminator)
{
    for (size_t length = 0; length <= 40; ++length)
    {
        const std::string text = VariedText(length, false);
        const CTextAtPageEnd buffer(text + '\0');
        // A view that goes on where the buffer ends.
        const std::string longer = text + "aB";
        ASSERT_FALSE(ViewOf(longer).Compare(buffer.Data()));
        ASSERT_FALSE(ViewOf(longer).Compare(buffer.Data(), CaseInsensitive));
        ASSERT_FALSE(ViewOf(longer) == buffer.Data());
        ASSERT_TRUE(ViewOf(text).Compare(buffer.Data()));
        ASSERT_TRUE(ViewOf(text).Compare(buffer.Data(), CaseInsensitive));
        ASSERT_TRUE(ViewOf(text) == buffer.Data());
        ASSERT_TRUE(ViewOf(longer).StartsWith(buffer.Data()));
        ASSERT_TRUE(ViewOf(longer).Contains(buffer.Data(), CaseInsensitive));
        ASSERT_EQ(ViewOf(longer).FindText(buffer.Data(), 0, CaseInsensitive), 0u);
        ASSERT_EQ(Answer(ViewOf(longer).FindLastText(buffer.Data())),
                  AnswerFound(SearchModelFindLast(longer, text, false)));
        ASSERT_EQ(ViewOf(longer).EndsWith(buffer.Data()), ModelEndsWith(longer, text, false));
        ASSERT_EQ(TextOf(ViewOf(longer).StripLeft(buffer.Data())), ModelStripLeft(longer, text));
        ASSERT_EQ(Answer(ViewOf(longer).FindFirstOf(buffer.Data())), AnswerFound(longer.find_first_of(text)));
    }
}

TEST(StringViewOperations, NothingButToStringAllocates)
{
    CTestAllocator allocator;
    const CStringView view = Literal("  aB c  ");
    bool all = view.Slice(1).Empty() || view.Slice(1, 2).Empty() || view.IsUpper() || view.IsLower();
    all = view.Compare("x") || view.Compare(view.Slice(1), CaseInsensitive) || view == "x" || view == view.Slice(1);
    all =
        all || view.StartsWith("x") || view.EndsWith("x") || view.Contains("x") || view.Contains("X", CaseInsensitive);
    all = all || view.Strip(' ').Empty() || view.Strip(" ").Empty() || view.FindFirstOf('x').Valid();
    all = all || view.FindFirstOf("x").Valid() || view.FindLastOf('x').Valid();
    all = all || view.FindText("x").Valid() || view.FindText("X", 0, CaseInsensitive).Valid();
    all = all || view.FindLastText("x").Valid() || view.FindLastText("X", CaseInsensitive).Valid();
    EXPECT_FALSE(all);
    EXPECT_EQ(view.AnalyzeCasing(), CasingType_Mixed);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringViewOperations, NoLocaleChangesPrefixSuffixAndSubstringTestsIgnoringCase)
{
    InEveryLocale(
        [](const char *locale)
        {
            SCOPED_TRACE(locale);
            for (int a = 0; a < 256; ++a)
            {
                const std::string x(1, static_cast<char>(a));
                for (int b = 0; b < 256; ++b)
                {
                    const std::string y(1, static_cast<char>(b));
                    const bool equal = ModelEqual(x, y, true);
                    ASSERT_EQ(ViewOf(x).StartsWith(ViewOf(y), CaseInsensitive), equal) << a << ", " << b;
                    ASSERT_EQ(ViewOf(x).EndsWith(ViewOf(y), CaseInsensitive), equal) << a << ", " << b;
                    ASSERT_EQ(ViewOf(x).Contains(ViewOf(y), CaseInsensitive), equal) << a << ", " << b;
                    ASSERT_EQ(ViewOf(x).FindText(ViewOf(y), 0, CaseInsensitive).Valid(), equal) << a << ", " << b;
                    ASSERT_EQ(ViewOf(x).FindLastText(ViewOf(y), CaseInsensitive).Valid(), equal) << a << ", " << b;
                }
            }
        });
}

// Bounded-exhaustive, against the model.

const std::string kViewedLetters = "aAb\x80";
constexpr size_t kLongestViewed = 4;

TEST(StringViewOperations, EveryPairOfShortTextsIsFoundInEachOtherAsTheModelSays)
{
    const std::vector<std::string> texts = EveryText(kViewedLetters, kLongestViewed);
    std::vector<std::string> lowered;
    for (const std::string &text : texts)
        lowered.push_back(ModelLowercase(text));
    for (size_t i = 0; i < texts.size(); ++i)
    {
        for (size_t j = 0; j < texts.size(); ++j)
        {
            const CStringView a = ViewOf(texts[i]);
            const CStringView b = ViewOf(texts[j]);
            const std::string &x = texts[i];
            const std::string &y = texts[j];
            const std::string &lowerX = lowered[i];
            const std::string &lowerY = lowered[j];
            const bool fits = y.size() <= x.size();
            const bool right = (a == b) == (x == y) && a.Compare(b) == (x == y) &&
                               a.Compare(b, CaseInsensitive) == (lowerX == lowerY) &&
                               a.StartsWith(b) == (x.compare(0, y.size(), y) == 0) &&
                               a.StartsWith(b, CaseInsensitive) == (lowerX.compare(0, y.size(), lowerY) == 0) &&
                               a.EndsWith(b) == (fits && x.compare(x.size() - y.size(), y.size(), y) == 0) &&
                               a.EndsWith(b, CaseInsensitive) ==
                                   (fits && lowerX.compare(lowerX.size() - y.size(), y.size(), lowerY) == 0) &&
                               a.Contains(b) == (x.find(y) != std::string::npos) &&
                               a.Contains(b, CaseInsensitive) == (lowerX.find(lowerY) != std::string::npos);
            if (!right)
            {
                FAIL() << ::testing::PrintToString(x) << " and " << ::testing::PrintToString(y);
            }
        }
    }
}

TEST(StringViewOperations, EverySetOfLettersIsStrippedAndFoundAsTheModelSays)
{
    for (const std::string &text : EveryText(kViewedLetters, kLongestViewed))
    {
        const CStringView view = ViewOf(text);
        for (unsigned members = 0; members < 16; ++members)
        {
            std::string set;
            for (unsigned letter = 0; letter < 4; ++letter)
                if ((members >> letter & 1) != 0)
                    set += kViewedLetters[letter];
            const auto where = [&]
            { return ::testing::PrintToString(text) + " with " + ::testing::PrintToString(set); };
            ASSERT_EQ(TextOf(view.StripLeft(set.c_str())), ModelStripLeft(text, set)) << where();
            ASSERT_EQ(TextOf(view.StripRight(set.c_str())), ModelStripRight(text, set)) << where();
            ASSERT_EQ(TextOf(view.Strip(set.c_str())), ModelStrip(text, set)) << where();
            for (u32 start = 0; start < 7; ++start)
            {
                ASSERT_EQ(Answer(view.FindNextOf(set.c_str(), start)), AnswerFound(text.find_first_of(set, start)))
                    << where();
            }
        }
        for (const char letter : kViewedLetters)
        {
            ASSERT_EQ(Answer(view.FindLastOf(letter)), AnswerFound(text.rfind(letter)));
            for (u32 start = 0; start < 7; ++start)
            {
                ASSERT_EQ(Answer(view.FindNextOf(letter, start)), AnswerFound(text.find(letter, start)));
            }
        }
    }
}

} // namespace
