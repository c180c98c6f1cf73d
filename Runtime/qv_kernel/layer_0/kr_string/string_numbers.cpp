// Numbers written to the end of strings. Reading them is inline (kr_internal/kr_string_numbers_inline.h).
#include "kr_string_numbers.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

#include "../kr_buffer/buffer_numbers_port.h"
#include "copy_figures.h"
#include "string_block.h"

namespace Quorvane
{

namespace Internal::String
{

namespace
{

// What a copy of shared characters is counted for.
[[maybe_unused]] constexpr const char *kEdit = "AppendNumber";

} // namespace

CString &AppendNumberText(CString &string, const CStringView &text) noexcept
{
    QV_INTERNAL_EDIT_NAMED(kEdit);
    return string.Append(text);
}

#if QV_HAS_FLOATING_NUMBERS

namespace
{

// The longest texts: a sign, the digits in front of the point, the point, and those behind it. All numbers between two
// powers of two are whole multiples of one power of two: 1 of 1074 places behind the point for the least ones, which need
// as many digits. No number has more.
constexpr u32 kMaxPrecision = 1074;
constexpr u32 kMaxDigitsInFront = 309;
constexpr u32 kMaxPreciseText = 1 + kMaxDigitsInFront + 1 + kMaxPrecision;
// The shortest text without an exponent: a sign, a zero, the point and 324 digits, of which up to 17 are no zeros at the
// front; and some more.
constexpr u32 kMaxShortestText = 1 + 2 + 324 + 9;

static_assert(std::numeric_limits<double>::digits - std::numeric_limits<double>::min_exponent == kMaxPrecision,
              "the exponent of the least power of two");
static_assert(std::numeric_limits<double>::max_exponent10 + 1 == kMaxDigitsInFront, "digits of the largest number");

CStringView TextUpTo(const char *text, const char *end)
{
    return CStringView(text, static_cast<u32>(end - text));
}

// Appends a number of zeros. What stands there already is appended to itself, so that few steps suffice.
void AppendZeros(CString &string, u32 count)
{
    static constexpr char kZeros[] = "0000000000000000000000000000000000000000000000000000000000000000";
    constexpr u32 kAtOnce = sizeof(kZeros) - 1;
    const u32 start = string.Length();
    string.Append(CStringView(kZeros, QVMin(count, kAtOnce)));
    while (string.Data() != nullptr && string.Length() - start < count)
    {
        const u32 there = string.Length() - start;
        string.Append(CStringView(string.Data() + start, QVMin(there, count - there)));
    }
}

// Where the exponent of a text stands, which all formats but one write; its end for that one.
const char *ExponentOf(const char *text, const char *end, std::chars_format format)
{
    if (format == std::chars_format::fixed)
        return end;
    const char mark = format == std::chars_format::hex ? 'p' : 'e';
    return static_cast<const char *>(__builtin_memchr(text, mark, static_cast<std::size_t>(end - text)));
}

// Appends a text with zeros behind its last digit.
QV_INTERNAL_COLD CString &AppendWithZeros(CString &string, const char *text, const char *end, std::chars_format format,
                                          u32 zeros)
{
    const u64 length = static_cast<u64>(string.Length()) + static_cast<u64>(end - text) + zeros;
    if (CheckedLength(length) == kRefusedLength)
        return string = CString();
    const char *const exponent = ExponentOf(text, end, format);
    string.Append(TextUpTo(text, exponent));
    if (string.Data() != nullptr)
        AppendZeros(string, zeros);
    if (string.Data() != nullptr)
        string.Append(TextUpTo(exponent, end));
    return string;
}

// std::to_chars into a buffer that has the room: the end of what it wrote. For floating-point numbers it is code of the
// standard library's own, whose writes the memory sanitizer does not see.
template <std::size_t size, typename... Arguments>
const char *WriteNumber(char (&text)[size], Arguments... arguments)
{
    const char *const end = std::to_chars(text, text + size, arguments...).ptr;
    Buffer::MarkInitialised(text, static_cast<std::size_t>(end - text));
    return end;
}

template <typename Floating>
CString &AppendShortest(CString &string, Floating value)
{
    // A sign, 17 digits, a point and an exponent of three digits with its sign take 24.
    char text[32];
    return string.Append(TextUpTo(text, WriteNumber(text, value)));
}

template <typename Floating>
CString &AppendShortest(CString &string, Floating value, std::chars_format format)
{
    char text[kMaxShortestText];
    return string.Append(TextUpTo(text, WriteNumber(text, value, format)));
}

template <typename Floating>
CString &AppendPrecise(CString &string, Floating value, std::chars_format format, u32 precision)
{
    char text[kMaxPreciseText];
    const u32 digits = QVMin(precision, kMaxPrecision);
    const char *const end = WriteNumber(text, value, format, static_cast<int>(digits));
    // General leaves zeros at the end out.
    if (QV_INTERNAL_LIKELY(digits == precision) || format == std::chars_format::general || !std::isfinite(value))
        return string.Append(TextUpTo(text, end));
    return AppendWithZeros(string, text, end, format, precision - digits);
}

} // namespace

CString &AppendFloating(CString &string, float value) noexcept
{
    QV_INTERNAL_EDIT_NAMED(kEdit);
    return AppendShortest(string, value);
}

CString &AppendFloating(CString &string, double value) noexcept
{
    QV_INTERNAL_EDIT_NAMED(kEdit);
    return AppendShortest(string, value);
}

CString &AppendFloating(CString &string, float value, std::chars_format format) noexcept
{
    QV_INTERNAL_EDIT_NAMED(kEdit);
    return AppendShortest(string, value, format);
}

CString &AppendFloating(CString &string, double value, std::chars_format format) noexcept
{
    QV_INTERNAL_EDIT_NAMED(kEdit);
    return AppendShortest(string, value, format);
}

CString &AppendFloating(CString &string, float value, std::chars_format format, u32 precision) noexcept
{
    QV_INTERNAL_EDIT_NAMED(kEdit);
    return AppendPrecise(string, value, format, precision);
}

CString &AppendFloating(CString &string, double value, std::chars_format format, u32 precision) noexcept
{
    QV_INTERNAL_EDIT_NAMED(kEdit);
    return AppendPrecise(string, value, format, precision);
}

#endif

} // namespace Internal::String

} // namespace Quorvane
