// An index, or none: what searches and appends return.
//
//     const CGuid found = text.FindNextOf(',', 0);
//     if (found.Valid())
//         use(text[found]);
#pragma once

#include <iosfwd>
#include <type_traits>

#include "qv_defs.h"

namespace Quorvane
{

namespace Internal
{

// What the literal 0 is taken for where it must not be compared with a guid; and what it is not taken for, where it may:
// guids of signed numbers.
struct SZeroLiteral;
struct SNoLiteral
{
    SNoLiteral() = delete;
};

} // namespace Internal

// A value of T, or `INVALID` (all bits set). Converts from and to T; does not convert to bool, since index 0 would
// read as "not found".
template <typename T>
class TGuid
{
    // Compilers name it in their message.
    using _AskValidInstead =
        std::conditional_t<std::is_unsigned<T>::value, Internal::SZeroLiteral *, Internal::SNoLiteral>;

public:
    // No index: all bits set.
    QV_INTERNAL_HIDDEN static const TGuid INVALID;

    // INVALID, or the value `guid`.
    constexpr TGuid() noexcept QV_NONBLOCKING : m_Guid(static_cast<T>(~T(0))) {}
    constexpr TGuid(T guid) noexcept QV_NONBLOCKING : m_Guid(guid) {}

    // True for every value but INVALID; 0 is valid.
    [[nodiscard]] constexpr bool Valid() const noexcept QV_NONBLOCKING { return m_Guid != static_cast<T>(~T(0)); }
    // The value, be it valid or not.
    constexpr T Get() const noexcept QV_NONBLOCKING { return m_Guid; }
    constexpr operator T() const noexcept QV_NONBLOCKING { return m_Guid; }

    template <typename Bool, typename = std::enable_if_t<std::is_same<Bool, bool>::value>>
    operator Bool() const noexcept = delete;

    // Whether something was found is asked with Valid(). `guid >= 0` would always be true and `guid < 0` always false, so
    // neither compiles: the literal 0 would do for a pointer, too, which makes it ambiguous.
    friend bool operator>=(const TGuid &, _AskValidInstead) = delete;
    friend bool operator<(const TGuid &, _AskValidInstead) = delete;
    friend bool operator<=(_AskValidInstead, const TGuid &) = delete;
    friend bool operator>(_AskValidInstead, const TGuid &) = delete;

    // Everything else compares as a number does. Spelt out where g++ takes a constant of value 0 for the literal: an
    // argument of a template, the size of a pack.
    template <typename Number, typename = std::enable_if_t<std::is_unsigned<Number>::value>>
    friend constexpr bool operator>=(const TGuid &a, Number b) noexcept QV_NONBLOCKING
    {
        return a.m_Guid >= b;
    }
    template <typename Number, typename = std::enable_if_t<std::is_unsigned<Number>::value>>
    friend constexpr bool operator<(const TGuid &a, Number b) noexcept QV_NONBLOCKING
    {
        return a.m_Guid < b;
    }
    template <typename Number, typename = std::enable_if_t<std::is_unsigned<Number>::value>>
    friend constexpr bool operator<=(Number a, const TGuid &b) noexcept QV_NONBLOCKING
    {
        return a <= b.m_Guid;
    }
    template <typename Number, typename = std::enable_if_t<std::is_unsigned<Number>::value>>
    friend constexpr bool operator>(Number a, const TGuid &b) noexcept QV_NONBLOCKING
    {
        return a > b.m_Guid;
    }

    // Writes the number to a stream of the standard library, which whoever has one has included.
    template <typename Character, typename Traits>
    friend std::basic_ostream<Character, Traits> &operator<<(std::basic_ostream<Character, Traits> &stream,
                                                             const TGuid &guid)
    {
        // A byte is a number here, not a character.
        return stream << +guid.m_Guid;
    }

    // The value.
    T m_Guid;
};

template <typename T>
constexpr TGuid<T> TGuid<T>::INVALID = TGuid<T>();

// An index into a text or an array, or none.
using CGuid = TGuid<u32>;

} // namespace Quorvane
