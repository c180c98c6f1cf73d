// The links of free blocks: what they tell, and which words are taken for one.
#include "kr_mem/mem_free_block.h"

#include <cstring>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;

// Blocks of 64 bytes in a range of their own. No block of a heap lies where its range begins.
class MemFreeBlock : public ::testing::Test
{
protected:
    static constexpr u32 kCount = 1000;

    u8 *Block(u32 index) { return m_Memory + 64 * (index + 1); }
    SFreeBlock *Free(u32 index, const SFreeBlock *next) { return m_Links.MakeFree(Block(index), next); }

    // The blocks with these numbers as a list, the first one first.
    SFreeBlock *MakeList(const std::vector<u32> &indices)
    {
        SFreeBlock *list = m_Links.End();
        for (size_t i = indices.size(); i-- != 0;)
            list = Free(indices[i], list);
        return list;
    }

    static u64 WordAt(const void *place)
    {
        u64 word = 0;
        std::memcpy(&word, place, sizeof(word));
        return word;
    }

    bool ReadsAsLink(const SFreeBlock *block)
    {
        SFreeBlock *next = nullptr;
        return m_Links.ReadLink(block, next);
    }

    alignas(64) u8 m_Memory[64 * (kCount + 1)] = {};
    const CFreeLinks m_Links = CFreeLinks(reinterpret_cast<ureg>(m_Memory), {0x243F6A8885A308D3u, 0x13198A2E03707344u});
};

} // namespace

TEST_F(MemFreeBlock, AListReadsAsItWasLinked)
{
    std::vector<u32> order(kCount);
    for (u32 i = 0; i < kCount; ++i)
        order[i] = i * 7 % kCount;
    SFreeBlock *list = MakeList(order);
    for (const u32 index : order)
    {
        ASSERT_EQ(reinterpret_cast<u8 *>(list), Block(index));
        ASSERT_FALSE(m_Links.IsEnd(list));
        ASSERT_TRUE(m_Links.ReadLink(list, list));
    }
    EXPECT_TRUE(m_Links.IsEnd(list));
    EXPECT_TRUE(m_Links.IsEnd(nullptr));
}

TEST_F(MemFreeBlock, ALinkHoldsNoAddress)
{
    for (u32 i = 1; i < kCount; ++i)
    {
        Free(i, reinterpret_cast<SFreeBlock *>(Block(i - 1)));
        const u64 word = WordAt(Block(i));
        // Half a word may be like half an address by chance, in one block of some thousand millions.
        for (const void *const place :
             {static_cast<void *>(Block(i)), static_cast<void *>(Block(i - 1)), static_cast<void *>(m_Memory)})
        {
            const u64 address = reinterpret_cast<ureg>(place);
            ASSERT_NE(word, address);
            ASSERT_NE(static_cast<u32>(word), static_cast<u32>(address));
            ASSERT_NE(word >> 32, address & 0xFFFFFFFFu);
        }
        ASSERT_NE(word, static_cast<u64>(Block(i) - Block(i - 1)));
    }
}

TEST_F(MemFreeBlock, EqualLinksLookDifferentInEachBlock)
{
    std::set<u64> words;
    std::set<u64> differences;
    const SFreeBlock *const same = Free(0, m_Links.End());
    for (u32 i = 1; i < kCount; ++i)
    {
        Free(i, same);
        words.insert(WordAt(Block(i)));
        differences.insert(WordAt(Block(i)) ^ reinterpret_cast<ureg>(Block(i)));
    }
    EXPECT_EQ(words.size(), kCount - 1);
    EXPECT_EQ(differences.size(), kCount - 1);
}

TEST_F(MemFreeBlock, AnotherSecretMakesOtherLinks)
{
    const ureg base = reinterpret_cast<ureg>(m_Memory);
    std::set<u64> words;
    for (u64 bit = 0; bit < 64; ++bit)
        for (const CFreeLinks &links : {CFreeLinks(base, {u64(1) << bit, 3}), CFreeLinks(base, {1, 3 ^ u64(4) << bit})})
        {
            links.MakeFree(Block(1), links.End());
            words.insert(WordAt(Block(1)));
        }
    // The last two bits are shifted out of the word, which makes three of the pairs alike.
    EXPECT_EQ(words.size(), 2u * 64 - 2);
}

// Also where the second one has no bits at its end, or none at all.
TEST_F(MemFreeBlock, EachBitOfTheFirstSecretMakesAnotherLink)
{
    const ureg base = reinterpret_cast<ureg>(m_Memory);
    const auto wordOf = [&](u64 secret, u64 otherSecret)
    {
        const CFreeLinks links(base, {secret, otherSecret});
        links.MakeFree(Block(1), links.End());
        return WordAt(Block(1));
    };
    for (const u64 other : {u64(0), u64(2), u64(3), u64(1) << 63})
        for (u64 bit = 0; bit < 64; ++bit)
            ASSERT_NE(wordOf(0, other), wordOf(u64(1) << bit, other)) << other << ", " << bit;
}

// What runs over from the block before meets the half that is checked first.
TEST_F(MemFreeBlock, AnyOtherByteInItsFirstHalfIsKnown)
{
    SFreeBlock *const block = Free(5, Free(4, m_Links.End()));
    u8 *const bytes = Block(5);
    for (u32 at = 0; at < 4; ++at)
        for (u32 other = 1; other < 256; ++other)
        {
            const u8 before = bytes[at];
            bytes[at] = static_cast<u8>(before ^ other);
            ASSERT_FALSE(ReadsAsLink(block)) << at << ", " << other;
            bytes[at] = before;
        }
    EXPECT_TRUE(ReadsAsLink(block));
}

TEST_F(MemFreeBlock, AnotherWordIsNoLink)
{
    std::mt19937_64 random(1);
    SFreeBlock *const block = Free(5, Free(4, m_Links.End()));
    std::vector<u64> words = {0, 1, ~u64(0), reinterpret_cast<ureg>(Block(4)), 0x4141414141414141u};
    while (words.size() < 1000)
        words.push_back(random());
    for (const u64 word : words)
    {
        std::memcpy(Block(5), &word, sizeof(word));
        ASSERT_FALSE(ReadsAsLink(block)) << word;
    }
}

// A link that was read elsewhere is none here.
TEST_F(MemFreeBlock, TheWordOfAnotherBlockIsNoLink)
{
    for (u32 i = 1; i < kCount; ++i)
    {
        Free(0, m_Links.End());
        SFreeBlock *const block = Free(i, m_Links.End());
        std::memcpy(Block(i), Block(0), sizeof(u64));
        ASSERT_FALSE(ReadsAsLink(block)) << i;
    }
}

TEST_F(MemFreeBlock, WhatALinkLeadsToIsLeftAloneWhereItWasOverwritten)
{
    SFreeBlock *const block = Free(5, m_Links.End());
    Block(5)[0] ^= 1;
    SFreeBlock *next = block;
    EXPECT_FALSE(m_Links.ReadLink(block, next));
    EXPECT_EQ(next, block);
}

TEST_F(MemFreeBlock, AFreeBlockLooksFreeUntilItIsTaken)
{
    for (u32 i = 0; i < kCount; ++i)
    {
        SFreeBlock *const block = Free(i, m_Links.End());
        ASSERT_EQ(m_Links.MayBeFree(block), kSitesReport);
        MakeLive(block);
        ASSERT_FALSE(m_Links.MayBeFree(block));
    }
}

TEST_F(MemFreeBlock, ABlockIsFoundInItsListAlone)
{
    SFreeBlock *const list = MakeList({7, 3, 9, 1});
    SFreeBlock *const other = MakeList({4});
    for (const u32 index : {7u, 3u, 9u, 1u})
    {
        EXPECT_TRUE(m_Links.HoldsBlock(list, 4, Block(index))) << index;
        EXPECT_FALSE(m_Links.HoldsBlock(other, 4, Block(index))) << index;
    }
    EXPECT_FALSE(m_Links.HoldsBlock(list, 4, Block(4)));
    EXPECT_FALSE(m_Links.HoldsBlock(nullptr, 4, Block(4)));
    EXPECT_FALSE(m_Links.HoldsBlock(m_Links.End(), 4, Block(4)));
    // No further than the count.
    EXPECT_TRUE(m_Links.HoldsBlock(list, 3, Block(1)));
    EXPECT_FALSE(m_Links.HoldsBlock(list, 2, Block(1)));
    // Nor past a link that was overwritten.
    Block(3)[0] ^= 1;
    EXPECT_TRUE(m_Links.HoldsBlock(list, 4, Block(3)));
    EXPECT_FALSE(m_Links.HoldsBlock(list, 4, Block(9)));
}

} // namespace QuorvaneTest
