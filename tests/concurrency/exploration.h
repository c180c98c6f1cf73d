// The exploration that is under way: runs that follow graphs and extend them. What the instrumented code calls.
#pragma once

#include "checker.h"

namespace QuorvaneTest::Concurrency
{

struct SAccess
{
    EAccess m_Kind;
    volatile void *m_Address;
    u32 m_Bytes;
    EOrder m_Order;
    EOrder m_OrderElse = Order_Relaxed; // of a compare-exchange that finds another value
    u64 m_Operand = 0;
    u64 m_Expected = 0;
};

class CExploration
{
public:
    CExploration(CProgram &program, const SOptions &options);

    SOutcome Explore();

    // The one whose checked thread runs at this moment; null for none, and within the checker itself.
    static CExploration *Active();

    // For the running thread: an atomic operation, which answers the value before it; plain accesses; a wait for others.
    u64 Perform(const SAccess &access);
    void Read(const volatile void *address, ureg bytes);
    void Write(const volatile void *address, ureg bytes);
    void Free(void *block);
    void Yield();
    // Ends the exploration with a fault. The running thread stops where it stands, or, where it must not, a little later.
    void Fail(const std::string &what);
    void FailSoon(const std::string &what);

    u32 Thread() const { return m_Thread; }
    const CExecutionGraph &Graph() const { return m_Graph; }
    CProgram &Program() const { return m_Program; }

private:
    static constexpr u32 kNobody = ~0u;

    struct STouched
    {
        u32 m_Location;
        u32 m_Bytes;
    };

    struct SThread
    {
        u32 m_Next = 0; // the event that comes next
        bool m_IsModifying = false;
        bool m_IsWaiting = false;
    };

    void _RunOnce();
    void _EndExecution();
    u32 _WhoseTurn() const;
    bool _MayFollow(u32 thread) const;
    bool _IsFollowing() const;
    void _AwaitTurn();
    void _Stop();
    bool _WaitsForEver() const;
    void _WriteBack();

    EMistake _MistakeOf(const SAccess &access) const;
    u64 _Read(const SAccess &access, bool isModifying);
    void _Write(const SAccess &access, u64 value, bool isExclusive);
    u32 _Locate(const SAccess &access);
    void _ExpectSame(const SEvent &event, u32 location, bool isWrite);
    void _ChooseSource(const SEvent &event);
    void _ChoosePlace(const SEvent &event);
    void _QueueRevisits(SEventId write);
    void _CheckMemory();
    SPlace _Place() const { return {m_Thread, m_Threads[m_Thread].m_Next}; }
    SClock _Known() const { return m_Graph.KnownBefore(m_Thread, m_Threads[m_Thread].m_Next); }

    CProgram &m_Program;
    SOptions m_Options;
    SOutcome m_Outcome;
    std::vector<CExecutionGraph> m_Pending;
    CExecutionGraph m_Graph;
    SThread m_Threads[kMaxThreads];
    std::vector<STouched> m_Touched;
    u32 m_Thread = 0;
    bool m_IsOver = false;
    bool m_IsInThread = false;
};

} // namespace QuorvaneTest::Concurrency
