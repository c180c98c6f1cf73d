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
#include <sched.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <time.h>
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

// Whether the system refuses memory by its own allocator, and addresses that it is asked for; how often it did that.
bool g_RefusesBlocks = false;
bool g_RefusesAddresses = false;
u32 g_RefusedAddresses = 0;
// How many blocks it gives before it refuses the others; what it was asked for, how often, and what is out.
u32 g_BlocksLeft = ~u32(0);
u32 g_BlocksAsked = 0;
u32 g_AlignedBlocksAsked = 0;
u64 g_LastBytesAsked = 0;
u64 g_BlocksOut = 0;
const void *g_LastFreed = nullptr;
// A block that it gives next, once; it is the test's own, and stays there when it is freed.
void *g_NextBlock = nullptr;
const void *g_OwnBlock = nullptr;
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
u32 g_ThreadValues = 0;
const char *g_Preloaded = nullptr; // what the environment says, besides what it does
bool g_HasNoChance = false;        // for the process
// The words by chance that it has; null: those of the system.
const u64 *g_WordsOfProcess = nullptr;
bool g_HasNoWords = false; // for whoever asks
timespec g_Now = {};       // where it is not zero
u32 g_Yields = 0;
u32 g_Pauses = 0;
long g_PageBytes = 0; // 0: the system's own
// What somebody else does just before the system is asked once for addresses, to take memory back, to remember the calling
// thread's value, or to let others run.
void (*g_BeforeMap)() = nullptr;
void (*g_BeforeDiscard)() = nullptr;
void (*g_BeforeThreadValue)() = nullptr;
void (*g_BeforeYield)() = nullptr;
void (*g_BeforePause)() = nullptr;

void RunOnce(void (*&what)())
{
    if (void (*const once)() = std::exchange(what, nullptr))
        once();
}

// Whether the system gives a block of so many bytes.
bool GivesBlock(std::size_t bytes)
{
    ++g_BlocksAsked;
    g_LastBytesAsked = bytes;
    return !g_RefusesBlocks && g_BlocksLeft-- != 0;
}

void CountBlock(const void *block)
{
    g_BlocksOut += block != nullptr ? 1 : 0;
}

} // namespace

// Names that the linker prescribes.
extern "C"
{
    void *__real_malloc(std::size_t bytes);
    void *__real_realloc(void *block, std::size_t bytes);
    void __real_free(void *block);
    int __real_posix_memalign(void **block, std::size_t alignment, std::size_t bytes);
    void *__real_mmap(void *address, std::size_t bytes, int protection, int flags, int file, off_t offset);
    int __real_madvise(void *address, std::size_t bytes, int advice);
    int __real_pthread_key_create(pthread_key_t *key, void (*atEnd)(void *));
    int __real_pthread_setspecific(pthread_key_t key, const void *value);
    unsigned long __real_getauxval(unsigned long type);
    long __real_sysconf(int name);
    char *__real_getenv(const char *name);
    int __real_msync(void *address, std::size_t bytes, int flags);
    long __real_syscall(long number, long first, long second, long third, long fourth);
    int __real_clock_gettime(clockid_t clock, timespec *now);
    int __real_sched_yield();
    int __real_nanosleep(const timespec *wanted, timespec *left);

    void *__wrap_malloc(std::size_t bytes)
    {
        if (g_NextBlock != nullptr)
            return std::exchange(g_NextBlock, nullptr);
        void *const block = GivesBlock(bytes) ? __real_malloc(bytes) : nullptr;
        CountBlock(block);
        return block;
    }

    void *__wrap_realloc(void *block, std::size_t bytes)
    {
        return GivesBlock(bytes) ? __real_realloc(block, bytes) : nullptr;
    }

    int __wrap_posix_memalign(void **block, std::size_t alignment, std::size_t bytes)
    {
        ++g_AlignedBlocksAsked;
        const int answer = GivesBlock(bytes) ? __real_posix_memalign(block, alignment, bytes) : ENOMEM;
        CountBlock(answer == 0 ? *block : nullptr);
        return answer;
    }

    void __wrap_free(void *block)
    {
        g_LastFreed = block;
        g_BlocksOut -= block != nullptr ? 1 : 0;
        if (block == nullptr || block != g_OwnBlock)
            __real_free(block);
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
        ++g_RefusedAddresses;
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
        ++g_ThreadValues;
        return g_RefusesThreadValues ? ENOMEM : __real_pthread_setspecific(key, value);
    }

    unsigned long __wrap_getauxval(unsigned long type)
    {
        if (type == AT_RANDOM && g_WordsOfProcess != nullptr)
            return reinterpret_cast<unsigned long>(g_WordsOfProcess);
        return type == AT_RANDOM && g_HasNoChance ? 0 : __real_getauxval(type);
    }

    long __wrap_sysconf(int name)
    {
        return name == _SC_PAGESIZE && g_PageBytes != 0 ? g_PageBytes : __real_sysconf(name);
    }

    char *__wrap_getenv(const char *name)
    {
        const bool isOurs = g_Preloaded != nullptr && std::strcmp(name, "LD_PRELOAD") == 0;
        return isOurs ? const_cast<char *>(g_Preloaded) : __real_getenv(name);
    }

    int __wrap_msync(void *address, std::size_t bytes, int flags)
    {
        if (g_PageBytes == 0 || reinterpret_cast<ureg>(address) % static_cast<ureg>(g_PageBytes) == 0)
            return __real_msync(address, bytes, flags);
        errno = EINVAL;
        return -1;
    }

    long __wrap_syscall(long number, long first, long second, long third, long fourth)
    {
        if (number != SYS_getrandom || !g_HasNoWords)
            return __real_syscall(number, first, second, third, fourth);
        errno = ENOSYS;
        return -1;
    }

    int __wrap_clock_gettime(clockid_t clock, timespec *now)
    {
        if (g_Now.tv_sec == 0)
            return __real_clock_gettime(clock, now);
        *now = g_Now;
        return 0;
    }

    int __wrap_sched_yield()
    {
        ++g_Yields;
        RunOnce(g_BeforeYield);
        return __real_sched_yield();
    }

    int __wrap_nanosleep(const timespec *wanted, timespec *left)
    {
        ++g_Pauses;
        RunOnce(g_BeforePause);
        return __real_nanosleep(wanted, left);
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

// Once more when it has asked the heap as often as it had before.
int AThreadThatCanHaveNoCacheTriesAgainAfterAsLong()
{
    if (!HasSmallBlocks())
        return 1;
    g_RefusesThreadValues = true;
    const auto askUntilItTries = []
    {
        constexpr u32 kMany = 1000;
        const u32 before = g_ThreadValues;
        u32 asked = 0;
        while (g_ThreadValues == before && asked != kMany)
            asked += AllocRaw(64) != nullptr ? 1u : 0u;
        return asked;
    };
    const u32 first = askUntilItTries();
    return FirstFalse({first > 1, first < 100, askUntilItTries() == first, askUntilItTries() == first});
}

// ---- Blocks of the platform --------------------------------------------------------------------------------------------

int WhatThePlatformCannotBeAskedForItIsNotAskedFor()
{
    constexpr u64 kMost = static_cast<u64>(PTRDIFF_MAX);
    void *const block = PortAlloc(10, 0);
    g_BlocksAsked = 0;
    const bool isRefused = PortAlloc(kMost + 1, 0) == nullptr && PortAlloc(kMost + 1, 64) == nullptr &&
                           PortRealloc(block, kMost + 1, 0) == nullptr && PortRealloc(block, ~u64(0), 64) == nullptr;
    const bool wasAsked = g_BlocksAsked != 0;
    PortFree(block);
    return FirstFalse({isRefused, !wasAsked, PortSizeFits(kMost), !PortSizeFits(kMost + 1)});
}

// For a tool that watches over their ends.
int ThePlatformIsAskedForExactSizes()
{
    for (const u64 size : {u64(0), u64(1), u64(2), u64(100)})
    {
        const u64 expected = size != 0 ? size : 1;
        void *const block = PortAlloc(size, 0);
        const u64 asked = g_LastBytesAsked;
        void *const moved = PortRealloc(PortRealloc(block, 1000, 0), size, 0);
        const u64 askedLater = g_LastBytesAsked;
        PortFree(moved);
        if (const int number = FirstFalse({asked == expected, moved != nullptr, askedLater == expected}))
            return number;
    }
    return 0;
}

int WhatAllBlocksHaveOfAlignmentThePlatformIsNotAskedFor()
{
    void *const block = PortAlloc(10, kPlatformAlignment);
    g_LastFreed = nullptr;
    g_BlocksAsked = 0;
    void *const grown = PortRealloc(block, 1000, kPlatformAlignment);
    const bool wasResized = g_BlocksAsked == 1 && g_LastFreed == nullptr;
    const bool isAligned = grown != nullptr && reinterpret_cast<ureg>(grown) % kPlatformAlignment == 0;
    PortFree(grown);
    return FirstFalse({wasResized, isAligned, g_AlignedBlocksAsked == 0});
}

int ABlockOfLargerAlignmentIsResizedAsAWholeOrNotAtAll()
{
    constexpr u32 kAlignment = 256;
    u8 *const block = static_cast<u8 *>(PortAlloc(100, kAlignment));
    std::memset(block, 7, 100);
    g_RefusesBlocks = true;
    g_LastFreed = nullptr;
    const bool isRefused = PortRealloc(block, 5000, kAlignment) == nullptr;
    const bool isLeft = g_LastFreed == nullptr && IsAll(block, 7, 100);
    g_RefusesBlocks = false;
    u8 *const grown = static_cast<u8 *>(PortRealloc(block, 5000, kAlignment));
    const bool isMoved = grown != nullptr && g_LastFreed == block && IsAll(grown, 7, 100);
    if (grown == nullptr)
        return 1;
    std::memset(grown, 8, 5000);
    u8 *const shrunk = static_cast<u8 *>(PortRealloc(grown, 50, kAlignment));
    const bool isShrunk = shrunk != nullptr && g_LastFreed == grown && IsAll(shrunk, 8, 50);
    const bool areAligned = (reinterpret_cast<ureg>(grown) | reinterpret_cast<ureg>(shrunk)) % kAlignment == 0;
    PortFree(shrunk);
    return FirstFalse({isRefused, isLeft, isMoved, isShrunk, areAligned});
}

// Another thread may just have got them, and be about to tell.
int AddressesThatAreRefusedAreAskedForFourTimesWhileOthersRun()
{
    COwnHeap heap;
    g_RefusesAddresses = true;
    const bool isRefused = heap->TakeOne(1) == nullptr;
    g_RefusesAddresses = false;
    return FirstFalse({isRefused, g_RefusedAddresses == 4, g_Yields == 4, heap->TakeOne(1) != nullptr});
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

int WhatIsNotToBeLockedIsNotLocked()
{
    return FirstFalse({Mem::Prewarm(3 * kSlabBytes), g_Locks == 0});
}

// ---- Chance -------------------------------------------------------------------------------------------------------------

struct SWords
{
    u64 m_Words[2];
};

// Copies of the library that were built at different times find each other by them: the upper half of the product of one
// word, XORed with a constant, and the other, made odd.
int ThePlacesFollowFromWhatTheSystemGivesTheProcess()
{
    constexpr u64 kMixed = 0x9E3779B97F4A7C15ull;
    // More than the regions have places: 2^23 and fewer, powers of two.
    constexpr u64 kNumber = (1u << 23) + 5;
    constexpr u64 kWords[][2] = {{kMixed ^ 1, kNumber << 32}, {kMixed ^ (kNumber << 32), 0}};
    constexpr u64 kBegins[kProcessPlaces] = {u64(1) << 45, u64(1) << 39, u64(1) << 36};
    for (const u64(&words)[2] : kWords)
    {
        g_WordsOfProcess = words;
        if (PortProcessSeed() != kNumber)
            return 1;
        for (u32 which = 0; which < kProcessPlaces; ++which)
            if (ProcessPlace(which) != kBegins[which] + 5 * kChunkBytes)
                return 2;
    }
    return 0;
}

// Of the same place in memory each time.
__attribute__((noinline)) SWords WordsByChance(timespec now, bool hasNoChance)
{
    SWords words = {};
    g_Now = now;
    g_HasNoChance = hasNoChance;
    PortFillByChance(words.m_Words);
    return words;
}

int WithoutWordsByChanceTheyDifferByTheProcessAndByTheTime()
{
    g_HasNoWords = true;
    errno = 7;
    const SWords words = WordsByChance({1000, 5}, false);
    const bool isErrnoLeft = errno == 7;
    const SWords again = WordsByChance({1000, 5}, false);
    const SWords elsewhere = WordsByChance({1000, 5}, true);
    const SWords aSecondLater = WordsByChance({1001, 5}, false);
    const SWords aNanosecondLater = WordsByChance({1000, 6}, false);
    return FirstFalse({isErrnoLeft, again.m_Words[0] == words.m_Words[0], again.m_Words[1] == words.m_Words[1],
                       elsewhere.m_Words[0] != words.m_Words[0], aSecondLater.m_Words[1] != words.m_Words[1],
                       aNanosecondLater.m_Words[1] != words.m_Words[1]});
}

// At one time and in one process, so that nothing else makes them differ. One that says nothing about the other.
int EachWordIsByChance()
{
    const SWords first = WordsByChance({1000, 5}, false);
    const SWords second = WordsByChance({1000, 5}, false);
    const u64 both = first.m_Words[0] ^ first.m_Words[1];
    return FirstFalse({first.m_Words[0] != second.m_Words[0], first.m_Words[1] != second.m_Words[1],
                       both != (second.m_Words[0] ^ second.m_Words[1])});
}

// ---- Waiting ------------------------------------------------------------------------------------------------------------

int WhoWaitsYieldsAtFirstAndPausesThen()
{
    for (u32 rounds = 0; rounds < kYieldsBeforePauses; ++rounds)
        PortBackOff(rounds);
    const bool hasYielded = g_Yields == kYieldsBeforePauses && g_Pauses == 0;
    PortBackOff(kYieldsBeforePauses);
    PortBackOff(1000);
    return FirstFalse({hasYielded, g_Yields == kYieldsBeforePauses, g_Pauses == 2});
}

QV_INTERNAL_CONSTINIT CProcessLock g_Lock;

int ALockIsAskedForUntilItIsFree()
{
    const auto unlock = [] { g_Lock.Unlock(); };
    if (g_Lock.Lock(1))
        return 1;
    g_BeforeYield = unlock;
    if (g_Lock.Lock(1) || g_Yields != 1 || g_Pauses != 0)
        return 2;
    g_BeforePause = unlock;
    return FirstFalse({!g_Lock.Lock(1), g_Yields == 1 + kYieldsBeforePauses, g_Pauses == 1});
}

// Of a heap with two slabs in use, one that was never used, and that of the records: both parts of each of the three.
int WhatIsInUseIsLockedAndWhatComesIntoUseLater()
{
    COwnHeap heap;
    if (heap->TakeOne(1) == nullptr || heap->TakeOne(2) == nullptr || heap->MappedBytes() != 4 * kSlabBytes)
        return 1;
    const bool isReady = heap->Prewarm(0, false);
    const u32 without = g_Locks;
    const bool isLocked = heap->Prewarm(0, true);
    const u32 with = g_Locks;
    return FirstFalse({isReady, without == 0, isLocked, with == 2 * 3, heap->TakeOne(3) != nullptr, g_Locks == 2 * 4,
                       heap->TakeOne(4) != nullptr, g_Locks == 2 * 5});
}

int WhatMayNotBeLockedOnceIsNotTriedAgainLater()
{
    COwnHeap heap;
    g_RefusedLock = 0;
    const bool isLocked = heap->Prewarm(0, true);
    const u32 locks = g_Locks;
    return FirstFalse({!isLocked, locks == 1, heap->TakeOne(1) != nullptr, g_Locks == locks});
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
    return FirstFalse(
        {!hasBlocks, g_GivenElsewhere == kProcessPlaces, !isLeft, UseStrings(), !Mem::Prewarm(0), UsesFastPath()});
}

int WherePagesAreLargeSlabsHaveNoGuards()
{
    g_PageBytes = 4 * kMaxGuardBytes;
    COwnHeap large(true);
    g_PageBytes = kMaxGuardBytes;
    COwnHeap largest(true);
    g_PageBytes = 0;
    COwnHeap small(true);
    const bool areSmall = PortPageBytes() <= kMaxGuardBytes;
    return FirstFalse({large->BytesOfSlab() == kSlabBytes, largest->BytesOfSlab() == kSlabBytes - kMaxGuardBytes,
                       !areSmall || small->BytesOfSlab() < kSlabBytes, large->TakeOne(1) != nullptr});
}

int AProcessInWhichValgrindIsPreloadedIsWatched()
{
    g_Preloaded = "/usr/libexec/valgrind/vgpreload_core-amd64-linux.so";
    return FirstFalse({IsWatched(), !HasSmallBlocks(), UseStrings()});
}

// What a block begins with is all that a tool lets be read: here there is nothing in front of it.
int WhereAToolWatchesNothingInFrontOfABlockIsRead()
{
    if (kWipes)
        return kCaseSkipped; // the platform itself looks there, for how much is to be overwritten
    g_Preloaded = "/usr/libexec/valgrind/vgpreload_core-amd64-linux.so";
    const std::size_t page = SystemPageBytes();
    u8 *const pages = static_cast<u8 *>(MapPages(2 * page, PageAccess_ReadWrite));
    if (pages == nullptr || !ProtectPages(pages, page, PageAccess_None) || HasSmallBlocks())
        return 1;
    g_OwnBlock = pages + page;
    g_NextBlock = pages + page;
    u8 *const block = AllocRaw(4000);
    const bool mayGrow = HasRoomToGrow(block, 1);
    FreeRaw(block);
    return FirstFalse({block == g_OwnBlock, !mayGrow, g_LastFreed == block});
}

int AProcessInWhichSomethingElseIsPreloadedIsNotWatched()
{
    g_Preloaded = "/usr/lib/libsomething.so";
    return FirstFalse({!IsWatched(), HasSmallBlocks(), UseStrings()});
}

// Two of them as one: what they share does not begin with a page.
int WherePagesAreLargeTheCopiesFindWhatTheyShare()
{
    g_PageBytes = kSlabBytes;
    SProcess *const made = FindOrMakeProcess();
    return FirstFalse({made != nullptr, FindOrMakeProcess() == made, UseStrings(), &Process() == made});
}

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

int WhatTheTrackerCannotServeIsNotRecorded()
{
    const u64 before = g_BlocksOut;
    g_BlocksLeft = 1;
    const bool isRefused = AllocRaw(10) == nullptr;
    g_BlocksLeft = ~u32(0);
    return FirstFalse({isRefused, g_BlocksOut == before});
}

// From the moment on at which it keeps as many as it ever does.
int OfWhatIsFreedTheTrackerKeepsNoMoreAndMore()
{
    const auto use = []
    {
        constexpr u32 kManyBlocks = 1000;
        for (u32 i = 0; i < kManyBlocks; ++i)
            FreeRaw(AllocRaw(10));
        return g_BlocksOut;
    };
    const u64 before = use();
    return FirstFalse({before > 0, use() == before});
}

constexpr int (*kTrackerCases[])() = {&WhatTheTrackerCannotRecordIsNotAllocated,
                                      &WhatTheTrackerCannotServeIsNotRecorded,
                                      &OfWhatIsFreedTheTrackerKeepsNoMoreAndMore};

constexpr SProcessCase kCases[] = {
    {"AGrowthThatIsRefusedLeavesASmallBlockAsItIs", &AGrowthThatIsRefusedLeavesASmallBlockAsItIs},
    {"ABlockWhoseShrinkingIsRefusedStaysWhereItIs", &ABlockWhoseShrinkingIsRefusedStaysWhereItIs},
    {"AGrowthThatIsRefusedLeavesALargeBlockAsItIs", &AGrowthThatIsRefusedLeavesALargeBlockAsItIs},
    {"AThreadWithoutMemoryForItsCacheGoesOnWithoutOne", &AThreadWithoutMemoryForItsCacheGoesOnWithoutOne},
    {"AThreadThatCanHaveNoCacheTriesAgainAfterAsLong", &AThreadThatCanHaveNoCacheTriesAgainAfterAsLong},
    {"WhatThePlatformCannotBeAskedForItIsNotAskedFor", &WhatThePlatformCannotBeAskedForItIsNotAskedFor},
    {"ThePlatformIsAskedForExactSizes", &ThePlatformIsAskedForExactSizes},
    {"WhatAllBlocksHaveOfAlignmentThePlatformIsNotAskedFor", &WhatAllBlocksHaveOfAlignmentThePlatformIsNotAskedFor},
    {"ABlockOfLargerAlignmentIsResizedAsAWholeOrNotAtAll", &ABlockOfLargerAlignmentIsResizedAsAWholeOrNotAtAll},
    {"AddressesThatAreRefusedAreAskedForFourTimesWhileOthersRun",
     &AddressesThatAreRefusedAreAskedForFourTimesWhileOthersRun},
    {"AThreadWhoseEndNobodyTellsOfHasNoCache", &AThreadWhoseEndNobodyTellsOfHasNoCache},
    {"NoThreadHasACacheWhereNoKeyIsLeft", &NoThreadHasACacheWhereNoKeyIsLeft},
    {"TheFirstThreadMayEndBeforeTheProcess", &TheFirstThreadMayEndBeforeTheProcess},
    {"WhicheverLockIsRefusedMakingReadySaysSo", &WhicheverLockIsRefusedMakingReadySaysSo},
    {"WhatIsNotToBeLockedIsNotLocked", &WhatIsNotToBeLockedIsNotLocked},
    {"ThePlacesFollowFromWhatTheSystemGivesTheProcess", &ThePlacesFollowFromWhatTheSystemGivesTheProcess},
    {"WithoutWordsByChanceTheyDifferByTheProcessAndByTheTime", &WithoutWordsByChanceTheyDifferByTheProcessAndByTheTime},
    {"EachWordIsByChance", &EachWordIsByChance},
    {"WhoWaitsYieldsAtFirstAndPausesThen", &WhoWaitsYieldsAtFirstAndPausesThen},
    {"ALockIsAskedForUntilItIsFree", &ALockIsAskedForUntilItIsFree},
    {"WhatIsInUseIsLockedAndWhatComesIntoUseLater", &WhatIsInUseIsLockedAndWhatComesIntoUseLater},
    {"WhatMayNotBeLockedOnceIsNotTriedAgainLater", &WhatMayNotBeLockedOnceIsNotTriedAgainLater},
    {"AProcessToWhichTheSystemGivesNoChanceUsesStrings", &AProcessToWhichTheSystemGivesNoChanceUsesStrings},
    {"WhereAddressesAreHintsThePlatformServes", &WhereAddressesAreHintsThePlatformServes},
    {"WherePagesAreLargeSlabsHaveNoGuards", &WherePagesAreLargeSlabsHaveNoGuards},
    {"AProcessInWhichValgrindIsPreloadedIsWatched", &AProcessInWhichValgrindIsPreloadedIsWatched},
    {"WhereAToolWatchesNothingInFrontOfABlockIsRead", &WhereAToolWatchesNothingInFrontOfABlockIsRead},
    {"AProcessInWhichSomethingElseIsPreloadedIsNotWatched", &AProcessInWhichSomethingElseIsPreloadedIsNotWatched},
    {"WherePagesAreLargeTheCopiesFindWhatTheyShare", &WherePagesAreLargeTheCopiesFindWhatTheyShare},
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

int RunTrackerCases()
{
    for (int (*const run)() : kTrackerCases)
        if (const int answer = RunInCopy(run))
            return answer;
    return 0;
}

} // namespace

int main()
{
    if (kTracks)
        return RunTrackerCases();
    return HaveCaches() ? RunCases(kCases) : kCaseSkipped;
}

#endif
