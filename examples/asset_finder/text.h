// Small helpers on text that the program's other files share.
#pragma once

#include "kr_string.h"

namespace AssetFinder
{

// printf into a string, any length. CString::Format would cut at 3198 characters; a path may have 4095.
[[gnu::format(printf, 1, 2)]] Quorvane::CString Text(const char *format, ...);

// A number with a comma before every third digit from the right.
Quorvane::CString Grouped(Quorvane::u64 number);

// The text with a question mark for every control character, so that no file name can steer the terminal.
Quorvane::CString Printable(Quorvane::CString text);

// The path of what is called `name` in a folder; the name alone in a folder without a name. Not joined by operator/, which
// takes a backslash for a caller's mistake: here it is a character of a name like any other.
Quorvane::CString PathOf(const Quorvane::CString &folder, const Quorvane::CString &name);

} // namespace AssetFinder
