// Comparison of string containers' characters, and of counted text without case, a block at a time.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_kernels.h"
#include "buffer_text.h"

namespace Quorvane
{

using namespace Internal::Buffer;

namespace
{

// From here on blocks of 64 bytes gain where case is ignored.
constexpr u32 kMinWidestCase = 128;

} // namespace

bool SNativeStringUtils::Equal_16(const void *a, const void *b, u32 length) noexcept QV_NONBLOCKING
{
    // One block. Beyond it, the platform's routine is as wide as the machine.
    constexpr u32 kMaxForBlocks = 16;
    if (length > kMaxForBlocks)
        return std::memcmp(a, b, length) == 0;
    return Narrow::FirstDifference<Narrow::CBlock, Narrow::SExactBytes>(ToBytes(a), ToBytes(b), length) == length;
}

bool SNativeStringUtils::EqualCase_16(const char *a, const char *b, u32 length) noexcept QV_NONBLOCKING
{
    if (length >= kMinWideLength && Internal::Simd::HasWideInstructions())
        return Wide::FirstDifferenceCase(ToBytes(a), ToBytes(b), length) == length;
    return Narrow::FirstDifference<Narrow::CBlock, Narrow::SLowerCaseBytes>(ToBytes(a), ToBytes(b), length) == length;
}

bool SNativeStringUtils::EqualCase(const char *data0, const char *data1, u32 length) noexcept QV_NONBLOCKING
{
    return QV_SIMD_CALL_WIDEST(length >= kMinWidestCase, length >= kMinWideLength,
                               FirstDifferenceCase(ToBytes(data0), ToBytes(data1), length)) == length;
}

s32 SNativeStringUtils::CompareCase(const char *data0, const char *data1, u32 length) noexcept QV_NONBLOCKING
{
    const u8 *const a = ToBytes(data0);
    const u8 *const b = ToBytes(data1);
    const u32 index =
        QV_SIMD_CALL_WIDEST(length >= kMinWidestCase, length >= kMinWideLength, FirstDifferenceCase(a, b, length));
    return index != length ? Narrow::OrderOfBytes<Narrow::SLowerCaseBytes>(a[index], b[index]) : 0;
}

// Ordering must not read behind the block of the first difference: no wide blocks here.

s32 SNativeStringUtils::Compare_16(const void *a, const void *b, u32 length) noexcept QV_NONBLOCKING
{
    return Narrow::CompareBytes<Narrow::CBlock, Narrow::SExactBytes>(ToBytes(a), ToBytes(b), length);
}

s32 SNativeStringUtils::CompareCase_16(const char *a, const char *b, u32 length) noexcept QV_NONBLOCKING
{
    return Narrow::CompareBytes<Narrow::CBlock, Narrow::SLowerCaseBytes>(ToBytes(a), ToBytes(b), length);
}

} // namespace Quorvane
