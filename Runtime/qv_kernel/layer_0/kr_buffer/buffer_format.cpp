// printf-like formatting into a caller's buffer, or into a block where it does not fit.
#include "kr_buffer.h"

#include <cstddef>
#include <cstdio>

#include "kr_mem.h"
#include "kr_mem_utils.h"

namespace Quorvane
{

namespace
{

// No string can have a length from here on, so such results are refused before they are formatted.
constexpr int kRefusedLength = 0x3FFFFFFF;

// Results that do not fit a smaller buffer are formatted here first. To platforms a character for which there is no room
// costs many times one that is written, so trying a small buffer is what would make long results slow.
constexpr u32 kScratchBytes = 8192;

// A block of exactly the size of a result and its terminator.
char *AllocResult(u32 length)
{
    const u64 size = static_cast<u64>(length) + 1;
    return static_cast<char *>(
        Mem::_RawAlloc(size, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE));
}

// Formats a result of `length` characters that did not fit into a block of exactly its size.
QV_INTERNAL_PRINTF(2, 0)
char *FormatToBlock(u32 length, const char *format, va_list args)
{
    char *block = AllocResult(length);
    if (block == nullptr)
        return nullptr;
    const int written = std::vsnprintf(block, static_cast<std::size_t>(length) + 1, format, args);
    if (written == static_cast<int>(length))
        return block;
    Mem::_RawFree(block, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    return nullptr;
}

// What a first formatting gave: where it was written, as far as there was room, and how long it is.
struct SFormatted
{
    char *m_Text;
    std::size_t m_Room; // in characters
    int m_Length;       // negative where formatting failed
};

// The result in `buffer`, or in a block where that has too little room; null on failure.
QV_INTERNAL_PRINTF(4, 0)
char *Deliver(const SFormatted &formatted, char *buffer, std::size_t room, const char *format, va_list args)
{
    if (formatted.m_Length < 0 || formatted.m_Length >= kRefusedLength)
        return nullptr;
    const u32 length = static_cast<u32>(formatted.m_Length);
    if (length > formatted.m_Room)
        return FormatToBlock(length, format, args);
    if (formatted.m_Text == buffer)
        return buffer;
    char *target = length <= room ? buffer : AllocResult(length);
    if (target != nullptr)
        Mem::Internal::CopyDistinct(target, formatted.m_Text, static_cast<u64>(length) + 1);
    return target;
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
    char scratch[kScratchBytes];
    const bool isRoomy = room >= kScratchBytes - 1;
    SFormatted formatted = {isRoomy ? buffer : scratch, isRoomy ? room : kScratchBytes - 1, 0};
    formatted.m_Length = std::vsnprintf(formatted.m_Text, formatted.m_Room + 1, format, args);
    char *result = Deliver(formatted, buffer, room, format, argsAgain);
    va_end(argsAgain);
    if (result != nullptr)
        outLength = static_cast<u32>(formatted.m_Length);
    return result;
}

} // namespace Quorvane
