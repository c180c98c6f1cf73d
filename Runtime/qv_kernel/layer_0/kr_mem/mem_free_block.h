// A small block that nobody uses: its link in a list of such blocks, and how one that is freed again is noticed.
//
// A link holds no address. It is a word of two halves, zero and the number of the next block in the range of small blocks,
// and is XORed with a key that follows from secrets of the process and from the block's own address. So a block that was
// freed tells nobody where others lie, and equal links look different. Of the words that somebody writes there who does
// not know the key, all but one in 2^32 are known by the half that should be zero, and what they would lead to is not
// looked at.
//
// That half comes first in memory: what runs over from the block before meets it first. Where assertions are on, a block
// in use does not begin with it, and one that does may be free already. A text may happen to look like it; who finds it
// looks for the block among the free ones.
#pragma once

#include <cstring>
#include <new>

#include "kr_assert.h"
#include "qv_defs.h"

#include "mem_policy.h"

namespace Quorvane::Mem::Internal
{

// A block that nobody uses, in a list of such.
struct SFreeBlock
{
    u64 m_Link;
};

// How the links of a range are written and read. Each range has one of these, which never changes; the copies of the
// library in a process each have a copy of it.
//
// A list ends with an address that no block has: null, or the beginning of the range, which is what a number of 0 means.
class CFreeLinks
{
public:
    constexpr CFreeLinks() = default;
    // The range begins at `base`.
    constexpr CFreeLinks(ureg base, const u64 (&secrets)[2]) : m_Base(base), m_Secrets{secrets[0], secrets[1] | 1} {}

    // The end of a list, for MakeFree; and whether a list has none but that.
    SFreeBlock *End() const { return reinterpret_cast<SFreeBlock *>(m_Base); }
    bool IsEnd(const SFreeBlock *list) const { return reinterpret_cast<ureg>(list) <= m_Base; }

    // Makes a block free, in front of a list that ends with End().
    SFreeBlock *MakeFree(void *block, const SFreeBlock *list) const
    {
        return ::new (block) SFreeBlock{_PutNumber(reinterpret_cast<ureg>(list) - m_Base) ^ _KeyOf(block)};
    }

    // Reads the link of a free block. Returns: false, and leaves `outNext`, where it was overwritten.
    bool ReadLink(const SFreeBlock *block, SFreeBlock *&outNext) const
    {
        const u64 link = block->m_Link ^ _KeyOf(block);
        if (QV_INTERNAL_UNLIKELY(_CheckOf(link) != 0))
            return false;
        outNext = std::launder(reinterpret_cast<SFreeBlock *>(m_Base + _GetNumber(link)));
        return true;
    }

    // Whether a list of no more than `count` blocks holds a block. Ends where a link was overwritten, as one may be when
    // another thread takes blocks from the list meanwhile. Cost: linear in the list.
    bool HoldsBlock(SFreeBlock *list, u32 count, const void *block) const
    {
        for (; count != 0 && !IsEnd(list) && list != block && ReadLink(list, list); --count)
            ;
        return list == block;
    }

    // Whether a block has what free ones have; false where assertions are off.
    bool MayBeFree(const void *block) const
    {
        u32 check = 0;
        if (QV_ASSERTS)
            std::memcpy(&check, block, sizeof(check));
        return QV_ASSERTS && check == _CheckOf(_KeyOf(block));
    }

private:
    // Half a word counts the steps of the range.
    static_assert(!kHasSmallRange || kSmallRangeBytes / kSmallStep == 1ull << 32, "each block has a number");

    // The number is that of the step which a block begins with. `offset`: in bytes, from the beginning of the range.
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    static u64 _PutNumber(ureg offset)
    {
        return offset / kSmallStep;
    }
    static ureg _GetNumber(u64 link)
    {
        return static_cast<ureg>(link * kSmallStep);
    }
    static u32 _CheckOf(u64 link)
    {
        return static_cast<u32>(link >> 32);
    }
#else
    static u64 _PutNumber(ureg offset)
    {
        return static_cast<u64>(offset) << 28;
    }
    static ureg _GetNumber(u64 link)
    {
        return static_cast<ureg>(link >> 28);
    }
    static u32 _CheckOf(u64 link)
    {
        return static_cast<u32>(link);
    }
#endif

    u64 _KeyOf(const void *block) const
    {
        const u64 place = static_cast<u64>(reinterpret_cast<ureg>(block));
        return Quorvane::Internal::WrappingProduct(place ^ m_Secrets[0], m_Secrets[1]);
    }

    ureg m_Base = 0;
    u64 m_Secrets[2] = {0, 0};
};

// A block whose user writes little would keep its link, and be looked for when it is freed.
inline void *MakeLive(SFreeBlock *block)
{
    if (QV_ASSERTS)
        block->m_Link = 0;
    return block;
}

} // namespace Quorvane::Mem::Internal
