// Numbers read from text: every type, every base, every way of not being one.
#include "kr_string_numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "every_locale.h"
#include "every_text.h"
#include "kr_string_std.h"
#include "number_model.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

void ExpectAnswer(const SParsedNumber &answer, EParseNumber outcome, size_t position)
{
    EXPECT_EQ(answer.m_Outcome, outcome);
    EXPECT_EQ(answer.m_Position, position);
    EXPECT_EQ(static_cast<bool>(answer), outcome == ParseNumber_Ok);
}

// A text in an exact buffer, as the type; what is not read stays as it was.
template <typename Integer>
void ExpectAsModel(const std::string &text, u32 base)
{
    const SModelNumber expected = ModelParse<Integer>(text, base);
    Integer value = 77;
    const SParsedNumber answer = ParseNumber(ViewOf(text), value, base);
    ASSERT_EQ(answer.m_Outcome, expected.m_Outcome) << text << " in base " << base;
    ASSERT_EQ(answer.m_Position, expected.m_Position) << text << " in base " << base;
    const Integer expectedValue = expected.m_Outcome == ParseNumber_Ok ? ModelValue<Integer>(expected) : Integer(77);
    ASSERT_EQ(value, expectedValue) << text << " in base " << base;
}

template <typename Integer>
class StringNumbersOf : public ::testing::Test
{
};

using CIntegers = ::testing::Types<signed char, unsigned char, short, unsigned short, int, unsigned int, long,
                                   unsigned long, long long, unsigned long long>;
TYPED_TEST_SUITE(StringNumbersOf, CIntegers, );

} // namespace

TEST(StringNumbers, ParseNumberReadsTheWholeText)
{
    s32 value = 0;
    ExpectAnswer(ParseNumber("123", value), ParseNumber_Ok, 3);
    EXPECT_EQ(value, 123);
    ExpectAnswer(ParseNumber("-45", value), ParseNumber_Ok, 3);
    EXPECT_EQ(value, -45);
    ExpectAnswer(ParseNumber("007", value), ParseNumber_Ok, 3);
    EXPECT_EQ(value, 7);
    ExpectAnswer(ParseNumber("-0", value), ParseNumber_Ok, 2);
    EXPECT_EQ(value, 0);
    ExpectAnswer(ParseNumber("fF", value, 16), ParseNumber_Ok, 2);
    EXPECT_EQ(value, 255);
    ExpectAnswer(ParseNumber("-1010", value, 2), ParseNumber_Ok, 5);
    EXPECT_EQ(value, -10);
}

TEST(StringNumbers, ParseNumberSaysWhyATextIsNoNumberAndWhere)
{
    struct SCase
    {
        const char *m_Text;
        EParseNumber m_Outcome;
        u32 m_Position;
    };
    const SCase cases[] = {{"", ParseNumber_Empty, 0},
                           {"x", ParseNumber_NotANumber, 0},
                           {"-", ParseNumber_NotANumber, 0},
                           {"--1", ParseNumber_NotANumber, 0},
                           {"+1", ParseNumber_NotANumber, 0},
                           {" 1", ParseNumber_NotANumber, 0},
                           {"\t1", ParseNumber_NotANumber, 0},
                           {"\xB2", ParseNumber_NotANumber, 0},
                           {"1 ", ParseNumber_TrailingCharacters, 1},
                           {"12x", ParseNumber_TrailingCharacters, 2},
                           {"-12-", ParseNumber_TrailingCharacters, 3},
                           {"0x10", ParseNumber_TrailingCharacters, 1},
                           {"1.5", ParseNumber_TrailingCharacters, 1},
                           {"1,000", ParseNumber_TrailingCharacters, 1},
                           {"128", ParseNumber_OutOfRange, 3},
                           {"-129", ParseNumber_OutOfRange, 4},
                           {"000128", ParseNumber_OutOfRange, 6},
                           {"99999999999999999999999999", ParseNumber_OutOfRange, 26},
                           // Behind it stands what belongs to no number.
                           {"128x", ParseNumber_TrailingCharacters, 3}};
    for (const SCase &one : cases)
    {
        SCOPED_TRACE(one.m_Text);
        s8 value = 42;
        ExpectAnswer(ParseNumber(one.m_Text, value), one.m_Outcome, one.m_Position);
        EXPECT_EQ(value, 42);
    }
}

TEST(StringNumbers, ParseNumberOfNothingIsEmpty)
{
    u32 value = 42;
    const char *const nothing = nullptr;
    ExpectAnswer(ParseNumber(nothing, value), ParseNumber_Empty, 0);
    ExpectAnswer(ParseNumber(CStringView(), value), ParseNumber_Empty, 0);
    ExpectAnswer(ParseNumber(CStringView(nullptr, 3), value), ParseNumber_Empty, 0);
    ExpectAnswer(ParseNumber(CStringView("12", 0), value), ParseNumber_Empty, 0);
    ExpectAnswer(ParseNumber(CString(), value), ParseNumber_Empty, 0);
    ExpectAnswer(ParseNumber(Resizable(""), value), ParseNumber_Empty, 0);
    EXPECT_EQ(value, 42u);
}

TEST(StringNumbers, ParseNumberTakesTerminatorsForCharacters)
{
    u32 value = 42;
    ExpectAnswer(ParseNumber(ViewOf(std::string("12\0", 3)), value), ParseNumber_TrailingCharacters, 2);
    ExpectAnswer(ParseNumber(Fixed(std::string("1\0002", 3)), value), ParseNumber_TrailingCharacters, 1);
    ExpectAnswer(ParseNumber(Fixed(std::string("\00012", 3)), value), ParseNumber_NotANumber, 0);
    EXPECT_EQ(value, 42u);
    // But for a text, which ends there.
    ExpectAnswer(ParseNumber("12\0x", value), ParseNumber_Ok, 2);
    EXPECT_EQ(value, 12u);
}

TEST(StringNumbers, ParseNumberTakesEveryFormOfText)
{
    u32 value = 0;
    const CString string("12");
    EXPECT_TRUE(ParseNumber(string, value) && value == 12);
    EXPECT_TRUE(ParseNumber(CString("13"), value) && value == 13);
    EXPECT_TRUE(ParseNumber(CStringView("1415").Slice(2), value) && value == 15);
    EXPECT_TRUE(ParseNumber(string.View(), value) && value == 12);
    EXPECT_TRUE(ParseNumber(std::string_view("17x", 2), value) && value == 17);
    char buffer[] = "16";
    EXPECT_TRUE(ParseNumber(buffer, value) && value == 16);
}

TEST(StringNumbers, ParseNumberIsForConditionsAndAllocatesNothing)
{
    static_assert(!std::is_convertible<SParsedNumber, bool>::value, "a condition, and no number");
    static_assert(noexcept(ParseNumber(CStringView(), std::declval<int &>())), "runs nobody else's code");
    CTestAllocator allocator;
    int value = 0;
    if (const SParsedNumber parsed = ParseNumber("12", value); !parsed)
        FAIL() << parsed.m_Position;
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringNumbers, ParseNumberReportsABaseThatIsNone)
{
    for (const u32 base : {0u, 1u, 37u, 0x80000000u, 0xFFFFFFFFu})
    {
        CAssertRecorder recorder;
        int value = 42;
        ExpectAnswer(ParseNumber("1", value, base), ParseNumber_NotANumber, 0);
        EXPECT_EQ(value, 42);
        ExpectReports(recorder, {"base >= 2 && base <= 36"});
    }
}

TEST(StringNumbers, ParseNumberReadsEveryShortTextAsTheModelDoes)
{
    for (const std::string &text : EveryText(std::string("-+012789aAzZ. \0\xB1", 15), kSlow ? 3 : 4))
    {
        for (const u32 base : {2u, 8u, 10u, 11u, 16u, 36u})
        {
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<s8>(text, base));
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<u8>(text, base));
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<s64>(text, base));
        }
    }
}

TEST(StringNumbers, ParseNumberReadsNothingBehindTheText)
{
    for (const std::string &text : {std::string("1"), std::string("-128"), std::string("18446744073709551615"),
                                    std::string(70, '1'), std::string("1."), std::string("1e"), std::string("-"),
                                    std::string("in"), std::string("nan("), std::string("0.1234567890123456789")})
    {
        const CTextAtPageEnd exact(text);
        u64 value = 0;
        ExpectAnswer(ParseNumber(exact.View(), value), ModelParse<u64>(text, 10).m_Outcome,
                     ModelParse<u64>(text, 10).m_Position);
#if QV_HAS_FLOATING_NUMBERS
        double floating = 0;
        EXPECT_LE(ParseNumber(exact.View(), floating).m_Position, text.size());
#endif
    }
}

TYPED_TEST(StringNumbersOf, ParseNumberReadsTheExtremesInEveryBase)
{
    using CLimits = std::numeric_limits<TypeParam>;
    const u64 greatest = static_cast<u64>(CLimits::max());
    for (u32 base = 2; base <= 36; ++base)
    {
        for (const u64 magnitude : {greatest - 1, greatest, greatest + 1, greatest + 2, u64(0), u64(1)})
        {
            // One more than the greatest number of all is 0 here.
            const std::string text = ModelNumberText(false, magnitude, base);
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>(text, base));
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>("-" + text, base));
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>(text + "0", base));
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>("-" + text + "1", base));
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>("000000000000000000000000" + text, base));
        }
    }
}

TYPED_TEST(StringNumbersOf, ParseNumberReadsBackWhatAppendNumberWrites)
{
    std::mt19937_64 random(20240301);
    for (u32 i = 0; i < 20000; ++i)
    {
        // Numbers of every length.
        const TypeParam value = static_cast<TypeParam>(random() >> random() % 64);
        const u32 base = 2 + static_cast<u32>(random() % 35);
        CString text;
        AppendNumber(text, value, base);
        ASSERT_EQ(TextOf(text), ModelNumberText(value, base));
        TypeParam again = static_cast<TypeParam>(value + 1);
        ASSERT_TRUE(ParseNumber(text, again, base));
        ASSERT_EQ(again, value);
    }
}

TEST(StringNumbers, ParseNumberReadsTheGreatestNumbersByTheirDigits)
{
    u64 unsignedValue = 0;
    EXPECT_TRUE(ParseNumber("18446744073709551615", unsignedValue));
    EXPECT_EQ(unsignedValue, 0xFFFFFFFFFFFFFFFFu);
    ExpectAnswer(ParseNumber("18446744073709551616", unsignedValue), ParseNumber_OutOfRange, 20);
    s64 value = 0;
    EXPECT_TRUE(ParseNumber("-9223372036854775808", value));
    EXPECT_EQ(value, std::numeric_limits<s64>::min());
    ExpectAnswer(ParseNumber("-9223372036854775809", value), ParseNumber_OutOfRange, 20);
    EXPECT_TRUE(ParseNumber("9223372036854775807", value));
    EXPECT_EQ(value, std::numeric_limits<s64>::max());
    ExpectAnswer(ParseNumber("9223372036854775808", value), ParseNumber_OutOfRange, 19);
}

TEST(StringNumbers, ParseNumberReadsLongTexts)
{
    const std::string zeros(1000000, '0');
    u8 value = 0;
    EXPECT_TRUE(ParseNumber(ViewOf(zeros + "255"), value));
    EXPECT_EQ(value, 255);
    ExpectAnswer(ParseNumber(ViewOf(zeros + "256"), value), ParseNumber_OutOfRange, 1000003);
}

// Only what is a number of a type that holds numbers.

template <typename Value, typename = void>
struct TIsParsed : std::false_type
{
};

template <typename Value>
struct TIsParsed<Value, std::void_t<decltype(ParseNumber(CStringView(), std::declval<Value &>()))>> : std::true_type
{
};

template <typename Value, typename = void>
struct TIsAppended : std::false_type
{
};

template <typename Value>
struct TIsAppended<Value, std::void_t<decltype(AppendNumber(std::declval<CString &>(), std::declval<Value>()))>>
    : std::true_type
{
};

enum ESome
{
    Some
};

constexpr bool kHasFloatingNumbers = QV_HAS_FLOATING_NUMBERS != 0;

TEST(StringNumbers, ParseNumberAndAppendNumberTakeNumbersOnly)
{
    static_assert(TIsParsed<s8>::value && TIsParsed<u8>::value && TIsParsed<ureg>::value, "integers");
    static_assert(TIsParsed<float>::value == kHasFloatingNumbers, "floating-point numbers");
    static_assert(TIsParsed<double>::value == kHasFloatingNumbers, "floating-point numbers");
    static_assert(!TIsParsed<bool>::value && !TIsParsed<char>::value && !TIsParsed<wchar_t>::value, "no numbers");
    static_assert(!TIsParsed<char16_t>::value && !TIsParsed<char32_t>::value, "no numbers");
    static_assert(!TIsParsed<long double>::value && !TIsParsed<ESome>::value && !TIsParsed<const int>::value, "none");
    static_assert(!TIsParsed<CString>::value && !TIsParsed<int *>::value, "none");
    static_assert(TIsAppended<s8>::value && TIsAppended<u8>::value && TIsAppended<s64>::value, "integers");
    static_assert(TIsAppended<float>::value == kHasFloatingNumbers, "floating-point numbers");
    static_assert(TIsAppended<double>::value == kHasFloatingNumbers, "floating-point numbers");
    static_assert(!TIsAppended<bool>::value && !TIsAppended<char>::value && !TIsAppended<wchar_t>::value, "none");
    static_assert(!TIsAppended<char16_t>::value && !TIsAppended<char32_t>::value, "none");
    static_assert(!TIsAppended<long double>::value && !TIsAppended<ESome>::value, "none");
    static_assert(!TIsAppended<const char *>::value && !TIsAppended<std::nullptr_t>::value, "none");
}

// Floating-point numbers.

#if QV_HAS_FLOATING_NUMBERS

namespace
{

template <typename Floating>
void ExpectFloating(const char *text, Floating expected, std::chars_format format = std::chars_format::general)
{
    SCOPED_TRACE(text);
    Floating value = 42;
    ExpectAnswer(ParseNumber(text, value, format), ParseNumber_Ok, std::strlen(text));
    EXPECT_EQ(value, expected);
    EXPECT_EQ(std::signbit(value), std::signbit(expected));
}

template <typename Floating>
void ExpectNoFloating(const std::string &text, EParseNumber outcome, size_t position,
                      std::chars_format format = std::chars_format::general)
{
    SCOPED_TRACE(text);
    Floating value = 42;
    ExpectAnswer(ParseNumber(ViewOf(text), value, format), outcome, position);
    EXPECT_EQ(value, Floating(42));
}

template <typename Floating>
class StringFloatingNumbersOf : public ::testing::Test
{
};

using CFloatings = ::testing::Types<float, double>;
TYPED_TEST_SUITE(StringFloatingNumbersOf, CFloatings, );

template <typename Floating>
struct TBitsOf;

template <>
struct TBitsOf<float>
{
    using CBits = u32;
};

template <>
struct TBitsOf<double>
{
    using CBits = u64;
};

template <typename Floating>
typename TBitsOf<Floating>::CBits BitsOf(Floating value)
{
    typename TBitsOf<Floating>::CBits bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

// The same number, to the last bit; of what is no number, the kind.
template <typename Floating>
void ExpectReadBack(Floating value, const CString &text, std::chars_format format)
{
    Floating again = 42;
    ASSERT_TRUE(ParseNumber(text, again, format)) << text.Data();
    if (std::isnan(value))
        ASSERT_TRUE(std::isnan(again)) << text.Data();
    else
        ASSERT_EQ(BitsOf(again), BitsOf(value)) << text.Data();
}

template <typename Floating>
void ExpectReadBack(Floating value)
{
    CString text;
    ASSERT_NO_FATAL_FAILURE(ExpectReadBack(value, AppendNumber(text, value), std::chars_format::general));
    for (const std::chars_format format :
         {std::chars_format::fixed, std::chars_format::scientific, std::chars_format::hex, std::chars_format::general})
    {
        text.Clear();
        ASSERT_NO_FATAL_FAILURE(ExpectReadBack(value, AppendNumber(text, value, format), format));
    }
}

} // namespace

TYPED_TEST(StringFloatingNumbersOf, ParseNumberReadsWhatPeopleWrite)
{
    using T = TypeParam;
    ExpectFloating<T>("0", 0);
    ExpectFloating<T>("-0", -T(0));
    ExpectFloating<T>("1.5", T(1.5));
    ExpectFloating<T>("-2.", -2);
    ExpectFloating<T>(".5", T(0.5));
    ExpectFloating<T>("1e3", 1000);
    ExpectFloating<T>("1E-2", T(0.01));
    ExpectFloating<T>("1e+2", 100);
    ExpectFloating<T>("0e999999", 0);
    ExpectFloating<T>("inf", std::numeric_limits<T>::infinity());
    ExpectFloating<T>("-INFINITY", -std::numeric_limits<T>::infinity());
    ExpectFloating<T>("1.8p1", 3, std::chars_format::hex);
    ExpectFloating<T>("Ff", 255, std::chars_format::hex);
    ExpectFloating<T>("25", 25, std::chars_format::fixed);
    ExpectFloating<T>("2.5e1", 25, std::chars_format::scientific);
    T value = 0;
    EXPECT_TRUE(ParseNumber("nan", value) && std::isnan(value) && !std::signbit(value));
    EXPECT_TRUE(ParseNumber("-nan(1)", value) && std::isnan(value) && std::signbit(value));
}

TYPED_TEST(StringFloatingNumbersOf, ParseNumberSaysWhatIsNoFloatingPointNumber)
{
    using T = TypeParam;
    ExpectNoFloating<T>("", ParseNumber_Empty, 0);
    ExpectNoFloating<T>(".", ParseNumber_NotANumber, 0);
    ExpectNoFloating<T>("-", ParseNumber_NotANumber, 0);
    ExpectNoFloating<T>("+1", ParseNumber_NotANumber, 0);
    ExpectNoFloating<T>(" 1", ParseNumber_NotANumber, 0);
    ExpectNoFloating<T>("e5", ParseNumber_NotANumber, 0);
    ExpectNoFloating<T>("in", ParseNumber_NotANumber, 0);
    ExpectNoFloating<T>("1,5", ParseNumber_TrailingCharacters, 1);
    ExpectNoFloating<T>("1.5 ", ParseNumber_TrailingCharacters, 3);
    ExpectNoFloating<T>("1.5.", ParseNumber_TrailingCharacters, 3);
    ExpectNoFloating<T>("1e", ParseNumber_TrailingCharacters, 1);
    ExpectNoFloating<T>("1e+", ParseNumber_TrailingCharacters, 1);
    ExpectNoFloating<T>("infinit", ParseNumber_TrailingCharacters, 3);
    ExpectNoFloating<T>("0x1p3", ParseNumber_TrailingCharacters, 1);
    ExpectNoFloating<T>("0x1p3", ParseNumber_TrailingCharacters, 1, std::chars_format::hex);
    ExpectNoFloating<T>("1e3", ParseNumber_TrailingCharacters, 1, std::chars_format::fixed);
    ExpectNoFloating<T>("15", ParseNumber_NotANumber, 0, std::chars_format::scientific);
    ExpectNoFloating<T>(std::string("1\0", 2), ParseNumber_TrailingCharacters, 1);
    ExpectNoFloating<T>("1e999", ParseNumber_OutOfRange, 5);
    ExpectNoFloating<T>("-1e999", ParseNumber_OutOfRange, 6);
    ExpectNoFloating<T>("1e-999", ParseNumber_OutOfRange, 6);
    ExpectNoFloating<T>("1e999x", ParseNumber_TrailingCharacters, 5);
    ExpectNoFloating<T>("1e99999999999999999999", ParseNumber_OutOfRange, 22);
}

TEST(StringNumbers, ParseNumberKnowsTheRangeOfEachFloatingPointType)
{
    ExpectFloating<float>("3.4028235e38", std::numeric_limits<float>::max());
    ExpectNoFloating<float>("3.5e38", ParseNumber_OutOfRange, 6);
    ExpectFloating<float>("1e-45", std::numeric_limits<float>::denorm_min());
    ExpectNoFloating<float>("1e-46", ParseNumber_OutOfRange, 5);
    ExpectFloating<double>("1.7976931348623157e308", std::numeric_limits<double>::max());
    ExpectNoFloating<double>("1.8e308", ParseNumber_OutOfRange, 7);
    ExpectFloating<double>("5e-324", std::numeric_limits<double>::denorm_min());
    ExpectNoFloating<double>("1e-324", ParseNumber_OutOfRange, 6);
    // To the nearest number, and of two that are as near to the even one.
    ExpectFloating<double>("9007199254740993", 9007199254740992.0);
    ExpectFloating<double>("9007199254740993.0000000000000000000000000000000000000001", 9007199254740994.0);
    ExpectFloating<double>("0.1", 0.1);
    ExpectFloating<float>("0.1", 0.1f);
}

TYPED_TEST(StringFloatingNumbersOf, ParseNumberReadsBackWhatAppendNumberWrites)
{
    using CLimits = std::numeric_limits<TypeParam>;
    for (const TypeParam value :
         {TypeParam(0), TypeParam(1), TypeParam(0.1), TypeParam(1) / 3, TypeParam(1e22), TypeParam(123456789),
          CLimits::max(), CLimits::min(), CLimits::denorm_min(), CLimits::min() - CLimits::denorm_min(),
          CLimits::epsilon(), CLimits::infinity(), CLimits::quiet_NaN()})
    {
        ASSERT_NO_FATAL_FAILURE(ExpectReadBack(value));
        ASSERT_NO_FATAL_FAILURE(ExpectReadBack(std::copysign(value, TypeParam(-1))));
    }
    std::mt19937_64 random(20240302);
    for (u32 i = 0; i < (kSlow ? 3000 : 100000); ++i)
    {
        // Any bits, so that every exponent comes up; every other one denormal.
        using CBits = typename TBitsOf<TypeParam>::CBits;
        CBits bits = static_cast<CBits>(random());
        if (i % 2 == 0)
            bits &= static_cast<CBits>(~BitsOf(CLimits::infinity()));
        TypeParam value;
        std::memcpy(&value, &bits, sizeof(value));
        ASSERT_NO_FATAL_FAILURE(ExpectReadBack(value)) << std::hex << bits;
    }
}

TEST(StringNumbers, ParseNumberTakesEveryFormOfTextForFloatingPointNumbers)
{
    double value = 0;
    const CString string("12");
    EXPECT_TRUE(ParseNumber(string, value) && value == 12.0);
    EXPECT_TRUE(ParseNumber(CStringView("1.5x", 3), value) && value == 1.5);
    EXPECT_TRUE(ParseNumber("2.5", value) && value == 2.5);
}

TEST(StringNumbers, ParseNumberOfFloatingPointAllocatesNothing)
{
    static_assert(noexcept(ParseNumber("", std::declval<double &>())), "runs nobody else's code");
    CTestAllocator allocator;
    double value = 0;
    EXPECT_TRUE(ParseNumber("0.1", value));
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringNumbers, ParseNumberReadsLongTextsOfFloatingPoint)
{
    const std::string zeros(1000000, '0');
    double value = 0;
    EXPECT_TRUE(ParseNumber(ViewOf("0." + zeros + "5e1000000"), value));
    EXPECT_EQ(value, 0.05 * 10);
    EXPECT_TRUE(ParseNumber(ViewOf("1" + zeros + "e-1000000"), value));
    EXPECT_EQ(value, 1.0);
}

TEST(StringNumbers, AppendNumberWithAPrecisionAloneIsFixed)
{
    CString text;
    EXPECT_TRUE(AppendNumber(text, 2.5, 2) == "2.50");
    EXPECT_TRUE(AppendNumber(text, -0.25f, 1) == "2.50-0.2"); // of two as near, the even digit
    text.Clear();
    EXPECT_TRUE(AppendNumber(text, 1e22, 0) == "10000000000000000000000");
    text.Clear();
    EXPECT_TRUE(AppendNumber(text, 1.0, 1100u) == (std::string("1.") + std::string(1100, '0')).c_str());
}

TEST(StringNumbers, ParseNumberAndAppendNumberOfFloatingPointMindNoLocale)
{
    InEveryLocale(
        [](const char *name)
        {
            SCOPED_TRACE(name);
            double value = 0;
            ExpectAnswer(ParseNumber("1.5", value), ParseNumber_Ok, 3);
            EXPECT_EQ(value, 1.5);
            ExpectAnswer(ParseNumber("1,5", value), ParseNumber_TrailingCharacters, 1);
            ExpectAnswer(ParseNumber("INFINITY", value), ParseNumber_Ok, 8);
            CString text;
            AppendNumber(text, 1234567.25);
            AppendNumber(text.Append(' '), 0.5, std::chars_format::fixed, 3);
            EXPECT_EQ(TextOf(text), "1234567.25 0.500");
        });
}

#endif

TEST(StringNumbers, ParseNumberAndAppendNumberMindNoLocale)
{
    InEveryLocale(
        [](const char *name)
        {
            SCOPED_TRACE(name);
            int value = 0;
            ExpectAnswer(ParseNumber("Ii", value, 36), ParseNumber_Ok, 2);
            EXPECT_EQ(value, 18 * 36 + 18);
            CString text;
            EXPECT_EQ(TextOf(AppendNumber(text, 1234567)), "1234567");
        });
}
