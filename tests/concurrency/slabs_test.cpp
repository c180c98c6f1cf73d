// The default allocator's heap and the caches of threads, in every execution of small programs; and which orders they need.
#include <gtest/gtest.h>

#include "cache_programs.h"
#include "slab_programs.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

template <typename TStep>
std::vector<std::vector<TStep>> StepsOf(const std::vector<std::string> &threads, const std::string &letters)
{
    std::vector<std::vector<TStep>> steps;
    for (const std::string &thread : threads)
    {
        steps.emplace_back();
        for (const char letter : thread)
            steps.back().push_back(static_cast<TStep>(letters.find(letter)));
    }
    return steps;
}

SHeapUse Heap(const std::vector<std::string> &threads, u32 held, u32 others = 0, u32 idleSlabs = 0)
{
    SHeapUse use;
    use.m_Threads = StepsOf<EHeapStep>(threads, kHeapLetters);
    use.m_Held = held;
    use.m_Others = others;
    use.m_IdleSlabs = idleSlabs;
    return use;
}

std::string FaultOfHeap(const SHeapUse &use, const std::vector<SMistake> &mistakes = {})
{
    SOptions options;
    options.m_Mistakes = mistakes;
    // There, threads ask again for some rounds at most, and then go on without.
    options.m_YieldsWait = false;
    return Explore(*MakeHeapProgram(use), options).m_Fault;
}

std::string FaultOfSets(const std::vector<std::string> &threads, const std::vector<SMistake> &mistakes = {})
{
    SOptions options;
    options.m_Mistakes = mistakes;
    const std::vector<SSetSteps> steps = StepsOf<ESetStep>(threads, kSetLetters);
    return Explore(*MakeSetProgram(steps), options).m_Fault;
}

std::string FaultOfCaches(const std::vector<std::string> &threads, const std::vector<SMistake> &mistakes = {})
{
    SOptions options;
    options.m_Mistakes = mistakes;
    const std::vector<SCacheSteps> steps = StepsOf<ECacheStep>(threads, kCacheLetters);
    return Explore(*MakeCacheProgram(steps), options).m_Fault;
}

// All but so many blocks of a slab are out, besides those that threads hold.
constexpr u32 AllBut(u32 blocks)
{
    return kBlocksOfLargestClass - blocks;
}

// The state of a slab, and the words of the sets.
constexpr u32 kStateBytes = 4;
constexpr u32 kSetBytes = 8;

} // namespace

// ---- The heap ----------------------------------------------------------------------------------------------------------

TEST(SlabExecutions, BlocksOfOneSlabComeBackFromSeveralThreads)
{
    EXPECT_EQ(FaultOfHeap(Heap({"G", "G", "G"}, 1, 4)), "");
    EXPECT_EQ(FaultOfHeap(Heap({"GG", "GG"}, 2, 4)), "");
}

TEST(SlabExecutions, TheLastBlocksOfASlabRetireItOnce)
{
    EXPECT_EQ(FaultOfHeap(Heap({"G", "G"}, 1)), "");
    EXPECT_EQ(FaultOfHeap(Heap({"G", "G", "G"}, 1)), "");
    EXPECT_EQ(FaultOfHeap(Heap({"GG", "GG"}, 2)), "");
    EXPECT_EQ(FaultOfHeap(Heap({"GGTG", "GG"}, 2)), "");
}

TEST(SlabExecutions, ASlabIsTakenFromWhileItsLastBlockComesBack)
{
    EXPECT_EQ(FaultOfHeap(Heap({"G", "T"}, 1)), "");
    EXPECT_EQ(FaultOfHeap(Heap({"G", "G", "T"}, 1)), "");
    EXPECT_EQ(FaultOfHeap(Heap({"TG", "G"}, 1)), "");
}

TEST(SlabExecutions, ASlabThatAllBlocksOfAreOutIsFoundAgain)
{
    EXPECT_EQ(FaultOfHeap(Heap({"G", "G"}, 1, AllBut(2))), "");
    EXPECT_EQ(FaultOfHeap(Heap({"G", "T"}, 1, AllBut(2))), "");
    EXPECT_EQ(FaultOfHeap(Heap({"GT", "G"}, 1, AllBut(2))), "");
    EXPECT_EQ(FaultOfHeap(Heap({"GT", "T"}, 1, AllBut(3))), "");
}

// One slab is mapped then; `./run concurrency` has the case of two, of which the other thread finds one.
TEST(SlabExecutions, TwoThreadsTakeWhereMoreHasToBeMapped)
{
    EXPECT_EQ(FaultOfHeap(Heap({"T", "T"}, 0)), "");
}

TEST(SlabExecutions, ABlockGoesBackFromTheThreadThatItWasHandedTo)
{
    EXPECT_EQ(FaultOfHeap(Heap({"HG", "HG"}, 1)), "");
    EXPECT_EQ(FaultOfHeap(Heap({"HGT", "HG"}, 1)), "");
}

// Nine are idle, and eight are kept.
TEST(SlabExecutions, IdleSlabsAreGivenToTheSystemWhileOthersTakeThem)
{
    EXPECT_EQ(FaultOfHeap(Heap({"L", "L"}, 0, 0, 9)), "");
    EXPECT_EQ(FaultOfHeap(Heap({"L", "T"}, 0, 0, 9)), "");
    EXPECT_EQ(FaultOfHeap(Heap({"GL", "G"}, 1, 0, 8)), "");
}

// ---- The sets ----------------------------------------------------------------------------------------------------------

TEST(SetExecutions, WhatIsPutIsFoundWhileAnotherThreadClearsTheHint)
{
    EXPECT_EQ(FaultOfSets({"P", "A"}), "");
    EXPECT_EQ(FaultOfSets({"P", "P", "A"}), "");
    EXPECT_EQ(FaultOfSets({"P", "C", "A"}), "");
}

TEST(SetExecutions, ASlabIsClaimedByOneThread)
{
    EXPECT_EQ(FaultOfSets({"PAP", "AP"}), "");
    EXPECT_EQ(FaultOfSets({"PC", "PC"}), "");
}

// ---- The caches of threads ---------------------------------------------------------------------------------------------

TEST(CacheExecutions, ThreadsEndAtTheSameTime)
{
    EXPECT_EQ(FaultOfCaches({"E", "E"}), "");
    EXPECT_EQ(FaultOfCaches({"FE", "FE"}), "");
}

TEST(CacheExecutions, ABlockIsFreedByTheThreadThatItWasHandedTo)
{
    EXPECT_EQ(FaultOfCaches({"AH", "HF"}), "");
    EXPECT_EQ(FaultOfCaches({"FHE", "FHE"}), "");
    EXPECT_EQ(FaultOfCaches({"AHE", "FAE"}), "");
}

// ---- Mistakes ----------------------------------------------------------------------------------------------------------

TEST(SlabMistakes, AListOfReturnedBlocksWithoutOrderIsFound)
{
    EXPECT_NE(FaultOfHeap(Heap({"GT", "G"}, 1), {{Mistake_OnlyAcquire, Access_CompareExchange, kStateBytes}}), "");
    EXPECT_NE(FaultOfHeap(Heap({"GT", "G"}, 1), {{Mistake_Relaxed, Access_And, kStateBytes}}), "");
}

TEST(SlabMistakes, AnExchangeThatIsNotAtomicIsFound)
{
    EXPECT_NE(FaultOfHeap(Heap({"G", "G"}, 1), {{Mistake_NotAtomic, Access_CompareExchange, kStateBytes}}), "");
    EXPECT_NE(FaultOfHeap(Heap({"G", "T"}, 1), {{Mistake_NotAtomic, Access_Add, kStateBytes}}), "");
}

TEST(SlabMistakes, AClaimWithoutOrderIsFound)
{
    EXPECT_NE(FaultOfHeap(Heap({"GT", "G"}, 1), {{Mistake_OnlyRelease, Access_And, kSetBytes}}), "");
    EXPECT_NE(FaultOfHeap(Heap({"GT", "G"}, 1), {{Mistake_OnlyAcquire, Access_Or, kSetBytes}}), "");
    EXPECT_NE(FaultOfSets({"PAP", "AP"}, {{Mistake_NotAtomic, Access_And, kSetBytes}}), "");
}

// Who puts a slab modifies the set and then reads the hints; who clears a hint does it the other way round. Only one order
// of all four makes one of them see the other.
TEST(SlabMistakes, HintsAndSetsWithoutOneOrderAreFound)
{
    EXPECT_NE(FaultOfSets({"P", "A"}, {{Mistake_NotSequential, Access_Load, kSetBytes}}), "");
    EXPECT_NE(FaultOfSets({"P", "A"}, {{Mistake_NotSequential, Access_Or, kSetBytes}}), "");
    EXPECT_NE(FaultOfSets({"P", "A"}, {{Mistake_NotSequential, Access_And, kSetBytes}}), "");
}

// Of a slab's state, what acquires is there twice: each of these alone is not missed.
TEST(SlabMistakes, WhatAcquiresTwiceIsFoundWhereNeitherDoes)
{
    const SMistake load = {Mistake_Relaxed, Access_Load, kStateBytes};
    const SMistake exchange = {Mistake_OnlyRelease, Access_CompareExchange, kStateBytes};
    EXPECT_EQ(FaultOfHeap(Heap({"GT", "G"}, 1), {load}), "");
    EXPECT_EQ(FaultOfHeap(Heap({"GT", "G"}, 1), {exchange}), "");
    EXPECT_NE(FaultOfHeap(Heap({"GT", "G"}, 1), {load, exchange}), "");
}

TEST(SlabMistakes, ALockWithoutOrderIsFound)
{
    EXPECT_NE(FaultOfCaches({"E", "E"}, {{Mistake_Relaxed, Access_Store, kStateBytes}}), "");
    EXPECT_NE(FaultOfCaches({"E", "E"}, {{Mistake_OnlyRelease, Access_CompareExchange, kStateBytes}}), "");
}

} // namespace QuorvaneTest::Concurrency
