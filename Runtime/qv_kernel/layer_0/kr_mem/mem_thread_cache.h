// Small blocks through the calling thread's cache: the inline fast path, and the doors of the slow one.
//
// A block is taken from the bin of its class and put back there in a few instructions, without a lock. An empty bin is
// refilled from the heap in batches, and a full one gives the heap a batch, or may keep more from then on.
#pragma once

#include "mem_free_block.h"
#include "mem_policy.h"
#include "mem_threads.h"

namespace Quorvane::Mem::Internal
{

// The first address of the range, and how many bytes from there on are known to hold small blocks; there may be more by
// now. Before there is a range, an address from which it would hold no block; while the fast path is not in use, none.
QV_INTERNAL_HIDDEN extern TAtomic<ureg> g_SmallRange;
QV_INTERNAL_HIDDEN extern TAtomic<ureg> g_SmallRangeKnown;

// What the functions below leave: sizes that are not small, empty bins and full ones, blocks that may be free already,
// and addresses beyond what is known.
QV_INTERNAL_HIDDEN void *AllocSlow(u64 size);
QV_INTERNAL_HIDDEN void FreeSlow(void *block);
QV_INTERNAL_HIDDEN bool IsSmallBlockSlow(ureg offset);

// Reports a pointer that is no block of the default allocator.
QV_INTERNAL_HIDDEN void ReportForeign(const void *block);

inline ureg OffsetInRange(const void *block)
{
    return reinterpret_cast<ureg>(block) - g_SmallRange.Load();
}

// Whether a small block may take the fast path. Null may not.
inline bool IsKnownSmallBlock(const void *block)
{
    return QV_INTERNAL_LIKELY(OffsetInRange(block) < g_SmallRangeKnown.Load());
}

inline bool IsSmallBlock(const void *block)
{
    return IsKnownSmallBlock(block) ||
           (QV_INTERNAL_UNLIKELY(OffsetInRange(block) < kSmallRangeBytes) && IsSmallBlockSlow(OffsetInRange(block)));
}

// A block of the default allocator, aligned to 16 bytes; null when memory is refused. Requires: a size of a small block.
inline void *AllocFast(u64 size)
{
    const u32 sizeClass = SmallClass(size);
    SBin &bin = ThreadCache()->m_Bins[sizeClass];
    SFreeBlock *block = bin.m_Head;
    if (QV_INTERNAL_UNLIKELY(block == nullptr))
        return AllocSlow(size);
    bin.m_Head = block->m_Next;
    ++bin.m_Vacant;
    return MakeLive(block, sizeClass);
}

// Requires: a small block, not null, and its class.
inline void FreeFast(void *block, u32 sizeClass)
{
    SBin &bin = ThreadCache()->m_Bins[sizeClass];
    if (QV_INTERNAL_UNLIKELY(bin.m_Vacant == 0 || MayBeFree(block, sizeClass)))
        return FreeSlow(block);
    bin.m_Head = MakeFree(block, sizeClass, bin.m_Head);
    --bin.m_Vacant;
}

} // namespace Quorvane::Mem::Internal
