// A block of working memory that is freed with its holder.
#pragma once

#include <utility>

#include "kr_mem.h"

namespace Quorvane::Internal
{

class CRawBlock
{
public:
    CRawBlock() = default;
    // Data() is null when memory is refused.
    explicit CRawBlock(u64 size, u32 alignment = 0)
        : m_Data(Mem::_RawAlloc(size, alignment, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE))
    {
    }
    ~CRawBlock() { Mem::_RawFree(m_Data, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE); }
    CRawBlock(const CRawBlock &) = delete;
    CRawBlock &operator=(const CRawBlock &) = delete;

    void *Data() const { return m_Data; }
    void Swap(CRawBlock &other) { std::swap(m_Data, other.m_Data); }

private:
    void *m_Data = nullptr;
};

} // namespace Quorvane::Internal
