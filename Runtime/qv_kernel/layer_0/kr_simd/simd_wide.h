// Private header: the names of simd_machine.h as code outside of Simd still spells them.
#pragma once

#include "simd_block.h"
#include "simd_machine.h"

#define QV_BUFFER_INLINE QV_SIMD_INLINE

#if QV_SIMD_HAS_WIDE
#define QV_SIMD_WIDE_END QV_SIMD_END
#endif

namespace Quorvane::Internal
{

using Simd::AllowWideInstructions;
using Simd::HasWideInstructions;
using Simd::SBlock;
using Simd::TrailingZeroBits;

} // namespace Quorvane::Internal
