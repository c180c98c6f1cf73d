#include "kr_buffer.h"

#include <cstdarg>
#include <type_traits>

#include <gtest/gtest.h>

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
    EXPECT_TRUE((std::is_same<decltype(&SNativeStringUtils::Length), u32 (*)(const char *)>::value));
    EXPECT_TRUE((std::is_same<decltype(&SNativeStringUtils::Length_16), u32 (*)(const char *)>::value));
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

} // namespace QuorvaneTest
