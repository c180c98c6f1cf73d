// The main function of the tests of this folder, which use none of the library's fixtures: those would bring the library
// as it is compiled otherwise.
#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
