// Naive models of integers as text: one digit at a time, without the standard library's conversions.
#pragma once

#include <limits>
#include <string>

#include "kr_string_numbers.h"

namespace QuorvaneTest
{

// The value of a digit, 36 for a character that is none.
inline unsigned ModelDigit(char character)
{
    static const std::string lower = "0123456789abcdefghijklmnopqrstuvwxyz";
    static const std::string upper = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const size_t found = lower.find(character) != std::string::npos ? lower.find(character) : upper.find(character);
    return found != std::string::npos ? static_cast<unsigned>(found) : 36;
}

struct SModelNumber
{
    Quorvane::EParseNumber m_Outcome;
    size_t m_Position;
    bool m_IsNegative;
    Quorvane::u64 m_Magnitude;
};

// Reads a text as a type with the given greatest magnitudes; no negative one: 0.
inline SModelNumber ModelParse(const std::string &text, unsigned base, Quorvane::u64 maxMagnitude, bool isSigned)
{
    using namespace Quorvane;
    if (text.empty())
        return {ParseNumber_Empty, 0, false, 0};
    const bool isNegative = isSigned && text[0] == '-';
    const u64 limit = maxMagnitude + (isNegative ? 1 : 0);
    const size_t first = isNegative ? 1 : 0;
    size_t at = first;
    u64 magnitude = 0;
    bool fits = true;
    for (; at < text.size() && ModelDigit(text[at]) < base; ++at)
    {
        const u64 digit = ModelDigit(text[at]);
        fits = fits && magnitude <= limit / base && magnitude * base <= limit - (digit <= limit ? digit : limit) &&
               digit <= limit;
        magnitude = fits ? magnitude * base + digit : 0;
    }
    if (at == first)
        return {ParseNumber_NotANumber, 0, false, 0};
    if (at != text.size())
        return {ParseNumber_TrailingCharacters, at, false, 0};
    return {fits ? ParseNumber_Ok : ParseNumber_OutOfRange, at, isNegative, magnitude};
}

template <typename Integer>
SModelNumber ModelParse(const std::string &text, unsigned base)
{
    return ModelParse(text, base, static_cast<Quorvane::u64>(std::numeric_limits<Integer>::max()),
                      std::numeric_limits<Integer>::is_signed);
}

// The two's complement.
inline Quorvane::u64 ModelNegative(Quorvane::u64 magnitude)
{
    return magnitude == 0 ? 0 : ~magnitude + 1;
}

// The value that a model's magnitude and sign mean.
template <typename Integer>
Integer ModelValue(const SModelNumber &number)
{
    return static_cast<Integer>(number.m_IsNegative ? ModelNegative(number.m_Magnitude) : number.m_Magnitude);
}

inline std::string ModelNumberText(bool isNegative, Quorvane::u64 magnitude, unsigned base)
{
    std::string text;
    do
    {
        text.insert(text.begin(), "0123456789abcdefghijklmnopqrstuvwxyz"[magnitude % base]);
        magnitude /= base;
    } while (magnitude != 0);
    return (isNegative ? "-" : "") + text;
}

template <typename Integer>
std::string ModelNumberText(Integer value, unsigned base)
{
    const Quorvane::u64 bits = static_cast<Quorvane::u64>(value);
    return ModelNumberText(value < 0, value < 0 ? ModelNegative(bits) : bits, base);
}

} // namespace QuorvaneTest
