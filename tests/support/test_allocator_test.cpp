// The allocator for tests must bite: what it fails to notice, no test notices.
#include "test_allocator.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "kr_mem.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

u8 *Alloc(u64 size, u32 alignment = 0)
{
    return static_cast<u8 *>(
        Mem::_RawAlloc(size, alignment, Mem::AllocType_Generic, Mem::Origin_Alloc, "tag", "file", 1, "function"));
}

u8 *Realloc(void *block, u64 size)
{
    return static_cast<u8 *>(Mem::_RawRealloc(block, size, 0, Mem::AllocType_Generic, "tag", "file", 1, "function"));
}

void Free(void *block, Mem::EOrigin origin = Mem::Origin_Alloc)
{
    Mem::_RawFree(block, Mem::AllocType_Generic, origin, "tag", "file", 1, "function");
}

} // namespace

TEST(TestAllocator, GoodUseIsNoFailure)
{
    const CTestAllocator allocator;
    u8 *block = Alloc(10);
    block[0] = 7;
    block[9] = 8;
    block = Realloc(block, 100);
    EXPECT_EQ(block[0], 7);
    EXPECT_EQ(block[9], 8);
    EXPECT_EQ(block[10], 0xCD);
    EXPECT_EQ(allocator.LiveBlocks(), 1u);
    EXPECT_EQ(allocator.LiveBytes(), 100u);
    Free(block);
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

TEST(TestAllocator, ALeakIsAFailure)
{
    EXPECT_NONFATAL_FAILURE(
        {
            const CTestAllocator allocator;
            Alloc(10);
        },
        "leaked");
}

TEST(TestAllocator, AFreeWithAnotherOriginIsAFailure)
{
    EXPECT_NONFATAL_FAILURE(
        {
            const CTestAllocator allocator;
            Free(Alloc(10), Mem::Origin_New);
        },
        "origin");
}

TEST(TestAllocator, ADoubleFreeIsAFailure)
{
    EXPECT_NONFATAL_FAILURE(
        {
            const CTestAllocator allocator;
            u8 *block = Alloc(10);
            Free(block);
            Free(block);
        },
        "freed twice");
}

TEST(TestAllocator, AWriteBehindABlockIsAFailure)
{
    EXPECT_NONFATAL_FAILURE(
        {
            const CTestAllocator allocator;
            u8 *block = Alloc(10);
            block[10] = 1;
            Free(block);
        },
        "behind a block of 10 bytes");
}

TEST(TestAllocator, AWriteBeforeABlockIsAFailure)
{
    EXPECT_NONFATAL_FAILURE(
        {
            const CTestAllocator allocator;
            u8 *block = Alloc(10, 16);
            block[-1] = 1;
            Realloc(block, 20);
            Free(allocator.Calls().back().m_Result);
        },
        "before a block of 10 bytes");
}

TEST(TestAllocator, RefuseNthRefusesOnce)
{
    CTestAllocator allocator;
    allocator.RefuseNth(2);
    u8 *const first = Alloc(1);
    EXPECT_NE(first, nullptr);
    EXPECT_FALSE(allocator.HasRefused());
    EXPECT_EQ(Realloc(first, 2), nullptr);
    EXPECT_TRUE(allocator.HasRefused());
    u8 *const third = Alloc(1);
    EXPECT_NE(third, nullptr);
    EXPECT_EQ(allocator.RequestCount(), 3u);
    Free(first);
    Free(third);
}

TEST(TestAllocator, RefuseFromNthRefusesAllThatFollow)
{
    CTestAllocator allocator;
    allocator.RefuseFromNth(2);
    u8 *const first = Alloc(1);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(Alloc(1), nullptr);
    EXPECT_EQ(Alloc(1), nullptr);
    allocator.RefuseFromNth(0);
    u8 *const later = Alloc(1);
    EXPECT_NE(later, nullptr);
    Free(first);
    Free(later);
}

TEST(TestAllocator, HugeRequestsAreRefusedWithoutHarm)
{
    const CTestAllocator allocator;
    EXPECT_EQ(Alloc(~u64(0)), nullptr);
    EXPECT_EQ(Alloc(~u64(0) - 100), nullptr);
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

} // namespace QuorvaneTest
