// What the benchmarks of allocators share: who serves the memory, the clock, distributions, threads, the report.
//
// A process measures one allocator. The default allocator of the library stays as it is; every other one serves `malloc`
// of the whole process, because the script that starts it put the allocator's library in front of the platform's, and the
// library's hook forwards to `malloc`. That is how a program would use them: the peers have nothing between them and
// their own entry but the call through the hook.
//
//     int main(int argc, char **argv)
//     {
//         if (!Install("mimalloc"))
//             return 2;
//         CHistogram made;
//         const double seconds = RunThreads(2, [&](u32 index) { ... });
//         CReport report;
//         report.Set("end", ReadMemory());
//         report.Set("seconds", seconds);
//         report.Add("make", made);
//         report.Print();
//     }
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "qv_defs.h"

namespace Bench::Allocators
{

using namespace Quorvane;

// Whose memory the texts are made of: "ours", the library's default; "prewarmed", the same with 16 MiB got in advance, and
// a cache for each thread of `RunThreads` before it begins; "glibc", or another word: `malloc`, which must then come from
// a file with that word in its name, so that nothing is measured under a wrong name.
// Returns: false, with the reason on the standard error, when it does not.
bool Install(const std::string &allocator);

// ---- The clock -----------------------------------------------------------------------------------------------------

// The time in ticks: the processor's counter where it runs at one rate (x86-64), which waits for the work before it and
// keeps back the work behind it, else the system's clock.
#if defined(__x86_64__)
inline u64 Now()
{
    unsigned processor;
    __builtin_ia32_lfence();
    const u64 ticks = __builtin_ia32_rdtscp(&processor);
    __builtin_ia32_lfence();
    return ticks;
}
#else
u64 Now();
#endif

// What `Now` reads, for the report.
const char *ClockName();

// How long a tick takes, found by the system's clock since the process began.
double NanosecondsPerTick();

// ---- Figures -------------------------------------------------------------------------------------------------------

// A distribution of times in ticks, in a fixed room: each power of two is cut in 32, so that a value is known to 3 %.
// The largest is kept as it is. All of the room is touched when it is made; adding allocates nothing.
class CHistogram
{
public:
    CHistogram() : m_Counts(kBuckets) {}

    void Add(u64 ticks)
    {
        ++m_Counts[BucketOf(ticks)];
        m_Max = ticks > m_Max ? ticks : m_Max;
    }

    void Add(const CHistogram &other);

    u64 Max() const { return m_Max; }

    // (largest value of the bucket, count) of those that are not empty, in ascending order.
    std::vector<std::pair<u64, u64>> Buckets() const;

    // Values below 32 have a bucket each; above, the five bits behind the highest one count.
    static constexpr u32 BucketOf(u64 value)
    {
        if (value < kSteps)
            return static_cast<u32>(value);
        const u32 shift = 63 - static_cast<u32>(__builtin_clzll(value)) - kBits;
        return (shift << kBits) + static_cast<u32>(value >> shift);
    }

    // The largest value of a bucket.
    static constexpr u64 LargestOf(u32 bucket)
    {
        const u32 shift = bucket < kSteps ? 0 : (bucket >> kBits) - 1;
        const u64 step = bucket - (static_cast<u64>(shift) << kBits);
        return ((step + 1) << shift) - 1;
    }

private:
    static constexpr u32 kBits = 5;
    static constexpr u32 kSteps = 1u << kBits;
    static constexpr u32 kBuckets = (64 - kBits + 1) * kSteps;

    std::vector<u64> m_Counts;
    u64 m_Max = 0;
};

// What the process takes from the machine, in bytes; 0 where nobody tells.
struct SMemory
{
    u64 m_Peak;      // the most that was resident at any time
    u64 m_Resident;  // what is resident now
    u64 m_Anonymous; // the part of it that is no file's: heaps and stacks
};

SMemory ReadMemory();

// Lets the peak begin anew at what is resident now, where the system can.
void ResetPeak();

// ---- Work ----------------------------------------------------------------------------------------------------------

// A small generator (xorshift, Marsaglia 2003), the same for the same seed.
class CRandom
{
public:
    explicit CRandom(u64 seed) : m_State(0x9E3779B97F4A7C15ull * (seed + 1)) {}

    u64 Next()
    {
        m_State ^= m_State << 13;
        m_State ^= m_State >> 7;
        m_State ^= m_State << 17;
        return m_State;
    }

    u32 Below(u32 limit) { return static_cast<u32>((Next() >> 32) * limit >> 32); }

private:
    u64 m_State;
};

// Runs `body(0)` to `body(threads - 1)`, each on a thread of its own; none begins before all are there.
// Returns: the seconds from the start to the end of the last.
double RunThreads(u32 threads, const std::function<void(u32)> &body);

// Ends the program when something does not hold, naming it.
void Check(bool holds, const char *what);

// ---- The report ----------------------------------------------------------------------------------------------------

// Writes what was measured to the standard output, as one object in JSON: figures and words by their keys;
// "histograms", each a list of [nanoseconds, count]; "max_ns", the largest of each; and the clock.
class CReport
{
public:
    void Set(const char *key, double value);
    void Set(const char *key, const std::string &word);
    void Set(const char *key, const SMemory &memory);
    void Add(const char *name, const CHistogram &histogram);
    void Print();

private:
    void _Member(std::string &members, const char *key, const std::string &value);

    const double m_Tick = NanosecondsPerTick();
    std::string m_Members;
    std::string m_Histograms;
    std::string m_Max;
};

} // namespace Bench::Allocators
