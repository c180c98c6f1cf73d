// Casing: conversion in place and as copies, and the questions about it.
#include "kr_string.h"

#include "../kr_buffer/buffer_edit.h"
#include "copy_figures.h"
#include "kr_internal/kr_string_tail.h"
#include "null_text.h"

namespace Quorvane
{

namespace
{

namespace Narrow = Internal::Buffer::Narrow;
namespace Wide = Internal::Buffer::Wide;

bool IsConversion(ECasingType casing)
{
    return casing == CasingType_Lowercase || casing == CasingType_Uppercase;
}

// Whether there is a letter from `first` to `last`.
bool HasLetterBetween(const CStringView &text, char first, char last)
{
    const u8 *const data = reinterpret_cast<const u8 *>(text.Data());
    const u32 length = Internal::String::ReadableLength(text);
    return QV_SIMD_CALL(length >= Internal::Buffer::kMinWideLength, AnyBetweenAscii(data, length, first, last));
}

bool HasUppercaseLetter(const CStringView &text)
{
    return HasLetterBetween(text, 'A', 'Z');
}

bool HasLowercaseLetter(const CStringView &text)
{
    return HasLetterBetween(text, 'a', 'z');
}

// Converts a string's own characters with one of the two kernels.
template <void (*Convert)(char *, u32)>
void ConvertInPlace(CString &string)
{
    if (string.Empty())
        return;
    char *const data = string.RawDataForWriting();
    if (QV_INTERNAL_FAILS_TEXT(Internal::String::kContainerCheck, data != nullptr))
        return;
    Convert(data, string.Length());
}

} // namespace

bool CStringView::IsUpper() const noexcept QV_NONBLOCKING
{
    return !HasLowercaseLetter(*this);
}

bool CStringView::IsLower() const noexcept QV_NONBLOCKING
{
    return !HasUppercaseLetter(*this);
}

ECasingType CStringView::AnalyzeCasing() const noexcept QV_NONBLOCKING
{
    static_assert(CasingType_Mixed == (CasingType_Lowercase | CasingType_Uppercase), "casings are bits");
    const u32 lower = HasLowercaseLetter(*this) ? CasingType_Lowercase : CasingType_Unspecified;
    const u32 upper = HasUppercaseLetter(*this) ? CasingType_Uppercase : CasingType_Unspecified;
    return static_cast<ECasingType>(lower | upper);
}

bool CString::IsUpper() const noexcept QV_NONBLOCKING
{
    return Empty() || CStringView(*this).IsUpper();
}

bool CString::IsLower() const noexcept QV_NONBLOCKING
{
    return Empty() || CStringView(*this).IsLower();
}

ECasingType CString::AnalyzeCasing() const noexcept QV_NONBLOCKING
{
    return Empty() ? CasingType_Unspecified : CStringView(*this).AnalyzeCasing();
}

CString &CString::ToUppercase() noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    ConvertInPlace<&Internal::Buffer::UppercaseInPlace>(*this);
    return *this;
}

CString &CString::ToLowercase() noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    ConvertInPlace<&Internal::Buffer::LowercaseInPlace>(*this);
    return *this;
}

CString &CString::ConformTo(ECasingType casing) noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    if (casing == CasingType_Uppercase)
        return ToUppercase();
    if (casing == CasingType_Lowercase)
        return ToLowercase();
    // Other casings change no character, but make the container this string's own as a conversion does.
    if (!Empty())
        _MakeUnique();
    return *this;
}

CString CString::ConformedTo(ECasingType casing) const noexcept
{
    QV_INTERNAL_NO_EDIT;
    if (Empty() || !IsConversion(casing))
    {
        CString result(*this);
        result.ConformTo(casing);
        return result;
    }
    // The private copy of a container that is shared with the result, and its conversion, in one pass.
    PStringContainer copy = CStringContainer::New(null, Length());
    CStringContainer *container = copy.Get();
    if (QV_INTERNAL_FAILS_TEXT(Internal::String::kContainerCheck, container != nullptr))
        return CString();
    if (casing == CasingType_Lowercase)
        SNativeStringUtils::Lowercase_16(container->Data(), Data(), container->Length());
    else
        SNativeStringUtils::Uppercase_16(container->Data(), Data(), container->Length());
    Internal::String::STail::Poison(container->Data(), container->Length());
    return CString(std::move(copy));
}

CString CString::Uppercase() const noexcept
{
    return ConformedTo(CasingType_Uppercase);
}

CString CString::Lowercase() const noexcept
{
    return ConformedTo(CasingType_Lowercase);
}

} // namespace Quorvane
