// Finds out once what the machine has.
#include "simd_machine.h"

namespace Quorvane::Internal::Simd
{

#if QV_SIMD_HAS_WIDE

QV_INTERNAL_CONSTINIT std::atomic<u8> g_WideInstructions = {WideInstructions_Unknown};

u8 DetectWideInstructions() noexcept QV_NONBLOCKING
{
    __builtin_cpu_init();
    u8 found = WideInstructions_Missing;
    if (QV_SIMD_MACHINE_HAS(QV_SIMD_WIDEST_EXTENSIONS))
        found = WideInstructions_Widest;
    else if (QV_SIMD_MACHINE_HAS(QV_SIMD_WIDE_EXTENSIONS))
        found = WideInstructions_Present;
    g_WideInstructions.store(found, std::memory_order_relaxed);
    return found;
}

bool AllowWideInstructions(bool allowed)
{
    if (allowed)
        DetectWideInstructions();
    else
        g_WideInstructions.store(WideInstructions_Missing, std::memory_order_relaxed);
    return HasWideInstructions();
}

bool AllowWidestInstructions(bool allowed)
{
    const u8 found = DetectWideInstructions();
    if (!allowed && found == WideInstructions_Widest)
        g_WideInstructions.store(WideInstructions_Present, std::memory_order_relaxed);
    return HasWidestInstructions();
}

#else

bool AllowWideInstructions(bool)
{
    return false;
}

bool AllowWidestInstructions(bool)
{
    return false;
}

#endif

} // namespace Quorvane::Internal::Simd
