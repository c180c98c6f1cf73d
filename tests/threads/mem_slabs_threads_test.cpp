// The home of small blocks on several threads. It is plain memory and atomic words, so the thread sanitizer sees all of it
// here even though the default allocator leaves it alone in such a build.
#include "kr_mem/mem_slabs.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "own_heap.h"
#include "process_copy.h"
#include "stop_signal.h"
#include "thread_team.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

constexpr u32 kThreads = 4;
constexpr u32 kRounds = 400;

struct SOwned
{
    char *m_Block;
    u64 m_Size;
    char m_Pattern;
};

// Blocks on their way from one thread to another.
class CMailbox
{
public:
    void Put(const SOwned &owned)
    {
        const std::lock_guard<std::mutex> guard(m_Lock);
        m_Waiting.push_back(owned);
    }
    bool Get(SOwned &outOwned)
    {
        const std::lock_guard<std::mutex> guard(m_Lock);
        if (m_Waiting.empty())
            return false;
        outOwned = m_Waiting.back();
        m_Waiting.pop_back();
        return true;
    }

    size_t Count()
    {
        const std::lock_guard<std::mutex> guard(m_Lock);
        return m_Waiting.size();
    }

private:
    std::mutex m_Lock;
    std::vector<SOwned> m_Waiting;
};

// The first block of a list, taken out of it.
SFreeBlock *PopFirst(const CSlabHeap &heap, SFreeBlock *&list)
{
    SFreeBlock *const first = list;
    EXPECT_TRUE(heap.Links().ReadLink(first, list));
    return first;
}

bool Holds(const SOwned &owned)
{
    for (u64 i = 0; i < owned.m_Size; ++i)
        if (owned.m_Block[i] != owned.m_Pattern)
            return false;
    return true;
}

void Give(CSlabHeap &heap, const SOwned &owned)
{
    EXPECT_TRUE(Holds(owned));
    EXPECT_EQ(ClassBytes(ClassOfSmallBlock(owned.m_Block)), owned.m_Size);
    heap.GiveOne(owned.m_Block);
}

// Takes a batch, keeps some of it, sends some away, and gives back what others sent.
void Work(CSlabHeap &heap, CMailbox &mailbox, u32 thread)
{
    std::mt19937 random(thread);
    std::vector<SOwned> kept;
    for (u32 round = 0; round < kRounds; ++round)
    {
        const u32 sizeClass = 1 + static_cast<u32>(random() % (kSmallClassCount - 1));
        SFreeBlock *first = nullptr;
        heap.Take(sizeClass, 1 + static_cast<u32>(random() % 40), first);
        while (!heap.Links().IsEnd(first))
        {
            const SOwned owned = {reinterpret_cast<char *>(PopFirst(heap, first)), ClassBytes(sizeClass),
                                  static_cast<char>(random())};
            std::memset(owned.m_Block, owned.m_Pattern, static_cast<size_t>(owned.m_Size));
            if (random() % 2 == 0)
                mailbox.Put(owned);
            else
                kept.push_back(owned);
        }
        SOwned sent;
        for (u32 i = 0; i < 20 && mailbox.Get(sent); ++i)
            Give(heap, sent);
        for (u32 i = 0; i < 10 && !kept.empty(); ++i)
        {
            std::swap(kept[random() % kept.size()], kept.back());
            Give(heap, kept.back());
            kept.pop_back();
        }
    }
    for (const SOwned &owned : kept)
        Give(heap, owned);
}

// Threads that hardly ever leave the heap alone, so that it is in the middle of a change in most of the copies.
void WorkUntil(CSlabHeap &heap, const std::atomic<bool> &done)
{
    std::mt19937 random(1);
    while (!done)
    {
        SFreeBlock *first = nullptr;
        heap.Take(1 + static_cast<u32>(random() % (kSmallClassCount - 1)), 40, first);
        heap.GiveAll(first);
    }
}

// Makes the heap map that many slabs at least, and leaves them idle.
void MapSlabs(CSlabHeap &heap, u32 count)
{
    SFreeBlock *all = heap.Links().End();
    while (heap.MappedBytes() < count * kSlabBytes)
    {
        SFreeBlock *const block = heap.TakeOne(kSmallClassCount - 1);
        ASSERT_NE(block, nullptr);
        all = heap.Links().MakeFree(block, all);
    }
    heap.GiveAll(all);
}

// In a copy of the process: whether blocks of all classes can be had, are whole, and can be given back.
bool IsUsable(CSlabHeap &heap, const SOwned &before)
{
    bool isUsable = Holds(before);
    heap.GiveOne(before.m_Block);
    const u64 live = heap.Figures().m_LiveBlocks;
    for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
    {
        constexpr u32 kCount = 40;
        std::set<SFreeBlock *> blocks;
        SFreeBlock *all = heap.Links().End();
        SFreeBlock *first = nullptr;
        while (blocks.size() < kCount && heap.Take(sizeClass, kCount - static_cast<u32>(blocks.size()), first) != 0)
            while (!heap.Links().IsEnd(first))
            {
                SFreeBlock *const block = PopFirst(heap, first);
                isUsable = blocks.insert(block).second && isUsable;
                all = heap.Links().MakeFree(block, all);
            }
        isUsable = isUsable && blocks.size() == kCount;
        heap.GiveAll(all);
    }
    return isUsable && heap.Figures().m_LiveBlocks == live;
}

} // namespace

TEST(MemSlabsThreads, NoLiveBlockIsTakenTwice)
{
    COwnHeap ownHeap;
    CSlabHeap &heap = *ownHeap;
    CMailbox mailbox;
    RunTeam(kThreads, [&](u32 thread) { Work(heap, mailbox, thread); });
    SOwned sent;
    while (mailbox.Get(sent))
        Give(heap, sent);
    EXPECT_EQ(heap.Figures().m_LiveBlocks, 0u);
    EXPECT_EQ(heap.Figures().m_UsedSlabs, 0u);
}

// A signal finds the worker anywhere, and keeps it there while others take and give blocks of all classes. Only in the
// middle of mapping more would it hold what others need, the next addresses: so more is mapped than both of them use.
TEST(MemSlabsThreads, NobodyWaitsForAThreadThatIsInterrupted)
{
    COwnHeap heap;
    MapSlabs(*heap, 2 * kSmallClassCount);
    std::atomic<bool> done(false);
    std::thread worker([&] { WorkUntil(*heap, done); });
    CStopSignal signal;
    for (int round = 0; round < 100; ++round)
    {
        signal.Stop(worker);
        for (u32 sizeClass = 1; sizeClass < kSmallClassCount; sizeClass += 3)
        {
            SFreeBlock *first = nullptr;
            EXPECT_NE(heap->Take(sizeClass, 20, first), 0u);
            heap->GiveAll(first);
        }
        signal.GoOn();
    }
    done = true;
    worker.join();
    EXPECT_EQ(heap->Figures().m_LiveBlocks, 0u);
}

TEST(MemSlabsThreads, BlocksThatOneThreadTakesAndAnotherGivesForEverTakeNoMoreMemory)
{
    COwnHeap heap;
    CMailbox mailbox;
    std::atomic<bool> done(false);
    std::thread consumer(
        [&]
        {
            SOwned sent;
            while (!done || mailbox.Count() != 0)
                if (mailbox.Get(sent))
                    Give(*heap, sent);
        });
    constexpr size_t kMaxWaiting = 1000;
    for (u32 i = 0; i < 20000; ++i)
    {
        while (mailbox.Count() >= kMaxWaiting)
            std::this_thread::yield();
        SFreeBlock *block = nullptr;
        if (heap->Take(1 + i % (kSmallClassCount - 1), 1, block) == 0)
        {
            ADD_FAILURE() << "no block";
            break;
        }
        const SOwned owned = {reinterpret_cast<char *>(block), ClassBytes(1 + i % (kSmallClassCount - 1)),
                              static_cast<char>(i)};
        std::memset(owned.m_Block, owned.m_Pattern, static_cast<size_t>(owned.m_Size));
        mailbox.Put(owned);
    }
    done = true;
    consumer.join();
    EXPECT_EQ(heap->Figures().m_LiveBlocks, 0u);
    // A thousand blocks of all classes: two slabs of each at most, where all of them would fill 11 MB.
    EXPECT_LE(heap->MappedBytes(), 2 * kSmallClassCount * kSlabBytes + kChunkBytes);
}

// As above, more is mapped than all of them use: a copy that is made in the middle of mapping more cannot grow.
TEST(MemSlabsThreads, ACopyOfTheProcessCanGoOnWhateverOthersWereDoing)
{
    COwnHeap heap;
    MapSlabs(*heap, 3 * kSmallClassCount);
    std::atomic<bool> done(false);
    std::thread first([&] { WorkUntil(*heap, done); });
    std::thread second([&] { WorkUntil(*heap, done); });
    SFreeBlock *block = nullptr;
    heap->Take(4, 1, block);
    const SOwned kept = {reinterpret_cast<char *>(block), 64, 'k'};
    std::memset(kept.m_Block, kept.m_Pattern, 64);
    for (int round = 0; round < 100; ++round)
    {
        EXPECT_EQ(RunInCopy([&] { return IsUsable(*heap, kept) ? 0 : 1; }), 0);
    }
    done = true;
    first.join();
    second.join();
    EXPECT_EQ(heap->Figures().m_LiveBlocks, 1u);
}

} // namespace QuorvaneTest
