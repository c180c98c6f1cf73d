// Runs an operation with its first, second, ... n-th request for memory refused.
#pragma once

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "test_allocator.h"

namespace QuorvaneTest
{

// What `check` learns of a run.
struct SRefusal
{
    Quorvane::u64 m_Nth; // the request refused, counted from 1; 0 in the run in which none is
    bool m_AndAllAfter;  // whether all that followed were refused too
    bool m_Refused;      // whether a request was refused at all; without, the result is the normal one
};

// For n = 0, 1, 2, ... until the operation makes fewer than n requests, and for both "the n-th once" and "all from the
// n-th on":
//     auto state = prepare();              // memory is granted
//     operation(state);                    // the n-th request is refused
//     check(state, refusal, recorder);     // memory is granted again; gtest expectations; reports are recorded
// then everything must have been freed with its own origin, and nothing written outside a block.
// Stops with a failure after 10,000 requests.
template <typename Prepare, typename Operation, typename Check>
void SweepRefusals(const Prepare &prepare, const Operation &operation, const Check &check)
{
    for (const bool andAllAfter : {false, true})
    {
        bool reached = true;
        for (Quorvane::u64 nth = 0; reached; ++nth)
        {
            SCOPED_TRACE(::testing::Message()
                         << "request " << nth << " refused" << (andAllAfter ? ", and all after it" : ""));
            ASSERT_LT(nth, 10000u);
            CTestAllocator allocator;
            CAssertRecorder recorder;
            auto state = prepare();
            recorder.Clear();
            if (andAllAfter)
                allocator.RefuseFromNth(nth);
            else
                allocator.RefuseNth(nth);
            operation(state);
            reached = nth == 0 || allocator.HasRefused();
            const SRefusal refusal = {nth, andAllAfter, allocator.HasRefused()};
            allocator.RefuseNth(0);
            check(state, refusal, recorder);
        }
    }
}

} // namespace QuorvaneTest
