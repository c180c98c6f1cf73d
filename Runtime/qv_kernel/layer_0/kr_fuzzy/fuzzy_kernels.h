// The kernels of fuzzy matching, in each form of vector code: fuzzy_kernels.inc lists them.
#pragma once

#include <cstddef>
#include <utility>

#include "../kr_simd/simd_wide.h"
#include "fuzzy_lane_texts.h"
#include "fuzzy_masks.h"

#if QV_SIMD_LEVEL >= 1 && (defined(__SSE2__) || defined(_M_X64))
#define QV_FUZZY_HAS_SHORT 1
#include <emmintrin.h>
#else
#define QV_FUZZY_HAS_SHORT 0
#endif

namespace Quorvane::Internal::Fuzzy
{

#define QV_FUZZY_WIDE 0
namespace Narrow
{
#include "fuzzy_kernels.inc"
} // namespace Narrow
#undef QV_FUZZY_WIDE

#if QV_SIMD_HAS_WIDE

QV_SIMD_WIDE_BEGIN

#define QV_FUZZY_WIDE 1
namespace Wide
{
#include "fuzzy_kernels.inc"
} // namespace Wide
#undef QV_FUZZY_WIDE

QV_SIMD_WIDE_END

#else

namespace Wide = Narrow;

#endif

} // namespace Quorvane::Internal::Fuzzy
