// One query against many texts: which lanes weigh them, and what is weighed alone.
#include "fuzzy_query.h"

#include <utility>

#include "fuzzy_row.h"

namespace Quorvane::Internal::Fuzzy
{

template <typename Query, typename Use>
void CQuery::_UseLanes(Query &query, const Use &use)
{
    switch (query.m_LanesUsed)
    {
    case Lanes_None:
        return;
    case Lanes_Narrow16:
        return use(query.m_Narrow16);
    case Lanes_Narrow32:
        return use(query.m_Narrow32);
    case Lanes_Wide16:
        return use(query.m_Wide16);
    case Lanes_Wide32:
        return use(query.m_Wide32);
    }
}

CQuery::CQuery(SText query) : m_Query(query), m_LanesUsed(_ChooseLanes())
{
    m_Masks.Clear();
    m_Masks.Add(query);
    _UseLanes(*this, [&](auto &lanes) { lanes.SetQuery(query.m_Data, query.m_Length); });
}

CQuery::ELanes CQuery::_ChooseLanes() const
{
    if (m_Query.m_Length <= Narrow::TLanes<u16>::kMaxQuery)
        return Simd::HasWideInstructions() ? Lanes_Wide16 : Lanes_Narrow16;
    if (m_Query.m_Length <= Narrow::TLanes<u32>::kMaxQuery)
        return Simd::HasWideInstructions() ? Lanes_Wide32 : Lanes_Narrow32;
    return Lanes_None;
}

bool CQuery::_WeighAlone(SText text, float &outWeight) const
{
    outWeight = 0.0f;
    if (text.m_Length == 0)
        return true;
    const u32 length = m_Query.m_Length;
    // One strip writes no differences for another. The block is asked for all the same, so that a long text has no
    // weight where it would have none as a pair.
    const CRow row(QVMax(length, text.m_Length));
    if (!row.IsGranted())
        return false;
    const EBits bits = length < text.m_Length ? Bits_Rows : Bits_Columns;
    const u32 distance = QV_SIMD_CALL(true, DistanceOfStrip(m_Masks, length, bits, text));
    outWeight = WeightAt(length + text.m_Length, distance);
    return true;
}

u32 CQuery::MayMatch(const SLetters &letters, const SCandidate *candidates, u32 count) const
{
    return QV_SIMD_CALL(true, HaveLetters(m_Masks, letters, candidates, count));
}

// Leaves the group empty.
void CQuery::_WeighGroup(SGroup &group, float *outWeights) const
{
    const u32 used = std::exchange(group.m_Used, 0u);
    if (used == 0)
        return;
    for (u32 lane = used; lane < kLaneTexts; ++lane)
        group.m_Texts.m_Lengths[lane] = 0;
    float weights[kLaneTexts];
    _UseLanes(*this, [&](const auto &lanes) { lanes.Weigh(group.m_Texts, weights); });
    for (u32 lane = 0; lane < used; ++lane)
        outWeights[group.m_Indices[lane]] = weights[lane];
}

} // namespace Quorvane::Internal::Fuzzy
