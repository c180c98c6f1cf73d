// What case means: the letters of ASCII have one, no other character has.
#pragma once

#include <string>

namespace QuorvaneTest
{

inline char ModelUpperLetter(char character)
{
    return static_cast<char>(character >= 'a' && character <= 'z' ? character - 'a' + 'A' : character);
}

inline char ModelLowerLetter(char character)
{
    return static_cast<char>(character >= 'A' && character <= 'Z' ? character - 'A' + 'a' : character);
}

inline std::string ModelUppercase(std::string text)
{
    for (char &character : text)
        character = ModelUpperLetter(character);
    return text;
}

inline std::string ModelLowercase(std::string text)
{
    for (char &character : text)
        character = ModelLowerLetter(character);
    return text;
}

// What two characters have in common that are alike, without regard to case or with it.
inline char ModelFolded(char character, bool ignoreCase)
{
    return ignoreCase ? ModelLowerLetter(character) : character;
}

} // namespace QuorvaneTest
