#include "kr_simd.h"

#include <cstdio>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "assert_recorder.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

// A target with room before and behind.
struct STarget
{
    STarget() { std::memset(m_Bytes, 0x5A, sizeof(m_Bytes)); }

    // The indices of the bytes that are not the filling any more.
    std::string Written() const
    {
        std::string written;
        for (const u8 byte : m_Bytes)
            written += byte == 0x5A ? '.' : byte == 0 ? '0' : '#';
        return written;
    }

    alignas(16) u8 m_Bytes[48];
};

} // namespace

TEST(Float4, StoresItsLanesInOrder)
{
    const CAssertRecorder recorder;
    alignas(16) float lanes[4] = {};
    SIMD::Float4(1.0f, -2.0f, 3.5f, 4.0f).StoreAligned16(lanes);
    EXPECT_EQ(lanes[0], 1.0f);
    EXPECT_EQ(lanes[1], -2.0f);
    EXPECT_EQ(lanes[2], 3.5f);
    EXPECT_EQ(lanes[3], 4.0f);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Float4, ZeroStoresExactly16ZeroBytes)
{
    const CAssertRecorder recorder;
    STarget target;
    SIMD::Float4::Zero().StoreAligned16(target.m_Bytes + 16);
    EXPECT_EQ(target.Written(), "................"
                                "0000000000000000"
                                "................");
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Float4, DefaultConstructedItIsZero)
{
    STarget target;
    SIMD::Float4().StoreAligned16(target.m_Bytes);
    EXPECT_EQ(target.Written().substr(0, 17), "0000000000000000.");
}

TEST(Float4, StoreAligned16ReportsAnUnalignedTargetWithItsAddressAndStores)
{
    const CAssertRecorder recorder;
    for (u32 offset = 1; offset < 16; ++offset)
    {
        STarget target;
        char message[128];
        std::snprintf(message, sizeof(message), "Unaligned memory! %p should be 16-bytes aligned.",
                      static_cast<void *>(target.m_Bytes + offset));
        SIMD::Float4::Zero().StoreAligned16(target.m_Bytes + offset);
        ASSERT_EQ(recorder.Count(), IfAsserting(offset));
        if (kSitesReport)
        {
            EXPECT_EQ(recorder.Last().m_Message, message);
        }
        EXPECT_EQ(target.Written(), std::string(offset, '.') + std::string(16, '0') + std::string(32 - offset, '.'));
    }
}

} // namespace QuorvaneTest
