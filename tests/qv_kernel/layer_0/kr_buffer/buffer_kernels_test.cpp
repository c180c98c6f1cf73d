// The walk over blocks, which the kernels of containers share.
#include "kr_buffer/buffer_kernels.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "buffer_forms.h"

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

template <typename Block>
class BufferWalk : public ::testing::Test
{
};

TYPED_TEST_SUITE(BufferWalk, CBlockForms, SFormNames);

// Offset and count of each step of a walk that ends after `most` steps.
template <typename Block>
std::vector<std::pair<size_t, u32>> StepsOf(u32 length, size_t most)
{
    std::vector<std::pair<size_t, u32>> steps;
    const auto full = [&](size_t at, auto)
    {
        steps.emplace_back(at, 16);
        return steps.size() < most;
    };
    const auto last = [&](size_t at, u32 count, auto)
    {
        steps.emplace_back(at, count);
        return steps.size() < most;
    };
    Narrow::Kernels::WalkBlocks<Block>(nullptr, length, full, last);
    return steps;
}

} // namespace

TYPED_TEST(BufferWalk, VisitsEveryByteOnceInOrder)
{
    for (u32 length = 0; length <= 300; ++length)
    {
        const auto steps = StepsOf<TypeParam>(length, 1000);
        size_t reached = 0;
        for (size_t i = 0; i < steps.size(); ++i)
        {
            EXPECT_EQ(steps[i].first, reached) << length;
            EXPECT_TRUE(steps[i].second == 16 || (i + 1 == steps.size() && steps[i].second < 16)) << length;
            EXPECT_GT(steps[i].second, 0u);
            reached += steps[i].second;
        }
        EXPECT_EQ(reached, length);
    }
}

TYPED_TEST(BufferWalk, EndsWhereAStepSaysSo)
{
    for (u32 length = 1; length <= 300; ++length)
    {
        const size_t all = StepsOf<TypeParam>(length, 1000).size();
        for (size_t most = 1; most <= all; ++most)
            EXPECT_EQ(StepsOf<TypeParam>(length, most).size(), most) << length;
    }
}

TYPED_TEST(BufferWalk, ReachesTheEndOfTheLongestText)
{
    // Nothing is read: only the last offsets are kept.
    size_t lastFull = 0;
    size_t lastAt = 0;
    u32 lastCount = 0;
    const auto full = [&](size_t at, auto)
    {
        lastFull = at;
        return true;
    };
    const auto last = [&](size_t at, u32 count, auto)
    {
        lastAt = at;
        lastCount = count;
        return true;
    };
    Narrow::Kernels::WalkBlocks<TypeParam>(nullptr, 0xFFFFFFFFu, full, last);
    EXPECT_EQ(lastFull, 0xFFFFFFE0u);
    EXPECT_EQ(lastAt, 0xFFFFFFF0u);
    EXPECT_EQ(lastCount, 15u);
}

namespace
{

// The walks of the wider forms.
template <typename Form>
class BufferWalkWider : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!Form::IsAvailable())
            GTEST_SKIP() << "this machine has no such instructions";
    }
};

TYPED_TEST_SUITE(BufferWalkWider, CWiderForms, SFormNames);

// An address of nothing: a walk reads nothing itself.
const u8 *AddressOf(size_t address)
{
    return reinterpret_cast<const u8 *>(address);
}

} // namespace

TYPED_TEST(BufferWalkWider, VisitsEveryByteOnceInOrder)
{
    constexpr u32 kBytes = TypeParam::CKernels::kBlockBytes;
    // Past the length from which on a walk begins at a boundary.
    for (u32 length = 0; length <= 36 * kBytes; ++length)
    {
        for (size_t offset = 0; offset < kBytes; offset += 16)
        {
            const auto steps = TypeParam::CKernels::WalkSteps(AddressOf(4096 + offset), length, 10000);
            size_t reached = 0;
            for (const auto &step : steps)
            {
                ASSERT_EQ(step.first, reached) << length;
                const bool isLast = &step == &steps.back();
                ASSERT_TRUE(step.second == kBytes || step.second == 16 || (isLast && step.second < 16)) << length;
                ASSERT_GT(step.second, 0u);
                reached += step.second;
            }
            ASSERT_EQ(reached, length);
        }
    }
}

TYPED_TEST(BufferWalkWider, LongWalksTakeWideBlocksFromABoundaryOn)
{
    constexpr u32 kBytes = TypeParam::CKernels::kBlockBytes;
    for (size_t offset = 0; offset < kBytes; offset += 16)
    {
        const size_t address = 4096 + offset;
        for (const auto &step : TypeParam::CKernels::WalkSteps(AddressOf(address), 33 * kBytes, 10000))
        {
            if (step.second == kBytes)
            {
                ASSERT_EQ((address + step.first) % kBytes, 0u) << offset;
            }
        }
    }
}

TYPED_TEST(BufferWalkWider, WalksOfLessThan32BlocksTakeWideBlocksFromTheirBeginningOn)
{
    constexpr u32 kBytes = TypeParam::CKernels::kBlockBytes;
    for (size_t offset = 16; offset < kBytes; offset += 16)
    {
        const u8 *const data = AddressOf(4096 + offset);
        EXPECT_EQ(TypeParam::CKernels::WalkSteps(data, 32 * kBytes - 1, 10000).front().second, kBytes) << offset;
        EXPECT_EQ(TypeParam::CKernels::WalkSteps(data, 32 * kBytes, 10000).front().second, 16u) << offset;
    }
}

TYPED_TEST(BufferWalkWider, MisalignedTextsHaveNoBoundaryToReach)
{
    constexpr u32 kBytes = TypeParam::CKernels::kBlockBytes;
    for (size_t offset = 1; offset < 16; ++offset)
    {
        size_t reached = 0;
        size_t firstWide = 40 * kBytes;
        for (const auto &step : TypeParam::CKernels::WalkSteps(AddressOf(4096 + offset), 40 * kBytes + 5, 10000))
        {
            ASSERT_EQ(step.first, reached);
            reached += step.second;
            if (step.second == kBytes)
                firstWide = QVMin(firstWide, step.first);
        }
        ASSERT_EQ(reached, 40 * kBytes + 5);
        // No more of the tail's blocks than an aligned text has before a boundary.
        ASSERT_LE(firstWide, kBytes - 16) << offset;
    }
}

TYPED_TEST(BufferWalkWider, EndsWhereAStepSaysSo)
{
    constexpr u32 kBytes = TypeParam::CKernels::kBlockBytes;
    for (const u32 length : {1u, 16u, 3 * kBytes + 16, 8 * kBytes + kBytes - 1, 33 * kBytes + 17})
    {
        const u8 *const data = AddressOf(4096 + 16);
        const size_t all = TypeParam::CKernels::WalkSteps(data, length, 10000).size();
        for (size_t most = 1; most <= all; ++most)
            EXPECT_EQ(TypeParam::CKernels::WalkSteps(data, length, most).size(), most) << length;
    }
}
