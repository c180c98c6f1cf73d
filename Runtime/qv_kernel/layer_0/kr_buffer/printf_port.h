// What printf-like formatting of numbers depends on besides its arguments, on this platform.
#pragma once

#include <cfenv>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

#if defined(_WIN32)
#include <clocale>
#include <cstring>
#else
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
#if defined(_WIN32)
    // Each thread has a result of its own there.
    const char *const point = std::localeconv()->decimal_point;
    return point[0] == '.' && point[1] == '\0';
#elif defined(RADIXCHAR)
    const char *const point = nl_langinfo(RADIXCHAR);
    return point[0] == '.' && point[1] == '\0';
#else
    return false;
#endif
}

#if defined(_WIN32)

// Whether a directive has a width or a precision of 10,000 or more.
inline bool HasLongPrintfNumber(const char *format)
{
    constexpr u32 kMaxDigits = 4;
    bool isInDirective = false;
    u32 digits = 0;
    for (; *format != '\0'; ++format)
    {
        const bool isDigit = *format >= '0' && *format <= '9';
        const bool isBefore = isDigit || std::strchr("+-# .*$", *format) != nullptr;
        isInDirective = isInDirective ? isBefore : *format == '%';
        digits = isDigit && isInDirective ? digits + 1 : 0;
        if (digits > kMaxDigits)
            return true;
    }
    return false;
}

#endif

// vsnprintf, for what our own code leaves to the platform. On Windows, it takes as much stack as a directive is wide, so
// that one of 10,000 characters or more fails.
QV_INTERNAL_PRINTF(3, 0)
inline int PortFormat(char *buffer, std::size_t size, const char *format, std::va_list args)
{
#if defined(_WIN32)
    if (HasLongPrintfNumber(format))
        return -1;
#endif
    return std::vsnprintf(buffer, size, format, args);
}

} // namespace Quorvane::Internal::Buffer
