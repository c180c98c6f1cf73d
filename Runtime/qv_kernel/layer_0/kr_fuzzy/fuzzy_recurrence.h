// The recurrence behind fuzzy matching, and what all its forms share: texts, boundaries, sums of columns, weights.
//
// The recurrence. Rows run over the shorter text (of equal lengths: over the other one), i = 1..S, columns over the
// longer one, j = 1..L:
//     D[0][j] = j + 1,    D[i][0] = i for i >= 1,
//     D[i][j] = min(D[i-1][j-1] - (equal ? 1 : 0), D[i][j-1], D[i-1][j]) + 1,    distance = D[S][L].
// That is Levenshtein's but for its boundary: the top row is one higher, so the first vertical difference of the left
// column, D[1][0] - D[0][0], is 0 where Levenshtein has 1.
//
// The weight of two texts is (total - distance + 1) / total, where total is the sum of the lengths. The boundary makes
// it depend, for texts of one length, on which of them is the query: "ab" gives "xa" 0.75, "xa" gives "ab" 0.5.
//
// The method (Myers 1999, in the form of Hyyro 2003). Neighbouring cells differ by -1, 0 or 1. The vertical differences
// of 64 rows of one column are two words of bits; some additions and bit operations advance them by a column, whatever
// the differences at the boundary are. The cell wanted is the top one of the last column plus the differences down that
// column: nothing is counted on the way. A text of more rows is cut into strips of 64, which hand the horizontal
// differences along their bottom row to the strip below.
//
// The matrix may as well be walked transposed, with the columns' text in the bits: the same cell, with the boundaries
// exchanged. So the bits of one text serve against any other one, shorter or longer.
#pragma once

#include <cstring>

#include "qv_defs.h"

namespace Quorvane::Internal::Fuzzy
{

// The characters of a string's container: they may be read to the end of the 16-byte block of the terminator. Null with
// length 0 is the empty text.
struct SText
{
    const char *m_Data;
    u32 m_Length;

    template <typename String>
    static SText Of(const String &string)
    {
        return {string.Data(), string.Length()};
    }
};

constexpr u32 kStripRows = 64;

// A pair whose longer text has this length or more takes a block of memory; shorter ones do with the stack.
constexpr u32 kMinBlockLength = 256;

// Which text of the recurrence the bits hold.
enum EBits
{
    Bits_Rows,
    Bits_Columns,
};

// The boundaries of the recurrence as the walk along the bits' text sees them.
struct SBoundary
{
    u64 m_Plus;         // the differences down the bits' text at its begin: one bit each, 1 but for the first
    u64 m_FirstNotPlus; // whether the first difference along the other text is not 1; all that follow are 1
    u32 m_Top;          // the cell at the end of the other text, before the bits' text
};

constexpr SBoundary BoundaryOf(EBits bits, u32 textLength)
{
    return bits == Bits_Rows ? SBoundary{~1ull, 0, textLength + 1} : SBoundary{~0ull, 1, textLength};
}

// The horizontal difference between two columns in one row: bit 0 for what is not +1, bit 1 for -1.
using Carry = u8;

// Fills the differences along the top row, where the bits hold the rows: all are 1.
inline void BeginCarries(Carry *carries, u32 textLength)
{
    std::memset(carries, 0, textLength);
}

// The weight of two texts of `total` characters at a distance: the same on every machine.
inline float WeightAt(u32 total, u32 distance)
{
    const float likeness = RoundedToType(static_cast<float>(total + 1 - distance));
    return RoundedToType(likeness / RoundedToType(static_cast<float>(total)));
}

// The weight of two texts of which one is empty.
inline float WeightOfEmpty(u32 length, u32 otherLength)
{
    return length == otherLength ? 1.0f : 0.0f;
}

// The highest weight that texts of these lengths, neither of them 0, can have when no more than `matches` of their
// characters match: the distance is at least 1, and 1 more for each other character of the longer one.
inline float MaxWeight(u32 length, u32 otherLength, u32 matches)
{
    return WeightAt(length + otherLength, QVMax(length, otherLength) - matches + 1);
}

// The same whatever they hold.
inline float MaxWeight(u32 length, u32 otherLength)
{
    return MaxWeight(length, otherLength, QVMin(length, otherLength));
}

} // namespace Quorvane::Internal::Fuzzy
