// The short way to small blocks, for the library's own hot paths: `_RawAlloc` and `_RawFree` inline.
//
// While the default allocator is installed, a small block is taken from the calling thread's cache and put back there
// in a few instructions, and nobody needs the accounting arguments. With any other allocator, and for every other
// block, these functions are `_RawAlloc` and `_RawFree` to the last argument. Blocks do not remember which way they
// came: all of kr_mem.h may free and resize them.
//
// For services of the library, as "../kr_mem/mem_small.h"; any thread may call.
//
//     void *block = Mem::Internal::AllocBlock(size, 16, type, origin, QV_INTERNAL_MEM_SITE);
//     Mem::Internal::FreeBlock(block, size, type, origin, QV_INTERNAL_MEM_SITE);
#pragma once

#include <new>

#include "kr_atomic.h"
#include "kr_mem.h"

// A plain variable of each thread: read without asking whether it was initialised.
#if defined(__GNUC__) || defined(__clang__)
#define QV_INTERNAL_PLAIN_THREAD_LOCAL __thread
#else
#define QV_INTERNAL_PLAIN_THREAD_LOCAL thread_local
#endif

// At a fixed distance from the thread's own address, in shared libraries too. This C library keeps room for such
// variables of libraries that are loaded later.
#if defined(__GLIBC__)
#define QV_INTERNAL_INITIAL_EXEC __attribute__((tls_model("initial-exec")))
#else
#define QV_INTERNAL_INITIAL_EXEC
#endif

namespace Quorvane::Mem::Internal
{

// Small blocks come in classes, one for each multiple of this size, which is also their alignment.
constexpr u32 kSmallStep = 16;
// Anything larger, or of a larger alignment, is the platform's business.
constexpr u64 kMaxSmallBytes = 2048;
// Class c serves blocks of c steps. Class 0 stays empty: blocks of 0 bytes go the long way.
constexpr u32 kSmallClassCount = static_cast<u32>(kMaxSmallBytes / kSmallStep) + 1;

// All small blocks lie in one range of addresses. Where addresses are short there is none, and this is but a length.
constexpr ureg kSmallRangeBytes = sizeof(void *) >= 8 ? static_cast<ureg>(1ull << 36) : static_cast<ureg>(1u << 16);

constexpr u32 SmallClass(u64 size)
{
    return static_cast<u32>((size + (kSmallStep - 1)) / kSmallStep);
}

// A block that nobody uses, in a list of such.
struct SFreeBlock
{
    SFreeBlock *m_Next;
};

// A thread's free blocks of one class, and how many more it may keep.
struct SSmallBin
{
    SFreeBlock *m_Head;
    u32 m_Room;
};

struct SSmallCache
{
    SSmallBin m_Bins[kSmallClassCount];
};

// The calling thread's cache; never null. Before its first use, and after its end, it is one that holds nothing and has
// no room.
extern QV_INTERNAL_PLAIN_THREAD_LOCAL SSmallCache *t_SmallCache QV_INTERNAL_INITIAL_EXEC;

// The first address of the range; before the range is reserved, an address from which it would hold no block.
// It is written once, before the first small block is handed out; for any other block both values give one answer.
extern TAtomic<ureg> g_SmallRange;

// True while the default allocator is installed and caches small blocks.
// Plain: it changes only while no other thread allocates or frees.
extern bool g_ShortWay;

// The long ways of the functions below: what the cache cannot serve.
void *AllocPastCache(u64 size);
void FreePastCache(void *block);

inline bool IsSmallBlock(const void *block)
{
    return reinterpret_cast<ureg>(block) - g_SmallRange.Load() < kSmallRangeBytes;
}

// A block of the default allocator, aligned to 16 bytes; null when memory is refused.
inline void *AllocShort(u64 size)
{
    if (QV_INTERNAL_UNLIKELY(size > kMaxSmallBytes))
        return AllocPastCache(size);
    SSmallBin &bin = t_SmallCache->m_Bins[SmallClass(size)];
    SFreeBlock *block = bin.m_Head;
    if (QV_INTERNAL_UNLIKELY(block == nullptr))
        return AllocPastCache(size);
    bin.m_Head = block->m_Next;
    ++bin.m_Room;
    return block;
}

// Requires: a small block, not null, and its class.
inline void FreeSmallBlock(void *block, u32 sizeClass)
{
    SSmallBin &bin = t_SmallCache->m_Bins[sizeClass];
    if (QV_INTERNAL_UNLIKELY(bin.m_Room == 0))
        return FreePastCache(block);
    bin.m_Head = ::new (block) SFreeBlock{bin.m_Head};
    --bin.m_Room;
}

// Allocates as `_RawAlloc` does. Requires: `alignment` is 0 or a power of two.
inline void *AllocBlock(u64 size, u32 alignment, EAllocType type, EOrigin origin, const char *tag, const char *file,
                        u32 line, const char *function)
{
    if (QV_INTERNAL_LIKELY(g_ShortWay && alignment <= kSmallStep))
        return AllocShort(size);
    return _RawAlloc(size, alignment, type, origin, tag, file, line, function);
}

// Frees as `_RawFree` does; null is ignored.
// Requires: `size` is what the block was allocated with, and it was never resized.
inline void FreeBlock(void *block, u64 size, EAllocType type, EOrigin origin, const char *tag, const char *file,
                      u32 line, const char *function)
{
    // Null is no small block.
    if (QV_INTERNAL_LIKELY(g_ShortWay && size <= kMaxSmallBytes && IsSmallBlock(block)))
        return FreeSmallBlock(block, SmallClass(size));
    _RawFree(block, type, origin, tag, file, line, function);
}

} // namespace Quorvane::Mem::Internal
