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
        _ForgetVerdicts();
    }

    // Whether an entry of a length may be among the best.
    bool Wants(u32 length)
    {
        if (length >= kVerdicts)
            return _MayQualify(length);
        if (m_Verdicts[length] == Verdict_Unknown)
            m_Verdicts[length] = _MayQualify(length) ? Verdict_Yes : Verdict_No;
        return m_Verdicts[length] == Verdict_Yes;
    }

    void Take(u32 index, float weight)
    {
        if (_Qualifies(weight))
            _Keep(RankedElement(index, weight));
    }

    void Sort() { std::sort_heap(m_Best.begin(), m_Best.end(), SIsBetter()); }

private:
    // What was decided for entries of a length, until an element is kept.
    enum EVerdict : u8
    {
        Verdict_Unknown,
        Verdict_No,
        Verdict_Yes,
    };

    static constexpr u32 kVerdicts = 256;

    struct SIsBetter
    {
        bool operator()(const RankedElement &a, const RankedElement &b) const
        {
            return a.m_MatchWeight > b.m_MatchWeight ||
                   (a.m_MatchWeight == b.m_MatchWeight && a.m_IndexInStringList < b.m_IndexInStringList);
        }
    };

    // Of equal weights the lower index is the better, so another one of the worst weight kept is worse than that.
    bool _Qualifies(float weight) const
    {
        return weight >= m_Tolerance && (m_Best.Count() < m_Limit || weight > m_Best.First().m_MatchWeight);
    }

    bool _MayQualify(u32 length) const
    {
        return m_QueryLength == 0 || length == 0 || _Qualifies(Internal::Fuzzy::MaxWeight(m_QueryLength, length));
    }

    // Not inline: few entries of a long list are kept, and all are asked.
    QV_INTERNAL_NOINLINE void _Keep(const RankedElement &element)
    {
        // Verdicts depend on the worst element kept, which may be a better one now.
        _ForgetVerdicts();
        if (m_Best.Count() == m_Limit)
        {
            std::pop_heap(m_Best.begin(), m_Best.end(), SIsBetter());
            m_Best.PopBack();
        }
        m_Best.PushBack(element);
        std::push_heap(m_Best.begin(), m_Best.end(), SIsBetter());
    }

    void _ForgetVerdicts() { std::memset(m_Verdicts, Verdict_Unknown, sizeof(m_Verdicts)); }

    RankedArray &m_Best;
    u32 m_QueryLength;
    float m_Tolerance;
    u32 m_Limit;
    u8 m_Verdicts[kVerdicts];
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
    const bool granted = Internal::Fuzzy::WeighWanted(
        SText::Of(*this), stringList.Count(), [&](u32 index) { return SText::Of(stringList[index]); },
        [&](SText text) { return top.Wants(text.m_Length); },
        [&](u32 index, float weight) { top.Take(index, weight); });
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
