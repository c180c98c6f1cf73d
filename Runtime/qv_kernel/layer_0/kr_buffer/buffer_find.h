// Private header: substring searches that the public header does not have: the one for the last occurrence, and the one in
// a text whose length is known, but which ends with its first terminator.
#pragma once

#include "qv_defs.h"

namespace Quorvane::Internal::Buffer
{

// What is no index of a character.
constexpr u32 kNoIndex = 0xFFFFFFFFu;

// The index of the last `character` among the first `length` of a text; kNoIndex when there is none. Of an empty text null
// will do.
u32 LastIndexOf(const char *text, u32 length, char character) noexcept QV_NONBLOCKING;

// The last occurrence of `needle` in the first `length` characters of `text`, neither of which needs a terminator; null when
// there is none. The second one ignores case.
// Requires: a needle of 1 character or more.
// Cost: linear in both, whatever they are.
const char *FindLastInCounted(const char *text, u32 length, const char *needle,
                              u32 needleLength) noexcept QV_NONBLOCKING;
const char *FindLastInCountedCase(const char *text, u32 length, const char *needle,
                                  u32 needleLength) noexcept QV_NONBLOCKING;

// The first occurrence of `needle`, as `strstr` finds it; null when there is none. An empty needle stands everywhere.
// Requires: a terminator at `text[length]`; there may be others before it.
// Cost: linear in both.
const char *FindInTerminated(const char *text, u32 length, const char *needle) noexcept QV_NONBLOCKING;

} // namespace Quorvane::Internal::Buffer
