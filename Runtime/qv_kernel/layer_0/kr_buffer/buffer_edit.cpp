// Edits of string containers' characters that keep the length, a block at a time.
#include "kr_buffer.h"

#include "buffer_kernels.h"
#include "buffer_wide.h"

namespace Quorvane
{

namespace
{

u8 *Bytes(char *data)
{
    return reinterpret_cast<u8 *>(data);
}

const u8 *Bytes(const char *data)
{
    return reinterpret_cast<const u8 *>(data);
}

// Texts of a few blocks stay with the blocks that need no question. The letters are constants, which need not be spread
// over a block at run time.

template <char first, char last>
void FlipLetters(char *data, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        Internal::Wide::FlipCase(Bytes(data), length, first, last);
    else
        Internal::FlipCase<Internal::SBlock>(Bytes(data), length, first, last);
}

template <char first, char last>
void FlipLettersIntoCopy(char *dst, const char *src, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        Internal::Wide::FlipCaseIntoCopy(Bytes(dst), Bytes(src), length, first, last);
    else
        Internal::FlipCaseIntoCopy<Internal::SBlock>(Bytes(dst), Bytes(src), length, first, last);
}

} // namespace

void SNativeStringUtils::Reverse_16(char *data, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        Internal::Wide::ReverseBytes(Bytes(data), length);
    else
        Internal::ReverseBytes<Internal::SBlock>(Bytes(data), length);
}

void SNativeStringUtils::Uppercase_16(char *data, u32 length)
{
    FlipLetters<'a', 'z'>(data, length);
}

void SNativeStringUtils::Lowercase_16(char *data, u32 length)
{
    FlipLetters<'A', 'Z'>(data, length);
}

void SNativeStringUtils::Uppercase_16(char *dst, const char *src, u32 length)
{
    FlipLettersIntoCopy<'a', 'z'>(dst, src, length);
}

void SNativeStringUtils::Lowercase_16(char *dst, const char *src, u32 length)
{
    FlipLettersIntoCopy<'A', 'Z'>(dst, src, length);
}

u32 SNativeStringUtils::Replace_16(char *data, u32 length, char from, char to)
{
    const u8 fromByte = static_cast<u8>(from);
    const u8 toByte = static_cast<u8>(to);
    return Internal::WideIsWorthwhile(length)
               ? Internal::Wide::ReplaceInPlace(Bytes(data), length, fromByte, toByte)
               : Internal::ReplaceInPlace<Internal::SBlock>(Bytes(data), length, fromByte, toByte);
}

u32 SNativeStringUtils::Replace_16(char *dst, const char *src, u32 length, char from, char to)
{
    const u8 fromByte = static_cast<u8>(from);
    const u8 toByte = static_cast<u8>(to);
    return Internal::WideIsWorthwhile(length)
               ? Internal::Wide::ReplaceIntoCopy(Bytes(dst), Bytes(src), length, fromByte, toByte)
               : Internal::ReplaceIntoCopy<Internal::SBlock>(Bytes(dst), Bytes(src), length, fromByte, toByte);
}

} // namespace Quorvane
