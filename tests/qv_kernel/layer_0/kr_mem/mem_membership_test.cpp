// Which allocator this copy of the library uses. Processes in which nobody has joined yet are in tests/drivers; several
// copies in one process in tests/consumer.
#include "kr_mem/mem_membership.h"

#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "kr_mem/mem_process.h"
#include "small_blocks.h"
#include "test_allocator.h"

namespace QuorvaneTest
{

namespace
{

using namespace SmallBlocks;

// What other copies of the library in the process were told to use at last, and how often.
Mem::SAllocator g_Told = {};
bool g_IsToldOfDefault = false;
u32 g_TimesTold = 0;

void TellOtherCopy(const Mem::SAllocator *allocator)
{
    g_IsToldOfDefault = allocator == nullptr;
    g_Told = allocator != nullptr ? *allocator : Mem::SAllocator{};
    ++g_TimesTold;
}

class MemMembershipOwn : public COwnTest
{
};

// With two further copies in the process, one that came before this one and one that came after it.
class MemMembershipOfCopies : public COwnTest
{
protected:
    void SetUp() override
    {
        COwnTest::SetUp();
        if (IsSkipped())
            return;
        g_TimesTold = 0;
        const CSharedGuard guard;
        m_Own = Process().m_Copies;
        ASSERT_EQ(m_Own->m_Next, nullptr);
        m_Own->m_Next = &m_Later;
        m_Earlier.m_Next = m_Own;
        Process().m_Copies = &m_Earlier;
    }
    void TearDown() override
    {
        if (m_Own == nullptr)
            return;
        const CSharedGuard guard;
        m_Own->m_Next = nullptr;
        Process().m_Copies = m_Own;
    }

private:
    SCopy *m_Own = nullptr;
    SCopy m_Earlier = {&TellOtherCopy, nullptr};
    SCopy m_Later = {&TellOtherCopy, nullptr};
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

TEST_F(MemMembershipOfCopies, WhatIsInstalledIsUsedByAllOfThem)
{
    // Asked for nothing here.
    Mem::SAllocator allocator = Mem::SetAllocator(Mem::SAllocator());
    allocator.m_Alloc = [](u64, u32, Mem::EAllocType, Mem::EOrigin, const char *, const char *, u32,
                           const char *) -> void * { return nullptr; };
    g_TimesTold = 0;
    Mem::SetAllocator(allocator);
    EXPECT_EQ(g_TimesTold, 2u);
    EXPECT_EQ(g_Told.m_Alloc, allocator.m_Alloc);
    EXPECT_EQ(g_Told.m_Realloc, allocator.m_Realloc);
    EXPECT_EQ(g_Told.m_Free, allocator.m_Free);
    EXPECT_TRUE(Process().m_IsReplaced);
    EXPECT_EQ(Process().m_Allocator.m_Alloc, allocator.m_Alloc);
    EXPECT_EQ(Process().m_Allocator.m_Free, allocator.m_Free);
    Mem::SetAllocator(Mem::SAllocator());
    EXPECT_EQ(g_TimesTold, 4u);
    EXPECT_TRUE(g_IsToldOfDefault);
    EXPECT_FALSE(Process().m_IsReplaced);
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
