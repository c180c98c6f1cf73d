// A small block that nobody uses: its link in a list of such blocks, and the mark by which one that is freed again is
// noticed.
#pragma once

#include <cstring>
#include <new>

#include "kr_assert.h"
#include "qv_defs.h"

namespace Quorvane::Mem::Internal
{

// A block that nobody uses, in a list of such.
struct SFreeBlock
{
    SFreeBlock *m_Next;
};

// Where assertions are on, a free block bears a mark, by which one that is freed again is noticed. A text may happen to
// look like it; who finds a mark looks for the block among the free ones.
//
// The mark lies behind the counts that most blocks begin with: a load of 8 bytes that a locked instruction has just
// written 4 of has to wait until that is done.
inline char *MarkIn(void *block, u32 sizeClass)
{
    return static_cast<char *>(block) + (sizeClass > 1 ? 24 : 8);
}

inline ureg MarkOfFree(const void *block)
{
    return reinterpret_cast<ureg>(block) ^ static_cast<ureg>(0x5DB1F6A9C3E48B27ull);
}

inline SFreeBlock *MakeFree(void *block, u32 sizeClass, SFreeBlock *next)
{
    const ureg mark = MarkOfFree(block);
    if (QV_ASSERTS)
        std::memcpy(MarkIn(block, sizeClass), &mark, sizeof(mark));
    return ::new (block) SFreeBlock{next};
}

// A block whose user writes little would keep the mark, and be looked for when it is freed.
inline void *MakeLive(SFreeBlock *block, u32 sizeClass)
{
    if (QV_ASSERTS)
        std::memset(MarkIn(block, sizeClass), 0, sizeof(ureg));
    return block;
}

inline bool MayBeFree(void *block, u32 sizeClass)
{
    ureg mark = 0;
    if (QV_ASSERTS)
        std::memcpy(&mark, MarkIn(block, sizeClass), sizeof(mark));
    return QV_ASSERTS && mark == MarkOfFree(block);
}

} // namespace Quorvane::Mem::Internal
