// How the range of small blocks is cut, and the records that stand in it.
//
//     range   64 GiB of addresses, of which only as much is mapped as is used
//     chunk   4 MiB, aligned to its size; begins with the records of its slabs
//     slab    64 KiB, aligned to its size; nothing but blocks of one class
//
// A slab has a number: its distance from the beginning of the range, in slabs.
#pragma once

#include "kr_atomic.h"

#include "mem_free_block.h"
#include "mem_policy.h"

namespace Quorvane::Mem::Internal
{

constexpr u32 kBitsPerWord = 8 * sizeof(ureg);

constexpr ureg kSlabBytes = 64u << 10;
// A word has a bit for each slab of a chunk.
constexpr u32 kSlabsPerChunk = kBitsPerWord;
constexpr ureg kChunkBytes = kSlabBytes * kSlabsPerChunk;
// And one for each chunk of a group.
constexpr ureg kGroupBytes = kChunkBytes * kBitsPerWord;

// The sets in which a slab may be found; it is in one of them at most.
constexpr u32 kIdleSet = 0; // serve no class, and have memory
// 1 to kSmallClassCount - 1: slabs of that class with blocks to take
constexpr u32 kReturnedSet = kSmallClassCount;  // serve no class, and gave their memory back
constexpr u32 kFreshSet = kSmallClassCount + 1; // were never used
constexpr u32 kSlabSetCount = kSmallClassCount + 2;

// What can be read and changed of a slab at once:
//     bits 0 to 12    where the first of the blocks that came back begins, in steps from the slab's beginning, and 1;
//                     0 when there is none
//     bits 13 to 25   the blocks that are out
//     bit 26          all blocks are out, and nobody looks at the slab: whoever gives the first one back sees to that
// A line of the processor's cache of its own: threads change neighbours at once.
struct alignas(64) SSlab
{
    static constexpr u32 kFirstMask = (1u << 13) - 1;
    static constexpr u32 kOneOut = 1u << 13;
    static constexpr u32 kOutMask = kFirstMask << 13;
    static constexpr u32 kAllOut = 1u << 26;

    TAtomic<u32> m_State;
    // Belongs to whoever has claimed the slab: a list of blocks that came back, taken out of the state.
    SFreeBlock *m_Ready;

    static bool HasNoneOut(u32 state) { return (state & kOutMask) == 0; }
};

// A slab that ends in a guard keeps three quarters of its bytes at least.
constexpr ureg kMaxGuardBytes = kSlabBytes / 4;
constexpr u32 kMaxBlocksPerSlab = static_cast<u32>(kSlabBytes / kSmallStep);
static_assert(kMaxBlocksPerSlab < SSlab::kFirstMask, "a slab's blocks can be counted, and each one told");

// What a chunk begins with. The first slab's memory holds it, so that slab serves no blocks.
struct SChunk
{
    // Read by whoever holds a block: it was written before the slab's first block was taken, and stays until its last
    // one is back.
    u8 m_Classes[kSlabsPerChunk];
    // The bytes of each slab that were cut into blocks so far; the memory behind them is untouched. Written by whoever has
    // claimed the slab.
    TAtomic<u32> m_CutBytes[kSlabsPerChunk];
    SSlab m_Slabs[kSlabsPerChunk];
    TAtomic<ureg> m_Sets[kSlabSetCount]; // which of its slabs are in each set
    // In the first chunk of a group: which chunks of the group may have slabs in each set.
    TAtomic<ureg> m_Groups[kSlabSetCount];
};

constexpr ureg kChunkRecordBytes = 8192;
static_assert(sizeof(SChunk) <= kChunkRecordBytes, "the records of a chunk take two pages");
static_assert(kSmallClassCount <= 256, "a class fits a byte");

// Where a block lies, from its address alone.
inline SChunk *ChunkOf(const void *block)
{
    return reinterpret_cast<SChunk *>(reinterpret_cast<ureg>(block) & ~(kChunkBytes - 1));
}

inline u32 SlabIndexOf(const void *block)
{
    return static_cast<u32>(reinterpret_cast<ureg>(block) / kSlabBytes) % kSlabsPerChunk;
}

inline u32 ClassOfSmallBlock(const void *block)
{
    return ChunkOf(block)->m_Classes[SlabIndexOf(block)];
}

inline SSlab &SlabOf(const void *block)
{
    return ChunkOf(block)->m_Slabs[SlabIndexOf(block)];
}

// For a test of divisibility by a product instead of a division (Lemire, Kaser, Kurz: Faster remainder by direct
// computation, 2019), exact for numbers and divisors of 16 bits.
struct SDivisors
{
    u32 m_Largest[kSmallClassCount]; // the largest 32-bit remainder that a multiple of the class leaves

    constexpr SDivisors() : m_Largest()
    {
        for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
            m_Largest[sizeClass] = 0xFFFFFFFFu / static_cast<u32>(ClassBytes(sizeClass));
    }
};

QV_INTERNAL_HIDDEN inline constexpr SDivisors kDivisors;

// Whether a block of the class begins so many bytes behind the beginning of its slab. Requires: a class other than 0.
inline bool IsStartOfBlock(u32 offset, u32 sizeClass)
{
    const u32 largest = kDivisors.m_Largest[sizeClass];
    return Quorvane::Internal::WrappingProduct(offset, Quorvane::Internal::WrappingSum(largest, 1u)) <= largest;
}

// Whether an address of the range, in a slab of that class, is where one of the slab's blocks begins. Where there are none
// yet, or no more, there is none.
inline bool IsBlock(const void *block, u32 sizeClass)
{
    const u32 offset = static_cast<u32>(reinterpret_cast<ureg>(block) % kSlabBytes);
    return IsStartOfBlock(offset, sizeClass) && offset < ChunkOf(block)->m_CutBytes[SlabIndexOf(block)].Load();
}

} // namespace Quorvane::Mem::Internal
