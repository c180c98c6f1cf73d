// Four floats as one value of 16 bytes, as far as the kernel's text types need it: they zero the last 16 bytes of
// their characters with one checked store.
#pragma once

#include <cstring>

#include "kr_mem_utils.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace SIMD
{

// Four floats.
class Float4
{
public:
    // Zeros, or the four given.
    constexpr Float4() noexcept QV_NONBLOCKING : m_Lanes{0.0f, 0.0f, 0.0f, 0.0f} {}
    constexpr Float4(float x, float y, float z, float w) noexcept QV_NONBLOCKING : m_Lanes{x, y, z, w} {}

    // All bits zero.
    static constexpr Float4 Zero() noexcept QV_NONBLOCKING { return Float4(); }

    // Stores the 16 bytes at `target`.
    // Requires: `target` is 16-byte aligned, else reports "Unaligned memory! %p should be 16-bytes aligned." with the
    // address, and stores all the same.
    void StoreAligned16(void *target) const noexcept QV_NONBLOCKING
    {
        QV_INTERNAL_ASSERT_ALIGNED_16(target);
        std::memcpy(target, m_Lanes, sizeof(m_Lanes));
    }

private:
    alignas(16) float m_Lanes[4];
};

static_assert(sizeof(Float4) == 16, "four floats have 16 bytes");

} // namespace SIMD

} // namespace Quorvane
