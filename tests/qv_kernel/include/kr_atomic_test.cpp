#include "kr_atomic.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

// Every integer that counts, sums or links something in the kernel.
template <typename T>
class Atomic : public ::testing::Test
{
};

typedef ::testing::Types<u8, u16, u32, u64, s32, s64, ureg> AtomicTypes;

} // namespace

TYPED_TEST_SUITE(Atomic, AtomicTypes, );

TYPED_TEST(Atomic, StartsAt0OrAtItsValue)
{
    EXPECT_EQ(TAtomic<TypeParam>().Load(), TypeParam(0));
    EXPECT_EQ(TAtomic<TypeParam>(TypeParam(9)).Load(), TypeParam(9));
}

TYPED_TEST(Atomic, IsAsLargeAsItsValue)
{
    EXPECT_EQ(sizeof(TAtomic<TypeParam>), sizeof(TypeParam));
}

TYPED_TEST(Atomic, StoreReplacesTheValue)
{
    TAtomic<TypeParam> value(TypeParam(1));
    value.Store(TypeParam(2));
    EXPECT_EQ(value.Load(), TypeParam(2));
    EXPECT_EQ(value.LoadInOrder(), TypeParam(2));
    value.StoreUnshared(TypeParam(3));
    EXPECT_EQ(value.Load(), TypeParam(3));
}

TYPED_TEST(Atomic, SwapReturnsTheValueBefore)
{
    TAtomic<TypeParam> value(TypeParam(1));
    EXPECT_EQ(value.Swap(TypeParam(2)), TypeParam(1));
    EXPECT_EQ(value.Load(), TypeParam(2));
}

TYPED_TEST(Atomic, SetValueIfEqualToStoresOnlyOverTheExpectedValue)
{
    TAtomic<TypeParam> value(TypeParam(1));
    EXPECT_FALSE(value.SetValueIfEqualTo(TypeParam(5), TypeParam(2)));
    EXPECT_EQ(value.Load(), TypeParam(1));
    EXPECT_TRUE(value.SetValueIfEqualTo(TypeParam(5), TypeParam(1)));
    EXPECT_EQ(value.Load(), TypeParam(5));
}

TYPED_TEST(Atomic, TheFetchFamilyReturnsTheValueBefore)
{
    TAtomic<TypeParam> value(TypeParam(10));
    EXPECT_EQ(value.FetchInc(), TypeParam(10));
    EXPECT_EQ(value.FetchDec(), TypeParam(11));
    EXPECT_EQ(value.FetchAdd(TypeParam(5)), TypeParam(10));
    EXPECT_EQ(value.FetchSub(TypeParam(3)), TypeParam(15));
    EXPECT_EQ(value.FetchAnd(TypeParam(6)), TypeParam(12));
    EXPECT_EQ(value.FetchOr(TypeParam(3)), TypeParam(4));
    EXPECT_EQ(value.FetchXor(TypeParam(5)), TypeParam(7));
    EXPECT_EQ(value.Load(), TypeParam(2));
}

TYPED_TEST(Atomic, TheInPlaceFamilyReturnsTheValueAfter)
{
    TAtomic<TypeParam> value(TypeParam(10));
    EXPECT_EQ(value.Inc(), TypeParam(11));
    EXPECT_EQ(value.Dec(), TypeParam(10));
    EXPECT_EQ(value.Add(TypeParam(5)), TypeParam(15));
    EXPECT_EQ(value.Sub(TypeParam(3)), TypeParam(12));
    EXPECT_EQ(value.And(TypeParam(6)), TypeParam(4));
    EXPECT_EQ(value.Or(TypeParam(3)), TypeParam(7));
    EXPECT_EQ(value.Xor(TypeParam(5)), TypeParam(2));
    EXPECT_EQ(value.Load(), TypeParam(2));
}

TYPED_TEST(Atomic, DecIsZeroTellsZeroAndNegativeOfTheValueAfter)
{
    constexpr TypeParam kLast = static_cast<TypeParam>(-1);
    for (const TypeParam before : {TypeParam(0), TypeParam(1), TypeParam(2), TypeParam(0x7F), kLast})
    {
        TAtomic<TypeParam> value(before);
        const TypeParam after = static_cast<TypeParam>(Internal::WrappingDifference<u64>(static_cast<u64>(before), 1));
        bool negative = false;
        EXPECT_EQ(value.DecIsZero(negative), after == 0) << s64(before);
        EXPECT_EQ(negative, static_cast<std::make_signed_t<TypeParam>>(after) < 0) << s64(before);
        EXPECT_EQ(value.Load(), after);
    }
}

TYPED_TEST(Atomic, ArithmeticWrapsAround)
{
    TAtomic<TypeParam> value;
    EXPECT_EQ(value.FetchDec(), TypeParam(0));
    EXPECT_EQ(value.Load(), static_cast<TypeParam>(~TypeParam(0)));
    EXPECT_EQ(value.Inc(), TypeParam(0));
}

TYPED_TEST(Atomic, IsNeitherCopiedNorConvertedSilently)
{
    EXPECT_FALSE(std::is_copy_constructible<TAtomic<TypeParam>>::value);
    EXPECT_FALSE(std::is_copy_assignable<TAtomic<TypeParam>>::value);
    EXPECT_FALSE((std::is_convertible<TypeParam, TAtomic<TypeParam>>::value));
}

} // namespace QuorvaneTest
