// Searches as the platform offers them.
#pragma once

#include <cstring>

#include "qv_defs.h"

namespace Quorvane::Internal::Buffer
{

// The last occurrence of a character in a text that is not empty; null when there is none.
inline const char *PortFindLast(const char *data, u32 length, char character) noexcept QV_NONBLOCKING
{
    // Unchecked: the platform's search reads memory, and does nothing else.
    QV_INTERNAL_UNCHECKED_BEGIN
#if defined(__GLIBC__)
    return static_cast<const char *>(memrchr(data, character, length));
#else
    for (const char *cur = data + length; cur != data; --cur)
        if (cur[-1] == character)
            return cur - 1;
    return nullptr;
#endif
    QV_INTERNAL_UNCHECKED_END
}

} // namespace Quorvane::Internal::Buffer
