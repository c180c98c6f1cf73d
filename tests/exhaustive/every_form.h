// The kernels of kr_buffer in every form, each with its name and whether this machine can run it.
#pragma once

#include <cstddef>

#include "kr_buffer/buffer_kernels.h"

#define QV_SIMD_NAMESPACE QuorvaneTest::EveryForm
#define QV_SIMD_KERNELS "exhaustive/kernels.inc"
#include "kr_simd/simd_each_form.inc"

namespace QuorvaneTest
{

struct QV_INTERNAL_HIDDEN SPortableKernels : EveryForm::Narrow::TKernels<Quorvane::Internal::Simd::SBlockPortable>
{
    static constexpr const char *kName = "Portable";
    static bool IsAvailable() { return true; }
};

// Of the blocks that each machine of the kind has: the portable ones once more where there are no others.
struct QV_INTERNAL_HIDDEN SNarrowKernels : EveryForm::Narrow::TKernels<>
{
    static constexpr const char *kName = "Narrow";
    static bool IsAvailable() { return true; }
};

// Where a build has none of these, its tests would be the narrow ones once more.
#if QV_SIMD_HAS_WIDE

struct QV_INTERNAL_HIDDEN SWideKernels : EveryForm::Wide::TKernels<>
{
    static constexpr const char *kName = "Wide";
    static bool IsAvailable() { return Quorvane::Internal::Simd::HasWideInstructions(); }
};

struct QV_INTERNAL_HIDDEN SWidestKernels : EveryForm::Widest::TKernels<>
{
    static constexpr const char *kName = "Widest";
    static bool IsAvailable() { return Quorvane::Internal::Simd::HasWidestInstructions(); }
};

#endif

} // namespace QuorvaneTest
