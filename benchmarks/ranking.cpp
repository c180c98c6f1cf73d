// Fuzzy matching beside the plain recurrence that defines it: pairs of several lengths, and a query against a list.
//
// The list is 100,000 made-up file names of 5 to 29 characters; the query has 12.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "kr_string.h"

namespace
{

using namespace Quorvane;

// A small generator with a fixed start (xorshift, Marsaglia 2003), so that every run sees the same texts.
class CRandom
{
public:
    uint32_t Below(uint32_t limit)
    {
        m_State ^= m_State << 13;
        m_State ^= m_State >> 17;
        m_State ^= m_State << 5;
        return m_State % limit;
    }

    std::string Text(uint32_t length)
    {
        static const char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789_-.";
        std::string text;
        for (uint32_t i = 0; i < length; ++i)
            text += kLetters[Below(sizeof(kLetters) - 1)];
        return text;
    }

private:
    uint32_t m_State = 2463534242u;
};

const std::vector<CString> &Names()
{
    static const std::vector<CString> names = []
    {
        CRandom random;
        std::vector<CString> made;
        for (int i = 0; i < 100000; ++i)
            made.emplace_back(random.Text(5 + random.Below(25)).c_str());
        return made;
    }();
    return names;
}

TStridedMemoryView<const CString> List()
{
    return TStridedMemoryView<const CString>(Names().data(), static_cast<u32>(Names().size()));
}

const char kQuery[] = "kernelstring";

// The recurrence cell by cell, with one row of counters: what the weights are defined by.
float PlainWeight(const CString &query, const CString &other, std::vector<u32> &cell)
{
    const CString &rows = query.Length() < other.Length() ? query : other;
    const CString &columns = query.Length() < other.Length() ? other : query;
    const u32 longer = columns.Length();
    cell.resize(longer + 1);
    for (u32 j = 0; j <= longer; ++j)
        cell[j] = j + 1;
    for (u32 i = 0; i < rows.Length(); ++i)
    {
        u32 diagonal = cell[0];
        u32 left = cell[0] = i + 1;
        for (u32 j = 0; j < longer; ++j)
        {
            const u32 above = cell[j + 1];
            const u32 paired = std::min(diagonal - (columns[j] == rows[i] ? 1 : 0), left);
            left = cell[j + 1] = std::min(paired, above) + 1;
            diagonal = above;
        }
    }
    const u32 total = rows.Length() + longer;
    return static_cast<float>(total - cell[longer] + 1) / static_cast<float>(total);
}

template <typename Weigh>
void RunPair(benchmark::State &state, const Weigh &weigh)
{
    CRandom random;
    const CString a(random.Text(static_cast<uint32_t>(state.range(0))).c_str());
    const CString b(random.Text(static_cast<uint32_t>(state.range(0))).c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(weigh(a, b));
}

void Pair(benchmark::State &state)
{
    RunPair(state, [](const CString &a, const CString &b) { return a.FuzzyMatch(b); });
}

void PairPlain(benchmark::State &state)
{
    std::vector<u32> cell;
    RunPair(state, [&](const CString &a, const CString &b) { return PlainWeight(a, b, cell); });
}

void List100000(benchmark::State &state)
{
    const CString query(kQuery);
    std::vector<float> weights(Names().size());
    for (auto _ : state)
        query.FuzzyMatchList(List(), TMemoryView<float>(weights.data(), static_cast<u32>(weights.size())));
}

void List100000Plain(benchmark::State &state)
{
    const CString query(kQuery);
    std::vector<float> weights(Names().size());
    std::vector<u32> cell;
    for (auto _ : state)
        for (size_t i = 0; i < weights.size(); ++i)
            weights[i] = PlainWeight(query, Names()[i], cell);
}

void Top10Of100000(benchmark::State &state)
{
    const CString query(kQuery);
    TArray<CString::SFuzzyMatchListElement> best;
    for (auto _ : state)
        query.FuzzyMatchList_Top(List(), best, 0.5f, 10);
}

void OrderedOf100000(benchmark::State &state)
{
    const CString query(kQuery);
    TArray<CString::SFuzzyMatchListElement> ranked;
    for (auto _ : state)
        query.FuzzyMatchList_Ordered(List(), ranked, 0.5f);
}

BENCHMARK(Pair)->Arg(12)->Arg(64)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(PairPlain)->Arg(12)->Arg(64)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(List100000)->Unit(benchmark::kMillisecond);
BENCHMARK(List100000Plain)->Unit(benchmark::kMillisecond);
BENCHMARK(Top10Of100000)->Unit(benchmark::kMillisecond);
BENCHMARK(OrderedOf100000)->Unit(benchmark::kMillisecond);

} // namespace
