// What stands behind the terminators of containers' texts: zeros, but in a build that takes them away (QV_POISON_TAIL).
#pragma once

#include <cstddef>

#include "kr_internal/kr_string_tail.h"

namespace QuorvaneTest
{

// Whether the byte at `i`, behind the last character of a text of that length, is what an operation leaves there, up to
// the end of the terminator's block or, where it has shortened the text, up to the terminator of before.
inline bool IsAsLeft(const char *data, std::size_t length, std::size_t i)
{
#if QV_POISON_TAIL
    if (i != length && i / 16 == length / 16)
        return Quorvane::Internal::String::STail::IsPoison(data[i]);
#else
    static_cast<void>(length);
#endif
    return data[i] == '\0';
}

} // namespace QuorvaneTest
