// The blocks of 32 and of 64 bytes: each operation byte by byte, as far as the machine has them.
#include "kr_simd/simd_block_widest.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "guarded_page.h"

#define QV_SIMD_NAMESPACE QuorvaneTest::Blocks
#define QV_SIMD_KERNELS "qv_kernel/layer_0/kr_simd/block_operations.inc"
#include "kr_simd/simd_each_form.inc"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

#if QV_SIMD_HAS_WIDE

struct SWideBlock : Blocks::Wide::TBlockOperations<>
{
    static bool IsAvailable() { return Internal::Simd::HasWideInstructions(); }
};

struct SWidestBlock : Blocks::Widest::TPartOperations<>
{
    static bool IsAvailable() { return Internal::Simd::HasWidestInstructions(); }
};

static_assert(SWideBlock::kBytes == 32 && SWidestBlock::kBytes == 64, "each form has a block of its own");

template <typename Form>
class SimdBlockWider : public ::testing::Test
{
protected:
    using SBytes = std::array<u8, Form::kBytes>;

    void SetUp() override
    {
        if (!Form::IsAvailable())
            GTEST_SKIP() << "this machine has no such instructions";
    }

    // Bytes at which carries, signs and ranges turn are frequent.
    SBytes RandomBytes()
    {
        static const u8 kEdges[] = {0x00, 0x01, 0x0F, 0x10, '@', 'A', 'Z', '[', '`', 'a', 'z', '{', 0x7F, 0x80, 0xFF};
        SBytes bytes;
        for (u8 &byte : bytes)
            byte = m_Random() % 2 == 0 ? kEdges[m_Random() % sizeof(kEdges)] : static_cast<u8>(m_Random());
        return bytes;
    }

    // A mask with about one byte of `rarity` marked, and the same as bits.
    SBytes RandomMask(u32 rarity, u64 &outBits)
    {
        SBytes mask = {};
        outBits = 0;
        for (u32 i = 0; i < Form::kBytes; ++i)
        {
            if (m_Random() % rarity == 0)
            {
                mask[i] = 0xFF;
                outBits |= u64(1) << i;
            }
        }
        return mask;
    }

    // What `operation` stores must be what `model` gives for each index.
    template <typename Operation, typename Model>
    static void ExpectBytes(const Operation &operation, const Model &model)
    {
        SBytes stored;
        operation(stored.data());
        for (u32 i = 0; i < Form::kBytes; ++i)
            ASSERT_EQ(stored[i], static_cast<u8>(model(i))) << i;
    }

    std::mt19937 m_Random;
};

struct SFormNames
{
    template <typename Form>
    static std::string GetName(int)
    {
        return std::to_string(Form::kBytes);
    }
};

using CForms = ::testing::Types<SWideBlock, SWidestBlock>;
TYPED_TEST_SUITE(SimdBlockWider, CForms, SFormNames);

#endif

} // namespace

#if QV_SIMD_HAS_WIDE

TYPED_TEST(SimdBlockWider, LoadsAndStoresAtAnyAddressAndNothingAround)
{
    constexpr u32 kBytes = TypeParam::kBytes;
    const CGuardedPage source;
    const CGuardedPage target;
    for (u32 offset = 0; offset < kBytes; ++offset)
    {
        std::memset(target.Begin(), '.', target.Bytes());
        const std::array<u8, kBytes> bytes = this->RandomBytes();
        u8 *const from = reinterpret_cast<u8 *>(source.Last(kBytes + offset));
        u8 *const to = reinterpret_cast<u8 *>(target.Begin()) + offset;
        std::memcpy(from, bytes.data(), kBytes);
        TypeParam::Copy(to, from);
        ASSERT_EQ(std::memcmp(to, bytes.data(), kBytes), 0) << offset;
        ASSERT_EQ(std::count(target.Begin(), target.Begin() + offset, '.'), static_cast<std::ptrdiff_t>(offset));
        ASSERT_EQ(to[kBytes], '.');
    }
}

TEST(SimdBlockWidest, PartsAreLoadedAndStoredAndNothingElseIsTouched)
{
    if (!Internal::Simd::HasWidestInstructions())
        GTEST_SKIP() << "this machine has no such instructions";
    constexpr u32 kBytes = SWidestBlock::kBytes;
    const CGuardedPage source;
    const CGuardedPage target;
    for (u32 count = 0; count <= kBytes; ++count)
    {
        u8 *const from = reinterpret_cast<u8 *>(source.Last(count));
        for (u32 i = 0; i < count; ++i)
            from[i] = static_cast<u8>(i + 1);
        u8 whole[kBytes];
        SWidestBlock::CopyPartToWhole(whole, from, count);
        std::memset(target.Last(kBytes), '.', kBytes);
        u8 *const part = reinterpret_cast<u8 *>(target.Last(count));
        SWidestBlock::CopyWholeToPart(part, whole, count);
        for (u32 i = 0; i < kBytes; ++i)
            ASSERT_EQ(whole[i], i < count ? i + 1 : 0) << count;
        ASSERT_EQ(std::memcmp(part, whole, count), 0) << count;
        ASSERT_EQ(std::count(target.Last(kBytes), target.Last(count), '.'),
                  static_cast<std::ptrdiff_t>(kBytes - count));
        ASSERT_EQ(SWidestBlock::FirstBytes(count), count == kBytes ? ~u64(0) : (u64(1) << count) - 1);
    }
}

TEST(SimdBlockWidest, MasksKeepTheBytesThatTheyMark)
{
    if (!Internal::Simd::HasWidestInstructions())
        GTEST_SKIP() << "this machine has no such instructions";
    std::mt19937 random;
    for (u32 round = 0; round < 500; ++round)
    {
        u8 bytes[SWidestBlock::kBytes];
        u8 mask[SWidestBlock::kBytes];
        for (u32 i = 0; i < SWidestBlock::kBytes; ++i)
        {
            bytes[i] = static_cast<u8>(random());
            mask[i] = random() % 2 == 0 ? 0xFF : 0;
        }
        u8 kept[SWidestBlock::kBytes];
        u8 keptToo[SWidestBlock::kBytes];
        SWidestBlock::Keep(kept, bytes, mask);
        SWidestBlock::KeepToo(keptToo, bytes, mask);
        for (u32 i = 0; i < SWidestBlock::kBytes; ++i)
        {
            ASSERT_EQ(kept[i], bytes[i] & mask[i]);
            ASSERT_EQ(keptToo[i], bytes[i] & mask[i]);
        }
    }
}

TYPED_TEST(SimdBlockWider, OperationsOnBytesAreThoseOfEachByte)
{
    constexpr u32 kBytes = TypeParam::kBytes;
    for (u32 round = 0; round < 2000; ++round)
    {
        const std::array<u8, kBytes> a = this->RandomBytes();
        std::array<u8, kBytes> b = this->RandomBytes();
        for (u32 i = 0; i < kBytes; i += 3)
            b[i] = a[i];
        const u8 value = b[0];
        this->ExpectBytes([&](u8 *out) { TypeParam::Fill(out, value); }, [&](u32) { return value; });
        this->ExpectBytes([&](u8 *out) { TypeParam::EqualBytes(out, a.data(), b.data()); },
                          [&](u32 i) { return a[i] == b[i] ? 0xFF : 0; });
        this->ExpectBytes([&](u8 *out) { TypeParam::LesserBytes(out, a.data(), b.data()); },
                          [&](u32 i) { return std::min(a[i], b[i]); });
        this->ExpectBytes([&](u8 *out) { TypeParam::And(out, a.data(), b.data()); },
                          [&](u32 i) { return a[i] & b[i]; });
        this->ExpectBytes([&](u8 *out) { TypeParam::Or(out, a.data(), b.data()); }, [&](u32 i) { return a[i] | b[i]; });
        this->ExpectBytes([&](u8 *out) { TypeParam::Xor(out, a.data(), b.data()); },
                          [&](u32 i) { return a[i] ^ b[i]; });
        this->ExpectBytes([&](u8 *out) { TypeParam::Reversed(out, a.data()); },
                          [&](u32 i) { return a[kBytes - 1 - i]; });
        this->ExpectBytes([&](u8 *out) { TypeParam::UpperHalves(out, a.data()); }, [&](u32 i) { return a[i] >> 4; });
        this->ExpectBytes([&](u8 *out) { TypeParam::Repeat(out, a.data()); }, [&](u32 i) { return a[i % 16]; });
        this->ExpectBytes([&](u8 *out) { TypeParam::LookUpIn(out, a.data(), b.data()); },
                          [&](u32 i) { return b[i] >= 0x80 ? 0 : a[i / 16 * 16 + b[i] % 16]; });
        u8 part[16];
        TypeParam::LookUpInTail(part, a.data(), b.data());
        for (u32 i = 0; i < 16; ++i)
            ASSERT_EQ(part[i], b[i] >= 0x80 ? 0 : a[b[i] % 16]) << i;
        TypeParam::FirstPart(part, a.data());
        ASSERT_EQ(std::memcmp(part, a.data(), 16), 0);
        TypeParam::LastPart(part, a.data());
        ASSERT_EQ(std::memcmp(part, a.data() + kBytes - 16, 16), 0);
    }
}

TYPED_TEST(SimdBlockWider, BetweenAsciiMarksTheRangeAlone)
{
    constexpr u32 kBytes = TypeParam::kBytes;
    const char ranges[][2] = {{'A', 'Z'},   {'a', 'z'},     {'0', '9'},   {'m', 'm'},
                              {'\0', '\0'}, {'\0', '\x7F'}, {'~', '\x7F'}};
    for (const auto &range : ranges)
    {
        for (u32 value = 0; value < 256; ++value)
        {
            std::array<u8, kBytes> bytes = this->RandomBytes();
            bytes[value % kBytes] = static_cast<u8>(value);
            this->ExpectBytes([&](u8 *out) { TypeParam::BetweenAscii(out, bytes.data(), range[0], range[1]); },
                              [&](u32 i)
                              {
                                  const bool inside =
                                      bytes[i] >= static_cast<u8>(range[0]) && bytes[i] <= static_cast<u8>(range[1]);
                                  return inside ? 0xFF : 0;
                              });
        }
    }
}

TYPED_TEST(SimdBlockWider, SameAndFirstDifferenceSeeOneBitInAnyPlace)
{
    constexpr u32 kBytes = TypeParam::kBytes;
    const std::array<u8, kBytes> bytes = this->RandomBytes();
    EXPECT_TRUE(TypeParam::Same(bytes.data(), bytes.data()));
    EXPECT_EQ(TypeParam::FirstDifference(bytes.data(), bytes.data()), kBytes);
    for (u32 bit = 0; bit < 8 * kBytes; ++bit)
    {
        std::array<u8, kBytes> other = bytes;
        other[bit / 8] = static_cast<u8>(other[bit / 8] ^ (1u << bit % 8));
        EXPECT_FALSE(TypeParam::Same(bytes.data(), other.data())) << bit;
        EXPECT_EQ(TypeParam::FirstDifference(bytes.data(), other.data()), bit / 8);
        // And the first of several.
        other[kBytes - 1] = static_cast<u8>(~bytes[kBytes - 1]);
        EXPECT_EQ(TypeParam::FirstDifference(bytes.data(), other.data()), bit / 8);
    }
}

TYPED_TEST(SimdBlockWider, MasksTellWhetherWhereAndHowMany)
{
    constexpr u32 kBytes = TypeParam::kBytes;
    for (const u32 rarity : {1u, 2u, 10u, 100u, 1000000u})
    {
        for (u32 round = 0; round < 500; ++round)
        {
            u64 bits = 0;
            const std::array<u8, kBytes> mask = this->RandomMask(rarity, bits);
            u32 first = 0;
            while (first < kBytes && mask[first] == 0)
                ++first;
            const u32 count = static_cast<u32>(std::count(mask.begin(), mask.end(), 0xFF));
            const u32 inTail = static_cast<u32>(std::count(mask.begin(), mask.begin() + 16, 0xFF));
            ASSERT_EQ(TypeParam::Any(mask.data()), count != 0);
            ASSERT_EQ(TypeParam::First(mask.data()), first);
            ASSERT_EQ(TypeParam::Bits(mask.data()), bits);
            ASSERT_EQ(TypeParam::DenseBits(mask.data()), bits);
            ASSERT_EQ(TypeParam::Count(mask.data(), mask.data(), 1), count + inTail);
            ASSERT_EQ(TypeParam::CountOfBits(bits), count);
            ASSERT_EQ(TypeParam::LowestBit(bits), count != 0 ? first : 64u);
        }
    }
}

TYPED_TEST(SimdBlockWider, CountersDoNotWrapAroundByteByByte)
{
    std::array<u8, TypeParam::kBytes> mask;
    mask.fill(0xFF);
    EXPECT_EQ(TypeParam::Count(mask.data(), mask.data(), 0), 0u);
    EXPECT_EQ(TypeParam::Count(mask.data(), mask.data(), 70000), 70000 * (TypeParam::kBytes + 16));
}

#endif

// The narrow form's functions that the wider ones have instructions for.
TEST(SimdBlockNarrow, BitsAreCountedAndFoundWithoutInstructions)
{
    namespace Narrow = Internal::Simd::Narrow;
    EXPECT_EQ(Narrow::LowestSetBit(0), 64u);
    for (u32 bit = 0; bit < 64; ++bit)
    {
        EXPECT_EQ(Narrow::LowestSetBit((~u64(0) >> bit) << bit), bit);
        EXPECT_EQ(Narrow::LowestSetBit(u64(1) << bit), bit);
        EXPECT_EQ(Narrow::CountBits((~u64(0) >> bit) << bit), 64 - bit);
    }
}

} // namespace QuorvaneTest
