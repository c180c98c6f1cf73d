// Private header: 64 bytes as one value, for machines that have the widest instructions (simd_machine.h).
//
// SBlockAvx512 has the interface of SBlockAvx2 (simd_block_wide.h), with blocks of 16 bytes for the end of a text as
// there. Its members may be called from a widest region only. Which operations use it, and what it gains them, stands in
// the pages of the services.
//
// Two things are different. Its masks are a type of their own, SMaskAvx512, one bit for each byte in a register of their
// own kind: kernels that name them Block::CMask, or not at all, spare the way through a block, to which they convert.
// And blocks can be loaded and stored in part, with Bounded() and StoreBounded() as in simd_block.h, at the price of
// whole ones: nothing is touched outside of the count.
//
// The intrinsics in words, where they do more than those of 32 bytes on twice as many:
//     _mm512_cmp..._epi8_mask        what holds for each byte, as one bit for each, byte 0 lowest
//     _mm512_movm_epi8               such bits as a mask of bytes
//     _mm512_maskz_...               of lanes whose bit in a mask is not set nothing but zero, and what is loaded there
//                                    is not read
//     _mm512_mask_storeu_epi8        the bytes whose bit is set, the others not written
//     _bzhi_u64                      the lowest so many bits
//     _mm512_..._shuffle_i64x2       the four quarters in a new order
//     _mm512_..._broadcast_i32x4     16 bytes in each quarter
//     _mm512_..._extracti32x4_epi32  one of the quarters
#pragma once

#include "simd_block_wide.h"

#if QV_SIMD_HAS_WIDEST

QV_SIMD_WIDEST_BEGIN

namespace Quorvane::Internal::Simd::Widest
{

struct SBlockAvx512;

struct SMaskAvx512
{
    u64 m_Bits;

    bool Any() const { return m_Bits != 0; }
    u32 First() const { return Wide::LowestSetBit(m_Bits); }
    u64 Bits() const { return m_Bits; }
    u64 DenseBits() const { return m_Bits; }

    operator SBlockAvx512() const;
};

inline SMaskAvx512 operator&(const SMaskAvx512 &a, const SMaskAvx512 &b)
{
    return {a.m_Bits & b.m_Bits};
}

inline SMaskAvx512 operator|(const SMaskAvx512 &a, const SMaskAvx512 &b)
{
    return {a.m_Bits | b.m_Bits};
}

struct SBlockAvx512
{
    static constexpr u32 kBytes = 64;
    static constexpr u32 kBitsPerByte = 1;
    static constexpr bool kHasBitGather = true;
    static constexpr bool kHasLookUp = true;
    static constexpr bool kBoundedIsCheap = true;
    using CTail = SBlockSse2;
    using CMask = SMaskAvx512;

    struct SCounter
    {
        u64 m_Count = 0;
        SBlockSse2::SCounter m_Tail;

        // Written out: clang++ leaves an implicit one out of the region.
        SCounter() {}

        void Add(const SMaskAvx512 &mask) { m_Count += Wide::CountBits(mask.m_Bits); }
        void Add(const SBlockSse2 &mask) { m_Tail.Add(mask); }
        u32 Total() const { return static_cast<u32>(m_Count) + m_Tail.Total(); }
    };

    __m512i m_Bytes;

    static SBlockAvx512 Padded(const void *block) { return {_mm512_loadu_si512(block)}; }
    void StorePadded(void *block) const { _mm512_storeu_si512(block, m_Bytes); }

    static SBlockAvx512 Bounded(const void *bytes, u32 count)
    {
        return {_mm512_maskz_loadu_epi8(FirstBytes(count).m_Bits, bytes)};
    }
    void StoreBounded(void *bytes, u32 count) const
    {
        _mm512_mask_storeu_epi8(bytes, FirstBytes(count).m_Bits, m_Bytes);
    }

    static SMaskAvx512 FirstBytes(u32 count) { return {_bzhi_u64(~u64(0), count)}; }

    static SBlockAvx512 Fill(u8 value) { return {_mm512_set1_epi8(static_cast<char>(value))}; }
    static SBlockAvx512 Repeat(const CTail &bytes) { return {_mm512_maskz_broadcast_i32x4(kAllWords, bytes.m_Bytes)}; }
    template <int index>
    CTail Part() const
    {
        return {_mm512_maskz_extracti32x4_epi32(kAllWordsOfTail, m_Bytes, index)};
    }

    static SMaskAvx512 EqualBytes(const SBlockAvx512 &a, const SBlockAvx512 &b)
    {
        return {_mm512_cmpeq_epi8_mask(a.m_Bytes, b.m_Bytes)};
    }
    static SBlockAvx512 LesserBytes(const SBlockAvx512 &a, const SBlockAvx512 &b)
    {
        return {_mm512_min_epu8(a.m_Bytes, b.m_Bytes)};
    }
    SMaskAvx512 BetweenAscii(char first, char last) const
    {
        // What lies below the range wraps to far above it.
        const __m512i moved = _mm512_sub_epi8(m_Bytes, _mm512_set1_epi8(first));
        return {_mm512_cmple_epu8_mask(moved, _mm512_set1_epi8(static_cast<char>(last - first)))};
    }

    SBlockAvx512 LookUp(const SBlockAvx512 &indices) const { return {_mm512_shuffle_epi8(m_Bytes, indices.m_Bytes)}; }
    SBlockAvx512 UpperHalves() const
    {
        return {_mm512_and_si512(_mm512_srli_epi16(m_Bytes, 4), _mm512_set1_epi8(0x0F))};
    }

    SBlockAvx512 Reversed() const
    {
        const __m512i backwards = _mm512_maskz_broadcast_i32x4(
            kAllWords, _mm_setr_epi8(0xF, 0xE, 0xD, 0xC, 0xB, 0xA, 0x9, 0x8, 0x7, 0x6, 0x5, 0x4, 0x3, 0x2, 0x1, 0x0));
        return {_mm512_shuffle_epi8(_mm512_maskz_shuffle_i64x2(kAllHalves, m_Bytes, m_Bytes, kQuartersBackwards),
                                    backwards)};
    }

    static bool Same(const SBlockAvx512 &a, const SBlockAvx512 &b) { return _Differences(a, b) == 0; }
    static u32 FirstDifference(const SBlockAvx512 &a, const SBlockAvx512 &b)
    {
        return Wide::LowestSetBit(_Differences(a, b));
    }

private:
    static constexpr int kQuartersBackwards = 0x1B; // 3 2 1 0

    // With a mask of all, which costs nothing: g++ 12 warns of what the forms without one leave undefined
    // (https://gcc.gnu.org/PR105593).
    static constexpr __mmask16 kAllWords = 0xFFFF;
    static constexpr __mmask8 kAllHalves = 0xFF;
    static constexpr __mmask8 kAllWordsOfTail = 0xF;

    static u64 _Differences(const SBlockAvx512 &a, const SBlockAvx512 &b)
    {
        return _mm512_cmpneq_epi8_mask(a.m_Bytes, b.m_Bytes);
    }
};

inline SMaskAvx512::operator SBlockAvx512() const
{
    return {_mm512_movm_epi8(m_Bits)};
}

inline SBlockAvx512 operator&(const SMaskAvx512 &mask, const SBlockAvx512 &block)
{
    return {_mm512_maskz_mov_epi8(mask.m_Bits, block.m_Bytes)};
}

inline SBlockAvx512 operator&(const SBlockAvx512 &block, const SMaskAvx512 &mask)
{
    return mask & block;
}

inline SBlockAvx512 operator&(const SBlockAvx512 &a, const SBlockAvx512 &b)
{
    return {_mm512_and_si512(a.m_Bytes, b.m_Bytes)};
}

inline SBlockAvx512 operator|(const SBlockAvx512 &a, const SBlockAvx512 &b)
{
    return {_mm512_or_si512(a.m_Bytes, b.m_Bytes)};
}

inline SBlockAvx512 operator^(const SBlockAvx512 &a, const SBlockAvx512 &b)
{
    return {_mm512_xor_si512(a.m_Bytes, b.m_Bytes)};
}

using CBlock = SBlockAvx512;

using Wide::CountBits;
using Wide::kHasBitInstructions;
using Wide::LookUp;
using Wide::LowestSetBit;

} // namespace Quorvane::Internal::Simd::Widest

QV_SIMD_END

#else

namespace Quorvane::Internal::Simd
{

namespace Widest = Wide;

} // namespace Quorvane::Internal::Simd

#endif
