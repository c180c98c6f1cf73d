// Fuzzy matching: the weight of two strings, of a query against a list, and the ranked lists.
#include "kr_string.h"

#include <algorithm>
#include <cstring>

#include "../kr_fuzzy/fuzzy_query.h"
#include "null_text.h"

namespace Quorvane
{

namespace
{

using Internal::Fuzzy::SText;

using RankedElement = CString::SFuzzyMatchListElement;
using RankedArray = TArray<RankedElement>;

// Not inline: the sort's pending ranges need not be on the stack while the list is weighed.
QV_INTERNAL_NOINLINE void SortRanked(RankedArray &ranked)
{
    QuickSort(ranked.Begin(), ranked.End());
}

// The best entries of a list so far: a heap whose first element is the worst one kept. Entries come by rising index.
class CTopMatches
{
public:
    // Has room for `limit` elements in `best`, and keeps no more.
    CTopMatches(RankedArray &best, u32 queryLength, float tolerance, u32 limit)
        : m_Best(best), m_QueryLength(queryLength), m_Tolerance(tolerance), m_Limit(limit)
    {
        _ForgetNeeds();
    }

    // How many of its characters must match for an entry of a length to be among the best.
    u32 Needed(u32 length)
    {
        const u32 known = m_Needs[QVMin(length, kNeeds - 1)];
        return QV_INTERNAL_LIKELY(known != kUnknown) ? known : _FindNeed(length);
    }

    void Take(u32 index, float weight)
    {
        if (_Qualifies(weight))
            _Keep(RankedElement(index, weight));
    }

    void Sort() { std::sort_heap(m_Best.begin(), m_Best.end(), SIsBetter()); }

private:
    static constexpr u32 kNeeds = 256;
    static constexpr u8 kUnknown = 254;

    struct SIsBetter
    {
        bool operator()(const RankedElement &a, const RankedElement &b) const
        {
            return a.m_MatchWeight > b.m_MatchWeight ||
                   (a.m_MatchWeight == b.m_MatchWeight && a.m_IndexInStringList < b.m_IndexInStringList);
        }
    };

    // Of equal weights the lower index is the better, so another one of the worst weight kept is worse than that.
    bool _Qualifies(float weight) const { return weight >= m_Tolerance && weight > m_Worst; }

    bool _MayQualify(u32 length, u32 matches) const
    {
        return _Qualifies(Internal::Fuzzy::MaxWeight(m_QueryLength, length, matches));
    }

    // Not inline, as below. Lengths that share the last place of the table are not kept there.
    QV_INTERNAL_NOINLINE u32 _FindNeed(u32 length)
    {
        const u32 need = _NeedOf(length);
        if (length < kNeeds - 1)
            m_Needs[length] = static_cast<u8>(need);
        return need;
    }

    u32 _NeedOf(u32 length) const
    {
        if (m_QueryLength == 0 || length == 0)
            return 0;
        u32 enough = QVMin(m_QueryLength, length);
        if (!_MayQualify(length, enough))
            return Internal::Fuzzy::kUnwanted;
        u32 fewest = 0;
        // Nobody counts the matches of longer queries.
        if (!Internal::Fuzzy::HasMasks(m_QueryLength))
            return fewest;
        while (fewest < enough)
        {
            const u32 middle = (fewest + enough) / 2;
            if (_MayQualify(length, middle))
                enough = middle;
            else
                fewest = middle + 1;
        }
        return fewest;
    }

    // Not inline: few entries of a long list are kept, and all are asked.
    QV_INTERNAL_NOINLINE void _Keep(const RankedElement &element)
    {
        if (m_Best.Count() == m_Limit)
        {
            std::pop_heap(m_Best.begin(), m_Best.end(), SIsBetter());
            m_Best.PopBack();
        }
        m_Best.PushBack(element);
        std::push_heap(m_Best.begin(), m_Best.end(), SIsBetter());
        if (m_Best.Count() == m_Limit && m_Best.First().m_MatchWeight != m_Worst)
        {
            m_Worst = m_Best.First().m_MatchWeight;
            _ForgetNeeds();
        }
    }

    void _ForgetNeeds() { std::memset(m_Needs, kUnknown, sizeof(m_Needs)); }

    RankedArray &m_Best;
    u32 m_QueryLength;
    float m_Tolerance;
    u32 m_Limit;
    float m_Worst = -1.0f; // the weight to exceed: once the heap is full, the least in it
    u8 m_Needs[kNeeds];    // by length, until the weight to exceed is another one
};

} // namespace

// Nonblocking for texts without a block alone: the sanitizer judges them in the caller's context, and in none of their own.

QV_INTERNAL_REALTIME_UNWATCHED float CString::FuzzyMatch(const CString &other) const noexcept QV_NONBLOCKING
{
    float weight;
    Internal::Fuzzy::WeighPair(SText::Of(*this), SText::Of(other), weight);
    return weight;
}

QV_INTERNAL_REALTIME_UNWATCHED float CStringView::FuzzyMatch(const CStringView &other) const noexcept QV_NONBLOCKING
{
    const SText query = {m_Data, Internal::String::ReadableLength(*this)};
    const SText text = {other.m_Data, Internal::String::ReadableLength(other)};
    if (query.m_Length >= CStringContainer::kLengthMask || text.m_Length >= CStringContainer::kLengthMask)
        return 0.0f;
    float weight;
    Internal::Fuzzy::WeighCountedPair(query, text, weight);
    return weight;
}

QV_INTERNAL_REALTIME_UNWATCHED float CStringView::FuzzyMatch(const char *other) const noexcept QV_NONBLOCKING
{
    return FuzzyMatch(CStringView(other));
}

void CString::FuzzyMatchList(const TStridedMemoryView<const CString> &stringList,
                             const TMemoryView<float> &outMatchResults) const noexcept
{
    QV_ASSERT(outMatchResults.Count() == stringList.Count());
    Internal::Fuzzy::WeighAll(
        SText::Of(*this), QVMin(outMatchResults.Count(), stringList.Count()),
        [&](u32 index) { return SText::Of(stringList[index]); },
        [&](u32 index, float weight) { outMatchResults[index] = weight; });
}

void CString::FuzzyMatchList_Ordered(const TStridedMemoryView<const CString> &stringList,
                                     TArray<SFuzzyMatchListElement> &outOrderedMatchResults,
                                     float tolerance) const noexcept
{
    outOrderedMatchResults.Clear();
    Internal::Fuzzy::WeighAll(
        SText::Of(*this), stringList.Count(), [&](u32 index) { return SText::Of(stringList[index]); },
        [&](u32 index, float weight)
        {
            if (weight >= tolerance)
                outOrderedMatchResults.PushBack(SFuzzyMatchListElement(index, weight));
        });
    if (!outOrderedMatchResults.Empty())
        SortRanked(outOrderedMatchResults);
}

bool CString::FuzzyMatchList_Top(const TStridedMemoryView<const CString> &stringList,
                                 TArray<SFuzzyMatchListElement> &outBest, float tolerance, u32 maxCount) const noexcept
{
    outBest.Clear();
    const u32 limit = QVMin(maxCount, stringList.Count());
    if (limit == 0)
        return true;
    if (!outBest.Reserve(limit))
        return false;
    CTopMatches top(outBest, Length(), tolerance, limit);
    // By the address: most entries take little more time than it takes to come to them.
    const u8 *const first = reinterpret_cast<const u8 *>(stringList.Data());
    const u64 stride = stringList.Stride();
    const bool granted = Internal::Fuzzy::WeighWanted(
        SText::Of(*this), stringList.Count(),
        [&](u32 index) { return SText::Of(*reinterpret_cast<const CString *>(first + index * stride)); },
        [&](u32 length) { return top.Needed(length); }, [&](u32 index, float weight) { top.Take(index, weight); });
    if (!granted)
    {
        // An entry without its weight may have been among the best.
        outBest.Clear();
        return false;
    }
    top.Sort();
    return true;
}

} // namespace Quorvane
