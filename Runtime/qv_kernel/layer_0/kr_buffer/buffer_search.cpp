// Prefix, suffix and substring tests of native strings.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_find.h"
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

// The platform's search may compare the whole needle at each place: no matter with so short a one.
constexpr std::size_t kShortNeedle = 16;

// How much of a text is measured before it is searched: little at first, so that what stands at the front of a long text
// is found at once, then as much as stays in a cache near the processor. Always so much more than the needle that what
// is looked at twice, and preparing each search, do not count.
constexpr std::size_t kFirstWindow = 2048;
constexpr std::size_t kMostInWindow = 65536;
constexpr std::size_t kNeedlesInWindow = 4;
// The counted searches have lengths of 32 bits.
constexpr std::size_t kMostForCounted = 0x10000000;

template <typename TCase>
const char *FindCounted(const char *str, std::size_t length, const char *needle, std::size_t needleLength)
{
    const u32 count = static_cast<u32>(length);
    const u32 needleCount = static_cast<u32>(needleLength);
    return TCase::kIsExact ? SNativeStringUtils::Find(str, count, needle, needleCount)
                           : SNativeStringUtils::FindCase(str, count, needle, needleCount);
}

// The same in a text that ends with its count.
template <typename TCase>
const char *FindMeasured(const char *str, std::size_t length, const char *needle, std::size_t needleLength)
{
    return TCase::kIsExact ? Internal::FindInTerminated(str, static_cast<u32>(length), needle)
                           : FindCounted<TCase>(str, length, needle, needleLength);
}

// Whether a text, whose length nobody knows, holds a needle of 1 character or more.
template <typename TCase>
bool ContainsInWindows(const char *str, const char *needle, std::size_t needleLength)
{
    if (needleLength > kMostForCounted)
        return Internal::FindInAnyText<TCase>(str, std::strlen(str), needle, needleLength) != nullptr;
    const std::size_t least = kNeedlesInWindow * needleLength;
    for (std::size_t window = kFirstWindow;; window = QVMin(2 * window, kMostInWindow))
    {
        const std::size_t length = QVMax(window, least);
        const char *const end = static_cast<const char *>(std::memchr(str, 0, length));
        if (end != nullptr)
            return FindMeasured<TCase>(str, static_cast<std::size_t>(end - str), needle, needleLength) != nullptr;
        if (FindCounted<TCase>(str, length, needle, needleLength) != nullptr)
            return true;
        // An occurrence may begin in this window and end in the next one.
        str += length - (needleLength - 1);
    }
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
    str = TextOrEmpty(str);
    needle = TextOrEmpty(needle);
    const std::size_t needleLength = std::strlen(needle);
    if (needleLength <= kShortNeedle)
        return std::strstr(str, needle) != nullptr;
    return ContainsInWindows<Internal::SCaseMatters>(str, needle, needleLength);
}

bool SNativeStringUtils::ContainsCase(const char *str, const char *needle)
{
    str = TextOrEmpty(str);
    needle = TextOrEmpty(needle);
    return *needle == 0 || ContainsInWindows<Internal::SCaseIgnored>(str, needle, std::strlen(needle));
}

} // namespace Quorvane
