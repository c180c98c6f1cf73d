// Who serves small blocks: decided once in a process, so that what decides differently runs in one of its own.
#include "kr_mem/mem_policy.h"

#include <cstdlib>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "child_process.h"
#include "kr_mem/mem_fast_path.h"
#include "small_blocks.h"

namespace QuorvaneTest
{

namespace
{

using namespace SmallBlocks;

class MemPolicyOwn : public COwnTest
{
};

#if QV_TEST_HAS_PRELOADING

// Runs a probe in a process for which valgrind seems to be preloaded.
void ExpectUnderValgrind(const char *probe)
{
    const SChildResult child = RunInChild(
        [=]
        {
            // The loader warns that there is no such file, and goes on.
            setenv("LD_PRELOAD", "/nowhere/vgpreload_core.so", 1);
            return RunProbe(probe);
        });
    EXPECT_EQ(child.m_ExitCode, 0) << child.m_Stderr;
}

#else

void ExpectUnderValgrind(const char *)
{
    GTEST_SKIP() << QV_TEST_NO_PRELOADING;
}

#endif

} // namespace

TEST(MemPolicyClasses, EverySizeHasTheSmallestClassThatHoldsIt)
{
    EXPECT_EQ(SmallClass(0), 0u);
    for (u64 size = 1; size <= kMaxSmallBytes; ++size)
    {
        const u32 sizeClass = SmallClass(size);
        ASSERT_LT(sizeClass, kSmallClassCount);
        ASSERT_GE(ClassBytes(sizeClass), size);
        ASSERT_LT(ClassBytes(sizeClass - 1), size);
    }
}

TEST(MemPolicyClasses, LessThanAnEighthOfABlockIsUnusedButByRoundingToTheAlignment)
{
    for (u64 size = 1; size <= kMaxSmallBytes; ++size)
    {
        const u64 aligned = (size + 15) / 16 * 16;
        ASSERT_LT(ClassBytes(SmallClass(size)) - aligned, (aligned + 7) / 8) << size;
    }
}

TEST(MemPolicyClasses, AThreadKeepsABoundedPartOfMemoryAndMovesAFewBlocksAtATime)
{
    EXPECT_EQ(BatchBlocks(0), 0u);
    EXPECT_EQ(KeptBlocks(0), 0u);
    u64 bytes = 0;
    for (u32 sizeClass = 1; sizeClass < kSmallClassCount; ++sizeClass)
    {
        bytes += KeptBlocks(sizeClass) * ClassBytes(sizeClass);
        EXPECT_GE(BatchBlocks(sizeClass), 1u);
        EXPECT_LE(2 * BatchBlocks(sizeClass), KeptBlocks(sizeClass));
        EXPECT_LE(BatchBlocks(sizeClass), 8u);
        EXPECT_LE(BatchBlocks(sizeClass) * ClassBytes(sizeClass), 2048u);
    }
    EXPECT_LE(bytes, 320u << 10);
    EXPECT_LE(bytes + kMaxRaisesOfThread * kKeptBytesPerClass, kMostCachedBytes);
    EXPECT_LE(kKeptBytesPerClass * (1 + kMaxRaises), kMostCachedBytesPerClass);
}

// Nothing but a sanitizer, valgrind, a machine with short addresses and what the build asks for takes them away.
TEST(MemPolicy, APlainBuildHasBlocksOfItsOwn)
{
    Mem::SFigures figures;
    const bool isTracking = Mem::LiveFigures(nullptr, figures);
    const char *const preloaded = std::getenv("LD_PRELOAD");
    if (QV_TEST_IS_SANITIZED || isTracking || sizeof(void *) < 8 || preloaded != nullptr)
        GTEST_SKIP() << "this is no plain build, or no plain run";
    EXPECT_EQ(AreOurOwn(), QV_TEST_MEM_CACHE != 0);
    EXPECT_EQ(UsesFastPath(), QV_TEST_MEM_CACHE != 0);
}

TEST(MemPolicy, WhereTheTrackerLooksAtEachBlockThePlatformServes)
{
    Mem::SFigures figures;
    if (!Mem::LiveFigures(nullptr, figures))
        GTEST_SKIP() << "the library was built without tracking";
    EXPECT_TRUE(IsWatched());
    EXPECT_FALSE(HasSmallBlocks());
    EXPECT_FALSE(LargeBlocksHaveHeads());
}

// A tool that is preloaded is known by its name.
TEST_F(MemPolicyOwn, UnderValgrindThePlatformServes)
{
    ExpectUnderValgrind("MemPolicyProbe.DISABLED_ThePlatformServes");
}

TEST_F(MemPolicyOwn, UnderValgrindNothingIsReadInFrontOfABlock)
{
    ExpectUnderValgrind("MemPolicyProbe.DISABLED_NothingIsReadInFrontOfABlock");
}

// Run by the tests above, in a process that is watched.

TEST(MemPolicyProbe, DISABLED_NothingIsReadInFrontOfABlock)
{
    u8 *const first = Alloc(16);
    alignas(kSmallStep) char memory[4 * kSmallStep] = {};
    EXPECT_FALSE(HasRoomToGrow(PutHead(memory, kSmallStep, sizeof(memory)), 1));
    Free(first, 16);
}

TEST(MemPolicyProbe, DISABLED_ThePlatformServes)
{
    std::vector<u8 *> blocks;
    for (u64 size = 0; size < 1200; ++size)
    {
        blocks.push_back(Alloc(size));
        ASSERT_NE(blocks.back(), nullptr);
        ASSERT_FALSE(IsSmallBlock(blocks.back()));
        std::memset(blocks.back(), 1, static_cast<size_t>(size));
    }
    for (size_t size = 0; size < 1200; ++size)
        Free(blocks[size], size);
    RawFree(RawRealloc(RawRealloc(RawAlloc(16), 272), 528));
}

} // namespace QuorvaneTest
