// Prefix, suffix and substring tests of native strings.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_search.h"
#include "buffer_text.h"

namespace Quorvane
{

namespace
{

using Internal::LowerCaseOf;
using Internal::TextOrEmpty;

// Where the last characters of `str` begin, as many as `suffix` has; null when `str` has fewer.
const char *SuffixStart(const char *str, const char *suffix)
{
    const std::size_t strLength = std::strlen(str);
    const std::size_t suffixLength = std::strlen(suffix);
    return suffixLength <= strLength ? str + (strLength - suffixLength) : nullptr;
}

} // namespace

bool SNativeStringUtils::StartsWith(const char *str, const char *prefix)
{
    str = TextOrEmpty(str);
    prefix = TextOrEmpty(prefix);
    return std::strncmp(str, prefix, std::strlen(prefix)) == 0;
}

bool SNativeStringUtils::StartsWithCase(const char *str, const char *prefix)
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

bool SNativeStringUtils::EndsWith(const char *str, const char *suffix)
{
    suffix = TextOrEmpty(suffix);
    const char *end = SuffixStart(TextOrEmpty(str), suffix);
    return end != nullptr && std::strcmp(end, suffix) == 0;
}

bool SNativeStringUtils::EndsWithCase(const char *str, const char *suffix)
{
    suffix = TextOrEmpty(suffix);
    const char *end = SuffixStart(TextOrEmpty(str), suffix);
    return end != nullptr && StartsWithCase(end, suffix);
}

bool SNativeStringUtils::Contains(const char *str, const char *needle)
{
    return std::strstr(TextOrEmpty(str), TextOrEmpty(needle)) != nullptr;
}

bool SNativeStringUtils::ContainsCase(const char *str, const char *needle)
{
    str = TextOrEmpty(str);
    needle = TextOrEmpty(needle);
    if (*needle == 0)
        return true;
    Internal::SComparisonsUncounted comparisons;
    const Internal::TCaseIgnoringSearch<Internal::SComparisonsUncounted> search(needle, std::strlen(needle),
                                                                                comparisons);
    return search.FindIn(str, std::strlen(str)) != nullptr;
}

} // namespace Quorvane
