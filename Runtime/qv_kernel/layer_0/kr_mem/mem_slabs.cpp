// Slabs of small blocks: who serves which class, and whose memory is given back.
#include "mem_slabs.h"

#include <new>

#include "mem_port.h"

namespace Quorvane::Mem::Internal
{

namespace
{

// A batch comes from this many slabs at most: where each of them has but a few blocks, a smaller batch is had sooner.
constexpr u32 kMaxSlabsPerBatch = 8;

u32 IndexOfSlab(const SSlab &slab)
{
    return static_cast<u32>(&slab - ChunkOf(&slab)->m_Slabs);
}

char *MemoryOf(const SSlab &slab)
{
    SChunk *const chunk = ChunkOf(&slab);
    return reinterpret_cast<char *>(chunk) + IndexOfSlab(slab) * kSlabBytes;
}

// How a slab's state tells its first block.
u32 AsFirst(const void *block)
{
    return static_cast<u32>(reinterpret_cast<ureg>(block) % kSlabBytes / kSmallStep) + 1;
}

bool IsBlockOf(const SSlab &slab, const void *block, u32 sizeClass)
{
    return &SlabOf(block) == &slab && IsBlock(block, sizeClass);
}

} // namespace

SSlab &CSlabHeap::_Slab(u32 number) const
{
    return SlabOf(reinterpret_cast<const void *>(m_Base + number * kSlabBytes));
}

u32 CSlabHeap::_NumberOf(const SSlab &slab) const
{
    return static_cast<u32>((reinterpret_cast<ureg>(MemoryOf(slab)) - m_Base) / kSlabBytes);
}

// The list of the blocks that came back to a slab, as its state tells it.
SFreeBlock *CSlabHeap::_FirstBack(const SSlab &slab, u32 state) const
{
    const u32 first = state & SSlab::kFirstMask;
    if (first == 0)
        return m_Links.End();
    return std::launder(reinterpret_cast<SFreeBlock *>(MemoryOf(slab) + ureg(first - 1) * kSmallStep));
}

void CSlabHeap::Begin(ureg base, ureg rangeBytes, bool guards)
{
    ::new (reinterpret_cast<void *>(base)) SChunk{};
    m_Sets.Begin(base);
    m_Base = base;
    m_RangeBytes = rangeBytes;
    u64 secrets[2];
    PortFillByChance(secrets);
    m_Links = CFreeLinks(base, secrets);
    if (guards && PortPageBytes() <= kMaxGuardBytes)
        m_SlabBytes = static_cast<u32>(kSlabBytes - PortPageBytes());
    _Guard(base, base + kSlabBytes);
    m_End.Store(base + kSlabBytes);
}

void CSlabHeap::End()
{
    PortUnmap(m_Base + kSlabBytes, MappedBytes() - kSlabBytes);
}

// Makes the ends of slabs, where they have guards, pages that nobody can touch. One that the system refuses is but a gap.
void CSlabHeap::_Guard(ureg begin, ureg end) const
{
    for (ureg slab = begin; slab < end && m_SlabBytes != kSlabBytes; slab += kSlabBytes)
        PortForbid(slab + m_SlabBytes, kSlabBytes - m_SlabBytes);
}

// ---- Taking ------------------------------------------------------------------------------------------------------------

u32 CSlabHeap::Take(u32 sizeClass, u32 count, SFreeBlock *&outFirst)
{
    SBatch batch;
    for (u32 slabs = 0; batch.m_Count < count && slabs < kMaxSlabsPerBatch; ++slabs)
    {
        SSlab *const slab = _ClaimFor(sizeClass);
        if (slab == nullptr)
            break;
        _TakeFrom(*slab, sizeClass, count, batch);
    }
    outFirst = m_Links.End();
    if (batch.m_Count == 0)
        return 0;
    m_Links.MakeFree(batch.m_Last, m_Links.End());
    outFirst = batch.m_First;
    return batch.m_Count;
}

SFreeBlock *CSlabHeap::TakeOne(u32 sizeClass)
{
    SFreeBlock *first = nullptr;
    return Take(sizeClass, 1, first) != 0 ? first : nullptr;
}

// Claims a slab of the class that has blocks to take; null when memory is refused.
SSlab *CSlabHeap::_ClaimFor(u32 sizeClass)
{
    const u32 number = m_Sets.ClaimAny(sizeClass);
    if (number != CSlabSets::kNone)
        return &_Slab(number);
    SSlab *const slab = _ClaimUnused(true);
    if (slab != nullptr)
        ChunkOf(slab)->m_Classes[IndexOfSlab(*slab)] = static_cast<u8>(sizeClass);
    return slab;
}

// Claims a slab that serves no class: best one that still has its memory, unless that is not wanted, then one whose
// addresses are in use already, then new ones.
SSlab *CSlabHeap::_ClaimUnused(bool orIdle)
{
    constexpr u32 kMaxRounds = 4;
    constexpr u32 kSets[] = {kIdleSet, kReturnedSet, kFreshSet};
    for (u32 round = 0; round < kMaxRounds; ++round)
    {
        for (u32 i = orIdle ? 0 : 1; i < 3; ++i)
        {
            const u32 number = m_Sets.ClaimAny(kSets[i]);
            if (number == CSlabSets::kNone)
                continue;
            if (i == 0)
                m_IdleSlabs.FetchDec();
            else
                _MakeResident(_Slab(number));
            return &_Slab(number);
        }
        if (SSlab *const slab = _MapMore())
            return slab;
        // Another thread may have mapped the next addresses, and be about to tell.
        PortBackOff(round);
    }
    return nullptr;
}

// Maps as much again as there is, and never beyond the end of a chunk, so that the records of each chunk are mapped with
// it. A power of two divides what is mapped until the first chunk is whole; later steps are chunks. Of several threads
// that try, the system lets one have the addresses.
// Returns: one of the new slabs, claimed; null when the addresses are refused or taken.
SSlab *CSlabHeap::_MapMore()
{
    const ureg end = m_End.Load();
    const ureg bytes = QVMin(end - m_Base, kChunkBytes);
    if (end - m_Base >= m_RangeBytes || !PortMapAt(end, bytes))
        return nullptr;
    _Guard(end, end + bytes);
    u32 first = static_cast<u32>((end - m_Base) / kSlabBytes);
    u32 count = static_cast<u32>(bytes / kSlabBytes);
    if (end % kChunkBytes == 0)
    {
        ::new (reinterpret_cast<void *>(end)) SChunk{};
        ++first;
        --count;
    }
    // Before anybody can take a block of them: whoever reads it may look up the class of any block below it.
    m_End.Store(end + bytes);
    if (count > 1)
        m_Sets.PutRun(kFreshSet, first + 1, count - 1);
    _MakeResident(_Slab(first));
    return &_Slab(first);
}

// Takes blocks of a claimed slab until the batch has `count`, and puts the slab back; first blocks that came back, whose
// memory is likelier to be in the processor's cache, then fresh ones. Takes at least one where no link was overwritten.
void CSlabHeap::_TakeFrom(SSlab &slab, u32 sizeClass, u32 count, SBatch &batch)
{
    const u32 before = batch.m_Count;
    _TakeReady(slab, sizeClass, count, batch);
    if (batch.m_Count < count && (slab.m_State.Load() & SSlab::kFirstMask) != 0)
    {
        slab.m_Ready = _FirstBack(slab, slab.m_State.FetchAnd(~SSlab::kFirstMask));
        _TakeReady(slab, sizeClass, count, batch);
    }
    _CutFresh(slab, sizeClass, count, batch);

    const u32 state = slab.m_State.Add((batch.m_Count - before) * SSlab::kOneOut);
    const bool hasMore = !m_Links.IsEnd(slab.m_Ready) || _FreshBlocks(slab, sizeClass) != 0;
    // The exchange fails only when a block came back meanwhile.
    if (hasMore || (state & SSlab::kFirstMask) != 0 || !slab.m_State.SetValueIfEqualTo(state | SSlab::kAllOut, state))
        _PutBack(slab, sizeClass);
}

// Moves blocks that came back to a claimed slab, and are linked already, to a batch. What a link that was overwritten
// would lead to is left alone, and so is its block: whoever wrote there may do so again.
void CSlabHeap::_TakeReady(SSlab &slab, u32 sizeClass, u32 count, SBatch &batch)
{
    SBatch ready = {slab.m_Ready, nullptr, 0};
    while (batch.m_Count + ready.m_Count < count && !m_Links.IsEnd(slab.m_Ready))
    {
        SFreeBlock *next = nullptr;
        if (!m_Links.ReadLink(slab.m_Ready, next) || !(m_Links.IsEnd(next) || IsBlockOf(slab, next, sizeClass)))
        {
            NoteOverwritten(slab.m_Ready);
            slab.m_Ready = nullptr;
            break;
        }
        ready.m_Last = slab.m_Ready;
        ++ready.m_Count;
        slab.m_Ready = next;
    }
    _Append(batch, ready);
}

// The same with blocks that nobody has had before.
void CSlabHeap::_CutFresh(SSlab &slab, u32 sizeClass, u32 count, SBatch &batch)
{
    TAtomic<u32> &cutBytes = ChunkOf(&slab)->m_CutBytes[IndexOfSlab(slab)];
    const u32 bytes = static_cast<u32>(ClassBytes(sizeClass));
    const u32 cut = QVMin(count - batch.m_Count, _FreshBlocks(slab, sizeClass));
    char *memory = MemoryOf(slab) + cutBytes.Load();
    SBatch fresh = {reinterpret_cast<SFreeBlock *>(memory), nullptr, cut};
    for (u32 i = 0; i < cut; ++i, memory += bytes)
        fresh.m_Last = m_Links.MakeFree(memory, reinterpret_cast<SFreeBlock *>(memory + bytes));
    _Append(batch, fresh);
    cutBytes.StoreReleased(cutBytes.Load() + cut * bytes);
}

// How many blocks can be cut from a claimed slab.
u32 CSlabHeap::_FreshBlocks(const SSlab &slab, u32 sizeClass) const
{
    const u32 cutBytes = ChunkOf(&slab)->m_CutBytes[IndexOfSlab(slab)].Load();
    return (m_SlabBytes - cutBytes) / static_cast<u32>(ClassBytes(sizeClass));
}

// Puts more blocks behind those of a batch.
void CSlabHeap::_Append(SBatch &batch, const SBatch &more) const
{
    if (more.m_Count == 0)
        return;
    if (batch.m_Count == 0)
        batch.m_First = more.m_First;
    else
        m_Links.MakeFree(batch.m_Last, more.m_First);
    batch.m_Last = more.m_Last;
    batch.m_Count += more.m_Count;
}

// ---- Giving ------------------------------------------------------------------------------------------------------------

u32 CSlabHeap::Give(SFreeBlock *&list, u32 count)
{
    SBatch kept;
    u32 given = 0;
    while (count != 0 && !m_Links.IsEnd(list))
    {
        // What lies in the same slab, one after the other, goes back at once.
        SBatch run;
        _TakeRun(list, count, run);
        count -= run.m_Count;
        if (run.m_Count == 0 || _GiveTo(run))
            given += run.m_Count;
        else
            _Append(kept, run);
    }
    if (kept.m_Count != 0)
    {
        m_Links.MakeFree(kept.m_Last, list);
        list = kept.m_First;
    }
    return given;
}

// Takes the first blocks of a list that lie in one slab, up to `count`. Where a link was overwritten, the list ends in front
// of its block.
void CSlabHeap::_TakeRun(SFreeBlock *&list, u32 count, SBatch &run)
{
    run.m_First = list;
    const SSlab *const slab = &SlabOf(list);
    while (run.m_Count < count && !m_Links.IsEnd(list) && &SlabOf(list) == slab)
    {
        SFreeBlock *const block = list;
        if (!m_Links.ReadLink(block, list))
        {
            NoteOverwritten(block);
            list = m_Links.End();
            return;
        }
        run.m_Last = block;
        ++run.m_Count;
    }
}

void CSlabHeap::GiveAll(SFreeBlock *list)
{
    while (!m_Links.IsEnd(list))
    {
        SBatch one;
        _TakeRun(list, 1, one);
        if (one.m_Count != 0)
            GiveOne(one.m_Last);
    }
}

void CSlabHeap::GiveOne(void *block)
{
    SFreeBlock *const freed = m_Links.MakeFree(block, m_Links.End());
    while (!_GiveTo(SBatch{freed, freed, 1}))
        ;
}

// Adds blocks of one slab that are linked among themselves to those that are back in it. Returns: false when others were
// faster for too long.
bool CSlabHeap::_GiveTo(const SBatch &blocks)
{
    constexpr u32 kMaxTries = 16;
    SSlab &slab = SlabOf(blocks.m_First);
    // While the blocks are out, the slab stays of this class.
    const u32 sizeClass = ClassOfSmallBlock(blocks.m_First);
    for (u32 tries = 0; tries < kMaxTries; ++tries)
    {
        const u32 before = slab.m_State.Load();
        m_Links.MakeFree(blocks.m_Last, _FirstBack(slab, before));
        const u32 after = ((before & ~(SSlab::kFirstMask | SSlab::kAllOut)) | AsFirst(blocks.m_First)) -
                          blocks.m_Count * SSlab::kOneOut;
        if (!slab.m_State.SetValueIfEqualTo(after, before))
            continue;
        // Claimed by this: nobody else has seen the word with the bit, and could find the slab.
        if ((before & SSlab::kAllOut) != 0)
            _PutBack(slab, sizeClass);
        else if (SSlab::HasNoneOut(after) && m_Sets.Claim(sizeClass, _NumberOf(slab)))
            _PutBack(slab, sizeClass);
        return true;
    }
    return false;
}

// Puts a claimed slab where it belongs: into the set of its class, or out of service when all of its blocks are back.
// The last of them may come back when it is in the set already, from a thread that did not find it there yet.
void CSlabHeap::_PutBack(SSlab &slab, u32 sizeClass)
{
    const u32 number = _NumberOf(slab);
    do
    {
        if (SSlab::HasNoneOut(slab.m_State.Load()))
            return _Retire(slab);
        m_Sets.Put(sizeClass, number);
    } while (SSlab::HasNoneOut(slab.m_State.Load()) && m_Sets.Claim(sizeClass, number));
}

// Takes a claimed slab out of service, all blocks of which are back.
void CSlabHeap::_Retire(SSlab &slab)
{
    slab.m_State.Store(0);
    slab.m_Ready = nullptr;
    ChunkOf(&slab)->m_CutBytes[IndexOfSlab(slab)].StoreReleased(0);
    if (m_IdleSlabs.FetchInc() < m_KeptSlabs.Load())
        return m_Sets.Put(kIdleSet, _NumberOf(slab));
    m_IdleSlabs.FetchDec();
    _Discard(slab);
}

// Gives the memory of a claimed slab that serves no class back to the system.
void CSlabHeap::_Discard(SSlab &slab)
{
    PortDiscard(MemoryOf(slab), m_SlabBytes);
    m_Sets.Put(kReturnedSet, _NumberOf(slab));
}

// ---- Looking after ---------------------------------------------------------------------------------------------------

QV_INTERNAL_COLD void CSlabHeap::_ReportOverwrittenNow()
{
    const void *const overwritten = reinterpret_cast<void *>(m_Overwritten.Swap(0));
    QV_ASSERT_MESSAGE(!overwritten, "block %p was written to while it was free", overwritten);
}

bool CSlabHeap::IsBack(const void *block)
{
    SSlab &slab = SlabOf(block);
    const u32 sizeClass = ClassOfSmallBlock(block);
    if (SSlab::HasNoneOut(slab.m_State.Load()))
        return true;
    // Without a block of its own in the set, the slab has none that is back, or somebody takes from it.
    if (!m_Sets.Claim(sizeClass, _NumberOf(slab)))
        return false;
    const bool isBack = m_Links.HoldsBlock(slab.m_Ready, kMaxBlocksPerSlab, block) ||
                        m_Links.HoldsBlock(_FirstBack(slab, slab.m_State.Load()), kMaxBlocksPerSlab, block);
    _PutBack(slab, sizeClass);
    return isBack;
}

bool CSlabHeap::Prewarm(u64 bytes, bool locks)
{
    // Would take all the memory that there is before it is refused.
    if (bytes > m_RangeBytes)
        return false;
    m_TouchesSlabs.Store(true);
    if (locks)
        m_LocksSlabs.Store(true);
    // Whoever has claimed one before that may not have seen it.
    bool isAsWanted = true;
    for (ureg at = 0; at < MappedBytes(); at += kSlabBytes)
    {
        const u32 number = static_cast<u32>(at / kSlabBytes);
        const bool isUsed = !m_Sets.Has(kFreshSet, number) && !m_Sets.Has(kReturnedSet, number);
        isAsWanted = (!isUsed || _MakeResident(_Slab(number))) && isAsWanted;
    }
    for (u64 done = 0; done < bytes; done += kSlabBytes)
    {
        SSlab *const slab = _ClaimUnused(false);
        if (slab == nullptr)
            return false;
        isAsWanted = _MakeResident(*slab) && isAsWanted;
        m_KeptSlabs.FetchInc();
        m_IdleSlabs.FetchInc();
        m_Sets.Put(kIdleSet, _NumberOf(*slab));
    }
    // What is not allowed need not be tried for each slab that is used later.
    if (!isAsWanted)
        m_LocksSlabs.Store(false);
    return isAsWanted;
}

void CSlabHeap::Trim()
{
    if (m_TouchesSlabs.Load())
        return;
    // Others may make more of them meanwhile, without end.
    for (u32 idle = m_IdleSlabs.Load(); idle > kMaxIdleSlabsAfterThread; --idle)
    {
        const u32 number = m_Sets.ClaimAny(kIdleSet);
        if (number == CSlabSets::kNone)
            return;
        m_IdleSlabs.FetchDec();
        _Discard(_Slab(number));
    }
}

// Where that is asked for, gives a slab all of its memory. The records of its chunk have theirs, in which they were written
// when the chunk was mapped. Returns: false where one of the two may not be locked.
bool CSlabHeap::_MakeResident(const SSlab &slab)
{
    if (!m_TouchesSlabs.Load())
        return true;
    PortTouch(MemoryOf(slab), m_SlabBytes);
    return !m_LocksSlabs.Load() ||
           (PortLockInMemory(ChunkOf(&slab), kChunkRecordBytes) && PortLockInMemory(MemoryOf(slab), m_SlabBytes));
}

SSlabFigures CSlabHeap::Figures()
{
    const u32 slabs = static_cast<u32>(MappedBytes() / kSlabBytes);
    const u32 chunks = (slabs + kSlabsPerChunk - 1) / kSlabsPerChunk;
    SSlabFigures figures = {0, 0, m_Sets.Count(kIdleSet, chunks), m_Sets.Count(kReturnedSet, chunks)};
    for (u32 number = 0; number < slabs; ++number)
    {
        const u32 out = (_Slab(number).m_State.Load() & SSlab::kOutMask) / SSlab::kOneOut;
        figures.m_LiveBlocks += out;
        figures.m_UsedSlabs += out != 0;
    }
    return figures;
}

} // namespace Quorvane::Mem::Internal
