// What this process decides about its blocks.
#include "mem_policy.h"

#include "mem_port.h"

namespace Quorvane::Mem::Internal
{

QV_INTERNAL_CONSTINIT TAtomic<u32> g_Policy;
QV_INTERNAL_CONSTINIT TAtomic<ureg> g_MaxFastBytes;

bool IsWatched()
{
    return kTracks || kSanitized || (kHonorsSanitizers && PortIsSanitized()) || PortRunsUnderValgrind();
}

} // namespace Quorvane::Mem::Internal
