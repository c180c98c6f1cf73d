// Private header: the edits that keep the length, as inline functions: a call more would cost short texts too much.
//
// Of containers' characters: 16-byte aligned, the terminator's block zero behind them.
#pragma once

#include "buffer_kernels.h"
#include "buffer_text.h"

namespace Quorvane::Internal::Buffer
{

// Replacing and casing gain from blocks of 64 bytes from here on.
constexpr u32 kMinWidestEdit = 128;

inline void ReverseInPlace(char *data, u32 length)
{
    QV_SIMD_CALL(length >= kMinWideLength, ReverseBytes(ToBytes(data), length));
}

inline void UppercaseInPlace(char *data, u32 length)
{
    QV_SIMD_CALL_WIDEST(length >= kMinWidestEdit, length >= kMinWideLength, Uppercase(ToBytes(data), length));
}

inline void LowercaseInPlace(char *data, u32 length)
{
    QV_SIMD_CALL_WIDEST(length >= kMinWidestEdit, length >= kMinWideLength, Lowercase(ToBytes(data), length));
}

// As SNativeStringUtils::Replace_16 between two containers, for whom nobody asks how many there are.
inline void ReplaceIntoCopy(char *dst, const char *src, u32 length, char from, char to)
{
    QV_SIMD_CALL_WIDEST(
        length >= kMinWidestEdit, length >= kMinWideLength,
        ReplaceIntoCopyUncounted(ToBytes(dst), ToBytes(src), length, static_cast<u8>(from), static_cast<u8>(to)));
}

} // namespace Quorvane::Internal::Buffer
