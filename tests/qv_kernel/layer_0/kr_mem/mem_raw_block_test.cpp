// A block of working memory that is freed with its holder.
#include "kr_mem/mem_raw_block.h"

#include <vector>

#include <gtest/gtest.h>

#include "test_allocator.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using Quorvane::Internal::CRawBlock;

} // namespace

TEST(MemRawBlock, ItIsAskedForAsItIsMeantAndFreedWithItsHolder)
{
    const CTestAllocator allocator;
    void *data = nullptr;
    {
        const CRawBlock plain(100);
        data = plain.Data();
        const CRawBlock aligned(200, 64);
        EXPECT_NE(plain.Data(), nullptr);
        EXPECT_EQ(reinterpret_cast<ureg>(aligned.Data()) % 64, 0u);
        EXPECT_EQ(allocator.LiveBlocks(), 2u);
    }
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
    const std::vector<SAllocatorCall> calls = allocator.Calls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0].m_Size, 100u);
    EXPECT_EQ(calls[0].m_Alignment, 0u);
    EXPECT_EQ(calls[1].m_Size, 200u);
    EXPECT_EQ(calls[1].m_Alignment, 64u);
    EXPECT_EQ(calls[3].m_Kind, SAllocatorCall::Kind_Free);
    EXPECT_EQ(calls[3].m_Block, data);
}

TEST(MemRawBlock, IsNoneWhereMemoryIsRefused)
{
    CTestAllocator allocator;
    allocator.RefuseNth(1);
    const CRawBlock block(100);
    EXPECT_EQ(block.Data(), nullptr);
    EXPECT_EQ(CRawBlock().Data(), nullptr);
}

TEST(MemRawBlock, TwoExchangeTheirMemory)
{
    CRawBlock a(100);
    CRawBlock none;
    void *const data = a.Data();
    ASSERT_NE(data, nullptr);
    a.Swap(none);
    EXPECT_EQ(a.Data(), nullptr);
    EXPECT_EQ(none.Data(), data);
}

} // namespace QuorvaneTest
