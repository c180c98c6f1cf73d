#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "kr_atomic.h"
#include "thread_team.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

constexpr u32 kThreads = 4;
constexpr u32 kRounds = 20000;

} // namespace

TEST(AtomicThreads, NoIncrementIsLost)
{
    TAtomic<u32> value;
    RunTeam(kThreads,
            [&](u32)
            {
                for (u32 i = 0; i < kRounds; ++i)
                {
                    value.Inc();
                    value.Add(3);
                    value.FetchInc();
                    value.FetchAdd(2);
                }
            });
    EXPECT_EQ(value.Load(), 7 * kThreads * kRounds);
    RunTeam(kThreads,
            [&](u32)
            {
                for (u32 i = 0; i < kRounds; ++i)
                {
                    value.Dec();
                    value.Sub(3);
                    value.FetchDec();
                    value.FetchSub(2);
                }
            });
    EXPECT_EQ(value.Load(), 0u);
}

TEST(AtomicThreads, EveryFetchIncSeesAValueOfItsOwn)
{
    TAtomic<u32> value;
    std::vector<std::vector<u32>> seen(kThreads);
    RunTeam(kThreads,
            [&](u32 thread)
            {
                for (u32 i = 0; i < kRounds; ++i)
                    seen[thread].push_back(value.FetchInc());
            });
    std::vector<bool> taken(kThreads * kRounds, false);
    for (const std::vector<u32> &ofThread : seen)
        for (const u32 number : ofThread)
        {
            ASSERT_LT(number, kThreads * kRounds);
            EXPECT_FALSE(taken[number]) << number;
            taken[number] = true;
        }
}

TEST(AtomicThreads, BitsOfOthersStay)
{
    TAtomic<u32> value;
    RunTeam(kThreads,
            [&](u32 thread)
            {
                const u32 mine = 1u << thread;
                const u32 minesToo = 0x100u << thread;
                for (u32 i = 0; i < kRounds; ++i)
                {
                    value.Or(mine);
                    value.And(~mine);
                    value.Xor(minesToo);
                    value.FetchOr(mine);
                    value.FetchAnd(~mine);
                    value.FetchXor(minesToo);
                }
                value.Or(mine);
            });
    EXPECT_EQ(value.Load(), (1u << kThreads) - 1);
}

TEST(AtomicThreads, SetValueIfEqualToLetsOneThreadWin)
{
    TAtomic<u32> value;
    std::vector<u32> wins(kThreads, 0);
    RunTeam(kThreads,
            [&](u32 thread)
            {
                for (u32 round = 0; round < kRounds; ++round)
                    if (value.SetValueIfEqualTo(round + 1, round))
                        ++wins[thread];
                    else
                        while (value.Load() <= round)
                            std::this_thread::yield();
            });
    u32 sum = 0;
    for (const u32 count : wins)
        sum += count;
    EXPECT_EQ(sum, kRounds);
    EXPECT_EQ(value.Load(), kRounds);
}

TEST(AtomicThreads, ASwappedTokenIsNeverDoubled)
{
    TAtomic<u32> place(1);
    TAtomic<u32> holders;
    TAtomic<u32> tooMany;
    RunTeam(kThreads,
            [&](u32)
            {
                for (u32 i = 0; i < kRounds; ++i)
                    if (place.Swap(0) == 1)
                    {
                        if (holders.Inc() != 1)
                            tooMany.Inc();
                        holders.Dec();
                        place.Store(1);
                    }
            });
    EXPECT_EQ(tooMany.Load(), 0u);
    EXPECT_EQ(place.Load(), 1u);
}

// The plain value has no order of its own: the thread sanitizer fails the test if the atomic gave it none.
TEST(AtomicThreads, WhatWasWrittenBeforeAStoreIsSeenAfterTheLoad)
{
    for (u32 round = 0; round < 200; ++round)
    {
        TAtomic<u32> ready;
        u32 plain = 0;
        u32 seen = 0;
        RunTeam(2,
                [&](u32 thread)
                {
                    if (thread == 0)
                    {
                        plain = round + 1;
                        ready.Store(1);
                        return;
                    }
                    while (ready.Load() == 0)
                        std::this_thread::yield();
                    seen = plain;
                });
        ASSERT_EQ(seen, round + 1);
    }
}

} // namespace QuorvaneTest
