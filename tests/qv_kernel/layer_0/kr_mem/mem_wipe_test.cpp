// What is left of a block's contents when it is freed, in a build that wipes them.
#include "kr_mem/mem_wipe.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "kr_string.h"
#include "small_blocks.h"

namespace QuorvaneTest
{

namespace
{

using namespace SmallBlocks;

constexpr u8 kSecret = 0x5A;

bool IsTracked()
{
    Mem::SFigures figures;
    return Mem::LiveFigures(nullptr, figures);
}

u8 *AllocSecret(u64 size)
{
    u8 *const block = RawAlloc(size);
    std::memset(block, kSecret, static_cast<size_t>(size));
    return block;
}

bool HoldsSecret(const u8 *memory, u64 bytes)
{
    return std::count(memory, memory + bytes, kSecret) > 8;
}

// Needs a build that wipes.
class MemWipe : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!kWipes)
            GTEST_SKIP() << "the library was built to leave what is freed as it is";
    }
};

// What can be looked at after it was freed: small blocks stay where they are, in our own memory.
class MemWipeOwn : public MemWipe
{
protected:
    void SetUp() override
    {
        MemWipe::SetUp();
        if (kWipes && !AreOurOwn())
            GTEST_SKIP() << "small blocks are the platform's here";
    }
};

} // namespace

TEST(MemWipes, NothingIsOverwrittenInAnyOtherBuild)
{
    u8 memory[100];
    std::memset(memory, kSecret, sizeof(memory));
    Wipe(memory + 10, 80);
    EXPECT_EQ(std::count(memory + 10, memory + 90, kSecret), kWipes ? 0 : 80);
    EXPECT_EQ(std::count(memory, memory + 100, kSecret), kWipes ? 20 : 100);
    Wipe(memory, 0);
    EXPECT_EQ(memory[0], kSecret);
}

TEST_F(MemWipeOwn, ASmallBlockIsOverwrittenWhenItIsFreed)
{
    for (u64 size = 1; size <= kMaxSmallBytes; size += 13)
    {
        const u64 room = ClassBytes(SmallClass(size));
        u8 *const block = AllocSecret(room);
        RawFree(block);
        EXPECT_FALSE(HoldsSecret(block, room)) << size;
        u8 *const other = AllocSecret(room);
        Free(other, room);
        EXPECT_FALSE(HoldsSecret(other, room)) << size;
    }
}

TEST_F(MemWipeOwn, ASmallBlockThatGoesToTheHeapIsOverwrittenToo)
{
    std::vector<u8 *> blocks(3000);
    for (u8 *&block : blocks)
        block = AllocSecret(512);
    // By a thread without a cache, and by one whose bin overflows.
    OnAThread([&blocks] { RawFree(blocks.back()); });
    EXPECT_FALSE(HoldsSecret(blocks.back(), 512));
    blocks.pop_back();
    for (u8 *const block : blocks)
        RawFree(block);
    for (const u8 *const block : blocks)
        ASSERT_FALSE(HoldsSecret(block, 512));
}

TEST_F(MemWipeOwn, ALargeBlockThatItsThreadKeepsIsOverwritten)
{
    OnAThread(
        []
        {
            AllocAndFree(64, 20);
            u8 *const block = AllocSecret(5000);
            RawFree(block);
            ASSERT_EQ(ThreadCache()->m_Large[5000 / kKeptLargeStep].m_Block, block);
            EXPECT_FALSE(HoldsSecret(block, 5000));
        });
}

TEST_F(MemWipeOwn, WhereABlockLayBeforeItMovedIsOverwritten)
{
    for (const u64 size : {64u, 200u, 2000u})
    {
        for (const u64 newSize : {size * 5 / 4, size * 3, size * 40, size / 5})
        {
            u8 *const block = AllocSecret(size);
            u8 *const moved = RawRealloc(block, newSize);
            ASSERT_NE(moved, block);
            EXPECT_FALSE(HoldsSecret(block, size)) << size << " to " << newSize;
            EXPECT_EQ(std::count(moved, moved + QVMin(size, newSize), kSecret),
                      static_cast<std::ptrdiff_t>(QVMin(size, newSize)));
            RawFree(moved);
        }
    }
}

// The platform has the same memory for who asks it for as much next, and writes but little into it.
TEST_F(MemWipe, ALargeBlockIsOverwrittenBeforeThePlatformHasIt)
{
#if defined(__GLIBC__) && !QV_TEST_IS_SANITIZED
    if (IsTracked())
        GTEST_SKIP() << "the tracker keeps what is freed for a while";
    constexpr u64 kSize = 100000;
    u8 *const platforms = static_cast<u8 *>(std::malloc(kSize + 1000));
    std::free(platforms);
    for (const u64 newSize : {0u, 40000u, 90000u, 99990u})
    {
        u8 *const block = AllocSecret(kSize);
        if (newSize == 0)
            RawFree(block);
        u8 *const resized = newSize != 0 ? RawRealloc(block, newSize) : nullptr;
        if (resized == block)
        {
            EXPECT_FALSE(HoldsSecret(block + newSize, kSize - newSize)) << newSize;
            RawFree(resized);
            continue;
        }
        u8 *const again = static_cast<u8 *>(std::malloc(kSize));
        ASSERT_LE(again, block + 64) << "the platform has it elsewhere";
        ASSERT_GE(again + 64, block) << "the platform has it elsewhere";
        EXPECT_FALSE(HoldsSecret(again, kSize)) << newSize;
        std::free(again);
        RawFree(resized);
    }
#else
    GTEST_SKIP() << "what the platform does with what is freed is not known here";
#endif
}

TEST_F(MemWipe, TheTailOfABlockThatShrinksInPlaceIsOverwritten)
{
    for (const u64 size : {64u, 1000u, 5000u, 100000u})
    {
        u8 *const block = AllocSecret(size);
        u8 *const shrunk = RawRealloc(block, size * 3 / 4);
        EXPECT_EQ(std::count(shrunk, shrunk + size * 3 / 4, kSecret), static_cast<std::ptrdiff_t>(size * 3 / 4));
        if (shrunk == block)
        {
            EXPECT_FALSE(HoldsSecret(block + size * 3 / 4, size / 4)) << size;
        }
        RawFree(shrunk);
    }
}

TEST_F(MemWipe, ABlockThatTheTrackerKeepsIsOverwritten)
{
    if (!IsTracked())
        GTEST_SKIP() << "the library was built without tracking";
    for (const u64 size : {1u, 100u, 100000u})
    {
        u8 *const block = AllocSecret(size);
        RawFree(block);
        EXPECT_EQ(std::count(block, block + size, 0), static_cast<std::ptrdiff_t>(size));
    }
}

TEST_F(MemWipe, WhatIsResizedKeepsItsContents)
{
    for (u64 size = 1; size < 300000; size = size * 3 + 5)
    {
        for (u64 newSize = 1; newSize < 300000; newSize = newSize * 3 + 5)
        {
            u8 *const block = RawRealloc(AllocSecret(size), newSize);
            ASSERT_NE(block, nullptr);
            ASSERT_EQ(std::count(block, block + QVMin(size, newSize), kSecret),
                      static_cast<std::ptrdiff_t>(QVMin(size, newSize)));
            RawFree(block);
        }
    }
}

TEST_F(MemWipeOwn, ATextIsOverwrittenWhenTheLastStringThatHoldsItIsGone)
{
    for (const u32 length : {5u, 40u, 300u, 1900u})
    {
        const char *characters = nullptr;
        {
            const CString text = CString("Z").Repeat(length);
            const CString copy = text;
            characters = text.CStr();
            ASSERT_EQ(std::count(characters, characters + length, 'Z'), static_cast<std::ptrdiff_t>(length));
        }
        EXPECT_LE(std::count(characters, characters + length, 'Z'), 8) << length;
        CString growing;
        for (u32 i = 0; i < length; ++i)
            growing += 'Z';
        characters = growing.CStr();
        growing = CString();
        EXPECT_LE(std::count(characters, characters + length, 'Z'), 8) << length;
    }
}

} // namespace QuorvaneTest
