// The platform's blocks: of any power-of-two alignment, and one function frees them all. Linux has them; elsewhere they are
// made of what all platforms have.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#if defined(__linux__)
#include <malloc.h>
#endif

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

// By the platform, below.
inline void *PortAlloc(u64 size, u32 alignment);
inline void PortFree(void *block);
inline u64 PortUsableSize(void *block);

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

#if defined(__linux__)

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

// Grows in place where the platform can. Requires: a block, not null.
inline void *PortRealloc(void *block, u64 newSize, u32 alignment)
{
    if (!PortSizeFits(newSize))
        return nullptr;
    if (alignment <= kPlatformAlignment)
        return std::realloc(block, static_cast<std::size_t>(QVMax<u64>(newSize, 1)));
    return PortReallocOverAligned(block, newSize, alignment);
}

#else

// Other platforms do not tell how long their blocks are, or do so by other names in other headers, and not all of them have
// one function that frees blocks of all alignments. Every block begins a little into one of the platform's; how far, and how
// long it is, stand in front of it.
struct SPortHead
{
    u64 m_Offset;
    u64 m_Bytes;
};

inline SPortHead &PortHeadOf(void *block)
{
    return static_cast<SPortHead *>(block)[-1];
}

inline void *PortPutHead(void *platformBlock, u64 offset, u64 bytes)
{
    void *const block = static_cast<char *>(platformBlock) + offset;
    PortHeadOf(block) = SPortHead{offset, bytes};
    return block;
}

inline void *PortAlloc(u64 size, u32 alignment)
{
    if (!PortSizeFits(size))
        return nullptr;
    const u64 aligned = QVMax<u64>(alignment, kPlatformAlignment);
    const u64 atMost = sizeof(SPortHead) + aligned - kPlatformAlignment;
    void *const platformBlock = std::malloc(static_cast<std::size_t>(size + atMost));
    if (platformBlock == nullptr)
        return nullptr;
    const u64 behindHead = reinterpret_cast<ureg>(platformBlock) + sizeof(SPortHead);
    return PortPutHead(platformBlock, sizeof(SPortHead) + (-behindHead & (aligned - 1)), size);
}

inline void PortFree(void *block)
{
    if (block != nullptr)
        std::free(static_cast<char *>(block) - PortHeadOf(block).m_Offset);
}

// The bytes that may be used of a block; at least what was asked for.
inline u64 PortUsableSize(void *block)
{
    return PortHeadOf(block).m_Bytes;
}

// Grows in place where the platform can, which moves blocks of a larger alignment to just any place. Requires: a block,
// not null.
inline void *PortRealloc(void *block, u64 newSize, u32 alignment)
{
    if (!PortSizeFits(newSize))
        return nullptr;
    if (alignment > kPlatformAlignment || PortHeadOf(block).m_Offset != sizeof(SPortHead))
        return PortReallocOverAligned(block, newSize, alignment);
    const std::size_t bytes = static_cast<std::size_t>(newSize + sizeof(SPortHead));
    void *const platformBlock = std::realloc(&PortHeadOf(block), bytes);
    return platformBlock != nullptr ? PortPutHead(platformBlock, sizeof(SPortHead), newSize) : nullptr;
}

#endif

} // namespace Quorvane::Mem::Internal
