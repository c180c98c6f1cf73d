#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "kr_mem.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

// 0, and all powers of two up to a page.
const std::vector<u32> kAlignments = {0, 1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096};

u8 *Alloc(u64 size, u32 alignment = 0, Mem::EOrigin origin = Mem::Origin_Alloc)
{
    return static_cast<u8 *>(
        Mem::_RawAlloc(size, alignment, Mem::AllocType_Generic, origin, "Test|Default", __FILE__, __LINE__, __func__));
}

u8 *Realloc(void *block, u64 newSize, u32 alignment = 0)
{
    return static_cast<u8 *>(Mem::_RawRealloc(block, newSize, alignment, Mem::AllocType_Generic, "Test|Default",
                                              __FILE__, __LINE__, __func__));
}

void Free(void *block, Mem::EOrigin origin = Mem::Origin_Alloc)
{
    Mem::_RawFree(block, Mem::AllocType_Generic, origin, "Test|Default", __FILE__, __LINE__, __func__);
}

bool IsAligned(const void *block, u32 alignment)
{
    const u32 least = alignment != 0 ? alignment : static_cast<u32>(alignof(std::max_align_t));
    return reinterpret_cast<std::uintptr_t>(block) % least == 0;
}

// A pattern that a shifted or truncated copy does not match.
u8 PatternAt(u64 index)
{
    return static_cast<u8>(index * 7 + index / 251 + 1);
}

void Fill(u8 *block, u64 size)
{
    for (u64 i = 0; i < size; ++i)
        block[i] = PatternAt(i);
}

bool HoldsPattern(const u8 *block, u64 size)
{
    for (u64 i = 0; i < size; ++i)
        if (block[i] != PatternAt(i))
            return false;
    return true;
}

} // namespace

TEST(MemDefault, BlocksHaveTheirAlignment)
{
    for (const u32 alignment : kAlignments)
        for (const u64 size : {1u, 15u, 16u, 100u, 5000u})
        {
            // Several, since one may be aligned by chance.
            std::vector<u8 *> blocks;
            for (int i = 0; i < 8; ++i)
            {
                blocks.push_back(Alloc(size, alignment));
                ASSERT_NE(blocks.back(), nullptr);
                EXPECT_TRUE(IsAligned(blocks.back(), alignment)) << alignment << ", " << size;
                Fill(blocks.back(), size);
            }
            for (u8 *block : blocks)
            {
                EXPECT_TRUE(HoldsPattern(block, size));
                Free(block);
            }
        }
}

TEST(MemDefault, ObjectsAndRawBlocksOfEveryTypeAreServed)
{
    for (const Mem::EOrigin origin : {Mem::Origin_Alloc, Mem::Origin_New})
        for (const Mem::EAllocType type :
             {Mem::AllocType_Generic, Mem::AllocType_Particle, Mem::AllocType_Scratch, Mem::AllocType_Debug})
        {
            void *const block = Mem::_RawAlloc(32, 16, type, origin, "Test|Default", __FILE__, __LINE__, __func__);
            ASSERT_NE(block, nullptr);
            std::memset(block, 1, 32);
            Mem::_RawFree(block, type, origin, "Test|Default", __FILE__, __LINE__, __func__);
        }
}

TEST(MemDefault, FreeFreesARawBlock)
{
    void *const block = Alloc(32);
    ASSERT_NE(block, nullptr);
    Mem::Free(block, Mem::AllocType_Generic);
}

TEST(MemDefault, FreeingNullIsIgnored)
{
    Free(nullptr);
    Free(nullptr, Mem::Origin_New);
    Mem::Free(nullptr, Mem::AllocType_Generic);
}

TEST(MemDefault, ABlockOfSize0IsABlock)
{
    for (const u32 alignment : kAlignments)
    {
        u8 *const a = Alloc(0, alignment);
        u8 *const b = Alloc(0, alignment);
        EXPECT_NE(a, nullptr);
        EXPECT_NE(b, nullptr);
        EXPECT_NE(a, b);
        EXPECT_TRUE(IsAligned(a, alignment));
        Free(a);
        Free(b);
    }
}

TEST(MemDefault, ReallocationTo0KeepsABlock)
{
    for (const u32 alignment : {0u, 16u, 64u})
    {
        u8 *const block = Realloc(Alloc(100, alignment), 0, alignment);
        ASSERT_NE(block, nullptr);
        u8 *const again = Realloc(block, 10, alignment);
        ASSERT_NE(again, nullptr);
        Fill(again, 10);
        Free(again);
    }
}

TEST(MemDefault, ReallocationOfNullAllocates)
{
    for (const u32 alignment : kAlignments)
    {
        u8 *const block = Realloc(nullptr, 100, alignment);
        ASSERT_NE(block, nullptr);
        EXPECT_TRUE(IsAligned(block, alignment));
        Fill(block, 100);
        Free(block);
    }
}

TEST(MemDefault, ReallocationKeepsContentsUpToTheSmallerSize)
{
    for (const u32 alignment : kAlignments)
        for (const u64 oldSize : {1u, 15u, 16u, 17u, 1000u, 70000u})
            for (const u64 newSize : {1u, 15u, 16u, 17u, 1000u, 70000u, 200000u})
            {
                u8 *const block = Alloc(oldSize, alignment);
                ASSERT_NE(block, nullptr);
                Fill(block, oldSize);
                u8 *const moved = Realloc(block, newSize, alignment);
                ASSERT_NE(moved, nullptr);
                EXPECT_TRUE(IsAligned(moved, alignment)) << alignment;
                EXPECT_TRUE(HoldsPattern(moved, oldSize < newSize ? oldSize : newSize))
                    << alignment << ": " << oldSize << " to " << newSize;
                Fill(moved, newSize);
                Free(moved);
            }
}

TEST(MemDefault, ReallocationGivesTheAlignmentItIsAskedFor)
{
    for (const u32 before : {0u, 16u, 64u, 4096u})
        for (const u32 after : kAlignments)
        {
            u8 *const block = Alloc(300, before);
            ASSERT_NE(block, nullptr);
            Fill(block, 300);
            u8 *const moved = Realloc(block, 500, after);
            ASSERT_NE(moved, nullptr);
            EXPECT_TRUE(IsAligned(moved, after)) << before << " to " << after;
            EXPECT_TRUE(HoldsPattern(moved, 300));
            Free(moved);
        }
}

TEST(MemDefault, HugeSizesAreRefused)
{
    for (const u64 size : {~u64(0), ~u64(0) - 15, u64(1) << 63, (u64(1) << 63) - 1, u64(1) << 62})
        for (const u32 alignment : kAlignments)
        {
            EXPECT_EQ(Alloc(size, alignment), nullptr) << size << ", " << alignment;
            EXPECT_EQ(Realloc(nullptr, size, alignment), nullptr) << size << ", " << alignment;
        }
}

TEST(MemDefault, ARefusedReallocationLeavesTheOldBlockValid)
{
    for (const u32 alignment : {0u, 16u, 64u, 4096u})
    {
        u8 *const block = Alloc(300, alignment);
        ASSERT_NE(block, nullptr);
        Fill(block, 300);
        for (const u64 size : {~u64(0), u64(1) << 63, u64(1) << 62})
            EXPECT_EQ(Realloc(block, size, alignment), nullptr);
        EXPECT_TRUE(HoldsPattern(block, 300));
        Free(block);
    }
}

#if defined(__linux__)

namespace
{

// Bytes of this process that lie in physical memory.
s64 ResidentBytes()
{
    std::FILE *const file = std::fopen("/proc/self/statm", "r");
    long long total = 0;
    long long resident = 0;
    if (file == nullptr || std::fscanf(file, "%lld %lld", &total, &resident) != 2)
        ADD_FAILURE() << "the kernel tells nothing of this process' memory";
    if (file != nullptr)
        std::fclose(file);
    return resident * sysconf(_SC_PAGESIZE);
}

constexpr u64 kBigBytes = 64ull << 20;

// How much physical memory it takes to double a big block that was hardly touched. A copy fills its target.
template <typename AllocFunction, typename ReallocFunction, typename FreeFunction>
s64 BytesTakenByDoubling(const AllocFunction &alloc, const ReallocFunction &realloc, const FreeFunction &free)
{
    u8 *const block = static_cast<u8 *>(alloc(kBigBytes));
    if (block == nullptr)
        return 0;
    block[0] = 1;
    block[kBigBytes - 1] = 2;
    const s64 before = ResidentBytes();
    u8 *const grown = static_cast<u8 *>(realloc(block, 2 * kBigBytes));
    const s64 taken = ResidentBytes() - before;
    EXPECT_EQ(grown[0], 1);
    EXPECT_EQ(grown[kBigBytes - 1], 2);
    free(grown);
    return taken;
}

} // namespace

TEST(MemDefault, ReallocationCopiesNoMoreThanThePlatformDoes)
{
    const s64 platform =
        BytesTakenByDoubling([](u64 size) { return std::malloc(static_cast<size_t>(size)); },
                             [](void *block, u64 size) { return std::realloc(block, static_cast<size_t>(size)); },
                             [](void *block) { std::free(block); });
    for (const u32 alignment : {0u, 1u, 16u})
    {
        const s64 ours = BytesTakenByDoubling([&](u64 size) { return Alloc(size, alignment); },
                                              [&](void *block, u64 size) { return Realloc(block, size, alignment); },
                                              [](void *block) { Free(block); });
        // A quarter of a copy for whatever else happened meanwhile.
        EXPECT_LT(ours, platform + static_cast<s64>(kBigBytes / 4)) << "alignment " << alignment;
    }
}

#endif

} // namespace QuorvaneTest
