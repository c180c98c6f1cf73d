// The results of a query, as text for people.
#pragma once

#include <vector>

#include "finder.h"
#include "highlight.h"
#include "kr_string.h"

namespace AssetFinder
{

// A line that says what was asked, with the time where `seconds` is not negative, and one for each hit: its weight, its
// name with the matched characters marked, the path of the first file of that name, and how many more there are.
Quorvane::CString FormatResults(const CFinder &finder, const Quorvane::CString &query, const CHits &hits,
                                EHighlight highlight, double seconds);

// A line that says what was asked and how many files match it, with the time where `seconds` is not negative, and the paths
// of the first of them.
Quorvane::CString FormatMatches(const CFinder &finder, const Quorvane::CString &pattern,
                                const std::vector<Quorvane::u32> &matches, double seconds);

} // namespace AssetFinder
