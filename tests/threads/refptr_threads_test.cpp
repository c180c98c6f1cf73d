#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "kr_atomic.h"
#include "kr_refptr.h"
#include "test_allocator.h"
#include "thread_team.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

constexpr u32 kThreads = 4;

// Counts its deletions, and carries plain values: the thread sanitizer fails a test in which the counts did not order
// their accesses.
class CShared : public CRefCountedObject
{
public:
    CShared() { s_Created.fetch_add(1, std::memory_order_relaxed); }
    ~CShared() override
    {
        for (const u32 value : m_PerThread)
            s_SumAtEnd.fetch_add(value, std::memory_order_relaxed);
        s_Deleted.fetch_add(1, std::memory_order_relaxed);
    }

    static void Reset()
    {
        s_Created = 0;
        s_Deleted = 0;
        s_SumAtEnd = 0;
    }

    u32 m_Value = 1;
    u32 m_PerThread[kThreads] = {};

    static std::atomic<u32> s_Created;
    static std::atomic<u32> s_Deleted;
    static std::atomic<u32> s_SumAtEnd;
};

std::atomic<u32> CShared::s_Created;
std::atomic<u32> CShared::s_Deleted;
std::atomic<u32> CShared::s_SumAtEnd;

using PShared = TRefPtr<CShared>;

// Relaxed, as in the class above: the tests' own counters must not order what the counts have to.
u32 Deleted()
{
    return CShared::s_Deleted.load(std::memory_order_relaxed);
}

// With an allocator that reports leaks and double frees, and no report expected.
class RefPtrThreads : public ::testing::Test
{
protected:
    RefPtrThreads() { CShared::Reset(); }
    ~RefPtrThreads() override { EXPECT_EQ(m_Recorder.Count(), 0u); }

    CTestAllocator m_Allocator;
    CAssertRecorder m_Recorder;
};

// A pointer for every thread, moved away by it.
std::vector<PShared> OneForEachThread(const PShared &object)
{
    return std::vector<PShared>(kThreads, object);
}

} // namespace

TEST_F(RefPtrThreads, CopiesOnSeveralThreadsKeepTheCount)
{
    const PShared object(new CShared);
    std::vector<PShared> handles = OneForEachThread(object);
    RunTeam(kThreads,
            [&](u32 thread)
            {
                PShared &mine = handles[thread];
                for (u32 i = 0; i < 20000; ++i)
                {
                    const PShared copy(mine);
                    PShared moved(copy);
                    mine = std::move(moved);
                }
            });
    EXPECT_EQ(object->RefCount(), 1 + kThreads);
    EXPECT_EQ(Deleted(), 0u);
}

TEST_F(RefPtrThreads, TheLastReferenceDeletesExactlyOnceWhicheverThreadHoldsIt)
{
    constexpr u32 kRounds = 500;
    for (u32 round = 0; round < kRounds; ++round)
    {
        std::vector<PShared> handles = OneForEachThread(new CShared);
        RunTeam(kThreads, [&](u32 thread) { handles[thread].Clear(); });
        ASSERT_EQ(Deleted(), round + 1);
    }
    EXPECT_EQ(CShared::s_Created.load(), kRounds);
    EXPECT_EQ(m_Allocator.LiveBlocks(), 0u);
}

TEST_F(RefPtrThreads, DeletionSeesWhatAllHoldersHaveWritten)
{
    constexpr u32 kRounds = 200;
    for (u32 round = 0; round < kRounds; ++round)
    {
        std::vector<PShared> handles = OneForEachThread(new CShared);
        RunTeam(kThreads,
                [&](u32 thread)
                {
                    const PShared mine(std::move(handles[thread]));
                    mine->m_PerThread[thread] = thread + 1;
                });
        ASSERT_EQ(Deleted(), round + 1);
    }
    EXPECT_EQ(CShared::s_SumAtEnd.load(), kRounds * (1 + 2 + 3 + 4));
}

// The uniqueness test of copy-on-write.
TEST_F(RefPtrThreads, WhoeverReadsACountOf1MayWriteWhatTheOthersHaveRead)
{
    for (u32 round = 0; round < 200; ++round)
    {
        const PShared object(new CShared);
        std::vector<PShared> handles(kThreads - 1, object);
        std::vector<u32> seen(kThreads, 0);
        RunTeam(kThreads,
                [&](u32 thread)
                {
                    if (thread != kThreads - 1)
                    {
                        const PShared mine(std::move(handles[thread]));
                        seen[thread] = mine->m_Value;
                        return;
                    }
                    while (object->RefCount() != 1)
                        std::this_thread::yield();
                    object->m_Value = 2;
                });
        for (u32 thread = 0; thread + 1 < kThreads; ++thread)
            ASSERT_EQ(seen[thread], 1u);
        ASSERT_EQ(object->m_Value, 2u);
    }
}

// The first reference is a plain store; what publishes the object orders it.
TEST_F(RefPtrThreads, AnObjectIsPublishedWithItsFirstReference)
{
    for (u32 round = 0; round < 200; ++round)
    {
        TAtomic<ureg> place;
        u32 seen = 0;
        RunTeam(2,
                [&](u32 thread)
                {
                    if (thread == 0)
                    {
                        CShared *const object = new CShared;
                        object->_AddFirstReference();
                        object->m_Value = round + 10;
                        place.Store(reinterpret_cast<ureg>(object));
                        return;
                    }
                    while (place.Load() == 0)
                        std::this_thread::yield();
                    const PShared taken(reinterpret_cast<CShared *>(place.Load()), Internal::SAdoptReference());
                    const PShared copy(taken);
                    seen = copy->m_Value;
                });
        ASSERT_EQ(seen, round + 10);
        ASSERT_EQ(Deleted(), round + 1);
    }
}

TEST_F(RefPtrThreads, AThreadMayShareOnWhatAnotherHasDropped)
{
    for (u32 round = 0; round < 200; ++round)
    {
        std::vector<PShared> handles = OneForEachThread(new CShared);
        RunTeam(kThreads,
                [&](u32 thread)
                {
                    // Half of the threads only drop; the others copy and drop meanwhile.
                    if (thread % 2 == 0)
                    {
                        handles[thread].Clear();
                        return;
                    }
                    for (u32 i = 0; i < 50; ++i)
                    {
                        const PShared copy(handles[thread]);
                        handles[thread] = copy;
                    }
                    handles[thread] = null;
                });
        ASSERT_EQ(Deleted(), round + 1);
    }
}

TEST_F(RefPtrThreads, WeakCountsOfSeveralThreadsAddUp)
{
    const PShared object(new CShared);
    RunTeam(kThreads,
            [&](u32)
            {
                for (u32 i = 0; i < 20000; ++i)
                {
                    object->AddWeakReference();
                    object->AddWeakReference();
                    object->RemoveWeakReference();
                }
            });
    EXPECT_EQ(object->WeakCount(), kThreads * 20000);
    EXPECT_EQ(object->RefCount(), 1u);
}

} // namespace QuorvaneTest
