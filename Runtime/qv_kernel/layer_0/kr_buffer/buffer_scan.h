// Private header: whether a character stands in a text, which edits ask of every argument, most of which are short.
#pragma once

#include <cstring>

#include "../kr_mem/mem_config.h"
#include "../kr_simd/simd_block.h"

namespace Quorvane::Internal::Buffer
{

using Simd::HoldsByte;
using Simd::LoadWord;
using Simd::SBlock;

// Scans up to this many characters without a call.
constexpr u32 kMaxShortScan = 64;

// Whether a character stands within the first `length`, fewer than a block. The front and the back are looked at
// together; they overlap in the middle.
QV_SIMD_INLINE inline bool HoldsShort(const char *str, u32 length, char character)
{
    const u8 byte = static_cast<u8>(character);
    if (length >= sizeof(u64))
        return HoldsByte(LoadWord<u64>(str), byte) || HoldsByte(LoadWord<u64>(str + length - sizeof(u64)), byte);
    if (length >= sizeof(u32))
        return HoldsByte(LoadWord<u32>(str) | static_cast<u64>(LoadWord<u32>(str + length - sizeof(u32))) << 32, byte);
    return length != 0 && (str[0] == character || str[length / 2] == character || str[length - 1] == character);
}

// Whether a character stands within the first `length`, all of which are there. A short scan goes block by block; the
// last one overlaps the one before.
QV_SIMD_INLINE inline bool Holds(const char *str, u32 length, char character)
{
    if (length < SBlock::kBytes)
        return HoldsShort(str, length, character);
    if (length > kMaxShortScan)
        return __builtin_memchr(str, character, length) != nullptr;
    const SBlock wanted = SBlock::Fill(static_cast<u8>(character));
    SBlock found = SBlock::EqualBytes(SBlock::Bounded(str + length - SBlock::kBytes, SBlock::kBytes), wanted);
    for (u32 at = 0; at + SBlock::kBytes < length; at += SBlock::kBytes)
        found = found | SBlock::EqualBytes(SBlock::Bounded(str + at, SBlock::kBytes), wanted);
    return found.Any();
}

// The same of a container's characters, whose blocks may be read to their ends. Finds it behind `length` too, up to the
// end of the block.
inline bool HoldsInBlocks(const char *characters, u32 length, char character)
{
    if (length > kMaxShortScan)
        return __builtin_memchr(characters, character, length) != nullptr;
    const SBlock wanted = SBlock::Fill(static_cast<u8>(character));
    SBlock found = SBlock::EqualBytes(SBlock::Padded(characters), wanted);
    for (u32 at = SBlock::kBytes; at < length; at += SBlock::kBytes)
        found = found | SBlock::EqualBytes(SBlock::Padded(characters + at), wanted);
    return found.Any();
}

// The index of the last `character` of a container's text of 1 to 16 characters; SBlock::kBytes when there is none.
QV_SIMD_INLINE inline u32 LastInBlock(const char *characters, u32 length, char character)
{
    const SBlock places = SBlock::EqualBytes(SBlock::Padded(characters), SBlock::Fill(static_cast<u8>(character)));
    const u64 found = (places & SBlock::FirstBytes(length)).Bits();
    return found != 0 ? Simd::HighestSetBit(found) / SBlock::kBitsPerByte : SBlock::kBytes;
}

// The sanitizers know which bytes belong to a text, not that the block which holds its last one may be read to its end.
#if defined(QV_INTERNAL_SANITIZED)
constexpr bool kReadsBlocks = false;
#else
constexpr bool kReadsBlocks = true;
#endif

// Whether a terminator stands within the first `length` characters, at least one, of a text whose count may be wrong.
// Nothing behind the terminator is needed: a short scan loads aligned blocks, none of which lies in two pages. The first
// one is loaded in any case: of no characters, only a container may be asked.
QV_SIMD_INLINE inline bool HoldsTerminator(const char *str, u32 length)
{
    if (!kReadsBlocks || length > kMaxShortScan)
        return length != 0 && __builtin_memchr(str, '\0', length) != nullptr;
    const u32 skipped = static_cast<u32>(reinterpret_cast<ureg>(str) % SBlock::kBytes);
    const char *block = reinterpret_cast<const char *>(reinterpret_cast<ureg>(str) - skipped);
    u64 terminators = SBlock::EqualBytes(SBlock::Padded(block), SBlock::Fill(0)).Bits();
    terminators = terminators >> skipped * SBlock::kBitsPerByte << skipped * SBlock::kBitsPerByte;
    const u32 end = skipped + length;
    u32 at = 0;
    while (terminators == 0 && at + SBlock::kBytes < end)
    {
        at += SBlock::kBytes;
        terminators = SBlock::EqualBytes(SBlock::Padded(block + at), SBlock::Fill(0)).Bits();
    }
    return terminators != 0 && at + Simd::TrailingZeroBits(terminators) / SBlock::kBitsPerByte < end;
}

// The index of the first character of a container's text that is `character` or a terminator, or else its length. None
// of either stands in front of `from`.
QV_SIMD_INLINE inline u32 FindInBlocks(const char *characters, u32 from, u32 length, char character)
{
    const SBlock wanted = SBlock::Fill(static_cast<u8>(character));
    const SBlock terminator = SBlock::Fill(0);
    for (u32 at = from / SBlock::kBytes * SBlock::kBytes; at < length; at += SBlock::kBytes)
    {
        const SBlock block = SBlock::Padded(characters + at);
        const SBlock found = SBlock::EqualBytes(block, wanted) | SBlock::EqualBytes(block, terminator);
        if (found.Any())
            return QVMin(length, at + found.First());
    }
    return length;
}

} // namespace Quorvane::Internal::Buffer
