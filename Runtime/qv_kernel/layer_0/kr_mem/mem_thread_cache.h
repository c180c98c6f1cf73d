// Small blocks through the calling thread's cache: the inline fast path, and the doors of the slow one.
//
// A block is taken from the bin of its class and put back there in a few instructions, without a lock. An empty bin is
// refilled from the heap in batches, and a full one gives the heap a batch, or may keep more from then on.
#pragma once

#include "mem_free_block.h"
#include "mem_policy.h"
#include "mem_threads.h"
#include "mem_wipe.h"

namespace Quorvane::Mem::Internal
{

// The first address of the range, and how many bytes from there on are known to hold small blocks; there may be more by
// now. Before there is a range, an address from which it would hold no block; while the fast path is not in use, none.
QV_INTERNAL_HIDDEN extern TAtomic<ureg> g_SmallRange;
QV_INTERNAL_HIDDEN extern TAtomic<ureg> g_SmallRangeKnown;

// How free blocks are linked; the heap's, for whoever knows of its range.
QV_INTERNAL_HIDDEN extern CFreeLinks g_FreeLinks;

// What the functions below leave: sizes that are not small, empty bins and full ones, links that were overwritten, blocks
// that may be free already, and addresses beyond what is known.
QV_INTERNAL_HIDDEN void *AllocSlow(u64 size);
QV_INTERNAL_HIDDEN void FreeSlow(void *block);
QV_INTERNAL_HIDDEN bool IsSmallBlockSlow(ureg offset);

// Reports a pointer that is no block of the default allocator.
QV_INTERNAL_HIDDEN void ReportForeign(const void *block);

// Whether an address, not null, is one of a block in use: one for addresses within the small blocks, one for all others.
// Where it is none, that is reported. Blocks without heads are believed to be some.
QV_INTERNAL_HIDDEN bool IsLiveSmallBlock(const void *block);
QV_INTERNAL_HIDDEN bool IsLargeBlock(void *block);

inline ureg OffsetInRange(const void *block)
{
    return Quorvane::Internal::WrappingDifference(reinterpret_cast<ureg>(block), g_SmallRange.Load());
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

// Takes the first block out of a bin. Returns: null where there is none, or where its link was overwritten: then it stays
// there.
inline void *TakeFirst(SBins &bins, u32 sizeClass)
{
    SFreeBlock *const block = bins.m_First[sizeClass];
    if (QV_INTERNAL_UNLIKELY(g_FreeLinks.IsEnd(block)) ||
        QV_INTERNAL_UNLIKELY(!g_FreeLinks.ReadLink(block, bins.m_First[sizeClass])))
        return nullptr;
    ++bins.m_Vacant[sizeClass];
    return MakeLive(block);
}

// Puts a block into a bin that is not full.
inline void PutFirst(SBins &bins, u32 sizeClass, void *block)
{
    bins.m_First[sizeClass] = g_FreeLinks.MakeFree(block, bins.m_First[sizeClass]);
    --bins.m_Vacant[sizeClass];
}

// A block of the default allocator, aligned to 16 bytes; null when memory is refused. Requires: a size of a small block.
inline void *AllocFast(u64 size)
{
    void *const block = TakeFirst(ThreadCache()->m_Bins, SmallClass(size));
    return QV_INTERNAL_LIKELY(block != nullptr) ? block : AllocSlow(size);
}

// Requires: a small block, not null, and its class.
inline void FreeFast(void *block, u32 sizeClass)
{
    SBins &bins = ThreadCache()->m_Bins;
    if (QV_INTERNAL_UNLIKELY(bins.m_Vacant[sizeClass] == 0 || g_FreeLinks.MayBeFree(block)))
        return FreeSlow(block);
    Wipe(block, ClassBytes(sizeClass));
    PutFirst(bins, sizeClass, block);
}

} // namespace Quorvane::Mem::Internal
