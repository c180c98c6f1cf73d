// The exploration: whose turn it is, what an operation may find, and which graphs come of it.
#include "exploration.h"

#include <cstring>
#include <utility>

#include "fibers.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

CExploration *g_Exploration = nullptr;
// While instrumented code of the program runs, which is not the case within the checker.
bool g_IsInProgram = false;

// The checker's own code, called from the program's: it may be instrumented where both use one template of the standard
// library.
class CInChecker
{
public:
    CInChecker() : m_WasInProgram(g_IsInProgram) { g_IsInProgram = false; }
    ~CInChecker() { g_IsInProgram = m_WasInProgram; }
    CInChecker(const CInChecker &) = delete;
    CInChecker &operator=(const CInChecker &) = delete;

private:
    bool m_WasInProgram;
};

u64 ReadMemory(ureg address, u32 bytes)
{
    u64 value = 0;
    unsigned char raw[8] = {};
    std::memcpy(raw, reinterpret_cast<const void *>(address), bytes);
    for (u32 i = bytes; i-- != 0;)
        value = value << 8 | raw[i];
    return value;
}

void WriteMemory(ureg address, u32 bytes, u64 value)
{
    unsigned char raw[8];
    for (u32 i = 0; i < bytes; ++i)
        raw[i] = static_cast<unsigned char>(value >> 8 * i);
    std::memcpy(reinterpret_cast<void *>(address), raw, bytes);
}

u64 Modified(const SAccess &access, u64 value)
{
    switch (access.m_Kind)
    {
    case Access_Add:
        value += access.m_Operand;
        break;
    case Access_Subtract:
        value -= access.m_Operand;
        break;
    case Access_And:
        value &= access.m_Operand;
        break;
    case Access_Or:
        value |= access.m_Operand;
        break;
    case Access_Xor:
        value ^= access.m_Operand;
        break;
    default:
        value = access.m_Operand;
    }
    return access.m_Bytes == 8 ? value : value & ((u64(1) << 8 * access.m_Bytes) - 1);
}

EOrder WithMistake(EOrder order, EMistake mistake)
{
    switch (mistake)
    {
    case Mistake_Relaxed:
        return Order_Relaxed;
    case Mistake_OnlyAcquire:
        return Order_Acquire;
    case Mistake_OnlyRelease:
        return Order_Release;
    case Mistake_NotSequential:
        return order == Order_Sequential ? Order_AcquireRelease : order;
    default:
        return order;
    }
}

void RunThread(u32 thread)
{
    g_IsInProgram = true;
    g_Exploration->Program().Run(thread);
    g_IsInProgram = false;
}

} // namespace

SOutcome Explore(CProgram &program, const SOptions &options)
{
    return CExploration(program, options).Explore();
}

void Require(bool holds, const char *what)
{
    if (!holds)
        g_Exploration->Fail(std::string("does not hold: ") + what);
}

void ReportLater(const char *what)
{
    g_Exploration->FailSoon(std::string("is reported: ") + what);
}

const CExecutionGraph &CurrentExecution()
{
    return g_Exploration->Graph();
}

CExploration::CExploration(CProgram &program, const SOptions &options) : m_Program(program), m_Options(options) {}

CExploration *CExploration::Active()
{
    return g_IsInProgram ? g_Exploration : nullptr;
}

// ---- Runs --------------------------------------------------------------------------------------------------------------

SOutcome CExploration::Explore()
{
    g_Exploration = this;
    CFibers::SetBody(&RunThread);
    m_Pending.emplace_back();
    while (!m_Pending.empty() && m_Outcome.m_Fault.empty())
    {
        m_Graph = std::move(m_Pending.back());
        m_Pending.pop_back();
        _RunOnce();
        if (m_Outcome.m_Executions > m_Options.m_MaxExecutions)
            m_Outcome.m_Fault = "more executions than allowed";
    }
    g_Exploration = nullptr;
    return m_Outcome;
}

void CExploration::_RunOnce()
{
    CCheckedMemory::Get().Begin();
    m_IsOver = false;
    m_Touched.clear();
    m_Program.SetUp();
    for (u32 thread = 0; thread < m_Program.Threads(); ++thread)
    {
        m_Threads[thread] = SThread();
        CFibers::Restart(thread);
    }
    for (u32 thread = _WhoseTurn(); thread != kNobody && !m_IsOver; thread = _WhoseTurn())
    {
        m_Thread = thread;
        m_IsInThread = true;
        CFibers::Resume(thread);
        m_IsInThread = false;
    }
    if (!m_IsOver)
        _EndExecution();
}

void CExploration::_EndExecution()
{
    for (u32 thread = 0; thread < m_Program.Threads(); ++thread)
        if (m_Threads[thread].m_IsWaiting)
        {
            ++m_Outcome.m_Blocked;
            if (_WaitsForEver())
                Fail("a thread waits for ever");
            return;
        }
    ++m_Outcome.m_Executions;
    _WriteBack();
    m_Program.Finish();
    _CheckMemory();
}

// Whether all that wait have seen the last there is to see.
bool CExploration::_WaitsForEver() const
{
    for (u32 thread = 0; thread < m_Program.Threads(); ++thread)
    {
        if (!m_Threads[thread].m_IsWaiting || m_Graph.Count(thread) == 0)
            continue;
        const SEvent &last = m_Graph.Event({static_cast<u16>(thread), static_cast<u16>(m_Graph.Count(thread) - 1)});
        if (!last.m_IsWrite && !m_Graph.IsLast(last.m_Location, last.m_Source))
            return false;
    }
    return true;
}

// What comes after the threads reads and writes the words as they are.
void CExploration::_WriteBack()
{
    for (const STouched &touched : m_Touched)
    {
        const ureg address = m_Graph.Locations()[touched.m_Location].m_Address;
        if (CCheckedMemory::Get().LocationAt(address, touched.m_Bytes) == touched.m_Location)
            WriteMemory(address, touched.m_Bytes, m_Graph.LastValueOf(touched.m_Location));
    }
}

// ---- Turns -------------------------------------------------------------------------------------------------------------

// Whether the thread's next event is known, and what it reads is done.
bool CExploration::_MayFollow(u32 thread) const
{
    const u32 next = m_Threads[thread].m_Next;
    if (next == m_Graph.Count(thread))
        return false;
    const SEvent &event = m_Graph.Event({static_cast<u16>(thread), static_cast<u16>(next)});
    return event.m_IsWrite || event.m_Source.IsInitial() ||
           m_Threads[event.m_Source.m_Thread].m_Next > event.m_Source.m_Index;
}

bool CExploration::_IsFollowing() const
{
    for (u32 thread = 0; thread < m_Program.Threads(); ++thread)
        if (m_Threads[thread].m_Next != m_Graph.Count(thread))
            return true;
    return false;
}

// Depends on the graph alone. A read-modify-write is one step, so its write comes first.
u32 CExploration::_WhoseTurn() const
{
    const bool isFollowing = _IsFollowing();
    u32 first = kNobody;
    for (u32 thread = m_Program.Threads(); thread-- != 0;)
    {
        if (CFibers::HasEnded(thread) || m_Threads[thread].m_IsWaiting || (isFollowing && !_MayFollow(thread)))
            continue;
        const bool isBetter = m_Threads[thread].m_IsModifying || first == kNobody || !m_Threads[first].m_IsModifying;
        first = isBetter ? thread : first;
    }
    return first;
}

void CExploration::_AwaitTurn()
{
    while (m_IsOver || (_IsFollowing() ? !_MayFollow(m_Thread) : _WhoseTurn() != m_Thread))
        CFibers::Suspend();
}

// The thread comes back to neither of these.

void CExploration::_Stop()
{
    m_IsOver = true;
    while (m_IsInThread)
        CFibers::Suspend();
}

void CExploration::Fail(const std::string &what)
{
    const CInChecker inChecker;
    FailSoon(what);
    _Stop();
}

void CExploration::FailSoon(const std::string &what)
{
    if (m_Outcome.m_Fault.empty())
        m_Outcome.m_Fault = what + "\n" + m_Graph.ToText();
    m_IsOver = true;
}

void CExploration::Yield()
{
    const CInChecker inChecker;
    m_Threads[m_Thread].m_IsWaiting = m_Options.m_YieldsWait;
    while (m_Threads[m_Thread].m_IsWaiting)
        CFibers::Suspend();
}

// ---- Operations --------------------------------------------------------------------------------------------------------

EMistake CExploration::_MistakeOf(const SAccess &access) const
{
    const u32 offset = reinterpret_cast<ureg>(access.m_Address) % 16;
    for (const SMistake &mistake : m_Options.m_Mistakes)
        if (access.m_Kind == mistake.m_Access && access.m_Bytes == mistake.m_Bytes &&
            (mistake.m_Offset == ~0u || mistake.m_Offset == offset))
            return mistake.m_What;
    return Mistake_None;
}

u64 CExploration::Perform(const SAccess &intended)
{
    const CInChecker inChecker;
    SAccess access = intended;
    const EMistake mistake = _MistakeOf(access);
    access.m_Order = WithMistake(access.m_Order, mistake);
    access.m_OrderElse = WithMistake(access.m_OrderElse, mistake);
    if (access.m_Kind == Access_Store)
    {
        _Write(access, access.m_Operand, false);
        return 0;
    }
    const bool modifies = access.m_Kind != Access_Load;
    const u64 before = _Read(access, modifies && mistake != Mistake_NotAtomic);
    if (modifies && (access.m_Kind != Access_CompareExchange || before == access.m_Expected))
        _Write(access, Modified(access, before), mistake != Mistake_NotAtomic);
    m_Threads[m_Thread].m_IsModifying = false;
    if (mistake != Mistake_ReadAgain)
        return before;
    const SAccess again = {Access_Load, access.m_Address, access.m_Bytes, access.m_Order};
    return _Read(again, false) + access.m_Operand;
}

u64 CExploration::_Read(const SAccess &access, bool isModifying)
{
    _AwaitTurn();
    CCheckedMemory::Get().Access(MemoryAccess_AtomicRead, access.m_Address, access.m_Bytes, _Place(), _Known());
    _CheckMemory();
    SEvent event;
    event.m_Location = static_cast<u16>(_Locate(access));
    event.m_Order = event.m_OrderIfEqual = access.m_Order;
    event.m_OrderElse = access.m_OrderElse;
    event.m_IsComparing = access.m_Kind == Access_CompareExchange;
    event.m_Expected = access.m_Expected;
    const SEventId id = {static_cast<u16>(m_Thread), static_cast<u16>(m_Threads[m_Thread].m_Next)};
    if (id.m_Index == m_Graph.Count(m_Thread))
        _ChooseSource(event);
    else
        _ExpectSame(m_Graph.Event(id), event.m_Location, false);
    ++m_Threads[m_Thread].m_Next;
    const u64 value = m_Graph.Event(id).m_Value;
    m_Threads[m_Thread].m_IsModifying =
        isModifying && (access.m_Kind != Access_CompareExchange || value == access.m_Expected);
    return value;
}

void CExploration::_Write(const SAccess &access, u64 value, bool isExclusive)
{
    _AwaitTurn();
    CCheckedMemory::Get().Access(MemoryAccess_AtomicWrite, access.m_Address, access.m_Bytes, _Place(), _Known());
    _CheckMemory();
    SEvent event;
    event.m_IsWrite = true;
    event.m_IsExclusive = isExclusive;
    event.m_Location = static_cast<u16>(_Locate(access));
    event.m_Order = access.m_Order;
    event.m_Value = value;
    const SEventId id = {static_cast<u16>(m_Thread), static_cast<u16>(m_Threads[m_Thread].m_Next)};
    if (id.m_Index == m_Graph.Count(m_Thread))
        _ChoosePlace(event);
    else
        _ExpectSame(m_Graph.Event(id), event.m_Location, true);
    ++m_Threads[m_Thread].m_Next;
}

void CExploration::Read(const volatile void *address, ureg bytes)
{
    const CInChecker inChecker;
    CCheckedMemory::Get().Access(MemoryAccess_Read, address, bytes, _Place(), _Known());
    _CheckMemory();
}

void CExploration::Write(const volatile void *address, ureg bytes)
{
    const CInChecker inChecker;
    CCheckedMemory::Get().Access(MemoryAccess_Write, address, bytes, _Place(), _Known());
    _CheckMemory();
}

void CExploration::Free(void *block)
{
    const CInChecker inChecker;
    CCheckedMemory::Get().Free(block, _Place(), _Known());
    _CheckMemory();
}

void CExploration::_CheckMemory()
{
    if (m_IsOver)
        _Stop();
    if (CCheckedMemory::Get().Fault() != nullptr)
        Fail(CCheckedMemory::Get().Fault());
}

// ---- Graphs ------------------------------------------------------------------------------------------------------------

u32 CExploration::_Locate(const SAccess &access)
{
    CCheckedMemory &memory = CCheckedMemory::Get();
    const ureg address = reinterpret_cast<ureg>(access.m_Address);
    const u32 known = memory.LocationAt(address, access.m_Bytes);
    if (known != CCheckedMemory::kNoLocation)
        return known;
    const u32 location = m_Graph.LocationOf(address, memory.GenerationAt(address));
    m_Graph.SetInitial(location, ReadMemory(address, access.m_Bytes));
    memory.SetLocation(address, access.m_Bytes, location);
    m_Touched.push_back(STouched{location, access.m_Bytes});
    return location;
}

void CExploration::_ExpectSame(const SEvent &event, u32 location, bool isWrite)
{
    if (event.m_Location != location || event.m_IsWrite != isWrite)
        Fail("the program takes other steps when it runs again");
}

void CExploration::_ChooseSource(const SEvent &event)
{
    const SEventId read = m_Graph.Add(m_Thread, event);
    const std::vector<SEventId> sources = m_Graph.SourcesOf(read);
    for (u32 i = 1; i < sources.size(); ++i)
    {
        m_Pending.push_back(m_Graph);
        m_Pending.back().SetSource(read, sources[i]);
    }
    m_Graph.SetSource(read, sources[0]);
}

void CExploration::_ChoosePlace(const SEvent &event)
{
    const SEventId write = m_Graph.Add(m_Thread, event);
    _QueueRevisits(write);
    const std::vector<u32> places = m_Graph.PlacesOf(write);
    // Two read-modify-writes have read one write. What this one leads to was queued above.
    if (places.empty())
        _Stop();
    for (u32 i = 1; i < places.size(); ++i)
    {
        m_Pending.push_back(m_Graph);
        m_Pending.back().SetPlace(write, places[i]);
    }
    m_Graph.SetPlace(write, places[0]);
}

void CExploration::_QueueRevisits(SEventId write)
{
    for (const SEventId read : m_Graph.ReadsToRevisit(write))
    {
        CExecutionGraph graph = m_Graph.Revisited(read, write);
        for (const u32 place : graph.PlacesOf(write))
        {
            CExecutionGraph placed = graph;
            placed.SetPlace(write, place);
            if (placed.IsConsistent(read))
                m_Pending.push_back(std::move(placed));
        }
    }
}

} // namespace QuorvaneTest::Concurrency
