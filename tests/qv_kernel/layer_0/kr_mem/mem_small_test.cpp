// Small blocks of the default allocator. What they are made of is a matter of how the library was built and of where it
// runs; what is promised holds everywhere, and what only holds of our own blocks asks for them.
#include "kr_mem/mem_small.h"

#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "child_process.h"
#include "kr_mem/mem_cache.h"
#include "kr_mem/mem_process.h"
#include "test_allocator.h"

// By the compiler's word, not by the library's.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QV_TEST_IS_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define QV_TEST_IS_SANITIZED 1
#endif
#endif
#if !defined(QV_TEST_IS_SANITIZED)
#define QV_TEST_IS_SANITIZED 0
#endif

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

constexpr u64 kCachedBytesPerClass = 8192;

u8 *Alloc(u64 size, u32 alignment = 16)
{
    return static_cast<u8 *>(
        AllocBlock(size, alignment, Mem::AllocType_Generic, Mem::Origin_New, "Test|Small", "file.cpp", 11, "Make"));
}

void Free(void *block, u64 size)
{
    FreeBlock(block, size, Mem::AllocType_Generic, Mem::Origin_New, "Test|Small", "file.cpp", 22, "Drop");
}

u8 *RawAlloc(u64 size)
{
    return static_cast<u8 *>(Mem::_RawAlloc(size, 16, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE));
}

u8 *RawRealloc(void *block, u64 size)
{
    return static_cast<u8 *>(Mem::_RawRealloc(block, size, 16, Mem::AllocType_Generic, QV_INTERNAL_MEM_SITE));
}

void RawFree(void *block, Mem::EOrigin origin = Mem::Origin_Alloc)
{
    Mem::_RawFree(block, Mem::AllocType_Generic, origin, QV_INTERNAL_MEM_SITE);
}

// Whether small blocks are our own here.
bool HasSmallBlocks()
{
    u8 *const block = Alloc(64);
    const bool isSmall = IsSmallBlock(block);
    Free(block, 64);
    return isSmall;
}

u64 LiveBlocks()
{
    return SmallFigures().m_LiveBlocks;
}

// For what holds of our own blocks only.
class MemSmallOwn : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!HasSmallBlocks())
            GTEST_SKIP() << "small blocks are the platform's here";
    }
};

void AllocAndFree(u64 size, size_t count)
{
    std::vector<u8 *> blocks(count);
    for (u8 *&block : blocks)
        block = Alloc(size);
    for (u8 *const block : blocks)
        Free(block, size);
}

void OnAThread(const std::function<void()> &work)
{
    std::thread(work).join();
}

// Allocates in its destructor, and remembers whether that worked.
class CLateUser
{
public:
    ~CLateUser()
    {
        AllocAndFree(64, 1000);
        u8 *const block = Alloc(100);
        std::memset(block, 1, 100);
        Free(block, 100);
        ++s_Destroyed;
    }
    static int s_Destroyed;
};

int CLateUser::s_Destroyed = 0;

// The writable memory of this process, as the system counts it against its limit; 0 when it does not tell.
u64 WritableBytes()
{
    std::FILE *const file = std::fopen("/proc/self/status", "r");
    unsigned long long kilobytes = 0;
    char line[256];
    while (file != nullptr && std::fgets(line, sizeof(line), file) != nullptr)
        if (std::strncmp(line, "VmData:", 7) == 0)
            kilobytes = std::strtoull(line + 7, nullptr, 10);
    if (file != nullptr)
        std::fclose(file);
    return kilobytes * 1024;
}

// The test program again, with this test alone: for what is decided once in a process.
int RunProbe(const char *test)
{
    const std::string filter = std::string("--gtest_filter=") + test;
    execl("/proc/self/exe", "probe", filter.c_str(), "--gtest_also_run_disabled_tests", static_cast<char *>(nullptr));
    return 99;
}

} // namespace

TEST(MemSmall, BlocksAreAlignedDisjointAndOfTheirSize)
{
    for (u64 size = 0; size <= kMaxSmallBytes + 40; ++size)
    {
        u8 *const a = Alloc(size);
        u8 *const b = Alloc(size);
        ASSERT_NE(a, nullptr);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(reinterpret_cast<ureg>(a) % 16, 0u);
        EXPECT_EQ(reinterpret_cast<ureg>(b) % 16, 0u);
        std::memset(a, 1, static_cast<size_t>(size));
        std::memset(b, 2, static_cast<size_t>(size));
        EXPECT_TRUE(size == 0 || (a[0] == 1 && a[size - 1] == 1)) << size;
        Free(a, size);
        Free(b, size);
    }
}

TEST(MemSmall, BothWaysShareTheirBlocks)
{
    const Mem::SAllocator former = Mem::SetAllocator(Mem::SAllocator());
    for (const u64 size : {1u, 24u, 64u, 1072u, 2048u, 2049u, 5000u})
        for (int i = 0; i < 300; ++i)
        {
            RawFree(Alloc(size), Mem::Origin_New);
            Free(Mem::_RawAlloc(size, 16, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE), size);
            former.m_Free(Alloc(size), Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
            Free(former.m_Alloc(size, 16, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE), size);
        }
}

TEST(MemSmall, FreeingNullIsIgnored)
{
    Free(nullptr, 0);
    Free(nullptr, 64);
    Free(nullptr, 5000);
}

TEST(MemSmall, HugeSizesAreRefused)
{
    for (const u64 size : {~u64(0), ~u64(0) - 15, u64(1) << 63, u64(1) << 62})
        EXPECT_EQ(Alloc(size), nullptr) << size;
}

TEST(MemSmall, LargerAlignmentsAreGiven)
{
    for (const u32 alignment : {32u, 64u, 4096u})
    {
        u8 *const block = Alloc(100, alignment);
        EXPECT_EQ(reinterpret_cast<ureg>(block) % alignment, 0u);
        Free(block, 100);
    }
}

TEST(MemSmall, AReplacementGetsEveryArgument)
{
    CTestAllocator allocator;
    u8 *const block = Alloc(64);
    Free(block, 64);
    const std::vector<SAllocatorCall> calls = allocator.Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].m_Kind, SAllocatorCall::Kind_Alloc);
    EXPECT_EQ(calls[0].m_Size, 64u);
    EXPECT_EQ(calls[0].m_Alignment, 16u);
    EXPECT_EQ(calls[0].m_Type, Mem::AllocType_Generic);
    EXPECT_EQ(calls[0].m_Origin, Mem::Origin_New);
    EXPECT_EQ(calls[0].m_Tag, "Test|Small");
    EXPECT_EQ(calls[0].m_File, "file.cpp");
    EXPECT_EQ(calls[0].m_Line, 11u);
    EXPECT_EQ(calls[0].m_Function, "Make");
    EXPECT_EQ(calls[1].m_Kind, SAllocatorCall::Kind_Free);
    EXPECT_EQ(calls[1].m_Block, block);
    EXPECT_EQ(calls[1].m_Origin, Mem::Origin_New);
    EXPECT_EQ(calls[1].m_Line, 22u);
    EXPECT_EQ(calls[1].m_Function, "Drop");
}

TEST(MemSmall, TheDefaultsFunctionsInstalledByHandAreTheDefault)
{
    Free(Alloc(1), 1);
    const bool before = g_ShortWay.Load();
    const Mem::SAllocator standard = Mem::SetAllocator(Mem::SAllocator());
    {
        const CTestAllocator allocator;
        EXPECT_FALSE(g_ShortWay.Load());
    }
    EXPECT_EQ(g_ShortWay.Load(), before);
    Mem::SetAllocator(standard);
    EXPECT_EQ(g_ShortWay.Load(), before);
}

// Every live block holds a pattern of its own; one that is handed out twice, cut short or not copied loses it.
TEST(MemSmall, LiveBlocksKeepTheirContents)
{
    struct SLive
    {
        u8 *m_Block;
        u64 m_Size;
        u8 m_Pattern;
        bool m_Resized;
    };
    std::mt19937 random(7);
    std::vector<SLive> live;
    const auto holds = [](const SLive &entry)
    {
        for (u64 i = 0; i < entry.m_Size; ++i)
            if (entry.m_Block[i] != entry.m_Pattern)
                return false;
        return true;
    };
    for (int step = 0; step < 60000; ++step)
    {
        const u32 choice = random() % 8;
        if (choice < 4 || live.empty())
        {
            const u64 size = random() % (random() % 4 == 0 ? 6000 : 600);
            const u8 pattern = static_cast<u8>(random());
            live.push_back({RawAlloc(size), size, pattern, false});
            std::memset(live.back().m_Block, pattern, static_cast<size_t>(size));
            continue;
        }
        const size_t index = random() % live.size();
        SLive &entry = live[index];
        ASSERT_TRUE(holds(entry)) << step;
        if (choice < 6)
        {
            const u64 size = random() % 6000;
            entry.m_Block = RawRealloc(entry.m_Block, size);
            entry.m_Resized = true;
            entry.m_Size = QVMin(entry.m_Size, size);
            ASSERT_TRUE(holds(entry)) << step;
            entry.m_Size = size;
            std::memset(entry.m_Block, entry.m_Pattern, static_cast<size_t>(size));
            continue;
        }
        if (choice == 6 || entry.m_Resized)
            RawFree(entry.m_Block);
        else
            FreeBlock(entry.m_Block, entry.m_Size, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
        entry = live.back();
        live.pop_back();
    }
    for (const SLive &entry : live)
    {
        EXPECT_TRUE(holds(entry));
        RawFree(entry.m_Block);
    }
}

TEST(MemSmall, MayBeUsedAfterTheThreadsOwnDestructors)
{
    const int before = CLateUser::s_Destroyed;
    OnAThread(
        []
        {
            // Made before the thread's cache, so destroyed after it.
            static thread_local CLateUser late;
            static_cast<void>(&late);
            AllocAndFree(64, 10);
        });
    EXPECT_EQ(CLateUser::s_Destroyed, before + 1);
}

TEST(MemSmall, MayFirstBeUsedByTheThreadsOwnDestructors)
{
    const int before = CLateUser::s_Destroyed;
    OnAThread(
        []
        {
            static thread_local CLateUser late;
            static_cast<void>(&late);
        });
    EXPECT_EQ(CLateUser::s_Destroyed, before + 1);
}

TEST(MemSmall, MayBeUsedUntilTheProcessEnds)
{
    const SChildResult child = RunInChild(
        []
        {
            static CLateUser last;
            std::atexit([] { AllocAndFree(1072, 1000); });
            static thread_local CLateUser late;
            static_cast<void>(&late);
            AllocAndFree(64, 10);
            return 0;
        });
    EXPECT_EQ(child.m_ExitCode, 0);
    EXPECT_EQ(child.m_Signal, 0);
}

TEST_F(MemSmallOwn, SizesUpToTheLimitAreOurOwn)
{
    for (const u64 size : {1u, 16u, 64u, 1072u, 2048u})
    {
        u8 *const block = Alloc(size);
        EXPECT_TRUE(IsSmallBlock(block)) << size;
        EXPECT_EQ(ClassOfSmallBlock(block), SmallClass(size));
        Free(block, size);
    }
    u8 *const block = Alloc(kMaxSmallBytes + 1);
    EXPECT_FALSE(IsSmallBlock(block));
    Free(block, kMaxSmallBytes + 1);
}

TEST_F(MemSmallOwn, TheBlockFreedLastIsTheNext)
{
    u8 *const a = Alloc(64);
    Free(a, 64);
    u8 *const b = Alloc(50);
    EXPECT_EQ(a, b);
    Free(b, 50);
}

TEST_F(MemSmallOwn, BlocksTakeNoMoreThanTheirSize)
{
    constexpr size_t kCount = 100000;
    const u32 before = SmallFigures().m_UsedSlabs;
    std::vector<u8 *> blocks(kCount);
    for (u8 *&block : blocks)
        block = Alloc(64);
    EXPECT_LE(SmallFigures().m_UsedSlabs - before, kCount * 64 / kSlabBytes + 1);
    for (u8 *const block : blocks)
        Free(block, 64);
}

TEST_F(MemSmallOwn, AThreadKeepsNoMoreThanItsBound)
{
    OnAThread(
        []
        {
            for (u64 size = 16; size <= kMaxSmallBytes; size += 16)
            {
                const u64 before = LiveBlocks();
                AllocAndFree(size, 2000);
                EXPECT_LE((LiveBlocks() - before) * size, kCachedBytesPerClass) << size;
                EXPECT_GT(LiveBlocks(), before) << "nothing is kept of size " << size;
            }
        });
}

TEST_F(MemSmallOwn, AThreadThatEndsGivesItsBlocksBack)
{
    const u64 before = LiveBlocks();
    u64 during = 0;
    OnAThread(
        [&during]
        {
            for (const u64 size : {16u, 64u, 1072u})
                AllocAndFree(size, 1000);
            during = LiveBlocks();
        });
    EXPECT_GT(during, before);
    EXPECT_EQ(LiveBlocks(), before);
}

TEST_F(MemSmallOwn, BlocksFreedByAnotherThreadComeBack)
{
    const u64 before = LiveBlocks();
    std::vector<u8 *> blocks(5000);
    OnAThread(
        [&blocks]
        {
            for (u8 *&block : blocks)
                block = Alloc(112);
        });
    EXPECT_EQ(LiveBlocks(), before + blocks.size());
    OnAThread(
        [&blocks]
        {
            for (u8 *const block : blocks)
                Free(block, 112);
        });
    EXPECT_EQ(LiveBlocks(), before);
}

TEST_F(MemSmallOwn, AnEndedThreadKeepsNothing)
{
    const u64 before = LiveBlocks();
    OnAThread(
        []
        {
            static thread_local CLateUser late;
            static_cast<void>(&late);
            AllocAndFree(64, 10);
        });
    EXPECT_EQ(LiveBlocks(), before);
}

// A key's destructor runs behind those of the thread's own objects.
TEST_F(MemSmallOwn, AThreadWhoseFirstBlockIsForAKeysDestructorKeepsNothing)
{
    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key, [](void *) { AllocAndFree(64, 1000); }), 0);
    const u64 before = LiveBlocks();
    for (int i = 0; i < 100; ++i)
        OnAThread([key] { pthread_setspecific(key, &key); });
    EXPECT_EQ(LiveBlocks(), before);
    pthread_key_delete(key);
}

// Whichever of the two destructors the thread runs first.
TEST_F(MemSmallOwn, AThreadThatUsesBlocksInAKeysDestructorAgainKeepsNothing)
{
    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key, [](void *) { AllocAndFree(64, 1000); }), 0);
    const u64 before = LiveBlocks();
    for (int i = 0; i < 100; ++i)
        OnAThread(
            [key]
            {
                pthread_setspecific(key, &key);
                AllocAndFree(112, 1000);
            });
    EXPECT_EQ(LiveBlocks(), before);
    pthread_key_delete(key);
}

TEST_F(MemSmallOwn, AThreadThatUsesAFewBlocksTakesNoMore)
{
    const u64 before = LiveBlocks();
    OnAThread(
        [before]
        {
            u8 *const first = Alloc(64);
            u8 *const second = Alloc(112);
            EXPECT_EQ(LiveBlocks(), before + 2);
            Free(first, 64);
            Free(second, 112);
            EXPECT_EQ(LiveBlocks(), before);
        });
}

// What is freed by its address alone goes where it came from.
TEST_F(MemSmallOwn, FreeingByAddressGivesTheBlockBack)
{
    constexpr size_t kCount = 10000;
    const u64 before = LiveBlocks();
    std::vector<u8 *> blocks(kCount);
    for (u8 *&block : blocks)
        block = RawAlloc(64);
    EXPECT_GE(LiveBlocks(), before + kCount - kCachedBytesPerClass / 64);
    for (u8 *const block : blocks)
        RawFree(block);
    EXPECT_LE(LiveBlocks(), before + kCachedBytesPerClass / 64);
}

TEST(MemSmall, FreeingLargeBlocksByAddressGivesTheMemoryBack)
{
#if defined(__GLIBC__) && !QV_TEST_IS_SANITIZED
    constexpr size_t kBytes = 100000;
    RawFree(RawAlloc(kBytes));
    const size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    for (int i = 0; i < 1000; ++i)
        RawFree(RawAlloc(kBytes));
    EXPECT_LE(mallinfo2().uordblks + mallinfo2().hblkhd, before + 300 * kBytes);
#else
    GTEST_SKIP() << "the platform does not tell what is in use";
#endif
}

// Nothing but a sanitizer, valgrind, a machine with short addresses and what the build asks for takes them away.
TEST(MemSmall, APlainBuildHasBlocksOfItsOwn)
{
    Mem::SFigures figures;
    const bool isTracking = Mem::LiveFigures(nullptr, figures);
    const char *const preloaded = std::getenv("LD_PRELOAD");
    if (QV_TEST_IS_SANITIZED || isTracking || sizeof(void *) < 8 || preloaded != nullptr)
        GTEST_SKIP() << "this is no plain build, or no plain run";
    // A build without assertions leaves all blocks to the platform, too.
    EXPECT_EQ(HasSmallBlocks(), kSitesReport);
}

TEST_F(MemSmallOwn, ABlockFreedTwiceIsReportedAndLeftAlone)
{
    for (const u64 size : {1u, 64u, 1072u, 2048u})
    {
        u8 *const block = Alloc(size);
        u8 *const other = Alloc(size);
        Free(block, size);
        Free(other, size);
        CAssertRecorder recorder;
        Free(block, size);
        EXPECT_EQ(recorder.Expressions(), IfAsserting(std::vector<std::string>{"!freed"}));
        RawFree(block);
        EXPECT_EQ(recorder.Count(), IfAsserting(2));
        if (!kSitesReport)
            continue;
        // It lies in wait once only.
        u8 *const again[] = {Alloc(size), Alloc(size), Alloc(size)};
        EXPECT_NE(again[0], again[1]);
        EXPECT_NE(again[1], again[2]);
        EXPECT_NE(again[0], again[2]);
        for (u8 *const one : again)
            Free(one, size);
        EXPECT_EQ(recorder.Count(), 2u);
    }
}

// Also when it has left the cache of the thread that freed it, and by a thread that has none.
TEST_F(MemSmallOwn, ABlockFreedAgainMuchLaterIsReported)
{
    std::vector<u8 *> blocks(2000);
    for (u8 *&block : blocks)
        block = Alloc(2000);
    for (u8 *const block : blocks)
        Free(block, 2000);
    OnAThread(
        [&blocks]
        {
            CAssertRecorder recorder;
            Free(blocks[1000], 2000);
            EXPECT_EQ(recorder.Count(), IfAsserting(1));
        });
}

TEST_F(MemSmallOwn, TheMarkOfAFreeBlockInALiveOneIsNoReport)
{
    CAssertRecorder recorder;
    u8 *const block = Alloc(64);
    Free(block, 64);
    u8 freed[64];
    std::memcpy(freed, block, sizeof(freed));
    ASSERT_EQ(Alloc(64), block);
    std::memcpy(block, freed, sizeof(freed));
    Free(block, 64);
    EXPECT_EQ(recorder.Count(), 0u);
    EXPECT_EQ(Alloc(64), block);
    Free(block, 64);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST_F(MemSmallOwn, APointerIntoABlockIsReportedAndLeftAlone)
{
    if (!kSitesReport)
        GTEST_SKIP() << "not looked at without assertions";
    u8 *const block = RawAlloc(80);
    u8 *const large = RawAlloc(8000);
    for (const u32 offset : {1u, 8u, 16u, 32u, 64u})
    {
        CAssertRecorder recorder;
        RawFree(block + offset);
        RawFree(large + offset);
        EXPECT_EQ(RawRealloc(block + offset, 5000), nullptr);
        EXPECT_EQ(RawRealloc(large + offset, 50000), nullptr);
        EXPECT_EQ(recorder.Expressions(), std::vector<std::string>(4, "allocated"));
    }
    RawFree(block);
    RawFree(large);
}

TEST_F(MemSmallOwn, APointerToSomethingElseIsReportedAndLeftAlone)
{
    CAssertRecorder recorder;
    void *const platforms = std::malloc(100);
    alignas(16) static u8 global[64];
    alignas(16) u8 local[64] = {};
    void *volatile const foreign[] = {platforms, global + 16, local + 16};
    for (void *const block : foreign)
        RawFree(block);
    EXPECT_EQ(recorder.Expressions(), IfAsserting(std::vector<std::string>(3, "allocated")));
    std::free(platforms);
}

TEST_F(MemSmallOwn, ABlockMayOutliveItsThread)
{
    u8 *block = nullptr;
    OnAThread(
        [&block]
        {
            block = Alloc(64);
            std::memset(block, 3, 64);
        });
    AllocAndFree(64, 3000);
    EXPECT_EQ(block[0], 3);
    EXPECT_EQ(block[63], 3);
    Free(block, 64);
}

TEST_F(MemSmallOwn, WithoutMemoryForMoreOfThemThePlatformServes)
{
    const SChildResult child = RunInChild(
        []
        {
            // Less than is there already, which is the step in which more is taken, and room for the platform.
            const rlim_t most = static_cast<rlim_t>(WritableBytes() + (kChunkBytes - (1u << 20)));
            while (FindOrMakeProcess()->m_Heap.MappedBytes() < kChunkBytes)
                Alloc(kMaxSmallBytes);
            const rlimit limit = {most, most};
            if (WritableBytes() == 0 || setrlimit(RLIMIT_DATA, &limit) != 0)
                return 1;
            SFreeBlock *blocks = nullptr;
            u64 count = 0;
            for (bool isSmall = true; isSmall && count < 1000000; ++count)
            {
                void *const block = Alloc(64);
                if (block == nullptr)
                    return 2;
                isSmall = IsSmallBlock(block);
                blocks = ::new (block) SFreeBlock{blocks};
            }
            const bool platformServed = !IsSmallBlock(blocks);
            while (blocks != nullptr)
            {
                SFreeBlock *const next = blocks->m_Next;
                Free(blocks, 64);
                blocks = next;
            }
            return platformServed ? 0 : 3;
        });
    EXPECT_EQ(child.m_ExitCode, 0) << child.m_Stderr;
}

TEST_F(MemSmallOwn, UnderValgrindThePlatformServes)
{
    const SChildResult child = RunInChild(
        []
        {
            // The loader warns that there is no such file, and goes on.
            setenv("LD_PRELOAD", "/nowhere/vgpreload_core.so", 1);
            return RunProbe("MemSmallProbe.DISABLED_ThePlatformServes");
        });
    EXPECT_EQ(child.m_ExitCode, 0) << child.m_Stderr;
}

// Run by the test above, in a process that is watched.
TEST(MemSmallProbe, DISABLED_ThePlatformServes)
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
