// An allocator for tests: it records every block, refuses on demand, and notices every misuse.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "kr_mem.h"

namespace QuorvaneTest
{

// One call of the hook, in the order of the calls.
struct SAllocatorCall
{
    enum EKind
    {
        Kind_Alloc,
        Kind_Realloc,
        Kind_Free,
    };

    EKind m_Kind;
    void *m_Block; // what was asked to be resized or freed; null for an allocation
    void *m_Result;
    Quorvane::u64 m_Size;
    Quorvane::u32 m_Alignment;
    Quorvane::Mem::EAllocType m_Type;
    Quorvane::Mem::EOrigin m_Origin; // Origin_Alloc for a reallocation
    std::string m_Tag;
    std::string m_File;
    Quorvane::u32 m_Line;
    std::string m_Function;
};

// While one lives, it is the kernel's allocator. Every block stands between two canaries,
// fresh bytes hold garbage (0xCD), freed bytes are overwritten (0xDD), and a reallocation always
// moves. Its destructor adds a test failure for every block still live and for every misuse seen: a free with another
// origin, of an unknown block, or a write before or behind a block. One at a time; not while other blocks are live.
class CTestAllocator
{
public:
    CTestAllocator();
    ~CTestAllocator();
    CTestAllocator(const CTestAllocator &) = delete;
    CTestAllocator &operator=(const CTestAllocator &) = delete;

    // Refuses the n-th request (allocation or reallocation) from now on, counted from 1, once; 0 refuses none.
    void RefuseNth(Quorvane::u64 n);
    // Refuses the n-th request from now on and all that follow; 0 refuses none.
    void RefuseFromNth(Quorvane::u64 n);
    // Requests since the last call of one of the above, refused ones included.
    Quorvane::u64 RequestCount() const;
    // True when at least one request was refused since then.
    bool HasRefused() const;

    Quorvane::u64 LiveBlocks() const;
    Quorvane::u64 LiveBytes() const;
    std::vector<SAllocatorCall> Calls() const;
    // Only the requests that were granted and not frees, in order: handy to check sizes.
    std::vector<SAllocatorCall> Requests() const;
    void ForgetCalls();

private:
    struct SBlock
    {
        Quorvane::u64 m_Size;
        Quorvane::u32 m_Alignment;
        Quorvane::Mem::EOrigin m_Origin;
        void *m_Raw;
    };

    static void *_Alloc(Quorvane::u64 size, Quorvane::u32 alignment, Quorvane::Mem::EAllocType type,
                        Quorvane::Mem::EOrigin origin, const char *tag, const char *file, Quorvane::u32 line,
                        const char *function);
    static void *_Realloc(void *block, Quorvane::u64 newSize, Quorvane::u32 alignment, Quorvane::Mem::EAllocType type,
                          const char *tag, const char *file, Quorvane::u32 line, const char *function);
    static void _Free(void *block, Quorvane::Mem::EAllocType type, Quorvane::Mem::EOrigin origin, const char *tag,
                      const char *file, Quorvane::u32 line, const char *function);

    bool _Refuses();
    void *_Take(Quorvane::u64 size, Quorvane::u32 alignment, Quorvane::Mem::EOrigin origin);
    void _Give(void *block);
    void _Fault(const std::string &what);

    mutable std::mutex m_Lock;
    Quorvane::Mem::SAllocator m_Before;
    std::map<void *, SBlock> m_Live;
    std::vector<SAllocatorCall> m_Calls;
    std::vector<std::string> m_Faults;
    Quorvane::u64 m_Requests = 0;
    Quorvane::u64 m_RefuseAt = 0;
    bool m_RefuseOn = false;
    bool m_Refused = false;
};

} // namespace QuorvaneTest
