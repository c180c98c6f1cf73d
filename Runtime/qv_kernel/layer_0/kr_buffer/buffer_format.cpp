// printf-like formatting into a caller's buffer, or into a block where it does not fit.
//
// A result is formatted into the caller's buffer first: another one would be stack that the caller may not have. What does
// not fit there is counted, and formatted again into a block of just its size.
#include "kr_buffer.h"

#include <cstddef>
#include <cstdio>

#include "kr_mem.h"

#include "printf_format.h"
#include "printf_port.h"

namespace Quorvane
{

namespace
{

// No string can have a length from here on, so such results are refused before there is a block.
constexpr u32 kRefusedLength = 0x3FFFFFFF;

// Formats as far as there is room, which the terminator does not count to. Leaves `args` as they are.
// Returns: the length of the whole result; kRefusedLength when formatting fails.
QV_INTERNAL_PRINTF(3, 0)
u32 FormatWithin(char *buffer, std::size_t room, const char *format, va_list args)
{
    using namespace Internal::Buffer;
    va_list taken;
    va_copy(taken, args);
    int length = FormatAsPrintf(buffer, room + 1, format, taken, FormatLocale_InForce);
    va_end(taken);
    if (QV_INTERNAL_UNLIKELY(length == kLeftToPlatform))
    {
        va_copy(taken, args);
        length = PortFormat(buffer, room + 1, format, taken);
        va_end(taken);
    }
    return length >= 0 ? static_cast<u32>(length) : kRefusedLength;
}

// Formats a result of `length` characters that does not fit into a block of exactly its size.
QV_INTERNAL_PRINTF(2, 0)
char *FormatToBlock(u32 length, const char *format, va_list args)
{
    const u64 size = static_cast<u64>(length) + 1;
    char *const block =
        static_cast<char *>(Mem::_RawAlloc(size, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE));
    if (block == nullptr)
        return nullptr;
    // Not so only where an argument has changed since: then there is no result.
    if (FormatWithin(block, length, format, args) == length)
        return block;
    Mem::_RawFree(block, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    return nullptr;
}

} // namespace

char *SNativeStringUtils::VAFormat(char *buffer, const char *bufferLast, u32 &outLength, const char *format,
                                   va_list args) noexcept
{
    outLength = 0;
    if (buffer == nullptr || bufferLast < buffer || format == nullptr)
        return nullptr;
    const std::size_t room = static_cast<std::size_t>(bufferLast - buffer);
    const u32 length = FormatWithin(buffer, room, format, args);
    char *result = nullptr;
    if (length <= room)
        result = buffer;
    else if (length < kRefusedLength)
        result = FormatToBlock(length, format, args);
    if (result != nullptr)
        outLength = length;
    return result;
}

} // namespace Quorvane
