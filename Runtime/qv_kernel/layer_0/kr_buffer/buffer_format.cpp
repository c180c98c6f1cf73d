// printf-like formatting into a caller's buffer, or into a block where it does not fit.
//
// A result is formatted into the caller's buffer first: another one would be stack that the caller may not have. But to
// platforms a character for which there is no room costs many times one that is written. So formats whose results were
// too long before are remembered, and then such results are foreseen. A block of the right size is formatted to at once
// then. What cannot be foreseen is tried in the buffer as ever.
#include "kr_buffer.h"

#include <atomic>
#include <cstddef>
#include <cstdio>

#include "kr_mem.h"

#include "format_length.h"

namespace Quorvane
{

namespace
{

using Internal::Buffer::kRefusedLength;

// Whether a format gave a result that did not fit lately; formats are told apart by their addresses. Relaxed: nothing but
// time depends on it, and so it matters little that two of them may share a flag.
constexpr u32 kFormatFlags = 256;
std::atomic<u8> g_WasTooLong[kFormatFlags];

std::atomic<u8> &WasTooLong(const char *format)
{
    const u64 address = reinterpret_cast<ureg>(format);
    return g_WasTooLong[(address ^ address >> 8 ^ address >> 16) % kFormatFlags];
}

// Formats into the buffer as far as it goes.
// Returns: the length of the whole result; kRefusedLength when formatting fails.
QV_INTERNAL_PRINTF(3, 0)
u32 FormatToBuffer(char *buffer, std::size_t room, const char *format, va_list args)
{
    const int length = std::vsnprintf(buffer, room + 1, format, args);
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
    const int written = std::vsnprintf(block, static_cast<std::size_t>(length) + 1, format, args);
    // Not so only where the length was foreseen wrong, or an argument has changed since: then there is no result.
    if (written == static_cast<int>(length))
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
    va_list argsAgain;
    va_copy(argsAgain, args);
    std::atomic<u8> &wasTooLong = WasTooLong(format);
    const bool foresees = wasTooLong.load(std::memory_order_relaxed) != 0;
    u32 length = foresees ? Internal::Buffer::ForeseenLength(room, format, argsAgain) : 0;
    if (length == 0)
    {
        length = FormatToBuffer(buffer, room, format, args);
        // Only a change is stored: threads that format alike would take the line of the cache from each other.
        if (foresees != (length > room))
            wasTooLong.store(length > room ? 1 : 0, std::memory_order_relaxed);
    }
    char *result = nullptr;
    if (length <= room)
        result = buffer;
    else if (length < kRefusedLength)
        result = FormatToBlock(length, format, argsAgain);
    va_end(argsAgain);
    if (result != nullptr)
        outLength = length;
    return result;
}

} // namespace Quorvane
