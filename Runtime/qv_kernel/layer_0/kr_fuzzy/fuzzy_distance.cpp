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

// A text with room behind its end, where one that is read in blocks needs it: one of few characters is copied.
class CPaddedText
{
public:
    explicit CPaddedText(SText text) : m_Text(text)
    {
        if (text.m_Length == 0 || text.m_Length > kMaxLength)
            return;
        std::memset(m_Characters, 0, kMaxLength);
        std::memcpy(m_Characters, text.m_Data, text.m_Length);
        m_Text.m_Data = m_Characters;
    }
    CPaddedText(const CPaddedText &) = delete;
    CPaddedText &operator=(const CPaddedText &) = delete;

    SText Text() const { return m_Text; }

private:
    static constexpr u32 kMaxLength = 32;
    static_assert(Narrow::kMaxShortRows <= kMaxLength && Wide::kMaxShortRows <= kMaxLength,
                  "others are read character by character");

    SText m_Text;
    char m_Characters[kMaxLength];
};

} // namespace

QV_INTERNAL_REALTIME_UNWATCHED bool WeighPair(SText query, SText other, float &outWeight) noexcept QV_NONBLOCKING
{
    outWeight = WeightOfEmpty(query.m_Length, other.m_Length);
    if (query.m_Length == 0 || other.m_Length == 0)
        return true;
    // Of equal lengths the other text runs along the rows, on which the weight depends (fuzzy_recurrence.h).
    const bool queryIsRows = query.m_Length < other.m_Length;
    const SText rows = queryIsRows ? query : other;
    const SText columns = queryIsRows ? other : query;
    if (columns.m_Length >= kMinBlockLength)
    {
        // Unchecked: what the texts are is not known before.
        QV_INTERNAL_UNCHECKED_BEGIN
        return WeighLong(rows, columns, outWeight);
        QV_INTERNAL_UNCHECKED_END
    }
    outWeight = WeightOf(rows, columns, nullptr);
    return true;
}

QV_INTERNAL_REALTIME_UNWATCHED bool WeighCountedPair(SText query, SText other, float &outWeight) noexcept QV_NONBLOCKING
{
    const CPaddedText paddedQuery(query);
    const CPaddedText paddedOther(other);
    return WeighPair(paddedQuery.Text(), paddedOther.Text(), outWeight);
}

} // namespace Quorvane::Internal::Fuzzy
