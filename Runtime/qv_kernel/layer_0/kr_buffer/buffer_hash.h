// Private header: the arithmetic of hashes of text, which the forms of the kernels share.
//
// Text is taken as words of 8 bytes in the order of little-endian machines, two of them at a time: each is XORed with a
// constant or with what came before, both are multiplied, and the halves of the product of 128 bits are folded into one
// word. This multiply-and-fold is the mixing step of wyhash (Wang Yi) and of what came from it: one multiplication, after
// which each bit of the result depends on all bits of both words. The constants are the first digits of pi, so that
// nobody need ask where they come from. Who can choose texts can choose them to collide: the hash has no secret.
#pragma once

#include "qv_defs.h"

#include "../kr_simd/simd_machine.h"
#include "../kr_simd/simd_words.h"

namespace Quorvane::Internal::Buffer
{

// The fraction of pi, in words.
constexpr u64 kHashConstants[8] = {0x243F6A8885A308D3u, 0x13198A2E03707344u, 0xA4093822299F31D0u, 0x082EFA98EC4E6C89u,
                                   0x452821E638D01377u, 0xBE5466CF34E90C6Cu, 0xC0AC29B7C97C50DDu, 0x3F84D5B5B5470917u};

// Longer texts are hashed in strides, of four lanes each.
constexpr u32 kHashLanes = 4;
constexpr u32 kHashStride = 16 * kHashLanes;

struct SProduct
{
    u64 m_Low;
    u64 m_High;
};

QV_SIMD_INLINE inline SProduct Multiply(u64 a, u64 b)
{
#if defined(__SIZEOF_INT128__)
    __extension__ using CWide = unsigned __int128;
    const CWide product = static_cast<CWide>(a) * b;
    return {static_cast<u64>(product), static_cast<u64>(product >> 64)};
#else
    const u64 lowA = a & 0xFFFFFFFFu;
    const u64 lowB = b & 0xFFFFFFFFu;
    const u64 low = lowA * lowB;
    // Neither sum wraps.
    const u64 middle = (a >> 32) * lowB + (low >> 32);
    const u64 otherMiddle = lowA * (b >> 32) + (middle & 0xFFFFFFFFu);
    return {otherMiddle << 32 | (low & 0xFFFFFFFFu), (a >> 32) * (b >> 32) + (middle >> 32) + (otherMiddle >> 32)};
#endif
}

QV_SIMD_INLINE inline u64 MultiplyAndFold(u64 a, u64 b)
{
    const SProduct product = Multiply(a, b);
    return product.m_Low ^ product.m_High;
}

// The hash, of the last two words, what came before them, and the length.
QV_SIMD_INLINE inline u64 FinishHash(u64 a, u64 b, u64 before, u32 length)
{
    const SProduct product = Multiply(a ^ kHashConstants[1], b ^ before);
    return MultiplyAndFold(product.m_Low ^ kHashConstants[0] ^ length, product.m_High ^ kHashConstants[1]);
}

} // namespace Quorvane::Internal::Buffer
