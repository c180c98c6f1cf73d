// The edit distance of two short texts, without tables: building those takes longer than looking into them.
//
// The rows that hold a character are found by comparing it with all of them at once; sixteen characters of the other
// text are prepared together. Both texts are those of containers, which may be read to the end of the 16-byte block of
// the terminator: what lies behind a text only sets bits above its rows, which reach no bit of them.
#pragma once

#include "fuzzy_distance.h"
#include "fuzzy_wide.h"

#if QV_SIMD_LEVEL >= 1 && (defined(__SSE2__) || defined(_M_X64))
#define QV_FUZZY_HAS_SHORT 1
#include <emmintrin.h>
#else
#define QV_FUZZY_HAS_SHORT 0
#endif

namespace Quorvane::Internal
{

#if QV_FUZZY_HAS_SHORT

// Up to here preparing every character of the other text costs less than tables.
constexpr u32 kMaxShortRows = 32;
constexpr u32 kMaxShortColumns = 64;

// Some blocks of 16 rows.
template <u32 kBlocks>
class TFuzzyShortRows
{
public:
    static constexpr u32 kBlockSize = 16;

    explicit TFuzzyShortRows(const char *rows)
    {
        for (u32 block = 0; block < kBlocks; ++block)
            m_Rows[block] = _mm_loadu_si128(reinterpret_cast<const __m128i *>(rows + block * kBlockSize));
    }

    // Writes the rows that hold each of 16 characters.
    void Match(const char *characters, u32 (&outMatches)[kBlockSize]) const
    {
        const __m128i all = _mm_loadu_si128(reinterpret_cast<const __m128i *>(characters));
        const __m128i low = _mm_unpacklo_epi8(all, all);
        const __m128i high = _mm_unpackhi_epi8(all, all);
        _MatchFour(_mm_unpacklo_epi16(low, low), outMatches);
        _MatchFour(_mm_unpackhi_epi16(low, low), outMatches + 4);
        _MatchFour(_mm_unpacklo_epi16(high, high), outMatches + 8);
        _MatchFour(_mm_unpackhi_epi16(high, high), outMatches + 12);
    }

private:
    // Of four characters, each four times.
    void _MatchFour(__m128i characters, u32 *outMatches) const
    {
        outMatches[0] = _MatchOne(_mm_shuffle_epi32(characters, 0x00));
        outMatches[1] = _MatchOne(_mm_shuffle_epi32(characters, 0x55));
        outMatches[2] = _MatchOne(_mm_shuffle_epi32(characters, 0xAA));
        outMatches[3] = _MatchOne(_mm_shuffle_epi32(characters, 0xFF));
    }

    u32 _MatchOne(__m128i character) const
    {
        u32 match = 0;
        for (u32 block = 0; block < kBlocks; ++block)
            match |= static_cast<u32>(_mm_movemask_epi8(_mm_cmpeq_epi8(m_Rows[block], character)))
                     << (block * kBlockSize);
        return match;
    }

    __m128i m_Rows[kBlocks];
};

// The distance of rows that fill `kBlocks` blocks at most to columns, none of them empty.
template <u32 kBlocks>
u32 DistanceOfBlocks(const CStringView &rows, const CStringView &columns)
{
    constexpr u32 kBlockSize = TFuzzyShortRows<kBlocks>::kBlockSize;
    const TFuzzyShortRows<kBlocks> bits(rows.Data());
    const SFuzzyBoundary boundary = FuzzyBoundary(FuzzyBits_Rows, columns.Length());
    TFuzzyColumn<u64> column = {boundary.m_Plus, 0};
    for (u32 start = 0; start < columns.Length(); start += kBlockSize)
    {
        u32 matches[kBlockSize];
        bits.Match(columns.Data() + start, matches);
        const u32 count = QVMin(columns.Length() - start, kBlockSize);
        for (u32 i = 0; i < count; ++i)
            AdvanceColumn<u64>(column, matches[i], {0, 0});
    }
    return boundary.m_Top + SumOfColumn(column.m_Plus, column.m_Minus, rows.Length());
}

#endif

} // namespace Quorvane::Internal

#if QV_SIMD_HAS_WIDE

QV_SIMD_WIDE_BEGIN

namespace Quorvane::Internal::Wide
{

// A character is spread over a register as it is loaded, so nothing need be prepared.
inline u32 MatchOfShort(__m128i rows, char character)
{
    return static_cast<u32>(_mm_movemask_epi8(_mm_cmpeq_epi8(rows, _mm_set1_epi8(character))));
}

inline u32 MatchOfShort(__m256i rows, char character)
{
    return static_cast<u32>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(rows, _mm256_set1_epi8(character))));
}

// The distance of the rows in a register to columns, none of them empty.
template <typename Register>
u32 DistanceOfRegister(Register rows, u32 rowCount, const CStringView &columns)
{
    const SFuzzyBoundary boundary = FuzzyBoundary(FuzzyBits_Rows, columns.Length());
    TFuzzyColumn<u64> column = {boundary.m_Plus, 0};
    const char *const end = columns.Data() + columns.Length();
    for (const char *character = columns.Data(); character != end; ++character)
        AdvanceColumn<u64>(column, MatchOfShort(rows, *character), {0, 0});
    // One count for both: rows without a bit of -1, less all rows.
    const u64 counted = (1ull << rowCount) - 1;
    const u64 bits = (column.m_Plus & counted) | ((~column.m_Minus & counted) << kMaxShortRows);
    return boundary.m_Top + static_cast<u32>(_mm_popcnt_u64(bits)) - rowCount;
}

inline u32 DistanceOfShort(const CStringView &rows, const CStringView &columns)
{
    if (rows.Length() <= sizeof(__m128i))
        return DistanceOfRegister(_mm_loadu_si128(reinterpret_cast<const __m128i *>(rows.Data())), rows.Length(),
                                  columns);
    return DistanceOfRegister(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(rows.Data())), rows.Length(),
                              columns);
}

} // namespace Quorvane::Internal::Wide

QV_SIMD_WIDE_END

#endif
