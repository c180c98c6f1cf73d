// The offsets of occurrences that are kept while they are counted: in order, whatever their size, and as far as there is
// room for them.
#include "kr_string/match_offsets.h"

#include <vector>

#include <gtest/gtest.h>

namespace
{

using namespace Quorvane;
using Internal::String::CMatchOffsets;

std::vector<u32> FirstOf(const CMatchOffsets &offsets, u32 count)
{
    std::vector<u32> first;
    offsets.ForEach(count, [&](u32 offset) { first.push_back(offset); });
    return first;
}

std::vector<u32> ManyOffsets(u32 count)
{
    std::vector<u32> offsets;
    for (u32 i = 0; i < count; ++i)
        offsets.push_back(i % 300);
    return offsets;
}

void AddAll(CMatchOffsets &offsets, const std::vector<u32> &added)
{
    for (const u32 offset : added)
        offsets.Add(offset);
}

} // namespace

TEST(MatchOffsets, OffsetsOfEverySizeComeBackInOrder)
{
    const std::vector<u32> added = {0, 1, 254, 255, 256, 0x1234, 0xFFFE, 0xFFFF, 0};
    CMatchOffsets offsets;
    EXPECT_EQ(offsets.Count(), 0u);
    AddAll(offsets, added);
    EXPECT_EQ(offsets.Count(), 9u);
    EXPECT_EQ(FirstOf(offsets, 9), added);
    EXPECT_EQ(FirstOf(offsets, 4), (std::vector<u32>{0, 1, 254, 255}));
    EXPECT_TRUE(FirstOf(offsets, 0).empty());
}

TEST(MatchOffsets, NoneIsKeptBehindOneThatIsTooLarge)
{
    CMatchOffsets offsets;
    AddAll(offsets, {7, 0x10000, 8});
    EXPECT_EQ(FirstOf(offsets, offsets.Count()), std::vector<u32>{7});
}

TEST(MatchOffsets, RoomForManyIsOneTextsAtATimeAndGivenBack)
{
    const std::vector<u32> many = ManyOffsets(1000);
    {
        CMatchOffsets first;
        AddAll(first, many);
        EXPECT_EQ(first.Count(), 1000u);
        // A few are kept all the same.
        CMatchOffsets second;
        AddAll(second, many);
        EXPECT_LT(second.Count(), 1000u);
        EXPECT_GT(second.Count(), 50u);
        EXPECT_EQ(FirstOf(second, second.Count()), ManyOffsets(second.Count()));
        EXPECT_EQ(FirstOf(first, 1000), many);
    }
    CMatchOffsets third;
    AddAll(third, many);
    EXPECT_EQ(FirstOf(third, third.Count()), many);
}

// A short one takes one byte, a long one three; room for a long one has to be there.
TEST(MatchOffsets, TheRoomIsUsedAsLongAsAnyOffsetFits)
{
    using Internal::String::kSpareBytes;
    {
        CMatchOffsets offsets;
        AddAll(offsets, std::vector<u32>(kSpareBytes, 1));
        EXPECT_EQ(offsets.Count(), kSpareBytes - 2);
    }
    CMatchOffsets offsets;
    AddAll(offsets, std::vector<u32>(kSpareBytes, 1000));
    EXPECT_EQ(offsets.Count(), kSpareBytes / 3);
}
