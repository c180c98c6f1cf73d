// Private header: printf-like formatting by our own code, the same to the last byte as the platform's.
//
// What programs write in formats is known here; a format with anything else in it is left to the platform as a whole:
// wide characters, long double, counted output, numbered arguments, grouping, infinities, null texts, terminators as characters, what the standard
// leaves undefined, and numbers with a decimal point where the locale has another one, or where numbers are not rounded to
// nearest. So are results that no platform has a length for. Functions that a program has registered with the platform
// for one of the known letters are not asked.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "qv_defs.h"

#if !defined(QV_OWN_PRINTF)
#define QV_OWN_PRINTF 1
#endif

namespace Quorvane::Internal::Buffer
{

enum EFormatLocale : u8
{
    FormatLocale_C,
    FormatLocale_InForce,
};

// Instead of a length, for a format that is left to the platform.
constexpr int kLeftToPlatform = -1;

// Formats as vsnprintf does, as far as there is room. Requires: a size of 1 at least.
// Returns: the length of the whole result, which may be more than there is room for; kLeftToPlatform where it leaves the
// format to the platform, and then what is in the buffer means nothing. Takes of `args` what it needs, by reference: a copy of a
// list that has just been made costs as much as a directive. No result holds a terminator.
// Cost: linear in format, texts and result. Allocates: nothing.
int FormatAsPrintf(char *buffer, std::size_t size, const char *format, va_list &args, EFormatLocale locale)
    QV_INTERNAL_PRINTF(3, 0);

} // namespace Quorvane::Internal::Buffer
