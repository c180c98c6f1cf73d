// The floor of the default allocator: what is decided once and what everything above agrees on, the sizes and alignments
// of blocks and who serves them. Includes nothing else of the service but what the build decides.
#pragma once

#include "kr_atomic.h"

#include "mem_config.h"

namespace Quorvane::Mem::Internal
{

// ---- Sizes -------------------------------------------------------------------------------------------------------------

// What divides the size of every small block, which is also its alignment.
constexpr u32 kSmallStep = 16;
// Anything larger, or of a larger alignment, goes to the platform's allocator.
constexpr u64 kMaxSmallBytes = 2048;
constexpr u32 kMaxSmallSteps = static_cast<u32>(kMaxSmallBytes / kSmallStep);

// Small blocks come in classes: one for each multiple of the step up to kMaxExactSteps, and from there on
// kClassesPerDoubling until the size has doubled. So an eighth of a block is unused at most, and a thread that asks for
// every size still takes few pages.
constexpr u32 kMaxExactSteps = 16;
constexpr u32 kClassesPerDoubling = 8;
// Class 0 stays empty: blocks of 0 bytes take the slow path.
constexpr u32 kSmallClassCount = 41;

struct SSmallClasses
{
    u8 m_OfSteps[kMaxSmallSteps + 1]; // which class serves a size, in steps
    u8 m_Steps[kSmallClassCount];     // the size of its blocks

    constexpr SSmallClasses() : m_OfSteps(), m_Steps()
    {
        u32 sizeClass = 0;
        u32 width = 1; // how many sizes share a class
        for (u32 steps = 0; steps <= kMaxSmallSteps; ++steps)
        {
            if (steps > 2 * kClassesPerDoubling * width)
                width *= 2;
            if (steps > m_Steps[sizeClass])
            {
                ++sizeClass;
                m_Steps[sizeClass] = static_cast<u8>((steps + width - 1) / width * width);
            }
            m_OfSteps[steps] = static_cast<u8>(sizeClass);
        }
    }
};

QV_INTERNAL_HIDDEN inline constexpr SSmallClasses kSmallClasses;

static_assert(kMaxExactSteps == 2 * kClassesPerDoubling, "each doubling has as many classes");
static_assert(kSmallClasses.m_OfSteps[kMaxSmallSteps] == kSmallClassCount - 1, "the last class is the largest size's");

// All small blocks lie in one range of addresses. Where addresses are short there is none, and this is but a length.
constexpr bool kHasSmallRange = sizeof(void *) >= 8;
constexpr ureg kSmallRangeBytes = kHasSmallRange ? static_cast<ureg>(1ull << 36) : static_cast<ureg>(1u << 16);

// Large blocks begin at a multiple of this, whatever the platform gives.
constexpr u32 kLargeAlignment = 32;

constexpr u32 SmallClass(u64 size)
{
    return kSmallClasses.m_OfSteps[(size + (kSmallStep - 1)) / kSmallStep];
}

constexpr u32 ClassSteps(u32 sizeClass)
{
    return kSmallClasses.m_Steps[sizeClass];
}

constexpr u64 ClassBytes(u32 sizeClass)
{
    return static_cast<u64>(ClassSteps(sizeClass)) * kSmallStep;
}

// What a thread may keep of each class, and how often it may be let keep as much again: of one class, since few threads
// take and give many blocks of many sizes by turns, and of all together. In bytes rather than blocks, so that all classes
// together are bounded.
constexpr u64 kKeptBytesPerClass = 8u << 10;
constexpr u32 kMaxRaises = 7;
constexpr u32 kMaxRaisesOfThread = 120;

constexpr u32 KeptBlocks(u32 sizeClass)
{
    return sizeClass == 0 ? 0 : static_cast<u32>(kKeptBytesPerClass / ClassBytes(sizeClass));
}

// Of the large blocks, a thread keeps one of each kKeptLargeStep bytes, up to this size.
constexpr u64 kMaxKeptLargeBytes = 16384;
constexpr u64 kKeptLargeStep = 1024;
constexpr u32 kKeptLargeCount = static_cast<u32>(kMaxKeptLargeBytes / kKeptLargeStep);

// What moves between a thread and the heap at a time: few enough that the one block that takes or gives them all does not
// take long, and of large blocks fewer, since the link of each takes a page of memory of its own.
constexpr u32 BatchBlocks(u32 sizeClass)
{
    constexpr u32 kMaxBatch = 8;
    constexpr u64 kBatchBytes = 2048;
    return sizeClass == 0 ? 0 : QVMin(kMaxBatch, static_cast<u32>(kBatchBytes / ClassBytes(sizeClass)));
}

static_assert(kKeptBytesPerClass * (kSmallClassCount - 1 + kMaxRaisesOfThread) <= 1280u << 10,
              "a thread keeps 1,280 KiB at most");
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

// The size of the largest block that takes the fast path, on which nobody needs the accounting arguments: kMaxSmallBytes once
// the first block has been asked for, while the default allocator is installed and caches small blocks; else 0.
QV_INTERNAL_HIDDEN extern TAtomic<ureg> g_MaxFastBytes;

inline bool UsesFastPath()
{
    return g_MaxFastBytes.Load() != 0;
}

// Whether a block of that size takes it. Blocks of 0 bytes never do.
inline bool TakesFastPath(u64 size, u32 alignment)
{
    return QV_INTERNAL_LIKELY(Quorvane::Internal::WrappingDifference<u64>(size, 1) < g_MaxFastBytes.Load() &&
                              alignment <= kSmallStep);
}

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
