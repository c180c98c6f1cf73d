// Small blocks through the threads' caches: what they are, how many are kept, and what is reported.
#include "kr_mem/mem_thread_cache.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <random>
#include <string>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "child_process.h"
#include "kr_mem/mem_process.h"
#include "small_blocks.h"
#include "system_limits.h"

namespace QuorvaneTest
{

namespace
{

using namespace SmallBlocks;

// The block of about a size that the calling thread keeps; null for none.
void *KeptLarge(u64 size)
{
    return ThreadCache()->m_Large[size / kKeptLargeStep].m_Block;
}

// How many blocks the calling thread has in its bin of a class, and how many more it may have there.
u32 RoomOfOwnBin(u32 sizeClass)
{
    const SBins &bins = ThreadCache()->m_Bins;
    u32 room = bins.m_Vacant[sizeClass];
    for (SFreeBlock *block = bins.m_First[sizeClass]; !g_FreeLinks.IsEnd(block); ++room)
        if (!g_FreeLinks.ReadLink(block, block))
            return 0;
    return room;
}

// A large block with so much room, of an alignment that small blocks do not have. It begins 16 bytes into the platform's
// block or 32, by chance.
u8 *AllocWithRoom(u64 room)
{
    u8 *block = nullptr;
    std::vector<u8 *> others;
    for (u32 tries = 0; tries < 64 && block == nullptr; ++tries)
    {
        u8 *const tried = Alloc(room - 16 * (tries % 2), 32);
        if (RoomOfLarge(tried) == room)
            block = tried;
        else
            others.push_back(tried);
    }
    for (u8 *const other : others)
        RawFree(other);
    return block;
}

class MemThreadCacheOwn : public COwnTest
{
};

} // namespace

TEST(MemThreadCache, BlocksAreAlignedDisjointAndOfTheirSize)
{
    for (u64 size = 0; size <= kMaxSmallBytes + 40; ++size)
    {
        u8 *const a = Alloc(size);
        u8 *const b = Alloc(size);
        ASSERT_NE(a, nullptr);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(reinterpret_cast<ureg>(a) % 16, 0u);
        EXPECT_EQ(reinterpret_cast<ureg>(b) % 16, 0u);
        std::memset(a, 1, static_cast<size_t>(size));
        std::memset(b, 2, static_cast<size_t>(size));
        EXPECT_TRUE(size == 0 || (a[0] == 1 && a[size - 1] == 1)) << size;
        Free(a, size);
        Free(b, size);
    }
}

TEST(MemThreadCache, BothPathsShareTheirBlocks)
{
    const Mem::SAllocator former = Mem::SetAllocator(Mem::SAllocator());
    for (const u64 size : {1u, 24u, 64u, 1072u, 2048u, 2049u, 5000u, 16384u})
        for (int i = 0; i < 300; ++i)
        {
            RawFree(Alloc(size), Mem::Origin_New);
            Free(Mem::_RawAlloc(size, 16, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE), size);
            former.m_Free(Alloc(size), Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
            Free(former.m_Alloc(size, 16, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE), size);
        }
}

TEST(MemThreadCache, FreeingNullIsIgnored)
{
    // Not known to the compiler, which warns of what it takes for a write through null.
    void *const volatile nothing = nullptr;
    Free(nothing, 0);
    Free(nothing, 64);
    Free(nothing, 5000);
}

TEST(MemThreadCache, HugeSizesAreRefused)
{
    for (const u64 size : {~u64(0), ~u64(0) - 15, u64(1) << 63, u64(1) << 62})
        EXPECT_EQ(Alloc(size), nullptr) << size;
}

TEST(MemThreadCache, LargerAlignmentsAreGiven)
{
    for (const u32 alignment : {32u, 64u, 4096u})
    {
        u8 *const block = Alloc(100, alignment);
        EXPECT_EQ(reinterpret_cast<ureg>(block) % alignment, 0u);
        Free(block, 100);
    }
}

// Every live block holds a pattern of its own; one that is handed out twice, cut short or not copied loses it.
TEST(MemThreadCache, LiveBlocksKeepTheirContents)
{
    struct SLive
    {
        u8 *m_Block;
        u64 m_Size;
        u8 m_Pattern;
        bool m_Resized;
    };
    std::mt19937 random(7);
    std::vector<SLive> live;
    const auto holds = [](const SLive &entry)
    {
        for (u64 i = 0; i < entry.m_Size; ++i)
            if (entry.m_Block[i] != entry.m_Pattern)
                return false;
        return true;
    };
    for (int step = 0; step < 60000; ++step)
    {
        const u32 choice = random() % 8;
        if (choice < 4 || live.empty())
        {
            const u64 size = random() % (random() % 4 == 0 ? 6000 : 600);
            const u8 pattern = static_cast<u8>(random());
            live.push_back({RawAlloc(size), size, pattern, false});
            std::memset(live.back().m_Block, pattern, static_cast<size_t>(size));
            continue;
        }
        const size_t index = random() % live.size();
        SLive &entry = live[index];
        ASSERT_TRUE(holds(entry)) << step;
        if (choice < 6)
        {
            const u64 size = random() % 6000;
            entry.m_Block = RawRealloc(entry.m_Block, size);
            entry.m_Resized = true;
            entry.m_Size = QVMin(entry.m_Size, size);
            ASSERT_TRUE(holds(entry)) << step;
            entry.m_Size = size;
            std::memset(entry.m_Block, entry.m_Pattern, static_cast<size_t>(size));
            continue;
        }
        if (choice == 6 || entry.m_Resized)
            RawFree(entry.m_Block);
        else
            FreeBlock(entry.m_Block, entry.m_Size, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
        entry = live.back();
        live.pop_back();
    }
    for (const SLive &entry : live)
    {
        EXPECT_TRUE(holds(entry));
        RawFree(entry.m_Block);
    }
}

TEST_F(MemThreadCacheOwn, SizesUpToTheLimitAreOurOwn)
{
    for (const u64 size : {1u, 16u, 64u, 1072u, 2048u})
    {
        u8 *const block = Alloc(size);
        EXPECT_TRUE(IsSmallBlock(block)) << size;
        EXPECT_EQ(ClassOfSmallBlock(block), SmallClass(size));
        Free(block, size);
    }
    u8 *const block = Alloc(kMaxSmallBytes + 1);
    EXPECT_FALSE(IsSmallBlock(block));
    Free(block, kMaxSmallBytes + 1);
}

TEST_F(MemThreadCacheOwn, TheBlockFreedLastIsTheNext)
{
    u8 *const a = Alloc(64);
    Free(a, 64);
    u8 *const b = Alloc(50);
    EXPECT_EQ(a, b);
    Free(b, 50);
}

TEST_F(MemThreadCacheOwn, BlocksTakeNoMoreThanTheirSize)
{
    constexpr size_t kCount = 100000;
    const u32 before = SmallFigures().m_UsedSlabs;
    std::vector<u8 *> blocks(kCount);
    for (u8 *&block : blocks)
        block = Alloc(64);
    EXPECT_LE(SmallFigures().m_UsedSlabs - before, kCount * 64 / FindOrMakeProcess()->m_Heap.BytesOfSlab() + 1);
    for (u8 *const block : blocks)
        Free(block, 64);
}

TEST_F(MemThreadCacheOwn, AThreadKeepsNoMoreThanItsBound)
{
    OnAThread(
        []
        {
            // The cache is a block, too.
            AllocAndFree(16, 100);
            u64 all = 0;
            for (u32 sizeClass = 2; sizeClass < kSmallClassCount; ++sizeClass)
            {
                const u64 size = ClassBytes(sizeClass);
                const u64 before = LiveBlocks();
                AllocAndFree(size, 2000);
                for (int i = 0; i < 10; ++i)
                    AllocAndFree(size, 3000);
                EXPECT_LE((LiveBlocks() - before) * size, kMostCachedBytesPerClass) << size;
                EXPECT_GT(LiveBlocks(), before) << "nothing is kept of size " << size;
                all += (LiveBlocks() - before) * size;
            }
            EXPECT_LE(all, kMostCachedBytes);
        });
}

// Its ups and downs then pass without the heap.
TEST_F(MemThreadCacheOwn, AThreadThatTakesAndGivesByTurnsMayKeepMore)
{
    OnAThread(
        []
        {
            const u64 before = LiveBlocks();
            for (int i = 0; i < 10; ++i)
                AllocAndFree(64, 2000);
            EXPECT_GE((LiveBlocks() - before) * 64, 2 * kCachedBytesPerClass);
            const u64 kept = LiveBlocks();
            AllocAndFree(64, kMostCachedBytesPerClass / 64 / 2);
            EXPECT_EQ(LiveBlocks(), kept);
        });
}

// As many blocks again each time: seven times of a class, and a hundred and twenty times of all of them.
TEST_F(MemThreadCacheOwn, AThreadMayKeepMoreABoundedNumberOfTimes)
{
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            constexpr u32 kFirstClass = 23; // of 18 classes
            for (u32 round = 0; round < 9; ++round)
                for (u32 sizeClass = kFirstClass; sizeClass < kSmallClassCount; ++sizeClass)
                    AllocAndFree(ClassBytes(sizeClass), 9 * KeptBlocks(sizeClass));
            const SThreadCache &cache = *ThreadCache();
            u32 all = 0;
            for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
            {
                EXPECT_LE(cache.m_Bins.m_Raises[sizeClass], 7u) << sizeClass;
                EXPECT_EQ(RoomOfOwnBin(sizeClass), (cache.m_Bins.m_Raises[sizeClass] + 1u) * KeptBlocks(sizeClass))
                    << sizeClass;
                all += cache.m_Bins.m_Raises[sizeClass];
            }
            EXPECT_EQ(cache.m_Bins.m_Raises[kFirstClass], 7u);
            EXPECT_EQ(all, 120u);
            EXPECT_EQ(cache.m_Raises, 120u);
        });
}

TEST_F(MemThreadCacheOwn, AThreadWithoutACacheWritesToNoneOfItsOwn)
{
    const auto expectUntouched = [](const SThreadCache &cache)
    {
        for (const SKeptLarge &kept : cache.m_Large)
            EXPECT_TRUE(kept.m_Block == nullptr && !kept.m_HasTaken);
    };
    OnAThread(
        [&]
        {
            ASSERT_EQ(ThreadCache(), &g_NoCacheYet);
            Free(Alloc(5000), 5000);
            expectUntouched(g_NoCacheYet);
            // As when its cache has ended.
            ThreadCache() = &g_CacheEnded;
            Free(Alloc(5000), 5000);
            expectUntouched(g_CacheEnded);
        });
}

TEST_F(MemThreadCacheOwn, AThreadThatFreesTheBlocksOfOthersKeepsFew)
{
    std::vector<u8 *> blocks(20000);
    OnAThread(
        [&blocks]
        {
            for (u8 *&block : blocks)
                block = Alloc(64);
        });
    OnAThread(
        [&blocks]
        {
            AllocAndFree(64, 20);
            const u64 before = LiveBlocks();
            for (u8 *const block : blocks)
                Free(block, 64);
            // Once it is let keep more, for the few that it took.
            EXPECT_LE((LiveBlocks() + blocks.size() - before) * 64, 2 * kCachedBytesPerClass);
        });
}

// What is freed by its address alone goes where it came from.
TEST_F(MemThreadCacheOwn, ALargeBlockThatComesAndGoesByTurnsIsKept)
{
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            for (const u64 size : {2100u, 4129u, 16000u})
            {
                u8 *const block = Alloc(size);
                Free(block, size);
                EXPECT_EQ(KeptLarge(size), block) << size;
                u8 *const again = Alloc(size - 1);
                EXPECT_EQ(again, block) << size;
                EXPECT_EQ(KeptLarge(size), nullptr) << size;
                std::memset(again, 1, static_cast<size_t>(size - 1));
                u8 *const grown = RawRealloc(again, 3 * size);
                EXPECT_EQ(grown[size - 2], 1);
                RawFree(grown, Mem::Origin_New);
            }
            for (const u64 size : {16384u, 100000u})
            {
                u8 *const block = Alloc(size);
                Free(block, size);
                for (const SKeptLarge &kept : ThreadCache()->m_Large)
                    EXPECT_NE(kept.m_Block, block) << size;
            }
        });
}

TEST_F(MemThreadCacheOwn, ALargeBlockThatIsTooSmallStaysKept)
{
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            u8 *const block = Alloc(4100);
            Free(block, 4100);
            u8 *const longer = Alloc(5000);
            EXPECT_NE(longer, block);
            EXPECT_EQ(KeptLarge(4100), block);
            // Two in a row.
            Free(longer, 5000);
            EXPECT_EQ(KeptLarge(4100), nullptr);
        });
}

TEST_F(MemThreadCacheOwn, OfLargeBlocksFreedInARowNoneIsKept)
{
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            u8 *blocks[10] = {};
            for (u8 *&block : blocks)
                block = Alloc(5000);
            for (u8 *const &block : blocks)
            {
                Free(block, 5000);
                EXPECT_EQ(KeptLarge(5000), &block == blocks ? block : nullptr) << &block - blocks;
            }
            Free(Alloc(5000), 5000);
            EXPECT_NE(KeptLarge(5000), nullptr);
        });
}

TEST_F(MemThreadCacheOwn, OfLargeBlocksFreedInARowThePlatformHasAllBack)
{
#if defined(__GLIBC__) && !QV_TEST_IS_SANITIZED
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            for (const size_t count : {2u, 3u})
            {
                const size_t before = mallinfo2().uordblks;
                u8 *blocks[3] = {};
                for (size_t i = 0; i < count; ++i)
                    blocks[i] = Alloc(5000);
                EXPECT_GT(mallinfo2().uordblks, before);
                for (size_t i = 0; i < count; ++i)
                    Free(blocks[i], 5000);
                EXPECT_EQ(mallinfo2().uordblks, before) << count;
            }
        });
#else
    GTEST_SKIP() << "what the platform has back is not told here";
#endif
}

TEST_F(MemThreadCacheOwn, ALargeBlockWithNoMoreRoomThanASmallOneIsNotKept)
{
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            u8 *const block = AllocWithRoom(kMaxSmallBytes);
            ASSERT_NE(block, nullptr);
            u8 *const taken = Alloc(kMaxSmallBytes + 1);
            Free(block, kMaxSmallBytes);
            EXPECT_EQ(KeptLarge(kMaxSmallBytes), nullptr);
            Free(taken, kMaxSmallBytes + 1);
            EXPECT_EQ(KeptLarge(kMaxSmallBytes), taken);
        });
}

// What stands behind those that a thread keeps is not read as if it were one.
TEST_F(MemThreadCacheOwn, ALargeBlockWithTheRoomOfTheLimitIsNotKept)
{
    OnAThread(
        []
        {
            u8 *const block = AllocWithRoom(kMaxKeptLargeBytes);
            ASSERT_NE(block, nullptr);
            SThreadCache own = {};
            own.m_Previous = reinterpret_cast<SThreadCache *>(ureg(1));
            SThreadCache *const before = ThreadCache();
            ThreadCache() = &own;
            RawFree(block);
            ThreadCache() = before;
            EXPECT_EQ(own.m_Next, nullptr);
            EXPECT_EQ(own.m_Previous, reinterpret_cast<SThreadCache *>(ureg(1)));
            for (const SKeptLarge &kept : own.m_Large)
                EXPECT_EQ(kept.m_Block, nullptr);
        });
}

TEST_F(MemThreadCacheOwn, AThreadThatEndsGivesItsLargeBlocksBack)
{
    const auto keepAll = []
    {
        AllocAndFree(64, 20);
        for (u64 size = 2500; size < 16384; size += 1024)
        {
            Free(Alloc(size), size);
            EXPECT_NE(KeptLarge(size), nullptr);
        }
    };
    const auto grownBy = [](const auto &work)
    {
        OnAThread(work);
        const u64 before = WritableBytes();
        for (int i = 0; i < 200; ++i)
            OnAThread(work);
        return WritableBytes() - std::min(before, WritableBytes());
    };
    // An instruction emulator keeps something of each thread itself.
    const u64 grownByThreads = grownBy([] {});
    // Threads that left them would leave 25 MB.
    EXPECT_LE(grownBy(keepAll), grownByThreads + (8u << 20));
}

TEST_F(MemThreadCacheOwn, ABlockHasRoomToGrowUpToItsOwnRoomAndNothingElseHas)
{
    u8 *const small = Alloc(300);
    const u64 room = ClassBytes(ClassOfSmallBlock(small));
    EXPECT_TRUE(HasRoomToGrow(small, room));
    EXPECT_FALSE(HasRoomToGrow(small, room + 1));
    Free(small, 300);
    u8 *const large = Alloc(5000);
    EXPECT_TRUE(HasRoomToGrow(large, RoomOfLarge(large)));
    EXPECT_FALSE(HasRoomToGrow(large, RoomOfLarge(large) + 1));
    Free(large, 5000);
    EXPECT_FALSE(HasRoomToGrow(nullptr, 1));
    alignas(16) u8 local[64];
    std::memset(local, 1, sizeof(local));
    EXPECT_FALSE(HasRoomToGrow(local + 32, 1));
}

TEST_F(MemThreadCacheOwn, ABlockThatWasFoundToBeSmallIsKnownFromThenOn)
{
    u8 *const block = Alloc(64);
    // As if it lay in memory that was mapped since.
    g_SmallRangeKnown.Store(0);
    EXPECT_FALSE(IsKnownSmallBlock(block));
    EXPECT_TRUE(IsSmallBlock(block));
    EXPECT_TRUE(IsKnownSmallBlock(block));
    Free(block, 64);
}

TEST_F(MemThreadCacheOwn, NothingBehindWhatIsMappedIsASmallBlock)
{
    const CSlabHeap &heap = FindOrMakeProcess()->m_Heap;
    u8 *const end = reinterpret_cast<u8 *>(heap.Base() + heap.MappedBytes());
    EXPECT_TRUE(IsSmallBlock(end - kSmallStep));
    EXPECT_EQ(g_SmallRangeKnown.Load(), heap.MappedBytes());
    EXPECT_FALSE(IsKnownSmallBlock(end));
    EXPECT_FALSE(IsSmallBlock(end));
}

TEST_F(MemThreadCacheOwn, NoBlockTakesTheFastPathWhileAnotherAllocatorIsInstalled)
{
    u8 *const block = Alloc(64);
    const Mem::SAllocator refusing = {
        [](u64, u32, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *) -> void *
        { return nullptr; },
        [](void *, u64, u32, Mem::EAllocType, const char *, const char *, u32, const char *) -> void *
        { return nullptr; },
        [](void *, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *) {},
    };
    const Mem::SAllocator before = Mem::SetAllocator(refusing);
    const bool isSmall = IsSmallBlock(block);
    const bool isKnown = IsKnownSmallBlock(block);
    Mem::SetAllocator(before);
    EXPECT_TRUE(isSmall);
    EXPECT_FALSE(isKnown);
    EXPECT_TRUE(IsSmallBlock(block));
    Free(block, 64);
}

TEST_F(MemThreadCacheOwn, FreeingByAddressGivesTheBlockBack)
{
    constexpr size_t kCount = 10000;
    const u64 before = LiveBlocks();
    std::vector<u8 *> blocks(kCount);
    for (u8 *&block : blocks)
        block = RawAlloc(64);
    EXPECT_GE(LiveBlocks(), before + kCount - kMostCachedBytesPerClass / 64);
    for (u8 *const block : blocks)
        RawFree(block);
    EXPECT_LE(LiveBlocks(), before + kMostCachedBytesPerClass / 64);
}

// ---- Links that were overwritten ---------------------------------------------------------------------------------------

namespace
{

// Blocks of 64 bytes of a thread that lie in its cache, the last one first, and of which none is linked to another one's.
std::vector<u8 *> FillCache(size_t count)
{
    std::vector<u8 *> blocks(count);
    for (u8 *&block : blocks)
        block = Alloc(64);
    for (u8 *const block : blocks)
        Free(block, 64);
    return blocks;
}

// What a text does that was freed too early.
void WriteTo(u8 *block)
{
    std::memset(block, 'x', 12);
}

bool Holds(const std::vector<u8 *> &blocks, const u8 *block)
{
    return std::find(blocks.begin(), blocks.end(), block) != blocks.end();
}

} // namespace

TEST_F(MemThreadCacheOwn, AnOverwrittenLinkIsReportedAndNotFollowed)
{
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            std::vector<u8 *> blocks = FillCache(100);
            WriteTo(blocks[97]);
            CAssertRecorder recorder;
            EXPECT_EQ(Alloc(64), blocks[99]);
            EXPECT_EQ(Alloc(64), blocks[98]);
            EXPECT_EQ(recorder.Count(), 0u);
            // The block itself is not used again either: somebody writes to it.
            blocks.resize(98);
            std::vector<u8 *> others;
            for (int i = 0; i < 500; ++i)
            {
                others.push_back(Alloc(64));
                ASSERT_FALSE(Holds(blocks, others.back()));
            }
            EXPECT_EQ(recorder.Expressions(), IfAsserting({"!overwritten"}));
            for (u8 *const block : others)
                Free(block, 64);
        });
}

// Its bin takes as many blocks as before.
TEST_F(MemThreadCacheOwn, ABinWhoseLinkWasOverwrittenGoesOn)
{
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            CAssertRecorder recorder;
            for (int round = 0; round < 20; ++round)
            {
                const std::vector<u8 *> blocks = FillCache(100);
                WriteTo(blocks.back());
                Free(Alloc(64), 64);
            }
            EXPECT_EQ(recorder.Expressions(), IfAsserting(std::vector<std::string>(20, "!overwritten")));
            AllocAndFree(64, 2000);
            const u64 live = LiveBlocks();
            AllocAndFree(64, kCachedBytesPerClass / 64 / 2);
            EXPECT_EQ(LiveBlocks(), live);
        });
}

// Also where it had been let keep more.
TEST_F(MemThreadCacheOwn, ABinWhoseLinkWasOverwrittenMayKeepAsManyAsBefore)
{
    for (const u32 raises : {0u, 1u, 3u})
        OnAThread(
            [raises]
            {
                const u32 sizeClass = SmallClass(64);
                AllocAndFree(64, 20);
                CAssertRecorder recorder;
                for (u32 i = 0; i < raises; ++i)
                    AllocAndFree(64, 2 * kMostCachedBytesPerClass / 64);
                const u32 room = RoomOfOwnBin(sizeClass);
                EXPECT_EQ(room, (raises + 1) * kCachedBytesPerClass / 64);
                WriteTo(FillCache(10).back());
                u8 *const block = Alloc(64);
                EXPECT_EQ(RoomOfOwnBin(sizeClass), room) << raises;
                Free(block, 64);
                EXPECT_EQ(recorder.Expressions(), IfAsserting({"!overwritten"}));
            });
}

TEST_F(MemThreadCacheOwn, AnOverwrittenLinkInAFullBinIsReportedAndNotFollowed)
{
    OnAThread(
        []
        {
            // So full that the heap gets what comes next.
            const size_t count = kMostCachedBytesPerClass / 64;
            for (int i = 0; i < 10; ++i)
                AllocAndFree(64, 3 * count);
            std::vector<u8 *> more(4 * count);
            for (u8 *&block : more)
                block = Alloc(64);
            CAssertRecorder recorder;
            size_t freed = 0;
            while (freed < 2 * count)
                Free(more[freed++], 64);
            WriteTo(more[freed - 3]);
            while (freed < more.size())
                Free(more[freed++], 64);
            EXPECT_EQ(recorder.Expressions(), IfAsserting({"!overwritten"}));
            std::vector<u8 *> again(2 * count);
            for (u8 *&block : again)
            {
                block = Alloc(64);
                EXPECT_NE(block, more[2 * count - 3]);
            }
            std::sort(again.begin(), again.end());
            EXPECT_EQ(std::adjacent_find(again.begin(), again.end()), again.end());
            for (u8 *const block : again)
                Free(block, 64);
            EXPECT_EQ(recorder.Count(), IfAsserting(1));
        });
}

TEST_F(MemThreadCacheOwn, AnOverwrittenLinkInACacheThatEndsIsReportedAndNotFollowed)
{
    CAssertRecorder recorder;
    std::vector<u8 *> blocks;
    OnAThread(
        [&]
        {
            AllocAndFree(64, 20);
            blocks = FillCache(50);
            WriteTo(blocks[49]);
        });
    EXPECT_EQ(recorder.Expressions(), IfAsserting({"!overwritten"}));
    std::vector<u8 *> others(2000);
    for (u8 *&block : others)
    {
        block = Alloc(64);
        EXPECT_FALSE(Holds(blocks, block));
    }
    for (u8 *const block : others)
        Free(block, 64);
    EXPECT_EQ(recorder.Count(), IfAsserting(1));
}

// In a process of its own: where so much is left alone, the platform serves at times.
TEST_F(MemThreadCacheOwn, AnOverwrittenLinkThatAThreadWithoutACacheMeetsIsReportedAndNotFollowed)
{
    const SChildResult child = RunInChild(
        []
        {
            CAssertRecorder recorder;
            // So many that what was free before is used up, and of each slab some blocks stay out.
            std::vector<u8 *> blocks(1500);
            for (u8 *&block : blocks)
            {
                block = Alloc(2000);
                Alloc(2000);
            }
            OnAThread(
                [&blocks]
                {
                    for (u8 *const block : blocks)
                        Free(block, 2000);
                });
            for (u8 *const block : blocks)
                WriteTo(block);
            bool isLeftAlone = true;
            OnAThread([&] { isLeftAlone = !Holds(blocks, Alloc(2000)); });
            if (!isLeftAlone)
                return 1;
            return recorder.Expressions() == IfAsserting({"!overwritten"}) ? 0 : 2;
        });
    EXPECT_EQ(child.m_ExitCode, 0) << child.m_Stderr;
}

TEST_F(MemThreadCacheOwn, FreeBlocksTellNoAddresses)
{
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            const ureg base = FindOrMakeProcess()->m_Heap.Base();
            std::vector<u8 *> blocks(100);
            for (u8 *&block : blocks)
                std::memset(block = Alloc(64), 0, 64);
            for (u8 *const block : blocks)
                Free(block, 64);
            for (const u8 *const block : blocks)
            {
                for (u32 at = 0; at < 64; at += sizeof(ureg))
                {
                    ureg word = 0;
                    std::memcpy(&word, block + at, sizeof(word));
                    ASSERT_GE(word - base, kSmallRangeBytes) << at;
                    ASSERT_TRUE(at == 0 || word == 0) << at;
                }
            }
        });
}

TEST_F(MemThreadCacheOwn, WithoutMemoryForMoreOfThemThePlatformServes)
{
    const SChildResult child = RunInChild(
        []
        {
            // Less than is there already, which is the step in which more is taken, and room for the platform.
            const u64 most = WritableBytes() + (kChunkBytes - (1u << 20));
            while (FindOrMakeProcess()->m_Heap.MappedBytes() < kChunkBytes)
                Alloc(kMaxSmallBytes);
            if (WritableBytes() == 0)
                return 1;
            if (!LimitWritable(most))
                return kNoLimit;
            // Each holds the address of the one before.
            void *blocks = nullptr;
            u64 count = 0;
            for (bool isSmall = true; isSmall && count < 1000000; ++count)
            {
                void *const block = Alloc(64);
                if (block == nullptr)
                    return 2;
                isSmall = IsSmallBlock(block);
                std::memcpy(block, &blocks, sizeof(blocks));
                blocks = block;
            }
            const bool platformServed = !IsSmallBlock(blocks);
            while (blocks != nullptr)
            {
                void *next = nullptr;
                std::memcpy(&next, blocks, sizeof(next));
                Free(blocks, 64);
                blocks = next;
            }
            return platformServed ? 0 : 3;
        });
    if (child.m_ExitCode == kNoLimit)
        GTEST_SKIP() << "the system limits no memory, as in an emulator";
    EXPECT_EQ(child.m_ExitCode, 0) << child.m_Stderr;
}

// ---- Memory made ready -----------------------------------------------------------------------------------------------

namespace
{

constexpr size_t kFreshBytes = 1u << 20;

// Pages that nobody has written.
class CFreshPages
{
public:
    CFreshPages() : m_Pages(static_cast<u8 *>(MapPages(kFreshBytes, PageAccess_ReadWrite))) {}
    ~CFreshPages()
    {
        if (m_Pages != nullptr)
            UnmapPages(m_Pages, kFreshBytes);
    }
    CFreshPages(const CFreshPages &) = delete;
    CFreshPages &operator=(const CFreshPages &) = delete;

    u8 *Get() const { return m_Pages; }

private:
    u8 *m_Pages;
};

// Whether the system says how many faults there were.
bool FaultsAreCounted()
{
    const CFreshPages pages;
    return pages.Get() != nullptr && PageFaultsOf([&pages] { std::memset(pages.Get(), 1, kFreshBytes); }) != 0;
}

// Whether the system says which pages lie in memory.
bool ResidenceIsTold()
{
    const CFreshPages pages;
    if (pages.Get() == nullptr || IsInMemory(pages.Get()))
        return false;
    std::memset(pages.Get(), 1, kFreshBytes);
    return IsInMemory(pages.Get());
}

// Of all slabs that are mapped.
u64 PagesInMemory(const CSlabHeap &heap)
{
    u64 pages = 0;
    for (ureg at = 0; at < heap.MappedBytes(); at += PortPageBytes())
        pages += IsInMemory(reinterpret_cast<const void *>(heap.Base() + at)) ? 1 : 0;
    return pages;
}

} // namespace

TEST(MemPrewarm, SaysWhetherThereIsMemoryOfItsOwn)
{
    EXPECT_EQ(Mem::Prewarm(0), AreOurOwn());
    EXPECT_EQ(Mem::Prewarm(1), AreOurOwn());
}

class MemPrewarmOwn : public COwnTest
{
};

TEST_F(MemPrewarmOwn, AThreadThatMadeReadyGetsItsBlocksWithoutAPageFault)
{
    constexpr u64 kBytes = 2u << 20;
    constexpr u64 kSize = 512;
    // The system may move pages at any time, which costs faults that nobody can prevent: once in a while.
    constexpr int kTries = 3;
    u64 faults = 1;
    if (!FaultsAreCounted())
        GTEST_SKIP() << "the system counts no page faults";
    for (int tries = 0; tries < kTries && faults != 0; ++tries)
        OnAThread(
            [&]
            {
                ASSERT_TRUE(Mem::Prewarm(2 * kBytes));
                std::vector<u8 *> blocks(kBytes / kSize);
                const u64 mapped = FindOrMakeProcess()->m_Heap.MappedBytes();
                // The code itself is not in memory before it has run.
                Free(Alloc(kSize), kSize);
                faults = PageFaultsOf(
                    [&]
                    {
                        for (u8 *&block : blocks)
                        {
                            block = Alloc(kSize);
                            std::memset(block, 1, kSize);
                        }
                    });
                EXPECT_EQ(FindOrMakeProcess()->m_Heap.MappedBytes(), mapped);
                for (u8 *const block : blocks)
                    Free(block, kSize);
            });
    EXPECT_EQ(faults, 0u);
}

TEST_F(MemPrewarmOwn, WhatIsMadeReadyLiesInMemory)
{
    constexpr u64 kBytes = 8u << 20;
    if (!ResidenceIsTold())
        GTEST_SKIP() << "the system does not tell what lies in memory";
    // The system may take a page away at any time.
    constexpr int kTries = 3;
    u64 missing = 1;
    for (int tries = 0; tries < kTries && missing != 0; ++tries)
        OnAThread(
            [&missing]
            {
                ASSERT_TRUE(Mem::Prewarm(kBytes));
                const CSlabHeap &heap = FindOrMakeProcess()->m_Heap;
                const SSlabFigures figures = SmallFigures();
                ASSERT_GE(figures.m_IdleSlabs, kBytes / kSlabBytes);
                // Those in use are made ready, too.
                const u64 slabs = u64(figures.m_UsedSlabs) + figures.m_IdleSlabs;
                const u64 made = slabs * (heap.BytesOfSlab() / PortPageBytes());
                const u64 inMemory = PagesInMemory(heap);
                missing = inMemory < made ? made - inMemory : 0;
            });
    EXPECT_EQ(missing, 0u);
}

TEST_F(MemPrewarmOwn, AThreadHasItsCacheAfterIt)
{
    OnAThread(
        []
        {
            Mem::Prewarm(0);
            u8 *const block = Alloc(64);
            const u64 live = LiveBlocks();
            Free(block, 64);
            EXPECT_EQ(LiveBlocks(), live);
        });
}

TEST_F(MemPrewarmOwn, WhatMayNotBeLockedIsToldAndUsedAllTheSame)
{
    const SChildResult child = RunInChild(
        []
        {
            if (!ForbidLocking())
                return kNoLimit;
            // More than a process may lock by itself on systems that allow a little.
            constexpr u32 kSlabs = 64;
            const u32 idle = SmallFigures().m_IdleSlabs;
            if (Mem::Prewarm(kSlabs * kSlabBytes, true))
                return 1;
            return SmallFigures().m_IdleSlabs == idle + kSlabs ? 0 : 2;
        });
    if (child.m_ExitCode == kNoLimit)
        GTEST_SKIP() << "this process may not give up its rights";
    EXPECT_EQ(child.m_ExitCode, 0) << child.m_Stderr;
}

} // namespace QuorvaneTest
