// Strings and views as arguments of the library fmt, where it is installed.
#include <gtest/gtest.h>

#if QV_TEST_HAS_FMT

#include "kr_string_fmt.h"

#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <fmt/ranges.h>

#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

TEST(StringFmt, FormatsTakeStringsAndViews)
{
    EXPECT_EQ(fmt::format("{}", CString("abc")), "abc");
    EXPECT_EQ(fmt::format("{}|{}", CStringView("abcd", 3), Resizable("de")), "abc|de");
    EXPECT_EQ(fmt::format("{1} {0}", CString("a"), CStringView("b")), "b a");
}

TEST(StringFmt, SpecificationsAreThoseOfFmtsOwnViews)
{
    for (const char *format : {"[{:>7}]", "[{:*<7}]", "[{:^7}]", "[{:.2}]", "[{:5.1}]", "[{:s}]", "[{:?}]"})
    {
        for (const std::string &text :
             {std::string(), std::string("abc"), std::string("a\"\n\tb"), std::string("12345678")})
        {
            SCOPED_TRACE(std::string(format) + " of " + text);
            const std::string expected = fmt::format(fmt::runtime(format), fmt::string_view(text));
            EXPECT_EQ(fmt::format(fmt::runtime(format), Fixed(text)), expected);
            EXPECT_EQ(fmt::format(fmt::runtime(format), ViewOf(text)), expected);
        }
    }
#if defined(__cpp_exceptions)
    EXPECT_THROW(static_cast<void>(fmt::format(fmt::runtime("{:d}"), CString("1"))), fmt::format_error);
#endif
    EXPECT_EQ(fmt::format("{:{}.{}}|", CString("abc"), 4, 2), "ab  |");
}

TEST(StringFmt, NothingIsEmpty)
{
    EXPECT_EQ(fmt::format("{}", CString()), "");
    EXPECT_EQ(fmt::format("{}", CStringView()), "");
    EXPECT_EQ(fmt::format("[{:2}]", CStringView(nullptr, 3)), "[  ]");
    EXPECT_EQ(fmt::format("[{:3}]", CString()), "[   ]");
}

TEST(StringFmt, TerminatorsAreCharacters)
{
    const std::string text("\0a\0b", 4);
    EXPECT_EQ(fmt::format("{}", Fixed(text)), text);
    EXPECT_EQ(fmt::format("{}", ViewOf(text)), text);
}

TEST(StringFmt, ATextIsOneValueAlsoWhereFmtKnowsRanges)
{
    EXPECT_EQ(fmt::format("{}", CString("abc")), "abc");
    EXPECT_EQ(fmt::format("{}", std::vector<CString>{CString("a"), CString("b c")}), "[\"a\", \"b c\"]");
    EXPECT_EQ(fmt::format("{}", std::vector<CStringView>{CStringView("a"), CStringView()}), "[\"a\", \"\"]");
    const std::vector<CString> names = {CString("a"), CString("b")};
    EXPECT_EQ(fmt::format("{}", fmt::join(names, "+")), "a+b");
    EXPECT_EQ(fmt::format("{:>3}", fmt::join(names, "")), "  a  b");
}

TEST(StringFmt, ArraysOfStringsAreRanges)
{
    TArray<CString> pieces;
    ASSERT_TRUE(CString("a,bc").Split(',', pieces));
    EXPECT_EQ(fmt::format("{}", pieces), "[\"a\", \"bc\"]");
    EXPECT_EQ(fmt::format("{}", fmt::join(pieces.begin(), pieces.end(), "/")), "a/bc");
}

TEST(StringFmt, FormatsAreCheckedWhenTheyAreCompiled)
{
    // From C++20 on, any literal is. FMT_STRING would be checked there a second time, which clang++ 22 refuses with fmt 9:
    // it subtracts pointers into two evaluations of the same literal.
#if defined(FMT_HAS_CONSTEVAL)
    EXPECT_EQ(fmt::format("{:>3}{}", CString("a"), CStringView("b")), "  ab");
#else
    EXPECT_EQ(fmt::format(FMT_STRING("{:>3}{}"), CString("a"), CStringView("b")), "  ab");
#endif
}

TEST(StringFmt, FormattingAsksForNoMemoryOfTheLibrarys)
{
    CTestAllocator allocator;
    const CString string("abcdefghijklmnopqrstuvwxyz");
    const u64 requests = allocator.RequestCount();
    char text[64];
    const auto result = fmt::format_to_n(text, sizeof(text), "{}{}", string, CStringView(string).Slice(24));
    EXPECT_EQ(std::string(text, result.size), "abcdefghijklmnopqrstuvwxyzyz");
    EXPECT_EQ(allocator.RequestCount(), requests);
}

} // namespace

#endif
