// What prefix, suffix and substring tests mean: every place is tried, every character compared.
#pragma once

#include <string>

#include "case_model.h"

namespace QuorvaneTest
{

inline bool SearchModelIsAt(const std::string &text, size_t at, const std::string &part, bool ignoreCase)
{
    if (at + part.size() > text.size())
        return false;
    for (size_t i = 0; i < part.size(); ++i)
        if (ModelFolded(text[at + i], ignoreCase) != ModelFolded(part[i], ignoreCase))
            return false;
    return true;
}

inline bool SearchModelStartsWith(const std::string &text, const std::string &part, bool ignoreCase)
{
    return SearchModelIsAt(text, 0, part, ignoreCase);
}

inline bool SearchModelEndsWith(const std::string &text, const std::string &part, bool ignoreCase)
{
    return part.size() <= text.size() && SearchModelIsAt(text, text.size() - part.size(), part, ignoreCase);
}

// The first place of `part` from `start` on, and the last one, or std::string::npos.

inline size_t SearchModelFindFrom(const std::string &text, const std::string &part, size_t start, bool ignoreCase)
{
    for (size_t at = start; at <= text.size(); ++at)
        if (SearchModelIsAt(text, at, part, ignoreCase))
            return at;
    return std::string::npos;
}

inline size_t SearchModelFindLast(const std::string &text, const std::string &part, bool ignoreCase)
{
    for (size_t at = text.size() + 1; at != 0; --at)
        if (SearchModelIsAt(text, at - 1, part, ignoreCase))
            return at - 1;
    return std::string::npos;
}

inline size_t SearchModelFind(const std::string &text, const std::string &part, bool ignoreCase)
{
    return SearchModelFindFrom(text, part, 0, ignoreCase);
}

} // namespace QuorvaneTest
