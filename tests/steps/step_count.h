// Counts the steps that operations take, in a program whose sources, the library's among them, are compiled with the
// compiler's calls for coverage: one for each block of code that runs. A block is code without a branch into it or out of
// it, so what runs in a loop takes at least a step each time round. What routines of the platform read or write is
// counted, too: a step for each 16 bytes, by functions that the linker puts before them.
//
// A bound of steps holds on every machine and under every load, which a bound of time does not.
#pragma once

#include <string>

#include "qv_defs.h"

namespace QuorvaneTest
{

// Counting, from the second to the third; the first is what counts.
void AddSteps(Quorvane::u64 steps);
void BeginCountingSteps();
Quorvane::u64 EndCountingSteps();

template <typename Operation>
Quorvane::u64 StepsOf(const Operation &operation)
{
    BeginCountingSteps();
    operation();
    return EndCountingSteps();
}

// Expects `steps` to be at most `bound`, and keeps of each operation the input that came nearest to it. What was kept is
// printed when all tests have run.
void ExpectSteps(const std::string &operation, const std::string &input, Quorvane::u64 steps, Quorvane::u64 bound);

} // namespace QuorvaneTest
