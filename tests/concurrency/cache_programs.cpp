// Programs about the caches of threads. Compiled for the checker, as the library is that they use.
#include "cache_programs.h"

#include <new>

#include "fibers.h"
#include "held_blocks.h"
#include "kr_mem/mem_fast_path.h"
#include "kr_mem/mem_process.h"
#include "system_calls.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

// A cache keeps four of these, and takes one at a time from the heap.
constexpr u64 kBlockBytes = kMaxSmallBytes;
const std::vector<SCacheSteps> *g_CacheUse = nullptr;

void *AllocateOne()
{
    return AllocBlock(kBlockBytes, 16, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
}

void FreeOne(void *block)
{
    FreeBlock(block, kBlockBytes, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
}

class CCacheUse
{
public:
    CCacheUse()
    {
        _BeginProcess();
        for (u32 thread = 0; thread < g_CacheUse->size(); ++thread)
        {
            ThreadCache() = &g_NoCacheYet;
            m_Caches[thread] = MakeCacheOfThread();
            if ((*g_CacheUse)[thread].front() == CacheStep_Free)
                m_Held.Keep(thread, AllocateOne());
        }
        ThreadCache() = &g_NoCacheYet;
    }

    void Run(u32 thread)
    {
        ThreadCache() = m_Caches[thread];
        for (const ECacheStep step : (*g_CacheUse)[thread])
            switch (step)
            {
            case CacheStep_Allocate:
                m_Held.Keep(thread, AllocateOne());
                break;
            case CacheStep_Free:
                FreeOne(m_Held.Drop(thread));
                break;
            case CacheStep_HandOn:
                m_Held.HandOn(thread);
                break;
            case CacheStep_End:
                EndCacheOfThread();
                m_Caches[thread] = nullptr;
                break;
            }
    }

    void Finish()
    {
        u64 live = m_Held.Count();
        for (u32 thread = 0; thread < g_CacheUse->size(); ++thread)
            live += _BlocksOf(m_Caches[thread]);
        Require(Process().m_Heap.Figures().m_LiveBlocks == live, "every block is out, in a cache or back, once");
        u32 listed = 0;
        for (const SThreadCache *cache = Process().m_Caches; cache != nullptr; cache = cache->m_Next)
            ++listed;
        for (u32 thread = 0; thread < g_CacheUse->size(); ++thread)
            listed -= m_Caches[thread] != nullptr;
        Require(listed == 0, "the caches of threads that go on are listed, and no others");
        g_MaxFastBytes.Store(0);
    }

private:
    // As the library does it when the first block is asked for, at the checker's addresses.
    static void _BeginProcess()
    {
        const ureg base = MapFirst(kSlabBytes);
        SProcess *const process = ::new (reinterpret_cast<void *>(base + kChunkRecordBytes)) SProcess{};
        process->m_Heap.Begin(base, kSmallRangeBytes, false);
        g_Process.store(process, std::memory_order_relaxed);
        g_Policy.Store(Policy_Slabs);
        g_FreeLinks = process->m_Heap.Links();
        g_SmallRange.Store(base);
        {
            static const bool s_HasKey = (BeginCaches(CSharedGuard()), true);
            static_cast<void>(s_HasKey);
        }
        // So many slabs that threads map no more.
        SFreeBlock *blocks = g_FreeLinks.End();
        for (u32 sizeClass = 1; sizeClass <= kSlabs; ++sizeClass)
            blocks = g_FreeLinks.MakeFree(process->m_Heap.TakeOne(sizeClass), blocks);
        process->m_Heap.GiveAll(blocks);
        g_SmallRangeKnown.Store(process->m_Heap.MappedBytes());
        g_MaxFastBytes.Store(kMaxSmallBytes);
    }

    // A cache lies in a block, too.
    static u32 _BlocksOf(const SThreadCache *cache)
    {
        if (cache == nullptr)
            return 0;
        u32 blocks = 1;
        for (SFreeBlock *block : cache->m_Bins.m_First)
            for (; !g_FreeLinks.IsEnd(block); ++blocks)
                Require(g_FreeLinks.ReadLink(block, block), "free blocks are linked");
        return blocks;
    }

    static constexpr u32 kSlabs = 6;

    SThreadCache *m_Caches[kMaxThreads] = {};
    CHeldBlocks m_Held;
};

} // namespace

std::unique_ptr<CProgram> MakeCacheProgram(const std::vector<SCacheSteps> &threads)
{
    CFibers::KeepForEach(&t_Cache, sizeof(t_Cache));
    g_CacheUse = &threads;
    return std::make_unique<TProgramOf<CCacheUse>>(static_cast<u32>(threads.size()));
}

} // namespace QuorvaneTest::Concurrency
