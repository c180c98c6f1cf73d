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
std::vector<std::string> SplitModelRunsByLength(const std::string &text, const IsSeparator &isSeparator)
{
    std::vector<std::string> runs;
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

// The same of a text that may be empty whatever its length.
template <typename IsSeparator>
std::vector<std::string> SplitModelRuns(const std::string &text, const IsSeparator &isSeparator)
{
    return SplitModelIsEmpty(text) ? std::vector<std::string>() : SplitModelRunsByLength(text, isSeparator);
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

// What a text is cut at where pieces are asked for one at a time.
enum ECut
{
    Cut_Character,
    Cut_Text,
    Cut_Set,
    Cut_Lines,
};

struct SLazySplit
{
    ECut m_Cut = Cut_Character;
    std::string m_Separator; // the character, the text, or the set
    bool m_WithEmpty = false;
    bool m_FromEnd = false;
    size_t m_AtMost = std::string::npos;
};

// Where separators begin, in order of the text: chosen from the one end or the other, none of them overlapping.
inline std::vector<size_t> SplitModelCuts(const std::string &text, const SLazySplit &split)
{
    std::vector<size_t> cuts;
    const size_t length = split.m_Cut == Cut_Text ? split.m_Separator.size() : 1;
    if (length == 0)
        return cuts;
    const auto isCut = [&](size_t at)
    {
        if (split.m_Cut == Cut_Lines)
            return text[at] == '\n';
        if (split.m_Cut == Cut_Set)
            return split.m_Separator.find(text[at]) != std::string::npos;
        return text.compare(at, length, split.m_Separator) == 0;
    };
    if (split.m_FromEnd)
    {
        for (size_t end = text.size(); end >= length;)
        {
            const bool found = isCut(end - length);
            if (found)
                cuts.insert(cuts.begin(), end - length);
            end -= found ? length : 1;
        }
        return cuts;
    }
    for (size_t at = 0; at + length <= text.size();)
    {
        const bool found = isCut(at);
        if (found)
            cuts.push_back(at);
        at += found ? length : 1;
    }
    return cuts;
}

// The pieces in the order in which they are asked for: each between two separators, the last of so many with all that is
// left.
inline std::vector<std::string> SplitModelLazily(const std::string &text, const SLazySplit &split)
{
    struct SRange
    {
        size_t m_Begin;
        size_t m_End;
    };
    const bool isLines = split.m_Cut == Cut_Lines;
    std::vector<SRange> ranges;
    size_t begin = 0;
    for (const size_t cut : SplitModelCuts(text, split))
    {
        const bool isCarriageReturn = isLines && cut > begin && text[cut - 1] == '\r';
        ranges.push_back({begin, isCarriageReturn ? cut - 1 : cut});
        begin = cut + (split.m_Cut == Cut_Text ? split.m_Separator.size() : 1);
    }
    if (!isLines || begin != text.size())
        ranges.push_back({begin, text.size()});
    std::vector<SRange> asked;
    for (const SRange &range : ranges)
        if (split.m_WithEmpty || range.m_Begin != range.m_End)
            asked.insert(split.m_FromEnd ? asked.begin() : asked.end(), range);
    if (asked.size() > split.m_AtMost)
        asked.resize(split.m_AtMost);
    if (!asked.empty() && asked.size() == split.m_AtMost)
        (split.m_FromEnd ? asked.back().m_Begin : asked.back().m_End) = split.m_FromEnd ? 0 : text.size();
    std::vector<std::string> pieces;
    for (const SRange &range : asked)
        pieces.push_back(text.substr(range.m_Begin, range.m_End - range.m_Begin));
    return pieces;
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
