// Wildcards for the programs in other strings than ours, whose libraries have none, or slower ones.
#pragma once

#include <cstddef>
#include <string_view>

// Whether a pattern matches the whole of a text: `*` stands for any characters, `?` for one. The usual loop, which goes
// back to the last star.
inline bool MatchesWildcard(std::string_view text, std::string_view pattern)
{
    constexpr std::size_t kNone = std::string_view::npos;
    std::size_t at = 0, in = 0, star = kNone, retry = 0;
    while (at < text.size())
    {
        if (in < pattern.size() && pattern[in] == '*')
        {
            star = in++;
            retry = at;
        }
        else if (in < pattern.size() && (pattern[in] == '?' || pattern[in] == text[at]))
        {
            ++in;
            ++at;
        }
        else if (star != kNone)
        {
            in = star + 1;
            at = ++retry;
        }
        else
            return false;
    }
    while (in < pattern.size() && pattern[in] == '*')
        ++in;
    return in == pattern.size();
}
