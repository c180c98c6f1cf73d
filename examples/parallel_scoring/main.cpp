// parallel_scoring: one list of names, scored against a query by several threads, with the results of one thread.
//
//     parallel_scoring [query] [threads]
//
// Scoring only reads: the query and the names may be shared by all threads as they are. A strided view cuts the list
// without copying a name, whatever its elements lie in (here records of another size); the view of the weights is cut
// at the same places. Each thread then writes weights that no other thread looks at, so there is nothing to lock, and
// since every weight depends on its two texts alone, the results are the same to the last bit however the list is cut.
#include "kr_containers_array.h"
#include "kr_memoryviews.h"
#include "kr_string.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

using namespace Quorvane;

namespace
{

constexpr u32 kRecordCount = 100000;
constexpr u32 kMaxThreads = 64;

// What the names are part of. Only its size matters to the views.
struct SRecord
{
    CString m_Name;
    u64 m_Bytes = 0;
};

typedef TStridedMemoryView<const CString> CNames;
typedef TMemoryView<float> CWeights;

// Names of several lengths, the same in every run.
std::vector<SRecord> MakeRecords()
{
    static const char *const kWords[] = {"stone", "wall", "hull", "engine", "sky", "water", "panel", "terrain"};
    constexpr u32 kWordCount = sizeof(kWords) / sizeof(kWords[0]);
    std::vector<SRecord> records(kRecordCount);
    for (u32 i = 0; i < kRecordCount; ++i)
    {
        const char *first = kWords[i % kWordCount];
        const char *second = kWords[i / kWordCount % kWordCount];
        records[i].m_Name = CString::Format("%s_%s_%u.mesh", first, second, i % 1000);
        records[i].m_Bytes = i;
    }
    return records;
}

// The names alone: one in every record, so each lies sizeof(SRecord) behind the one before.
CNames NamesOf(const std::vector<SRecord> &records)
{
    return CNames(&records.front().m_Name, static_cast<u32>(records.size()), sizeof(SRecord));
}

// One slice of the list for each thread; the first ones take one name more where the count does not divide.
void ScoreInParallel(const CString &query, const CNames &names, const CWeights &weights, u32 threadCount)
{
    std::vector<std::thread> threads;
    u32 start = 0;
    for (u32 i = 0; i < threadCount; ++i)
    {
        const u32 count = names.Count() / threadCount + (i < names.Count() % threadCount ? 1 : 0);
        const CNames nameSlice = names.Slice(start, count);
        const CWeights weightSlice = weights.Slice(start, count);
        // The thread works on the caller's handle: a look is free, where a copy would count a reference.
        threads.emplace_back([&query, nameSlice, weightSlice] { query.FuzzyMatchList(nameSlice, weightSlice); });
        start += count;
    }
    for (std::thread &thread : threads)
        thread.join();
}

u32 IndexOfBest(const TArray<float> &weights)
{
    u32 best = 0;
    for (u32 i = 1; i < weights.Count(); ++i)
        if (weights[i] > weights[best])
            best = i;
    return best;
}

// To the last bit, not to within a rounding error.
bool AreIdentical(const TArray<float> &a, const TArray<float> &b)
{
    return a.Count() == b.Count() && std::memcmp(a.Data(), b.Data(), a.Count() * sizeof(float)) == 0;
}

template <typename Function>
double Milliseconds(Function &&function)
{
    const auto start = std::chrono::steady_clock::now();
    function();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// From 1 to `kMaxThreads`; 0 for anything else.
u32 ReadThreadCount(const char *text)
{
    char *end = nullptr;
    const unsigned long count = std::strtoul(text, &end, 10);
    return *end == '\0' && count <= kMaxThreads ? static_cast<u32>(count) : 0;
}

} // namespace

int main(int argc, char **argv)
{
    const CString query(argc > 1 ? argv[1] : "stoen_wal_512.mesh");
    const u32 threadCount = argc > 2 ? ReadThreadCount(argv[2]) : 4;
    if (argc > 3 || threadCount == 0 || query.Empty())
    {
        std::fprintf(stderr, "usage: parallel_scoring [query] [threads, 1 to %u]\n", kMaxThreads);
        return 2;
    }

    const std::vector<SRecord> records = MakeRecords();
    const CNames names = NamesOf(records);
    TArray<float> alone;
    TArray<float> together;
    if (!alone.Resize(names.Count()) || !together.Resize(names.Count()))
        return 1;

    const double aloneTime = Milliseconds([&] { query.FuzzyMatchList(names, alone); });
    const double togetherTime = Milliseconds([&] { ScoreInParallel(query, names, together, threadCount); });

    const u32 best = IndexOfBest(together);
    const bool identical = AreIdentical(alone, together);
    std::printf("%u names, best %s (%.3f)\n", names.Count(), names[best].CStr(), static_cast<double>(together[best]));
    std::printf("1 thread: %.2f ms, %u threads: %.2f ms\n", aloneTime, threadCount, togetherTime);
    std::printf("same weights: %s\n", identical ? "yes" : "no");
    return identical ? 0 : 1;
}
