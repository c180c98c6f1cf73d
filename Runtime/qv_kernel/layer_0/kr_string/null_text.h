// Null counts as empty: texts and views that may be null, and what was looked for and may be null for not found.
#pragma once

#include "kr_string.h"

namespace Quorvane::Internal::String
{

inline bool IsNullOrEmpty(const char *text)
{
    return text == nullptr || *text == '\0';
}

// A view of null has no characters to look at, whatever its length says.
inline u32 ReadableLength(const CStringView &view)
{
    return view.Data() != nullptr ? view.Length() : 0;
}

inline CStringView ReadableView(CStringView view)
{
    return view.Data() != nullptr ? view : CStringView();
}

// The index of what was found in the characters from `data` on.
inline CGuid IndexOf(const char *found, const char *data)
{
    return found != nullptr ? CGuid(static_cast<u32>(found - data)) : CGuid::INVALID;
}

} // namespace Quorvane::Internal::String
