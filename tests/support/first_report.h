// What an operation reports first, for those that cannot go on behind the report.
#pragma once

#include <cstring>

#include "kr_assert.h"
#include "process_copy.h"
#include "test_port.h"

#if QV_TEST_HAS_FORK
#include <unistd.h>
#endif

namespace QuorvaneTest
{

// Whether the expression is what `body` reports first: in a copy of this process, which ends there. Only where there are
// such copies (QV_TEST_HAS_FORK), and where plain assertions report (kSitesReport).
template <typename Body>
bool ReportsFirst(const char *expression, const Body &body)
{
#if QV_TEST_HAS_FORK
    constexpr int kIsIt = 42;
    static const char *expected;
    expected = expression;
    const auto handle = [](const char *, const char *, int, const char *reported, const char *, const char *) -> int
    { _exit(std::strcmp(reported, expected) == 0 ? kIsIt : 1); };
    return RunInCopy(
               [&]
               {
                   Quorvane::Assert::SetHandler(handle);
                   body();
                   return 0;
               }) == kIsIt;
#else
    static_cast<void>(expression), static_cast<void>(body);
    return false;
#endif
}

} // namespace QuorvaneTest
