// Checked memory: arenas, and what is known of each byte.
#include "checked_memory.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>

namespace QuorvaneTest::Concurrency
{

namespace
{

// Reserved only: what is used gets memory.
ureg MapPages(ureg bytes)
{
    void *const mapped =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED)
        std::abort();
    return reinterpret_cast<ureg>(mapped);
}

// Nobody's bytes between two blocks.
constexpr ureg kGapBytes = 32;

} // namespace

CCheckedMemory &CCheckedMemory::Get()
{
    static CCheckedMemory memory;
    return memory;
}

CCheckedMemory::CCheckedMemory()
    : m_Base((MapPages(kBytes + kRoomBytes) + kRoomBytes - 1) & ~(kRoomBytes - 1)),
      m_Bytes(reinterpret_cast<SByte *>(MapPages(kBytes * sizeof(SByte))))
{
}

void CCheckedMemory::Begin()
{
    ++m_Run;
    for (u32 thread = 0; thread <= kMaxThreads; ++thread)
        m_Ends[thread] = m_Base + thread * kArenaBytes;
    m_BlockCount = 0;
    m_LiveBlocks = 0;
    m_Fault = nullptr;
}

CCheckedMemory::SByte &CCheckedMemory::_Byte(ureg address)
{
    SByte &byte = m_Bytes[address - m_Base];
    if (byte.m_Run != m_Run)
    {
        std::memset(&byte, 0, sizeof(byte));
        byte.m_Run = m_Run;
        byte.m_Location = kNoLocation;
        byte.m_State = address - m_Base >= kRoomBytes ? State_Live : State_Nobodys;
    }
    return byte;
}

void CCheckedMemory::_Report(const char *fault)
{
    if (m_Fault == nullptr)
        m_Fault = fault;
}

// ---- Blocks ------------------------------------------------------------------------------------------------------------

void CCheckedMemory::_SetState(ureg begin, ureg bytes, EState state)
{
    for (ureg address = begin; address < begin + bytes; ++address)
        _Byte(address).m_State = state;
}

void *CCheckedMemory::Allocate(u32 thread, ureg bytes, ureg alignment)
{
    const ureg begin = (m_Ends[thread] + kGapBytes + alignment - 1) & ~(alignment - 1);
    if (m_BlockCount == kMaxBlocks || begin + bytes > m_Base + (thread + 1) * kArenaBytes)
        return nullptr;
    m_Ends[thread] = begin + bytes;
    m_Blocks[m_BlockCount++] = SBlock{begin, bytes, true};
    ++m_LiveBlocks;
    _SetState(begin, bytes, State_Live);
    return reinterpret_cast<void *>(begin);
}

void CCheckedMemory::Free(void *block, SPlace place, const SClock &known)
{
    u32 number = 0;
    while (number < m_BlockCount && m_Blocks[number].m_Begin != reinterpret_cast<ureg>(block))
        ++number;
    if (number == m_BlockCount)
        return _Report("what is freed is no block");
    SBlock &freed = m_Blocks[number];
    if (!freed.m_IsLive)
        return _Report("a block is freed twice");
    if (place.m_Thread != kMainThread)
        Access(MemoryAccess_Write, block, freed.m_Bytes, place, known);
    freed.m_IsLive = false;
    --m_LiveBlocks;
    _SetState(freed.m_Begin, freed.m_Bytes, State_Freed);
}

ureg CCheckedMemory::BytesOf(const void *block) const
{
    for (u32 number = 0; number < m_BlockCount; ++number)
        if (m_Blocks[number].m_Begin == reinterpret_cast<ureg>(block))
            return m_Blocks[number].m_Bytes;
    return 0;
}

// ---- Accesses ----------------------------------------------------------------------------------------------------------

void CCheckedMemory::_ReportState(const SByte &byte)
{
    _Report(byte.m_State == State_Freed ? "a block is used after it was freed" : "memory is used that is no block's");
}

void CCheckedMemory::_ReportRace(EMemoryAccess access, const SByte &byte, const SIndices &limits)
{
    constexpr const char *kTexts[kAccesses] = {"a read", "a write", "an atomic read", "an atomic write"};
    for (u32 i = 0; i < kAccesses * kMaxThreads; ++i)
        if (byte.m_Indices[i] > limits[i] && m_Fault == nullptr)
        {
            std::snprintf(m_FaultText, sizeof(m_FaultText), "a race: %s, and %s that does not happen before it",
                          kTexts[access], kTexts[i / kMaxThreads]);
            m_Fault = m_FaultText;
        }
}

void CCheckedMemory::Access(EMemoryAccess access, const volatile void *address, ureg bytes, SPlace place,
                            const SClock &known)
{
    // Which kinds must happen before it: of two accesses, where one writes, and one is plain.
    constexpr bool kConflicts[kAccesses][kAccesses] = {
        {false, true, false, true}, {true, true, true, true}, {false, true, false, false}, {true, true, false, false}};
    SIndices limits;
    for (u32 i = 0; i < kAccesses * kMaxThreads; ++i)
    {
        const u32 thread = i % kMaxThreads;
        const bool conflicts = kConflicts[access][i / kMaxThreads] && thread != place.m_Thread;
        limits[i] = conflicts ? known.m_Counts[thread] : u16(0xFFFF);
    }
    const u16 now = static_cast<u16>(place.m_Index + 1);
    const ureg begin = reinterpret_cast<ureg>(address);
    for (ureg at = begin; at < begin + bytes; ++at)
    {
        SByte &byte = _Byte(at);
        if (byte.m_State != State_Live)
            return _ReportState(byte);
        u16 races = 0;
        for (u32 i = 0; i < kAccesses * kMaxThreads; ++i)
            races = static_cast<u16>(races | (byte.m_Indices[i] > limits[i]));
        if (races != 0)
            return _ReportRace(access, byte, limits);
        byte.m_Indices[access * kMaxThreads + place.m_Thread] = now;
        if (access == MemoryAccess_Write && byte.m_Location != kNoLocation)
        {
            byte.m_Location = kNoLocation;
            ++byte.m_Generation;
        }
    }
}

// ---- Words -------------------------------------------------------------------------------------------------------------

u32 CCheckedMemory::LocationAt(ureg address, ureg bytes) const
{
    const SByte *const first = &m_Bytes[address - m_Base];
    for (ureg i = 0; i < bytes; ++i)
        if (first[i].m_Run != m_Run || first[i].m_Location != first->m_Location)
            return kNoLocation;
    return first->m_Location;
}

void CCheckedMemory::SetLocation(ureg address, ureg bytes, u32 location)
{
    for (ureg i = 0; i < bytes; ++i)
        _Byte(address + i).m_Location = static_cast<u16>(location);
}

u32 CCheckedMemory::GenerationAt(ureg address)
{
    return _Byte(address).m_Generation;
}

} // namespace QuorvaneTest::Concurrency
