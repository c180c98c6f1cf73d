// What the default allocator asks about small blocks beyond taking and freeing them.
#pragma once

#include "mem_slabs.h"
#include "mem_small.h"

namespace Quorvane::Mem::Internal
{

// Reports a pointer that is no block of the default allocator.
QV_INTERNAL_HIDDEN void ReportForeign(const void *block);

// Frees a block, not null, of the default allocator.
// Reports "allocated" for a pointer that is no block, and "!freed" for a block that was freed already and not taken
// again since; both are left alone.
inline void FreeShort(void *block)
{
    if (QV_INTERNAL_UNLIKELY(!IsSmallBlock(block)))
        return FreePastCache(block);
    const u32 sizeClass = ClassOfSmallBlock(block);
    if (QV_ASSERTS && QV_INTERNAL_UNLIKELY(!IsStartOfBlock(block, sizeClass)))
        return ReportForeign(block);
    FreeSmallBlock(block, sizeClass);
}

// Joins the other copies of the library in this process, and decides whether small blocks are our own and how large ones
// look, if that was not done yet. Comes before every other use of the default allocator.
QV_INTERNAL_HIDDEN void Begin();

// Whether small blocks are our own. Begins if nobody did.
QV_INTERNAL_HIDDEN bool HasSmallBlocks();

// Whether large blocks have a head of ours in front: not while a tool watches over all blocks, and not where addresses
// are short.
QV_INTERNAL_HIDDEN bool LargeBlocksHaveHeads();

// Whether blocks that are resized may be larger than what was asked for: not while a tool watches over their ends.
QV_INTERNAL_HIDDEN bool MayKeepRoom();

// Makes an allocator that of all copies in this process; null restores each one's default.
QV_INTERNAL_HIDDEN void ShareAllocator(const SAllocator *allocator);
// Makes it that of this copy alone.
QV_INTERNAL_HIDDEN void UseAllocator(const SAllocator *allocator);

// What is out and what is idle; zeros where small blocks are the platform's.
QV_INTERNAL_HIDDEN SSlabFigures SmallFigures();

} // namespace Quorvane::Mem::Internal
