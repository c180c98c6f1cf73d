// A heap of small blocks beside the one of the default allocator.
#pragma once

#include <cstdlib>

#include "kr_mem/mem_port.h"
#include "kr_mem/mem_slabs.h"
#include "test_port.h"

namespace QuorvaneTest
{

// A slab of memory that reads as zero, with nothing behind it for as long as a heap's range. Unmapped with the object.
class CFirstSlab
{
public:
    CFirstSlab() : m_Base(_Map()) {}
    ~CFirstSlab() { Quorvane::Mem::Internal::PortUnmap(m_Base, Quorvane::Mem::Internal::kSlabBytes); }
    CFirstSlab(const CFirstSlab &) = delete;
    CFirstSlab &operator=(const CFirstSlab &) = delete;

    Quorvane::ureg Base() const { return m_Base; }

private:
    // Where the last one was, if that is free again, so that an emulator, which keeps books about each range that ever was
    // in use, has one to keep them about.
    static Quorvane::ureg _Map()
    {
        using namespace Quorvane::Mem::Internal;
        static Quorvane::ureg s_Base = 0;
        if (s_Base != 0 && PortMapAt(s_Base, kSlabBytes))
            return s_Base;
        s_Base = _FreeRange();
        if (!PortMapAt(s_Base, kSlabBytes))
            std::abort();
        return s_Base;
    }

    // Where a range of addresses begins of which nobody uses any; a part of one, of which no test here uses more, where
    // a tool has not as many addresses to give.
    static Quorvane::ureg _FreeRange()
    {
        using namespace Quorvane::Mem::Internal;
        constexpr Quorvane::ureg kLeastBytes = 64 * kChunkBytes;
        Quorvane::ureg bytes = kSmallRangeBytes + kChunkBytes;
        void *mapped = MapPages(bytes, PageAccess_None);
        for (; mapped == nullptr && bytes > kLeastBytes; mapped = MapPages(bytes, PageAccess_None))
            bytes /= 2;
        if (mapped == nullptr)
            std::abort();
        UnmapPages(mapped, bytes);
        return (reinterpret_cast<Quorvane::ureg>(mapped) + kChunkBytes - 1) & ~(kChunkBytes - 1);
    }

    Quorvane::ureg m_Base;
};

class COwnHeap
{
public:
    explicit COwnHeap(bool guards = false, Quorvane::ureg rangeBytes = Quorvane::Mem::Internal::kSmallRangeBytes)
    {
        m_Heap.Begin(m_FirstSlab.Base(), rangeBytes, guards);
    }
    ~COwnHeap() { m_Heap.End(); }
    COwnHeap(const COwnHeap &) = delete;
    COwnHeap &operator=(const COwnHeap &) = delete;

    Quorvane::Mem::Internal::CSlabHeap &operator*() { return m_Heap; }
    Quorvane::Mem::Internal::CSlabHeap *operator->() { return &m_Heap; }

private:
    CFirstSlab m_FirstSlab;
    Quorvane::Mem::Internal::CSlabHeap m_Heap;
};

} // namespace QuorvaneTest
