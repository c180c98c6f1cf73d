// What a wildcard pattern means, written down as a table: no cleverness, to judge the matchers by.
#pragma once

#include <string>
#include <vector>

#include "case_model.h"

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

// matches[t] tells whether the elements so far match the first t characters; each element makes the next row of this table
// in place. A star's row goes by what stands left of it, the others' by what stood there before.
inline bool WildcardModelMatches(const std::string &pattern, const std::string &text, bool ignoreCase, bool inhibitors)
{
    const std::string folded = ignoreCase ? ModelLowercase(text) : text;
    std::vector<char> matches(text.size() + 1, 0);
    matches[0] = 1;
    for (const SWildcardElement &element : WildcardElements(pattern, inhibitors))
    {
        if (element.m_Kind == SWildcardElement::Kind_AnyRun)
        {
            for (size_t t = 1; t <= text.size(); ++t)
                matches[t] = matches[t] != 0 || matches[t - 1] != 0;
            continue;
        }
        const bool any = element.m_Kind == SWildcardElement::Kind_AnyOne;
        const char wanted = ModelFolded(element.m_Character, ignoreCase);
        for (size_t t = text.size(); t != 0; --t)
            matches[t] = matches[t - 1] & static_cast<char>(any | (wanted == folded[t - 1]));
        matches[0] = 0;
    }
    return matches[text.size()] != 0;
}

} // namespace QuorvaneTest
