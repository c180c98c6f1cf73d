// Allocators that behave as no sane one does, to reach what a well-behaved one never shows.
#pragma once

#include <map>

#include "kr_mem.h"

namespace QuorvaneTest
{

// While one lives, blocks that are to be 16-byte aligned lie 8 bytes off. One at a time, one thread, and not while
// other blocks are live.
class CMisalignedAllocator
{
public:
    CMisalignedAllocator();
    ~CMisalignedAllocator();
    CMisalignedAllocator(const CMisalignedAllocator &) = delete;
    CMisalignedAllocator &operator=(const CMisalignedAllocator &) = delete;

private:
    Quorvane::Mem::SAllocator m_Before;
};

// While one lives, blocks of any size are granted, as address space that takes memory only where it is touched. Counts
// the requests. Its destructor adds a test failure for every block still live. The same restrictions.
class CHugeAllocator
{
public:
    CHugeAllocator();
    ~CHugeAllocator();
    CHugeAllocator(const CHugeAllocator &) = delete;
    CHugeAllocator &operator=(const CHugeAllocator &) = delete;

    // False where the machine does not hand out address space so freely; such a test has to be skipped.
    static bool Supported();

    Quorvane::u64 RequestCount() const { return m_Requests; }
    Quorvane::u64 LastSize() const { return m_LastSize; }
    // Whether the machine ever had no address space left.
    bool WasShort() const { return m_WasShort; }

private:
    static void *_Alloc(Quorvane::u64 size, Quorvane::u32 alignment, Quorvane::Mem::EAllocType type,
                        Quorvane::Mem::EOrigin origin, const char *tag, const char *file, Quorvane::u32 line,
                        const char *function);
    static void *_Realloc(void *block, Quorvane::u64 newSize, Quorvane::u32 alignment, Quorvane::Mem::EAllocType type,
                          const char *tag, const char *file, Quorvane::u32 line, const char *function);
    static void _Free(void *block, Quorvane::Mem::EAllocType type, Quorvane::Mem::EOrigin origin, const char *tag,
                      const char *file, Quorvane::u32 line, const char *function);

    Quorvane::Mem::SAllocator m_Before;
    std::map<void *, Quorvane::u64> m_Live;
    Quorvane::u64 m_Requests = 0;
    Quorvane::u64 m_LastSize = 0;
    bool m_WasShort = false;
};

} // namespace QuorvaneTest
