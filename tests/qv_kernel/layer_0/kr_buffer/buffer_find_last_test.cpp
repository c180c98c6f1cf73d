// The last occurrence of a text in counted text.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "buffer_forms.h"
#include "edit_model.h"
#include "every_text.h"
#include "guarded_page.h"
#include "hard_needles.h"
#include "kr_buffer/buffer_find.h"
#include "kr_buffer/buffer_kernels.h"
#include "kr_simd/simd_machine.h"
#include "random_numbers.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr size_t kNowhere = std::string::npos;

u32 LengthToSearch(const std::string &text)
{
    return static_cast<u32>(text.size());
}

// Where the needle was found, or the model's word for nowhere.
size_t Found(const std::string &text, const char *found)
{
    return found != nullptr ? static_cast<size_t>(found - text.data()) : kNowhere;
}

size_t FindLast(const std::string &text, const std::string &needle)
{
    return Found(text, Internal::Buffer::FindLastInCounted(text.data(), LengthToSearch(text), needle.data(),
                                                           LengthToSearch(needle)));
}

size_t FindLastCase(const std::string &text, const std::string &needle)
{
    return Found(text, Internal::Buffer::FindLastInCountedCase(text.data(), LengthToSearch(text), needle.data(),
                                                               LengthToSearch(needle)));
}

std::string Reversed(const std::string &text)
{
    return std::string(text.rbegin(), text.rend());
}

TEST(BufferFindLast, AnswersTheLastOccurrence)
{
    EXPECT_EQ(FindLast("abcabc", "abc"), 3u);
    EXPECT_EQ(FindLast("abcabc", "ca"), 2u);
    EXPECT_EQ(FindLast("abcabc", "a"), 3u);
    EXPECT_EQ(FindLast("aaaa", "aaa"), 1u);
    EXPECT_EQ(FindLast("abcabc", "abcabc"), 0u);
    EXPECT_EQ(FindLast("abcabc", "abcabcd"), kNowhere);
    EXPECT_EQ(FindLast("abcABC", "ABC"), 3u);
    EXPECT_EQ(FindLast("abcABC", "abc"), 0u);
    EXPECT_EQ(FindLastCase("abcABC", "aBc"), 3u);
    EXPECT_EQ(FindLastCase("abcABC", "C"), 5u);
    EXPECT_EQ(FindLastCase("abcABC", "cb"), kNowhere);
    EXPECT_EQ(FindLast("", "a"), kNowhere);
    EXPECT_EQ(FindLastCase("", "a"), kNowhere);
    EXPECT_EQ(Internal::Buffer::FindLastInCounted(nullptr, 0, "ab", 2), nullptr);
    EXPECT_EQ(Internal::Buffer::FindLastInCountedCase("abc", 3, "abc", 0xFFFFFFFFu), nullptr);
}

TEST(BufferFindLast, TerminatorsAndHighBytesAreCharactersLikeOthers)
{
    const std::string text("a\0b\xE9\0b\xC9", 7);
    for (const auto find : {&FindLast, &FindLastCase})
    {
        EXPECT_EQ(find(text, std::string("\0b", 2)), 4u);
        EXPECT_EQ(find(text, std::string("\0", 1)), 4u);
        EXPECT_EQ(find(text, "b\xE9"), 2u);
        EXPECT_EQ(find(text, "\xC9"), 6u);
        EXPECT_EQ(find(text, std::string("\0c", 2)), kNowhere);
    }
}

TEST(BufferFindLast, EveryShortNeedleIsFoundInEveryShortTextAsTheModelSays)
{
    const std::vector<std::string> texts = EveryText("aAb\x80", 4);
    std::vector<std::string> lowered;
    for (const std::string &text : texts)
        lowered.push_back(ModelLowercase(text));
    for (size_t i = 0; i < texts.size(); ++i)
    {
        for (size_t j = 1; j < texts.size(); ++j)
        {
            const bool right = FindLast(texts[i], texts[j]) == texts[i].rfind(texts[j]) &&
                               FindLastCase(texts[i], texts[j]) == lowered[i].rfind(lowered[j]);
            if (!right)
            {
                FAIL() << ::testing::PrintToString(texts[j]) << " in " << ::testing::PrintToString(texts[i]);
            }
        }
    }
}

// Texts of a block and more, with characters rare and common, of which the needle is one or not.
TEST(BufferFindLast, NeedlesAreFoundInLongTextsAsTheModelSays)
{
    u32 state = 1;
    const auto next = [&](size_t below)
    {
        state = NextRandomState(state);
        return (state >> 8) % static_cast<u32>(below);
    };
    for (u32 round = 0; round < (kVerySlow ? 4000u : 20000u); ++round)
    {
        const std::string alphabet = std::string("abABcdefgZ").substr(0, 1 + next(10));
        std::string text(next(1200), ' ');
        for (char &character : text)
            character = alphabet[next(alphabet.size())];
        std::string needle = text.substr(next(text.size() + 1), 1 + next(round % 5 == 0 ? 100 : 6)) + alphabet[0];
        if (next(3) == 0)
            needle[next(needle.size())] = alphabet[next(alphabet.size())];
        for (const u32 bytes : {16u, 32u, 64u})
        {
            Internal::Simd::AllowWidestInstructions(bytes == 64);
            if (bytes == 16)
                Internal::Simd::AllowWideInstructions(false);
            ASSERT_EQ(FindLast(text, needle), text.rfind(needle)) << text << ", " << needle;
            ASSERT_EQ(FindLastCase(text, needle), ModelLowercase(text).rfind(ModelLowercase(needle)))
                << text << ", " << needle;
        }
    }
    Internal::Simd::AllowWideInstructions(true);
}

TEST(BufferFindLast, NeitherTextNorNeedleIsReadOutsideOfItsCount)
{
    const CGuardedPage page;
    const CGuardedPage needlePage;
    for (u32 length = 1; length <= 200; ++length)
    {
        for (char *const text : {page.Begin(), page.Last(length)})
        {
            std::memset(text, 'a', length);
            for (const u32 needleLength : {1u, 2u, 15u, 16u, 17u, 33u, 65u})
            {
                for (char *const needle : {needlePage.Begin(), needlePage.Last(needleLength)})
                {
                    std::memset(needle, 'a', needleLength);
                    const char *const expected = needleLength <= length ? text + (length - needleLength) : nullptr;
                    ASSERT_EQ(Internal::Buffer::FindLastInCounted(text, length, needle, needleLength), expected);
                    ASSERT_EQ(Internal::Buffer::FindLastInCountedCase(text, length, needle, needleLength), expected);
                    // One that ends as the text begins, and one that begins as it ends.
                    for (const u32 other : {0u, needleLength - 1})
                    {
                        needle[other] = 'b';
                        ASSERT_EQ(Internal::Buffer::FindLastInCounted(text, length, needle, needleLength), nullptr);
                        ASSERT_EQ(Internal::Buffer::FindLastInCountedCase(text, length, needle, needleLength), nullptr);
                        needle[other] = 'a';
                    }
                }
            }
        }
    }
}

// In text times needle steps this would not come to an end.
TEST(BufferFindLast, TheCostIsLinearForANeedleThatRecursInPart)
{
    constexpr size_t kCount = 1000000;
    const std::string text(kCount, 'a');
    for (const std::string &needle : {"b" + std::string(kCount / 2, 'a'), std::string(kCount / 2, 'a') + 'b'})
    {
        EXPECT_EQ(FindLast(text, needle), kNowhere);
        EXPECT_EQ(FindLastCase(text, needle), kNowhere);
        EXPECT_EQ(FindLast(needle + text, needle), 0u);
        EXPECT_EQ(FindLastCase(needle + text, needle), 0u);
    }
}

// The search by blocks gives up as long as what it has compared is linear, and what it leaves holds what is there.
TEST(BufferFindLast, SearchingGivesUpWithinItsCredit)
{
    namespace Kernels = Internal::Buffer::Narrow;
    using CSearch = Kernels::TNeedleSearch<Kernels::CBlock, Kernels::SExactBytes, Kernels::End_Counted,
                                           Kernels::Direction_Backwards>;
    u32 givenUp = 0;
    // The model is quadratic.
    for (const SHardCase &hard : HardCases(kVerySlow ? 4000 : 40000))
    {
        // With some places walked over before the first try, which pay for more.
        const std::string text = Reversed(hard.m_Text) + std::string(1000, '-');
        const std::string needle = Reversed(hard.m_Needle);
        const u32 length = LengthToSearch(text);
        const u32 needleLength = LengthToSearch(needle);
        CSearch search(
            reinterpret_cast<const u8 *>(text.data()), length,
            {reinterpret_cast<const u8 *>(needle.data()), needleLength, 0, needleLength - 1, needleLength / 2});
        const Internal::Buffer::SNeedleFound found = search.Find();
        // What it had walked over from the end paid for all but the last try.
        const bool gaveUp = found.m_Outcome == Internal::Buffer::NeedleFound_GaveUp;
        const u32 walked = gaveUp ? length - needleLength - found.m_Place : length;
        EXPECT_LE(search.Spent(), 4096u + 16u * walked + 8u + needleLength);
        givenUp += gaveUp ? 1 : 0;
        const std::string withOne = needle + text;
        const size_t place = withOne.rfind(needle);
        EXPECT_EQ(FindLast(withOne, needle), place);
        EXPECT_EQ(FindLastCase(withOne, needle), place);
    }
    EXPECT_GT(givenUp, 0u);
}

// The kernels in each form with narrow blocks; buffer_wider_forms_test.cpp has the others.

template <typename Block>
class BufferFindLastForms : public ::testing::Test
{
};

TYPED_TEST_SUITE(BufferFindLastForms, CBlockForms, SFormNames);

TYPED_TEST(BufferFindLastForms, LastPairsAreFoundInEveryPlaceAtBothEndsOfMemory)
{
    namespace Kernels = Internal::Buffer::Narrow;
    const CGuardedPage page;
    for (const std::string needle : {"ab", "needle", "a needle longer than one block"})
    {
        const u32 needleLength = LengthToSearch(needle);
        const Internal::Buffer::SNeedle wanted = {reinterpret_cast<const u8 *>(needle.data()), needleLength, 0,
                                                  needleLength - 1, needleLength / 2};
        for (u32 length = needleLength; length <= 180; ++length)
        {
            for (char *const text : {page.Begin(), page.Last(length)})
            {
                for (u32 i = 0; i < length; ++i)
                    text[i] = needle[1 + i % (needleLength - 1)];
                const u8 *const bytes = reinterpret_cast<const u8 *>(text);
                for (u32 place = 0; place + needleLength <= length; ++place)
                {
                    const std::string kept(text + place, needleLength);
                    std::memcpy(text + place, needle.data(), needleLength);
                    const size_t last = std::string(text, length).rfind(needle);
                    for (const Internal::Buffer::SNeedleFound &found :
                         {Kernels::FindLastNeedle<TypeParam>(bytes, length, wanted),
                          Kernels::FindLastNeedleCase<TypeParam>(bytes, length, wanted)})
                    {
                        ASSERT_EQ(found.m_Outcome, Internal::Buffer::NeedleFound_Here) << length << ", " << place;
                        ASSERT_EQ(found.m_Place, last) << length << ", " << place;
                    }
                    std::memcpy(text + place, kept.data(), needleLength);
                }
            }
        }
    }
}

} // namespace
