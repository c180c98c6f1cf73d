// The edit distance of long texts with wide vectors: eight strips of 64 rows at a time, a column apart from each other.
//
// The arithmetic is that of fuzzy_distance.h in four lanes. Strips 0, 2, 4 and 6 are the lanes of one set of vectors,
// strips 1, 3, 5 and 7 those of another. At time t, strip s works on column t - s: what comes out of the strip above
// was computed at time t - 1, so that the two sets never wait for each other within one time. From an even strip to the
// odd one below, the differences stay in their lane; only from the odd ones to the even ones do they move by one.
//
// Before its first column a strip must not change: no row matches, and no difference comes from above. Differences of
// +1 in all its rows are kept by that.
#pragma once

#include "fuzzy_distance.h"
#include "fuzzy_wide.h"

#if QV_SIMD_HAS_WIDE

QV_SIMD_WIDE_BEGIN

namespace Quorvane::Internal::Wide
{

constexpr u32 kWideStrips = 8;
constexpr u32 kWideRows = kWideStrips * kStripRows;

// From here on they are faster than two strips at a time, though not all lanes are used.
constexpr u32 kMinWideRows = 2 * kStripRows + 1;

// For the characters of eight strips, the rows that hold each: four even strips, then four odd ones. False when there are
// too many different ones for the table.
template <u32 kEntries>
inline bool AddStrips(TFuzzyEntryTable<kWideStrips, kEntries> &masks, const char *rows, u32 count)
{
    return masks.Add(rows, count, [](u32 strip) { return strip % 2 * (kWideStrips / 2) + strip / 2; });
}

// Four strips.
typedef u64 FuzzyStrips __attribute__((vector_size(32)));

// What is known of eight strips at one time.
class CFuzzyWavefront
{
public:
    // `plus` are the first differences down the first strip.
    explicit CFuzzyWavefront(u64 plus)
        : m_Even{FuzzyStrips{plus, ~0ull, ~0ull, ~0ull}, FuzzyStrips{}},
          m_Odd{~FuzzyStrips{}, FuzzyStrips{}},
          m_EvenOut{FuzzyStrips{1, 1, 1, 1}, FuzzyStrips{}},
          m_OddOut(m_EvenOut),
          m_OddMatch(FuzzyStrips{})
    {
    }

    // Advances every strip by a column, below the difference `in`; the masks are those of the columns time, time - 2,
    // time - 4 and time - 6. Returns: the difference below the last strip.
    QV_FUZZY_INLINE FuzzyCarry Advance(const u64 *masks0, const u64 *masks2, const u64 *masks4, const u64 *masks6,
                                       FuzzyCarry in)
    {
        const TStep toEven = {_MoveUp(m_OddOut.m_NotPlus, in & 1u), _MoveUp(m_OddOut.m_Minus, in >> 1)};
        const TStep even = AdvanceColumn(m_Even, _Gather(masks0, masks2, masks4, masks6, 0), toEven);
        const TStep odd = AdvanceColumn(m_Odd, m_OddMatch, m_EvenOut);
        // One time later, the odd strips are at the columns where the even ones are now.
        m_OddMatch = _Gather(masks0, masks2, masks4, masks6, 4);
        m_EvenOut = TStep{even.m_NotPlus >> (kStripRows - 1), even.m_Minus >> (kStripRows - 1)};
        m_OddOut = TStep{odd.m_NotPlus >> (kStripRows - 1), odd.m_Minus >> (kStripRows - 1)};
        return static_cast<FuzzyCarry>(_HighestBit(odd.m_NotPlus) | (_HighestBit(odd.m_Minus) << 1));
    }

    u32 SumOf(u32 strip, u32 rows) const
    {
        const TFuzzyColumn<FuzzyStrips> &columns = strip % 2 == 0 ? m_Even : m_Odd;
        return SumOfColumn(columns.m_Plus[strip / 2], columns.m_Minus[strip / 2], rows);
    }

private:
    typedef TFuzzyStep<FuzzyStrips> TStep;

    static __m256i _Load(const u64 *masks) { return _mm256_load_si256(reinterpret_cast<const __m256i *>(masks)); }

    static FuzzyStrips _Gather(const u64 *lane0, const u64 *lane1, const u64 *lane2, const u64 *lane3, u32 offset)
    {
        const __m256i low = _mm256_blend_epi32(_Load(lane0 + offset), _Load(lane1 + offset), 0x0C);
        const __m256i high = _mm256_blend_epi32(_Load(lane2 + offset), _Load(lane3 + offset), 0xC0);
        return reinterpret_cast<FuzzyStrips>(_mm256_blend_epi32(low, high, 0xF0));
    }

    // Moves every lane up, and puts `first` into the lowest.
    static FuzzyStrips _MoveUp(FuzzyStrips lanes, u32 first)
    {
        const __m256i lowest = _mm256_castsi128_si256(_mm_cvtsi32_si128(static_cast<int>(first)));
        const __m256i moved = _mm256_permute4x64_epi64(reinterpret_cast<__m256i>(lanes), 0x93);
        return reinterpret_cast<FuzzyStrips>(_mm256_blend_epi32(moved, lowest, 0x03));
    }

    // The last lane's.
    static u32 _HighestBit(FuzzyStrips lanes)
    {
        return static_cast<u32>(_mm256_movemask_pd(reinterpret_cast<__m256d>(lanes))) >> 3;
    }

    TFuzzyColumn<FuzzyStrips> m_Even;
    TFuzzyColumn<FuzzyStrips> m_Odd;
    TStep m_EvenOut;
    TStep m_OddOut;
    FuzzyStrips m_OddMatch;
};

class CFuzzyStrips
{
public:
    // Takes the masks of up to 512 rows, and a text of 8 characters or more.
    CFuzzyStrips(const TFuzzyEntries<kWideStrips> &masks, u32 rowCount, const char *text, u32 textLength,
                 FuzzyCarry *carries)
        : m_RowCount(rowCount), m_Text(text), m_TextLength(textLength), m_Carries(carries), m_Masks(masks)
    {
    }

    // As AdvanceTwoStrips.
    u32 Advance(u64 plus) const
    {
        CFuzzyWavefront wavefront(plus);
        for (u32 time = 0; time < kDelay; ++time)
            _AdvanceAtEdge(wavefront, time);
        _AdvanceInside(wavefront);
        // Here one strip after the other comes to its last column.
        u32 sum = 0;
        for (u32 strip = 0; strip < kWideStrips; ++strip)
        {
            _AdvanceAtEdge(wavefront, m_TextLength - 1 + strip);
            if (strip * kStripRows < m_RowCount)
                sum += wavefront.SumOf(strip, QVMin(m_RowCount - strip * kStripRows, kStripRows));
        }
        return sum;
    }

private:
    // How far the last strip is behind the first one.
    static constexpr u32 kDelay = kWideStrips - 1;

    // While all strips are within the text. On a copy, which the characters written cannot alias.
    void _AdvanceInside(CFuzzyWavefront &wavefront) const
    {
        CFuzzyWavefront inside = wavefront;
        const char *const text = m_Text;
        FuzzyCarry *const carries = m_Carries;
        const u32 end = m_TextLength - 1;
        for (u32 time = kDelay; time < end; ++time)
            carries[time - kDelay] = inside.Advance(_MasksOf(text[time]), _MasksOf(text[time - 2]),
                                                    _MasksOf(text[time - 4]), _MasksOf(text[time - 6]), carries[time]);
        wavefront = inside;
    }

    void _AdvanceAtEdge(CFuzzyWavefront &wavefront, u32 time) const
    {
        const FuzzyCarry in = time < m_TextLength ? m_Carries[time] : FuzzyCarry();
        const FuzzyCarry out =
            wavefront.Advance(_MasksAt(time), _MasksAt(time - 2), _MasksAt(time - 4), _MasksAt(time - 6), in);
        if (time >= kDelay)
            m_Carries[time - kDelay] = out;
    }

    const u64 *_MasksOf(char character) const { return m_Masks.Of(character); }

    // Columns before the first one are beyond the last one, too: the numbers wrap.
    const u64 *_MasksAt(u32 column) const
    {
        return column < m_TextLength ? _MasksOf(m_Text[column]) : m_Masks.m_Rows[m_Masks.kNone];
    }

    u32 m_RowCount;
    const char *m_Text;
    u32 m_TextLength;
    FuzzyCarry *m_Carries;
    TFuzzyEntries<kWideStrips> m_Masks;
};

// As AdvanceTwoStrips, for up to 512 rows and a text of 8 characters or more.
QV_INTERNAL_NOINLINE inline u32 AdvanceWideStrips(const TFuzzyEntries<kWideStrips> &masks, u32 rowCount, u64 plus,
                                                  const char *text, u32 textLength, FuzzyCarry *carries)
{
    const CFuzzyStrips strips(masks, rowCount, text, textLength, carries);
    return strips.Advance(plus);
}

} // namespace Quorvane::Internal::Wide

QV_SIMD_WIDE_END

#endif
