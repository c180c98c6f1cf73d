// Windows: what mem_port.h promises. The system calls what an image lists for the ends of threads, and gives addresses by
// 64 KiB.
#pragma once

#include <cstddef>

#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include "qv_defs.h"

// What a thread key needs behind its definition, in the same namespace. The system's own functions for keys belong to
// fibers, which end when threads go on.
#define QV_INTERNAL_THREAD_KEY_CALLS(key)                                                                              \
    void NTAPI OnThread(void *, DWORD reason, void *)                                                                  \
    {                                                                                                                  \
        if (reason == DLL_THREAD_DETACH)                                                                               \
            PortThreadEnds(key);                                                                                       \
    }                                                                                                                  \
    __attribute__((section(".CRT$XLY"), used)) PIMAGE_TLS_CALLBACK g_OnThread = &OnThread

// A plain variable of each thread, read and written through PortOfThread, without asking whether it was initialised.
// g++ would emulate it, slowly, by memory of the thread library's that is gone before the thread's last code runs, and so
// does clang++ where it works with that library. So it stands where compilers that do not emulate have them: in the section
// of the image that each thread gets a copy of.
#if defined(__x86_64__) && defined(__MINGW32__)
#define QV_INTERNAL_FINDS_THREAD_LOCALS 1
#define QV_INTERNAL_PLAIN_THREAD_LOCAL __attribute__((section(".tls$QV")))
// Of the C library: where that section begins, and which of the images with one this is.
extern "C" char *_tls_start;
extern "C" ULONG _tls_index;
#else
#define QV_INTERNAL_PLAIN_THREAD_LOCAL __thread
#endif

// Bytes by chance, of the system's. Its headers declare it by another name, or not at all.
extern "C" BOOLEAN NTAPI SystemFunction036(PVOID bytes, ULONG count);

namespace Quorvane::Mem::Internal
{

// Memory that reads as zero at exactly this address, a multiple of 64 KiB.
// Returns: false where the system refuses it, or where something lies there already; two callers never both get it.
inline bool PortMapAt(ureg address, ureg bytes)
{
    void *const wanted = reinterpret_cast<void *>(address);
    return VirtualAlloc(wanted, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE) == wanted;
}

// Requires: all of what some calls of PortMapAt gave.
inline void PortUnmap(ureg address, ureg bytes)
{
    // The system takes back what it gave at once, and nothing else.
    const ureg end = address + bytes;
    MEMORY_BASIC_INFORMATION pages;
    while (address < end && VirtualQuery(reinterpret_cast<void *>(address), &pages, sizeof(pages)) != 0)
    {
        if (pages.State != MEM_FREE)
            VirtualFree(pages.AllocationBase, 0, MEM_RELEASE);
        address = reinterpret_cast<ureg>(pages.BaseAddress) + pages.RegionSize;
    }
}

// Makes pages that are mapped ones that nobody can read or write. Where the system refuses, they stay as they are.
inline void PortForbid(ureg address, ureg bytes)
{
    DWORD before = 0;
    static_cast<void>(VirtualProtect(reinterpret_cast<void *>(address), bytes, PAGE_NOACCESS, &before));
}

inline ureg PortPageBytes()
{
    SYSTEM_INFO system = {};
    GetSystemInfo(&system);
    return system.dwPageSize;
}

// Lets the system take the memory behind usable addresses; they stay usable, and their contents are lost.
inline void PortDiscard(void *begin, ureg bytes)
{
    // They stay counted among what the process may use: to get them back later could be refused.
    static_cast<void>(VirtualAlloc(begin, bytes, MEM_RESET, PAGE_READWRITE));
}

// Makes the system leave their memory to these addresses. Returns: false where it does not allow that.
inline bool PortLockInMemory(const void *begin, ureg bytes)
{
    return VirtualLock(const_cast<void *>(begin), bytes) != 0;
}

// Whether the page that begins at an address can be read; false where the system cannot tell.
inline bool PortIsReadable(ureg page)
{
    constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                                PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    MEMORY_BASIC_INFORMATION pages;
    return VirtualQuery(reinterpret_cast<void *>(page), &pages, sizeof(pages)) != 0 && pages.State == MEM_COMMIT &&
           (pages.Protect & kReadable) != 0 && (pages.Protect & PAGE_GUARD) == 0;
}

// A number by chance, the same for everybody in this process until it ends.
inline u64 PortProcessSeed()
{
    // When it began, to a ten millionth of a second, and where the system placed its program.
    FILETIME began = {};
    FILETIME others[3];
    static_cast<void>(GetProcessTimes(GetCurrentProcess(), &began, &others[0], &others[1], &others[2]));
    const u64 time = static_cast<u64>(began.dwHighDateTime) << 32 | began.dwLowDateTime;
    const u64 place = reinterpret_cast<ureg>(GetModuleHandleW(nullptr));
    constexpr u64 kMixes = 0x9E3779B97F4A7C15ull;
    const u64 numbers = time ^ place << 16 ^ static_cast<u64>(GetCurrentProcessId()) << 40;
    const u64 seed = Quorvane::Internal::WrappingProduct(numbers, kMixes);
    return Quorvane::Internal::WrappingProduct(seed ^ seed >> 32, kMixes) >> 32;
}

// Two words by chance, which nobody else can tell. Neither waits nor allocates.
inline void PortFillByChance(u64 (&outWords)[2])
{
    u64 given[2] = {0, 0};
    static_cast<void>(SystemFunction036(given, sizeof(given)));
    // And what differs from process to process anyway, should that be all.
    LARGE_INTEGER ticks = {};
    static_cast<void>(QueryPerformanceCounter(&ticks));
    outWords[0] = given[0] ^ PortProcessSeed() << 32 ^ reinterpret_cast<ureg>(&given);
    outWords[1] =
        given[1] ^ Quorvane::Internal::WrappingProduct<u64>(static_cast<u64>(ticks.QuadPart), 0x9E3779B97F4A7C15ull);
}

inline u32 PortProcessId()
{
    return GetCurrentProcessId();
}

// Lets other threads run, those of lower priority too, after `rounds` times of asking for something in vain.
inline void PortBackOff(u32 rounds)
{
    // The shortest pause may take 16 milliseconds, so it is rare. Without it, threads of lower priority may never run.
    constexpr u32 kYieldsForEachPause = 63;
    if (rounds % (kYieldsForEachPause + 1) == kYieldsForEachPause)
        Sleep(1);
    else
        SwitchToThread();
}

// A value of each thread, with which a function is called when a thread ends that has set one. Fibers have none of their
// own: they come and go, and what they use is their thread's.
struct PortThreadKey
{
    DWORD m_Index;
    void (*m_AtEnd)(void *);
};

inline bool PortMakeThreadKey(PortThreadKey &outKey, void (*atEnd)(void *))
{
    const DWORD index = TlsAlloc();
    if (index == TLS_OUT_OF_INDEXES)
        return false;
    outKey.m_Index = index;
    __atomic_store_n(&outKey.m_AtEnd, atEnd, __ATOMIC_RELEASE);
    return true;
}

inline bool PortSetThreadValue(const PortThreadKey &key, const void *value)
{
    return TlsSetValue(key.m_Index, const_cast<void *>(value)) != 0;
}

// Threads that end from now on do not call.
inline void PortDropThreadKey(PortThreadKey &key)
{
    __atomic_store_n(&key.m_AtEnd, nullptr, __ATOMIC_RELEASE);
    TlsFree(key.m_Index);
}

// The calling thread ends.
inline void PortThreadEnds(const PortThreadKey &key)
{
    void (*const atEnd)(void *) = __atomic_load_n(&key.m_AtEnd, __ATOMIC_ACQUIRE);
    void *const value = atEnd != nullptr ? TlsGetValue(key.m_Index) : nullptr;
    if (value == nullptr)
        return;
    TlsSetValue(key.m_Index, nullptr);
    atEnd(value);
}

inline bool PortRunsUnderValgrind()
{
    return false;
}

// The calling thread's copy of a QV_INTERNAL_PLAIN_THREAD_LOCAL variable.
template <typename TValue>
QV_INTERNAL_ALWAYS_INLINE inline TValue &PortOfThread(TValue &variable)
{
#if defined(QV_INTERNAL_FINDS_THREAD_LOCALS)
    // The system's record of the thread has the addresses of its copies, one for each image, at this place.
    char *const *images = nullptr;
    __asm__("movq %%gs:0x58, %0" : "=r"(images));
    const ureg offset = reinterpret_cast<ureg>(&variable) - reinterpret_cast<ureg>(&_tls_start);
    return *reinterpret_cast<TValue *>(images[_tls_index] + offset);
#else
    return variable;
#endif
}

} // namespace Quorvane::Mem::Internal
