// Copies of raw memory, and the two questions that decide which copy to take.
#pragma once

#include <cstring>

#include "kr_assert.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Mem
{

// True when the two byte ranges share a byte. Empty ranges overlap nothing.
inline bool Overlaps(const void *dst, u64 dstBytes, const void *src, u64 srcBytes)
{
    const ureg dstBegin = reinterpret_cast<ureg>(dst);
    const ureg srcBegin = reinterpret_cast<ureg>(src);
    if (dstBytes == 0 || srcBytes == 0)
        return false;
    return dstBegin < srcBegin ? srcBegin - dstBegin < dstBytes : dstBegin - srcBegin < srcBytes;
}

// Copies bytes between ranges that may overlap.
inline void Copy_Overlapped(void *dst, const void *src, u64 byteCount)
{
    if (byteCount != 0)
        std::memmove(dst, src, static_cast<std::size_t>(byteCount));
}

// Copies bytes between ranges that do not overlap.
// Requires: no overlap, else reports "!Mem::Overlaps(dst, byteCount, src, byteCount)" and copies as Copy_Overlapped.
inline void Copy(void *dst, const void *src, u64 byteCount)
{
    const bool overlaps = Overlaps(dst, byteCount, src, byteCount);
    QV_INTERNAL_ASSERT_TEXT("!Mem::Overlaps(dst, byteCount, src, byteCount)", !overlaps);
    if (QV_INTERNAL_UNLIKELY(overlaps))
        Copy_Overlapped(dst, src, byteCount);
    else if (byteCount != 0)
        std::memcpy(dst, src, static_cast<std::size_t>(byteCount));
}

// True when the address is a multiple of N, a power of two. Null is aligned.
template <u32 N>
inline bool IsAligned(const void *pointer)
{
    static_assert(N != 0 && (N & (N - 1)) == 0, "alignments are powers of two");
    return (reinterpret_cast<ureg>(pointer) & (N - 1)) == 0;
}

} // namespace Mem

} // namespace Quorvane

// Private to the library: reports an address that is not 16-byte aligned, with the address.
#define QV_INTERNAL_ASSERT_ALIGNED_16(address)                                                                         \
    QV_ASSERT_MESSAGE(QV_NAMESPACE::Mem::IsAligned<0x10>((address)),                                                   \
                      "Unaligned memory! %p should be 16-bytes aligned.", static_cast<const void *>(address))
