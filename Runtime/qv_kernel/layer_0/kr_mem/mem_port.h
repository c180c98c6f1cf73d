// What the default allocator needs of the platform: blocks of any power-of-two alignment that one function frees, memory
// at addresses of its own choice, a call at the end of a thread, and to know a copy of a process from the process.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#if defined(_WIN32)
#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#if !defined(__unix__) && !defined(__APPLE__)
#error "Quorvane is written for Windows and for systems like POSIX"
#endif
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>
#endif

#if defined(__linux__)
#include <malloc.h>
#include <sys/auxv.h>
#include <sys/syscall.h>
#endif

#include "qv_defs.h"

#if defined(__ELF__)
// Each exists in programs of that sanitizer alone.
extern "C" __attribute__((weak)) void __asan_init();
extern "C" __attribute__((weak)) void __tsan_init();
extern "C" __attribute__((weak)) void __msan_init();
extern "C" __attribute__((weak)) void __lsan_init();
#endif

// A function that runs at the end of the program, or of the plugin that it is part of, behind the destructors of static
// objects. Newer versions of clang warn of it as of any code that is registered for the end.
//     QV_INTERNAL_AT_END_BEGIN void Leave() { ... } QV_INTERNAL_AT_END_END
#if defined(__clang__)
#define QV_INTERNAL_AT_END_BEGIN                                                                                       \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Wglobal-constructors\"")                     \
        __attribute__((destructor(101)))
#define QV_INTERNAL_AT_END_END _Pragma("clang diagnostic pop")
#else
#define QV_INTERNAL_AT_END_BEGIN __attribute__((destructor(101)))
#define QV_INTERNAL_AT_END_END
#endif

// What a thread key needs behind its definition, in the same namespace. On Windows the system calls what an image lists for
// the ends of threads; functions of its own for keys belong to fibers, which end when threads go on.
#if defined(_WIN32)
#define QV_INTERNAL_THREAD_KEY_CALLS(key)                                                                              \
    void NTAPI OnThread(void *, DWORD reason, void *)                                                                  \
    {                                                                                                                  \
        if (reason == DLL_THREAD_DETACH)                                                                               \
            PortThreadEnds(key);                                                                                       \
    }                                                                                                                  \
    __attribute__((section(".CRT$XLY"), used)) PIMAGE_TLS_CALLBACK g_OnThread = &OnThread
#else
#define QV_INTERNAL_THREAD_KEY_CALLS(key) static_assert(true, "")
#endif

// A plain variable of each thread, read and written through PortOfThread, without asking whether it was initialised. On
// Windows, g++ would emulate it, slowly, by memory of the thread library's that is gone before the thread's last code runs.
// So it stands where compilers that do not emulate have them: in the section of the image that each thread gets a copy of.
#if defined(_WIN32) && defined(__x86_64__) && !defined(__clang__)
#define QV_INTERNAL_PLAIN_THREAD_LOCAL __attribute__((section(".tls$QV")))
// Of the C library: where that section begins, and which of the images with one this is.
extern "C" char *_tls_start;
extern "C" ULONG _tls_index;
#else
#define QV_INTERNAL_PLAIN_THREAD_LOCAL __thread
#endif

// At a fixed distance from the thread's own address, in shared libraries too. This C library keeps room for such
// variables of libraries that are loaded later.
#if defined(__GLIBC__)
#define QV_INTERNAL_INITIAL_EXEC __attribute__((tls_model("initial-exec")))
#else
#define QV_INTERNAL_INITIAL_EXEC
#endif

namespace Quorvane::Mem::Internal
{

// The alignment that the platform gives every block.
constexpr u32 kPlatformAlignment = alignof(std::max_align_t);

// True for sizes that the platform can be asked for at all.
constexpr bool PortSizeFits(u64 size)
{
    return size <= static_cast<u64>(PTRDIFF_MAX);
}

// By the platform, below.
inline void *PortAlloc(u64 size, u32 alignment);
inline void PortFree(void *block);
inline u64 PortUsableSize(void *block);

// The platform's own reallocation keeps no alignment above its own, so those blocks are moved here.
inline void *PortReallocOverAligned(void *block, u64 newSize, u32 alignment)
{
    void *moved = PortAlloc(newSize, alignment);
    if (moved == nullptr)
        return nullptr;
    std::memcpy(moved, block, static_cast<std::size_t>(QVMin(PortUsableSize(block), newSize)));
    PortFree(block);
    return moved;
}

// ---- Blocks ------------------------------------------------------------------------------------------------------------

#if defined(__linux__)

inline void *PortAlloc(u64 size, u32 alignment)
{
    if (!PortSizeFits(size))
        return nullptr;
    const std::size_t bytes = static_cast<std::size_t>(QVMax<u64>(size, 1));
    if (alignment <= kPlatformAlignment)
        return std::malloc(bytes);
    void *block = nullptr;
    return posix_memalign(&block, alignment, bytes) == 0 ? block : nullptr;
}

inline void PortFree(void *block)
{
    std::free(block);
}

// The bytes that may be used of a block; at least what was asked for.
inline u64 PortUsableSize(void *block)
{
    return malloc_usable_size(block);
}

// Grows in place where the platform can.
inline void *PortRealloc(void *block, u64 newSize, u32 alignment)
{
    if (block == nullptr)
        return PortAlloc(newSize, alignment);
    if (!PortSizeFits(newSize))
        return nullptr;
    if (alignment <= kPlatformAlignment)
        return std::realloc(block, static_cast<std::size_t>(QVMax<u64>(newSize, 1)));
    return PortReallocOverAligned(block, newSize, alignment);
}

#else

// Other platforms do not tell how long their blocks are, or do so by other names in other headers, and not all of them have
// one function that frees blocks of all alignments. Every block begins a little into one of the platform's; how far, and how long it is, stand in front of it.
struct SPortHead
{
    u64 m_Offset;
    u64 m_Bytes;
};

inline SPortHead &PortHeadOf(void *block)
{
    return static_cast<SPortHead *>(block)[-1];
}

inline void *PortPutHead(void *platformBlock, u64 offset, u64 bytes)
{
    void *const block = static_cast<char *>(platformBlock) + offset;
    PortHeadOf(block) = SPortHead{offset, bytes};
    return block;
}

inline void *PortAlloc(u64 size, u32 alignment)
{
    if (!PortSizeFits(size))
        return nullptr;
    const u64 aligned = QVMax<u64>(alignment, kPlatformAlignment);
    const u64 atMost = sizeof(SPortHead) + aligned - kPlatformAlignment;
    void *const platformBlock = std::malloc(static_cast<std::size_t>(size + atMost));
    if (platformBlock == nullptr)
        return nullptr;
    const u64 behindHead = reinterpret_cast<ureg>(platformBlock) + sizeof(SPortHead);
    return PortPutHead(platformBlock, sizeof(SPortHead) + (-behindHead & (aligned - 1)), size);
}

inline void PortFree(void *block)
{
    if (block != nullptr)
        std::free(static_cast<char *>(block) - PortHeadOf(block).m_Offset);
}

// The bytes that may be used of a block; at least what was asked for.
inline u64 PortUsableSize(void *block)
{
    return PortHeadOf(block).m_Bytes;
}

// Grows in place where the platform can, which moves blocks of a larger alignment to just any place.
inline void *PortRealloc(void *block, u64 newSize, u32 alignment)
{
    if (block == nullptr)
        return PortAlloc(newSize, alignment);
    if (!PortSizeFits(newSize))
        return nullptr;
    if (alignment > kPlatformAlignment || PortHeadOf(block).m_Offset != sizeof(SPortHead))
        return PortReallocOverAligned(block, newSize, alignment);
    const std::size_t bytes = static_cast<std::size_t>(newSize + sizeof(SPortHead));
    void *const platformBlock = std::realloc(&PortHeadOf(block), bytes);
    return platformBlock != nullptr ? PortPutHead(platformBlock, sizeof(SPortHead), newSize) : nullptr;
}

#endif

#if defined(_WIN32)

// ---- Windows -----------------------------------------------------------------------------------------------------------

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

// Whether the page at an address can be read; false where the system cannot tell.
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
    u64 seed = (time ^ place << 16 ^ static_cast<u64>(GetCurrentProcessId()) << 40) * 0x9E3779B97F4A7C15ull;
    seed = (seed ^ seed >> 32) * 0x9E3779B97F4A7C15ull;
    return seed >> 32;
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

#else

// ---- POSIX -------------------------------------------------------------------------------------------------------------

// Memory that reads as zero at exactly this address, a multiple of the page's size.
// Returns: false where the system refuses it, or where something lies there already; two callers never both get it.
inline bool PortMapAt(ureg address, ureg bytes)
{
#if defined(MAP_FIXED_NOREPLACE)
    constexpr int kPlacement = MAP_FIXED_NOREPLACE;
#else
    constexpr int kPlacement = 0;
#endif
    void *const wanted = reinterpret_cast<void *>(address);
    void *const mapped = mmap(wanted, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | kPlacement, -1, 0);
    // A system that does not know the flag takes the address for a hint.
    if (mapped == wanted || mapped == MAP_FAILED)
        return mapped == wanted;
    munmap(mapped, bytes);
    return false;
}

inline void PortUnmap(ureg address, ureg bytes)
{
    munmap(reinterpret_cast<void *>(address), bytes);
}

// Lets the system take the memory behind usable addresses; they stay usable, and their contents are lost.
inline void PortDiscard(void *begin, ureg bytes)
{
    // A refusal, of memory that is locked for instance, costs nothing but that memory.
    static_cast<void>(madvise(begin, bytes, MADV_DONTNEED));
}

// Makes the system leave their memory to these addresses. Returns: false where it does not allow that.
inline bool PortLockInMemory(const void *begin, ureg bytes)
{
    return mlock(begin, bytes) == 0;
}

// Whether the page at an address can be read; false where the system cannot tell.
inline bool PortIsReadable(ureg page)
{
#if defined(__linux__) && defined(SYS_rt_sigprocmask)
    // A page that is not mapped cannot be written back to a file. One that is may still be protected: then the system
    // cannot copy a set of signals from it, which it does before it finds that it knows nothing to do with the set.
    constexpr int kNothingKnown = ~0;
    constexpr std::size_t kSetBytes = 8;
    const int before = errno;
    const bool isMapped = msync(reinterpret_cast<void *>(page), 1, MS_ASYNC) == 0;
    errno = 0;
    if (isMapped)
        static_cast<void>(syscall(SYS_rt_sigprocmask, kNothingKnown, page, nullptr, kSetBytes));
    const bool isReadable = errno == EINVAL;
    errno = before;
    return isReadable;
#else
    // No system writes from memory that its caller cannot read.
    const int before = errno;
    int ends[2];
    bool isReadable = false;
    if (pipe(ends) == 0)
    {
        isReadable = write(ends[1], reinterpret_cast<const void *>(page), 1) == 1;
        close(ends[0]);
        close(ends[1]);
    }
    errno = before;
    return isReadable;
#endif
}

// A number by chance, the same for everybody in this process until it ends.
inline u64 PortProcessSeed()
{
    u64 words[2] = {0, 0};
#if defined(__linux__)
    // Sixteen bytes by chance, which the system gives each program.
    if (const void *const bytes = reinterpret_cast<const void *>(getauxval(AT_RANDOM)))
        std::memcpy(words, bytes, sizeof(words));
#endif
    // The C library guards stacks with those bytes; what can be seen of this product tells nothing about them.
    return ((words[0] ^ 0x9E3779B97F4A7C15ull) * (words[1] | 1)) >> 32;
}

inline u32 PortProcessId()
{
    return static_cast<u32>(getpid());
}

// Lets other threads run, those of lower priority too, after `rounds` times of asking for something in vain.
inline void PortBackOff(u32 rounds)
{
    constexpr u32 kYields = 16;
    constexpr long kNanoseconds = 20000;
    if (rounds < kYields)
    {
        sched_yield();
        return;
    }
    const timespec pause = {0, kNanoseconds};
    nanosleep(&pause, nullptr);
}

// A value of each thread, with which `atEnd` is called when a thread ends that has set one.
using PortThreadKey = pthread_key_t;

inline bool PortMakeThreadKey(PortThreadKey &outKey, void (*atEnd)(void *))
{
    return pthread_key_create(&outKey, atEnd) == 0;
}

inline bool PortSetThreadValue(PortThreadKey key, const void *value)
{
    return pthread_setspecific(key, value) == 0;
}

// Threads that end from now on do not call.
inline void PortDropThreadKey(PortThreadKey key)
{
    pthread_key_delete(key);
}

inline bool PortRunsUnderValgrind()
{
    const char *const preloaded = std::getenv("LD_PRELOAD");
    return preloaded != nullptr && std::strstr(preloaded, "vgpreload") != nullptr;
}

#endif

// ---- Everywhere --------------------------------------------------------------------------------------------------------

// The calling thread's copy of a QV_INTERNAL_PLAIN_THREAD_LOCAL variable.
template <typename TValue>
QV_INTERNAL_ALWAYS_INLINE inline TValue &PortOfThread(TValue &variable)
{
#if defined(_WIN32) && defined(__x86_64__) && !defined(__clang__)
    // The system's record of the thread has the addresses of its copies, one for each image, at this place.
    char *const *images = nullptr;
    __asm__("movq %%gs:0x58, %0" : "=r"(images));
    const ureg offset = reinterpret_cast<ureg>(&variable) - reinterpret_cast<ureg>(&_tls_start);
    return *reinterpret_cast<TValue *>(images[_tls_index] + offset);
#else
    return variable;
#endif
}

// Makes the system give memory to usable addresses that have none yet, whatever others do with them at the same time.
inline void PortTouch(void *begin, ureg bytes)
{
    // No system has smaller pages.
    constexpr ureg kPageBytes = 4096;
    for (ureg at = 0; at < bytes; at += kPageBytes)
    {
        // Writes what is there. Compilers make a load of an addition of zero.
        u32 *const word = reinterpret_cast<u32 *>(static_cast<char *>(begin) + at);
        u32 value = __atomic_load_n(word, __ATOMIC_RELAXED);
        __atomic_compare_exchange_n(word, &value, value, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED);
    }
}

// True when the program was built with a sanitizer, even if the library was not.
inline bool PortIsSanitized()
{
#if defined(__ELF__)
    return __asan_init != nullptr || __tsan_init != nullptr || __msan_init != nullptr || __lsan_init != nullptr;
#else
    return false;
#endif
}

} // namespace Quorvane::Mem::Internal
