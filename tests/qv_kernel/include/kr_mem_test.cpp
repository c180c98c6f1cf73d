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
    typedef void *(*FAlloc)(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag,
                            const char *file, u32 line, const char *function);
    typedef void *(*FRealloc)(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag,
                              const char *file, u32 line, const char *function);
    typedef void (*FFree)(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file,
                          u32 line, const char *function);
    EXPECT_TRUE((std::is_same<decltype(&Mem::_RawAlloc), FAlloc>::value));
    EXPECT_TRUE((std::is_same<decltype(&Mem::_RawRealloc), FRealloc>::value));
    EXPECT_TRUE((std::is_same<decltype(&Mem::_RawFree), FFree>::value));
    EXPECT_TRUE((std::is_same<decltype(&Mem::Free), void (*)(void *, Mem::EAllocType)>::value));
    EXPECT_TRUE((std::is_same<decltype(Mem::SAllocator::m_Alloc), FAlloc>::value));
    EXPECT_TRUE((std::is_same<decltype(Mem::SAllocator::m_Realloc), FRealloc>::value));
    EXPECT_TRUE((std::is_same<decltype(Mem::SAllocator::m_Free), FFree>::value));
}

TEST(Mem, AValueInitialisedAllocatorIsEmpty)
{
    const Mem::SAllocator allocator = Mem::SAllocator();
    EXPECT_EQ(allocator.m_Alloc, nullptr);
    EXPECT_EQ(allocator.m_Realloc, nullptr);
    EXPECT_EQ(allocator.m_Free, nullptr);
}

} // namespace QuorvaneTest
