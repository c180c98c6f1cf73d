// What a path join looks at and writes: the checks of what is joined, the seams between the pieces, and their characters.
#pragma once

#include <cstring>

#include "../kr_buffer/buffer_scan.h"
#include "../kr_buffer/buffer_text.h"
#include "kr_mem_utils.h"
#include "null_text.h"
#include "string_growth.h"

namespace Quorvane::Internal::String
{

constexpr char kSlash = '/';
constexpr char kBackslash = '\\';

// True when a backslash stands within the first `length` characters, and before any terminator there. Nothing behind
// that terminator is looked at.
inline bool ContainsBackslash(const char *str, u32 length)
{
    if (length <= Buffer::kMaxShortScan && !Buffer::HoldsTerminator(str, length))
        return Buffer::Holds(str, length, kBackslash);
    return __builtin_memchr(str, kBackslash, Buffer::LengthWithin(str, length)) != nullptr;
}

// The place of the first backslash or terminator in a container's text, or its length. Requires: the resizable form, and
// nobody else who holds it. Cost: linear in what was not looked at before.
QV_SIMD_INLINE inline u32 SearchFurther(CStringContainer &container)
{
    const u32 length = container.Length();
    const u32 place = Buffer::FindInBlocks(container.Data(), SGrowth::Searched(container), length, kBackslash);
    SGrowth::SetSearched(container, place);
    return place;
}

inline void CheckLeftSide(const char *a, u32 aLen)
{
    QV_ASSERT(aLen == 0 || a != null);
    QV_INTERNAL_ASSERT_TEXT("aLen == 0 || !_ContainsBackSlash(a, length)",
                            aLen == 0 || a == null || !ContainsBackslash(a, aLen));
    static_cast<void>(a), static_cast<void>(aLen);
}

inline void CheckRightSide(const char *b, u32 bLen)
{
    QV_ASSERT(bLen == 0 || b != null);
    QV_INTERNAL_ASSERT_TEXT("bLen == 0 || !_ContainsBackSlash(b, length)",
                            bLen == 0 || b == null || !ContainsBackslash(b, bLen));
    static_cast<void>(b), static_cast<void>(bLen);
}

// What every join that trims promises of the characters it wrote.
inline void CheckJoined(const char *writeToBegin, const char *writeTo, u32 newLen)
{
    QV_ASSERT(ureg(writeTo - writeToBegin) == newLen);
    QV_ASSERT(*writeTo == 0);
    static_cast<void>(writeToBegin), static_cast<void>(writeTo), static_cast<void>(newLen);
}

// Whether no side of a seam has a slash there, so that one is all that comes between them. Requires: 1 character or more
// on the right side.
inline bool NeedsNoTrimming(const char *a, u32 aLen, const char *b)
{
    return aLen != 0 && a[aLen - 1] != kSlash && b[0] != kSlash;
}

inline u32 LengthWithoutTrailingSlashes(const char *str, u32 length)
{
    while (length != 0 && str[length - 1] == kSlash)
        --length;
    return length;
}

inline u32 CountLeadingSlashes(const char *str, u32 length)
{
    u32 count = 0;
    while (count < length && str[count] == kSlash)
        ++count;
    return count;
}

// The end of a path to which something is joined.
struct SPathEnd
{
    u32 m_Kept;     // its length without the slashes at its end
    bool m_WasRoot; // it was nothing but slashes

    static SPathEnd Of(const char *a, u32 aLen)
    {
        const u32 kept = LengthWithoutTrailingSlashes(a, aLen);
        return SPathEnd{kept, aLen != 0 && kept == 0};
    }
};

// What a join of two writes, in order: the kept left side, a slash or none, the trimmed right side.
struct SPathPieces
{
    u32 m_LeftLength;
    bool m_Slash;
    const char *m_Right;
    u32 m_RightLength;

    SPathPieces(const SPathEnd &left, const char *b, u32 bLen)
    {
        const u32 bSkip = CountLeadingSlashes(b, bLen);
        const bool bRooted = bSkip != 0;
        m_LeftLength = left.m_Kept;
        m_Right = b + bSkip;
        m_RightLength = bLen - bSkip;
        // One between two sides that have characters left; where the left one has none, one for the root, if either
        // side began with a slash.
        m_Slash = m_LeftLength != 0 ? m_RightLength != 0 : bRooted || left.m_WasRoot;
    }

    u32 Length() const { return CheckedLength(static_cast<u64>(m_LeftLength) + (m_Slash ? 1 : 0) + m_RightLength); }

    // Drops the slashes at the end of what is joined, to which something else is joined next.
    SPathEnd TrimEnd()
    {
        m_RightLength = LengthWithoutTrailingSlashes(m_Right, m_RightLength);
        const bool isRoot = m_LeftLength == 0 && m_RightLength == 0;
        return isRoot ? SPathEnd{0, m_Slash} : SPathEnd{Length(), false};
    }

    // Writes the slash and the right side behind the left one, which stands at `writeToBegin`. Returns the end.
    char *WriteBehindLeft(char *writeToBegin) const
    {
        // The slash may take the place of a character of the right side, which goes first.
        char *const writeTo = _RightPlace(writeToBegin);
        Mem::Copy_Overlapped(writeTo, m_Right, m_RightLength);
        return _WriteSlash(writeTo);
    }

    // The same into memory where no piece lies.
    char *WriteApart(char *writeToBegin) const
    {
        char *const writeTo = _RightPlace(writeToBegin);
        Mem::Internal::CopyDisjoint(writeTo, m_Right, m_RightLength);
        return _WriteSlash(writeTo);
    }

private:
    char *_RightPlace(char *writeToBegin) const { return writeToBegin + m_LeftLength + (m_Slash ? 1 : 0); }

    char *_WriteSlash(char *writeTo) const
    {
        if (m_Slash)
            writeTo[-1] = kSlash;
        return writeTo + m_RightLength;
    }
};

// Calls `use(join)` for each piece behind the first, without what the next one cuts off: each is cut by the end of those
// before it. Returns the path's length.
template <typename Use>
u32 ForEachJoin(const TMemoryView<const CStringView> &pieces, const Use &use)
{
    const CStringView first = ReadableView(pieces[0]);
    SPathEnd end = SPathEnd::Of(first.Data(), first.Length());
    u32 length = first.Length();
    for (u32 i = 1; i < pieces.Count(); ++i)
    {
        const CStringView piece = ReadableView(pieces[i]);
        SPathPieces join(end, piece.Data(), piece.Length());
        if (i + 1 != pieces.Count())
            end = join.TrimEnd();
        use(join);
        length = join.Length();
    }
    return length;
}

} // namespace Quorvane::Internal::String
