// Figures and misuse reports of the default allocator. Whether it tracks is a matter of how the library was built, so
// the tests ask it.
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "child_process.h"
#include "kr_mem.h"
#include "process_copy.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

const char kTrackedTag[] = "Test|Tracking";
const char kOtherTag[] = "Test|Tracking|Other";
const char kAllocFile[] = "made_here.cpp";
const char kReallocFile[] = "resized_here.cpp";
const char kFreeFile[] = "freed_here.cpp";

bool IsTracking()
{
    Mem::SFigures figures;
    return Mem::LiveFigures(nullptr, figures);
}

Mem::SFigures Figures(const char *tag)
{
    Mem::SFigures figures = {};
    Mem::LiveFigures(tag, figures);
    return figures;
}

void *AllocTracked(u64 size, const char *tag = kTrackedTag, Mem::EOrigin origin = Mem::Origin_Alloc)
{
    return Mem::_RawAlloc(size, 0, Mem::AllocType_Generic, origin, tag, kAllocFile, 1234, "Make");
}

void *ReallocTracked(void *block, u64 size, u32 alignment = 0)
{
    return Mem::_RawRealloc(block, size, alignment, Mem::AllocType_Generic, kTrackedTag, kReallocFile, 2345, "Resize");
}

void FreeTracked(void *block, Mem::EOrigin origin = Mem::Origin_Alloc)
{
    Mem::_RawFree(block, Mem::AllocType_Generic, origin, kTrackedTag, kFreeFile, 3456, "Drop");
}

bool Mentions(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

u32 CountOf(const std::string &text, const std::string &part)
{
    u32 count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

// For the tests that need a tracking build.
class MemTracking : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!IsTracking())
            GTEST_SKIP() << "the library was built without tracking";
    }
};

} // namespace

TEST(MemTrackingOff, WithoutTrackingThereAreNoFigures)
{
    if (IsTracking())
        GTEST_SKIP() << "the library was built with tracking";
    void *const block = AllocTracked(100);
    for (const char *const tag : {static_cast<const char *>(nullptr), kTrackedTag})
    {
        Mem::SFigures figures = {5, 6};
        EXPECT_FALSE(Mem::LiveFigures(tag, figures));
        EXPECT_EQ(figures.m_LiveBlocks, 0u);
        EXPECT_EQ(figures.m_LiveBytes, 0u);
    }
    FreeTracked(block);
}

TEST_F(MemTracking, FiguresCountLiveBlocksAndTheirBytesByTag)
{
    void *const a = AllocTracked(100);
    void *const b = AllocTracked(20, kTrackedTag, Mem::Origin_New);
    void *const c = AllocTracked(3, kOtherTag);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 2u);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBytes, 120u);
    EXPECT_EQ(Figures(kOtherTag).m_LiveBlocks, 1u);
    EXPECT_EQ(Figures(kOtherTag).m_LiveBytes, 3u);
    FreeTracked(a);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 1u);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBytes, 20u);
    FreeTracked(b, Mem::Origin_New);
    FreeTracked(c);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 0u);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBytes, 0u);
    EXPECT_EQ(Figures(kOtherTag).m_LiveBlocks, 0u);
}

TEST_F(MemTracking, NullAsksForAllTags)
{
    const Mem::SFigures before = Figures(nullptr);
    void *const a = AllocTracked(100);
    void *const b = AllocTracked(20, kOtherTag);
    EXPECT_EQ(Figures(nullptr).m_LiveBlocks, before.m_LiveBlocks + 2);
    EXPECT_EQ(Figures(nullptr).m_LiveBytes, before.m_LiveBytes + 120);
    FreeTracked(a);
    FreeTracked(b);
    EXPECT_EQ(Figures(nullptr).m_LiveBlocks, before.m_LiveBlocks);
    EXPECT_EQ(Figures(nullptr).m_LiveBytes, before.m_LiveBytes);
}

TEST_F(MemTracking, TagsAreComparedAsText)
{
    const std::string sameText(kTrackedTag);
    void *const block = AllocTracked(100);
    EXPECT_EQ(Figures(sameText.c_str()).m_LiveBlocks, 1u);
    FreeTracked(block);
}

TEST_F(MemTracking, ABlockMayHaveNoTag)
{
    const Mem::SFigures before = Figures(nullptr);
    void *const block = AllocTracked(100, nullptr);
    EXPECT_EQ(Figures(nullptr).m_LiveBlocks, before.m_LiveBlocks + 1);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 0u);
    FreeTracked(block);
}

TEST_F(MemTracking, ReallocationChangesTheBytesOfItsBlock)
{
    for (const u32 alignment : {0u, 64u})
    {
        void *block = ReallocTracked(nullptr, 10, alignment);
        EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 1u);
        EXPECT_EQ(Figures(kTrackedTag).m_LiveBytes, 10u);
        block = ReallocTracked(block, 100000, alignment);
        EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 1u);
        EXPECT_EQ(Figures(kTrackedTag).m_LiveBytes, 100000u);
        block = ReallocTracked(block, 7, alignment);
        EXPECT_EQ(Figures(kTrackedTag).m_LiveBytes, 7u);
        FreeTracked(block);
        EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 0u);
    }
}

TEST_F(MemTracking, WhatIsRefusedIsNotCounted)
{
    void *const block = AllocTracked(10);
    EXPECT_EQ(AllocTracked(~u64(0)), nullptr);
    EXPECT_EQ(ReallocTracked(block, ~u64(0)), nullptr);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 1u);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBytes, 10u);
    FreeTracked(block);
}

TEST_F(MemTracking, GoodManyBlocksAreToldApart)
{
    constexpr int kCount = 5000;
    static void *blocks[kCount];
    for (int i = 0; i < kCount; ++i)
        blocks[i] = AllocTracked(8);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 5000u);
    const CAssertRecorder recorder;
    for (int i = 0; i < kCount; ++i)
        FreeTracked(blocks[(i * 7) % kCount]);
    EXPECT_EQ(recorder.Count(), 0u);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 0u);
}

TEST_F(MemTracking, FiguresReplaceWhatStoodThere)
{
    Mem::SFigures figures = {7, 8};
    EXPECT_TRUE(Mem::LiveFigures("Test|Tracking|Nothing", figures));
    EXPECT_EQ(figures.m_LiveBlocks, 0u);
    EXPECT_EQ(figures.m_LiveBytes, 0u);
}

// Two blocks of one bucket, by the hash that the tracker takes. A chain that is closed to a ring would never end.
TEST_F(MemTracking, ARefusedResizeLeavesTheBlocksThatShareItsBucketInTheirChain)
{
    std::map<u64, void *> buckets;
    std::vector<void *> blocks;
    void *first = nullptr;
    while (first == nullptr && blocks.size() < 100000)
    {
        blocks.push_back(AllocTracked(8));
        const u64 hash = Internal::WrappingProduct<u64>(reinterpret_cast<ureg>(blocks.back()), 0x9E3779B97F4A7C15ull);
        const auto [other, isNew] = buckets.emplace(hash >> 48, blocks.back());
        first = isNew ? nullptr : other->second;
    }
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(ReallocTracked(first, ~u64(0)), nullptr);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, blocks.size());
    for (void *const block : blocks)
        FreeTracked(block);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 0u);
}

TEST_F(MemTracking, AFreedBlockIsKnownUntilAsManyOthersWereFreedAsTheQuarantineHolds)
{
    const CAssertRecorder recorder;
    void *const block = AllocTracked(48);
    FreeTracked(block);
    for (int i = 0; i < 255; ++i)
        FreeTracked(AllocTracked(48));
    EXPECT_EQ(recorder.Count(), 0u);
    FreeTracked(block);
    ASSERT_EQ(recorder.Count(), 1u);
    EXPECT_EQ(recorder.Last().m_Expression, "!freed");
    FreeTracked(AllocTracked(48));
    FreeTracked(block);
    ASSERT_EQ(recorder.Count(), 2u);
    EXPECT_EQ(recorder.Last().m_Expression, "allocated");
}

TEST_F(MemTracking, AFreeWithAnotherOriginIsReportedAndFrees)
{
    const CAssertRecorder recorder;
    for (const Mem::EOrigin origin : {Mem::Origin_Alloc, Mem::Origin_New})
    {
        void *const block = AllocTracked(321, kTrackedTag, origin);
        FreeTracked(block, origin == Mem::Origin_Alloc ? Mem::Origin_New : Mem::Origin_Alloc);
        EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 0u);
    }
    ASSERT_EQ(recorder.Count(), 2u);
    for (const SReport &report : recorder.Reports())
    {
        // The place of the fault, and what is known of the block.
        EXPECT_EQ(report.m_File, kFreeFile);
        EXPECT_EQ(report.m_Line, 3456);
        EXPECT_EQ(report.m_Function, "Drop");
        EXPECT_TRUE(Mentions(report.m_Message, "origin")) << report.m_Message;
        EXPECT_TRUE(Mentions(report.m_Message, "321")) << report.m_Message;
        EXPECT_TRUE(Mentions(report.m_Message, kTrackedTag)) << report.m_Message;
        EXPECT_TRUE(Mentions(report.m_Message, kAllocFile)) << report.m_Message;
        EXPECT_TRUE(Mentions(report.m_Message, "1234")) << report.m_Message;
    }
}

TEST_F(MemTracking, ABlockFreedTwiceIsReportedOnceAndNotFreedAgain)
{
    const CAssertRecorder recorder;
    void *const block = AllocTracked(321);
    FreeTracked(block);
    EXPECT_EQ(recorder.Count(), 0u);
    FreeTracked(block);
    ASSERT_EQ(recorder.Count(), 1u);
    EXPECT_EQ(recorder.Last().m_File, kFreeFile);
    EXPECT_EQ(recorder.Last().m_Line, 3456);
    EXPECT_TRUE(Mentions(recorder.Last().m_Message, "twice")) << recorder.Last().m_Message;
    EXPECT_TRUE(Mentions(recorder.Last().m_Message, kTrackedTag)) << recorder.Last().m_Message;
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 0u);
}

TEST_F(MemTracking, ABlockResizedAfterItWasFreedIsReportedAndRefused)
{
    const CAssertRecorder recorder;
    void *const block = AllocTracked(321);
    FreeTracked(block);
    EXPECT_EQ(ReallocTracked(block, 400), nullptr);
    ASSERT_EQ(recorder.Count(), 1u);
    EXPECT_EQ(recorder.Last().m_File, kReallocFile);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 0u);
}

TEST_F(MemTracking, AForeignBlockIsReportedAndLeftAlone)
{
    const CAssertRecorder recorder;
    int foreign = 5;
    FreeTracked(&foreign);
    EXPECT_EQ(recorder.Count(), 1u);
    EXPECT_EQ(recorder.Last().m_File, kFreeFile);
    EXPECT_TRUE(Mentions(recorder.Last().m_Message, "was not allocated here")) << recorder.Last().m_Message;
    EXPECT_EQ(foreign, 5);
}

TEST_F(MemTracking, ResizingAnObjectIsReportedAndRefused)
{
    const CAssertRecorder recorder;
    void *const object = AllocTracked(16, kTrackedTag, Mem::Origin_New);
    EXPECT_EQ(ReallocTracked(object, 32), nullptr);
    ASSERT_EQ(recorder.Count(), 1u);
    EXPECT_EQ(recorder.Last().m_File, kReallocFile);
    EXPECT_TRUE(Mentions(recorder.Last().m_Message, "cannot be resized")) << recorder.Last().m_Message;
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBytes, 16u);
    FreeTracked(object, Mem::Origin_New);
    EXPECT_EQ(recorder.Count(), 1u);
}

// A handler may allocate, so no report is made under the tracker's lock.
TEST_F(MemTracking, AHandlerOfItsReportsMayAllocate)
{
    const Assert::FHandler before = Assert::SetHandler(
        [](const char *, const char *, int, const char *, const char *, const char *)
        {
            FreeTracked(AllocTracked(8));
            return 2;
        });
    void *const block = AllocTracked(16);
    FreeTracked(block, Mem::Origin_New);
    FreeTracked(block);
    Assert::SetHandler(before);
    EXPECT_EQ(Figures(kTrackedTag).m_LiveBlocks, 0u);
}

TEST_F(MemTracking, Answer0ToItsReportsBreaks)
{
    const SChildResult child = RunInChild(
        []
        {
            const CAssertRecorder recorder(0);
            FreeTracked(AllocTracked(16), Mem::Origin_New);
            return 0;
        });
    EXPECT_EQ(child.m_Signal, SIGTRAP);
}

TEST_F(MemTracking, BlocksStillLiveAtExitAreReportedAsLeaked)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            return AllocTracked(54321) != nullptr && AllocTracked(65432, kOtherTag) != nullptr ? 0 : 1;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
    EXPECT_TRUE(Mentions(child.m_Stderr, "leaked")) << child.m_Stderr;
    EXPECT_TRUE(Mentions(child.m_Stderr, "54321")) << child.m_Stderr;
    EXPECT_TRUE(Mentions(child.m_Stderr, "65432")) << child.m_Stderr;
    EXPECT_TRUE(Mentions(child.m_Stderr, kOtherTag)) << child.m_Stderr;
    EXPECT_TRUE(Mentions(child.m_Stderr, kAllocFile)) << child.m_Stderr;
}

// All else that the program has is gone at its end.
TEST_F(MemTracking, LeaksAreNamedUpToSixteenOfThemAndCountedAll)
{
    for (const u32 leaks : {1u, 3u, 15u, 16u, 17u, 40u})
    {
        const SChildResult child = RunInChild(
            [leaks]
            {
                Assert::SetHandler(nullptr);
                for (u32 i = 0; i < leaks; ++i)
                    if (AllocTracked(1000 + i) == nullptr)
                        return 1;
                return 0;
            });
        const u32 bytes = leaks * 1000 + leaks * (leaks - 1) / 2;
        const std::string sum = std::to_string(leaks) + " blocks of " + std::to_string(bytes) + " bytes were leaked";
        EXPECT_EQ(child.m_ExitCode, 0);
        EXPECT_EQ(CountOf(child.m_Stderr, " " + sum), 1u) << child.m_Stderr;
        EXPECT_EQ(CountOf(child.m_Stderr, " was leaked "), leaks < 16 ? leaks : 16) << child.m_Stderr;
    }
}

TEST_F(MemTracking, NothingIsSaidWhereNothingIsLeaked)
{
    const SChildResult child = RunInChild(
        []
        {
            Assert::SetHandler(nullptr);
            FreeTracked(AllocTracked(54321));
            return 0;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
    EXPECT_EQ(child.m_Stderr, "");
}

TEST_F(MemTracking, WhatIsFreedDuringExitIsNoLeak)
{
    const SChildResult child = RunInChild(
        []
        {
            static void *s_Block = AllocTracked(54321);
            Assert::SetHandler(nullptr);
            std::atexit([] { FreeTracked(s_Block); });
            return 0;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
    EXPECT_FALSE(Mentions(child.m_Stderr, "54321")) << child.m_Stderr;
}

// The thread that held the tracker's lock is not in the copy.
TEST_F(MemTracking, ACopyOfTheProcessMayAllocateWhoeverWasAllocating)
{
    if (!QV_TEST_HAS_FORK)
        GTEST_SKIP() << QV_TEST_NO_FORK;
    std::atomic<bool> done(false);
    const auto work = [&done]
    {
        while (!done)
            FreeTracked(ReallocTracked(AllocTracked(100), 200));
    };
    std::thread first(work);
    std::thread second(work);
    void *const before = AllocTracked(300);
    for (int round = 0; round < 50; ++round)
    {
        const auto inCopy = [before]
        {
            FreeTracked(before);
            for (int i = 0; i < 1000; ++i)
                FreeTracked(ReallocTracked(AllocTracked(100), 200));
            return 0;
        };
        EXPECT_EQ(RunInCopy(inCopy), 0);
    }
    done = true;
    first.join();
    second.join();
    FreeTracked(before);
}

} // namespace QuorvaneTest
