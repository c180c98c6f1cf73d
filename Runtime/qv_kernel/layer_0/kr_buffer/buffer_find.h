// Private header: the substring search in a text whose length is known, but which ends with its first terminator.
#pragma once

#include "qv_defs.h"

namespace Quorvane::Internal::Buffer
{

// The first occurrence of `needle`, as `strstr` finds it; null when there is none. An empty needle stands everywhere.
// Requires: a terminator at `text[length]`; there may be others before it.
// Cost: linear in both.
const char *FindInTerminated(const char *text, u32 length, const char *needle);

} // namespace Quorvane::Internal::Buffer
