// Casing: conversion in place and as copies, and the questions about it.
#include "kr_string.h"

namespace Quorvane
{

namespace
{

// Rows of the character table.
const u8 *const kCasingRow = SNativeStringUtils::kr_buffer_char_lookups;
const u8 *const kUppercaseRow = SNativeStringUtils::kr_buffer_char_lookups + 512;
const u8 *const kLowercaseRow = SNativeStringUtils::kr_buffer_char_lookups + 768;

// The characters to look at: a view of null has none, whatever its length says.
TMemoryView<const char> CharactersOf(const CStringView &text)
{
    return text.Data() != nullptr ? text.View() : TMemoryView<const char>();
}

// True when every character is what the row maps it to.
bool IsMappedToItself(const CStringView &text, const u8 *row)
{
    for (const char character : CharactersOf(text))
        if (row[static_cast<u8>(character)] != static_cast<u8>(character))
            return false;
    return true;
}

} // namespace

bool CStringView::IsUpper() const
{
    return IsMappedToItself(*this, kUppercaseRow);
}

bool CStringView::IsLower() const
{
    return IsMappedToItself(*this, kLowercaseRow);
}

ECasingType CStringView::AnalyzeCasing() const
{
    // The row holds the casing of each letter as a bit of its own, so that both make the mixed one.
    static_assert(CasingType_Mixed == (CasingType_Lowercase | CasingType_Uppercase), "casings are bits");
    u32 casing = CasingType_Unspecified;
    for (const char character : CharactersOf(*this))
        casing |= kCasingRow[static_cast<u8>(character)];
    return static_cast<ECasingType>(casing);
}

bool CString::IsUpper() const
{
    return Empty() || CStringView(*this).IsUpper();
}

bool CString::IsLower() const
{
    return Empty() || CStringView(*this).IsLower();
}

ECasingType CString::AnalyzeCasing() const
{
    return Empty() ? CasingType_Unspecified : CStringView(*this).AnalyzeCasing();
}

CString &CString::ConformTo(ECasingType casing)
{
    if (Empty())
        return *this;
    _MakeUnique();
    if (casing != CasingType_Lowercase && casing != CasingType_Uppercase)
        return *this;
    CStringContainer *container = m_Container.Get();
    QV_INTERNAL_ASSERT_TEXT("_P::m_Ptr != null", container != nullptr);
    if (container == nullptr)
        return *this;
    if (casing == CasingType_Lowercase)
        SNativeStringUtils::Lowercase_16(container->Data(), container->Length());
    else
        SNativeStringUtils::Uppercase_16(container->Data(), container->Length());
    return *this;
}

CString &CString::ToUppercase()
{
    return ConformTo(CasingType_Uppercase);
}

CString &CString::ToLowercase()
{
    return ConformTo(CasingType_Lowercase);
}

CString CString::ConformedTo(ECasingType casing) const
{
    CString result(*this);
    result.ConformTo(casing);
    return result;
}

CString CString::Uppercase() const
{
    return ConformedTo(CasingType_Uppercase);
}

CString CString::Lowercase() const
{
    return ConformedTo(CasingType_Lowercase);
}

} // namespace Quorvane
