// Execution graphs: what may be read, where writes may stand, and what happens before what.
#include "execution_graph.h"

#include <algorithm>
#include <cstdio>

namespace QuorvaneTest::Concurrency
{

SClock CExecutionGraph::KnownBefore(u32 thread, u32 index) const
{
    return index != 0 ? m_Threads[thread][index - 1].m_Before : SClock();
}

u32 CExecutionGraph::LocationOf(ureg address, u32 generation)
{
    const auto isIt = [&](const SLocation &location)
    { return location.m_Address == address && location.m_Generation == generation; };
    const auto found = std::find_if(m_Locations.begin(), m_Locations.end(), isIt);
    if (found != m_Locations.end())
        return static_cast<u32>(found - m_Locations.begin());
    m_Locations.push_back(SLocation{address, generation, 0, {}});
    return static_cast<u32>(m_Locations.size() - 1);
}

u64 CExecutionGraph::ValueOf(u32 location, SEventId write) const
{
    return write.IsInitial() ? m_Locations[location].m_Initial : Event(write).m_Value;
}

u64 CExecutionGraph::LastValueOf(u32 location) const
{
    const std::vector<SEventId> &writes = m_Locations[location].m_Writes;
    return ValueOf(location, writes.empty() ? kInitialWrite : writes.back());
}

bool CExecutionGraph::IsLast(u32 location, SEventId write) const
{
    return _RankOf(location, write) == m_Locations[location].m_Writes.size();
}

u32 CExecutionGraph::_RankOf(u32 location, SEventId write) const
{
    if (write.IsInitial())
        return 0;
    const std::vector<SEventId> &writes = m_Locations[location].m_Writes;
    return static_cast<u32>(std::find(writes.begin(), writes.end(), write) - writes.begin()) + 1;
}

u32 CExecutionGraph::_KnownRank(u32 location, const SClock &clock) const
{
    u32 rank = 0;
    for (u32 thread = 0; thread < kMaxThreads; ++thread)
        for (u32 index = clock.m_Counts[thread]; index-- != 0;)
        {
            const SEvent &event = m_Threads[thread][index];
            if (event.m_Location != location)
                continue;
            // The last one of a thread knows most: each thread goes forward in the modification order.
            const SEventId own = {static_cast<u16>(thread), static_cast<u16>(index)};
            rank = std::max(rank, _RankOf(location, event.m_IsWrite ? own : event.m_Source));
            break;
        }
    return rank;
}

SEventId CExecutionGraph::Add(u32 thread, const SEvent &event)
{
    const SEventId id = {static_cast<u16>(thread), static_cast<u16>(Count(thread))};
    m_Threads[thread].push_back(event);
    _Event(id).m_Stamp = m_NextStamp++;
    _SetClocks(id);
    return id;
}

// An acquiring read of a write knows what that has released. A write of a read-modify-write releases what the write before
// it has, too: the release sequence, which nothing else continues since C++20.
void CExecutionGraph::_SetClocks(SEventId id)
{
    SEvent &event = _Event(id);
    const SEvent *const previous = id.m_Index != 0 ? &m_Threads[id.m_Thread][id.m_Index - 1] : nullptr;
    event.m_Before = previous != nullptr ? previous->m_Before : SClock();
    event.m_Prefix = previous != nullptr ? previous->m_Prefix : SClock();
    const SEvent *const source = event.m_IsWrite || event.m_Source.IsInitial() ? nullptr : &Event(event.m_Source);
    if (source != nullptr)
        event.m_Prefix.Join(source->m_Prefix);
    if (source != nullptr && Acquires(event.m_Order))
        event.m_Before.Join(source->m_Released);
    event.m_Before.Add(id);
    event.m_Prefix.Add(id);
    if (!event.m_IsWrite)
        return;
    event.m_Released = Releases(event.m_Order) ? event.m_Before : SClock();
    if (event.m_IsExclusive && !previous->m_Source.IsInitial())
        event.m_Released.Join(Event(previous->m_Source).m_Released);
}

// ---- Reads -------------------------------------------------------------------------------------------------------------

std::vector<SEventId> CExecutionGraph::SourcesOf(SEventId read)
{
    const u32 location = Event(read).m_Location;
    const std::vector<SEventId> &writes = m_Locations[location].m_Writes;
    const u32 last = static_cast<u32>(writes.size());
    std::vector<SEventId> sources;
    for (u32 rank = last + 1; rank-- != _KnownRank(location, KnownBefore(read.m_Thread, read.m_Index));)
    {
        const SEventId source = rank == 0 ? kInitialWrite : writes[rank - 1];
        SetSource(read, source);
        // What reads the last write comes after everything that there is.
        if (rank == last || Event(read).m_Order != Order_Sequential || _IsInOneOrder())
            sources.push_back(source);
    }
    return sources;
}

void CExecutionGraph::SetSource(SEventId read, SEventId source)
{
    SEvent &event = _Event(read);
    event.m_Source = source;
    event.m_Value = ValueOf(event.m_Location, source);
    if (event.m_IsComparing)
        event.m_Order = event.m_Value == event.m_Expected ? event.m_OrderIfEqual : event.m_OrderElse;
    _SetClocks(read);
}

bool CExecutionGraph::IsConsistent(SEventId read) const
{
    const SEvent &event = Event(read);
    const u32 known = _KnownRank(event.m_Location, KnownBefore(read.m_Thread, read.m_Index));
    return _RankOf(event.m_Location, event.m_Source) >= known && _IsInOneOrder();
}

// ---- Writes ------------------------------------------------------------------------------------------------------------

std::vector<u32> CExecutionGraph::PlacesOf(SEventId write)
{
    const SEvent event = Event(write);
    const std::vector<SEventId> writes = m_Locations[event.m_Location].m_Writes;
    const u32 end = static_cast<u32>(writes.size());
    u32 first = 0;
    u32 last = end;
    if (event.m_IsExclusive)
        first = last = _RankOf(event.m_Location, m_Threads[write.m_Thread][write.m_Index - 1].m_Source);
    else
        first = _KnownRank(event.m_Location, KnownBefore(write.m_Thread, write.m_Index));
    std::vector<u32> places;
    for (u32 place = last + 1; place-- != first;)
    {
        // Nothing comes between a read-modify-write and what it has read.
        if (place != end && Event(writes[place]).m_IsExclusive)
            continue;
        SetPlace(write, place);
        if (place == end || event.m_Order != Order_Sequential || _IsInOneOrder())
            places.push_back(place);
        m_Locations[event.m_Location].m_Writes = writes;
    }
    return places;
}

void CExecutionGraph::SetPlace(SEventId write, u32 place)
{
    std::vector<SEventId> &writes = m_Locations[Event(write).m_Location].m_Writes;
    writes.insert(writes.begin() + place, write);
}

// ---- Revisits ----------------------------------------------------------------------------------------------------------

// Whether the event is what anybody would have chosen when it was added, knowing of what there was and of what `write`
// depends on: a read of the last write, or a write that comes last, and that nobody who was there reads.
bool CExecutionGraph::_IsObvious(SEventId id, SEventId write) const
{
    const SEvent &event = Event(id);
    const SClock &prefix = Event(write).m_Prefix;
    const auto wasThere = [&](SEventId other)
    { return other.IsInitial() || Event(other).m_Stamp <= event.m_Stamp || prefix.Has(other); };

    if (event.m_IsWrite)
        for (u32 thread = 0; thread < kMaxThreads; ++thread)
            for (u32 index = 0; index < Count(thread); ++index)
            {
                const SEventId reader = {static_cast<u16>(thread), static_cast<u16>(index)};
                const SEvent &other = Event(reader);
                if (!other.m_IsWrite && other.m_Source == id && wasThere(reader))
                    return false;
            }
    const SEventId chosen = event.m_IsWrite ? id : event.m_Source;
    if (!wasThere(chosen))
        return false;
    const std::vector<SEventId> &writes = m_Locations[event.m_Location].m_Writes;
    return std::none_of(writes.begin() + _RankOf(event.m_Location, chosen), writes.end(), wasThere);
}

std::vector<SEventId> CExecutionGraph::ReadsToRevisit(SEventId write) const
{
    const SClock &prefix = Event(write).m_Prefix;
    std::vector<SEventId> later; // what does not lead to the write
    for (u32 thread = 0; thread < kMaxThreads; ++thread)
        for (u32 index = prefix.m_Counts[thread]; index < Count(thread); ++index)
            later.push_back({static_cast<u16>(thread), static_cast<u16>(index)});
    // From the last on back: where one event was not the obvious, no read before it can be revisited.
    std::sort(later.begin(), later.end(), [&](SEventId a, SEventId b) { return Event(a).m_Stamp > Event(b).m_Stamp; });
    std::vector<SEventId> reads;
    for (const SEventId id : later)
    {
        if (!_IsObvious(id, write))
            break;
        if (!Event(id).m_IsWrite && Event(id).m_Location == Event(write).m_Location)
            reads.push_back(id);
    }
    return reads;
}

CExecutionGraph CExecutionGraph::Revisited(SEventId read, SEventId write) const
{
    const u32 stamp = Event(read).m_Stamp;
    const SClock &prefix = Event(write).m_Prefix;
    CExecutionGraph graph;
    graph.m_NextStamp = m_NextStamp;
    graph.m_Locations = m_Locations;
    for (u32 thread = 0; thread < kMaxThreads; ++thread)
    {
        u32 count = prefix.m_Counts[thread];
        while (count < Count(thread) && m_Threads[thread][count].m_Stamp <= stamp)
            ++count;
        graph.m_Threads[thread].assign(m_Threads[thread].begin(), m_Threads[thread].begin() + count);
    }
    for (SLocation &location : graph.m_Locations)
    {
        const auto isGone = [&](SEventId id) { return id.m_Index >= graph.Count(id.m_Thread); };
        location.m_Writes.erase(std::remove_if(location.m_Writes.begin(), location.m_Writes.end(), isGone),
                                location.m_Writes.end());
    }
    graph.SetSource(read, write);
    return graph;
}

// ---- Texts -------------------------------------------------------------------------------------------------------------

std::string CExecutionGraph::ToText() const
{
    constexpr const char *kOrders[] = {"relaxed", "acquire", "release", "acquire-release", "sequential"};
    std::string text;
    for (u32 thread = 0; thread < kMaxThreads; ++thread)
        for (const SEvent &event : m_Threads[thread])
        {
            char line[160];
            std::snprintf(line, sizeof(line), "    thread %u %s word %u: %llu, %s", thread,
                          event.m_IsWrite ? "writes" : "reads ", event.m_Location, event.m_Value,
                          kOrders[event.m_Order]);
            text += line;
            if (!event.m_IsWrite && !event.m_Source.IsInitial())
            {
                std::snprintf(line, sizeof(line), ", of thread %u", event.m_Source.m_Thread);
                text += line;
            }
            text += '\n';
        }
    return text;
}

std::vector<u32> CExecutionGraph::Signature() const
{
    const auto asNumber = [](SEventId id) { return u32(id.m_Thread) << 16 | id.m_Index; };
    std::vector<u32> signature;
    for (const std::vector<SEvent> &events : m_Threads)
        for (const SEvent &event : events)
            signature.push_back(event.m_IsWrite ? ~0u : asNumber(event.m_Source));
    // By address: words are numbered as they were met.
    std::vector<const SLocation *> locations;
    for (const SLocation &location : m_Locations)
        locations.push_back(&location);
    std::sort(locations.begin(), locations.end(),
              [](const SLocation *a, const SLocation *b) {
                  return a->m_Address != b->m_Address ? a->m_Address < b->m_Address : a->m_Generation < b->m_Generation;
              });
    for (const SLocation *location : locations)
        for (const SEventId write : location->m_Writes)
            signature.push_back(asNumber(write));
    return signature;
}

} // namespace QuorvaneTest::Concurrency
