// The default allocator's large blocks, all that are none of the small ones: the platform's, moved on to a boundary of
// 32 bytes.
//
// The platform aligns to 16 bytes, and to 32 by chance. A vector of 32 bytes that lies across two lines of the cache
// costs twice, and what walks through two texts at once is slower where they lie differently. So each block
// begins 16 or 32 bytes into the platform's, or at a larger alignment that was asked for. How far stands in front of it,
// with a mark by which a block is known: pointers to anything else are reported, and left alone.
//
// Where a tool watches over the blocks, and where addresses are short, they are the platform's as they are.
#pragma once

#include "mem_policy.h"
#include "mem_port.h"
#include "mem_wipe.h"

namespace Quorvane::Mem::Internal
{

// What stands in front of the block: the bytes from it to the end of what the platform was asked for, which would have to
// look that up elsewhere; where the block begins within the platform's; and the mark.
struct SLargeHead
{
    u64 m_Room;
    u32 m_Offset;
    u32 m_Mark;
};

static_assert(sizeof(SLargeHead) <= kSmallStep, "the head lies in front of the smallest offset");

inline SLargeHead &HeadOf(void *block)
{
    return static_cast<SLargeHead *>(block)[-1];
}

// Where assertions are on, the addresses of blocks that were freed lately and not handed out again, by a hash of theirs. The
// platform may have given the memory back to the system: who frees such a block once more must not be made to read there.
// Each copy of the library knows of what it freed itself, so that one of these may be another one's block by now.
constexpr u32 kFreedLargeBits = 6;
QV_INTERNAL_CONSTINIT QV_INTERNAL_HIDDEN inline TAtomic<ureg> g_FreedLarge[1u << kFreedLargeBits];

inline TAtomic<ureg> &FreedLargeSlot(const void *block)
{
    const u64 hash = Quorvane::Internal::WrappingProduct<u64>(reinterpret_cast<ureg>(block), 0x9E3779B97F4A7C15ull);
    return g_FreedLarge[hash >> (64 - kFreedLargeBits)];
}

inline bool WasFreedLately(const void *block)
{
    return QV_ASSERTS && FreedLargeSlot(block).Load() == reinterpret_cast<ureg>(block);
}

inline void RememberFreed(const void *block)
{
    if (QV_ASSERTS)
        FreedLargeSlot(block).StoreReleased(reinterpret_cast<ureg>(block));
}

inline void ForgetFreed(const void *block)
{
    if (WasFreedLately(block))
        FreedLargeSlot(block).StoreReleased(0);
}

// Differs from block to block, so that the mark of one, copied with its neighbourhood, is none of another one's.
inline u32 MarkOfLarge(const void *block)
{
    return static_cast<u32>(
        Quorvane::Internal::WrappingProduct<u64>(reinterpret_cast<ureg>(block), 0x9E3779B97F4A7C15ull) >> 32);
}

inline bool HasHead(void *block)
{
    return reinterpret_cast<ureg>(block) % kSmallStep == 0 && HeadOf(block).m_Mark == MarkOfLarge(block);
}

// `bytes`: of the platform's block.
inline void *PutHead(char *platformBlock, u32 offset, u64 bytes)
{
    void *const block = platformBlock + offset;
    ForgetFreed(block);
    HeadOf(block) = SLargeHead{bytes - offset, offset, MarkOfLarge(block)};
    return block;
}

inline char *PlatformBlockOf(void *block)
{
    return static_cast<char *>(block) - HeadOf(block).m_Offset;
}

// Where the block begins within the platform's, which has `alignment` bytes more than it.
inline u32 LargeOffset(const void *platformBlock, u32 alignment)
{
    return alignment - static_cast<u32>(reinterpret_cast<ureg>(platformBlock) & (alignment - 1));
}

// Null when memory is refused. Requires: an alignment of 0 or a power of two.
inline void *AllocLarge(u64 size, u32 alignment)
{
    if (!PortSizeFits(size))
        return nullptr;
    if (!LargeBlocksHaveHeads())
        return PortAlloc(size, alignment);
    const u32 atLeast = QVMax(alignment, kLargeAlignment);
    char *const platformBlock = static_cast<char *>(PortAlloc(size + atLeast, 0));
    if (platformBlock == nullptr)
        return nullptr;
    return PutHead(platformBlock, LargeOffset(platformBlock, atLeast), size + atLeast);
}

// From then on the block is known as none, for as long as the memory is left as it is.
inline void UnmarkLarge(void *block)
{
    HeadOf(block).m_Mark = 0;
}

// Known as a block again.
inline void *RemarkLarge(void *block)
{
    HeadOf(block).m_Mark = MarkOfLarge(block);
    return block;
}

// Gives a block without its mark back. Null is ignored.
inline void DropLarge(void *block)
{
    if (block == nullptr)
        return;
    RememberFreed(block);
    PortFree(PlatformBlockOf(block));
}

// The bytes that may be used of a block; at least what was asked for.
inline u64 RoomOfLarge(void *block)
{
    return LargeBlocksHaveHeads() ? HeadOf(block).m_Room : PortUsableSize(block);
}

// Requires: a block, with its mark where it has one.
inline void FreeLarge(void *block)
{
    if (kWipes)
        Wipe(block, RoomOfLarge(block));
    if (!LargeBlocksHaveHeads())
        return PortFree(block);
    UnmarkLarge(block);
    DropLarge(block);
}

// Whether the platform may resize the block, which spares the copy where it grows in place. It wipes nothing.
// Requires: MayKeepRoom, so that blocks have heads unless addresses are short.
inline bool CanReallocLarge(void *block, u32 alignment)
{
    if (kWipes)
        return false;
    return kHasSmallRange ? alignment <= kLargeAlignment && HeadOf(block).m_Offset <= kLargeAlignment
                          : alignment <= kPlatformAlignment;
}

// Null when memory is refused; then the block is as it was. Requires: CanReallocLarge, and a head.
inline void *ReallocLarge(void *block, u64 room, u64 newSize)
{
    const u32 offset = HeadOf(block).m_Offset;
    // Where the platform moves it, nothing stays behind that is known as a block.
    RememberFreed(block);
    UnmarkLarge(block);
    char *const platformBlock = static_cast<char *>(PortRealloc(PlatformBlockOf(block), newSize + kLargeAlignment, 0));
    if (platformBlock == nullptr)
    {
        ForgetFreed(block);
        RemarkLarge(block);
        return nullptr;
    }
    // Where the platform moved it, it may lie the other way.
    const u32 newOffset = LargeOffset(platformBlock, kLargeAlignment);
    if (newOffset != offset)
        std::memmove(platformBlock + newOffset, platformBlock + offset, static_cast<std::size_t>(QVMin(room, newSize)));
    return PutHead(platformBlock, newOffset, newSize + kLargeAlignment);
}

} // namespace Quorvane::Mem::Internal
