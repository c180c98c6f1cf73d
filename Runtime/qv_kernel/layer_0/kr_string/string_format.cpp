// printf-like formatting into strings.
#include "kr_string.h"

#include <cstdio>

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
    *bufferLast = '\0';
    u32 length = 0;
    char *formatted = SNativeStringUtils::VAFormat(buffer, bufferLast, length, format, args);
    if (formatted == nullptr)
        return CString();
    CString result(CStringContainer::New(formatted, length));
    if (formatted != buffer)
        Mem::_RawFree(formatted, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    return result;
}

CString CString::Format(const char *format, ...) noexcept
{
    if (format == nullptr)
        return CString();
    constexpr u32 kStackBytes = 3200;
    char buffer[kStackBytes];
    buffer[0] = '\0';
    va_list args;
    va_start(args, format);
    // One byte less than there is: a result is cut at 3198 characters.
    const int length = Internal::String::PortFormatInCLocale(buffer, kStackBytes - 1, format, args);
    va_end(args);
    buffer[kStackBytes - 1] = '\0';
    // Not by way of the terminated text's constructor, whose frames would be on top of the buffer.
    return length >= 0 ? CString(CStringContainer::New(buffer, SNativeStringUtils::Length(buffer))) : CString();
}

} // namespace Quorvane
