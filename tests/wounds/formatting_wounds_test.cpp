// Wounds of formatting. README.md has the table of all of them.
#include <algorithm>
#include <cfloat>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "guarded_page.h"
#include "kr_buffer.h"
#include "kr_mem.h"
#include "kr_string.h"
#include "string_checks.h"
#include "test_allocator.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// Formats that no compiler looks at.

CString FormatByList(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    CString result = CString::VAFormat(format, args);
    va_end(args);
    return result;
}

template <typename... Arguments>
CString FormatDirectly(const char *format, Arguments... arguments)
{
    return CString::Format(format, arguments...);
}

// Of an argument list by both functions, the longest result of which neither cuts.
template <typename... Arguments>
void ExpectFormatted(const std::string &expected, const char *format, Arguments... arguments)
{
    EXPECT_EQ(TextOf(FormatDirectly(format, arguments...)), expected) << format;
    EXPECT_EQ(TextOf(FormatByList(format, arguments...)), expected) << format;
}

// Output that is counted is not written, wherever in a format it is asked for, and nothing else is made of it.
TEST(Wounds, CountedOutputWritesToMemory)
{
    const CTestAllocator allocator;
    for (const char *format : {"%n", "ab%n", "%%%n", "%5n", "%-08n", "%.3n", "%hhn", "%hn", "%ln", "%lln", "%jn", "%zn",
                               "%tn", "%1$n", "% +#'n", "%w32n", "%wf32n", "%wf32n%d"})
    {
        long long counted[] = {-77, -77};
        ExpectFormatted("", format, counted, 5);
        EXPECT_EQ(counted[0], -77) << format;
        EXPECT_EQ(counted[1], -77) << format;
    }
    // Behind others, what they have taken is of no use.
    int counted = -77;
    ExpectFormatted("", "%s%d%n", "text", 5, &counted);
    EXPECT_EQ(counted, -77);
    // None of these is counted output.
    ExpectFormatted("%n", "%%n", 0);
    ExpectFormatted("5n", "%dn", 5);
    ExpectFormatted("text%n", "%s%%n", "text");
    ExpectFormatted("nan%", "%s%%", "nan");
}

// The text is all that there is of memory.
TEST(Wounds, TextWithPrecisionAndWithoutTerminator)
{
    const CGuardedPage page;
    for (int length = 0; length <= 40; ++length)
    {
        char *const text = page.Last(static_cast<size_t>(length));
        std::memset(text, 'x', static_cast<size_t>(length));
        const std::string expected(static_cast<size_t>(length), 'x');
        ExpectFormatted("<" + expected + ">", "<%.*s>", length, text);
        ExpectFormatted("<" + std::string(50 - expected.size(), ' ') + expected + ">", "<%50.*s>", length, text);
    }
    char *const text = page.Last(3);
    std::memcpy(text, "abc", 3);
    ExpectFormatted("abc", "%.3s", text);
    ExpectFormatted("a", "%.1s", text);
}

std::string ByThePlatform(const char *format, int precision, double value)
{
    std::string text(5000, '\0');
    const int length = std::snprintf(&text[0], text.size(), format, precision, value);
    text.resize(static_cast<size_t>(length));
    return text;
}

// The largest number has 309 digits in front of its point; behind it, as many are written as are wanted.
TEST(Wounds, FloatLongerThanTheBuffer)
{
    const CTestAllocator allocator;
    for (const double value : {DBL_MAX, -DBL_MAX, DBL_MIN, 1.0 / 3.0})
        for (const int precision : {0, 180, 202, 203, 204, 1000, 2880, 2887, 2888, 4000})
        {
            const std::string expected = ByThePlatform("%.*f", precision, value);
            EXPECT_EQ(TextOf(FormatDirectly("%.*f", precision, value)), expected.substr(0, 3198)) << precision;
            EXPECT_EQ(TextOf(FormatByList("%.*f", precision, value)), expected) << precision;
        }
}

char *FormatInto(char *buffer, size_t room, u32 &outLength, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    char *const result = SNativeStringUtils::VAFormat(buffer, buffer + room, outLength, format, args);
    va_end(args);
    return result;
}

// A buffer of any size, behind which memory ends: the number comes as a block where it does not fit.
TEST(Wounds, FloatLongerThanAnyBuffer)
{
    const CGuardedPage page;
    const CTestAllocator allocator;
    const std::string expected = ByThePlatform("%.*f", 3, DBL_MAX);
    for (size_t room = 0; room <= expected.size() + 2; ++room)
    {
        char *const buffer = page.Last(room + 1);
        u32 length = 0;
        char *const result = FormatInto(buffer, room, length, "%.3f", DBL_MAX);
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(result == buffer, room >= expected.size());
        EXPECT_EQ(std::string(result, length), expected);
        if (result != buffer)
            Mem::Free(result, Mem::AllocType_Generic);
    }
}

// More arguments than registers hold, of all kinds, once where the result fits and once where it is formatted again; with
// a directive, too, that is left to the platform.
TEST(Wounds, ArgumentListUsedTwice)
{
    const CTestAllocator allocator;
    for (const int width : {1, 600, 3000})
        for (const char *last : {"%d", "%ld%.0La"})
        {
            const std::string format = std::string("%*d %s %g %c %lld %g %u %g %g %g %g %g %g %g %s %d ") + last;
            std::string expected(4000, '\0');
            const auto formatByPlatform = [&expected](const char *written, auto... arguments)
            { return std::snprintf(&expected[0], expected.size(), written, arguments...); };
            const auto formatWith = [&](const auto &use)
            {
                return use(format.c_str(), width, 5, "text", 0.5, 'c', 1234567890123LL, 1.5, 7u, 2.5, 3.5, 4.5, 5.5,
                           6.5, 7.5, 8.5, "end", 9, 10L, 1.0L);
            };
            expected.resize(static_cast<size_t>(formatWith(formatByPlatform)));
            // The platform writes the separator of the locale that the tests run in, and no other comma is in the format.
            std::replace(expected.begin(), expected.end(), ',', '.');
            formatWith([&](const char *written, auto... arguments)
                       { return ExpectFormatted(expected, written, arguments...), 0; });
        }
}

} // namespace
