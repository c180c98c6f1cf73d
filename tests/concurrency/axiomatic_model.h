// The memory model once more, in another way: all graphs that one could draw of a program, of which those are kept that the
// axioms allow. It takes far too long for anything but a few operations, and shares nothing with the exploration that it
// is compared with.
#pragma once

#include <set>
#include <vector>

#include "step_program.h"

namespace QuorvaneTest::Concurrency
{

// The signatures of all executions of a program (CExecutionGraph::Signature).
std::set<std::vector<u32>> ExecutionsByAxioms(const std::vector<SSteps> &threads);

// Two or three threads of up to `maxSteps` operations together, by chance: the same for the same seed.
std::vector<SSteps> StepsByChance(u32 seed, u32 maxSteps);

// Whether the exploration of a program finds exactly the executions of the axioms, each of them once. Adds their number.
bool AgreesWithAxioms(const std::vector<SSteps> &threads, u64 &executions);

} // namespace QuorvaneTest::Concurrency
