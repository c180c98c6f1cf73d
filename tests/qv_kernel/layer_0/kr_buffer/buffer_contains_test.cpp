// Substring tests of native strings.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "every_text.h"
#include "guarded_text.h"
#include "hard_needles.h"
#include "kr_buffer.h"
#include "kr_buffer/two_way_search.h"
#include "kr_string.h"
#include "part_tests.h"
#include "search_model.h"

namespace QuorvaneTest
{

namespace
{

using Quorvane::SNativeStringUtils;
using Quorvane::u32;

const FPartTest kContainsTests[] = {SNativeStringUtils::Contains, SNativeStringUtils::ContainsCase};
const FPartTest kContainsCaseTests[] = {SNativeStringUtils::ContainsCase};
const FPartTest kContainsExactTests[] = {SNativeStringUtils::Contains};

TEST(BufferContains, TellsWhetherTheTextHoldsIt)
{
    EXPECT_TRUE(SNativeStringUtils::Contains("textures/wall.png", "wall"));
    EXPECT_TRUE(SNativeStringUtils::Contains("wall", "wall"));
    EXPECT_TRUE(SNativeStringUtils::Contains("aaab", "aab"));
    EXPECT_FALSE(SNativeStringUtils::Contains("textures/wall.png", "Wall"));
    EXPECT_FALSE(SNativeStringUtils::Contains("wal", "wall"));
    EXPECT_FALSE(SNativeStringUtils::Contains("", "a"));
}

TEST(BufferContainsCase, IgnoresCase)
{
    EXPECT_TRUE(SNativeStringUtils::ContainsCase("textures/Wall.png", "wALL"));
    EXPECT_TRUE(SNativeStringUtils::ContainsCase("wall", "WALL"));
    EXPECT_TRUE(SNativeStringUtils::ContainsCase("aAaB", "AAb"));
    EXPECT_FALSE(SNativeStringUtils::ContainsCase("textures/wall.png", "walls"));
    EXPECT_FALSE(SNativeStringUtils::ContainsCase("wal", "WALL"));
    EXPECT_FALSE(SNativeStringUtils::ContainsCase("", "a"));
}

// What holds for prefix, suffix and substring tests alike.

TEST(BufferContains, NullAndEmptyAreContainedInEverything)
{
    for (FPartTest test : kContainsTests)
        ExpectNullAndEmptyAreContainedInEverything(test);
}

TEST(BufferContains, NullContainsNothingElse)
{
    for (FPartTest test : kContainsTests)
        ExpectNullContainsNothingElse(test);
}

TEST(BufferContains, TextsEndAtTheFirstTerminator)
{
    for (FPartTest test : kContainsTests)
        ExpectTextsEndAtTheFirstTerminator(test);
}

TEST(BufferContains, EachCharacterIsFoundInItselfAndItsOtherCaseOnly)
{
    for (FPartTest test : kContainsExactTests)
        ExpectEachCharacterIsFoundInItselfOnly(test, false);
    for (FPartTest test : kContainsCaseTests)
        ExpectEachCharacterIsFoundInItselfOnly(test, true);
}

TEST(BufferContains, NoLocaleChangesCase)
{
    for (FPartTest test : kContainsCaseTests)
        ExpectNoLocaleChangesCase(test);
}

TEST(BufferContains, NothingBehindTheTerminatorsIsRead)
{
    const char *const texts[] = {"", "a", "ab", "aab", "aabaab", "aabaabaabaabaabaab"};
    for (const char *text : texts)
    {
        for (const char *part : texts)
        {
            const CGuardedText guardedText(text);
            const CGuardedText guardedPart(part);
            const bool contained = SearchModelFind(text, part, false) != std::string::npos;
            EXPECT_EQ(SNativeStringUtils::Contains(guardedText.Get(), guardedPart.Get()), contained);
            EXPECT_EQ(SNativeStringUtils::ContainsCase(guardedText.Get(), guardedPart.Get()), contained);
        }
    }
}

TEST(BufferContains, EveryPairOfShortTextsAgreesWithTheModel)
{
    const std::vector<std::string> texts = EveryText("aAbB", 4);
    const std::vector<std::string> parts = EveryText("aAbB", 3);
    for (const std::string &text : texts)
    {
        for (const std::string &part : parts)
        {
            const char *t = text.c_str();
            const char *p = part.c_str();
            ASSERT_EQ(SNativeStringUtils::Contains(t, p), SearchModelFind(text, part, false) != std::string::npos)
                << t << " " << p;
            ASSERT_EQ(SNativeStringUtils::ContainsCase(t, p), SearchModelFind(text, part, true) != std::string::npos)
                << t << " " << p;
        }
    }
}

// By the linear search, which tests of its own hold against the model.
bool Holds(const char *text, size_t length, const char *needle, size_t needleLength)
{
    namespace Buffer = Quorvane::Internal::Buffer;
    return Buffer::FindTwoWay<Buffer::SCaseMatters>(text, length, needle, needleLength) != nullptr;
}

TEST(BufferContains, EveryPublicSearchComesToAnEndWithHardNeedles)
{
    for (const SHardCase &hard : HardCases(kSlow ? 100000 : 300000))
    {
        const char *const text = hard.m_Text.c_str();
        const char *const needle = hard.m_Needle.c_str();
        const u32 length = static_cast<u32>(hard.m_Text.size());
        const u32 needleLength = static_cast<u32>(hard.m_Needle.size());
        const bool expected = Holds(text, length, needle, needleLength);
        const bool expectedBehind = Holds(text + 1, length - 1, needle, needleLength);
        EXPECT_EQ(SNativeStringUtils::Contains(text, needle), expected);
        EXPECT_EQ(SNativeStringUtils::ContainsCase(text, needle), expected);
        EXPECT_EQ(SNativeStringUtils::Find(text, length, needle, needleLength) != nullptr, expected);
        EXPECT_EQ(SNativeStringUtils::FindCase(text, length, needle, needleLength) != nullptr, expected);
        const Quorvane::CString string(text);
        EXPECT_EQ(string.FindFirstOf(needle).Valid(), expected);
        EXPECT_EQ(string.FindNextOf(needle, 1).Valid(), expectedBehind);
        for (const Quorvane::ECaseSensitivity sensitivity : {Quorvane::CaseSensitive, Quorvane::CaseInsensitive})
        {
            EXPECT_EQ(string.Contains(needle, sensitivity), expected);
            EXPECT_EQ(Quorvane::CStringView(string).Contains(needle, sensitivity), expected);
        }
    }
}

// Texts of unknown length are measured and searched a window at a time; nothing may be lost between two of them.
TEST(BufferContains, ANeedleIsFoundWhereverItStandsInALongText)
{
    for (const size_t needleLength : {1u, 16u, 17u, 40u, 600u, 3000u})
    {
        std::string needle(needleLength, 'n');
        needle.back() = 'N';
        const size_t length = 20000;
        const CGuardedText text(std::string(length, 'n'));
        for (size_t place = 0; place + needleLength <= length; place += place % 97 == 0 ? 1 : 13)
        {
            char *const last = text.Get() + place + needleLength - 1;
            *last = 'N';
            ASSERT_TRUE(SNativeStringUtils::Contains(text.Get(), needle.c_str())) << needleLength << ", " << place;
            ASSERT_TRUE(SNativeStringUtils::ContainsCase(text.Get(), needle.c_str()));
            // It must be whole, and stand before the end.
            *last = '\0';
            ASSERT_FALSE(SNativeStringUtils::Contains(text.Get(), needle.c_str())) << needleLength << ", " << place;
            *last = 'n';
        }
        ASSERT_FALSE(SNativeStringUtils::Contains(text.Get(), needle.c_str()));
    }
}

TEST(BufferContains, AllWindowsBordersLetANeedleThrough)
{
    const std::string needle = "a needle that is longer than sixteen";
    std::string text(kSlow ? 70000 : 300000, '.');
    // Around the multiples of 2 KiB, where windows end: each is a little shorter by what overlaps.
    for (size_t border = 2048; border < text.size(); border += 2048)
    {
        for (size_t place = border - 900; place + needle.size() < std::min(border + 4, text.size());
             place += place + 40 < border && border > 8192 ? 31 : 1)
        {
            text.replace(place, needle.size(), needle);
            ASSERT_TRUE(SNativeStringUtils::Contains(text.c_str(), needle.c_str())) << place;
            text.replace(place, needle.size(), needle.size(), '.');
        }
    }
}

} // namespace

} // namespace QuorvaneTest
