// Private header: all occurrences of a pattern, for texts that hold many.
//
// A search that is called again behind each occurrence prepares itself every time, and looks once more at the rest of a
// block that it has seen. Here a bitmap tells where the pattern's first and last characters stand at the right distance,
// a chunk of the text at a time. Of these places those are candidates where its first word stands, and only candidates
// are compared in full.
//
// Texts and patterns of few different characters have many candidates and few occurrences. What comparing in vain may
// cost is bounded by the text walked so far; from there on the linear search takes over.
#pragma once

#include <cstring>

#include "kr_buffer.h"
#include "qv_defs.h"

#include "buffer_bitmap.h"

namespace Quorvane::Internal::Buffer
{

// A pattern in two parts: its first word, by which candidates are chosen, and the rest.
class CPatternComparison
{
public:
    // Requires: a pattern of 1 character or more. Borrows it.
    CPatternComparison(const char *pattern, u32 length) : m_Pattern(pattern), m_Length(length)
    {
        const u32 inWord = QVMin(length, kWordBytes);
        std::memcpy(&m_Word, pattern, inWord);
        std::memset(&m_Mask, 0xFF, inWord);
    }

    // Keeps those of the indices, in order, at which the first word stands. Returns how many there are.
    // Requires: `room` characters of text, of which each index has as many behind it as the pattern.
    u32 KeepCandidates(u16 *indices, u32 count, const char *text, u32 room) const
    {
        u32 whole = count;
        while (whole != 0 && room - indices[whole - 1] < kWordBytes)
            --whole;
        // Counted, not branched on: whether one is kept would be a mispredicted branch.
        u32 kept = 0;
        for (u32 i = 0; i < whole; ++i)
        {
            u64 word;
            std::memcpy(&word, text + indices[i], kWordBytes);
            indices[kept] = indices[i];
            kept += ((word ^ m_Word) & m_Mask) == 0 ? 1 : 0;
        }
        // Only a pattern shorter than a word has places with less than a word behind them.
        for (u32 i = whole; i < count; ++i)
            if (std::memcmp(text + indices[i], m_Pattern, m_Length) == 0)
                indices[kept++] = indices[i];
        return kept;
    }

    // Whether the rest of the pattern stands behind its first word at `at`.
    bool HasRest(const char *at) const
    {
        return m_Length <= kWordBytes ||
               std::memcmp(at + kWordBytes, m_Pattern + kWordBytes, m_Length - kWordBytes) == 0;
    }

private:
    static constexpr u32 kWordBytes = sizeof(u64);

    const char *m_Pattern;
    u32 m_Length;
    u64 m_Word = 0; // the pattern's first characters
    u64 m_Mask = 0; // where they are in the word
};

// Calls `onMatch(index)` for each occurrence from `from` on, left to right, none overlapping the one before, until it
// answers false. Requires: a pattern of 1 character or more.
// Cost: linear in both.
template <typename OnMatch>
class TOccurrences
{
public:
    TOccurrences(const char *text, u32 length, const char *pattern, u32 patternLength, u32 from, const OnMatch &onMatch)
        : m_Text(text),
          m_Length(length),
          m_Pattern(pattern),
          m_PatternLength(patternLength),
          m_Comparison(pattern, patternLength),
          m_OnMatch(onMatch),
          m_From(from),
          m_Next(from)
    {
    }

    void Walk()
    {
        _WalkChunks();
        if (m_IsTooCostly)
            _SearchOn();
    }

    // Characters compared in vain, at most: for tests.
    u64 Wasted() const { return m_Wasted; }

private:
    // What may be wasted on so many characters.
    static constexpr u64 WasteAllowed(u32 walked) { return 4096 + 4 * static_cast<u64>(walked); }

    // Not inline, so that its bitmap and its indices are off the stack when the search goes on without them.
    QV_INTERNAL_NOINLINE void _WalkChunks()
    {
        const u32 places = m_Length - m_PatternLength + 1;
        for (u32 at = m_From; at < places; at += kChunkCharacters)
        {
            const u32 count = QVMin(places - at, kChunkCharacters);
            if (m_Next >= at + count)
                continue;
            u64 bitmap[kBitmapWords];
            FindPairMatches(bitmap, m_Text + at, count, m_Pattern[0], m_PatternLength - 1,
                            m_Pattern[m_PatternLength - 1]);
            u16 indices[kChunkCharacters + kIndexSlack];
            const u32 listed = ListMatches(indices, bitmap, count);
            if (!_WalkCandidates(at, indices, m_Comparison.KeepCandidates(indices, listed, m_Text + at, m_Length - at)))
                return;
        }
    }

    // Return whether to go on.

    bool _WalkCandidates(u32 from, const u16 *indices, u32 count)
    {
        for (u32 i = 0; i < count; ++i)
            if (!_OnCandidate(from + indices[i]))
                return false;
        return true;
    }

    bool _OnCandidate(u32 at)
    {
        if (at < m_Next)
            return true;
        if (m_Comparison.HasRest(m_Text + at))
        {
            m_Next = at + m_PatternLength;
            return m_OnMatch(at);
        }
        m_Next = at + 1;
        m_Wasted += m_PatternLength;
        m_IsTooCostly = m_Wasted > WasteAllowed(at - m_From);
        return !m_IsTooCostly;
    }

    void _SearchOn()
    {
        for (;;)
        {
            const char *found =
                SNativeStringUtils::Find(m_Text + m_Next, m_Length - m_Next, m_Pattern, m_PatternLength);
            if (found == nullptr)
                return;
            const u32 at = static_cast<u32>(found - m_Text);
            m_Next = at + m_PatternLength;
            if (!m_OnMatch(at))
                return;
        }
    }

    const char *m_Text;
    u32 m_Length;
    const char *m_Pattern;
    u32 m_PatternLength;
    CPatternComparison m_Comparison;
    const OnMatch &m_OnMatch;
    u32 m_From;
    u32 m_Next; // where the next occurrence may begin
    u64 m_Wasted = 0;
    bool m_IsTooCostly = false;
};

template <typename OnMatch>
void WalkOccurrences(const char *text, u32 length, const char *pattern, u32 patternLength, u32 from,
                     const OnMatch &onMatch)
{
    // A pattern that cannot be found is not read either.
    if (patternLength <= length - from)
        TOccurrences<OnMatch>(text, length, pattern, patternLength, from, onMatch).Walk();
}

} // namespace Quorvane::Internal::Buffer
