#include "kr_mem/mem_slabs.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "own_heap.h"
#include "process_copy.h"
#include "small_blocks.h"
#include "system_limits.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

class MemSlabs : public ::testing::Test
{
protected:
    explicit MemSlabs(bool guards = false) : m_OwnHeap(guards) {}

    void SetUp() override
    {
        if (!kHasSmallRange)
            GTEST_SKIP() << "small blocks are the platform's here";
    }

    std::vector<char *> Take(u32 sizeClass, u32 count)
    {
        std::vector<char *> blocks;
        u32 taken = 1;
        while (blocks.size() < count && taken != 0)
        {
            SFreeBlock *first = nullptr;
            taken = m_Heap.Take(sizeClass, count - static_cast<u32>(blocks.size()), first);
            const size_t before = blocks.size();
            for (; !m_Heap.Links().IsEnd(first); first = Next(first))
                blocks.push_back(reinterpret_cast<char *>(first));
            EXPECT_EQ(blocks.size() - before, taken);
        }
        return blocks;
    }

    void Give(const std::vector<char *> &blocks)
    {
        SFreeBlock *first = MakeList(blocks);
        EXPECT_EQ(m_Heap.Give(first, static_cast<u32>(blocks.size())), blocks.size());
        EXPECT_TRUE(m_Heap.Links().IsEnd(first));
    }

    // A list of blocks, the last one first.
    SFreeBlock *MakeList(const std::vector<char *> &blocks)
    {
        SFreeBlock *first = m_Heap.Links().End();
        for (char *const block : blocks)
            first = m_Heap.Links().MakeFree(block, first);
        return first;
    }

    SFreeBlock *Next(const SFreeBlock *block)
    {
        SFreeBlock *next = nullptr;
        EXPECT_TRUE(m_Heap.Links().ReadLink(block, next));
        return next;
    }

    // Writes over the link of a free block, as a text that was freed too early does.
    static void Overwrite(void *block) { std::memset(block, 'x', sizeof(SFreeBlock)); }

    // What lies so many bytes behind the beginning of a slab of the heap.
    char *InSlab(u32 slab, ureg offset) { return reinterpret_cast<char *>(m_Heap.Base() + slab * kSlabBytes + offset); }

    COwnHeap m_OwnHeap;
    CSlabHeap &m_Heap = *m_OwnHeap;
};

// The same, with slabs that end in guards.
class MemSlabsGuarded : public MemSlabs
{
protected:
    MemSlabsGuarded() : MemSlabs(true) {}

    void SetUp() override
    {
        MemSlabs::SetUp();
        if (kHasSmallRange && PortPageBytes() > kMaxGuardBytes)
            GTEST_SKIP() << "pages are so large here that a guard would leave too little of a slab";
    }

    // All blocks that the heap can cut from `slabs` slabs, of all classes by turns.
    std::vector<SFreeBlock *> TakeSlabs(u32 slabs)
    {
        std::vector<SFreeBlock *> blocks;
        for (u32 slab = 0; slab < slabs; ++slab)
        {
            const u32 sizeClass = 1 + slab % (kSmallClassCount - 1);
            for (u64 room = m_Heap.BytesOfSlab(); room >= ClassBytes(sizeClass); room -= ClassBytes(sizeClass))
                blocks.push_back(m_Heap.TakeOne(sizeClass));
        }
        return blocks;
    }

    // Whether the last page of a slab of the heap can be read.
    bool CanReadEndOf(u32 slab) { return PortIsReadable(m_Heap.Base() + (slab + 1) * kSlabBytes - PortPageBytes()); }
};

constexpr u32 kLargestClass = kSmallClassCount - 1;

u32 BlocksPerSlab(u32 sizeClass)
{
    return static_cast<u32>(kSlabBytes / ClassBytes(sizeClass));
}

} // namespace

TEST_F(MemSlabs, BlocksOfEveryClassAreAlignedDisjointAndKnowTheirClass)
{
    std::vector<std::pair<char *, u64>> all;
    for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
        for (char *const block : Take(sizeClass, BlocksPerSlab(sizeClass) + 1))
        {
            EXPECT_EQ(reinterpret_cast<ureg>(block) % kSmallStep, 0u);
            EXPECT_EQ(ClassOfSmallBlock(block), sizeClass);
            EXPECT_LT(reinterpret_cast<ureg>(block) - m_Heap.Base(), kSmallRangeBytes);
            all.emplace_back(block, ClassBytes(sizeClass));
        }
    std::sort(all.begin(), all.end());
    for (size_t i = 1; i < all.size(); ++i)
        ASSERT_LE(all[i - 1].first + all[i - 1].second, all[i].first);
}

TEST_F(MemSlabs, ASlabHoldsNothingButBlocks)
{
    const std::vector<char *> blocks = Take(SmallClass(64), 1024);
    ASSERT_EQ(blocks.size(), 1024u);
    for (size_t i = 0; i < blocks.size(); ++i)
        ASSERT_EQ(blocks[i], blocks[0] + 64 * i);
    EXPECT_EQ(m_Heap.Figures().m_UsedSlabs, 1u);
}

TEST_F(MemSlabs, BlocksThatCameBackAreTakenBeforeFreshOnes)
{
    const std::vector<char *> blocks = Take(4, 10);
    Give(blocks);
    Take(4, 1);
    const std::vector<char *> kept = Take(4, 100);
    Give(std::vector<char *>(kept.begin(), kept.begin() + 50));
    const std::vector<char *> again = Take(4, 50);
    EXPECT_EQ(std::set<char *>(again.begin(), again.end()), std::set<char *>(kept.begin(), kept.begin() + 50));
}

TEST_F(MemSlabs, GivingTheFirstOfAListLeavesTheRest)
{
    SFreeBlock *first = nullptr;
    ASSERT_EQ(m_Heap.Take(1, 3, first), 3u);
    SFreeBlock *const third = Next(Next(first));
    EXPECT_EQ(m_Heap.Give(first, 2), 2u);
    EXPECT_EQ(first, third);
    EXPECT_TRUE(m_Heap.Links().IsEnd(Next(third)));
    EXPECT_EQ(m_Heap.Figures().m_LiveBlocks, 1u);
}

TEST_F(MemSlabs, GivingMoreThanAListHasGivesAllOfIt)
{
    SFreeBlock *list = MakeList(Take(4, 3));
    EXPECT_EQ(m_Heap.Give(list, 8), 3u);
    EXPECT_TRUE(m_Heap.Links().IsEnd(list));
    EXPECT_EQ(m_Heap.Figures().m_LiveBlocks, 0u);
}

TEST_F(MemSlabs, AListOfSeveralClassesGoesBackToEach)
{
    std::vector<char *> blocks = Take(1, 5);
    for (char *const block : Take(kLargestClass, 5))
        blocks.push_back(block);
    Give(blocks);
    EXPECT_EQ(m_Heap.Figures().m_LiveBlocks, 0u);
    EXPECT_EQ(m_Heap.Figures().m_UsedSlabs, 0u);
}

TEST_F(MemSlabs, NoBlockIsLostThatComesBackWhileOthersAreStillToBeTaken)
{
    const std::vector<char *> blocks = Take(4, 10);
    Give({blocks[0], blocks[1], blocks[2]});
    std::vector<char *> again = Take(4, 1);
    Give({blocks[3]});
    for (const u32 count : {1u, 2u})
        for (char *const block : Take(4, count))
            again.push_back(block);
    EXPECT_EQ(std::set<char *>(again.begin(), again.end()), std::set<char *>(blocks.begin(), blocks.begin() + 4));
}

TEST_F(MemSlabs, ASlabForgetsTheBlocksThatWereStillToBeTakenWhenAllAreBack)
{
    const std::vector<char *> blocks = Take(4, 10);
    Give({blocks[3], blocks[4]});
    Give(Take(4, 1));
    Give({blocks[0], blocks[1], blocks[2], blocks[5], blocks[6], blocks[7], blocks[8], blocks[9]});
    EXPECT_EQ(Take(kLargestClass, 1), std::vector<char *>{blocks[0]});
}

TEST_F(MemSlabs, ASlabWhoseBlocksAreAllBackServesAnyClass)
{
    const std::vector<char *> small = Take(1, 100);
    Give(small);
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, 1u);
    const std::vector<char *> large = Take(kLargestClass, 1);
    EXPECT_EQ(large[0], small[0]);
    EXPECT_EQ(ClassOfSmallBlock(large[0]), kLargestClass);
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, 0u);
}

TEST_F(MemSlabs, AFullSlabThatGetsABlockBackServesItAgain)
{
    const std::vector<char *> blocks = Take(kLargestClass, 3 * BlocksPerSlab(kLargestClass));
    EXPECT_EQ(m_Heap.Figures().m_UsedSlabs, 3u);
    Give({blocks[1]});
    EXPECT_EQ(Take(kLargestClass, 1), std::vector<char *>{blocks[1]});
    EXPECT_EQ(m_Heap.Figures().m_UsedSlabs, 3u);
}

TEST_F(MemSlabs, IdleSlabsBeyondTheReserveGiveTheirMemoryBack)
{
    const u32 count = (kMaxIdleSlabs + 3) * BlocksPerSlab(2);
    const std::vector<char *> blocks = Take(2, count);
    ASSERT_EQ(blocks.size(), count);
    for (char *const block : blocks)
        std::memset(block, 0xCD, 2 * kSmallStep);
    Give(blocks);
    EXPECT_EQ(m_Heap.Figures().m_UsedSlabs, 0u);
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, kMaxIdleSlabs);
    EXPECT_EQ(m_Heap.Figures().m_ReturnedSlabs, 3u);
    // What was given back reads as zero when it is used again.
    const std::vector<char *> again = Take(2, count);
    ASSERT_EQ(again.size(), count);
    EXPECT_EQ(std::set<char *>(again.begin(), again.end()).size(), count);
    EXPECT_EQ(std::count_if(again.begin(), again.end(), [](const char *block) { return block[24] == 0; }),
              3 * BlocksPerSlab(2));
    EXPECT_EQ(m_Heap.Figures().m_ReturnedSlabs, 0u);
}

TEST_F(MemSlabs, TrimmingLeavesAFewIdleSlabsTheirMemory)
{
    const u32 count = (kMaxIdleSlabsAfterThread + 5) * BlocksPerSlab(2);
    const std::vector<char *> blocks = Take(2, count);
    m_Heap.Trim();
    EXPECT_EQ(m_Heap.Figures().m_UsedSlabs, kMaxIdleSlabsAfterThread + 5);
    for (char *const block : blocks)
        std::memset(block, 0xCD, 2 * kSmallStep);
    Give(blocks);
    m_Heap.Trim();
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, kMaxIdleSlabsAfterThread);
    EXPECT_EQ(m_Heap.Figures().m_ReturnedSlabs, 5u);
    m_Heap.Trim();
    EXPECT_EQ(m_Heap.Figures().m_ReturnedSlabs, 5u);
    const std::vector<char *> again = Take(2, count);
    ASSERT_EQ(again.size(), count);
    EXPECT_EQ(std::count_if(again.begin(), again.end(), [](const char *block) { return block[24] == 0; }),
              5 * BlocksPerSlab(2));
}

TEST_F(MemSlabs, TrimmingLeavesWhatWasMadeReady)
{
    ASSERT_TRUE(m_Heap.Prewarm(100 * kSlabBytes, false));
    Give(Take(4, 150 * BlocksPerSlab(4)));
    m_Heap.Trim();
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, 150u);
}

TEST_F(MemSlabs, AChunkThatIsUsedUpIsFollowedByAnother)
{
    const u32 count = 2 * kSlabsPerChunk;
    std::set<SChunk *> chunks;
    for (u32 i = 0; i < count; ++i)
        for (char *const block : Take(1 + i % (kSmallClassCount - 1), BlocksPerSlab(1 + i % (kSmallClassCount - 1))))
            chunks.insert(ChunkOf(block));
    EXPECT_EQ(m_Heap.Figures().m_UsedSlabs, count);
    EXPECT_EQ(chunks.size(), 3u);
}

TEST_F(MemSlabs, GrowsByAsMuchAgainAndThenByChunks)
{
    std::vector<ureg> sizes = {m_Heap.MappedBytes()};
    while (sizes.back() < 4 * kChunkBytes)
    {
        ASSERT_EQ(Take(kLargestClass, BlocksPerSlab(kLargestClass)).size(), BlocksPerSlab(kLargestClass));
        if (m_Heap.MappedBytes() != sizes.back())
            sizes.push_back(m_Heap.MappedBytes());
    }
    const ureg kKilobyte = 1024;
    EXPECT_EQ(sizes, (std::vector<ureg>{64 * kKilobyte, 128 * kKilobyte, 256 * kKilobyte, 512 * kKilobyte,
                                        1024 * kKilobyte, 2048 * kKilobyte, 4096 * kKilobyte, 8192 * kKilobyte,
                                        12288 * kKilobyte, 16384 * kKilobyte}));
}

TEST_F(MemSlabs, MoreIsMappedWhenAllSlabsAreInUse)
{
    u32 used = 0;
    while (m_Heap.MappedBytes() <= 2 * kChunkBytes)
    {
        const ureg before = m_Heap.MappedBytes();
        ASSERT_EQ(Take(kLargestClass, BlocksPerSlab(kLargestClass)).size(), BlocksPerSlab(kLargestClass));
        // Of each chunk, the first slab holds the records.
        const ureg recordSlabs = (before + kChunkBytes - 1) / kChunkBytes;
        EXPECT_TRUE(m_Heap.MappedBytes() == before || used == before / kSlabBytes - recordSlabs) << used;
        used = m_Heap.Figures().m_UsedSlabs;
    }
}

TEST(MemSlabsRange, TheEndOfTheRangeEndsItsGrowth)
{
    if (!kHasSmallRange)
        GTEST_SKIP() << "small blocks are the platform's here";
    COwnHeap heap(false, 2 * kChunkBytes);
    const u32 slabs = 2 * (kSlabsPerChunk - 1);
    for (u32 i = 0; i < slabs * BlocksPerSlab(kLargestClass); ++i)
        ASSERT_NE(heap->TakeOne(kLargestClass), nullptr) << i;
    EXPECT_EQ(heap->TakeOne(kLargestClass), nullptr);
    EXPECT_EQ(heap->MappedBytes(), 2 * kChunkBytes);
}

TEST(MemSlabsRange, AsMuchAsTheRangeHasIsMadeReadyUntilItIsRefused)
{
    if (!kHasSmallRange)
        GTEST_SKIP() << "small blocks are the platform's here";
    COwnHeap heap(false, kChunkBytes);
    EXPECT_FALSE(heap->Prewarm(kChunkBytes + 1, false));
    EXPECT_EQ(heap->MappedBytes(), kSlabBytes);
    EXPECT_FALSE(heap->Prewarm(kChunkBytes, false));
    EXPECT_EQ(heap->Figures().m_IdleSlabs, kSlabsPerChunk - 1);
}

TEST(MemSlabsEnd, WhatWasMappedIsUnmappedAndNothingBehindIt)
{
    if (!kHasSmallRange)
        GTEST_SKIP() << "small blocks are the platform's here";
    ureg mapped = 0;
    {
        COwnHeap heap;
        ASSERT_NE(heap->TakeOne(4), nullptr);
        mapped = heap->Base() + kSlabBytes;
        EXPECT_EQ(heap->MappedBytes(), 2 * kSlabBytes);
        ASSERT_TRUE(PortMapAt(mapped + kSlabBytes, kSlabBytes));
    }
    EXPECT_TRUE(PortIsReadable(mapped + kSlabBytes));
    PortUnmap(mapped + kSlabBytes, kSlabBytes);
    EXPECT_TRUE(PortMapAt(mapped, kSlabBytes));
    PortUnmap(mapped, kSlabBytes);
}

// By secrets of its own, also where it lies at the same addresses.
TEST(MemSlabsLinks, EachHeapLinksItsBlocksInItsOwnWay)
{
    if (!kHasSmallRange)
        GTEST_SKIP() << "small blocks are the platform's here";
    std::set<u64> words;
    for (int i = 0; i < 4; ++i)
    {
        COwnHeap heap;
        words.insert(heap->Links().MakeFree(heap->TakeOne(4), heap->Links().End())->m_Link);
    }
    EXPECT_EQ(words.size(), 4u);
}

TEST_F(MemSlabs, WhatSomebodyElseHasMappedBehindItEndsItsGrowth)
{
    ASSERT_TRUE(PortMapAt(m_Heap.Base() + kSlabBytes, kSlabBytes));
    char *const theirs = reinterpret_cast<char *>(m_Heap.Base() + kSlabBytes);
    std::memset(theirs, 1, kSlabBytes);
    SFreeBlock *first = reinterpret_cast<SFreeBlock *>(theirs);
    EXPECT_EQ(m_Heap.Take(4, 10, first), 0u);
    EXPECT_TRUE(m_Heap.Links().IsEnd(first));
    EXPECT_EQ(m_Heap.MappedBytes(), kSlabBytes);
    EXPECT_EQ(std::count(theirs, theirs + kSlabBytes, 1), static_cast<std::ptrdiff_t>(kSlabBytes));
    PortUnmap(m_Heap.Base() + kSlabBytes, kSlabBytes);
    EXPECT_EQ(Take(4, 10).size(), 10u);
}

TEST_F(MemSlabs, KnowsWhichBlocksCameBack)
{
    const std::vector<char *> blocks = Take(4, 10);
    for (char *const block : blocks)
        EXPECT_FALSE(m_Heap.IsBack(block));
    Give({blocks[3], blocks[6]});
    for (size_t i = 0; i < blocks.size(); ++i)
        EXPECT_EQ(m_Heap.IsBack(blocks[i]), i == 3 || i == 6) << i;
    // One of them leaves the list that the other one stays in.
    const std::vector<char *> again = Take(4, 1);
    for (size_t i = 0; i < blocks.size(); ++i)
        EXPECT_EQ(m_Heap.IsBack(blocks[i]), (i == 3 || i == 6) && blocks[i] != again[0]) << i;
}

TEST_F(MemSlabs, NoBlockOfASlabIsBackThatHasAllOfThemOut)
{
    const std::vector<char *> blocks = Take(kLargestClass, BlocksPerSlab(kLargestClass));
    EXPECT_FALSE(m_Heap.IsBack(blocks.front()));
    EXPECT_FALSE(m_Heap.IsBack(blocks.back()));
}

// As many as a batch comes from at most: it would end with them, were they looked at again.
TEST_F(MemSlabs, ASlabThatHasAllBlocksOutStaysOutOfServiceWhenOneIsLookedFor)
{
    const std::vector<char *> blocks = Take(kLargestClass, 8 * BlocksPerSlab(kLargestClass));
    for (size_t i = 0; i < blocks.size(); i += BlocksPerSlab(kLargestClass))
        EXPECT_FALSE(m_Heap.IsBack(blocks[i]));
    EXPECT_NE(m_Heap.TakeOne(kLargestClass), nullptr);
}

TEST_F(MemSlabs, AllBlocksOfASlabAreBackThatServesNoClass)
{
    const std::vector<char *> blocks = Take(4, 10);
    Give(blocks);
    for (char *const block : blocks)
        EXPECT_TRUE(m_Heap.IsBack(block));
}

// ---- Links that were overwritten ---------------------------------------------------------------------------------------

TEST_F(MemSlabs, WhatAnOverwrittenLinkLedToIsNotTakenAgain)
{
    const std::vector<char *> blocks = Take(4, 10);
    // The last one is the first to be taken.
    Give(std::vector<char *>(blocks.begin(), blocks.begin() + 9));
    Overwrite(blocks[5]);
    CAssertRecorder recorder;
    const std::vector<char *> again = Take(4, 9);
    EXPECT_EQ(std::vector<char *>(again.begin(), again.begin() + 3),
              (std::vector<char *>{blocks[8], blocks[7], blocks[6]}));
    for (size_t i = 3; i < again.size(); ++i)
        EXPECT_GT(again[i], blocks[9]) << "not a fresh one";
    EXPECT_EQ(recorder.Count(), 0u);
    m_Heap.ReportOverwritten();
    m_Heap.ReportOverwritten();
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"!overwritten"}));
}

// A word that was a link here once, at another time, and was written back.
TEST(MemSlabsLinks, ALinkThatLeavesItsSlabOrLeadsBetweenBlocksIsNotFollowed)
{
    if (!kHasSmallRange)
        GTEST_SKIP() << "small blocks are the platform's here";
    const u32 count = BlocksPerSlab(4);
    for (int which = 0; which < 3; ++which)
    {
        CAssertRecorder recorder;
        COwnHeap heap;
        std::vector<char *> blocks;
        for (u32 i = 0; i < count + 20; ++i)
            blocks.push_back(reinterpret_cast<char *>(heap->TakeOne(4)));
        char *const fresh = blocks.back() + ClassBytes(4);
        char *const wrong[] = {blocks.back(), blocks[2] + kSmallStep, blocks[0] + count * ClassBytes(4) - kSmallStep};
        heap->GiveOne(blocks[0]);
        heap->GiveOne(blocks[1]);
        heap->Links().MakeFree(blocks[1], reinterpret_cast<SFreeBlock *>(wrong[which]));
        EXPECT_EQ(reinterpret_cast<char *>(heap->TakeOne(4)), fresh) << which;
        heap->ReportOverwritten();
        EXPECT_EQ(recorder.Expressions(), IfAsserting({"!overwritten"})) << which;
    }
}

TEST_F(MemSlabs, AListThatIsGivenEndsInFrontOfAnOverwrittenLink)
{
    CAssertRecorder recorder;
    const std::vector<char *> blocks = Take(4, 10);
    SFreeBlock *list = MakeList(blocks);
    Overwrite(blocks[6]);
    EXPECT_EQ(m_Heap.Give(list, 8), 3u);
    EXPECT_TRUE(m_Heap.Links().IsEnd(list));
    EXPECT_EQ(m_Heap.Figures().m_LiveBlocks, 7u);
    m_Heap.ReportOverwritten();
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"!overwritten"}));
    const std::vector<char *> again = Take(4, 3);
    EXPECT_EQ(std::set<char *>(again.begin(), again.end()), std::set<char *>(blocks.begin() + 7, blocks.end()));
}

TEST_F(MemSlabs, AListWhoseFirstLinkWasOverwrittenIsLeftAlone)
{
    CAssertRecorder recorder;
    const std::vector<char *> blocks = Take(4, 10);
    SFreeBlock *list = MakeList(blocks);
    Overwrite(list);
    EXPECT_EQ(m_Heap.Give(list, 8), 0u);
    EXPECT_TRUE(m_Heap.Links().IsEnd(list));
    m_Heap.ReportOverwritten();
    m_Heap.GiveAll(reinterpret_cast<SFreeBlock *>(blocks.back()));
    EXPECT_EQ(m_Heap.Figures().m_LiveBlocks, 10u);
    m_Heap.ReportOverwritten();
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"!overwritten", "!overwritten"}));
}

TEST_F(MemSlabs, GivingAllEndsInFrontOfAnOverwrittenLink)
{
    CAssertRecorder recorder;
    const std::vector<char *> blocks = Take(4, 10);
    SFreeBlock *const list = MakeList(blocks);
    Overwrite(blocks[6]);
    m_Heap.GiveAll(list);
    EXPECT_EQ(m_Heap.Figures().m_LiveBlocks, 7u);
    m_Heap.ReportOverwritten();
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"!overwritten"}));
}

TEST_F(MemSlabs, ASlabServesAllOfItsBlocksAgainWhenTheOthersAreBack)
{
    CAssertRecorder recorder;
    const std::vector<char *> blocks = Take(4, 10);
    Give(std::vector<char *>(blocks.begin(), blocks.begin() + 5));
    Overwrite(blocks[4]);
    Give(Take(4, 1));
    Give(std::vector<char *>(blocks.begin() + 5, blocks.end()));
    EXPECT_EQ(m_Heap.Figures().m_UsedSlabs, 0u);
    EXPECT_EQ(Take(4, 10), blocks);
}

// ---- What is a block -----------------------------------------------------------------------------------------------------

TEST_F(MemSlabs, OnlyWhatWasCutFromASlabInServiceIsABlock)
{
    const std::vector<char *> blocks = Take(4, 10);
    const u64 size = ClassBytes(4);
    EXPECT_TRUE(IsBlock(blocks[0], 4));
    EXPECT_TRUE(IsBlock(blocks[9], 4));
    EXPECT_FALSE(IsBlock(blocks[9] + size, 4)) << "untouched memory";
    for (u64 offset = 1; offset < size; ++offset)
        ASSERT_FALSE(IsBlock(blocks[3] + offset, 4)) << offset;
    EXPECT_FALSE(IsBlock(reinterpret_cast<void *>(m_Heap.Base()), 0)) << "the records of the chunk";
    EXPECT_FALSE(IsBlock(blocks[0] + kSlabBytes, 0)) << "a slab that was never used";
    Give(blocks);
    EXPECT_FALSE(IsBlock(blocks[0], 4)) << "a slab that serves no class";
}

// ---- Guards ---------------------------------------------------------------------------------------------------------------

TEST_F(MemSlabs, WithoutGuardsAllOfItsMemoryCanBeUsed)
{
    Take(4, 3 * BlocksPerSlab(4));
    EXPECT_EQ(m_Heap.BytesOfSlab(), kSlabBytes);
    for (ureg page = m_Heap.Base(); page < m_Heap.Base() + m_Heap.MappedBytes(); page += PortPageBytes())
        ASSERT_TRUE(PortIsReadable(page));
}

TEST_F(MemSlabsGuarded, EachSlabEndsInAPageThatCannotBeTouched)
{
    TakeSlabs(2 * kSlabsPerChunk);
    const u32 slabs = static_cast<u32>(m_Heap.MappedBytes() / kSlabBytes);
    EXPECT_GE(slabs, 3 * kSlabsPerChunk);
    for (u32 slab = 0; slab < slabs; ++slab)
    {
        ASSERT_FALSE(CanReadEndOf(slab)) << slab;
        ASSERT_TRUE(PortIsReadable(m_Heap.Base() + slab * kSlabBytes)) << slab;
        ASSERT_TRUE(PortIsReadable(m_Heap.Base() + slab * kSlabBytes + m_Heap.BytesOfSlab() - PortPageBytes()));
    }
}

TEST_F(MemSlabsGuarded, BlocksLieInFrontOfTheGuards)
{
    for (SFreeBlock *const block : TakeSlabs(kSmallClassCount - 1))
    {
        const u64 size = ClassBytes(ClassOfSmallBlock(block));
        ASSERT_LE(reinterpret_cast<ureg>(block) % kSlabBytes + size, m_Heap.BytesOfSlab());
        std::memset(static_cast<void *>(block), 0xCD, static_cast<size_t>(size));
    }
}

TEST_F(MemSlabsGuarded, ATextThatRunsOverTheEndOfItsSlabEndsTheProgram)
{
#if QV_TEST_HAS_FORK
    const u64 size = ClassBytes(kLargestClass);
    SFreeBlock *last = nullptr;
    for (u64 room = m_Heap.BytesOfSlab(); room >= size; room -= size)
        last = m_Heap.TakeOne(kLargestClass);
    const size_t room = m_Heap.BytesOfSlab() - reinterpret_cast<ureg>(last) % kSlabBytes;
    const auto write = [last](size_t bytes)
    {
        std::memset(static_cast<void *>(last), 'x', bytes);
        return 0;
    };
    EXPECT_EQ(RunInCopy([&] { return write(room); }), 0);
    EXPECT_NE(RunInCopy([&] { return write(room + 1); }), 0);
#else
    GTEST_SKIP() << QV_TEST_NO_FORK;
#endif
}

TEST_F(MemSlabsGuarded, SlabsThatGaveTheirMemoryBackAreGuardedAsBefore)
{
    for (int round = 0; round < 2; ++round)
    {
        for (SFreeBlock *const block : TakeSlabs(kMaxIdleSlabs + 3))
            m_Heap.GiveOne(block);
        m_Heap.Trim();
        EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, kMaxIdleSlabsAfterThread);
    }
    for (u32 slab = 0; slab < m_Heap.MappedBytes() / kSlabBytes; ++slab)
        ASSERT_FALSE(CanReadEndOf(slab)) << slab;
}

TEST_F(MemSlabsGuarded, NothingBehindWhatItHasMappedIsForbidden)
{
    const ureg theirs = m_Heap.Base() + 2 * kSlabBytes;
    ASSERT_TRUE(PortMapAt(theirs, kSlabBytes));
    ASSERT_NE(m_Heap.TakeOne(4), nullptr);
    EXPECT_EQ(m_Heap.MappedBytes(), 2 * kSlabBytes);
    EXPECT_TRUE(PortIsReadable(theirs + kSlabBytes - PortPageBytes()));
    PortUnmap(theirs, kSlabBytes);
}

TEST_F(MemSlabsGuarded, MemoryCanBeMadeReadyInFrontOfTheGuards)
{
    EXPECT_TRUE(m_Heap.Prewarm(kSlabBytes, false));
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, 1u);
    EXPECT_TRUE(m_Heap.Prewarm(0, true));
}

TEST_F(MemSlabs, ABatchComesFromAFewSlabsAtMost)
{
    // Slabs each of which has one block to take.
    std::vector<char *> all = Take(kLargestClass, 20 * BlocksPerSlab(kLargestClass));
    std::vector<char *> one;
    for (size_t i = 0; i < all.size(); i += BlocksPerSlab(kLargestClass))
        one.push_back(all[i]);
    Give(one);
    SFreeBlock *first = nullptr;
    EXPECT_EQ(m_Heap.Take(kLargestClass, 20, first), 8u);
}

TEST_F(MemSlabs, BlocksThatGoBackInAnyOrderAreAllBack)
{
    std::vector<char *> blocks;
    for (u32 sizeClass = 1; sizeClass < kSmallClassCount; sizeClass += 3)
        for (char *const block : Take(sizeClass, 300))
            blocks.push_back(block);
    for (size_t i = 0; i < blocks.size(); ++i)
        std::swap(blocks[i], blocks[i * 7919 % blocks.size()]);
    Give(blocks);
    EXPECT_EQ(m_Heap.Figures().m_LiveBlocks, 0u);
    EXPECT_EQ(m_Heap.Figures().m_UsedSlabs, 0u);
}

TEST_F(MemSlabs, TheLowestSlabsAreFilledFirst)
{
    const std::vector<char *> all = Take(30, 10 * BlocksPerSlab(30));
    Give({all[9 * BlocksPerSlab(30)], all[2 * BlocksPerSlab(30)], all[5 * BlocksPerSlab(30)]});
    EXPECT_EQ(Take(30, 3), (std::vector<char *>{all[2 * BlocksPerSlab(30)], all[5 * BlocksPerSlab(30)],
                                                all[9 * BlocksPerSlab(30)]}));
}

TEST_F(MemSlabs, WhatIsMadeReadyIsIdleAndHasMemory)
{
    ASSERT_TRUE(m_Heap.Prewarm(300 * kSlabBytes, false));
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, 300u);
    const ureg mapped = m_Heap.MappedBytes();
    const std::vector<char *> blocks = Take(4, 300 * BlocksPerSlab(4));
    EXPECT_EQ(m_Heap.MappedBytes(), mapped);
    Give(blocks);
    // As many more stay idle as were made ready.
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, 300u);
    EXPECT_EQ(m_Heap.Figures().m_ReturnedSlabs, 0u);
}

TEST_F(MemSlabs, APartOfASlabIsMadeReadyAsAWholeOne)
{
    EXPECT_TRUE(m_Heap.Prewarm(1, false));
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, 1u);
    EXPECT_TRUE(m_Heap.Prewarm(kSlabBytes + 1, false));
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, 1u + 2);
}

TEST_F(MemSlabs, SlabsThatGaveTheirMemoryBackAreMadeReadyFirst)
{
    Give(Take(4, (kMaxIdleSlabsAfterThread + 5) * BlocksPerSlab(4)));
    m_Heap.Trim();
    ASSERT_EQ(m_Heap.Figures().m_ReturnedSlabs, 5u);
    const ureg mapped = m_Heap.MappedBytes();
    EXPECT_TRUE(m_Heap.Prewarm(5 * kSlabBytes, false));
    EXPECT_EQ(m_Heap.Figures().m_ReturnedSlabs, 0u);
    EXPECT_EQ(m_Heap.MappedBytes(), mapped);
}

namespace
{

// Whether the system tells what lies in memory, and gives no more of it than the pages that are written to.
bool PagesComeOneByOne()
{
    char *const pages = static_cast<char *>(MapPages(2 * kSlabBytes, PageAccess_ReadWrite));
    if (pages == nullptr)
        return false;
    pages[0] = 1;
    const bool isSo = IsInMemory(pages) && !IsInMemory(pages + kSlabBytes - 1);
    UnmapPages(pages, 2 * kSlabBytes);
    return isSo;
}

} // namespace

TEST_F(MemSlabs, WithoutBeingMadeReadyASlabHasTheMemoryThatIsUsed)
{
    if (!PagesComeOneByOne())
        GTEST_SKIP() << "which pages lie in memory cannot be told here";
    Take(4, 1);
    EXPECT_TRUE(IsInMemory(InSlab(1, 0)));
    EXPECT_FALSE(IsInMemory(InSlab(1, kSlabBytes - 1)));
}

TEST_F(MemSlabs, SlabsInUseAreMadeReadyAndThoseThatComeIntoUseLater)
{
    if (!PagesComeOneByOne())
        GTEST_SKIP() << "which pages lie in memory cannot be told here";
    Take(1, 1);
    Take(2, 1);
    ASSERT_EQ(m_Heap.MappedBytes(), 4 * kSlabBytes);
    EXPECT_TRUE(m_Heap.Prewarm(0, false));
    for (const u32 slab : {1u, 2u})
        for (ureg offset = 0; offset < kSlabBytes; offset += PortPageBytes())
            ASSERT_TRUE(IsInMemory(InSlab(slab, offset))) << slab << ", " << offset;
    // That one was never used. Then more is mapped.
    EXPECT_FALSE(IsInMemory(InSlab(3, 0)));
    Take(3, 1);
    EXPECT_TRUE(IsInMemory(InSlab(3, kSlabBytes - 1)));
    EXPECT_FALSE(PortIsReadable(m_Heap.Base() + 4 * kSlabBytes));
    Take(4, 1);
    EXPECT_TRUE(IsInMemory(InSlab(4, kSlabBytes - 1)));
    EXPECT_FALSE(IsInMemory(InSlab(5, 0)));
}

// Its pages are those of the process until somebody writes to them.
TEST_F(MemSlabs, ACopyOfTheProcessThatMakesReadyHasPagesOfItsOwn)
{
#if QV_TEST_IS_SANITIZED
    GTEST_SKIP() << "a sanitizer has page faults of its own";
#elif QV_TEST_HAS_FORK
    alignas(4096) static char control[2 * 4096];
    std::memset(control, 1, sizeof(control));
    Take(4, 1);
    const auto faultsOfWriting = [](char *page)
    { return PageFaultsOf([page] { *static_cast<volatile char *>(page) = *page; }); };
    const int answer = RunInCopy(
        [&]
        {
            if (faultsOfWriting(control) == 0)
                return kNoLimit;
            m_Heap.Prewarm(0, false);
            u64 faults = 0;
            for (ureg offset = 0; offset < kChunkRecordBytes; offset += PortPageBytes())
                faults += faultsOfWriting(InSlab(0, offset));
            for (ureg offset = 0; offset < kSlabBytes; offset += PortPageBytes())
                faults += faultsOfWriting(InSlab(1, offset));
            return faults == 0 ? 0 : 1;
        });
    if (answer == kNoLimit)
        GTEST_SKIP() << "the system counts no page faults";
    EXPECT_EQ(answer, 0);
#else
    GTEST_SKIP() << QV_TEST_NO_FORK;
#endif
}

TEST_F(MemSlabs, MakingReadyMoreThanThereAreAddressesForTakesNothing)
{
    const ureg mapped = m_Heap.MappedBytes();
    EXPECT_FALSE(m_Heap.Prewarm(~u64(0), false));
    EXPECT_FALSE(m_Heap.Prewarm(u64(kSmallRangeBytes) + 1, false));
    EXPECT_EQ(m_Heap.MappedBytes(), mapped);
}

TEST_F(MemSlabs, MakingReadySaysWhenMemoryIsRefused)
{
    ASSERT_TRUE(PortMapAt(m_Heap.Base() + 2 * kSlabBytes, kSlabBytes));
    EXPECT_FALSE(m_Heap.Prewarm(3 * kSlabBytes, false));
    EXPECT_EQ(m_Heap.Figures().m_IdleSlabs, 1u);
    PortUnmap(m_Heap.Base() + 2 * kSlabBytes, kSlabBytes);
    EXPECT_TRUE(m_Heap.Prewarm(0, true));
}

} // namespace QuorvaneTest
