#include "sample.h"

#define QV_SAMPLE_TWICE(value) ((value) + (value))

namespace Sample
{

static_assert(QV_SAMPLE_TWICE(2) == 4, "only the compiler sees this");

int Clamped(int value, int most)
{
    if (value > most)
        return most;
    return value;
}

bool IsBetween(int value, int least, int most)
{
    return least <= value && value <= most;
}

unsigned CountBits(unsigned value)
{
    constexpr unsigned kOne = 1;
    unsigned count = 0;
    while (value != 0)
    {
        count += value & kOne;
        value >>= 1;
    }
    return count;
}

int NobodyAsks(int value)
{
    return value * 2;
}

} // namespace Sample
