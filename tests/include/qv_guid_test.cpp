#include "qv_guid.h"

#include <iomanip>
#include <sstream>
#include <string>
#include <type_traits>

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
