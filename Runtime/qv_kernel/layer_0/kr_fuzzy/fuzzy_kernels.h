// The kernels of fuzzy matching, which fuzzy_kernels.inc lists, in each form of the code.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "../kr_simd/simd_lanes.h"
#include "fuzzy_grid.h"
#include "fuzzy_lane_texts.h"
#include "fuzzy_masks.h"

#define QV_SIMD_NAMESPACE Quorvane::Internal::Fuzzy
#define QV_SIMD_KERNELS "../kr_fuzzy/fuzzy_kernels.inc"
#include "../kr_simd/simd_each_form.inc"
