// The allocator that this copy of the library uses, and the copy's place in its process: it joins the others when the
// first block is asked for, learns what was installed through any of them, and leaves when it is unloaded.
//
// Joining waits for nobody but holders of short locks: a thread that joins may have to wait for the loader of programs,
// or stand in the middle of a fork. All who join at once come to the same end.
#pragma once

#include "kr_mem.h"

#include "mem_policy.h"

namespace Quorvane::Mem::Internal
{

struct SSlabFigures;

// What _RawAlloc and its like call. Plain: it is exchanged only while no other thread allocates or frees.
QV_INTERNAL_HIDDEN extern SAllocator g_Allocator;

QV_INTERNAL_HIDDEN void JoinNow();

// Joins the other copies of the library in this process and decides who serves, if that was not done yet. Comes before
// every other use of the default allocator.
inline void Join()
{
    if (QV_INTERNAL_UNLIKELY(g_Policy.Load() == Policy_Undecided))
        JoinNow();
}

// Whether the process has slabs of small blocks. Joins if nobody did.
QV_INTERNAL_HIDDEN bool HasSmallBlocks();

// The default's own functions, given back by whoever replaced them, are the default again.
QV_INTERNAL_HIDDEN bool IsDefault(const SAllocator &allocator);

// Makes an allocator that of all copies in this process; null restores each one's default.
QV_INTERNAL_HIDDEN void ShareAllocator(const SAllocator *allocator);

// What is out and what is idle; zeros where small blocks are the platform's.
QV_INTERNAL_HIDDEN SSlabFigures SmallFigures();

} // namespace Quorvane::Mem::Internal
