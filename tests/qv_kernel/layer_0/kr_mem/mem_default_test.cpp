#include <malloc.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "child_process.h"
#include "kr_mem.h"
#include "kr_mem/mem_config.h"
#include "kr_mem/mem_large.h"
#include "kr_mem/mem_membership.h"
#include "kr_mem/mem_slabs.h"
#include "kr_mem/mem_thread_cache.h"
#include "small_blocks.h"
#include "system_limits.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

// 0, and all powers of two up to a page.
const std::vector<u32> kAlignments = {0, 1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096};

u8 *AllocDefault(u64 size, u32 alignment = 0, Mem::EOrigin origin = Mem::Origin_Alloc)
{
    return static_cast<u8 *>(
        Mem::_RawAlloc(size, alignment, Mem::AllocType_Generic, origin, "Test|Default", __FILE__, __LINE__, __func__));
}

u8 *ReallocDefault(void *block, u64 newSize, u32 alignment = 0)
{
    return static_cast<u8 *>(Mem::_RawRealloc(block, newSize, alignment, Mem::AllocType_Generic, "Test|Default",
                                              __FILE__, __LINE__, __func__));
}

void FreeDefault(void *block, Mem::EOrigin origin = Mem::Origin_Alloc)
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
                blocks.push_back(AllocDefault(size, alignment));
                ASSERT_NE(blocks.back(), nullptr);
                EXPECT_TRUE(IsAligned(blocks.back(), alignment)) << alignment << ", " << size;
                Fill(blocks.back(), size);
            }
            for (u8 *block : blocks)
            {
                EXPECT_TRUE(HoldsPattern(block, size));
                FreeDefault(block);
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
    void *const block = AllocDefault(32);
    ASSERT_NE(block, nullptr);
    Mem::Free(block, Mem::AllocType_Generic);
}

TEST(MemDefault, FreeingNullIsIgnored)
{
    FreeDefault(nullptr);
    FreeDefault(nullptr, Mem::Origin_New);
    Mem::Free(nullptr, Mem::AllocType_Generic);
}

// As an embedder's allocator may that hands everything on.
TEST(MemDefault, ItsOwnFunctionIgnoresNullToo)
{
    Mem::SFigures figures;
    if (Mem::LiveFigures(nullptr, figures))
        GTEST_SKIP() << "the tracker reports what it does not know";
    const CAssertRecorder recorder;
    const Mem::SAllocator standard = Mem::SetAllocator(Mem::SAllocator());
    standard.m_Free(nullptr, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(MemDefault, ABlockOfSize0IsABlock)
{
    for (const u32 alignment : kAlignments)
    {
        u8 *const a = AllocDefault(0, alignment);
        u8 *const b = AllocDefault(0, alignment);
        EXPECT_NE(a, nullptr);
        EXPECT_NE(b, nullptr);
        EXPECT_NE(a, b);
        EXPECT_TRUE(IsAligned(a, alignment));
        FreeDefault(a);
        FreeDefault(b);
    }
}

TEST(MemDefault, ReallocationTo0KeepsABlock)
{
    for (const u32 alignment : {0u, 16u, 64u})
    {
        u8 *const block = ReallocDefault(AllocDefault(100, alignment), 0, alignment);
        ASSERT_NE(block, nullptr);
        u8 *const again = ReallocDefault(block, 10, alignment);
        ASSERT_NE(again, nullptr);
        Fill(again, 10);
        FreeDefault(again);
    }
}

TEST(MemDefault, ReallocationOfNullAllocates)
{
    for (const u32 alignment : kAlignments)
    {
        u8 *const block = ReallocDefault(nullptr, 100, alignment);
        ASSERT_NE(block, nullptr);
        EXPECT_TRUE(IsAligned(block, alignment));
        Fill(block, 100);
        FreeDefault(block);
    }
}

TEST(MemDefault, ReallocationKeepsContentsUpToTheSmallerSize)
{
    for (const u32 alignment : kAlignments)
        for (const u64 oldSize : {1u, 15u, 16u, 17u, 1000u, 70000u})
            for (const u64 newSize : {1u, 15u, 16u, 17u, 1000u, 70000u, 200000u})
            {
                u8 *const block = AllocDefault(oldSize, alignment);
                ASSERT_NE(block, nullptr);
                Fill(block, oldSize);
                u8 *const moved = ReallocDefault(block, newSize, alignment);
                ASSERT_NE(moved, nullptr);
                EXPECT_TRUE(IsAligned(moved, alignment)) << alignment;
                EXPECT_TRUE(HoldsPattern(moved, oldSize < newSize ? oldSize : newSize))
                    << alignment << ": " << oldSize << " to " << newSize;
                Fill(moved, newSize);
                FreeDefault(moved);
            }
}

TEST(MemDefault, ReallocationGivesTheAlignmentItIsAskedFor)
{
    for (const u32 before : {0u, 16u, 64u, 4096u})
        for (const u32 after : kAlignments)
        {
            u8 *const block = AllocDefault(300, before);
            ASSERT_NE(block, nullptr);
            Fill(block, 300);
            u8 *const moved = ReallocDefault(block, 500, after);
            ASSERT_NE(moved, nullptr);
            EXPECT_TRUE(IsAligned(moved, after)) << before << " to " << after;
            EXPECT_TRUE(HoldsPattern(moved, 300));
            FreeDefault(moved);
        }
}

TEST(MemDefault, HugeSizesAreRefused)
{
    for (const u64 size : {~u64(0), ~u64(0) - 15, u64(1) << 63, (u64(1) << 63) - 1, u64(1) << 62})
        for (const u32 alignment : kAlignments)
        {
            EXPECT_EQ(AllocDefault(size, alignment), nullptr) << size << ", " << alignment;
            EXPECT_EQ(ReallocDefault(nullptr, size, alignment), nullptr) << size << ", " << alignment;
        }
}

TEST(MemDefault, ARefusedReallocationLeavesTheOldBlockValid)
{
    for (const u32 alignment : {0u, 16u, 64u, 4096u})
        for (const u64 size : {300u, 5000u})
        {
            u8 *const block = AllocDefault(size, alignment);
            ASSERT_NE(block, nullptr);
            Fill(block, size);
            for (const u64 newSize : {~u64(0), u64(1) << 63, (u64(1) << 63) - 1, u64(1) << 62})
                EXPECT_EQ(ReallocDefault(block, newSize, alignment), nullptr);
            EXPECT_TRUE(HoldsPattern(block, size));
            FreeDefault(block);
        }
}

// Classes of small blocks, the step to the platform's, and sizes well within each.
TEST(MemDefault, ReallocationKeepsContentsOverEveryStep)
{
    for (u64 oldSize = 1; oldSize <= 2200; oldSize += 45)
        for (u64 newSize = 1; newSize <= 2600; newSize += 45)
        {
            u8 *const block = AllocDefault(oldSize, 16);
            ASSERT_NE(block, nullptr);
            Fill(block, oldSize);
            u8 *const moved = ReallocDefault(block, newSize, 16);
            ASSERT_NE(moved, nullptr);
            EXPECT_TRUE(IsAligned(moved, 16));
            EXPECT_TRUE(HoldsPattern(moved, oldSize < newSize ? oldSize : newSize)) << oldSize << " to " << newSize;
            Fill(moved, newSize);
            EXPECT_TRUE(HoldsPattern(moved, newSize));
            FreeDefault(moved);
        }
}

namespace
{

// A text that grows by `step` characters at a time, in a buffer that asks for 256 more than it needs.
struct SGrowth
{
    u64 m_Moves;
    u64 m_BytesCopied;
};

SGrowth GrowTo(u64 length, u64 step, u32 alignment)
{
    SGrowth growth = {0, 0};
    u64 capacity = 16;
    u8 *block = AllocDefault(capacity, alignment);
    for (u64 cur = 0; cur < length; cur += step)
    {
        if (cur + step < capacity)
            continue;
        const u64 grown = (cur + step + 256 + 15) / 16 * 16;
        u8 *const moved = ReallocDefault(block, grown, alignment);
        if (moved != block)
            growth = {growth.m_Moves + 1, growth.m_BytesCopied + capacity};
        block = moved;
        capacity = grown;
    }
    FreeDefault(block);
    return growth;
}

} // namespace

TEST(MemDefault, AGrowingBlockIsCopiedAFewTimesHoweverLong)
{
    if (!Mem::Internal::MayKeepRoom())
        GTEST_SKIP() << "blocks are of exact sizes here";
    for (const u32 alignment : {0u, 16u, 64u})
        for (const u64 length : {4096u, 40000u, 400000u, 6500000u})
            for (const u64 step : {1u, 16u})
            {
                const SGrowth growth = GrowTo(length, step, alignment);
                EXPECT_LE(growth.m_BytesCopied, 4 * length) << length << " by " << step;
                EXPECT_LE(growth.m_Moves, 40u) << length << " by " << step;
            }
}

TEST(MemDefault, ABlockThatShrinksBelowHalfGivesRoomBack)
{
    if (!Mem::Internal::MayKeepRoom())
        GTEST_SKIP() << "blocks are of exact sizes here";
    for (const u64 size : {200u, 2000u, 100000u})
    {
        u8 *const block = AllocDefault(size, 16);
        Fill(block, size);
        u8 *const shrunk = ReallocDefault(block, size / 4, 16);
        ASSERT_NE(shrunk, nullptr);
        EXPECT_TRUE(HoldsPattern(shrunk, size / 4));
        const u64 room = Mem::Internal::IsSmallBlock(shrunk)
                             ? Mem::Internal::ClassBytes(Mem::Internal::ClassOfSmallBlock(shrunk))
                             : Mem::Internal::RoomOfLarge(shrunk);
        EXPECT_LE(room, size / 4 + 48);
        FreeDefault(shrunk);
    }
}

TEST(MemDefault, FreeingLargeBlocksByAddressGivesTheMemoryBack)
{
#if defined(__GLIBC__) && !QV_TEST_IS_SANITIZED
    constexpr size_t kBytes = 100000;
    FreeDefault(AllocDefault(kBytes, 16));
    const size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    for (int i = 0; i < 1000; ++i)
        FreeDefault(AllocDefault(kBytes, 16));
    EXPECT_LE(mallinfo2().uordblks + mallinfo2().hblkhd, before + 300 * kBytes);
#elif !QV_TEST_IS_SANITIZED
    // What lies in memory, where the system counts that rather than what was asked for.
    constexpr size_t kBytes = 100000;
    const auto use = []
    {
        u8 *const block = AllocDefault(kBytes, 16);
        std::memset(block, 1, kBytes);
        FreeDefault(block);
    };
    use();
    const u64 before = WritableBytes();
    ASSERT_NE(before, 0u);
    for (int i = 0; i < 1000; ++i)
        use();
    EXPECT_LE(WritableBytes(), before + 300 * kBytes);
#else
    GTEST_SKIP() << "a sanitizer keeps what is freed";
#endif
}

TEST(MemDefault, LargeBlocksLieWithinLinesOfTheCacheHoweverTheyCameAbout)
{
    if (!Mem::Internal::HasSmallBlocks())
        GTEST_SKIP() << "blocks are where the platform puts them here";
    std::vector<u8 *> between;
    for (u64 size = 2049; size < 3000000; size = size * 5 / 4 + 8)
    {
        u8 *block = AllocDefault(size, 16);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<ureg>(block) % 32, 0u) << size;
        EXPECT_GE(Mem::Internal::RoomOfLarge(block), size);
        Fill(block, size);
        // In the way of growing in place, and of a size that makes the next one lie the other way.
        between.push_back(static_cast<u8 *>(std::malloc(static_cast<size_t>(24 + 16 * (size % 2)))));
        for (const u64 newSize : {size * 3, size * 2, size * 9})
        {
            block = ReallocDefault(block, newSize, 16);
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(reinterpret_cast<ureg>(block) % 32, 0u) << newSize;
            EXPECT_GE(Mem::Internal::RoomOfLarge(block), newSize);
            ASSERT_TRUE(HoldsPattern(block, size)) << size << " to " << newSize;
        }
        between.push_back(block);
    }
    for (size_t i = 0; i < between.size(); ++i)
    {
        if (i % 2 == 0)
            std::free(between[i]);
        else
            FreeDefault(between[i]);
    }
}

// Wherever they begin in the platform's, and also where the alignment that they have anyway is asked for.
TEST(MemDefault, LargeBlocksShrinkWhereTheyAre)
{
#if defined(__GLIBC__) && !QV_TEST_IS_SANITIZED
    if (!Mem::Internal::HasSmallBlocks() || Mem::Internal::kWipes)
        GTEST_SKIP() << "the platform's own blocks, or what shrinks moves, so that it can be overwritten";
    std::vector<u8 *> blocks;
    u32 offsets = 0;
    for (u64 size = 20000; size < 20400; size += 16)
        for (const u32 alignment : {0u, 16u, 32u})
        {
            u8 *const block = AllocDefault(size, alignment);
            offsets |= Mem::Internal::HeadOf(block).m_Offset;
            Fill(block, size);
            EXPECT_EQ(ReallocDefault(block, 5000, alignment), block) << size << ", " << alignment;
            EXPECT_TRUE(HoldsPattern(block, 5000));
            blocks.push_back(block);
        }
    EXPECT_EQ(offsets, 16u | 32u);
    for (u8 *const block : blocks)
        FreeDefault(block);
#else
    GTEST_SKIP() << "what the platform does with what shrinks is not known here";
#endif
}

TEST(MemDefault, ABlockMayComeToAnotherAlignmentWhenItIsResized)
{
    for (const u32 from : {0u, 16u, 32u, 64u, 4096u})
    {
        for (const u32 to : {0u, 16u, 32u, 64u, 4096u})
        {
            for (const u64 size : {100u, 3000u, 200000u})
            {
                for (const u64 newSize : {size / 3, size * 4 / 5, size * 6 / 5, size * 3})
                {
                    u8 *const block = AllocDefault(size, from);
                    ASSERT_NE(block, nullptr);
                    EXPECT_TRUE(from == 0 || reinterpret_cast<ureg>(block) % from == 0) << from;
                    Fill(block, size);
                    u8 *const resized = ReallocDefault(block, newSize, to);
                    ASSERT_NE(resized, nullptr);
                    EXPECT_TRUE(to == 0 || reinterpret_cast<ureg>(resized) % to == 0) << from << " to " << to;
                    EXPECT_TRUE(HoldsPattern(resized, QVMin(size, newSize))) << from << " to " << to;
                    FreeDefault(resized);
                }
            }
        }
    }
}

namespace
{

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
    const s64 before = static_cast<s64>(ResidentBytes());
    EXPECT_GT(before, 0) << "the system tells nothing of this process' memory";
    u8 *const grown = static_cast<u8 *>(realloc(block, 2 * kBigBytes));
    const s64 taken = static_cast<s64>(ResidentBytes()) - before;
    EXPECT_EQ(grown[0], 1);
    EXPECT_EQ(grown[kBigBytes - 1], 2);
    free(grown);
    return taken;
}

} // namespace

TEST(MemDefault, ReallocationCopiesNoMoreThanThePlatformDoes)
{
    if (Mem::Internal::kWipes)
        GTEST_SKIP() << "what moves is copied here, so that it can be overwritten";
    const s64 platform =
        BytesTakenByDoubling([](u64 size) { return std::malloc(static_cast<size_t>(size)); },
                             [](void *block, u64 size) { return std::realloc(block, static_cast<size_t>(size)); },
                             [](void *block) { std::free(block); });
    for (const u32 alignment : {0u, 1u, 16u})
    {
        // What the platform's blocks do not have, it does not keep when it moves them.
        if (alignment > alignof(std::max_align_t))
            continue;
        const s64 ours =
            BytesTakenByDoubling([&](u64 size) { return AllocDefault(size, alignment); },
                                 [&](void *block, u64 size) { return ReallocDefault(block, size, alignment); },
                                 [](void *block) { FreeDefault(block); });
        // A quarter of a copy for whatever else happened meanwhile.
        EXPECT_LT(ours, platform + static_cast<s64>(kBigBytes / 4)) << "alignment " << alignment;
    }
}

#if !defined(QV_INTERNAL_SANITIZED)

TEST(MemDefault, AGrowthThatHasNoRoomToSpareGetsWhatItAskedFor)
{
    if (Mem::Internal::kWipes)
        GTEST_SKIP() << "what grows moves here, so that it can be overwritten";
    constexpr u64 kMiB = 1u << 20;
    const SChildResult child = RunInChild(
        []
        {
            u8 *const block = AllocDefault(200 * kMiB, 16);
            const u64 taken = AddressBytes();
            if (block == nullptr || taken == 0)
                return 1;
            // Enough for what is asked for, not for half as much again.
            if (!LimitAddresses(taken + 80 * kMiB))
                return kNoLimit;
            block[0] = 7;
            u8 *const grown = ReallocDefault(block, 250 * kMiB, 16);
            const bool isRight = grown != nullptr && grown[0] == 7 && ReallocDefault(grown, 400 * kMiB, 16) == nullptr;
            // Where leaks are reported at the end of a process, the test program's handler has ended by then.
            FreeDefault(grown != nullptr ? grown : block);
            return isRight ? 0 : 3;
        });
    if (child.m_ExitCode == kNoLimit)
        GTEST_SKIP() << "the system limits no memory, as in an emulator";
    EXPECT_EQ(child.m_ExitCode, 0);
}

#endif

} // namespace QuorvaneTest
