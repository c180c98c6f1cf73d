// Splitting, written down by its results: runs of characters between separators, and fields cut at each separator. On
// std::string, without any of the library's own notions.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace QuorvaneTest
{

// A text that begins with a terminator is empty, whatever follows.
inline bool SplitModelIsEmpty(const std::string &text)
{
    return text.empty() || text[0] == '\0';
}

// The longest runs of characters that are no separators. None is empty.
template <typename IsSeparator>
std::vector<std::string> SplitModelRuns(const std::string &text, const IsSeparator &isSeparator)
{
    std::vector<std::string> runs;
    if (SplitModelIsEmpty(text))
        return runs;
    bool inRun = false;
    for (const char character : text)
    {
        if (isSeparator(character))
        {
            inRun = false;
            continue;
        }
        if (!inRun)
            runs.push_back("");
        runs.back() += character;
        inRun = true;
    }
    return runs;
}

inline std::vector<std::string> SplitModelRuns(const std::string &text, char separator)
{
    return SplitModelRuns(text, [separator](char character) { return character == separator; });
}

// What stands before each separator and, unless nothing does, behind the last one. The text ends at its first
// terminator.
inline std::vector<std::string> SplitModelFields(const std::string &text, const std::string &separators)
{
    std::vector<std::string> fields;
    std::string field;
    for (size_t i = 0; i < text.size() && text[i] != '\0'; ++i)
        if (separators.find(text[i]) == std::string::npos)
            field += text[i];
        else
        {
            fields.push_back(field);
            field.clear();
        }
    if (!field.empty())
        fields.push_back(field);
    return fields;
}

// What is left of a split under refused memory. The requests in order: each piece that is not empty takes a block, if
// pieces are strings, and then the array grows if it is full.
struct SSplitModelUnderRefusal
{
    std::vector<std::string> m_Pieces;
    size_t m_RefusedGrowths = 0;
    bool m_Stopped = false;
};

// `isRefused(n)` tells of the n-th request, counted from 1. A piece whose block is refused is an empty one; one that the
// array cannot take is lost, and ends the split if `stops`.
template <typename IsRefused>
SSplitModelUnderRefusal SplitModelUnderRefusal(const std::vector<std::string> &pieces, bool piecesTakeBlocks,
                                               bool stops, const IsRefused &isRefused)
{
    SSplitModelUnderRefusal result;
    unsigned long long request = 0;
    size_t capacity = 0;
    for (const std::string &piece : pieces)
    {
        const bool isLost = piecesTakeBlocks && !piece.empty() && isRefused(++request);
        if (result.m_Pieces.size() == capacity)
        {
            if (isRefused(++request))
            {
                ++result.m_RefusedGrowths;
                result.m_Stopped = stops;
                if (stops)
                    break;
                continue;
            }
            const size_t wish = capacity + 1;
            capacity = wish + wish / 2 + 8;
        }
        result.m_Pieces.push_back(isLost ? "" : piece);
    }
    return result;
}

} // namespace QuorvaneTest
