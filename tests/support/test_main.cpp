// The main function of the test programs. Tests run in the locale of the environment: the library must not care.
#include <clocale>

#include <gtest/gtest.h>

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
    // The listeners own it.
    ::testing::UnitTest::GetInstance()->listeners().Append(new CLocaleKeeper);
    return RUN_ALL_TESTS();
}
