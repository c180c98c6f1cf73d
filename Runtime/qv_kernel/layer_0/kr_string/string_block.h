// The blocks that characters live in: their sizes, lengths that may not fit, and the zeros behind a text.
//
// Everything is computed in 64 bits from 32-bit lengths, so nothing here wraps. A length that a string cannot have
// becomes `kRefusedLength`, which every creator and every resize refuses as if memory were exhausted.
#pragma once

#include <cstring>

#include "../kr_simd/simd_block.h"
#include "kr_string.h"

namespace Quorvane::Internal::String
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

// Zeroes what stands behind the terminator's place, it included, to the end of its block.
inline void ZeroTail(char *characters, u32 length)
{
    using Simd::SBlock;
    char *const lastBlock = characters + LastBlockStart(length);
    (SBlock::Padded(lastBlock) & SBlock::FirstBytes(length - LastBlockStart(length))).StorePadded(lastBlock);
}

// Zeroes one character or more; up to 16 of them in two stores that may overlap.
inline void ZeroCharacters(char *characters, u32 count)
{
    if (count > 16)
        std::memset(characters, 0, count);
    else if (count >= 8)
    {
        std::memset(characters, 0, 8);
        std::memset(characters + count - 8, 0, 8);
    }
    else if (count >= 4)
    {
        std::memset(characters, 0, 4);
        std::memset(characters + count - 4, 0, 4);
    }
    else
    {
        characters[0] = '\0';
        characters[count / 2] = '\0';
        characters[count - 1] = '\0';
    }
}

static_assert(PaddedBytes(0) == 16 && PaddedBytes(15) == 16 && PaddedBytes(16) == 32, "a terminator needs room too");
static_assert(PaddedBytes(0xFFFFFFFFu) == 0x100000000ull, "sizes do not wrap");
static_assert(GrownBytes(32) == ((32 + 271) & ~15), "growth is length + 256, rounded up to a block");
static_assert(CheckedSum(0xFFFFFFFFu, 2) == kRefusedLength, "sums do not wrap");

} // namespace Quorvane::Internal::String
