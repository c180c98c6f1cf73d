// Replacing a substring.
//
// The road taken counts the occurrences, allocates the result once and writes it once. Where that one allocation is
// refused and the result is the longer one, a block is asked for match by match, as if each replacement were made in one
// of its own: the replacements for which there was one are kept. What would be in those blocks is never written.
#include "kr_string.h"

#include <atomic>
#include <cstring>
#include <utility>

#include "../kr_buffer/buffer_occurrences.h"
#include "../kr_mem/mem_raw_block.h"
#include "kr_mem_utils.h"
#include "string_sizes.h"

namespace Quorvane
{

namespace
{

// Text, pattern and replacement. The pattern is not empty; the text has no terminator within its length.
struct SReplacing
{
    CStringView m_Text;
    CStringView m_Pattern;
    CStringView m_Replacement;

    // Calls `onMatch(index)` for each occurrence from `from` on, until it answers false.
    template <typename OnMatch>
    void Walk(u32 from, const OnMatch &onMatch) const
    {
        Internal::Buffer::WalkOccurrences(m_Text.Data(), m_Text.Length(), m_Pattern.Data(), m_Pattern.Length(), from,
                                          onMatch);
    }

    bool Grows() const { return m_Replacement.Length() > m_Pattern.Length(); }
};

// Room for the gaps of one long text at a time. Who finds it taken goes without, and never waits.
constexpr u32 kSpareBytes = 16384;
u8 g_SpareGaps[kSpareBytes];
QV_INTERNAL_CONSTINIT std::atomic<bool> g_SpareIsTaken = {false};

// Where occurrences were found while they were counted, as far as there is room: the lengths of the text between them.
// What finds no room is searched for again, which takes about as long as the counting did. A few go to the stack, of
// which threads and fibers may have little.
class CGaps
{
public:
    CGaps() = default;
    ~CGaps()
    {
        if (m_Bytes != m_OnStack)
            g_SpareIsTaken.store(false, std::memory_order_release);
    }
    CGaps(const CGaps &) = delete;
    CGaps &operator=(const CGaps &) = delete;

    // Adds the next one. Afterwards none can be added once one could not.
    void Add(u32 gap)
    {
        m_IsFull = m_IsFull || gap > 0xFFFF || (m_Room - m_Used < kLongBytes && !_TakeSpare());
        if (m_IsFull)
            return;
        ++m_Count;
        m_Bytes[m_Used++] = static_cast<u8>(QVMin(gap, kLong));
        if (gap < kLong)
            return;
        m_Bytes[m_Used++] = static_cast<u8>(gap);
        m_Bytes[m_Used++] = static_cast<u8>(gap >> 8);
    }

    u32 Count() const { return m_Count; }

    // Calls `onGap(gap)` for the first `count` of them, in order.
    template <typename OnGap>
    void Walk(u32 count, const OnGap &onGap) const
    {
        const u8 *next = m_Bytes;
        for (; count != 0; --count)
        {
            u32 gap = *next++;
            if (gap == kLong)
            {
                gap = next[0] | static_cast<u32>(next[1]) << 8;
                next += kLongBytes - 1;
            }
            onGap(gap);
        }
    }

private:
    static constexpr u32 kStackBytes = 256;
    static constexpr u32 kLong = 255; // announces two bytes, the lower one first
    static constexpr u32 kLongBytes = 3;

    // Goes on in the spare room. Returns: false when it is taken, or full.
    bool _TakeSpare()
    {
        if (m_Bytes != m_OnStack || g_SpareIsTaken.exchange(true, std::memory_order_acquire))
            return false;
        std::memcpy(g_SpareGaps, m_OnStack, m_Used);
        m_Bytes = g_SpareGaps;
        m_Room = kSpareBytes;
        return true;
    }

    u8 *m_Bytes = m_OnStack;
    u32 m_Room = kStackBytes;
    u32 m_Used = 0;
    u32 m_Count = 0;
    bool m_IsFull = false;
    u8 m_OnStack[kStackBytes];
};

// Counts the occurrences, of which as many are taken as give a length that a string can have.
u32 CountOccurrences(const SReplacing &replacing, CGaps &gaps)
{
    const u32 length = replacing.m_Text.Length();
    const u32 growth = replacing.Grows() ? replacing.m_Replacement.Length() - replacing.m_Pattern.Length() : 0;
    const u32 limit = growth != 0 ? (Internal::kRefusedLength - 1 - length) / growth : length;
    u32 count = 0;
    u32 behindLast = 0;
    const auto onMatch = [&](u32 at)
    {
        if (count == limit)
            return false;
        ++count;
        gaps.Add(at - behindLast);
        behindLast = at + replacing.m_Pattern.Length();
        return true;
    };
    replacing.Walk(0, onMatch);
    return count;
}

// Appends bytes to what was written. Returns the new end.
char *Write(char *writeTo, const char *data, u64 length)
{
    Mem::Copy(writeTo, data, length);
    return writeTo + length;
}

// Writes text and replacements in turn. Short pieces are copied in steps that go beyond their ends, where both the text
// and the result have room for that: lengths that change from one piece to the next are what a copy cannot guess.
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

    // Writes the next `gap` characters of the text and the replacement; steps over the pattern.
    void Replace(u32 gap)
    {
        _WriteText(gap);
        _WriteReplacement();
        m_From += gap + m_PatternLength;
    }

    // Writes what is left of the text.
    void Finish() { Write(m_WriteTo, m_From, static_cast<u64>(m_TextEnd - m_From)); }

    u32 Position(const char *text) const { return static_cast<u32>(m_From - text); }

private:
    static constexpr u32 kStep = 64;
    static constexpr u32 kShortGap = 512;
    static constexpr u32 kShortReplacement = 16;

    bool _HasRoom(u32 count) const { return m_RoomEnd - m_WriteTo >= static_cast<s64>(count); }

    void _WriteText(u32 gap)
    {
        if (gap <= kShortGap && _HasRoom(gap + kStep) && m_TextEnd - m_From >= static_cast<s64>(gap + kStep))
            for (u32 at = 0; at < gap; at += kStep)
                std::memcpy(m_WriteTo + at, m_From + at, kStep);
        else
            Mem::Internal::CopyDistinct(m_WriteTo, m_From, gap);
        m_WriteTo += gap;
    }

    void _WriteReplacement()
    {
        const u32 length = m_Replacement.Length();
        if (length <= kShortReplacement && _HasRoom(kShortReplacement))
            std::memcpy(m_WriteTo, m_Short, kShortReplacement);
        else
            Mem::Internal::CopyDistinct(m_WriteTo, m_Replacement.Data(), length);
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
void WriteReplaced(char *writeTo, u32 newLength, const SReplacing &replacing, u32 count, const CGaps &gaps)
{
    // What is not used is not read either.
    if (count == 0)
    {
        Write(writeTo, replacing.m_Text.Data(), newLength);
        return;
    }
    // The zeros behind the text are in its last block.
    CReplacementWriter writer(writeTo, Internal::LastBlockStart(newLength), replacing);
    const u32 known = QVMin(count, gaps.Count());
    gaps.Walk(known, [&](u32 gap) { writer.Replace(gap); });
    u32 left = count - known;
    const char *const text = replacing.m_Text.Data();
    const auto onMatch = [&](u32 at)
    {
        writer.Replace(at - writer.Position(text));
        return --left != 0;
    };
    if (left != 0)
        replacing.Walk(writer.Position(text), onMatch);
    writer.Finish();
}

// Writes the text with all its occurrences replaced by as many characters: text just copied is written over. Returns
// whether there were any.
bool WriteSameLength(char *writeTo, const SReplacing &replacing)
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
            const u32 count = QVMin(length - copied, at - copied + patternLength + Internal::kMarkedCharacters);
            Write(writeTo + copied, text + copied, count);
            copied += count;
        }
        Mem::Internal::CopyDistinct(writeTo + at, replacing.m_Replacement.Data(), patternLength);
        return true;
    };
    replacing.Walk(0, onMatch);
    Write(writeTo + copied, text + copied, length - copied);
    return any;
}

const char *TerminatorOf(const CStringView &replacement)
{
    return replacement.Empty() ? nullptr
                               : static_cast<const char *>(std::memchr(replacement.Data(), '\0', replacement.Length()));
}

// A terminator in the replacement ends the result.
CString EndAtTerminator(CString &&result, const SReplacing &replacing, bool anyReplaced)
{
    return anyReplaced && TerminatorOf(replacing.m_Replacement) != nullptr ? CString(result.Data()) : std::move(result);
}

u64 LengthReplaced(const SReplacing &replacing, u32 count)
{
    const u64 lengthKept = replacing.m_Text.Length() - static_cast<u64>(count) * replacing.m_Pattern.Length();
    return lengthKept + static_cast<u64>(count) * replacing.m_Replacement.Length();
}

// Asks for the block of each replacement while the one before is held in `work`, until one is refused. Nothing is
// written to them: what counts is for how many replacements there is memory. Returns: how many.
u32 CountGranted(Internal::CRawBlock &work, const SReplacing &replacing, u32 count)
{
    for (u32 made = 0; made < count; ++made)
    {
        Internal::CRawBlock grown(LengthReplaced(replacing, made + 1) + 1);
        if (grown.Data() == nullptr)
            return made;
        work.Swap(grown);
    }
    return count;
}

// The text before the first occurrence and the replacement before its terminator.
CString ReplacedUpToTerminator(const SReplacing &replacing, const char *terminator)
{
    u32 first = 0;
    const auto onMatch = [&](u32 at)
    {
        first = at;
        return false;
    };
    replacing.Walk(0, onMatch);
    const char *const replacement = replacing.m_Replacement.Data();
    const u32 inReplacement = static_cast<u32>(terminator - replacement);
    PStringContainer written = CStringContainer::New(null, first + inReplacement);
    if (written == null)
        return CString();
    Write(Write(written->Data(), replacing.m_Text.Data(), first), replacement, inReplacement);
    return CString(std::move(written));
}

// Replaces as many occurrences as blocks are granted one after the other. The last of those is held until the result
// is there.
QV_INTERNAL_NOINLINE CString ReplaceMatchByMatch(const SReplacing &replacing, u32 count, const CGaps &gaps)
{
    Internal::CRawBlock work(static_cast<u64>(replacing.m_Text.Length()) + 1);
    if (work.Data() == nullptr)
        return CString();
    const u32 made = CountGranted(work, replacing, count);
    const char *const terminator = TerminatorOf(replacing.m_Replacement);
    if (made != 0 && terminator != nullptr)
        return ReplacedUpToTerminator(replacing, terminator);
    const u32 length = static_cast<u32>(LengthReplaced(replacing, made));
    PStringContainer written = CStringContainer::New(null, length);
    if (written == null)
        return CString();
    WriteReplaced(written->Data(), length, replacing, made, gaps);
    return CString(std::move(written));
}

CString ReplaceBySameLength(const SReplacing &replacing)
{
    PStringContainer written = CStringContainer::New(null, replacing.m_Text.Length());
    if (written == null)
        return CString();
    const bool anyReplaced = WriteSameLength(written->Data(), replacing);
    return EndAtTerminator(CString(std::move(written)), replacing, anyReplaced);
}

CString ReplaceByOtherLength(const SReplacing &replacing)
{
    CGaps gaps;
    const u32 count = CountOccurrences(replacing, gaps);
    const u64 newLength = LengthReplaced(replacing, count);
    if (newLength == 0)
        return CString();
    PStringContainer written = CStringContainer::New(null, Internal::CheckedLength(newLength));
    if (written == null)
        return replacing.Grows() ? ReplaceMatchByMatch(replacing, count, gaps) : CString();
    WriteReplaced(written->Data(), static_cast<u32>(newLength), replacing, count, gaps);
    return EndAtTerminator(CString(std::move(written)), replacing, count != 0);
}

} // namespace

CString CString::Replace(const CStringView &pattern, const CStringView &replacement) const
{
    if (pattern.Empty() || pattern.Data() == nullptr)
        return *this;
    const u32 length = SNativeStringUtils::Length(Data());
    if (length == 0)
        return *this;
    const CStringView withLength(replacement.Data(), replacement.Data() != nullptr ? replacement.Length() : 0);
    const SReplacing replacing = {CStringView(Data(), length), pattern, withLength};
    return withLength.Length() == pattern.Length() ? ReplaceBySameLength(replacing) : ReplaceByOtherLength(replacing);
}

CString CString::Replace(const CStringView &pattern, const char *replacement) const
{
    return Replace(pattern, CStringView::FromNullTerminatedString(replacement));
}

CString CString::Replace(const char *pattern, const CStringView &replacement) const
{
    return Replace(CStringView::FromNullTerminatedString(pattern), replacement);
}

CString CString::Replace(const char *pattern, const char *replacement) const
{
    return Replace(CStringView::FromNullTerminatedString(pattern), CStringView::FromNullTerminatedString(replacement));
}

} // namespace Quorvane
