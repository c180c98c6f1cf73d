// Numbers written to the end of strings: their digits, and what becomes of the string.
#include "kr_string_numbers.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "every_text.h"
#include "number_model.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

template <typename... Arguments>
std::string Written(const Arguments &...arguments)
{
    CString text;
    AppendNumber(text, arguments...);
    ExpectWellFormed(text);
    return TextOf(text);
}

} // namespace

TEST(StringNumbersAppend, AppendNumberWritesTheDigits)
{
    EXPECT_EQ(Written(0), "0");
    EXPECT_EQ(Written(-7), "-7");
    EXPECT_EQ(Written(1234567890u), "1234567890");
    EXPECT_EQ(Written(s8(-128)), "-128");
    EXPECT_EQ(Written(u8(255)), "255");
    EXPECT_EQ(Written(255, 16u), "ff");
    EXPECT_EQ(Written(-35, 36u), "-z");
    EXPECT_EQ(Written(5, 2u), "101");
    EXPECT_EQ(Written(std::numeric_limits<s64>::min()), "-9223372036854775808");
    EXPECT_EQ(Written(std::numeric_limits<u64>::max()), "18446744073709551615");
    EXPECT_EQ(Written(std::numeric_limits<s64>::min(), 2u), "-1" + std::string(63, '0'));
    EXPECT_EQ(Written(std::numeric_limits<u64>::max(), 2u), std::string(64, '1'));
}

TEST(StringNumbersAppend, AppendNumberWritesEveryBaseAsTheModelDoes)
{
    const s64 values[] = {0,
                          1,
                          -1,
                          9,
                          10,
                          35,
                          36,
                          99,
                          100,
                          -1000,
                          65535,
                          std::numeric_limits<s64>::max(),
                          std::numeric_limits<s64>::min()};
    for (u32 base = 2; base <= 36; ++base)
    {
        for (const s64 value : values)
        {
            EXPECT_EQ(Written(value, base), ModelNumberText(value, base));
            EXPECT_EQ(Written(static_cast<u64>(value), base), ModelNumberText(static_cast<u64>(value), base));
            EXPECT_EQ(Written(static_cast<s16>(value), base), ModelNumberText(static_cast<s16>(value), base));
        }
    }
}

TEST(StringNumbersAppend, AppendNumberReturnsTheStringForMore)
{
    CString text("x=");
    CString &answered = AppendNumber(text, 12);
    EXPECT_EQ(&answered, &text);
    AppendNumber(AppendNumber(text, -3).Append('/'), 25);
    ExpectText(text, "x=12-3/25");
}

TEST(StringNumbersAppend, AppendNumberReportsABaseThatIsNoneAndAppendsNothing)
{
    for (const u32 base : {0u, 1u, 37u, 0xFFFFFFFFu})
    {
        CAssertRecorder recorder;
        CString text("abc");
        const char *const data = text.Data();
        AppendNumber(text, 5, base);
        ExpectText(text, "abc");
        EXPECT_EQ(static_cast<const void *>(text.Data()), static_cast<const void *>(data));
        ExpectReports(recorder, {"base >= 2 && base <= 36"});
    }
}

TEST(StringNumbersAppend, AppendNumberGrowsAsAppendDoes)
{
    // In its own room.
    CString grown = Resizable("abc", 100);
    const char *const data = grown.Data();
    AppendNumber(AppendNumber(grown, 42), -5);
    EXPECT_EQ(static_cast<const void *>(grown.Data()), static_cast<const void *>(data));
    ExpectText(grown, "abc42-5");
    // Other handles keep their text.
    const CString copy = grown;
    AppendNumber(grown, 7);
    ExpectText(copy, "abc42-5");
    ExpectText(grown, "abc42-57");
    // A text that begins with a terminator is nothing, as for Append, unless it can grow.
    CString fixed = ::Fixed(std::string("\0ab", 3));
    AppendNumber(fixed, 7);
    ExpectText(fixed, "7");
    CString resizable = Resizable(std::string("\0ab", 3), 16);
    AppendNumber(resizable, 7);
    ExpectCharacters(resizable, std::string("\0ab7", 4));
}

TEST(StringNumbersAppend, AppendNumberAllocatesOnce)
{
    CTestAllocator allocator;
    {
        CString text;
        AppendNumber(text, 12345);
        // The characters and the object.
        EXPECT_EQ(allocator.RequestCount(), 2u);
        AppendNumber(text, 6);
        EXPECT_EQ(allocator.RequestCount(), 2u);
#if QV_HAS_FLOATING_NUMBERS
        CString precise;
        AppendNumber(precise, 1e308, std::chars_format::fixed, 1074);
        EXPECT_EQ(allocator.RequestCount(), 4u);
        EXPECT_EQ(precise.Length(), 309u + 1 + 1074);
#endif
    }
}

TEST(StringNumbersAppend, AppendNumberRefusedIsAsAppendRefused)
{
    const auto check = [](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
    {
        ExpectText(string, refusal.m_Refused ? "" : "abc-12");
        ExpectReports(recorder, {});
    };
    SweepRefusals([] { return CString("abc"); }, [](CString &string) { AppendNumber(string, -12); }, check);
#if QV_HAS_FLOATING_NUMBERS
    SweepRefusals([] { return CString("abc"); }, [](CString &string) { AppendNumber(string, -12.0); }, check);
#endif
}

#if QV_HAS_FLOATING_NUMBERS

namespace
{

// What the platform's printf gives, exactly rounded, without the prefix of base 16, and with a point in every locale.
std::string Printed(const char *format, u32 precision, double value)
{
    std::vector<char> text(4096 + precision);
    const int length = std::snprintf(text.data(), text.size(), format, static_cast<int>(precision), value);
    std::string printed(text.data(), static_cast<size_t>(length));
    const size_t point = printed.find(std::localeconv()->decimal_point);
    if (point != std::string::npos)
        printed.replace(point, std::strlen(std::localeconv()->decimal_point), ".");
    const size_t prefix = printed.find("0x");
    return prefix != std::string::npos ? printed.erase(prefix, 2) : printed;
}

struct SFormat
{
    std::chars_format m_Format;
    const char *m_Printf;
};

constexpr SFormat kFormats[] = {{std::chars_format::fixed, "%.*f"},
                                {std::chars_format::scientific, "%.*e"},
                                {std::chars_format::general, "%.*g"},
                                {std::chars_format::hex, "%.*a"}};

template <typename Floating>
void ExpectAsPrintf(Floating value, u32 precision)
{
    for (const SFormat &format : kFormats)
    {
        // Denormal floats have an exponent of their own in base 16.
        if (format.m_Format == std::chars_format::hex && sizeof(Floating) < sizeof(double) && !std::isnormal(value))
            continue;
        ASSERT_EQ(Written(value, format.m_Format, precision), Printed(format.m_Printf, precision, value))
            << format.m_Printf << " with " << precision << " of " << value;
    }
}

const double kValues[] = {0.0,
                          -0.0,
                          1.0,
                          -1.5,
                          0.1,
                          2.5,
                          9.995,
                          0.00001234,
                          123456789.0,
                          1e15,
                          1e22,
                          1e100,
                          1e308,
                          -1e-308,
                          std::numeric_limits<double>::max(),
                          std::numeric_limits<double>::min(),
                          std::numeric_limits<double>::denorm_min(),
                          std::numeric_limits<double>::infinity(),
                          -std::numeric_limits<double>::infinity(),
                          std::numeric_limits<double>::quiet_NaN()};

} // namespace

TEST(StringNumbersAppend, AppendNumberWritesTheShortestTextThatReadsBack)
{
    EXPECT_EQ(Written(0.1), "0.1");
    EXPECT_EQ(Written(0.1f), "0.1");
    EXPECT_EQ(Written(1.0 / 3), "0.3333333333333333");
    EXPECT_EQ(Written(1.0f / 3), "0.33333334");
    EXPECT_EQ(Written(1e22), "1e+22");
    EXPECT_EQ(Written(1000.0), "1000");
    EXPECT_EQ(Written(-0.0), "-0");
    EXPECT_EQ(Written(5e-324), "5e-324");
    EXPECT_EQ(Written(-1.7976931348623157e308), "-1.7976931348623157e+308");
    EXPECT_EQ(Written(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(Written(-std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_EQ(Written(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(Written(-std::numeric_limits<double>::quiet_NaN()), "-nan");
}

TEST(StringNumbersAppend, AppendNumberWritesTheShortestTextOfAFormat)
{
    EXPECT_EQ(Written(1e22, std::chars_format::fixed), "10000000000000000000000");
    EXPECT_EQ(Written(0.5, std::chars_format::scientific), "5e-01");
    EXPECT_EQ(Written(10.0, std::chars_format::hex), "1.4p+3");
    EXPECT_EQ(Written(-1e-300, std::chars_format::fixed), "-0." + std::string(299, '0') + "1");
    EXPECT_EQ(Written(5e-324, std::chars_format::fixed), "0." + std::string(323, '0') + "5");
    // The longest ones: 17 digits, just above the least number that has as many.
    EXPECT_EQ(Written(-2.2250738585072014e-308, std::chars_format::fixed),
              "-0." + std::string(307, '0') + "22250738585072014");
    EXPECT_EQ(Written(-1.7976931348623157e308, std::chars_format::fixed), Printed("%.*f", 0, -1.7976931348623157e308));
}

TEST(StringNumbersAppend, AppendNumberWithAPrecisionWritesWhatPrintfDoes)
{
    for (const double value : kValues)
    {
        for (u32 precision = 0; precision <= 30; ++precision)
        {
            ASSERT_NO_FATAL_FAILURE(ExpectAsPrintf(value, precision));
            ASSERT_NO_FATAL_FAILURE(ExpectAsPrintf(static_cast<float>(value), precision));
        }
        for (const u32 precision : {100u, 307u, 308u, 309u, 323u, 324u, 766u, 767u, 768u})
            ASSERT_NO_FATAL_FAILURE(ExpectAsPrintf(value, precision));
    }
    EXPECT_EQ(Written(1e308, std::chars_format::fixed, 100u), Printed("%.*f", 100, 1e308));
}

TEST(StringNumbersAppend, AppendNumberWithAPrecisionBeyondAllDigitsWritesZeros)
{
    // From 1074 on they are appended.
    for (const double value : kValues)
        for (const u32 precision : {1073u, 1074u, 1075u, 1076u, 1137u, 1138u, 1139u, 1140u, 1203u, 2000u, 100000u})
            ASSERT_NO_FATAL_FAILURE(ExpectAsPrintf(value, precision));
    ASSERT_NO_FATAL_FAILURE(ExpectAsPrintf(0.1f, 3000));
}

TEST(StringNumbersAppend, AppendNumberOfAnyBitsWritesWhatPrintfDoes)
{
    std::mt19937_64 random(20240303);
    for (u32 i = 0; i < (kSlow ? 2000 : 50000); ++i)
    {
        const u64 bits = random();
        double value;
        std::memcpy(&value, &bits, sizeof(value));
        ASSERT_NO_FATAL_FAILURE(ExpectAsPrintf(value, static_cast<u32>(random() % 1200)));
    }
}

TEST(StringNumbersAppend, AppendNumberWithAPrecisionKeepsTheTextInFront)
{
    CString text("abc");
    AppendNumber(text, -1.5, std::chars_format::scientific, 2000);
    ExpectText(text, "abc" + Printed("%.*e", 2000, -1.5));
    const CString copy = text;
    AppendNumber(text, 0.25, std::chars_format::fixed, 1100);
    ExpectText(text, TextOf(copy) + Printed("%.*f", 1100, 0.25));
    ExpectText(copy, "abc" + Printed("%.*e", 2000, -1.5));
}

TEST(StringNumbersAppend, AppendNumberWithAPrecisionRefusedIsAsAppendRefused)
{
    const std::string zeros(5000, '0');
    SweepRefusals([] { return CString("abc"); },
                  [](CString &string) { AppendNumber(string, 1.0, std::chars_format::scientific, 5000); },
                  [&zeros](const CString &string, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      // A container that cannot grow is given up for a new one.
                      if (!refusal.m_Refused || string.Data() != nullptr)
                          ExpectText(string, "abc1." + zeros + "e+00");
                      else
                          ExpectText(string, "");
                      EXPECT_TRUE(!refusal.m_AndAllAfter || (string.Data() == nullptr) == refusal.m_Refused);
                      ExpectReports(recorder, {});
                  });
}

TEST(StringNumbersAppend, AppendNumberOfALengthThatNoStringCanHaveIsRefusedWithoutAskingForMemory)
{
    // "abc", "1." and the zeros.
    constexpr u32 kRefused = CStringContainer::kLengthMask - 5;
    for (const u32 precision : {kRefused - 1, kRefused, CStringContainer::kLengthMask, 0x7FFFFFFFu, 0xFFFFFFFFu})
    {
        CTestAllocator allocator;
        CAssertRecorder recorder;
        CString text("abc");
        allocator.RefuseFromNth(1);
        AppendNumber(text, 1.0, std::chars_format::fixed, precision);
        EXPECT_EQ(text.Data(), nullptr);
        EXPECT_EQ(allocator.HasRefused(), precision < kRefused);
        ExpectReports(recorder, {});
    }
    // Neither has digits that a precision adds to.
    EXPECT_EQ(Written(std::numeric_limits<double>::infinity(), std::chars_format::fixed, 0xFFFFFFFFu), "inf");
    EXPECT_EQ(Written(0.5, std::chars_format::general, 0xFFFFFFFFu), "0.5");
}

#endif
