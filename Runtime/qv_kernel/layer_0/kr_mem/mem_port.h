// What the default allocator needs of the platform: blocks of any power-of-two alignment that one function frees, and
// a range of addresses of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <pthread.h>
#include <sys/mman.h>

#include "qv_defs.h"

#if defined(__ELF__)
// Each exists in programs of that sanitizer alone.
extern "C" __attribute__((weak)) void __asan_init();
extern "C" __attribute__((weak)) void __tsan_init();
extern "C" __attribute__((weak)) void __msan_init();
extern "C" __attribute__((weak)) void __lsan_init();
#endif

namespace Quorvane::Mem::Internal
{

// The alignment that the platform gives every block.
constexpr u32 kPlatformAlignment = alignof(std::max_align_t);

// True for sizes that the platform can be asked for at all.
constexpr bool PortSizeFits(u64 size)
{
    return size <= static_cast<u64>(PTRDIFF_MAX);
}

inline void *PortAlloc(u64 size, u32 alignment)
{
    if (!PortSizeFits(size))
        return nullptr;
    const std::size_t bytes = static_cast<std::size_t>(QVMax<u64>(size, 1));
    if (alignment <= kPlatformAlignment)
        return std::malloc(bytes);
    void *block = nullptr;
    return posix_memalign(&block, alignment, bytes) == 0 ? block : nullptr;
}

inline void PortFree(void *block)
{
    std::free(block);
}

// The bytes that may be used of a block; at least what was asked for.
inline u64 PortUsableSize(void *block)
{
    return malloc_usable_size(block);
}

// The platform's own reallocation keeps no alignment above its own, so those blocks are moved here.
inline void *PortReallocOverAligned(void *block, u64 newSize, u32 alignment)
{
    void *moved = PortAlloc(newSize, alignment);
    if (moved == nullptr)
        return nullptr;
    std::memcpy(moved, block, static_cast<std::size_t>(QVMin(PortUsableSize(block), newSize)));
    PortFree(block);
    return moved;
}

// Grows in place where the platform can.
inline void *PortRealloc(void *block, u64 newSize, u32 alignment)
{
    if (block == nullptr)
        return PortAlloc(newSize, alignment);
    if (!PortSizeFits(newSize))
        return nullptr;
    if (alignment <= kPlatformAlignment)
        return std::realloc(block, static_cast<std::size_t>(QVMax<u64>(newSize, 1)));
    return PortReallocOverAligned(block, newSize, alignment);
}

// Addresses without memory, aligned to a power of two above a page; null when they are refused.
inline void *PortReserve(ureg bytes, ureg alignment)
{
    if (sizeof(void *) < 8)
        return nullptr;
    const ureg spare = alignment;
    void *const mapped = mmap(nullptr, bytes + spare, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED)
        return nullptr;
    const ureg begin = reinterpret_cast<ureg>(mapped);
    const ureg aligned = (begin + alignment - 1) & ~(alignment - 1);
    if (aligned != begin)
        munmap(mapped, aligned - begin);
    if (begin + spare != aligned)
        munmap(reinterpret_cast<void *>(aligned + bytes), begin + spare - aligned);
    return reinterpret_cast<void *>(aligned);
}

inline void PortUnreserve(void *range, ureg bytes)
{
    munmap(range, bytes);
}

// Makes reserved addresses usable; they read as zero. Returns false when memory is refused.
inline bool PortCommit(void *begin, ureg bytes)
{
    return mprotect(begin, bytes, PROT_READ | PROT_WRITE) == 0;
}

// Lets the system take the memory behind usable addresses; they stay usable, and their contents are lost.
inline void PortForget(void *begin, ureg bytes)
{
    // A refusal, of memory that is locked for instance, costs nothing but that memory.
    static_cast<void>(madvise(begin, bytes, MADV_DONTNEED));
}

// Calls `before` ahead of every copy that is made of this process, and `after` in both.
inline void PortAroundFork(void (*before)(), void (*after)())
{
    static_cast<void>(pthread_atfork(before, after, after));
}

inline bool PortRunsUnderValgrind()
{
    const char *const preloaded = std::getenv("LD_PRELOAD");
    return preloaded != nullptr && std::strstr(preloaded, "vgpreload") != nullptr;
}

// True when the program was built with a sanitizer, even if the library was not.
inline bool PortIsSanitized()
{
#if defined(__ELF__)
    return __asan_init != nullptr || __tsan_init != nullptr || __msan_init != nullptr || __lsan_init != nullptr;
#else
    return false;
#endif
}

} // namespace Quorvane::Mem::Internal
