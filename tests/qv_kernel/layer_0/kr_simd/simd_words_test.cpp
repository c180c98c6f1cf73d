// Words of 4 and 8 bytes: each question against a look at every byte.
#include "kr_simd/simd_words.h"

#include <cstring>

#include <gtest/gtest.h>

using namespace Quorvane;
using namespace Quorvane::Internal::Simd;

namespace
{

// A word of `filler` with other bytes at two places, counted from the lowest address.
u64 MakeWord(u8 filler, u32 place, u8 byte, u32 otherPlace, u8 otherByte)
{
    u8 bytes[sizeof(u64)];
    std::memset(bytes, filler, sizeof(bytes));
    bytes[place] = byte;
    bytes[otherPlace] = otherByte;
    return LoadWord<u64>(bytes);
}

bool HoldsByModel(u64 word, u8 byte)
{
    return std::memchr(&word, byte, sizeof(word)) != nullptr;
}

bool HoldsLessByModel(u64 word, u8 limit)
{
    for (u32 i = 0; i < sizeof(word); ++i)
        if (static_cast<u8>(word >> 8 * i) < limit)
            return true;
    return false;
}

} // namespace

TEST(SimdWords, LoadsAndStoresWordsAtAnyAddress)
{
    const char text[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    for (u32 at = 0; at < 8; ++at)
    {
        char copy[24];
        std::memset(copy, '.', sizeof(copy));
        StoreWord(copy + at, LoadWord<u64>(text + at));
        StoreWord(copy + at + 8, LoadWord<u32>(text + at + 8));
        EXPECT_EQ(std::memcmp(copy + at, text + at, 12), 0) << at;
        EXPECT_EQ(copy[at + 12], '.');
    }
}

TEST(SimdWords, FillGivesOneValueToEveryByte)
{
    EXPECT_EQ(FillWord(0), 0u);
    EXPECT_EQ(FillWord(0x7B), 0x7B7B7B7B7B7B7B7Bu);
    EXPECT_EQ(FillWord(0xFF), 0xFFFFFFFFFFFFFFFFu);
}

TEST(SimdWords, QuestionsSeeEveryByteInEveryPlace)
{
    // Next to each other, where a borrow of the one might touch the other, and apart.
    for (u32 place = 0; place < 8; ++place)
    {
        for (const u32 otherPlace : {(place + 1) % 8, (place + 4) % 8})
        {
            for (u32 byte = 0; byte < 256; ++byte)
            {
                for (const u8 other : {u8{0}, u8{1}, u8{'\\'}, u8{0x7F}, u8{0x80}, u8{0xFF}})
                {
                    const u64 word = MakeWord('x', place, static_cast<u8>(byte), otherPlace, other);
                    for (const u8 wanted : {u8{0}, u8{1}, u8{'\\'}, u8{0x7F}, u8{0x80}, u8{0xFF}})
                    {
                        ASSERT_EQ(HoldsByte(word, wanted), HoldsByModel(word, wanted)) << byte << ", " << place;
                        ASSERT_EQ(AnyEqual(word, wanted) != 0, HoldsByModel(word, wanted)) << byte << ", " << place;
                    }
                    for (const u8 limit : {u8{0}, u8{1}, u8{0x0E}, u8{'y'}, u8{0x80}})
                        ASSERT_EQ(AnyLess(word, limit) != 0, HoldsLessByModel(word, limit)) << byte << ", " << place;
                }
            }
        }
    }
}

TEST(SimdWords, TrailingZeroBitsCountsToTheLowestBit)
{
    for (u32 bit = 0; bit < 64; ++bit)
    {
        EXPECT_EQ(TrailingZeroBits(u64(1) << bit), bit);
        EXPECT_EQ(TrailingZeroBits((~u64(0) >> bit) << bit), bit);
    }
}

TEST(SimdWords, HighestSetBitIsTheIndexOfTheHighestOne)
{
    for (u32 bit = 0; bit < 64; ++bit)
    {
        EXPECT_EQ(HighestSetBit(u64(1) << bit), bit);
        EXPECT_EQ(HighestSetBit(~u64(0) >> (63 - bit)), bit);
    }
}

TEST(SimdWords, CountBitsCountsThemWhereverTheyAre)
{
    EXPECT_EQ(CountBits(0), 0u);
    for (u32 first = 0; first < 64; ++first)
        for (u32 count = 1; count <= 64 - first; ++count)
            EXPECT_EQ(CountBits(~u64(0) >> (64 - count) << first), count) << first;
    EXPECT_EQ(CountBits(0x8421842184218421u), 16u);
}

TEST(SimdWords, LowerCaseBytesChangesAsciiLettersAlone)
{
    for (u32 byte = 0; byte < 256; ++byte)
    {
        for (u32 place = 0; place < 8; ++place)
        {
            for (const u32 other : {0x00u, 0x41u, 0x5Au, 0x7Fu, 0xFFu})
            {
                const auto lowered = [](u32 one) { return one >= 'A' && one <= 'Z' ? one + 32 : one; };
                const u64 mask = u64(0xFF) << 8 * place;
                const u64 word = (FillWord(static_cast<u8>(other)) & ~mask) | u64(byte) << 8 * place;
                const u64 expected = (FillWord(static_cast<u8>(lowered(other))) & ~mask) | u64(lowered(byte))
                                                                                               << 8 * place;
                ASSERT_EQ(LowerCaseBytes(word), expected) << byte << ", " << place;
            }
        }
    }
}

TEST(SimdWords, LittleEndianPutsTheFirstByteLowest)
{
    const char bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(LittleEndian(LoadWord<u64>(bytes)), 0x0807060504030201u);
    EXPECT_EQ(LittleEndian(LoadWord<u32>(bytes)), 0x04030201u);
}
