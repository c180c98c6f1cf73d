// The allocators at the edge keep their promises; without them the tests that use them would prove nothing.
#include "edge_allocators.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "kr_mem.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

void *Take(u64 size, u32 alignment)
{
    return Mem::_RawAlloc(size, alignment, Mem::AllocType_Generic, Mem::Origin_Alloc, "test", __FILE__, __LINE__, "");
}

TEST(EdgeAllocators, BlocksEndBeforeProtectedMemory)
{
    CPageEndAllocator allocator;
    for (const u64 size : {u64(1), u64(7), u64(16), u64(4096), u64(5000)})
    {
        char *block = static_cast<char *>(Take(size, 1));
        std::memset(block, 'x', static_cast<size_t>(size));
        EXPECT_TRUE(CGuardedPage::CanRead(block + size - 1));
        EXPECT_FALSE(CGuardedPage::CanRead(block + size));
        Mem::Free(block, Mem::AllocType_Generic);
    }
}

TEST(EdgeAllocators, BlocksAreAlignedAsAskedFor)
{
    CPageEndAllocator allocator;
    for (const u64 size : {u64(1), u64(16), u64(40), u64(48)})
    {
        void *block = Take(size, 16);
        EXPECT_TRUE(Mem::IsAligned<16>(block));
        Mem::Free(block, Mem::AllocType_Generic);
    }
    void *object = Take(40, 0);
    EXPECT_TRUE(Mem::IsAligned<8>(object));
    Mem::Free(object, Mem::AllocType_Generic);
}

TEST(EdgeAllocators, CharactersOfStringsEndBeforeProtectedMemory)
{
    CPageEndAllocator allocator;
    for (size_t length = 1; length <= 33; ++length)
    {
        const CString string = Fixed(std::string(length, 'x'));
        const char *behind = string.Data() + (length + 16) / 16 * 16;
        EXPECT_TRUE(CGuardedPage::CanRead(behind - 1));
        EXPECT_FALSE(CGuardedPage::CanRead(behind));
    }
}

TEST(EdgeAllocators, TheRequestsChosenAreRefusedAndTheOthersPassOn)
{
    const CChoosyAllocator choosy([](u64 nth, u64 size) { return nth == 2 || size == 100; });
    std::vector<bool> granted;
    for (const u64 size : {u64(1), u64(2), u64(3), u64(100), u64(5)})
    {
        void *block = Take(size, 0);
        granted.push_back(block != nullptr);
        Mem::Free(block, Mem::AllocType_Generic);
    }
    EXPECT_EQ(granted, (std::vector<bool>{true, false, true, false, true}));
    EXPECT_EQ(choosy.Sizes(), (std::vector<u64>{1, 2, 3, 100, 5}));
}

TEST(EdgeAllocators, TextsEndAtTheEndOfThePageOrBeforeIt)
{
    for (const size_t gap : {0u, 1u, 15u})
    {
        const CTextAtPageEnd text("abc", gap, '#');
        EXPECT_EQ(TextOf(text.View()), "abc");
        EXPECT_EQ(text.Data()[-1], '#');
        EXPECT_TRUE(CGuardedPage::CanRead(text.Data() + 2 + gap));
        EXPECT_FALSE(CGuardedPage::CanRead(text.Data() + 3 + gap));
    }
}

} // namespace
