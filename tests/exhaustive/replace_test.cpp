// Every short pattern replaced in every short text.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "exhaustive.h"
#include "kr_string.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr size_t kLongest = 5;
static_assert(CountTexts(4, kLongest) * CountTexts(4, kLongest) == 1863225, "the domain that is promised");

const std::string kLetters("abA\xE9");

// What is searched from the left, what was replaced never again. The pattern is not empty.
std::string Replaced(const std::string &text, const std::string &pattern, const std::string &replacement)
{
    std::string result;
    size_t at = 0;
    for (size_t found = text.find(pattern); found != std::string::npos; found = text.find(pattern, at))
    {
        result.append(text, at, found - at).append(replacement);
        at = found + pattern.size();
    }
    return result.append(text, at, std::string::npos);
}

// With its terminator.
bool IsText(const CString &string, const std::string &text)
{
    return string.Length() == text.size() && std::memcmp(string.CStr(), text.c_str(), text.size() + 1) == 0;
}

Wrong WrongReplacement(const SEveryText &text, const SEveryText &pattern)
{
    // Nothing; one character; longer, and holding the pattern itself; and past a block.
    const std::string replacements[] = {"", "b", pattern.m_Text + pattern.m_Text, "aaaaaaaaaaaaaaaa" + pattern.m_Text};
    const bool isThere = !pattern.m_Text.empty() && text.m_Text.find(pattern.m_Text) != std::string::npos;
    for (const std::string &replacement : replacements)
    {
        const CString byViews = text.m_String.Replace(pattern.View(), ViewOf(replacement));
        const CString byTexts = text.m_String.Replace(pattern.m_Text.c_str(), replacement.c_str());
        if (!isThere)
        {
            QV_TEST_SAME(IsText(byViews, text.m_Text), true);
            QV_TEST_SAME(IsText(byTexts, text.m_Text), true);
            continue;
        }
        const std::string expected = Replaced(text.m_Text, pattern.m_Text, replacement);
        QV_TEST_SAME(IsText(byViews, expected), true);
        QV_TEST_SAME(IsText(byTexts, expected), true);
    }
    QV_TEST_SAME(IsText(text.m_String, text.m_Text), true);
    return nullptr;
}

TEST(ReplaceExhaustive, EveryPatternIsReplacedInEveryTextWhereItStandsAndNowhereElse)
{
    const CDomain domain(kLetters, Longest(kLongest));
    ForEveryPair(domain, domain, WrongReplacement);
}

// Each character by each, in all characters of a text.
Wrong WrongCharacters(const SEveryText &text)
{
    for (const char from : {'a', '\xE9', 'x'})
        for (const char to : {'a', '\xE9', 'x'})
        {
            std::string expected = text.m_Text;
            for (char &character : expected)
                if (character == from)
                    character = to;
            QV_TEST_SAME(IsText(text.m_String.Replace(from, to), expected), true);
        }
    return nullptr;
}

TEST(ReplaceExhaustive, EveryCharacterIsReplacedInEveryTextWhereItStandsAndNowhereElse)
{
    ForEveryText(CDomain(std::string("aA\xE9\0", 4), Longest(7)), WrongCharacters);
}

} // namespace
