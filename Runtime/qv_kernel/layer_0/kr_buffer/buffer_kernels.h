// Private header: the kernels behind the `_16` helpers, as templates over the block type of buffer_blocks.h.
//
// The characters are those of string containers: blocks of 16 bytes, of which the last one holds the terminator and
// zeros up to its end. The first `length` bytes are worked on in whole blocks; what is left of them lies in one more
// block, where a mask keeps the bytes behind `length` out of the answer or as they were.
//
// No kernel names a block's size. Each takes where to begin and how many bytes, and gives back what can be continued
// from there (an index, a count, nothing), so that a wider type chosen at run time can take the front of a text and
// leave the rest to this one. Not for comparisons, though: they may read nothing behind the block of 16 that holds the
// first difference, which a wider load would.
#pragma once

#include <algorithm>
#include <cstddef>

#include "kr_buffer.h"

#include "buffer_blocks.h"

// A walk and its steps must become one loop: as calls they would pass every block through memory. For short texts the
// calls of the kernels themselves would be felt, too.
#if defined(__GNUC__) || defined(__clang__)
#define QV_BUFFER_INLINE __attribute__((always_inline))
#else
#define QV_BUFFER_INLINE
#endif

namespace Quorvane::Internal
{

// Walks the first `length` bytes: `full(offset)` for each whole block, then `last(offset, count)` for the `count` bytes
// that are left, if any. Either may answer false to end the walk there.
template <typename Block, typename Full, typename Last>
QV_BUFFER_INLINE inline void WalkBlocks(u32 length, const Full &full, const Last &last)
{
    constexpr std::size_t kStride = 4 * Block::kBytes;
    const u32 rest = length % Block::kBytes;
    const std::size_t end = length - rest;
    std::size_t at = 0;
    for (; end - at >= kStride; at += kStride)
    {
        if (!full(at) || !full(at + Block::kBytes) || !full(at + 2 * Block::kBytes) || !full(at + 3 * Block::kBytes))
            return;
    }
    for (; at != end; at += Block::kBytes)
    {
        if (!full(at))
            return;
    }
    if (rest != 0)
        last(at, rest);
}

// How a comparison sees characters, a block of them and a single one: as they are, or with letters in lower case.

template <typename Block>
struct TExactBytes
{
    static Block Fold(const Block &block) { return block; }
    static u8 Fold(u8 byte) { return byte; }
};

template <typename Block>
struct TLowerCaseBytes
{
    static Block Fold(const Block &block) { return block ^ (block.BetweenAscii('A', 'Z') & Block::Fill('A' ^ 'a')); }
    static u8 Fold(u8 byte) { return SNativeStringUtils::kr_buffer_char_lookups[768 + byte]; }
};

// The index of the first of `length` bytes that differs as `Bytes` sees them; `length` when none does.
// Reads nothing behind the block that holds it.
template <typename Block, typename Bytes>
QV_BUFFER_INLINE inline u32 FirstDifference(const u8 *a, const u8 *b, u32 length)
{
    u32 found = length;
    const auto compare = [&](std::size_t at, const Block &blockA, const Block &blockB) QV_BUFFER_INLINE
    {
        if (QV_INTERNAL_LIKELY(Block::Same(blockA, blockB)))
            return true;
        found = static_cast<u32>(at) + Block::FirstDifference(blockA, blockB);
        return false;
    };
    const auto full = [&](std::size_t at) QV_BUFFER_INLINE
    { return compare(at, Bytes::Fold(Block::Padded(a + at)), Bytes::Fold(Block::Padded(b + at))); };
    const auto last = [&](std::size_t at, u32 count) QV_BUFFER_INLINE
    {
        const Block counted = Block::FirstBytes(count);
        return compare(at, Bytes::Fold(Block::Padded(a + at)) & counted, Bytes::Fold(Block::Padded(b + at)) & counted);
    };
    WalkBlocks<Block>(length, full, last);
    return found;
}

// The order of the first `length` bytes as `Bytes` sees them, taken as unsigned.
template <typename Block, typename Bytes>
QV_BUFFER_INLINE inline s32 CompareBytes(const u8 *a, const u8 *b, u32 length)
{
    const u32 index = FirstDifference<Block, Bytes>(a, b, length);
    if (index == length)
        return 0;
    return static_cast<s32>(Bytes::Fold(a[index])) - static_cast<s32>(Bytes::Fold(b[index]));
}

// What an edit does with the bytes behind the last character, up to the end of its block.
enum EBehind
{
    Behind_Kept,
    Behind_Zeroed,
};

// A counter for edits that nobody counts.
template <typename Block>
struct TNoCounter
{
    void Add(const Block &) {}
};

// Copies `length` bytes from `src` to `dst`, which may be the same, and flips the bits `flip` in those bytes that
// `pick`, which maps a block to a mask, marks. `counter` counts them.
template <typename Block, EBehind behind, typename Pick, typename Counter>
QV_BUFFER_INLINE inline void FlipPicked(u8 *dst, const u8 *src, u32 length, const Pick &pick, u8 flip, Counter &counter)
{
    const Block flips = Block::Fill(flip);
    const auto full = [&](std::size_t at) QV_BUFFER_INLINE
    {
        const Block block = Block::Padded(src + at);
        const Block picked = pick(block);
        counter.Add(picked);
        (block ^ (picked & flips)).StorePadded(dst + at);
        return true;
    };
    const auto last = [&](std::size_t at, u32 count) QV_BUFFER_INLINE
    {
        const Block counted = Block::FirstBytes(count);
        const Block block = Block::Padded(src + at);
        const Block picked = pick(block) & counted;
        counter.Add(picked);
        const Block kept = behind == Behind_Zeroed ? block & counted : block;
        (kept ^ (picked & flips)).StorePadded(dst + at);
        return true;
    };
    WalkBlocks<Block>(length, full, last);
}

// Turns the letters from `first` to `last` into those of the other case.
template <typename Block>
QV_BUFFER_INLINE inline void FlipCase(u8 *data, u32 length, char first, char last)
{
    const auto isLetter = [=](const Block &block) { return block.BetweenAscii(first, last); };
    TNoCounter<Block> counter;
    FlipPicked<Block, Behind_Kept>(data, data, length, isLetter, 'A' ^ 'a', counter);
}

// Copies with each `from` turned into `to`. Returns: the number of them.
template <typename Block, EBehind behind>
QV_BUFFER_INLINE inline u32 ReplaceBytes(u8 *dst, const u8 *src, u32 length, u8 from, u8 to)
{
    const Block wanted = Block::Fill(from);
    const auto isWanted = [&](const Block &block) { return Block::EqualBytes(block, wanted); };
    typename Block::SCounter counter;
    FlipPicked<Block, behind>(dst, src, length, isWanted, static_cast<u8>(from ^ to), counter);
    return counter.Total();
}

template <typename Block>
inline u32 ReplaceInPlace(u8 *data, u32 length, u8 from, u8 to)
{
    return ReplaceBytes<Block, Behind_Kept>(data, data, length, from, to);
}

// The copy is zero from its end to the end of the terminator's block, which may be a block of its own.
// With length 0 the pointers may be null.
template <typename Block>
inline u32 ReplaceIntoCopy(u8 *dst, const u8 *src, u32 length, u8 from, u8 to)
{
    if (length % Block::kBytes == 0 && dst != nullptr)
        Block::Fill(0).StorePadded(dst + length);
    return ReplaceBytes<Block, Behind_Zeroed>(dst, src, length, from, to);
}

// Reverses the first `length` bytes. Works from both ends: a block at the front changes places with as many bytes at
// the back, which lie at any alignment, but never outside the text.
template <typename Block>
inline void ReverseBytes(u8 *data, u32 length)
{
    std::size_t front = 0;
    std::size_t back = length;
    while (back - front >= Block::kBytes)
    {
        // The last two may overlap: both are read before one is written, and where they overlap they write the same.
        u8 *const tail = data + back - Block::kBytes;
        const Block atFront = Block::Padded(data + front);
        const Block atBack = Block::Bounded(tail, Block::kBytes);
        atBack.Reversed().StorePadded(data + front);
        atFront.Reversed().StoreBounded(tail, Block::kBytes);
        if (back - front <= 2 * Block::kBytes)
            return;
        front += Block::kBytes;
        back -= Block::kBytes;
    }
    std::reverse(data + front, data + back);
}

} // namespace Quorvane::Internal
