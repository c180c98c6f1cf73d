// The main function of the test programs. Tests run in the locale of the environment: the library must not care. A report
// that no test expects fails the one that is running.
// With QV_TEST_NO_WIDE in the environment they run without the wide vector code, with QV_TEST_NO_WIDEST without the
// widest, but for what asks for it itself: not where the library is a shared one, which does not show that switch.
#include <cstdlib>

#include <gtest/gtest.h>

#include "kr_simd/simd_machine.h"
#include "test_set_up.h"

int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
#if !QV_SHARED
    if (std::getenv("QV_TEST_NO_WIDE") != nullptr)
        Quorvane::Internal::Simd::AllowWideInstructions(false);
    else if (std::getenv("QV_TEST_NO_WIDEST") != nullptr)
        Quorvane::Internal::Simd::AllowWidestInstructions(false);
#endif
    // The listeners own it.
    ::testing::UnitTest::GetInstance()->listeners().Append(new QuorvaneTest::CTestSetUp);
    return RUN_ALL_TESTS();
}
