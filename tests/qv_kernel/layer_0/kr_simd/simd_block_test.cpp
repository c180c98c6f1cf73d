// The block type: each operation of each form that this machine has, byte by byte.
#include "kr_simd/simd_block.h"

#include <array>
#include <cstring>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "buffer_forms.h"
#include "guarded_page.h"

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

using SBytes = std::array<u8, 16>;

template <typename Block>
Block BlockOf(const SBytes &bytes)
{
    return Block::Bounded(bytes.data(), 16);
}

template <typename Block>
SBytes BytesOf(const Block &block)
{
    SBytes bytes;
    block.StoreBounded(bytes.data(), 16);
    return bytes;
}

// Bytes `first`, first + step, first + 2 * step, ...
SBytes Ramp(u32 first, u32 step)
{
    SBytes bytes;
    for (u32 i = 0; i < 16; ++i)
        bytes[i] = static_cast<u8>(first + i * step);
    return bytes;
}

// The values at which carries, signs and ranges turn.
const std::vector<u8> kEdges = {0x00, 0x01, 0x20, 0x40, 'A',  'Z',  '[',  '`',
                                'a',  'z',  '{',  0x7F, 0x80, 0x81, 0xC1, 0xFF};

// A mask with the bytes of `marked` (bit 0 for byte 0).
SBytes MaskOf(u32 marked)
{
    SBytes bytes;
    for (u32 i = 0; i < 16; ++i)
        bytes[i] = (marked >> i & 1) != 0 ? 0xFF : 0x00;
    return bytes;
}

template <typename Block>
class SimdBlock : public ::testing::Test
{
};

TYPED_TEST_SUITE(SimdBlock, CBlockForms, SFormNames);

} // namespace

TYPED_TEST(SimdBlock, PaddedLoadsAndStoresAWholeBlock)
{
    alignas(16) char source[16];
    std::memcpy(source, "0123456789abcdef", 16);
    alignas(16) char target[48];
    std::memset(target, '.', sizeof(target));
    TypeParam::Padded(source).StorePadded(target + 16);
    EXPECT_EQ(std::string(target, 48), "................0123456789abcdef................");
}

TYPED_TEST(SimdBlock, PaddedToleratesMisalignedBlocks)
{
    alignas(16) char bytes[48];
    for (u32 offset = 0; offset < 16; ++offset)
    {
        std::memset(bytes, '.', sizeof(bytes));
        std::memcpy(bytes + offset, "0123456789abcdef", 16);
        TypeParam::Padded(bytes + offset).StorePadded(bytes + 31 - offset);
        EXPECT_EQ(std::string(bytes + 31 - offset, 16), "0123456789abcdef") << offset;
    }
}

TYPED_TEST(SimdBlock, PaddedReadsNothingAroundTheBlock)
{
    const CGuardedPage page;
    const SBytes garbage = BytesOf(TypeParam::Fill(0xCD));
    EXPECT_EQ(BytesOf(TypeParam::Padded(page.Last(16))), garbage);
    EXPECT_EQ(BytesOf(TypeParam::Padded(page.Begin())), garbage);
}

TYPED_TEST(SimdBlock, BoundedLoadsTheCountAndZeros)
{
    const char text[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    for (u32 offset = 0; offset < 16; ++offset)
    {
        for (u32 count = 0; count <= 16; ++count)
        {
            SBytes expected = {};
            std::memcpy(expected.data(), text + offset, count);
            EXPECT_EQ(BytesOf(TypeParam::Bounded(text + offset, count)), expected) << offset << ", " << count;
        }
    }
}

TYPED_TEST(SimdBlock, BoundedReadsNothingAroundTheBytes)
{
    const CGuardedPage page;
    for (u32 offset = 0; offset < 16; ++offset)
    {
        for (u32 count = 0; count <= 16; ++count)
        {
            // At every alignment right before the end, and right behind the beginning.
            SBytes expected = {};
            std::memset(expected.data(), 0xCD, count);
            EXPECT_EQ(BytesOf(TypeParam::Bounded(page.Last(count), count)), expected);
            EXPECT_EQ(BytesOf(TypeParam::Bounded(page.Begin() + offset, count)), expected);
        }
    }
}

TYPED_TEST(SimdBlock, BoundedOfNothingAcceptsNull)
{
    EXPECT_EQ(BytesOf(TypeParam::Bounded(nullptr, 0)), SBytes());
    TypeParam::Fill('x').StoreBounded(nullptr, 0);
}

TYPED_TEST(SimdBlock, StoreBoundedWritesTheCountAndNoMore)
{
    const TypeParam block = BlockOf<TypeParam>(Ramp(0x81, 7));
    const SBytes bytes = Ramp(0x81, 7);
    for (u32 offset = 0; offset < 16; ++offset)
    {
        for (u32 count = 0; count <= 16; ++count)
        {
            alignas(16) u8 target[64];
            u8 expected[64];
            std::memset(target, '.', sizeof(target));
            std::memset(expected, '.', sizeof(expected));
            std::memcpy(expected + 16 + offset, bytes.data(), count);
            block.StoreBounded(target + 16 + offset, count);
            EXPECT_EQ(std::memcmp(target, expected, sizeof(target)), 0) << offset << ", " << count;
        }
    }
}

TYPED_TEST(SimdBlock, StoreBoundedTouchesNothingAroundTheBytes)
{
    const CGuardedPage page;
    for (u32 count = 0; count <= 16; ++count)
    {
        page.Fill();
        TypeParam::Fill('x').StoreBounded(page.Last(count), count);
        EXPECT_EQ(std::string(page.Last(count), count), std::string(count, 'x'));
        EXPECT_EQ(page.Last(count + 1)[0], '\xCD');
    }
}

TYPED_TEST(SimdBlock, FillGivesOneValueToEveryByte)
{
    for (u32 value = 0; value < 256; ++value)
        EXPECT_EQ(BytesOf(TypeParam::Fill(static_cast<u8>(value))), Ramp(value, 0));
}

TYPED_TEST(SimdBlock, FirstBytesIsTheMaskOfTheCount)
{
    for (u32 count = 0; count <= 16; ++count)
        EXPECT_EQ(BytesOf(TypeParam::FirstBytes(count)), MaskOf((1u << count) - 1)) << count;
}

TYPED_TEST(SimdBlock, EqualBytesMarksEveryPairOfEqualValues)
{
    for (u32 a = 0; a < 256; ++a)
    {
        for (u32 b = 0; b < 256; ++b)
        {
            const TypeParam mask =
                TypeParam::EqualBytes(TypeParam::Fill(static_cast<u8>(a)), TypeParam::Fill(static_cast<u8>(b)));
            ASSERT_EQ(BytesOf(mask), MaskOf(a == b ? 0xFFFF : 0)) << a << ", " << b;
        }
    }
}

TYPED_TEST(SimdBlock, EqualBytesComparesEachByteToTheOneInItsPlace)
{
    const TypeParam rising = BlockOf<TypeParam>(Ramp(0, 1));
    EXPECT_EQ(BytesOf(TypeParam::EqualBytes(rising, rising)), MaskOf(0xFFFF));
    EXPECT_EQ(BytesOf(TypeParam::EqualBytes(rising, BlockOf<TypeParam>(Ramp(8, 1)))), MaskOf(0));
    EXPECT_EQ(BytesOf(TypeParam::EqualBytes(rising, BlockOf<TypeParam>(Ramp(0, 17)))), MaskOf(1));
}

TYPED_TEST(SimdBlock, LesserBytesTakesTheLesserOfEveryPairOfValues)
{
    for (u32 a = 0; a < 256; ++a)
    {
        for (u32 b = 0; b < 256; ++b)
        {
            const TypeParam lesser =
                TypeParam::LesserBytes(TypeParam::Fill(static_cast<u8>(a)), TypeParam::Fill(static_cast<u8>(b)));
            SBytes expected;
            expected.fill(static_cast<u8>(QVMin(a, b)));
            ASSERT_EQ(BytesOf(lesser), expected) << a << ", " << b;
        }
    }
}

TYPED_TEST(SimdBlock, LesserBytesComparesEachByteToTheOneInItsPlace)
{
    const TypeParam rising = BlockOf<TypeParam>(Ramp(0, 1));
    const TypeParam falling = BlockOf<TypeParam>(Ramp(15, 255));
    const SBytes expected = {0, 1, 2, 3, 4, 5, 6, 7, 7, 6, 5, 4, 3, 2, 1, 0};
    EXPECT_EQ(BytesOf(TypeParam::LesserBytes(rising, falling)), expected);
}

TYPED_TEST(SimdBlock, EqualBytesMarksOneByteWithoutItsNeighbours)
{
    // Every value against 0 between every pair of neighbours, in every place.
    for (const u8 left : kEdges)
    {
        for (const u8 right : kEdges)
        {
            for (u32 place = 0; place < 16; ++place)
            {
                SBytes bytes = Ramp(left, 0);
                bytes[place] = 0x00;
                for (u32 i = place + 1; i < 16; ++i)
                    bytes[i] = right;
                u32 marked = 1u << place;
                if (left == 0)
                    marked |= (1u << place) - 1;
                if (right == 0)
                    marked |= 0xFFFFu << place & 0xFFFFu;
                const TypeParam mask = TypeParam::EqualBytes(BlockOf<TypeParam>(bytes), TypeParam::Fill(0));
                ASSERT_EQ(BytesOf(mask), MaskOf(marked)) << int(left) << ", " << int(right) << ", " << place;
            }
        }
    }
}

TYPED_TEST(SimdBlock, BetweenAsciiMarksTheRangeAlone)
{
    const char ranges[][2] = {{'A', 'Z'},   {'a', 'z'},     {'0', '9'},   {'m', 'm'},
                              {'\0', '\0'}, {'\0', '\x7F'}, {'~', '\x7F'}};
    for (const auto &range : ranges)
    {
        for (u32 value = 0; value < 256; ++value)
        {
            const bool inside = value >= static_cast<u32>(range[0]) && value <= static_cast<u32>(range[1]);
            // Among values of the other side, and among its own.
            SBytes bytes = Ramp(inside ? 0xFF : static_cast<u32>(range[0]), 0);
            const u32 place = value % 16;
            bytes[place] = static_cast<u8>(value);
            const u32 marked = inside ? 1u << place : 0xFFFFu & ~(1u << place);
            const TypeParam mask = BlockOf<TypeParam>(bytes).BetweenAscii(range[0], range[1]);
            ASSERT_EQ(BytesOf(mask), MaskOf(marked)) << range[0] << ", " << range[1] << ", " << value;
        }
    }
}

TYPED_TEST(SimdBlock, BitOperationsWorkBitByBit)
{
    const SBytes a = Ramp(0x0F, 0x1D);
    const SBytes b = Ramp(0xF1, 0x35);
    SBytes conjunction, disjunction, exclusive;
    for (u32 i = 0; i < 16; ++i)
    {
        conjunction[i] = static_cast<u8>(a[i] & b[i]);
        disjunction[i] = static_cast<u8>(a[i] | b[i]);
        exclusive[i] = static_cast<u8>(a[i] ^ b[i]);
    }
    EXPECT_EQ(BytesOf(BlockOf<TypeParam>(a) & BlockOf<TypeParam>(b)), conjunction);
    EXPECT_EQ(BytesOf(BlockOf<TypeParam>(a) | BlockOf<TypeParam>(b)), disjunction);
    EXPECT_EQ(BytesOf(BlockOf<TypeParam>(a) ^ BlockOf<TypeParam>(b)), exclusive);
}

TYPED_TEST(SimdBlock, ReversedPutsTheLastByteFirst)
{
    const SBytes bytes = {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'a', 'b', 'c', 'd', 'e', 0xFF};
    const SBytes reversed = {0xFF, 'e', 'd', 'c', 'b', 'a', '9', '8', '7', '6', '5', '4', '3', '2', '1', '0'};
    EXPECT_EQ(BytesOf(BlockOf<TypeParam>(bytes).Reversed()), reversed);
}

TYPED_TEST(SimdBlock, SameAndFirstDifferenceSeeOneBitInAnyPlace)
{
    const SBytes bytes = Ramp(0x70, 5);
    const TypeParam block = BlockOf<TypeParam>(bytes);
    EXPECT_TRUE(TypeParam::Same(block, BlockOf<TypeParam>(bytes)));
    EXPECT_EQ(TypeParam::FirstDifference(block, BlockOf<TypeParam>(bytes)), 16u);
    for (u32 bit = 0; bit < 128; ++bit)
    {
        SBytes other = bytes;
        other[bit / 8] = static_cast<u8>(other[bit / 8] ^ (1u << bit % 8));
        EXPECT_FALSE(TypeParam::Same(block, BlockOf<TypeParam>(other))) << bit;
        EXPECT_EQ(TypeParam::FirstDifference(block, BlockOf<TypeParam>(other)), bit / 8);
    }
}

TYPED_TEST(SimdBlock, FirstDifferenceIsTheFirstOfSeveral)
{
    for (u32 first = 0; first < 16; ++first)
    {
        for (u32 second = first; second < 16; ++second)
        {
            SBytes bytes = {};
            bytes[second] = 0xFF;
            bytes[first] = 0x01;
            EXPECT_EQ(TypeParam::FirstDifference(TypeParam::Fill(0), BlockOf<TypeParam>(bytes)), first);
        }
    }
}

TYPED_TEST(SimdBlock, MasksTellWhetherWhereAndHowMany)
{
    for (u32 marked = 0; marked < 0x10000; ++marked)
    {
        const TypeParam mask = BlockOf<TypeParam>(MaskOf(marked));
        u32 first = 0;
        while (first < 16 && (marked >> first & 1) == 0)
            ++first;
        u32 count = 0;
        for (u32 i = 0; i < 16; ++i)
            count += marked >> i & 1;
        typename TypeParam::SCounter counter;
        counter.Add(mask);
        ASSERT_EQ(mask.Any(), marked != 0) << marked;
        ASSERT_EQ(mask.First(), first) << marked;
        u64 bits = 0;
        for (u32 i = 0; i < 16; ++i)
            bits |= u64(marked >> i & 1) << i * TypeParam::kBitsPerByte;
        ASSERT_EQ(mask.Bits(), bits) << marked;
        ASSERT_EQ(mask.DenseBits(), marked) << marked;
        ASSERT_EQ(counter.Total(), count) << marked;
    }
}

TYPED_TEST(SimdBlock, CountersDoNotWrapAroundByteByByte)
{
    typename TypeParam::SCounter counter;
    EXPECT_EQ(counter.Total(), 0u);
    for (u32 i = 0; i < 70000; ++i)
        counter.Add(TypeParam::Fill(0xFF));
    EXPECT_EQ(counter.Total(), 1120000u);
}

TEST(SimdBlock, TheMachinesOwnFormIsTheLibrarys)
{
#if QV_SIMD_LEVEL == 0
    EXPECT_TRUE((std::is_same<Internal::Simd::SBlock, Internal::Simd::SBlockPortable>::value));
#elif defined(__SSE2__)
    EXPECT_TRUE((std::is_same<Internal::Simd::SBlock, Internal::Simd::SBlockSse2>::value));
#elif defined(__aarch64__) && defined(__AARCH64EL__)
    EXPECT_TRUE((std::is_same<Internal::Simd::SBlock, Internal::Simd::SBlockNeon>::value));
#else
    EXPECT_TRUE((std::is_same<Internal::Simd::SBlock, Internal::Simd::SBlockPortable>::value));
#endif
}
