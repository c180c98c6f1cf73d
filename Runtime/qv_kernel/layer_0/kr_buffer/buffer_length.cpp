// Lengths of native strings.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_text.h"

namespace Quorvane
{

u32 SNativeStringUtils::Length(const char *str) noexcept QV_NONBLOCKING
{
    return str != nullptr ? Internal::Buffer::ReportedLength(std::strlen(str)) : 0;
}

u32 SNativeStringUtils::Length_16(const char *str) noexcept QV_NONBLOCKING
{
    // The platform's routine already reads aligned blocks, as wide as the machine has them.
    return Length(str);
}

} // namespace Quorvane
