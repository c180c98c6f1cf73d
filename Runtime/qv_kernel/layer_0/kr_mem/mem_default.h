// The default allocator, as the hook sees it. mem_default.cpp gives small blocks from the threads' caches and others from
// the platform; a build with QV_MEM_TRACKING gives the platform's blocks through the tracker of mem_tracking.cpp.
#pragma once

#include "kr_mem.h"

#include "mem_slabs.h"
#include "mem_thread_cache.h"

namespace Quorvane::Mem::Internal
{

void *DefaultAlloc(u64 size, u32 alignment, EAllocType type, EOrigin origin, const char *tag, const char *file,
                   u32 line, const char *function);
void *DefaultRealloc(void *block, u64 newSize, u32 alignment, EAllocType type, const char *tag, const char *file,
                     u32 line, const char *function);
void DefaultFree(void *block, EAllocType type, EOrigin origin, const char *tag, const char *file, u32 line,
                 const char *function);

// Frees a small block, or any block, not null, whose size nobody tells.
// Reports "allocated" for a pointer that is no block, and "!freed" for a block that was freed already and not taken
// again since; both are left alone.
inline void FreeSmallByAddress(void *block)
{
    const u32 sizeClass = ClassOfSmallBlock(block);
    if (QV_ASSERTS && QV_INTERNAL_UNLIKELY(!IsBlock(block, sizeClass)))
        return ReportForeign(block);
    FreeFast(block, sizeClass);
}

inline void FreeByAddress(void *block)
{
    if (QV_INTERNAL_UNLIKELY(!IsSmallBlock(block)))
        return FreeSlow(block);
    FreeSmallByAddress(block);
}

} // namespace Quorvane::Mem::Internal
