// Replacing a substring.
//
// The fast path counts the occurrences, allocates the result once and writes it once. Where that one allocation is
// refused and the result is the longer one, a block is asked for match by match, as if each replacement were made in one
// of its own: the replacements for which there was one are kept. What would be in those blocks is never written.
#include "kr_string.h"

#include <cstring>
#include <utility>

#include "../kr_mem/mem_raw_block.h"
#include "match_offsets.h"
#include "null_text.h"
#include "replacement_writer.h"
#include "string_block.h"

namespace Quorvane
{

namespace
{

using Internal::String::CMatchOffsets;
using Internal::String::ReadableView;
using Internal::String::SReplacing;
using Internal::String::Write;
using Internal::String::WriteReplaced;
using Internal::String::WriteSameLength;

// Counts the occurrences, of which as many are taken as give a length that a string can have.
u32 CountOccurrences(const SReplacing &replacing, CMatchOffsets &offsets)
{
    const u32 length = replacing.m_Text.Length();
    const u32 limit = replacing.Grows() ? (Internal::String::kRefusedLength - 1 - length) / replacing.Growth() : length;
    u32 count = 0;
    u32 endOfLast = 0;
    const auto onMatch = [&](u32 at)
    {
        if (count == limit)
            return false;
        ++count;
        offsets.Add(at - endOfLast);
        endOfLast = at + replacing.m_Pattern.Length();
        return true;
    };
    replacing.ForEachMatch(0, onMatch);
    return count;
}

const char *TerminatorOf(const CStringView &replacement)
{
    return replacement.Empty()
               ? nullptr
               : static_cast<const char *>(__builtin_memchr(replacement.Data(), '\0', replacement.Length()));
}

// A terminator in the replacement ends the result.
CString EndAtTerminator(CString &&result, const SReplacing &replacing, bool anyReplaced)
{
    if (anyReplaced && TerminatorOf(replacing.m_Replacement) != nullptr)
        return CString(result.Data());
    return std::move(result);
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
    replacing.ForEachMatch(0, onMatch);
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
QV_INTERNAL_NOINLINE CString ReplaceMatchByMatch(const SReplacing &replacing, u32 count, const CMatchOffsets &offsets)
{
    // The block of the text as it is, before any replacement.
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
    WriteReplaced(written->Data(), length, replacing, made, offsets);
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
    CMatchOffsets offsets;
    const u32 count = CountOccurrences(replacing, offsets);
    const u64 newLength = LengthReplaced(replacing, count);
    // Null for no characters, too, which nothing grows to.
    PStringContainer written = CStringContainer::New(null, Internal::String::CheckedLength(newLength));
    if (written == null)
        return replacing.Grows() ? ReplaceMatchByMatch(replacing, count, offsets) : CString();
    WriteReplaced(written->Data(), static_cast<u32>(newLength), replacing, count, offsets);
    return EndAtTerminator(CString(std::move(written)), replacing, count != 0);
}

} // namespace

CString CString::Replace(const CStringView &pattern, const CStringView &replacement) const noexcept
{
    if (pattern.Empty() || pattern.Data() == nullptr)
        return *this;
    // Up to the first terminator: what stands behind it is not searched, and not in the result.
    const u32 length = SNativeStringUtils::Length(Data());
    if (length == 0)
        return *this;
    const SReplacing replacing = {CStringView(Data(), length), pattern, ReadableView(replacement)};
    return replacing.m_Replacement.Length() == pattern.Length() ? ReplaceBySameLength(replacing)
                                                                : ReplaceByOtherLength(replacing);
}

CString CString::Replace(const CStringView &pattern, const char *replacement) const noexcept
{
    return Replace(pattern, CStringView::FromNullTerminatedString(replacement));
}

CString CString::Replace(const char *pattern, const CStringView &replacement) const noexcept
{
    return Replace(CStringView::FromNullTerminatedString(pattern), replacement);
}

CString CString::Replace(const char *pattern, const char *replacement) const noexcept
{
    return Replace(CStringView::FromNullTerminatedString(pattern), CStringView::FromNullTerminatedString(replacement));
}

} // namespace Quorvane
