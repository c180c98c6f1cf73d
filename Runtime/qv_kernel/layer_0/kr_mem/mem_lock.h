// A lock that a fork does not leave locked for ever.
//
// A copy of a process has but the thread that made it. What other threads held at that moment stays held, and what it
// guards may be in the middle of a change. Handlers around the fork cannot mend that: those of the program run before
// and after ours, may use strings, and may wait for threads that wait for this lock. So the lock remembers the process
// of its holder, and the first who finds another one there takes it and is told.
//
// For short sections. Who waits lets other threads run, those of lower priority too.
#pragma once

#include "kr_atomic.h"

#include "mem_port.h"

namespace Quorvane::Mem::Internal
{

class CProcessLock
{
public:
    constexpr CProcessLock() = default;

    // Takes the lock unless a thread of this process holds it. Returns: whether it was taken; `outWasLeft` then tells
    // whether it was left by a thread of another process, so that what it guards may be half changed.
    bool TryLock(u32 process, bool &outWasLeft)
    {
        // The exchange is a full barrier: what the holder before released is visible behind it.
        const u32 holder = m_Holder.Load();
        outWasLeft = holder != kNobody;
        return holder != process && m_Holder.SetValueIfEqualTo(process, holder);
    }
    // Waits for it. Returns: whether it was left. Not to be asked for by the thread that holds it.
    bool Lock(u32 process)
    {
        bool wasLeft = false;
        for (u32 rounds = 0; !TryLock(process, wasLeft); ++rounds)
            PortBackOff(rounds);
        return wasLeft;
    }
    void Unlock() { m_Holder.StoreReleased(kNobody); }

private:
    static constexpr u32 kNobody = 0;

    TAtomic<u32> m_Holder;
};

enum EWaiting : u32
{
    Waiting_AsLongAsItTakes,
    Waiting_NotAtAll,
};

// Holds a lock within a scope; where it is not waited for, perhaps not.
class CProcessGuard
{
public:
    explicit CProcessGuard(CProcessLock &lock, EWaiting waiting = Waiting_AsLongAsItTakes,
                           u32 process = PortProcessId())
        : m_Lock(lock)
    {
        if (waiting == Waiting_NotAtAll)
            m_IsHeld = lock.TryLock(process, m_WasLeft);
        else
            m_WasLeft = lock.Lock(process);
    }
    ~CProcessGuard()
    {
        if (m_IsHeld)
            m_Lock.Unlock();
    }
    CProcessGuard(const CProcessGuard &) = delete;
    CProcessGuard &operator=(const CProcessGuard &) = delete;

    bool IsHeld() const { return m_IsHeld; }
    bool WasLeft() const { return m_IsHeld && m_WasLeft; }

private:
    CProcessLock &m_Lock;
    bool m_IsHeld = true;
    bool m_WasLeft = false;
};

} // namespace Quorvane::Mem::Internal
