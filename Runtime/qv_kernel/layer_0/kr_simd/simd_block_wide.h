// Private header: 32 bytes as one value, for machines that have wide instructions (simd_machine.h).
//
// SBlockAvx2 has the interface of the forms in simd_block.h, as far as kernels use it on whole blocks. It has no bounded
// load: the last bytes of a text belong to the blocks of its CTail, since a container's characters end with a block of
// 16. Its members, and the functions here, may be called from a wide region only.
//
// It has a look-up in tables of 16 entries besides: Repeat() makes one of a block of 16 bytes, and LookUp(indices) gives
// for each byte the entry that the lower half of its index names, or 0 where the top bit of the index is set.
//
// The intrinsics in words, where they do more than those of 16 bytes on twice as many:
//     _mm256_testz_si256            whether the conjunction of two is zero
//     _mm256_shuffle_epi8           bytes of each half of the one, chosen by the lower four bits of the other's; 0 where
//                                   their top bit is set
//     _mm256_extracti128_si256      the lower or the upper half
//     _mm256_broadcastsi128_si256   16 bytes in both halves
//     _mm256_permute2x128_si256     the halves in a new order
//     _mm_popcnt_u64                the number of bits set
//     _tzcnt_u64                    the number of zero bits below the lowest one that is set; 64 when none is
#pragma once

#include "simd_block.h"

#if QV_SIMD_HAS_WIDE

QV_SIMD_WIDE_BEGIN

namespace Quorvane::Internal::Simd::Wide
{

struct SBlockAvx2
{
    static constexpr u32 kBytes = 32;
    static constexpr u32 kBitsPerByte = 1;
    static constexpr bool kHasBitGather = true;
    static constexpr bool kHasLookUp = true;
    static constexpr bool kBoundedIsCheap = false;
    using CTail = SBlockSse2;
    using CMask = SBlockAvx2;

    struct SCounter
    {
        __m256i m_Sums;
        SBlockSse2::SCounter m_Tail;

        // Written out: clang++ leaves an implicit one out of the region.
        SCounter() : m_Sums(_mm256_setzero_si256()) {}

        void Add(const SBlockAvx2 &mask)
        {
            const __m256i zero = _mm256_setzero_si256();
            m_Sums = _mm256_add_epi64(m_Sums, _mm256_sad_epu8(_mm256_sub_epi8(zero, mask.m_Bytes), zero));
        }
        void Add(const SBlockSse2 &mask) { m_Tail.Add(mask); }
        u32 Total() const
        {
            const __m128i halves = _mm_add_epi64(_mm256_castsi256_si128(m_Sums), _mm256_extracti128_si256(m_Sums, 1));
            const int lower = _mm_cvtsi128_si32(halves);
            const int upper = _mm_cvtsi128_si32(_mm_unpackhi_epi64(halves, halves));
            return static_cast<u32>(lower) + static_cast<u32>(upper) + m_Tail.Total();
        }
    };

    __m256i m_Bytes;

    static SBlockAvx2 Padded(const void *block) { return {_mm256_loadu_si256(static_cast<const __m256i *>(block))}; }
    void StorePadded(void *block) const { _mm256_storeu_si256(static_cast<__m256i *>(block), m_Bytes); }

    static SBlockAvx2 Fill(u8 value) { return {_mm256_set1_epi8(static_cast<char>(value))}; }
    // The same 16 bytes in both halves.
    static SBlockAvx2 Repeat(const CTail &bytes) { return {_mm256_broadcastsi128_si256(bytes.m_Bytes)}; }
    // One of the halves: 0 for the lower one, 1.
    template <int index>
    CTail Part() const
    {
        return {_mm256_extracti128_si256(m_Bytes, index)};
    }

    static SBlockAvx2 EqualBytes(const SBlockAvx2 &a, const SBlockAvx2 &b)
    {
        return {_mm256_cmpeq_epi8(a.m_Bytes, b.m_Bytes)};
    }
    static SBlockAvx2 LesserBytes(const SBlockAvx2 &a, const SBlockAvx2 &b)
    {
        return {_mm256_min_epu8(a.m_Bytes, b.m_Bytes)};
    }
    SBlockAvx2 BetweenAscii(char first, char last) const
    {
        const __m256i moved = _mm256_sub_epi8(m_Bytes, _mm256_set1_epi8(static_cast<char>(first - 128)));
        return {_mm256_cmpgt_epi8(_mm256_set1_epi8(static_cast<char>(last - first + 1 - 128)), moved)};
    }

    SBlockAvx2 LookUp(const SBlockAvx2 &indices) const { return {_mm256_shuffle_epi8(m_Bytes, indices.m_Bytes)}; }
    // The upper four bits of each byte, as a number.
    SBlockAvx2 UpperHalves() const { return {_mm256_and_si256(_mm256_srli_epi16(m_Bytes, 4), _mm256_set1_epi8(0x0F))}; }

    SBlockAvx2 Reversed() const
    {
        const __m256i backwards = _mm256_broadcastsi128_si256(
            _mm_setr_epi8(0xF, 0xE, 0xD, 0xC, 0xB, 0xA, 0x9, 0x8, 0x7, 0x6, 0x5, 0x4, 0x3, 0x2, 0x1, 0x0));
        return {_mm256_shuffle_epi8(_mm256_permute2x128_si256(m_Bytes, m_Bytes, 1), backwards)};
    }

    static bool Same(const SBlockAvx2 &a, const SBlockAvx2 &b)
    {
        const __m256i differing = _mm256_xor_si256(a.m_Bytes, b.m_Bytes);
        return _mm256_testz_si256(differing, differing) != 0;
    }
    static u32 FirstDifference(const SBlockAvx2 &a, const SBlockAvx2 &b)
    {
        return TrailingZeroBits((EqualBytes(a, b).Bits() ^ kAllBits) | kBehindBits);
    }
    bool Any() const { return Bits() != 0; }
    u32 First() const { return TrailingZeroBits(Bits() | kBehindBits); }
    u64 Bits() const { return static_cast<u32>(_mm256_movemask_epi8(m_Bytes)); }
    u64 DenseBits() const { return Bits(); }

private:
    static constexpr u64 kAllBits = 0xFFFFFFFFu;
    static constexpr u64 kBehindBits = 0x100000000u;
};

// Not friends within the type: g++ leaves those out of the region.

inline SBlockAvx2 operator&(const SBlockAvx2 &a, const SBlockAvx2 &b)
{
    return {_mm256_and_si256(a.m_Bytes, b.m_Bytes)};
}

inline SBlockAvx2 operator|(const SBlockAvx2 &a, const SBlockAvx2 &b)
{
    return {_mm256_or_si256(a.m_Bytes, b.m_Bytes)};
}

inline SBlockAvx2 operator^(const SBlockAvx2 &a, const SBlockAvx2 &b)
{
    return {_mm256_xor_si256(a.m_Bytes, b.m_Bytes)};
}

using CBlock = SBlockAvx2;

// The look-up in a block of 16 bytes.
inline SBlockSse2 LookUp(const SBlockSse2 &entries, const SBlockSse2 &indices)
{
    return {_mm_shuffle_epi8(entries.m_Bytes, indices.m_Bytes)};
}

constexpr bool kHasBitInstructions = true;

inline u32 CountBits(u64 bits)
{
    return static_cast<u32>(_mm_popcnt_u64(bits));
}

inline u32 LowestSetBit(u64 value)
{
    return static_cast<u32>(_tzcnt_u64(value));
}

} // namespace Quorvane::Internal::Simd::Wide

QV_SIMD_END

#else

namespace Quorvane::Internal::Simd
{

namespace Wide = Narrow;

} // namespace Quorvane::Internal::Simd

#endif
