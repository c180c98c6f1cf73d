// Answers a question about a catalogue: finds, and prints what was found.
#pragma once

#include "finder.h"
#include "kr_string.h"

namespace AssetFinder
{

// Ranks the names by how well they match.
// Requires: a query that is not empty. Returns: whether the results could be found and written; complains when not.
bool AnswerQuery(const CFinder &finder, const Quorvane::CString &query, bool showTime);

// Lists the files that a wildcard pattern matches, or complains of the pattern.
// Returns: whether all could be written; complains when not.
bool AnswerPattern(const CFinder &finder, const Quorvane::CString &pattern, bool showTime);

} // namespace AssetFinder
