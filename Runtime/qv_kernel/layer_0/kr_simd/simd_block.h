// Private header: 16 bytes as one value, for the kernels that work text a block at a time.
//
// One interface in three forms: SBlockSse2 (x86), SBlockNeon (64-bit Arm) and SBlockPortable (two 64-bit words, for
// every machine). A form exists where its instructions do; the portable one always does. The alias SBlock at the bottom
// is the machine's own. Kernels are templates over the form, so all of them give the same results to the last byte, and
// tests run every form that the machine has.
//
// Nothing here reads or writes a byte that it may not. There are two loads:
//     Padded(p)       a whole block: of a string container's characters, which are zero-filled to the end of the block,
//                     or of any other memory that has as many bytes, at any alignment
//     Bounded(p, n)   the first n bytes of any other memory, and zero behind them
// and two stores, StorePadded and StoreBounded, for the same two kinds of memory. A container's blocks are 16-byte
// aligned; the padded forms do not insist on it, so that an allocator that breaks its promise costs a report where
// alignment is checked, and no crash here.
//
// kBoundedIsCheap tells whether those of a whole block's bytes or less cost no more than the padded ones.
//
// A mask, of the type CMask, is a block whose bytes are 0xFF where something holds and 0 where it does not. Byte 0 is the one at the lowest
// address, on machines of either byte order. Bits() gives a mask as an integer with one bit for each byte, byte i at bit
// i * kBitsPerByte, as is cheapest to get; DenseBits() has byte i at bit i in every form, so that the bits of several
// blocks can be put together. Where kHasBitGather, an instruction gives them at once.
//
// Kernels finish a text with blocks of the type CTail, which is no wider than a container's own blocks: here each form
// itself. simd_block_wide.h has the form of 32 bytes, simd_block_widest.h that of 64. What needs a table look-up within
// a block asks for kHasLookUp, which none of the forms here has.
//
// To run the NEON form's tests on another machine, with a cross compiler and an emulator of programs: see
// tests/cross/neon.sh.
//
// The intrinsics in words. "Each" is each byte unless a width is named.
//
//     SSE2                      NEON
//     _mm_loadu_si128           vld1q_u8            loads 16 bytes from any address
//     _mm_storeu_si128          vst1q_u8            stores 16 bytes to any address
//     _mm_setzero_si128                             all bits zero
//     _mm_set1_epi8             vdupq_n_u8          one value in each
//     _mm_setr_epi8                                 16 values, the first one in byte 0
//     _mm_and_si128             vandq_u8            bitwise and
//     _mm_or_si128              vorrq_u8            bitwise or
//     _mm_xor_si128             veorq_u8            bitwise exclusive or
//     _mm_sub_epi8              vsubq_u8            difference of each, wrapping
//     _mm_cmpeq_epi8            vceqq_u8            mask of where two are equal
//     _mm_cmpgt_epi8                                mask of where the first is greater, as signed bytes
//                               vcltq_u8            mask of where the first is less, as unsigned bytes
//                               vcleq_u8            mask of where the first is at most the second, as unsigned bytes
//     _mm_movemask_epi8                             the top bit of each, gathered into 16 bits, byte 0 lowest
//                               vshrn_n_u16         each 16-bit value shifted right, its low 8 bits kept: shifted by 4,
//                                                   a mask becomes 64 bits with 4 for each byte, byte 0 lowest
//     _mm_sad_epu8                                  sum of the differences of each 8 bytes: against zero, their sum
//                               vaddvq_u8           sum of all 16, as one byte; vaddv_u8 of 8
//                               vget_low_u8, ...    the lower, the upper half
//                               vshrq_n_u8          each shifted right
//     _mm_add_epi64                                 sums of the two 64-bit halves
//     _mm_unpackhi_epi64                            the upper half of one, below that of the other
//     _mm_cvtsi128_si32                             the lowest 32 bits as an integer
//     _mm_slli_epi16, _mm_srli_epi16                16-bit values shifted left, right
//     _mm_shufflelo_epi16, _mm_shufflehi_epi16      the four 16-bit values of the lower, the upper half in a new order
//     _mm_shuffle_epi32                             the four 32-bit values in a new order
//                               vrev64q_u8          the bytes of each half reversed
//                               vextq_u8            16 bytes out of the 32 of two values, from a given one on
//     vreinterpret..., vget_lane_u64                the same bits as another type; one 64-bit value as an integer
#pragma once

#include <cstring>

#include "qv_defs.h"

#include "simd_machine.h"
#include "simd_words.h"

#if defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2)
#define QV_SIMD_HAS_SSE2 1
#include <emmintrin.h>
#else
#define QV_SIMD_HAS_SSE2 0
#endif

// 32-bit Arm lacks the sums across a value, and on big-endian machines byte 0 is not the lowest: both are portable.
#if (defined(__aarch64__) && !defined(__AARCH64EB__)) || defined(_M_ARM64)
#define QV_SIMD_HAS_NEON 1
#include <arm_neon.h>
#else
#define QV_SIMD_HAS_NEON 0
#endif

namespace Quorvane::Internal::Simd
{

// The portable form: two words, whose bytes are worked side by side so that no carry passes from one to the next.
struct QV_INTERNAL_HIDDEN SBlockPortable
{
    static constexpr u32 kBytes = 16;
    static constexpr u32 kBitsPerByte = 1;
    static constexpr bool kHasBitGather = false;
    static constexpr bool kHasLookUp = false;
    static constexpr bool kBoundedIsCheap = false;
    using CTail = SBlockPortable;
    using CMask = SBlockPortable;

    // Counts the bytes that masks mark.
    struct SCounter
    {
        u32 m_Count = 0;

        void Add(const SBlockPortable &mask)
        {
            for (const u64 word : mask.m_Words)
                m_Count += static_cast<u32>(WrappingProduct(word & kLowBits, kLowBits) >> 56);
        }
        u32 Total() const { return m_Count; }
    };

    u64 m_Words[2];

    static SBlockPortable Padded(const void *block)
    {
        SBlockPortable loaded;
        std::memcpy(loaded.m_Words, block, kBytes);
        return loaded;
    }
    // `count` is at most kBytes. With 0 nothing is read, so null will do.
    static SBlockPortable Bounded(const void *bytes, u32 count)
    {
        SBlockPortable loaded = {{0, 0}};
        if (count != 0)
            std::memcpy(loaded.m_Words, bytes, count);
        return loaded;
    }
    void StorePadded(void *block) const { std::memcpy(block, m_Words, kBytes); }
    // The first `count` bytes, at most kBytes. With 0 nothing is written, so null will do.
    void StoreBounded(void *bytes, u32 count) const
    {
        if (count != 0)
            std::memcpy(bytes, m_Words, count);
    }

    // One value in every byte.
    static SBlockPortable Fill(u8 value) { return {{value * kLowBits, value * kLowBits}}; }

    // The mask of the first `count` bytes, at most kBytes.
    static SBlockPortable FirstBytes(u32 count) { return Padded(kEdge + kBytes - count); }

    // The mask of the bytes that are equal in both.
    static SBlockPortable EqualBytes(const SBlockPortable &a, const SBlockPortable &b)
    {
        return {{_EqualBytes(a.m_Words[0], b.m_Words[0]), _EqualBytes(a.m_Words[1], b.m_Words[1])}};
    }

    // The lesser one of each two bytes.
    static SBlockPortable LesserBytes(const SBlockPortable &a, const SBlockPortable &b)
    {
        u8 bytesA[kBytes];
        u8 bytesB[kBytes];
        a.StorePadded(bytesA);
        b.StorePadded(bytesB);
        const u8 *other = bytesB;
        for (u8 &byte : bytesA)
            byte = QVMin(byte, *other++);
        return Padded(bytesA);
    }

    // The mask of the bytes from `first` to `last`, two ASCII characters in this order.
    SBlockPortable BetweenAscii(char first, char last) const
    {
        return {{_BetweenAscii(m_Words[0], first, last), _BetweenAscii(m_Words[1], first, last)}};
    }

    friend SBlockPortable operator&(const SBlockPortable &a, const SBlockPortable &b)
    {
        return {{a.m_Words[0] & b.m_Words[0], a.m_Words[1] & b.m_Words[1]}};
    }
    friend SBlockPortable operator|(const SBlockPortable &a, const SBlockPortable &b)
    {
        return {{a.m_Words[0] | b.m_Words[0], a.m_Words[1] | b.m_Words[1]}};
    }
    friend SBlockPortable operator^(const SBlockPortable &a, const SBlockPortable &b)
    {
        return {{a.m_Words[0] ^ b.m_Words[0], a.m_Words[1] ^ b.m_Words[1]}};
    }

    // The bytes in the opposite order.
    SBlockPortable Reversed() const { return {{_Reversed(m_Words[1]), _Reversed(m_Words[0])}}; }

    // Whether two blocks are equal in all bytes.
    static bool Same(const SBlockPortable &a, const SBlockPortable &b)
    {
        return ((a.m_Words[0] ^ b.m_Words[0]) | (a.m_Words[1] ^ b.m_Words[1])) == 0;
    }

    // The index of the first byte in which two blocks differ; kBytes when they are the same.
    static u32 FirstDifference(const SBlockPortable &a, const SBlockPortable &b) { return (a ^ b)._FirstNonZero(); }

    // For masks: whether any byte is marked, and the index of the first one that is, or kBytes.
    bool Any() const { return (m_Words[0] | m_Words[1]) != 0; }
    u32 First() const { return _FirstNonZero(); }
    u64 Bits() const { return _Gather(m_Words[0]) | _Gather(m_Words[1]) << 8; }
    u64 DenseBits() const { return Bits(); }

private:
    static constexpr u64 kAllButHighBits = 0x7F * kLowBits;
    // Not within the function: the compiler takes no function with a static variable for nonblocking.
    QV_INTERNAL_HIDDEN static constexpr u8 kEdge[2 * kBytes] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                                0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

    // One bit of each byte, byte 0 lowest: all are moved into the top byte, and no two of them meet.
    static u64 _Gather(u64 word)
    {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        constexpr u64 kGather = 0x8040201008040201u;
#else
        constexpr u64 kGather = 0x0102040810204080u;
#endif
        return WrappingProduct(word & kLowBits, kGather) >> 56;
    }

    // The high bit of each byte spread over the byte.
    static u64 _Spread(u64 highBits)
    {
        return (highBits >> 7) * 0xFF;
    }

    static u64 _EqualBytes(u64 a, u64 b)
    {
        const u64 difference = a ^ b;
        // The high bit of a sum is set where the lower seven bits are not all zero.
        const u64 sums = (difference & kAllButHighBits) + kAllButHighBits;
        return _Spread(~(sums | difference) & kHighBits);
    }

    static u64 _BetweenAscii(u64 word, char first, char last)
    {
        // The high bit of a sum is set where the lower seven bits reach the one bound, where they exceed the other.
        const u64 low = word & kAllButHighBits;
        const u64 reachesFirst = low + (0x80u - static_cast<u8>(first)) * kLowBits;
        const u64 exceedsLast = low + (0x7Fu - static_cast<u8>(last)) * kLowBits;
        return _Spread((reachesFirst ^ exceedsLast) & ~word & kHighBits);
    }

    static u64 _Reversed(u64 word)
    {
        word = (word >> 8 & 0x00FF00FF00FF00FFu) | (word & 0x00FF00FF00FF00FFu) << 8;
        word = (word >> 16 & 0x0000FFFF0000FFFFu) | (word & 0x0000FFFF0000FFFFu) << 16;
        return word >> 32 | (word & 0xFFFFFFFFu) << 32;
    }

    u32 _FirstNonZero() const
    {
        u8 bytes[kBytes];
        std::memcpy(bytes, m_Words, kBytes);
        u32 index = 0;
        for (const u8 byte : bytes)
        {
            if (byte != 0)
                break;
            ++index;
        }
        return index;
    }
};

#if QV_SIMD_HAS_SSE2

// The form of x86 machines. Its members mean what those of SBlockPortable do.
struct SBlockSse2
{
    static constexpr u32 kBytes = 16;
    static constexpr u32 kBitsPerByte = 1;
    static constexpr bool kHasBitGather = true;
    static constexpr bool kHasLookUp = false;
    static constexpr bool kBoundedIsCheap = false;
    using CTail = SBlockSse2;
    using CMask = SBlockSse2;

    struct SCounter
    {
        __m128i m_Sums = _mm_setzero_si128();

        void Add(const SBlockSse2 &mask)
        {
            const __m128i zero = _mm_setzero_si128();
            m_Sums = _mm_add_epi64(m_Sums, _mm_sad_epu8(_mm_sub_epi8(zero, mask.m_Bytes), zero));
        }
        u32 Total() const
        {
            const int lower = _mm_cvtsi128_si32(m_Sums);
            const int upper = _mm_cvtsi128_si32(_mm_unpackhi_epi64(m_Sums, m_Sums));
            return static_cast<u32>(lower) + static_cast<u32>(upper);
        }
    };

    __m128i m_Bytes;

    static SBlockSse2 Padded(const void *block) { return {_mm_loadu_si128(static_cast<const __m128i *>(block))}; }
    static SBlockSse2 Bounded(const void *bytes, u32 count)
    {
        alignas(kBytes) u8 local[kBytes] = {};
        if (count != 0)
            std::memcpy(local, bytes, count);
        return Padded(local);
    }
    void StorePadded(void *block) const { _mm_storeu_si128(static_cast<__m128i *>(block), m_Bytes); }
    void StoreBounded(void *bytes, u32 count) const
    {
        alignas(kBytes) u8 local[kBytes];
        StorePadded(local);
        if (count != 0)
            std::memcpy(bytes, local, count);
    }

    static SBlockSse2 Fill(u8 value) { return {_mm_set1_epi8(static_cast<char>(value))}; }
    static SBlockSse2 FirstBytes(u32 count)
    {
        const __m128i indices = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
        return {_mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(count)), indices)};
    }

    static SBlockSse2 EqualBytes(const SBlockSse2 &a, const SBlockSse2 &b)
    {
        return {_mm_cmpeq_epi8(a.m_Bytes, b.m_Bytes)};
    }
    static SBlockSse2 LesserBytes(const SBlockSse2 &a, const SBlockSse2 &b)
    {
        return {_mm_min_epu8(a.m_Bytes, b.m_Bytes)};
    }
    SBlockSse2 BetweenAscii(char first, char last) const
    {
        // Comparisons are signed: the range is moved down to where the signed bytes begin.
        const __m128i moved = _mm_sub_epi8(m_Bytes, _mm_set1_epi8(static_cast<char>(first - 128)));
        return {_mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(last - first + 1 - 128)), moved)};
    }

    friend SBlockSse2 operator&(const SBlockSse2 &a, const SBlockSse2 &b)
    {
        return {_mm_and_si128(a.m_Bytes, b.m_Bytes)};
    }
    friend SBlockSse2 operator|(const SBlockSse2 &a, const SBlockSse2 &b)
    {
        return {_mm_or_si128(a.m_Bytes, b.m_Bytes)};
    }
    friend SBlockSse2 operator^(const SBlockSse2 &a, const SBlockSse2 &b)
    {
        return {_mm_xor_si128(a.m_Bytes, b.m_Bytes)};
    }

    SBlockSse2 Reversed() const
    {
        // The bytes of each 16-bit value, the values of each half, the halves.
        const __m128i pairs = _mm_or_si128(_mm_slli_epi16(m_Bytes, 8), _mm_srli_epi16(m_Bytes, 8));
        const __m128i halves = _mm_shufflehi_epi16(_mm_shufflelo_epi16(pairs, kBackwards), kBackwards);
        return {_mm_shuffle_epi32(halves, kSwapHalves)};
    }

    static bool Same(const SBlockSse2 &a, const SBlockSse2 &b) { return EqualBytes(a, b)._TopBits() == kAllTopBits; }
    static u32 FirstDifference(const SBlockSse2 &a, const SBlockSse2 &b)
    {
        return TrailingZeroBits((EqualBytes(a, b)._TopBits() ^ kAllTopBits) | kBehindTopBits);
    }
    bool Any() const { return _TopBits() != 0; }
    u32 First() const { return TrailingZeroBits(_TopBits() | kBehindTopBits); }
    u64 Bits() const { return _TopBits(); }
    u64 DenseBits() const { return _TopBits(); }

private:
    static constexpr u32 kAllTopBits = 0xFFFF;
    static constexpr u32 kBehindTopBits = 0x10000;
    static constexpr int kBackwards = 0x1B;  // 3 2 1 0
    static constexpr int kSwapHalves = 0x4E; // 1 0 3 2

    u32 _TopBits() const { return static_cast<u32>(_mm_movemask_epi8(m_Bytes)); }
};

#endif // QV_SIMD_HAS_SSE2

#if QV_SIMD_HAS_NEON

// The form of 64-bit Arm machines. Its members mean what those of SBlockPortable do.
struct SBlockNeon
{
    static constexpr u32 kBytes = 16;
    static constexpr u32 kBitsPerByte = 4;
    static constexpr bool kHasBitGather = false;
    static constexpr bool kHasLookUp = false;
    static constexpr bool kBoundedIsCheap = false;

    // Not within the functions, as above.
    QV_INTERNAL_HIDDEN static constexpr u8 kIndices[kBytes] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    QV_INTERNAL_HIDDEN static constexpr u8 kPlaces[kBytes] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    using CTail = SBlockNeon;
    using CMask = SBlockNeon;

    struct SCounter
    {
        u32 m_Count = 0;

        void Add(const SBlockNeon &mask) { m_Count += vaddvq_u8(vshrq_n_u8(mask.m_Bytes, 7)); }
        u32 Total() const { return m_Count; }
    };

    uint8x16_t m_Bytes;

    static SBlockNeon Padded(const void *block) { return {vld1q_u8(static_cast<const u8 *>(block))}; }
    static SBlockNeon Bounded(const void *bytes, u32 count)
    {
        alignas(kBytes) u8 local[kBytes] = {};
        if (count != 0)
            std::memcpy(local, bytes, count);
        return Padded(local);
    }
    void StorePadded(void *block) const { vst1q_u8(static_cast<u8 *>(block), m_Bytes); }
    void StoreBounded(void *bytes, u32 count) const
    {
        alignas(kBytes) u8 local[kBytes];
        StorePadded(local);
        if (count != 0)
            std::memcpy(bytes, local, count);
    }

    static SBlockNeon Fill(u8 value) { return {vdupq_n_u8(value)}; }
    static SBlockNeon FirstBytes(u32 count)
    {
        return {vcltq_u8(vld1q_u8(kIndices), vdupq_n_u8(static_cast<u8>(count)))};
    }

    static SBlockNeon EqualBytes(const SBlockNeon &a, const SBlockNeon &b) { return {vceqq_u8(a.m_Bytes, b.m_Bytes)}; }
    static SBlockNeon LesserBytes(const SBlockNeon &a, const SBlockNeon &b) { return {vminq_u8(a.m_Bytes, b.m_Bytes)}; }
    SBlockNeon BetweenAscii(char first, char last) const
    {
        // What lies below the range wraps to far above it.
        const uint8x16_t moved = vsubq_u8(m_Bytes, vdupq_n_u8(static_cast<u8>(first)));
        return {vcleq_u8(moved, vdupq_n_u8(static_cast<u8>(last - first)))};
    }

    friend SBlockNeon operator&(const SBlockNeon &a, const SBlockNeon &b) { return {vandq_u8(a.m_Bytes, b.m_Bytes)}; }
    friend SBlockNeon operator|(const SBlockNeon &a, const SBlockNeon &b) { return {vorrq_u8(a.m_Bytes, b.m_Bytes)}; }
    friend SBlockNeon operator^(const SBlockNeon &a, const SBlockNeon &b) { return {veorq_u8(a.m_Bytes, b.m_Bytes)}; }

    SBlockNeon Reversed() const
    {
        const uint8x16_t halves = vrev64q_u8(m_Bytes);
        return {vextq_u8(halves, halves, 8)};
    }

    static bool Same(const SBlockNeon &a, const SBlockNeon &b) { return ~EqualBytes(a, b)._Nibbles() == 0; }
    static u32 FirstDifference(const SBlockNeon &a, const SBlockNeon &b)
    {
        return _FirstNibble(~EqualBytes(a, b)._Nibbles());
    }
    bool Any() const { return _Nibbles() != 0; }
    u32 First() const { return _FirstNibble(_Nibbles()); }
    u64 Bits() const { return _Nibbles() & 0x1111111111111111u; }
    u64 DenseBits() const
    {
        // Each byte keeps the bit of its place in its half; the sum of a half is its bits.
        const uint8x16_t placed = vandq_u8(m_Bytes, vld1q_u8(kPlaces));
        return static_cast<u64>(vaddv_u8(vget_low_u8(placed))) | static_cast<u64>(vaddv_u8(vget_high_u8(placed))) << 8;
    }

private:
    // A mask with 4 bits for each byte.
    u64 _Nibbles() const
    {
        return vget_lane_u64(vreinterpret_u64_u8(vshrn_n_u16(vreinterpretq_u16_u8(m_Bytes), 4)), 0);
    }
    static u32 _FirstNibble(u64 nibbles) { return nibbles == 0 ? kBytes : TrailingZeroBits(nibbles) / 4; }
};

#endif // QV_SIMD_HAS_NEON

#if QV_SIMD_HAS_SSE2 && QV_SIMD_LEVEL >= 1
using SBlock = SBlockSse2;
#elif QV_SIMD_HAS_NEON && QV_SIMD_LEVEL >= 1
using SBlock = SBlockNeon;
#else
using SBlock = SBlockPortable;
#endif

// What the narrow form's kernels are written over (simd_each_form.inc).
namespace Narrow
{

using CBlock = SBlock;

// Whether the machine has instructions for the functions that follow, which the wide forms have, too.
constexpr bool kHasBitInstructions = false;

using Simd::CountBits;

// The index of the lowest bit that is set; 64 when none is.
inline u32 LowestSetBit(u64 value)
{
    return value != 0 ? TrailingZeroBits(value) : 64;
}

} // namespace Narrow

} // namespace Quorvane::Internal::Simd
