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
// the differences at the boundary are. The cell wanted is the top one of the last column plus the differences down that
// column: nothing is counted on the way. A text of more rows is cut into strips of 64, which hand the horizontal
// differences along their bottom row to the strip below.
//
// The matrix may as well be walked transposed, with the columns' text in the bits: the same cell, with the boundaries
// exchanged. So the bits of one text serve against any other one, shorter or longer.
#pragma once

#include <cstring>

#include "kr_string.h"

// A walk and its steps must become one loop: as calls they would pass the columns through memory.
#if defined(__GNUC__) || defined(__clang__)
#define QV_FUZZY_INLINE __attribute__((always_inline))
#else
#define QV_FUZZY_INLINE
#endif

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
    u64 m_Plus;         // the differences down the bits' text at its begin: one bit each, 1 but for the first
    u64 m_FirstNotPlus; // whether the first difference along the other text is not 1; all that follow are 1
    u32 m_Top;          // the cell at the end of the other text, before the bits' text
};

constexpr SFuzzyBoundary FuzzyBoundary(EFuzzyBits bits, u32 textLength)
{
    return bits == FuzzyBits_Rows ? SFuzzyBoundary{~1ull, 0, textLength + 1} : SFuzzyBoundary{~0ull, 1, textLength};
}

// For every byte value, the rows of one strip that hold it.
struct SFuzzyMasks
{
    u64 m_Rows[256];

    void Clear() { std::memset(m_Rows, 0, sizeof(m_Rows)); }

    // Clears only what a text will look up: less than all for short texts.
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

// The same of some strips, for the byte values that occur in their rows: all others share one entry. Rows seldom hold
// more than some ten different characters, and a table of all byte values would be most of the stack that there is.
template <u32 kStrips>
struct TFuzzyEntries
{
    static constexpr u32 kNone = 0; // the entry of byte values that no row holds

    const u8 *m_EntryOf; // by byte value
    const u64 (*m_Rows)[kStrips];

    const u64 (&Of(char character) const)[kStrips] { return m_Rows[m_EntryOf[static_cast<u8>(character)]]; }
};

// Room for `kEntries` different characters, one less than entries.
template <u32 kStrips, u32 kEntries>
class TFuzzyEntryTable
{
public:
    static_assert(kEntries <= 256, "an entry's number has 8 bits");

    TFuzzyEntryTable()
    {
        std::memset(m_EntryOf, TFuzzyEntries<kStrips>::kNone, sizeof(m_EntryOf));
        std::memset(m_Rows[0], 0, sizeof(m_Rows[0]));
    }

    // Adds rows; `placeOf(strip)` says where the bits of a strip belong. To be called once.
    // Returns: false when they hold too many different characters.
    template <typename PlaceOf>
    bool Add(const char *rows, u32 count, const PlaceOf &placeOf)
    {
        u32 used = 1;
        for (u32 i = 0; i < count; ++i)
        {
            u8 &entry = m_EntryOf[static_cast<u8>(rows[i])];
            if (entry == TFuzzyEntries<kStrips>::kNone)
            {
                if (used == kEntries)
                    return false;
                std::memset(m_Rows[used], 0, sizeof(m_Rows[used]));
                entry = static_cast<u8>(used++);
            }
            m_Rows[entry][placeOf(i / kStripRows)] |= 1ull << (i % kStripRows);
        }
        return true;
    }

    TFuzzyEntries<kStrips> Entries() const { return {m_EntryOf, m_Rows}; }

private:
    alignas(32) u64 m_Rows[kEntries][kStrips];
    u8 m_EntryOf[256];
};

// Two strips of rows, however many different characters they hold.
class CFuzzyPairMasks : public TFuzzyEntryTable<2, 2 * kStripRows + 1>
{
public:
    CFuzzyPairMasks(const char *rows, u32 count)
    {
        Add(rows, count, [](u32 strip) { return strip; });
    }
};

// The number of bits set.
inline u32 CountBits(u64 bits)
{
    bits -= (bits >> 1) & 0x5555555555555555ull;
    bits = (bits & 0x3333333333333333ull) + ((bits >> 2) & 0x3333333333333333ull);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0Full;
    return static_cast<u32>((bits * 0x0101010101010101ull) >> 56);
}

// What the first `rows` differences of a column come to, modulo 2^32.
inline u32 SumOfColumn(u64 plus, u64 minus, u32 rows)
{
    const u64 counted = rows < kStripRows ? (1ull << rows) - 1 : ~0ull;
    return CountBits(plus & counted) - CountBits(minus & counted);
}

// The horizontal difference between two columns in one row: bit 0 for what is not +1, bit 1 for -1.
typedef u8 FuzzyCarry;

// Fills the differences along the top row.
inline void BeginCarries(const SFuzzyBoundary &boundary, FuzzyCarry *carries, u32 textLength)
{
    std::memset(carries, 0, textLength);
    carries[0] = static_cast<FuzzyCarry>(boundary.m_FirstNotPlus);
}

#include "fuzzy_column.h"

// The weight of two texts of `total` characters at a distance.
inline float FuzzyWeight(u32 total, u32 distance)
{
    return static_cast<float>(total - distance + 1) / static_cast<float>(total);
}

} // namespace Quorvane::Internal
