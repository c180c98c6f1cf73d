// Private header: the edits that keep the length, as inline functions: a call more would cost short texts too much.
//
// Of containers' characters: 16-byte aligned, the terminator's block zero behind them.
#pragma once

#include "buffer_kernels.h"
#include "buffer_text.h"

namespace Quorvane::Internal::Buffer
{

inline void ReverseInPlace(char *data, u32 length)
{
    QV_SIMD_CALL(length >= kMinWideLength, ReverseBytes(ToBytes(data), length));
}

inline void UppercaseInPlace(char *data, u32 length)
{
    QV_SIMD_CALL(length >= kMinWideLength, Uppercase(ToBytes(data), length));
}

inline void LowercaseInPlace(char *data, u32 length)
{
    QV_SIMD_CALL(length >= kMinWideLength, Lowercase(ToBytes(data), length));
}

} // namespace Quorvane::Internal::Buffer
