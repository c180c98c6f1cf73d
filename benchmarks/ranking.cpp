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

// The distances of one text, 64 characters of it to a word, to others.
class CBitParallel
{
public:
    explicit CBitParallel(std::string_view query)
        : m_Query(query), m_Words((query.size() + 63) / 64), m_Masks(256 * m_Words), m_Ups(m_Words), m_Downs(m_Words)
    {
        for (size_t i = 0; i < query.size(); ++i)
            m_Masks[_Row(query[i]) + i / 64] |= uint64_t(1) << (i % 64);
    }

    float operator()(std::string_view other)
    {
        return Weight(m_Query.size() + other.size(), m_Words == 1 ? _DistanceInWord(other) : _Distance(other));
    }

private:
    // The shorter text is the one along the rows, whose first step is free.
    bool _HasRows(std::string_view other) const { return m_Query.size() < other.size(); }

    size_t _Row(char c) const { return static_cast<unsigned char>(c) * m_Words; }

    // One column of at most 64 rows: the vertical differences, and the horizontal one that comes in and goes out.
    static int _Step(uint64_t mask, uint64_t &up, uint64_t &down, int in, uint64_t last)
    {
        const uint64_t carryDown = in < 0 ? 1 : 0;
        const uint64_t vertical = mask | down;
        const uint64_t equal = mask | carryDown;
        const uint64_t horizontal = (((equal & up) + up) ^ up) | equal;
        uint64_t plus = down | ~(horizontal | up);
        uint64_t minus = up & horizontal;
        const int out = (plus & last) != 0 ? 1 : (minus & last) != 0 ? -1 : 0;
        plus = (plus << 1) | (in > 0 ? 1 : 0);
        minus = (minus << 1) | carryDown;
        up = minus | ~(vertical | plus);
        down = plus & vertical;
        return out;
    }

    size_t _DistanceInWord(std::string_view other) const
    {
        const bool hasRows = _HasRows(other);
        const uint64_t last = uint64_t(1) << (m_Query.size() - 1);
        uint64_t up = hasRows ? ~uint64_t(1) : ~uint64_t(0);
        uint64_t down = 0;
        size_t distance = m_Query.size() - (hasRows ? 1 : 0);
        int in = hasRows ? 1 : 0;
        for (const char c : other)
        {
            distance += static_cast<size_t>(_Step(m_Masks[_Row(c)], up, down, in, last));
            in = 1;
        }
        return distance;
    }

    size_t _Distance(std::string_view other)
    {
        const bool hasRows = _HasRows(other);
        std::fill(m_Ups.begin(), m_Ups.end(), ~uint64_t(0));
        std::fill(m_Downs.begin(), m_Downs.end(), 0);
        m_Ups[0] = hasRows ? ~uint64_t(1) : ~uint64_t(0);
        const uint64_t last = uint64_t(1) << ((m_Query.size() - 1) % 64);
        size_t distance = m_Query.size() - (hasRows ? 1 : 0);
        int first = hasRows ? 1 : 0;
        for (const char c : other)
        {
            const uint64_t *const masks = &m_Masks[_Row(c)];
            int in = first;
            for (size_t word = 0; word + 1 < m_Words; ++word)
                in = _Step(masks[word], m_Ups[word], m_Downs[word], in, uint64_t(1) << 63);
            distance +=
                static_cast<size_t>(_Step(masks[m_Words - 1], m_Ups[m_Words - 1], m_Downs[m_Words - 1], in, last));
            first = 1;
        }
        return distance;
    }

    std::string_view m_Query;
    size_t m_Words;
    std::vector<uint64_t> m_Masks;
    std::vector<uint64_t> m_Ups;
    std::vector<uint64_t> m_Downs;
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
    row.Add("bit-parallel", [pair] { return CBitParallel(pair.m_Query)(pair.m_Other) * 1e6f; });
    row.Add("recurrence", [pair, plain = CPlain()]() mutable { return plain(pair.m_Query, pair.m_Other) * 1e6f; });
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
                query.FuzzyMatchList_Top(list->View(), best, kTolerance, kTop);
                std::vector<u32> indices;
                for (const RankedName &name : best)
                    indices.push_back(name.m_IndexInStringList);
                return indices;
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
    for (const size_t length : {12, 100, 1000, 10000})
        AddPair(length);
    const auto list = std::make_shared<SList>(100000);
    AddList(list);
    AddTop(list);
    AddOrdered(list);
}

} // namespace Bench
