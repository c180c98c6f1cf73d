// Comparison of string containers' characters, a block at a time.
#include "kr_buffer.h"

#include "buffer_kernels.h"

namespace Quorvane
{

namespace
{

using CExact = Internal::TExactBytes<Internal::SBlock>;
using CLowerCase = Internal::TLowerCaseBytes<Internal::SBlock>;

const u8 *Bytes(const void *data)
{
    return static_cast<const u8 *>(data);
}

} // namespace

bool SNativeStringUtils::Equal_16(const void *a, const void *b, u32 length)
{
    return Internal::FirstDifference<Internal::SBlock, CExact>(Bytes(a), Bytes(b), length) == length;
}

bool SNativeStringUtils::EqualCase_16(const char *a, const char *b, u32 length)
{
    return Internal::FirstDifference<Internal::SBlock, CLowerCase>(Bytes(a), Bytes(b), length) == length;
}

s32 SNativeStringUtils::Compare_16(const void *a, const void *b, u32 length)
{
    return Internal::CompareBytes<Internal::SBlock, CExact>(Bytes(a), Bytes(b), length);
}

s32 SNativeStringUtils::CompareCase_16(const char *a, const char *b, u32 length)
{
    return Internal::CompareBytes<Internal::SBlock, CLowerCase>(Bytes(a), Bytes(b), length);
}

} // namespace Quorvane
