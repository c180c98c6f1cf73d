// Execution graphs: whether the sequentially consistent operations can stand in one order.
//
// They can where these edges between them have no cycle: program order; the modification order of their writes; from a
// write to a read of it; from a read to the writes that come after the one it has read; and happens-before between
// operations that have something to do with another word between them and its ends. Both C++20 and RC11 want all of these.
#include "execution_graph.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

// A read-modify-write is one of them, by its write.
struct SOperation
{
    SEventId m_First;
    SEventId m_Last;
    u32 m_Location;
};

constexpr u32 kMaxOperations = 128;

// Operations as bits.
class COperationSet
{
public:
    void Add(u32 number) { m_Words[number / 64] |= u64(1) << number % 64; }
    bool Has(u32 number) const { return (m_Words[number / 64] >> number % 64 & 1) != 0; }

private:
    u64 m_Words[kMaxOperations / 64] = {};
};

class COneOrder
{
public:
    explicit COneOrder(const CExecutionGraph &graph) : m_Graph(graph)
    {
        for (u32 thread = 0; thread < kMaxThreads; ++thread)
            _AddThread(thread);
    }

    bool Exists()
    {
        for (u32 from = 0; from < m_Operations.size(); ++from)
            for (u32 to = 0; to < m_Operations.size(); ++to)
                if (from != to && _IsBefore(m_Operations[from], m_Operations[to]))
                    m_After[from].Add(to);
        for (u32 number = 0; number < m_Operations.size(); ++number)
            if (m_States[number] == State_New && _HasCycleFrom(number))
                return false;
        return true;
    }

private:
    enum EState : u8
    {
        State_New,
        State_Open,
        State_Done,
    };

    void _AddThread(u32 thread)
    {
        for (u32 index = 0; index < m_Graph.Count(thread); ++index)
        {
            const SEventId id = {static_cast<u16>(thread), static_cast<u16>(index)};
            const SEvent &event = m_Graph.Event(id);
            if (event.m_Order != Order_Sequential || m_Operations.size() == kMaxOperations)
                continue;
            if (event.m_IsExclusive)
                m_Operations.back().m_Last = id;
            else
                m_Operations.push_back({id, id, event.m_Location});
        }
    }

    // The write that an event has read, or is, by its place in the modification order; 0 for the initial one.
    u32 _Rank(SEventId id) const
    {
        const SEvent &event = m_Graph.Event(id);
        const SEventId write = event.m_IsWrite ? id : event.m_Source;
        if (write.IsInitial())
            return 0;
        const std::vector<SEventId> &writes = m_Graph.Locations()[event.m_Location].m_Writes;
        u32 rank = 1;
        for (; rank <= writes.size() && writes[rank - 1] != write; ++rank)
            ;
        return rank;
    }

    bool _IsBefore(const SOperation &a, const SOperation &b) const
    {
        if (a.m_First.m_Thread == b.m_First.m_Thread)
            return a.m_First.m_Index < b.m_First.m_Index;
        if (a.m_Location == b.m_Location && _IsBeforeInPlace(a, b))
            return true;
        return _IsBeforeElsewhere(a, b);
    }

    // Of operations on one word: by its modification order.
    bool _IsBeforeInPlace(const SOperation &a, const SOperation &b) const
    {
        const bool readsA = !m_Graph.Event(a.m_Last).m_IsWrite;
        const bool readsB = !m_Graph.Event(b.m_Last).m_IsWrite;
        if (readsA && readsB)
            return false;
        // A read comes behind the write of its rank, and so behind those before it that are of this order.
        const u32 rankA = _Rank(a.m_Last);
        const u32 rankB = _Rank(b.m_Last);
        return readsB ? rankA == rankB : rankA < rankB;
    }

    // Whether something behind `a` happens before something in front of `b`, neither of them on the word of its own end.
    bool _IsBeforeElsewhere(const SOperation &a, const SOperation &b) const
    {
        u32 first = a.m_Last.m_Index + 1u;
        while (first < m_Graph.Count(a.m_Last.m_Thread) && _LocationAt(a.m_Last.m_Thread, first) == a.m_Location)
            ++first;
        u32 last = b.m_First.m_Index;
        while (last != 0 && _LocationAt(b.m_First.m_Thread, last - 1) == b.m_Location)
            --last;
        return m_Graph.KnownBefore(b.m_First.m_Thread, last).m_Counts[a.m_Last.m_Thread] > first;
    }

    u32 _LocationAt(u32 thread, u32 index) const
    {
        return m_Graph.Event({static_cast<u16>(thread), static_cast<u16>(index)}).m_Location;
    }

    bool _HasCycleFrom(u32 number)
    {
        m_States[number] = State_Open;
        for (u32 next = 0; next < m_Operations.size(); ++next)
            if (m_After[number].Has(next) &&
                (m_States[next] == State_Open || (m_States[next] == State_New && _HasCycleFrom(next))))
                return true;
        m_States[number] = State_Done;
        return false;
    }

    const CExecutionGraph &m_Graph;
    std::vector<SOperation> m_Operations;
    COperationSet m_After[kMaxOperations];
    EState m_States[kMaxOperations] = {};
};

} // namespace

bool CExecutionGraph::_IsInOneOrder() const
{
    return COneOrder(*this).Exists();
}

} // namespace QuorvaneTest::Concurrency
