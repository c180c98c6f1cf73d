// Large blocks: what stands in front of them, and what is remembered of those that were freed.
#include "kr_mem/mem_large.h"

#include <cstring>
#include <set>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "kr_mem/mem_membership.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

constexpr u32 kPlaces = 4096;

// Where large blocks might begin. Nothing is read there.
const void *Place(u32 index)
{
    return reinterpret_cast<const void *>(static_cast<ureg>(0x10000000u + index * 4128u));
}

} // namespace

TEST(MemLarge, MarksDifferFromBlockToBlockInEachOfTheirBits)
{
    std::set<u32> marks;
    u32 set = 0;
    u32 cleared = 0;
    for (u32 i = 0; i < kPlaces; ++i)
    {
        const u32 mark = MarkOfLarge(Place(i));
        marks.insert(mark);
        set |= mark;
        cleared |= ~mark;
    }
    EXPECT_EQ(marks.size(), kPlaces);
    EXPECT_EQ(set, ~0u);
    EXPECT_EQ(cleared, ~0u);
}

TEST(MemLarge, FreedBlocksAreRememberedInAllPlacesThereAre)
{
    std::set<const TAtomic<ureg> *> slots;
    for (u32 i = 0; i < kPlaces; ++i)
        slots.insert(&FreedLargeSlot(Place(i)));
    EXPECT_EQ(slots.size(), 64u);
    EXPECT_EQ(*slots.begin(), &g_FreedLarge[0]);
    EXPECT_EQ(*slots.rbegin(), &g_FreedLarge[63]);
}

TEST(MemLarge, AFreedBlockIsRememberedUntilItIsForgottenOrAnotherTakesItsPlace)
{
    const void *const block = Place(0);
    u32 index = 1;
    while (&FreedLargeSlot(Place(index)) != &FreedLargeSlot(block))
        ++index;
    const void *const other = Place(index);
    const ureg before = FreedLargeSlot(block).Load();
    EXPECT_FALSE(WasFreedLately(block));
    RememberFreed(block);
    EXPECT_EQ(WasFreedLately(block), kSitesReport);
    EXPECT_FALSE(WasFreedLately(other));
    ForgetFreed(other);
    EXPECT_EQ(WasFreedLately(block), kSitesReport);
    ForgetFreed(block);
    EXPECT_FALSE(WasFreedLately(block));
    RememberFreed(block);
    RememberFreed(other);
    EXPECT_FALSE(WasFreedLately(block));
    EXPECT_EQ(WasFreedLately(other), kSitesReport);
    FreedLargeSlot(block).StoreReleased(before);
}

TEST(MemLarge, ABlockThatIsHandedOutIsNoneThatWasFreed)
{
    alignas(64) char memory[256] = {};
    for (const u32 offset : {16u, 32u})
    {
        RememberFreed(memory + offset);
        void *const block = PutHead(memory, offset, sizeof(memory));
        EXPECT_EQ(block, memory + offset);
        EXPECT_FALSE(WasFreedLately(block));
        EXPECT_TRUE(HasHead(block));
        EXPECT_EQ(HeadOf(block).m_Room, sizeof(memory) - offset);
        EXPECT_EQ(PlatformBlockOf(block), memory);
    }
}

TEST(MemLarge, ABlockWhoseResizingIsRefusedIsABlockAsBefore)
{
    if (!HasSmallBlocks())
        GTEST_SKIP() << "blocks have no heads here";
    constexpr u64 kMoreThanThereIs = u64(1) << 62;
    void *const block = AllocLarge(5000, 16);
    ASSERT_NE(block, nullptr);
    const u64 room = RoomOfLarge(block);
    EXPECT_EQ(ReallocLarge(block, room, kMoreThanThereIs), nullptr);
    EXPECT_TRUE(HasHead(block));
    EXPECT_FALSE(WasFreedLately(block));
    EXPECT_EQ(RoomOfLarge(block), room);
    FreeLarge(block);
    EXPECT_EQ(WasFreedLately(block), kSitesReport);
}

TEST(MemLarge, EachBlockHasItsAlignmentAndItsRoom)
{
    if (!HasSmallBlocks())
        GTEST_SKIP() << "blocks have no heads here";
    for (const u32 alignment : {0u, 16u, 32u, 64u, 4096u, 1u << 20})
        for (u64 size = 0; size < 3000; size += 100)
        {
            void *const block = AllocLarge(size, alignment);
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(reinterpret_cast<ureg>(block) % QVMax(alignment, 32u), 0u) << alignment;
            EXPECT_GE(RoomOfLarge(block), size);
            EXPECT_LE(RoomOfLarge(block), size + QVMax(alignment, 32u) - 16);
            std::memset(block, 1, static_cast<size_t>(RoomOfLarge(block)));
            FreeLarge(block);
        }
}

} // namespace QuorvaneTest
