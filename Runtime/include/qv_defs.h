// The base of everything: integer types, `null`, minimum and maximum, checked narrowing, and the traits that
// containers ask of their elements.
#pragma once

#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "kr_assert.h"
#include "qv_internal/qv_wrapping.h"

namespace Quorvane
{

// Integers by width. `u64` and `s64` are the `long long` types, so `%llu` and `%lld` print them everywhere.
using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = unsigned long long;
using s8 = std::int8_t;
using s16 = std::int16_t;
using s32 = std::int32_t;
using s64 = signed long long;

// Integers as wide as a pointer.
using ureg = std::uintptr_t;
using sreg = std::intptr_t;

static_assert(sizeof(u64) == 8 && sizeof(s64) == 8, "64-bit integers have 64 bits");
static_assert(sizeof(ureg) == sizeof(void *), "pointer-wide integers are as wide as a pointer");

// The null pointer, by the name that reports use.
constexpr std::nullptr_t null = nullptr;

// The smaller and the larger of two values; the first when they are equal.
template <typename T>
constexpr const T &QVMin(const T &a, const T &b) noexcept
{
    return b < a ? b : a;
}
template <typename T>
constexpr const T &QVMax(const T &a, const T &b) noexcept
{
    return a < b ? b : a;
}

namespace Internal
{

// The integer type that holds the values of T: an enumeration's underlying type, else T itself.
template <typename T, bool IsEnum = std::is_enum<T>::value>
struct TIntegerOf
{
    using Type = T;
};
template <typename T>
struct TIntegerOf<T, true>
{
    using Type = std::underlying_type_t<T>;
};

// The value in the precision of its type. Some processors compute in wider registers (FLT_EVAL_METHOD), and what stands
// there counts as the value until it is stored.
template <typename T>
inline T RoundedToType(T value) noexcept QV_NONBLOCKING
{
    if constexpr (std::is_floating_point<T>::value && FLT_EVAL_METHOD != 0)
    {
        const volatile T stored = value;
        return stored;
    }
    else
        return value;
}

// True when a floating-point value lies in the range of T, which is no floating-point type; false for what is no number.
// Converting any other value is undefined.
template <typename T, typename Floating>
constexpr bool IsWithin(const Floating &value) noexcept QV_NONBLOCKING
{
    using CLimits = std::numeric_limits<typename TIntegerOf<T>::Type>;
    // A power of 2, and one or 0: every floating-point type as wide as a double holds them exactly.
    using CWide = std::common_type_t<Floating, double>;
    constexpr CWide kBeyond = static_cast<CWide>(CLimits::max() / 2 + 1) * 2;
    constexpr CWide kLowest = static_cast<CWide>(CLimits::min());
    return value >= kLowest && value < kBeyond;
}

// The end of T's range that is nearest to a floating-point value outside of it; 0 for what is no number.
template <typename T, typename Floating>
constexpr T NearestEnd(const Floating &value) noexcept QV_NONBLOCKING
{
    using CLimits = std::numeric_limits<typename TIntegerOf<T>::Type>;
    if (value > 0)
        return static_cast<T>(CLimits::max());
    return value < 0 ? static_cast<T>(CLimits::min()) : static_cast<T>(0);
}

// A static_cast that is defined for every value.
template <typename To, typename From>
constexpr To NumericCast(const From &value) noexcept QV_NONBLOCKING
{
    if constexpr (std::is_floating_point<From>::value && !std::is_floating_point<To>::value)
        return IsWithin<To>(value) ? static_cast<To>(value) : NearestEnd<To>(value);
    else
        return static_cast<To>(value);
}

// Whether `value` comes back from `result`, its conversion.
template <typename To, typename From>
constexpr bool SurvivesNumericCast(const To &result, const From &value) noexcept QV_NONBLOCKING
{
    using CValue = std::remove_cv_t<From>;
    if constexpr (std::is_floating_point<From>::value && !std::is_floating_point<To>::value)
        return IsWithin<To>(value) && static_cast<CValue>(result) == value;
    else if constexpr (std::is_floating_point<To>::value && !std::is_floating_point<From>::value)
        return IsWithin<CValue>(result) && static_cast<CValue>(result) == value;
    else
        return static_cast<CValue>(result) == value;
}

} // namespace Internal

// Narrows a number: an integer, an enumeration or a floating-point value, to any of them.
// Requires: the value survives the round trip, else reports
// "static_cast<typename TType_StripQual<_TypeSrc>::Type>(result) == value". What is no number survives none.
// Returns: the value. After an ignored report: an integer is truncated; a floating-point value becomes an integer without
// its fraction, or the nearest end of the range, or 0 if it is no number; what becomes a floating-point value is rounded,
// to infinity where it is too large.
template <typename To, typename From>
inline To checked_numcast(const From &value) noexcept QV_NONBLOCKING
{
    const To result = Internal::RoundedToType(Internal::NumericCast<To>(value));
    QV_INTERNAL_ASSERT_TEXT("static_cast<typename TType_StripQual<_TypeSrc>::Type>(result) == value",
                            Internal::SurvivesNumericCast(result, value));
    return result;
}

// Numeric constants by type.
template <typename T>
struct TNumericTraits
{
    // Positive infinity; 0 for types without one.
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
