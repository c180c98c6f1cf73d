#include "kr_buffer.h"

#include <cstdarg>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "string_checks.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

// The type is checked by this assignment: it carries an attribute that templates would lose.
char *(*const g_VAFormat)(char *, const char *, u32 &, const char *, va_list) = &SNativeStringUtils::VAFormat;

char *CallVAFormat(char *buffer, const char *bufferLast, u32 &outLength, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    char *const result = g_VAFormat(buffer, bufferLast, outLength, format, args);
    va_end(args);
    return result;
}

} // namespace

TEST(Buffer, TheHelpersAreStaticFunctionsWithTheContractsTypes)
{
    using FLength = u32 (*)(const char *) noexcept QV_NONBLOCKING;
    EXPECT_TRUE((std::is_same<decltype(&SNativeStringUtils::Length), FLength>::value));
    EXPECT_TRUE((std::is_same<decltype(&SNativeStringUtils::Length_16), FLength>::value));
    char buffer[4] = {};
    u32 length = 0;
    EXPECT_EQ(CallVAFormat(buffer, buffer + 3, length, "%d", 123), buffer);
    EXPECT_STREQ(buffer, "123");
    EXPECT_EQ(length, 3u);
}

TEST(Buffer, NullAndEmptyTextHaveLength0)
{
    EXPECT_EQ(SNativeStringUtils::Length(nullptr), 0u);
    EXPECT_EQ(SNativeStringUtils::Length(""), 0u);
}

TEST(Buffer, CompareCaseOrdersByLetterNotByCase)
{
    // Without the letter that has another upper case in some locales: the platform's comparison follows them.
    EXPECT_EQ(SNativeStringUtils::CompareCase("Brown", "bROWN"), 0);
    EXPECT_LT(SNativeStringUtils::CompareCase("BROWN", "brown fox"), 0);
    EXPECT_GT(SNativeStringUtils::CompareCase("brown fox", "BROWN"), 0);
    EXPECT_LT(SNativeStringUtils::CompareCase("apple", "Banana"), 0);
    EXPECT_GT(SNativeStringUtils::CompareCase("Banana", "apple"), 0);
    EXPECT_EQ(SNativeStringUtils::CompareCase("", ""), 0);
    EXPECT_LT(SNativeStringUtils::CompareCase("", "a"), 0);
}

TEST(Buffer, CompareCaseReportsNullAndOrdersItBeforeEveryText)
{
    const CAssertRecorder recorder;
    const std::string report = "data0 != null && data1 != null";
    EXPECT_LT(SNativeStringUtils::CompareCase(nullptr, ""), 0);
    EXPECT_GT(SNativeStringUtils::CompareCase("", nullptr), 0);
    EXPECT_EQ(SNativeStringUtils::CompareCase(nullptr, nullptr), 0);
    ExpectReports(recorder, {report, report, report});
}

TEST(Buffer, CompareReportsNullAndOrdersItBeforeEveryText)
{
    const CAssertRecorder recorder;
    const std::string report = "data0 != null && data1 != null";
    EXPECT_LT(SNativeStringUtils::Compare(nullptr, ""), 0);
    EXPECT_GT(SNativeStringUtils::Compare("", nullptr), 0);
    EXPECT_EQ(SNativeStringUtils::Compare(nullptr, nullptr), 0);
    ExpectReports(recorder, {report, report, report});
}

TEST(Buffer, EqualAndEqualCaseReportNullWhichEqualsNullAlone)
{
    const CAssertRecorder recorder;
    const std::string report = "data0 != null && data1 != null";
    EXPECT_FALSE(SNativeStringUtils::Equal(nullptr, ""));
    EXPECT_FALSE(SNativeStringUtils::Equal("", nullptr));
    EXPECT_TRUE(SNativeStringUtils::Equal(nullptr, nullptr));
    EXPECT_FALSE(SNativeStringUtils::EqualCase(nullptr, ""));
    EXPECT_FALSE(SNativeStringUtils::EqualCase("", nullptr));
    EXPECT_TRUE(SNativeStringUtils::EqualCase(nullptr, nullptr));
    ExpectReports(recorder, {report, report, report, report, report, report});
}

} // namespace QuorvaneTest
