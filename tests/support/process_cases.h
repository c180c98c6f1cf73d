// For drivers whose cases need a process each in which nobody has used a string before.
#pragma once

#include <cstddef>
#include <cstdio>

#include "kr_mem/mem_membership.h"
#include "kr_mem/mem_policy.h"
#include "process_copy.h"

namespace QuorvaneTest
{

constexpr int kCaseSkipped = 77;

// Whether threads have caches of small blocks in such a process; elsewhere all blocks are the platform's.
inline bool HaveCaches()
{
    using namespace Quorvane::Mem::Internal;
    return RunInCopy([] { return HasSmallBlocks() && UsesFastPath() ? 0 : 1; }) == 0;
}

struct SProcessCase
{
    const char *m_Name;
    int (*m_Run)(); // answers 0 for success, or kCaseSkipped
};

// What a driver's main() answers. Skips all cases where small blocks are not to be our own: sanitizers need more addresses
// than small limits leave, and their allocators do not go on in a copy of a busy process.
template <std::size_t kCount>
int RunCases(const SProcessCase (&cases)[kCount])
{
    if (!Quorvane::Mem::Internal::kHasSmallRange || Quorvane::Mem::Internal::IsWatched())
        return kCaseSkipped;
    int failed = 0;
    for (const SProcessCase &one : cases)
    {
        const int answer = RunInCopy(one.m_Run);
        if (answer != 0)
            std::printf("%s: %s %d\n", one.m_Name, answer == kCaseSkipped ? "skipped," : "answer", answer);
        // Copies of this process that end by themselves would print it again.
        std::fflush(stdout);
        failed += answer != 0 && answer != kCaseSkipped ? 1 : 0;
    }
    return failed == 0 ? 0 : 1;
}

} // namespace QuorvaneTest
