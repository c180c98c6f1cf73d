#include "allocators/harness.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "kr_mem.h"

namespace Bench::Allocators
{

namespace
{

using Clock = std::chrono::steady_clock;

// Where both clocks stood when the process began.
const Clock::time_point kBegin = Clock::now();
const u64 kBeginTicks = Now();

// What "prewarmed" gets in advance: more than any program here has in blocks of up to 2 KiB.
constexpr u64 kPrewarmedBytes = 16ull << 20;
bool prewarms = false;

// What malloc aligns blocks to.
constexpr u32 kAlignment = 16;

void *Alloc(u64 size, u32 alignment, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *)
{
    return alignment <= kAlignment ? std::malloc(size)
                                   : std::aligned_alloc(alignment, (size + alignment - 1) & ~(alignment - 1ull));
}

void *Realloc(void *block, u64 newSize, u32 alignment, Mem::EAllocType, const char *, const char *, u32, const char *)
{
    Check(alignment <= kAlignment, "malloc does not resize blocks of a larger alignment");
    return std::realloc(block, newSize);
}

void Free(void *block, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *)
{
    std::free(block);
}

// The file that a function comes from.
std::string FileOf(const void *function)
{
    Dl_info info;
    return function != nullptr && dladdr(function, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

bool ComesFrom(const std::string &file, const std::string &allocator)
{
    if (allocator == "glibc")
        return file.find("/libc.") != std::string::npos || file.find("/libc-") != std::string::npos;
    return file.find(allocator) != std::string::npos;
}

std::string Number(double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%.10g", value);
    return text;
}

// A file of /proc about this process.
class CProcFile
{
public:
    // Nothing is allocated, since memory is what these files are read for.
    explicit CProcFile(const char *path)
    {
        const int file = open(path, O_RDONLY | O_CLOEXEC);
        if (file < 0)
            return;
        const ssize_t length = read(file, m_Text, sizeof(m_Text) - 1);
        close(file);
        m_Text[length > 0 ? length : 0] = 0;
    }

    // The figure behind `key`, which is in KiB, in bytes.
    u64 Bytes(const char *key) const
    {
        const char *const found = std::strstr(m_Text, key);
        return found == nullptr ? 0 : 1024 * std::strtoull(found + std::strlen(key), nullptr, 10);
    }

private:
    char m_Text[8192] = {};
};

} // namespace

bool Install(const std::string &allocator)
{
    prewarms = allocator == "prewarmed";
    const bool isOurs = prewarms || allocator == "ours";
    // Ours asks the platform for large blocks, and other texts lie there altogether: its malloc is the platform's.
    const std::string wanted = isOurs ? "glibc" : allocator;
    for (const char *const name : {"malloc", "realloc", "free"})
    {
        const std::string file = FileOf(dlsym(RTLD_DEFAULT, name));
        if (!ComesFrom(file, wanted))
        {
            std::fprintf(stderr, "%s is not that of %s, but of %s\n", name, wanted.c_str(), file.c_str());
            return false;
        }
    }
    if (!isOurs)
        Mem::SetAllocator({Alloc, Realloc, Free});
    return !prewarms || Mem::Prewarm(kPrewarmedBytes);
}

// ---- The clock -----------------------------------------------------------------------------------------------------

#if !defined(__x86_64__)
u64 Now()
{
    return static_cast<u64>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count());
}
#endif

const char *ClockName()
{
#if defined(__x86_64__)
    return "rdtscp between two lfence";
#else
    return "std::chrono::steady_clock";
#endif
}

double NanosecondsPerTick()
{
    using std::chrono::milliseconds;
    while (Clock::now() - kBegin < milliseconds(20))
        std::this_thread::sleep_for(milliseconds(1));
    const u64 ticks = Now();
    const std::chrono::duration<double, std::nano> passed = Clock::now() - kBegin;
    return passed.count() / static_cast<double>(ticks - kBeginTicks);
}

// ---- Figures -------------------------------------------------------------------------------------------------------

// Every value lies in its bucket, and the next bucket begins behind it.
constexpr bool LiesInItsBucket(u64 value)
{
    const u32 bucket = CHistogram::BucketOf(value);
    const u64 largest = CHistogram::LargestOf(bucket);
    return value <= largest && CHistogram::BucketOf(largest) == bucket &&
           (largest + 1 == 0 || CHistogram::BucketOf(largest + 1) == bucket + 1);
}

static_assert(LiesInItsBucket(0) && LiesInItsBucket(31) && LiesInItsBucket(32) && LiesInItsBucket(63));
static_assert(LiesInItsBucket(64) && LiesInItsBucket(65) && LiesInItsBucket(1000003) && LiesInItsBucket(~0ull));
static_assert(CHistogram::LargestOf(CHistogram::BucketOf(1000)) == 1007);

void CHistogram::Add(const CHistogram &other)
{
    for (u32 i = 0; i < kBuckets; ++i)
        m_Counts[i] += other.m_Counts[i];
    m_Max = other.m_Max > m_Max ? other.m_Max : m_Max;
}

std::vector<std::pair<u64, u64>> CHistogram::Buckets() const
{
    std::vector<std::pair<u64, u64>> buckets;
    for (u32 i = 0; i < kBuckets; ++i)
        if (m_Counts[i] != 0)
            buckets.emplace_back(LargestOf(i), m_Counts[i]);
    return buckets;
}

SMemory ReadMemory()
{
    const CProcFile status("/proc/self/status");
    // Exact, while the counters of the other file lag behind by some pages for each processor.
    const CProcFile maps("/proc/self/smaps_rollup");
    const u64 resident = maps.Bytes("\nRss:");
    if (resident != 0)
        return {status.Bytes("\nVmHWM:"), resident, maps.Bytes("\nAnonymous:")};
    return {status.Bytes("\nVmHWM:"), status.Bytes("\nVmRSS:"), status.Bytes("\nRssAnon:")};
}

void ResetPeak()
{
    const int file = open("/proc/self/clear_refs", O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return;
    const ssize_t written = write(file, "5", 1);
    close(file);
    Check(written == 1, "the peak of memory cannot be reset");
}

// ---- Work ----------------------------------------------------------------------------------------------------------

double RunThreads(u32 threads, const std::function<void(u32)> &body)
{
    std::atomic<u32> waiting{threads};
    std::atomic<bool> begun{false};
    std::vector<std::thread> running;
    running.reserve(threads);
    for (u32 index = 0; index < threads; ++index)
        running.emplace_back(
            [&, index]
            {
                Check(!prewarms || Mem::Prewarm(0), "the thread cannot get its cache");
                --waiting;
                while (!begun)
                    std::this_thread::yield();
                body(index);
            });
    while (waiting != 0)
        std::this_thread::yield();
    const Clock::time_point begin = Clock::now();
    begun = true;
    for (std::thread &thread : running)
        thread.join();
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

void Check(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

// ---- The report ----------------------------------------------------------------------------------------------------

void CReport::_Member(std::string &members, const char *key, const std::string &value)
{
    members += members.empty() ? "\"" : ", \"";
    members += key;
    members += "\": ";
    members += value;
}

void CReport::Set(const char *key, double value)
{
    _Member(m_Members, key, Number(value));
}

void CReport::Set(const char *key, const std::string &word)
{
    _Member(m_Members, key, '"' + word + '"');
}

void CReport::Set(const char *key, const SMemory &memory)
{
    std::string members;
    _Member(members, "peak", std::to_string(memory.m_Peak));
    _Member(members, "resident", std::to_string(memory.m_Resident));
    _Member(members, "anonymous", std::to_string(memory.m_Anonymous));
    _Member(m_Members, key, '{' + members + '}');
}

void CReport::Add(const char *name, const CHistogram &histogram)
{
    std::string pairs;
    for (const auto &[value, count] : histogram.Buckets())
        pairs += (pairs.empty() ? "[" : ", [") + Number(static_cast<double>(value) * m_Tick) + ", " +
                 std::to_string(count) + ']';
    _Member(m_Histograms, name, '[' + pairs + ']');
    _Member(m_Max, name, Number(static_cast<double>(histogram.Max()) * m_Tick));
}

void CReport::Print()
{
    Set("clock", std::string(ClockName()));
    std::printf("{%s, \"histograms\": {%s}, \"max_ns\": {%s}}\n", m_Members.c_str(), m_Histograms.c_str(),
                m_Max.c_str());
}

} // namespace Bench::Allocators
