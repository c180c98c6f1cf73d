// Every text over an alphabet, up to a length: for tests that leave no short case out. Domains of more than some thousand
// pairs are those of tests/exhaustive/, which are tried in one optimised build.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "emulator.h"

namespace QuorvaneTest
{

// Sanitized code is several times slower, and emulated code is, so bounds are one lower there.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer) ||          \
    __has_feature(realtime_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif
inline const bool kVerySlow = kSanitized || InstructionsAreEmulated();

// So is code that is not optimised: one build that is, that of the platform O3, runs the longest tests.
#if defined(__OPTIMIZE__)
inline const bool kSlow = kVerySlow;
#else
inline const bool kSlow = true;
#endif

// Sorted by length; the empty text comes first.
inline std::vector<std::string> EveryText(const std::string &alphabet, size_t maxLength)
{
    std::vector<std::string> texts = {""};
    size_t begin = 0;
    for (size_t length = 1; length <= maxLength; ++length)
    {
        const size_t end = texts.size();
        for (; begin < end; ++begin)
            for (char character : alphabet)
                texts.push_back(texts[begin] + character);
    }
    return texts;
}

} // namespace QuorvaneTest
