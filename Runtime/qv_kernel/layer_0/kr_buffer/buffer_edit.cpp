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
    if (Internal::WideIsWorthwhile(length))
        Internal::Wide::Uppercase(Bytes(data), length);
    else
        Internal::FlipCase<Internal::SBlock>(Bytes(data), length, 'a', 'z');
}

void SNativeStringUtils::Lowercase_16(char *data, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        Internal::Wide::Lowercase(Bytes(data), length);
    else
        Internal::FlipCase<Internal::SBlock>(Bytes(data), length, 'A', 'Z');
}

void SNativeStringUtils::Uppercase_16(char *dst, const char *src, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        Internal::Wide::UppercaseIntoCopy(Bytes(dst), Bytes(src), length);
    else
        Internal::FlipCaseIntoCopy<Internal::SBlock>(Bytes(dst), Bytes(src), length, 'a', 'z');
}

void SNativeStringUtils::Lowercase_16(char *dst, const char *src, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        Internal::Wide::LowercaseIntoCopy(Bytes(dst), Bytes(src), length);
    else
        Internal::FlipCaseIntoCopy<Internal::SBlock>(Bytes(dst), Bytes(src), length, 'A', 'Z');
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
