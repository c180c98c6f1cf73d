// The weight of two texts: the distance in the form that the machine has, on the stack or in a block.
#include "fuzzy_distance.h"

#include "fuzzy_kernels.h"
#include "fuzzy_row.h"

namespace Quorvane::Internal::Fuzzy
{

namespace
{

// Of rows and columns, neither of them empty; `carries` is null where the columns need no block.
QV_SIMD_INLINE inline float WeightOf(SText rows, SText columns, Carry *carries)
{
    const u32 distance = QV_SIMD_CALL(true, Distance(rows, columns, carries));
    return WeightAt(rows.m_Length + columns.m_Length, distance);
}

// Columns that need a block. Not inline: other pairs have nothing to free.
QV_INTERNAL_NOINLINE bool WeighLong(SText rows, SText columns, float &outWeight)
{
    outWeight = 0.0f;
    const CRow row(columns.m_Length);
    if (!row.IsGranted())
        return false;
    outWeight = WeightOf(rows, columns, row.Carries());
    return true;
}

} // namespace

bool WeighPair(SText query, SText other, float &outWeight)
{
    outWeight = WeightOfEmpty(query.m_Length, other.m_Length);
    if (query.m_Length == 0 || other.m_Length == 0)
        return true;
    // Of equal lengths the other text runs along the rows, on which the weight depends (fuzzy_recurrence.h).
    const bool queryIsRows = query.m_Length < other.m_Length;
    const SText rows = queryIsRows ? query : other;
    const SText columns = queryIsRows ? other : query;
    if (columns.m_Length >= kMinBlockLength)
        return WeighLong(rows, columns, outWeight);
    outWeight = WeightOf(rows, columns, nullptr);
    return true;
}

} // namespace Quorvane::Internal::Fuzzy
