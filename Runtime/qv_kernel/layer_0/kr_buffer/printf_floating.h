// Private header: floating-point numbers in the manner of printf.
#pragma once

#include "qv_defs.h"

#include "printf_output.h"

namespace Quorvane::Internal::Buffer
{

// Writes a number as the platform does in a locale with a decimal point, rounding to nearest.
// Returns: false, having written nothing, where it leaves that to the platform: infinities, what is no number, and more
// digits than programs ask for.
bool PutFloating(CPrintfOutput &output, const SDirective &directive, double value);

} // namespace Quorvane::Internal::Buffer
