// What the default allocator asks about small blocks beyond taking and freeing them.
#pragma once

#include "mem_slabs.h"
#include "mem_small.h"

namespace Quorvane::Mem::Internal
{

// Frees a block, not null, of the default allocator.
inline void FreeShort(void *block)
{
    if (QV_INTERNAL_LIKELY(IsSmallBlock(block)))
        FreeSmallBlock(block, ClassOfSmallBlock(block));
    else
        FreePastCache(block);
}

// Whether blocks that are resized may be larger than what was asked for: not while a tool watches over their ends.
bool MayKeepRoom();

// Whether there are small blocks of our own. The same throughout the process; the first who asks decides it.
bool HasSmallBlocks();

// What is out and what is idle; zeros where small blocks are the platform's.
SSlabFigures SmallFigures();

} // namespace Quorvane::Mem::Internal
