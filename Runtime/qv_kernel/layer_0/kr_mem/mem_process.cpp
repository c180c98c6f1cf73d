// How the copies of this library in one process find what they share.
#include "mem_process.h"

#include <new>

#include "mem_port.h"

namespace Quorvane::Mem::Internal
{

namespace
{

// The first slab of the heap's range: the records of its chunk, and what is shared.
constexpr ureg kSharedOffset = kChunkRecordBytes;

static_assert(kSharedOffset + sizeof(SProcess) <= kSlabBytes - kMaxGuardBytes, "the first slab holds all of it");

// What copies must agree about. To be counted up with every change of what they share, or of what it means.
constexpr u64 kLayoutVersion = 7;
constexpr u64 kProcessLayout = 0x5176486561700000ull ^ (kLayoutVersion << 40) ^ (sizeof(SProcess) << 20) ^
                               (sizeof(SChunk) << 8) ^ kSmallClassCount;

// Regions that systems leave empty unless they are asked for them: the middle of 47 bits of addresses, where libraries,
// heaps and stacks are far away, and places for machines with 42 and with 39 bits of them.
struct SRegion
{
    u64 m_Begin;
    u64 m_End;
};

constexpr SRegion kRegions[kProcessPlaces] = {
    {1ull << 45, 1ull << 46},
    {1ull << 39, 1ull << 40},
    {1ull << 36, 1ull << 37},
};

ureg PlaceIn(const SRegion &region)
{
    const u64 places = (region.m_End - region.m_Begin) / kChunkBytes;
    return static_cast<ureg>(region.m_Begin + PortProcessSeed() % places * kChunkBytes);
}

SProcess *SharedAt(ureg place)
{
    return reinterpret_cast<SProcess *>(place + kSharedOffset);
}

// Whether what lies at a place is what the copies share. It may be in the making: then this waits, but not for somebody
// else's memory that looks like it.
bool IsShared(ureg place)
{
    const SProcess &process = *SharedAt(place);
    if (!PortIsReadable(PageOf(&process, PortPageBytes())))
        return false;
    for (u32 rounds = 0; process.m_Layout.Load() == 0 && rounds < kMaxRoundsForProcess; ++rounds)
        PortBackOff(rounds);
    return process.m_Layout.Load() == kProcessLayout;
}

// Returns: null where memory is refused, or somebody else's lies there.
SProcess *MakeAt(ureg place)
{
    if (!PortMapAt(place, kSlabBytes))
        return IsShared(place) ? SharedAt(place) : nullptr;
    SProcess *const process = ::new (SharedAt(place)) SProcess{};
    process->m_Heap.Begin(place, kSmallRangeBytes, kGuardsSlabs);
    process->m_Layout.Store(kProcessLayout);
    return process;
}

} // namespace

QV_INTERNAL_CONSTINIT std::atomic<SProcess *> g_Process = {nullptr};

ureg ProcessPlace(u32 which)
{
    return PlaceIn(kRegions[which]);
}

SProcess *FindOrMakeProcess()
{
    if constexpr (!kHasSmallRange)
        return nullptr;
    // What exists wins, wherever it is: a place that was taken when it was made may be free by now.
    for (const SRegion &region : kRegions)
        if (IsShared(PlaceIn(region)))
            return SharedAt(PlaceIn(region));
    for (const SRegion &region : kRegions)
        if (SProcess *const process = MakeAt(PlaceIn(region)))
            return process;
    return nullptr;
}

} // namespace Quorvane::Mem::Internal
