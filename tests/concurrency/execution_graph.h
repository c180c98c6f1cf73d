// An execution graph: what some threads did to the atomic words that they share, as the memory model of C++ sees it.
//
// The events of each thread stand in program order. Each of them reads a word or writes it; a read-modify-write is a read
// with its write directly behind it. A read knows the write that it took its value from, and the writes to a word stand in
// one order, the modification order. Nothing else is recorded: what happens before what follows from it.
//
// The model is that of C++20 without consume, fences and values out of thin air, so that no read takes its value from
// something that depends on it: program order and "reads from" together have no cycle. Where C++20 and its repaired form
// RC11 differ about sequentially consistent accesses, this allows what either of them allows.
//     Lahav, Vafeiadis, Kang, Hur, Dreyer: Repairing Sequential Consistency in C/C++11. PLDI 2017.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "qv_defs.h"

namespace QuorvaneTest::Concurrency
{

using Quorvane::u16;
using Quorvane::u32;
using Quorvane::u64;
using Quorvane::u8;
using Quorvane::ureg;

constexpr u32 kMaxThreads = 4;

enum EOrder : u8
{
    Order_Relaxed,
    Order_Acquire,
    Order_Release,
    Order_AcquireRelease,
    Order_Sequential,
};

constexpr bool Acquires(EOrder order)
{
    return order == Order_Acquire || order >= Order_AcquireRelease;
}

constexpr bool Releases(EOrder order)
{
    return order >= Order_Release;
}

// An event by its thread and its place there, or the write that a word begins with.
struct SEventId
{
    u16 m_Thread = kMaxThreads;
    u16 m_Index = 0;

    constexpr bool IsInitial() const { return m_Thread == kMaxThreads; }
    friend constexpr bool operator==(SEventId a, SEventId b)
    {
        return a.m_Thread == b.m_Thread && a.m_Index == b.m_Index;
    }
    friend constexpr bool operator!=(SEventId a, SEventId b) { return !(a == b); }
};

constexpr SEventId kInitialWrite;

// A set of events that holds, with each event, those before it in its thread: how many of each thread.
struct SClock
{
    u16 m_Counts[kMaxThreads] = {};

    bool Has(SEventId event) const { return event.IsInitial() || m_Counts[event.m_Thread] > event.m_Index; }
    void Add(SEventId event) { m_Counts[event.m_Thread] = static_cast<u16>(event.m_Index + 1); }
    void Join(const SClock &other)
    {
        for (u32 thread = 0; thread < kMaxThreads; ++thread)
            m_Counts[thread] = Quorvane::QVMax(m_Counts[thread], other.m_Counts[thread]);
    }
};

struct SEvent
{
    bool m_IsWrite = false;
    bool m_IsExclusive = false; // a write: of a read-modify-write, whose read is the event before
    bool m_IsComparing = false; // a read: of a compare-exchange, whose order depends on what it finds
    EOrder m_Order = Order_Relaxed;
    EOrder m_OrderIfEqual = Order_Relaxed;
    EOrder m_OrderElse = Order_Relaxed;
    u16 m_Location = 0;
    SEventId m_Source; // a read: the write it took its value from
    u32 m_Stamp = 0;   // counts the events in the order in which they were added
    u64 m_Value = 0;
    u64 m_Expected = 0; // a comparing read
    SClock m_Before;    // what happens before the event, and itself
    SClock m_Prefix;    // what it depends on, by program order and by what was read, and itself
    SClock m_Released;  // a write: what happens before an acquiring read of it
};

// A word that the threads share. A word that begins anew, in memory that was used before, is another one.
struct SLocation
{
    ureg m_Address = 0;
    u32 m_Generation = 0;
    u64 m_Initial = 0;
    std::vector<SEventId> m_Writes; // the modification order, without the initial write
};

class CExecutionGraph
{
public:
    u32 Count(u32 thread) const { return static_cast<u32>(m_Threads[thread].size()); }
    const SEvent &Event(SEventId id) const { return m_Threads[id.m_Thread][id.m_Index]; }
    const std::vector<SLocation> &Locations() const { return m_Locations; }

    // What happens before the next event of a thread.
    SClock KnownBy(u32 thread) const { return KnownBefore(thread, Count(thread)); }
    // The same of its event at `index`.
    SClock KnownBefore(u32 thread, u32 index) const;

    // The number of a word, which is added where it is new.
    u32 LocationOf(ureg address, u32 generation);
    void SetInitial(u32 location, u64 value) { m_Locations[location].m_Initial = value; }
    // The value of a write, and that of the last write in the modification order.
    u64 ValueOf(u32 location, SEventId write) const;
    u64 LastValueOf(u32 location) const;

    // Adds an event at its thread's end. A read has no source yet, and a write no place in the modification order.
    SEventId Add(u32 thread, const SEvent &event);

    // The writes that a read may take its value from, the last of the modification order first: those that are coherent
    // with what is known to its thread, and that leave the sequentially consistent accesses in one order.
    std::vector<SEventId> SourcesOf(SEventId read);
    void SetSource(SEventId read, SEventId source);

    // The places where a write may come to stand in the modification order, the last one first; none where another
    // read-modify-write has taken its value from the same write. Behind the initial write is 0.
    std::vector<u32> PlacesOf(SEventId write);
    void SetPlace(SEventId write, u32 place);

    // The reads of the write's word that do not lead to it, and whose value it could have been, had it come first; in the
    // sense of the exploration: only where nothing that would be undone chose anything but the obvious.
    std::vector<SEventId> ReadsToRevisit(SEventId write) const;

    // The graph in which `read`, and all that came after it and does not lead to `write`, is undone, and `write` is read.
    // The write has no place yet.
    CExecutionGraph Revisited(SEventId read, SEventId write) const;

    // Whether a read with its source is coherent, and the sequentially consistent accesses have one order.
    bool IsConsistent(SEventId read) const;

    // Whether this is the last write of its word.
    bool IsLast(u32 location, SEventId write) const;

    // One line for each event, for the report of a fault.
    std::string ToText() const;

    // The same for all graphs that are the same execution: what was read, and the modification orders.
    std::vector<u32> Signature() const;

private:
    SEvent &_Event(SEventId id) { return m_Threads[id.m_Thread][id.m_Index]; }
    void _SetClocks(SEventId id);
    // 0 for the initial write, 1 for the first of the modification order, and so on.
    u32 _RankOf(u32 location, SEventId write) const;
    // The highest rank that a clock knows of, by a write or by a read.
    u32 _KnownRank(u32 location, const SClock &clock) const;
    bool _IsObvious(SEventId id, SEventId write) const;
    bool _IsInOneOrder() const;

    std::array<std::vector<SEvent>, kMaxThreads> m_Threads;
    std::vector<SLocation> m_Locations;
    u32 m_NextStamp = 0;
};

} // namespace QuorvaneTest::Concurrency
