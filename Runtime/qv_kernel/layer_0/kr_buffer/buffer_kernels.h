// Private header: the kernels of buffer_kernels.inc, for the block types that every machine of the kind has.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "kr_buffer.h"

#include "../kr_simd/simd_block.h"
#include "../kr_simd/simd_wide.h"

#define QV_BUFFER_INLINE QV_SIMD_INLINE

namespace Quorvane::Internal
{

using Simd::HighestSetBit;
using Simd::SBlock;
using Simd::TrailingZeroBits;

// What to look for, and which two of its characters to look for first: by index, the same one in a needle of one.
struct SNeedle
{
    const u8 *m_Bytes;
    u32 m_Length;
    u32 m_First;
    u32 m_Second;
};

// How a search for a needle ended: at its first place, nowhere, or without an answer, which only a search from
// `m_Place` on can give.
enum EPairFound : u32
{
    PairFound_Nowhere,
    PairFound_Here,
    PairFound_GaveUp,
};

struct SPairFound
{
    EPairFound m_Outcome;
    u32 m_Place;
};

#include "buffer_kernels.inc"

} // namespace Quorvane::Internal
