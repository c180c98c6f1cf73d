// Prefix and suffix tests of native strings.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "every_text.h"
#include "guarded_text.h"
#include "kr_buffer.h"
#include "part_tests.h"
#include "search_model.h"

namespace QuorvaneTest
{

namespace
{

using Quorvane::SNativeStringUtils;

const FPartTest kTests[] = {SNativeStringUtils::StartsWith, SNativeStringUtils::StartsWithCase,
                            SNativeStringUtils::EndsWith, SNativeStringUtils::EndsWithCase};
const FPartTest kCaseTests[] = {SNativeStringUtils::StartsWithCase, SNativeStringUtils::EndsWithCase};
const FPartTest kExactTests[] = {SNativeStringUtils::StartsWith, SNativeStringUtils::EndsWith};

// Prefixes.

TEST(BufferStartsWith, TellsWhetherTheTextBeginsSo)
{
    EXPECT_TRUE(SNativeStringUtils::StartsWith("textures/wall", "textures/"));
    EXPECT_TRUE(SNativeStringUtils::StartsWith("textures", "textures"));
    EXPECT_FALSE(SNativeStringUtils::StartsWith("textures", "Textures"));
    EXPECT_FALSE(SNativeStringUtils::StartsWith("textures", "textures/"));
    EXPECT_FALSE(SNativeStringUtils::StartsWith("a textures", "textures"));
    EXPECT_FALSE(SNativeStringUtils::StartsWith("", "a"));
}

TEST(BufferStartsWithCase, IgnoresCase)
{
    EXPECT_TRUE(SNativeStringUtils::StartsWithCase("Textures/Wall", "tEXTURES/"));
    EXPECT_TRUE(SNativeStringUtils::StartsWithCase("textures", "TEXTURES"));
    EXPECT_FALSE(SNativeStringUtils::StartsWithCase("textures", "TEXTURES/"));
    EXPECT_FALSE(SNativeStringUtils::StartsWithCase("a textures", "textures"));
    EXPECT_FALSE(SNativeStringUtils::StartsWithCase("", "a"));
}

// Suffixes.

TEST(BufferEndsWith, TellsWhetherTheTextEndsSo)
{
    EXPECT_TRUE(SNativeStringUtils::EndsWith("wall.png", ".png"));
    EXPECT_TRUE(SNativeStringUtils::EndsWith("wall.png", "wall.png"));
    EXPECT_FALSE(SNativeStringUtils::EndsWith("wall.png", ".PNG"));
    EXPECT_FALSE(SNativeStringUtils::EndsWith("wall.png.bak", ".png"));
    EXPECT_FALSE(SNativeStringUtils::EndsWith("png", ".png"));
    EXPECT_FALSE(SNativeStringUtils::EndsWith("", "a"));
    // The only occurrence that counts is the last.
    EXPECT_TRUE(SNativeStringUtils::EndsWith("aba ab aba", "aba"));
}

TEST(BufferEndsWithCase, IgnoresCase)
{
    EXPECT_TRUE(SNativeStringUtils::EndsWithCase("wall.png", ".PNG"));
    EXPECT_TRUE(SNativeStringUtils::EndsWithCase("WALL.png", "wall.PNG"));
    EXPECT_FALSE(SNativeStringUtils::EndsWithCase("wall.png.bak", ".PNG"));
    EXPECT_FALSE(SNativeStringUtils::EndsWithCase("png", ".PNG"));
    EXPECT_FALSE(SNativeStringUtils::EndsWithCase("", "a"));
}

// What holds for prefix, suffix and substring tests alike.

TEST(BufferAffixes, NullAndEmptyAreContainedInEverything)
{
    for (FPartTest test : kTests)
        ExpectNullAndEmptyAreContainedInEverything(test);
}

TEST(BufferAffixes, NullContainsNothingElse)
{
    for (FPartTest test : kTests)
        ExpectNullContainsNothingElse(test);
}

TEST(BufferAffixes, TextsEndAtTheFirstTerminator)
{
    for (FPartTest test : kTests)
        ExpectTextsEndAtTheFirstTerminator(test);
}

TEST(BufferAffixes, EachCharacterIsFoundInItselfAndItsOtherCaseOnly)
{
    for (FPartTest test : kExactTests)
        ExpectEachCharacterIsFoundInItselfOnly(test, false);
    for (FPartTest test : kCaseTests)
        ExpectEachCharacterIsFoundInItselfOnly(test, true);
}

TEST(BufferAffixes, NoLocaleChangesCase)
{
    for (FPartTest test : kCaseTests)
        ExpectNoLocaleChangesCase(test);
}

TEST(BufferAffixes, NothingBehindTheTerminatorsIsRead)
{
    const char *const texts[] = {"", "a", "ab", "aab", "aabaab", "aabaabaabaabaabaab"};
    for (const char *text : texts)
    {
        for (const char *part : texts)
        {
            const CGuardedText guardedText(text);
            const CGuardedText guardedPart(part);
            const bool starts = SearchModelStartsWith(text, part, false);
            EXPECT_EQ(SNativeStringUtils::StartsWith(guardedText.Get(), guardedPart.Get()), starts);
            EXPECT_EQ(SNativeStringUtils::StartsWithCase(guardedText.Get(), guardedPart.Get()), starts);
            const bool ends = SearchModelEndsWith(text, part, false);
            EXPECT_EQ(SNativeStringUtils::EndsWith(guardedText.Get(), guardedPart.Get()), ends);
            EXPECT_EQ(SNativeStringUtils::EndsWithCase(guardedText.Get(), guardedPart.Get()), ends);
        }
    }
}

TEST(BufferAffixes, EveryPairOfShortTextsAgreesWithTheModel)
{
    const std::vector<std::string> texts = EveryText("aAbB", 4);
    const std::vector<std::string> parts = EveryText("aAbB", 3);
    for (const std::string &text : texts)
    {
        for (const std::string &part : parts)
        {
            const char *t = text.c_str();
            const char *p = part.c_str();
            ASSERT_EQ(SNativeStringUtils::StartsWith(t, p), SearchModelStartsWith(text, part, false)) << t << " " << p;
            ASSERT_EQ(SNativeStringUtils::StartsWithCase(t, p), SearchModelStartsWith(text, part, true))
                << t << " " << p;
            ASSERT_EQ(SNativeStringUtils::EndsWith(t, p), SearchModelEndsWith(text, part, false)) << t << " " << p;
            ASSERT_EQ(SNativeStringUtils::EndsWithCase(t, p), SearchModelEndsWith(text, part, true)) << t << " " << p;
        }
    }
}

} // namespace

} // namespace QuorvaneTest
