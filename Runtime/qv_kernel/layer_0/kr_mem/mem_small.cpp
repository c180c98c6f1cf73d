// The threads' caches of small blocks: how they begin, are filled and emptied in batches, and end.
#include "mem_small.h"

#include <mutex>

#include "mem_cache.h"
#include "mem_config.h"
#include "mem_large.h"
#include "mem_port.h"

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

// Caches that hold nothing and have no room, so that nobody ever writes to them: of a thread that has none yet, and of
// one whose cache has ended.
QV_INTERNAL_CONSTINIT SSmallCache g_NoCacheYet = {};
QV_INTERNAL_CONSTINIT SSmallCache g_CacheEnded = {};

QV_INTERNAL_CONSTINIT QV_INTERNAL_NO_DESTROY CSlabHeap g_Heap;

// Whether small blocks are ours or the platform's, decided when the first one is asked for.
enum EDecision : u32
{
    Decision_None = 0,
    Decision_Ours,
    Decision_Platform,
    Decision_Watched, // the platform's, and of exact sizes
};

QV_INTERNAL_CONSTINIT TAtomic<u32> g_Decision;
QV_INTERNAL_CONSTINIT QV_INTERNAL_NO_DESTROY std::mutex g_DecisionLock;

EDecision Decide()
{
    if (kTracks || kSanitized || (kMindsSanitizers && PortIsSanitized()) || PortRunsUnderValgrind())
        return Decision_Watched;
    if (!kCachesSmallBlocks || !g_Heap.Reserve())
        return Decision_Platform;
    g_SmallRange.Store(g_Heap.Base());
    // A copy of the process, made while another thread holds the lock, would find it held for ever.
    PortAroundFork([] { g_Heap.Lock(); }, [] { g_Heap.Unlock(); });
    return Decision_Ours;
}

QV_INTERNAL_COLD u32 DecideOnce()
{
    const std::lock_guard<std::mutex> guard(g_DecisionLock);
    if (g_Decision.Load() == Decision_None)
        g_Decision.Store(Decide());
    return g_Decision.Load();
}

u32 Decision()
{
    const u32 decision = g_Decision.Load();
    return decision != Decision_None ? decision : DecideOnce();
}

void EmptyBin(SSmallCache &cache, u32 sizeClass)
{
    SSmallBin &bin = cache.m_Bins[sizeClass];
    bin.m_Head = g_Heap.Give(bin.m_Head, KeptBlocks(sizeClass) - bin.m_Room);
    bin.m_Room = KeptBlocks(sizeClass);
}

// Gives a thread's cache back when the thread ends. What the thread frees after that, from destructors that run later,
// goes past the cache.
class CEndOfCache
{
public:
    ~CEndOfCache()
    {
        SSmallCache *const cache = t_SmallCache;
        t_SmallCache = &g_CacheEnded;
        for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
            EmptyBin(*cache, sizeClass);
        PortFree(cache);
    }
    // Makes the thread's object, whose destructor is all that is wanted.
    void Await() {}
};

void AwaitEndOfThread()
{
#if defined(__clang__)
// The end of a thread, not of the program: the main thread's object has gone before the first static one is destroyed.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wexit-time-destructors"
#endif
    static thread_local CEndOfCache end;
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
    end.Await();
}

// The calling thread's cache, made when there is none yet; null when it cannot have one.
SSmallCache *CacheOfThread()
{
    SSmallCache *cache = t_SmallCache;
    if (cache == &g_CacheEnded)
        return nullptr;
    if (cache != &g_NoCacheYet)
        return cache;
    void *const memory = PortAlloc(sizeof(SSmallCache), 0);
    if (memory == nullptr)
        return nullptr;
    cache = ::new (memory) SSmallCache{};
    for (u32 sizeClass = 0; sizeClass < kSmallClassCount; ++sizeClass)
        cache->m_Bins[sizeClass].m_Room = KeptBlocks(sizeClass);
    t_SmallCache = cache;
    AwaitEndOfThread();
    return cache;
}

// A block past the cache, the bin of which is empty and gets the rest of a batch. Null when memory is refused.
void *TakeBlock(SSmallCache *cache, u32 sizeClass)
{
    SFreeBlock *first = nullptr;
    const u32 count = cache != nullptr ? BatchBlocks(sizeClass) : 1;
    const u32 taken = g_Heap.Take(sizeClass, count, first);
    if (taken > 1)
    {
        SSmallBin &bin = cache->m_Bins[sizeClass];
        bin.m_Head = first->m_Next;
        bin.m_Room -= taken - 1;
    }
    return first;
}

void GiveBlock(SSmallCache *cache, void *block)
{
    SFreeBlock *const freed = ::new (block) SFreeBlock{nullptr};
    if (cache == nullptr)
    {
        g_Heap.Give(freed, 1);
        return;
    }
    const u32 sizeClass = ClassOfSmallBlock(block);
    SSmallBin &bin = cache->m_Bins[sizeClass];
    if (bin.m_Room == 0)
    {
        bin.m_Head = g_Heap.Give(bin.m_Head, BatchBlocks(sizeClass));
        bin.m_Room = BatchBlocks(sizeClass);
    }
    freed->m_Next = bin.m_Head;
    bin.m_Head = freed;
    --bin.m_Room;
}

} // namespace

QV_INTERNAL_PLAIN_THREAD_LOCAL SSmallCache *t_SmallCache = &g_NoCacheYet;

// From here on the range would reach the end of all addresses, where no block lies.
QV_INTERNAL_CONSTINIT TAtomic<ureg> g_SmallRange(ureg(0) - kSmallRangeBytes);

void *AllocPastCache(u64 size)
{
    if (size > kMaxSmallBytes || !HasSmallBlocks())
        return AllocLarge(size, 0);
    // The class that serves it may have blocks left.
    if (size == 0)
        return AllocShort(1);
    void *const block = TakeBlock(CacheOfThread(), SmallClass(size));
    return block != nullptr ? block : AllocLarge(size, 0);
}

void FreePastCache(void *block)
{
    if (IsSmallBlock(block))
        GiveBlock(CacheOfThread(), block);
    else
        FreeLarge(block);
}

bool MayKeepRoom()
{
    return Decision() != Decision_Watched;
}

bool HasSmallBlocks()
{
    return Decision() == Decision_Ours;
}

SSlabFigures SmallFigures()
{
    return HasSmallBlocks() ? g_Heap.Figures() : SSlabFigures{};
}

} // namespace Quorvane::Mem::Internal
