#include <gtest/gtest.h>

#include "kr_containers_array.h"
#include "thread_team.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

constexpr u32 kThreads = 4;
constexpr u32 kRounds = 5000;

} // namespace

TEST(ContainersMonitorThreads, NoMovementIsLost)
{
    CContainersMonitorTArrays::Reset();
    RunTeam(kThreads,
            [](u32 thread)
            {
                for (u32 i = 0; i < kRounds; ++i)
                {
                    CContainersMonitorTArrays::RegisterNewMemoryMovement(s64(thread) + 2);
                    CContainersMonitorTArrays::RegisterNewMemoryMovement(-1);
                }
            });
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), u64(2) * kThreads * kRounds);
    // 1 + 2 + 3 + 4 a round.
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), s64(10) * kRounds);
}

// Each thread has arrays of its own; what they share is the monitor. An array of 1000 u32 grows ten times: to 9, 23, 44,
// 75, 122, 192, 297, 455, 692, 1047 slots.
TEST(ContainersMonitorThreads, ArraysOfSeveralThreadsReport)
{
    constexpr u32 kArrays = 50;
    CContainersMonitorTArrays::Reset();
    g_KRContainersConfig_MonitorTArrays = true;
    RunTeam(kThreads,
            [](u32)
            {
                for (u32 i = 0; i < kArrays; ++i)
                {
                    TArray<u32> array;
                    for (u32 value = 0; value < 1000; ++value)
                        array.PushBack(std::move(value));
                }
            });
    g_KRContainersConfig_MonitorTArrays = false;
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), u64(10) * kThreads * kArrays);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), s64(1047) * 4 * kThreads * kArrays);
    CContainersMonitorTArrays::Reset();
}

TEST(ContainersMonitorThreads, FiguresMayBeReadAndResetMeanwhile)
{
    CContainersMonitorTArrays::Reset();
    RunTeam(kThreads,
            [](u32 thread)
            {
                for (u32 i = 0; i < kRounds; ++i)
                {
                    if (thread != 0)
                        CContainersMonitorTArrays::RegisterNewMemoryMovement(8);
                    else if (i % 100 == 0)
                        CContainersMonitorTArrays::Reset();
                    EXPECT_LE(CContainersMonitorTArrays::MovementCount(), u64(kThreads) * kRounds);
                    EXPECT_LE(CContainersMonitorTArrays::NetBytes(), s64(8) * kThreads * kRounds);
                }
            });
    CContainersMonitorTArrays::Reset();
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 0u);
}

} // namespace QuorvaneTest
