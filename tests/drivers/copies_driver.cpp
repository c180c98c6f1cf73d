// Copies and drops handles of shared texts on several threads, which also hand them to each other, and now and then write
// to one of their own: a million times in the tests, or as often as the first argument says. Prints how often, and how long
// that took.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "driver_checks.h"
#include "kr_string.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr u32 kThreads = 4;
constexpr u32 kTexts = 8;
constexpr u32 kLength = 24;
constexpr u32 kHeld = 32; // by each thread
constexpr u32 kPlaces = 16;

// Where a thread leaves a handle, and takes what another one has left.
struct SPlace
{
    std::atomic<bool> m_IsTaken{false};
    CString m_Handle;
};

struct SCounts
{
    u64 m_Copies = 0;
    u64 m_Releases = 0;
    bool m_IsRight = true;
};

SPlace g_Places[kPlaces];

// Of one letter, which tells it from the others; every other one may grow.
PStringContainer MakeText(u32 number)
{
    char text[kLength + 1] = {};
    std::memset(text, static_cast<char>('a' + number), kLength);
    return number % 2 == 0 ? CStringContainer::New(text) : CStringContainer::NewResizable(text);
}

// Whether all characters are the letter of the first, behind `from`.
bool IsWhole(const CString &string, u32 from)
{
    bool isWhole = string.Length() == kLength;
    for (u32 i = from; isWhole && i < kLength; ++i)
        isWhole = string[i] == string[kLength - 1];
    return isWhole && string[kLength - 1] >= 'a' && string[kLength - 1] < static_cast<char>('a' + kTexts);
}

void ExchangeWith(SPlace &place, CString &handle)
{
    if (place.m_IsTaken.exchange(true, std::memory_order_acquire))
        return;
    swap(place.m_Handle, handle);
    place.m_IsTaken.store(false, std::memory_order_release);
}

// The copy is the thread's own then, and nobody else sees what is written.
bool WritesAlone(CString copy, const CString &original)
{
    char *const data = copy.RawDataForWriting();
    if (data == nullptr)
        return false;
    data[0] = '#';
    return IsWhole(copy, 1) && IsWhole(original, 0);
}

// Each step copies a handle and drops the one that was copied so many steps before.
void CopyAndRelease(const std::vector<CString> &texts, u32 thread, u64 steps, SCounts &outCounts)
{
    std::vector<CString> held(kHeld);
    CRandom random(thread);
    SCounts counts;
    for (u64 step = 0; step < steps; ++step)
    {
        const u32 chance = random.Next(1u << 16);
        CString &place = held[step % kHeld];
        counts.m_Releases += place.Data() != nullptr;
        place = texts[chance % kTexts];
        ++counts.m_Copies;
        if (chance % 16 == 3)
            ExchangeWith(g_Places[chance / 16 % kPlaces], place);
        if (chance % 64 == 5)
            counts.m_IsRight = counts.m_IsRight && (place.Data() == nullptr || IsWhole(place, 0));
        if (chance % 256 == 7 && place.Data() != nullptr)
            counts.m_IsRight = counts.m_IsRight && WritesAlone(place, place);
    }
    for (CString &handle : held)
    {
        counts.m_Releases += handle.Data() != nullptr;
        handle = CString();
    }
    outCounts = counts;
}

} // namespace

int main(int argc, char **argv)
{
    const u64 count = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1000000;
    Assert::SetHandler(&RecordReport);
    std::vector<PStringContainer> containers;
    for (u32 number = 0; number < kTexts; ++number)
        containers.push_back(MakeText(number));

    const auto begin = std::chrono::steady_clock::now();
    SCounts counts[kThreads];
    {
        // Each thread has handles of its own to copy from.
        std::vector<std::vector<CString>> texts(kThreads);
        std::vector<std::thread> threads;
        for (u32 thread = 0; thread < kThreads; ++thread)
        {
            for (const PStringContainer &container : containers)
                texts[thread].emplace_back(container);
            threads.emplace_back(&CopyAndRelease, std::cref(texts[thread]), thread, count / kThreads,
                                 std::ref(counts[thread]));
        }
        for (std::thread &thread : threads)
            thread.join();
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();

    u64 copies = 0;
    u64 releases = 0;
    for (const SCounts &ofThread : counts)
    {
        QV_TEST_CHECK(ofThread.m_IsRight);
        copies += ofThread.m_Copies;
        releases += ofThread.m_Releases;
    }
    for (SPlace &place : g_Places)
    {
        releases += place.m_Handle.Data() != nullptr;
        place.m_Handle = CString();
    }
    QV_TEST_CHECK(copies == count / kThreads * kThreads && releases == copies);
    for (const PStringContainer &container : containers)
        QV_TEST_CHECK(container->RefCount() == 1);
    QV_TEST_CHECK(TakeReports() == 0);
    std::printf("%llu copies and %llu releases by %u threads in %.2f s\n", copies, releases, kThreads, seconds);
    return ExitCode();
}
