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

constexpr u32 BlocksPerSlab(u32 sizeClass)
{
    return static_cast<u32>(kSlabBytes / ClassBytes(sizeClass));
}

char *MemoryOf(const SSlab &slab)
{
    SChunk *const chunk = ChunkOf(&slab);
    const ureg index = static_cast<ureg>(&slab - chunk->m_Slabs);
    return reinterpret_cast<char *>(chunk) + index * kSlabBytes;
}

// The first of the blocks that came back to a slab; null when there is none.
SFreeBlock *FirstBack(const SSlab &slab, u32 state)
{
    const u32 first = state & SSlab::kFirstMask;
    if (first == 0)
        return nullptr;
    return std::launder(reinterpret_cast<SFreeBlock *>(MemoryOf(slab) + ureg(first - 1) * kSmallStep));
}

u32 AsFirst(const SFreeBlock *block)
{
    return static_cast<u32>(reinterpret_cast<ureg>(block) % kSlabBytes / kSmallStep) + 1;
}

// Moves up to `count` blocks that came back to a claimed slab to the list that ends in `link`.
u32 TakeReady(SSlab &slab, u32 count, SFreeBlock **&link)
{
    u32 taken = 0;
    for (; taken < count && slab.m_Ready != nullptr; ++taken)
    {
        *link = slab.m_Ready;
        link = &slab.m_Ready->m_Next;
        slab.m_Ready = slab.m_Ready->m_Next;
    }
    return taken;
}

// The same with blocks that nobody has had before.
u32 CutFresh(SSlab &slab, u32 sizeClass, u32 count, SFreeBlock **&link)
{
    const ureg bytes = static_cast<ureg>(ClassBytes(sizeClass));
    char *memory = MemoryOf(slab) + slab.m_Cut * bytes;
    const u32 cut = QVMin(count, BlocksPerSlab(sizeClass) - slab.m_Cut);
    for (u32 i = 0; i < cut; ++i, memory += bytes)
    {
        SFreeBlock *const block = ::new (memory) SFreeBlock{nullptr};
        *link = block;
        link = &block->m_Next;
    }
    slab.m_Cut += cut;
    return cut;
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

void CSlabHeap::Begin(ureg base)
{
    ::new (reinterpret_cast<void *>(base)) SChunk{};
    m_Sets.Begin(base);
    m_Base = base;
    m_End.Store(base + kSlabBytes);
}

void CSlabHeap::End()
{
    if (MappedBytes() > kSlabBytes)
        PortUnmap(m_Base + kSlabBytes, MappedBytes() - kSlabBytes);
}

// ---- Taking ------------------------------------------------------------------------------------------------------------

u32 CSlabHeap::Take(u32 sizeClass, u32 count, SFreeBlock *&outFirst)
{
    SFreeBlock **link = &outFirst;
    u32 taken = 0;
    for (u32 slabs = 0; taken < count && slabs < kMaxSlabsPerBatch; ++slabs)
    {
        SSlab *const slab = _ClaimFor(sizeClass);
        if (slab == nullptr)
            break;
        taken += _TakeFrom(*slab, sizeClass, count - taken, link);
    }
    *link = nullptr;
    return taken;
}

SFreeBlock *CSlabHeap::TakeOne(u32 sizeClass)
{
    SFreeBlock *block = nullptr;
    SFreeBlock **link = &block;
    if (SSlab *const slab = _ClaimFor(sizeClass))
        _TakeFrom(*slab, sizeClass, 1, link);
    return block;
}

// Claims a slab of the class that has blocks to take; null when memory is refused.
SSlab *CSlabHeap::_ClaimFor(u32 sizeClass)
{
    const u32 number = m_Sets.ClaimAny(sizeClass);
    if (number != CSlabSets::kNone)
        return &_Slab(number);
    SSlab *const slab = _ClaimUnused(true);
    if (slab != nullptr)
        ChunkOf(slab)->m_Classes[slab - ChunkOf(slab)->m_Slabs] = static_cast<u8>(sizeClass);
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
    if (end - m_Base >= kSmallRangeBytes || !PortMapAt(end, bytes))
        return nullptr;
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

// Appends up to `count` blocks of a claimed slab to the list that ends in `link`, and puts the slab back; first blocks
// that came back, whose memory is likelier to be in the processor's cache, then fresh ones. Takes at least one.
u32 CSlabHeap::_TakeFrom(SSlab &slab, u32 sizeClass, u32 count, SFreeBlock **&link)
{
    u32 taken = TakeReady(slab, count, link);
    if (taken < count && (slab.m_State.Load() & SSlab::kFirstMask) != 0)
    {
        slab.m_Ready = FirstBack(slab, slab.m_State.FetchAnd(~SSlab::kFirstMask));
        taken += TakeReady(slab, count - taken, link);
    }
    taken += CutFresh(slab, sizeClass, count - taken, link);

    const u32 state = slab.m_State.Add(taken * SSlab::kOneOut);
    const bool hasMore = slab.m_Ready != nullptr || slab.m_Cut < BlocksPerSlab(sizeClass);
    // The exchange fails only when a block came back meanwhile.
    if (hasMore || (state & SSlab::kFirstMask) != 0 || !slab.m_State.SetValueIfEqualTo(state | SSlab::kAllOut, state))
        _PutBack(slab, sizeClass);
    return taken;
}

// ---- Giving ------------------------------------------------------------------------------------------------------------

u32 CSlabHeap::Give(SFreeBlock *&list, u32 count)
{
    SFreeBlock *kept = nullptr;
    u32 given = 0;
    while (count != 0)
    {
        // What lies in the same slab, one after the other, goes back at once.
        SFreeBlock *const first = list;
        SFreeBlock *last = first;
        SSlab &slab = SlabOf(first);
        u32 run = 1;
        for (; run < count && &SlabOf(last->m_Next) == &slab; ++run)
            last = last->m_Next;
        list = last->m_Next;
        count -= run;
        if (_GiveTo(slab, first, last, run))
        {
            given += run;
            continue;
        }
        last->m_Next = kept;
        kept = first;
    }
    while (kept != nullptr)
    {
        SFreeBlock *const block = kept;
        kept = kept->m_Next;
        block->m_Next = list;
        list = block;
    }
    return given;
}

void CSlabHeap::GiveAll(SFreeBlock *list)
{
    while (list != nullptr)
    {
        SFreeBlock *const block = list;
        list = list->m_Next;
        GiveOne(block);
    }
}

void CSlabHeap::GiveOne(SFreeBlock *block)
{
    while (!_GiveTo(SlabOf(block), block, block, 1))
        ;
}

// Adds a list of blocks to those that are back in their slab. Returns: false when others were faster for too long.
bool CSlabHeap::_GiveTo(SSlab &slab, SFreeBlock *first, SFreeBlock *last, u32 count)
{
    constexpr u32 kMaxTries = 16;
    // While the blocks are out, the slab stays of this class.
    const u32 sizeClass = ClassOfSmallBlock(first);
    for (u32 tries = 0; tries < kMaxTries; ++tries)
    {
        const u32 before = slab.m_State.Load();
        last->m_Next = FirstBack(slab, before);
        const u32 after = ((before & ~(SSlab::kFirstMask | SSlab::kAllOut)) | AsFirst(first)) - count * SSlab::kOneOut;
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
    slab.m_Cut = 0;
    slab.m_Ready = nullptr;
    if (m_IdleSlabs.FetchInc() < m_KeptSlabs.Load())
        return m_Sets.Put(kIdleSet, _NumberOf(slab));
    m_IdleSlabs.FetchDec();
    _Discard(slab);
}

// Gives the memory of a claimed slab that serves no class back to the system.
void CSlabHeap::_Discard(SSlab &slab)
{
    PortDiscard(MemoryOf(slab), kSlabBytes);
    m_Sets.Put(kReturnedSet, _NumberOf(slab));
}

// ---- Looking after ---------------------------------------------------------------------------------------------------

bool CSlabHeap::IsBack(const void *block)
{
    SSlab &slab = SlabOf(block);
    const u32 sizeClass = ClassOfSmallBlock(block);
    if (SSlab::HasNoneOut(slab.m_State.Load()))
        return true;
    // Without a block of its own in the set, the slab has none that is back, or somebody takes from it.
    if (!m_Sets.Claim(sizeClass, _NumberOf(slab)))
        return false;
    bool isBack = false;
    for (const SFreeBlock *ready = slab.m_Ready; ready != nullptr && !isBack; ready = ready->m_Next)
        isBack = ready == block;
    const SFreeBlock *back = FirstBack(slab, slab.m_State.Load());
    for (; back != nullptr && !isBack; back = back->m_Next)
        isBack = back == block;
    _PutBack(slab, sizeClass);
    return isBack;
}

bool CSlabHeap::Prewarm(u64 bytes, bool locks)
{
    // Would take all the memory that there is before it is refused.
    if (bytes > kSmallRangeBytes)
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
    for (u64 done = 0; done < bytes; done += QVMin<u64>(kSlabBytes, bytes - done))
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

// Where that is asked for, gives a slab all of its memory, and the records of its chunk theirs. Returns: false where it
// may not be locked.
bool CSlabHeap::_MakeResident(const SSlab &slab)
{
    if (!m_TouchesSlabs.Load())
        return true;
    SChunk *const chunk = ChunkOf(&slab);
    PortTouch(chunk, kChunkRecordBytes);
    PortTouch(MemoryOf(slab), kSlabBytes);
    return !m_LocksSlabs.Load() ||
           (PortLockInMemory(chunk, kChunkRecordBytes) && PortLockInMemory(MemoryOf(slab), kSlabBytes));
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
