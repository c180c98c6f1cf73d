// Where an alignment keeps the columns of the recurrence: lines of differences across the matrix, and the ways back from
// the cells of one block.
#pragma once

#include "fuzzy_recurrence.h"

namespace Quorvane::Internal::Fuzzy
{

// The vertical differences of a strip's rows in one column: +1 and -1 as bits.
struct SDifferences
{
    u64 m_Plus;
    u64 m_Minus;
};

// Of each row of a strip in one column, whether the cell to the left, and the one above, is less than the one before both.
// Where the characters differ, the best way leads there then, to the left first, and else from the one before both.
struct SWays
{
    u64 m_LeftIsLess;
    u64 m_AboveIsLess;
};

// Some rows and columns of the matrix, whose corner is a boundary of strips, and the differences along its boundaries.
struct SBlock
{
    u32 m_FirstRow;
    u32 m_FirstColumn;
    u32 m_RowCount;
    u32 m_ColumnCount;
    Carry *m_Above;
    SDifferences *m_Left;

    u32 StripCount() const { return (m_RowCount + kStripRows - 1) / kStripRows; }
    u64 Cells() const { return static_cast<u64>(StripCount()) * m_ColumnCount; }
};

// Into how many parts a block is cut at most, in either direction, and what is not cut any further.
constexpr u32 kGridParts = 8;
constexpr u32 kGridStrips = 8;
constexpr u32 kGridColumns = 64;

constexpr u32 StripStepOf(u32 strips)
{
    return kGridStrips * ((strips + kGridParts * kGridStrips - 1) / (kGridParts * kGridStrips));
}

constexpr u32 ColumnStepOf(u32 columns)
{
    return QVMax(kGridColumns, (columns + kGridParts - 1) / kGridParts);
}

// A block that is cut into smaller ones, with the differences along the lines between them.
struct SGrid
{
    SBlock m_Block;
    u32 m_StripStep;
    u32 m_ColumnStep;
    u32 m_LineCount;       // down the block, that on its left included
    SDifferences *m_Lines; // down the block
    Carry *m_Rows;         // across it: above each part but the first one, and below the last one
    u8 *m_Memory;          // that was free before

    // The differences down the line left of the columns of a part.
    SDifferences *LineAt(u32 part) const
    {
        return part == 0 ? m_Block.m_Left : m_Lines + static_cast<u64>(part - 1) * m_Block.StripCount();
    }
    // The differences above the rows of a part.
    Carry *RowAt(u32 part) const
    {
        return part == 0 ? m_Block.m_Above : m_Rows + static_cast<u64>(part - 1) * m_Block.m_ColumnCount;
    }
    // Whether the cell at the end of so many rows and columns is within.
    bool Holds(u32 rows, u32 columns) const { return rows > m_Block.m_FirstRow && columns > m_Block.m_FirstColumn; }

    // The part that such a cell lies in, up to it.
    SBlock PartAt(u32 rows, u32 columns) const
    {
        const u32 band = (rows - 1 - m_Block.m_FirstRow) / (m_StripStep * kStripRows);
        const u32 part = (columns - 1 - m_Block.m_FirstColumn) / m_ColumnStep;
        const u32 firstStrip = band * m_StripStep;
        const u32 firstRow = m_Block.m_FirstRow + firstStrip * kStripRows;
        const u32 firstColumn = m_Block.m_FirstColumn + part * m_ColumnStep;
        return {firstRow,
                firstColumn,
                rows - firstRow,
                columns - firstColumn,
                RowAt(band) + part * m_ColumnStep,
                LineAt(part) + firstStrip};
    }
};

// The room for the masks of a band of rows, in any form.
constexpr u32 kBandAlignment = 32;
constexpr u32 kBandRoom = 256 * kGridStrips * sizeof(u64) + 256;

} // namespace Quorvane::Internal::Fuzzy
