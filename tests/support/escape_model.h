// What escaping and unescaping mean, one sequence after the other.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace QuorvaneTest
{

// The ten sequences: what is meant, and how it is written.
inline const std::vector<std::pair<char, std::string>> &EscapeModelSequences()
{
    static const std::vector<std::pair<char, std::string>> sequences = {
        {'\x07', "\\a"}, {'\x08', "\\b"}, {'\x09', "\\t"},  {'\x0A', "\\n"}, {'\x0B', "\\v"},
        {'\x0C', "\\f"}, {'\x0D', "\\r"}, {'\x22', "\\\""}, {'\x27', "\\'"}, {'\x5C', "\\\\"}};
    return sequences;
}

inline std::string EscapeModelOf(char character)
{
    for (const auto &sequence : EscapeModelSequences())
        if (sequence.first == character)
            return sequence.second;
    return std::string(1, character);
}

inline std::string EscapeModelEscaped(const std::string &text)
{
    std::string result;
    for (char character : text)
        result += EscapeModelOf(character);
    return result;
}

inline std::string EscapeModelUnescaped(const std::string &text)
{
    std::string result;
    size_t at = 0;
    while (at < text.size())
    {
        std::string taken = text.substr(at, 1);
        char meant = text[at];
        for (const auto &sequence : EscapeModelSequences())
        {
            if (text.compare(at, 2, sequence.second) == 0)
            {
                taken = sequence.second;
                meant = sequence.first;
            }
        }
        result += meant;
        at += taken.size();
    }
    return result;
}

} // namespace QuorvaneTest
