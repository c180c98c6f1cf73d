// Private header: vectors as lanes of integers, in what the compilers' vector types have no words for.
//
// The types themselves come from the compilers (vector_size), with arithmetic and comparisons for each lane. Each form
// (simd_machine.h) has here, in its namespace:
//     SWordLanes         lanes of 64 bits, and how they move
//     TTextLanes<Lane>   one lane of 16 or of 32 bits for each of 16 texts, made of their characters by transposing them
//                        and by look-ups; only declared where a block has no look-up (kHasLookUp)
// The lanes of the widest form are those of the wide one: more than 16 texts are seldom of about one length.
//
// The intrinsics in words. "Half" is one of the two halves of 32 bytes; most instructions work within each.
//
//     _mm256_unpacklo_epi8, ..hi..    the bytes of the lower (upper) 8 bytes of each half of two, taken in turn
//     _mm256_unpacklo_epi16, ..hi..   the same of 16-bit values
//     _mm256_blend_epi32              32-bit values of the one or of the other, as the bits of a number say
//     _mm256_permute4x64_epi64        the four 64-bit values in a new order
//     _mm256_movemask_pd              the top bits of the four 64-bit values, as a number
//     _mm256_adds_epu8                sum of each byte, 255 where it would exceed that
//     _mm256_shuffle_epi8             bytes of each half of the one, chosen by the other's lower four bits; 0 where the
//                                     top bit is set
//     _mm256_maddubs_epi16            products of bytes, of the first one's unsigned and the other's signed, and sums of
//                                     each two neighbours
//     _mm256_madd_epi16               the same of signed 16-bit values
//     _mm256_cvtepu16_epi32           eight 16-bit values as 32-bit ones
//     _mm256_cvtepi32_ps              32-bit values as numbers with a fraction
//     _mm256_permute2f128_ps          two of the four halves of two
#pragma once

#include "simd_block_widest.h"

namespace Quorvane::Internal::Simd::Narrow
{

struct SWordLanes
{
    using Vector = u64 __attribute__((vector_size(16)));

    static constexpr u32 kCount = 2;

    // Lane i is the one at words[i][i].
    static QV_SIMD_INLINE Vector Diagonal(const u64 *const (&words)[kCount])
    {
        return Vector{words[0][0], words[1][1]};
    }

    // Every lane moved to the next one, and `first` in the first one.
    static QV_SIMD_INLINE Vector MoveUp(Vector lanes, u32 first) { return Vector{first, lanes[0]}; }

    // The top bit of the last lane.
    static QV_SIMD_INLINE u32 LastTopBit(Vector lanes) { return static_cast<u32>(lanes[1] >> 63); }
};

template <typename Lane>
struct TTextLanes;

} // namespace Quorvane::Internal::Simd::Narrow

#if QV_SIMD_HAS_WIDE

QV_SIMD_WIDE_BEGIN

namespace Quorvane::Internal::Simd::Wide
{

struct SWordLanes
{
    using Vector = u64 __attribute__((vector_size(32)));

    static constexpr u32 kCount = 4;

    // The words are those of arrays that are aligned to 32 bytes.
    static QV_SIMD_INLINE Vector Diagonal(const u64 *const (&words)[kCount])
    {
        const __m256i low = _mm256_blend_epi32(_Load(words[0]), _Load(words[1]), 0x0C);
        const __m256i high = _mm256_blend_epi32(_Load(words[2]), _Load(words[3]), 0xC0);
        return reinterpret_cast<Vector>(_mm256_blend_epi32(low, high, 0xF0));
    }

    static QV_SIMD_INLINE Vector MoveUp(Vector lanes, u32 first)
    {
        const __m256i lowest = _mm256_castsi128_si256(_mm_cvtsi32_si128(static_cast<int>(first)));
        const __m256i moved = _mm256_permute4x64_epi64(reinterpret_cast<__m256i>(lanes), 0x93);
        return reinterpret_cast<Vector>(_mm256_blend_epi32(moved, lowest, 0x03));
    }

    static QV_SIMD_INLINE u32 LastTopBit(Vector lanes)
    {
        return static_cast<u32>(_mm256_movemask_pd(reinterpret_cast<__m256d>(lanes))) >> 3;
    }

private:
    static QV_SIMD_INLINE __m256i _Load(const u64 *words)
    {
        return _mm256_load_si256(reinterpret_cast<const __m256i *>(words));
    }
};

// What the lanes of both widths share: the characters of 16 texts as bytes.
struct STextBytes
{
    using CBytes = SBlockAvx2;

    static constexpr u32 kTexts = 16;
    static constexpr u32 kCharacters = 16; // that are transposed together

    // 16 characters of one text, and of the one that comes eight later.
    static QV_SIMD_INLINE CBytes LoadTwo(const char *text, const char *eightLater)
    {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i *>(eightLater));
        return {_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1)};
    }

    // Takes the texts two by two. Each pair is one character of all texts and the next one, in turn for each eight of
    // them: of texts 0 to 3 and 4 to 7 in one half, of 8 to 15 in the other.
    static QV_SIMD_INLINE void Transpose(const CBytes (&rows)[kTexts / 2], CBytes (&outPairs)[kCharacters / 2])
    {
        __m256i mixed[8];
        for (u32 i = 0; i < 4; ++i)
        {
            mixed[i] = _mm256_unpacklo_epi8(rows[i].m_Bytes, rows[i + 4].m_Bytes);
            mixed[i + 4] = _mm256_unpackhi_epi8(rows[i].m_Bytes, rows[i + 4].m_Bytes);
        }
        _TransposeMixed(mixed, outPairs);
        _TransposeMixed(mixed + 4, outPairs + 4);
    }

    // A look-up's indices: the lower half of each byte whose upper half is that of `upperHalf`; for others, one that
    // gives 0.
    static QV_SIMD_INLINE CBytes IndicesBelow(u8 upperHalf, const CBytes &bytes)
    {
        // 0x70 and the lower half where the upper ones are equal, else above 0x7F.
        const __m256i distance = _mm256_xor_si256(bytes.m_Bytes, _mm256_set1_epi8(static_cast<char>(upperHalf)));
        return {_mm256_adds_epu8(distance, _mm256_set1_epi8(0x70))};
    }

    static QV_SIMD_INLINE CBytes TableOf(const u8 *entries) { return CBytes::Repeat(SBlockSse2::Padded(entries)); }

protected:
    // Of four, which hold eight characters of all texts.
    static QV_SIMD_INLINE void _TransposeMixed(const __m256i *mixed, CBytes *outPairs)
    {
        const __m256i evenLow = _mm256_unpacklo_epi8(mixed[0], mixed[2]);
        const __m256i evenHigh = _mm256_unpackhi_epi8(mixed[0], mixed[2]);
        const __m256i oddLow = _mm256_unpacklo_epi8(mixed[1], mixed[3]);
        const __m256i oddHigh = _mm256_unpackhi_epi8(mixed[1], mixed[3]);
        outPairs[0].m_Bytes = _mm256_unpacklo_epi8(evenLow, oddLow);
        outPairs[1].m_Bytes = _mm256_unpackhi_epi8(evenLow, oddLow);
        outPairs[2].m_Bytes = _mm256_unpacklo_epi8(evenHigh, oddHigh);
        outPairs[3].m_Bytes = _mm256_unpackhi_epi8(evenHigh, oddHigh);
    }

    // The bits set in each byte (Mula).
    static QV_SIMD_INLINE __m256i _CountBits(__m256i bytes)
    {
        const __m256i counts = _mm256_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4, 0, 1, 1, 2, 1, 2, 2, 3,
                                                1, 2, 2, 3, 2, 3, 3, 4);
        const __m256i half = _mm256_set1_epi8(0x0F);
        const __m256i low = _mm256_and_si256(bytes, half);
        const __m256i high = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half);
        return _mm256_add_epi8(_mm256_shuffle_epi8(counts, low), _mm256_shuffle_epi8(counts, high));
    }

    // How many more bits are set in each two neighbouring bytes of `a` than of `b`.
    static QV_SIMD_INLINE __m256i _MoreBits(__m256i a, __m256i b)
    {
        return _mm256_maddubs_epi16(_mm256_set1_epi8(1), _mm256_sub_epi8(_CountBits(a), _CountBits(b)));
    }

    static QV_SIMD_INLINE __m256 _Quotients(__m256i dividends, __m256i divisors)
    {
        return _mm256_div_ps(_mm256_cvtepi32_ps(dividends), _mm256_cvtepi32_ps(divisors));
    }
};

template <typename Lane>
struct TTextLanes;

template <>
struct TTextLanes<u16> : STextBytes
{
    using Vector = u16 __attribute__((vector_size(32)));

    // That the lanes of all texts take.
    static constexpr u32 kVectors = 1;

    // The lanes of one number for each text, at an address that 32 divides.
    static QV_SIMD_INLINE void Load(const u16 (&numbers)[kTexts], Vector (&outLanes)[kVectors])
    {
        outLanes[0] = *reinterpret_cast<const Vector *>(numbers);
    }

    // The lanes of a pair's first character, and of its second one, of which the bytes are given, the lowest first.
    static QV_SIMD_INLINE void Join(const CBytes (&bytes)[sizeof(u16)], Vector (&outLanes)[2][kVectors])
    {
        outLanes[0][0] = reinterpret_cast<Vector>(_mm256_unpacklo_epi8(bytes[0].m_Bytes, bytes[1].m_Bytes));
        outLanes[1][0] = reinterpret_cast<Vector>(_mm256_unpackhi_epi8(bytes[0].m_Bytes, bytes[1].m_Bytes));
    }

    // How many more bits are set in each lane of `a` than of `b`.
    static QV_SIMD_INLINE Vector MoreBits(Vector a, Vector b)
    {
        return reinterpret_cast<Vector>(_MoreBits(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
    }

    // Writes the quotient of each text.
    static QV_SIMD_INLINE void StoreQuotients(const Vector (&dividends)[kVectors], const Vector (&divisors)[kVectors],
                                              float (&out)[kTexts])
    {
        const __m256i dividend = reinterpret_cast<__m256i>(dividends[0]);
        const __m256i divisor = reinterpret_cast<__m256i>(divisors[0]);
        _mm256_storeu_ps(out, _Quotients(_mm256_cvtepu16_epi32(_mm256_castsi256_si128(dividend)),
                                         _mm256_cvtepu16_epi32(_mm256_castsi256_si128(divisor))));
        _mm256_storeu_ps(out + 8, _Quotients(_mm256_cvtepu16_epi32(_mm256_extracti128_si256(dividend, 1)),
                                             _mm256_cvtepu16_epi32(_mm256_extracti128_si256(divisor, 1))));
    }
};

// Of two vectors, the first one has the first four texts of each eight, as the transposition leaves them.
template <>
struct TTextLanes<u32> : STextBytes
{
    using Vector = u32 __attribute__((vector_size(32)));

    static constexpr u32 kVectors = 2;

    static QV_SIMD_INLINE void Load(const u16 (&numbers)[kTexts], Vector (&outLanes)[kVectors])
    {
        _Unpack(_mm256_load_si256(reinterpret_cast<const __m256i *>(numbers)), _mm256_setzero_si256(), outLanes);
    }

    static QV_SIMD_INLINE void Join(const CBytes (&bytes)[sizeof(u32)], Vector (&outLanes)[2][kVectors])
    {
        _Unpack(_mm256_unpacklo_epi8(bytes[0].m_Bytes, bytes[1].m_Bytes),
                _mm256_unpacklo_epi8(bytes[2].m_Bytes, bytes[3].m_Bytes), outLanes[0]);
        _Unpack(_mm256_unpackhi_epi8(bytes[0].m_Bytes, bytes[1].m_Bytes),
                _mm256_unpackhi_epi8(bytes[2].m_Bytes, bytes[3].m_Bytes), outLanes[1]);
    }

    static QV_SIMD_INLINE Vector MoreBits(Vector a, Vector b)
    {
        const __m256i ofPairs = _MoreBits(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b));
        return reinterpret_cast<Vector>(_mm256_madd_epi16(ofPairs, _mm256_set1_epi16(1)));
    }

    static QV_SIMD_INLINE void StoreQuotients(const Vector (&dividends)[kVectors], const Vector (&divisors)[kVectors],
                                              float (&out)[kTexts])
    {
        const __m256 first =
            _Quotients(reinterpret_cast<__m256i>(dividends[0]), reinterpret_cast<__m256i>(divisors[0]));
        const __m256 second =
            _Quotients(reinterpret_cast<__m256i>(dividends[1]), reinterpret_cast<__m256i>(divisors[1]));
        _mm256_storeu_ps(out, _mm256_permute2f128_ps(first, second, 0x20));
        _mm256_storeu_ps(out + 8, _mm256_permute2f128_ps(first, second, 0x31));
    }

private:
    // Lanes of the lower and the upper 16 bits.
    static QV_SIMD_INLINE void _Unpack(__m256i lower, __m256i upper, Vector (&outLanes)[kVectors])
    {
        outLanes[0] = reinterpret_cast<Vector>(_mm256_unpacklo_epi16(lower, upper));
        outLanes[1] = reinterpret_cast<Vector>(_mm256_unpackhi_epi16(lower, upper));
    }
};

} // namespace Quorvane::Internal::Simd::Wide

QV_SIMD_END

#endif

#if QV_SIMD_HAS_WIDEST

namespace Quorvane::Internal::Simd::Widest
{

using Wide::SWordLanes;
using Wide::TTextLanes;

} // namespace Quorvane::Internal::Simd::Widest

#endif
