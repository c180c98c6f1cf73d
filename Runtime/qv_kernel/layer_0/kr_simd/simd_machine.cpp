// Finds out once what the machine has.
#include "simd_machine.h"

namespace Quorvane::Internal::Simd
{

#if QV_SIMD_HAS_WIDE

QV_INTERNAL_CONSTINIT std::atomic<u8> g_WideInstructions = {WideInstructions_Unknown};

bool DetectWideInstructions() noexcept QV_NONBLOCKING
{
    __builtin_cpu_init();
    const bool present = QV_SIMD_MACHINE_HAS(QV_SIMD_WIDE_EXTENSIONS);
    g_WideInstructions.store(present ? WideInstructions_Present : WideInstructions_Missing, std::memory_order_relaxed);
    return present;
}

bool AllowWideInstructions(bool allowed)
{
    if (allowed)
        return DetectWideInstructions();
    g_WideInstructions.store(WideInstructions_Missing, std::memory_order_relaxed);
    return false;
}

#else

bool AllowWideInstructions(bool)
{
    return false;
}

#endif

} // namespace Quorvane::Internal::Simd
