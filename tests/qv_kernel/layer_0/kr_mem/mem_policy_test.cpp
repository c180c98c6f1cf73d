// Who serves small blocks: decided once in a process, so that what decides differently runs in one of its own.
#include "kr_mem/mem_policy.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "child_process.h"
#include "small_blocks.h"

namespace QuorvaneTest
{

namespace
{

using namespace SmallBlocks;

// The test program again, with this test alone: for what is decided once in a process.
int RunProbe(const char *test)
{
    const std::string filter = std::string("--gtest_filter=") + test;
    execl("/proc/self/exe", "probe", filter.c_str(), "--gtest_also_run_disabled_tests", static_cast<char *>(nullptr));
    return 99;
}

class MemPolicyOwn : public COwnTest
{
};

} // namespace

// Nothing but a sanitizer, valgrind, a machine with short addresses and what the build asks for takes them away.
TEST(MemPolicy, APlainBuildHasBlocksOfItsOwn)
{
    Mem::SFigures figures;
    const bool isTracking = Mem::LiveFigures(nullptr, figures);
    const char *const preloaded = std::getenv("LD_PRELOAD");
    if (QV_TEST_IS_SANITIZED || isTracking || sizeof(void *) < 8 || preloaded != nullptr)
        GTEST_SKIP() << "this is no plain build, or no plain run";
    // A build without assertions leaves all blocks to the platform, too.
    EXPECT_EQ(AreOurOwn(), kSitesReport);
}

TEST_F(MemPolicyOwn, UnderValgrindThePlatformServes)
{
    const SChildResult child = RunInChild(
        []
        {
            // The loader warns that there is no such file, and goes on.
            setenv("LD_PRELOAD", "/nowhere/vgpreload_core.so", 1);
            return RunProbe("MemPolicyProbe.DISABLED_ThePlatformServes");
        });
    EXPECT_EQ(child.m_ExitCode, 0) << child.m_Stderr;
}

// Run by the test above, in a process that is watched.
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
    for (u64 size = 0; size < 1200; ++size)
        Free(blocks[size], size);
    RawFree(RawRealloc(RawRealloc(RawAlloc(16), 272), 528));
}

} // namespace QuorvaneTest
