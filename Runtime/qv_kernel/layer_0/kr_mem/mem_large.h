// The default allocator's large blocks, all that are none of the small ones: the platform's, moved on to a boundary of
// 32 bytes.
//
// The platform aligns to 16 bytes, and to 32 by chance. A vector of 32 bytes that lies across two lines of the cache
// costs twice, and what walks through two texts at once is a quarter slower where they lie differently. So each block
// begins 16 or 32 bytes into the platform's, or at a larger alignment that was asked for; how far stands in front of it.
//
// Where all blocks are the platform's, short ones too, they are not moved.
#pragma once

#include "mem_cache.h"
#include "mem_port.h"

namespace Quorvane::Mem::Internal
{

constexpr u32 kLargeAlignment = 32;

inline u64 &OffsetOfLarge(void *block)
{
    return static_cast<u64 *>(block)[-1];
}

inline char *PlatformBlockOf(void *block)
{
    return static_cast<char *>(block) - OffsetOfLarge(block);
}

// Where the block begins within the platform's, which was allocated for that alignment, and of `alignment` bytes more.
inline u64 LargeOffset(const void *platformBlock, u32 alignment)
{
    return alignment - (reinterpret_cast<ureg>(platformBlock) & (alignment - 1));
}

// Null when memory is refused. Requires: an alignment of 0 or a power of two.
inline void *AllocLarge(u64 size, u32 alignment)
{
    if (!PortSizeFits(size))
        return nullptr;
    if (!HasSmallBlocks())
        return PortAlloc(size, alignment);
    const bool common = alignment <= kLargeAlignment;
    const u32 atLeast = common ? kLargeAlignment : alignment;
    char *const platformBlock = static_cast<char *>(PortAlloc(size + atLeast, common ? 0 : alignment));
    if (platformBlock == nullptr)
        return nullptr;
    const u64 offset = LargeOffset(platformBlock, atLeast);
    OffsetOfLarge(platformBlock + offset) = offset;
    return platformBlock + offset;
}

// Null is ignored.
inline void FreeLarge(void *block)
{
    if (block != nullptr)
        PortFree(HasSmallBlocks() ? PlatformBlockOf(block) : block);
}

// The bytes that may be used of a block; at least what was asked for.
inline u64 RoomOfLarge(void *block)
{
    return HasSmallBlocks() ? PortUsableSize(PlatformBlockOf(block)) - OffsetOfLarge(block) : PortUsableSize(block);
}

// Whether the platform may resize the block, which spares the copy where it grows in place.
inline bool CanReallocLarge(void *block, u32 alignment)
{
    return HasSmallBlocks() ? alignment <= kLargeAlignment && OffsetOfLarge(block) <= kLargeAlignment
                            : alignment <= kPlatformAlignment;
}

// Null when memory is refused; then the block is as it was. Requires: CanReallocLarge.
inline void *ReallocLarge(void *block, u64 room, u64 newSize)
{
    if (!PortSizeFits(newSize))
        return nullptr;
    if (!HasSmallBlocks())
        return PortRealloc(block, newSize, 0);
    const u64 offset = OffsetOfLarge(block);
    char *const platformBlock = static_cast<char *>(PortRealloc(PlatformBlockOf(block), newSize + kLargeAlignment, 0));
    if (platformBlock == nullptr)
        return nullptr;
    // Where the platform moved it, it may lie the other way.
    const u64 newOffset = LargeOffset(platformBlock, kLargeAlignment);
    if (newOffset != offset)
        std::memmove(platformBlock + newOffset, platformBlock + offset, static_cast<std::size_t>(QVMin(room, newSize)));
    OffsetOfLarge(platformBlock + newOffset) = newOffset;
    return platformBlock + newOffset;
}

} // namespace Quorvane::Mem::Internal
