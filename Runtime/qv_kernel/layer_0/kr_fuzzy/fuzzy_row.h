// The block of memory that a comparison of long texts takes.
#pragma once

#include "../kr_mem/mem_raw_block.h"
#include "fuzzy_recurrence.h"

namespace Quorvane::Internal::Fuzzy
{

// 4 bytes for each cell of the recurrence's row, for texts up to a length; none for lengths below kMinBlockLength. The
// differences take one of the four: the size of the block is part of what is promised (README.md).
class CRow
{
public:
    explicit CRow(u32 longerLength)
        : m_Block(longerLength < kMinBlockLength ? CRawBlock() : CRawBlock(_BytesFor(longerLength))),
          m_IsGranted(longerLength < kMinBlockLength || m_Block.Data() != nullptr)
    {
    }

    // False when memory is refused.
    bool IsGranted() const { return m_IsGranted; }

    // Null where there is no block.
    Carry *Carries() const { return static_cast<Carry *>(m_Block.Data()); }

private:
    static u64 _BytesFor(u32 longerLength) { return (static_cast<u64>(longerLength) + 1) * sizeof(u32); }

    CRawBlock m_Block;
    bool m_IsGranted;
};

} // namespace Quorvane::Internal::Fuzzy
