// Private header: equality of characters in memory, for the inline comparisons of strings, and a search of them.
//
// Users include kr_string.h.
#pragma once

#include <cstring>

#include "qv_defs.h"

namespace Quorvane
{

namespace Internal::String
{

// The difference of two values of type T from any two addresses, 0 when they are the same.
template <typename T>
inline T DifferenceOf(const char *a, const char *b) noexcept QV_NONBLOCKING
{
    T valueA;
    T valueB;
    std::memcpy(&valueA, a, sizeof(T));
    std::memcpy(&valueB, b, sizeof(T));
    return static_cast<T>(valueA ^ valueB);
}

// Equality of more than 32 characters.
QV_INTERNAL_API bool EqualCharactersSlow(const char *a, const char *b, u32 length) noexcept QV_NONBLOCKING;

// Equality of `length` characters. Few of them are compared as two values that overlap in the middle.
inline bool EqualCharacters(const char *a, const char *b, u32 length) noexcept QV_NONBLOCKING
{
    if (length > 4 * sizeof(u64))
        return EqualCharactersSlow(a, b, length);
    if (length > 2 * sizeof(u64))
        return (DifferenceOf<u64>(a, b) | DifferenceOf<u64>(a + 8, b + 8) |
                DifferenceOf<u64>(a + length - 16, b + length - 16) |
                DifferenceOf<u64>(a + length - 8, b + length - 8)) == 0;
    if (length >= sizeof(u64))
        return (DifferenceOf<u64>(a, b) | DifferenceOf<u64>(a + length - 8, b + length - 8)) == 0;
    if (length >= sizeof(u32))
        return (DifferenceOf<u32>(a, b) | DifferenceOf<u32>(a + length - 4, b + length - 4)) == 0;
    return length == 0 || (a[0] == b[0] && a[length / 2] == b[length / 2] && a[length - 1] == b[length - 1]);
}

// The index of the last `character` of a container's characters, of which there is one at least; that of an invalid guid
// when there is none.
QV_INTERNAL_API u32 LastIndexInContainer(const char *data, u32 length, char character) noexcept QV_NONBLOCKING;

} // namespace Internal::String

} // namespace Quorvane
