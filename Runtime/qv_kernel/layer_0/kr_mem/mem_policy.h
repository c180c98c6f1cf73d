// The floor of the default allocator: what is decided once and what everything above agrees on, the sizes and alignments
// of blocks and who serves them. Includes nothing else of the service but what the build decides.
#pragma once

#include "kr_atomic.h"

#include "mem_config.h"

namespace Quorvane::Mem::Internal
{

// ---- Sizes -------------------------------------------------------------------------------------------------------------

// Small blocks come in classes, one for each multiple of this size, which is also their alignment.
constexpr u32 kSmallStep = 16;
// Anything larger, or of a larger alignment, goes to the platform's allocator.
constexpr u64 kMaxSmallBytes = 2048;
// Class c serves blocks of c steps. Class 0 stays empty: blocks of 0 bytes take the slow path.
constexpr u32 kSmallClassCount = static_cast<u32>(kMaxSmallBytes / kSmallStep) + 1;

// All small blocks lie in one range of addresses. Where addresses are short there is none, and this is but a length.
constexpr bool kHasSmallRange = sizeof(void *) >= 8;
constexpr ureg kSmallRangeBytes = kHasSmallRange ? static_cast<ureg>(1ull << 36) : static_cast<ureg>(1u << 16);

// Large blocks begin at a multiple of this, whatever the platform gives.
constexpr u32 kLargeAlignment = 32;

constexpr u32 SmallClass(u64 size)
{
    return static_cast<u32>((size + (kSmallStep - 1)) / kSmallStep);
}

constexpr u64 ClassBytes(u32 sizeClass)
{
    return static_cast<u64>(sizeClass) * kSmallStep;
}

// What a thread may keep of each class. In bytes rather than blocks, so that all classes together are bounded: 1 MiB.
constexpr u64 kKeptBytesPerClass = 8u << 10;

constexpr u32 KeptBlocks(u32 sizeClass)
{
    return sizeClass == 0 ? 0 : static_cast<u32>(kKeptBytesPerClass / ClassBytes(sizeClass));
}

// Half of what may be kept moves at a time, so that neither a run of allocations nor one of frees pays each time.
constexpr u32 BatchBlocks(u32 sizeClass)
{
    return KeptBlocks(sizeClass) / 2;
}

static_assert(kKeptBytesPerClass * kSmallClassCount <= (1u << 20) + kKeptBytesPerClass, "a thread keeps 1 MiB at most");
static_assert(BatchBlocks(kSmallClassCount - 1) >= 1, "a batch is never empty");

// ---- Who serves --------------------------------------------------------------------------------------------------------

// Who serves this copy of the library. Decided when the first block is asked for, and never changed again.
enum EPolicy : u32
{
    Policy_Undecided = 0,
    Policy_Slabs,    // small blocks lie in the slabs of the process, large ones have a head
    Policy_Platform, // all blocks are the platform's: the system refused the slabs their first memory
    Policy_Watched,  // all blocks are the platform's and of exact sizes: a tool looks at each of them
};

QV_INTERNAL_HIDDEN extern TAtomic<u32> g_Policy;

// Whether a tool looks at each block: the tracker, a sanitizer, or valgrind.
QV_INTERNAL_HIDDEN bool IsWatched();

// Whether large blocks have a head of ours in front: not while a tool watches over all blocks, and not where addresses
// are short.
inline bool LargeBlocksHaveHeads()
{
    return kHasSmallRange && g_Policy.Load() != Policy_Watched;
}

// Whether blocks that are resized may be larger than what was asked for: not while a tool watches over their ends.
inline bool MayKeepRoom()
{
    return g_Policy.Load() != Policy_Watched;
}

} // namespace Quorvane::Mem::Internal
