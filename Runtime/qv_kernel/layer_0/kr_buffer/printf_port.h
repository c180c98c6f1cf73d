// What printf-like formatting of numbers depends on besides its arguments, on this platform.
#pragma once

#include <cfenv>

#if !defined(_WIN32)
#include <langinfo.h>
#endif

#include "qv_defs.h"

namespace Quorvane::Internal::Buffer
{

inline bool RoundsToNearest()
{
#if defined(FE_TONEAREST)
    return std::fegetround() == FE_TONEAREST;
#else
    return true;
#endif
}

// Whether the locale in force, of the thread or of the process, has a point in front of the places.
inline bool HasDecimalPoint()
{
#if defined(RADIXCHAR)
    const char *const point = nl_langinfo(RADIXCHAR);
    return point[0] == '.' && point[1] == '\0';
#else
    return false;
#endif
}

} // namespace Quorvane::Internal::Buffer
