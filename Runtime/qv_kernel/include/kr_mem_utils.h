// Copies of raw memory, and the two questions that decide which copy to take.
#pragma once

#include <cstring>

#include "kr_assert.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Mem
{

namespace Internal
{

// Up to this many bytes are copied without a call.
constexpr u64 kShortCopyBytes = 64;

// Copies a value of type T at the front and one at the back; together they cover N to 2 N bytes, N being its size.
// All is read before anything is written.
template <typename T>
inline void CopyFrontAndBack(unsigned char *dst, const unsigned char *src, u64 byteCount) noexcept QV_NONBLOCKING
{
    T front;
    T back;
    std::memcpy(&front, src, sizeof(T));
    std::memcpy(&back, src + byteCount - sizeof(T), sizeof(T));
    std::memcpy(dst, &front, sizeof(T));
    std::memcpy(dst + byteCount - sizeof(T), &back, sizeof(T));
}

template <u32 N>
struct TBytes
{
    unsigned char m_Bytes[N];
};

// Requires: `byteCount` of 1 to 32. The ranges may overlap.
inline void CopyUpTo32(void *dstBytes, const void *srcBytes, u64 byteCount) noexcept QV_NONBLOCKING
{
    unsigned char *dst = static_cast<unsigned char *>(dstBytes);
    const unsigned char *src = static_cast<const unsigned char *>(srcBytes);
    if (byteCount >= 16)
        CopyFrontAndBack<TBytes<16>>(dst, src, byteCount);
    else if (byteCount >= 8)
        CopyFrontAndBack<u64>(dst, src, byteCount);
    else if (byteCount >= 4)
        CopyFrontAndBack<u32>(dst, src, byteCount);
    else if (byteCount >= 2)
        CopyFrontAndBack<u16>(dst, src, byteCount);
    else
        *dst = *src;
}

// Requires: `byteCount` of 1 to kShortCopyBytes. The ranges may overlap.
inline void CopyUpTo64(void *dst, const void *src, u64 byteCount) noexcept QV_NONBLOCKING
{
    if (byteCount > 32)
        CopyFrontAndBack<TBytes<32>>(static_cast<unsigned char *>(dst), static_cast<const unsigned char *>(src),
                                     byteCount);
    else
        CopyUpTo32(dst, src, byteCount);
}

// Copies bytes between ranges that are known not to overlap.
inline void CopyDisjoint(void *dst, const void *src, u64 byteCount) noexcept QV_NONBLOCKING
{
    if (byteCount > kShortCopyBytes)
        std::memcpy(dst, src, static_cast<std::size_t>(byteCount));
    else if (byteCount != 0)
        CopyUpTo64(dst, src, byteCount);
}

} // namespace Internal

// True when the two byte ranges share a byte. Empty ranges overlap nothing.
inline bool Overlaps(const void *dst, u64 dstBytes, const void *src, u64 srcBytes) noexcept QV_NONBLOCKING
{
    const ureg dstBegin = reinterpret_cast<ureg>(dst);
    const ureg srcBegin = reinterpret_cast<ureg>(src);
    if (dstBytes == 0 || srcBytes == 0)
        return false;
    return dstBegin < srcBegin ? srcBegin - dstBegin < dstBytes : dstBegin - srcBegin < srcBytes;
}

// Copies bytes between ranges that may overlap.
inline void Copy_Overlapped(void *dst, const void *src, u64 byteCount) noexcept QV_NONBLOCKING
{
    if (byteCount != 0)
        std::memmove(dst, src, static_cast<std::size_t>(byteCount));
}

// Copies bytes between ranges that do not overlap.
// Requires: no overlap, else reports "!Mem::Overlaps(dst, byteCount, src, byteCount)" and copies as Copy_Overlapped.
inline void Copy(void *dst, const void *src, u64 byteCount) noexcept QV_NONBLOCKING
{
    const bool overlaps = Overlaps(dst, byteCount, src, byteCount);
    QV_INTERNAL_ASSERT_TEXT("!Mem::Overlaps(dst, byteCount, src, byteCount)", !overlaps);
    if (QV_INTERNAL_UNLIKELY(overlaps))
        Copy_Overlapped(dst, src, byteCount);
    else
        Internal::CopyDisjoint(dst, src, byteCount);
}

// True when the address is a multiple of N, a power of two. Null is aligned.
template <u32 N>
inline bool IsAligned(const void *pointer) noexcept QV_NONBLOCKING
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
