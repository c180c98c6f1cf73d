// The weights of many texts for one query: what is known of the query is computed once.
//
// Texts are asked for by index, one after the other, and weights come in the same order, in batches: short texts of
// about one length are weighed together, sixteen at a time.
#pragma once

#include "fuzzy_distance.h"
#include "fuzzy_kernels.h"

namespace Quorvane::Internal::Fuzzy
{

// A query of 1 to 64 characters that is weighed against many texts.
class QV_INTERNAL_HIDDEN CQuery
{
public:
    static constexpr u32 kMaxLength = kStripRows;

    explicit CQuery(SText query);

    // The weights of `count` texts, of which `textAt(i)` is one.
    // Allocates: as WeighPair, for each text that is long.
    // Fails: returns false when memory was refused for one of them, which then weighs 0.
    template <typename TextAt>
    bool Weigh(const TextAt &textAt, u32 count, float *outWeights) const;

    // Which of `count` texts, at most 32, may match as many characters as they need, one bit each, the first one lowest;
    // `letters` are the query's.
    u32 MayMatch(const SLetters &letters, const SCandidate *candidates, u32 count) const;

private:
    // Which of the lanes are used, by the query's length and by what the machine has.
    enum ELanes : u8
    {
        Lanes_None,
        Lanes_Narrow16,
        Lanes_Narrow32,
        Lanes_Wide16,
        Lanes_Wide32,
    };

    // Texts that are weighed together because they take about as long, and whose weights these are.
    struct SGroup
    {
        SLaneTexts m_Texts;
        u32 m_Indices[kLaneTexts];
        u32 m_Used;
    };

    // Of up to 16 characters, of up to 32, and of more.
    static constexpr u32 kGroups = 3;

    ELanes _ChooseLanes() const;
    // Calls `use(lanes)` with those of the query, if any.
    template <typename Query, typename Use>
    static void _UseLanes(Query &query, const Use &use);
    bool _WeighAlone(SText text, float &outWeight) const;
    void _WeighGroup(SGroup &group, float *outWeights) const;

    static bool _FitsLanes(SText text) { return text.m_Length != 0 && text.m_Length <= kMaxLaneText; }

    template <typename TextAt>
    bool _WeighEachAlone(const TextAt &textAt, u32 count, float *outWeights) const;
    template <typename TextAt>
    bool _WeighInGroups(const TextAt &textAt, u32 count, float *outWeights) const;

    SText m_Query;
    ELanes m_LanesUsed;
    SMasks m_Masks;
    union
    {
        Narrow::TLanes<u16> m_Narrow16;
        Narrow::TLanes<u32> m_Narrow32;
        Wide::TLanes<u16> m_Wide16;
        Wide::TLanes<u32> m_Wide32;
    };
};

template <typename TextAt>
bool CQuery::Weigh(const TextAt &textAt, u32 count, float *outWeights) const
{
    return m_LanesUsed != Lanes_None ? _WeighInGroups(textAt, count, outWeights)
                                     : _WeighEachAlone(textAt, count, outWeights);
}

template <typename TextAt>
bool CQuery::_WeighEachAlone(const TextAt &textAt, u32 count, float *outWeights) const
{
    bool granted = true;
    for (u32 i = 0; i < count; ++i)
        granted = _WeighAlone(textAt(i), outWeights[i]) && granted;
    return granted;
}

template <typename TextAt>
bool CQuery::_WeighInGroups(const TextAt &textAt, u32 count, float *outWeights) const
{
    SGroup groups[kGroups];
    for (SGroup &group : groups)
        group.m_Used = 0;
    bool granted = true;
    for (u32 i = 0; i < count; ++i)
    {
        const SText text = textAt(i);
        if (!_FitsLanes(text))
        {
            granted = _WeighAlone(text, outWeights[i]) && granted;
            continue;
        }
        SGroup &group = groups[QVMin((text.m_Length - 1) / 16, kGroups - 1)];
        group.m_Texts.m_Data[group.m_Used] = text.m_Data;
        group.m_Texts.m_Lengths[group.m_Used] = static_cast<u16>(text.m_Length);
        group.m_Indices[group.m_Used++] = i;
        if (group.m_Used == kLaneTexts)
            _WeighGroup(group, outWeights);
    }
    for (SGroup &group : groups)
        _WeighGroup(group, outWeights);
    return granted;
}

// Texts that are weighed at a time: of each batch some lanes stay empty.
constexpr u32 kBatch = 256;

// The same of those that are wanted: the more, the later it is learnt which ones need no weighing.
constexpr u32 kWantedBatch = 128;

// Texts that are sifted at a time.
constexpr u32 kSifted = 32;

// Matches that no text needs: the answer for those that are not wanted whatever they hold.
constexpr u32 kUnwanted = 255;

// Each of the following weighs `count` texts in order and hands (index, weight) to `take`. Where `needed(length)` is
// asked, it says how many matches a text of a length must have at least to be wanted, and those that cannot have them are
// left out. False when memory was refused for a text; it weighs 0 then. None is inline, so that the stack holds what one
// of them needs.

// By a query of 1 to 64 characters.
template <typename TextAt, typename Take>
QV_INTERNAL_NOINLINE bool WeighAllByMasks(SText query, u32 count, TextAt textAt, Take take)
{
    const CQuery scorer(query);
    float weights[kBatch];
    bool granted = true;
    for (u32 first = 0; first < count; first += kBatch)
    {
        const u32 batch = QVMin(count - first, kBatch);
        granted = scorer.Weigh([&](u32 i) { return textAt(first + i); }, batch, weights) && granted;
        for (u32 i = 0; i < batch; ++i)
            take(first + i, weights[i]);
    }
    return granted;
}

// Sifts texts from `next` on, which moves on: those that may have the matches that they need pass, and their indices are
// written. Returns: how many they are, at most kSifted.
template <typename TextAt, typename Needed>
u32 Sift(const CQuery &scorer, const SLetters &letters, u32 &next, u32 count, const TextAt &textAt,
         const Needed &needed, u32 *outIndices)
{
    SCandidate candidates[kSifted];
    u32 indices[kSifted] = {};
    u32 fitting = 0;
    // No branch on a text's length: which ones fit is not foreseen.
    for (; next < count && fitting < kSifted; ++next)
    {
        const SText text = textAt(next);
        const u32 need = needed(text.m_Length);
        candidates[fitting] = {text, need};
        indices[fitting] = next;
        fitting += need != kUnwanted ? 1 : 0;
    }
    u32 passed = 0;
    for (u32 left = scorer.MayMatch(letters, candidates, fitting); left != 0; left &= left - 1)
        outIndices[passed++] = indices[Simd::TrailingZeroBits(left)];
    return passed;
}

// Those that are wanted, by a query of 1 to 64 characters.
template <typename TextAt, typename Needed, typename Take>
QV_INTERNAL_NOINLINE bool WeighWantedByMasks(SText query, u32 count, TextAt textAt, Needed needed, Take take)
{
    const CQuery scorer(query);
    const SLetters letters(query);
    u32 indices[kWantedBatch];
    float weights[kWantedBatch];
    bool granted = true;
    for (u32 next = 0; next < count;)
    {
        u32 batch = 0;
        while (next < count && batch <= kWantedBatch - kSifted)
            batch += Sift(scorer, letters, next, count, textAt, needed, indices + batch);
        granted = scorer.Weigh([&](u32 i) { return textAt(indices[i]); }, batch, weights) && granted;
        for (u32 i = 0; i < batch; ++i)
            take(indices[i], weights[i]);
    }
    return granted;
}

// One by one: longer queries have nothing to keep from one to the next.
template <typename TextAt, typename Needed, typename Take>
QV_INTERNAL_NOINLINE bool WeighPairs(SText query, u32 count, TextAt textAt, Needed needed, Take take)
{
    bool granted = true;
    for (u32 i = 0; i < count; ++i)
    {
        const SText text = textAt(i);
        if (needed(text.m_Length) == kUnwanted)
            continue;
        float weight;
        granted = WeighPair(query, text, weight) && granted;
        take(i, weight);
    }
    return granted;
}

inline bool HasMasks(u32 queryLength)
{
    return queryLength != 0 && queryLength <= CQuery::kMaxLength;
}

// By any query.
template <typename TextAt, typename Take>
bool WeighAll(SText query, u32 count, TextAt textAt, Take take)
{
    return HasMasks(query.m_Length) ? WeighAllByMasks(query, count, textAt, take)
                                    : WeighPairs(
                                          query, count, textAt, [](u32) { return 0u; }, take);
}

// Those that are wanted, by any query.
template <typename TextAt, typename Needed, typename Take>
bool WeighWanted(SText query, u32 count, TextAt textAt, Needed needed, Take take)
{
    return HasMasks(query.m_Length) ? WeighWantedByMasks(query, count, textAt, needed, take)
                                    : WeighPairs(query, count, textAt, needed, take);
}

} // namespace Quorvane::Internal::Fuzzy
