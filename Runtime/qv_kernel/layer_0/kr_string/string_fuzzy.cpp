// Fuzzy matching: the weight of two strings, of a query against a list, and the ranked lists.
//
// The weight is (total - distance + 1) / total, where total is the sum of the lengths and the distance that of
// fuzzy_distance.h. Its boundary makes the weight depend, for texts of one length, on which of them is this string:
// "ab" gives "xa" 0.75, "xa" gives "ab" 0.5.
#include "kr_string.h"

#include <algorithm>
#include <cstring>

#include "fuzzy_distance.h"
#include "fuzzy_lanes.h"
#include "fuzzy_lanes_wide.h"
#include "fuzzy_short.h"
#include "fuzzy_strips.h"
#include "raw_block.h"

namespace Quorvane
{

namespace
{

using namespace Internal;

// Longer texts than this take a heap block for the row of counters; shorter ones the stack.
constexpr u32 kStackCells = 256;

// Strips are taken in pairs where there are no wide vectors.
constexpr u32 kPairRows = 2 * kStripRows;

// Entries that the ranked top scores at a time: the more, the later it learns which ones need no scoring.
constexpr u32 kTopBatch = 64;

// The storage that a comparison of texts up to `longerLength` may use: on the stack, or a block of one counter of 32
// bits for each cell of the recurrence's row.
class CFuzzyRow
{
public:
    explicit CFuzzyRow(u32 longerLength)
        : m_Block(longerLength < kStackCells ? CRawBlock() : CRawBlock(_BytesOfRow(longerLength))),
          m_Row(longerLength < kStackCells ? m_Stack : static_cast<FuzzyCarry *>(m_Block.Data()))
    {
    }

    // Null when memory is refused.
    FuzzyCarry *Carries() const { return m_Row; }

private:
    static u64 _BytesOfRow(u32 longerLength) { return (static_cast<u64>(longerLength) + 1) * sizeof(u32); }

    CRawBlock m_Block;
    FuzzyCarry *m_Row;
    FuzzyCarry m_Stack[kStackCells];
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

// Rows that one table serves.
u32 DistanceOfWord(const CStringView &rows, const CStringView &columns)
{
    TFuzzyMasks<1> masks;
    masks.ClearFor(columns.Data(), columns.Length());
    masks.ClearFor(rows.Data(), rows.Length());
    masks.Add(rows.Data(), rows.Length());
#if QV_SIMD_HAS_WIDE
    if (HasWideInstructions())
        return Wide::DistanceOfStrip(masks, rows.Length(), FuzzyBits_Rows, columns.Data(), columns.Length());
#endif
    return DistanceOfStrip(masks, rows.Length(), FuzzyBits_Rows, columns.Data(), columns.Length());
}

// Rows that two tables serve.
u32 DistanceOfPair(const CStringView &rows, const CStringView &columns)
{
    TFuzzyMasks<2> masks;
    masks.Clear();
    masks.Add(rows.Data(), rows.Length());
#if QV_SIMD_HAS_WIDE
    if (HasWideInstructions())
        return Wide::DistanceOfTwoStrips(masks, rows.Length(), columns.Data(), columns.Length());
#endif
    return DistanceOfTwoStrips(masks, rows.Length(), columns.Data(), columns.Length());
}

// Advances as many of the rows from `start` on as are best taken at once. `start` is moved behind them.
// Returns: what the differences down them in the last column come to.
u32 AdvanceSomeStrips(const CStringView &rows, u32 &start, const CStringView &columns, FuzzyCarry *carries)
{
    const char *const data = rows.Data() + start;
    const u32 left = rows.Length() - start;
    const u64 plus = start == 0 ? FuzzyBoundary(FuzzyBits_Rows, 0).m_Plus : ~0ull;
#if QV_SIMD_HAS_WIDE
    if (left >= Wide::kMinWideRows && HasWideInstructions())
    {
        const u32 taken = QVMin(left, Wide::kWideRows);
        start += taken;
        return Wide::AdvanceWideStrips(data, taken, plus, columns.Data(), columns.Length(), carries);
    }
#endif
    const u32 taken = QVMin(left, kPairRows);
    start += taken;
    TFuzzyMasks<2> masks;
    masks.Clear();
    masks.Add(data, taken);
#if QV_SIMD_HAS_WIDE
    if (HasWideInstructions())
        return Wide::AdvanceTwoStrips(masks, taken, plus, columns.Data(), columns.Length(), carries);
#endif
    return AdvanceTwoStrips(masks, taken, plus, columns.Data(), columns.Length(), carries);
}

// The distance of rows to columns, both not empty; `carries` is not used when the rows fit two words.
u32 DistanceOnce(const CStringView &rows, const CStringView &columns, FuzzyCarry *carries)
{
    if (IsShort(rows, columns))
        return DistanceOfShort(rows, columns);
    if (rows.Length() <= kStripRows)
        return DistanceOfWord(rows, columns);
    if (rows.Length() <= kPairRows)
        return DistanceOfPair(rows, columns);
    const SFuzzyBoundary boundary = FuzzyBoundary(FuzzyBits_Rows, columns.Length());
    BeginCarries(boundary, carries, columns.Length());
    u32 distance = boundary.m_Top;
    for (u32 start = 0; start < rows.Length();)
        distance += AdvanceSomeStrips(rows, start, columns, carries);
    return distance;
}

// The weight of two texts, neither empty. Returns: 0 when memory was refused.
float WeighOnce(const CStringView &rows, const CStringView &columns)
{
    const u32 total = rows.Length() + columns.Length();
    if (rows.Length() <= kStripRows && columns.Length() < kStackCells)
        return FuzzyWeight(total, DistanceOnce(rows, columns, nullptr));
    const CFuzzyRow row(columns.Length());
    return row.Carries() != nullptr ? FuzzyWeight(total, DistanceOnce(rows, columns, row.Carries())) : 0.0f;
}

// A query that is scored against many texts: its masks are built once.
class CFuzzyQuery
{
public:
    // Texts scored at a time, at most.
    static constexpr u32 kBatch = 256;

    explicit CFuzzyQuery(const CString &query) : m_Query(query)
    {
        const u32 length = m_Query.Length();
        if (length <= kStripRows)
        {
            m_Masks.Clear();
            m_Masks.Add(m_Query.Data(), length);
        }
#if QV_SIMD_HAS_WIDE
        if (HasWideInstructions() && _FitsLanes(m_WideLanes16))
            m_WideLanes16.SetQuery(m_Query.Data(), length);
        else if (HasWideInstructions() && _FitsLanes(m_WideLanes32))
            m_WideLanes32.SetQuery(m_Query.Data(), length);
        else
#endif
            if (_FitsLanes(m_Lanes16))
            m_Lanes16.SetQuery(m_Masks, length);
        else if (_FitsLanes(m_Lanes32))
            m_Lanes32.SetQuery(m_Masks, length);
    }

    // The weights of at most `kBatch` strings. False when memory was refused for one of them, which then weighs 0.
    bool Weigh(const CString *const *strings, u32 count, float *outWeights) const
    {
#if QV_SIMD_HAS_WIDE
        if (HasWideInstructions() && _FitsLanes(m_WideLanes16))
            return _WeighInWideLanes(m_WideLanes16, strings, count, outWeights);
        if (HasWideInstructions() && _FitsLanes(m_WideLanes32))
            return _WeighInWideLanes(m_WideLanes32, strings, count, outWeights);
#endif
        if (_FitsLanes(m_Lanes16))
            return _WeighInLanes(m_Lanes16, strings, count, outWeights);
        if (_FitsLanes(m_Lanes32))
            return _WeighInLanes(m_Lanes32, strings, count, outWeights);
        bool granted = true;
        for (u32 i = 0; i < count; ++i)
            granted = _Weigh(*strings[i], outWeights[i]) && granted;
        return granted;
    }

private:
    template <typename Lanes>
    bool _FitsLanes(const Lanes &) const
    {
        return m_Query.Length() != 0 && m_Query.Length() <= Lanes::kMaxQuery;
    }

    bool _Weigh(const CString &string, float &outWeight) const
    {
        const CStringView text(string);
        const u32 length = m_Query.Length();
        outWeight = WeightOfEmpty(length, text.Length());
        if (length == 0 || text.Length() == 0)
            return true;
        outWeight = 0.0f;
        const CFuzzyRow row(QVMax(length, text.Length()));
        if (row.Carries() == nullptr)
            return false;
        outWeight = FuzzyWeight(length + text.Length(), _Distance(text, row.Carries()));
        return true;
    }

    u32 _Distance(const CStringView &text, FuzzyCarry *carries) const
    {
        const u32 length = m_Query.Length();
        const EFuzzyBits bits = length < text.Length() ? FuzzyBits_Rows : FuzzyBits_Columns;
        if (length <= kStripRows)
            return DistanceOfStrip(m_Masks, length, bits, text.Data(), text.Length());
        return bits == FuzzyBits_Rows ? DistanceOnce(m_Query, text, carries) : DistanceOnce(text, m_Query, carries);
    }

    template <typename Lanes>
    bool _WeighInLanes(const Lanes &lanes, const CString *const *strings, u32 count, float *outWeights) const
    {
        SFuzzyLaneText texts[Lanes::kCount];
        u32 indices[Lanes::kCount];
        u32 used = 0;
        bool granted = true;
        for (u32 i = 0; i < count; ++i)
        {
            const u32 length = strings[i]->Length();
            if (length == 0 || length > kMaxLaneText)
            {
                granted = _Weigh(*strings[i], outWeights[i]) && granted;
                continue;
            }
            texts[used] = SFuzzyLaneText{strings[i]->Data(), length};
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

    template <typename Lanes>
    bool _WeighInWideLanes(const Lanes &lanes, const CString *const *strings, u32 count, float *outWeights) const
    {
        // Of up to 16 characters, of up to 32, and of more.
        SWideGroup groups[3];
        for (SWideGroup &group : groups)
            group.m_Used = 0;
        bool granted = true;
        for (u32 i = 0; i < count; ++i)
        {
            const CStringView text(*strings[i]);
            if (text.Length() == 0 || text.Length() > kMaxLaneText)
            {
                granted = _Weigh(*strings[i], outWeights[i]) && granted;
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
    TFuzzyMasks<1> m_Masks;
#if QV_SIMD_HAS_WIDE
    Wide::TFuzzyWideLanes<u16> m_WideLanes16;
    Wide::TFuzzyWideLanes<u32> m_WideLanes32;
#endif
    TFuzzyLanes<u16> m_Lanes16;
    TFuzzyLanes<u32> m_Lanes32;
};

// Weighs the entries of a list in order, those that `wants(entry)` lets pass, and hands (index, weight) to `take`, when
// `batchSize` of them are together. False when memory was refused for an entry; it weighs 0 then.
template <typename Wants, typename Take>
bool WeighList(const CString &query, const TStridedMemoryView<const CString> &list, u32 count, u32 batchSize,
               const Wants &wants, const Take &take)
{
    const CFuzzyQuery scorer(query);
    const CString *strings[CFuzzyQuery::kBatch];
    u32 indices[CFuzzyQuery::kBatch];
    float weights[CFuzzyQuery::kBatch];
    bool granted = true;
    for (u32 next = 0; next < count;)
    {
        u32 batch = 0;
        for (; next < count && batch < batchSize; ++next)
        {
            const CString &entry = list[next];
            strings[batch] = &entry;
            indices[batch] = next;
            batch += wants(entry) ? 1 : 0;
        }
        granted = scorer.Weigh(strings, batch, weights) && granted;
        for (u32 i = 0; i < batch; ++i)
            take(indices[i], weights[i]);
    }
    return granted;
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

bool WantsAll(const CString &)
{
    return true;
}

} // namespace

float CString::FuzzyMatch(const CString &other) const
{
    const CStringView a(*this);
    const CStringView b(other);
    if (a.Length() == 0 || b.Length() == 0)
        return WeightOfEmpty(a.Length(), b.Length());
    return a.Length() < b.Length() ? WeighOnce(a, b) : WeighOnce(b, a);
}

void CString::FuzzyMatchList(const TStridedMemoryView<const CString> &stringList,
                             const TMemoryView<float> &outMatchResults) const
{
    QV_ASSERT(outMatchResults.Count() == stringList.Count());
    const u32 count = QVMin(outMatchResults.Count(), stringList.Count());
    WeighList(*this, stringList, count, CFuzzyQuery::kBatch, WantsAll,
              [&](u32 index, float weight) { outMatchResults[index] = weight; });
}

void CString::FuzzyMatchList_Ordered(const TStridedMemoryView<const CString> &stringList,
                                     TArray<SFuzzyMatchListElement> &outOrderedMatchResults, float tolerance) const
{
    outOrderedMatchResults.Clear();
    WeighList(*this, stringList, stringList.Count(), CFuzzyQuery::kBatch, WantsAll,
              [&](u32 index, float weight)
              {
                  if (weight >= tolerance)
                      outOrderedMatchResults.PushBack(SFuzzyMatchListElement(index, weight));
              });
    if (!outOrderedMatchResults.Empty())
        QuickSort(outOrderedMatchResults.Begin(), outOrderedMatchResults.End());
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
    if (!WeighList(*this, stringList, stringList.Count(), kTopBatch, wants, take))
    {
        // An entry without its weight may have been among the best.
        outBest.Clear();
        return false;
    }
    std::sort_heap(outBest.begin(), outBest.end(), better);
    return true;
}

} // namespace Quorvane
