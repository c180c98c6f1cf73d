// What a wildcard pattern means, written down as a table: no cleverness, to judge the matchers by.
#pragma once

#include <string>
#include <vector>

namespace QuorvaneTest
{

// One element of a pattern: a star, a question mark, or a literal character.
struct SWildcardElement
{
    enum EKind
    {
        Kind_AnyRun,
        Kind_AnyOne,
        Kind_Literal,
    };

    EKind m_Kind;
    char m_Character;
};

inline std::vector<SWildcardElement> WildcardElements(const std::string &pattern, bool inhibitors)
{
    std::vector<SWildcardElement> elements;
    bool inhibited = false;
    for (size_t i = 0; i < pattern.size(); ++i)
    {
        const char character = pattern[i];
        const bool isLast = i + 1 == pattern.size();
        if (inhibitors && !inhibited && character == '\\' && !isLast)
        {
            inhibited = true;
            continue;
        }
        if (!inhibited && character == '*')
            elements.push_back({SWildcardElement::Kind_AnyRun, 0});
        else if (!inhibited && character == '?')
            elements.push_back({SWildcardElement::Kind_AnyOne, 0});
        else
            elements.push_back({SWildcardElement::Kind_Literal, character});
        inhibited = false;
    }
    return elements;
}

inline char WildcardFold(char character, bool ignoreCase)
{
    if (!ignoreCase || character < 'A' || character > 'Z')
        return character;
    return static_cast<char>(character - 'A' + 'a');
}

// matches[e][t] tells whether the first e elements match the first t characters.
inline bool WildcardModelMatches(const std::string &pattern, const std::string &text, bool ignoreCase, bool inhibitors)
{
    const std::vector<SWildcardElement> elements = WildcardElements(pattern, inhibitors);
    std::vector<std::vector<bool>> matches(elements.size() + 1, std::vector<bool>(text.size() + 1, false));
    matches[0][0] = true;
    for (size_t e = 1; e <= elements.size(); ++e)
    {
        const SWildcardElement &element = elements[e - 1];
        for (size_t t = 0; t <= text.size(); ++t)
        {
            if (element.m_Kind == SWildcardElement::Kind_AnyRun)
                matches[e][t] = matches[e - 1][t] || (t > 0 && matches[e][t - 1]);
            else if (t > 0 && matches[e - 1][t - 1])
                matches[e][t] = element.m_Kind == SWildcardElement::Kind_AnyOne ||
                                WildcardFold(element.m_Character, ignoreCase) == WildcardFold(text[t - 1], ignoreCase);
        }
    }
    return matches[elements.size()][text.size()];
}

} // namespace QuorvaneTest
