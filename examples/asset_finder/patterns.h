// Wildcard patterns: which files a catalogue keeps.
//
// `*` stands for any run of characters, slashes included, `?` for exactly one; a backslash makes the next character
// literal. A pattern that holds a slash must match the whole path, every other the name.
#pragma once

#include <vector>

#include "catalogue.h"
#include "kr_string.h"

namespace AssetFinder
{

struct SPatterns
{
    std::vector<Quorvane::CString> m_Includes;
    std::vector<Quorvane::CString> m_Excludes;
    Quorvane::ECaseSensitivity m_CaseSensitivity = Quorvane::CaseSensitive;

    bool Empty() const { return m_Includes.empty() && m_Excludes.empty(); }

    // True when an include matches, or there is none, and no exclude matches.
    bool Keep(const SFile &file) const;
};

// What is wrong with a pattern; empty when nothing is.
const char *ObjectionToPattern(const Quorvane::CString &pattern);

} // namespace AssetFinder
