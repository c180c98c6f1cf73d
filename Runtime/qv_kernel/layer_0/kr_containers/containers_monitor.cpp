// The monitor of the arrays' memory movements.
#include "kr_containers_array.h"

#include "kr_atomic.h"

namespace Quorvane
{

static_assert(sizeof(TArray<u8>) == sizeof(void *) + 8, "an array is the address of its elements and two counts");

namespace
{

// Each is exact by itself; between the two updates of a movement a reader may see one without the other.
QV_INTERNAL_CONSTINIT TAtomic<u64> g_MovementCount;
QV_INTERNAL_CONSTINIT TAtomic<s64> g_NetBytes;

} // namespace

QV_INTERNAL_CONSTINIT bool g_KRContainersConfig_MonitorTArrays = false;

void CContainersMonitorTArrays::RegisterNewMemoryMovement(s64 bytes) noexcept QV_NONBLOCKING
{
    g_MovementCount.Inc();
    g_NetBytes.Add(bytes);
}

u64 CContainersMonitorTArrays::MovementCount() noexcept QV_NONBLOCKING
{
    return g_MovementCount.Load();
}

s64 CContainersMonitorTArrays::NetBytes() noexcept QV_NONBLOCKING
{
    return g_NetBytes.Load();
}

void CContainersMonitorTArrays::Reset() noexcept QV_NONBLOCKING
{
    g_MovementCount.Store(0);
    g_NetBytes.Store(0);
}

} // namespace Quorvane
