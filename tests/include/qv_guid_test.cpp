#include "qv_guid.h"

#include <iomanip>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

constexpr CGuid kConstantGuid(5);
constexpr CGuid kConstantInvalid;

// Read while globals are initialised, which is before INVALID would be if it took code to do so.
u32 g_InvalidBeforeMain = CGuid::INVALID;

u32 TakesNumber(u32 number)
{
    return number;
}

CGuid TakesGuid(CGuid guid)
{
    return guid;
}

// Whether each comparison compiles for a type of guids.
#define COMPARISON(name, ...)                                                                                          \
    template <typename Guid, typename = void>                                                                          \
    struct name : std::false_type                                                                                      \
    {                                                                                                                  \
    };                                                                                                                 \
    template <typename Guid>                                                                                           \
    struct name<Guid, std::void_t<decltype(__VA_ARGS__)>> : std::true_type                                             \
    {                                                                                                                  \
    };
COMPARISON(NotLessThanZero, std::declval<Guid>() >= 0)
COMPARISON(LessThanZero, std::declval<Guid>() < 0)
COMPARISON(ZeroNotGreater, 0 <= std::declval<Guid>())
COMPARISON(ZeroGreater, 0 > std::declval<Guid>())
COMPARISON(LessThanNull, std::declval<Guid>() < nullptr)
COMPARISON(NotLessThanNumber, std::declval<Guid>() >= 1 && 1 <= std::declval<Guid>())
COMPARISON(LessThanInt, std::declval<Guid>() < std::declval<int &>())
COMPARISON(LessThanUnsigned, std::declval<Guid>() < std::declval<u32>() && std::declval<u64>() > std::declval<Guid>())
COMPARISON(LessThanGuid, std::declval<Guid>() < std::declval<Guid>() && std::declval<Guid>() >= std::declval<Guid>())
COMPARISON(AnyOtherWithZero, std::declval<Guid>() == 0 && 0 != std::declval<Guid>() && std::declval<Guid>() > 0 &&
                                 std::declval<Guid>() <= 0 && 0 < std::declval<Guid>() && 0 >= std::declval<Guid>())
COMPARISON(EqualToMinusOne, std::declval<Guid>() == -1)

// The literal is refused where its answer would always be the same; a guid of a signed number may be negative.
template <typename T, bool IsSigned>
void ExpectComparisons()
{
    using Guid = TGuid<T>;
    EXPECT_EQ(NotLessThanZero<Guid>::value, IsSigned);
    EXPECT_EQ(LessThanZero<Guid>::value, IsSigned);
    EXPECT_EQ(ZeroNotGreater<Guid>::value, IsSigned);
    EXPECT_EQ(ZeroGreater<Guid>::value, IsSigned);
    EXPECT_FALSE(LessThanNull<Guid>::value);
    EXPECT_TRUE(NotLessThanNumber<Guid>::value);
    EXPECT_TRUE(LessThanInt<Guid>::value);
    EXPECT_TRUE(LessThanUnsigned<Guid>::value);
    EXPECT_TRUE(LessThanGuid<Guid>::value);
    EXPECT_TRUE(AnyOtherWithZero<Guid>::value);
    EXPECT_TRUE(EqualToMinusOne<Guid>::value);
}

// g++ takes a template's argument of value 0 for the literal.
template <u32 Limit>
bool IsBelow(const CGuid &guid)
{
    const bool below = guid < Limit;
    EXPECT_EQ(guid >= Limit, !below);
    EXPECT_EQ(Limit > guid, below);
    EXPECT_EQ(Limit <= guid, !below);
    return below;
}

template <typename... Elements>
bool IsAmong(const CGuid &guid)
{
    return guid < sizeof...(Elements);
}

// Without a definition: it may be compared with, but not referred to.
struct SLimits
{
    static const u32 kNone = 0;
};

} // namespace

TEST(Guid, InvalidHasAllBitsSet)
{
    EXPECT_EQ(CGuid::INVALID.m_Guid, 0xFFFFFFFFu);
    EXPECT_EQ(TGuid<u8>::INVALID.m_Guid, 0xFFu);
    EXPECT_EQ(TGuid<u16>::INVALID.m_Guid, 0xFFFFu);
    EXPECT_EQ(TGuid<u64>::INVALID.m_Guid, 0xFFFFFFFFFFFFFFFFull);
}

TEST(Guid, DefaultConstructedItIsInvalid)
{
    EXPECT_EQ(CGuid().m_Guid, 0xFFFFFFFFu);
    EXPECT_FALSE(CGuid().Valid());
}

TEST(Guid, ZeroIsValid)
{
    EXPECT_TRUE(CGuid(0).Valid());
}

TEST(Guid, EveryValueButInvalidIsValid)
{
    EXPECT_TRUE(CGuid(1).Valid());
    EXPECT_TRUE(CGuid(0x7FFFFFFFu).Valid());
    EXPECT_TRUE(CGuid(0x80000000u).Valid());
    EXPECT_TRUE(CGuid(0xFFFFFFFEu).Valid());
    EXPECT_FALSE(CGuid(0xFFFFFFFFu).Valid());
    EXPECT_FALSE(CGuid::INVALID.Valid());
    EXPECT_TRUE(TGuid<u8>(254).Valid());
    EXPECT_FALSE(TGuid<u8>(255).Valid());
}

TEST(Guid, GetGivesTheValue)
{
    EXPECT_EQ(CGuid(7).Get(), 7u);
    EXPECT_EQ(CGuid::INVALID.Get(), 0xFFFFFFFFu);
    EXPECT_TRUE((std::is_same<decltype(CGuid(7).Get()), u32>::value));
}

TEST(Guid, ItConvertsFromAndToItsTypeImplicitly)
{
    const CGuid guid = 12u;
    const u32 number = guid;
    EXPECT_EQ(number, 12u);
    EXPECT_EQ(TakesNumber(CGuid(3)), 3u);
    EXPECT_EQ(TakesGuid(4u).m_Guid, 4u);
}

TEST(Guid, ItComparesWithNumbersAndGuids)
{
    const CGuid guid(3);
    const u32 count = 4;
    EXPECT_TRUE(guid == 3);
    EXPECT_TRUE(3 == guid);
    EXPECT_FALSE(guid == 4);
    EXPECT_TRUE(guid != 4);
    EXPECT_TRUE(guid < count);
    EXPECT_FALSE(guid < 3u);
    EXPECT_TRUE(guid == CGuid(3));
    EXPECT_FALSE(guid == CGuid::INVALID);
    EXPECT_TRUE(guid != CGuid::INVALID);
    EXPECT_TRUE(CGuid() == CGuid::INVALID);
}

TEST(Guid, TheLiteralZeroIsRefusedWhereItsAnswerWouldAlwaysBeTheSame)
{
    ExpectComparisons<u8, false>();
    ExpectComparisons<u16, false>();
    ExpectComparisons<u32, false>();
    ExpectComparisons<u64, false>();
    ExpectComparisons<s32, true>();
    EXPECT_TRUE(TGuid<s32>(0) >= 0);
    EXPECT_TRUE(TGuid<s32>() < 0);
}

TEST(Guid, NumbersOfValueZeroCompareAsNumbers)
{
    EXPECT_FALSE(IsBelow<0>(CGuid(0)));
    EXPECT_FALSE(IsBelow<0>(CGuid(3)));
    EXPECT_FALSE(IsBelow<3>(CGuid(3)));
    EXPECT_TRUE(IsBelow<4>(CGuid(3)));
    EXPECT_FALSE(IsBelow<4>(CGuid()));
    EXPECT_FALSE(IsAmong<>(CGuid(0)));
    EXPECT_TRUE(IsAmong<int>(CGuid(0)));
    constexpr u32 none = 0;
    EXPECT_TRUE(CGuid(0) >= none);
    EXPECT_FALSE(CGuid(0) < SLimits::kNone);
    EXPECT_TRUE(SLimits::kNone <= CGuid());
    static_assert(CGuid(2) < 3u && !(2u > CGuid(2)), "known to the compiler");
    // Wider numbers are not cut.
    EXPECT_TRUE(CGuid(1) < 0x100000000ull);
    EXPECT_TRUE(0x100000000ull > CGuid());
    EXPECT_FALSE(TGuid<u8>(1) >= 0x101u);
}

TEST(Guid, ItIsAnIndex)
{
    const char text[] = "abc";
    const CGuid guid(1);
    EXPECT_EQ(text[guid], 'b');
}

TEST(Guid, ItDoesNotConvertToBool)
{
    EXPECT_FALSE((std::is_convertible<CGuid, bool>::value));
    EXPECT_FALSE((std::is_constructible<bool, CGuid>::value));
}

TEST(Guid, ItIsAPlainValueOfTheSizeOfItsType)
{
    EXPECT_EQ(sizeof(CGuid), sizeof(u32));
    EXPECT_TRUE(std::is_trivially_copyable<CGuid>::value);
    EXPECT_TRUE((std::is_same<CGuid, TGuid<u32>>::value));
}

TEST(Guid, ItIsUsableInConstantExpressions)
{
    static_assert(kConstantGuid.Valid() && kConstantGuid.Get() == 5, "known to the compiler");
    static_assert(!kConstantInvalid.Valid(), "known to the compiler");
}

TEST(Guid, InvalidHasItsValueBeforeAnyCodeRuns)
{
    EXPECT_EQ(g_InvalidBeforeMain, 0xFFFFFFFFu);
}

TEST(Guid, AStreamWritesItsNumber)
{
    std::ostringstream stream;
    stream << CGuid(0) << ' ' << CGuid(12) << ' ' << std::setw(4) << CGuid(7) << ' ' << CGuid::INVALID;
    EXPECT_EQ(stream.str(), "0 12    7 4294967295");
    std::ostringstream small;
    small << TGuid<u8>(65) << ' ' << TGuid<u64>::INVALID;
    EXPECT_EQ(small.str(), "65 18446744073709551615");
    std::wostringstream wide;
    std::wostream &base = wide;
    base << CGuid(3);
    EXPECT_EQ(wide.str(), L"3");
}

TEST(Guid, ShiftsStayShifts)
{
    EXPECT_EQ(1u << CGuid(4), 16u);
    EXPECT_EQ(CGuid(4) << 1, 8u);
    u32 bits = 1;
    bits <<= CGuid(3);
    EXPECT_EQ(bits, 8u);
    EXPECT_EQ(bits << CGuid(1), 16u);
}

} // namespace QuorvaneTest
