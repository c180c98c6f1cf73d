// Private header: the inline bodies of kr_string_numbers.h.
//
// Users include kr_string_numbers.h, which ends with this header.
#pragma once

#include "kr_string_numbers.h"

#include <charconv>
#include <system_error>

#include "kr_assert.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Internal::String
{

// What the standard library read of the text, as the answer about the whole text. What stands behind a number counts
// before its size: the text is no number then, whatever the type.
inline SParsedNumber AnswerOf(const std::from_chars_result &read, const char *data, u32 length) noexcept QV_NONBLOCKING
{
    if (read.ec == std::errc::invalid_argument)
        return {ParseNumber_NotANumber, 0};
    const u32 end = static_cast<u32>(read.ptr - data);
    if (end != length)
        return {ParseNumber_TrailingCharacters, end};
    return {read.ec == std::errc() ? ParseNumber_Ok : ParseNumber_OutOfRange, end};
}

// `read(first, last, value)` is one of the standard library's readers.
template <typename Number, typename Reader>
inline SParsedNumber ParseWhole(const CStringView &text, Number &out, const Reader &read) noexcept QV_NONBLOCKING
{
    const char *const data = text.Data();
    const u32 length = text.Length();
    if (data == nullptr || length == 0)
        return {ParseNumber_Empty, 0};
    Number value = 0;
    // Unchecked: the standard library's readers work on the text and tables, and report in what they return.
    QV_INTERNAL_UNCHECKED_BEGIN
    const SParsedNumber answer = AnswerOf(read(data, data + length, value), data, length);
    QV_INTERNAL_UNCHECKED_END
    if (answer)
        out = value;
    return answer;
}

// A 64-bit number in base 2, and its sign.
constexpr u32 kMaxIntegerText = 1 + 64;

// The text of a number at the end of a string, as CString::Append has it.
QV_INTERNAL_API CString &AppendNumberText(CString &string, const CStringView &text) noexcept;

#if QV_HAS_FLOATING_NUMBERS

QV_INTERNAL_API CString &AppendFloating(CString &string, float value) noexcept;
QV_INTERNAL_API CString &AppendFloating(CString &string, double value) noexcept;
QV_INTERNAL_API CString &AppendFloating(CString &string, float value, std::chars_format format) noexcept;
QV_INTERNAL_API CString &AppendFloating(CString &string, double value, std::chars_format format) noexcept;
QV_INTERNAL_API CString &AppendFloating(CString &string, float value, std::chars_format format, u32 precision) noexcept;
QV_INTERNAL_API CString &AppendFloating(CString &string, double value, std::chars_format format,
                                        u32 precision) noexcept;

#endif

} // namespace Internal::String

template <typename Integer, typename>
inline SParsedNumber ParseNumber(const CStringView &text, Integer &out, u32 base) noexcept QV_NONBLOCKING
{
    if (QV_INTERNAL_FAILS(base >= 2 && base <= 36))
        return {ParseNumber_NotANumber, 0};
    return Internal::String::ParseWhole(text, out,
                                        [base](const char *first, const char *last, Integer &value)
                                        { return std::from_chars(first, last, value, static_cast<int>(base)); });
}

template <typename Integer, typename>
inline SParsedNumber ParseNumber(const char *text, Integer &out, u32 base) noexcept QV_NONBLOCKING
{
    return ParseNumber(CStringView(text), out, base);
}

template <typename Integer, typename>
inline CString &AppendNumber(CString &string, Integer value, u32 base) noexcept
{
    if (QV_INTERNAL_FAILS(base >= 2 && base <= 36))
        return string;
    // Here and not in the library: the standard library's tables of digits are unique in a process, and a plugin that held
    // them with its copy of the library would never be unloaded.
    char text[Internal::String::kMaxIntegerText];
    char *const last = text + sizeof(text);
    // Of a base that the compiler knows, it divides by multiplying.
    const std::to_chars_result end =
        base == 10 ? std::to_chars(text, last, value) : std::to_chars(text, last, value, static_cast<int>(base));
    return Internal::String::AppendNumberText(string, CStringView(text, static_cast<u32>(end.ptr - text)));
}

#if QV_HAS_FLOATING_NUMBERS

template <typename Floating, typename>
inline SParsedNumber ParseNumber(const CStringView &text, Floating &out,
                                 std::chars_format format) noexcept QV_NONBLOCKING
{
    return Internal::String::ParseWhole(text, out,
                                        [format](const char *first, const char *last, Floating &value)
                                        { return std::from_chars(first, last, value, format); });
}

template <typename Floating, typename>
inline SParsedNumber ParseNumber(const char *text, Floating &out, std::chars_format format) noexcept QV_NONBLOCKING
{
    return ParseNumber(CStringView(text), out, format);
}

template <typename Floating, typename>
inline CString &AppendNumber(CString &string, Floating value) noexcept
{
    return Internal::String::AppendFloating(string, value);
}

template <typename Floating, typename>
inline CString &AppendNumber(CString &string, Floating value, std::chars_format format) noexcept
{
    return Internal::String::AppendFloating(string, value, format);
}

template <typename Floating, typename>
inline CString &AppendNumber(CString &string, Floating value, std::chars_format format, u32 precision) noexcept
{
    return Internal::String::AppendFloating(string, value, format, precision);
}

template <typename Floating, std::enable_if_t<Internal::String::IsFloatingNumber<Floating>(), int>>
inline CString &AppendNumber(CString &string, Floating value, u32 precision) noexcept
{
    return Internal::String::AppendFloating(string, value, std::chars_format::fixed, precision);
}

#endif

} // namespace Quorvane
