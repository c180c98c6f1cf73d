// Private header: what the pieces of a new text may be.
//
// Users include kr_string.h.
#pragma once

#include <type_traits>

#include "kr_string_view.h"

namespace Quorvane
{

namespace Internal::String
{

template <typename T>
using TIsCharacter = std::is_same<T, char>;

// Exactly the type of a NUL-terminated text, as a literal becomes when it is given by value: no literal 0, no null.
template <typename T>
using TIsTerminatedText = std::disjunction<std::is_same<T, const char *>, std::is_same<T, char *>>;

template <typename T>
using TIsTextPiece = std::disjunction<TIsCharacter<T>, std::is_convertible<const T &, CStringView>,
                                      std::is_convertible<const T &, const char *>>;

// For the parameter lists of templates.
template <typename T>
using IfCharacter = std::enable_if_t<TIsCharacter<T>::value>;
template <typename T>
using IfView = std::enable_if_t<std::is_same<T, CStringView>::value>;
template <typename T, typename U>
using IfViewAndText = std::enable_if_t<std::is_same<T, CStringView>::value && TIsTerminatedText<U>::value>;
template <typename... T>
using IfTextPieces = std::enable_if_t<std::conjunction<TIsTextPiece<T>...>::value>;

// One piece, by its length. Borrows, also from a character.
class CTextPiece
{
public:
    template <typename Piece, typename = IfTextPieces<Piece>>
    CTextPiece(const Piece &piece QV_INTERNAL_LIFETIMEBOUND) noexcept : m_View(_ViewOf(piece))
    {
    }

    CStringView View() const noexcept QV_NONBLOCKING { return m_View; }

private:
    template <typename Piece>
    static CStringView _ViewOf(const Piece &piece) noexcept
    {
        if constexpr (TIsCharacter<Piece>::value)
            return CStringView(&piece, 1);
        else if constexpr (std::is_convertible<const Piece &, CStringView>::value)
            return piece;
        else
            return CStringView(static_cast<const char *>(piece));
    }

    CStringView m_View;
};

} // namespace Internal::String

} // namespace Quorvane
