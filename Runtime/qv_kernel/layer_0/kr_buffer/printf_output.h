// Private header: where the result of a printf-like format goes. As much of it is written as there is room for; the rest
// is counted.
#pragma once

#include <cstddef>
#include <cstring>

#include "kr_mem_utils.h"
#include "qv_defs.h"

#include "printf_directive.h"

namespace Quorvane::Internal::Buffer
{

class CPrintfOutput
{
public:
    // Requires: a size of 1 at least, which is for the terminator.
    CPrintfOutput(char *buffer, std::size_t size) : m_Begin(buffer), m_Next(buffer), m_Last(buffer + size - 1) {}

    void Put(const char *text, u64 length)
    {
        const u64 fitting = _Fitting(length);
        Mem::Internal::CopyDisjoint(m_Next, text, fitting);
        m_Next += fitting;
    }

    // Requires: 1 to 64 characters.
    void PutShort(const char *text, u32 length)
    {
        const u64 fitting = _Fitting(length);
        if (QV_INTERNAL_LIKELY(fitting != 0))
            Mem::Internal::CopyUpTo64(m_Next, text, fitting);
        m_Next += fitting;
    }

    void Put(char character)
    {
        if (_Fitting(1) != 0)
            *m_Next++ = character;
    }

    void Fill(char character, u64 count)
    {
        if (count == 0)
            return;
        const std::size_t fitting = static_cast<std::size_t>(_Fitting(count));
        std::memset(m_Next, character, fitting);
        m_Next += fitting;
    }

    // The room that is left, for who writes there; Skip goes to the end of what was written.
    char *Next() const { return m_Next; }
    char *Last() const { return m_Last; }
    void Skip(char *end) { m_Next = end; }

    // Returns: the length of the whole result.
    u64 Finish()
    {
        *m_Next = '\0';
        return static_cast<u64>(m_Next - m_Begin) + m_Clipped;
    }

private:
    // How many of so many characters have room; counts the others.
    u64 _Fitting(u64 length)
    {
        const u64 room = static_cast<u64>(m_Last - m_Next);
        if (QV_INTERNAL_LIKELY(length <= room))
            return length;
        m_Clipped += length - room;
        return room;
    }

    char *m_Begin;
    char *m_Next;
    char *m_Last;
    u64 m_Clipped = 0;
};

// A number before it has its width.
struct SPrintfNumber
{
    const char *m_Digits;
    u32 m_Length;
    u32 m_Zeros;      // in front of the digits
    char m_Prefix[2]; // a sign, or what tells the base
    u32 m_PrefixLength;
};

QV_INTERNAL_NOINLINE inline void PutNumber(CPrintfOutput &output, const SDirective &directive,
                                           const SPrintfNumber &number, bool fillsWithZeros)
{
    const u64 length = u64(number.m_PrefixLength) + number.m_Zeros + number.m_Length;
    const u64 padding = directive.m_Width > length ? directive.m_Width - length : 0;
    const bool isLeft = directive.Has(PrintfFlag_Left);
    const bool areZeros = fillsWithZeros && directive.Has(PrintfFlag_Zero) && !isLeft;
    output.Fill(' ', isLeft || areZeros ? 0 : padding);
    for (u32 i = 0; i < number.m_PrefixLength; ++i)
        output.Put(number.m_Prefix[i]);
    output.Fill('0', number.m_Zeros + (areZeros ? padding : 0));
    output.Put(number.m_Digits, number.m_Length);
    output.Fill(' ', isLeft ? padding : 0);
}

inline void PutText(CPrintfOutput &output, const SDirective &directive, const char *text, u64 length)
{
    const u64 padding = directive.m_Width > length ? directive.m_Width - length : 0;
    const bool isLeft = directive.Has(PrintfFlag_Left);
    output.Fill(' ', isLeft ? 0 : padding);
    output.Put(text, length);
    output.Fill(' ', isLeft ? padding : 0);
}

// The sign of a number, or what stands for that of one that is not negative; a terminator where there is none.
inline char SignOf(const SDirective &directive, bool isNegative)
{
    return isNegative ? '-' : directive.Has(PrintfFlag_Plus) ? '+' : directive.Has(PrintfFlag_Blank) ? ' ' : '\0';
}

// Up to 63 characters from `first` on, in front of which is room for their sign.
QV_INTERNAL_NOINLINE inline void PutSigned(CPrintfOutput &output, const SDirective &directive, char sign, char *first,
                                           const char *end)
{
    char *whole = first;
    if (sign != '\0')
        *--whole = sign;
    const u32 length = static_cast<u32>(end - whole);
    if (QV_INTERNAL_LIKELY(directive.m_Width <= length))
        return output.PutShort(whole, length);
    const u32 padding = directive.m_Width - length;
    const bool isLeft = directive.Has(PrintfFlag_Left);
    if (!isLeft && directive.Has(PrintfFlag_Zero))
    {
        if (whole != first)
            output.Put(sign);
        output.Fill('0', padding);
        return output.PutShort(first, static_cast<u32>(end - first));
    }
    output.Fill(' ', isLeft ? 0 : padding);
    output.PutShort(whole, length);
    output.Fill(' ', isLeft ? padding : 0);
}

} // namespace Quorvane::Internal::Buffer
