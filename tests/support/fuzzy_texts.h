// Texts for fuzzy matching: random ones, and ones that resemble another with typing errors.
#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kr_string.h"
#include "text_pieces.h"

namespace QuorvaneTest
{

// The same texts in every run.
class CFuzzyTexts
{
public:
    explicit CFuzzyTexts(unsigned seed) : m_Random(seed) {}

    // Below `bound`.
    size_t Below(size_t bound) { return m_Random() % bound; }

    std::string Random(const std::string &alphabet, size_t length)
    {
        std::string text(length, '\0');
        for (char &character : text)
            character = alphabet[Below(alphabet.size())];
        return text;
    }

    // `text` with some characters left out, put in or mistaken, brought to the given length at its end.
    std::string Misspelt(const std::string &text, const std::string &alphabet, size_t length)
    {
        std::string result = text;
        for (size_t errors = Below(5); errors > 0; --errors)
        {
            const size_t at = Below(result.size() + 1);
            const size_t kind = Below(3);
            if (kind != 0 && at < result.size())
                result.erase(at, 1);
            if (kind != 1)
                result.insert(at, Random(alphabet, 1));
        }
        return length <= result.size() ? result.substr(0, length) : result + Random(alphabet, length - result.size());
    }

private:
    std::mt19937 m_Random;
};

// Lengths around everything that scoring changes its ways at: nothing, lanes, words, bytes, the row on the stack.
inline std::vector<size_t> FuzzyLengths()
{
    return {0, 1, 2, 8, 15, 16, 17, 31, 32, 33, 48, 63, 64, 65, 100, 127, 128, 129, 191, 192, 254, 255, 256, 257, 300};
}

inline std::vector<Quorvane::CString> StringsOf(const std::vector<std::string> &texts)
{
    std::vector<Quorvane::CString> strings;
    for (const std::string &text : texts)
        // Both forms of containers, which lie differently in memory.
        strings.push_back(strings.size() % 2 == 0 ? Fixed(text) : Resizable(text));
    return strings;
}

inline Quorvane::TStridedMemoryView<const Quorvane::CString> ListOf(const std::vector<Quorvane::CString> &strings,
                                                                    size_t count)
{
    return {strings.data(), static_cast<Quorvane::u32>(count)};
}

inline Quorvane::TStridedMemoryView<const Quorvane::CString> ListOf(const std::vector<Quorvane::CString> &strings)
{
    return ListOf(strings, strings.size());
}

} // namespace QuorvaneTest
