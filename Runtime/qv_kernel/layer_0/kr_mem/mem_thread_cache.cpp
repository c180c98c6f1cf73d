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

// How many blocks an empty bin may keep.
u32 RoomOfBin(const SBins &bins, u32 sizeClass)
{
    return KeptBlocks(sizeClass) * (bins.m_Raises[sizeClass] + 1u);
}

// Refills a bin from the heap, and hands out the first block of the batch. Null when memory is refused.
QV_INTERNAL_NOINLINE void *Refill(SBins &bins, u32 sizeClass)
{
    CSlabHeap &heap = Process().m_Heap;
    SFreeBlock *&first = bins.m_First[sizeClass];
    // Not empty: the link in its first block was overwritten. All of its blocks are left alone.
    if (QV_INTERNAL_UNLIKELY(!heap.Links().IsEnd(first)))
    {
        heap.NoteOverwritten(first);
        bins.m_Vacant[sizeClass] = RoomOfBin(bins, sizeClass);
    }
    bins.m_Vacant[sizeClass] -= heap.Take(sizeClass, BatchBlocks(sizeClass), first);
    bins.m_HasTaken[sizeClass] = true;
    void *const block = TakeFirst(bins, sizeClass);
    heap.ReportOverwritten();
    return block;
}

// A block of the heap's for a thread without a cache. Null when memory is refused.
QV_INTERNAL_NOINLINE void *TakeOne(u32 sizeClass)
{
    SFreeBlock *const block = Process().m_Heap.TakeOne(sizeClass);
    Process().m_Heap.ReportOverwritten();
    return block != nullptr ? MakeLive(block) : nullptr;
}

// Makes room in a full bin. Where its thread has taken blocks since it was full the last time, the bin is too small for the
// thread's ups and downs, and may keep more from now on; else the heap gets a batch. So a bin into which another thread's
// blocks come without end stays small. The bin stays full where the heap takes none of the batch.
QV_INTERNAL_NOINLINE void MakeRoom(SThreadCache &cache, u32 sizeClass)
{
    SBins &bins = cache.m_Bins;
    if (bins.m_HasTaken[sizeClass] && bins.m_Raises[sizeClass] < kMaxRaises && cache.m_Raises < kMaxRaisesOfThread)
    {
        bins.m_Vacant[sizeClass] = KeptBlocks(sizeClass);
        ++bins.m_Raises[sizeClass];
        ++cache.m_Raises;
    }
    else
    {
        const u32 given = Process().m_Heap.Give(bins.m_First[sizeClass], BatchBlocks(sizeClass));
        // Empty, where a link was overwritten.
        const bool isEmpty = Process().m_Heap.Links().IsEnd(bins.m_First[sizeClass]);
        bins.m_Vacant[sizeClass] = QV_INTERNAL_UNLIKELY(isEmpty) ? RoomOfBin(bins, sizeClass) : given;
    }
    bins.m_HasTaken[sizeClass] = false;
}

// Puts a block into its bin, and gives the heap a batch first where that is full; without a cache, gives the block, and
// so where the heap has taken none of the batch.
void PutBack(SThreadCache *cache, void *block)
{
    const u32 sizeClass = ClassOfSmallBlock(block);
    Wipe(block, ClassBytes(sizeClass));
    if (cache != nullptr && cache->m_Bins.m_Vacant[sizeClass] == 0)
        MakeRoom(*cache, sizeClass);
    if (cache != nullptr && cache->m_Bins.m_Vacant[sizeClass] != 0)
        PutFirst(cache->m_Bins, sizeClass, block);
    else
        Process().m_Heap.GiveOne(block);
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
// Returns: false, with nothing done, for what is not kept.
bool KeepLarge(void *block)
{
    SThreadCache *const cache = ThreadCache();
    if (!LargeBlocksHaveHeads())
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
    Wipe(block, head.m_Room);
    UnmarkLarge(block);
    kept.m_Block = block;
    return true;
}

// Whether a block that looks like a free one is free: its user may have copied back into it what it held when it was.
bool LiesAmongFree(const void *block)
{
    CSlabHeap &heap = Process().m_Heap;
    const u32 sizeClass = ClassOfSmallBlock(block);
    return heap.Links().HoldsBlock(ThreadCache()->m_Bins.m_First[sizeClass], kMaxBlocksPerSlab, block) ||
           heap.IsBack(block) || LiesInAnyCache(block, sizeClass);
}

QV_INTERNAL_COLD bool IsFree(const void *block)
{
    const bool freed = LiesAmongFree(block);
    QV_ASSERT_MESSAGE(!freed, "block %p was freed already", block);
    return freed;
}

} // namespace

// From here on the range would reach the end of all addresses, where no block lies.
QV_INTERNAL_CONSTINIT TAtomic<ureg> g_SmallRange(ureg(0) - kSmallRangeBytes);
QV_INTERNAL_CONSTINIT TAtomic<ureg> g_SmallRangeKnown;
QV_INTERNAL_CONSTINIT CFreeLinks g_FreeLinks;

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
    SThreadCache *const cache = CacheOfThread();
    const u32 sizeClass = SmallClass(size);
    void *const block = cache != nullptr ? Refill(cache->m_Bins, sizeClass) : TakeOne(sizeClass);
    return block != nullptr ? block : AllocLarge(size, kSmallStep);
}

void FreeSlow(void *block)
{
    if (IsSmallBlock(block))
    {
        if (IsLiveSmallBlock(block))
            PutBack(CacheOfThread(), block);
        return Process().m_Heap.ReportOverwritten();
    }
    if (block != nullptr && IsLargeBlock(block) && !KeepLarge(block))
        FreeLarge(block);
}

bool IsLiveSmallBlock(const void *block)
{
    if (IsBlock(block, ClassOfSmallBlock(block)))
        return !g_FreeLinks.MayBeFree(block) || !IsFree(block);
    ReportForeign(block);
    return false;
}

bool IsLargeBlock(void *block)
{
    if (!LargeBlocksHaveHeads())
        return true;
    // There may be no memory to look for a head in: in a part of the range that nobody has mapped, which is where the head
    // of a pointer to the range's end would lie, too, and where the platform took back what was freed.
    const bool mayBeGone = OffsetInRange(block) <= kSmallRangeBytes || WasFreedLately(block);
    if ((!mayBeGone || PortIsReadable(PageOf(&HeadOf(block), PortPageBytes()))) && HasHead(block))
        return true;
    ReportForeign(block);
    return false;
}

void ReportForeign(const void *block)
{
    constexpr bool allocated = false;
    QV_ASSERT_MESSAGE(allocated, "block %p was not allocated here, or was freed already", block);
    static_cast<void>(block);
}

} // namespace Quorvane::Mem::Internal
