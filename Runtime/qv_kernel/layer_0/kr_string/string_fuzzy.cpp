// Fuzzy matching: the weight of two strings, of a query against a list, and the ranked lists.
//
// The weight is (total - distance + 1) / total, where total is the sum of the lengths and the distance that of
// fuzzy_distance.h. Its boundary makes the weight depend, for texts of one length, on which of them is this string:
// "ab" gives "xa" 0.75, "xa" gives "ab" 0.5.
#include "kr_string.h"

#include <algorithm>
#include <cstring>

#include "../kr_mem/mem_raw_block.h"
#include "fuzzy_distance.h"
#include "fuzzy_lanes.h"
#include "fuzzy_lanes_wide.h"
#include "fuzzy_short.h"
#include "fuzzy_strips.h"

namespace Quorvane
{

namespace
{

using namespace Internal;

// Longer texts than this take a heap block for the row of counters; shorter ones the stack.
constexpr u32 kStackCells = 256;

// Strips are taken in pairs where there are no wide vectors.
constexpr u32 kPairRows = 2 * kStripRows;

// Different characters, and one more, that wide strips have room for: of 8 bytes times 8 strips each.
constexpr u32 kFewEntries = 36;  // where all is on the stack
constexpr u32 kManyEntries = 96; // in long texts

// Entries of a list that are scored at a time: of each batch some lanes stay empty.
constexpr u32 kListBatch = 256;

// The same of the ranked top: the more, the later it learns which ones need no scoring.
constexpr u32 kTopBatch = 64;

// The block that a comparison of texts up to `longerLength` takes: one counter of 32 bits for each cell of the
// recurrence's row. None for shorter texts.
class CFuzzyRow
{
public:
    explicit CFuzzyRow(u32 longerLength)
        : m_Block(longerLength < kStackCells ? CRawBlock() : CRawBlock(_BytesOfRow(longerLength))),
          m_IsGranted(longerLength < kStackCells || m_Block.Data() != nullptr)
    {
    }

    // False when memory is refused.
    bool IsGranted() const { return m_IsGranted; }

    // Null where there is no block.
    FuzzyCarry *Carries() const { return static_cast<FuzzyCarry *>(m_Block.Data()); }

private:
    static u64 _BytesOfRow(u32 longerLength) { return (static_cast<u64>(longerLength) + 1) * sizeof(u32); }

    CRawBlock m_Block;
    bool m_IsGranted;
};

// The weight of two strings of which one is empty.
float WeightOfEmpty(u32 length, u32 otherLength)
{
    return length == otherLength ? 1.0f : 0.0f;
}

#if QV_FUZZY_HAS_SHORT

bool IsShort(const CStringView &rows, const CStringView &columns)
{
    return rows.Length() <= kMaxShortRows && columns.Length() <= kMaxShortColumns;
}

u32 DistanceOfShort(const CStringView &rows, const CStringView &columns)
{
#if QV_SIMD_HAS_WIDE
    if (HasWideInstructions())
        return Wide::DistanceOfShort(rows, columns);
#endif
    return rows.Length() <= TFuzzyShortRows<1>::kBlockSize ? DistanceOfBlocks<1>(rows, columns)
                                                           : DistanceOfBlocks<2>(rows, columns);
}

#else

bool IsShort(const CStringView &, const CStringView &)
{
    return false;
}

u32 DistanceOfShort(const CStringView &, const CStringView &)
{
    return 0;
}

#endif

// Rows that one word holds.
QV_INTERNAL_NOINLINE u32 DistanceOfWord(const CStringView &rows, const CStringView &columns)
{
    SFuzzyMasks masks;
    masks.ClearFor(columns.Data(), columns.Length());
    masks.ClearFor(rows.Data(), rows.Length());
    masks.Add(rows.Data(), rows.Length());
#if QV_SIMD_HAS_WIDE
    if (HasWideInstructions())
        return Wide::DistanceOfStrip(masks, rows.Length(), FuzzyBits_Rows, columns.Data(), columns.Length());
#endif
    return DistanceOfStrip(masks, rows.Length(), FuzzyBits_Rows, columns.Data(), columns.Length());
}

// Rows that two words hold.
QV_INTERNAL_NOINLINE u32 DistanceOfPair(const CStringView &rows, const CStringView &columns)
{
    const CFuzzyPairMasks masks(rows.Data(), rows.Length());
#if QV_SIMD_HAS_WIDE
    if (HasWideInstructions())
        return Wide::DistanceOfTwoStrips(masks.Entries(), rows.Length(), columns.Data(), columns.Length());
#endif
    return DistanceOfTwoStrips(masks.Entries(), rows.Length(), columns.Data(), columns.Length());
}

// Some rows of a long text, and the differences down them in the first column.
struct SFuzzyBand
{
    const char *m_Rows;
    u32 m_Count;
    u64 m_Plus;
};

// Each advances a band along the columns. Returns: what the differences down its rows in the last column come to.

QV_INTERNAL_NOINLINE u32 AdvancePair(const SFuzzyBand &band, const CStringView &columns, FuzzyCarry *carries)
{
    const CFuzzyPairMasks masks(band.m_Rows, band.m_Count);
#if QV_SIMD_HAS_WIDE
    if (HasWideInstructions())
        return Wide::AdvanceTwoStrips(masks.Entries(), band.m_Count, band.m_Plus, columns.Data(), columns.Length(),
                                      carries);
#endif
    return AdvanceTwoStrips(masks.Entries(), band.m_Count, band.m_Plus, columns.Data(), columns.Length(), carries);
}

#if QV_SIMD_HAS_WIDE

// Adds to the distance. False when the band's rows hold too many different characters; then nothing has happened.
template <u32 kEntries>
QV_INTERNAL_NOINLINE bool AdvanceWide(const SFuzzyBand &band, const CStringView &columns, FuzzyCarry *carries,
                                      u32 &distance)
{
    TFuzzyEntryTable<Wide::kWideStrips, kEntries> masks;
    if (!Wide::AddStrips(masks, band.m_Rows, band.m_Count))
        return false;
    distance +=
        Wide::AdvanceWideStrips(masks.Entries(), band.m_Count, band.m_Plus, columns.Data(), columns.Length(), carries);
    return true;
}

#endif

// Advances bands of rows one after the other; `kEntries` bounds the different characters of wide ones.
template <u32 kEntries>
u32 DistanceOfBands(const CStringView &rows, const CStringView &columns, FuzzyCarry *carries)
{
    const SFuzzyBoundary boundary = FuzzyBoundary(FuzzyBits_Rows, columns.Length());
    BeginCarries(boundary, carries, columns.Length());
    u32 distance = boundary.m_Top;
    u32 taken = 0;
    for (u32 start = 0; start < rows.Length(); start += taken)
    {
        SFuzzyBand band = {rows.Data() + start, rows.Length() - start, start == 0 ? boundary.m_Plus : ~0ull};
#if QV_SIMD_HAS_WIDE
        if (band.m_Count >= Wide::kMinWideRows && HasWideInstructions())
        {
            taken = band.m_Count = QVMin(band.m_Count, Wide::kWideRows);
            if (AdvanceWide<kEntries>(band, columns, carries, distance))
                continue;
        }
#endif
        taken = band.m_Count = QVMin(band.m_Count, kPairRows);
        distance += AdvancePair(band, columns, carries);
    }
    return distance;
}

// Two texts of which the longer one, the columns, needs no block.
QV_INTERNAL_NOINLINE u32 DistanceOnStack(const CStringView &rows, const CStringView &columns)
{
    FuzzyCarry carries[kStackCells];
    return DistanceOfBands<kFewEntries>(rows, columns, carries);
}

// The distance of rows to columns, both not empty; `carries` is null where the columns need no block.
u32 DistanceOnce(const CStringView &rows, const CStringView &columns, FuzzyCarry *carries)
{
    if (IsShort(rows, columns))
        return DistanceOfShort(rows, columns);
    if (rows.Length() <= kStripRows)
        return DistanceOfWord(rows, columns);
    if (rows.Length() <= kPairRows)
        return DistanceOfPair(rows, columns);
    return carries != nullptr ? DistanceOfBands<kManyEntries>(rows, columns, carries) : DistanceOnStack(rows, columns);
}

// Two texts, neither empty, of which the longer one needs a block. False when that is refused.
QV_INTERNAL_NOINLINE bool WeighLong(const CStringView &rows, const CStringView &columns, float &outWeight)
{
    outWeight = 0.0f;
    const CFuzzyRow row(columns.Length());
    if (!row.IsGranted())
        return false;
    outWeight = FuzzyWeight(rows.Length() + columns.Length(), DistanceOnce(rows, columns, row.Carries()));
    return true;
}

// The weight of two texts. False when memory was refused; it is 0 then.
bool WeighPair(const CStringView &query, const CStringView &other, float &outWeight)
{
    outWeight = WeightOfEmpty(query.Length(), other.Length());
    if (query.Length() == 0 || other.Length() == 0)
        return true;
    const bool queryIsRows = query.Length() < other.Length();
    const CStringView &rows = queryIsRows ? query : other;
    const CStringView &columns = queryIsRows ? other : query;
    if (columns.Length() >= kStackCells)
        return WeighLong(rows, columns, outWeight);
    outWeight = FuzzyWeight(rows.Length() + columns.Length(), DistanceOnce(rows, columns, nullptr));
    return true;
}

// A query of 1 to 64 characters that is scored against many texts: its masks are built once.
class CFuzzyQuery
{
public:
    static constexpr u32 kMaxLength = kStripRows;

    explicit CFuzzyQuery(const CStringView &query) : m_Query(query)
    {
        m_Masks.Clear();
        m_Masks.Add(query.Data(), query.Length());
#if QV_SIMD_HAS_WIDE
        if (HasWideInstructions() && _FitsLanes(m_WideLanes16))
            m_WideLanes16.SetQuery(query.Data(), query.Length());
        else if (HasWideInstructions() && _FitsLanes(m_WideLanes32))
            m_WideLanes32.SetQuery(query.Data(), query.Length());
        else
#endif
            if (_FitsLanes(m_Lanes16))
            m_Lanes16.SetQuery(m_Masks, query.Length());
        else if (_FitsLanes(m_Lanes32))
            m_Lanes32.SetQuery(m_Masks, query.Length());
    }

    // The weights of `count` strings, of which `stringAt(i)` is one. False when memory was refused for one of them, which
    // then weighs 0.
    template <typename StringAt>
    bool Weigh(const StringAt &stringAt, u32 count, float *outWeights) const
    {
#if QV_SIMD_HAS_WIDE
        if (HasWideInstructions() && _FitsLanes(m_WideLanes16))
            return _WeighInWideLanes(m_WideLanes16, stringAt, count, outWeights);
        if (HasWideInstructions() && _FitsLanes(m_WideLanes32))
            return _WeighInWideLanes(m_WideLanes32, stringAt, count, outWeights);
#endif
        if (_FitsLanes(m_Lanes16))
            return _WeighInLanes(m_Lanes16, stringAt, count, outWeights);
        if (_FitsLanes(m_Lanes32))
            return _WeighInLanes(m_Lanes32, stringAt, count, outWeights);
        bool granted = true;
        for (u32 i = 0; i < count; ++i)
            granted = _Weigh(stringAt(i), outWeights[i]) && granted;
        return granted;
    }

private:
    template <typename Lanes>
    bool _FitsLanes(const Lanes &) const
    {
        return m_Query.Length() <= Lanes::kMaxQuery;
    }

    bool _Weigh(const CStringView &text, float &outWeight) const
    {
        outWeight = 0.0f;
        if (text.Length() == 0)
            return true;
        const u32 length = m_Query.Length();
        const CFuzzyRow row(QVMax(length, text.Length()));
        if (!row.IsGranted())
            return false;
        const EFuzzyBits bits = length < text.Length() ? FuzzyBits_Rows : FuzzyBits_Columns;
        outWeight =
            FuzzyWeight(length + text.Length(), DistanceOfStrip(m_Masks, length, bits, text.Data(), text.Length()));
        return true;
    }

    template <typename Lanes, typename StringAt>
    bool _WeighInLanes(const Lanes &lanes, const StringAt &stringAt, u32 count, float *outWeights) const
    {
        SFuzzyLaneText texts[Lanes::kCount];
        u32 indices[Lanes::kCount];
        u32 used = 0;
        bool granted = true;
        for (u32 i = 0; i < count; ++i)
        {
            const CStringView text(stringAt(i));
            if (text.Length() == 0 || text.Length() > kMaxLaneText)
            {
                granted = _Weigh(text, outWeights[i]) && granted;
                continue;
            }
            texts[used] = SFuzzyLaneText{text.Data(), text.Length()};
            indices[used++] = i;
            if (used == Lanes::kCount)
                _ScoreLanes(lanes, texts, indices, std::exchange(used, 0u), outWeights);
        }
        _ScoreLanes(lanes, texts, indices, used, outWeights);
        return granted;
    }

    template <typename Lanes>
    void _ScoreLanes(const Lanes &lanes, SFuzzyLaneText (&texts)[Lanes::kCount], const u32 (&indices)[Lanes::kCount],
                     u32 used, float *outWeights) const
    {
        if (used == 0)
            return;
        for (u32 lane = used; lane < Lanes::kCount; ++lane)
            texts[lane] = SFuzzyLaneText{nullptr, 0};
        u32 distances[Lanes::kCount];
        lanes.Distances(texts, distances);
        for (u32 lane = 0; lane < used; ++lane)
            outWeights[indices[lane]] = FuzzyWeight(m_Query.Length() + texts[lane].m_Length, distances[lane]);
    }

#if QV_SIMD_HAS_WIDE
    // Texts that are scored together because they take about as long.
    struct SWideGroup
    {
        Wide::SFuzzyLaneTexts m_Texts;
        u32 m_Indices[Wide::kLaneTexts];
        u32 m_Used;
    };

    template <typename Lanes, typename StringAt>
    bool _WeighInWideLanes(const Lanes &lanes, const StringAt &stringAt, u32 count, float *outWeights) const
    {
        // Of up to 16 characters, of up to 32, and of more.
        SWideGroup groups[3];
        for (SWideGroup &group : groups)
            group.m_Used = 0;
        bool granted = true;
        for (u32 i = 0; i < count; ++i)
        {
            const CStringView text(stringAt(i));
            if (text.Length() == 0 || text.Length() > kMaxLaneText)
            {
                granted = _Weigh(text, outWeights[i]) && granted;
                continue;
            }
            SWideGroup &group = groups[QVMin((text.Length() - 1) / 16, 2u)];
            group.m_Texts.m_Data[group.m_Used] = text.Data();
            group.m_Texts.m_Lengths[group.m_Used] = static_cast<u16>(text.Length());
            group.m_Indices[group.m_Used++] = i;
            if (group.m_Used == Wide::kLaneTexts)
                _ScoreWideGroup(lanes, group, outWeights);
        }
        for (SWideGroup &group : groups)
            _ScoreWideGroup(lanes, group, outWeights);
        return granted;
    }

    // Leaves the group empty.
    template <typename Lanes>
    static void _ScoreWideGroup(const Lanes &lanes, SWideGroup &group, float *outWeights)
    {
        const u32 used = std::exchange(group.m_Used, 0u);
        if (used == 0)
            return;
        for (u32 lane = used; lane < Wide::kLaneTexts; ++lane)
            group.m_Texts.m_Lengths[lane] = 0;
        float weights[Wide::kLaneTexts];
        lanes.Weigh(group.m_Texts, weights);
        for (u32 lane = 0; lane < used; ++lane)
            outWeights[group.m_Indices[lane]] = weights[lane];
    }
#endif

    CStringView m_Query;
    SFuzzyMasks m_Masks;
    // Those that the query's length and the machine call for; none for queries of more than 32 characters.
    union
    {
#if QV_SIMD_HAS_WIDE
        Wide::TFuzzyWideLanes<u16> m_WideLanes16;
        Wide::TFuzzyWideLanes<u32> m_WideLanes32;
#endif
        TFuzzyLanes<u16> m_Lanes16;
        TFuzzyLanes<u32> m_Lanes32;
    };
};

typedef TStridedMemoryView<const CString> FuzzyList;

// Each of the following weighs the entries of a list in order, those that `wants(entry)` lets pass, if it is asked, and
// hands (index, weight) to `take`. False when memory was refused for an entry; it weighs 0 then.

// All of the first `count`, by a query of 1 to 64 characters.
template <typename Take>
QV_INTERNAL_NOINLINE bool WeighAllByMasks(const CStringView &query, const FuzzyList &list, u32 count, const Take &take)
{
    const CFuzzyQuery scorer(query);
    float weights[kListBatch];
    bool granted = true;
    for (u32 first = 0; first < count; first += kListBatch)
    {
        const u32 batch = QVMin(count - first, kListBatch);
        const auto stringAt = [&](u32 i) -> const CString & { return list[first + i]; };
        granted = scorer.Weigh(stringAt, batch, weights) && granted;
        for (u32 i = 0; i < batch; ++i)
            take(first + i, weights[i]);
    }
    return granted;
}

// Those that are wanted, by a query of 1 to 64 characters.
template <typename Wants, typename Take>
QV_INTERNAL_NOINLINE bool WeighWantedByMasks(const CStringView &query, const FuzzyList &list, const Wants &wants,
                                             const Take &take)
{
    const CFuzzyQuery scorer(query);
    u32 indices[kTopBatch];
    float weights[kTopBatch];
    bool granted = true;
    for (u32 next = 0; next < list.Count();)
    {
        u32 batch = 0;
        for (; next < list.Count() && batch < kTopBatch; ++next)
        {
            indices[batch] = next;
            batch += wants(list[next]) ? 1 : 0;
        }
        const auto stringAt = [&](u32 i) -> const CString & { return list[indices[i]]; };
        granted = scorer.Weigh(stringAt, batch, weights) && granted;
        for (u32 i = 0; i < batch; ++i)
            take(indices[i], weights[i]);
    }
    return granted;
}

// One by one: longer queries have nothing to keep from one to the next.
template <typename Wants, typename Take>
QV_INTERNAL_NOINLINE bool WeighPairs(const CStringView &query, const FuzzyList &list, u32 count, const Wants &wants,
                                     const Take &take)
{
    bool granted = true;
    for (u32 i = 0; i < count; ++i)
    {
        const CString &entry = list[i];
        if (!wants(entry))
            continue;
        float weight;
        granted = WeighPair(query, entry, weight) && granted;
        take(i, weight);
    }
    return granted;
}

bool HasMasks(const CStringView &query)
{
    return query.Length() != 0 && query.Length() <= CFuzzyQuery::kMaxLength;
}

template <typename Take>
void WeighAll(const CStringView &query, const FuzzyList &list, u32 count, const Take &take)
{
    if (HasMasks(query))
        WeighAllByMasks(query, list, count, take);
    else
        WeighPairs(
            query, list, count, [](const CString &) { return true; }, take);
}

template <typename Wants, typename Take>
bool WeighWanted(const CStringView &query, const FuzzyList &list, const Wants &wants, const Take &take)
{
    return HasMasks(query) ? WeighWantedByMasks(query, list, wants, take)
                           : WeighPairs(query, list, list.Count(), wants, take);
}

// Not inline: the sort's pending ranges need not be on the stack while the list is weighed.
QV_INTERNAL_NOINLINE void SortRanked(TArray<CString::SFuzzyMatchListElement> &ranked)
{
    QuickSort(ranked.Begin(), ranked.End());
}

// What was decided for entries of a length, until the question changes.
class CLengthVerdicts
{
public:
    CLengthVerdicts() { Forget(); }

    void Forget() { std::memset(m_Verdicts, Verdict_Unknown, sizeof(m_Verdicts)); }

    // Asks `decide()` once for each length below 256, and every time for others.
    template <typename Decide>
    bool Ask(u32 length, const Decide &decide)
    {
        if (length >= kLengths)
            return decide();
        if (m_Verdicts[length] == Verdict_Unknown)
            m_Verdicts[length] = decide() ? Verdict_Yes : Verdict_No;
        return m_Verdicts[length] == Verdict_Yes;
    }

private:
    static constexpr u32 kLengths = 256;

    enum EVerdict : u8
    {
        Verdict_Unknown,
        Verdict_No,
        Verdict_Yes,
    };

    u8 m_Verdicts[kLengths];
};

} // namespace

float CString::FuzzyMatch(const CString &other) const
{
    float weight;
    WeighPair(*this, other, weight);
    return weight;
}

void CString::FuzzyMatchList(const TStridedMemoryView<const CString> &stringList,
                             const TMemoryView<float> &outMatchResults) const
{
    QV_ASSERT(outMatchResults.Count() == stringList.Count());
    const u32 count = QVMin(outMatchResults.Count(), stringList.Count());
    WeighAll(*this, stringList, count, [&](u32 index, float weight) { outMatchResults[index] = weight; });
}

void CString::FuzzyMatchList_Ordered(const TStridedMemoryView<const CString> &stringList,
                                     TArray<SFuzzyMatchListElement> &outOrderedMatchResults, float tolerance) const
{
    outOrderedMatchResults.Clear();
    WeighAll(*this, stringList, stringList.Count(),
             [&](u32 index, float weight)
             {
                 if (weight >= tolerance)
                     outOrderedMatchResults.PushBack(SFuzzyMatchListElement(index, weight));
             });
    if (!outOrderedMatchResults.Empty())
        SortRanked(outOrderedMatchResults);
}

bool CString::FuzzyMatchList_Top(const TStridedMemoryView<const CString> &stringList,
                                 TArray<SFuzzyMatchListElement> &outBest, float tolerance, u32 maxCount) const
{
    outBest.Clear();
    const u32 limit = QVMin(maxCount, stringList.Count());
    if (limit == 0)
        return true;
    if (!outBest.Reserve(limit))
        return false;
    // A heap whose first element is the worst one kept.
    const auto better = [](const SFuzzyMatchListElement &a, const SFuzzyMatchListElement &b)
    {
        return a.m_MatchWeight > b.m_MatchWeight ||
               (a.m_MatchWeight == b.m_MatchWeight && a.m_IndexInStringList < b.m_IndexInStringList);
    };
    // Entries come by rising index, so one of the worst weight kept is worse than that.
    const auto qualifies = [&](float weight)
    { return weight >= tolerance && (outBest.Count() < limit || weight > outBest.First().m_MatchWeight); };
    const u32 length = Length();
    CLengthVerdicts verdicts;
    const auto wants = [&](const CString &entry)
    {
        const u32 entryLength = entry.Length();
        return verdicts.Ask(entryLength,
                            [&]
                            {
                                // The distance is at least the difference of the lengths plus 1.
                                const u32 difference = QVMax(length, entryLength) - QVMin(length, entryLength);
                                return length == 0 || entryLength == 0 ||
                                       qualifies(FuzzyWeight(length + entryLength, difference + 1));
                            });
    };
    const auto take = [&](u32 index, float weight)
    {
        if (!qualifies(weight))
            return;
        verdicts.Forget();
        if (outBest.Count() == limit)
        {
            std::pop_heap(outBest.begin(), outBest.end(), better);
            outBest.PopBack();
        }
        outBest.PushBack(SFuzzyMatchListElement(index, weight));
        std::push_heap(outBest.begin(), outBest.end(), better);
    };
    if (!WeighWanted(*this, stringList, wants, take))
    {
        // An entry without its weight may have been among the best.
        outBest.Clear();
        return false;
    }
    std::sort_heap(outBest.begin(), outBest.end(), better);
    return true;
}

} // namespace Quorvane
