// Slabs of small blocks: who serves which class, and whose memory is given back.
#include "mem_slabs.h"

#include "mem_port.h"

namespace Quorvane::Mem::Internal
{

namespace
{

constexpr u32 BlocksPerSlab(u32 sizeClass)
{
    return static_cast<u32>(kSlabBytes / ClassBytes(sizeClass));
}

char *MemoryOf(SSlab *slab)
{
    SChunk *const chunk = ChunkOf(slab);
    const ureg index = static_cast<ureg>(slab - chunk->m_Slabs);
    return reinterpret_cast<char *>(chunk) + index * kSlabBytes;
}

bool HasBlocks(const SSlab &slab, u32 sizeClass)
{
    return slab.m_Free != nullptr || slab.m_Cut < BlocksPerSlab(sizeClass);
}

void Push(SSlab *&list, SSlab *slab)
{
    slab->m_Next = list;
    list = slab;
}

SSlab *Pop(SSlab *&list)
{
    SSlab *const slab = list;
    list = slab->m_Next;
    return slab;
}

// The system is asked once in a process; a copy of it finds a zero there and asks again. Two threads that ask at once
// write the same.
u32 CachedProcessId(TAtomic<u32> *cached)
{
    if (cached == nullptr)
        return PortProcessId();
    if (cached->Load() == 0)
        cached->Store(PortProcessId());
    return cached->Load();
}

} // namespace

class CSlabHeap::CGuard
{
public:
    explicit CGuard(CSlabHeap &heap) : m_Guard(heap.m_Lock, CachedProcessId(heap.m_CachedProcessId))
    {
        if (QV_INTERNAL_UNLIKELY(m_Guard.WasLeft()))
            heap._Abandon();
    }

private:
    CProcessGuard m_Guard;
};

void CSlabHeap::Begin(ureg base, TAtomic<u32> *cachedProcessId)
{
    ::new (reinterpret_cast<void *>(base)) SChunk{};
    m_CachedProcessId = cachedProcessId;
    m_Base = base;
    m_NextSlab = base + kSlabBytes;
    m_End.Store(base + kSlabBytes);
}

void CSlabHeap::End()
{
    if (MappedBytes() > kSlabBytes)
        PortUnmap(m_Base + kSlabBytes, MappedBytes() - kSlabBytes);
}

u32 CSlabHeap::Take(u32 sizeClass, u32 count, SFreeBlock *&outFirst)
{
    const CGuard guard(*this);
    SFreeBlock **link = &outFirst;
    u32 taken = 0;
    while (taken < count)
    {
        SSlab *const slab = _SlabFor(sizeClass);
        if (slab == nullptr)
            break;
        taken += _Cut(slab, sizeClass, count - taken, link);
        if (!HasBlocks(*slab, sizeClass))
            _UnlinkFromClass(slab, sizeClass);
    }
    *link = nullptr;
    m_Figures.m_LiveBlocks += taken;
    return taken;
}

SFreeBlock *CSlabHeap::Give(SFreeBlock *first, u32 count)
{
    const CGuard guard(*this);
    for (; count != 0; --count)
    {
        SFreeBlock *const next = first->m_Next;
        if (QV_INTERNAL_LIKELY(!_IsAbandoned(first)))
            _GiveOne(first);
        first = next;
    }
    return first;
}

bool CSlabHeap::IsFree(const void *block)
{
    const CGuard guard(*this);
    const SFreeBlock *free = ChunkOf(block)->m_Slabs[SlabIndexOf(block)].m_Free;
    while (free != nullptr && free != block)
        free = free->m_Next;
    return free != nullptr;
}

SSlabFigures CSlabHeap::Figures()
{
    const CGuard guard(*this);
    return m_Figures;
}

// A thread was in the middle of something when this copy of its process was made, and is not here to finish it. What
// there was stays as it is: its blocks may be used, and are not taken again. All that comes is taken from new memory.
void CSlabHeap::_Abandon()
{
    m_AbandonedEnd = m_End.Load();
    m_NextSlab = m_AbandonedEnd;
    for (SSlab *&slab : m_WithBlocks)
        slab = nullptr;
    m_Idle = nullptr;
    m_Returned = nullptr;
    m_Figures = SSlabFigures{};
}

// Appends up to `count` blocks of a slab to the list that ends in `link`; first those that came back, whose memory is
// likelier to be in the processor's cache, then fresh ones.
u32 CSlabHeap::_Cut(SSlab *slab, u32 sizeClass, u32 count, SFreeBlock **&link)
{
    u32 cut = 0;
    for (; cut < count && slab->m_Free != nullptr; ++cut)
    {
        *link = slab->m_Free;
        link = &slab->m_Free->m_Next;
        slab->m_Free = slab->m_Free->m_Next;
    }
    const ureg bytes = static_cast<ureg>(ClassBytes(sizeClass));
    char *memory = MemoryOf(slab) + slab->m_Cut * bytes;
    const u32 fresh = QVMin(count - cut, BlocksPerSlab(sizeClass) - slab->m_Cut);
    for (u32 i = 0; i < fresh; ++i, memory += bytes)
    {
        SFreeBlock *const block = ::new (memory) SFreeBlock{nullptr};
        *link = block;
        link = &block->m_Next;
    }
    slab->m_Cut += fresh;
    slab->m_Live += cut + fresh;
    return cut + fresh;
}

// A slab of the class that has blocks to take; null when memory is refused.
SSlab *CSlabHeap::_SlabFor(u32 sizeClass)
{
    if (m_WithBlocks[sizeClass] != nullptr)
        return m_WithBlocks[sizeClass];
    SSlab *const slab = _UnusedSlab();
    if (slab == nullptr)
        return nullptr;
    *slab = SSlab{};
    ChunkOf(slab)->m_Classes[slab - ChunkOf(slab)->m_Slabs] = static_cast<u8>(sizeClass);
    ++m_Figures.m_UsedSlabs;
    _LinkToClass(slab, sizeClass);
    return slab;
}

// A slab that serves no class: best one that still has its memory, then one whose addresses are in use already.
SSlab *CSlabHeap::_UnusedSlab()
{
    if (m_Idle != nullptr)
    {
        --m_Figures.m_IdleSlabs;
        return Pop(m_Idle);
    }
    if (m_Returned != nullptr)
    {
        --m_Figures.m_ReturnedSlabs;
        return Pop(m_Returned);
    }
    if (m_NextSlab == m_End.Load() && !_MapMore())
        return nullptr;
    const void *const memory = reinterpret_cast<const void *>(m_NextSlab);
    m_NextSlab += kSlabBytes;
    return &ChunkOf(memory)->m_Slabs[SlabIndexOf(memory)];
}

// As much again as there is, and never beyond the end of a chunk, so that the records of each chunk are mapped with it.
// A power of two divides what is mapped until the first chunk is whole; later steps are chunks.
bool CSlabHeap::_MapMore()
{
    const ureg end = m_End.Load();
    const ureg mapped = end - m_Base;
    if (mapped >= kSmallRangeBytes)
        return false;
    const ureg bytes = QVMin(mapped, kChunkBytes);
    if (!PortMapAt(end, bytes))
        return false;
    if (end % kChunkBytes == 0)
    {
        ::new (reinterpret_cast<void *>(end)) SChunk{};
        m_NextSlab += kSlabBytes;
    }
    // Last: whoever reads it may look up the class of any block below it.
    m_End.Store(end + bytes);
    return true;
}

void CSlabHeap::_GiveOne(SFreeBlock *block)
{
    SChunk *const chunk = ChunkOf(block);
    const u32 index = SlabIndexOf(block);
    const u32 sizeClass = chunk->m_Classes[index];
    SSlab *const slab = &chunk->m_Slabs[index];
    const bool hadBlocks = HasBlocks(*slab, sizeClass);
    block->m_Next = slab->m_Free;
    slab->m_Free = block;
    --slab->m_Live;
    --m_Figures.m_LiveBlocks;
    if (!hadBlocks)
        _LinkToClass(slab, sizeClass);
    if (slab->m_Live != 0)
        return;
    _UnlinkFromClass(slab, sizeClass);
    _Retire(slab);
}

void CSlabHeap::_LinkToClass(SSlab *slab, u32 sizeClass)
{
    SSlab *&first = m_WithBlocks[sizeClass];
    slab->m_Previous = nullptr;
    slab->m_Next = first;
    if (first != nullptr)
        first->m_Previous = slab;
    first = slab;
}

void CSlabHeap::_UnlinkFromClass(SSlab *slab, u32 sizeClass)
{
    SSlab *&linkToIt = slab->m_Previous != nullptr ? slab->m_Previous->m_Next : m_WithBlocks[sizeClass];
    linkToIt = slab->m_Next;
    if (slab->m_Next != nullptr)
        slab->m_Next->m_Previous = slab->m_Previous;
}

// Takes a slab out of service, all blocks of which are back.
void CSlabHeap::_Retire(SSlab *slab)
{
    --m_Figures.m_UsedSlabs;
    if (m_Figures.m_IdleSlabs < kMaxIdleSlabs)
    {
        ++m_Figures.m_IdleSlabs;
        return Push(m_Idle, slab);
    }
    PortDiscard(MemoryOf(slab), kSlabBytes);
    ++m_Figures.m_ReturnedSlabs;
    Push(m_Returned, slab);
}

} // namespace Quorvane::Mem::Internal
