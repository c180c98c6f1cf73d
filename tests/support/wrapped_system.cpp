#include "wrapped_system.h"

#if defined(QV_TEST_WRAPS_SYSTEM)

#include <pthread.h>
#include <sched.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

void RunOnce(void (*&what)())
{
    if (void (*const once)() = std::exchange(what, nullptr))
        once();
}

// Whether the system gives a block of so many bytes.
bool GivesBlock(std::size_t bytes)
{
    ++g_BlocksAsked;
    g_LastBytesAsked = bytes;
    return !g_RefusesBlocks && g_BlocksLeft-- != 0;
}

void CountBlock(const void *block)
{
    g_BlocksOut += block != nullptr ? 1 : 0;
}

} // namespace

// Names that the linker prescribes.
extern "C"
{
    void *__real_malloc(std::size_t bytes);
    void *__real_realloc(void *block, std::size_t bytes);
    void __real_free(void *block);
    int __real_posix_memalign(void **block, std::size_t alignment, std::size_t bytes);
    void *__real_mmap(void *address, std::size_t bytes, int protection, int flags, int file, off_t offset);
    int __real_madvise(void *address, std::size_t bytes, int advice);
    int __real_pthread_key_create(pthread_key_t *key, void (*atEnd)(void *));
    int __real_pthread_setspecific(pthread_key_t key, const void *value);
    unsigned long __real_getauxval(unsigned long type);
    long __real_sysconf(int name);
    char *__real_getenv(const char *name);
    int __real_msync(void *address, std::size_t bytes, int flags);
    long __real_syscall(long number, long first, long second, long third, long fourth);
    int __real_clock_gettime(clockid_t clock, timespec *now);
    int __real_sched_yield();
    int __real_nanosleep(const timespec *wanted, timespec *left);

    void *__wrap_malloc(std::size_t bytes)
    {
        if (g_NextBlock != nullptr)
            return std::exchange(g_NextBlock, nullptr);
        void *const block = GivesBlock(bytes) ? __real_malloc(bytes) : nullptr;
        CountBlock(block);
        return block;
    }

    void *__wrap_realloc(void *block, std::size_t bytes)
    {
        return GivesBlock(bytes) ? __real_realloc(block, bytes) : nullptr;
    }

    int __wrap_posix_memalign(void **block, std::size_t alignment, std::size_t bytes)
    {
        ++g_AlignedBlocksAsked;
        const int answer = GivesBlock(bytes) ? __real_posix_memalign(block, alignment, bytes) : ENOMEM;
        CountBlock(answer == 0 ? *block : nullptr);
        return answer;
    }

    void __wrap_free(void *block)
    {
        g_LastFreed = block;
        g_BlocksOut -= block != nullptr ? 1 : 0;
        if (block == nullptr || block != g_OwnBlock)
            __real_free(block);
    }

    void *__wrap_mmap(void *address, std::size_t bytes, int protection, int flags, int file, off_t offset)
    {
        if (address != nullptr)
            RunOnce(g_BeforeMap);
        if (address != nullptr && g_TakesHints)
        {
            ++g_GivenElsewhere;
            g_LastElsewhere = __real_mmap(nullptr, bytes, protection, MAP_PRIVATE | MAP_ANONYMOUS, file, offset);
            return g_LastElsewhere;
        }
        if (address == nullptr || !g_RefusesAddresses)
            return __real_mmap(address, bytes, protection, flags, file, offset);
        ++g_RefusedAddresses;
        errno = ENOMEM;
        return MAP_FAILED;
    }

    int __wrap_madvise(void *address, std::size_t bytes, int advice)
    {
        RunOnce(g_BeforeDiscard);
        return __real_madvise(address, bytes, advice);
    }

    int __wrap_mlock(const void *address, std::size_t bytes)
    {
        if (g_Locks == 0)
            g_FirstLocked = address;
        if (g_Locks++ == g_RefusedLock)
        {
            g_NeverLocked = address;
            g_NeverLockedBytes = bytes;
        }
        if (address != g_NeverLocked || bytes != g_NeverLockedBytes)
            return 0;
        errno = ENOMEM;
        return -1;
    }

    int __wrap_pthread_key_create(pthread_key_t *key, void (*atEnd)(void *))
    {
        ++g_ThreadKeys;
        return g_RefusesThreadKeys ? EAGAIN : __real_pthread_key_create(key, atEnd);
    }

    int __wrap_pthread_setspecific(pthread_key_t key, const void *value)
    {
        RunOnce(g_BeforeThreadValue);
        ++g_ThreadValues;
        return g_RefusesThreadValues ? ENOMEM : __real_pthread_setspecific(key, value);
    }

    unsigned long __wrap_getauxval(unsigned long type)
    {
        if (type == AT_RANDOM && g_WordsOfProcess != nullptr)
            return reinterpret_cast<unsigned long>(g_WordsOfProcess);
        return type == AT_RANDOM && g_HasNoChance ? 0 : __real_getauxval(type);
    }

    long __wrap_sysconf(int name)
    {
        return name == _SC_PAGESIZE && g_PageBytes != 0 ? g_PageBytes : __real_sysconf(name);
    }

    char *__wrap_getenv(const char *name)
    {
        const bool isOurs = g_Preloaded != nullptr && std::strcmp(name, "LD_PRELOAD") == 0;
        return isOurs ? const_cast<char *>(g_Preloaded) : __real_getenv(name);
    }

    int __wrap_msync(void *address, std::size_t bytes, int flags)
    {
        if (g_PageBytes == 0 || reinterpret_cast<ureg>(address) % static_cast<ureg>(g_PageBytes) == 0)
            return __real_msync(address, bytes, flags);
        errno = EINVAL;
        return -1;
    }

    long __wrap_syscall(long number, long first, long second, long third, long fourth)
    {
        if (number != SYS_getrandom || !g_HasNoWords)
            return __real_syscall(number, first, second, third, fourth);
        errno = ENOSYS;
        return -1;
    }

    int __wrap_clock_gettime(clockid_t clock, timespec *now)
    {
        if (g_Now.tv_sec == 0)
            return __real_clock_gettime(clock, now);
        *now = g_Now;
        return 0;
    }

    int __wrap_sched_yield()
    {
        ++g_Yields;
        RunOnce(g_BeforeYield);
        return __real_sched_yield();
    }

    int __wrap_nanosleep(const timespec *wanted, timespec *left)
    {
        ++g_Pauses;
        RunOnce(g_BeforePause);
        return __real_nanosleep(wanted, left);
    }

} // extern "C"

#endif
