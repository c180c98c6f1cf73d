// Private header: how long a formatted result will be, foreseen without formatting it.
//
// The texts among the arguments, which is where long results come from, are measured, and so are the numbers. Formats
// with anything else in them, wide characters or a width among the arguments for example, are left to the platform.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "qv_defs.h"

namespace Quorvane::Internal::Buffer
{

// No string can have a length from here on, so such results are refused before they are formatted.
constexpr u32 kRefusedLength = 0x3FFFFFFF;

// The length of a result whose texts alone are foreseen not to fit into `room` characters; 0 for every other one.
// Leaves `args` as they are. Cost: linear in the texts, and a call of the platform for each number that is not plain.
u32 ForeseenLength(std::size_t room, const char *format, va_list &args);

} // namespace Quorvane::Internal::Buffer
