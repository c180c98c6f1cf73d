// Strings in processes that the system keeps short: of addresses, of memory, of memory that may be locked. Each case is a
// process of its own, in which nobody has used a string before.
#if defined(_WIN32)

#include <cstdio>

// Limits of a process are those of a copy of it here, before it does anything else.
int main()
{
    std::puts("limits: no system call here copies a process");
    return 77;
}

#elif defined(QV_TEST_MEM_CACHE) && !QV_TEST_MEM_CACHE

#include <cstdio>

int main()
{
    std::puts("limits: all blocks are the platform's here");
    return 77;
}

#else

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kr_mem/mem_membership.h"
#include "kr_mem/mem_port.h"
#include "kr_mem/mem_process.h"
#include "kr_mem/mem_thread_cache.h"
#include "kr_string.h"
#include "process_cases.h"
#include "system_limits.h"

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;
using namespace QuorvaneTest;

// Makes and drops `count` strings of 40 characters, at most kMaxStrings. Returns: whether all were there.
constexpr u32 kMaxStrings = 60000;

bool UseStrings(u32 count)
{
    // The handles need no memory of the system then.
    static CString strings[kMaxStrings];
    for (u32 i = 0; i < count; ++i)
        strings[i] = CString("forty characters, neither less nor more.");
    u32 whole = 0;
    for (u32 i = 0; i < count; ++i)
    {
        whole += strings[i].Length() == 40 ? 1 : 0;
        strings[i] = CString();
    }
    return whole == count;
}

// ---- The cases: 0 is success -------------------------------------------------------------------------------------------

// The first string takes some tens of kilobytes of addresses, not more.
int LittleIsTakenAtFirst()
{
    const u64 before = StatusBytes("VmSize:");
    if (!UseStrings(1))
        return 1;
    return StatusBytes("VmSize:") - before <= (512u << 10) ? 0 : 2;
}

// Wherever nothing is kept short.
int StringsTakeTheFastPathFromTheFirstOneOn()
{
    if (UsesFastPath() || !UseStrings(1))
        return 1;
    return UsesFastPath() && HasSmallBlocks() ? 0 : 2;
}

// What a real-time program does before it begins: all its memory is locked, as an ordinary user may do up to a limit.
int MemoryCanBeLockedAfterTheFirstString()
{
    if (!UseStrings(100))
        return 1;
    // Little more than there is, as far as the limit may be raised at all.
    rlimit highest = {};
    getrlimit(RLIMIT_MEMLOCK, &highest);
    const u64 mapped = StatusBytes("VmSize:");
    const u64 limit = QVMin<u64>(highest.rlim_max, mapped + (1u << 20));
    if (limit < mapped || !LimitProcess(RLIMIT_MEMLOCK, limit))
        return kCaseSkipped;
    // Root may lock as much as it likes.
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && setresuid(kNobody, kNobody, kNobody) != 0)
        return kCaseSkipped;
    if (mlockall(MCL_CURRENT) != 0)
        return 2;
    return UseStrings(1000) ? 0 : 3;
}

int StringsAreOwnBlocksWhereAddressesAreFew()
{
    if (!LimitProcess(RLIMIT_AS, StatusBytes("VmSize:") + (64u << 20)))
        return kCaseSkipped;
    if (!UseStrings(10000))
        return 1;
    void *const block = Mem::_RawAlloc(64, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    const bool isSmall = IsSmallBlock(block);
    Mem::Free(block, Mem::AllocType_Generic);
    return isSmall ? 0 : 2;
}

// The heap cannot grow to a megabyte: it stays as it is, and the platform's allocator serves the rest.
int StringsGoOnWhereNoMoreAddressesAreGranted()
{
    // Of 80 bytes each.
    constexpr u32 kMoreThanTheHeapHolds = 7000;
    if (!UseStrings(1))
        return 1;
    if (!LimitProcess(RLIMIT_AS, StatusBytes("VmSize:") + (700u << 10)))
        return kCaseSkipped;
    if (!UseStrings(kMoreThanTheHeapHolds))
        return 2;
    return FindOrMakeProcess()->m_Heap.MappedBytes() == 512u << 10 ? 0 : 3;
}

// Somebody has mapped all the places where the heap would begin.
int ThePlatformServesWhereNoPlaceIsFree()
{
    for (u32 which = 0; which < kProcessPlaces; ++which)
        if (!PortMapAt(ProcessPlace(which), 4096))
            return 1;
    if (!UseStrings(10000))
        return 2;
    return HasSmallBlocks() ? 3 : 0;
}

int TheNextPlaceIsTakenWhereTheFirstIsNotFree()
{
    const ureg first = ProcessPlace(0);
    if (mmap(reinterpret_cast<void *>(first), 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) ==
        MAP_FAILED)
        return kCaseSkipped;
    if (!UseStrings(10000) || !HasSmallBlocks())
        return 1;
    return FindOrMakeProcess()->m_Heap.Base() == ProcessPlace(1) ? 0 : 2;
}

// Somebody's memory stands in the way of growth, and is left alone.
int GrowthEndsWhereSomebodyElsesMemoryBegins()
{
    char *const inTheWay = reinterpret_cast<char *>(ProcessPlace(0) + kChunkBytes);
    if (!PortMapAt(reinterpret_cast<ureg>(inTheWay), kSlabBytes))
        return kCaseSkipped;
    std::memset(inTheWay, 0x5A, kSlabBytes);
    if (!UseStrings(kMaxStrings))
        return 1;
    for (u32 i = 0; i < kSlabBytes; ++i)
        if (inTheWay[i] != 0x5A)
            return 2;
    // It would be a block by its address alone.
    return IsSmallBlock(inTheWay) ? 3 : 0;
}

constexpr SProcessCase kCases[] = {
    {"StringsTakeTheFastPathFromTheFirstOneOn", &StringsTakeTheFastPathFromTheFirstOneOn},
    {"LittleIsTakenAtFirst", &LittleIsTakenAtFirst},
    {"MemoryCanBeLockedAfterTheFirstString", &MemoryCanBeLockedAfterTheFirstString},
    {"StringsAreOwnBlocksWhereAddressesAreFew", &StringsAreOwnBlocksWhereAddressesAreFew},
    {"StringsGoOnWhereNoMoreAddressesAreGranted", &StringsGoOnWhereNoMoreAddressesAreGranted},
    {"ThePlatformServesWhereNoPlaceIsFree", &ThePlatformServesWhereNoPlaceIsFree},
    {"TheNextPlaceIsTakenWhereTheFirstIsNotFree", &TheNextPlaceIsTakenWhereTheFirstIsNotFree},
    {"GrowthEndsWhereSomebodyElsesMemoryBegins", &GrowthEndsWhereSomebodyElsesMemoryBegins},
};

} // namespace

int main()
{
    return RunCases(kCases);
}

#endif
