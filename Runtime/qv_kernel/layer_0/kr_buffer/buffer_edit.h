// Private header: the edits that keep the length, as inline functions: a call more would cost short texts too much.
//
// Of containers' characters: 16-byte aligned, the terminator's block zero behind them.
#pragma once

#include "buffer_kernels.h"

namespace Quorvane::Internal::Buffer
{

inline u8 *BytesOf(char *data)
{
    return reinterpret_cast<u8 *>(data);
}

inline const u8 *BytesOf(const char *data)
{
    return reinterpret_cast<const u8 *>(data);
}

inline void ReverseInPlace(char *data, u32 length)
{
    QV_SIMD_CALL(length >= kMinWideLength, ReverseBytes(BytesOf(data), length));
}

inline void UppercaseInPlace(char *data, u32 length)
{
    QV_SIMD_CALL(length >= kMinWideLength, Uppercase(BytesOf(data), length));
}

inline void LowercaseInPlace(char *data, u32 length)
{
    QV_SIMD_CALL(length >= kMinWideLength, Lowercase(BytesOf(data), length));
}

} // namespace Quorvane::Internal::Buffer
