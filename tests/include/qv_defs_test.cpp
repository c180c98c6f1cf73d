#include "qv_defs.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "assert_recorder.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

const char kNarrowingText[] = "static_cast<typename TType_StripQual<_TypeSrc>::Type>(result) == value";

enum ESmall : u8
{
    Small_Last = 200,
};

enum class EWide : u64
{
    Fits = 7,
    TooWide = 0x100000000ull,
};

struct STrivial
{
    int m_Value;
    const char *m_Text;
};

struct SSelfReferring
{
    SSelfReferring() : m_Self(this) {}
    SSelfReferring(const SSelfReferring &) : m_Self(this) {}

    SSelfReferring *m_Self;
};

} // namespace

template <typename T>
void ExpectWrapping()
{
    using namespace Internal;
    constexpr T kMax = std::numeric_limits<T>::max();
    static_assert(WrappingSum(kMax, T(1)) == 0, "compilers compute it, too");
    EXPECT_EQ(WrappingSum(T(3), T(4)), 7u);
    EXPECT_EQ(WrappingSum(kMax, kMax), static_cast<T>(kMax - 1));
    EXPECT_EQ(WrappingDifference(T(7), T(4)), 3u);
    EXPECT_EQ(WrappingDifference(T(0), T(1)), kMax);
    EXPECT_EQ(WrappingDifference(T(1), kMax), 2u);
    EXPECT_EQ(WrappingProduct(T(7), T(6)), 42u);
    EXPECT_EQ(WrappingProduct(kMax, kMax), 1u);
    EXPECT_EQ(WrappingProduct(kMax, T(2)), static_cast<T>(kMax - 1));
}

TEST(Defs, WrappingArithmeticIsModuloTwoToTheBitsOfTheType)
{
    ExpectWrapping<u8>();
    ExpectWrapping<u16>();
    ExpectWrapping<u32>();
    ExpectWrapping<u64>();
    ExpectWrapping<ureg>();
}

TEST(Defs, IntegersHaveTheWidthAndSignOfTheirNames)
{
    EXPECT_EQ(sizeof(u8), 1u);
    EXPECT_EQ(sizeof(u16), 2u);
    EXPECT_EQ(sizeof(u32), 4u);
    EXPECT_EQ(sizeof(u64), 8u);
    EXPECT_EQ(sizeof(s8), 1u);
    EXPECT_EQ(sizeof(s16), 2u);
    EXPECT_EQ(sizeof(s32), 4u);
    EXPECT_EQ(sizeof(s64), 8u);
    EXPECT_TRUE((std::is_unsigned<u8>::value && std::is_unsigned<u16>::value));
    EXPECT_TRUE((std::is_unsigned<u32>::value && std::is_unsigned<u64>::value));
    EXPECT_TRUE((std::is_signed<s8>::value && std::is_signed<s16>::value));
    EXPECT_TRUE((std::is_signed<s32>::value && std::is_signed<s64>::value));
}

TEST(Defs, TheWidestIntegersAreLongLongOnEveryPlatform)
{
    EXPECT_TRUE((std::is_same<u64, unsigned long long>::value));
    EXPECT_TRUE((std::is_same<s64, long long>::value));
}

TEST(Defs, RegisterIntegersAreAsWideAsAPointer)
{
    EXPECT_EQ(sizeof(ureg), sizeof(void *));
    EXPECT_EQ(sizeof(sreg), sizeof(void *));
    EXPECT_TRUE(std::is_unsigned<ureg>::value);
    EXPECT_TRUE(std::is_signed<sreg>::value);
}

TEST(Defs, NullIsAConstantOfTheNullPointersType)
{
    EXPECT_TRUE((std::is_same<decltype(null), const std::nullptr_t>::value));
    const int *pointer = null;
    EXPECT_EQ(pointer, nullptr);
    EXPECT_TRUE(pointer == null);
}

TEST(Defs, TheNamespaceMacroNamesTheNamespace)
{
    EXPECT_TRUE((std::is_same<QV_NAMESPACE::u32, ::Quorvane::u32>::value));
}

TEST(Defs, MinAndMaxChooseByOrder)
{
    EXPECT_EQ(QVMin(2, 3), 2);
    EXPECT_EQ(QVMin(3, 2), 2);
    EXPECT_EQ(QVMax(2, 3), 3);
    EXPECT_EQ(QVMax(3, 2), 3);
    EXPECT_EQ(QVMin(-1.5f, 0.0f), -1.5f);
    EXPECT_EQ(QVMax(std::string("a"), std::string("b")), "b");
    static_assert(QVMin(1u, 2u) == 1u && QVMax(1u, 2u) == 2u, "usable in constant expressions");
}

TEST(Defs, MinAndMaxOfEqualValuesAreTheFirst)
{
    const std::string first("same");
    const std::string second("same");
    EXPECT_EQ(&QVMin(first, second), &first);
    EXPECT_EQ(&QVMax(first, second), &first);
}

TEST(Defs, CheckedNumcastKeepsAValueThatFits)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(checked_numcast<u32>(u64(0)), 0u);
    EXPECT_EQ(checked_numcast<u32>(u64(0xFFFFFFFF)), 0xFFFFFFFFu);
    EXPECT_EQ(checked_numcast<s32>(s64(-0x7FFFFFFF) - 1), -0x7FFFFFFF - 1);
    EXPECT_EQ(checked_numcast<u8>(255), 255u);
    EXPECT_EQ(checked_numcast<s8>(-128), -128);
    EXPECT_EQ(checked_numcast<u32>(Small_Last), 200u);
    EXPECT_EQ(checked_numcast<u32>(EWide::Fits), 7u);
    EXPECT_EQ(checked_numcast<u64>(u32(5)), 5u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Defs, CheckedNumcastAnswersTheTypeItIsAskedFor)
{
    EXPECT_TRUE((std::is_same<decltype(checked_numcast<u32>(u64(1))), u32>::value));
    EXPECT_TRUE((std::is_same<decltype(checked_numcast<s8>(1)), s8>::value));
}

TEST(Defs, CheckedNumcastReportsALossAndTruncates)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(checked_numcast<u32>(u64(0x100000000)), 0u);
    EXPECT_EQ(checked_numcast<u32>(u64(0x1234567890ABCDEF)), 0x90ABCDEFu);
    EXPECT_EQ(checked_numcast<u32>(s64(-1)), 0xFFFFFFFFu);
    EXPECT_EQ(checked_numcast<u8>(256), 0u);
    EXPECT_EQ(checked_numcast<s8>(128), -128);
    EXPECT_EQ(checked_numcast<u32>(EWide::TooWide), 0u);
    EXPECT_EQ(recorder.Count(), IfAsserting(6));
    EXPECT_EQ(recorder.CountOf(kNarrowingText), IfAsserting(6));
}

TEST(Defs, CheckedNumcastCarriesTheSameTextInAllThreePlaces)
{
    const CAssertRecorder recorder;
    const volatile u64 wide = 0x100000001;
    EXPECT_EQ(checked_numcast<u32>(wide), 1u);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    EXPECT_EQ(recorder.Last().m_Expression, kNarrowingText);
    EXPECT_EQ(recorder.Last().m_ExpandedExpression, kNarrowingText);
    EXPECT_EQ(recorder.Last().m_Message, kNarrowingText);
    EXPECT_NE(recorder.Last().m_Function.find("checked_numcast"), std::string::npos);
}

namespace
{

// What the cast of `value` answers, and whether it reports.
template <typename To, typename From>
void ExpectNumcast(From value, To expected, bool isReported)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(checked_numcast<To>(value), expected) << "from " << +value;
    EXPECT_EQ(recorder.CountOf(kNarrowingText), IfAsserting(isReported ? 1 : 0)) << "from " << +value;
    EXPECT_EQ(recorder.Count(), IfAsserting(isReported ? 1 : 0));
}

template <typename To, typename From>
void ExpectNumcastKeeps(From value, To expected)
{
    ExpectNumcast<To>(value, expected, false);
}

template <typename To, typename From>
void ExpectNumcastLoses(From value, To expected)
{
    ExpectNumcast<To>(value, expected, true);
}

// Both ends of an integer's range, seen from a floating-point type, and what lies beyond them.
template <typename Integer, typename Floating>
void ExpectEndsOfRange()
{
    typedef std::numeric_limits<Integer> CInteger;
    typedef std::numeric_limits<Floating> CFloating;
    const Floating beyond = std::ldexp(Floating(1), CInteger::digits);
    const Floating lowest = static_cast<Floating>(CInteger::min());
    ExpectNumcastLoses<Integer>(beyond, CInteger::max());
    ExpectNumcastLoses<Integer>(std::nextafter(beyond, CFloating::max()), CInteger::max());
    ExpectNumcastLoses<Integer>(CFloating::max(), CInteger::max());
    ExpectNumcastLoses<Integer>(CFloating::infinity(), CInteger::max());
    ExpectNumcastKeeps<Integer>(lowest, CInteger::min());
    ExpectNumcastLoses<Integer>(std::nextafter(lowest, CFloating::lowest()), CInteger::min());
    ExpectNumcastLoses<Integer>(CFloating::lowest(), CInteger::min());
    ExpectNumcastLoses<Integer>(-CFloating::infinity(), CInteger::min());
    ExpectNumcastLoses<Integer>(CFloating::quiet_NaN(), Integer(0));
    // The last whole number of that type below the end.
    const Floating last = std::floor(std::nextafter(beyond, Floating(0)));
    ExpectNumcastKeeps<Integer>(last, static_cast<Integer>(last));
}

template <typename Floating>
void ExpectEndsOfAllRanges()
{
    ExpectEndsOfRange<u8, Floating>();
    ExpectEndsOfRange<u16, Floating>();
    ExpectEndsOfRange<u32, Floating>();
    ExpectEndsOfRange<u64, Floating>();
    ExpectEndsOfRange<s8, Floating>();
    ExpectEndsOfRange<s16, Floating>();
    ExpectEndsOfRange<s32, Floating>();
    ExpectEndsOfRange<s64, Floating>();
}

} // namespace

TEST(Defs, CheckedNumcastOfAFloatingPointValueKeepsWholeNumbersInRange)
{
    ExpectNumcastKeeps<u32>(0.0, 0u);
    ExpectNumcastKeeps<u32>(-0.0, 0u);
    ExpectNumcastKeeps<u32>(4294967295.0, 4294967295u);
    ExpectNumcastKeeps<s32>(-2147483648.0, std::numeric_limits<s32>::min());
    ExpectNumcastKeeps<u8>(255.0f, u8(255));
    if (std::numeric_limits<long double>::digits > std::numeric_limits<double>::digits)
        ExpectNumcastKeeps<u64>(9007199254740993.0L, u64(9007199254740993));
    ExpectNumcastKeeps<bool>(1.0, true);
    EXPECT_EQ(checked_numcast<EWide>(7.0), EWide::Fits);
}

TEST(Defs, CheckedNumcastOfAFloatingPointValueReportsAFractionAndDropsIt)
{
    ExpectNumcastLoses<u32>(1.5, 1u);
    ExpectNumcastLoses<s32>(-1.5, -1);
    ExpectNumcastLoses<u32>(-0.5, 0u);
    ExpectNumcastLoses<u8>(255.5, u8(255));
    ExpectNumcastLoses<s32>(std::numeric_limits<double>::denorm_min(), 0);
    ExpectNumcastLoses<bool>(1.5, true);
}

TEST(Defs, CheckedNumcastOfAFloatingPointValueOutsideTheRangeReportsAndAnswersItsNearestEnd)
{
    ExpectEndsOfAllRanges<float>();
    ExpectEndsOfAllRanges<double>();
    ExpectEndsOfAllRanges<long double>();
    ExpectNumcastLoses<u32>(-1.0, 0u);
    ExpectNumcastLoses<bool>(2.0, true);
    ExpectNumcastLoses<bool>(std::numeric_limits<double>::quiet_NaN(), false);
}

TEST(Defs, CheckedNumcastOfAFloatingPointValueToAnEnumerationKeepsToItsType)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(static_cast<u8>(checked_numcast<ESmall>(300.0)), 255u);
    EXPECT_EQ(static_cast<u8>(checked_numcast<ESmall>(-1.0f)), 0u);
    EXPECT_EQ(static_cast<u64>(checked_numcast<EWide>(1e30)), 0xFFFFFFFFFFFFFFFFull);
    EXPECT_EQ(recorder.CountOf(kNarrowingText), IfAsserting(3));
}

// The way back is out of range where rounding led to the power of 2 behind the largest integer.
TEST(Defs, CheckedNumcastOfAnIntegerToAFloatingPointTypeReportsWhatThatCannotHold)
{
    ExpectNumcastKeeps<float>(16777216u, 16777216.0f);
    ExpectNumcastLoses<float>(16777217u, 16777216.0f);
    ExpectNumcastLoses<float>(0xFFFFFFFFu, 4294967296.0f);
    ExpectNumcastLoses<float>(std::numeric_limits<s32>::max(), 2147483648.0f);
    ExpectNumcastKeeps<float>(std::numeric_limits<s32>::min(), -2147483648.0f);
    ExpectNumcastKeeps<double>(0xFFFFFFFFu, 4294967295.0);
    ExpectNumcastLoses<double>(std::numeric_limits<u64>::max(), 18446744073709551616.0);
    ExpectNumcastLoses<double>(std::numeric_limits<s64>::max(), 9223372036854775808.0);
    ExpectNumcastKeeps<double>(std::numeric_limits<s64>::min(), -9223372036854775808.0);
    ExpectNumcastKeeps<float>(true, 1.0f);
    EXPECT_EQ(checked_numcast<float>(EWide::Fits), 7.0f);
}

TEST(Defs, CheckedNumcastBetweenFloatingPointTypesReportsALossAndRounds)
{
    const double infinity = std::numeric_limits<double>::infinity();
    ExpectNumcastKeeps<float>(0.5, 0.5f);
    ExpectNumcastKeeps<double>(0.1f, 0.10000000149011612);
    ExpectNumcastLoses<float>(0.1, 0.1f);
    ExpectNumcastKeeps<float>(infinity, std::numeric_limits<float>::infinity());
    ExpectNumcastKeeps<float>(-infinity, -std::numeric_limits<float>::infinity());
    ExpectNumcastLoses<float>(1e300, std::numeric_limits<float>::infinity());
    ExpectNumcastLoses<float>(-1e300, -std::numeric_limits<float>::infinity());
    const CAssertRecorder recorder;
    EXPECT_TRUE(std::isnan(checked_numcast<float>(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kNarrowingText}));
}

TEST(Defs, PositiveInfinityOfFloatHasItsBits)
{
    const float infinity = TNumericTraits<float>::kPositiveInfinity;
    u32 bits = 0;
    std::memcpy(&bits, &infinity, sizeof(bits));
    EXPECT_EQ(bits, 0x7F800000u);
}

TEST(Defs, TriviallyCopyableTypesRelocateTrivially)
{
    EXPECT_TRUE(TTypeTraits<int>::HasTrivialRelocate);
    EXPECT_TRUE(TTypeTraits<const char *>::HasTrivialRelocate);
    EXPECT_TRUE(TTypeTraits<STrivial>::HasTrivialRelocate);
}

TEST(Defs, OtherTypesDoNotUnlessSpecialised)
{
    EXPECT_FALSE(TTypeTraits<SSelfReferring>::HasTrivialRelocate);
    EXPECT_FALSE(TTypeTraits<std::unique_ptr<int>>::HasTrivialRelocate);
}

} // namespace QuorvaneTest
