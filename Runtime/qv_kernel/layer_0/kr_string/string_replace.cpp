// Replacing a substring.
//
// The road taken counts the occurrences, allocates the result once and writes it once. Where that one allocation is
// refused and the result is the longer one, the costlier road goes match by match, so that the replacements made before
// memory ran out are kept.
#include "kr_string.h"

#include "kr_mem_utils.h"
#include "raw_block.h"
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

    // The first occurrence at or after `from`; null when there is none.
    const char *Find(const char *from) const
    {
        const u32 left = static_cast<u32>(m_Text.Data() + m_Text.Length() - from);
        return SNativeStringUtils::Find(from, left, m_Pattern.Data(), m_Pattern.Length());
    }

    bool Grows() const { return m_Replacement.Length() > m_Pattern.Length(); }
};

// Counts the occurrences, of which as many are taken as give a length that a string can have.
u32 CountOccurrences(const SReplacing &replacing)
{
    const u32 length = replacing.m_Text.Length();
    const u32 growth = replacing.Grows() ? replacing.m_Replacement.Length() - replacing.m_Pattern.Length() : 0;
    const u32 limit = growth != 0 ? (Internal::kRefusedLength - 1 - length) / growth : length;
    u32 count = 0;
    const char *from = replacing.m_Text.Data();
    for (const char *found; count < limit && (found = replacing.Find(from)) != nullptr; ++count)
        from = found + replacing.m_Pattern.Length();
    return count;
}

// Appends bytes to what was written. Returns the new end.
char *Write(char *writeTo, const char *data, u64 length)
{
    Mem::Copy(writeTo, data, length);
    return writeTo + length;
}

// Writes the text with its first `count` occurrences replaced.
void WriteReplaced(char *writeTo, const SReplacing &replacing, u32 count)
{
    const char *from = replacing.m_Text.Data();
    for (; count != 0; --count)
    {
        const char *found = replacing.Find(from);
        writeTo = Write(writeTo, from, static_cast<u64>(found - from));
        writeTo = Write(writeTo, replacing.m_Replacement.Data(), replacing.m_Replacement.Length());
        from = found + replacing.m_Pattern.Length();
    }
    Write(writeTo, from, static_cast<u64>(replacing.m_Text.Data() + replacing.m_Text.Length() - from));
}

char *CharactersOf(const Internal::CRawBlock &block)
{
    return static_cast<char *>(block.Data());
}

// Replaces one occurrence after the other, each into a new buffer, and stops where memory is refused.
CString ReplaceMatchByMatch(const SReplacing &replacing, u32 count)
{
    u64 length = replacing.m_Text.Length();
    Internal::CRawBlock work(length + 1);
    if (work.Data() == nullptr)
        return CString();
    *Write(CharactersOf(work), replacing.m_Text.Data(), length) = '\0';
    const u32 patternLength = replacing.m_Pattern.Length();
    const u32 growth = replacing.m_Replacement.Length() - patternLength;
    u64 searchFrom = 0;
    for (; count != 0; --count)
    {
        const char *found =
            SNativeStringUtils::Find(CharactersOf(work) + searchFrom, static_cast<u32>(length - searchFrom),
                                     replacing.m_Pattern.Data(), patternLength);
        Internal::CRawBlock grown(length + growth + 1);
        if (grown.Data() == nullptr)
            break;
        const u64 before = static_cast<u64>(found - CharactersOf(work));
        char *writeTo = Write(CharactersOf(grown), CharactersOf(work), before);
        writeTo = Write(writeTo, replacing.m_Replacement.Data(), replacing.m_Replacement.Length());
        Write(writeTo, found + patternLength, length + 1 - before - patternLength);
        work.Swap(grown);
        length += growth;
        searchFrom = before + replacing.m_Replacement.Length();
    }
    return CString(CharactersOf(work));
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
    const u32 count = CountOccurrences(replacing);
    const u64 newLength =
        length + static_cast<u64>(count) * withLength.Length() - static_cast<u64>(count) * pattern.Length();
    if (newLength == 0)
        return CString();
    CString result(CStringContainer::New(null, Internal::CheckedLength(newLength)));
    if (result.m_Container == null)
        return replacing.Grows() ? ReplaceMatchByMatch(replacing, count) : CString();
    WriteReplaced(result.m_Container->Data(), replacing, count);
    // A terminator in the replacement ends the result.
    const bool cut = SNativeStringUtils::Length_16(result.Data()) != newLength;
    return cut ? CString(result.Data()) : result;
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
