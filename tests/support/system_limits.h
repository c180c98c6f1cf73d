// What the system counts of this process, and the limits that it sets to it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kr_mem.h"
#include "test_port.h"

#if defined(_WIN32)
#include <psapi.h>
#else
#include <sys/resource.h>
#endif

namespace QuorvaneTest
{

// What a process answers that cannot be tried so.
constexpr int kNoLimit = 77;

#if defined(_WIN32)

inline PROCESS_MEMORY_COUNTERS MemoryCounters()
{
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof(counters);
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters;
}

// The writable memory of this process, as the system counts it against its limit; 0 when it does not tell.
inline Quorvane::u64 WritableBytes()
{
    return MemoryCounters().PagefileUsage;
}

// What lies in physical memory of it; 0 when the system does not tell.
inline Quorvane::u64 ResidentBytes()
{
    return MemoryCounters().WorkingSetSize;
}

// Addresses themselves are not counted.
inline Quorvane::u64 AddressBytes()
{
    return WritableBytes();
}

// Limits the writable memory of this process for good. Returns: whether the system keeps to it.
inline bool LimitWritable(Quorvane::u64 most)
{
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_PROCESS_MEMORY;
    limits.ProcessMemoryLimit = static_cast<SIZE_T>(most);
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    if (job == nullptr || !SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof(limits)) ||
        !AssignProcessToJobObject(job, GetCurrentProcess()))
        return false;
    // Wine accepts it and forgets it.
    void *const tooMuch = VirtualAlloc(nullptr, limits.ProcessMemoryLimit, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (tooMuch != nullptr)
        VirtualFree(tooMuch, 0, MEM_RELEASE);
    return tooMuch == nullptr;
}

inline bool LimitAddresses(Quorvane::u64 most)
{
    return LimitWritable(most);
}

// Takes from this process what it may lock into memory. Returns: whether the system keeps to it.
inline bool ForbidLocking()
{
    constexpr size_t kMuch = 16u << 20;
    void *const pages = MapPages(kMuch, PageAccess_ReadWrite);
    const bool mayLock = pages == nullptr || VirtualLock(pages, kMuch) != 0;
    if (pages != nullptr)
        UnmapPages(pages, kMuch);
    // By itself, a process may lock less than it may keep in memory at least: less than a megabyte.
    return !mayLock;
}

// Page faults that a piece of work takes, those of other threads of the process with it.
template <typename Work>
Quorvane::u64 PageFaultsOf(const Work &work)
{
    const Quorvane::u64 before = MemoryCounters().PageFaultCount;
    work();
    return MemoryCounters().PageFaultCount - before;
}

// Whether the page of an address lies in physical memory.
inline bool IsInMemory(const void *address)
{
    PSAPI_WORKING_SET_EX_INFORMATION page = {};
    page.VirtualAddress = const_cast<void *>(address);
    return K32QueryWorkingSetEx(GetCurrentProcess(), &page, sizeof(page)) != 0 && page.VirtualAttributes.Valid != 0;
}

#else

// Limits a resource of this process for good. Returns: whether the system keeps to it. Emulators that run a program of
// another machine accept limits of memory and forget them, since they need memory themselves.
inline bool LimitProcess(decltype(RLIMIT_AS) resource, Quorvane::u64 most)
{
    const rlimit wanted = {static_cast<rlim_t>(most), static_cast<rlim_t>(most)};
    rlimit kept = {};
    return setrlimit(resource, &wanted) == 0 && getrlimit(resource, &kept) == 0 && kept.rlim_cur == wanted.rlim_cur;
}

// A figure of this process in bytes, by its name in the system's report; 0 when there is none.
inline Quorvane::u64 StatusBytes(const char *name)
{
    std::FILE *const file = std::fopen("/proc/self/status", "r");
    unsigned long long kilobytes = 0;
    char line[256];
    while (file != nullptr && std::fgets(line, sizeof(line), file) != nullptr)
        if (std::strncmp(line, name, std::strlen(name)) == 0)
            kilobytes = std::strtoull(line + std::strlen(name), nullptr, 10);
    if (file != nullptr)
        std::fclose(file);
    return kilobytes * 1024;
}

// The writable memory of this process, as the system counts it against its limit; 0 when it does not tell.
inline Quorvane::u64 WritableBytes()
{
    return StatusBytes("VmData:");
}

// What lies in physical memory of it; 0 when the system does not tell.
inline Quorvane::u64 ResidentBytes()
{
    return StatusBytes("VmRSS:");
}

inline Quorvane::u64 AddressBytes()
{
    return StatusBytes("VmSize:");
}

inline bool LimitWritable(Quorvane::u64 most)
{
    return LimitProcess(RLIMIT_DATA, most);
}

inline bool LimitAddresses(Quorvane::u64 most)
{
    return LimitProcess(RLIMIT_AS, most);
}

// Takes from this process what it may lock into memory. Returns: whether the system keeps to it.
inline bool ForbidLocking()
{
    const rlimit none = {0, 0};
    // Whoever may do everything may lock memory, too.
    return setrlimit(RLIMIT_MEMLOCK, &none) == 0 && setuid(65534) == 0;
}

// Page faults that a piece of work takes on this thread.
template <typename Work>
Quorvane::u64 PageFaultsOf(const Work &work)
{
    const auto faults = []
    {
        rusage usage = {};
        getrusage(RUSAGE_THREAD, &usage);
        return static_cast<Quorvane::u64>(usage.ru_minflt + usage.ru_majflt);
    };
    // The code itself is not in memory before it has run.
    faults();
    const Quorvane::u64 before = faults();
    work();
    return faults() - before;
}

// Whether the page of an address lies in physical memory.
inline bool IsInMemory(const void *address)
{
    const size_t page = SystemPageBytes();
    unsigned char state = 0;
    const size_t within = reinterpret_cast<size_t>(address) % page;
    char *const begin = const_cast<char *>(static_cast<const char *>(address)) - within;
    return mincore(begin, page, &state) == 0 && (state & 1) != 0;
}

#endif

} // namespace QuorvaneTest
