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

// True for names that cannot be joined into a path: joining takes a backslash for a caller's mistake and reports it.
bool HoldsBackslash(const Quorvane::CString &name);

} // namespace AssetFinder
