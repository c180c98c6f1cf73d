// Bitmaps of matches, in the form that the machine has.
#include "buffer_bitmap.h"

#include "buffer_kernels.h"

namespace Quorvane::Internal::Buffer
{

void FindMatches(u64 *bitmap, const char *text, u32 count, char character) noexcept QV_NONBLOCKING
{
    QV_SIMD_CALL(true, FindMatches(bitmap, text, count, character));
}

void FindMatchesInCounted(u64 *bitmap, const char *text, u32 count, char character) noexcept QV_NONBLOCKING
{
    // What is left of the last block, which holds at most as many characters as a container's.
    constexpr u32 kBlockCharacters = 16;
    const u32 left = count % kBlockCharacters;
    const u32 whole = count - left;
    FindMatches(bitmap, text, whole, character);
    if (left == 0)
        return;
    u64 word = whole % kBitmapWordBits != 0 ? bitmap[whole / kBitmapWordBits] : 0;
    for (u32 i = whole; i < count; ++i)
        word |= static_cast<u64>(text[i] == character ? 1 : 0) << (i % kBitmapWordBits);
    bitmap[whole / kBitmapWordBits] = word;
}

void FindTableMatches(u64 *bitmap, const char *text, u32 count, const u8 *table) noexcept QV_NONBLOCKING
{
    // Preparing the look-up costs as much as looking up a word of characters one by one.
    QV_SIMD_CALL(count >= 2 * kBitmapWordBits, FindTableMatches(bitmap, text, count, table));
}

void FindPairMatches(u64 *bitmap, const char *text, u32 count, char first, u32 distance,
                     char second) noexcept QV_NONBLOCKING
{
    QV_SIMD_CALL(true, FindPairMatches(bitmap, text, count, first, distance, second));
}

SMatchWord FirstMatches(const char *text, u32 count, char character) noexcept QV_NONBLOCKING
{
    return QV_SIMD_CALL(true, FirstMatches(text, count, character));
}

SMatchWord LastMatches(const char *text, u32 count, char character) noexcept QV_NONBLOCKING
{
    return QV_SIMD_CALL(true, LastMatches(text, count, character));
}

SMatchWord FirstSetMatches(const char *text, u32 count, const u8 *set) noexcept QV_NONBLOCKING
{
    return QV_SIMD_CALL(true, FirstSetMatches(text, count, set));
}

SMatchWord LastSetMatches(const char *text, u32 count, const u8 *set) noexcept QV_NONBLOCKING
{
    return QV_SIMD_CALL(true, LastSetMatches(text, count, set));
}

SMatchWord FirstPairMatches(const char *text, u32 count, char first, u32 distance, char second) noexcept QV_NONBLOCKING
{
    return QV_SIMD_CALL(true, FirstPairMatches(text, count, first, distance, second));
}

SMatchWord LastPairMatches(const char *text, u32 count, char first, u32 distance, char second) noexcept QV_NONBLOCKING
{
    return QV_SIMD_CALL(true, LastPairMatches(text, count, first, distance, second));
}

u32 ListMatches(u16 *indices, const u64 *bitmap, u32 count)
{
    return QV_SIMD_CALL(true, ListMatches(indices, bitmap, count));
}

} // namespace Quorvane::Internal::Buffer
