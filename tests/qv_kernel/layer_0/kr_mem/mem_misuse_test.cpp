// What the default allocator reports of pointers that are no blocks of its own, or none any more, and that it leaves them
// alone.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "kr_mem/mem_process.h"
#include "small_blocks.h"

namespace QuorvaneTest
{

namespace
{

using namespace SmallBlocks;

class MemMisuse : public COwnTest
{
};

// What nobody looks at without assertions. The heap would then take what it is given.
class MemMisuseReported : public MemMisuse
{
protected:
    void SetUp() override
    {
        MemMisuse::SetUp();
        if (!kSitesReport)
            GTEST_SKIP() << "without assertions nobody looks";
    }

    // A pointer that cannot be freed and cannot be resized, to more or to less, each of which is reported by this text.
    static void ExpectRefused(u8 *pointer, const char *expression)
    {
        CAssertRecorder recorder;
        RawFree(pointer);
        EXPECT_EQ(RawRealloc(pointer, 5000), nullptr);
        EXPECT_EQ(RawRealloc(pointer, 100), nullptr);
        EXPECT_EQ(RawRealloc(pointer, 1), nullptr);
        EXPECT_EQ(recorder.Expressions(), std::vector<std::string>(4, expression));
    }

    // Blocks, of which the last is the last one that was cut from its slab until now.
    static std::vector<u8 *> TakeToTheLastOne(u64 size)
    {
        std::vector<u8 *> blocks;
        const auto isLast = [size](u8 *block)
        {
            u8 *const behind = block + ClassBytes(SmallClass(size));
            return SlabIndexOf(behind) == SlabIndexOf(block) && !IsBlock(behind, SmallClass(size));
        };
        do
            blocks.push_back(Alloc(size));
        while (!isLast(blocks.back()));
        return blocks;
    }

    static void FreeAll(const std::vector<u8 *> &blocks)
    {
        for (u8 *const block : blocks)
            RawFree(block);
    }
};

} // namespace

// ---- Blocks that were freed already ------------------------------------------------------------------------------------

TEST_F(MemMisuseReported, ABlockFreedTwiceIsReportedAndLeftAlone)
{
    for (const u64 size : {0u, 1u, 64u, 1072u, 2048u})
    {
        u8 *const block = Alloc(size);
        u8 *const other = Alloc(size);
        Free(block, size);
        Free(other, size);
        CAssertRecorder recorder;
        Free(block, size);
        RawFree(block);
        EXPECT_EQ(recorder.Expressions(), std::vector<std::string>(2, "!freed"));
        // It lies in wait once only.
        u8 *const again[] = {Alloc(size), Alloc(size), Alloc(size)};
        EXPECT_NE(again[0], again[1]);
        EXPECT_NE(again[1], again[2]);
        EXPECT_NE(again[0], again[2]);
        for (u8 *const one : again)
            Free(one, size);
        EXPECT_EQ(recorder.Count(), 2u);
    }
}

// Also when it has left the cache of the thread that freed it, and by a thread that has none.
TEST_F(MemMisuseReported, ABlockFreedAgainMuchLaterIsReportedAndLeftAlone)
{
    std::vector<u8 *> blocks(2000);
    for (u8 *&block : blocks)
        block = Alloc(2000);
    for (u8 *const block : blocks)
        Free(block, 2000);
    OnAThread(
        [&blocks]
        {
            CAssertRecorder recorder;
            Free(blocks[1000], 2000);
            EXPECT_EQ(recorder.Count(), 1u);
        });
}

// Beside a block that keeps their slab in service.
TEST_F(MemMisuseReported, ABlockThatIsBackInItsSlabFreedAgainIsReportedAndLeftAlone)
{
    std::vector<u8 *> blocks(8);
    // A thread that has no cache gives blocks to their slabs.
    OnAThread(
        [&blocks]
        {
            for (u8 *&block : blocks)
                block = Alloc(1500);
            Free(blocks.back(), 1500);
        });
    u8 *const freed = blocks.back();
    blocks.pop_back();
    ASSERT_TRUE(Process().m_Heap.IsBack(freed));
    ASSERT_TRUE(IsBlock(freed, SmallClass(1500))) << "the slab is not in service any more";
    {
        CAssertRecorder recorder;
        Free(freed, 1500);
        RawFree(freed);
        EXPECT_EQ(recorder.Expressions(), std::vector<std::string>(2, "!freed"));
    }
    u8 *const again[] = {Alloc(1500), Alloc(1500)};
    EXPECT_NE(again[0], again[1]);
    Free(again[0], 1500);
    Free(again[1], 1500);
    FreeAll(blocks);
}

TEST_F(MemMisuseReported, ABlockInAnotherThreadsCacheFreedAgainIsReportedAndLeftAlone)
{
    AllocAndFree(64, 20);
    u8 *const blocks[] = {Alloc(64), Alloc(64), Alloc(64)};
    for (u8 *const block : blocks)
        Free(block, 64);
    for (const size_t uses : {0u, 20u})
        OnAThread(
            [&]
            {
                AllocAndFree(64, uses);
                for (u8 *const block : blocks)
                {
                    CAssertRecorder recorder;
                    Free(block, 64);
                    RawFree(block);
                    EXPECT_EQ(recorder.Expressions(), std::vector<std::string>(2, "!freed"));
                    ExpectRefused(block, "!freed");
                }
            });
    EXPECT_EQ(Alloc(64), blocks[2]);
    EXPECT_EQ(Alloc(64), blocks[1]);
    EXPECT_EQ(Alloc(64), blocks[0]);
    for (u8 *const block : blocks)
        Free(block, 64);
}

TEST_F(MemMisuseReported, ABlockResizedAfterItWasFreedIsReportedAndRefused)
{
    for (const u64 size : {0u, 1u, 64u, 1072u, 2048u})
    {
        u8 *const block = Alloc(size);
        Free(block, size);
        ExpectRefused(block, "!freed");
        EXPECT_EQ(Alloc(size), block);
        Free(block, size);
    }
}

// The platform gives memory of some of them back to the system.
TEST_F(MemMisuseReported, ALargeBlockFreedTwiceIsReportedAndLeftAlone)
{
    for (const size_t uses : {0u, 20u})
        OnAThread(
            [uses]
            {
                AllocAndFree(64, uses);
                for (const u64 size : {2049u, 5000u, 20000u, 200000u, 4000000u, 50000000u})
                {
                    u8 *const block = Alloc(size);
                    Free(block, size);
                    CAssertRecorder recorder;
                    Free(block, size);
                    EXPECT_EQ(recorder.Expressions(), std::vector<std::string>{"allocated"}) << size;
                    ExpectRefused(block, "allocated");
                }
            });
}

TEST_F(MemMisuseReported, ALargeBlockFreedAgainAfterAnotherLayThereIsReportedAndLeftAlone)
{
    for (const u64 size : {20000u, 4000000u})
    {
        for (int i = 0; i < 10; ++i)
        {
            u8 *const block = Alloc(size);
            CAssertRecorder recorder;
            Free(block, size);
            EXPECT_EQ(recorder.Count(), 0u) << size;
            RawFree(block);
            EXPECT_EQ(recorder.Expressions(), std::vector<std::string>{"allocated"}) << size;
        }
    }
}

TEST_F(MemMisuseReported, ABlockThatMovedWhenItWasResizedFreedAgainIsReportedAndLeftAlone)
{
    for (const u64 size : {64u, 2000u, 5000u, 4000000u})
    {
        u8 *const block = Alloc(size);
        u8 *const moved = RawRealloc(block, 20 * size);
        if (moved != block)
        {
            CAssertRecorder recorder;
            RawFree(block);
            EXPECT_EQ(recorder.Count(), 1u) << size;
        }
        RawFree(moved);
    }
}

// Wherever it began in the platform's, which may write over what stood in front of it, or not.
TEST_F(MemMisuseReported, ALargeBlockThatThePlatformMovedFreedAgainIsReportedAndLeftAlone)
{
    u32 offsets = 0;
    for (u64 size = 20000; size < 20200; size += 16)
    {
        u8 *const before = Alloc(20000);
        u8 *const block = Alloc(size);
        // In the way of growing in place.
        u8 *const behind = Alloc(20000);
        const u32 offset = HeadOf(block).m_Offset;
        RawFree(before);
        u8 *const moved = RawRealloc(block, 100000);
        if (moved != block)
        {
            CAssertRecorder recorder;
            RawFree(block);
            EXPECT_EQ(recorder.Expressions(), std::vector<std::string>{"allocated"}) << size;
            offsets |= offset;
        }
        RawFree(moved);
        RawFree(behind);
    }
    EXPECT_NE(offsets, 0u);
}

TEST_F(MemMisuseReported, ABlockOfALargerAlignmentFreedTwiceIsReportedAndLeftAlone)
{
    for (const u32 alignment : {32u, 64u, 4096u})
    {
        u8 *const block = Alloc(100, alignment);
        RawFree(block);
        ExpectRefused(block, "allocated");
    }
}

TEST_F(MemMisuse, AKeptLargeBlockFreedAgainIsReportedAndLeftAlone)
{
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            u8 *const block = Alloc(5000);
            Free(block, 5000);
            CAssertRecorder recorder;
            Free(block, 5000);
            EXPECT_EQ(recorder.Expressions(), IfAsserting({"allocated"}));
            EXPECT_EQ(Alloc(5000), block);
            Free(block, 5000);
            EXPECT_EQ(recorder.Count(), IfAsserting(1));
        });
}

TEST_F(MemMisuse, WhatAFreeBlockHeldInALiveOneIsNoReport)
{
    CAssertRecorder recorder;
    u8 *const block = Alloc(64);
    Free(block, 64);
    u8 freed[64];
    std::memcpy(freed, block, sizeof(freed));
    ASSERT_EQ(Alloc(64), block);
    std::memcpy(block, freed, sizeof(freed));
    Free(block, 64);
    EXPECT_EQ(recorder.Count(), 0u);
    EXPECT_EQ(Alloc(64), block);
    std::memcpy(block, freed, sizeof(freed));
    EXPECT_EQ(RawRealloc(block, 60), block);
    Free(block, 64);
    EXPECT_EQ(recorder.Count(), 0u);
}

// ---- Pointers beside blocks --------------------------------------------------------------------------------------------

TEST_F(MemMisuseReported, APointerIntoABlockIsReportedAndLeftAlone)
{
    u8 *const block = RawAlloc(80);
    u8 *const large = RawAlloc(8000);
    for (const u32 offset : {1u, 8u, 16u, 32u, 64u, 79u})
    {
        ExpectRefused(block + offset, "allocated");
        ExpectRefused(large + offset, "allocated");
    }
    RawFree(block);
    RawFree(large);
}

TEST_F(MemMisuseReported, APointerOnePastABlockIsReportedAndLeftAlone)
{
    // Behind the last block of a slab until now, untouched memory follows; behind others the next block, here a free one.
    for (const u64 size : {16u, 64u, 1024u, 2048u})
    {
        const std::vector<u8 *> blocks = TakeToTheLastOne(size);
        ExpectRefused(blocks.back() + size, "allocated");
        u8 *const before = blocks.back() - size;
        RawFree(blocks.back());
        ExpectRefused(before + size, "!freed");
        FreeAll(std::vector<u8 *>(blocks.begin(), blocks.end() - 1));
    }
    for (const u64 size : {2064u, 20000u, 4000000u})
    {
        u8 *const block = RawAlloc(size);
        ExpectRefused(block + size, "allocated");
        RawFree(block);
    }
}

TEST_F(MemMisuseReported, APointerIntoUntouchedMemoryOfASlabIsReportedAndLeftAlone)
{
    const std::vector<u8 *> blocks = TakeToTheLastOne(48);
    for (u8 *place = blocks.back() + 48; SlabIndexOf(place) == SlabIndexOf(blocks.back()); place += 48)
        ExpectRefused(place, "allocated");
    FreeAll(blocks);
}

// Where a slab's size is no multiple of its blocks', the last place where one would begin has no room for it.
TEST_F(MemMisuseReported, APointerBehindTheLastBlockOfASlabIsReportedAndLeftAlone)
{
    const u64 size = 48;
    std::vector<u8 *> blocks;
    const u64 slabBytes = Process().m_Heap.BytesOfSlab();
    const u64 last = (slabBytes / size - 1) * size;
    do
        blocks.push_back(Alloc(size));
    while (reinterpret_cast<ureg>(blocks.back()) % kSlabBytes != last);
    for (u64 offset = last + 8; offset < kSlabBytes; offset += 8)
        ExpectRefused(blocks.back() - last + offset, "allocated");
    FreeAll(blocks);
}

TEST_F(MemMisuseReported, APointerIntoASlabThatServesNoClassIsReportedAndLeftAlone)
{
    std::vector<u8 *> blocks(5000);
    OnAThread(
        [&blocks]
        {
            for (u8 *&block : blocks)
                std::memset(block = Alloc(2000), 'x', 2000);
            for (u8 *const block : blocks)
                Free(block, 2000);
        });
    // When the thread has ended, some keep their memory, and some may have given it back.
    u32 unused = 0;
    for (u8 *const block : blocks)
    {
        if (!SSlab::HasNoneOut(SlabOf(block).m_State.Load()))
            continue;
        ++unused;
        ExpectRefused(block, "allocated");
        CAssertRecorder recorder;
        OnAThread([block] { Free(block, 2000); });
        EXPECT_EQ(recorder.Expressions(), std::vector<std::string>{"allocated"});
    }
    EXPECT_GE(unused, 3000u);
}

TEST_F(MemMisuseReported, APointerIntoTheHeapsRecordsIsReportedAndLeftAlone)
{
    u8 *const base = reinterpret_cast<u8 *>(Process().m_Heap.Base());
    for (u32 offset = 0; offset < kSlabBytes; offset += 1000)
        ExpectRefused(base + offset, "allocated");
}

// ---- Pointers to something else -----------------------------------------------------------------------------------------

TEST_F(MemMisuse, APointerToSomethingElseIsReportedAndLeftAlone)
{
    CAssertRecorder recorder;
    void *const platforms = std::malloc(100);
    alignas(16) static u8 global[64];
    alignas(16) u8 local[64] = {};
    void *volatile const foreign[] = {platforms, global + 16, local + 16};
    for (void *const block : foreign)
        RawFree(block);
    EXPECT_EQ(recorder.Expressions(), IfAsserting(std::vector<std::string>(3, "allocated")));
    std::free(platforms);
}

// Whoever serves the small blocks.
TEST(MemMisuseLarge, WhatHasNoHeadIsReportedAndLeftAlone)
{
    if (!HasSmallBlocks())
        GTEST_SKIP() << "blocks have no heads here";
    CAssertRecorder recorder;
    alignas(16) static u8 global[64];
    RawFree(global + 32);
    EXPECT_EQ(RawRealloc(global + 32, 5000), nullptr);
    EXPECT_EQ(recorder.Expressions(), IfAsserting(std::vector<std::string>(2, "allocated")));
}

// This copy of the library freed one, and another copy got its memory from the platform.
TEST(MemMisuseLarge, ABlockOfAnotherCopyIsOneWhereOneWasFreedBefore)
{
    if (!HasSmallBlocks())
        GTEST_SKIP() << "blocks have no heads here";
    constexpr u64 kBytes = 100000;
    char *const platformBlock = static_cast<char *>(PortAlloc(kBytes, 0));
    const u32 offset = LargeOffset(platformBlock, kLargeAlignment);
    void *const block = platformBlock + offset;
    RememberFreed(block);
    HeadOf(block) = SLargeHead{kBytes - offset, offset, MarkOfLarge(block)};
    CAssertRecorder recorder;
    RawFree(block);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST_F(MemMisuse, APointerIntoAPartOfTheRangeThatNobodyHasMappedIsReported)
{
    CAssertRecorder recorder;
    const CSlabHeap &heap = Process().m_Heap;
    u8 *const behind = reinterpret_cast<u8 *>(heap.Base() + heap.MappedBytes());
    for (const ureg offset : {kSlabBytes, kChunkBytes, kSmallRangeBytes / 2})
        RawFree(behind + offset);
    EXPECT_EQ(recorder.Expressions(), IfAsserting(std::vector<std::string>(3, "allocated")));
}

// In front of which nobody has mapped any, so that there is no head to be read.
TEST_F(MemMisuse, APointerToTheEndOfTheRangeIsReported)
{
    CAssertRecorder recorder;
    RawFree(reinterpret_cast<u8 *>(Process().m_Heap.Base() + kSmallRangeBytes));
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"allocated"}));
}

} // namespace QuorvaneTest
