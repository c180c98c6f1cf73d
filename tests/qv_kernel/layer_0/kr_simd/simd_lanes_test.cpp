// Vectors as lanes of integers: what each operation does, against loops.
#include "kr_simd/simd_lanes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace
{

using namespace Quorvane;
using namespace Internal::Simd;

// Random numbers, the same in every run.
template <typename Number, size_t count>
void Fill(Number (&numbers)[count], unsigned seed)
{
    std::mt19937_64 random(seed);
    for (Number &number : numbers)
        number = static_cast<Number>(random());
}

TEST(SimdLanes, NarrowWordsMove)
{
    using CLanes = Narrow::SWordLanes;
    const u64 first[2] = {1, 2};
    const u64 second[2] = {3, 4};
    const CLanes::Vector diagonal = CLanes::Diagonal({first, second});
    EXPECT_EQ(diagonal[0], 1u);
    EXPECT_EQ(diagonal[1], 4u);
    const CLanes::Vector lanes = {5, 1ull << 63};
    const CLanes::Vector moved = CLanes::MoveUp(lanes, 7);
    EXPECT_EQ(moved[0], 7u);
    EXPECT_EQ(moved[1], 5u);
    EXPECT_EQ(CLanes::LastTopBit(lanes), 1u);
    EXPECT_EQ(CLanes::LastTopBit(moved), 0u);
}

#if QV_SIMD_HAS_WIDE

u32 BitsOf(u64 number)
{
    u32 count = 0;
    for (; number != 0; number &= number - 1)
        ++count;
    return count;
}

QV_SIMD_WIDE_BEGIN

// The operations, called where they may be, on memory.
namespace WideCalls
{

using Wide::STextBytes;
using Wide::SWordLanes;
using Wide::TTextLanes;

void Diagonal(const u64 *const (&words)[4], u64 *out)
{
    const SWordLanes::Vector lanes = SWordLanes::Diagonal(words);
    std::memcpy(out, &lanes, sizeof(lanes));
}

u32 MoveUp(const u64 *in, u32 first, u64 *out)
{
    SWordLanes::Vector lanes;
    std::memcpy(&lanes, in, sizeof(lanes));
    const SWordLanes::Vector moved = SWordLanes::MoveUp(lanes, first);
    std::memcpy(out, &moved, sizeof(moved));
    return SWordLanes::LastTopBit(lanes);
}

void Transpose(const char (&texts)[16][16], char (&out)[8][32])
{
    STextBytes::CBytes rows[8];
    for (u32 i = 0; i < 8; ++i)
        rows[i] = STextBytes::LoadTwo(texts[i], texts[i + 8]);
    STextBytes::CBytes pairs[8];
    STextBytes::Transpose(rows, pairs);
    for (u32 i = 0; i < 8; ++i)
        pairs[i].StorePadded(out[i]);
}

void LookUp(const u8 *entries, u8 upperHalf, const u8 *bytes, u8 *out)
{
    const STextBytes::CBytes indices = STextBytes::IndicesBelow(upperHalf, STextBytes::CBytes::Padded(bytes));
    STextBytes::TableOf(entries).LookUp(indices).StorePadded(out);
}

// For each text, in the order of the texts.
template <typename Lane>
void MoreBits(const u16 (&a)[16], const u16 (&b)[16], float (&out)[16])
{
    using CLanes = TTextLanes<Lane>;
    typename CLanes::Vector lanesA[CLanes::kVectors];
    typename CLanes::Vector lanesB[CLanes::kVectors];
    CLanes::Load(a, lanesA);
    CLanes::Load(b, lanesB);
    typename CLanes::Vector more[CLanes::kVectors];
    typename CLanes::Vector divisors[CLanes::kVectors];
    for (u32 i = 0; i < CLanes::kVectors; ++i)
    {
        // The 16 more than can be missing keep it above 0.
        more[i] = CLanes::MoreBits(lanesA[i], lanesB[i]) + static_cast<Lane>(16);
        divisors[i] = typename CLanes::Vector{} + static_cast<Lane>(4);
    }
    CLanes::StoreQuotients(more, divisors, out);
}

// The lanes of a transposed pair, of which each look-up gave `sizeof(Lane)` bytes, as numbers over 1.
template <typename Lane>
void Join(const u8 (&bytes)[sizeof(Lane)][32], float (&outFirst)[16], float (&outSecond)[16])
{
    using CLanes = TTextLanes<Lane>;
    typename CLanes::CBytes blocks[sizeof(Lane)];
    for (u32 i = 0; i < sizeof(Lane); ++i)
        blocks[i] = CLanes::CBytes::Padded(bytes[i]);
    typename CLanes::Vector lanes[2][CLanes::kVectors];
    CLanes::Join(blocks, lanes);
    typename CLanes::Vector ones[CLanes::kVectors];
    for (u32 i = 0; i < CLanes::kVectors; ++i)
        ones[i] = typename CLanes::Vector{} + static_cast<Lane>(1);
    CLanes::StoreQuotients(lanes[0], ones, outFirst);
    CLanes::StoreQuotients(lanes[1], ones, outSecond);
}

} // namespace WideCalls

QV_SIMD_END

class SimdLanesWide : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!HasWideInstructions())
            GTEST_SKIP() << "this machine has no wide instructions";
    }
};

TEST_F(SimdLanesWide, WordsMove)
{
    alignas(32) u64 words[4][4];
    u64 numbers[16];
    Fill(numbers, 1);
    std::memcpy(words, numbers, sizeof(words));
    u64 out[4];
    WideCalls::Diagonal({words[0], words[1], words[2], words[3]}, out);
    for (u32 i = 0; i < 4; ++i)
        EXPECT_EQ(out[i], words[i][i]) << i;
    const u64 lanes[4] = {1, 2, 3, 1ull << 63};
    EXPECT_EQ(WideCalls::MoveUp(lanes, 7, out), 1u);
    EXPECT_EQ(out[0], 7u);
    for (u32 i = 1; i < 4; ++i)
        EXPECT_EQ(out[i], i) << i;
    EXPECT_EQ(WideCalls::MoveUp(out, 0, out), 0u);
}

// Where the transposition puts the characters of a text: its place among the eight of its half.
u32 PlaceOf(u32 text, u32 character)
{
    return text / 8 * 16 + character % 2 * 8 + text % 8;
}

TEST_F(SimdLanesWide, TransposedPairsHoldOneCharacterOfEveryTextAndTheNext)
{
    char texts[16][16];
    char numbers[256];
    Fill(numbers, 2);
    std::memcpy(texts, numbers, sizeof(texts));
    char pairs[8][32];
    WideCalls::Transpose(texts, pairs);
    for (u32 text = 0; text < 16; ++text)
        for (u32 character = 0; character < 16; ++character)
            EXPECT_EQ(pairs[character / 2][PlaceOf(text, character)], texts[text][character])
                << text << ", " << character;
}

TEST_F(SimdLanesWide, ALookUpFindsTheBytesOfOneUpperHalf)
{
    u8 entries[16];
    Fill(entries, 3);
    for (u32 upper = 0; upper < 256; upper += 16)
        for (u32 first = 0; first < 256; first += 32)
        {
            u8 bytes[32];
            for (u32 i = 0; i < 32; ++i)
                bytes[i] = static_cast<u8>(first + i);
            u8 out[32];
            WideCalls::LookUp(entries, static_cast<u8>(upper), bytes, out);
            for (u32 i = 0; i < 32; ++i)
                EXPECT_EQ(out[i], (bytes[i] & 0xF0) == upper ? entries[bytes[i] & 0x0F] : 0) << upper << ", " << first;
        }
}

template <typename Lane>
void ExpectMoreBits()
{
    alignas(32) u16 a[16];
    alignas(32) u16 b[16];
    for (unsigned seed = 4; seed < 40; ++seed)
    {
        Fill(a, seed);
        Fill(b, seed + 100);
        float more[16];
        WideCalls::MoreBits<Lane>(a, b, more);
        for (u32 i = 0; i < 16; ++i)
            EXPECT_EQ(more[i], static_cast<float>(BitsOf(a[i]) + 16 - BitsOf(b[i])) / 4.0f) << i;
    }
}

TEST_F(SimdLanesWide, BitsAreCountedInTheLaneOfEachText)
{
    ExpectMoreBits<u16>();
    ExpectMoreBits<u32>();
}

template <typename Lane>
void ExpectJoined()
{
    u8 bytes[sizeof(Lane)][32];
    for (u32 i = 0; i < sizeof(Lane); ++i)
        Fill(bytes[i], 50 + i);
    // Floats hold whole numbers of 24 bits.
    if (sizeof(Lane) == 4)
        std::memset(bytes[sizeof(Lane) - 1], 0, 32);
    float lanes[2][16];
    WideCalls::Join<Lane>(bytes, lanes[0], lanes[1]);
    for (u32 character = 0; character < 2; ++character)
        for (u32 text = 0; text < 16; ++text)
        {
            u32 expected = 0;
            for (u32 i = 0; i < sizeof(Lane); ++i)
                expected |= static_cast<u32>(bytes[i][PlaceOf(text, character)]) << (8 * i);
            EXPECT_EQ(lanes[character][text], static_cast<float>(expected)) << character << ", " << text;
        }
}

TEST_F(SimdLanesWide, LookedUpBytesBecomeTheLanesOfTheirTexts)
{
    ExpectJoined<u16>();
    ExpectJoined<u32>();
}

#endif

} // namespace
