// The foreseen lengths of formatted results, against those that the platform makes.
#include "kr_buffer/format_length.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

// Not checked as a format, so that arguments which are none of the platform's business may be given.
u32 Foreseen(std::size_t room, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const u32 length = Internal::Buffer::ForeseenLength(room, format, args);
    va_end(args);
    return length;
}

// Whether the foreseen length is the platform's, and the arguments can still be formatted afterwards.
QV_INTERNAL_PRINTF(1, 2)
bool IsForeseen(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const u32 foreseen = Internal::Buffer::ForeseenLength(15, format, args);
    const int made = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    return made >= 0 && foreseen == static_cast<u32>(made);
}

const std::string kLong(1000, 'y');
const char *const kText = kLong.c_str();

TEST(FormatLength, TextsAreMeasuredWithWidthAndPrecision)
{
    EXPECT_EQ(Foreseen(15, "%s", kText), 1000u);
    EXPECT_EQ(Foreseen(15, "<%s>%%", kText), 1003u);
    EXPECT_EQ(Foreseen(15, "%.20s%.700s", kText, kText), 720u);
    EXPECT_EQ(Foreseen(15, "%1200s", "right"), 1200u);
    EXPECT_TRUE(IsForeseen("%-1200s|", "left"));
    EXPECT_TRUE(IsForeseen("%5s %s %-5s", "ab", kText, "cd"));
    EXPECT_TRUE(IsForeseen("%s %.0s|%.s|", kText, kText, kText));
}

TEST(FormatLength, TextsWithPrecisionNeedNoTerminator)
{
    const char unterminated[20] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j',
                                   'k', 'l', 'm', 'n', 'o', 'p', 'q', 'r', 's', 't'};
    EXPECT_EQ(Foreseen(15, "%.20s", unterminated), 20u);
}

TEST(FormatLength, NumbersAreAsLongAsThePlatformMakesThem)
{
    EXPECT_TRUE(IsForeseen("%s %d %d %d %i", kText, 0, -1, 99, -2147483647 - 1));
    EXPECT_TRUE(IsForeseen("%s %1d %2d %3d %03d %010d", kText, 10, 10, 10, 10, -10));
    EXPECT_TRUE(IsForeseen("%s %+d % d %-8d| %.3d", kText, 5, 5, 5, 5));
    EXPECT_TRUE(IsForeseen("%s %u %x %X %o %#x %#o", kText, 4000000000u, 0xABCu, 0xABCu, 8u, 255u, 8u));
    EXPECT_TRUE(IsForeseen("%s %ld %lld %zu %lu %llx", kText, -9L, -10LL, sizeof(kText), ~0ul, ~0ull));
    EXPECT_TRUE(IsForeseen("%s %c%c", kText, 'a', 'b'));
    EXPECT_TRUE(IsForeseen("%s %f %g %e %.3f %10.1f %G %E %F", kText, 1.5, 1e100, -2.5, 2.0, 3.25, 1e-9, 1.0, 1e30));
}

TEST(FormatLength, AResultWhoseTextsFitIsNotForeseen)
{
    EXPECT_EQ(Foreseen(1000, "%s", kText), 0u);
    EXPECT_EQ(Foreseen(999, "%s", kText), 1000u);
    EXPECT_EQ(Foreseen(0, "%s", ""), 0u);
    // Its number alone does not fit.
    EXPECT_EQ(Foreseen(15, "%1000d", 1), 0u);
}

TEST(FormatLength, WhatIsNotReadIsLeftToThePlatform)
{
    EXPECT_EQ(Foreseen(15, "%s %p", kText, static_cast<const void *>(kText)), 0u);
    EXPECT_EQ(Foreseen(15, "%s %*d", kText, 7, 1), 0u);
    EXPECT_EQ(Foreseen(15, "%s %.*f", kText, 2, 1.25), 0u);
    EXPECT_EQ(Foreseen(15, "%s %jd %td", kText, static_cast<std::intmax_t>(1), static_cast<std::ptrdiff_t>(2)), 0u);
    EXPECT_EQ(Foreseen(15, "%s %Lf", kText, 1.5L), 0u);
    EXPECT_EQ(Foreseen(15, "%ls %s", L"wide", kText), 0u);
    EXPECT_EQ(Foreseen(15, "%s %.00000000000000000000000000000000000003d", kText, 3), 0u);
}

TEST(FormatLength, ANullTextIsLeftToThePlatform)
{
    const char *const null = nullptr;
    EXPECT_EQ(Foreseen(15, "%s %s", kText, null), 0u);
}

TEST(FormatLength, NoLengthIsForeseenThatStringsRefuse)
{
    const std::string wide = "%107374181s";
    std::string format;
    for (int i = 0; i < 10; ++i)
        format += wide;
    EXPECT_EQ(Foreseen(15, format.c_str(), "", "", "", "", "", "", "", "", "", ""), 1073741810u);
    format += wide;
    EXPECT_EQ(Foreseen(15, format.c_str(), "", "", "", "", "", "", "", "", "", "", ""), 0u);
    EXPECT_EQ(Foreseen(15, "%1073741823s", ""), 0u);
}

} // namespace

} // namespace QuorvaneTest
