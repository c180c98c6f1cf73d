// Fuzzy matching: weights of pairs, of a list, and ranked lists. The list is 100,000 made-up file names of 5 to 29
// characters; the query has 12.
//
// There is no packaged library with this weight. Beside ours stand the recurrence cell by cell, with one row of counters,
// and the textbook's bit-parallel form of it (Myers 1999, in blocks as by Hyyro 2003), both written with care and with
// the query's masks made once.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

typedef std::vector<std::string> TextList;
typedef CString::SFuzzyMatchListElement RankedName;

const char kQuery[] = "kernelstring";
constexpr float kTolerance = 0.5f;
constexpr u32 kTop = 10;

float Weight(size_t total, size_t distance)
{
    return static_cast<float>(total - distance) / static_cast<float>(total);
}

// ---- The recurrence ------------------------------------------------------------------------------------------------

// The distance with the shorter text along the rows. The first row starts with the corner's value, which makes the
// distance depend on the order of texts of one length.
class CPlain
{
public:
    float operator()(std::string_view query, std::string_view other)
    {
        const std::string_view rows = query.size() < other.size() ? query : other;
        const std::string_view columns = query.size() < other.size() ? other : query;
        const u32 longer = static_cast<u32>(columns.size());
        m_Cells.resize(longer + 1);
        for (u32 j = 0; j <= longer; ++j)
            m_Cells[j] = j;
        for (u32 i = 0; i < rows.size(); ++i)
        {
            u32 diagonal = m_Cells[0];
            u32 left = m_Cells[0] = i;
            for (u32 j = 0; j < longer; ++j)
            {
                const u32 above = m_Cells[j + 1];
                left = std::min(diagonal + (columns[j] == rows[i] ? 0 : 1), std::min(left, above) + 1);
                m_Cells[j + 1] = left;
                diagonal = above;
            }
        }
        return Weight(rows.size() + longer, m_Cells[longer]);
    }

private:
    std::vector<u32> m_Cells;
};

// ---- The textbook's bit-parallel form ------------------------------------------------------------------------------

// The masks of a text: for each character a bit for every place where it stands.
class CMasks
{
public:
    explicit CMasks(std::string_view text) : m_Words((text.size() + 63) / 64), m_Masks(256 * m_Words)
    {
        for (size_t i = 0; i < text.size(); ++i)
            m_Masks[Index(text[i]) + i / 64] |= uint64_t(1) << (i % 64);
    }

    size_t Words() const { return m_Words; }
    const uint64_t *Of(char c) const { return &m_Masks[Index(c)]; }

private:
    size_t Index(char c) const { return static_cast<unsigned char>(c) * m_Words; }

    size_t m_Words;
    std::vector<uint64_t> m_Masks;
};

// The masks of a text of at most 64 characters, in memory that is used over and over.
class CShortMasks
{
public:
    explicit CShortMasks(std::string_view text) : m_Text(text)
    {
        uint64_t bit = 1;
        for (const char c : text)
        {
            s_Masks[static_cast<unsigned char>(c)] |= bit;
            bit <<= 1;
        }
    }

    CShortMasks(const CShortMasks &) = delete;

    ~CShortMasks()
    {
        for (const char c : m_Text)
            s_Masks[static_cast<unsigned char>(c)] = 0;
    }

    const uint64_t *Of(char c) const { return &s_Masks[static_cast<unsigned char>(c)]; }

private:
    static inline uint64_t s_Masks[256];

    std::string_view m_Text;
};

// One column of 64 rows: where the distance rises from row to row, and where it falls; and what goes from a block of
// rows to the next one, as 0 or 1.
struct SColumn
{
    uint64_t m_Up;
    uint64_t m_Down;
};

struct SCarry
{
    uint64_t m_Plus;
    uint64_t m_Minus;
};

inline SCarry Step(uint64_t mask, SColumn &column, SCarry in)
{
    const uint64_t vertical = mask | column.m_Down;
    const uint64_t equal = mask | in.m_Minus;
    const uint64_t horizontal = (((equal & column.m_Up) + column.m_Up) ^ column.m_Up) | equal;
    uint64_t plus = column.m_Down | ~(horizontal | column.m_Up);
    uint64_t minus = column.m_Up & horizontal;
    const SCarry out = {plus >> 63, minus >> 63};
    plus = (plus << 1) | in.m_Plus;
    minus = (minus << 1) | in.m_Minus;
    column.m_Up = minus | ~(vertical | plus);
    column.m_Down = plus & vertical;
    return out;
}

// What the distance rises by over the rows of a column, of which the first `rows` count.
size_t Rise(const SColumn &column, size_t rows)
{
    const uint64_t counted = rows < 64 ? (uint64_t(1) << rows) - 1 : ~uint64_t(0);
    return static_cast<size_t>(__builtin_popcountll(column.m_Up & counted)) -
           static_cast<size_t>(__builtin_popcountll(column.m_Down & counted));
}

// The distance of the text whose masks are given, with at most 64 characters, to another. The shorter text's first step
// is free.
template <typename Masks>
size_t DistanceInWord(const Masks &masks, size_t length, std::string_view other)
{
    const bool hasFreeRow = length < other.size();
    SColumn column = {hasFreeRow ? ~uint64_t(1) : ~uint64_t(0), 0};
    SCarry in = {hasFreeRow ? uint64_t(1) : uint64_t(0), 0};
    for (const char c : other)
    {
        Step(*masks.Of(c), column, in);
        in.m_Plus = 1;
    }
    return other.size() - (hasFreeRow ? 0 : 1) + Rise(column, length);
}

// The same for texts of any length, column by column through all blocks of rows.
size_t DistanceInWords(const CMasks &masks, size_t length, std::string_view other)
{
    const bool hasFreeRow = length < other.size();
    std::vector<SColumn> columns(masks.Words(), SColumn{~uint64_t(0), 0});
    if (hasFreeRow)
        columns[0].m_Up = ~uint64_t(1);
    SCarry first = {hasFreeRow ? uint64_t(1) : uint64_t(0), 0};
    for (const char c : other)
    {
        SCarry in = first;
        const uint64_t *mask = masks.Of(c);
        for (SColumn &column : columns)
            in = Step(*mask++, column, in);
        first.m_Plus = 1;
    }
    size_t distance = other.size() - (hasFreeRow ? 0 : 1);
    for (size_t word = 0; word < columns.size(); ++word)
        distance += Rise(columns[word], length - word * 64);
    return distance;
}

float WeighPair(std::string_view query, std::string_view other)
{
    const size_t distance = query.size() <= 64 ? DistanceInWord(CShortMasks(query), query.size(), other)
                                               : DistanceInWords(CMasks(query), query.size(), other);
    return Weight(query.size() + other.size(), distance);
}

// Weighs many texts against one of at most 64 characters.
class CBitParallel
{
public:
    explicit CBitParallel(std::string_view query) : m_Length(query.size()), m_Masks(query) {}

    float operator()(std::string_view other) const
    {
        return Weight(m_Length + other.size(), DistanceInWord(m_Masks, m_Length, other));
    }

private:
    size_t m_Length;
    CMasks m_Masks;
};

// ---- The rows ------------------------------------------------------------------------------------------------------

struct SPair
{
    std::string m_Query;
    std::string m_Other;
};

// A name, and the same with every fifth character another one, as typing errors make it.
SPair MakePair(size_t length)
{
    CRandom random;
    SPair made;
    made.m_Query = made.m_Other = random.Name(static_cast<uint32_t>(length));
    for (size_t i = 2; i < length; i += 5)
        made.m_Other[i] = random.Name(1)[0];
    return made;
}

void AddPair(size_t length)
{
    const SPair pair = MakePair(length);
    CRow row("fuzzy_pair", length);
    row.Add("ours",
            [a = CString(pair.m_Query.c_str()), b = CString(pair.m_Other.c_str())] { return a.FuzzyMatch(b) * 1e6f; });
    row.Add("bit-parallel", [pair] { return WeighPair(pair.m_Query, pair.m_Other) * 1e6f; });
    row.Add("recurrence", [pair, plain = CPlain()]() mutable { return plain(pair.m_Query, pair.m_Other) * 1e6f; });
    row.Limit("read", ReadLimit(2 * length));
}

// Which characters match, beside how well the texts match.
void AddPositions(size_t length)
{
    const SPair pair = MakePair(length);
    const CString query(pair.m_Query.c_str());
    const CString other(pair.m_Other.c_str());
    CRow row("fuzzy_positions", length);
    row.Add("ours",
            [query, other]
            {
                TArray<u32> positions;
                static_cast<void>(query.FuzzyMatchPositions(other, positions));
                return positions;
            });
    row.Otherwise("FuzzyMatch", [query, other] { return query.FuzzyMatch(other); });
    row.Limit("read", ReadLimit(2 * length));
}

struct SList
{
    explicit SList(size_t count) : m_Names(Names(count))
    {
        for (const std::string &name : m_Names)
        {
            m_Strings.emplace_back(name.c_str());
            m_Bytes += name.size();
        }
    }

    TStridedMemoryView<const CString> View() const
    {
        return TStridedMemoryView<const CString>(m_Strings.data(), static_cast<u32>(m_Strings.size()));
    }

    TextList m_Names;
    std::vector<CString> m_Strings;
    size_t m_Bytes = 0;
};

// Weights of all names, made by a function that takes a name.
template <typename Weigh>
void WeighAll(const TextList &names, std::vector<float> &weights, Weigh &&weigh)
{
    weights.resize(names.size());
    for (size_t i = 0; i < names.size(); ++i)
        weights[i] = weigh(names[i]);
}

uint64_t FingerprintOf(const std::vector<float> &weights)
{
    uint64_t sum = 0;
    for (const float weight : weights)
        sum += static_cast<uint64_t>(weight * 1e6f);
    return sum;
}

void AddList(const std::shared_ptr<SList> &list)
{
    typedef std::vector<float> Weights;
    const size_t count = list->m_Names.size();
    CRow row("fuzzy_list", count);
    const auto add = [&row, count](const char *who, auto weigh)
    {
        row.AddPrepared(
            who, [count] { return Weights(count); },
            [weigh](Weights &weights) mutable
            {
                weigh(weights);
                return FingerprintOf(weights);
            });
    };
    add("ours", [list, query = CString(kQuery)](Weights &weights)
        { query.FuzzyMatchList(list->View(), TMemoryView<float>(weights.data(), static_cast<u32>(weights.size()))); });
    add("bit-parallel", [list](Weights &weights) { WeighAll(list->m_Names, weights, CBitParallel(kQuery)); });
    add("recurrence", [list, plain = CPlain()](Weights &weights) mutable
        { WeighAll(list->m_Names, weights, [&plain](const std::string &name) { return plain(kQuery, name); }); });
    row.Limit("read", ReadLimit(list->m_Bytes));
}

bool IsBetter(const RankedName &a, const RankedName &b)
{
    return a.m_MatchWeight != b.m_MatchWeight ? a.m_MatchWeight > b.m_MatchWeight
                                              : a.m_IndexInStringList < b.m_IndexInStringList;
}

// The names with a weight of the tolerance or more; `weigh` as above.
template <typename Weigh>
std::vector<RankedName> Candidates(const TextList &names, Weigh &&weigh)
{
    std::vector<float> weights;
    WeighAll(names, weights, weigh);
    std::vector<RankedName> candidates;
    for (size_t i = 0; i < weights.size(); ++i)
        if (weights[i] >= kTolerance)
            candidates.emplace_back(static_cast<u32>(i), weights[i]);
    return candidates;
}

std::vector<u32> BestOf(std::vector<RankedName> candidates)
{
    const size_t count = std::min<size_t>(kTop, candidates.size());
    std::partial_sort(candidates.begin(), candidates.begin() + static_cast<std::ptrdiff_t>(count), candidates.end(),
                      IsBetter);
    std::vector<u32> best;
    for (size_t i = 0; i < count; ++i)
        best.push_back(candidates[i].m_IndexInStringList);
    return best;
}

void AddTop(const std::shared_ptr<SList> &list)
{
    CRow row("fuzzy_top", list->m_Names.size());
    row.Add("ours",
            [list, query = CString(kQuery)]
            {
                TArray<RankedName> best;
                static_cast<void>(query.FuzzyMatchList_Top(list->View(), best, kTolerance, kTop));
                std::vector<u32> indices;
                for (const RankedName &name : best)
                    indices.push_back(name.m_IndexInStringList);
                return indices;
            });
    row.Otherwise("FuzzyMatchList",
                  [list, query = CString(kQuery), weights = std::vector<float>(list->m_Names.size())]() mutable
                  {
                      query.FuzzyMatchList(list->View(),
                                           TMemoryView<float>(weights.data(), static_cast<u32>(weights.size())));
                      return weights.data();
                  });
    row.Add("bit-parallel", [list] { return BestOf(Candidates(list->m_Names, CBitParallel(kQuery))); });
    row.Add("recurrence",
            [list, plain = CPlain()]() mutable {
                return BestOf(
                    Candidates(list->m_Names, [&plain](const std::string &name) { return plain(kQuery, name); }));
            });
    row.Limit("read", ReadLimit(list->m_Bytes));
}

// All above the tolerance, ordered. How equal weights stand is each one's own business, so their number is compared.
void AddOrdered(const std::shared_ptr<SList> &list)
{
    CRow row("fuzzy_ordered", list->m_Names.size());
    const auto order = [](std::vector<RankedName> candidates)
    {
        std::sort(candidates.begin(), candidates.end(), IsBetter);
        return candidates.size();
    };
    row.Add("ours",
            [list, query = CString(kQuery)]
            {
                TArray<RankedName> ranked;
                query.FuzzyMatchList_Ordered(list->View(), ranked, kTolerance);
                return size_t(ranked.Count());
            });
    row.Add("bit-parallel", [list, order] { return order(Candidates(list->m_Names, CBitParallel(kQuery))); });
    row.Add("recurrence",
            [list, order, plain = CPlain()]() mutable {
                return order(
                    Candidates(list->m_Names, [&plain](const std::string &name) { return plain(kQuery, name); }));
            });
    row.Limit("read", ReadLimit(list->m_Bytes));
}

} // namespace

void RegisterRows()
{
    for (const size_t length : {12u, 100u, 1000u, 10000u})
        AddPair(length);
    for (const size_t length : {12u, 100u, 1000u, 10000u})
        AddPositions(length);
    const auto list = std::make_shared<SList>(100000);
    AddList(list);
    AddTop(list);
    AddOrdered(list);
}

} // namespace Bench
