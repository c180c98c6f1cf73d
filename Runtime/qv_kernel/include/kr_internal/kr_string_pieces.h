// Private header: the names that the declarations of kr_string.h need for cutting a text lazily, and what may be cut.
//
// Users include kr_string.h.
#pragma once

#include <type_traits>

#include "kr_string_fwd.h"
#include "kr_string_view.h"

namespace Quorvane::Internal::String
{

class CCharacterSeparator;
class CLineSeparator;
class CSetSeparator;
class CTextSeparator;

enum EPieceOrder
{
    PieceOrder_FromBegin,
    PieceOrder_FromEnd,
};

template <typename Separator, EPieceOrder order = PieceOrder_FromBegin>
class TPieces;

// A text that is handed over by value: a string, a view or a terminated text, and nothing that would have to become one. An
// object that holds characters itself would not outlive the call. The functions are declared for their answers alone.
template <typename T>
std::enable_if_t<std::is_base_of<CString, T>::value || std::is_base_of<CStringView, T>::value ||
                 std::is_same<T, const char *>::value || std::is_same<T, char *>::value>
    TakePieceText(TNameOf<T>) noexcept QV_NONBLOCKING;
template <typename T>
IfForeignView<T> TakePieceText(TNameOf<T>) noexcept QV_NONBLOCKING;

template <typename T>
using IfPieceText = decltype(TakePieceText(TNameOf<T>()));

// Only a char is a character: a number, or null, is neither that nor a text.
template <typename T>
std::enable_if_t<std::is_same<T, char>::value, CCharacterSeparator> TakeSeparator(TNameOf<T>) noexcept QV_NONBLOCKING;
template <typename T, typename = IfPieceText<T>>
CTextSeparator TakeSeparator(TNameOf<T>) noexcept QV_NONBLOCKING;

template <typename T>
using TSeparatorOf = decltype(TakeSeparator(TNameOf<T>()));

} // namespace Quorvane::Internal::String
