// What the default allocator needs of the platform: blocks of any power-of-two alignment that one function frees.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>

#include "qv_defs.h"

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

// The platform's own reallocation keeps no alignment above its own, so those blocks are moved here.
inline void *PortReallocOverAligned(void *block, u64 newSize, u32 alignment)
{
    void *moved = PortAlloc(newSize, alignment);
    if (moved == nullptr)
        return nullptr;
    const u64 oldSize = malloc_usable_size(block);
    std::memcpy(moved, block, static_cast<std::size_t>(QVMin(oldSize, newSize)));
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

} // namespace Quorvane::Mem::Internal
