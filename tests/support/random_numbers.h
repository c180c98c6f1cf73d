// Numbers that look like chance: the same in every run and on every machine, and quick to have.
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

// A stream of numbers of 64 bits, all of whose bits are good, by a seed: those of neighbouring seeds have nothing in common
// that shows (SplitMix64: Steele, Lea and Flood, Fast Splittable Pseudorandom Number Generators, OOPSLA 2014).
class CRandomStream
{
public:
    explicit CRandomStream(Quorvane::u64 seed) : m_State(seed) {}

    Quorvane::u64 operator()()
    {
        using namespace Quorvane::Internal;
        m_State = WrappingSum<Quorvane::u64>(m_State, 0x9E3779B97F4A7C15u);
        Quorvane::u64 mixed = m_State;
        mixed = WrappingProduct<Quorvane::u64>(mixed ^ (mixed >> 30), 0xBF58476D1CE4E5B9u);
        mixed = WrappingProduct<Quorvane::u64>(mixed ^ (mixed >> 27), 0x94D049BB133111EBu);
        return mixed ^ (mixed >> 31);
    }

    // Below `bound`, which is not 0.
    Quorvane::u32 Below(Quorvane::u32 bound) { return static_cast<Quorvane::u32>((*this)() % bound); }

private:
    Quorvane::u64 m_State;
};

} // namespace QuorvaneTest
