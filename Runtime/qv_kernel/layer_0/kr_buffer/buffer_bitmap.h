// Private header: which characters of a text match, as one bit for each.
//
// Splitting and replacing visit a few characters of many. Asking a search for one after the other pays for a call each
// time; here a chunk of the text is compared first, whole blocks at a time, and its matches are visited then:
//
//     u64 bitmap[kBitmapWords];
//     FindMatches(bitmap, text, count, ',');                           // count <= kChunkCharacters
//     ForEachMatch(bitmap, count, [&](u32 at) { ...; return true; });  // false ends it
//
// The first `count` bits are the characters', lowest bit first; the bits behind them, to the end of their word, are zero.
#pragma once

#include "qv_defs.h"

namespace Quorvane::Internal::Buffer
{

constexpr u32 kBitmapWordBits = 64;
constexpr u32 kBitmapWords = 16;
constexpr u32 kChunkCharacters = kBitmapWordBits * kBitmapWords; // at most: the lists of a chunk lie on the stack
constexpr u32 kIndexSlack = 4; // how far a list may be written behind its end: indices are written some at a time
static_assert(kChunkCharacters <= 0x10000, "an index has 16 bits");

// Each finds, among the first `count` characters of a text, at most kChunkCharacters:

// those that are `character`. The text is a container's: its blocks are read to their ends.
void FindMatches(u64 *bitmap, const char *text, u32 count, char character) noexcept QV_NONBLOCKING;
// The same of any text, of which nothing else is read.
void FindMatchesInCounted(u64 *bitmap, const char *text, u32 count, char character) noexcept QV_NONBLOCKING;

// those whose entry in a table of 256, by unsigned value, is 1. The others are 0.
void FindTableMatches(u64 *bitmap, const char *text, u32 count, const u8 *table) noexcept QV_NONBLOCKING;

// the `first` ones with a `second` one `distance` characters on. Reads `count` + `distance` characters.
void FindPairMatches(u64 *bitmap, const char *text, u32 count, char first, u32 distance,
                     char second) noexcept QV_NONBLOCKING;

// Where only the next few matches are wanted, a word of them is found at a time, in texts of any length.

// A word of matches: bit i is that of the character at the index `m_At` + i.
struct SMatchWord
{
    u64 m_Bits; // 0: none of the characters matches
    u32 m_At;
};

// A set of characters, a bit for each: that of a character c is the one with the number (c / 16) % 8 of the byte with the
// index c / 128 * 16 + c % 16, so that 16 of them are looked up at once.
constexpr u32 kSetBytes = 32;

// Each finds, in counted text, a word that holds the first match, with what follows up to the end of the word, or one that
// holds the last match, with what precedes it: of `character`, of a character in a set, of a `first` one with a `second` one
// `distance` characters on, where `count` + `distance` characters are read.
SMatchWord FirstMatches(const char *text, u32 count, char character) noexcept QV_NONBLOCKING;
SMatchWord LastMatches(const char *text, u32 count, char character) noexcept QV_NONBLOCKING;
SMatchWord FirstSetMatches(const char *text, u32 count, const u8 *set) noexcept QV_NONBLOCKING;
SMatchWord LastSetMatches(const char *text, u32 count, const u8 *set) noexcept QV_NONBLOCKING;
SMatchWord FirstPairMatches(const char *text, u32 count, char first, u32 distance, char second) noexcept QV_NONBLOCKING;
SMatchWord LastPairMatches(const char *text, u32 count, char first, u32 distance, char second) noexcept QV_NONBLOCKING;

// Lists the indices of the matches in order. Needs room for kIndexSlack more than there are.
// Returns: how many there are.
u32 ListMatches(u16 *indices, const u64 *bitmap, u32 count);

// Calls `onMatch(index)` for each match, in order, until it answers false. Returns whether it never did.
template <typename OnMatch>
inline bool ForEachMatch(const u64 *bitmap, u32 count, const OnMatch &onMatch)
{
    // By a list, and not from bit to bit: how many bits a word has would be a mispredicted branch.
    u16 indices[kChunkCharacters + kIndexSlack];
    const u32 listed = ListMatches(indices, bitmap, count);
    for (u32 i = 0; i < listed; ++i)
        if (!onMatch(indices[i]))
            return false;
    return true;
}

// The runs of characters between the matches, as two bitmaps: where each begins, and where each ends, which is at a
// match. `before` tells whether the character in front of the first one matches, 1 or 0, and then the same of the last
// one. A run at the front began earlier where that is 0; behind the last character one may seem to begin.
inline void FindRuns(const u64 *bitmap, u32 count, u64 &before, u64 *begins, u64 *ends)
{
    for (u32 at = 0; at < count; at += kBitmapWordBits)
    {
        const u64 matches = bitmap[at / kBitmapWordBits];
        const u64 behindMatches = WrappingSum(matches, matches) | before;
        begins[at / kBitmapWordBits] = behindMatches & ~matches;
        ends[at / kBitmapWordBits] = matches & ~behindMatches;
        before = matches >> (QVMin(count - at, kBitmapWordBits) - 1) & 1;
    }
}

} // namespace Quorvane::Internal::Buffer
