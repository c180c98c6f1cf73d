// Searches as the platform offers them.
#pragma once

#include <cstring>

#include "qv_defs.h"

#if !defined(__GLIBC__)
#include <algorithm>
#include <functional>
#endif

namespace Quorvane::Internal
{

// The first occurrence of a needle of 1 to `length` characters; null when there is none. Linear for a given needle.
inline const char *PortFind(const char *data, u32 length, const char *needle, u32 needleLength)
{
#if defined(__GLIBC__)
    return static_cast<const char *>(memmem(data, length, needle, needleLength));
#else
    const char *end = data + length;
    const char *found = std::search(data, end, std::boyer_moore_horspool_searcher(needle, needle + needleLength));
    return found != end ? found : nullptr;
#endif
}

// The last occurrence of a character in a text that is not empty; null when there is none.
inline const char *PortFindLast(const char *data, u32 length, char character)
{
#if defined(__GLIBC__)
    return static_cast<const char *>(memrchr(data, character, length));
#else
    for (const char *cur = data + length; cur != data; --cur)
        if (cur[-1] == character)
            return cur - 1;
    return nullptr;
#endif
}

} // namespace Quorvane::Internal
