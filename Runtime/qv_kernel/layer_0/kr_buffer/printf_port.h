// What printf-like formatting of numbers depends on besides its arguments, on this platform.
#pragma once

#include <cfenv>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

#if defined(_WIN32)
#include <clocale>
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
    return std::strcmp(std::localeconv()->decimal_point, ".") == 0;
#elif defined(RADIXCHAR)
    return std::strcmp(nl_langinfo(RADIXCHAR), ".") == 0;
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

// Where the letter of a directive stands, from behind its percent sign on, or behind what stands in front of it on any
// platform: flags, width, precision and size.
inline const char *LetterOfDirective(const char *directive)
{
    constexpr char kInFront[] = "0123456789-+ #'*.$hlLqjztwI";
    const char *letter = directive + std::strspn(directive, kInFront);
    // A size of two letters, of which the second one is a letter of its own elsewhere.
    if (*letter == 'f' && letter[-1] == 'w')
        letter += 1 + std::strspn(letter + 1, kInFront);
    return letter;
}

// Whether a format has output counted, which writes the count to memory (%n): no text that gets into a format may do that.
inline bool HasCountedOutput(const char *format)
{
    const char *percent = std::strchr(format, '%');
    while (percent != nullptr)
    {
        const char *const letter = LetterOfDirective(percent + 1);
        if (*letter == 'n')
            return true;
        percent = *letter != '\0' ? std::strchr(letter + 1, '%') : nullptr;
    }
    return false;
}

// vsnprintf, for what our own code leaves to the platform. Counted output fails. On Windows, it takes as much stack as a
// directive is wide, so that one of 10,000 characters or more fails.
QV_INTERNAL_PRINTF(3, 0)
inline int PortFormat(char *buffer, std::size_t size, const char *format, std::va_list args)
{
    if (HasCountedOutput(format))
        return -1;
#if defined(_WIN32)
    if (HasLongPrintfNumber(format))
        return -1;
#endif
    return std::vsnprintf(buffer, size, format, args);
}

} // namespace Quorvane::Internal::Buffer
