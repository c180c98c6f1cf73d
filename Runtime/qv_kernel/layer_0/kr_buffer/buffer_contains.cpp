// Substring tests of native strings, whose lengths nobody knows.
//
// Measuring a text before it is searched would read all of a long one for a needle that stands at its front. So it is
// measured and searched a window at a time, and each window takes the counted search, which is as fast as the machine.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_find.h"
#include "buffer_text.h"
#include "two_way_search.h"

namespace Quorvane
{

namespace
{

using namespace Internal::Buffer;

// The platform's search may compare the whole needle at each place, which is no cost to speak of with so short a one.
constexpr std::size_t kMaxShortNeedle = 16;

// The lengths of windows: little at first, so that what stands at the front of a long text is found at once, then as
// much as stays in a cache near the processor. Always so much more than the needle that what is looked at twice, and
// preparing each search, do not count.
constexpr std::size_t kFirstWindow = 2048;
constexpr std::size_t kMaxWindow = 65536;
constexpr std::size_t kMinNeedlesInWindow = 4;
// The counted searches have lengths of 32 bits.
constexpr std::size_t kMaxCountedNeedle = 0x10000000;

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
    return TCase::kIsExact ? FindInTerminated(str, static_cast<u32>(length), needle)
                           : FindCounted<TCase>(str, length, needle, needleLength);
}

// Whether a text, whose length nobody knows, holds a needle of 1 character or more.
template <typename TCase>
bool ContainsInWindows(const char *str, const char *needle, std::size_t needleLength)
{
    if (needleLength > kMaxCountedNeedle)
        return FindTwoWay<TCase>(str, std::strlen(str), needle, needleLength) != nullptr;
    const std::size_t least = kMinNeedlesInWindow * needleLength;
    for (std::size_t window = kFirstWindow;; window = QVMin(2 * window, kMaxWindow))
    {
        const std::size_t length = QVMax(window, least);
        // A window may reach beyond the text: memchr reads in order, as far as can be told, and stops at what it finds.
        const char *const end = static_cast<const char *>(__builtin_memchr(str, 0, length));
        if (end != nullptr)
            return FindMeasured<TCase>(str, static_cast<std::size_t>(end - str), needle, needleLength) != nullptr;
        if (FindCounted<TCase>(str, length, needle, needleLength) != nullptr)
            return true;
        // An occurrence may begin in this window and end in the next one.
        str += length - (needleLength - 1);
    }
}

} // namespace

bool SNativeStringUtils::Contains(const char *str, const char *needle) noexcept QV_NONBLOCKING
{
    str = TextOrEmpty(str);
    needle = TextOrEmpty(needle);
    const std::size_t needleLength = std::strlen(needle);
    if (needleLength <= kMaxShortNeedle)
        return __builtin_strstr(str, needle) != nullptr;
    return ContainsInWindows<SCaseMatters>(str, needle, needleLength);
}

bool SNativeStringUtils::ContainsCase(const char *str, const char *needle) noexcept QV_NONBLOCKING
{
    str = TextOrEmpty(str);
    needle = TextOrEmpty(needle);
    return *needle == 0 || ContainsInWindows<SCaseIgnored>(str, needle, std::strlen(needle));
}

} // namespace Quorvane
