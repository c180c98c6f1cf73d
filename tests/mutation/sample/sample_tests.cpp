#include <gtest/gtest.h>

#include "sample.h"

TEST(Sample, ClampedIsTheLesserOne)
{
    EXPECT_EQ(Sample::Clamped(3, 5), 3);
    EXPECT_EQ(Sample::Clamped(7, 5), 5);
}

TEST(Sample, IsBetweenTakesBothEnds)
{
    EXPECT_TRUE(Sample::IsBetween(1, 1, 3));
    EXPECT_TRUE(Sample::IsBetween(3, 1, 3));
    EXPECT_FALSE(Sample::IsBetween(0, 1, 3));
}

TEST(Sample, CountBitsCountsAll)
{
    EXPECT_EQ(Sample::CountBits(0x80000001u), 2u);
}

// Reaches what the others reach, and notices nothing.
TEST(Sample, WhateverTheyGiveIsTaken)
{
    static_cast<void>(Sample::Clamped(7, 5));
    static_cast<void>(Sample::IsBetween(3, 1, 3));
    static_cast<void>(Sample::CountBits(0x80000001u));
}
