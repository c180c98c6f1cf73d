// The base of everything: integer types, `null`, minimum and maximum, checked narrowing, and the traits that
// containers ask of their elements.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "kr_assert.h"

namespace Quorvane
{

// Integers by width. `u64` and `s64` are the `long long` types, so `%llu` and `%lld` print them everywhere.
typedef std::uint8_t u8;
typedef std::uint16_t u16;
typedef std::uint32_t u32;
typedef unsigned long long u64;
typedef std::int8_t s8;
typedef std::int16_t s16;
typedef std::int32_t s32;
typedef signed long long s64;

// Integers as wide as a pointer.
typedef std::uintptr_t ureg;
typedef std::intptr_t sreg;

static_assert(sizeof(u64) == 8 && sizeof(s64) == 8, "64-bit integers have 64 bits");
static_assert(sizeof(ureg) == sizeof(void *), "pointer-wide integers are as wide as a pointer");

// The null pointer, by the name that reports use.
constexpr std::nullptr_t null = nullptr;

// The smaller and the larger of two values; the first when they are equal.
template <typename T>
constexpr const T &QVMin(const T &a, const T &b)
{
    return b < a ? b : a;
}

template <typename T>
constexpr const T &QVMax(const T &a, const T &b)
{
    return a < b ? b : a;
}

// Narrows an integer or an enumeration.
// Requires: the value survives the round trip, else reports
// "static_cast<typename TType_StripQual<_TypeSrc>::Type>(result) == value".
// Returns: the value, truncated after an ignored report.
template <typename To, typename From>
inline To checked_numcast(const From &value)
{
    const To result = static_cast<To>(value);
    QV_INTERNAL_ASSERT_TEXT("static_cast<typename TType_StripQual<_TypeSrc>::Type>(result) == value",
                            static_cast<std::remove_cv_t<From>>(result) == value);
    return result;
}

// Numeric constants by type.
template <typename T>
struct TNumericTraits
{
    static constexpr T kPositiveInfinity = std::numeric_limits<T>::infinity();
};

// What a container may do with elements of type T.
template <typename T>
struct TTypeTraits
{
    // True when the bytes of a T may be moved to a new address without running a constructor or a destructor.
    // Specialise it for types where that holds although they are not trivially copyable.
    static constexpr bool HasTrivialRelocate = std::is_trivially_copyable<T>::value;
};

} // namespace Quorvane
