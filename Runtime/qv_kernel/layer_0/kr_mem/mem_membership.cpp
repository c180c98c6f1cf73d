// How this copy of the library joins the others of its process, and leaves them.
#include "mem_membership.h"

#include "mem_default.h"
#include "mem_port.h"
#include "mem_process.h"
#include "mem_thread_cache.h"
#include "mem_threads.h"

namespace Quorvane::Mem::Internal
{

namespace
{

constexpr SAllocator kDefaultAllocator = {&DefaultAlloc, &DefaultRealloc, &DefaultFree};

// Makes an allocator that of this copy alone; null: the default one.
void UseAllocator(const SAllocator *allocator)
{
    g_Allocator = allocator != nullptr ? *allocator : kDefaultAllocator;
    const bool usesFastPath = kCachesSmallBlocks && IsDefault(g_Allocator);
    if (!usesFastPath)
        g_SmallRangeKnown.Store(0);
    g_MaxFastBytes.Store(usesFastPath ? kMaxSmallBytes : 0);
}

QV_INTERNAL_CONSTINIT SCopy g_ThisCopy = {&UseAllocator, nullptr};

// The link of the list of copies that leads to this one; the list's end where it is in none. Requires the lock.
SCopy *&LinkToThisCopy()
{
    SCopy **link = &Process().m_Copies;
    while (*link != nullptr && *link != &g_ThisCopy)
        link = &(*link)->m_Next;
    return *link;
}

// Adds this copy of the library to those of its process, for which others may have installed an allocator.
void AddCopy()
{
    const CSharedGuard guard;
    // Several threads may come here at once, since none of them waits for another one.
    if (g_SmallRange.Load() == Process().m_Heap.Base())
        return;
    // Before threads have caches, and know of the range.
    g_FreeLinks = Process().m_Heap.Links();
    BeginCaches(guard);
    // It is in the list already where another thread had come so far when the process was copied.
    LinkToThisCopy() = &g_ThisCopy;
    // Before the fast path is open: whoever takes it knows which blocks are small.
    g_SmallRange.Store(Process().m_Heap.Base());
    UseAllocator(Process().m_IsReplaced ? &Process().m_Allocator : nullptr);
}

void RemoveCopy()
{
    const CSharedGuard guard;
    EndCaches(guard);
    LinkToThisCopy() = g_ThisCopy.m_Next;
}

// The library is about to be unloaded, with a plugin, or the process ends.
QV_INTERNAL_AT_END_BEGIN
void Leave()
{
    if (g_Policy.Load() != Policy_Slabs)
        return;
    RemoveCopy();
    EndCacheOfThread();
}
QV_INTERNAL_AT_END_END

EPolicy Decide()
{
    if (IsWatched())
        return Policy_Watched;
    SProcess *const process = FindOrMakeProcess();
    if (process == nullptr)
        return Policy_Platform;
    // Relaxed: all who come here write the same, and others read it after what AddCopy and JoinNow store behind it.
    g_Process.store(process, std::memory_order_relaxed);
    AddCopy();
    return Policy_Slabs;
}

} // namespace

QV_INTERNAL_CONSTINIT SAllocator g_Allocator = kDefaultAllocator;

QV_INTERNAL_COLD void JoinNow()
{
    const u32 policy = Decide();
    if (g_Policy.SetValueIfEqualTo(policy, Policy_Undecided) && policy != Policy_Slabs)
        UseAllocator(nullptr);
}

bool HasSmallBlocks()
{
    Join();
    return g_Policy.Load() == Policy_Slabs;
}

bool IsDefault(const SAllocator &allocator)
{
    return allocator.m_Alloc == kDefaultAllocator.m_Alloc && allocator.m_Realloc == kDefaultAllocator.m_Realloc &&
           allocator.m_Free == kDefaultAllocator.m_Free;
}

void ShareAllocator(const SAllocator *allocator)
{
    UseAllocator(allocator);
    if (!HasSmallBlocks())
        return;
    const CSharedGuard guard;
    Process().m_IsReplaced = allocator != nullptr;
    Process().m_Allocator = allocator != nullptr ? *allocator : SAllocator{};
    for (const SCopy *copy = Process().m_Copies; copy != nullptr; copy = copy->m_Next)
        copy->m_UseAllocator(allocator);
}

SSlabFigures SmallFigures()
{
    return HasSmallBlocks() ? Process().m_Heap.Figures() : SSlabFigures{};
}

} // namespace Quorvane::Mem::Internal
