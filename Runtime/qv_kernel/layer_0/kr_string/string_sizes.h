// The one home of size arithmetic: the padding of characters to 16-byte blocks, and lengths that may not fit.
//
// Everything is computed in 64 bits from 32-bit lengths, so nothing here wraps. A length that a string cannot have
// becomes `kRefusedLength`, which every creator and every resize refuses as if memory were exhausted.
#pragma once

#include "kr_string.h"

namespace Quorvane::Internal
{

// Characters live in blocks of this many bytes, each aligned to its size.
constexpr u32 kCharacterBlockBytes = 16;

// Bytes of a fixed container before its characters; also what a footprint counts for any container's object.
constexpr u32 kContainerHeaderBytes = 32;

// Bytes allocated for the object of a resizable container.
constexpr u32 kResizableObjectBytes = 40;

// Characters of room that a growing buffer gets beyond what was asked for.
constexpr u32 kGrowthHeadroom = 256;

// Lengths from here on are refused.
constexpr u32 kRefusedLength = CStringContainer::kLengthMask;

// The length, or `kRefusedLength` when no string can have it.
constexpr u32 CheckedLength(u64 length)
{
    return length < kRefusedLength ? static_cast<u32>(length) : kRefusedLength;
}

constexpr u32 CheckedSum(u32 a, u32 b)
{
    return CheckedLength(static_cast<u64>(a) + b);
}

// Bytes of the blocks that hold `length` characters and their terminator.
constexpr u64 PaddedBytes(u64 length)
{
    return (length + kCharacterBlockBytes) & ~static_cast<u64>(kCharacterBlockBytes - 1);
}

// Index of the first character of the block that holds index `length`, the last block of a text of that length.
constexpr u32 LastBlockStart(u32 length)
{
    return length & ~(kCharacterBlockBytes - 1);
}

// Bytes of a buffer that grows to hold `length` characters: with headroom, and whole blocks.
constexpr u64 GrownBytes(u32 length)
{
    return PaddedBytes(static_cast<u64>(length) + kGrowthHeadroom - 1);
}

static_assert(PaddedBytes(0) == 16 && PaddedBytes(15) == 16 && PaddedBytes(16) == 32, "a terminator needs room too");
static_assert(PaddedBytes(0xFFFFFFFFu) == 0x100000000ull, "sizes do not wrap");
static_assert(GrownBytes(32) == ((32 + 271) & ~15), "growth is length + 256, rounded up to a block");
static_assert(CheckedSum(0xFFFFFFFFu, 2) == kRefusedLength, "sums do not wrap");

} // namespace Quorvane::Internal
