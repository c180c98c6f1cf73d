// The default allocator, without bookkeeping: small blocks are our own, the others the platform's, and a block that
// grows again and again gets room to do so.
#include "mem_default.h"

#include "mem_large.h"
#include "mem_policy.h"
#include "mem_port.h"
#include "mem_slabs.h"
#include "mem_thread_cache.h"
#include "mem_wipe.h"

#if !defined(QV_MEM_TRACKING) || !QV_MEM_TRACKING

namespace Quorvane::Mem
{

namespace Internal
{

namespace
{

// Takes no stack of the usual way.
QV_INTERNAL_NOINLINE void *AllocLargeAside(u64 size, u32 alignment)
{
    return AllocLarge(size, alignment);
}

void *AllocOfAlignment(u64 size, u32 alignment)
{
    if (!kCachesSmallBlocks || alignment > kSmallStep)
        return AllocLargeAside(size, alignment);
    return size <= kMaxSmallBytes ? AllocFast(size) : AllocSlow(size);
}

// The bytes that may be used of a block.
u64 RoomOf(void *block)
{
    return IsSmallBlock(block) ? ClassBytes(ClassOfSmallBlock(block)) : RoomOfLarge(block);
}

// Whether this is a block that may be resized. Reports it where it is not.
bool IsResizable(void *block)
{
    return IsSmallBlock(block) ? IsLiveSmallBlock(block) : IsLargeBlock(block);
}

bool IsAlignedTo(const void *block, u32 alignment)
{
    return alignment == 0 || (reinterpret_cast<ureg>(block) & (alignment - 1)) == 0;
}

void *Move(void *block, u64 room, u64 newSize, u32 alignment)
{
    void *const moved = AllocOfAlignment(newSize, alignment);
    if (moved == nullptr)
        return nullptr;
    std::memcpy(moved, block, static_cast<std::size_t>(QVMin(room, newSize)));
    FreeByAddress(block);
    return moved;
}

// Large blocks of the common alignment are resized by the platform, which may spare the copy. A block that becomes small
// stays large: it is freed by its address.
void *MoveOrResize(void *block, u64 room, u64 newSize, u32 alignment)
{
    if (IsSmallBlock(block) || !CanReallocLarge(block, alignment))
        return Move(block, room, newSize, alignment);
    return kHasSmallRange ? ReallocLarge(block, room, newSize) : PortRealloc(block, newSize, 0);
}

// A block that grows by less than its size will grow again, and gets headroom. One that more than doubles was reserved
// explicitly and gets none. What nobody can be asked for is refused as any other memory is. Requires: a size that fits.
u64 RoomyBytes(u64 room, u64 newSize)
{
    return newSize < 2 * room ? newSize + newSize / 2 : newSize;
}

// A small block that grows into another small one, which is how texts begin to grow.
// Returns: null, with nothing done, in every other case, and when memory is refused.
void *GrowWithinSmall(void *block, u64 newSize)
{
    if (!IsSmallBlock(block))
        return nullptr;
    const u32 sizeClass = ClassOfSmallBlock(block);
    const u64 room = ClassBytes(sizeClass);
    if (newSize <= room || newSize > kMaxSmallBytes || !IsBlock(block, sizeClass) || g_FreeLinks.MayBeFree(block))
        return nullptr;
    const u64 roomy = RoomyBytes(room, newSize);
    if (roomy > kMaxSmallBytes)
        return nullptr;
    char *const moved = static_cast<char *>(AllocFast(roomy));
    if (moved == nullptr)
        return nullptr;
    for (u64 at = 0; at < room; at += kSmallStep)
        std::memcpy(moved + at, static_cast<const char *>(block) + at, kSmallStep);
    FreeFast(block, sizeClass);
    return moved;
}

void *Grow(void *block, u64 room, u64 newSize, u32 alignment)
{
    const u64 roomy = RoomyBytes(room, newSize);
    void *grown = MoveOrResize(block, room, roomy, alignment);
    if (grown == nullptr && roomy != newSize)
        grown = MoveOrResize(block, room, newSize, alignment);
    return grown;
}

// Gives room back. Where that takes memory which is refused, the block stays as it is.
void *Shrink(void *block, u64 room, u64 newSize, u32 alignment)
{
    void *const shrunk = MoveOrResize(block, room, newSize, alignment);
    return shrunk != nullptr ? shrunk : block;
}

} // namespace

void *DefaultAlloc(u64 size, u32 alignment, EAllocType, EOrigin, const char *, const char *, u32, const char *)
{
    return AllocOfAlignment(size, alignment);
}

void *DefaultRealloc(void *block, u64 newSize, u32 alignment, EAllocType, const char *, const char *, u32, const char *)
{
    void *const moved = alignment <= kSmallStep ? GrowWithinSmall(block, newSize) : nullptr;
    if (QV_INTERNAL_LIKELY(moved != nullptr))
        return moved;
    if (block == nullptr)
        return AllocOfAlignment(newSize, alignment);
    if (!PortSizeFits(newSize) || !IsResizable(block))
        return nullptr;
    const u64 room = RoomOf(block);
    if (!MayKeepRoom())
        return kWipes ? Move(block, room, newSize, alignment) : PortRealloc(block, newSize, alignment);
    if (newSize > room)
        return Grow(block, room, newSize, alignment);
    if (!IsAlignedTo(block, alignment))
        return Move(block, room, newSize, alignment);
    if (newSize < room / 2)
        return Shrink(block, room, newSize, alignment);
    Wipe(static_cast<char *>(block) + newSize, room - newSize);
    return block;
}

void DefaultFree(void *block, EAllocType, EOrigin, const char *, const char *, u32, const char *)
{
    FreeByAddress(block);
}

} // namespace Internal

bool LiveFigures(const char *, SFigures &outFigures) noexcept
{
    outFigures = SFigures{0, 0};
    return false;
}

} // namespace Quorvane::Mem

#endif
