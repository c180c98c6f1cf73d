// Floating-point numbers in the manner of printf, against the platform's.
#include "kr_buffer/printf_floating.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Internal::Buffer;

constexpr std::size_t kRoom = 2000;
const char *const kLeft = "left to the platform";

// By our own code, of a directive without its percent sign.
std::string Made(const std::string &directive, double value, std::size_t room = kRoom)
{
    char buffer[kRoom + 1];
    CPrintfOutput output(buffer, room + 1);
    if (!PutFloating(output, DirectiveAt(directive.c_str()), value))
        return kLeft;
    const u64 length = output.Finish();
    EXPECT_EQ(std::strlen(buffer), std::min<u64>(length, room));
    return std::string(buffer) + std::string(static_cast<std::size_t>(length - std::strlen(buffer)), '.');
}

std::string OfPlatform(const std::string &directive, double value)
{
    char buffer[kRoom + 1];
    std::snprintf(buffer, sizeof(buffer), ("%" + directive).c_str(), value);
    return buffer;
}

void ExpectAsPlatform(const std::string &directive, double value)
{
    ASSERT_EQ(Made(directive, value), OfPlatform(directive, value)) << directive;
}

// The platform's decimal point is that of the locale, and the one here a point.
class PrintfFloating : public ::testing::Test
{
protected:
    PrintfFloating() : m_Locale(std::setlocale(LC_NUMERIC, nullptr)) { std::setlocale(LC_NUMERIC, "C"); }
    ~PrintfFloating() override { std::setlocale(LC_NUMERIC, m_Locale.c_str()); }

private:
    const std::string m_Locale;
};

using CLimits = std::numeric_limits<double>;

#if defined(__cpp_lib_to_chars)

const double kValues[] = {
    0.0,
    CLimits::denorm_min(),
    DBL_MIN,
    DBL_MAX,
    DBL_EPSILON,
    0.5,
    1.5,
    2.5,
    0.125,
    0.1,
    9.5,
    9.9999995,
    99999.95,
    999999.5,
    0.0001,
    0.00009999995,
    123456789.123,
    1e15,
    1e22,
    9007199254740993.0,
    9223372036854774784.0, // the last one below 2 ^ 63
    9223372036854775808.0,
};

TEST_F(PrintfFloating, EveryPrecisionAndFlagIsAsThePlatformWritesIt)
{
    constexpr char kFlags[] = "-0+ ";
    for (unsigned flags = 0; flags < 16; ++flags)
        for (int precision = 0; precision <= 40; ++precision)
            for (const char letter : {'f', 'e', 'g', 'F', 'E', 'G'})
            {
#if defined(_WIN32)
                // That library forgets the width of a number that has more digits than places.
                if (std::strchr("gG", letter) != nullptr && precision % 2 != 0)
                    continue;
#endif
                std::string directive;
                for (unsigned i = 0; i < 4; ++i)
                    if ((flags >> i & 1) != 0)
                        directive += kFlags[i];
                directive += precision % 2 != 0 ? "24." : ".";
                directive += std::to_string(precision) + letter;
                for (const double value : kValues)
                    ASSERT_NO_FATAL_FAILURE(ExpectAsPlatform(directive, precision % 3 != 0 ? value : -value));
            }
}

TEST_F(PrintfFloating, ThePrecisionByDefaultIsSix)
{
    for (const char *directive : {"f", "e", "g", "lf", "le", "lg", "15F", "-15E|", "015G"})
        for (const double value : kValues)
            ASSERT_NO_FATAL_FAILURE(
                ExpectAsPlatform(std::string(directive).substr(0, std::string(directive).find('|')), value));
}

TEST_F(PrintfFloating, AnyBitsAreAsThePlatformWritesThem)
{
    std::mt19937_64 random(15);
    constexpr const char *kLetters[] = {"f", "e", "g"};
    for (int i = 0; i < 6000; ++i)
    {
        const u64 bits = random();
        double value;
        std::memcpy(&value, &bits, sizeof(value));
        if (std::isfinite(value))
        {
            ASSERT_NO_FATAL_FAILURE(ExpectAsPlatform("." + std::to_string(random() % 25) + kLetters[i % 3], value));
        }
    }
}

TEST_F(PrintfFloating, LongTextsAreWrittenWhereThereIsRoom)
{
    EXPECT_EQ(Made(".1074f", CLimits::denorm_min()), OfPlatform(".1074f", CLimits::denorm_min()));
    EXPECT_EQ(Made("+.100f", DBL_MAX), OfPlatform("+.100f", DBL_MAX));
    EXPECT_EQ(Made(".300E", -DBL_MIN), OfPlatform(".300E", -DBL_MIN));
    EXPECT_EQ(Made("f", DBL_MAX, 200), kLeft);
    EXPECT_EQ(Made("400f", DBL_MAX), kLeft);
    EXPECT_EQ(Made(".5000f", 1.0), kLeft);
    // With as many places as are written at most, and with one more.
    EXPECT_EQ(Made(".1100f", 1.5), OfPlatform(".1100f", 1.5));
    EXPECT_EQ(Made(".1101f", 1.5), kLeft);
}

TEST_F(PrintfFloating, ALongTextIsLeftToThePlatformWhereItsWidthIsMore)
{
    EXPECT_EQ(Made("51.50f", 1.5), OfPlatform(".50f", 1.5));
    EXPECT_EQ(Made("52.50f", 1.5), OfPlatform(".50f", 1.5));
    EXPECT_EQ(Made("53.50f", 1.5), kLeft);
}

#endif

// Whole numbers of some bits with some behind the point: what few places have, what ends in a 5, and what is next to it.
TEST_F(PrintfFloating, FewPlacesAreAsThePlatformWritesThem)
{
    std::mt19937_64 random(16);
    for (int i = 0; i < 20000; ++i)
    {
        const double whole = static_cast<double>(random() >> (10 + random() % 53));
        const int behind = static_cast<int>(random() % 70);
        ASSERT_NO_FATAL_FAILURE(
            ExpectAsPlatform("." + std::to_string(random() % 20) + "f", std::ldexp(whole, -behind)));
    }
}

TEST_F(PrintfFloating, TheMiddleIsRoundedToTheEvenDigit)
{
    EXPECT_EQ(Made(".0f", 0.5), "0");
    EXPECT_EQ(Made(".0f", 1.5), "2");
    EXPECT_EQ(Made(".0f", 2.5), "2");
    EXPECT_EQ(Made(".0f", -3.5), "-4");
    EXPECT_EQ(Made(".2f", 0.125), "0.12");
    EXPECT_EQ(Made(".2f", 0.375), "0.38");
    EXPECT_EQ(Made(".0f", 0.50000000000000011), "1");
    EXPECT_EQ(Made(".0f", 4503599627370495.5), "4503599627370496");
    // Exactly in the middle of two with so many places.
    for (int places = 0; places <= 19; ++places)
        for (const double odd : {1.0, 3.0, 5.0, 1023.0})
            ASSERT_NO_FATAL_FAILURE(ExpectAsPlatform("." + std::to_string(places) + "f", std::ldexp(odd, -places - 1)));
}

TEST_F(PrintfFloating, RoundingMayAddADigit)
{
    EXPECT_EQ(Made(".3f", 0.9996), "1.000");
    EXPECT_EQ(Made(".1f", 99.95000000000001), "100.0");
    EXPECT_EQ(Made(".0f", 9.5), "10");
    EXPECT_EQ(Made(".19f", 1 - DBL_EPSILON / 2), "0.9999999999999998890");
}

TEST_F(PrintfFloating, ZeroHasASign)
{
    EXPECT_EQ(Made(".2f", -0.0), "-0.00");
    EXPECT_EQ(Made("+.2f", 0.0), "+0.00");
    EXPECT_EQ(Made(" .2f", 0.0), " 0.00");
    EXPECT_EQ(Made("08.2f", -0.0), "-0000.00");
    EXPECT_EQ(Made("-8.2f", -1e-9), "-0.00   ");
}

TEST_F(PrintfFloating, WhatIsNoFiniteNumberIsLeftToThePlatform)
{
    for (const char *directive : {"f", "e", "g", ".3F"})
        for (const double value :
             {CLimits::infinity(), -CLimits::infinity(), CLimits::quiet_NaN(), -CLimits::quiet_NaN()})
            EXPECT_EQ(Made(directive, value), kLeft);
}

} // namespace

} // namespace QuorvaneTest
