// Naive models of casing, comparison, search, stripping, replacing and indentation: on std::string, one character at a
// time, and without any of the library's own notions.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "case_model.h"

namespace QuorvaneTest
{

// Up to the first terminator, if there is one.
inline std::string ModelToTerminator(const std::string &text)
{
    return text.substr(0, text.find('\0'));
}

// Casing.

// 0 without a letter, 1 for lower case, 2 for upper case, 3 for both.
inline unsigned ModelCasing(const std::string &text)
{
    const bool hasLower = ModelUppercase(text) != text;
    const bool hasUpper = ModelLowercase(text) != text;
    return (hasLower ? 1u : 0u) + (hasUpper ? 2u : 0u);
}

// Comparison.

inline bool ModelEqual(const std::string &a, const std::string &b, bool ignoreCase)
{
    return ignoreCase ? ModelLowercase(a) == ModelLowercase(b) : a == b;
}

// By unsigned bytes, lower-cased ones without case; a text that starts another one is before it.
inline bool ModelLess(const std::string &a, const std::string &b, bool ignoreCase)
{
    const auto lessCharacter = [&](char x, char y)
    {
        return static_cast<unsigned char>(ModelFolded(x, ignoreCase)) <
               static_cast<unsigned char>(ModelFolded(y, ignoreCase));
    };
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), lessCharacter);
}

inline bool ModelStartsWith(const std::string &text, const std::string &prefix, bool ignoreCase)
{
    return ModelEqual(text.substr(0, prefix.size()), prefix, ignoreCase);
}

inline bool ModelEndsWith(const std::string &text, const std::string &suffix, bool ignoreCase)
{
    return suffix.size() <= text.size() && ModelEqual(text.substr(text.size() - suffix.size()), suffix, ignoreCase);
}

inline bool ModelContains(const std::string &text, const std::string &needle, bool ignoreCase)
{
    for (size_t at = 0; at + needle.size() <= text.size(); ++at)
        if (ModelEqual(text.substr(at, needle.size()), needle, ignoreCase))
            return true;
    return false;
}

// Stripping.

inline std::string ModelStripLeft(const std::string &text, const std::string &set)
{
    const size_t first = text.find_first_not_of(set);
    return first != std::string::npos ? text.substr(first) : std::string();
}

inline std::string ModelStripRight(const std::string &text, const std::string &set)
{
    const size_t last = text.find_last_not_of(set);
    return last != std::string::npos ? text.substr(0, last + 1) : std::string();
}

inline std::string ModelStrip(const std::string &text, const std::string &set)
{
    return ModelStripLeft(ModelStripRight(text, set), set);
}

// Reversing, repeating and replacing.

inline std::string ModelReversed(const std::string &text)
{
    return std::string(text.rbegin(), text.rend());
}

inline std::string ModelRepeated(const std::string &text, unsigned times)
{
    std::string result;
    for (unsigned i = 0; i < times; ++i)
        result += text;
    return result;
}

// Padding, joining, inserting and erasing.

inline std::string ModelPaddedLeft(std::string text, unsigned width, char character)
{
    while (text.size() < width)
        text.insert(text.begin(), character);
    return text;
}

inline std::string ModelPaddedRight(std::string text, unsigned width, char character)
{
    while (text.size() < width)
        text.push_back(character);
    return text;
}

inline std::string ModelJoined(const std::string &separator, const std::vector<std::string> &pieces)
{
    std::string result;
    bool first = true;
    for (const std::string &piece : pieces)
    {
        if (!first)
            result += separator;
        result += piece;
        first = false;
    }
    return result;
}

inline std::string ModelInserted(const std::string &text, size_t index, const std::string &piece)
{
    return text.substr(0, index) + piece + text.substr(index);
}

inline std::string ModelErased(const std::string &text, size_t first, size_t last)
{
    return text.substr(0, first) + text.substr(last);
}

// Where the pattern occurs, left to right and without overlap. The pattern is not empty.
inline std::vector<size_t> ModelOccurrences(const std::string &text, const std::string &pattern)
{
    std::vector<size_t> occurrences;
    for (size_t at = 0; at < text.size();)
    {
        const bool found = text.compare(at, pattern.size(), pattern) == 0;
        if (found)
            occurrences.push_back(at);
        at += found ? pattern.size() : 1;
    }
    return occurrences;
}

// With the occurrences given replaced.
inline std::string ModelReplacedAt(const std::string &text, const std::vector<size_t> &occurrences,
                                   size_t patternLength, const std::string &replacement)
{
    std::string result;
    size_t from = 0;
    for (const size_t occurrence : occurrences)
    {
        result.append(text, from, occurrence - from);
        result += replacement;
        from = occurrence + patternLength;
    }
    return result.append(text, from, std::string::npos);
}

inline std::string ModelReplaced(const std::string &text, const std::string &pattern, const std::string &replacement)
{
    return pattern.empty() ? text : ModelReplacedAt(text, ModelOccurrences(text, pattern), pattern.size(), replacement);
}

inline std::string ModelReplaced(std::string text, char from, char to)
{
    std::replace(text.begin(), text.end(), from, to);
    return text;
}

// Indentation: walks from column to column. A tab goes to the next tab stop while that is not beyond the goal.
inline std::string ModelIndent(unsigned column, unsigned width, unsigned tabWidth)
{
    const unsigned goal = column + width;
    std::string indent;
    for (unsigned at = column; at < goal;)
    {
        unsigned tabStop = at + 1;
        while (tabStop % tabWidth != 0)
            ++tabStop;
        // Behind the last tab stop nothing but spaces follow.
        indent += tabStop <= goal ? '\t' : ' ';
        at = tabStop <= goal ? tabStop : at + 1;
    }
    return indent;
}

} // namespace QuorvaneTest
