// printf-like formatting into strings.
#include "kr_string.h"

#include <cstdio>

#include "../kr_buffer/printf_format.h"
#include "kr_mem.h"
#include "string_format_port.h"

namespace Quorvane
{

CString CString::VAFormat(const char *format, va_list args) noexcept
{
    QV_ASSERT(format != null);
    // Little: the platform takes stack of its own, of which a thread may have no more than 16 KiB. Longer results take
    // a block.
    constexpr u32 kStackBytes = 512;
    char buffer[kStackBytes];
    char *const bufferLast = buffer + kStackBytes - 1;
    // Formatting writes its own; g++ warns of a constant pointer to what nobody has written.
    *bufferLast = '\0';
    u32 length = 0;
    // Null, of length 0, when there is no result.
    char *formatted = SNativeStringUtils::VAFormat(buffer, bufferLast, length, format, args);
    CString result(CStringContainer::New(formatted, length));
    if (formatted != buffer)
        Mem::_RawFree(formatted, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    return result;
}

CString CString::Format(const char *format, ...) noexcept
{
    if (format == nullptr)
        return CString();
    constexpr u32 kMaxLength = 3198;
    char buffer[kMaxLength + 1];
    Internal::String::EnterCLocale();
    va_list args;
    va_start(args, format);
    int length =
        Internal::Buffer::FormatAsPrintf(buffer, sizeof(buffer), format, args, Internal::Buffer::FormatLocale_C);
    va_end(args);
    if (QV_INTERNAL_UNLIKELY(length < 0))
    {
        va_start(args, format);
        length = Internal::String::PortFormatInProcessLocale(buffer, sizeof(buffer), format, args);
        va_end(args);
        if (length < 0)
            return CString();
        // It ends at a terminator among its characters.
        length = static_cast<int>(SNativeStringUtils::Length(buffer));
    }
    return CString(CStringContainer::New(buffer, QVMin(static_cast<u32>(length), kMaxLength)));
}

} // namespace Quorvane
