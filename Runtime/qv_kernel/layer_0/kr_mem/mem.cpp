// The allocation functions and the hook behind them.
#include "kr_mem.h"

#include "kr_assert.h"
#include "mem_cache.h"
#include "mem_config.h"
#include "mem_default.h"

namespace Quorvane::Mem
{

namespace
{

constexpr SAllocator kDefaultAllocator = {&Internal::DefaultAlloc, &Internal::DefaultRealloc, &Internal::DefaultFree};

// Plain: it is exchanged only while no other thread allocates or frees.
QV_INTERNAL_CONSTINIT SAllocator g_Allocator = kDefaultAllocator;

// The default's own functions, given back by whoever replaced them, are the default again.
bool IsDefault(const SAllocator &allocator)
{
    return allocator.m_Alloc == kDefaultAllocator.m_Alloc && allocator.m_Realloc == kDefaultAllocator.m_Realloc &&
           allocator.m_Free == kDefaultAllocator.m_Free;
}

bool IsPowerOfTwoOrZero(u32 alignment)
{
    return (alignment & (alignment - 1)) == 0;
}

} // namespace

namespace Internal
{

QV_INTERNAL_CONSTINIT TAtomic<bool> g_ShortWay;

void UseAllocator(const SAllocator *allocator)
{
    g_Allocator = allocator != nullptr ? *allocator : kDefaultAllocator;
    g_ShortWay.Store(kCachesSmallBlocks && IsDefault(g_Allocator));
}

} // namespace Internal

SAllocator SetAllocator(const SAllocator &allocator)
{
    const bool none = allocator.m_Alloc == null && allocator.m_Realloc == null && allocator.m_Free == null;
    const bool all = allocator.m_Alloc != null && allocator.m_Realloc != null && allocator.m_Free != null;
    // Another copy of the library in this process may have installed one.
    Internal::Begin();
    const SAllocator before = g_Allocator;
    if (QV_VERIFY(none || all))
        return before;
    Internal::ShareAllocator(none || IsDefault(allocator) ? nullptr : &allocator);
    return before;
}

void *_RawAlloc(u64 size, u32 alignment, EAllocType type, EOrigin origin, const char *tag, const char *file, u32 line,
                const char *function)
{
    if (QV_VERIFY(IsPowerOfTwoOrZero(alignment)))
        return nullptr;
    if (Internal::g_ShortWay.Load() && alignment <= Internal::kSmallStep)
        return Internal::AllocShort(size);
    Internal::Begin();
    return g_Allocator.m_Alloc(size, alignment, type, origin, tag, file, line, function);
}

void *_RawRealloc(void *block, u64 newSize, u32 alignment, EAllocType type, const char *tag, const char *file, u32 line,
                  const char *function)
{
    if (QV_VERIFY(IsPowerOfTwoOrZero(alignment)))
        return nullptr;
    Internal::Begin();
    return g_Allocator.m_Realloc(block, newSize, alignment, type, tag, file, line, function);
}

void _RawFree(void *block, EAllocType type, EOrigin origin, const char *tag, const char *file, u32 line,
              const char *function)
{
    if (block == nullptr)
        return;
    if (Internal::g_ShortWay.Load())
        return Internal::FreeShort(block);
    Internal::Begin();
    g_Allocator.m_Free(block, type, origin, tag, file, line, function);
}

void Free(void *block, EAllocType type)
{
    _RawFree(block, type, Origin_Alloc, QV_INTERNAL_MEM_SITE);
}

} // namespace Quorvane::Mem
