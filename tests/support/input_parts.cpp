#include "input_parts.h"

#include <algorithm>

namespace QuorvaneFuzz
{

namespace
{

using FDifference = CInputBytes::difference_type;

// Below `bound`, which is not 0.
std::size_t Below(CInputRandom &random, std::size_t bound)
{
    return static_cast<std::size_t>(random() % bound);
}

template <typename T>
const T &OneOf(CInputRandom &random, const std::vector<T> &values)
{
    return values[Below(random, values.size())];
}

CInputBytes::const_iterator At(const CInputBytes &bytes, std::size_t place)
{
    return bytes.begin() + static_cast<FDifference>(place);
}

// ---- Steps -------------------------------------------------------------------------------------------------------------

struct SStep
{
    std::size_t m_Begin;
    std::size_t m_End;
};

SStep AnyStep(const CInputBytes &input, const SInputParts &parts, CInputRandom &random)
{
    const std::size_t number = Below(random, parts.m_Steps.size());
    const bool isLast = number + 1 == parts.m_Steps.size();
    return {parts.m_Steps[number], isLast ? input.size() : parts.m_Steps[number + 1]};
}

CInputBytes ChangeSteps(const CInputBytes &input, const SInputParts &parts, CInputRandom &random)
{
    const SStep step = AnyStep(input, parts, random);
    const SStep other = AnyStep(input, parts, random);
    CInputBytes changed(input.begin(), At(input, std::min(step.m_Begin, other.m_Begin)));
    const auto add = [&](std::size_t begin, std::size_t end)
    { changed.insert(changed.end(), At(input, begin), At(input, end)); };
    if (other.m_Begin < step.m_Begin)
    {
        // Goes in front of an earlier one, and may stay where it is besides.
        const bool stays = Below(random, 2) != 0;
        add(step.m_Begin, step.m_End);
        add(other.m_Begin, stays ? step.m_End : step.m_Begin);
        add(step.m_End, input.size());
    }
    else if (Below(random, 2) != 0)
    {
        // Is left out with those up to the other one.
        add(other.m_Begin == step.m_Begin ? step.m_End : other.m_Begin, input.size());
    }
    else
    {
        // Comes again behind the other one.
        add(step.m_Begin, other.m_End);
        add(step.m_Begin, step.m_End);
        add(other.m_End, input.size());
    }
    return changed;
}

// ---- Texts -------------------------------------------------------------------------------------------------------------

std::string CharactersOf(const CInputBytes &input, const SInputText &text)
{
    std::string characters(At(input, text.m_Head + 1), At(input, text.m_Head + 1 + text.m_Length));
    if (!text.m_Letters.empty())
        for (char &character : characters)
            character = text.m_Letters[static_cast<std::uint8_t>(character) % text.m_Letters.size()];
    return characters;
}

std::string SpecialCharacters(const SInputText &text, CInputRandom &random)
{
    std::string characters;
    for (std::size_t count = 1 + Below(random, 3); count != 0; --count)
        characters += text.m_Special[Below(random, text.m_Special.size())];
    return characters;
}

std::string PieceOf(const std::string &characters, CInputRandom &random)
{
    const std::size_t begin = Below(random, characters.size() + 1);
    return characters.substr(begin, Below(random, characters.size() - begin + 1));
}

// The characters, again and again.
std::string Stretched(const std::string &characters, std::size_t length)
{
    std::string text;
    while (text.size() < length)
        text += characters.empty() ? "a" : characters;
    return text.substr(0, length);
}

std::string ChangeCharacters(const CInputBytes &input, const SInputParts &parts, const SInputText &text,
                             CInputRandom &random)
{
    static const std::vector<std::size_t> kLengths = {0, 1, 15, 16, 17, 31, 32, 33, kMaxTextLength};
    std::string characters = CharactersOf(input, text);
    const std::size_t place = Below(random, characters.size() + 1);
    switch (Below(random, 4))
    {
    case 0:
        if (text.m_Special.empty())
            break;
        return characters.insert(place, SpecialCharacters(text, random));
    case 1:
        return characters.insert(place, PieceOf(CharactersOf(input, OneOf(random, parts.m_Texts)), random));
    case 2:
        return characters.erase(place, 1 + Below(random, 4));
    default:
        break;
    }
    return Stretched(characters, OneOf(random, kLengths));
}

std::uint8_t Encoded(const SInputText &text, char character)
{
    // What is no letter becomes some letter.
    const std::size_t number = text.m_Letters.find(character);
    return static_cast<std::uint8_t>(number == std::string::npos ? static_cast<std::uint8_t>(character) : number);
}

CInputBytes ChangeText(const CInputBytes &input, const SInputParts &parts, CInputRandom &random)
{
    const SInputText &text = OneOf(random, parts.m_Texts);
    const std::string characters = ChangeCharacters(input, parts, text, random).substr(0, kMaxTextLength);
    CInputBytes changed(input.begin(), At(input, text.m_Head));
    changed.push_back(static_cast<std::uint8_t>((input[text.m_Head] & ~kMaxTextLength) | characters.size()));
    for (const char character : characters)
        changed.push_back(Encoded(text, character));
    changed.insert(changed.end(), At(input, text.m_Head + 1 + text.m_Length), input.end());
    return changed;
}

} // namespace

CInputBytes ChangeParts(const CInputBytes &input, const SInputParts &parts, CInputRandom &random)
{
    const bool hasTexts = !parts.m_Texts.empty();
    if (!parts.m_Steps.empty() && (!hasTexts || Below(random, 2) != 0))
        return ChangeSteps(input, parts, random);
    return hasTexts ? ChangeText(input, parts, random) : CInputBytes();
}

} // namespace QuorvaneFuzz
