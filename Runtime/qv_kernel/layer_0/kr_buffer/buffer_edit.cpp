// Edits of string containers' characters that keep the length, a block at a time.
#include "kr_buffer.h"

#include "buffer_edit.h"

namespace Quorvane
{

using namespace Internal::Buffer;

void SNativeStringUtils::Reverse_16(char *data, u32 length) noexcept QV_NONBLOCKING
{
    ReverseInPlace(data, length);
}

void SNativeStringUtils::Uppercase_16(char *data, u32 length) noexcept QV_NONBLOCKING
{
    UppercaseInPlace(data, length);
}

void SNativeStringUtils::Lowercase_16(char *data, u32 length) noexcept QV_NONBLOCKING
{
    LowercaseInPlace(data, length);
}

void SNativeStringUtils::Uppercase_16(char *dst, const char *src, u32 length) noexcept QV_NONBLOCKING
{
    QV_SIMD_CALL_WIDEST(length >= kMinWidestEdit, length >= kMinWideLength,
                        UppercaseIntoCopy(ToBytes(dst), ToBytes(src), length));
}

void SNativeStringUtils::Lowercase_16(char *dst, const char *src, u32 length) noexcept QV_NONBLOCKING
{
    QV_SIMD_CALL_WIDEST(length >= kMinWidestEdit, length >= kMinWideLength,
                        LowercaseIntoCopy(ToBytes(dst), ToBytes(src), length));
}

u32 SNativeStringUtils::Replace_16(char *data, u32 length, char from, char to) noexcept QV_NONBLOCKING
{
    return QV_SIMD_CALL_WIDEST(length >= kMinWidestEdit, true,
                               ReplaceInPlace(ToBytes(data), length, static_cast<u8>(from), static_cast<u8>(to)));
}

u32 SNativeStringUtils::Replace_16(char *dst, const char *src, u32 length, char from, char to) noexcept QV_NONBLOCKING
{
    return QV_SIMD_CALL_WIDEST(
        length >= kMinWidestEdit, true,
        ReplaceIntoCopy(ToBytes(dst), ToBytes(src), length, static_cast<u8>(from), static_cast<u8>(to)));
}

} // namespace Quorvane
