// Whether a character stands in a text: what edits ask of every argument, most of which are short.
#pragma once

#include <cstring>

#include "../kr_buffer/buffer_blocks.h"

namespace Quorvane::Internal
{

// Scans up to this many characters without a call.
constexpr u32 kShortScan = 64;

// A value of type T from any address.
template <typename T>
T LoadAs(const char *str)
{
    T value;
    std::memcpy(&value, str, sizeof(T));
    return value;
}

// Whether one of the bytes is `byte`: subtracting 1 from each borrows into the top bit of those that are 0 after the
// exclusive or (S. E. Anderson, Bit Twiddling Hacks: "Determine if a word has a zero byte").
inline bool HoldsByte(u64 bytes, u8 byte)
{
    constexpr u64 kOnes = 0x0101010101010101u;
    const u64 difference = bytes ^ kOnes * byte;
    return ((difference - kOnes) & ~difference & kOnes << 7) != 0;
}

// Whether a character stands within the first `length`, fewer than a block. The front and the back are looked at
// together; they overlap in the middle.
inline bool HoldsShort(const char *str, u32 length, char character)
{
    const u8 byte = static_cast<u8>(character);
    if (length >= sizeof(u64))
        return HoldsByte(LoadAs<u64>(str), byte) || HoldsByte(LoadAs<u64>(str + length - sizeof(u64)), byte);
    if (length >= sizeof(u32))
        return HoldsByte(LoadAs<u32>(str) | static_cast<u64>(LoadAs<u32>(str + length - sizeof(u32))) << 32, byte);
    return length != 0 && (str[0] == character || str[length / 2] == character || str[length - 1] == character);
}

// Whether a character stands within the first `length`. A short scan goes block by block; the last one overlaps the one
// before.
inline bool Holds(const char *str, u32 length, char character)
{
    if (length < SBlock::kBytes)
        return HoldsShort(str, length, character);
    if (length > kShortScan)
        return std::memchr(str, character, length) != nullptr;
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
    if (length > kShortScan)
        return std::memchr(characters, character, length) != nullptr;
    const SBlock wanted = SBlock::Fill(static_cast<u8>(character));
    SBlock found = SBlock::EqualBytes(SBlock::Padded(characters), wanted);
    for (u32 at = SBlock::kBytes; at < length; at += SBlock::kBytes)
        found = found | SBlock::EqualBytes(SBlock::Padded(characters + at), wanted);
    return found.Any();
}

} // namespace Quorvane::Internal
