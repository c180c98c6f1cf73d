// Prefix and suffix tests of native strings.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_text.h"
#include "character_table.h"

namespace Quorvane
{

namespace
{

using Internal::Buffer::LowerCaseOf;
using Internal::Buffer::TextOrEmpty;

// Where the last characters of `str` begin, as many as `suffix` has; null when `str` has fewer.
const char *SuffixStart(const char *str, const char *suffix)
{
    const std::size_t strLength = std::strlen(str);
    const std::size_t suffixLength = std::strlen(suffix);
    return suffixLength <= strLength ? str + (strLength - suffixLength) : nullptr;
}

} // namespace

bool SNativeStringUtils::StartsWith(const char *str, const char *prefix) noexcept QV_NONBLOCKING
{
    str = TextOrEmpty(str);
    prefix = TextOrEmpty(prefix);
    return std::strncmp(str, prefix, std::strlen(prefix)) == 0;
}

bool SNativeStringUtils::StartsWithCase(const char *str, const char *prefix) noexcept QV_NONBLOCKING
{
    str = TextOrEmpty(str);
    prefix = TextOrEmpty(prefix);
    // The end of `str` differs from every character of the prefix.
    while (*prefix != 0 && LowerCaseOf(*str) == LowerCaseOf(*prefix))
    {
        ++str;
        ++prefix;
    }
    return *prefix == 0;
}

bool SNativeStringUtils::EndsWith(const char *str, const char *suffix) noexcept QV_NONBLOCKING
{
    suffix = TextOrEmpty(suffix);
    const char *end = SuffixStart(TextOrEmpty(str), suffix);
    return end != nullptr && std::strcmp(end, suffix) == 0;
}

bool SNativeStringUtils::EndsWithCase(const char *str, const char *suffix) noexcept QV_NONBLOCKING
{
    suffix = TextOrEmpty(suffix);
    const char *end = SuffixStart(TextOrEmpty(str), suffix);
    return end != nullptr && StartsWithCase(end, suffix);
}

} // namespace Quorvane
