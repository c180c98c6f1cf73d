#include "kr_mem/mem_slab_records.h"

#include <gtest/gtest.h>

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

} // namespace

TEST(MemSlabRecords, BlocksBeginWhereTheirClassSaysAndNowhereElse)
{
    for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
        for (u32 offset = 0; offset < kSlabBytes; ++offset)
        {
            if (IsStartOfBlock(offset, sizeClass) != (offset % ClassBytes(sizeClass) == 0))
                FAIL() << sizeClass << ", " << offset;
        }
}

TEST(MemSlabRecords, ABlockTellsItsChunkAndItsSlab)
{
    const ureg chunk = 5 * kChunkBytes;
    for (u32 slab = 0; slab < kSlabsPerChunk; ++slab)
        for (const ureg offset : {ureg(0), ureg(1), ureg(16), kSlabBytes - 16, kSlabBytes - 1})
        {
            const void *const block = reinterpret_cast<void *>(chunk + slab * kSlabBytes + offset);
            ASSERT_EQ(reinterpret_cast<ureg>(ChunkOf(block)), chunk);
            ASSERT_EQ(SlabIndexOf(block), slab);
            ASSERT_EQ(&SlabOf(block), &reinterpret_cast<SChunk *>(chunk)->m_Slabs[slab]);
        }
}

// Threads change the states of neighbours at once.
TEST(MemSlabRecords, ASlabsRecordSharesNoLineOfTheCache)
{
    EXPECT_EQ(sizeof(SSlab) % 64, 0u);
    EXPECT_EQ(offsetof(SChunk, m_Slabs) % 64, 0u);
}

} // namespace QuorvaneTest
