// Strings in processes that the system keeps short: of addresses, of memory, of memory that may be locked. Each case is a
// process of its own, in which nobody has used a string before.
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kr_mem/mem_cache.h"
#include "kr_mem/mem_port.h"
#include "kr_mem/mem_process.h"
#include "kr_string.h"

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

constexpr int kSkipped = 77;

// A figure of this process in bytes, by its name in the system's report; 0 when there is none.
u64 StatusBytes(const char *name)
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

bool Limit(decltype(RLIMIT_AS) resource, u64 bytes)
{
    const rlimit limit = {static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
    return setrlimit(resource, &limit) == 0;
}

// Makes and drops `count` strings of 40 characters. Returns: whether all were there.
bool UseStrings(u32 count)
{
    TArray<CString> strings;
    for (u32 i = 0; i < count; ++i)
        strings.PushBack(CString("forty characters, neither less nor more."));
    u32 whole = 0;
    for (const CString &string : strings)
        whole += string.Length() == 40 ? 1 : 0;
    return strings.Count() == count && whole == count;
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

// What a real-time program does before it begins: all its memory is locked, as an ordinary user may do up to a limit.
int MemoryCanBeLockedAfterTheFirstString()
{
    if (!UseStrings(100))
        return 1;
    if (!Limit(RLIMIT_MEMLOCK, StatusBytes("VmSize:") + (1u << 20)))
        return kSkipped;
    // Root may lock as much as it likes.
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && setresuid(kNobody, kNobody, kNobody) != 0)
        return kSkipped;
    if (mlockall(MCL_CURRENT) != 0)
        return 2;
    return UseStrings(1000) ? 0 : 3;
}

int StringsAreOwnBlocksWhereAddressesAreFew()
{
    if (!Limit(RLIMIT_AS, StatusBytes("VmSize:") + (64u << 20)) || !UseStrings(10000))
        return 1;
    void *const block = Mem::_RawAlloc(64, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    const bool isSmall = IsSmallBlock(block);
    Mem::Free(block, Mem::AllocType_Generic);
    return isSmall ? 0 : 2;
}

// No more memory from the system: the heap stays as it is, and the platform's allocator serves the rest, until that has
// none, too.
int StringsGoOnWhereNoMoreAddressesAreGranted()
{
    constexpr u32 kFew = 4000;
    void *const spare = std::malloc(8u << 20);
    if (!UseStrings(1) || spare == nullptr || !Limit(RLIMIT_AS, StatusBytes("VmSize:")))
        return 1;
    std::free(spare);
    return UseStrings(kFew) ? 0 : 2;
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
        return kSkipped;
    if (!UseStrings(10000) || !HasSmallBlocks())
        return 1;
    return FindOrMakeProcess()->m_Heap.Base() == ProcessPlace(1) ? 0 : 2;
}

// Somebody's memory stands in the way of growth, and is left alone.
int GrowthEndsWhereSomebodyElsesMemoryBegins()
{
    char *const inTheWay = reinterpret_cast<char *>(ProcessPlace(0) + kChunkBytes);
    if (!PortMapAt(reinterpret_cast<ureg>(inTheWay), kSlabBytes))
        return kSkipped;
    std::memset(inTheWay, 0x5A, kSlabBytes);
    if (!UseStrings(200000))
        return 1;
    for (u32 i = 0; i < kSlabBytes; ++i)
        if (inTheWay[i] != 0x5A)
            return 2;
    // It would be a block by its address alone.
    return IsSmallBlock(inTheWay) ? 3 : 0;
}

struct SCase
{
    const char *m_Name;
    int (*m_Run)();
};

constexpr SCase kCases[] = {
    {"LittleIsTakenAtFirst", &LittleIsTakenAtFirst},
    {"MemoryCanBeLockedAfterTheFirstString", &MemoryCanBeLockedAfterTheFirstString},
    {"StringsAreOwnBlocksWhereAddressesAreFew", &StringsAreOwnBlocksWhereAddressesAreFew},
    {"StringsGoOnWhereNoMoreAddressesAreGranted", &StringsGoOnWhereNoMoreAddressesAreGranted},
    {"ThePlatformServesWhereNoPlaceIsFree", &ThePlatformServesWhereNoPlaceIsFree},
    {"TheNextPlaceIsTakenWhereTheFirstIsNotFree", &TheNextPlaceIsTakenWhereTheFirstIsNotFree},
    {"GrowthEndsWhereSomebodyElsesMemoryBegins", &GrowthEndsWhereSomebodyElsesMemoryBegins},
};

bool RunInProcessOfItsOwn(const SCase &which)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(which.m_Run());
    int status = -1;
    waitpid(child, &status, 0);
    const int answer = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    if (answer != 0)
        std::printf("%s: %s %d\n", which.m_Name, answer == kSkipped ? "skipped," : "answer", answer);
    return answer == 0 || answer == kSkipped;
}

// Whether blocks are our own here at all; asked in a process of its own.
bool HasOwnBlocks()
{
    const pid_t child = fork();
    if (child == 0)
        _exit(HasSmallBlocks() ? 0 : 1);
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

} // namespace

int main()
{
    // Sanitizers need more addresses than these limits leave, and watch the platform's blocks.
    if (!HasOwnBlocks())
        return kSkipped;
    bool allWell = true;
    for (const SCase &which : kCases)
        allWell = RunInProcessOfItsOwn(which) && allWell;
    return allWell ? 0 : 1;
}
