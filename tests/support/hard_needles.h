// Texts and needles that cost a search the most: the needle resembles the text throughout.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace QuorvaneTest
{

// A text and a needle that resembles it throughout.
struct SHardCase
{
    std::string m_Text;
    std::string m_Needle;
};

inline std::string Repeated(const std::string &piece, size_t length)
{
    std::string text;
    while (text.size() < length)
        text += piece;
    return text.substr(0, length);
}

inline std::string FibonacciWord(size_t length)
{
    std::string before = "b";
    std::string word = "a";
    while (word.size() < length)
    {
        const std::string next = word + before;
        before = word;
        word = next;
    }
    return word.substr(0, length);
}

// Trying each place, or as many as look well, would take the product of the lengths: 10^10 comparisons.
inline std::vector<SHardCase> HardCases(size_t length)
{
    std::vector<SHardCase> cases;
    for (const std::string &text : {Repeated("ab", length), std::string(length, 'a'), FibonacciWord(length),
                                    Repeated("aaaaaaab", length), Repeated(FibonacciWord(1000) + "a", length)})
    {
        const std::string quarter = text.substr(0, length / 4);
        for (const size_t place : {quarter.size() - 1, quarter.size() / 2, quarter.size() / 3, size_t(1), size_t(0)})
        {
            std::string needle = quarter;
            needle[place] = 'c';
            cases.push_back({text, needle});
            // A character that the text has, too.
            needle[place] = quarter[place] == 'a' ? 'b' : 'a';
            cases.push_back({text, needle});
        }
    }
    return cases;
}

} // namespace QuorvaneTest
