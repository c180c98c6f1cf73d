// Private header: the inline bodies of kr_string.h that put texts together.
//
// Users include kr_string.h, which ends with this header.
#pragma once

#include "kr_string.h"

#include <utility>

#include "kr_internal/kr_string_fast_growth.h"
#include "kr_internal/kr_string_join.h"
#include "kr_memoryviews.h"

namespace Quorvane
{

namespace Internal::String
{

// The two in a row, as a string made of the left one and appended to would have them.
[[nodiscard]] QV_INTERNAL_API CString SumOfViews(const CStringView &a, const CStringView &b) noexcept;

// The pieces with the separator between each two of them.
[[nodiscard]] QV_INTERNAL_API CString JoinList(const CStringView &separator,
                                               const TStridedMemoryView<const CStringView> &pieces) noexcept;
[[nodiscard]] QV_INTERNAL_API CString JoinList(const CStringView &separator,
                                               const TStridedMemoryView<const CString> &pieces) noexcept;
[[nodiscard]] QV_INTERNAL_API CString JoinList(const CStringView &separator,
                                               const TStridedMemoryView<const char *const> &pieces) noexcept;

} // namespace Internal::String

// Pieces whose length the compiler knows are appended in line; every other is copied by code for any length, which would
// be much at each call. The compiler is asked about variables: of what a call answers it knows nothing.

QV_INTERNAL_ALWAYS_INLINE inline bool CString::_AppendInline(const char *other, u32 length) noexcept QV_NONBLOCKING
{
    using Internal::String::SFastGrowth;
    CStringContainer *const container = m_Container.Get();
    if (!QV_INTERNAL_LIKELY(SFastGrowth::TakesFast(container, other, length)))
        return false;
    Mem::Internal::CopyUpTo32(SFastGrowth::LengthenFast(*container, length), other, length);
    return true;
}

QV_INTERNAL_ALWAYS_INLINE inline CString &CString::Append(const CStringView &other) noexcept
{
    const char *const data = other.Data();
    const u32 length = other.Length();
    if (__builtin_constant_p(length) && data != nullptr && QV_INTERNAL_LIKELY(_AppendInline(data, length)))
        return *this;
    return _AppendView(data, length);
}

QV_INTERNAL_ALWAYS_INLINE inline CString &CString::Append(const char *other) noexcept
{
    if (other != nullptr)
    {
        const CStringView view(other);
        const u32 length = view.Length();
        if (__builtin_constant_p(length))
            return Append(view);
    }
    return _AppendText(other);
}

// A character is a view of one; a terminator is appended as nothing.

template <typename Character, typename>
inline CString &CString::operator+=(Character character) noexcept
{
    return Append(character);
}

template <typename Character, typename>
inline bool CString::TryAppend(Character character) noexcept QV_NONBLOCKING
{
    if (character == '\0')
        return true;
    CStringContainer *const container = m_Container.Get();
    return container != nullptr && container->_AppendFast(character);
}

template <typename Character, typename>
inline CString &CString::Insert(u32 index, Character character) noexcept
{
    return _InsertFast(index, &character, character != '\0' ? 1 : 0);
}

template <typename Character, typename>
CString operator+(const CString &a, Character b) noexcept
{
    return a + CStringView(&b, b != '\0' ? 1 : 0);
}

template <typename Character, typename>
CString operator+(CString &&a, Character b) noexcept
{
    return std::move(a.Append(b));
}

template <typename View, typename>
CString operator+(const View &a, const View &b) noexcept
{
    return Internal::String::SumOfViews(a, b);
}

template <typename View, typename Text, typename>
CString operator+(const View &a, Text b) noexcept
{
    return Internal::String::SumOfViews(a, CStringView(static_cast<const char *>(b)));
}

template <typename Text, typename View, typename>
CString operator+(Text a, const View &b) noexcept
{
    return Internal::String::SumOfViews(CStringView(static_cast<const char *>(a)), b);
}

namespace Joining
{

template <typename... Pieces, typename>
CString Concat(const Pieces &...pieces) noexcept
{
    if constexpr (sizeof...(Pieces) == 0)
        return CString();
    else
    {
        const CStringView views[] = {Internal::String::CTextPiece(pieces).View()...};
        return Internal::String::JoinList(CStringView(), TStridedMemoryView<const CStringView>(views));
    }
}

template <typename... Pieces, typename>
CString Join(const Internal::String::CTextPiece &separator, const Pieces &...pieces) noexcept
{
    if constexpr (sizeof...(Pieces) == 0)
    {
        static_cast<void>(separator);
        return CString();
    }
    else
    {
        const CStringView views[] = {Internal::String::CTextPiece(pieces).View()...};
        return Internal::String::JoinList(separator.View(), TStridedMemoryView<const CStringView>(views));
    }
}

template <typename>
CString Join(const Internal::String::CTextPiece &separator,
             const TStridedMemoryView<const CStringView> &pieces) noexcept
{
    return Internal::String::JoinList(separator.View(), pieces);
}

template <typename>
CString Join(const Internal::String::CTextPiece &separator, const TStridedMemoryView<const CString> &pieces) noexcept
{
    return Internal::String::JoinList(separator.View(), pieces);
}

template <typename>
CString Join(const Internal::String::CTextPiece &separator,
             const TStridedMemoryView<const char *const> &pieces) noexcept
{
    return Internal::String::JoinList(separator.View(), pieces);
}

} // namespace Joining

} // namespace Quorvane
