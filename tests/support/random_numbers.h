// Numbers by a linear congruence: the same in every run and on every machine, and quick to have.
#pragma once

#include "qv_defs.h"

namespace QuorvaneTest
{

// The next state, whose upper bits are the better ones (Press et al., Numerical Recipes, 7.1).
inline Quorvane::u32 NextRandomState(Quorvane::u32 state)
{
    using namespace Quorvane::Internal;
    return WrappingSum(WrappingProduct(state, 1664525u), 1013904223u);
}

// The same of 64 bits (Knuth's MMIX).
inline Quorvane::u64 NextRandomState(Quorvane::u64 state)
{
    using namespace Quorvane::Internal;
    return WrappingSum<Quorvane::u64>(WrappingProduct<Quorvane::u64>(state, 6364136223846793005u),
                                      1442695040888963407u);
}

} // namespace QuorvaneTest
