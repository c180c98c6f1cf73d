// Opt-in: numbers read from text and written to the end of strings, by the rules of the standard library's <charconv>.
//
//     u16 port = 80;
//     if (!ParseNumber(line.Slice(at + 1), port))              // the whole text, nothing around it; else 80 stays
//         ...
//     AppendNumber(message.Append("port "), port);
//     AppendNumber(message, 0.125);                            // "0.125": the shortest text that reads back the same
//     AppendNumber(message, share, 2);                         // two digits behind the point
//
// No locale has any influence, and all of it may be used from any thread. Integers are all integer types of up to 64
// bits, signed char and unsigned char among them, which are s8 and u8; bool, char and the other types of characters are
// none. Floating-point numbers are float and double, where the standard library converts them (QV_HAS_FLOATING_NUMBERS):
// long double is none, since its conversions ask the platform's allocator for memory.
#pragma once

#include <charconv>
#include <type_traits>

#include "kr_string.h"
#include "qv_defs.h"

// Whether the standard library converts floating-point numbers both ways.
#if !defined(QV_HAS_FLOATING_NUMBERS)
#if defined(__cpp_lib_to_chars)
#define QV_HAS_FLOATING_NUMBERS 1
#else
#define QV_HAS_FLOATING_NUMBERS 0
#endif
#endif

namespace Quorvane
{

namespace Internal::String
{

template <typename T, typename... Others>
constexpr bool IsOneOf() noexcept QV_NONBLOCKING
{
    return (std::is_same<T, Others>::value || ...);
}

template <typename T>
constexpr bool IsInteger() noexcept QV_NONBLOCKING
{
    return IsOneOf<T, signed char, unsigned char, short, unsigned short, int, unsigned int, long, unsigned long,
                   long long, unsigned long long>();
}

template <typename T>
constexpr bool IsFloatingNumber() noexcept QV_NONBLOCKING
{
    return IsOneOf<T, float, double>();
}

} // namespace Internal::String

// ---- Reading --------------------------------------------------------------------------------------------------------

// How reading a number ended.
enum EParseNumber : u32
{
    ParseNumber_Ok = 0,                 // the whole text is a number of the type
    ParseNumber_Empty = 1,              // no characters at all
    ParseNumber_NotANumber = 2,         // the text does not begin with a number
    ParseNumber_TrailingCharacters = 3, // something stands behind the number, be it too large or not
    ParseNumber_OutOfRange = 4,         // the whole text is a number, but none of the type
};

// The outcome, which is true for a number that was read, and the index of the first character that does not belong to
// it: 0 where there is no number, the length where all of the text is one.
struct SParsedNumber
{
    EParseNumber m_Outcome; // how it ended
    u32 m_Position;         // the first character that does not belong to the number

    // Whether a number was read.
    constexpr explicit operator bool() const noexcept QV_NONBLOCKING { return m_Outcome == ParseNumber_Ok; }
};

// Reads the integer that the whole text is: a minus sign if the type has one, and digits, letters of either case being
// those from 10 on. No plus sign, no blanks, no prefix; a terminator within a view or a string is a character like any
// other. A null text is empty. `out` is written only when it is read.
// Requires: a base from 2 to 36, else reports "base >= 2 && base <= 36", and finds no number.
template <typename Integer, typename = std::enable_if_t<Internal::String::IsInteger<Integer>()>>
[[nodiscard]] SParsedNumber ParseNumber(const CStringView &text, Integer &out, u32 base = 10) noexcept QV_NONBLOCKING;
template <typename Integer, typename = std::enable_if_t<Internal::String::IsInteger<Integer>()>>
[[nodiscard]] SParsedNumber ParseNumber(const char *text, Integer &out, u32 base = 10) noexcept QV_NONBLOCKING;

#if QV_HAS_FLOATING_NUMBERS

// The same of a floating-point number in one of the standard's formats: general reads with and without an exponent, fixed
// without one, scientific with one, hex in base 16 without a prefix. "inf", "infinity", "nan" and "nan(...)" are numbers,
// in letters of either case. What is too large, or too small to be told from 0, is out of range; what lies between two
// numbers is rounded to the nearest.
template <typename Floating, typename = std::enable_if_t<Internal::String::IsFloatingNumber<Floating>()>>
[[nodiscard]] SParsedNumber ParseNumber(const CStringView &text, Floating &out,
                                        std::chars_format format = std::chars_format::general) noexcept QV_NONBLOCKING;
template <typename Floating, typename = std::enable_if_t<Internal::String::IsFloatingNumber<Floating>()>>
[[nodiscard]] SParsedNumber ParseNumber(const char *text, Floating &out,
                                        std::chars_format format = std::chars_format::general) noexcept QV_NONBLOCKING;

#endif

// ---- Writing --------------------------------------------------------------------------------------------------------

// Append a number's text as CString::Append does: to the string's own room where nobody shares it and it can grow.
// Return: the string. Allocate: as Append, once at most, but for precisions above 1074.
// Fail: as Append, an empty string.

// Digits, the letters from 10 on in lower case, with a minus sign in front of what is below 0.
// Requires: a base from 2 to 36, else reports "base >= 2 && base <= 36" and appends nothing.
template <typename Integer, typename = std::enable_if_t<Internal::String::IsInteger<Integer>()>>
CString &AppendNumber(CString &string, Integer value, u32 base = 10) noexcept;

#if QV_HAS_FLOATING_NUMBERS

// The shortest text that reads back as the same number of the type: with an exponent or without, whichever is shorter,
// or in one of the standard's formats. What is no number is "nan", "-nan", "inf" or "-inf".
template <typename Floating, typename = std::enable_if_t<Internal::String::IsFloatingNumber<Floating>()>>
CString &AppendNumber(CString &string, Floating value) noexcept;
template <typename Floating, typename = std::enable_if_t<Internal::String::IsFloatingNumber<Floating>()>>
CString &AppendNumber(CString &string, Floating value, std::chars_format format) noexcept;

// With as many digits as printf gives for that precision, exactly rounded: behind the point, or for general significant
// ones without zeros at the end. Every precision is served: digits beyond all that a number has are zeros.
// Without a format it is std::chars_format::fixed, so that AppendNumber(text, 2.5, 2) appends "2.50".
// Fails: an empty string, too, without asking for memory, where the text would have kLengthMask characters or more.
// Stack: 2 KiB.
template <typename Floating, typename = std::enable_if_t<Internal::String::IsFloatingNumber<Floating>()>>
CString &AppendNumber(CString &string, Floating value, std::chars_format format, u32 precision) noexcept;
template <typename Floating, std::enable_if_t<Internal::String::IsFloatingNumber<Floating>(), int> = 0>
CString &AppendNumber(CString &string, Floating value, u32 precision) noexcept;

#endif

} // namespace Quorvane

#include "kr_internal/kr_string_numbers_inline.h"
