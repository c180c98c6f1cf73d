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

    // Returns: whether the lock was left by a thread of another process, so that what it guards may be half changed.
    // Not to be asked for by the thread that holds it.
    bool Lock(u32 process)
    {
        for (u32 rounds = 0;; ++rounds)
        {
            // The exchange is a full barrier: what the holder before released is visible behind it.
            const u32 holder = m_Holder.Load();
            if (holder != process && m_Holder.SetValueIfEqualTo(process, holder))
                return holder != kNobody;
            if (holder == process)
                PortBackOff(rounds);
        }
    }
    void Unlock() { m_Holder.StoreReleased(kNobody); }

private:
    static constexpr u32 kNobody = 0;

    TAtomic<u32> m_Holder;
};

// Holds a lock within a scope.
class CProcessGuard
{
public:
    explicit CProcessGuard(CProcessLock &lock, u32 process = PortProcessId())
        : m_Lock(lock), m_WasLeft(lock.Lock(process))
    {
    }
    ~CProcessGuard() { m_Lock.Unlock(); }
    CProcessGuard(const CProcessGuard &) = delete;
    CProcessGuard &operator=(const CProcessGuard &) = delete;

    bool WasLeft() const { return m_WasLeft; }

private:
    CProcessLock &m_Lock;
    bool m_WasLeft;
};

} // namespace Quorvane::Mem::Internal
