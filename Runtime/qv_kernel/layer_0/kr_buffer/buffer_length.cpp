// Lengths of native strings.
#include "kr_buffer.h"

#include <cstddef>
#include <cstring>

namespace Quorvane
{

u32 SNativeStringUtils::Length(const char *str)
{
    constexpr std::size_t kMaxLength = 0xFFFFFFFFu;
    if (str == nullptr)
        return 0;
    return static_cast<u32>(QVMin(std::strlen(str), kMaxLength));
}

u32 SNativeStringUtils::Length_16(const char *str)
{
    // The platform's routine already reads aligned blocks, as wide as the machine has them.
    return Length(str);
}

} // namespace Quorvane
