// Finds out once what the machine has.
#include "simd_wide.h"

namespace Quorvane::Internal
{

#if QV_SIMD_HAS_WIDE

QV_INTERNAL_CONSTINIT std::atomic<u8> g_WideInstructions = {WideInstructions_Unknown};

bool DetectWideInstructions()
{
    // The compiler's questions cover the system's share, too: whether it keeps the wide registers of a thread. They may
    // come before the constructor that prepares them has run.
    __builtin_cpu_init();
#define QV_SIMD_ASK(name) __builtin_cpu_supports(name)
#define QV_SIMD_ASK_FURTHER(name) &&__builtin_cpu_supports(name)
    const bool present = QV_SIMD_WIDE_EXTENSIONS(QV_SIMD_ASK, QV_SIMD_ASK_FURTHER);
#undef QV_SIMD_ASK_FURTHER
#undef QV_SIMD_ASK
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

} // namespace Quorvane::Internal
