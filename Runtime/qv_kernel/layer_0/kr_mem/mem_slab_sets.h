// Sets of slabs, in which any number of threads find, take and put slabs without waiting for each other.
//
// A set is a bitmap of three levels: a word of each chunk tells its slabs, a word of each group which chunks to look at,
// and words in here which groups. Whoever clears a slab's bit has claimed the slab, and nobody else touches it until he
// puts it into a set again; a thread that stops in between, or that a copy of the process lacks, keeps nothing but that
// slab from the others.
//
// The bits of the upper levels are hints. One that is set may be out of date: whoever follows it and finds nothing
// clears it, and looks again. One that should be set is so as soon as whoever puts, or clears, has taken its next step.
#pragma once

#include "mem_slab_records.h"

namespace Quorvane::Mem::Internal
{

class CSlabSets
{
public:
    static constexpr u32 kNone = ~0u;

    constexpr CSlabSets() = default;
    CSlabSets(const CSlabSets &) = delete;
    CSlabSets &operator=(const CSlabSets &) = delete;

    // The range begins at `base`.
    void Begin(ureg base) { m_Base = base; }

    // Puts a claimed slab into a set, or some of one chunk that follow each other. They are nobody's from then on.
    void Put(u32 set, u32 slab) { PutRun(set, slab, 1); }
    void PutRun(u32 set, u32 firstSlab, u32 count);

    // Claims a slab that may be in a set. Returns: whether it was.
    bool Claim(u32 set, u32 slab);

    // Claims one of a set, of the lowest addresses first: those above come to rest, and can give their memory back.
    // Returns: its number, or kNone for an empty set. Answers that, too, when others were faster for too long.
    // Cost: a few steps, and one more for each hint that is out of date, up to a fixed number.
    u32 ClaimAny(u32 set);

    // Whether a slab is in a set just now.
    bool Has(u32 set, u32 slab);

    // How many slabs of the first `chunks` chunks are in a set.
    u32 Count(u32 set, u32 chunks);

private:
    static constexpr u32 kLevels = 3;
    static constexpr u32 kTopWords = static_cast<u32>(QVMax<ureg>(kSmallRangeBytes / kGroupBytes / kBitsPerWord, 1));

    TAtomic<ureg> &_Word(u32 level, u32 set, u32 index);
    void _Announce(u32 level, u32 set, u32 index);
    void _Retract(u32 level, u32 set, u32 index);
    u32 _ClaimBelow(u32 set, u32 group);

    ureg m_Base = 0;
    TAtomic<ureg> m_Top[kSlabSetCount][kTopWords];
};

} // namespace Quorvane::Mem::Internal
