// What the copies of the library in a process share, and the lock that a fork does not leave locked. Processes in which
// nobody has joined yet are in tests/drivers; several copies in one process in tests/consumer.
#include "kr_mem/mem_process.h"

#include <gtest/gtest.h>

#include "kr_mem/mem_lock.h"
#include "kr_mem/mem_membership.h"
#include "kr_mem/mem_port.h"
#include "kr_mem/mem_thread_cache.h"
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

TEST(MemPort, WhatCanBeReadIsToldFromWhatCannot)
{
    constexpr ureg kBytes = 65536;
    void *const memory = MapPages(kBytes, PageAccess_ReadWrite);
    ASSERT_NE(memory, nullptr);
    const ureg address = reinterpret_cast<ureg>(memory);
    EXPECT_TRUE(PortIsReadable(address));
    ASSERT_TRUE(ProtectPages(memory, kBytes, PageAccess_None));
    EXPECT_FALSE(PortIsReadable(address));
    UnmapPages(memory, kBytes);
    EXPECT_FALSE(PortIsReadable(address));
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

} // namespace QuorvaneTest
