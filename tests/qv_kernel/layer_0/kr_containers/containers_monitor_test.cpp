#include <gtest/gtest.h>

#include "kr_containers_array.h"

namespace QuorvaneTest
{

using namespace Quorvane;

TEST(ContainersMonitor, IsOffUnlessSwitchedOn)
{
    EXPECT_FALSE(g_KRContainersConfig_MonitorTArrays);
}

TEST(ContainersMonitor, CountsMovementsAndSumsTheirBytes)
{
    CContainersMonitorTArrays::Reset();
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 0u);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), 0);
    CContainersMonitorTArrays::RegisterNewMemoryMovement(100);
    CContainersMonitorTArrays::RegisterNewMemoryMovement(-30);
    CContainersMonitorTArrays::RegisterNewMemoryMovement(0);
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 3u);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), 70);
}

TEST(ContainersMonitor, TheSumMayBeNegativeAndBeyond32Bits)
{
    CContainersMonitorTArrays::Reset();
    CContainersMonitorTArrays::RegisterNewMemoryMovement(-5000000000ll);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), -5000000000ll);
    CContainersMonitorTArrays::RegisterNewMemoryMovement(15000000000ll);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), 10000000000ll);
}

TEST(ContainersMonitor, ResetBeginsAnew)
{
    CContainersMonitorTArrays::RegisterNewMemoryMovement(7);
    CContainersMonitorTArrays::Reset();
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 0u);
    EXPECT_EQ(CContainersMonitorTArrays::NetBytes(), 0);
}

// Registering is possible whatever the switch says: it is the arrays that ask it.
TEST(ContainersMonitor, TheSwitchIsTheArraysBusiness)
{
    CContainersMonitorTArrays::Reset();
    ASSERT_FALSE(g_KRContainersConfig_MonitorTArrays);
    CContainersMonitorTArrays::RegisterNewMemoryMovement(1);
    EXPECT_EQ(CContainersMonitorTArrays::MovementCount(), 1u);
    CContainersMonitorTArrays::Reset();
}

} // namespace QuorvaneTest
