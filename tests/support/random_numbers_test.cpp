#include "random_numbers.h"

#include <gtest/gtest.h>

using namespace QuorvaneTest;

// The numbers that every implementation of SplitMix64 gives for this seed.
TEST(RandomNumbers, AStreamIsSplitMix64)
{
    CRandomStream stream(1234567);
    for (const Quorvane::u64 expected : {6457827717110365317u, 3203168211198807973u, 9817491932198370423u,
                                         4593380528125082431u, 16408922859458223821u})
        EXPECT_EQ(stream(), expected);
}

TEST(RandomNumbers, NumbersBelowABoundReachEachOfThem)
{
    CRandomStream stream(1);
    unsigned seen = 0;
    for (int i = 0; i < 200; ++i)
    {
        const Quorvane::u32 number = stream.Below(5);
        ASSERT_LT(number, 5u);
        seen |= 1u << number;
    }
    EXPECT_EQ(seen, 31u);
}
