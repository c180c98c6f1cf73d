// What escaping and unescaping mean, one sequence after the other.
#pragma once

#include <string>

namespace QuorvaneTest
{

// The ten sequences: what is meant, and what is written for it behind a backslash.
struct SEscapeSequence
{
    char m_Meant;
    char m_Written;
};
constexpr SEscapeSequence kEscapeSequences[] = {{'\x07', 'a'},  {'\x08', 'b'}, {'\x09', 't'}, {'\x0A', 'n'},
                                                {'\x0B', 'v'},  {'\x0C', 'f'}, {'\x0D', 'r'}, {'\x22', '"'},
                                                {'\x27', '\''}, {'\x5C', '\\'}};

inline std::string EscapeModelOf(char character)
{
    for (const SEscapeSequence &sequence : kEscapeSequences)
        if (sequence.m_Meant == character)
            return {'\\', sequence.m_Written};
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
    for (size_t at = 0; at < text.size(); ++at)
    {
        char meant = text[at];
        const bool isLast = at + 1 == text.size();
        for (const SEscapeSequence &sequence : kEscapeSequences)
        {
            if (text[at] == '\\' && !isLast && text[at + 1] == sequence.m_Written)
            {
                meant = sequence.m_Meant;
                ++at;
                break;
            }
        }
        result += meant;
    }
    return result;
}

} // namespace QuorvaneTest
