#include "kr_mem.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace QuorvaneTest
{

using namespace Quorvane;

TEST(Mem, AllocationTypesHaveTheirValues)
{
    EXPECT_EQ(u32(Mem::AllocType_Generic), 0u);
    EXPECT_EQ(u32(Mem::AllocType_Particle), 1u);
    EXPECT_EQ(u32(Mem::AllocType_Scratch), 2u);
    EXPECT_EQ(u32(Mem::AllocType_Debug), 3u);
}

TEST(Mem, OriginsHaveTheirValues)
{
    EXPECT_EQ(u32(Mem::Origin_Alloc), 0u);
    EXPECT_EQ(u32(Mem::Origin_New), 0x80000000u);
    EXPECT_EQ(u32(Mem::_Origin_Mask), 0x80000000u);
}

// An embedder compiles against these; a changed parameter would be converted silently.
TEST(Mem, TheFunctionsTakeTheirArgumentsInTheContractsOrder)
{
    using FAlloc = void *(*)(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag,
                             const char *file, u32 line, const char *function);
    using FRealloc = void *(*)(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag,
                               const char *file, u32 line, const char *function);
    using FFree = void (*)(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file,
                           u32 line, const char *function);
    EXPECT_TRUE((std::is_same<decltype(Mem::SAllocator::m_Alloc), FAlloc>::value));
    EXPECT_TRUE((std::is_same<decltype(Mem::SAllocator::m_Realloc), FRealloc>::value));
    EXPECT_TRUE((std::is_same<decltype(Mem::SAllocator::m_Free), FFree>::value));
    // The library's own, which do not throw, can stand in an allocator.
    const FAlloc alloc = &Mem::_RawAlloc;
    const FRealloc realloc = &Mem::_RawRealloc;
    const FFree free = &Mem::_RawFree;
    void (*const freePlain)(void *, Mem::EAllocType) = &Mem::Free;
    void *block = alloc(8, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, "tag", __FILE__, __LINE__, __func__);
    block = realloc(block, 16, 0, Mem::AllocType_Generic, "tag", __FILE__, __LINE__, __func__);
    EXPECT_NE(block, nullptr);
    free(block, Mem::AllocType_Generic, Mem::Origin_Alloc, "tag", __FILE__, __LINE__, __func__);
    freePlain(nullptr, Mem::AllocType_Generic);
}

TEST(Mem, AValueInitialisedAllocatorIsEmpty)
{
    const Mem::SAllocator allocator = Mem::SAllocator();
    EXPECT_EQ(allocator.m_Alloc, nullptr);
    EXPECT_EQ(allocator.m_Realloc, nullptr);
    EXPECT_EQ(allocator.m_Free, nullptr);
}

} // namespace QuorvaneTest
