// The home of small blocks on several threads. It is plain memory and one lock, so the thread sanitizer sees all of it
// here even though the default allocator leaves it alone in such a build.
#include "kr_mem/mem_slabs.h"

#include <sys/mman.h>

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

private:
    std::mutex m_Lock;
    std::vector<SOwned> m_Waiting;
};

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
    heap.Give(::new (owned.m_Block) SFreeBlock{nullptr}, 1);
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
        while (first != nullptr)
        {
            const SOwned owned = {reinterpret_cast<char *>(first), ClassBytes(sizeClass), static_cast<char>(random())};
            first = first->m_Next;
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
        const u32 taken = heap.Take(1 + static_cast<u32>(random() % (kSmallClassCount - 1)), 40, first);
        heap.Give(first, taken);
    }
}

// In a copy of the process: whether blocks of all classes can be had, are whole, and can be given back.
bool IsUsable(CSlabHeap &heap, const SOwned &before)
{
    bool isUsable = Holds(before);
    heap.Give(::new (before.m_Block) SFreeBlock{nullptr}, 1);
    const u64 live = heap.Figures().m_LiveBlocks;
    for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
    {
        SFreeBlock *first = nullptr;
        const u32 taken = heap.Take(sizeClass, 40, first);
        std::set<SFreeBlock *> blocks;
        for (SFreeBlock *block = first; block != nullptr; block = block->m_Next)
            blocks.insert(block);
        isUsable = isUsable && taken == 40 && blocks.size() == 40 && heap.Give(first, taken) == nullptr;
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

TEST(MemSlabsThreads, ACopyOfTheProcessCanGoOnWhoeverHeldTheHeap)
{
    constexpr ureg kPageBytes = 4096;
    void *const page = mmap(nullptr, kPageBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const bool isWiped = page != MAP_FAILED && PortWipeOnFork(page, kPageBytes);
    TAtomic<u32> *const numbers[] = {nullptr, isWiped ? ::new (page) TAtomic<u32> : nullptr};
    for (TAtomic<u32> *const number : numbers)
    {
        COwnHeap heap(number);
        std::atomic<bool> done(false);
        std::thread first([&] { WorkUntil(*heap, done); });
        std::thread second([&] { WorkUntil(*heap, done); });
        SFreeBlock *block = nullptr;
        heap->Take(4, 1, block);
        const SOwned kept = {reinterpret_cast<char *>(block), 64, 'k'};
        std::memset(kept.m_Block, kept.m_Pattern, 64);
        for (int round = 0; round < 50; ++round)
        {
            EXPECT_EQ(RunInCopy([&] { return IsUsable(*heap, kept) ? 0 : 1; }), 0);
        }
        done = true;
        first.join();
        second.join();
        EXPECT_EQ(heap->Figures().m_LiveBlocks, 1u);
    }
    munmap(page, kPageBytes);
}

} // namespace QuorvaneTest
