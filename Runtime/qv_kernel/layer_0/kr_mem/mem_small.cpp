// The threads' caches of small blocks: how they begin, are filled and emptied in batches, and end; and how this copy of
// the library joins the others in its process, and leaves them.
#include "mem_small.h"

#include <atomic>

#include "kr_assert.h"

#include "mem_cache.h"
#include "mem_config.h"
#include "mem_large.h"
#include "mem_port.h"
#include "mem_process.h"

namespace Quorvane::Mem::Internal
{

namespace
{

// What a thread may keep of each class.
constexpr u64 kKeptBytesPerClass = 8u << 10;

constexpr u32 KeptBlocks(u32 sizeClass)
{
    return sizeClass == 0 ? 0 : static_cast<u32>(kKeptBytesPerClass / ClassBytes(sizeClass));
}

// Half of what may be kept moves at a time, so that neither a run of allocations nor one of frees pays each time.
constexpr u32 BatchBlocks(u32 sizeClass)
{
    return KeptBlocks(sizeClass) / 2;
}

static_assert(kKeptBytesPerClass * kSmallClassCount <= (1u << 20) + kKeptBytesPerClass, "a thread keeps 1 MiB at most");
static_assert(BatchBlocks(kSmallClassCount - 1) >= 1, "a batch is never empty");

// The first batch of a class; each one is twice as large as the one before, so that who needs few takes few.
constexpr u32 kFirstBatch = 4;

// A thread that uses a few strings has no use for a cache, which costs more than it spares then. It gets one when it has
// asked the heap this often.
constexpr u32 kAskedBeforeCache = 16;

// Caches that hold nothing and have no room, so that nobody ever writes to them: of a thread that has none yet, and of
// one whose cache has ended.
QV_INTERNAL_CONSTINIT SSmallCache g_NoCacheYet = {};
QV_INTERNAL_CONSTINIT SSmallCache g_CacheEnded = {};

// How often a thread without a cache has asked the heap.
QV_INTERNAL_PLAIN_THREAD_LOCAL u32 t_Asked QV_INTERNAL_INITIAL_EXEC = 0;

// Whether small blocks are ours or the platform's, decided when the first block is asked for.
enum EDecision : u32
{
    Decision_None = 0,
    Decision_Ours,
    Decision_Platform,
    Decision_Watched, // the platform's, and of exact sizes
};

QV_INTERNAL_CONSTINIT TAtomic<u32> g_Decision;

// What this copy of the library has joined, null where it has not.
QV_INTERNAL_CONSTINIT std::atomic<SProcess *> g_Process = {nullptr};

// Requires: that the decision was Decision_Ours.
SProcess &Process()
{
    // Relaxed: everybody who writes it writes the same, and whoever asks here has seen the decision, or wrote it.
    return *g_Process.load(std::memory_order_relaxed);
}

// Whether threads that end tell: g_CacheKey is theirs then. Guarded by the process' lock.
QV_INTERNAL_CONSTINIT bool g_ThreadsTell = false;
QV_INTERNAL_CONSTINIT PortThreadKey g_CacheKey = {};

QV_INTERNAL_CONSTINIT SCopy g_ThisCopy = {&UseAllocator, nullptr};

// Holds the lock of what the copies share. After a fork in the middle of a change the lists may be torn: what stands in
// them belongs to threads that are not here.
class CSharedGuard
{
public:
    CSharedGuard() : m_Guard(Process().m_Lock)
    {
        if (m_Guard.WasLeft())
            Process().m_Caches = nullptr;
    }

private:
    CProcessGuard m_Guard;
};

// ---- The list of caches. Its functions require the lock. --------------------------------------------------------------

void LinkCache(SSmallCache *cache)
{
    SSmallCache *&first = Process().m_Caches;
    cache->m_Previous = nullptr;
    cache->m_Next = first;
    if (first != nullptr)
        first->m_Previous = cache;
    first = cache;
}

void UnlinkCache(SSmallCache *cache)
{
    if (cache->m_Next != nullptr)
        cache->m_Next->m_Previous = cache->m_Previous;
    if (cache->m_Previous != nullptr)
        cache->m_Previous->m_Next = cache->m_Next;
    else if (Process().m_Caches == cache)
        Process().m_Caches = cache->m_Next;
}

// Gives all blocks of a cache back.
void EmptyCache(SSmallCache &cache)
{
    for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
    {
        SSmallBin &bin = cache.m_Bins[sizeClass];
        const u32 kept = KeptBlocks(sizeClass) - bin.m_Room;
        if (kept != 0)
            bin.m_Head = Process().m_Heap.Give(bin.m_Head, kept);
        bin.m_Room = KeptBlocks(sizeClass);
    }
}

// The caches that a copy of the library left when it was unloaded, of threads that go on.
void TakeOverCaches()
{
    SSmallCache *next = nullptr;
    for (SSmallCache *cache = Process().m_Caches; cache != nullptr; cache = next)
    {
        next = cache->m_Next;
        if (cache->m_Owner != nullptr)
            continue;
        UnlinkCache(cache);
        EmptyCache(*cache);
        PortFree(cache);
    }
}

// ---- A thread's cache --------------------------------------------------------------------------------------------------

// Gives a thread's cache back when the thread ends. What the thread frees after that, from destructors that run later,
// goes past the cache.
void EndCache(void *ended)
{
    SSmallCache *const cache = static_cast<SSmallCache *>(ended);
    t_SmallCache = &g_CacheEnded;
    {
        const CSharedGuard guard;
        UnlinkCache(cache);
    }
    EmptyCache(*cache);
    PortFree(cache);
}

// Makes the end of the calling thread give this cache back. Returns: false where threads do not tell of their end.
bool AwaitEnd(SSmallCache *cache)
{
    const CSharedGuard guard;
    if (!g_ThreadsTell || !PortSetThreadValue(g_CacheKey, cache))
        return false;
    LinkCache(cache);
    return true;
}

// Returns: null where there can be none.
QV_INTERNAL_COLD SSmallCache *MakeCache()
{
    // Should there be none, it takes as long again before this is tried again.
    t_Asked = 0;
    void *const memory = PortAlloc(sizeof(SSmallCache), 0);
    if (memory == nullptr)
        return nullptr;
    SSmallCache *const cache = ::new (memory) SSmallCache{};
    for (u32 sizeClass = 0; sizeClass < kSmallClassCount; ++sizeClass)
        cache->m_Bins[sizeClass] =
            SSmallBin{nullptr, KeptBlocks(sizeClass), QVMin(kFirstBatch, BatchBlocks(sizeClass))};
    cache->m_Owner = &g_ThisCopy;
    if (!AwaitEnd(cache))
    {
        PortFree(cache);
        return nullptr;
    }
    t_SmallCache = cache;
    return cache;
}

// The calling thread's cache, made when it is worth it; null when there is none.
SSmallCache *CacheOfThread()
{
    SSmallCache *const cache = t_SmallCache;
    if (cache == &g_CacheEnded)
        return nullptr;
    if (cache != &g_NoCacheYet)
        return cache;
    if (t_Asked < kAskedBeforeCache)
    {
        ++t_Asked;
        return nullptr;
    }
    return MakeCache();
}

u32 NextBatch(SSmallBin &bin, u32 sizeClass)
{
    const u32 batch = bin.m_Batch;
    bin.m_Batch = QVMin(2 * batch, BatchBlocks(sizeClass));
    return batch;
}

// A block past the cache, the bin of which is empty and gets the rest of a batch. Null when memory is refused.
void *TakeBlock(SSmallCache *cache, u32 sizeClass)
{
    SFreeBlock *first = nullptr;
    const u32 count = cache != nullptr ? NextBatch(cache->m_Bins[sizeClass], sizeClass) : 1;
    const u32 taken = Process().m_Heap.Take(sizeClass, count, first);
    if (taken > 1)
    {
        SSmallBin &bin = cache->m_Bins[sizeClass];
        bin.m_Head = first->m_Next;
        bin.m_Room -= taken - 1;
    }
    return taken != 0 ? MakeLive(first, sizeClass) : nullptr;
}

void GiveBlock(SSmallCache *cache, void *block)
{
    const u32 sizeClass = ClassOfSmallBlock(block);
    SFreeBlock *const freed = MakeFree(block, sizeClass, nullptr);
    if (cache == nullptr)
    {
        Process().m_Heap.Give(freed, 1);
        return;
    }
    SSmallBin &bin = cache->m_Bins[sizeClass];
    if (bin.m_Room == 0)
    {
        bin.m_Head = Process().m_Heap.Give(bin.m_Head, BatchBlocks(sizeClass));
        bin.m_Room = BatchBlocks(sizeClass);
    }
    freed->m_Next = bin.m_Head;
    bin.m_Head = freed;
    --bin.m_Room;
}

// Whether a block that bears the mark of a free one is free: its last user may have left the mark where it was.
bool IsFree(const void *block)
{
    const SFreeBlock *free = t_SmallCache->m_Bins[ClassOfSmallBlock(block)].m_Head;
    while (free != nullptr && free != block)
        free = free->m_Next;
    return free != nullptr || Process().m_Heap.IsFree(block);
}

QV_INTERNAL_COLD bool IsFreedTwice(const void *block)
{
    const bool freed = IsFree(block);
    QV_ASSERT_MESSAGE(!freed, "block %p was freed twice", block);
    return freed;
}

// ---- Joining and leaving -----------------------------------------------------------------------------------------------

// Adds this copy of the library to those of its process, for which others may have installed an allocator.
void AddCopy()
{
    const CSharedGuard guard;
    // Several threads may come here at once, since none of them waits for another one.
    if (g_SmallRange.Load() == Process().m_Heap.Base())
        return;
    TakeOverCaches();
    g_ThreadsTell = PortMakeThreadKey(g_CacheKey, &EndCache);
    g_ThisCopy.m_Next = Process().m_Copies;
    Process().m_Copies = &g_ThisCopy;
    g_SmallRange.Store(Process().m_Heap.Base());
    UseAllocator(Process().m_IsReplaced ? &Process().m_Allocator : nullptr);
}

// The library is about to be unloaded, with a plugin, or the process ends. What threads that go on have in their caches
// stays there: at the end of a process they may be using it. The next copy that joins takes it over.
QV_INTERNAL_AT_END_BEGIN
void Leave()
{
    if (g_Decision.Load() != Decision_Ours)
        return;
    {
        const CSharedGuard guard;
        if (g_ThreadsTell)
            PortDropThreadKey(g_CacheKey);
        g_ThreadsTell = false;
        for (SSmallCache *cache = Process().m_Caches; cache != nullptr; cache = cache->m_Next)
            if (cache->m_Owner == &g_ThisCopy)
                cache->m_Owner = nullptr;
        SCopy **link = &Process().m_Copies;
        while (*link != nullptr && *link != &g_ThisCopy)
            link = &(*link)->m_Next;
        if (*link != nullptr)
            *link = g_ThisCopy.m_Next;
    }
    if (t_SmallCache != &g_NoCacheYet && t_SmallCache != &g_CacheEnded)
        EndCache(t_SmallCache);
}
QV_INTERNAL_AT_END_END

EDecision Decide()
{
    if (kTracks || kSanitized || (kMindsSanitizers && PortIsSanitized()) || PortRunsUnderValgrind())
        return Decision_Watched;
    SProcess *const process = FindOrMakeProcess();
    if (process == nullptr)
        return Decision_Platform;
    g_Process.store(process, std::memory_order_relaxed);
    AddCopy();
    return Decision_Ours;
}

// Nobody waits for anybody: a thread that decides may have to wait for the loader of programs, or stand in the middle of
// a fork. All who decide at once come to the same end.
QV_INTERNAL_COLD void DecideNow()
{
    const u32 decision = Decide();
    if (g_Decision.SetValueIfEqualTo(decision, Decision_None) && decision != Decision_Ours)
        UseAllocator(nullptr);
}

} // namespace

QV_INTERNAL_PLAIN_THREAD_LOCAL SSmallCache *t_SmallCache = &g_NoCacheYet;

// From here on the range would reach the end of all addresses, where no block lies.
QV_INTERNAL_CONSTINIT TAtomic<ureg> g_SmallRange(ureg(0) - kSmallRangeBytes);
QV_INTERNAL_CONSTINIT TAtomic<ureg> g_SmallRangeKnown;

bool IsSmallBlockBeyondKnown(ureg offset)
{
    if (g_Decision.Load() != Decision_Ours)
        return false;
    const ureg known = Process().m_Heap.MappedBytes();
    g_SmallRangeKnown.Store(known);
    return offset < known;
}

void *AllocPastCache(u64 size)
{
    if (size > kMaxSmallBytes || g_Decision.Load() != Decision_Ours)
        return AllocLarge(size, kSmallStep);
    // The class that serves it may have blocks left.
    if (size == 0)
        return AllocShort(1);
    void *const block = TakeBlock(CacheOfThread(), SmallClass(size));
    return block != nullptr ? block : AllocLarge(size, kSmallStep);
}

void FreePastCache(void *block)
{
    // Another copy of the library may have made the block, before this one was asked for any.
    Begin();
    if (!IsSmallBlock(block))
        FreeLarge(block);
    else if (!MayBeFree(block, ClassOfSmallBlock(block)) || !IsFreedTwice(block))
        GiveBlock(CacheOfThread(), block);
}

void ReportForeign(const void *block)
{
    constexpr bool allocated = false;
    QV_ASSERT_MESSAGE(allocated, "block %p was not allocated here, or was freed already", block);
    static_cast<void>(block);
}

void Begin()
{
    if (QV_INTERNAL_UNLIKELY(g_Decision.Load() == Decision_None))
        DecideNow();
}

bool HasSmallBlocks()
{
    Begin();
    return g_Decision.Load() == Decision_Ours;
}

bool LargeBlocksHaveHeads()
{
    return kHasSmallRange && g_Decision.Load() != Decision_Watched;
}

bool MayKeepRoom()
{
    return g_Decision.Load() != Decision_Watched;
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
