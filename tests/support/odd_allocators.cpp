#include "odd_allocators.h"

#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "test_port.h"

namespace QuorvaneTest
{

using namespace Quorvane;

namespace
{

// Misaligned blocks. Before the block handed out stand 8 bytes; blocks of default alignment are left alone.

constexpr u64 kShift = 8;

bool IsShifted(const void *block)
{
    return (reinterpret_cast<ureg>(block) & 15) == kShift;
}

void *MisalignedAlloc(u64 size, u32 alignment, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32,
                      const char *)
{
    void *const raw = TakeAligned(static_cast<size_t>(size + kShift), 16);
    if (raw == nullptr)
        return nullptr;
    return alignment >= 16 ? static_cast<char *>(raw) + kShift : raw;
}

void MisalignedFree(void *block, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *)
{
    GiveAligned(IsShifted(block) ? static_cast<char *>(block) - kShift : block);
}

void *MisalignedRealloc(void *, u64, u32, Mem::EAllocType, const char *, const char *, u32, const char *)
{
    ADD_FAILURE() << "no test of misaligned blocks resizes one";
    return nullptr;
}

CHugeAllocator *g_Huge = nullptr;

// Address space only; null when there is none.
void *Map(u64 size)
{
    return MapPages(static_cast<size_t>(size), PageAccess_ReadWrite);
}

void Unmap(void *block, u64 size)
{
    UnmapPages(block, static_cast<size_t>(size));
}

} // namespace

CMisalignedAllocator::CMisalignedAllocator()
    : m_Before(Mem::SetAllocator(Mem::SAllocator{&MisalignedAlloc, &MisalignedRealloc, &MisalignedFree}))
{
}

CMisalignedAllocator::~CMisalignedAllocator()
{
    Mem::SetAllocator(m_Before);
}

CHugeAllocator::CHugeAllocator()
{
    g_Huge = this;
    m_Before = Mem::SetAllocator(Mem::SAllocator{&_Alloc, &_Realloc, &_Free});
}

CHugeAllocator::~CHugeAllocator()
{
    Mem::SetAllocator(m_Before);
    g_Huge = nullptr;
    for (const auto &[block, size] : m_Live)
    {
        ADD_FAILURE() << "a block of " << size << " bytes was leaked";
        Unmap(block, size);
    }
}

bool CHugeAllocator::Supported()
{
    // Where addresses are short, twice the longest text is what tests there do with.
    constexpr u64 kMoreThanAnyTestNeeds = sizeof(void *) >= 8 ? 0x180000000u : 0x80000000u;
    constexpr u64 kLittle = 65536;
    void *const block = Map(kLittle);
    void *const moved = block != nullptr ? MovePages(block, kLittle, kMoreThanAnyTestNeeds) : nullptr;
    if (moved != nullptr)
        Unmap(moved, kMoreThanAnyTestNeeds);
    else if (block != nullptr)
        Unmap(block, kLittle);
    return moved != nullptr;
}

void *CHugeAllocator::_Alloc(u64 size, u32, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32,
                             const char *)
{
    CHugeAllocator &self = *g_Huge;
    ++self.m_Requests;
    self.m_LastSize = size;
    void *block = Map(size);
    if (block != nullptr)
        self.m_Live[block] = size;
    else
        self.m_WasShort = true;
    return block;
}

void *CHugeAllocator::_Realloc(void *block, u64 newSize, u32, Mem::EAllocType, const char *, const char *, u32,
                               const char *)
{
    CHugeAllocator &self = *g_Huge;
    ++self.m_Requests;
    self.m_LastSize = newSize;
    const u64 oldSize = self.m_Live.at(block);
    void *moved = MovePages(block, static_cast<size_t>(oldSize), static_cast<size_t>(newSize));
    if (moved == nullptr)
    {
        self.m_WasShort = true;
        return nullptr;
    }
    self.m_Live.erase(block);
    self.m_Live[moved] = newSize;
    return moved;
}

void CHugeAllocator::_Free(void *block, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32, const char *)
{
    CHugeAllocator &self = *g_Huge;
    Unmap(block, self.m_Live.at(block));
    self.m_Live.erase(block);
}

} // namespace QuorvaneTest
