// The kernels once more, with blocks of 32 bytes.
#include "buffer_wide.h"

#include "../kr_simd/simd_block_wide.h"

#if QV_SIMD_HAS_WIDE

QV_SIMD_WIDE_BEGIN

namespace Quorvane::Internal::Wide
{

// Names of its own for the templates, which are compiled for wide instructions here.
namespace Kernels
{

using Simd::Wide::SBlockAvx2;

#include "buffer_kernels.inc"

} // namespace Kernels

bool Equal(const u8 *a, const u8 *b, u32 length)
{
    return Kernels::EqualInCounted<Kernels::SBlockAvx2>(a, b, length);
}

u32 FirstDifferenceCase(const u8 *a, const u8 *b, u32 length)
{
    return Kernels::FirstDifferenceInCounted<Kernels::SBlockAvx2, Kernels::SLowerCaseBytes>(a, b, length);
}

void Uppercase(u8 *data, u32 length)
{
    Kernels::FlipCase<Kernels::SBlockAvx2>(data, length, 'a', 'z');
}

void Lowercase(u8 *data, u32 length)
{
    Kernels::FlipCase<Kernels::SBlockAvx2>(data, length, 'A', 'Z');
}

void UppercaseIntoCopy(u8 *dst, const u8 *src, u32 length)
{
    Kernels::FlipCaseIntoCopy<Kernels::SBlockAvx2>(dst, src, length, 'a', 'z');
}

void LowercaseIntoCopy(u8 *dst, const u8 *src, u32 length)
{
    Kernels::FlipCaseIntoCopy<Kernels::SBlockAvx2>(dst, src, length, 'A', 'Z');
}

u32 ReplaceInPlace(u8 *data, u32 length, u8 from, u8 to)
{
    return Kernels::ReplaceInPlace<Kernels::SBlockAvx2>(data, length, from, to);
}

u32 ReplaceIntoCopy(u8 *dst, const u8 *src, u32 length, u8 from, u8 to)
{
    return Kernels::ReplaceIntoCopy<Kernels::SBlockAvx2>(dst, src, length, from, to);
}

void ReverseBytes(u8 *data, u32 length)
{
    Kernels::ReverseBytes<Kernels::SBlockAvx2>(data, length);
}

bool AnyBetweenAscii(const u8 *text, u32 length, char first, char last)
{
    return Kernels::AnyBetweenAscii<Kernels::SBlockAvx2>(text, length, first, last);
}

SPairFound FindPair(const u8 *text, u32 length, const SNeedle &needle)
{
    return Kernels::TPairSearch<Kernels::SBlockAvx2, Kernels::SExactBytes, Kernels::End_Counted>(text, length, needle)
        .Find();
}

SPairFound FindPairTerminated(const u8 *text, u32 length, const SNeedle &needle)
{
    return Kernels::TPairSearch<Kernels::SBlockAvx2, Kernels::SExactBytes, Kernels::End_Terminated>(text, length,
                                                                                                    needle)
        .Find();
}

SPairFound FindPairCase(const u8 *text, u32 length, const SNeedle &needle)
{
    return Kernels::TPairSearch<Kernels::SBlockAvx2, Kernels::SLowerCaseBytes, Kernels::End_Counted>(text, length,
                                                                                                     needle)
        .Find();
}

u32 LastOfByte(const u8 *text, u32 length, u8 byte)
{
    return Kernels::LastOfByte<Kernels::SBlockAvx2>(text, length, byte);
}

} // namespace Quorvane::Internal::Wide

QV_SIMD_WIDE_END

#endif
