#include "kr_mem/mem_slab_sets.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "random_numbers.h"
#include "test_port.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

// Records of as many chunks as two groups have, and some; the system gives memory to those that are used.
constexpr u32 kChunks = 2 * kBitsPerWord + 3;
constexpr ureg kTestedBytes = (kChunks + 1) * kChunkBytes;

class MemSlabSets : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!kHasSmallRange)
            GTEST_SKIP() << "small blocks are the platform's here";
        m_Memory = MapPages(kTestedBytes, PageAccess_ReadWrite);
        ASSERT_NE(m_Memory, nullptr);
        m_Sets.Begin((reinterpret_cast<ureg>(m_Memory) + kChunkBytes - 1) & ~(kChunkBytes - 1));
    }
    void TearDown() override
    {
        if (m_Memory != nullptr)
            UnmapPages(m_Memory, kTestedBytes);
    }

    void *m_Memory = nullptr;
    CSlabSets m_Sets;
};

} // namespace

TEST_F(MemSlabSets, AnEmptySetHasNone)
{
    for (u32 set = 0; set < kSlabSetCount; ++set)
        EXPECT_EQ(m_Sets.ClaimAny(set), CSlabSets::kNone);
    EXPECT_FALSE(m_Sets.Claim(3, 17));
}

TEST_F(MemSlabSets, WhatWasPutIsClaimedOnce)
{
    m_Sets.Put(3, 17);
    EXPECT_EQ(m_Sets.ClaimAny(2), CSlabSets::kNone);
    EXPECT_EQ(m_Sets.ClaimAny(3), 17u);
    EXPECT_EQ(m_Sets.ClaimAny(3), CSlabSets::kNone);
    m_Sets.Put(3, 17);
    EXPECT_TRUE(m_Sets.Has(3, 17));
    EXPECT_FALSE(m_Sets.Has(3, 16));
    EXPECT_FALSE(m_Sets.Claim(3, 16));
    EXPECT_TRUE(m_Sets.Claim(3, 17));
    EXPECT_FALSE(m_Sets.Claim(3, 17));
    EXPECT_EQ(m_Sets.ClaimAny(3), CSlabSets::kNone);
}

TEST_F(MemSlabSets, TheLowestIsClaimedFirstInEachChunkAndGroup)
{
    std::set<u32> slabs;
    for (u32 i = 0; i < 500; ++i)
        slabs.insert(i * i * 7919u % (kChunks * kSlabsPerChunk));
    slabs.insert(kChunks * kSlabsPerChunk - 1);
    for (const u32 slab : slabs)
        m_Sets.Put(5, slab);
    EXPECT_EQ(m_Sets.Count(5, kChunks), slabs.size());
    for (const u32 slab : slabs)
        ASSERT_EQ(m_Sets.ClaimAny(5), slab);
    EXPECT_EQ(m_Sets.Count(5, kChunks), 0u);
}

TEST_F(MemSlabSets, ARunOfAChunkIsPutAtOnce)
{
    m_Sets.PutRun(kFreshSet, kSlabsPerChunk + 1, kSlabsPerChunk - 1);
    EXPECT_EQ(m_Sets.Count(kFreshSet, kChunks), kSlabsPerChunk - 1);
    for (u32 slab = kSlabsPerChunk + 1; slab < 2 * kSlabsPerChunk; ++slab)
        ASSERT_EQ(m_Sets.ClaimAny(kFreshSet), slab);
    m_Sets.PutRun(kFreshSet, 0, kSlabsPerChunk);
    EXPECT_EQ(m_Sets.Count(kFreshSet, kChunks), kSlabsPerChunk);
}

// Hints of chunks whose slabs were all claimed by number are out of date.
TEST_F(MemSlabSets, HintsThatAreOutOfDateHideNothing)
{
    for (u32 chunk = 0; chunk < 40; ++chunk)
        m_Sets.Put(9, chunk * kSlabsPerChunk);
    for (u32 chunk = 0; chunk < 39; ++chunk)
        EXPECT_TRUE(m_Sets.Claim(9, chunk * kSlabsPerChunk));
    EXPECT_EQ(m_Sets.ClaimAny(9), 39 * kSlabsPerChunk);
    m_Sets.Put(9, 1);
    EXPECT_EQ(m_Sets.ClaimAny(9), 1u);
}

TEST_F(MemSlabSets, ASearchEndsAfterAFixedNumberOfSteps)
{
    for (u32 chunk = 0; chunk < kChunks; ++chunk)
        m_Sets.Put(9, chunk * kSlabsPerChunk);
    for (u32 chunk = 0; chunk < kChunks - 1; ++chunk)
        EXPECT_TRUE(m_Sets.Claim(9, chunk * kSlabsPerChunk));
    // It gives up, and has brought some hints up to date.
    EXPECT_EQ(m_Sets.ClaimAny(9), CSlabSets::kNone);
    u32 searches = 1;
    while (m_Sets.ClaimAny(9) == CSlabSets::kNone && searches < 10)
        ++searches;
    EXPECT_LT(searches, 4u);
}

// Slabs of that many chunks of the second group are put into a set, and all but the last are claimed by number.
TEST_F(MemSlabSets, ASearchPassesSixtyThreeHintsThatAreOutOfDateAndNoMore)
{
    constexpr u32 kGroup = kBitsPerWord * kSlabsPerChunk;
    const auto putBehind = [this](u32 outOfDate)
    {
        for (u32 chunk = 0; chunk <= outOfDate; ++chunk)
            m_Sets.Put(9, kGroup + chunk * kSlabsPerChunk);
        for (u32 chunk = 0; chunk < outOfDate; ++chunk)
            EXPECT_TRUE(m_Sets.Claim(9, kGroup + chunk * kSlabsPerChunk));
        return kGroup + outOfDate * kSlabsPerChunk;
    };
    const u32 last = putBehind(63);
    EXPECT_EQ(m_Sets.ClaimAny(9), last);
    // And one in the first group, whose chunk and whose group have a hint each.
    m_Sets.Put(9, 5);
    EXPECT_TRUE(m_Sets.Claim(9, 5));
    EXPECT_EQ(putBehind(62), last - kSlabsPerChunk);
    EXPECT_EQ(m_Sets.ClaimAny(9), CSlabSets::kNone);
    EXPECT_EQ(m_Sets.ClaimAny(9), last - kSlabsPerChunk);
}

// Where the range is so full that the upper level has another word for them.
TEST_F(MemSlabSets, WhatLiesSixteenGigabytesOnIsFound)
{
    constexpr u32 kFarSlab = kBitsPerWord * kBitsPerWord * kSlabsPerChunk;
    constexpr ureg kFarBytes = kFarSlab * kSlabBytes;
    // Addresses alone, of which two chunks get memory.
    void *const addresses = MapPages(kFarBytes + 2 * kChunkBytes, PageAccess_None);
    if (addresses == nullptr)
        GTEST_SKIP() << "so many addresses are not to be had here";
    char *const base =
        reinterpret_cast<char *>((reinterpret_cast<ureg>(addresses) + kChunkBytes - 1) & ~(kChunkBytes - 1));
    ASSERT_TRUE(ProtectPages(base, kChunkRecordBytes, PageAccess_ReadWrite));
    ASSERT_TRUE(ProtectPages(base + kFarBytes, kChunkRecordBytes, PageAccess_ReadWrite));
    CSlabSets sets;
    sets.Begin(reinterpret_cast<ureg>(base));
    sets.Put(9, kFarSlab + 3);
    EXPECT_EQ(sets.ClaimAny(9), kFarSlab + 3);
    EXPECT_EQ(sets.ClaimAny(9), CSlabSets::kNone);
    UnmapPages(addresses, kFarBytes + 2 * kChunkBytes);
}

// Threads claim and put the slabs of two sets, of several chunks and of both groups. Nobody may get what another one has,
// and in the end all are there.
TEST_F(MemSlabSets, NoSlabIsClaimedByTwoAndNoneGetsLost)
{
    constexpr u32 kSlabs = 24;
    constexpr u32 kRounds = 20000;
    const auto number = [](u32 i) { return (i % 3 == 0 ? i : i * kSlabsPerChunk * 5) % (kChunks * kSlabsPerChunk); };
    const std::unique_ptr<std::atomic<bool>[]> isClaimed(new std::atomic<bool>[kChunks * kSlabsPerChunk]());
    std::set<u32> all;
    for (u32 i = 0; i < kSlabs; ++i)
        if (all.insert(number(i)).second)
            m_Sets.Put(1 + i % 2, number(i));
    std::atomic<bool> isWell(true);
    const auto work = [&](u32 seed)
    {
        for (u32 round = 0; round < kRounds; ++round)
        {
            seed = NextRandomState(seed);
            const u32 set = 1 + (seed >> 30) % 2;
            const u32 slab = (seed >> 29) % 2 == 0 ? m_Sets.ClaimAny(set) : number((seed >> 16) % kSlabs);
            if (slab == CSlabSets::kNone || ((seed >> 29) % 2 != 0 && !m_Sets.Claim(set, slab)))
                continue;
            if (isClaimed[slab].exchange(true))
                isWell = false;
            isClaimed[slab] = false;
            m_Sets.Put(3 - set, slab);
        }
    };
    std::vector<std::thread> threads;
    for (u32 thread = 0; thread < 3; ++thread)
        threads.emplace_back(work, thread + 1);
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_TRUE(isWell);
    std::set<u32> left;
    for (u32 set = 1; set <= 2; ++set)
        for (u32 slab = m_Sets.ClaimAny(set); slab != CSlabSets::kNone; slab = m_Sets.ClaimAny(set))
            EXPECT_TRUE(left.insert(slab).second);
    EXPECT_EQ(left, all);
}

} // namespace QuorvaneTest
