// What may be null: texts and views, for which it counts as empty, containers, and what was looked for.
#pragma once

#include "kr_string.h"

namespace Quorvane::Internal::String
{

// What is reported where a handle has no container, or could not get its own: the check of the pointer it consists of.
constexpr const char *kContainerCheck = "_P::m_Ptr != null";

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
