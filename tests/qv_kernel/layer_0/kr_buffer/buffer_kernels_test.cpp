// The walk over blocks, which all kernels share.
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
    Internal::WalkBlocks<Block>(nullptr, length, full, last);
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
    Internal::WalkBlocks<TypeParam>(nullptr, 0xFFFFFFFFu, full, last);
    EXPECT_EQ(lastFull, 0xFFFFFFE0u);
    EXPECT_EQ(lastAt, 0xFFFFFFF0u);
    EXPECT_EQ(lastCount, 15u);
}
