// The memory that checked threads share, and what was done to each byte of it: who wrote it last, who has read it, and
// whether it is any block's at all.
//
// Two accesses to a byte of which one writes, and not both are atomic, must have an order by what happens before what. For
// each byte the last accesses of each thread are kept, which is enough: who comes after the last one of a thread comes
// after all of its.
//     Flanagan, Freund: FastTrack: Efficient and Precise Dynamic Race Detection. PLDI 2009.
//
// Each thread has blocks from an arena of its own, and none of them is used twice in a run: so a block's address follows
// from what its thread did, not from the order in which the threads took turns, and who uses a block that was freed is
// found.
#pragma once

#include "execution_graph.h"

namespace QuorvaneTest::Concurrency
{

// Accesses of a thread's program order before its event at that index.
struct SPlace
{
    u32 m_Thread;
    u32 m_Index;
};

enum EMemoryAccess : u8
{
    MemoryAccess_Read,
    MemoryAccess_Write,
    MemoryAccess_AtomicRead,
    MemoryAccess_AtomicWrite,
};

class CCheckedMemory
{
public:
    // The one that there is.
    static CCheckedMemory &Get();

    // Where blocks come from while no checked thread runs.
    static constexpr u32 kMainThread = kMaxThreads;
    // Memory for a program's own purposes, of which no byte belongs to nobody; it keeps its contents from run to run. Its
    // address is a multiple of its size.
    static constexpr ureg kRoomBytes = 4u << 20;

    // A new run: no block is there, and nobody did anything.
    void Begin();

    bool Holds(const volatile void *address) const { return reinterpret_cast<ureg>(address) - m_Base < kBytes; }
    void *Room() const { return reinterpret_cast<void *>(m_Base + kRoomBytes); }

    // Null when the arena is used up.
    void *Allocate(u32 thread, ureg bytes, ureg alignment);
    // Requires: nothing; what is no block is a fault. Counts as a write of all of it.
    void Free(void *block, SPlace place, const SClock &known);
    // The size of a block; 0 for what is none.
    ureg BytesOf(const void *block) const;
    // Blocks that were not freed.
    u32 LiveBlocks() const { return m_LiveBlocks; }

    // An access of a checked thread, of which `known` happens before it. A plain write ends the word that is there.
    void Access(EMemoryAccess access, const volatile void *address, ureg bytes, SPlace place, const SClock &known);

    // The number that the word at an address was given; none after a plain write to it.
    static constexpr u32 kNoLocation = 0xFFFF;
    u32 LocationAt(ureg address, ureg bytes) const;
    void SetLocation(ureg address, ureg bytes, u32 location);
    // How many words there were before at this address.
    u32 GenerationAt(ureg address);

    // What was wrong first in this run; null for nothing.
    const char *Fault() const { return m_Fault; }

private:
    static constexpr ureg kBytes = 2 * kRoomBytes;
    static constexpr ureg kArenaBytes = 512u << 10;
    static constexpr u32 kMaxBlocks = 256;

    enum EState : u8
    {
        State_Nobodys,
        State_Live,
        State_Freed,
    };

    // For each kind of access and each thread: the index of its event that follows, and 1.
    static constexpr u32 kAccesses = 4;
    using SIndices = u16[kAccesses * kMaxThreads];

    // What is known of a byte, in the run of that number.
    struct SByte
    {
        u32 m_Run;
        u16 m_Location;
        u8 m_Generation;
        u8 m_State;
        SIndices m_Indices;
    };

    struct SBlock
    {
        ureg m_Begin;
        ureg m_Bytes;
        bool m_IsLive;
    };

    CCheckedMemory();
    SByte &_Byte(ureg address);
    void _SetState(ureg begin, ureg bytes, EState state);
    void _ReportState(const SByte &byte);
    void _ReportRace(EMemoryAccess access, const SByte &byte, const SIndices &limits);
    void _Report(const char *fault);

    ureg m_Base;
    SByte *m_Bytes;
    u32 m_Run = 0;
    ureg m_Ends[kMaxThreads + 1] = {};
    SBlock m_Blocks[kMaxBlocks] = {};
    u32 m_BlockCount = 0;
    u32 m_LiveBlocks = 0;
    const char *m_Fault = nullptr;
    char m_FaultText[100] = {};
};

} // namespace QuorvaneTest::Concurrency
