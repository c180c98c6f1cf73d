// What the test programs do around each of their tests.
#pragma once

#include <clocale>

#include <gtest/gtest.h>

#include "kr_assert.h"

namespace QuorvaneTest
{

// A report that no recorder expects fails the test, instead of going by on the standard error stream.
inline int FailUnexpectedReport(const char *file, const char *function, int line, const char *expression, const char *,
                                const char *message)
{
    ADD_FAILURE() << file << ":" << line << ": " << function << ": unexpected report: " << expression << " "
                  << (message != nullptr ? message : "");
    return Quorvane::Assert::Internal::Answer_Continue;
}

// Puts the environment's locale back before each test: some tests format, which leaves the process in the "C" locale.
class CTestSetUp : public ::testing::EmptyTestEventListener
{
public:
    void OnTestStart(const ::testing::TestInfo &) override
    {
        std::setlocale(LC_ALL, "");
        Quorvane::Assert::SetHandler(&FailUnexpectedReport);
    }
    // The listeners of GoogleTest print at the end of a test, and what they allocate is no test's business.
    void OnTestEnd(const ::testing::TestInfo &) override { Quorvane::Assert::SetHandler(nullptr); }
};

} // namespace QuorvaneTest
