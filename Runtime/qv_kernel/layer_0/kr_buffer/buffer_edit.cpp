// Edits of string containers' characters that keep the length, a block at a time.
#include "kr_buffer.h"

#include "buffer_edit.h"

namespace Quorvane
{

using Internal::BytesOf;

void SNativeStringUtils::Reverse_16(char *data, u32 length)
{
    Internal::ReverseCharacters(data, length);
}

void SNativeStringUtils::Uppercase_16(char *data, u32 length)
{
    Internal::RaiseCharacters(data, length);
}

void SNativeStringUtils::Lowercase_16(char *data, u32 length)
{
    Internal::LowerCharacters(data, length);
}

void SNativeStringUtils::Uppercase_16(char *dst, const char *src, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        Internal::Wide::UppercaseIntoCopy(BytesOf(dst), BytesOf(src), length);
    else
        Internal::FlipCaseIntoCopy<Internal::SBlock>(BytesOf(dst), BytesOf(src), length, 'a', 'z');
}

void SNativeStringUtils::Lowercase_16(char *dst, const char *src, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        Internal::Wide::LowercaseIntoCopy(BytesOf(dst), BytesOf(src), length);
    else
        Internal::FlipCaseIntoCopy<Internal::SBlock>(BytesOf(dst), BytesOf(src), length, 'A', 'Z');
}

u32 SNativeStringUtils::Replace_16(char *data, u32 length, char from, char to)
{
    const u8 fromByte = static_cast<u8>(from);
    const u8 toByte = static_cast<u8>(to);
    return Internal::WideIsWorthwhile(length)
               ? Internal::Wide::ReplaceInPlace(BytesOf(data), length, fromByte, toByte)
               : Internal::ReplaceInPlace<Internal::SBlock>(BytesOf(data), length, fromByte, toByte);
}

u32 SNativeStringUtils::Replace_16(char *dst, const char *src, u32 length, char from, char to)
{
    const u8 fromByte = static_cast<u8>(from);
    const u8 toByte = static_cast<u8>(to);
    return Internal::WideIsWorthwhile(length)
               ? Internal::Wide::ReplaceIntoCopy(BytesOf(dst), BytesOf(src), length, fromByte, toByte)
               : Internal::ReplaceIntoCopy<Internal::SBlock>(BytesOf(dst), BytesOf(src), length, fromByte, toByte);
}

} // namespace Quorvane
