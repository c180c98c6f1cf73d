// Private header: the kernels with blocks of 32 bytes. They give the results of those with blocks of 16, to the last
// byte, and never touch more memory than they.
//
//     if (WideIsWorthwhile(length))
//         return Wide::EqualCase(a, b, length);
//     return ... with SBlock ...;
#pragma once

#include "../kr_simd/simd_wide.h"

#include "buffer_kernels.h"

namespace Quorvane::Internal
{

// Shorter texts do not ask what the machine has: asking would be felt, and there is nothing to gain.
constexpr u32 kLeastWideLength = 48;

inline bool WideIsWorthwhile(u32 length)
{
    return length >= kLeastWideLength && HasWideInstructions();
}

#if QV_SIMD_HAS_WIDE

// Whoever calls these asked HasWideInstructions() first.
namespace Wide
{

// Of two counted texts that both have `length` bytes; both may be read to their ends. Equal takes 32 bytes at least.
bool Equal(const u8 *a, const u8 *b, u32 length);
u32 FirstDifferenceCase(const u8 *a, const u8 *b, u32 length);

// Of containers' characters.
void Uppercase(u8 *data, u32 length);
void Lowercase(u8 *data, u32 length);
void UppercaseIntoCopy(u8 *dst, const u8 *src, u32 length);
void LowercaseIntoCopy(u8 *dst, const u8 *src, u32 length);
u32 ReplaceInPlace(u8 *data, u32 length, u8 from, u8 to);
u32 ReplaceIntoCopy(u8 *dst, const u8 *src, u32 length, u8 from, u8 to);
void ReverseBytes(u8 *data, u32 length);

// Of counted texts.
bool AnyBetweenAscii(const u8 *text, u32 length, char first, char last);
SPairFound FindPair(const u8 *text, u32 length, const SNeedle &needle);
SPairFound FindPairTerminated(const u8 *text, u32 length, const SNeedle &needle);
SPairFound FindPairCase(const u8 *text, u32 length, const SNeedle &needle);
// Takes 32 bytes at least.
u32 LastOfByte(const u8 *text, u32 length, u8 byte);

} // namespace Wide

#else

// Never called; so that callers need not ask the preprocessor.
namespace Wide
{

inline bool Equal(const u8 *, const u8 *, u32)
{
    return false;
}
inline u32 FirstDifferenceCase(const u8 *, const u8 *, u32 length)
{
    return length;
}
inline void Uppercase(u8 *, u32) {}
inline void Lowercase(u8 *, u32) {}
inline void UppercaseIntoCopy(u8 *, const u8 *, u32) {}
inline void LowercaseIntoCopy(u8 *, const u8 *, u32) {}
inline u32 ReplaceInPlace(u8 *, u32, u8, u8)
{
    return 0;
}
inline u32 ReplaceIntoCopy(u8 *, const u8 *, u32, u8, u8)
{
    return 0;
}
inline void ReverseBytes(u8 *, u32) {}
inline bool AnyBetweenAscii(const u8 *, u32, char, char)
{
    return false;
}
inline SPairFound FindPair(const u8 *, u32, const SNeedle &)
{
    return {PairFound_Nowhere, 0};
}
inline SPairFound FindPairTerminated(const u8 *, u32, const SNeedle &)
{
    return {PairFound_Nowhere, 0};
}
inline SPairFound FindPairCase(const u8 *, u32, const SNeedle &)
{
    return {PairFound_Nowhere, 0};
}
inline u32 LastOfByte(const u8 *, u32 length, u8)
{
    return length;
}

} // namespace Wide

#endif

} // namespace Quorvane::Internal
