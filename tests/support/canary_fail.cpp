// The canary: a test that fails on purpose. The build expects its program to fail; when it passes, the harness no
// longer notices failures, and no other result can be trusted.
#include <gtest/gtest.h>

TEST(Canary, FailsOnPurpose)
{
    EXPECT_TRUE(false) << "this failure is the expected one";
}
