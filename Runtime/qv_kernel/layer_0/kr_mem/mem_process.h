// What all copies of this library in one process share.
//
// A program and its plugins may each hold the library: linked from the archive, with its symbols exported or hidden, or
// beside the shared library. Each copy has its own code, its own variables and its own caches of the threads. But a
// string that one copy made may be grown or dropped by any other, so the heap of small blocks is one, and so is the
// allocator that SetAllocator installs.
//
// The copies find it by its address. It follows from a number by chance that the system gives each program, so that every
// copy computes the same few places, and nobody from outside can guess them; whoever comes first maps the memory there,
// which the system grants to one only. It stays until the process ends: copies come and go with their plugins.
//
// Copies of different layout do not share. Between those, no block may be exchanged, and one that is gets reported.
#pragma once

#include <atomic>

#include "kr_mem.h"

#include "mem_lock.h"
#include "mem_slabs.h"

namespace Quorvane::Mem::Internal
{

struct SThreadCache;

// What one copy of the library adds to the process. Constant-initialised in each.
struct SCopy
{
    // Makes an allocator the one that this copy uses; null: the default one.
    void (*m_UseAllocator)(const SAllocator *allocator);
    SCopy *m_Next;
};

struct SProcess
{
    // kProcessLayout once all else is initialised. Never changes again.
    TAtomic<u64> m_Layout;

    // Any thread at any time.
    CSlabHeap m_Heap;

    // Guards what follows.
    CProcessLock m_Lock;
    SCopy *m_Copies;
    SThreadCache *m_Caches; // of all threads, and of all copies
    bool m_IsReplaced;      // whether somebody has installed m_Allocator
    SAllocator m_Allocator;
};

// Joins what other copies have begun, or begins it. Returns: null where the system refuses memory at all places.
// Requires: any thread, at any time; all calls in a process answer alike once one of them was answered.
SProcess *FindOrMakeProcess();

// What this copy of the library has joined; null before.
QV_INTERNAL_HIDDEN extern std::atomic<SProcess *> g_Process;

// Requires: that this copy has joined.
inline SProcess &Process()
{
    // Relaxed: everybody who writes it writes the same, and whoever asks here has seen the policy, or wrote it.
    return *g_Process.load(std::memory_order_relaxed);
}

// Holds the lock of what the copies share. After a fork in the middle of a change the lists may be torn: what stands in
// them belongs to threads that are not here.
class CSharedGuard
{
public:
    explicit CSharedGuard(EWaiting waiting = Waiting_AsLongAsItTakes) : m_Guard(Process().m_Lock, waiting)
    {
        if (m_Guard.WasLeft())
            Process().m_Caches = nullptr;
    }

    bool IsHeld() const { return m_Guard.IsHeld(); }

private:
    CProcessGuard m_Guard;
};

// The places where it may lie, best first, and how many there are: for tests.
constexpr u32 kProcessPlaces = 3;
ureg ProcessPlace(u32 which);

// How often somebody who finds it in the making asks whether it is done: for tests.
constexpr u32 kMaxRoundsForProcess = 1000;

} // namespace Quorvane::Mem::Internal
