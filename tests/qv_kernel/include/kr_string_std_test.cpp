// Where strings meet the standard library: its views, hashes, containers, streams and formats.
#include "kr_string_std.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <vector>
#if defined(__cpp_lib_ranges)
#include <ranges>
#endif

#include "edit_model.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// As seen from outside the library's namespace, with an argument that is found by its type.
template <typename Text>
std::string Printed(const Text &text)
{
    std::ostringstream stream;
    stream << text;
    return stream.str();
}

void ExpectStdView(std::string_view view, const char *data, size_t size)
{
    EXPECT_EQ(static_cast<const void *>(view.data()), static_cast<const void *>(data));
    EXPECT_EQ(view.size(), size);
}

// Views, both ways.

TEST(StringStd, AStringAsAStandardViewBorrowsItsCharacters)
{
    const CString string("abc");
    ExpectStdView(ToStdStringView(string), string.Data(), 3);
    const CString embedded = Fixed(std::string("\0bc", 3));
    ExpectStdView(ToStdStringView(embedded), embedded.Data(), 3);
}

TEST(StringStd, AViewAsAStandardViewBorrowsItsCharacters)
{
    const char text[] = "abcd";
    ExpectStdView(ToStdStringView(CStringView(text, 3)), text, 3);
    ExpectStdView(ToStdStringView(CStringView(text + 1, 0)), text + 1, 0);
}

TEST(StringStd, NullIsAnEmptyStandardView)
{
    EXPECT_TRUE(ToStdStringView(CString()).empty());
    EXPECT_TRUE(ToStdStringView(CStringView()).empty());
    EXPECT_TRUE(ToStdStringView(CStringView(nullptr, 3)).empty());
}

TEST(StringStd, AStandardViewAsAViewBorrowsItsCharacters)
{
    const std::string text("ab\0c", 4);
    const CStringView view = FromStdStringView(text);
    EXPECT_EQ(static_cast<const void *>(view.Data()), static_cast<const void *>(text.data()));
    EXPECT_EQ(view.Length(), 4u);
    EXPECT_TRUE(FromStdStringView(std::string_view()).Empty());
}

TEST(StringStd, AStandardViewBeyond32BitsIsCut)
{
    if (sizeof(size_t) <= 4)
        GTEST_SKIP() << "no such views here";
    // The characters are not looked at.
    const auto viewOfLength = [](u64 length) { return std::string_view("x", static_cast<size_t>(length)); };
    EXPECT_EQ(FromStdStringView(viewOfLength(0xFFFFFFFFu)).Length(), 0xFFFFFFFFu);
    EXPECT_EQ(FromStdStringView(viewOfLength(0x100000000u)).Length(), 0xFFFFFFFFu);
    EXPECT_EQ(FromStdStringView(viewOfLength(0x100000003u)).Length(), 0xFFFFFFFFu);
    // Nor is more than the first one where that tells the order.
    EXPECT_FALSE(CString("y") < viewOfLength(0x100000003u));
    EXPECT_TRUE(CString("w") < viewOfLength(0x100000003u));
    EXPECT_FALSE(CStringView("y") < viewOfLength(0x100000003u));
    EXPECT_TRUE(CStringView("w") < viewOfLength(0x100000003u));
}

TEST(StringStd, AStringOfAStandardViewIsACopyOfAllItsCharacters)
{
    const std::string text("ab\0c", 4);
    const CString string = StringFromStdStringView(text);
    ExpectCharacters(string, text);
    EXPECT_NE(static_cast<const void *>(string.Data()), static_cast<const void *>(text.data()));
    ExpectCharacters(StringFromStdStringView(std::string_view("\0bc", 3)), std::string("\0bc", 3));
    // Cut out of a longer text.
    ExpectText(StringFromStdStringView(std::string_view("abcd").substr(1, 2)), "bc");
}

TEST(StringStd, AStringOfAnEmptyStandardViewHasNoContainer)
{
    CTestAllocator allocator;
    EXPECT_EQ(StringFromStdStringView(std::string_view()).Data(), nullptr);
    EXPECT_EQ(StringFromStdStringView(std::string_view("abc", 0)).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringStd, AStringOfALengthThatNoStringCanHaveIsEmptyAndAsksForNothing)
{
    CTestAllocator allocator;
    CAssertRecorder recorder;
    std::vector<u64> lengths = {0x3FFFFFFFu, 0x40000000u, 0xFFFFFFFFu};
    if (sizeof(size_t) > 4)
        lengths.push_back(0x100000003u);
    for (const u64 length : lengths)
        EXPECT_EQ(StringFromStdStringView(std::string_view("abc", static_cast<size_t>(length))).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(StringStd, AStringOfAStandardViewRefusedIsEmpty)
{
    SweepRefusals([] { return CString(); },
                  [](CString &string) { string = StringFromStdStringView(std::string_view("abcd", 3)); },
                  [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(string, refusal.m_Refused ? "" : "abc");
                      ExpectReports(recorder, {});
                  });
}

TEST(StringStd, TextsComeBackFromTheStandardAsTheyWent)
{
    for (const std::string &text : {std::string("abc"), std::string("a\0b", 3), std::string(100, '\xE9')})
    {
        EXPECT_EQ(ToStdStringView(StringFromStdStringView(text)), text);
        EXPECT_EQ(ToStdStringView(FromStdStringView(text)), text);
    }
}

// Hash and equality.

TEST(StringStd, HashesAreEqualForEveryFormOfTheSameCharacters)
{
    for (const std::string &text : {std::string(), std::string("a"), std::string("abc"), std::string(40, '\xE9')})
    {
        const size_t expected = std::hash<std::string_view>()(text);
        const CString string = Fixed(text);
        EXPECT_EQ(std::hash<CString>()(string), expected);
        EXPECT_EQ(std::hash<CString>()(Resizable(text)), expected);
        EXPECT_EQ(std::hash<CStringView>()(ViewOf(text)), expected);
        EXPECT_EQ(SStringHash()(string), expected);
        EXPECT_EQ(SStringHash()(ViewOf(text)), expected);
        EXPECT_EQ(SStringHash()(std::string_view(text)), expected);
        EXPECT_EQ(SStringHash()(text), expected);
        EXPECT_EQ(SStringHash()(text.c_str()), expected);
    }
    EXPECT_EQ(SStringHash()("abc"), std::hash<std::string_view>()("abc"));
}

TEST(StringStd, HashesCoverAllCharactersBehindATerminator)
{
    const std::string text("a\0b", 3);
    EXPECT_EQ(std::hash<CString>()(Fixed(text)), std::hash<std::string_view>()(text));
    EXPECT_EQ(std::hash<CStringView>()(ViewOf(text)), std::hash<std::string_view>()(text));
    EXPECT_NE(std::hash<CString>()(Fixed(text)), std::hash<CString>()(CString("a")));
}

TEST(StringStd, ATextThatBeginsWithATerminatorHashesAndEqualsAsEmptyInEveryForm)
{
    const size_t empty = std::hash<std::string_view>()(std::string_view());
    const std::string text("\0ab", 3);
    EXPECT_EQ(std::hash<CString>()(Fixed(text)), empty);
    EXPECT_EQ(std::hash<CStringView>()(ViewOf(text)), empty);
    EXPECT_EQ(SStringHash()(std::string_view(text)), empty);
    EXPECT_EQ(SStringHash()(text.c_str()), empty);
    EXPECT_TRUE(SStringEqual()(Fixed(text), CString()));
    EXPECT_TRUE(SStringEqual()(CStringView(), Fixed(text)));
    EXPECT_TRUE(SStringEqual()(std::string_view(text), ""));
    EXPECT_TRUE(SStringEqual()(ViewOf(text), Fixed(std::string("\0", 1))));
    EXPECT_FALSE(SStringEqual()(Fixed(text), "a"));
}

TEST(StringStd, NullTextsHashAndEqualAsEmpty)
{
    const size_t empty = std::hash<std::string_view>()(std::string_view());
    const char *null = nullptr;
    EXPECT_EQ(std::hash<CString>()(CString()), empty);
    EXPECT_EQ(std::hash<CStringView>()(CStringView()), empty);
    EXPECT_EQ(SStringHash()(null), empty);
    EXPECT_TRUE(SStringEqual()(null, CString()));
    EXPECT_TRUE(SStringEqual()(CStringView(), null));
    EXPECT_FALSE(SStringEqual()(null, "a"));
}

// Every form of a text against every form of another one.
template <typename A, typename B>
void ExpectEquality(const A &a, const B &b, bool equal)
{
    EXPECT_EQ(SStringEqual()(a, b), equal);
    EXPECT_EQ(SStringEqual()(b, a), equal);
    if (equal)
    {
        EXPECT_EQ(SStringHash()(a), SStringHash()(b));
    }
}

template <typename A>
void ExpectEqualityWithEveryForm(const A &a, const std::string &b, bool equal)
{
    ExpectEquality(a, Fixed(b), equal);
    ExpectEquality(a, ViewOf(b), equal);
    ExpectEquality(a, std::string_view(b), equal);
    ExpectEquality(a, b, equal);
    ExpectEquality(a, b.c_str(), equal);
}

TEST(StringStd, EqualityHoldsBetweenAnyTwoFormsAndAgreesWithTheHash)
{
    const std::vector<std::string> texts = {"", "a", "A", "ab", "abc", "\xE9"};
    for (const std::string &a : texts)
    {
        for (const std::string &b : texts)
        {
            SCOPED_TRACE(::testing::PrintToString(a) + " and " + ::testing::PrintToString(b));
            ExpectEqualityWithEveryForm(Fixed(a), b, a == b);
            ExpectEqualityWithEveryForm(ViewOf(a), b, a == b);
            ExpectEqualityWithEveryForm(std::string_view(a), b, a == b);
            ExpectEqualityWithEveryForm(a, b, a == b);
            ExpectEqualityWithEveryForm(a.c_str(), b, a == b);
        }
    }
}

TEST(StringStd, EqualityAgreesWithTheOperatorOfStringAndView)
{
    const std::string texts[] = {std::string(), std::string("a"), std::string("\0a", 2), std::string("a\0b", 3),
                                 std::string("a\0c", 3)};
    for (const std::string &a : texts)
    {
        for (const std::string &b : texts)
        {
            // Where both begin with a terminator, the operator tells them apart by the view's length.
            if (!b.empty() && b.front() == '\0')
                continue;
            EXPECT_EQ(SStringEqual()(Fixed(a), ViewOf(b)), Fixed(a) == ViewOf(b));
        }
    }
}

#if defined(__GLIBCXX__)

// So that a look-up reads no characters of the keys beside the one that it wants.
TEST(StringStd, TablesKeepTheHashesOfTheirKeys)
{
    static_assert(std::__cache_default<CString, SStringHash>::value, "a hash in each node");
    static_assert(std::__cache_default<CString, SStringHashCaseInsensitive>::value, "a hash in each node");
    static_assert(std::__cache_default<CString, std::hash<CString>>::value, "a hash in each node");
    static_assert(std::__cache_default<CStringView, std::hash<CStringView>>::value, "a hash in each node");
}

#endif

TEST(StringStd, HashAndEqualityAreTransparentAndDoNotAllocate)
{
    static_assert(std::is_void<SStringHash::is_transparent>::value, "for heterogeneous look-up");
    static_assert(std::is_void<SStringEqual::is_transparent>::value, "for heterogeneous look-up");
    CTestAllocator allocator;
    const CString string("abc");
    const u64 requests = allocator.RequestCount();
    EXPECT_EQ(SStringHash()(string), SStringHash()("abc"));
    EXPECT_TRUE(SStringEqual()("abc", string));
    EXPECT_TRUE(SStringEqual()(CStringView("abcd", 3), "abc"));
    EXPECT_EQ(allocator.RequestCount(), requests);
}

// Order, and the three that ignore case.

namespace
{

// Every form of a text with every form of another one: `check(a, b)`.
template <typename A, typename Check>
void WithEveryForm(const A &a, const std::string &b, const Check &check)
{
    check(a, Fixed(b));
    check(a, ViewOf(b));
    check(a, std::string_view(b));
    check(a, b);
    if (b.find('\0') == std::string::npos)
        check(a, b.c_str());
}

template <typename Check>
void WithEveryTwoForms(const std::string &a, const std::string &b, const Check &check)
{
    WithEveryForm(Fixed(a), b, check);
    WithEveryForm(ViewOf(a), b, check);
    WithEveryForm(std::string_view(a), b, check);
    WithEveryForm(a, b, check);
    if (a.find('\0') == std::string::npos)
        WithEveryForm(a.c_str(), b, check);
}

// What the functors see of a text.
std::string Comparable(const std::string &text)
{
    return !text.empty() && text[0] == '\0' ? std::string() : text;
}

const std::string kKeys[] = {"",
                             "a",
                             "A",
                             "b",
                             "ab",
                             "aB",
                             "AbC",
                             "_",
                             "Z",
                             std::string("\0", 1),
                             std::string("\0a", 2),
                             std::string("a\0b", 3),
                             std::string("A\0B", 3),
                             std::string("a\0c", 3),
                             "\xC4",
                             "\xE4",
                             std::string(16, 'q'),
                             std::string(17, 'Q'),
                             std::string(100, 'x'),
                             std::string(99, 'X') + 'x',
                             std::string(99, 'x') + 'y'};

} // namespace

TEST(StringStd, LessOrdersAnyTwoFormsByBytes)
{
    static_assert(std::is_void<SStringLess::is_transparent>::value, "for heterogeneous look-up");
    for (const std::string &a : kKeys)
    {
        for (const std::string &b : kKeys)
        {
            SCOPED_TRACE(::testing::PrintToString(a) + " and " + ::testing::PrintToString(b));
            // std::string orders unsigned bytes.
            const bool less = Comparable(a) < Comparable(b);
            WithEveryTwoForms(a, b,
                              [less](const auto &x, const auto &y)
                              {
                                  EXPECT_EQ(SStringLess()(x, y), less);
                                  static_assert(noexcept(SStringLess()(x, y)), "runs nobody else's code");
                              });
        }
    }
}

TEST(StringStd, TheThreeThatIgnoreCaseAgreeBetweenAnyTwoForms)
{
    static_assert(std::is_void<SStringHashCaseInsensitive::is_transparent>::value, "for heterogeneous look-up");
    static_assert(std::is_void<SStringEqualCaseInsensitive::is_transparent>::value, "for heterogeneous look-up");
    static_assert(std::is_void<SStringLessCaseInsensitive::is_transparent>::value, "for heterogeneous look-up");
    for (const std::string &a : kKeys)
    {
        for (const std::string &b : kKeys)
        {
            SCOPED_TRACE(::testing::PrintToString(a) + " and " + ::testing::PrintToString(b));
            const std::string lowerA = ModelLowercase(Comparable(a));
            const std::string lowerB = ModelLowercase(Comparable(b));
            WithEveryTwoForms(a, b,
                              [&](const auto &x, const auto &y)
                              {
                                  EXPECT_EQ(SStringEqualCaseInsensitive()(x, y), lowerA == lowerB);
                                  EXPECT_EQ(SStringLessCaseInsensitive()(x, y), lowerA < lowerB);
                                  EXPECT_EQ(SStringHashCaseInsensitive()(x) == SStringHashCaseInsensitive()(y),
                                            lowerA == lowerB);
                                  static_assert(noexcept(SStringEqualCaseInsensitive()(x, y)), "of kernels");
                                  static_assert(noexcept(SStringLessCaseInsensitive()(x, y)), "of kernels");
                                  static_assert(noexcept(SStringHashCaseInsensitive()(x)), "of kernels");
                              });
        }
    }
}

// As they take texts of 4 GiB and more, here with pieces of two characters.
TEST(StringStd, TextsAreComparedIgnoringCasePieceByPiece)
{
    const auto isEqual = [](std::string_view a, std::string_view b) { return Internal::EqualIgnoringCase(a, b, 2); };
    EXPECT_TRUE(isEqual("", ""));
    EXPECT_TRUE(isEqual("abcde", "ABCDE"));
    EXPECT_FALSE(isEqual("abcde", "abcdf"));
    EXPECT_FALSE(isEqual("abcde", "abxde"));
    EXPECT_FALSE(isEqual("abcde", "abcd"));
    const auto isLess = [](std::string_view a, std::string_view b) { return Internal::IsLessIgnoringCase(a, b, 2); };
    EXPECT_FALSE(isLess("abcde", "ABCDE"));
    EXPECT_TRUE(isLess("ABCDE", "abcdf"));
    EXPECT_FALSE(isLess("abcdf", "ABCDE"));
    EXPECT_TRUE(isLess("abCD", "abcde"));
    EXPECT_FALSE(isLess("abcde", "abCD"));
    EXPECT_TRUE(isLess("abxde", "aby"));
    EXPECT_TRUE(isLess("", "a"));
    EXPECT_FALSE(isLess("", ""));
}

TEST(StringStd, TheThreeThatIgnoreCaseTakeNullForEmpty)
{
    const char *nothing = nullptr;
    EXPECT_EQ(SStringHashCaseInsensitive()(nothing), SStringHashCaseInsensitive()(""));
    EXPECT_EQ(SStringHashCaseInsensitive()(CStringView(nullptr, 3)), SStringHashCaseInsensitive()(CString()));
    EXPECT_TRUE(SStringEqualCaseInsensitive()(nothing, CString()));
    EXPECT_TRUE(SStringLessCaseInsensitive()(nothing, "a"));
    EXPECT_FALSE(SStringLessCaseInsensitive()(nothing, CStringView()));
    EXPECT_TRUE(SStringLess()(nothing, "a"));
    EXPECT_FALSE(SStringLess()(CString(), nothing));
}

TEST(StringStd, KeysAreFoundHoweverTheyAreWritten)
{
    std::unordered_map<CString, int, SStringHashCaseInsensitive, SStringEqualCaseInsensitive> sizes;
    sizes[CString("Stone_Wall.PNG")] = 1;
    EXPECT_FALSE(sizes.emplace(CString("stone_wall.png"), 2).second);
    EXPECT_TRUE(sizes.emplace(CString("stone_walls.png"), 3).second);
    EXPECT_EQ(sizes.find(CString("STONE_WALL.png"))->second, 1);
    EXPECT_EQ(sizes.count(CString("stone_wall")), 0u);
    std::map<CString, int, SStringLessCaseInsensitive> ordered;
    ordered[CString("b")] = 1;
    ordered[CString("A")] = 2;
    ordered[CString("a")] = 3;
    EXPECT_EQ(ordered.size(), 2u);
    EXPECT_EQ(ordered.begin()->second, 3);
    // A map's look-up takes any form.
    CTestAllocator allocator;
    EXPECT_EQ(ordered.find("B")->second, 1);
    EXPECT_EQ(ordered.find(CStringView("ab", 1))->second, 3);
    EXPECT_TRUE(ordered.find(std::string_view("c")) == ordered.end());
    EXPECT_EQ(allocator.RequestCount(), 0u);
    const std::set<CString, SStringLess> names = {CString("b"), CString("a"), CString("B")};
    EXPECT_EQ(TextOf(*names.begin()), "B");
    EXPECT_EQ(names.count("a"), 1u);
}

#if defined(__cpp_lib_generic_unordered_lookup)

TEST(StringStd, LookUpWithoutCaseBuildsNoString)
{
    std::unordered_map<CString, int, SStringHashCaseInsensitive, SStringEqualCaseInsensitive> ages;
    ages[CString("Ann")] = 30;
    CTestAllocator allocator;
    EXPECT_EQ(ages.find("ANN")->second, 30);
    EXPECT_EQ(ages.find(CStringView("annie", 3))->second, 30);
    EXPECT_EQ(ages.count(std::string_view("an")), 0u);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

#endif

// Containers.

TEST(StringStd, StringsAreKeysOfStandardContainers)
{
    std::unordered_set<CString> strings;
    EXPECT_TRUE(strings.insert(CString("a")).second);
    EXPECT_TRUE(strings.insert(CString("b")).second);
    EXPECT_FALSE(strings.insert(Resizable("a")).second);
    EXPECT_TRUE(strings.insert(CString()).second);
    EXPECT_FALSE(strings.insert(Resizable("")).second);
    EXPECT_EQ(strings.count(CString("b")), 1u);
    EXPECT_EQ(strings.count(CString("c")), 0u);
    std::unordered_set<CStringView> views = {CStringView("ab", 1), CStringView("b", 1)};
    EXPECT_EQ(views.count(CStringView("a", 1)), 1u);
    EXPECT_EQ(views.count(CStringView("ab", 2)), 0u);
}

TEST(StringStd, MapsWithTheTransparentPairFindTheirStrings)
{
    std::unordered_map<CString, int, SStringHash, SStringEqual> ages;
    ages[CString("ann")] = 30;
    ages[CString("bob")] = 40;
    ages[CString()] = 50;
    EXPECT_EQ(ages.find(CString("ann"))->second, 30);
    EXPECT_EQ(ages.find(Resizable("bob"))->second, 40);
    EXPECT_TRUE(ages.find(CString("cid")) == ages.end());
    // All empty strings are one key, as in comparisons.
    EXPECT_EQ(ages.find(Resizable(""))->second, 50);
    EXPECT_EQ(ages.find(Fixed(std::string("\0x", 2)))->second, 50);
}

#if defined(__cpp_lib_generic_unordered_lookup)

TEST(StringStd, LookUpByAnyFormBuildsNoString)
{
    CTestAllocator allocator;
    {
        std::unordered_map<CString, int, SStringHash, SStringEqual> ages;
        ages[CString("ann")] = 30;
        ages[CString("bob")] = 40;
        const u64 requests = allocator.RequestCount();
        EXPECT_EQ(ages.find("ann")->second, 30);
        EXPECT_EQ(ages.find(CStringView("bobby", 3))->second, 40);
        EXPECT_EQ(ages.find(std::string_view("ann"))->second, 30);
        EXPECT_EQ(ages.count("cid"), 0u);
        EXPECT_TRUE(ages.contains(CStringView("ann", 3)));
        EXPECT_FALSE(ages.contains(CStringView("ann", 2)));
        EXPECT_EQ(allocator.RequestCount(), requests);
    }
}

#endif

TEST(StringStd, EqualityServesTheStandardsAlgorithms)
{
    const std::vector<CString> strings = {CString("a"), CString("bc"), CString()};
    const std::vector<std::string_view> views = {"a", "bc", ""};
    const std::vector<const char *> buffers = {"a", "bd", nullptr};
    EXPECT_TRUE(std::equal(strings.begin(), strings.end(), views.begin(), SStringEqual()));
    EXPECT_FALSE(std::equal(strings.begin(), strings.end(), buffers.begin(), SStringEqual()));
    const auto different = std::mismatch(strings.begin(), strings.end(), buffers.begin(), SStringEqual());
    EXPECT_EQ(different.first - strings.begin(), 1);
}

// Streams.

TEST(StringStd, StreamsGetAllCharacters)
{
    EXPECT_EQ(Printed(CString("abc")), "abc");
    EXPECT_EQ(Printed(CStringView("abcd", 3)), "abc");
    EXPECT_EQ(Printed(Fixed(std::string("a\0b", 3))), std::string("a\0b", 3));
    EXPECT_EQ(Printed(CStringView("\0b", 2)), std::string("\0b", 2));
    EXPECT_EQ(Printed(CString()), "");
    EXPECT_EQ(Printed(CStringView()), "");
}

TEST(StringStd, StreamsPadAsTheyAreTold)
{
    std::ostringstream stream;
    stream << std::setw(5) << std::setfill('*') << CString("ab") << '|';
    stream << std::left << std::setw(5) << CStringView("cd", 2) << '|';
    stream << std::setw(3) << CString() << '|' << std::setw(1) << CString("ef");
    // The width holds for one text.
    stream << '|' << CString("g");
    EXPECT_EQ(stream.str(), "***ab|cd***|***|ef|g");
}

TEST(StringStd, StreamsCanBeChained)
{
    std::ostringstream stream;
    std::ostream &answered = stream << CString("a") << CStringView("bc", 1) << 1;
    EXPECT_EQ(&answered, &stream);
    EXPECT_EQ(stream.str(), "ab1");
}

// Ranges.

TEST(StringStd, AlgorithmsWalkTheCharactersOfStringsAndViews)
{
    const CString string("b,a,c");
    const CStringView view = string.Slice(2);
    EXPECT_EQ(std::count(string.begin(), string.end(), ','), 2);
    EXPECT_EQ(std::find(view.begin(), view.end(), 'c'), string.end() - 1);
    EXPECT_TRUE(std::is_sorted(view.begin() + 1, view.end()));
    std::string sorted(string.begin(), string.end());
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted, ",,abc");
    EXPECT_EQ(std::distance(CString().begin(), CString().end()), 0);
    EXPECT_EQ(std::distance(std::begin(view), std::end(view)), 3);
}

// The framework decides once in a program how it prints a type, and other tests know of no stream.
struct SPrintedString : CString
{
    using CString::CString;
};

struct SPrintedView : CStringView
{
    using CStringView::CStringView;
};

// The framework takes what has iterator types of its own for a container. Strings and views have none.
TEST(StringStd, TheFrameworkPrintsStringsAndViewsAsTexts)
{
    EXPECT_EQ(::testing::PrintToString(SPrintedString("abc")), "abc");
    EXPECT_EQ(::testing::PrintToString(SPrintedView("abcd", 3)), "abc");
}

#if defined(__cpp_lib_ranges)

static_assert(std::ranges::contiguous_range<const CString> && std::ranges::contiguous_range<CStringView>);
static_assert(std::ranges::sized_range<const CString> && std::ranges::sized_range<CStringView>);
static_assert(std::ranges::common_range<const CString> && std::ranges::common_range<CStringView>);
static_assert(std::is_same_v<std::ranges::range_reference_t<CString>, const char &>, "reading only");
static_assert(std::ranges::view<CStringView> && std::ranges::borrowed_range<CStringView>);
// The characters of a temporary string go with it.
static_assert(!std::ranges::view<CString> && !std::ranges::borrowed_range<CString>);

TEST(StringStd, RangesTakeStringsAndViews)
{
    const CString string("a,b;c");
    EXPECT_EQ(std::ranges::size(string), 5u);
    EXPECT_EQ(std::ranges::data(string), string.Data());
    EXPECT_TRUE(std::ranges::empty(CString()));
    EXPECT_TRUE(std::ranges::empty(CStringView(nullptr, 3)));
    EXPECT_EQ(std::ranges::count(string, 'b'), 1);
    // Behind a view that is a temporary the characters live on.
    EXPECT_EQ(std::ranges::find(string.Slice(2), ';'), string.begin() + 3);
#if !defined(__clang__) || __clang_major__ >= 16 // older ones do not compile libstdc++'s adaptors
    std::string letters;
    for (const char character : string.Slice(1) | std::views::filter([](char c) { return c >= 'a'; }))
        letters += character;
    EXPECT_EQ(letters, "bc");
    std::string backwards;
    for (const char character : string | std::views::reverse)
        backwards += character;
    EXPECT_EQ(backwards, "c;b,a");
#endif
}

#endif

// Formats.

#if defined(__cpp_lib_format)

TEST(StringStd, FormatsTakeStringsAndViewsLikeTheStandardsView)
{
    EXPECT_EQ(std::format("{}", CString("abc")), "abc");
    EXPECT_EQ(std::format("{}", CStringView("abcd", 3)), "abc");
    EXPECT_EQ(std::format("[{:>5}] [{:*<5}] [{:.1}]", CString("ab"), CStringView("cd", 2), CString("ef")),
              "[   ab] [cd***] [e]");
    EXPECT_EQ(std::format("{}{}", CString(), CStringView()), "");
    EXPECT_EQ(std::format("{}", Fixed(std::string("a\0b", 3))), std::string("a\0b", 3));
}

#endif

} // namespace
