// The home of small blocks: one range of addresses, cut into slabs of equal size, each of which serves blocks of one
// class without a byte between them.
//
//     range   64 GiB of addresses, reserved once; memory is committed a chunk at a time
//     chunk   4 MiB, aligned to its size; begins with the records of its slabs
//     slab    64 KiB, aligned to its size; nothing but blocks
//
// Threads take and give blocks in batches, under one lock. A slab whose blocks are all back serves any class next, and
// its memory goes back to the system when many such are idle.
#pragma once

#include <mutex>

#include "mem_small.h"

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

static_assert(sizeof(SChunk) <= 4096, "the records of a chunk take one page");
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

constexpr u64 ClassBytes(u32 sizeClass)
{
    return static_cast<u64>(sizeClass) * kSmallStep;
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

    // Reserves the range. Returns false where the system refuses it; then nothing else may be called.
    bool Reserve();
    // Gives the range back, whatever lives in it.
    void Unreserve();
    ureg Base() const { return m_Base; }

    // Takes up to `count` blocks of a class, linked in the order of their addresses where they are fresh.
    // Returns their number, 0 when memory is refused.
    u32 Take(u32 sizeClass, u32 count, SFreeBlock *&outFirst);
    // Gives back the first `count` blocks of a list, of any classes. Returns the rest of the list.
    SFreeBlock *Give(SFreeBlock *first, u32 count);

    SSlabFigures Figures();

    // For a copy of the process: no thread is in the middle of something while it is made.
    void Lock() { m_Lock.lock(); }
    void Unlock() { m_Lock.unlock(); }

private:
    u32 _Cut(SSlab *slab, u32 sizeClass, u32 count, SFreeBlock **&link);
    SSlab *_SlabFor(u32 sizeClass);
    SSlab *_UnusedSlab();
    bool _CommitChunk();
    void _GiveOne(SFreeBlock *block);
    void _LinkToClass(SSlab *slab, u32 sizeClass);
    void _UnlinkFromClass(SSlab *slab, u32 sizeClass);
    void _Retire(SSlab *slab);

    std::mutex m_Lock;
    ureg m_Base = 0;
    // The next slab that was never used, and the end of committed memory.
    ureg m_NextSlab = 0;
    ureg m_CommittedEnd = 0;
    SSlab *m_WithRoom[kSmallClassCount] = {}; // slabs of each class with blocks to take
    SSlab *m_Idle = nullptr;
    SSlab *m_Returned = nullptr;
    SSlabFigures m_Figures = {};
};

} // namespace Quorvane::Mem::Internal
