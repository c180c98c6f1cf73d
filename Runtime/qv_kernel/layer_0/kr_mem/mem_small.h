// The short way to small blocks, for the library's own hot paths: `_RawAlloc` and `_RawFree` inline.
//
// While the default allocator is installed, a small block is taken from the calling thread's cache and put back there
// in a few instructions, and nobody needs the accounting arguments. With any other allocator, and for every other
// block, these functions are `_RawAlloc` and `_RawFree` to the last argument. Blocks do not remember which way they
// came: all of kr_mem.h may free and resize them.
//
// For services of the library, as "../kr_mem/mem_small.h"; any thread may call. All variables are hidden: a process may
// hold several copies of the library, in its program and in its plugins, and each works with its own.
//
//     void *block = Mem::Internal::AllocBlock(size, 16, type, origin, QV_INTERNAL_MEM_SITE);
//     Mem::Internal::FreeBlock(block, size, type, origin, QV_INTERNAL_MEM_SITE);
#pragma once

#include <cstring>
#include <new>

#include "kr_assert.h"
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
constexpr bool kHasSmallRange = sizeof(void *) >= 8;
constexpr ureg kSmallRangeBytes = kHasSmallRange ? static_cast<ureg>(1ull << 36) : static_cast<ureg>(1u << 16);

constexpr u32 SmallClass(u64 size)
{
    return static_cast<u32>((size + (kSmallStep - 1)) / kSmallStep);
}

// A block that nobody uses, in a list of such.
struct SFreeBlock
{
    SFreeBlock *m_Next;
};

// Where assertions are on, a free block bears a mark, by which one that is freed again is noticed. A text may happen to
// look like it; who finds a mark looks for the block among the free ones.
//
// The mark lies behind the counts that most blocks begin with: a load of 8 bytes that a locked instruction has just
// written 4 of is slow (4 ns on an Intel Xeon, family 6, model 167).
inline char *MarkIn(void *block, u32 sizeClass)
{
    return static_cast<char *>(block) + (sizeClass > 1 ? 24 : 8);
}

inline ureg MarkOfFree(const void *block)
{
    return reinterpret_cast<ureg>(block) ^ static_cast<ureg>(0x5DB1F6A9C3E48B27ull);
}

inline SFreeBlock *MakeFree(void *block, u32 sizeClass, SFreeBlock *next)
{
    const ureg mark = MarkOfFree(block);
    if (QV_ASSERTS)
        std::memcpy(MarkIn(block, sizeClass), &mark, sizeof(mark));
    return ::new (block) SFreeBlock{next};
}

// A block whose user writes little would keep the mark, and be looked for when it is freed.
inline void *MakeLive(SFreeBlock *block, u32 sizeClass)
{
    if (QV_ASSERTS)
        std::memset(MarkIn(block, sizeClass), 0, sizeof(ureg));
    return block;
}

inline bool MayBeFree(void *block, u32 sizeClass)
{
    ureg mark = 0;
    if (QV_ASSERTS)
        std::memcpy(&mark, MarkIn(block, sizeClass), sizeof(mark));
    return QV_ASSERTS && mark == MarkOfFree(block);
}

// A thread's free blocks of one class, how many more it may keep, and how many it takes when there is none left.
struct SSmallBin
{
    SFreeBlock *m_Head;
    u32 m_Room;
    u32 m_Batch;
};

struct SSmallCache
{
    SSmallBin m_Bins[kSmallClassCount];
    // In the list of all caches of the process.
    SSmallCache *m_Next;
    SSmallCache *m_Previous;
    const void *m_Owner; // the copy of the library whose cache this is; null where that has gone
};

// The calling thread's cache; never null. Before its first use, and after its end, it is one that holds nothing and has
// no room.
QV_INTERNAL_HIDDEN extern QV_INTERNAL_PLAIN_THREAD_LOCAL SSmallCache *t_SmallCache QV_INTERNAL_INITIAL_EXEC;

// The first address of the range, and how many bytes from there on are known to hold small blocks; there may be more by
// now. Before there is a range, an address from which it would hold no block.
QV_INTERNAL_HIDDEN extern TAtomic<ureg> g_SmallRange;
QV_INTERNAL_HIDDEN extern TAtomic<ureg> g_SmallRangeKnown;

// True once the first block has been asked for, while the default allocator is installed and caches small blocks.
QV_INTERNAL_HIDDEN extern TAtomic<bool> g_ShortWay;

// The long ways of the functions below: what the cache cannot serve.
QV_INTERNAL_HIDDEN void *AllocPastCache(u64 size);
QV_INTERNAL_HIDDEN void FreePastCache(void *block);
QV_INTERNAL_HIDDEN bool IsSmallBlockBeyondKnown(ureg offset);

inline bool IsSmallBlock(const void *block)
{
    const ureg offset = reinterpret_cast<ureg>(block) - g_SmallRange.Load();
    return QV_INTERNAL_LIKELY(offset < g_SmallRangeKnown.Load()) ||
           (QV_INTERNAL_UNLIKELY(offset < kSmallRangeBytes) && IsSmallBlockBeyondKnown(offset));
}

// A block of the default allocator, aligned to 16 bytes; null when memory is refused.
inline void *AllocShort(u64 size)
{
    if (QV_INTERNAL_UNLIKELY(size > kMaxSmallBytes))
        return AllocPastCache(size);
    const u32 sizeClass = SmallClass(size);
    SSmallBin &bin = t_SmallCache->m_Bins[sizeClass];
    SFreeBlock *block = bin.m_Head;
    if (QV_INTERNAL_UNLIKELY(block == nullptr))
        return AllocPastCache(size);
    bin.m_Head = block->m_Next;
    ++bin.m_Room;
    return MakeLive(block, sizeClass);
}

// Requires: a small block, not null, and its class.
inline void FreeSmallBlock(void *block, u32 sizeClass)
{
    SSmallBin &bin = t_SmallCache->m_Bins[sizeClass];
    if (QV_INTERNAL_UNLIKELY(bin.m_Room == 0 || MayBeFree(block, sizeClass)))
        return FreePastCache(block);
    bin.m_Head = MakeFree(block, sizeClass, bin.m_Head);
    --bin.m_Room;
}

// Allocates as `_RawAlloc` does. Requires: `alignment` is 0 or a power of two.
inline void *AllocBlock(u64 size, u32 alignment, EAllocType type, EOrigin origin, const char *tag, const char *file,
                        u32 line, const char *function)
{
    if (QV_INTERNAL_LIKELY(g_ShortWay.Load() && alignment <= kSmallStep))
        return AllocShort(size);
    return _RawAlloc(size, alignment, type, origin, tag, file, line, function);
}

// Frees as `_RawFree` does; null is ignored.
// Requires: `size` is what the block was allocated with, and it was never resized.
inline void FreeBlock(void *block, u64 size, EAllocType type, EOrigin origin, const char *tag, const char *file,
                      u32 line, const char *function)
{
    // Null is no small block.
    if (QV_INTERNAL_LIKELY(g_ShortWay.Load() && size <= kMaxSmallBytes && IsSmallBlock(block)))
        return FreeSmallBlock(block, SmallClass(size));
    _RawFree(block, type, origin, tag, file, line, function);
}

} // namespace Quorvane::Mem::Internal
