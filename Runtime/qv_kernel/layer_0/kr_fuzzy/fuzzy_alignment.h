// A best alignment of two texts, walked back from its end: which characters match.
//
// The way back needs two bits of each cell it comes to (fuzzy_grid.h), and the columns of the recurrence have them 64 rows
// at a time. A pair of which all columns fit the memory for them is kept as it is. A greater one is cut into parts, up to
// eight by eight: the columns are computed once, and only the differences along the lines between the parts are kept; then
// each part that the way back comes to is computed again, up to where the way enters it, and is cut once more if it has
// to be. Of the parts the way comes to less than a quarter, so memory is linear in the lengths and time that of the weight
// and not much more.
#pragma once

#include "../kr_mem/mem_raw_block.h"
#include "fuzzy_kernels.h"

namespace Quorvane::Internal::Fuzzy
{

class QV_INTERNAL_HIDDEN CAlignment
{
public:
    // `rows` is the text of the recurrence's rows. Neither is empty.
    CAlignment(SText rows, SText columns)
        : m_RowText(rows),
          m_ColumnText(columns),
          m_Whole{0, 0, rows.m_Length, columns.m_Length, nullptr, nullptr},
          m_MaxKept(QVMax<u64>(kMinKept, columns.m_Length)),
          m_Block(_Bytes(), _IsKept(m_Whole) ? alignof(u64) : kBandAlignment)
    {
    }

    // False when memory was refused.
    bool IsReady() const { return m_Block.Data() != nullptr; }

    // Calls `match(row, column)` for every matched pair, from the last to the first. To be called once.
    template <typename Match>
    void WalkBack(const Match &match)
    {
        _Begin();
        SGrid grids[kMaxGrids];
        u32 depth = 0;
        u32 row = m_RowText.m_Length;
        u32 column = m_ColumnText.m_Length;
        SBlock block = m_Whole;
        for (;;)
        {
            while (!_IsKept(block))
            {
                _Cut(block, grids[depth]);
                block = grids[depth++].PartAt(row, column);
            }
            _Keep(block);
            _WalkThrough(block, row, column, match);
            if (row == 0 || column == 0)
                return;
            while (!grids[depth - 1].Holds(row, column))
                m_Free = grids[--depth].m_Memory;
            block = grids[depth - 1].PartAt(row, column);
        }
    }

private:
    // Columns of strips that are kept in any case: in half of a processor's nearest cache.
    static constexpr u64 kMinKept = 2048;

    // Each cut divides the rows and the columns by eight, as far as that leaves 8 strips and 64 columns, and what is kept
    // grows with the longer text: less would do.
    static constexpr u32 kMaxGrids = 8;

    bool _IsKept(const SBlock &block) const { return block.Cells() <= m_MaxKept; }

    // What a cut of so many strips and columns takes, and of any fewer.
    static u64 _BytesOfCut(u32 strips, u32 columns)
    {
        const u64 parts = QVMin(kGridParts, (columns + kGridColumns - 1) / kGridColumns);
        const u64 bands = QVMin(kGridParts, (strips + kGridStrips - 1) / kGridStrips);
        return (parts - 1) * strips * sizeof(SDifferences) + _Rounded(bands * columns);
    }

    static u64 _Rounded(u64 bytes) { return (bytes + alignof(u64) - 1) / alignof(u64) * alignof(u64); }

    u64 _KeptBytes() const { return QVMin(m_Whole.Cells(), m_MaxKept) * sizeof(SWays); }

    u64 _Bytes() const
    {
        u32 strips = m_Whole.StripCount();
        u32 columns = m_Whole.m_ColumnCount;
        u64 bytes = _KeptBytes() + strips * sizeof(SDifferences) + _Rounded(columns);
        if (!_IsKept(m_Whole))
            bytes += kBandRoom;
        while (static_cast<u64>(strips) * columns > m_MaxKept)
        {
            bytes += _BytesOfCut(strips, columns);
            strips = QVMin(strips, StripStepOf(strips));
            columns = QVMin(columns, ColumnStepOf(columns));
        }
        return bytes;
    }

    template <typename T>
    T *_Take(u64 count)
    {
        u8 *const taken = m_Free;
        m_Free += _Rounded(count * sizeof(T));
        return reinterpret_cast<T *>(taken);
    }

    void _Begin()
    {
        m_Free = static_cast<u8 *>(m_Block.Data());
        m_Room = _IsKept(m_Whole) ? nullptr : _Take<u8>(kBandRoom);
        m_Ways = reinterpret_cast<SWays *>(_Take<u8>(_KeptBytes()));
        const SBoundary boundary = BoundaryOf(Bits_Rows, m_ColumnText.m_Length);
        m_Whole.m_Left = _Take<SDifferences>(m_Whole.StripCount());
        for (u32 strip = 0; strip < m_Whole.StripCount(); ++strip)
            m_Whole.m_Left[strip] = {strip == 0 ? boundary.m_Plus : ~0ull, 0};
        m_Whole.m_Above = _Take<Carry>(m_ColumnText.m_Length);
        BeginCarries(m_Whole.m_Above, m_ColumnText.m_Length);
    }

    // Not inline, as below: what one of them needs is not to lie on the stack of another.
    QV_INTERNAL_NOINLINE void _Cut(const SBlock &block, SGrid &grid)
    {
        const u32 strips = block.StripCount();
        grid.m_Block = block;
        grid.m_StripStep = StripStepOf(strips);
        grid.m_ColumnStep = ColumnStepOf(block.m_ColumnCount);
        grid.m_LineCount = (block.m_ColumnCount + grid.m_ColumnStep - 1) / grid.m_ColumnStep;
        grid.m_Memory = m_Free;
        grid.m_Lines = _Take<SDifferences>(static_cast<u64>(grid.m_LineCount - 1) * strips);
        const u32 bands = (strips + grid.m_StripStep - 1) / grid.m_StripStep;
        grid.m_Rows = _Take<Carry>(static_cast<u64>(bands) * block.m_ColumnCount);
        const u32 bandRows = grid.m_StripStep * kStripRows;
        for (u32 band = 0; band < bands; ++band)
        {
            // Of the last band, the lines down it are wanted alone.
            const u32 columns = band + 1 < bands ? block.m_ColumnCount : (grid.m_LineCount - 1) * grid.m_ColumnStep;
            const u32 firstRow = band * bandRows;
            const SText rows = {m_RowText.m_Data + block.m_FirstRow + firstRow,
                                QVMin(block.m_RowCount - firstRow, bandRows)};
            Carry *const carries = grid.RowAt(band + 1);
            std::memcpy(carries, grid.RowAt(band), columns);
            QV_SIMD_CALL(true,
                         AdvanceRowsOfGrid(grid, band * grid.m_StripStep, rows,
                                           {m_ColumnText.m_Data + block.m_FirstColumn, columns}, carries, m_Room));
        }
    }

    // The differences above are those below then: a block is kept once.
    QV_INTERNAL_NOINLINE void _Keep(const SBlock &block)
    {
        const SText columns = {m_ColumnText.m_Data + block.m_FirstColumn, block.m_ColumnCount};
        for (u32 strip = 0; strip < block.StripCount(); ++strip)
        {
            const u32 first = strip * kStripRows;
            const SText rows = {m_RowText.m_Data + block.m_FirstRow + first,
                                QVMin(block.m_RowCount - first, kStripRows)};
            SWays *const ways = m_Ways + static_cast<u64>(strip) * columns.m_Length;
            QV_SIMD_CALL(true, KeepWays(rows, columns, block.m_Left[strip], block.m_Above, ways));
        }
    }

    // Goes back from a cell, as long as it lies in the block that is kept.
    template <typename Match>
    void _WalkThrough(const SBlock &block, u32 &row, u32 &column, const Match &match) const
    {
        u32 i = row - block.m_FirstRow;
        u32 j = column - block.m_FirstColumn;
        const char *const rows = m_RowText.m_Data + block.m_FirstRow;
        const char *const columns = m_ColumnText.m_Data + block.m_FirstColumn;
        while (i != 0 && j != 0)
        {
            // Neighbours differ by at most 1, so pairing equal characters is never worse than skipping one.
            if (rows[i - 1] == columns[j - 1])
            {
                --i;
                --j;
                match(block.m_FirstRow + i, block.m_FirstColumn + j);
                continue;
            }
            const SWays &ways = m_Ways[static_cast<u64>((i - 1) / kStripRows) * block.m_ColumnCount + (j - 1)];
            const u32 leftIsLess = static_cast<u32>(ways.m_LeftIsLess >> ((i - 1) % kStripRows)) & 1;
            const u32 aboveIsLess = static_cast<u32>(ways.m_AboveIsLess >> ((i - 1) % kStripRows)) & 1;
            i -= 1 - leftIsLess;
            j -= leftIsLess | (1 - aboveIsLess);
        }
        row = block.m_FirstRow + i;
        column = block.m_FirstColumn + j;
    }

    SText m_RowText;
    SText m_ColumnText;
    SBlock m_Whole;
    u64 m_MaxKept; // columns of strips
    CRawBlock m_Block;
    u8 *m_Free = nullptr;
    u8 *m_Room = nullptr;
    SWays *m_Ways = nullptr;
};

} // namespace Quorvane::Internal::Fuzzy
