// What each test begins with.
#include "test_set_up.h"

#include <gtest/gtest-spi.h>

#include "assert_recorder.h"

namespace QuorvaneTest
{

TEST(TestSetUp, AReportThatNobodyExpectsFailsTheTest)
{
    EXPECT_NONFATAL_FAILURE(Quorvane::Assert::EvalAssert("x.cpp", "F", 7, "a == b", "", ""),
                            "x.cpp:7: F: unexpected report: a == b");
}

TEST(TestSetUp, AReportThatIsRecordedDoesNot)
{
    const CAssertRecorder recorder;
    Quorvane::Assert::EvalAssert("x.cpp", "F", 7, "a == b", "", "");
    EXPECT_EQ(recorder.Count(), 1u);
}

} // namespace QuorvaneTest
