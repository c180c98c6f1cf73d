// The edit distance behind fuzzy matching, 64 rows of the recurrence at a time.
//
// The recurrence. Rows run over the shorter text (of equal lengths: over the other one), i = 1..S, columns over the
// longer one, j = 1..L:
//     D[0][j] = j + 1,    D[i][0] = i for i >= 1,
//     D[i][j] = min(D[i-1][j-1] - (equal ? 1 : 0), D[i][j-1], D[i-1][j]) + 1,    distance = D[S][L].
// That is Levenshtein's but for its boundary: the top row is one higher, so the first vertical difference of the left
// column, D[1][0] - D[0][0], is 0 where Levenshtein has 1.
//
// The method (Myers 1999, in the form of Hyyro 2003). Neighbouring cells differ by -1, 0 or 1. The vertical differences
// of 64 rows of one column are two words of bits; some additions and bit operations advance them by a column, whatever
// the differences at the boundary are. The cell wanted is the bottom one of the first column plus the horizontal
// differences along the bottom row. A text of more rows is cut into strips of 64, which hand the horizontal differences
// along their bottom row to the strip below.
//
// The matrix may as well be walked transposed, with the columns' text in the bits: the same cell, with the boundaries
// exchanged. So the bits of one text serve against any other one, shorter or longer.
#pragma once

#include <cstring>

#include "kr_string.h"

namespace Quorvane::Internal
{

constexpr u32 kStripRows = 64;

// Which text of the recurrence the bits hold.
enum EFuzzyBits
{
    FuzzyBits_Rows,
    FuzzyBits_Columns,
};

// The boundaries of the recurrence as the walk along the bits' text sees them.
struct SFuzzyBoundary
{
    u64 m_FirstDown;  // the first difference down the bits' text; all that follow are 1
    u64 m_FirstAlong; // the first difference along the other text; all that follow are 1
    u32 m_Corner;     // the cell at the end of the bits' text, before the other text
};

constexpr SFuzzyBoundary FuzzyBoundary(EFuzzyBits bits, u32 bitsLength)
{
    return bits == FuzzyBits_Rows ? SFuzzyBoundary{0, 1, bitsLength} : SFuzzyBoundary{1, 0, bitsLength + 1};
}

// For every byte value, the rows of a strip that hold it.
struct SFuzzyMasks
{
    u64 m_Rows[256];

    void Clear() { std::memset(m_Rows, 0, sizeof(m_Rows)); }

    // Clears only what the two texts will look up: less than all for short texts.
    void ClearFor(const char *text, u32 length)
    {
        for (u32 i = 0; i < length; ++i)
            m_Rows[static_cast<u8>(text[i])] = 0;
    }

    void Add(const char *rows, u32 count)
    {
        for (u32 i = 0; i < count; ++i)
            m_Rows[static_cast<u8>(rows[i])] |= 1ull << i;
    }
};

// The vertical differences of a strip's rows in one column: +1 and -1 as bits, 0 in neither.
struct SFuzzyColumn
{
    u64 m_Plus;
    u64 m_Minus;
};

// The horizontal differences of a strip's rows between two columns.
struct SFuzzyStep
{
    u64 m_Plus;
    u64 m_Minus;
};

// Advances the column by one character of the other text, whose rows are `match`; `plusIn` and `minusIn` (0 or 1) are
// the horizontal difference above the strip.
inline SFuzzyStep AdvanceColumn(SFuzzyColumn &column, u64 match, u64 plusIn, u64 minusIn)
{
    const u64 verticalZero = match | column.m_Minus;
    const u64 matchIn = match | minusIn;
    const u64 diagonalZero = (((matchIn & column.m_Plus) + column.m_Plus) ^ column.m_Plus) | matchIn;
    const SFuzzyStep step = {column.m_Minus | ~(diagonalZero | column.m_Plus), column.m_Plus & diagonalZero};
    const u64 plus = (step.m_Plus << 1) | plusIn;
    const u64 minus = (step.m_Minus << 1) | minusIn;
    column.m_Plus = minus | ~(verticalZero | plus);
    column.m_Minus = plus & verticalZero;
    return step;
}

// The distance with at most one strip of bits.
inline u32 DistanceOfStrip(const SFuzzyMasks &masks, u32 bitsLength, EFuzzyBits bits, const char *text, u32 textLength)
{
    const SFuzzyBoundary boundary = FuzzyBoundary(bits, bitsLength);
    const u32 bottom = bitsLength - 1;
    SFuzzyColumn column = {~1ull | boundary.m_FirstDown, 0};
    u64 plusIn = boundary.m_FirstAlong;
    u64 distance = boundary.m_Corner;
    for (u32 i = 0; i < textLength; ++i)
    {
        const SFuzzyStep step = AdvanceColumn(column, masks.m_Rows[static_cast<u8>(text[i])], plusIn, 0);
        distance += (step.m_Plus >> bottom) & 1;
        distance -= (step.m_Minus >> bottom) & 1;
        plusIn = 1;
    }
    return static_cast<u32>(distance);
}

// Horizontal differences between strips: bit 0 for +1, bit 1 for -1.
typedef u8 FuzzyCarry;

// Advances one strip along the whole text: reads the differences above it from `carries`, and leaves those of its row
// `bottom` there.
inline void AdvanceStrip(const SFuzzyMasks &masks, SFuzzyColumn column, u32 bottom, const char *text, u32 textLength,
                         FuzzyCarry *carries)
{
    for (u32 i = 0; i < textLength; ++i)
    {
        const u64 match = masks.m_Rows[static_cast<u8>(text[i])];
        const SFuzzyStep step = AdvanceColumn(column, match, carries[i] & 1u, carries[i] >> 1);
        carries[i] = static_cast<FuzzyCarry>(((step.m_Plus >> bottom) & 1) | (((step.m_Minus >> bottom) & 1) << 1));
    }
}

// The distance with any number of strips. `masksOfStrip(index)` gives the masks of a strip; `carries` has room for the
// other text.
template <typename MasksOfStrip>
u32 DistanceOfStrips(const MasksOfStrip &masksOfStrip, u32 bitsLength, EFuzzyBits bits, const char *text,
                     u32 textLength, FuzzyCarry *carries)
{
    const SFuzzyBoundary boundary = FuzzyBoundary(bits, bitsLength);
    std::memset(carries, 1, textLength);
    carries[0] = static_cast<FuzzyCarry>(boundary.m_FirstAlong);
    SFuzzyColumn column = {~1ull | boundary.m_FirstDown, 0};
    for (u32 done = 0, strip = 0; done < bitsLength; done += kStripRows, ++strip)
    {
        const u32 rows = QVMin(bitsLength - done, kStripRows);
        AdvanceStrip(masksOfStrip(strip), column, rows - 1, text, textLength, carries);
        column.m_Plus = ~0ull;
    }
    u32 distance = boundary.m_Corner;
    for (u32 i = 0; i < textLength; ++i)
        distance += (carries[i] & 1u) - (carries[i] >> 1);
    return distance;
}

// The weight of two texts of `total` characters at a distance.
inline float FuzzyWeight(u32 total, u32 distance)
{
    return static_cast<float>(total - distance + 1) / static_cast<float>(total);
}

} // namespace Quorvane::Internal
