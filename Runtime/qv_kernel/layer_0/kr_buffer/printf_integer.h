// Private header: integers in the manner of printf.
#pragma once

#include "qv_defs.h"

#include "printf_output.h"

namespace Quorvane::Internal::Buffer
{

// The digits of the largest number, of 64 bits, in base 8.
constexpr u32 kMaxIntegerDigits = 22;

// "00" to "99".
struct SDigitPairs
{
    char m_Characters[200];
};

constexpr SDigitPairs MakeDigitPairs()
{
    SDigitPairs pairs = {};
    for (u32 i = 0; i < 100; ++i)
    {
        pairs.m_Characters[2 * i] = static_cast<char>('0' + i / 10);
        pairs.m_Characters[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}

QV_INTERNAL_HIDDEN inline constexpr SDigitPairs g_DigitPairs = MakeDigitPairs();

// Each of the following writes the digits of a number in front of `end`, at least one.
// Returns: the first of them.

inline char *WriteDecimalBefore(char *end, u64 number)
{
    for (; number >= 100; number /= 100)
    {
        end -= 2;
        std::memcpy(end, g_DigitPairs.m_Characters + number % 100 * 2, 2);
    }
    if (number < 10)
    {
        *--end = static_cast<char>('0' + number);
        return end;
    }
    end -= 2;
    std::memcpy(end, g_DigitPairs.m_Characters + number * 2, 2);
    return end;
}

// In a base of `1 << bits`.
inline char *WriteBitsBefore(char *end, u64 number, u32 bits, const char *digits)
{
    const u64 mask = (u64(1) << bits) - 1;
    do
    {
        *--end = digits[number & mask];
        number >>= bits;
    } while (number != 0);
    return end;
}

inline char *WriteInteger(char *end, u64 number, char letter)
{
    switch (letter)
    {
    case 'x':
        return WriteBitsBefore(end, number, 4, "0123456789abcdef");
    case 'X':
        return WriteBitsBefore(end, number, 4, "0123456789ABCDEF");
    case 'o':
        return WriteBitsBefore(end, number, 3, "01234567");
    default:
        return WriteDecimalBefore(end, number);
    }
}

// The mark of the base: none for 0 in base 16, and a zero, if there is none yet, in base 8.
inline void PutBaseInFront(SPrintfNumber &number, char letter, bool isZero)
{
    if (letter == 'o')
    {
        if (number.m_Zeros == 0 && (number.m_Length == 0 || number.m_Digits[0] != '0'))
            number.m_Zeros = 1;
        return;
    }
    if (isZero)
        return;
    number.m_Prefix[0] = '0';
    number.m_Prefix[1] = letter;
    number.m_PrefixLength = 2;
}

// With a precision, or with the mark of the base.
inline void PutIntegerInFull(CPrintfOutput &output, const SDirective &directive, u64 magnitude, char sign,
                             const char *first, const char *end)
{
    SPrintfNumber number = {first, static_cast<u32>(end - first), 0, {sign, '\0'}, sign != '\0' ? 1u : 0u};
    const bool hasPrecision = directive.m_Precision >= 0;
    if (hasPrecision)
    {
        const u32 precision = static_cast<u32>(directive.m_Precision);
        if (precision == 0 && magnitude == 0)
            number.m_Length = 0;
        number.m_Zeros = precision > number.m_Length ? precision - number.m_Length : 0;
    }
    if (directive.Has(PrintfFlag_Alternate))
        PutBaseInFront(number, directive.m_Letter, magnitude == 0);
    PutNumber(output, directive, number, !hasPrecision);
}

QV_INTERNAL_NOINLINE inline void PutInteger(CPrintfOutput &output, const SDirective &directive, u64 magnitude,
                                            bool isNegative)
{
    char digits[1 + kMaxIntegerDigits];
    char *const end = digits + sizeof(digits);
    char *const first = WriteInteger(end, magnitude, directive.m_Letter);
    const char sign = directive.m_Kind == Directive_Signed ? SignOf(directive, isNegative) : '\0';
    if (directive.m_Precision >= 0 || directive.Has(PrintfFlag_Alternate))
        PutIntegerInFull(output, directive, magnitude, sign, first, end);
    else
        PutSigned(output, directive, sign, first, end);
}

// As "%#lx" gives it.
QV_INTERNAL_NOINLINE inline void PutAddress(CPrintfOutput &output, const SDirective &directive, u64 address)
{
    char digits[kMaxIntegerDigits];
    char *const end = digits + kMaxIntegerDigits;
    const char *const first = WriteInteger(end, address, 'x');
    PutNumber(output, directive, {first, static_cast<u32>(end - first), 0, {'0', 'x'}, 2}, false);
}

} // namespace Quorvane::Internal::Buffer
