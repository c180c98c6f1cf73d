// Strings in processes to which the system refuses something, or in which it lets somebody else be faster: the linker puts
// the functions below before the system's (--wrap). Each case is a process of its own, in which nobody has used a string
// before, and says what it refuses.
#if !defined(QV_TEST_WRAPS_SYSTEM)

#include <cstdio>

int main()
{
    std::puts("refusals: no linker here puts other functions before the system's");
    return 77;
}

#else

#include <pthread.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "kr_mem/mem_fast_path.h"
#include "kr_mem/mem_membership.h"
#include "kr_mem/mem_process.h"
#include "kr_mem/mem_thread_cache.h"
#include "kr_mem/mem_threads.h"
#include "kr_string.h"
#include "own_heap.h"
#include "process_cases.h"

// ---- The system --------------------------------------------------------------------------------------------------------

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;
using namespace QuorvaneTest;

// Whether the system refuses memory by its own allocator, and addresses that it is asked for.
bool g_RefusesBlocks = false;
bool g_RefusesAddresses = false;
// Whether it takes addresses for hints, as Linux before 4.17 does; how often it gave others than that, and which at last.
bool g_TakesHints = false;
u32 g_GivenElsewhere = 0;
void *g_LastElsewhere = nullptr;
// Which lock of memory it refuses, by the number of the first call, from 0 on; none of them all reaches the system itself.
u32 g_RefusedLock = ~u32(0);
u32 g_Locks = 0;
const void *g_FirstLocked = nullptr;
const void *g_NeverLocked = nullptr;
std::size_t g_NeverLockedBytes = 0;
bool g_RefusesThreadKeys = false;
u32 g_ThreadKeys = 0;
bool g_RefusesThreadValues = false;
bool g_HasNoChance = false;
long g_PageBytes = 0; // 0: the system's own
// What somebody else does just before the system is asked once for addresses, to take memory back, or to remember the
// calling thread's value.
void (*g_BeforeMap)() = nullptr;
void (*g_BeforeDiscard)() = nullptr;
void (*g_BeforeThreadValue)() = nullptr;

void RunOnce(void (*&what)())
{
    if (void (*const once)() = std::exchange(what, nullptr))
        once();
}

} // namespace

// Names that the linker prescribes.
extern "C"
{
    void *__real_malloc(std::size_t bytes);
    void *__real_realloc(void *block, std::size_t bytes);
    int __real_posix_memalign(void **block, std::size_t alignment, std::size_t bytes);
    void *__real_mmap(void *address, std::size_t bytes, int protection, int flags, int file, off_t offset);
    int __real_madvise(void *address, std::size_t bytes, int advice);
    int __real_pthread_key_create(pthread_key_t *key, void (*atEnd)(void *));
    int __real_pthread_setspecific(pthread_key_t key, const void *value);
    unsigned long __real_getauxval(unsigned long type);
    long __real_sysconf(int name);

    void *__wrap_malloc(std::size_t bytes)
    {
        return g_RefusesBlocks ? nullptr : __real_malloc(bytes);
    }

    void *__wrap_realloc(void *block, std::size_t bytes)
    {
        return g_RefusesBlocks ? nullptr : __real_realloc(block, bytes);
    }

    int __wrap_posix_memalign(void **block, std::size_t alignment, std::size_t bytes)
    {
        return g_RefusesBlocks ? ENOMEM : __real_posix_memalign(block, alignment, bytes);
    }

    void *__wrap_mmap(void *address, std::size_t bytes, int protection, int flags, int file, off_t offset)
    {
        if (address != nullptr)
            RunOnce(g_BeforeMap);
        if (address != nullptr && g_TakesHints)
        {
            ++g_GivenElsewhere;
            g_LastElsewhere = __real_mmap(nullptr, bytes, protection, MAP_PRIVATE | MAP_ANONYMOUS, file, offset);
            return g_LastElsewhere;
        }
        if (address == nullptr || !g_RefusesAddresses)
            return __real_mmap(address, bytes, protection, flags, file, offset);
        errno = ENOMEM;
        return MAP_FAILED;
    }

    int __wrap_madvise(void *address, std::size_t bytes, int advice)
    {
        RunOnce(g_BeforeDiscard);
        return __real_madvise(address, bytes, advice);
    }

    int __wrap_mlock(const void *address, std::size_t bytes)
    {
        if (g_Locks == 0)
            g_FirstLocked = address;
        if (g_Locks++ == g_RefusedLock)
        {
            g_NeverLocked = address;
            g_NeverLockedBytes = bytes;
        }
        if (address != g_NeverLocked || bytes != g_NeverLockedBytes)
            return 0;
        errno = ENOMEM;
        return -1;
    }

    int __wrap_pthread_key_create(pthread_key_t *key, void (*atEnd)(void *))
    {
        ++g_ThreadKeys;
        return g_RefusesThreadKeys ? EAGAIN : __real_pthread_key_create(key, atEnd);
    }

    int __wrap_pthread_setspecific(pthread_key_t key, const void *value)
    {
        RunOnce(g_BeforeThreadValue);
        return g_RefusesThreadValues ? ENOMEM : __real_pthread_setspecific(key, value);
    }

    unsigned long __wrap_getauxval(unsigned long type)
    {
        return type == AT_RANDOM && g_HasNoChance ? 0 : __real_getauxval(type);
    }

    long __wrap_sysconf(int name)
    {
        return name == _SC_PAGESIZE && g_PageBytes != 0 ? g_PageBytes : __real_sysconf(name);
    }

} // extern "C"

namespace
{

bool UseStrings()
{
    constexpr u32 kCount = 400;
    CString strings[kCount];
    for (CString &string : strings)
        string = CString("forty characters, neither less nor more.");
    bool asTheyShould = true;
    for (const CString &string : strings)
        asTheyShould = asTheyShould && string == "forty characters, neither less nor more.";
    return asTheyShould;
}

u8 *AllocRaw(u64 size)
{
    return static_cast<u8 *>(Mem::_RawAlloc(size, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE));
}

u8 *ReallocRaw(void *block, u64 size)
{
    return static_cast<u8 *>(Mem::_RawRealloc(block, size, 0, Mem::AllocType_Generic, QV_INTERNAL_MEM_SITE));
}

void FreeRaw(void *block)
{
    Mem::Free(block, Mem::AllocType_Generic);
}

bool HasCache()
{
    return ThreadCache() != &g_NoCacheYet && ThreadCache() != &g_CacheEnded;
}

bool IsAll(const u8 *block, u8 value, u64 bytes)
{
    for (u64 i = 0; i < bytes; ++i)
        if (block[i] != value)
            return false;
    return true;
}

// The number of the first of these that does not hold, from 1 on; 0 for success. They are asked one after the other.
int FirstFalse(std::initializer_list<bool> conditions)
{
    int number = 0;
    for (const bool one : conditions)
    {
        ++number;
        if (!one)
            return number;
    }
    return 0;
}

// ---- Memory that is refused: 0 is success ------------------------------------------------------------------------------

// Lets the heap have no more than a slab of the class of a block, which is returned.
u8 *AllocAndRefuseMore(u64 size)
{
    u8 *const block = AllocRaw(size);
    std::memset(block, 7, static_cast<std::size_t>(size));
    g_RefusesAddresses = true;
    g_RefusesBlocks = true;
    return block;
}

int AGrowthThatIsRefusedLeavesASmallBlockAsItIs()
{
    u8 *const block = AllocAndRefuseMore(64);
    u8 *const grown = ReallocRaw(block, 90);
    const bool isWhole = IsAll(block, 7, 64);
    g_RefusesBlocks = false;
    u8 *const later = ReallocRaw(block, 90);
    const bool isWholeLater = later != nullptr && IsAll(later, 7, 64);
    FreeRaw(later);
    return FirstFalse({grown == nullptr, isWhole, isWholeLater});
}

int ABlockWhoseShrinkingIsRefusedStaysWhereItIs()
{
    u8 *const block = AllocAndRefuseMore(2000);
    u8 *const shrunk = ReallocRaw(block, 100);
    return FirstFalse({shrunk == block, IsAll(block, 7, 2000)});
}

int AGrowthThatIsRefusedLeavesALargeBlockAsItIs()
{
    u8 *const block = AllocAndRefuseMore(5000);
    u8 *const grown = ReallocRaw(block, 50000);
    const bool isWhole = IsAll(block, 7, 5000);
    g_RefusesBlocks = false;
    u8 *const later = ReallocRaw(block, 50000);
    const bool isWholeLater = later != nullptr && IsAll(later, 7, 5000);
    FreeRaw(later);
    return FirstFalse({grown == nullptr, isWhole, isWholeLater});
}

int AThreadWithoutMemoryForItsCacheGoesOnWithoutOne()
{
    if (!HasSmallBlocks())
        return 1;
    g_RefusesAddresses = true;
    const bool wasServed = UseStrings();
    const bool hadCache = HasCache();
    const bool wasReady = Mem::Prewarm(0, false);
    g_RefusesAddresses = false;
    return FirstFalse({wasServed, !hadCache, !wasReady, UseStrings(), HasCache(), Mem::Prewarm(0, false)});
}

// ---- Threads of whose end nobody would tell ----------------------------------------------------------------------------

int AThreadWhoseEndNobodyTellsOfHasNoCache()
{
    g_RefusesThreadValues = true;
    const bool wasServed = UseStrings();
    const bool hadCache = HasCache();
    const bool wasReady = Mem::Prewarm(0, false);
    const u64 leftOver = SmallFigures().m_LiveBlocks;
    g_RefusesThreadValues = false;
    return FirstFalse({wasServed, !hadCache, !wasReady, leftOver == 0, UseStrings(), HasCache()});
}

// The keys that there are belong to others. The process ends as any other one.
int NoThreadHasACacheWhereNoKeyIsLeft()
{
    pthread_key_t ofOthers = 0;
    if (pthread_key_create(&ofOthers, nullptr) != 0)
        return 1;
    g_RefusesThreadKeys = true;
    const bool wasServed = UseStrings();
    std::exit(FirstFalse({pthread_getspecific(ofOthers) == nullptr, wasServed, !HasCache(), !Mem::Prewarm(0, false),
                          SmallFigures().m_LiveBlocks == 0}));
}

// Its cache ends with it, and the process with the last thread.
int TheFirstThreadMayEndBeforeTheProcess()
{
    if (!UseStrings() || !HasCache())
        return 1;
    pthread_exit(nullptr);
}

// ---- Memory that may not be locked -------------------------------------------------------------------------------------

// Answers 0 where making ready was refused with the lock of that number, 77 where it is not asked for so many.
int RefuseLock(u32 number)
{
    g_RefusedLock = number;
    const bool isReady = Mem::Prewarm(3 * kSlabBytes, true);
    const u32 locks = g_Locks;
    if (!UseStrings() || !HasCache())
        return 1;
    if (locks > number)
        return isReady ? 2 : 0;
    // The cache, and both parts of each slab: the first, the one that the cache lies in, three more.
    return FirstFalse({isReady, g_FirstLocked == ThreadCache(), locks >= 1 + 2 * 5}) == 0 ? kCaseSkipped : 3;
}

int WhicheverLockIsRefusedMakingReadySaysSo()
{
    for (u32 number = 0; number < 100; ++number)
        if (const int answer = RunInCopy([number] { return RefuseLock(number); }))
            return answer == kCaseSkipped && number > 0 ? 0 : 1;
    return 2;
}

// ---- Other systems -------------------------------------------------------------------------------------------------------

int AProcessToWhichTheSystemGivesNoChanceUsesStrings()
{
    g_HasNoChance = true;
    return FirstFalse({UseStrings(), HasSmallBlocks()});
}

// What it gives elsewhere is given back.
int WhereAddressesAreHintsThePlatformServes()
{
    g_TakesHints = true;
    const bool hasBlocks = HasSmallBlocks();
    const bool isLeft = PortIsReadable(reinterpret_cast<ureg>(g_LastElsewhere));
    return FirstFalse({!hasBlocks, g_GivenElsewhere == kProcessPlaces, !isLeft, UseStrings()});
}

int WherePagesAreLargeSlabsHaveNoGuards()
{
    g_PageBytes = 4 * kMaxGuardBytes;
    COwnHeap large(true);
    g_PageBytes = 0;
    COwnHeap small(true);
    const bool areSmall = PortPageBytes() <= kMaxGuardBytes;
    return FirstFalse({large->BytesOfSlab() == kSlabBytes, !areSmall || small->BytesOfSlab() < kSlabBytes,
                       large->TakeOne(1) != nullptr});
}

// ---- Others in the process -----------------------------------------------------------------------------------------------

// Somebody else's memory reads as what another copy has just begun.
int WhatIsNeverFinishedIsNotWaitedForLong()
{
    for (u32 which = 0; which < kProcessPlaces; ++which)
        if (!PortMapAt(ProcessPlace(which), kSlabBytes))
            return 1;
    return FirstFalse({UseStrings(), !HasSmallBlocks()});
}

SProcess *g_Made = nullptr;

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

int ACopyThatComesLaterUsesTheAllocatorThatIsInstalled()
{
    SProcess *const process = FindOrMakeProcess();
    process->m_Allocator = {&ServeAsAnotherCopyDoes, &ResizeAsAnotherCopyDoes, &FreeAsAnotherCopyDoes};
    process->m_IsReplaced = true;
    return FirstFalse({UseStrings(), g_Served >= 400, !UsesFastPath(),
                       Mem::SetAllocator(Mem::SAllocator()).m_Alloc == &ServeAsAnotherCopyDoes, UseStrings(),
                       g_Served >= 400 && g_Served < 1200, UsesFastPath()});
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
bool g_IsAskedAtTheEnd = false;

int ACopyThatLeavesTakesNothingOfOthersWithIt()
{
    SProcess &process = *FindOrMakeProcess();
    process.m_Copies = &g_OtherCopy;
    g_CacheOfOther = AddCacheOf(process, &g_OtherCopy);
    g_IsAskedAtTheEnd = UseStrings() && HasCache() && g_OtherCopy.m_Next != nullptr;
    std::exit(1);
}

// Runs behind the library's own end: of equal priority, and of an object that is linked in front of it.
__attribute__((destructor(101))) void AnswerAtTheEnd()
{
    const SProcess &process = *FindOrMakeProcess();
    if (g_IsAskedAtTheEnd)
        _exit(FirstFalse({process.m_Copies == &g_OtherCopy, g_OtherCopy.m_Next == nullptr,
                          process.m_Caches == g_CacheOfOther, g_CacheOfOther->m_Next == nullptr,
                          g_CacheOfOther->m_Owner == &g_OtherCopy}));
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
    const Mem::SAllocator before =
        Mem::SetAllocator({&ServeAsAnotherCopyDoes, &ResizeAsAnotherCopyDoes, &FreeAsAnotherCopyDoes});
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
    const bool isWell = UseStrings() && HasCache();
    EndCacheOfThread();
    return FirstFalse(
        {isWell, before == s_Cache, Process().m_Caches == before, before->m_Next == nullptr, UseStrings()});
}

int ACopyOfTheProcessGoesOnWithoutTheThreadThatHeldTheLock()
{
    if (!UseStrings() || !HasCache())
        return 1;
    CThreadThatHoldsTheLock other;
    const int answer = RunInCopy(&GoOnWithoutTheThreadThatHeldTheLock);
    return other.End() ? answer : 2;
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

// ---- The tracker -----------------------------------------------------------------------------------------------------------

int WhatTheTrackerCannotRecordIsNotAllocated()
{
    g_RefusesBlocks = true;
    u8 *const block = AllocRaw(10);
    g_RefusesBlocks = false;
    Mem::SFigures figures = {1, 1};
    const bool isTracking = Mem::LiveFigures(nullptr, figures);
    return FirstFalse({block == nullptr, isTracking, figures.m_LiveBlocks == 0});
}

constexpr SProcessCase kCases[] = {
    {"AGrowthThatIsRefusedLeavesASmallBlockAsItIs", &AGrowthThatIsRefusedLeavesASmallBlockAsItIs},
    {"ABlockWhoseShrinkingIsRefusedStaysWhereItIs", &ABlockWhoseShrinkingIsRefusedStaysWhereItIs},
    {"AGrowthThatIsRefusedLeavesALargeBlockAsItIs", &AGrowthThatIsRefusedLeavesALargeBlockAsItIs},
    {"AThreadWithoutMemoryForItsCacheGoesOnWithoutOne", &AThreadWithoutMemoryForItsCacheGoesOnWithoutOne},
    {"AThreadWhoseEndNobodyTellsOfHasNoCache", &AThreadWhoseEndNobodyTellsOfHasNoCache},
    {"NoThreadHasACacheWhereNoKeyIsLeft", &NoThreadHasACacheWhereNoKeyIsLeft},
    {"TheFirstThreadMayEndBeforeTheProcess", &TheFirstThreadMayEndBeforeTheProcess},
    {"WhicheverLockIsRefusedMakingReadySaysSo", &WhicheverLockIsRefusedMakingReadySaysSo},
    {"AProcessToWhichTheSystemGivesNoChanceUsesStrings", &AProcessToWhichTheSystemGivesNoChanceUsesStrings},
    {"WhereAddressesAreHintsThePlatformServes", &WhereAddressesAreHintsThePlatformServes},
    {"WherePagesAreLargeSlabsHaveNoGuards", &WherePagesAreLargeSlabsHaveNoGuards},
    {"WhatIsNeverFinishedIsNotWaitedForLong", &WhatIsNeverFinishedIsNotWaitedForLong},
    {"WhoeverIsFasterMakesWhatTheCopiesShare", &WhoeverIsFasterMakesWhatTheCopiesShare},
    {"WhoeverIsFasterMakesThisCopyJoin", &WhoeverIsFasterMakesThisCopyJoin},
    {"NoAddressIsABlockBeforeTheFirstOne", &NoAddressIsABlockBeforeTheFirstOne},
    {"ACopyThatComesLaterUsesTheAllocatorThatIsInstalled", &ACopyThatComesLaterUsesTheAllocatorThatIsInstalled},
    {"ACopyThatJoinsReclaimsTheCachesOfThoseThatAreGone", &ACopyThatJoinsReclaimsTheCachesOfThoseThatAreGone},
    {"ACopyThatLeavesTakesNothingOfOthersWithIt", &ACopyThatLeavesTakesNothingOfOthersWithIt},
    {"AProcessThatWasCopiedWhileItJoinedJoinsAllTheSame", &AProcessThatWasCopiedWhileItJoinedJoinsAllTheSame},
    {"NobodyWaitsForAThreadThatMakesItsCache", &NobodyWaitsForAThreadThatMakesItsCache},
    {"ACopyOfTheProcessGoesOnWithoutTheThreadThatHeldTheLock", &ACopyOfTheProcessGoesOnWithoutTheThreadThatHeldTheLock},
    {"WhoTakesTheIdleSlabsMeanwhileLeavesNoneToTrim", &WhoTakesTheIdleSlabsMeanwhileLeavesNoneToTrim},
};

} // namespace

int main()
{
    if (kTracks)
        return RunInCopy(&WhatTheTrackerCannotRecordIsNotAllocated);
    return HaveCaches() ? RunCases(kCases) : kCaseSkipped;
}

#endif
