// The default allocator of a build with QV_MEM_TRACKING: the platform's blocks, each with a record of where it comes
// from. It answers for live blocks and bytes by tag, and reports a block that is freed with another origin than it was
// allocated with, freed twice, never allocated here, or still live at exit.
#include "mem_default.h"

#if defined(QV_MEM_TRACKING) && QV_MEM_TRACKING

#include <cstddef>
#include <cstring>

#include "kr_assert.h"
#include "mem_lock.h"
#include "mem_port.h"
#include "mem_wipe.h"

namespace Quorvane::Mem
{

namespace
{

// One block. Records come from the platform directly, so that tracking does not track itself.
struct SRecord
{
    SRecord *m_Next; // in its bucket
    void *m_Block;
    u64 m_Size;
    EOrigin m_Origin;
    u32 m_Line;
    const char *m_Tag;
    const char *m_File;
    bool m_Freed; // in quarantine, so that freeing it again is noticed
};

constexpr u32 kBucketBits = 16;
constexpr u32 kQuarantineBlocks = 256;
constexpr u32 kMaxLeaksReported = 16;

// Everything below is guarded by the lock. Each change leaves it whole at every moment, so that a copy of the process in
// which nobody finishes the change can go on.
QV_INTERNAL_CONSTINIT Internal::CProcessLock g_Lock;
// All records, chained by a hash of the block's address.
QV_INTERNAL_CONSTINIT SRecord *g_Buckets[1u << kBucketBits] = {};
// The blocks freed last, in a ring: the platform gets each of them when kQuarantineBlocks others were freed after it.
QV_INTERNAL_CONSTINIT SRecord *g_Quarantine[kQuarantineBlocks] = {};
QV_INTERNAL_CONSTINIT u32 g_QuarantineNext = 0;

// The link that holds the block's record, or the null link at the end of its bucket.
SRecord *&Find(const void *block)
{
    // Fibonacci hashing (Knuth, The Art of Computer Programming, vol. 3, 6.4): the top bits of the product.
    const u64 hash = Quorvane::Internal::WrappingProduct<u64>(reinterpret_cast<ureg>(block), 0x9E3779B97F4A7C15ull);
    SRecord **link = &g_Buckets[hash >> (64 - kBucketBits)];
    while (*link != nullptr && (*link)->m_Block != block)
        link = &(*link)->m_Next;
    return *link;
}

void Link(SRecord *record)
{
    SRecord *&end = Find(record->m_Block);
    record->m_Next = nullptr;
    end = record;
}

void Unlink(SRecord *record)
{
    Find(record->m_Block) = record->m_Next;
}

// Keeps the freed block, and gives the platform the one that has waited longest.
void Quarantine(SRecord *record)
{
    Internal::Wipe(record->m_Block, record->m_Size);
    record->m_Freed = true;
    SRecord *const longest = g_Quarantine[g_QuarantineNext];
    g_Quarantine[g_QuarantineNext] = record;
    g_QuarantineNext = (g_QuarantineNext + 1) % kQuarantineBlocks;
    if (longest == nullptr)
        return;
    Unlink(longest);
    Internal::PortFree(longest->m_Block);
    Internal::PortFree(longest);
}

// A fault, and a copy of the record it concerns: reported outside the lock, since a handler may allocate.
struct SFault
{
    const char *m_Expression = nullptr;
    const char *m_What = nullptr;
    SRecord m_Record = {};
};

void ReportFault(const SFault &fault, const void *block, const char *file, u32 line, const char *function)
{
    if (fault.m_Expression == nullptr)
        return;
    const SRecord &record = fault.m_Record;
    const int answer = Assert::EvalAssertFormat(
        file, function, static_cast<int>(line), fault.m_Expression, fault.m_Expression,
        "block %p %s (%llu bytes, tag \"%s\", allocated at %s(%u))", block, fault.m_What, record.m_Size,
        record.m_Tag != nullptr ? record.m_Tag : "", record.m_File != nullptr ? record.m_File : "", record.m_Line);
    if (answer == Assert::Internal::Answer_Break)
        Assert::Internal::Break();
}

// Requires the lock. Returns: the record of a live block, or null and the fault.
SRecord *FindLive(const void *block, SFault &outFault)
{
    SRecord *record = Find(block);
    if (record == nullptr)
    {
        outFault.m_Expression = "allocated";
        outFault.m_What = "was not allocated here, or was freed long ago";
        return nullptr;
    }
    outFault.m_Record = *record;
    if (!record->m_Freed)
        return record;
    outFault.m_Expression = "!freed";
    outFault.m_What = "was freed twice";
    return nullptr;
}

// Requires the lock. Returns: the record of a live block that may be resized, or null and the fault.
SRecord *FindResizable(const void *block, SFault &outFault)
{
    SRecord *const record = FindLive(block, outFault);
    if (record == nullptr || record->m_Origin == Origin_Alloc)
        return record;
    outFault.m_Expression = "origin == Origin_Alloc";
    outFault.m_What = "is an object and cannot be resized";
    return nullptr;
}

// The platform's reallocation leaves what it frees as it is. Null when memory is refused; then the block is as it was.
void *Reallocate(void *block, u64 size, u64 newSize, u32 alignment)
{
    if (!Internal::kWipes)
        return Internal::PortRealloc(block, newSize, alignment);
    void *const moved = Internal::PortAlloc(newSize, alignment);
    if (moved == nullptr)
        return nullptr;
    std::memcpy(moved, block, static_cast<std::size_t>(QVMin(size, newSize)));
    Internal::Wipe(block, size);
    Internal::PortFree(block);
    return moved;
}

// Requires the lock. `resized` is the record of the new block but for its address.
// Returns: null when memory is refused; the block and its record are then as they were.
void *Resize(SRecord *record, u32 alignment, const SRecord &resized)
{
    // Out of its bucket before its address changes.
    Unlink(record);
    void *const moved = Reallocate(record->m_Block, record->m_Size, resized.m_Size, alignment);
    if (moved != nullptr)
    {
        *record = resized;
        record->m_Block = moved;
    }
    Link(record);
    return moved;
}

bool SameTag(const char *a, const char *b)
{
    return std::strcmp(a != nullptr ? a : "", b) == 0;
}

// Calls `visit` with every live record.
template <typename Visit>
void ForEachLive(const Visit &visit)
{
    for (SRecord *record : g_Buckets)
        for (; record != nullptr; record = record->m_Next)
            if (!record->m_Freed)
                visit(*record);
}

// Runs after the destructors of all static objects: what is live now is lost.
QV_INTERNAL_AT_END_BEGIN
void ReportLeaks()
{
    SRecord leaks[kMaxLeaksReported] = {};
    u64 count = 0;
    u64 bytes = 0;
    {
        const Internal::CProcessGuard guard(g_Lock);
        ForEachLive(
            [&](const SRecord &record)
            {
                if (count < kMaxLeaksReported)
                    leaks[count] = record;
                ++count;
                bytes += record.m_Size;
            });
    }
    if (count == 0)
        return;
    for (u64 i = 0; i < QVMin<u64>(count, kMaxLeaksReported); ++i)
        ReportFault(SFault{"!leaked", "was leaked", leaks[i]}, leaks[i].m_Block, leaks[i].m_File, leaks[i].m_Line,
                    __PRETTY_FUNCTION__);
    Assert::EvalAssertFormat(__FILE__, __PRETTY_FUNCTION__, __LINE__, "!leaked", "!leaked",
                             "%llu blocks of %llu bytes were leaked", count, bytes);
}
QV_INTERNAL_AT_END_END

} // namespace

namespace Internal
{

void *DefaultAlloc(u64 size, u32 alignment, EAllocType, EOrigin origin, const char *tag, const char *file, u32 line,
                   const char *)
{
    SRecord *record = static_cast<SRecord *>(PortAlloc(sizeof(SRecord), 0));
    void *block = record != nullptr ? PortAlloc(size, alignment) : nullptr;
    if (block == nullptr)
    {
        PortFree(record);
        return nullptr;
    }
    *record = SRecord{nullptr, block, size, origin, line, tag, file, false};
    const Internal::CProcessGuard guard(g_Lock);
    Link(record);
    return block;
}

void *DefaultRealloc(void *block, u64 newSize, u32 alignment, EAllocType type, const char *tag, const char *file,
                     u32 line, const char *function)
{
    if (block == nullptr)
        return DefaultAlloc(newSize, alignment, type, Origin_Alloc, tag, file, line, function);
    SFault fault;
    void *moved = nullptr;
    {
        const Internal::CProcessGuard guard(g_Lock);
        if (SRecord *const record = FindResizable(block, fault))
            moved = Resize(record, alignment, SRecord{nullptr, nullptr, newSize, Origin_Alloc, line, tag, file, false});
    }
    ReportFault(fault, block, file, line, function);
    return moved;
}

void DefaultFree(void *block, EAllocType, EOrigin origin, const char *, const char *file, u32 line,
                 const char *function)
{
    SFault fault;
    {
        const Internal::CProcessGuard guard(g_Lock);
        if (SRecord *record = FindLive(block, fault))
        {
            if (record->m_Origin != origin)
            {
                fault.m_Expression = "origin == allocatedOrigin";
                fault.m_What = "was freed with another origin than it was allocated with";
            }
            Quarantine(record);
        }
    }
    ReportFault(fault, block, file, line, function);
}

} // namespace Internal

bool LiveFigures(const char *tag, SFigures &outFigures) noexcept
{
    outFigures = SFigures{0, 0};
    const Internal::CProcessGuard guard(g_Lock);
    ForEachLive(
        [&](const SRecord &record)
        {
            if (tag != nullptr && !SameTag(record.m_Tag, tag))
                return;
            ++outFigures.m_LiveBlocks;
            outFigures.m_LiveBytes += record.m_Size;
        });
    return true;
}

} // namespace Quorvane::Mem

#endif
