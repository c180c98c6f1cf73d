// printf-like formatting by our own code, against the platform's: texts, characters, integers, what is left to the
// platform. Floating-point numbers have a test of their own.
#include "kr_buffer/printf_format.h"

#include <algorithm>
#include <cfenv>
#include <charconv>
#include <climits>
#include <clocale>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "kr_buffer.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Internal::Buffer;

// Into a block of just `size` bytes, of which the first that no text takes are looked at. Not checked as a format, so that
// anything may be given.
int Made(std::string &out, std::size_t size, EFormatLocale locale, const char *format, ...)
{
    const std::unique_ptr<char[]> buffer(new char[size]);
    std::memset(buffer.get(), '#', size);
    va_list args;
    va_start(args, format);
    const int length = FormatAsPrintf(buffer.get(), size, format, args, locale);
    va_end(args);
    if (length == kLeftToPlatform)
        return length;
    const std::size_t written = std::min(size - 1, static_cast<std::size_t>(length));
    EXPECT_EQ(buffer[written], '\0');
    EXPECT_TRUE(written + 1 == size || buffer[written + 1] == '#');
    out.assign(buffer.get(), written);
    return length;
}

template <typename... Arguments>
int LengthMade(const char *format, Arguments... arguments)
{
    std::string text;
    return Made(text, 64, FormatLocale_C, format, arguments...);
}

// The same as the platform, with enough room and with too little of it. Where our own code is left out, it makes nothing.
template <typename... Arguments>
void ExpectAsPlatform(const char *format, Arguments... arguments)
{
    char expected[2048];
    const int length = std::snprintf(expected, sizeof(expected), format, arguments...);
    ASSERT_LT(length, 2048);
    const std::size_t whole = static_cast<std::size_t>(length);
    for (const std::size_t size : {whole + 20, whole + 1, whole != 0 ? whole : 1, std::size_t(1)})
    {
        std::string text;
        const int made = Made(text, size, FormatLocale_C, format, arguments...);
        if (QV_OWN_PRINTF == 0)
        {
            ASSERT_EQ(made, kLeftToPlatform);
            return;
        }
        ASSERT_EQ(made, length) << format;
        ASSERT_EQ(text, std::string(expected, whole).substr(0, size - 1)) << format << " into " << size;
    }
}

TEST(PrintfFormat, LiteralTextIsWritten)
{
    ExpectAsPlatform("%s", "");
    ExpectAsPlatform("plain%s", "");
    ExpectAsPlatform("%d%%", 5);
    ExpectAsPlatform("%%%%%d%%\xE4\n", 5);
    const std::string literal(100, 'x');
    ExpectAsPlatform((literal + "%d" + literal).c_str(), 5);
    ExpectAsPlatform((literal.substr(69) + "%d" + literal.substr(68) + "%d" + literal.substr(67)).c_str(), 5, 6);
}

TEST(PrintfFormat, TextsHaveWidthAndPrecision)
{
    const std::string text(1000, 'y');
    for (const char *argument : {"", "a", "some text", text.c_str()})
    {
        for (const char *format :
             {"<%s>", "<%5s>", "<%-5s>", "<%20s>", "<%.0s>", "<%.s>", "<%.3s>", "<%12.3s>", "<%-12.30s>"})
            ExpectAsPlatform(format, argument);
        for (const int number : {-20, -3, 0, 3, 20})
        {
            ExpectAsPlatform("<%*s>", number, argument);
            ExpectAsPlatform("<%.*s>", number, argument);
            ExpectAsPlatform("<%*.*s>", number, number, argument);
        }
    }
}

TEST(PrintfFormat, TextsWithPrecisionNeedNoTerminator)
{
    const std::unique_ptr<char[]> unterminated(new char[3]);
    std::memcpy(unterminated.get(), "abc", 3);
    ExpectAsPlatform("%.3s|%.*s", unterminated.get(), 2, unterminated.get());
}

TEST(PrintfFormat, CharactersAreBytes)
{
    for (const int character : {1, 0x61, 0x7F, 0x80, 0xFF, 0x141, -1})
    {
        ExpectAsPlatform("%c", character);
        ExpectAsPlatform("<%5c|%-5c|%*c>", character, character, -3, character);
    }
}

#if defined(_WIN32)
constexpr bool kIsWindows = true;
#else
constexpr bool kIsWindows = false;
#endif

// Each flag with each other one, widths and precisions, and what decides: the letter.
template <typename Integer>
void ExpectIntegers(const std::string &size, Integer value)
{
    constexpr char kFlags[] = "-0+ #";
    for (unsigned flags = 0; flags < 32; ++flags)
    {
        std::string format = "%";
        for (unsigned i = 0; i < 5; ++i)
            if ((flags >> i & 1) != 0)
                format += kFlags[i];
        for (const char *numbers : {"", "1", "12", "30", ".", ".0", ".1", ".9", ".25", "12.9", "9.12", "30.0"})
            for (const char letter : {'d', 'i', 'u', 'x', 'X', 'o'})
            {
                const bool isSigned = letter == 'd' || letter == 'i';
                const bool isDecimal = isSigned || letter == 'u';
                const bool isDefined = (isSigned || (flags & 12) == 0) && (!isDecimal || (flags & 16) == 0);
                const std::string whole = format + numbers + size + letter;
                // The platform has none of the digits of a zero there, of which the standard wants one.
                const bool isWrongThere = kIsWindows && value == 0 && letter == 'o' && (flags & 16) != 0;
                if (isDefined && isWrongThere)
                    ASSERT_GE(LengthMade(whole.c_str(), value), 1) << whole;
                else if (isDefined)
                    ExpectAsPlatform(whole.c_str(), value);
                else
                    ASSERT_EQ(LengthMade(whole.c_str(), value), kLeftToPlatform) << whole;
            }
    }
}

TEST(PrintfFormat, IntegersHaveEveryFlag)
{
    for (const int value : {0, 1, -1, 8, 100, INT_MIN})
        ExpectIntegers("", value);
    ExpectIntegers("ll", LLONG_MIN);
}

TEST(PrintfFormat, IntegersHaveEverySize)
{
    for (const char letter : {'d', 'i', 'u', 'x', 'X', 'o'})
    {
        const auto with = [letter](const char *size) { return std::string("%") + size + letter; };
        for (const int value :
             {0, 1, -1, 9, 10, 99, 100, 127, 128, -128, 255, 256, 32768, 65535, 65536, INT_MAX, INT_MIN})
        {
            ExpectAsPlatform(with("").c_str(), value);
            ExpectAsPlatform(with("hh").c_str(), value);
            ExpectAsPlatform(with("h").c_str(), value);
        }
        for (const long long value : {0LL, -1LL, 4294967296LL, 999999999999999999LL, LLONG_MAX, LLONG_MIN})
        {
            ExpectAsPlatform(with("l").c_str(), static_cast<long>(value));
            ExpectAsPlatform(with("ll").c_str(), value);
            ExpectAsPlatform(with("z").c_str(), static_cast<std::size_t>(value));
            ExpectAsPlatform(with("j").c_str(), static_cast<std::intmax_t>(value));
            ExpectAsPlatform(with("t").c_str(), static_cast<std::ptrdiff_t>(value));
        }
    }
}

TEST(PrintfFormat, WidthAndPrecisionComeFromTheArguments)
{
    for (const int number : {-30, -1, 0, 1, 30})
    {
        ExpectAsPlatform("%*d|%-*d|%0*d", number, 42, number, 42, number, 42);
        ExpectAsPlatform("%.*d|%5.*x", number, 42, number, 42u);
        ExpectAsPlatform("%*.*o", number, -number, 42u);
    }
    EXPECT_EQ(LengthMade("%*d", INT_MIN, 1), kLeftToPlatform);
}

#if defined(__GLIBC__)
TEST(PrintfFormat, AddressesAreWrittenAsThePlatformWritesThem)
{
    const int object = 0;
    const void *const pointer = &object;
    ExpectAsPlatform("%p|%30p|%-30p|%*p", pointer, pointer, pointer, -25, pointer);
    ExpectAsPlatform("%p", reinterpret_cast<const void *>(~std::uintptr_t(0)));
    EXPECT_EQ(LengthMade("%p", static_cast<const void *>(nullptr)), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%+p", pointer), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%.3p", pointer), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%.0p", pointer), kLeftToPlatform);
}
#endif

TEST(PrintfFormat, AWidthBeyondTheRoomIsCounted)
{
    if (QV_OWN_PRINTF == 0)
        GTEST_SKIP() << "the platform's printf formats here";
    std::string text;
    EXPECT_EQ(Made(text, 8, FormatLocale_C, "%107374182d", 1), 107374182);
    EXPECT_EQ(text, "       ");
    EXPECT_EQ(Made(text, 8, FormatLocale_C, "%.107374182d|%*d", 1, INT_MAX - 107374183, 1), INT_MAX);
    EXPECT_EQ(text, "0000000");
    // The largest number that is read, and the next one.
    EXPECT_EQ(Made(text, 8, FormatLocale_C, "%1073741819d", 1), 1073741819);
    EXPECT_EQ(Made(text, 8, FormatLocale_C, "%1073741820d", 1), kLeftToPlatform);
    EXPECT_EQ(Made(text, 8, FormatLocale_C, "%.1073741819d", 1), 1073741819);
    EXPECT_EQ(Made(text, 8, FormatLocale_C, "%.1073741820d", 1), kLeftToPlatform);
    // No platform has a length for more.
    EXPECT_EQ(Made(text, 8, FormatLocale_C, "%*d ", INT_MAX, 1), kLeftToPlatform);
}

TEST(PrintfFormat, WhatIsNotKnownIsLeftToThePlatform)
{
    const char *const null = nullptr;
    EXPECT_EQ(LengthMade("%s", null), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%d %ls", 1, L"wide"), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%lc", L'w'), kLeftToPlatform);
    EXPECT_EQ(LengthMade("a%c", '\0'), kLeftToPlatform);
    EXPECT_EQ(LengthMade("a%c", 0x100), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%Lf", 1.5L), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%a", 1.5), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%hf", 1.5), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%#g", 1.5), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%1$d", 1), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%'d", 1000), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%Id", 1000), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%qd", 1LL), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%m"), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%05s", "a"), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%+s", "a"), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%.2c", 'a'), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%.0c", 'a'), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%.*c", 2, 'a'), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%5%"), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%99999999999d", 1), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%.99999999999d", 1), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%.-3d", 1), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%y", 1), kLeftToPlatform);
    EXPECT_EQ(LengthMade("%1:d", 1), kLeftToPlatform);
}

#if defined(__cpp_lib_to_chars)
TEST(PrintfFormat, FloatingPointNumbersWithAPointAreFormattedHere)
{
    if (QV_OWN_PRINTF == 0)
        GTEST_SKIP() << "the platform's printf formats here";
    const bool hasPoint = std::strcmp(std::localeconv()->decimal_point, ".") == 0;
    for (const EFormatLocale locale : {FormatLocale_C, FormatLocale_InForce})
    {
        if (locale == FormatLocale_InForce && !hasPoint)
            continue;
        std::string text;
        EXPECT_EQ(Made(text, 64, locale, "%f|%.2F|%e|%.3E|%g|%.1G", 1.5, 2.0, 3.25, 4.5, 1e9, 25.0), 48);
        EXPECT_EQ(text, "1.500000|2.00|3.250000e+00|4.500E+00|1e+09|2E+01");
        EXPECT_EQ(Made(text, 64, locale, "%lf %5.1lf", 0.25, 1.5), 14);
        EXPECT_EQ(text, "0.250000   1.5");
    }
}
#endif

TEST(PrintfFormat, AFormatThatEndsWithinADirectiveIsNotReadFurther)
{
    for (const std::string format : {"%", "a%", "%-", "%5", "%.", "%.5", "%l", "%ll", "%hh", "%h", "%z", "%*"})
    {
        const std::unique_ptr<char[]> exact(new char[format.size() + 1]);
        std::memcpy(exact.get(), format.c_str(), format.size() + 1);
        EXPECT_EQ(LengthMade(exact.get(), 1), kLeftToPlatform) << format;
    }
}

TEST(PrintfFormat, OnlyFloatingPointNumbersDependOnRounding)
{
    if (std::fesetround(FE_UPWARD) != 0 || std::fegetround() != FE_UPWARD)
        GTEST_SKIP() << "this machine rounds to nearest alone";
    const int ofInteger = LengthMade("%d", 1);
    const int ofFloating = LengthMade("%.0f", 0.5);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(ofInteger, QV_OWN_PRINTF != 0 ? 1 : kLeftToPlatform);
    EXPECT_EQ(ofFloating, kLeftToPlatform);
}

TEST(PrintfFormat, OnlyFloatingPointNumbersDependOnTheLocale)
{
    const char *const before = std::setlocale(LC_ALL, nullptr);
    const std::string kept = before;
    std::string text;
    bool hasComma = false;
    for (const char *const name : {"de_DE.UTF-8", "fr_FR.UTF-8", "German_Germany.1252"})
        hasComma = hasComma || std::setlocale(LC_ALL, name) != nullptr;
    const int ofInteger = Made(text, 64, FormatLocale_InForce, "%d %s", 1234567, "a");
    const int ofFloating = Made(text, 64, FormatLocale_InForce, "%.1f", 1.5);
    std::setlocale(LC_ALL, kept.c_str());
    if (!hasComma)
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    EXPECT_EQ(ofInteger, QV_OWN_PRINTF != 0 ? 9 : kLeftToPlatform);
    EXPECT_EQ(ofFloating, kLeftToPlatform);
}

} // namespace

} // namespace QuorvaneTest
