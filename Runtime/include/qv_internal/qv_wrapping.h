// Private header: arithmetic of unsigned integers that is meant to wrap.
//
// Unsigned operators wrap as well, and where nobody meant it that is a mistake which clang's `integer` sanitizers report.
// So what is meant is said: hashes, words of which each byte is computed by itself, comparisons in which a number below 0
// comes out as a large one, differences that are added to a length. The code is that of the operators.
#pragma once

#include "qv_internal/qv_namespace.h"

namespace Quorvane::Internal
{

// The sum, the difference and the product modulo 2^n, of unsigned integers of n bits. Any two types but T would be
// converted first, so both are one.
template <typename T>
QV_INTERNAL_ALWAYS_INLINE constexpr T WrappingSum(T a, T b) noexcept QV_NONBLOCKING
{
    static_assert(static_cast<T>(-1) > 0, "only what is unsigned is meant to wrap");
    T sum = 0;
    static_cast<void>(__builtin_add_overflow(a, b, &sum));
    return sum;
}

template <typename T>
QV_INTERNAL_ALWAYS_INLINE constexpr T WrappingDifference(T a, T b) noexcept QV_NONBLOCKING
{
    static_assert(static_cast<T>(-1) > 0, "only what is unsigned is meant to wrap");
    T difference = 0;
    static_cast<void>(__builtin_sub_overflow(a, b, &difference));
    return difference;
}

template <typename T>
QV_INTERNAL_ALWAYS_INLINE constexpr T WrappingProduct(T a, T b) noexcept QV_NONBLOCKING
{
    static_assert(static_cast<T>(-1) > 0, "only what is unsigned is meant to wrap");
    T product = 0;
    static_cast<void>(__builtin_mul_overflow(a, b, &product));
    return product;
}

} // namespace Quorvane::Internal
