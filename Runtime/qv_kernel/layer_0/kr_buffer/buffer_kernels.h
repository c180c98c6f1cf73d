// Private header: the kernels of buffer_kernels.inc in each form, Narrow, Wide and Widest (simd_each_form.inc).
//
// They give the same results to the last byte, and none of them touches memory that another one does not. Callers take
//
//     QV_SIMD_CALL(length >= kMinWideLength, FirstDifferenceCase(a, b, length))
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "kr_buffer.h"

#include "../kr_simd/simd_block_widest.h"
#include "buffer_bitmap.h"
#include "buffer_find.h"
#include "buffer_hash.h"
#include "character_table.h"
#include "escape_tables.h"

namespace Quorvane::Internal::Buffer
{

// Shorter texts do not ask what the machine has: the check costs more than it saves.
constexpr u32 kMinWideLength = 48;
// Where searches in blocks of 64 bytes begin.
constexpr u32 kMinWidestLength = 512;

// What to look for, and which three of its characters to look for first: by index, some the same in a short needle.
struct SNeedle
{
    const u8 *m_Bytes;
    u32 m_Length;
    u32 m_First;
    u32 m_Second;
    u32 m_Third;
};

// How a search for a needle ended: at its first place, nowhere, or without an answer, which only a search from
// `m_Place` on can give.
enum ENeedleFound : u32
{
    NeedleFound_Nowhere,
    NeedleFound_Here,
    NeedleFound_GaveUp,
};

struct SNeedleFound
{
    ENeedleFound m_Outcome;
    u32 m_Place;
};

} // namespace Quorvane::Internal::Buffer

#define QV_SIMD_NAMESPACE Quorvane::Internal::Buffer
#define QV_SIMD_KERNELS "../kr_buffer/buffer_kernels.inc"
#include "../kr_simd/simd_each_form.inc"
