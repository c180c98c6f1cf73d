// Comparison of string containers' characters, and of counted text without case, a block at a time.
#include "kr_buffer.h"

#include "buffer_kernels.h"
#include "buffer_wide.h"

namespace Quorvane
{

namespace
{

using Internal::SBlock;

const u8 *Bytes(const void *data)
{
    return static_cast<const u8 *>(data);
}

} // namespace

bool SNativeStringUtils::Equal_16(const void *a, const void *b, u32 length)
{
    // From a few blocks on, the platform's routine is as wide as the machine.
    constexpr u32 kMostForBlocks = 16;
    if (length > kMostForBlocks)
        return std::memcmp(a, b, length) == 0;
    return Internal::FirstDifference<SBlock, Internal::SExactBytes>(Bytes(a), Bytes(b), length) == length;
}

bool SNativeStringUtils::EqualCase_16(const char *a, const char *b, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        return Internal::Wide::FirstDifferenceCase(Bytes(a), Bytes(b), length) == length;
    return Internal::FirstDifference<SBlock, Internal::SLowerCaseBytes>(Bytes(a), Bytes(b), length) == length;
}

bool SNativeStringUtils::EqualCase(const char *data0, const char *data1, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        return Internal::Wide::FirstDifferenceCase(Bytes(data0), Bytes(data1), length) == length;
    using CBytes = Internal::SLowerCaseBytes;
    return Internal::FirstDifferenceInCounted<SBlock, CBytes>(Bytes(data0), Bytes(data1), length) == length;
}

// Ordering must not read behind the block of the first difference: no wide blocks here.

s32 SNativeStringUtils::Compare_16(const void *a, const void *b, u32 length)
{
    return Internal::CompareBytes<SBlock, Internal::SExactBytes>(Bytes(a), Bytes(b), length);
}

s32 SNativeStringUtils::CompareCase_16(const char *a, const char *b, u32 length)
{
    return Internal::CompareBytes<SBlock, Internal::SLowerCaseBytes>(Bytes(a), Bytes(b), length);
}

} // namespace Quorvane
