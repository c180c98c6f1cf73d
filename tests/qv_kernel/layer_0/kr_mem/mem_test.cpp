#include "kr_mem.h"

#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

// The arguments of one call of the hook, as they came: pointers are compared, not texts.
struct SCall
{
    enum EKind
    {
        Kind_Alloc,
        Kind_Realloc,
        Kind_Free,
    };

    EKind m_Kind;
    void *m_Block;
    u64 m_Size;
    u32 m_Alignment;
    Mem::EAllocType m_Type;
    Mem::EOrigin m_Origin;
    const char *m_Tag;
    const char *m_File;
    u32 m_Line;
    const char *m_Function;
};

std::vector<SCall> g_Calls;
// What the hook answers.
void *g_Answer = nullptr;

void *HookAlloc(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file,
                u32 line, const char *function)
{
    g_Calls.push_back({SCall::Kind_Alloc, nullptr, size, alignment, type, origin, tag, file, line, function});
    return g_Answer;
}

void *HookRealloc(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag, const char *file,
                  u32 line, const char *function)
{
    g_Calls.push_back(
        {SCall::Kind_Realloc, block, newSize, alignment, type, Mem::Origin_Alloc, tag, file, line, function});
    return g_Answer;
}

// One that hands on to the default allocator.
Mem::SAllocator g_Default = {};
u32 g_HandedOn = 0;

void *HandOnRealloc(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag, const char *file,
                    u32 line, const char *function)
{
    ++g_HandedOn;
    return g_Default.m_Realloc(block, newSize, alignment, type, tag, file, line, function);
}

void HandOnFree(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file, u32 line,
                const char *function)
{
    ++g_HandedOn;
    g_Default.m_Free(block, type, origin, tag, file, line, function);
}

void HookFree(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file, u32 line,
              const char *function)
{
    g_Calls.push_back({SCall::Kind_Free, block, 0, 0, type, origin, tag, file, line, function});
}

const Mem::SAllocator kHook = {&HookAlloc, &HookRealloc, &HookFree};

bool operator==(const Mem::SAllocator &a, const Mem::SAllocator &b)
{
    return a.m_Alloc == b.m_Alloc && a.m_Realloc == b.m_Realloc && a.m_Free == b.m_Free;
}

// With the hook above installed. Blocks are never touched, so any address will do.
class MemHook : public ::testing::Test
{
protected:
    MemHook() : m_Before(Mem::SetAllocator(kHook))
    {
        g_Calls.clear();
        g_Answer = &m_Memory;
    }
    ~MemHook() override { Mem::SetAllocator(m_Before); }

    Mem::SAllocator m_Before;
    int m_Memory = 0;
    int m_OtherMemory = 0;
};

const char kTag[] = "Game|Level";
const char kFile[] = "level.cpp";
const char kFunction[] = "Load";

} // namespace

TEST_F(MemHook, RawAllocHandsOverItsArguments)
{
    EXPECT_EQ(Mem::_RawAlloc(0x123456789, 64, Mem::AllocType_Scratch, Mem::Origin_New, kTag, kFile, 77, kFunction),
              &m_Memory);
    ASSERT_EQ(g_Calls.size(), 1u);
    EXPECT_EQ(g_Calls[0].m_Kind, SCall::Kind_Alloc);
    EXPECT_EQ(g_Calls[0].m_Size, 0x123456789u);
    EXPECT_EQ(g_Calls[0].m_Alignment, 64u);
    EXPECT_EQ(g_Calls[0].m_Type, Mem::AllocType_Scratch);
    EXPECT_EQ(g_Calls[0].m_Origin, Mem::Origin_New);
    EXPECT_EQ(g_Calls[0].m_Tag, kTag);
    EXPECT_EQ(g_Calls[0].m_File, kFile);
    EXPECT_EQ(g_Calls[0].m_Line, 77u);
    EXPECT_EQ(g_Calls[0].m_Function, kFunction);
}

TEST_F(MemHook, RawReallocHandsOverItsArguments)
{
    EXPECT_EQ(Mem::_RawRealloc(&m_OtherMemory, 0x123456789, 32, Mem::AllocType_Debug, kTag, kFile, 78, kFunction),
              &m_Memory);
    ASSERT_EQ(g_Calls.size(), 1u);
    EXPECT_EQ(g_Calls[0].m_Kind, SCall::Kind_Realloc);
    EXPECT_EQ(g_Calls[0].m_Block, &m_OtherMemory);
    EXPECT_EQ(g_Calls[0].m_Size, 0x123456789u);
    EXPECT_EQ(g_Calls[0].m_Alignment, 32u);
    EXPECT_EQ(g_Calls[0].m_Type, Mem::AllocType_Debug);
    EXPECT_EQ(g_Calls[0].m_Tag, kTag);
    EXPECT_EQ(g_Calls[0].m_File, kFile);
    EXPECT_EQ(g_Calls[0].m_Line, 78u);
    EXPECT_EQ(g_Calls[0].m_Function, kFunction);
}

TEST_F(MemHook, RawReallocOfNullIsStillAReallocation)
{
    EXPECT_EQ(Mem::_RawRealloc(nullptr, 5, 0, Mem::AllocType_Generic, kTag, kFile, 1, kFunction), &m_Memory);
    ASSERT_EQ(g_Calls.size(), 1u);
    EXPECT_EQ(g_Calls[0].m_Kind, SCall::Kind_Realloc);
    EXPECT_EQ(g_Calls[0].m_Block, nullptr);
}

TEST_F(MemHook, RawFreeHandsOverItsArguments)
{
    Mem::_RawFree(&m_OtherMemory, Mem::AllocType_Particle, Mem::Origin_New, kTag, kFile, 79, kFunction);
    ASSERT_EQ(g_Calls.size(), 1u);
    EXPECT_EQ(g_Calls[0].m_Kind, SCall::Kind_Free);
    EXPECT_EQ(g_Calls[0].m_Block, &m_OtherMemory);
    EXPECT_EQ(g_Calls[0].m_Type, Mem::AllocType_Particle);
    EXPECT_EQ(g_Calls[0].m_Origin, Mem::Origin_New);
    EXPECT_EQ(g_Calls[0].m_Tag, kTag);
    EXPECT_EQ(g_Calls[0].m_File, kFile);
    EXPECT_EQ(g_Calls[0].m_Line, 79u);
    EXPECT_EQ(g_Calls[0].m_Function, kFunction);
}

TEST_F(MemHook, FreeFreesABlockOfOriginAlloc)
{
    Mem::Free(&m_OtherMemory, Mem::AllocType_Particle);
    ASSERT_EQ(g_Calls.size(), 1u);
    EXPECT_EQ(g_Calls[0].m_Kind, SCall::Kind_Free);
    EXPECT_EQ(g_Calls[0].m_Block, &m_OtherMemory);
    EXPECT_EQ(g_Calls[0].m_Type, Mem::AllocType_Particle);
    EXPECT_EQ(g_Calls[0].m_Origin, Mem::Origin_Alloc);
    EXPECT_STREQ(g_Calls[0].m_Tag, "Kernel|Mem|Default");
}

TEST_F(MemHook, FreeingNullReachesNobody)
{
    Mem::_RawFree(nullptr, Mem::AllocType_Generic, Mem::Origin_New, kTag, kFile, 1, kFunction);
    Mem::Free(nullptr, Mem::AllocType_Generic);
    EXPECT_TRUE(g_Calls.empty());
}

TEST_F(MemHook, ARefusalIsPassedOnAsNull)
{
    const CAssertRecorder recorder;
    g_Answer = nullptr;
    EXPECT_EQ(Mem::_RawAlloc(1, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, kTag, kFile, 1, kFunction), nullptr);
    EXPECT_EQ(Mem::_RawRealloc(&m_Memory, 1, 0, Mem::AllocType_Generic, kTag, kFile, 1, kFunction), nullptr);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST_F(MemHook, AnAlignmentThatIsNoPowerOfTwoIsReportedAndRefused)
{
    const CAssertRecorder recorder;
    size_t reports = 0;
    for (const u32 alignment : {3u, 6u, 24u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(Mem::_RawAlloc(1, alignment, Mem::AllocType_Generic, Mem::Origin_Alloc, kTag, kFile, 1, kFunction),
                  nullptr);
        EXPECT_EQ(Mem::_RawRealloc(&m_Memory, 1, alignment, Mem::AllocType_Generic, kTag, kFile, 1, kFunction),
                  nullptr);
        reports += 2;
    }
    EXPECT_EQ(recorder.Count(), IfAsserting(reports));
    EXPECT_TRUE(g_Calls.empty());
}

TEST_F(MemHook, EveryPowerOfTwoIsAnAlignment)
{
    const CAssertRecorder recorder;
    for (u32 bit = 0; bit < 32; ++bit)
    {
        const u32 alignment = 1u << bit;
        g_Calls.clear();
        EXPECT_NE(Mem::_RawAlloc(1, alignment, Mem::AllocType_Generic, Mem::Origin_Alloc, kTag, kFile, 1, kFunction),
                  nullptr);
        ASSERT_EQ(g_Calls.size(), 1u);
        EXPECT_EQ(g_Calls[0].m_Alignment, alignment);
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST_F(MemHook, SetAllocatorReturnsTheOneBefore)
{
    EXPECT_TRUE(Mem::SetAllocator(m_Before) == kHook);
    EXPECT_TRUE(Mem::SetAllocator(kHook) == m_Before);
}

TEST_F(MemHook, AValueInitialisedAllocatorRestoresTheDefault)
{
    EXPECT_TRUE(Mem::SetAllocator(Mem::SAllocator()) == kHook);
    void *const block = Mem::_RawAlloc(8, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, kTag, kFile, 1, kFunction);
    EXPECT_NE(block, nullptr);
    EXPECT_NE(block, &m_Memory);
    EXPECT_TRUE(g_Calls.empty());
    Mem::Free(block, Mem::AllocType_Generic);
    EXPECT_TRUE(Mem::SetAllocator(kHook) == m_Before);
}

// A replacement in front of the default one forwards what it does not serve itself.
TEST_F(MemHook, TheAllocatorBeforeIsCallable)
{
    void *block = m_Before.m_Alloc(8, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, kTag, kFile, 1, kFunction);
    ASSERT_NE(block, nullptr);
    block = m_Before.m_Realloc(block, 80, 0, Mem::AllocType_Generic, kTag, kFile, 2, kFunction);
    ASSERT_NE(block, nullptr);
    m_Before.m_Free(block, Mem::AllocType_Generic, Mem::Origin_Alloc, kTag, kFile, 3, kFunction);
    EXPECT_TRUE(g_Calls.empty());
}

TEST_F(MemHook, AnAllocatorThatLacksAFunctionIsReportedAndNotInstalled)
{
    const CAssertRecorder recorder;
    const Mem::SAllocator partial[] = {
        {&HookAlloc, nullptr, nullptr},      {nullptr, &HookRealloc, nullptr}, {nullptr, nullptr, &HookFree},
        {&HookAlloc, &HookRealloc, nullptr}, {&HookAlloc, nullptr, &HookFree}, {nullptr, &HookRealloc, &HookFree},
    };
    Mem::SetAllocator(Mem::SAllocator());
    for (const Mem::SAllocator &allocator : partial)
        EXPECT_TRUE(Mem::SetAllocator(allocator) == m_Before);
    EXPECT_TRUE(Mem::SetAllocator(kHook) == m_Before);
    EXPECT_EQ(recorder.Count(), IfAsserting(6));
}

TEST(MemAllocator, AnAllocatorThatDiffersFromTheDefaultOneInOneFunctionIsAskedForIt)
{
    g_Default = Mem::SetAllocator(Mem::SAllocator{});
    const auto use = [](const Mem::SAllocator &allocator, u64 size)
    {
        g_HandedOn = 0;
        // From then on the default one knows its blocks.
        Mem::Free(Mem::_RawAlloc(40, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE),
                  Mem::AllocType_Generic);
        Mem::SetAllocator(allocator);
        void *const block = Mem::_RawAlloc(40, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
        void *const moved = Mem::_RawRealloc(block, size, 0, Mem::AllocType_Generic, QV_INTERNAL_MEM_SITE);
        Mem::_RawFree(moved, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
        Mem::SetAllocator(Mem::SAllocator{});
        EXPECT_NE(moved, nullptr);
        return g_HandedOn;
    };
    Mem::SAllocator resizing = g_Default;
    resizing.m_Realloc = &HandOnRealloc;
    Mem::SAllocator freeing = g_Default;
    freeing.m_Free = &HandOnFree;
    for (const u64 size : {80u, 4000u})
    {
        EXPECT_EQ(use(g_Default, size), 0u);
        EXPECT_EQ(use(resizing, size), 1u);
        EXPECT_EQ(use(freeing, size), 1u);
    }
}

} // namespace QuorvaneTest
