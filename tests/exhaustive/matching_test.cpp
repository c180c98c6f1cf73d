// Every short wildcard pattern against every short text, by each matcher. What is right, a walk says that tries
// everything.
#include <string>

#include <gtest/gtest.h>

#include "exhaustive.h"
#include "kr_buffer.h"
#include "kr_string.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;
using Utils = SNativeStringUtils;

constexpr size_t kLongest = 6;
static_assert(CountTexts(4, kLongest) * CountTexts(2, kLongest) == 693547, "the domain that is promised");

struct SRules
{
    bool m_IgnoresCase;
    bool m_HasInhibitors;
};

constexpr SRules kAllRules[] = {{false, false}, {false, true}, {true, false}, {true, true}};

char Folded(char character, const SRules &rules)
{
    return ModelFolded(character, rules.m_IgnoresCase);
}

// Whether the pattern from `p` on stands for the text from `t` on.
bool Stands(const std::string &pattern, size_t p, const std::string &text, size_t t, const SRules &rules)
{
    if (p == pattern.size())
        return t == text.size();
    if (pattern[p] == '*')
    {
        // For no character, or for one more.
        return Stands(pattern, p + 1, text, t, rules) || (t < text.size() && Stands(pattern, p, text, t + 1, rules));
    }
    if (t == text.size())
        return false;
    if (pattern[p] == '?')
        return Stands(pattern, p + 1, text, t + 1, rules);
    if (rules.m_HasInhibitors && pattern[p] == '\\' && p + 1 < pattern.size())
        ++p;
    return Folded(pattern[p], rules) == Folded(text[t], rules) && Stands(pattern, p + 1, text, t + 1, rules);
}

bool MatchesNatively(const char *pattern, const char *text, const SRules &rules)
{
    if (rules.m_HasInhibitors)
        return (rules.m_IgnoresCase ? Utils::MatchCaseWithInhibitors : Utils::MatchWithInhibitors)(pattern, text);
    return (rules.m_IgnoresCase ? Utils::MatchCase : Utils::Match)(pattern, text);
}

template <typename Text, typename Pattern>
bool Matches(const Text &text, const Pattern &pattern, const SRules &rules)
{
    const ECaseSensitivity sensitivity = rules.m_IgnoresCase ? CaseInsensitive : CaseSensitive;
    return rules.m_HasInhibitors ? text.MatchWithInhibitors(pattern, sensitivity) : text.Match(pattern, sensitivity);
}

Wrong WrongMatches(const SEveryText &pattern, const SEveryText &text)
{
    for (const SRules &rules : kAllRules)
    {
        const bool expected = Stands(pattern.m_Text, 0, text.m_Text, 0, rules);
        const char *const patternText = pattern.m_Text.c_str();
        QV_TEST_SAME(MatchesNatively(patternText, text.m_Text.c_str(), rules), expected);
        QV_TEST_SAME(Matches(text.View(), pattern.View(), rules), expected);
        QV_TEST_SAME(Matches(text.View(), patternText, rules), expected);
        QV_TEST_SAME(Matches(text.m_String, patternText, rules), expected);
        QV_TEST_SAME(Matches(text.m_String, pattern.m_String, rules), expected);
    }
    return nullptr;
}

TEST(MatchingExhaustive, EveryPatternMatchesTheTextsThatItStandsForAndNoOther)
{
    const size_t longest = Longest(kLongest);
    ForEveryPair(CDomain("aB*?", longest), CDomain("Ab", longest), WrongMatches);
}

TEST(MatchingExhaustive, EveryPatternOfInhibitorsMatchesTheTextsThatItStandsForAndNoOther)
{
    const size_t longest = Longest(5);
    ForEveryPair(CDomain("a*?\\", longest), CDomain("a*?\\", longest - 1), WrongMatches);
}

// Views go by their length: a terminator in a pattern or in a text is a character like any other.
Wrong WrongMatchesOfViews(const SEveryText &pattern, const SEveryText &text)
{
    for (const SRules &rules : kAllRules)
    {
        const bool expected = Stands(pattern.m_Text, 0, text.m_Text, 0, rules);
        QV_TEST_SAME(Matches(text.View(), pattern.View(), rules), expected);
        QV_TEST_SAME(Matches(text.View(), pattern.m_String, rules), expected);
    }
    return nullptr;
}

TEST(MatchingExhaustive, EveryPatternWithTerminatorsMatchesTheViewsThatItStandsForAndNoOther)
{
    ForEveryPair(CDomain(std::string("aB*?\\\0", 6), Longest(4)), CDomain(std::string("Ab\\\0", 4), Longest(4)),
                 WrongMatchesOfViews);
}

} // namespace
