// Edits of string containers' characters that keep the length, a block at a time.
#include "kr_buffer.h"

#include "buffer_kernels.h"

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
    Internal::ReverseBytes<Internal::SBlock>(Bytes(data), length);
}

void SNativeStringUtils::Uppercase_16(char *data, u32 length)
{
    Internal::FlipCase<Internal::SBlock>(Bytes(data), length, 'a', 'z');
}

void SNativeStringUtils::Lowercase_16(char *data, u32 length)
{
    Internal::FlipCase<Internal::SBlock>(Bytes(data), length, 'A', 'Z');
}

u32 SNativeStringUtils::Replace_16(char *data, u32 length, char from, char to)
{
    return Internal::ReplaceInPlace<Internal::SBlock>(Bytes(data), length, static_cast<u8>(from), static_cast<u8>(to));
}

u32 SNativeStringUtils::Replace_16(char *dst, const char *src, u32 length, char from, char to)
{
    return Internal::ReplaceIntoCopy<Internal::SBlock>(Bytes(dst), Bytes(src), length, static_cast<u8>(from),
                                                       static_cast<u8>(to));
}

} // namespace Quorvane
