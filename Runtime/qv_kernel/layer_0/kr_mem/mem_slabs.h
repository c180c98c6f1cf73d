// The home of small blocks: one range of addresses, cut into slabs of equal size, each of which serves blocks of one
// class without a byte between them.
//
//     range   64 GiB of addresses, of which only as much is mapped as is used: 64 KiB at first, then as much again each
//             time up to a chunk, and a chunk at a time from there on
//     chunk   4 MiB, aligned to its size; begins with the records of its slabs
//     slab    64 KiB, aligned to its size; nothing but blocks
//
// Threads take and give blocks in batches, under one lock. A slab whose blocks are all back serves any class next, and
// its memory goes back to the system when many such are idle.
//
// Nothing is reserved: where the system refuses the next addresses, or somebody else has mapped them, the heap stays as
// large as it is, and Take returns fewer blocks.
#pragma once

#include "mem_free_block.h"
#include "mem_lock.h"
#include "mem_policy.h"

namespace Quorvane::Mem::Internal
{

constexpr ureg kSlabBytes = 64u << 10;
constexpr ureg kChunkBytes = 4u << 20;
constexpr u32 kSlabsPerChunk = static_cast<u32>(kChunkBytes / kSlabBytes);
// Idle slabs that keep their memory: 16 MiB. Programs that build and drop as much again and again, a frame's worth of
// text, should not ask the system each time.
constexpr u32 kMaxIdleSlabs = 256;

// The record of a slab. Guarded by the heap's lock.
struct SSlab
{
    SSlab *m_Next;      // in the one list that it is in, if any
    SSlab *m_Previous;  // in a list of its class
    SFreeBlock *m_Free; // blocks that came back
    u32 m_Live;         // blocks that are out
    u32 m_Cut;          // blocks that were cut from the slab so far; the memory behind them is untouched
};

// What a chunk begins with. The first slab's memory holds it, so that slab serves no blocks.
struct SChunk
{
    // Read without the lock by whoever holds a block: it was written before the slab's first block was taken, and
    // stays until its last one is back.
    u8 m_Classes[kSlabsPerChunk];
    SSlab m_Slabs[kSlabsPerChunk];
};

constexpr ureg kChunkRecordBytes = 4096;
static_assert(sizeof(SChunk) <= kChunkRecordBytes, "the records of a chunk take one page");
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

// For a test of divisibility by a product instead of a division (Lemire, Kaser, Kurz: Faster remainder by direct
// computation, 2019), exact for numbers and divisors of 16 bits.
struct SDivisors
{
    u32 m_Largest[kSmallClassCount]; // the largest 32-bit remainder that a multiple of the class leaves

    constexpr SDivisors() : m_Largest()
    {
        for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
            m_Largest[sizeClass] = 0xFFFFFFFFu / sizeClass;
    }
};

QV_INTERNAL_HIDDEN inline constexpr SDivisors kDivisors;

// Whether an address within a slab of the class is where one of its blocks begins.
inline bool IsStartOfBlock(const void *block, u32 sizeClass)
{
    const u32 offset = static_cast<u32>(reinterpret_cast<ureg>(block) % kSlabBytes);
    const u32 largest = kDivisors.m_Largest[sizeClass];
    return sizeClass != 0 && offset % kSmallStep == 0 && offset / kSmallStep * (largest + 1) <= largest;
}

struct SSlabFigures
{
    u64 m_LiveBlocks;    // out, the blocks in threads' caches among them
    u32 m_UsedSlabs;     // that serve a class
    u32 m_IdleSlabs;     // that serve none, and keep their memory
    u32 m_ReturnedSlabs; // that serve none, and gave their memory back
};

class CSlabHeap
{
public:
    constexpr CSlabHeap() = default;
    CSlabHeap(const CSlabHeap &) = delete;
    CSlabHeap &operator=(const CSlabHeap &) = delete;

    // Begins at a multiple of a chunk's size, where one slab of memory is mapped that reads as zero. The chunk's records
    // take its first kChunkRecordBytes; the rest of it is the caller's.
    // `cachedProcessId` lies in memory that reads as zero in copies of the process, and outlives the heap; where the
    // system has no such memory it is null, and each lock costs a system call.
    void Begin(ureg base, TAtomic<u32> *cachedProcessId);
    // Unmaps all but that slab, whatever lives in it.
    void End();

    ureg Base() const { return m_Base; }
    // The bytes from the base on in which blocks may lie. Grows; any thread may ask.
    ureg MappedBytes() const { return m_End.Load() - m_Base; }

    // Takes up to `count` blocks of a class, linked in the order of their addresses where they are fresh: who fills them
    // one after the other walks through memory forwards.
    // Returns their number, 0 when memory is refused.
    u32 Take(u32 sizeClass, u32 count, SFreeBlock *&outFirst);
    // Gives back the first `count` blocks of a list, of any classes. Returns the rest of the list.
    SFreeBlock *Give(SFreeBlock *first, u32 count);

    // Whether a block lies among those that came back to its slab.
    // Cost: linear in the slab's blocks.
    bool IsFree(const void *block);

    SSlabFigures Figures();

private:
    // Holds the lock; sets aside what another process left half changed.
    class CGuard;

    u32 _Cut(SSlab *slab, u32 sizeClass, u32 count, SFreeBlock **&link);
    SSlab *_SlabFor(u32 sizeClass);
    SSlab *_UnusedSlab();
    bool _MapMore();
    void _GiveOne(SFreeBlock *block);
    void _LinkToClass(SSlab *slab, u32 sizeClass);
    void _UnlinkFromClass(SSlab *slab, u32 sizeClass);
    void _Retire(SSlab *slab);
    void _Abandon();
    bool _IsAbandoned(const void *block) const { return reinterpret_cast<ureg>(block) < m_AbandonedEnd; }

    CProcessLock m_Lock;
    TAtomic<u32> *m_CachedProcessId = nullptr;
    ureg m_Base = 0;
    // The next slab that was never used, and the end of what is mapped.
    ureg m_NextSlab = 0;
    TAtomic<ureg> m_End;
    ureg m_AbandonedEnd = 0;                    // below it, nothing is taken or given any more
    SSlab *m_WithBlocks[kSmallClassCount] = {}; // slabs of each class with blocks to take
    SSlab *m_Idle = nullptr;
    SSlab *m_Returned = nullptr;
    SSlabFigures m_Figures = {};
};

} // namespace Quorvane::Mem::Internal
