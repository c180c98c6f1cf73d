// Strings in processes in which others are at work on what copies of the library and threads share: they are faster, late,
// gone, or stop in the middle. The system lets them in (support/wrapped_system.h). Each case is a process of its own, in
// which nobody has used a string before.
#if !defined(QV_TEST_WRAPS_SYSTEM)

#include <cstdio>

int main()
{
    std::puts("shared heap: no linker here puts other functions before the system's");
    return 77;
}

#else

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <thread>

#include "first_strings.h"
#include "kr_mem/mem_fast_path.h"
#include "kr_mem/mem_membership.h"
#include "kr_mem/mem_process.h"
#include "own_heap.h"
#include "process_cases.h"
#include "wrapped_system.h"

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;
using namespace QuorvaneTest;

// ---- Others in the process -----------------------------------------------------------------------------------------------

// Somebody else's memory reads as what another copy has just begun.
int WhatIsNeverFinishedIsNotWaitedForLong()
{
    for (u32 which = 0; which < kProcessPlaces; ++which)
        if (!PortMapAt(ProcessPlace(which), kSlabBytes))
            return 1;
    // It is looked for there, and once more when nothing can be made.
    return FirstFalse(
        {UseStrings(), !HasSmallBlocks(), g_Yields + g_Pauses == 2 * kProcessPlaces * kMaxRoundsForProcess});
}

SProcess *g_Made = nullptr;

int WhatIsInTheMakingIsWaitedFor()
{
    static u64 s_Layout = 0;
    g_Made = FindOrMakeProcess();
    s_Layout = g_Made->m_Layout.Load();
    g_Made->m_Layout.Store(0);
    g_BeforePause = [] { g_Made->m_Layout.Store(s_Layout); };
    return FirstFalse({FindOrMakeProcess() == g_Made, g_Yields == kYieldsBeforePauses, g_Pauses == 1});
}

int WhatExistsIsFoundWhereABetterPlaceIsFreeByNow()
{
    if (!PortMapAt(ProcessPlace(0), kSlabBytes))
        return 1;
    // Nothing of this library, and nothing in the making.
    *reinterpret_cast<u64 *>(ProcessPlace(0) + kChunkRecordBytes) = 1;
    SProcess *const made = FindOrMakeProcess();
    const bool isThere = made != nullptr && made->m_Heap.Base() == ProcessPlace(1);
    PortUnmap(ProcessPlace(0), kSlabBytes);
    return FirstFalse({isThere, FindOrMakeProcess() == made});
}

int WhoeverIsFasterMakesWhatTheCopiesShare()
{
    g_BeforeMap = [] { g_Made = FindOrMakeProcess(); };
    SProcess *const found = FindOrMakeProcess();
    return FirstFalse({g_Made != nullptr, found == g_Made, UseStrings(), &Process() == g_Made});
}

// Another thread of this copy joins in the middle of it.
int WhoeverIsFasterMakesThisCopyJoin()
{
    g_BeforeMap = [] { g_Made = HasSmallBlocks() ? &Process() : nullptr; };
    const bool hasBlocks = HasSmallBlocks();
    const SCopy *const copy = Process().m_Copies;
    return FirstFalse({g_Made != nullptr, hasBlocks, &Process() == g_Made, copy != nullptr && copy->m_Next == nullptr,
                       g_ThreadKeys == 1, UseStrings(), UsesFastPath()});
}

int NoAddressIsABlockBeforeTheFirstOne()
{
    for (const ureg step : {ureg(16), kSlabBytes, kChunkBytes})
        for (ureg at = 0; at < 64; ++at)
            if (IsSmallBlock(reinterpret_cast<void *>(at * step)) ||
                IsSmallBlock(reinterpret_cast<void *>(0 - at * step)))
                return 1;
    return FirstFalse({UseStrings(), !IsSmallBlock(reinterpret_cast<void *>(ureg(0) - 16))});
}

u32 g_Served = 0;

void *ServeAsAnotherCopyDoes(u64 size, u32, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32,
                             const char *)
{
    ++g_Served;
    return std::malloc(static_cast<std::size_t>(size));
}

void *ResizeAsAnotherCopyDoes(void *block, u64 size, u32, Mem::EAllocType, const char *, const char *, u32,
                              const char *)
{
    return std::realloc(block, static_cast<std::size_t>(size));
}

void FreeAsAnotherCopyDoes(void *block, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *)
{
    std::free(block);
}

constexpr Mem::SAllocator kOfAnotherCopy = {&ServeAsAnotherCopyDoes, &ResizeAsAnotherCopyDoes, &FreeAsAnotherCopyDoes};

int ACopyThatComesLaterUsesTheAllocatorThatIsInstalled()
{
    SProcess *const process = FindOrMakeProcess();
    process->m_Allocator = kOfAnotherCopy;
    process->m_IsReplaced = true;
    return FirstFalse({UseStrings(), g_Served >= 400, !UsesFastPath(),
                       Mem::SetAllocator(Mem::SAllocator()).m_Alloc == &ServeAsAnotherCopyDoes, UseStrings(),
                       g_Served >= 400 && g_Served < 1200, UsesFastPath()});
}

int WhereThePlatformServesAnotherAllocatorMayBeInstalled()
{
    g_RefusesAddresses = true;
    const bool hasBlocks = HasSmallBlocks();
    Mem::SetAllocator(kOfAnotherCopy);
    const bool wasServed = UseStrings() && g_Served >= 400 && !UsesFastPath();
    Mem::SetAllocator(Mem::SAllocator());
    g_Served = 0;
    return FirstFalse({!hasBlocks, wasServed, UseStrings(), g_Served == 0, UsesFastPath()});
}

int TheFirstCallOfACopyMayInstallAnAllocator()
{
    SProcess *const process = FindOrMakeProcess();
    process->m_Allocator = kOfAnotherCopy;
    process->m_IsReplaced = true;
    return FirstFalse({Mem::SetAllocator(Mem::SAllocator()).m_Alloc == kOfAnotherCopy.m_Alloc, !process->m_IsReplaced,
                       UseStrings(), g_Served == 0});
}

int TheFirstCallOfACopyMayFreeABlockOfAnotherOne()
{
    CSlabHeap &heap = FindOrMakeProcess()->m_Heap;
    void *const block = MakeLive(heap.TakeOne(SmallClass(64)));
    FreeRaw(block);
    return FirstFalse({heap.Figures().m_LiveBlocks == 0, HasSmallBlocks()});
}

int TheFirstCallOfACopyMayResizeABlockOfAnotherOne()
{
    CSlabHeap &heap = FindOrMakeProcess()->m_Heap;
    void *const block = MakeLive(heap.TakeOne(SmallClass(64)));
    std::memset(block, 7, 64);
    u8 *const grown = ReallocRaw(block, 5000);
    return FirstFalse({grown != nullptr && IsAll(grown, 7, 64), heap.Figures().m_LiveBlocks == 0});
}

void IgnoreAllocator(const Mem::SAllocator *) {}

QV_INTERNAL_CONSTINIT SCopy g_OtherCopy = {&IgnoreAllocator, nullptr};

// What a copy of the library leaves that was unloaded, or has in a thread that goes on: a cache with some blocks.
SThreadCache *AddCacheOf(SProcess &process, const void *owner)
{
    SFreeBlock *const block = process.m_Heap.TakeOne(SmallClass(sizeof(SThreadCache)));
    SThreadCache *const cache = ::new (block) SThreadCache{};
    for (SFreeBlock *&first : cache->m_Bins.m_First)
        first = process.m_Heap.Links().End();
    process.m_Heap.Take(4, 5, cache->m_Bins.m_First[4]);
    cache->m_Owner = owner;
    cache->m_Next = process.m_Caches;
    if (process.m_Caches != nullptr)
        process.m_Caches->m_Previous = cache;
    process.m_Caches = cache;
    return cache;
}

int ACopyThatJoinsReclaimsTheCachesOfThoseThatAreGone()
{
    SProcess &process = *FindOrMakeProcess();
    SThreadCache *const first = AddCacheOf(process, &g_OtherCopy);
    AddCacheOf(process, nullptr);
    SThreadCache *const second = AddCacheOf(process, &g_OtherCopy);
    AddCacheOf(process, nullptr);
    const u64 before = process.m_Heap.Figures().m_LiveBlocks;
    if (!HasSmallBlocks())
        return 1;
    return FirstFalse({before == 4 * 6, process.m_Heap.Figures().m_LiveBlocks == 2 * 6, process.m_Caches == second,
                       second->m_Next == first, first->m_Previous == second, first->m_Next == nullptr});
}

SThreadCache *g_CacheOfOther = nullptr;
int (*g_AnswerAtTheEnd)() = nullptr;

// Runs behind the library's own end: of equal priority, and of an object that is linked in front of it.
__attribute__((destructor(101))) void AnswerAtTheEnd()
{
    if (g_AnswerAtTheEnd != nullptr)
        _exit(g_AnswerAtTheEnd());
}

int WhatOfOthersIsLeft()
{
    const SProcess &process = Process();
    return FirstFalse({process.m_Copies == &g_OtherCopy, g_OtherCopy.m_Next == nullptr,
                       process.m_Caches == g_CacheOfOther, g_CacheOfOther->m_Next == nullptr,
                       g_CacheOfOther->m_Owner == &g_OtherCopy});
}

int ACopyThatLeavesTakesNothingOfOthersWithIt()
{
    SProcess &process = *FindOrMakeProcess();
    process.m_Copies = &g_OtherCopy;
    g_CacheOfOther = AddCacheOf(process, &g_OtherCopy);
    if (UseStrings() && HasCache() && g_OtherCopy.m_Next != nullptr)
        g_AnswerAtTheEnd = &WhatOfOthersIsLeft;
    std::exit(1);
}

// Another thread had put this copy into the list, and the copied process is without that thread.
int AProcessThatWasCopiedWhileItJoinedJoinsAllTheSame()
{
    if (!UseStrings())
        return 1;
    g_SmallRange.Store(ureg(0) - kSmallRangeBytes);
    g_Policy.Store(Policy_Undecided);
    const SCopy *const copy = Process().m_Copies;
    if (!HasSmallBlocks() || Process().m_Copies != copy || copy->m_Next != nullptr)
        return 2;
    const Mem::SAllocator before = Mem::SetAllocator(kOfAnotherCopy);
    return FirstFalse({UseStrings(), g_Served >= 400, Mem::SetAllocator(before).m_Alloc == &ServeAsAnotherCopyDoes});
}

// ---- Threads that stop in the middle -------------------------------------------------------------------------------------

std::mutex g_Held;
std::atomic<bool> g_IsHeld(false);

// A thread that holds the lock of what the copies share, as long as this lives: it is about to get its cache.
class CThreadThatHoldsTheLock
{
public:
    CThreadThatHoldsTheLock() : m_Waits(g_Held)
    {
        g_BeforeThreadValue = []
        {
            g_IsHeld = true;
            const std::lock_guard<std::mutex> guard(g_Held);
        };
        m_Thread = std::thread([this] { m_WasServed = UseStrings(); });
        while (!g_IsHeld)
            std::this_thread::yield();
    }
    bool End()
    {
        m_Waits.unlock();
        m_Thread.join();
        return m_WasServed;
    }

private:
    std::unique_lock<std::mutex> m_Waits;
    bool m_WasServed = false;
    std::thread m_Thread;
};

int NobodyWaitsForAThreadThatMakesItsCache()
{
    if (!HasSmallBlocks())
        return 1;
    CThreadThatHoldsTheLock other;
    const bool wasServed = UseStrings();
    const bool hadCache = HasCache();
    return FirstFalse({wasServed, !hadCache, other.End(), UseStrings(), HasCache()});
}

// In a copy of the process: the list of caches may be torn, and is given up, that of the first thread with it. A further
// thread has one that is in the list, and stays there when that of the first one ends.
int GoOnWithoutTheThreadThatHeldTheLock()
{
    static std::atomic<const SThreadCache *> s_Cache(nullptr);
    std::thread(
        []
        {
            static_cast<void>(UseStrings());
            s_Cache = ThreadCache();
            pause();
        })
        .detach();
    while (s_Cache == nullptr)
        std::this_thread::yield();
    const SThreadCache *const before = Process().m_Caches;
    const bool isAlone = before->m_Next == nullptr;
    const bool isWell = UseStrings() && HasCache();
    EndCacheOfThread();
    return FirstFalse(
        {isWell, before == s_Cache, isAlone, Process().m_Caches == before, before->m_Next == nullptr, UseStrings()});
}

int ACopyOfTheProcessGoesOnWithoutTheThreadThatHeldTheLock()
{
    if (!UseStrings() || !HasCache())
        return 1;
    CThreadThatHoldsTheLock other;
    const int answer = RunInCopy(&GoOnWithoutTheThreadThatHeldTheLock);
    return other.End() ? answer : 2;
}

// A thread of a copy that has left: from then on it is told of no end.
SThreadCache *g_CacheThatGoesOn = nullptr;
std::thread *g_ThreadThatGoesOn = nullptr;

int WhatGoesOnIsLeft()
{
    const SThreadCache *const caches = Process().m_Caches;
    const bool isLeft = caches == g_CacheThatGoesOn && caches->m_Next == nullptr && caches->m_Owner == nullptr;
    g_Held.unlock();
    g_ThreadThatGoesOn->join();
    const bool isLeftAfterItsEnd = Process().m_Caches == g_CacheThatGoesOn;
    // Of the same number as that of the copy, perhaps.
    pthread_key_t ofOthers = 0;
    if (pthread_key_create(&ofOthers, nullptr) != 0)
        return 1;
    bool isWellLater = false;
    std::thread([&] { isWellLater = UseStrings() && !HasCache() && pthread_getspecific(ofOthers) == nullptr; }).join();
    return FirstFalse({isLeft, isLeftAfterItsEnd, isWellLater});
}

int TheCachesOfThreadsThatGoOnAreLeftByACopyThatLeaves()
{
    g_Held.lock();
    // Lives longer than what is static.
    g_ThreadThatGoesOn = new std::thread(
        []
        {
            if (UseStrings() && HasCache() && ThreadCache()->m_Owner != nullptr)
                g_CacheThatGoesOn = ThreadCache();
            g_IsHeld = true;
            const std::lock_guard<std::mutex> guard(g_Held);
        });
    while (!g_IsHeld)
        std::this_thread::yield();
    if (g_CacheThatGoesOn != nullptr)
        g_AnswerAtTheEnd = &WhatGoesOnIsLeft;
    std::exit(1);
}

constexpr u32 kIdle = 20;
CSlabHeap *g_Heap = nullptr;

u32 TakeSlabs(u32 count, SFreeBlock *(&outBlocks)[kIdle * 64])
{
    u32 taken = 0;
    for (u32 i = 0; i < count * (g_Heap->BytesOfSlab() / kMaxSmallBytes); ++i)
        outBlocks[taken++] = g_Heap->TakeOne(kSmallClassCount - 1);
    return taken;
}

// Between the first slab that goes back to the system and the second.
int WhoTakesTheIdleSlabsMeanwhileLeavesNoneToTrim()
{
    static SFreeBlock *s_Blocks[kIdle * 64];
    COwnHeap heap;
    g_Heap = &*heap;
    const u32 taken = TakeSlabs(kIdle, s_Blocks);
    for (u32 i = 0; i < taken; ++i)
        heap->GiveOne(s_Blocks[i]);
    const u32 idle = heap->Figures().m_IdleSlabs;
    g_BeforeDiscard = [] { TakeSlabs(kIdle - 1, s_Blocks); };
    heap->Trim();
    const SSlabFigures figures = heap->Figures();
    return FirstFalse(
        {idle == kIdle, figures.m_UsedSlabs == kIdle - 1, figures.m_IdleSlabs == 0, figures.m_ReturnedSlabs == 1});
}

constexpr SProcessCase kCases[] = {
    {"WhatIsNeverFinishedIsNotWaitedForLong", &WhatIsNeverFinishedIsNotWaitedForLong},
    {"WhatIsInTheMakingIsWaitedFor", &WhatIsInTheMakingIsWaitedFor},
    {"WhatExistsIsFoundWhereABetterPlaceIsFreeByNow", &WhatExistsIsFoundWhereABetterPlaceIsFreeByNow},
    {"WhoeverIsFasterMakesWhatTheCopiesShare", &WhoeverIsFasterMakesWhatTheCopiesShare},
    {"WhoeverIsFasterMakesThisCopyJoin", &WhoeverIsFasterMakesThisCopyJoin},
    {"NoAddressIsABlockBeforeTheFirstOne", &NoAddressIsABlockBeforeTheFirstOne},
    {"ACopyThatComesLaterUsesTheAllocatorThatIsInstalled", &ACopyThatComesLaterUsesTheAllocatorThatIsInstalled},
    {"WhereThePlatformServesAnotherAllocatorMayBeInstalled", &WhereThePlatformServesAnotherAllocatorMayBeInstalled},
    {"TheFirstCallOfACopyMayInstallAnAllocator", &TheFirstCallOfACopyMayInstallAnAllocator},
    {"TheFirstCallOfACopyMayFreeABlockOfAnotherOne", &TheFirstCallOfACopyMayFreeABlockOfAnotherOne},
    {"TheFirstCallOfACopyMayResizeABlockOfAnotherOne", &TheFirstCallOfACopyMayResizeABlockOfAnotherOne},
    {"ACopyThatJoinsReclaimsTheCachesOfThoseThatAreGone", &ACopyThatJoinsReclaimsTheCachesOfThoseThatAreGone},
    {"ACopyThatLeavesTakesNothingOfOthersWithIt", &ACopyThatLeavesTakesNothingOfOthersWithIt},
    {"AProcessThatWasCopiedWhileItJoinedJoinsAllTheSame", &AProcessThatWasCopiedWhileItJoinedJoinsAllTheSame},
    {"NobodyWaitsForAThreadThatMakesItsCache", &NobodyWaitsForAThreadThatMakesItsCache},
    {"ACopyOfTheProcessGoesOnWithoutTheThreadThatHeldTheLock", &ACopyOfTheProcessGoesOnWithoutTheThreadThatHeldTheLock},
    {"TheCachesOfThreadsThatGoOnAreLeftByACopyThatLeaves", &TheCachesOfThreadsThatGoOnAreLeftByACopyThatLeaves},
    {"WhoTakesTheIdleSlabsMeanwhileLeavesNoneToTrim", &WhoTakesTheIdleSlabsMeanwhileLeavesNoneToTrim},
};

} // namespace

int main()
{
    return !kTracks && HaveCaches() ? RunCases(kCases) : kCaseSkipped;
}

#endif
