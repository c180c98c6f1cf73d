// A best alignment of two texts, walked back from its end: which characters match.
//
// The recurrence is computed cell by cell, and the step that led to each cell is kept in two bits.
#pragma once

#include "../kr_mem/mem_raw_block.h"
#include "fuzzy_recurrence.h"

namespace Quorvane::Internal::Fuzzy
{

// How a cell was reached.
enum EStep : u8
{
    Step_Match,      // both characters, which are equal
    Step_Substitute, // both characters, which differ
    Step_SkipColumn,
    Step_SkipRow,
};

// The steps of all cells, four to a byte, and one row of distances, in one block.
class CAlignment
{
public:
    CAlignment(SText rows, SText columns)
        : m_Rows(rows),
          m_Columns(columns),
          m_Cells(static_cast<u64>(rows.m_Length) * columns.m_Length),
          m_Block(_RowBytes() + m_Cells / 4 + 1, alignof(u32))
    {
    }

    // False when memory was refused.
    bool IsReady() const { return m_Block.Data() != nullptr; }

    void Compute()
    {
        u32 *const row = static_cast<u32 *>(m_Block.Data());
        for (u32 j = 0; j <= m_Columns.m_Length; ++j)
            row[j] = j + 1;
        std::memset(_Steps(), 0, static_cast<std::size_t>(m_Cells / 4 + 1));
        for (u32 i = 0; i < m_Rows.m_Length; ++i)
            _ComputeRow(row, i);
    }

    // Calls `match(row, column)` for every matched pair, from the last to the first.
    template <typename Match>
    void WalkBack(const Match &match) const
    {
        u32 i = m_Rows.m_Length;
        u32 j = m_Columns.m_Length;
        while (i != 0 && j != 0)
        {
            const EStep step = _StepAt(i - 1, j - 1);
            i -= step != Step_SkipColumn ? 1 : 0;
            j -= step != Step_SkipRow ? 1 : 0;
            if (step == Step_Match)
                match(i, j);
        }
    }

private:
    u64 _RowBytes() const { return (static_cast<u64>(m_Columns.m_Length) + 1) * sizeof(u32); }
    u8 *_Steps() const { return static_cast<u8 *>(m_Block.Data()) + _RowBytes(); }

    EStep _StepAt(u32 i, u32 j) const
    {
        const u64 cell = static_cast<u64>(i) * m_Columns.m_Length + j;
        return static_cast<EStep>((_Steps()[cell / 4] >> (cell % 4 * 2)) & 3);
    }

    void _KeepStep(u32 i, u32 j, EStep step)
    {
        const u64 cell = static_cast<u64>(i) * m_Columns.m_Length + j;
        u8 &steps = _Steps()[cell / 4];
        steps = static_cast<u8>(steps | (step << (cell % 4 * 2)));
    }

    void _ComputeRow(u32 *row, u32 i)
    {
        u32 diagonal = row[0];
        row[0] = i + 1;
        for (u32 j = 0; j < m_Columns.m_Length; ++j)
        {
            const u32 above = row[j + 1];
            const bool equal = m_Rows.m_Data[i] == m_Columns.m_Data[j];
            const u32 paired = diagonal - (equal ? 1 : 0);
            const u32 skipped = QVMin(row[j], above);
            // Neighbours differ by at most 1, so pairing equal characters is never worse than skipping one.
            const EStep skip = row[j] <= above ? Step_SkipColumn : Step_SkipRow;
            _KeepStep(i, j, paired <= skipped ? (equal ? Step_Match : Step_Substitute) : skip);
            row[j + 1] = QVMin(paired, skipped) + 1;
            diagonal = above;
        }
    }

    SText m_Rows;
    SText m_Columns;
    u64 m_Cells;
    CRawBlock m_Block;
};

} // namespace Quorvane::Internal::Fuzzy
