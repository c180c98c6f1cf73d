// The default allocator, as the hook sees it. mem_default.cpp gives small blocks from the threads' caches and others from
// the platform; a build with QV_MEM_TRACKING gives the platform's blocks through the tracker of mem_tracking.cpp.
#pragma once

#include "kr_mem.h"

namespace Quorvane::Mem::Internal
{

void *DefaultAlloc(u64 size, u32 alignment, EAllocType type, EOrigin origin, const char *tag, const char *file,
                   u32 line, const char *function);
void *DefaultRealloc(void *block, u64 newSize, u32 alignment, EAllocType type, const char *tag, const char *file,
                     u32 line, const char *function);
void DefaultFree(void *block, EAllocType type, EOrigin origin, const char *tag, const char *file, u32 line,
                 const char *function);

} // namespace Quorvane::Mem::Internal
