// Caches of small blocks that begin and end with their threads.
#include "mem_threads.h"

#include <new>

#include "mem_large.h"
#include "mem_port.h"
#include "mem_process.h"

namespace Quorvane::Mem::Internal
{

namespace
{

// A thread that uses a few strings has no use for a cache, which costs more than it spares then. It gets one when it has
// asked the heap this often.
constexpr u32 kAskedBeforeCache = 16;

// How often a thread without a cache has asked the heap.
QV_INTERNAL_PLAIN_THREAD_LOCAL u32 t_Asked QV_INTERNAL_INITIAL_EXEC = 0;

// The key whose destructor ends a thread's cache, and whether this copy has one. Guarded by the lock of what the copies
// share.
QV_INTERNAL_CONSTINIT bool g_HasCacheKey = false;
QV_INTERNAL_CONSTINIT PortThreadKey g_CacheKey = {};
QV_INTERNAL_THREAD_KEY_CALLS(g_CacheKey);

// Tells this copy of the library from the others.
const void *ThisCopy()
{
    return &g_CacheKey;
}

// ---- The list of caches. Its functions require the lock. --------------------------------------------------------------

// Requires: a cache that is in no list yet.
void LinkCache(SThreadCache *cache)
{
    SThreadCache *&first = Process().m_Caches;
    cache->m_Next = first;
    if (first != nullptr)
        first->m_Previous = cache;
    first = cache;
}

void UnlinkCache(SThreadCache *cache)
{
    if (cache->m_Next != nullptr)
        cache->m_Next->m_Previous = cache->m_Previous;
    if (cache->m_Previous != nullptr)
        cache->m_Previous->m_Next = cache->m_Next;
    // After a fork that left the list torn, it begins anew without the caches from before, and this may be one of them.
    else if (Process().m_Caches == cache)
        Process().m_Caches = cache->m_Next;
}

// Gives the memory of an empty cache back.
void DropCache(SThreadCache *cache)
{
    Process().m_Heap.GiveOne(cache);
}

// Gives all blocks of a cache back to the heap and to the platform, and then its own memory.
void FlushAndDropCache(SThreadCache *cache)
{
    for (SFreeBlock *&first : cache->m_Bins.m_First)
        Process().m_Heap.GiveAll(first);
    for (const SKeptLarge &kept : cache->m_Large)
        DropLarge(kept.m_Block);
    DropCache(cache);
}

// The caches that a copy of the library left when it was unloaded, of threads that go on.
void ReclaimOrphans()
{
    SThreadCache *next = nullptr;
    for (SThreadCache *cache = Process().m_Caches; cache != nullptr; cache = next)
    {
        next = cache->m_Next;
        if (cache->m_Owner != nullptr)
            continue;
        UnlinkCache(cache);
        FlushAndDropCache(cache);
    }
}

// ---- A thread's cache --------------------------------------------------------------------------------------------------

// Destructors of the thread that run later find no cache, and go to the heap.
void EndCache(void *ended)
{
    SThreadCache *const cache = static_cast<SThreadCache *>(ended);
    ThreadCache() = &g_CacheEnded;
    {
        const CSharedGuard guard;
        UnlinkCache(cache);
    }
    FlushAndDropCache(cache);
    Process().m_Heap.Trim();
    Process().m_Heap.ReportOverwritten();
}

// Makes the end of the calling thread end this cache. Returns: false where it cannot be told, or is not waited for.
QV_INTERNAL_COLD bool EndWithThread(SThreadCache *cache, EWaiting waiting)
{
    const CSharedGuard guard(waiting);
    if (!guard.IsHeld() || !g_HasCacheKey || !PortSetThreadValue(g_CacheKey, cache))
        return false;
    LinkCache(cache);
    return true;
}

// Returns: null where there can be none.
QV_INTERNAL_COLD SThreadCache *MakeCache(EWaiting waiting)
{
    // Should there be none, it takes as long again before this is tried again.
    PortOfThread(t_Asked) = 0;
    SFreeBlock *const block = Process().m_Heap.TakeOne(SmallClass(sizeof(SThreadCache)));
    if (block == nullptr)
        return nullptr;
    SThreadCache *const cache = ::new (block) SThreadCache{};
    for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
    {
        cache->m_Bins.m_First[sizeClass] = Process().m_Heap.Links().End();
        cache->m_Bins.m_Vacant[sizeClass] = KeptBlocks(sizeClass);
    }
    cache->m_Owner = ThisCopy();
    if (!EndWithThread(cache, waiting))
    {
        DropCache(cache);
        return nullptr;
    }
    ThreadCache() = cache;
    return cache;
}

} // namespace

QV_INTERNAL_CONSTINIT SThreadCache g_NoCacheYet = {};
QV_INTERNAL_CONSTINIT SThreadCache g_CacheEnded = {};
QV_INTERNAL_PLAIN_THREAD_LOCAL SThreadCache *t_Cache = &g_NoCacheYet;

SThreadCache *CacheOfThreadSlow()
{
    if (ThreadCache() == &g_CacheEnded)
        return nullptr;
    u32 &asked = PortOfThread(t_Asked);
    if (asked == kAskedBeforeCache)
        return MakeCache(Waiting_NotAtAll);
    ++asked;
    return nullptr;
}

SThreadCache *MakeCacheOfThread()
{
    if (ThreadCache() == &g_NoCacheYet)
        return MakeCache(Waiting_AsLongAsItTakes);
    return ThreadCache() != &g_CacheEnded ? ThreadCache() : nullptr;
}

void BeginCaches(const CSharedGuard &)
{
    ReclaimOrphans();
    g_HasCacheKey = PortMakeThreadKey(g_CacheKey, &EndCache);
}

void EndCaches(const CSharedGuard &)
{
    if (g_HasCacheKey)
        PortDropThreadKey(g_CacheKey);
    g_HasCacheKey = false;
    for (SThreadCache *cache = Process().m_Caches; cache != nullptr; cache = cache->m_Next)
        if (cache->m_Owner == ThisCopy())
            cache->m_Owner = nullptr;
}

bool LiesInAnyCache(const void *block, u32 sizeClass)
{
    const CSharedGuard guard(Waiting_NotAtAll);
    if (!guard.IsHeld())
        return false;
    const CFreeLinks &links = Process().m_Heap.Links();
    const SThreadCache *cache = Process().m_Caches;
    while (cache != nullptr && !links.HoldsBlock(cache->m_Bins.m_First[sizeClass], kMaxBlocksPerSlab, block))
        cache = cache->m_Next;
    return cache != nullptr;
}

void EndCacheOfThread()
{
    if (ThreadCache() != &g_NoCacheYet && ThreadCache() != &g_CacheEnded)
        EndCache(ThreadCache());
}

} // namespace Quorvane::Mem::Internal
