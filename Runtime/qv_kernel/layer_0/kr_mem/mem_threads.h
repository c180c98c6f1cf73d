// The threads' caches of small blocks: what one is, and how it begins and ends with its thread.
//
// A thread gets a cache when it has asked the heap often enough for one to pay, and gives all of it back when it ends. A
// key of the platform's threads tells of the end rather than a thread-local object: objects end before keys, whose
// destructors may use strings, and a thread-local object would keep a plugin loaded until its thread ends.
//
// All caches of the process, of all copies of the library, stand in one list: a copy that is unloaded leaves those of
// threads that go on, and the next one that joins reclaims them.
#pragma once

#include "mem_free_block.h"
#include "mem_policy.h"
#include "mem_port.h"

namespace Quorvane::Mem::Internal
{

class CSharedGuard;

// A thread's free blocks, a bin for each class. Arrays of what processors can index without multiplying first.
struct SBins
{
    SFreeBlock *m_First[kSmallClassCount];
    u32 m_Vacant[kSmallClassCount];    // how many more it may keep
    u16 m_Raises[kSmallClassCount];    // how often it was let keep more
    bool m_HasTaken[kSmallClassCount]; // from the heap, since it was full
};

// A large block that a thread has freed and keeps.
struct SKeptLarge
{
    void *m_Block;   // without its mark; null for none
    bool m_HasTaken; // one of about that size, since it freed two of them in a row
};

// Other copies of the library in the process walk the list and empty what they reclaim, so all copies agree about this
// layout.
struct SThreadCache
{
    SBins m_Bins;
    u32 m_Raises;                        // of all bins
    SKeptLarge m_Large[kKeptLargeCount]; // of so many steps, and part of one more
    // In the list of all caches of the process.
    SThreadCache *m_Next;
    SThreadCache *m_Previous;
    const void *m_Owner; // an address in the copy of the library whose cache this is; null where that has gone
};

// Caches without a block and without a vacancy, so that nobody ever writes to them: of a thread that has none yet, and of
// one whose cache has ended.
QV_INTERNAL_HIDDEN extern SThreadCache g_NoCacheYet;
QV_INTERNAL_HIDDEN extern SThreadCache g_CacheEnded;

// The calling thread's cache; never null.
QV_INTERNAL_HIDDEN extern QV_INTERNAL_PLAIN_THREAD_LOCAL SThreadCache *t_Cache QV_INTERNAL_INITIAL_EXEC;

inline SThreadCache *&ThreadCache()
{
    return PortOfThread(t_Cache);
}

// Makes the calling thread's cache if it has asked often enough by now. Returns: null when it has none.
QV_INTERNAL_HIDDEN SThreadCache *CacheOfThreadSlow();

// Makes the calling thread's cache if it has none, however seldom it has asked. Waits for threads that make or end theirs.
// Returns: null where there can be none.
QV_INTERNAL_HIDDEN SThreadCache *MakeCacheOfThread();

// The calling thread's cache, for which every block taken or given counts that did not come from one; null when it has
// none.
inline SThreadCache *CacheOfThread()
{
    SThreadCache *const cache = ThreadCache();
    return cache != &g_NoCacheYet && cache != &g_CacheEnded ? cache : CacheOfThreadSlow();
}

// From now on, threads of this copy of the library may have caches. Reclaims those that unloaded copies have left.
QV_INTERNAL_HIDDEN void BeginCaches(const CSharedGuard &);

// From now on, no thread gets one, and none that ends calls this copy. The caches of threads that go on stay as they are:
// at the end of a process they may be in use.
QV_INTERNAL_HIDDEN void EndCaches(const CSharedGuard &);

// Whether a block lies in some thread's bin of its class. Other threads may change theirs meanwhile: a block that belongs to
// the caller is in none of them all the same. Answers false while the list of caches is being changed.
// Cost: linear in the blocks of these bins.
QV_INTERNAL_HIDDEN bool LiesInAnyCache(const void *block, u32 sizeClass);

// Ends the calling thread's cache, if it has one. What the thread frees after that goes to the heap.
QV_INTERNAL_HIDDEN void EndCacheOfThread();

} // namespace Quorvane::Mem::Internal
