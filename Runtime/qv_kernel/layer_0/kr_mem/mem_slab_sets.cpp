// Sets of slabs: how a slab is found and claimed.
#include "mem_slab_sets.h"

#include "../kr_simd/simd_words.h"

namespace Quorvane::Mem::Internal
{

namespace
{

constexpr ureg BitOf(u32 index)
{
    return ureg(1) << (index % kBitsPerWord);
}

u32 LowestBit(ureg word)
{
    return Quorvane::Internal::Simd::TrailingZeroBits(word);
}

} // namespace

// Level 0 has a word for each chunk, level 1 one for each group, and level 2 those of the whole range.
TAtomic<ureg> &CSlabSets::_Word(u32 level, u32 set, u32 index)
{
    switch (level)
    {
    case 0:
        return reinterpret_cast<SChunk *>(m_Base + index * kChunkBytes)->m_Sets[set];
    case 1:
        return reinterpret_cast<SChunk *>(m_Base + index * kGroupBytes)->m_Groups[set];
    default:
        return m_Top[set][index];
    }
}

// Makes the levels above tell that a word of this one is not empty.
void CSlabSets::_Announce(u32 level, u32 set, u32 index)
{
    for (++level; level < kLevels; ++level)
    {
        TAtomic<ureg> &hints = _Word(level, set, index / kBitsPerWord);
        if ((hints.LoadInOrder() & BitOf(index)) == 0)
            hints.FetchOr(BitOf(index));
        index /= kBitsPerWord;
    }
}

// Clears the hint at a word that was found empty. Who fills that word at the same time either sees the hint cleared, and
// sets it, or is seen here.
void CSlabSets::_Retract(u32 level, u32 set, u32 index)
{
    _Word(level + 1, set, index / kBitsPerWord).FetchAnd(~BitOf(index));
    if (_Word(level, set, index).LoadInOrder() != 0)
        _Announce(level, set, index);
}

void CSlabSets::PutRun(u32 set, u32 firstSlab, u32 count)
{
    const ureg bits = (~ureg(0) >> (kBitsPerWord - count)) << (firstSlab % kBitsPerWord);
    const u32 chunk = firstSlab / kSlabsPerChunk;
    _Word(0, set, chunk).FetchOr(bits);
    _Announce(0, set, chunk);
}

bool CSlabSets::Claim(u32 set, u32 slab)
{
    return (_Word(0, set, slab / kSlabsPerChunk).FetchAnd(~BitOf(slab)) & BitOf(slab)) != 0;
}

bool CSlabSets::Has(u32 set, u32 slab)
{
    return (_Word(0, set, slab / kSlabsPerChunk).Load() & BitOf(slab)) != 0;
}

// One try in a group that is said to have some. Returns: kNone when that was out of date, or somebody was faster.
u32 CSlabSets::_ClaimBelow(u32 set, u32 group)
{
    const ureg chunks = _Word(1, set, group).Load();
    if (chunks == 0)
    {
        _Retract(1, set, group);
        return kNone;
    }
    const u32 chunk = group * kBitsPerWord + LowestBit(chunks);
    const ureg slabs = _Word(0, set, chunk).Load();
    if (slabs == 0)
    {
        _Retract(0, set, chunk);
        return kNone;
    }
    const u32 slab = chunk * kSlabsPerChunk + LowestBit(slabs);
    return Claim(set, slab) ? slab : kNone;
}

u32 CSlabSets::ClaimAny(u32 set)
{
    constexpr u32 kMaxTries = 64;
    u32 tries = 0;
    for (u32 word = 0; word < kTopWords; ++word)
        for (ureg groups = m_Top[set][word].Load(); groups != 0 && tries < kMaxTries; groups = m_Top[set][word].Load())
        {
            const u32 slab = _ClaimBelow(set, word * kBitsPerWord + LowestBit(groups));
            if (slab != kNone)
                return slab;
            ++tries;
        }
    return kNone;
}

u32 CSlabSets::Count(u32 set, u32 chunks)
{
    u32 count = 0;
    for (u32 chunk = 0; chunk < chunks; ++chunk)
        for (ureg slabs = _Word(0, set, chunk).Load(); slabs != 0; slabs &= slabs - 1)
            ++count;
    return count;
}

} // namespace Quorvane::Mem::Internal
