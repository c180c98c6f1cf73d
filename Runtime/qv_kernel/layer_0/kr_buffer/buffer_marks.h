// Private header: where characters stand in a text, as one bit for each character.
//
// Splitting and replacing visit a few characters of many. Asking a search for one after the other pays for a call each
// time; here a stretch of the text is marked first, whole blocks at a time, and its marks are walked then:
//
//     u64 marks[kMarkWords];
//     MarkCharacter(marks, text, count, ',');                       // count <= kMarkedCharacters
//     WalkMarks(marks, count, [&](u32 at) { ...; return true; });   // false ends the walk
//
// The first `count` bits are the marks, lowest bit first; the bits behind them, to the end of their word, are zero.
#pragma once

#include <cstring>

#include "qv_defs.h"

#include "../kr_simd/simd_block.h"
#include "buffer_kernels.h"

namespace Quorvane::Internal
{

constexpr u32 kMarksPerWord = 64;
constexpr u32 kMarkWords = 16;
constexpr u32 kMarkedCharacters = kMarksPerWord * kMarkWords; // of a stretch, at most: its lists lie on the stack
constexpr u32 kIndexSlack = 4;
static_assert(kMarkedCharacters <= 0x10000, "an index has 16 bits");

// Each marks, among the first `count` characters of a text, at most kMarkedCharacters:

// those that are `character`. The text is a container's: its blocks are read to their ends.
void MarkCharacter(u64 *marks, const char *text, u32 count, char character);

// those whose entry in a table of 256, by unsigned value, is 1. The others are 0.
void MarkListed(u64 *marks, const char *text, u32 count, const u8 *table);

// the `first` ones with a `last` one `distance` characters on. Reads `count` + `distance` characters.
void MarkPairs(u64 *marks, const char *text, u32 count, char first, u32 distance, char last);

// Lists the indices of the marks in order. Needs room for kIndexSlack more than there are.
// Returns: how many there are.
u32 ListMarks(u16 *indices, const u64 *marks, u32 count);

// Calls `onMark(index)` for each mark, in order, until it answers false. Returns whether it never did.
template <typename OnMark>
inline bool WalkMarks(const u64 *marks, u32 count, const OnMark &onMark)
{
    // By a list, and not from bit to bit: how many bits a word has is what processors cannot guess.
    u16 indices[kMarkedCharacters + kIndexSlack];
    const u32 listed = ListMarks(indices, marks, count);
    for (u32 i = 0; i < listed; ++i)
        if (!onMark(indices[i]))
            return false;
    return true;
}

// The marks' gaps, the runs of unmarked characters: marks where each begins, and where each ends, which is at a mark.
// `before` tells whether the character in front of the first one is marked, 1 or 0, and then the same of the last one.
// A gap at the front began earlier where that is 0; behind the last character one may seem to begin.
inline void MarkGaps(const u64 *marks, u32 count, u64 &before, u64 *begins, u64 *ends)
{
    for (u32 at = 0; at < count; at += kMarksPerWord)
    {
        const u64 marked = marks[at / kMarksPerWord];
        const u64 behindMarked = marked << 1 | before;
        begins[at / kMarksPerWord] = behindMarked & ~marked;
        ends[at / kMarksPerWord] = marked & ~behindMarked;
        before = marked >> (QVMin(count - at, kMarksPerWord) - 1) & 1;
    }
}

// Fills the marks from the character `from` on, a multiple of kMarksPerWord: `full(offset)` gives the mask of a whole
// block, `last(offset, count)` that of the `count` characters that are left, if any.
template <typename Block, typename Full, typename Last>
QV_BUFFER_INLINE inline void MarkBlocks(u64 *marks, u32 from, u32 count, const Full &full, const Last &last)
{
    u32 at = from;
    for (; count - at >= kMarksPerWord; at += kMarksPerWord)
    {
        const u64 a = full(at).DenseBits();
        const u64 b = full(at + Block::kBytes).DenseBits();
        const u64 c = full(at + 2 * Block::kBytes).DenseBits();
        const u64 d = full(at + 3 * Block::kBytes).DenseBits();
        marks[at / kMarksPerWord] = a | b << 16 | c << 32 | d << 48;
    }
    if (at == count)
        return;
    u64 word = 0;
    u32 shift = 0;
    for (; count - at >= Block::kBytes; at += Block::kBytes, shift += Block::kBytes)
        word |= static_cast<u64>(full(at).DenseBits()) << shift;
    if (at != count)
        word |= static_cast<u64>(last(at, count - at).DenseBits()) << shift;
    marks[(count - 1) / kMarksPerWord] = word;
}

template <typename Block>
void MarkCharacterFrom(u64 *marks, const char *text, u32 from, u32 count, char character)
{
    const Block wanted = Block::Fill(static_cast<u8>(character));
    const auto full = [&](u32 at) QV_BUFFER_INLINE { return Block::EqualBytes(Block::Padded(text + at), wanted); };
    const auto last = [&](u32 at, u32 left) QV_BUFFER_INLINE { return full(at) & Block::FirstBytes(left); };
    MarkBlocks<Block>(marks, from, count, full, last);
}

template <typename Block>
void MarkPairsFrom(u64 *marks, const char *text, u32 from, u32 count, char first, u32 distance, char last)
{
    const Block wantedFirst = Block::Fill(static_cast<u8>(first));
    const Block wantedLast = Block::Fill(static_cast<u8>(last));
    const char *const behind = text + distance;
    const auto full = [&](u32 at) QV_BUFFER_INLINE
    {
        return Block::EqualBytes(Block::Padded(text + at), wantedFirst) &
               Block::EqualBytes(Block::Padded(behind + at), wantedLast);
    };
    const auto rest = [&](u32 at, u32 left) QV_BUFFER_INLINE
    {
        return Block::EqualBytes(Block::Bounded(text + at, left), wantedFirst) &
               Block::EqualBytes(Block::Bounded(behind + at, left), wantedLast) & Block::FirstBytes(left);
    };
    MarkBlocks<Block>(marks, from, count, full, rest);
}

} // namespace Quorvane::Internal
