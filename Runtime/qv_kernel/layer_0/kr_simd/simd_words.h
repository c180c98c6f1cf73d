// Private header: words of 4 and 8 bytes as values of an integer type, for texts that are shorter than a block and for
// the portable form.
//
// The questions about a word's bytes have the same answer on machines of either byte order: which byte it is that meets
// a condition is not asked.
#pragma once

#include <cstring>

#include "qv_defs.h"

namespace Quorvane::Internal::Simd
{

// ---- Loads and stores at any address ---------------------------------------------------------------------------------

template <typename Word>
inline Word LoadWord(const void *bytes)
{
    Word word;
    std::memcpy(&word, bytes, sizeof(Word));
    return word;
}

template <typename Word>
inline void StoreWord(void *bytes, Word word)
{
    std::memcpy(bytes, &word, sizeof(Word));
}

// ---- Bytes of a word ---------------------------------------------------------------------------------------------------

constexpr u64 kLowBits = 0x0101010101010101u; // the lowest bit of each byte
constexpr u64 kHighBits = 0x80 * kLowBits;

// One value in every byte.
constexpr u64 FillWord(u8 byte)
{
    return kLowBits * byte;
}

// Not 0 when any byte is less than `limit`, at most 128: the subtraction borrows into the high bit of the lowest one
// that is, and of no byte below it (S. E. Anderson, Bit Twiddling Hacks: "Determine if a word has a byte less than n").
constexpr u64 AnyLess(u64 word, u8 limit)
{
    return WrappingDifference(word, FillWord(limit)) & ~word & kHighBits;
}

// Not 0 when any byte is `byte`.
constexpr u64 AnyEqual(u64 word, u8 byte)
{
    return AnyLess(word ^ FillWord(byte), 1);
}

// Whether any byte is `byte`.
constexpr bool HoldsByte(u64 word, u8 byte)
{
    return AnyEqual(word, byte) != 0;
}

// The word with the bytes of upper-case ASCII letters in lower case.
constexpr u64 LowerCaseBytes(u64 word)
{
    // The high bit of a sum is set where the lower seven bits reach the first letter, where they exceed the last one.
    const u64 low = word & ~kHighBits;
    const u64 reachesFirst = low + FillWord(0x80 - 'A');
    const u64 exceedsLast = low + FillWord(0x7F - 'Z');
    return word | ((reachesFirst ^ exceedsLast) & ~word & kHighBits) >> 2;
}

// ---- Order of bytes ----------------------------------------------------------------------------------------------------

// A word that was loaded, as machines that load the lowest byte first have it.
template <typename Word>
inline Word LittleEndian(Word word)
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    if constexpr (sizeof(Word) == 8)
        return static_cast<Word>(__builtin_bswap64(word));
    else
        return static_cast<Word>(__builtin_bswap32(word));
#else
    return word;
#endif
}

// ---- Bits of a word ----------------------------------------------------------------------------------------------------

// The number of zero bits below the lowest one that is set. Requires: a value other than 0.
inline u32 TrailingZeroBits(u64 value)
{
    return static_cast<u32>(__builtin_ctzll(value));
}

// The index of the highest bit that is set. Requires: a value other than 0.
inline u32 HighestSetBit(u64 value)
{
    return 63 - static_cast<u32>(__builtin_clzll(value));
}

// The number of bits that are set: sums of neighbouring pairs, fours and bytes, as not every machine of the kind counts.
inline u32 CountBits(u64 bits)
{
    bits -= (bits >> 1) & 0x5555555555555555u;
    bits = (bits & 0x3333333333333333u) + ((bits >> 2) & 0x3333333333333333u);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0Fu;
    return static_cast<u32>(WrappingProduct<u64>(bits, kLowBits) >> 56);
}

} // namespace Quorvane::Internal::Simd
