// The slow path to small blocks: bins that are refilled from the heap and flushed to it, and what is no small block.
#include "mem_thread_cache.h"

#include "mem_large.h"
#include "mem_process.h"

namespace Quorvane::Mem::Internal
{

namespace
{

// Whether it is some thread's, which may be written to.
bool IsReal(const SThreadCache *cache)
{
    return cache != &g_NoCacheYet && cache != &g_CacheEnded;
}

// Refills the empty bin from the heap, and hands out the first block of the batch; without a cache, takes that block
// alone. Null when memory is refused.
QV_INTERNAL_NOINLINE void *Refill(SThreadCache *cache, u32 sizeClass)
{
    SFreeBlock *first = nullptr;
    const u32 taken = Process().m_Heap.Take(sizeClass, cache != nullptr ? BatchBlocks(sizeClass) : 1, first);
    if (cache != nullptr && taken != 0)
    {
        SBin &bin = cache->m_Bins[sizeClass];
        bin.m_Head = first->m_Next;
        bin.m_Vacant -= taken - 1;
        bin.m_HasTaken = true;
    }
    return taken != 0 ? MakeLive(first, sizeClass) : nullptr;
}

// Makes room in a full bin. Where its thread has taken blocks since it was full the last time, the bin is too small for the
// thread's ups and downs, and may keep more from now on; else the heap gets a batch. So a bin into which another thread's
// blocks come without end stays small. The bin stays full where the heap takes none of the batch.
QV_INTERNAL_NOINLINE void MakeRoom(SThreadCache &cache, u32 sizeClass)
{
    SBin &bin = cache.m_Bins[sizeClass];
    if (bin.m_HasTaken && bin.m_Raises < kMaxRaises && cache.m_Raises < kMaxRaisesOfThread)
    {
        bin.m_Vacant = KeptBlocks(sizeClass);
        ++bin.m_Raises;
        ++cache.m_Raises;
    }
    else
        bin.m_Vacant = Process().m_Heap.Give(bin.m_Head, BatchBlocks(sizeClass));
    bin.m_HasTaken = false;
}

// Puts a block into its bin, and gives the heap a batch first where that is full; without a cache, gives the block, and
// so where the heap has taken none of the batch.
void PutBack(SThreadCache *cache, void *block)
{
    const u32 sizeClass = ClassOfSmallBlock(block);
    SFreeBlock *const freed = MakeFree(block, sizeClass, nullptr);
    if (cache == nullptr)
        return Process().m_Heap.GiveOne(freed);
    SBin &bin = cache->m_Bins[sizeClass];
    if (bin.m_Vacant == 0)
        MakeRoom(*cache, sizeClass);
    if (bin.m_Vacant == 0)
        return Process().m_Heap.GiveOne(freed);
    freed->m_Next = bin.m_Head;
    bin.m_Head = freed;
    --bin.m_Vacant;
}

// A large block: the one of about that size that the thread keeps, or a new one. The platform takes longer for a block of
// some KiB than it takes to fill it.
void *TakeLarge(u64 size)
{
    SThreadCache *const cache = ThreadCache();
    if (size >= kMaxKeptLargeBytes || !IsReal(cache))
        return AllocLarge(size, kSmallStep);
    SKeptLarge &kept = cache->m_Large[size / kKeptLargeStep];
    kept.m_HasTaken = true;
    void *const block = kept.m_Block;
    if (block == nullptr || HeadOf(block).m_Room < size)
        return AllocLarge(size, kSmallStep);
    kept.m_Block = nullptr;
    return RemarkLarge(block);
}

// Keeps a large block of a thread that takes and gives blocks of about that size by turns. One that gives two in a row gives
// the platform both, and keeps none until it takes one again: what is kept may lie at the end of the platform's memory,
// which then cannot give back what lies below.
// Returns: false, with nothing done, for what is not kept, or is no large block.
bool KeepLarge(void *block)
{
    SThreadCache *const cache = ThreadCache();
    if (block == nullptr || !IsReal(cache) || !HasHead(block))
        return false;
    const SLargeHead &head = HeadOf(block);
    if (head.m_Room <= kMaxSmallBytes || head.m_Room >= kMaxKeptLargeBytes || head.m_Offset > kLargeAlignment)
        return false;
    SKeptLarge &kept = cache->m_Large[head.m_Room / kKeptLargeStep];
    if (!kept.m_HasTaken)
        return false;
    if (kept.m_Block != nullptr)
    {
        DropLarge(kept.m_Block);
        kept = SKeptLarge{nullptr, false};
        return false;
    }
    UnmarkLarge(block);
    kept.m_Block = block;
    return true;
}

// Whether a block that bears the mark of a free one is free: its user may have copied the mark back into it. Other
// threads' caches are not looked through; they change without a lock.
bool LiesAmongFree(const void *block)
{
    const SFreeBlock *free = ThreadCache()->m_Bins[ClassOfSmallBlock(block)].m_Head;
    while (free != nullptr && free != block)
        free = free->m_Next;
    return free != nullptr || Process().m_Heap.IsBack(block);
}

QV_INTERNAL_COLD bool IsFreedTwice(const void *block)
{
    const bool freed = LiesAmongFree(block);
    QV_ASSERT_MESSAGE(!freed, "block %p was freed twice", block);
    return freed;
}

} // namespace

// From here on the range would reach the end of all addresses, where no block lies.
QV_INTERNAL_CONSTINIT TAtomic<ureg> g_SmallRange(ureg(0) - kSmallRangeBytes);
QV_INTERNAL_CONSTINIT TAtomic<ureg> g_SmallRangeKnown;

bool IsSmallBlockSlow(ureg offset)
{
    // Null for an address that no block has: a thread that has seen the range sees the process that it was read from,
    // also while another thread has not finished joining it.
    SProcess *const process = g_Process.load(std::memory_order_relaxed);
    if (process == nullptr)
        return false;
    const ureg known = process->m_Heap.MappedBytes();
    // The store of a thread that is late may take it back a little: then this is asked once more.
    if (UsesFastPath())
        g_SmallRangeKnown.Store(known);
    return offset < known;
}

void *AllocSlow(u64 size)
{
    if (size > kMaxSmallBytes || g_Policy.Load() != Policy_Slabs)
        return TakeLarge(size);
    // The class that serves it may have blocks left.
    if (size == 0)
        return AllocFast(1);
    void *const block = Refill(CacheOfThread(), SmallClass(size));
    return block != nullptr ? block : AllocLarge(size, kSmallStep);
}

void FreeSlow(void *block)
{
    if (IsSmallBlock(block))
    {
        if (!MayBeFree(block, ClassOfSmallBlock(block)) || !IsFreedTwice(block))
            PutBack(CacheOfThread(), block);
        return;
    }
    if (!KeepLarge(block) && !FreeLarge(block))
        ReportForeign(block);
}

void ReportForeign(const void *block)
{
    constexpr bool allocated = false;
    QV_ASSERT_MESSAGE(allocated, "block %p was not allocated here, or was freed already", block);
    static_cast<void>(block);
}

} // namespace Quorvane::Mem::Internal
