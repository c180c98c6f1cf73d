// The home of small blocks: one range of addresses, cut into slabs of equal size, each of which serves blocks of one
// class without a byte between them (mem_slab_records.h).
//
// Threads take and give blocks in batches, and nobody waits for anybody. A slab's free blocks are a list that every thread
// adds to by exchanging one word. Who takes blocks claims a slab that has some (mem_slab_sets.h) and has it for himself
// for a few steps; another thread claims another one, or a new one. So a thread that is interrupted in the middle of that
// delays no other, whatever its priority; and in a copy of the process, which has none of the other threads, only the
// slabs that they were taking from are lost.
//
// A slab whose blocks are all back serves any class next, and its memory goes back to the system when many such are idle.
// Systems are asked with nothing claimed but what the question is about.
//
// As much is mapped as is used: 64 KiB at first, then as much again each time up to a chunk, and a chunk at a time from
// there on. Nothing is reserved: where the system refuses the next addresses, or somebody else has mapped them, the heap
// stays as large as it is, and Take returns fewer blocks. So it does in a copy of the process that was made between the
// two steps of another thread which mapped the next addresses and was about to say so: whose they are cannot be told.
#pragma once

#include "mem_slab_sets.h"

namespace Quorvane::Mem::Internal
{

// Idle slabs that keep their memory: 16 MiB. Programs that build and drop as much again and again, a frame's worth of
// text, should not ask the system each time.
constexpr u32 kMaxIdleSlabs = 256;
// Those that keep it when a thread has ended: 512 KiB. What it has used may not be needed again.
constexpr u32 kMaxIdleSlabsAfterThread = 8;

// While others work, these are those of about now.
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
    // take its first kChunkRecordBytes; the rest of it is the caller's, but for a guard at its end.
    // `rangeBytes`: a multiple of a chunk's size, kSmallRangeBytes at most.
    // With `guards`, slabs that are mapped from now on end in a page that cannot be touched, and this one does; where the
    // system has pages so large that less than three quarters of a slab would be left, none does.
    void Begin(ureg base, ureg rangeBytes, bool guards);
    // Unmaps all but that slab, whatever lives in it.
    void End();

    ureg Base() const { return m_Base; }
    // How its blocks are linked while they are free.
    const CFreeLinks &Links() const { return m_Links; }
    // The bytes of each slab that blocks may lie in.
    u32 BytesOfSlab() const { return m_SlabBytes; }
    // The bytes from the base on in which blocks may lie. Grows; any thread may ask.
    ureg MappedBytes() const { return m_End.Load() - m_Base; }

    // Takes up to `count` blocks of a class, linked in the order of their addresses where they are fresh: who fills them
    // one after the other walks through memory forwards.
    // Returns their number: fewer when they would come from more than a few slabs, 0 only when memory is refused, when
    // others were faster for too long, when a slab is missing and the next addresses are those that another thread is
    // just mapping, or when links were overwritten in all slabs that were looked at.
    u32 Take(u32 sizeClass, u32 count, SFreeBlock *&outFirst);

    // Takes one block. Returns: null in those cases.
    SFreeBlock *TakeOne(u32 sizeClass);

    // Gives back the first `count` blocks of a list, of any classes, which leave it. Where other threads give blocks to
    // the same slab at the same moment, again and again, some blocks stay in the list. It ends in front of a block whose
    // link was overwritten.
    // Returns: how many were given.
    u32 Give(SFreeBlock *&list, u32 count);
    // Gives back all blocks of a list, or one block.
    void GiveAll(SFreeBlock *list);
    void GiveOne(void *block);

    // A free block whose link was overwritten is left alone for as long as its slab serves its class, with those behind it.
    // Whoever comes upon one notes it, and reports it as soon as nothing is held and all is whole.
    void NoteOverwritten(const SFreeBlock *block) { m_Overwritten.Store(reinterpret_cast<ureg>(block)); }
    // Reports the one that was noted last, if any was since.
    void ReportOverwritten()
    {
        if (QV_INTERNAL_UNLIKELY(m_Overwritten.Load() != 0))
            _ReportOverwrittenNow();
    }

    // Whether a block is among those that are back in its slab. Answers false while another thread takes from the slab.
    // Cost: linear in the slab's blocks.
    bool IsBack(const void *block);

    // Makes sure that no thread has to wait for a page of memory from now on, until as much as `bytes` more is used: the
    // slabs in use get all of theirs from the system at once, new ones with it, and idle ones of `bytes` are made, and
    // kept beside those that are kept anyway. With `locks`, the system is told to leave them that memory.
    // Returns: false when memory is refused, and what was got before that is kept; when it may not be locked, and is there
    // all the same; or, with nothing done, for more than the range has addresses.
    bool Prewarm(u64 bytes, bool locks);

    // Gives the memory of all idle slabs but a few back to the system; after a Prewarm, of none.
    void Trim();

    // Cost: linear in what is mapped.
    SSlabFigures Figures();

private:
    // Blocks that are linked among themselves; where the last one's link leads is left open.
    struct SBatch
    {
        SFreeBlock *m_First = nullptr;
        SFreeBlock *m_Last = nullptr;
        u32 m_Count = 0;
    };

    SSlab &_Slab(u32 number) const;
    u32 _NumberOf(const SSlab &slab) const;
    SSlab *_ClaimFor(u32 sizeClass);
    SSlab *_ClaimUnused(bool orIdle);
    SSlab *_MapMore();
    void _TakeFrom(SSlab &slab, u32 sizeClass, u32 count, SBatch &batch);
    void _TakeReady(SSlab &slab, u32 sizeClass, u32 count, SBatch &batch);
    void _CutFresh(SSlab &slab, u32 sizeClass, u32 count, SBatch &batch);
    u32 _FreshBlocks(const SSlab &slab, u32 sizeClass) const;
    void _Append(SBatch &batch, const SBatch &more) const;
    void _TakeRun(SFreeBlock *&list, u32 count, SBatch &run);
    SFreeBlock *_FirstBack(const SSlab &slab, u32 state) const;
    bool _GiveTo(const SBatch &blocks);
    void _PutBack(SSlab &slab, u32 sizeClass);
    void _Retire(SSlab &slab);
    void _Discard(SSlab &slab);
    bool _MakeResident(const SSlab &slab);
    void _Guard(ureg begin, ureg end) const;
    void _ReportOverwrittenNow();

    CSlabSets m_Sets;
    ureg m_Base = 0;
    ureg m_RangeBytes = kSmallRangeBytes;
    u32 m_SlabBytes = kSlabBytes; // in front of its guard
    CFreeLinks m_Links;
    TAtomic<ureg> m_Overwritten; // the block that was noted last; 0 for none
    TAtomic<ureg> m_End;         // of what is mapped
    // Idle slabs, and how many of them keep their memory.
    TAtomic<u32> m_IdleSlabs;
    TAtomic<u32> m_KeptSlabs = TAtomic<u32>(kMaxIdleSlabs);
    // Whether slabs get all of their memory before they are used, and whether it is locked.
    TAtomic<bool> m_TouchesSlabs;
    TAtomic<bool> m_LocksSlabs;
};

} // namespace Quorvane::Mem::Internal
