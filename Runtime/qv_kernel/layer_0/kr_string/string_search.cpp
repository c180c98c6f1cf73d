// Search and extraction: questions about a string, and ranges copied out of it.
#include "kr_string.h"

#include <cstring>

#include "../kr_buffer/buffer_find.h"
#include "../kr_buffer/buffer_scan.h"
#include "character_set.h"
#include "null_text.h"

namespace Quorvane
{

// What is no index is no valid guid either.
static_assert(Internal::Buffer::kNoIndex == CGuid().Get(), "an index that was not found is invalid");

namespace
{

using Internal::String::CCharacterSet;
using Internal::String::CountLeading;
using Internal::String::IndexOf;

} // namespace

u32 Internal::String::LastIndexInContainer(const char *data, u32 length, char character) noexcept QV_NONBLOCKING
{
    using Buffer::SBlock;
    if (length > SBlock::kBytes)
        return Buffer::LastIndexOf(data, length, character);
    // Without a further call, which takes as long as so short a text.
    const u32 last = Buffer::LastInBlock(data, length, character);
    return last != SBlock::kBytes ? last : Buffer::kNoIndex;
}

CGuid CString::FindNextOf(const char *str, u32 start) const noexcept QV_NONBLOCKING
{
    if (str == nullptr || start >= Length())
        return CGuid::INVALID;
    const char *data = Data();
    if (QV_INTERNAL_FAILS_TEXT("m_Container != null && m_Container->Data() != null", data != nullptr))
        return CGuid::INVALID;
    return IndexOf(Internal::Buffer::FindInTerminated(data + start, Length() - start, str), data);
}

CGuid CString::FindText(const CStringView &text, u32 start,
                        ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).FindText(text, start, caseSensitivity);
}

CGuid CString::FindText(const char *text, u32 start, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).FindText(text, start, caseSensitivity);
}

CGuid CString::FindLastText(const CStringView &text, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).FindLastText(text, caseSensitivity);
}

CGuid CString::FindLastText(const char *text, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).FindLastText(text, caseSensitivity);
}

bool CString::StartsWith(const char *other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).StartsWith(other, caseSensitivity);
}

bool CString::StartsWith(const CString &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).StartsWith(CStringView(other), caseSensitivity);
}

bool CString::StartsWith(const CStringView &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).StartsWith(other, caseSensitivity);
}

bool CString::EndsWith(const char *other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).EndsWith(other, caseSensitivity);
}

bool CString::EndsWith(const CString &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).EndsWith(CStringView(other), caseSensitivity);
}

bool CString::EndsWith(const CStringView &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).EndsWith(other, caseSensitivity);
}

bool CString::Contains(const char *other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).Contains(other, caseSensitivity);
}

bool CString::Contains(const CString &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).Contains(CStringView(other), caseSensitivity);
}

bool CString::Contains(const CStringView &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return CStringView(*this).Contains(other, caseSensitivity);
}

bool CString::Empty(const char *blanks) const noexcept QV_NONBLOCKING
{
    if (Empty())
        return true;
    // Characters behind a terminator, which is in no set, do not count.
    const char *data = Data();
    return data[CountLeading(data, Length(), CCharacterSet(blanks))] == '\0';
}

// The check of the range that is extracted from a buffer, or from a string's characters, of which it looks at those from
// `checked` on.
CString CString::_Extract(const char *from, u32 first, u32 last, u32 checked) noexcept
{
    const bool isRange = from != nullptr && last > first;
    QV_INTERNAL_ASSERT_TEXT("from != null && last > first && SNativeStringUtils::Length(from) >= QVMax(first, last)",
                            isRange && __builtin_memchr(from + checked, '\0', last - checked) == nullptr);
    if (!isRange)
        return CString();
    return CString(CStringContainer::New(from + first, last - first));
}

CString CString::Extract(u32 first, u32 last) const noexcept
{
    const u32 size = Length();
    if (QV_VERIFY(first < size && last <= size))
        return CString();
    // The characters are there whatever the check says. It does not go back to the front of a long text each time: who
    // cuts one into pieces would pay for the square of its length.
    constexpr u32 kLookBack = 4096;
    return first == last ? CString() : _Extract(Data(), first, last, first - QVMin(first, kLookBack));
}

CString CString::Extract(const char *from, u32 first, u32 last) noexcept
{
    return first == last ? CString() : _Extract(from, first, last, 0);
}

} // namespace Quorvane
