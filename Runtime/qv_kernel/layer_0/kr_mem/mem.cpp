// The allocation functions and the hook behind them.
#include "kr_mem.h"

#include "kr_assert.h"
#include "mem_default.h"
#include "mem_fast_path.h"
#include "mem_membership.h"
#include "mem_port.h"
#include "mem_process.h"
#include "mem_threads.h"

namespace Quorvane::Mem
{

namespace
{

bool IsPowerOfTwoOrZero(u32 alignment)
{
    return (alignment & Quorvane::Internal::WrappingDifference(alignment, 1u)) == 0;
}

// What leaves the fast path. Apart from it, and with the same arguments, so that it need not save them.
QV_INTERNAL_NOINLINE void *RawAllocSlow(u64 size, u32 alignment, EAllocType type, EOrigin origin, const char *tag,
                                        const char *file, u32 line, const char *function)
{
    if (QV_VERIFY(IsPowerOfTwoOrZero(alignment)))
        return nullptr;
    if (Internal::UsesFastPath() && alignment <= Internal::kSmallStep)
        return Internal::AllocSlow(size);
    Internal::Join();
    return Internal::g_Allocator.m_Alloc(size, alignment, type, origin, tag, file, line, function);
}

QV_INTERNAL_NOINLINE void RawFreeSlow(void *block, EAllocType type, EOrigin origin, const char *tag, const char *file,
                                      u32 line, const char *function)
{
    if (block == nullptr)
        return;
    if (Internal::UsesFastPath())
        return Internal::FreeByAddress(block);
    Internal::Join();
    Internal::g_Allocator.m_Free(block, type, origin, tag, file, line, function);
}

} // namespace

SAllocator SetAllocator(const SAllocator &allocator) noexcept
{
    const bool none = allocator.m_Alloc == null && allocator.m_Realloc == null && allocator.m_Free == null;
    const bool all = allocator.m_Alloc != null && allocator.m_Realloc != null && allocator.m_Free != null;
    // Another copy of the library in this process may have installed one.
    Internal::Join();
    const SAllocator before = Internal::g_Allocator;
    if (QV_VERIFY(none || all))
        return before;
    Internal::ShareAllocator(none || Internal::IsDefault(allocator) ? nullptr : &allocator);
    return before;
}

void *_RawAlloc(u64 size, u32 alignment, EAllocType type, EOrigin origin, const char *tag, const char *file, u32 line,
                const char *function) noexcept
{
    if (IsPowerOfTwoOrZero(alignment) && Internal::TakesFastPath(size, alignment))
        return Internal::AllocFast(size);
    return RawAllocSlow(size, alignment, type, origin, tag, file, line, function);
}

void *_RawRealloc(void *block, u64 newSize, u32 alignment, EAllocType type, const char *tag, const char *file, u32 line,
                  const char *function) noexcept
{
    if (QV_VERIFY(IsPowerOfTwoOrZero(alignment)))
        return nullptr;
    Internal::Join();
    return Internal::g_Allocator.m_Realloc(block, newSize, alignment, type, tag, file, line, function);
}

void _RawFree(void *block, EAllocType type, EOrigin origin, const char *tag, const char *file, u32 line,
              const char *function) noexcept
{
    if (Internal::IsKnownSmallBlock(block))
        return Internal::FreeSmallByAddress(block);
    RawFreeSlow(block, type, origin, tag, file, line, function);
}

void Free(void *block, EAllocType type) noexcept
{
    _RawFree(block, type, Origin_Alloc, QV_INTERNAL_MEM_SITE);
}

bool Prewarm(u64 bytes, bool locks) noexcept
{
    using namespace Internal;
    if (!kCachesSmallBlocks || !HasSmallBlocks())
        return false;
    const SThreadCache *const cache = MakeCacheOfThread();
    const bool hasCache = cache != nullptr && (!locks || PortLockInMemory(cache, sizeof(*cache)));
    return Process().m_Heap.Prewarm(bytes, locks) && hasCache;
}

} // namespace Quorvane::Mem
