// The main function of the test programs. Tests run in the locale of the environment: the library must not care.
// With QV_TEST_NO_WIDE in the environment they run without the wide vector code, with QV_TEST_NO_WIDEST without the
// widest, but for what asks for it itself: not where the library is a shared one, which does not show that switch.
#include <clocale>
#include <cstdlib>

#include <gtest/gtest.h>

#include "kr_simd/simd_machine.h"

namespace
{

// Puts the environment's locale back before each test: some tests format, which leaves the process in the "C" locale.
class CLocaleKeeper : public ::testing::EmptyTestEventListener
{
public:
    void OnTestStart(const ::testing::TestInfo &) override { std::setlocale(LC_ALL, ""); }
};

} // namespace

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
    ::testing::UnitTest::GetInstance()->listeners().Append(new CLocaleKeeper);
    return RUN_ALL_TESTS();
}
