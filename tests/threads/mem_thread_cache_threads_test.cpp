// The default allocator on several threads: small blocks through the threads' caches, larger ones beside them.
#include "kr_mem/mem_thread_cache.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "kr_mem/mem_fast_path.h"
#include "kr_mem/mem_slabs.h"
#include "process_copy.h"
#include "thread_team.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

constexpr u32 kThreads = 4;
constexpr u32 kSteps = 15000;

struct SOwned
{
    u8 *m_Block;
    u64 m_Size;
    u8 m_Pattern;
};

bool Holds(const SOwned &owned)
{
    for (u64 i = 0; i < owned.m_Size; ++i)
        if (owned.m_Block[i] != owned.m_Pattern)
            return false;
    return true;
}

SOwned Make(std::mt19937 &random)
{
    const u64 size = random() % (random() % 16 == 0 ? 5000 : 500);
    u8 *const block =
        static_cast<u8 *>(AllocBlock(size, 16, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE));
    const u8 pattern = static_cast<u8>(random());
    std::memset(block, pattern, static_cast<size_t>(size));
    return {block, size, pattern};
}

void Drop(const SOwned &owned)
{
    EXPECT_TRUE(Holds(owned));
    FreeBlock(owned.m_Block, owned.m_Size, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
}

// What one thread leaves for any other.
struct SMailbox
{
    std::mutex m_Lock;
    std::vector<SOwned> m_Waiting;

    // Leaves one block and takes another, chosen by chance.
    SOwned Exchange(const SOwned &owned, u32 chance)
    {
        const std::lock_guard<std::mutex> guard(m_Lock);
        m_Waiting.push_back(owned);
        std::swap(m_Waiting[chance % m_Waiting.size()], m_Waiting.back());
        const SOwned taken = m_Waiting.back();
        if (m_Waiting.size() > 100)
            m_Waiting.pop_back();
        else
            return {nullptr, 0, 0};
        return taken;
    }
};

void Work(SMailbox &mailbox, u32 seed)
{
    std::mt19937 random(seed);
    std::vector<SOwned> kept;
    for (u32 step = 0; step < kSteps; ++step)
    {
        kept.push_back(Make(random));
        if (random() % 4 == 0)
        {
            const SOwned taken = mailbox.Exchange(kept.back(), static_cast<u32>(random()));
            kept.pop_back();
            if (taken.m_Block != nullptr)
                Drop(taken);
        }
        // Runs of growth and of decline, so that batches go both ways.
        const u32 drops = (step / 1000) % 2 == 0 ? random() % 2 : random() % 4;
        for (u32 i = 0; i < drops && !kept.empty(); ++i)
        {
            std::swap(kept[random() % kept.size()], kept.back());
            Drop(kept.back());
            kept.pop_back();
        }
    }
    for (const SOwned &owned : kept)
        Drop(owned);
}

} // namespace

TEST(MemThreadCacheThreads, NoLiveBlockIsHandedOutTwice)
{
    SMailbox mailbox;
    RunTeam(kThreads, [&](u32 thread) { Work(mailbox, thread); });
    for (const SOwned &owned : mailbox.m_Waiting)
        Drop(owned);
}

TEST(MemThreadCacheThreads, ThreadsThatComeAndGoLeaveNothingBehind)
{
    const u64 before = SmallFigures().m_LiveBlocks;
    for (u32 round = 0; round < 50; ++round)
        RunTeam(kThreads,
                [&](u32 thread)
                {
                    std::mt19937 random(thread);
                    std::vector<SOwned> kept;
                    for (u32 i = 0; i < 200; ++i)
                        kept.push_back(Make(random));
                    for (const SOwned &owned : kept)
                        Drop(owned);
                });
    EXPECT_EQ(SmallFigures().m_LiveBlocks, before);
}

TEST(MemThreadCacheThreads, ACopyOfTheProcessMayAllocate)
{
    void *const block = Mem::_RawAlloc(64, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    const bool isSmall = IsSmallBlock(block);
    Mem::Free(block, Mem::AllocType_Generic);
    if (!isSmall)
        GTEST_SKIP() << "small blocks are the platform's here, and so is the promise";
    std::atomic<bool> done(false);
    std::thread busy(
        [&done]
        {
            SMailbox mailbox;
            std::mt19937 random(1);
            std::vector<SOwned> kept;
            // Relaxed: it ends the work and orders nothing.
            while (!done.load(std::memory_order_relaxed))
            {
                for (u32 i = 0; i < 300; ++i)
                    kept.push_back(Make(random));
                for (const SOwned &owned : kept)
                    Drop(owned);
                kept.clear();
            }
        });
    for (u32 round = 0; round < 30; ++round)
    {
        // The lock that another thread may have held is nobody's here.
        const auto inCopy = []
        {
            std::mt19937 random(2);
            SOwned kept[400];
            for (SOwned &owned : kept)
                owned = Make(random);
            bool held = true;
            for (const SOwned &owned : kept)
            {
                held = held && Holds(owned);
                Mem::Free(owned.m_Block, Mem::AllocType_Generic);
            }
            return held ? 0 : 1;
        };
        EXPECT_EQ(RunInCopy(inCopy), 0);
    }
    // Relaxed, as above.
    done.store(true, std::memory_order_relaxed);
    busy.join();
}

} // namespace QuorvaneTest
