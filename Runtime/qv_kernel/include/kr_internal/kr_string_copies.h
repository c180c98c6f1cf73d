// Private header: what the headers count of the copies of text, in a build with QV_MEM_TRACKING.
//
// The option comes with the library's target and its packages as a definition, for a part of what it counts is inline: a
// program that was built without it links all the same, and its own copies of handles go uncounted.
//
// Users include kr_string.h.
#pragma once

#include "qv_internal/qv_namespace.h"

#if !defined(QV_MEM_TRACKING)
#define QV_MEM_TRACKING 0
#endif

// An edit that is inline in the program's code, so that what it calls returns to the place of the edit itself.
#if QV_MEM_TRACKING
#define QV_INTERNAL_EDIT_INLINE __attribute__((always_inline))
#else
#define QV_INTERNAL_EDIT_INLINE
#endif

namespace Quorvane
{

namespace Internal::String
{

// Counts a handle that was copied and shares its characters. Does nothing in a library without tracking.
QV_INTERNAL_API void CountSharedCopy() noexcept QV_NONBLOCKING;

} // namespace Internal::String

} // namespace Quorvane
