// The three characters of a needle that a search looks for.
#include "kr_buffer/buffer_needle.h"

#include <string>

#include <gtest/gtest.h>

namespace
{

using namespace Quorvane;
using Internal::Buffer::kLongText;
using Internal::Buffer::SNeedle;

// Where the characters stand in the needle.
struct SThree
{
    u32 m_First;
    u32 m_Second;
    u32 m_Third;
};

void ExpectThree(u32 textLength, const std::string &needle, const SThree &expected)
{
    const SNeedle found = Internal::Buffer::NeedleFor(textLength, needle.data(), static_cast<u32>(needle.size()));
    EXPECT_EQ(static_cast<const void *>(found.m_Bytes), static_cast<const void *>(needle.data()));
    EXPECT_EQ(found.m_Length, needle.size());
    EXPECT_EQ(found.m_First, expected.m_First) << needle;
    EXPECT_EQ(found.m_Second, expected.m_Second) << needle;
    EXPECT_EQ(found.m_Third, expected.m_Third) << needle;
}

} // namespace

TEST(BufferNeedle, InAShortTextTheyAreTheFirstTheLastAndTheOneBetween)
{
    ExpectThree(kLongText - 1, "abQdefg", {0, 6, 3});
    ExpectThree(kLongText - 1, "abQdef", {0, 5, 3});
    ExpectThree(kLongText - 1, "ab", {0, 1, 1});
    ExpectThree(kLongText - 1, "a", {0, 0, 0});
}

TEST(BufferNeedle, InALongTextTheyAreTheRarestOfThoseThatDiffer)
{
    // Of common letters d, l and n are rarer than e, in this order.
    ExpectThree(kLongText, "needle", {3, 4, 0});
    // Capitals are rarer than small letters, and what no text has is rarer than they are.
    ExpectThree(kLongText, "eeQexZe", {2, 5, 4});
    ExpectThree(kLongText, "QeZ\x80", {3, 0, 2});
}

TEST(BufferNeedle, OfACharacterThatRecursItIsTheFirstPlace)
{
    ExpectThree(kLongText, "exexox", {1, 4, 0});
    ExpectThree(kLongText, "eQeQeQ", {1, 0, 5});
}

TEST(BufferNeedle, WhereNoOtherCharacterIsItIsTheLastPlace)
{
    ExpectThree(kLongText, "eeee", {0, 3, 3});
    ExpectThree(kLongText, "xeee", {0, 1, 3});
    ExpectThree(kLongText, "e", {0, 0, 0});
}

TEST(BufferNeedle, OfALongNeedleTheFirst64CharactersAreExamined)
{
    ExpectThree(kLongText, std::string(63, 'e') + "Qe", {63, 0, 64});
    ExpectThree(kLongText, std::string(64, 'e') + "Qe", {0, 65, 65});
}
