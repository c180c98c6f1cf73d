// How the threads' caches begin and end: what a thread leaves, and what its last destructors may still do.
#include "kr_mem/mem_threads.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "child_process.h"
#include "kr_mem/mem_process.h"
#include "small_blocks.h"

namespace QuorvaneTest
{

namespace
{

using namespace SmallBlocks;

// Allocates in its destructor, and remembers whether that worked.
class CLateUser
{
public:
    ~CLateUser()
    {
        AllocAndFree(64, 1000);
        u8 *const block = Alloc(100);
        std::memset(block, 1, 100);
        Free(block, 100);
        ++s_Destroyed;
    }
    static int s_Destroyed;
};

int CLateUser::s_Destroyed = 0;

class MemThreadsOwn : public COwnTest
{
};

// A thread that has its cache, until it is told to end.
class CThreadWithCache
{
public:
    CThreadWithCache()
    {
        m_Lives.lock();
        m_Thread = std::thread(
            [this]
            {
                EXPECT_TRUE(Mem::Prewarm(0));
                m_Cache = ThreadCache();
                const std::lock_guard<std::mutex> guard(m_Lives);
            });
        while (m_Cache == nullptr)
            std::this_thread::yield();
    }
    const SThreadCache *Cache() const { return m_Cache; }
    void End()
    {
        m_Lives.unlock();
        m_Thread.join();
    }

private:
    std::mutex m_Lives;
    std::atomic<const SThreadCache *> m_Cache{nullptr};
    std::thread m_Thread;
};

// All caches of the process in their order, each of which knows the one before it.
std::vector<const SThreadCache *> AllCaches()
{
    const CSharedGuard guard;
    std::vector<const SThreadCache *> all;
    const SThreadCache *previous = nullptr;
    for (const SThreadCache *cache = Process().m_Caches; cache != nullptr; cache = cache->m_Next)
    {
        EXPECT_EQ(cache->m_Previous, previous);
        all.push_back(cache);
        previous = cache;
    }
    return all;
}

} // namespace

TEST(MemThreads, MayBeUsedAfterTheThreadsOwnDestructors)
{
    const int before = CLateUser::s_Destroyed;
    OnAThread(
        []
        {
            // Made before the thread's cache, so destroyed after it.
            static thread_local CLateUser late;
            static_cast<void>(&late);
            AllocAndFree(64, 10);
        });
    EXPECT_EQ(CLateUser::s_Destroyed, before + 1);
}

TEST(MemThreads, MayFirstBeUsedByTheThreadsOwnDestructors)
{
    const int before = CLateUser::s_Destroyed;
    OnAThread(
        []
        {
            static thread_local CLateUser late;
            static_cast<void>(&late);
        });
    EXPECT_EQ(CLateUser::s_Destroyed, before + 1);
}

TEST(MemThreads, MayBeUsedUntilTheProcessEnds)
{
    const SChildResult child = RunInChild(
        []
        {
            static CLateUser last;
            std::atexit([] { AllocAndFree(1072, 1000); });
            static thread_local CLateUser late;
            static_cast<void>(&late);
            AllocAndFree(64, 10);
            return 0;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
    EXPECT_EQ(child.m_Signal, 0);
}

TEST_F(MemThreadsOwn, AThreadThatEndsGivesItsBlocksBack)
{
    const u64 before = LiveBlocks();
    u64 during = 0;
    OnAThread(
        [&during]
        {
            for (const u64 size : {16u, 64u, 1072u})
                AllocAndFree(size, 1000);
            during = LiveBlocks();
        });
    EXPECT_GT(during, before);
    EXPECT_EQ(LiveBlocks(), before);
}

TEST_F(MemThreadsOwn, AThreadThatEndsLeavesLittleMemoryIdle)
{
    const SChildResult child =
        RunInChild([] { return RunProbe("MemThreadsProbe.DISABLED_AThreadThatEndsLeavesLittleMemoryIdle"); });
    EXPECT_EQ(child.m_ExitCode, 0) << child.m_Stderr;
}

// Run by the test above, in a process that has not made anything ready.
TEST(MemThreadsProbe, DISABLED_AThreadThatEndsLeavesLittleMemoryIdle)
{
    OnAThread(
        []
        {
            AllocAndFree(1072, 2000);
            EXPECT_GT(SmallFigures().m_IdleSlabs, kMaxIdleSlabsAfterThread);
        });
    EXPECT_LE(SmallFigures().m_IdleSlabs, kMaxIdleSlabsAfterThread);
}

TEST_F(MemThreadsOwn, BlocksFreedByAnotherThreadComeBack)
{
    const u64 before = LiveBlocks();
    std::vector<u8 *> blocks(5000);
    OnAThread(
        [&blocks]
        {
            for (u8 *&block : blocks)
                block = Alloc(112);
        });
    EXPECT_EQ(LiveBlocks(), before + blocks.size());
    OnAThread(
        [&blocks]
        {
            for (u8 *const block : blocks)
                Free(block, 112);
        });
    EXPECT_EQ(LiveBlocks(), before);
}

TEST_F(MemThreadsOwn, AnEndedThreadKeepsNothing)
{
    const u64 before = LiveBlocks();
    OnAThread(
        []
        {
            static thread_local CLateUser late;
            static_cast<void>(&late);
            AllocAndFree(64, 10);
        });
    EXPECT_EQ(LiveBlocks(), before);
}

// A key's destructor runs behind those of the thread's own objects.
TEST_F(MemThreadsOwn, AThreadWhoseFirstBlockIsForAKeysDestructorKeepsNothing)
{
    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key, [](void *) { AllocAndFree(64, 1000); }), 0);
    const u64 before = LiveBlocks();
    for (int i = 0; i < 100; ++i)
        OnAThread([key] { pthread_setspecific(key, &key); });
    EXPECT_EQ(LiveBlocks(), before);
    pthread_key_delete(key);
}

// Whichever of the two destructors the thread runs first.
TEST_F(MemThreadsOwn, AThreadThatUsesBlocksInAKeysDestructorAgainKeepsNothing)
{
    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key, [](void *) { AllocAndFree(64, 1000); }), 0);
    const u64 before = LiveBlocks();
    for (int i = 0; i < 100; ++i)
        OnAThread(
            [key]
            {
                pthread_setspecific(key, &key);
                AllocAndFree(112, 1000);
            });
    EXPECT_EQ(LiveBlocks(), before);
    pthread_key_delete(key);
}

// Whichever of them ends first, in the middle of the list or at an end of it.
TEST_F(MemThreadsOwn, TheCachesOfAllThreadsAreInOneListUntilTheyEnd)
{
    using TCaches = std::vector<const SThreadCache *>;
    const TCaches before = AllCaches();
    CThreadWithCache threads[3];
    TCaches expected = before;
    for (const CThreadWithCache &thread : threads)
        expected.insert(expected.begin(), thread.Cache());
    EXPECT_EQ(AllCaches(), expected);
    for (const size_t ended : {1u, 2u, 0u})
    {
        expected.erase(std::find(expected.begin(), expected.end(), threads[ended].Cache()));
        threads[ended].End();
        EXPECT_EQ(AllCaches(), expected);
    }
    EXPECT_EQ(AllCaches(), before);
}

TEST_F(MemThreadsOwn, ANewCacheIsEmptyAndHasRoomForBlocksOfAllClasses)
{
    OnAThread(
        []
        {
            ASSERT_TRUE(Mem::Prewarm(0));
            const SBins &bins = ThreadCache()->m_Bins;
            for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
            {
                EXPECT_TRUE(g_FreeLinks.IsEnd(bins.m_First[sizeClass])) << sizeClass;
                EXPECT_EQ(bins.m_Vacant[sizeClass], kKeptBytesPerClass / ClassBytes(sizeClass)) << sizeClass;
                EXPECT_EQ(bins.m_Raises[sizeClass], 0u) << sizeClass;
                EXPECT_FALSE(bins.m_HasTaken[sizeClass]) << sizeClass;
            }
            // Nothing has the class of no size.
            EXPECT_EQ(bins.m_Vacant[0], 0u);
        });
}

TEST_F(MemThreadsOwn, AThreadWithoutACacheHasNoneToEnd)
{
    OnAThread(
        []
        {
            const u64 before = LiveBlocks();
            EndCacheOfThread();
            EXPECT_EQ(ThreadCache(), &g_NoCacheYet);
            EXPECT_EQ(LiveBlocks(), before);
        });
}

// The key was made after the library's own, so that its destructor finds the thread's cache ended.
TEST_F(MemThreadsOwn, AThreadWhoseCacheHasEndedKeepsNoLargeBlockAndMakesNothingReady)
{
#ifdef _WIN32
    GTEST_SKIP() << "the destructors of keys run before the caches of threads end here";
#endif
    static bool s_IsReady = true;
    static bool s_HasEnded = false;
    static bool s_HasNoOther = false;
    const auto use = [](void *)
    {
        s_HasEnded = ThreadCache() == &g_CacheEnded;
        s_IsReady = Mem::Prewarm(0, false);
        AllocAndFree(5000, 1);
        AllocAndFree(64, 100);
        s_HasNoOther = ThreadCache() == &g_CacheEnded;
    };
    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key, use), 0);
    const u64 before = LiveBlocks();
    OnAThread(
        [key]
        {
            pthread_setspecific(key, &s_IsReady);
            AllocAndFree(64, 1000);
            AllocAndFree(5000, 3);
        });
    pthread_key_delete(key);
    EXPECT_TRUE(s_HasEnded);
    EXPECT_TRUE(s_HasNoOther);
    EXPECT_FALSE(s_IsReady);
    EXPECT_EQ(g_CacheEnded.m_Large[5000 / kKeptLargeStep].m_Block, nullptr);
    EXPECT_FALSE(g_CacheEnded.m_Large[5000 / kKeptLargeStep].m_HasTaken);
    EXPECT_EQ(LiveBlocks(), before);
}

TEST_F(MemThreadsOwn, NobodyLooksThroughTheCachesWhileTheirListChanges)
{
    AllocAndFree(64, 20);
    u8 *const block = Alloc(64);
    Free(block, 64);
    EXPECT_TRUE(LiesInAnyCache(block, SmallClass(64)));
    const CSharedGuard guard;
    EXPECT_FALSE(LiesInAnyCache(block, SmallClass(64)));
}

TEST_F(MemThreadsOwn, AThreadThatUsesAFewBlocksTakesNoMore)
{
    const u64 before = LiveBlocks();
    OnAThread(
        [before]
        {
            u8 *const first = Alloc(64);
            u8 *const second = Alloc(112);
            EXPECT_EQ(LiveBlocks(), before + 2);
            Free(first, 64);
            Free(second, 112);
            EXPECT_EQ(LiveBlocks(), before);
        });
}

TEST_F(MemThreadsOwn, ABlockMayOutliveItsThread)
{
    u8 *block = nullptr;
    OnAThread(
        [&block]
        {
            block = Alloc(64);
            std::memset(block, 3, 64);
        });
    AllocAndFree(64, 3000);
    EXPECT_EQ(block[0], 3);
    EXPECT_EQ(block[63], 3);
    Free(block, 64);
}

} // namespace QuorvaneTest
