// The text with its occurrences of a pattern replaced, written to a block that was asked for in one piece.
#pragma once

#include <cstring>

#include "../kr_buffer/buffer_occurrences.h"
#include "kr_mem_utils.h"
#include "kr_string.h"
#include "match_offsets.h"
#include "string_block.h"

namespace Quorvane::Internal::String
{

// Text, pattern and replacement. The pattern is not empty; the text has no terminator within its length.
struct SReplacing
{
    CStringView m_Text;
    CStringView m_Pattern;
    CStringView m_Replacement;

    // Calls `onMatch(index)` for each occurrence from `from` on, until it answers false.
    template <typename OnMatch>
    void ForEachMatch(u32 from, const OnMatch &onMatch) const
    {
        Buffer::WalkOccurrences(m_Text.Data(), m_Text.Length(), m_Pattern.Data(), m_Pattern.Length(), from, onMatch);
    }

    bool Grows() const { return m_Replacement.Length() > m_Pattern.Length(); }
    // How much by each occurrence. Requires: Grows.
    u32 Growth() const { return m_Replacement.Length() - m_Pattern.Length(); }
};

// Appends bytes to what was written. Returns the new end.
inline char *Write(char *writeTo, const char *data, u64 length)
{
    Mem::Copy(writeTo, data, length);
    return writeTo + length;
}

// Writes text and replacements in turn. Short pieces are copied in steps that go beyond their ends, where both the text
// and the result have room for that: where the length changes from one piece to the next, each copy of just that many
// characters is a mispredicted branch.
class CReplacementWriter
{
public:
    // `room` is what may be written beyond the ends of pieces.
    CReplacementWriter(char *writeTo, u64 room, const SReplacing &replacing)
        : m_WriteTo(writeTo),
          m_RoomEnd(writeTo + room),
          m_From(replacing.m_Text.Data()),
          m_TextEnd(m_From + replacing.m_Text.Length()),
          m_Replacement(replacing.m_Replacement),
          m_PatternLength(replacing.m_Pattern.Length())
    {
        if (m_Replacement.Length() <= kShortReplacement)
            std::memcpy(m_Short, m_Replacement.Data() != nullptr ? m_Replacement.Data() : "", m_Replacement.Length());
    }

    // Writes the `offset` characters of the text in front of a match, and the replacement; steps over the pattern.
    void Replace(u32 offset)
    {
        _WriteText(offset);
        _WriteReplacement();
        m_From += offset + m_PatternLength;
    }

    // Writes what is left of the text.
    void Finish() { Write(m_WriteTo, m_From, static_cast<u64>(m_TextEnd - m_From)); }

    u32 Position(const char *text) const { return static_cast<u32>(m_From - text); }

private:
    static constexpr u32 kStep = 64;
    static constexpr u32 kShortOffset = 512;
    static constexpr u32 kShortReplacement = 16;

    bool _HasRoom(u32 count) const { return m_RoomEnd - m_WriteTo >= static_cast<s64>(count); }

    // Whole steps end less than kStep behind the offset; what they write there is written over by what comes next.
    void _WriteText(u32 offset)
    {
        if (offset <= kShortOffset && _HasRoom(offset + kStep) &&
            m_TextEnd - m_From >= static_cast<s64>(offset + kStep))
            for (u32 at = 0; at < offset; at += kStep)
                std::memcpy(m_WriteTo + at, m_From + at, kStep);
        else
            Mem::Internal::CopyDisjoint(m_WriteTo, m_From, offset);
        m_WriteTo += offset;
    }

    void _WriteReplacement()
    {
        const u32 length = m_Replacement.Length();
        if (length <= kShortReplacement && _HasRoom(kShortReplacement))
            std::memcpy(m_WriteTo, m_Short, kShortReplacement);
        else
            Mem::Internal::CopyDisjoint(m_WriteTo, m_Replacement.Data(), length);
        m_WriteTo += length;
    }

    char *m_WriteTo;
    char *m_RoomEnd;
    const char *m_From;
    const char *m_TextEnd;
    CStringView m_Replacement;
    u32 m_PatternLength;
    char m_Short[kShortReplacement] = {};
};

// Writes the text with its first `count` occurrences replaced, `newLength` characters.
inline void WriteReplaced(char *writeTo, u32 newLength, const SReplacing &replacing, u32 count,
                          const CMatchOffsets &offsets)
{
    // What is not used is not read either.
    if (count == 0)
    {
        Write(writeTo, replacing.m_Text.Data(), newLength);
        return;
    }
    // No step goes into the last block, where the zeros behind the result are written already.
    CReplacementWriter writer(writeTo, LastBlockStart(newLength), replacing);
    const u32 known = QVMin(count, offsets.Count());
    offsets.ForEach(known, [&](u32 offset) { writer.Replace(offset); });
    u32 left = count - known;
    const char *const text = replacing.m_Text.Data();
    const auto onMatch = [&](u32 at)
    {
        writer.Replace(at - writer.Position(text));
        return --left != 0;
    };
    if (left != 0)
        replacing.ForEachMatch(writer.Position(text), onMatch);
    writer.Finish();
}

// Writes the text with all its occurrences replaced by as many characters: text just copied is written over. Returns
// whether there were any.
inline bool WriteSameLength(char *writeTo, const SReplacing &replacing)
{
    const char *const text = replacing.m_Text.Data();
    const u32 length = replacing.m_Text.Length();
    const u32 patternLength = replacing.m_Pattern.Length();
    bool any = false;
    u32 copied = 0;
    const auto onMatch = [&](u32 at)
    {
        any = true;
        if (at + patternLength > copied)
        {
            // A chunk further than the match, so that matches close to each other share one copy.
            const u32 count = QVMin(length - copied, at + patternLength - copied + Buffer::kChunkCharacters);
            Write(writeTo + copied, text + copied, count);
            copied += count;
        }
        Mem::Internal::CopyDisjoint(writeTo + at, replacing.m_Replacement.Data(), patternLength);
        return true;
    };
    replacing.ForEachMatch(0, onMatch);
    Write(writeTo + copied, text + copied, length - copied);
    return any;
}

} // namespace Quorvane::Internal::String
