// What the copies of the library in a process share, and the lock that a fork does not leave locked. Processes in which
// nobody has joined yet are in tests/drivers; several copies in one process in tests/consumer.
#include "kr_mem/mem_process.h"

#include <cerrno>
#include <cstring>
#include <set>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "kr_mem/mem_lock.h"
#include "kr_mem/mem_membership.h"
#include "kr_mem/mem_port.h"
#include "kr_mem/mem_thread_cache.h"
#include "process_copy.h"
#include "system_limits.h"
#include "test_port.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

} // namespace

TEST(MemProcess, EveryoneFindsTheSame)
{
    if (!HasSmallBlocks())
        GTEST_SKIP() << "nothing is shared here";
    SProcess *const process = FindOrMakeProcess();
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(FindOrMakeProcess(), process);
    void *const block = Mem::_RawAlloc(64, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    // A build without the cache allocates none of its blocks there.
    EXPECT_EQ(reinterpret_cast<ureg>(block) - process->m_Heap.Base() < process->m_Heap.MappedBytes(),
              IsSmallBlock(block));
    Mem::Free(block, Mem::AllocType_Generic);
}

TEST(MemProcess, ItsPlacesAreWholeChunksOfARegionThatSystemsLeaveEmpty)
{
    if (!kHasSmallRange)
        GTEST_SKIP() << "addresses are short here";
    for (u32 which = 0; which < kProcessPlaces; ++which)
    {
        EXPECT_EQ(ProcessPlace(which), ProcessPlace(which));
        EXPECT_EQ(ProcessPlace(which) % kChunkBytes, 0u);
        EXPECT_GE(ProcessPlace(which), u64(1) << 36);
        EXPECT_LT(ProcessPlace(which), u64(1) << 46);
    }
}

TEST(MemProcess, AllOfItsCopiesLinkFreeBlocksAlike)
{
    if (!HasSmallBlocks())
        GTEST_SKIP() << "nothing is shared here";
    const CFreeLinks &links = FindOrMakeProcess()->m_Heap.Links();
    EXPECT_EQ(std::memcmp(&links, &g_FreeLinks, sizeof(links)), 0);
}

// Also by a copy that was built without blocks of its own.
TEST(MemProcess, ASmallBlockOfAnyCopyIsFreedByEveryCopy)
{
    if (!HasSmallBlocks())
        GTEST_SKIP() << "nothing is shared here";
    CSlabHeap &heap = FindOrMakeProcess()->m_Heap;
    for (const u64 size : {1u, 64u, 2048u})
    {
        const u64 before = heap.Figures().m_LiveBlocks;
        const CAssertRecorder recorder;
        SFreeBlock *const block = heap.TakeOne(SmallClass(size));
        ASSERT_NE(block, nullptr);
        Mem::Free(MakeLive(block), Mem::AllocType_Generic);
        EXPECT_EQ(recorder.Count(), 0u);
        if (UsesFastPath())
            continue; // the thread keeps it
        EXPECT_EQ(heap.Figures().m_LiveBlocks, before);
    }
}

// What was freed before is taken after it, by the same secret.
TEST(MemProcess, ACopyOfTheProcessReadsTheLinksOfTheProcess)
{
#if QV_TEST_HAS_FORK
    if (!HasSmallBlocks())
        GTEST_SKIP() << "nothing is shared here";
    const CFreeLinks before = g_FreeLinks;
    const auto useBlocks = []
    {
        constexpr size_t kCount = 1000;
        void *blocks[kCount];
        for (void *&block : blocks)
            block = Mem::_RawAlloc(64, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
        for (void *const block : blocks)
            Mem::Free(block, Mem::AllocType_Generic);
    };
    useBlocks();
    EXPECT_EQ(RunInCopy(
                  [&]
                  {
                      const CAssertRecorder recorder;
                      useBlocks();
                      const bool isSame = std::memcmp(&before, &g_FreeLinks, sizeof(before)) == 0;
                      return isSame && recorder.Count() == 0 ? 0 : 1;
                  }),
              0);
#else
    GTEST_SKIP() << QV_TEST_NO_FORK;
#endif
}

TEST(MemPort, WordsByChanceAreNeverTheSame)
{
    std::set<u64> words;
    errno = 7;
    for (int i = 0; i < 1000; ++i)
    {
        u64 pair[2] = {0, 0};
        PortFillByChance(pair);
        words.insert(pair[0]);
        words.insert(pair[1]);
    }
    EXPECT_EQ(words.size(), 2000u);
    EXPECT_EQ(errno, 7);
    // Of 2,000 words, each bit is set in about a half: within ten deviations.
    for (u32 bit = 0; bit < 64; ++bit)
    {
        u32 count = 0;
        for (const u64 word : words)
            count += static_cast<u32>(word >> bit & 1);
        EXPECT_NEAR(count, 1000, 224) << bit;
    }
}

TEST(MemPort, APageBeginsInFrontOfWhatLiesInIt)
{
    const ureg bytes = PortPageBytes();
    EXPECT_EQ(bytes, SystemPageBytes());
    for (const ureg offset : {ureg(0), ureg(1), bytes - 1})
        EXPECT_EQ(PageOf(reinterpret_cast<void *>(5 * bytes + offset), bytes), 5 * bytes);
}

TEST(MemPort, WhatIsForbiddenCannotBeRead)
{
    const ureg pageBytes = PortPageBytes();
    void *const memory = MapPages(2 * pageBytes, PageAccess_ReadWrite);
    ASSERT_NE(memory, nullptr);
    const ureg address = reinterpret_cast<ureg>(memory);
    PortForbid(address + pageBytes, pageBytes);
    EXPECT_TRUE(PortIsReadable(address));
    EXPECT_FALSE(PortIsReadable(address + pageBytes));
    UnmapPages(memory, 2 * pageBytes);
}

TEST(MemPort, WhatCanBeReadIsToldFromWhatCannot)
{
    constexpr ureg kBytes = 65536;
    void *const memory = MapPages(kBytes, PageAccess_ReadWrite);
    ASSERT_NE(memory, nullptr);
    const ureg address = reinterpret_cast<ureg>(memory);
    // Nobody sees that it was asked.
    const auto isReadable = [address]
    {
        errno = 7;
        const bool answer = PortIsReadable(address);
        EXPECT_EQ(errno, 7);
        return answer;
    };
    EXPECT_TRUE(isReadable());
    ASSERT_TRUE(ProtectPages(memory, kBytes, PageAccess_None));
    EXPECT_FALSE(isReadable());
    UnmapPages(memory, kBytes);
    EXPECT_FALSE(isReadable());
}

TEST(MemPort, WhatIsTouchedHasMemoryAndKeepsItsContents)
{
    constexpr ureg kBytes = 16u << 20;
    char *const memory = static_cast<char *>(MapPages(kBytes, PageAccess_ReadWrite));
    ASSERT_NE(memory, nullptr);
    memory[kBytes / 2] = 'x';
    const u64 before = ResidentBytes();
    PortTouch(memory, kBytes);
    const u64 after = ResidentBytes();
    EXPECT_GE(after, before + kBytes / 4 * 3);
    EXPECT_EQ(memory[kBytes / 2], 'x');
    EXPECT_EQ(memory[kBytes - 1], '\0');
    UnmapPages(memory, kBytes);
}

TEST(MemPort, NothingIsTouchedBesideWhatIsMeant)
{
    const ureg pageBytes = PortPageBytes();
    char *const memory = static_cast<char *>(MapPages(2 * pageBytes, PageAccess_ReadWrite));
    ASSERT_NE(memory, nullptr);
    PortForbid(reinterpret_cast<ureg>(memory) + pageBytes, pageBytes);
    PortTouch(memory, pageBytes);
    PortTouch(memory + pageBytes - sizeof(u32), sizeof(u32));
    EXPECT_EQ(memory[pageBytes - 1], '\0');
    UnmapPages(memory, 2 * pageBytes);
}

TEST(MemPort, MemoryIsMappedAtAnAddressOnlyWhereThereIsNone)
{
    constexpr ureg kBytes = 65536;
    void *const memory = MapPages(kBytes, PageAccess_ReadWrite);
    ASSERT_NE(memory, nullptr);
    const ureg address = reinterpret_cast<ureg>(memory);
    static_cast<char *>(memory)[5] = 'x';
    EXPECT_FALSE(PortMapAt(address, kBytes));
    EXPECT_EQ(static_cast<char *>(memory)[5], 'x');
    UnmapPages(memory, kBytes);
    ASSERT_TRUE(PortMapAt(address, kBytes));
    EXPECT_EQ(static_cast<char *>(memory)[5], '\0');
    PortUnmap(address, kBytes);
    EXPECT_FALSE(PortIsReadable(address));
}

TEST(MemLock, TellsWhetherAnotherProcessLeftItLocked)
{
    CProcessLock lock;
    EXPECT_FALSE(lock.Lock(1));
    EXPECT_TRUE(lock.Lock(2));
    lock.Unlock();
    EXPECT_FALSE(lock.Lock(3));
    lock.Unlock();
}

TEST(MemLock, AGuardHoldsItWithinItsScope)
{
    CProcessLock lock;
    {
        const CProcessGuard guard(lock, Waiting_AsLongAsItTakes, 1);
        EXPECT_FALSE(guard.WasLeft());
        EXPECT_TRUE(lock.Lock(2));
    }
    const CProcessGuard guard(lock, Waiting_AsLongAsItTakes, 1);
    EXPECT_FALSE(guard.WasLeft());
}

TEST(MemLock, AGuardTellsWhetherAnotherProcessLeftIt)
{
    CProcessLock lock;
    EXPECT_FALSE(lock.Lock(1));
    {
        const CProcessGuard guard(lock, Waiting_AsLongAsItTakes, 2);
        EXPECT_TRUE(guard.IsHeld());
        EXPECT_TRUE(guard.WasLeft());
    }
    EXPECT_FALSE(lock.Lock(1));
    const CProcessGuard guard(lock, Waiting_NotAtAll, 2);
    EXPECT_TRUE(guard.IsHeld());
    EXPECT_TRUE(guard.WasLeft());
}

TEST(MemLock, AGuardThatDoesNotWaitHoldsNothingWhileAnotherOneDoes)
{
    CProcessLock lock;
    const CProcessGuard holder(lock, Waiting_AsLongAsItTakes, 1);
    {
        const CProcessGuard guard(lock, Waiting_NotAtAll, 1);
        EXPECT_FALSE(guard.IsHeld());
        EXPECT_FALSE(guard.WasLeft());
    }
    // And has given nothing back.
    bool wasLeft = false;
    EXPECT_FALSE(lock.TryLock(1, wasLeft));
}

} // namespace QuorvaneTest
