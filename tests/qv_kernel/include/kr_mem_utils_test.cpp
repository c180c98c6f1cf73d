#include "kr_mem_utils.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "qv_defs.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

const char kOverlapText[] = "!Mem::Overlaps(dst, byteCount, src, byteCount)";

// Addresses for arithmetic only.
const void *Address(ureg address)
{
    return reinterpret_cast<const void *>(address);
}

// The naive model of an overlap: a byte of one range is a byte of the other.
bool ShareAByte(ureg a, u64 aBytes, ureg b, u64 bBytes)
{
    for (u64 i = 0; i < aBytes; ++i)
        for (u64 k = 0; k < bBytes; ++k)
            if (a + i == b + k)
                return true;
    return false;
}

// A text of its own bytes, copied within itself.
struct SMoved
{
    char m_Bytes[17] = "0123456789ABCDEF";

    // Volatile, since compilers warn of overlaps that they see.
    char *At(ureg index)
    {
        char *volatile bytes = m_Bytes;
        return bytes + index;
    }
    std::string Text() const { return m_Bytes; }
};

} // namespace

TEST(MemUtils, OverlapsIsTrueExactlyForRangesThatShareAByte)
{
    const ureg base = 1000;
    for (ureg offset = 0; offset <= 12; ++offset)
        for (u64 aBytes = 0; aBytes <= 6; ++aBytes)
            for (u64 bBytes = 0; bBytes <= 6; ++bBytes)
                EXPECT_EQ(Mem::Overlaps(Address(base + 6), aBytes, Address(base + offset), bBytes),
                          ShareAByte(base + 6, aBytes, base + offset, bBytes))
                    << offset << ": " << aBytes << ", " << bBytes;
}

TEST(MemUtils, OverlapsHoldsAtTheEndOfTheAddressSpace)
{
    const ureg last = ~ureg(0);
    EXPECT_TRUE(Mem::Overlaps(Address(last - 1), 2, Address(last), 1));
    EXPECT_TRUE(Mem::Overlaps(Address(last), 1, Address(last - 1), 2));
    EXPECT_FALSE(Mem::Overlaps(Address(last - 1), 1, Address(last), 1));
    EXPECT_FALSE(Mem::Overlaps(Address(last), 1, Address(0), 1));
    EXPECT_TRUE(Mem::Overlaps(Address(0), ~u64(0), Address(last - 1), 1));
}

TEST(MemUtils, CopyCopiesExactlyItsBytes)
{
    const CAssertRecorder recorder;
    char target[8] = "-------";
    Mem::Copy(target + 1, "abcdef", 3);
    EXPECT_STREQ(target, "-abc---");
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(MemUtils, CopyBetweenNeighboursIsNoOverlap)
{
    const CAssertRecorder recorder;
    SMoved moved;
    Mem::Copy(moved.m_Bytes, moved.m_Bytes + 4, 4);
    EXPECT_EQ(moved.Text(), "4567456789ABCDEF");
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(MemUtils, CopyOfNothingTouchesNothing)
{
    const CAssertRecorder recorder;
    SMoved moved;
    Mem::Copy(nullptr, nullptr, 0);
    Mem::Copy(moved.m_Bytes, moved.m_Bytes, 0);
    Mem::Copy_Overlapped(nullptr, nullptr, 0);
    EXPECT_EQ(moved.Text(), "0123456789ABCDEF");
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(MemUtils, CopyReportsAnOverlapAndMovesAllTheSame)
{
    const CAssertRecorder recorder;
    SMoved forward;
    Mem::Copy(forward.At(2), forward.At(0), 8);
    EXPECT_EQ(forward.Text(), "0101234567ABCDEF");
    SMoved backward;
    Mem::Copy(backward.At(0), backward.At(2), 8);
    EXPECT_EQ(backward.Text(), "2345678989ABCDEF");
    SMoved inPlace;
    Mem::Copy(inPlace.At(0), inPlace.At(0), 16);
    EXPECT_EQ(inPlace.Text(), "0123456789ABCDEF");
    EXPECT_EQ(recorder.Expressions(), IfAsserting({kOverlapText, kOverlapText, kOverlapText}));
    if (kSitesReport)
    {
        EXPECT_EQ(recorder.Last().m_ExpandedExpression, kOverlapText);
        EXPECT_EQ(recorder.Last().m_Message, kOverlapText);
    }
}

TEST(MemUtils, CopyOverlappedMovesInBothDirectionsWithoutAReport)
{
    const CAssertRecorder recorder;
    SMoved forward;
    Mem::Copy_Overlapped(forward.m_Bytes + 1, forward.m_Bytes, 15);
    EXPECT_EQ(forward.Text(), "00123456789ABCDE");
    SMoved backward;
    Mem::Copy_Overlapped(backward.m_Bytes, backward.m_Bytes + 1, 15);
    EXPECT_EQ(backward.Text(), "123456789ABCDEFF");
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(MemUtils, IsAlignedAsksForAMultiple)
{
    for (ureg address = 0; address < 130; ++address)
    {
        EXPECT_TRUE(Mem::IsAligned<1>(Address(address)));
        EXPECT_EQ(Mem::IsAligned<2>(Address(address)), address % 2 == 0);
        EXPECT_EQ(Mem::IsAligned<0x10>(Address(address)), address % 16 == 0);
        EXPECT_EQ(Mem::IsAligned<64>(Address(address)), address % 64 == 0);
    }
}

TEST(MemUtils, NullIsAligned)
{
    EXPECT_TRUE(Mem::IsAligned<4096>(nullptr));
}

} // namespace QuorvaneTest
