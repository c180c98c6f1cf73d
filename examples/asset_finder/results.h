// The results of a query, as text for people.
#pragma once

#include "finder.h"
#include "highlight.h"
#include "kr_string.h"

namespace AssetFinder
{

// A line that says what was asked, with the time where `seconds` is not negative, and one for each hit: its weight, its
// name with the matched characters marked, and its path.
Quorvane::CString FormatResults(const CFinder &finder, const Quorvane::CString &query, const CHits &hits,
                                EHighlight highlight, double seconds);

} // namespace AssetFinder
