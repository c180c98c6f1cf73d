// printf-like formatting into a caller's buffer, or into a block where it does not fit.
#include "kr_buffer.h"

#include <cstddef>
#include <cstdio>

#include "kr_mem.h"

namespace Quorvane
{

namespace
{

// No string can have a length from here on, so such results are refused before they are formatted.
constexpr int kRefusedLength = 0x3FFFFFFF;

// Formats a result of `length` characters that did not fit into a block of exactly its size.
QV_INTERNAL_PRINTF(2, 0)
char *FormatToBlock(u32 length, const char *format, va_list args)
{
    const u64 size = static_cast<u64>(length) + 1;
    char *block =
        static_cast<char *>(Mem::_RawAlloc(size, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE));
    if (block == nullptr)
        return nullptr;
    const int written = std::vsnprintf(block, static_cast<std::size_t>(size), format, args);
    if (written == static_cast<int>(length))
        return block;
    Mem::_RawFree(block, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    return nullptr;
}

} // namespace

char *SNativeStringUtils::VAFormat(char *buffer, const char *bufferLast, u32 &outLength, const char *format,
                                   va_list args)
{
    outLength = 0;
    if (buffer == nullptr || bufferLast < buffer || format == nullptr)
        return nullptr;
    const std::size_t room = static_cast<std::size_t>(bufferLast - buffer);
    va_list argsAgain;
    va_copy(argsAgain, args);
    const int length = std::vsnprintf(buffer, room + 1, format, args);
    char *result = nullptr;
    if (length >= 0 && length < kRefusedLength)
        result = static_cast<std::size_t>(length) <= room ? buffer
                                                          : FormatToBlock(static_cast<u32>(length), format, argsAgain);
    va_end(argsAgain);
    if (result != nullptr)
        outLength = static_cast<u32>(length);
    return result;
}

} // namespace Quorvane
