// Programs about the heap of small blocks. Compiled for the checker, as the library is that they use.
#include "slab_programs.h"

#include <new>
#include <utility>

#include "held_blocks.h"
#include "kr_mem/mem_slabs.h"
#include "system_calls.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

const SHeapUse *g_HeapUse = nullptr;
const std::vector<SSetSteps> *g_SetUse = nullptr;

// ---- The heap ----------------------------------------------------------------------------------------------------------

class CHeapUse
{
public:
    CHeapUse()
    {
        m_Heap.Begin(MapFirst(kSlabBytes), kSmallRangeBytes, false);
        _MakeIdle(g_HeapUse->m_IdleSlabs);
        for (u32 i = 0; i < g_HeapUse->m_Others; ++i)
            m_Heap.TakeOne(g_HeapUse->m_SizeClass);
        for (u32 thread = 0; thread < g_HeapUse->m_Threads.size(); ++thread)
            for (u32 i = 0; i < g_HeapUse->m_Held; ++i)
                _Take(thread);
    }

    void Run(u32 thread)
    {
        for (const EHeapStep step : g_HeapUse->m_Threads[thread])
            switch (step)
            {
            case HeapStep_Take:
                _Take(thread);
                break;
            case HeapStep_Give:
                if (void *const dropped = m_Held.Drop(thread))
                    m_Heap.GiveOne(dropped);
                break;
            case HeapStep_HandOn:
                m_Held.HandOn(thread);
                break;
            case HeapStep_Trim:
                m_Heap.Trim();
                break;
            }
    }

    void Finish()
    {
        Require(m_Heap.Figures().m_LiveBlocks == g_HeapUse->m_Others + m_Held.Count(),
                "every block is out, or back, once");
        _ExpectInSets();
        _ExpectIdleCounted();
        _ExpectIdleFound();
    }

private:
    // Whoever has a block knows that it lies in the heap, by what is mapped.
    void _Take(u32 thread)
    {
        SFreeBlock *const block = m_Heap.TakeOne(g_HeapUse->m_SizeClass);
        if (block != nullptr)
            Require(reinterpret_cast<ureg>(block) - m_Heap.Base() < m_Heap.MappedBytes(), "a block lies in the heap");
        m_Held.Keep(thread, block);
    }

    // A slab of each of so many classes, the blocks of which come back.
    void _MakeIdle(u32 slabs)
    {
        SFreeBlock *blocks = m_Heap.Links().End();
        for (u32 sizeClass = 1; sizeClass <= slabs; ++sizeClass)
            blocks = m_Heap.Links().MakeFree(m_Heap.TakeOne(sizeClass), blocks);
        m_Heap.GiveAll(blocks);
    }

    // A slab that all blocks of are out is in none, and one that has them all back serves no class.
    void _ExpectInSets() const
    {
        const SChunk &chunk = *ChunkOf(reinterpret_cast<const void *>(m_Heap.Base()));
        for (u32 slab = 1; slab < m_Heap.MappedBytes() / kSlabBytes; ++slab)
        {
            const u32 state = chunk.m_Slabs[slab].m_State.Load();
            u32 places = (state & SSlab::kAllOut) != 0;
            for (u32 set = 0; set < kSlabSetCount; ++set)
            {
                const bool isIn = (chunk.m_Sets[set].Load() >> slab & 1) != 0;
                const bool isOfClass = set != kIdleSet && set < kReturnedSet;
                Require(!isIn || isOfClass != SSlab::HasNoneOut(state), "a slab serves a class while blocks are out");
                places += isIn;
            }
            Require(places == 1, "a slab is in one set, or is all out");
        }
    }

    // What is above the number that is kept is given to the system, and nothing else.
    void _ExpectIdleCounted()
    {
        const u32 idle = m_Heap.Figures().m_IdleSlabs;
        m_Heap.Trim();
        Require(m_Heap.Figures().m_IdleSlabs == QVMin(idle, kMaxIdleSlabsAfterThread), "idle slabs are counted");
    }

    // By classes that have no slab: more is mapped only when nothing is found. Their blocks are fresh.
    void _ExpectIdleFound()
    {
        const ureg mapped = m_Heap.MappedBytes();
        const u32 idle = m_Heap.Figures().m_IdleSlabs;
        for (u32 i = 0; i < idle; ++i)
        {
            const SFreeBlock *const block = m_Heap.TakeOne(g_HeapUse->m_SizeClass - 1 - i);
            Require(block != nullptr && reinterpret_cast<ureg>(block) % kSlabBytes == 0, "an idle slab begins anew");
        }
        Require(m_Heap.Figures().m_IdleSlabs == 0 && m_Heap.MappedBytes() == mapped, "idle slabs are found");
    }

    CSlabHeap m_Heap;
    CHeldBlocks m_Held;
};

// ---- The sets ----------------------------------------------------------------------------------------------------------

class CSetUse
{
public:
    CSetUse()
    {
        const ureg base = MapFirst(kSlabBytes);
        ::new (reinterpret_cast<void *>(base)) SChunk{};
        m_Sets.Begin(base);
        m_Sets.Put(kSet, kLastSlab);
        m_Sets.Claim(kSet, kLastSlab);
        for (u32 thread = 0; thread < g_SetUse->size(); ++thread)
        {
            const bool puts = (*g_SetUse)[thread].front() == SetStep_Put;
            m_Held[thread] = puts ? thread + 1 : CSlabSets::kNone;
            m_Slabs += puts;
        }
    }

    void Run(u32 thread)
    {
        for (const ESetStep step : (*g_SetUse)[thread])
        {
            const bool holdsOne = m_Held[thread] != CSlabSets::kNone;
            if (step == SetStep_Put && holdsOne)
                m_Sets.Put(kSet, std::exchange(m_Held[thread], CSlabSets::kNone));
            else if (step == SetStep_ClaimAny && !holdsOne)
                _Hold(thread, m_Sets.ClaimAny(kSet));
            else if (step == SetStep_Claim && !holdsOne && m_Sets.Claim(kSet, kFirstSlab))
                _Hold(thread, kFirstSlab);
        }
    }

    void Finish()
    {
        u32 slabs = 0;
        for (u32 thread = 0; thread < g_SetUse->size(); ++thread)
            slabs += m_Held[thread] != CSlabSets::kNone;
        while (m_Sets.ClaimAny(kSet) != CSlabSets::kNone)
            ++slabs;
        Require(slabs == m_Slabs, "each slab is held, or is found in the set");
    }

private:
    static constexpr u32 kSet = 3;
    static constexpr u32 kFirstSlab = 1;
    static constexpr u32 kLastSlab = kMaxThreads + 1;

    // Who holds a slab is the only one who writes to it.
    void _Hold(u32 thread, u32 slab)
    {
        m_Held[thread] = slab;
        if (slab != CSlabSets::kNone)
            m_Holders[slab] = thread;
    }

    CSlabSets m_Sets;
    u32 m_Slabs = 0;
    u32 m_Held[kMaxThreads] = {};
    u32 m_Holders[kLastSlab + 1] = {};
};

} // namespace

std::unique_ptr<CProgram> MakeHeapProgram(const SHeapUse &use)
{
    g_HeapUse = &use;
    return std::make_unique<TProgramOf<CHeapUse>>(static_cast<u32>(use.m_Threads.size()));
}

std::unique_ptr<CProgram> MakeSetProgram(const std::vector<SSetSteps> &threads)
{
    g_SetUse = &threads;
    return std::make_unique<TProgramOf<CSetUse>>(static_cast<u32>(threads.size()));
}

} // namespace QuorvaneTest::Concurrency
