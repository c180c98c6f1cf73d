// Strings in processes to which the system refuses something, or which it serves as other systems would
// (support/wrapped_system.h). Each case is a process of its own, in which nobody has used a string before.
#if !defined(QV_TEST_WRAPS_SYSTEM)

#include <cstdio>

int main()
{
    std::puts("refusals: no linker here puts other functions before the system's");
    return 77;
}

#else

#include <pthread.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

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
