// The non-owning view: slicing, comparison, search and stripping within (pointer, length).
#include "kr_string.h"

#include <cstring>

#include "../kr_buffer/buffer_find.h"
#include "../kr_buffer/buffer_text.h"
#include "character_set.h"
#include "null_text.h"

namespace Quorvane
{

namespace
{

using Internal::String::CCharacterSet;
using Internal::String::CountLeading;
using Internal::String::LengthWithoutTrailing;
using Internal::String::IndexOf;
using Internal::String::IsNullOrEmpty;
using Internal::String::ReadableLength;

// The number of characters before the first terminator in the view.
u32 LengthToTerminator(const CStringView &view)
{
    return Internal::Buffer::LengthWithin(view.Data(), ReadableLength(view));
}

bool EqualCounted(const char *a, const char *b, u32 length)
{
    return length == 0 || std::memcmp(a, b, length) == 0;
}

bool EqualText(const char *a, const char *b, u32 length, ECaseSensitivity caseSensitivity)
{
    return caseSensitivity != CaseSensitive ? SNativeStringUtils::EqualCase(a, b, length) : EqualCounted(a, b, length);
}

CStringView StrippedLeft(const CStringView &view, const CCharacterSet &set)
{
    return view.Slice(CountLeading(view.Data(), ReadableLength(view), set));
}

CStringView StrippedRight(const CStringView &view, const CCharacterSet &set)
{
    return view.Slice(0, LengthWithoutTrailing(view.Data(), ReadableLength(view), set));
}

CStringView Stripped(const CStringView &view, const CCharacterSet &set)
{
    return StrippedRight(StrippedLeft(view, set), set);
}

using Internal::String::ToView;

} // namespace

namespace Internal::String
{

CStringView StripLeftSlow(const CStringView &view, const char *set) noexcept QV_NONBLOCKING
{
    return StrippedLeft(view, CCharacterSet(set));
}

CStringView StripRightSlow(const CStringView &view, const char *set) noexcept QV_NONBLOCKING
{
    return StrippedRight(view, CCharacterSet(set));
}

CStringView StripSlow(const CStringView &view, const char *set) noexcept QV_NONBLOCKING
{
    return Stripped(view, CCharacterSet(set));
}

} // namespace Internal::String

CStringView CStringView::FromNullTerminatedString(const char *str) noexcept QV_NONBLOCKING
{
    return CStringView(str, SNativeStringUtils::Length(str));
}

CString CStringView::ToString() const noexcept
{
    // Not through the counted constructor, which judges emptiness by the first character.
    return m_Data != nullptr ? CString(CStringContainer::New(m_Data, m_Length)) : CString();
}

CStringView CStringView::Slice(u32 start) const noexcept QV_NONBLOCKING
{
    return Slice(start, m_Length);
}

CStringView CStringView::Slice(u32 start, u32 count) const noexcept QV_NONBLOCKING
{
    const u32 clampedStart = QVMin(start, m_Length);
    const char *data = m_Data != nullptr ? m_Data + clampedStart : nullptr;
    return CStringView(data, QVMin(count, m_Length - clampedStart));
}

bool CStringView::Compare(const char *other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    // Null counts as empty, which a view that begins with a terminator equals too.
    if (other == nullptr)
        other = "";
    // The other text has at least as many characters when these are equal, so its end can be looked at.
    const u32 length = LengthToTerminator(*this);
    const bool equal =
        length == 0 || (caseSensitivity != CaseSensitive ? Internal::PlatformCompareCase(m_Data, other, length) == 0
                                                         : std::strncmp(m_Data, other, length) == 0);
    return equal && other[length] == '\0';
}

bool CStringView::Compare(const CStringView &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    if (m_Length != other.m_Length)
        return false;
    if (m_Data == nullptr || other.m_Data == nullptr)
        return m_Length == 0 || m_Data == other.m_Data;
    // Not memcmp, which operator== takes: behind a terminator that both have, anything is equal.
    return caseSensitivity != CaseSensitive ? Internal::PlatformCompareCase(m_Data, other.m_Data, m_Length) == 0
                                            : std::strncmp(m_Data, other.m_Data, m_Length) == 0;
}

bool CStringView::operator==(const char *other) const noexcept QV_NONBLOCKING
{
    // A view with a terminator in it is the same as no terminated text.
    return LengthToTerminator(*this) == m_Length && Compare(other, CaseSensitive);
}

bool CStringView::operator==(const CStringView &other) const noexcept QV_NONBLOCKING
{
    if (m_Length != other.m_Length)
        return false;
    if (m_Data == nullptr || other.m_Data == nullptr)
        return m_Length == 0 || m_Data == other.m_Data;
    return Internal::String::EqualCharacters(m_Data, other.m_Data, m_Length);
}

bool CStringView::StartsWith(const CStringView &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    const u32 otherLength = ReadableLength(other);
    return otherLength <= ReadableLength(*this) && EqualText(m_Data, other.m_Data, otherLength, caseSensitivity);
}

bool CStringView::EndsWith(const CStringView &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    const u32 length = ReadableLength(*this);
    const u32 otherLength = ReadableLength(other);
    return otherLength <= length &&
           EqualText(m_Data + (length - otherLength), other.m_Data, otherLength, caseSensitivity);
}

bool CStringView::Contains(const CStringView &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return FindText(other, 0, caseSensitivity).Valid();
}

bool CStringView::StartsWith(const char *other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return StartsWith(ToView(other), caseSensitivity);
}

bool CStringView::EndsWith(const char *other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return EndsWith(ToView(other), caseSensitivity);
}

bool CStringView::Contains(const char *other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return Contains(ToView(other), caseSensitivity);
}

bool CStringView::Empty(const char *blanks) const noexcept QV_NONBLOCKING
{
    if (IsNullOrEmpty(blanks))
        return Empty();
    const u32 length = ReadableLength(*this);
    return CountLeading(m_Data, length, CCharacterSet(blanks)) == length;
}

CStringView CStringView::Strip(char character) const noexcept QV_NONBLOCKING
{
    return Stripped(*this, CCharacterSet(character));
}

CStringView CStringView::StripLeft(char character) const noexcept QV_NONBLOCKING
{
    return StrippedLeft(*this, CCharacterSet(character));
}

CStringView CStringView::StripRight(char character) const noexcept QV_NONBLOCKING
{
    return StrippedRight(*this, CCharacterSet(character));
}

CGuid CStringView::FindNextOf(char character, u32 start) const noexcept QV_NONBLOCKING
{
    const u32 length = ReadableLength(*this);
    if (start >= length)
        return CGuid::INVALID;
    return IndexOf(static_cast<const char *>(__builtin_memchr(m_Data + start, character, length - start)), m_Data);
}

CGuid CStringView::FindNextOf(const char *set, u32 start) const noexcept QV_NONBLOCKING
{
    const CCharacterSet characters(set);
    const u32 length = ReadableLength(*this);
    for (u32 i = start; i < length; ++i)
        if (characters.Contains(m_Data[i]))
            return CGuid(i);
    return CGuid::INVALID;
}

CGuid CStringView::FindLastOf(char character) const noexcept QV_NONBLOCKING
{
    return CGuid(Internal::Buffer::LastIndexOf(m_Data, ReadableLength(*this), character));
}

CGuid CStringView::FindText(const CStringView &text, u32 start,
                            ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    const u32 length = ReadableLength(*this);
    if (start > length)
        return CGuid::INVALID;
    const u32 textLength = ReadableLength(text);
    if (textLength == 0)
        return CGuid(start);
    const char *from = m_Data + start;
    const char *found = caseSensitivity != CaseSensitive
                            ? SNativeStringUtils::FindCase(from, length - start, text.m_Data, textLength)
                            : SNativeStringUtils::Find(from, length - start, text.m_Data, textLength);
    return IndexOf(found, m_Data);
}

CGuid CStringView::FindLastText(const CStringView &text, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    const u32 length = ReadableLength(*this);
    const u32 textLength = ReadableLength(text);
    if (textLength == 0)
        return CGuid(length);
    const char *found = caseSensitivity != CaseSensitive
                            ? Internal::Buffer::FindLastInCountedCase(m_Data, length, text.m_Data, textLength)
                            : Internal::Buffer::FindLastInCounted(m_Data, length, text.m_Data, textLength);
    return IndexOf(found, m_Data);
}

CGuid CStringView::FindText(const char *text, u32 start, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return FindText(ToView(text), start, caseSensitivity);
}

CGuid CStringView::FindLastText(const char *text, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return FindLastText(ToView(text), caseSensitivity);
}

} // namespace Quorvane
