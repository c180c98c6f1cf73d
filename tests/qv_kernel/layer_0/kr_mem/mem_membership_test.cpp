// Which allocator this copy of the library uses. Processes in which nobody has joined yet are in tests/drivers; several
// copies in one process in tests/consumer.
#include "kr_mem/mem_membership.h"

#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "small_blocks.h"
#include "test_allocator.h"

namespace QuorvaneTest
{

namespace
{

using namespace SmallBlocks;

class MemMembershipOwn : public COwnTest
{
};

} // namespace

TEST(MemMembership, AReplacementGetsEveryArgument)
{
    CTestAllocator allocator;
    u8 *const block = Alloc(64);
    Free(block, 64);
    const std::vector<SAllocatorCall> calls = allocator.Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].m_Kind, SAllocatorCall::Kind_Alloc);
    EXPECT_EQ(calls[0].m_Size, 64u);
    EXPECT_EQ(calls[0].m_Alignment, 16u);
    EXPECT_EQ(calls[0].m_Type, Mem::AllocType_Generic);
    EXPECT_EQ(calls[0].m_Origin, Mem::Origin_New);
    EXPECT_EQ(calls[0].m_Tag, "Test|Small");
    EXPECT_EQ(calls[0].m_File, "file.cpp");
    EXPECT_EQ(calls[0].m_Line, 11u);
    EXPECT_EQ(calls[0].m_Function, "Make");
    EXPECT_EQ(calls[1].m_Kind, SAllocatorCall::Kind_Free);
    EXPECT_EQ(calls[1].m_Block, block);
    EXPECT_EQ(calls[1].m_Origin, Mem::Origin_New);
    EXPECT_EQ(calls[1].m_Line, 22u);
    EXPECT_EQ(calls[1].m_Function, "Drop");
}

TEST(MemMembership, TheDefaultsFunctionsInstalledByHandAreTheDefault)
{
    Free(Alloc(1), 1);
    const bool before = UsesFastPath();
    const Mem::SAllocator standard = Mem::SetAllocator(Mem::SAllocator());
    {
        const CTestAllocator allocator;
        EXPECT_FALSE(UsesFastPath());
    }
    EXPECT_EQ(UsesFastPath(), before);
    Mem::SetAllocator(standard);
    EXPECT_EQ(UsesFastPath(), before);
}

// A thread opens the fast path a moment before it has recorded the policy. Another one may free a block of another copy
// of the library meanwhile.
TEST_F(MemMembershipOwn, BlocksAreKnownBeforeThePolicyIsRecorded)
{
    const CAssertRecorder recorder;
    u8 *const block = Alloc(2000);
    g_Policy.Store(Policy_Undecided);
    g_SmallRangeKnown.Store(0);
    EXPECT_TRUE(IsSmallBlock(block));
    g_SmallRangeKnown.Store(0);
    RawFree(block, Mem::Origin_New);
    g_Policy.Store(Policy_Slabs);
    EXPECT_EQ(recorder.Count(), 0u);
    u8 *const again = Alloc(2000);
    EXPECT_EQ(again, block);
    Free(again, 2000);
}

} // namespace QuorvaneTest
