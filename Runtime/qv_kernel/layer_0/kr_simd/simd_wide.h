// Private header: the names of simd_machine.h as code outside of Simd still spells them.
#pragma once

#include "simd_machine.h"

#if QV_SIMD_HAS_WIDE
#define QV_SIMD_WIDE_END QV_SIMD_END
#endif

namespace Quorvane::Internal
{

using Simd::AllowWideInstructions;
using Simd::HasWideInstructions;

} // namespace Quorvane::Internal
