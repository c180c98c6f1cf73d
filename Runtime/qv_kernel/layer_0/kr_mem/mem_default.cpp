// The default allocator: the platform's own, without bookkeeping.
#include "mem_default.h"

#include "mem_port.h"

#if !defined(QV_MEM_TRACKING) || !QV_MEM_TRACKING

namespace Quorvane::Mem
{

namespace Internal
{

void *DefaultAlloc(u64 size, u32 alignment, EAllocType, EOrigin, const char *, const char *, u32, const char *)
{
    return PortAlloc(size, alignment);
}

void *DefaultRealloc(void *block, u64 newSize, u32 alignment, EAllocType, const char *, const char *, u32, const char *)
{
    return PortRealloc(block, newSize, alignment);
}

void DefaultFree(void *block, EAllocType, EOrigin, const char *, const char *, u32, const char *)
{
    PortFree(block);
}

} // namespace Internal

bool LiveFigures(const char *, SFigures &outFigures)
{
    outFigures = SFigures{0, 0};
    return false;
}

} // namespace Quorvane::Mem

#endif
