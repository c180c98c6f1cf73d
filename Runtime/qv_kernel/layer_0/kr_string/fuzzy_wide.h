// What the wide forms of fuzzy matching share.
#pragma once

#include "../kr_simd/simd_wide.h"
#include "fuzzy_distance.h"

#if QV_SIMD_HAS_WIDE

QV_SIMD_WIDE_BEGIN

namespace Quorvane::Internal::Wide
{

#include "fuzzy_column.h"

} // namespace Quorvane::Internal::Wide

QV_SIMD_WIDE_END

#endif
