// What kr_buffer.h needs of the platform: comparisons without case. POSIX has them. On Windows they have names of their own,
// and order the bytes above 127 otherwise than everywhere else: so there they are ours, with which no locale has to do. On
// 64-bit Power, that of counted text is ours, too.
#pragma once

#include <cstddef>

#if !defined(_WIN32)
#include <strings.h>
#endif
#if defined(__powerpc64__)
#include <ctype.h>
#endif

#include "qv_defs.h"

namespace Quorvane::Internal
{

#if defined(_WIN32)

inline s32 PlatformCompareCase(const char *a, const char *b, std::size_t maxLength) noexcept QV_NONBLOCKING
{
    const auto lowerCase = [](char character)
    {
        const u8 byte = static_cast<u8>(character);
        return byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
    };
    for (std::size_t i = 0; i < maxLength; ++i)
    {
        const s32 difference = lowerCase(a[i]) - lowerCase(b[i]);
        if (difference != 0 || a[i] == 0)
            return difference;
    }
    return 0;
}

inline s32 PlatformCompareCase(const char *a, const char *b) noexcept QV_NONBLOCKING
{
    return PlatformCompareCase(a, b, ~std::size_t(0));
}

#else

// Unchecked: they read memory and the locale in force, and do nothing else.
QV_INTERNAL_UNCHECKED_BEGIN

inline s32 PlatformCompareCase(const char *a, const char *b) noexcept QV_NONBLOCKING
{
    return strcasecmp(a, b);
}

#if defined(__powerpc64__)

// glibc 2.36's strncasecmp for POWER8 and later reads up to 15 bytes behind a text that nothing terminates.
inline s32 PlatformCompareCase(const char *a, const char *b, std::size_t maxLength) noexcept QV_NONBLOCKING
{
    for (std::size_t i = 0; i < maxLength; ++i)
    {
        const s32 difference = tolower(static_cast<u8>(a[i])) - tolower(static_cast<u8>(b[i]));
        if (difference != 0 || a[i] == 0)
            return difference;
    }
    return 0;
}

#else

inline s32 PlatformCompareCase(const char *a, const char *b, std::size_t maxLength) noexcept QV_NONBLOCKING
{
    return strncasecmp(a, b, maxLength);
}

#endif

QV_INTERNAL_UNCHECKED_END

#endif

} // namespace Quorvane::Internal
