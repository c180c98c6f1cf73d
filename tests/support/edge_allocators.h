// Allocators for what lies at an edge: of the memory that may be touched, and of the memory that is to be had.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "guarded_page.h"
#include "kr_mem.h"

namespace QuorvaneTest
{

// While one lives, every block ends right before a protected page, and lies behind another one: whoever reads or writes
// outside a block ends the test program. Blocks begin at the end of a page as far as their alignment lets them.
// Fresh bytes hold garbage. One at a time, one thread, and not while other blocks are live. Its destructor adds a test
// failure for every block still live.
class CPageEndAllocator
{
public:
    CPageEndAllocator();
    ~CPageEndAllocator();
    CPageEndAllocator(const CPageEndAllocator &) = delete;
    CPageEndAllocator &operator=(const CPageEndAllocator &) = delete;

private:
    struct SBlock
    {
        std::unique_ptr<CGuardedPage> m_Pages;
        Quorvane::u64 m_Size;
    };

    static void *_Alloc(Quorvane::u64 size, Quorvane::u32 alignment, Quorvane::Mem::EAllocType type,
                        Quorvane::Mem::EOrigin origin, const char *tag, const char *file, Quorvane::u32 line,
                        const char *function);
    static void *_Realloc(void *block, Quorvane::u64 newSize, Quorvane::u32 alignment, Quorvane::Mem::EAllocType type,
                          const char *tag, const char *file, Quorvane::u32 line, const char *function);
    static void _Free(void *block, Quorvane::Mem::EAllocType type, Quorvane::Mem::EOrigin origin, const char *tag,
                      const char *file, Quorvane::u32 line, const char *function);

    Quorvane::Mem::SAllocator m_Before;
    std::map<void *, SBlock> m_Live;
};

// While one lives, it asks `refuses` about every request, with the request's number, counted from 1, and its size.
// What is not refused goes on to the allocator before it, so blocks may be live when it comes and when it goes.
// One at a time, one thread.
class CChoosyAllocator
{
public:
    using FRefuses = std::function<bool(Quorvane::u64 nth, Quorvane::u64 size)>;

    explicit CChoosyAllocator(FRefuses refuses);
    ~CChoosyAllocator();
    CChoosyAllocator(const CChoosyAllocator &) = delete;
    CChoosyAllocator &operator=(const CChoosyAllocator &) = delete;

    // The sizes asked for, refused ones included.
    const std::vector<Quorvane::u64> &Sizes() const { return m_Sizes; }

private:
    static void *_Alloc(Quorvane::u64 size, Quorvane::u32 alignment, Quorvane::Mem::EAllocType type,
                        Quorvane::Mem::EOrigin origin, const char *tag, const char *file, Quorvane::u32 line,
                        const char *function);
    static void *_Realloc(void *block, Quorvane::u64 newSize, Quorvane::u32 alignment, Quorvane::Mem::EAllocType type,
                          const char *tag, const char *file, Quorvane::u32 line, const char *function);

    bool _Refuses(Quorvane::u64 size);

    FRefuses m_Decide;
    std::vector<Quorvane::u64> m_Sizes;
    Quorvane::Mem::SAllocator m_Before;
};

} // namespace QuorvaneTest
