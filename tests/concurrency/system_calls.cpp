// The system calls of the default allocator, as the checker sees them: addresses of its own room are mapped and discarded
// there, by a program's checked threads as much as before and after them. The linker puts these before the platform's
// (--wrap); all else goes on to it.
#include "system_calls.h"

#include <cerrno>
#include <cstddef>

#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/types.h>
#include <time.h>

#include "exploration.h"

using namespace QuorvaneTest::Concurrency;

namespace
{

// Where what is mapped of the room ends: the room's last word, which no program comes near.
u64 *MappedEnd()
{
    char *const room = static_cast<char *>(CCheckedMemory::Get().Room());
    return reinterpret_cast<u64 *>(room + CCheckedMemory::kRoomBytes) - 1;
}

// The checked memory itself asks for addresses of the system's choice.
bool IsInRoom(const void *address)
{
    if (address == nullptr)
        return false;
    const ureg offset = reinterpret_cast<ureg>(address) - reinterpret_cast<ureg>(CCheckedMemory::Get().Room());
    return offset < CCheckedMemory::kRoomBytes;
}

// One of several threads gets the addresses, as with the system's own lock; but that makes no other access wait for it, and
// orders none.
bool MapInRoom(u64 address, u64 bytes)
{
    CExploration *const exploration = CExploration::Active();
    if (exploration != nullptr)
        return exploration->Perform({Access_CompareExchange, MappedEnd(), sizeof(u64), Order_Relaxed, Order_Relaxed,
                                     address + bytes, address}) == address;
    const bool isNext = *MappedEnd() == address;
    *MappedEnd() = isNext ? address + bytes : *MappedEnd();
    return isNext;
}

} // namespace

namespace QuorvaneTest::Concurrency
{

ureg MapFirst(ureg bytes)
{
    const ureg base = reinterpret_cast<ureg>(CCheckedMemory::Get().Room());
    *MappedEnd() = base + bytes;
    return base;
}

} // namespace QuorvaneTest::Concurrency

extern "C" void *__real_mmap(void *address, std::size_t bytes, int protection, int flags, int file, off_t offset);
extern "C" int __real_madvise(void *address, std::size_t bytes, int advice);
extern "C" void *__real_memset(void *to, int value, std::size_t bytes);
extern "C" int __real_sched_yield();
extern "C" int __real_pthread_setspecific(pthread_key_t key, const void *value);

extern "C" void *__wrap_mmap(void *address, std::size_t bytes, int protection, int flags, int file, off_t offset)
{
    if (!IsInRoom(address))
        return __real_mmap(address, bytes, protection, flags, file, offset);
    if (MapInRoom(reinterpret_cast<ureg>(address), bytes))
        return address;
    errno = EEXIST;
    return MAP_FAILED;
}

// What is discarded reads as zero, and whoever discards must be the only one: so the first byte of every block is written
// that could be there, of the largest class, as programs take them.
extern "C" int __wrap_madvise(void *address, std::size_t bytes, int advice)
{
    if (!IsInRoom(address))
        return __real_madvise(address, bytes, advice);
    constexpr std::size_t kBlockBytes = 2048;
    if (CExploration *const exploration = CExploration::Active())
        for (std::size_t at = 0; at < bytes; at += kBlockBytes)
            exploration->Write(static_cast<char *>(address) + at, 1);
    __real_memset(address, 0, bytes);
    return 0;
}

extern "C" int __wrap_sched_yield()
{
    CExploration *const exploration = CExploration::Active();
    if (exploration == nullptr)
        return __real_sched_yield();
    exploration->Yield();
    return 0;
}

// The checked threads are none of the system's, and their ends are the programs' to tell.
extern "C" int __wrap_pthread_setspecific(pthread_key_t key, const void *value)
{
    return CExploration::Active() != nullptr ? 0 : __real_pthread_setspecific(key, value);
}
