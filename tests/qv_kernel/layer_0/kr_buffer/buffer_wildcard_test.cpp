#include "kr_buffer/buffer_wildcard.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "every_locale.h"
#include "every_text.h"
#include "guarded_text.h"
#include "kr_buffer.h"
#include "wildcard_model.h"

namespace QuorvaneTest
{

namespace
{

using Quorvane::SNativeStringUtils;
using Quorvane::u32;
using Quorvane::u64;
namespace Buffer = Quorvane::Internal::Buffer;

// Counts steps for the matcher.
struct SStepCounter
{
    u64 m_Steps = 0;

    void Count() { ++m_Steps; }
};

// One of the four matchers: as the interface has it, with its steps counted, and what the model needs to know.
struct SMatcher
{
    const char *m_Name;
    bool (*m_Match)(const char *pattern, const char *str);
    bool (*m_Counted)(const std::string &pattern, const std::string &text, SStepCounter &steps);
    bool m_IgnoresCase;
    bool m_HasInhibitors;
};

// In texts that end at a terminator and, with the same steps, in those that end by their length.
template <typename TCase, typename TInhibitors>
bool Counted(const std::string &pattern, const std::string &text, SStepCounter &steps)
{
    using CTerminated = Buffer::TCharacters<Buffer::SToTerminator>;
    const bool matches = Buffer::MatchWildcards<TCase, TInhibitors>(CTerminated{pattern.c_str(), {}},
                                                                    CTerminated{text.c_str(), {}}, steps);
    using CByLength = Buffer::TCharacters<Buffer::SToEnd>;
    SStepCounter stepsByLength;
    const bool matchesByLength =
        Buffer::MatchWildcards<TCase, TInhibitors>(CByLength{pattern.data(), {pattern.data() + pattern.size()}},
                                                   CByLength{text.data(), {text.data() + text.size()}}, stepsByLength);
    EXPECT_EQ(matchesByLength, matches) << pattern << " " << text;
    EXPECT_EQ(stepsByLength.m_Steps, steps.m_Steps) << pattern << " " << text;
    return matches;
}

bool MatchesByLength(const SMatcher &matcher, const std::string &pattern, const std::string &text)
{
    return Buffer::MatchCounted(pattern.data(), static_cast<u32>(pattern.size()), text.data(),
                                static_cast<u32>(text.size()), {matcher.m_IgnoresCase, matcher.m_HasInhibitors});
}

const SMatcher kMatch = {"Match", SNativeStringUtils::Match, Counted<Buffer::SCaseMatters, Buffer::SNoInhibitors>,
                         false, false};
const SMatcher kMatchCase = {"MatchCase", SNativeStringUtils::MatchCase,
                             Counted<Buffer::SCaseIgnored, Buffer::SNoInhibitors>, true, false};
const SMatcher kMatchWithInhibitors = {"MatchWithInhibitors", SNativeStringUtils::MatchWithInhibitors,
                                       Counted<Buffer::SCaseMatters, Buffer::SBackslashInhibits>, false, true};
const SMatcher kMatchCaseWithInhibitors = {"MatchCaseWithInhibitors", SNativeStringUtils::MatchCaseWithInhibitors,
                                           Counted<Buffer::SCaseIgnored, Buffer::SBackslashInhibits>, true, true};
const SMatcher kMatchers[] = {kMatch, kMatchCase, kMatchWithInhibitors, kMatchCaseWithInhibitors};

// The promised bound, each text counted with its terminator.
u64 MostSteps(const std::string &pattern, const std::string &text)
{
    return static_cast<u64>(pattern.size() + 1) * (text.size() + 1);
}

u64 StepsOf(const SMatcher &matcher, const std::string &pattern, const std::string &text)
{
    SStepCounter steps;
    matcher.m_Counted(pattern, text, steps);
    return steps.m_Steps;
}

// Whether matcher and model agree, in the answer and within the bound; tells of it when they do not.
bool Agrees(const SMatcher &matcher, const std::string &pattern, const std::string &text)
{
    const bool expected = WildcardModelMatches(pattern, text, matcher.m_IgnoresCase, matcher.m_HasInhibitors);
    if (matcher.m_Match(pattern.c_str(), text.c_str()) != expected)
    {
        ADD_FAILURE() << matcher.m_Name << "(\"" << pattern << "\", \"" << text << "\") is not " << expected;
        return false;
    }
    if (MatchesByLength(matcher, pattern, text) != expected)
    {
        ADD_FAILURE() << matcher.m_Name << "(\"" << pattern << "\", \"" << text << "\") by length is not " << expected;
        return false;
    }
    const u64 steps = StepsOf(matcher, pattern, text);
    if (steps > MostSteps(pattern, text))
    {
        ADD_FAILURE() << matcher.m_Name << "(\"" << pattern << "\", \"" << text << "\") took " << steps << " steps";
        return false;
    }
    return true;
}

void ExpectAgreement(const SMatcher &matcher, const std::vector<std::string> &patterns,
                     const std::vector<std::string> &texts)
{
    for (const std::string &pattern : patterns)
        for (const std::string &text : texts)
            if (!Agrees(matcher, pattern, text))
                return;
}

std::string RepeatedPart(const std::string &part, size_t count)
{
    std::string result;
    for (size_t i = 0; i < count; ++i)
        result += part;
    return result;
}

// What holds for all four.

TEST(BufferWildcard, PlainPatternMatchesItselfOnly)
{
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_TRUE(matcher.m_Match("model.obj", "model.obj")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("model.obj", "model_obj")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("model.obj", "model.objx")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("model.obj", "xmodel.obj")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("model.obj", "model.ob")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("model.obj", "")) << matcher.m_Name;
    }
}

TEST(BufferWildcard, StarStandsForAnyRun)
{
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_TRUE(matcher.m_Match("*.obj", "a.obj")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("*.obj", "textures/a.obj.obj")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("tex*/*.png", "textures/wall/stone.png")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("a*b*c", "abbcbbc")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("*.obj", "a.objx")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("a*b*c", "acb")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("*ab", "aba")) << matcher.m_Name;
    }
}

TEST(BufferWildcard, StarStandsForTheEmptyRun)
{
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_TRUE(matcher.m_Match("*ab", "ab")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("a*b", "ab")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("ab*", "ab")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("**a***b**", "ab")) << matcher.m_Name;
    }
}

TEST(BufferWildcard, QuestionMarkStandsForExactlyOneCharacter)
{
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_TRUE(matcher.m_Match("?", "x")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("a?c", "abc")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("???", "abc")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("?", "")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("?", "xy")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("a?c", "ac")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("abc?", "abc")) << matcher.m_Name;
    }
}

TEST(BufferWildcard, StarsAndQuestionMarksTogetherStandForAtLeastAsMany)
{
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_FALSE(matcher.m_Match("*?*?*", "x")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("*?*?*", "xy")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("*?*?*", "xyz")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("*?b", "abb")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("*?b", "b")) << matcher.m_Name;
    }
}

TEST(BufferWildcard, EmptyTextIsMatchedByStarsAlone)
{
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_TRUE(matcher.m_Match("", "")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("*", "")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("***", "")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("a*", "")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("*?", "")) << matcher.m_Name;
    }
}

TEST(BufferWildcard, EmptyPatternMatchesTheEmptyTextOnly)
{
    for (const SMatcher &matcher : kMatchers)
        EXPECT_FALSE(matcher.m_Match("", "a")) << matcher.m_Name;
}

TEST(BufferWildcard, NullMatchesNothing)
{
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_FALSE(matcher.m_Match(nullptr, "")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match(nullptr, "a")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("", nullptr)) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("*", nullptr)) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match(nullptr, nullptr)) << matcher.m_Name;
    }
}

TEST(BufferWildcard, WildcardsInTheTextMeanNothing)
{
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_FALSE(matcher.m_Match("abc", "*")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("abc", "a?c")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("a*c", "a*c")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("?", "*")) << matcher.m_Name;
    }
}

TEST(BufferWildcard, TextsEndAtTheFirstTerminator)
{
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_TRUE(matcher.m_Match("ab\0x", "ab\0y")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("*y", "ab\0y")) << matcher.m_Name;
    }
}

// Case.

TEST(BufferWildcard, MatchTellsUpperFromLowerCase)
{
    EXPECT_FALSE(SNativeStringUtils::Match("abc", "aBc"));
    EXPECT_FALSE(SNativeStringUtils::Match("*B?", "abc"));
    EXPECT_FALSE(SNativeStringUtils::MatchWithInhibitors("abc", "aBc"));
    EXPECT_FALSE(SNativeStringUtils::MatchWithInhibitors("*B?", "abc"));
}

TEST(BufferWildcard, MatchCaseIgnoresCase)
{
    EXPECT_TRUE(SNativeStringUtils::MatchCase("abc", "aBC"));
    EXPECT_TRUE(SNativeStringUtils::MatchCase("*.OBJ", "Model.obj"));
    EXPECT_TRUE(SNativeStringUtils::MatchCaseWithInhibitors("abc", "aBC"));
    EXPECT_TRUE(SNativeStringUtils::MatchCaseWithInhibitors("*.obj", "MODEL.OBJ"));
}

// Two characters are the same when equal, or when one is the upper-case form of the other as ASCII has it.
TEST(BufferWildcard, EachCharacterMatchesItselfAndItsOtherCaseOnly)
{
    for (int a = 1; a < 256; ++a)
    {
        for (int b = 1; b < 256; ++b)
        {
            if (a == '*' || a == '?')
                continue;
            const char pattern[] = {static_cast<char>(a), 0};
            const char text[] = {static_cast<char>(b), 0};
            const int lower = std::max(a, b);
            const bool sameLetter = lower - std::min(a, b) == 'a' - 'A' && lower >= 'a' && lower <= 'z';
            ASSERT_EQ(SNativeStringUtils::Match(pattern, text), a == b) << a << " " << b;
            ASSERT_EQ(SNativeStringUtils::MatchWithInhibitors(pattern, text), a == b) << a << " " << b;
            ASSERT_EQ(SNativeStringUtils::MatchCase(pattern, text), a == b || sameLetter) << a << " " << b;
            ASSERT_EQ(SNativeStringUtils::MatchCaseWithInhibitors(pattern, text), a == b || sameLetter)
                << a << " " << b;
        }
    }
}

TEST(BufferWildcard, EachCharacterIsOneForTheWildcards)
{
    for (const SMatcher &matcher : kMatchers)
    {
        for (int c = 1; c < 256; ++c)
        {
            const char text[] = {'a', static_cast<char>(c), 'b', 0};
            ASSERT_TRUE(matcher.m_Match("a?b", text)) << matcher.m_Name << " " << c;
            ASSERT_TRUE(matcher.m_Match("a*b", text)) << matcher.m_Name << " " << c;
            ASSERT_FALSE(matcher.m_Match("a??b", text)) << matcher.m_Name << " " << c;
        }
    }
}

TEST(BufferWildcard, NoLocaleChangesCase)
{
    InEveryLocale(
        [](const char *locale)
        {
            EXPECT_TRUE(SNativeStringUtils::MatchCase("iI?*", "IixI")) << locale;
            EXPECT_TRUE(SNativeStringUtils::MatchCaseWithInhibitors("\\iI?*", "IixI")) << locale;
            EXPECT_FALSE(SNativeStringUtils::MatchCase("\xC4*", "\xE4")) << locale;
            EXPECT_FALSE(SNativeStringUtils::MatchCase("i", "\xFD")) << locale;
            EXPECT_FALSE(SNativeStringUtils::MatchCase("\xDD", "i")) << locale;
        });
}

// Inhibitors.

TEST(BufferWildcard, MatchWithInhibitorsAndMatchCaseWithInhibitorsTakeInhibitedWildcardsLiterally)
{
    EXPECT_TRUE(SNativeStringUtils::MatchWithInhibitors("a\\*c", "a*c"));
    EXPECT_FALSE(SNativeStringUtils::MatchWithInhibitors("a\\*c", "abc"));
    EXPECT_TRUE(SNativeStringUtils::MatchWithInhibitors("a\\?c", "a?c"));
    EXPECT_FALSE(SNativeStringUtils::MatchWithInhibitors("a\\?c", "abc"));
    EXPECT_TRUE(SNativeStringUtils::MatchWithInhibitors("*\\*", "abc*"));
    EXPECT_FALSE(SNativeStringUtils::MatchWithInhibitors("*\\*", "abc"));
    EXPECT_TRUE(SNativeStringUtils::MatchCaseWithInhibitors("A\\*c", "a*C"));
    EXPECT_FALSE(SNativeStringUtils::MatchCaseWithInhibitors("A\\*c", "abC"));
}

TEST(BufferWildcard, InhibitedBackslashIsLiteral)
{
    EXPECT_TRUE(SNativeStringUtils::MatchWithInhibitors("a\\\\b", "a\\b"));
    EXPECT_FALSE(SNativeStringUtils::MatchWithInhibitors("a\\\\b", "a\\\\b"));
    // The star behind it is one again.
    EXPECT_TRUE(SNativeStringUtils::MatchWithInhibitors("a\\\\*", "a\\bcd"));
    EXPECT_FALSE(SNativeStringUtils::MatchWithInhibitors("a\\\\*", "abcd"));
    EXPECT_TRUE(SNativeStringUtils::MatchCaseWithInhibitors("A\\\\*", "a\\bcd"));
}

TEST(BufferWildcard, InhibitedOrdinaryCharacterStandsForItself)
{
    EXPECT_TRUE(SNativeStringUtils::MatchWithInhibitors("\\a\\.c", "a.c"));
    EXPECT_FALSE(SNativeStringUtils::MatchWithInhibitors("\\a\\.c", "\\a\\.c"));
}

TEST(BufferWildcard, InhibitedLetterFollowsTheCaseRule)
{
    EXPECT_FALSE(SNativeStringUtils::MatchWithInhibitors("\\a", "A"));
    EXPECT_TRUE(SNativeStringUtils::MatchCaseWithInhibitors("\\a", "A"));
    EXPECT_TRUE(SNativeStringUtils::MatchCaseWithInhibitors("*\\A", "xya"));
}

TEST(BufferWildcard, LoneBackslashAtTheEndStandsForItself)
{
    for (const SMatcher &matcher : {kMatchWithInhibitors, kMatchCaseWithInhibitors})
    {
        EXPECT_TRUE(matcher.m_Match("\\", "\\")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("a*\\", "abc\\")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("\\\\\\", "\\\\")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("\\", "")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("a\\", "a")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("a\\", "ab")) << matcher.m_Name;
        // Even where more characters lie behind the terminator.
        EXPECT_TRUE(matcher.m_Match("\\\0*", "\\\0x")) << matcher.m_Name;
    }
}

TEST(BufferWildcard, WithoutInhibitorsBackslashIsOrdinary)
{
    for (const SMatcher &matcher : {kMatch, kMatchCase})
    {
        EXPECT_TRUE(matcher.m_Match("a\\*", "a\\bcd")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("a\\*", "a*")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("\\\\", "\\\\")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("\\\\", "\\")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("\\", "\\")) << matcher.m_Name;
    }
}

// Against the model. The exhaustive tests try longer ones.

constexpr size_t kLongestPattern = 4;

TEST(BufferWildcard, EveryShortPatternAgreesWithTheModel)
{
    const std::vector<std::string> texts = EveryText("ab", kLongestPattern);
    ExpectAgreement(kMatch, EveryText("ab*?", kLongestPattern), texts);
    ExpectAgreement(kMatchWithInhibitors, EveryText("ab*?", kLongestPattern), texts);
}

TEST(BufferWildcard, EveryShortPatternAgreesWithTheModelWithoutCase)
{
    const std::vector<std::string> texts = EveryText("Ab", kLongestPattern);
    ExpectAgreement(kMatchCase, EveryText("aB*?", kLongestPattern), texts);
    ExpectAgreement(kMatchCaseWithInhibitors, EveryText("aB*?", kLongestPattern), texts);
}

TEST(BufferWildcard, EveryShortPatternOfSpecialCharactersAgreesWithTheModel)
{
    const std::vector<std::string> patterns = EveryText("a*?\\", 4);
    ExpectAgreement(kMatchWithInhibitors, patterns, EveryText("a*?\\", 3));
    ExpectAgreement(kMatch, patterns, EveryText("a*?\\", 3));
    ExpectAgreement(kMatchCaseWithInhibitors, patterns, EveryText("A*\\", 4));
    ExpectAgreement(kMatchCase, patterns, EveryText("A*\\", 4));
}

// The one behind it among the characters.
TEST(BufferWildcard, TheStarsNeighbourIsOrdinary)
{
    const std::vector<std::string> texts = EveryText("a+", 3);
    for (const SMatcher &matcher : kMatchers)
        ExpectAgreement(matcher, EveryText("*?+", 5), texts);
}

TEST(BufferWildcard, InhibitedBackslashInFrontOfAStarLeavesItAStar)
{
    for (const SMatcher &matcher : {kMatchWithInhibitors, kMatchCaseWithInhibitors})
    {
        EXPECT_TRUE(matcher.m_Match("*a\\\\*b", "xa\\yb")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("*a\\\\*b", "xa*yb")) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match("*a\\*b", "xa\\yb")) << matcher.m_Name;
        EXPECT_TRUE(matcher.m_Match("*a\\*b", "xa*b")) << matcher.m_Name;
    }
}

TEST(BufferWildcard, LongerPatternsAgreeWithTheModel)
{
    std::mt19937 random(20);
    const std::string patternAlphabet = "aaAb***?\\";
    const std::string textAlphabet = "aaAb*\\";
    for (int round = 0; round < (kSlow ? 2000 : 20000); ++round)
    {
        std::string pattern(random() % 24, ' ');
        std::string text(random() % 60, ' ');
        for (char &character : pattern)
            character = patternAlphabet[random() % patternAlphabet.size()];
        for (char &character : text)
            character = textAlphabet[random() % textAlphabet.size()];
        for (const SMatcher &matcher : kMatchers)
            ASSERT_TRUE(Agrees(matcher, pattern, text));
    }
}

// Cost.

TEST(BufferWildcard, StepsAreCharactersLookedAtAndStarsSkipped)
{
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_EQ(StepsOf(matcher, "", ""), 0u) << matcher.m_Name;
        EXPECT_EQ(StepsOf(matcher, "abc", "abc"), 3u) << matcher.m_Name;
        EXPECT_EQ(StepsOf(matcher, "abc", "abd"), 3u) << matcher.m_Name;
        EXPECT_EQ(StepsOf(matcher, "xbc", "abc"), 1u) << matcher.m_Name;
        // One star, and three characters.
        EXPECT_EQ(StepsOf(matcher, "*c", "abc"), 4u) << matcher.m_Name;
        // The text is never looked at for a star at the end.
        EXPECT_EQ(StepsOf(matcher, "***", "abc"), 3u) << matcher.m_Name;
    }
}

// Trying every run for every star would take longer than the universe has existed.
TEST(BufferWildcard, ManyStarsStayWithinTheBound)
{
    const std::string text(2000, 'a');
    const std::string patterns[] = {
        RepeatedPart("a*", 100) + "b",     RepeatedPart("*a", 100) + "*b",
        RepeatedPart("*a?", 100) + "b*",   RepeatedPart("?*", 100) + "b",
        RepeatedPart("*", 200) + "b",      RepeatedPart("*aaaaab", 50),
        "*" + std::string(500, 'a') + "b", RepeatedPart("*" + std::string(50, 'a'), 10) + "b",
    };
    for (const SMatcher &matcher : kMatchers)
    {
        for (const std::string &pattern : patterns)
        {
            EXPECT_FALSE(matcher.m_Match(pattern.c_str(), text.c_str())) << matcher.m_Name << " " << pattern;
            EXPECT_LE(StepsOf(matcher, pattern, text), MostSteps(pattern, text)) << matcher.m_Name << " " << pattern;
        }
    }
}

// The worst case is real: the bound is no more than a small factor above it.
TEST(BufferWildcard, HardestPatternTakesAGoodPartOfTheBound)
{
    const std::string text(2000, 'a');
    const std::string pattern = "*" + std::string(1000, 'a') + "b";
    EXPECT_GT(StepsOf(kMatch, pattern, text), MostSteps(pattern, text) / 4);
}

// A matcher that called itself for each star, or for each character, would need more stack than there is.
TEST(BufferWildcard, LongTextsNeedNoStack)
{
    const std::string text(400000, 'a');
    const std::string pattern = RepeatedPart("*a", 400000);
    for (const SMatcher &matcher : kMatchers)
    {
        EXPECT_TRUE(matcher.m_Match(pattern.c_str(), text.c_str())) << matcher.m_Name;
        EXPECT_FALSE(matcher.m_Match((pattern + "a").c_str(), text.c_str())) << matcher.m_Name;
    }
}

// What a text is asked for before the walk must never rule out a match.
TEST(BufferWildcard, NeedsAreMetByEveryTextThatMatches)
{
    EXPECT_TRUE(SNativeStringUtils::Match("*a*a", "aa"));
    EXPECT_FALSE(SNativeStringUtils::Match("*a*a", "a"));
    EXPECT_TRUE(SNativeStringUtils::Match("ab*b", "abb"));
    EXPECT_FALSE(SNativeStringUtils::Match("ab*b", "ab"));
    EXPECT_TRUE(SNativeStringUtils::Match("*b?*c", "xbyc"));
    EXPECT_FALSE(SNativeStringUtils::Match("*b?*c", "xbc"));
    EXPECT_FALSE(SNativeStringUtils::Match("*b*a*", "ab"));
    EXPECT_TRUE(SNativeStringUtils::MatchWithInhibitors("*\\**\\?", "x*y?"));
    EXPECT_FALSE(SNativeStringUtils::MatchWithInhibitors("*\\**\\?", "x?y*"));
    EXPECT_TRUE(SNativeStringUtils::MatchWithInhibitors("*\\", "x\\"));
    EXPECT_TRUE(SNativeStringUtils::MatchCase("*LIB*/*.SO.?", "/usr/lib/x.so.6"));
    EXPECT_TRUE(SNativeStringUtils::Match("*lib*/*.so.?", "/usr/lib/x.so.6"));
    EXPECT_FALSE(SNativeStringUtils::Match("*lib*/*.so.?", "/usr/bin/x.so.6"));
}

// Literals between stars are searched for, at all distances in front of and behind them, and never in each other.
TEST(BufferWildcard, LiteralsBetweenStarsStandInOrder)
{
    for (const std::size_t distance : {0u, 1u, 15u, 31u, 32u, 63u, 64u, 200u})
    {
        const std::string gap(distance, '-');
        const std::string text = "from/" + gap + "First/" + gap + "sEcond/" + gap + ".end";
        const auto match = [&](const char *pattern) { return SNativeStringUtils::Match(pattern, text.c_str()); };
        const auto matchCase = [&](const char *pattern)
        { return SNativeStringUtils::MatchCase(pattern, text.c_str()); };
        EXPECT_TRUE(match("*First*sEcond*")) << distance;
        EXPECT_TRUE(match("from*/*First/**sEcond*.end")) << distance;
        EXPECT_FALSE(match("*first*sEcond*")) << distance;
        EXPECT_TRUE(matchCase("*first*SECOND*")) << distance;
        EXPECT_TRUE(matchCase("FROM/*fir*st*second/*.END")) << distance;
        EXPECT_FALSE(matchCase("*second*first*")) << distance;
        EXPECT_FALSE(matchCase("*first/*first/*")) << distance;
        EXPECT_FALSE(matchCase("*second/*/.end")) << distance;
        EXPECT_FALSE(matchCase("from/*from*")) << distance;
        EXPECT_FALSE(matchCase("*.end*.end")) << distance;
    }
    EXPECT_FALSE(SNativeStringUtils::Match("ab*ba", "aba")); // the front and the end share no character
    EXPECT_FALSE(SNativeStringUtils::Match("a*b*c", "ac"));
    EXPECT_FALSE(SNativeStringUtils::MatchCase("*bc*cd", "abcd"));
}

// Bytes around the letters, and beyond ASCII, stand for themselves alone wherever they stand between stars.
TEST(BufferWildcard, EveryLetterBetweenStarsIsFoundInEitherCaseInALongText)
{
    // Longer than a block of places to either side, so that they are looked for by blocks.
    const std::string around(40, '-');
    for (char lower = 'a'; lower <= 'z'; ++lower)
    {
        const char upper = static_cast<char>(lower - ('a' - 'A'));
        const std::string lowerPattern = std::string("*") + lower + "*";
        const std::string upperPattern = std::string("*") + upper + "*";
        const std::string lowerText = around + lower + around;
        const std::string upperText = around + upper + around;
        EXPECT_TRUE(SNativeStringUtils::MatchCase(lowerPattern.c_str(), upperText.c_str())) << lower;
        EXPECT_TRUE(SNativeStringUtils::MatchCase(upperPattern.c_str(), lowerText.c_str())) << lower;
        EXPECT_FALSE(SNativeStringUtils::MatchCase(lowerPattern.c_str(), around.c_str())) << lower;
    }
}

TEST(BufferWildcard, LiteralsBetweenStarsThatAreNoLettersHaveNoOtherCase)
{
    for (const std::string literal : {"@", "[", "`", "{", "\xC1", "\xE1", "1"})
        for (const std::size_t distance : {0u, 15u, 16u, 64u, 200u})
        {
            const std::string gap(distance, '-');
            const std::string other(1, static_cast<char>(literal[0] ^ 0x20));
            const std::string pattern = "a*" + literal + literal + "*z";
            EXPECT_TRUE(
                SNativeStringUtils::MatchCase(pattern.c_str(), ("A" + gap + literal + literal + gap + "Z").c_str()))
                << literal << " " << distance;
            EXPECT_FALSE(
                SNativeStringUtils::MatchCase(pattern.c_str(), ("A" + gap + other + other + gap + "Z").c_str()))
                << literal << " " << distance;
        }
}

// Both texts end at a protected page.
TEST(BufferWildcard, NothingBehindTheTerminatorsIsRead)
{
    const char *const patterns[] = {"", "*", "abc", "a*c", "*?", "*x", "abc\\", "abcd", "a?c", "*\\"};
    const char *const texts[] = {"", "a", "abc", "abcabc", "abc\\"};
    for (const SMatcher &matcher : kMatchers)
    {
        for (const char *pattern : patterns)
        {
            for (const char *text : texts)
            {
                const CGuardedText guardedPattern(pattern);
                const CGuardedText guardedText(text);
                const bool expected =
                    WildcardModelMatches(pattern, text, matcher.m_IgnoresCase, matcher.m_HasInhibitors);
                EXPECT_EQ(matcher.m_Match(guardedPattern.Get(), guardedText.Get()), expected)
                    << matcher.m_Name << " " << pattern << " " << text;
            }
        }
    }
}

// The text begins behind a protected page.
TEST(BufferWildcard, NothingInFrontOfATextIsRead)
{
    const char *const patterns[] = {"*a?*b?*c", "*a*?*b*c", "?*a*b?*c", "*a*b*c", "*a?*c"};
    const CGuardedPage page;
    for (const SMatcher &matcher : kMatchers)
        for (const char *pattern : patterns)
            for (const char *text : {"abc", "axbxc", "acbc", "bac", "aabbcc"})
            {
                std::strcpy(page.Begin(), text);
                EXPECT_EQ(matcher.m_Match(pattern, page.Begin()),
                          WildcardModelMatches(pattern, text, matcher.m_IgnoresCase, matcher.m_HasInhibitors))
                    << matcher.m_Name << " " << pattern << " " << text;
            }
}

// By length.

// The model knows no terminators, so that it says what they mean among counted characters.
TEST(BufferWildcard, CountedTerminatorsAreCharactersLikeOthers)
{
    const std::vector<std::string> patterns = EveryText(std::string("a\0*?\\", 5), 3);
    const std::vector<std::string> texts = EveryText(std::string("a\0\\", 3), 3);
    for (const SMatcher &matcher : kMatchers)
        for (const std::string &pattern : patterns)
            for (const std::string &text : texts)
                ASSERT_EQ(MatchesByLength(matcher, pattern, text),
                          WildcardModelMatches(pattern, text, matcher.m_IgnoresCase, matcher.m_HasInhibitors))
                    << matcher.m_Name << " " << ::testing::PrintToString(pattern) << " "
                    << ::testing::PrintToString(text);
}

TEST(BufferWildcard, CountedNullHasNoCharacters)
{
    for (const bool inhibitors : {false, true})
    {
        for (const bool ignoreCase : {false, true})
        {
            const Buffer::SWildcardRules rules = {ignoreCase, inhibitors};
            EXPECT_TRUE(Buffer::MatchCounted(nullptr, 0, nullptr, 0, rules));
            EXPECT_TRUE(Buffer::MatchCounted("*", 1, nullptr, 0, rules));
            EXPECT_TRUE(Buffer::MatchCounted(nullptr, 0, "a", 0, rules));
            EXPECT_FALSE(Buffer::MatchCounted("*a*", 3, nullptr, 0, rules));
            EXPECT_FALSE(Buffer::MatchCounted("a*b*", 4, nullptr, 0, rules));
            EXPECT_FALSE(Buffer::MatchCounted("?", 1, nullptr, 0, rules));
            EXPECT_FALSE(Buffer::MatchCounted(nullptr, 0, "a", 1, rules));
        }
    }
}

// Both texts end at a protected page, without a terminator.
TEST(BufferWildcard, NothingBehindCountedTextsIsRead)
{
    const char *const patterns[] = {"",     "*",   "abc", "a*c", "*?",   "*x", "abc\\",
                                    "abcd", "a?c", "*\\", "\\",  "a*\\", "**"};
    const char *const texts[] = {"", "a", "abc", "abcabc", "abc\\", "ab"};
    for (const SMatcher &matcher : kMatchers)
    {
        for (const char *pattern : patterns)
        {
            for (const char *text : texts)
            {
                const CGuardedText guardedPattern(pattern, std::strlen(pattern));
                const CGuardedText guardedText(text, std::strlen(text));
                EXPECT_EQ(Buffer::MatchCounted(guardedPattern.Get(), static_cast<u32>(std::strlen(pattern)),
                                               guardedText.Get(), static_cast<u32>(std::strlen(text)),
                                               {matcher.m_IgnoresCase, matcher.m_HasInhibitors}),
                          WildcardModelMatches(pattern, text, matcher.m_IgnoresCase, matcher.m_HasInhibitors))
                    << matcher.m_Name << " " << pattern << " " << text;
            }
        }
    }
}

} // namespace

} // namespace QuorvaneTest
