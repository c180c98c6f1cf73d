// POSIX: what mem_port.h promises. Where Linux gives more than the standard, that is used.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#if defined(__linux__)
#include <sys/auxv.h>
#include <sys/syscall.h>
#endif

#include "qv_defs.h"

// What a thread key needs behind its definition, in the same namespace: nothing.
#define QV_INTERNAL_THREAD_KEY_CALLS(key) static_assert(true, "")

// A plain variable of each thread, read and written through PortOfThread, without asking whether it was initialised.
#define QV_INTERNAL_PLAIN_THREAD_LOCAL __thread

namespace Quorvane::Mem::Internal
{

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

// Makes pages that are mapped ones that nobody can read or write. Where the system refuses, they stay as they are.
inline void PortForbid(ureg address, ureg bytes)
{
    static_cast<void>(mprotect(reinterpret_cast<void *>(address), bytes, PROT_NONE));
}

inline ureg PortPageBytes()
{
    return static_cast<ureg>(sysconf(_SC_PAGESIZE));
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

// Whether the page that begins at an address can be read; false where the system cannot tell.
inline bool PortIsReadable(ureg page)
{
#if defined(__linux__) && defined(SYS_rt_sigprocmask)
    // A page that is not mapped cannot be written back to a file. One that is may still be protected: then the system
    // cannot copy a set of signals from it, which it does before it finds that it knows nothing to do with the set.
    constexpr int kNothingKnown = ~0;
#if defined(__mips__)
    constexpr std::size_t kSetBytes = 16;
#else
    constexpr std::size_t kSetBytes = 8;
#endif
    const int before = errno;
    const bool isMapped = msync(reinterpret_cast<void *>(page), 1, MS_ASYNC) == 0;
    if (isMapped)
        static_cast<void>(syscall(SYS_rt_sigprocmask, kNothingKnown, page, nullptr, kSetBytes));
    const bool isReadable = isMapped && errno == EINVAL;
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
    u64 words[2] = {};
#if defined(__linux__)
    // Sixteen bytes by chance, which the system gives each program.
    if (const void *const bytes = reinterpret_cast<const void *>(getauxval(AT_RANDOM)))
        std::memcpy(words, bytes, sizeof(words));
#endif
    // The C library guards stacks with those bytes; what can be seen of this product tells nothing about them.
    return Quorvane::Internal::WrappingProduct<u64>(words[0] ^ 0x9E3779B97F4A7C15ull, words[1] | 1) >> 32;
}

// Two words by chance, which nobody else can tell. Neither waits nor allocates.
inline void PortFillByChance(u64 (&outWords)[2])
{
    u64 given[2] = {};
    const int before = errno;
#if defined(__linux__) && defined(SYS_getrandom)
    // While it starts, the system has none for a while, and then says so rather than wait.
    constexpr unsigned kWithoutWaiting = 1;
    static_cast<void>(syscall(SYS_getrandom, given, sizeof(given), kWithoutWaiting));
#else
    const int file = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    if (file >= 0 && read(file, given, sizeof(given)) < 0)
        given[0] = 0;
    close(file);
#endif
    errno = before;
    // And what differs from process to process anyway, should that be all.
    timespec now = {};
    static_cast<void>(clock_gettime(CLOCK_REALTIME, &now));
    const u64 time = static_cast<u64>(now.tv_sec) << 30 ^ static_cast<u64>(now.tv_nsec);
    outWords[0] = given[0] ^ PortProcessSeed() << 32 ^ reinterpret_cast<ureg>(&given);
    outWords[1] = given[1] ^ Quorvane::Internal::WrappingProduct<u64>(time, 0x9E3779B97F4A7C15ull) ^
                  reinterpret_cast<ureg>(&getpid);
}

inline u32 PortProcessId()
{
    return static_cast<u32>(getpid());
}

// Who waits yields so often first, since most that is waited for is done soon, and pauses from then on.
constexpr u32 kYieldsBeforePauses = 16;

// Lets other threads run, those of lower priority too, after `rounds` times of asking for something in vain.
inline void PortBackOff(u32 rounds)
{
    constexpr long kNanoseconds = 20000;
    if (rounds < kYieldsBeforePauses)
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

// The calling thread's copy of a QV_INTERNAL_PLAIN_THREAD_LOCAL variable.
template <typename TValue>
QV_INTERNAL_ALWAYS_INLINE inline TValue &PortOfThread(TValue &variable)
{
    return variable;
}

} // namespace Quorvane::Mem::Internal
