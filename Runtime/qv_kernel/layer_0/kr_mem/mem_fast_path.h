// The inline fast path for small blocks, for the library's own hot paths: `_RawAlloc` and `_RawFree` inline.
//
// While the default allocator is installed, a small block is taken from the calling thread's cache and put back there
// in a few instructions. With any other allocator, and for every other block, these functions are `_RawAlloc` and
// `_RawFree` to the last argument. Blocks do not remember which path they took: all of kr_mem.h may free and resize them.
//
// For services of the library, as "../kr_mem/mem_fast_path.h"; any thread may call. All variables are hidden: a process
// may hold several copies of the library, in its program and in its plugins, and each works with its own.
//
//     void *block = Mem::Internal::AllocBlock(size, 16, type, origin, QV_INTERNAL_MEM_SITE);
//     Mem::Internal::FreeBlock(block, size, type, origin, QV_INTERNAL_MEM_SITE);
#pragma once

#include "kr_mem.h"

#include "mem_large.h"
#include "mem_membership.h"
#include "mem_slab_records.h"
#include "mem_thread_cache.h"

namespace Quorvane::Mem::Internal
{

// Allocates as `_RawAlloc` does. Requires: `alignment` is 0 or a power of two.
inline void *AllocBlock(u64 size, u32 alignment, EAllocType type, EOrigin origin, const char *tag, const char *file,
                        u32 line, const char *function)
{
    if (TakesFastPath(size, alignment))
        return AllocFast(size);
    return _RawAlloc(size, alignment, type, origin, tag, file, line, function);
}

// Frees as `_RawFree` does; null is ignored.
// Requires: `size` is what the block was allocated with, and it was never resized.
inline void FreeBlock(void *block, u64 size, EAllocType type, EOrigin origin, const char *tag, const char *file,
                      u32 line, const char *function)
{
    if (QV_INTERNAL_LIKELY(size <= kMaxSmallBytes) && IsKnownSmallBlock(block))
        return FreeFast(block, SmallClass(size));
    _RawFree(block, type, origin, tag, file, line, function);
}

// Whether a block that grows to `newSize` would stay where it is, as it is, so that `_RawRealloc` need not be asked.
inline bool HasRoomToGrow(void *block, u64 newSize)
{
    if (!UsesFastPath() || block == nullptr)
        return false;
    if (IsSmallBlock(block))
        return newSize <= ClassBytes(ClassOfSmallBlock(block));
    return LargeBlocksHaveHeads() && HasHead(block) && newSize <= HeadOf(block).m_Room;
}

} // namespace Quorvane::Mem::Internal
