// What case means: the letters of ASCII have one, no other character has.
#pragma once

#include <string>

namespace QuorvaneTest
{

inline char ModelUpperLetter(char character)
{
    return character >= 'a' && character <= 'z' ? "ABCDEFGHIJKLMNOPQRSTUVWXYZ"[character - 'a'] : character;
}

inline char ModelLowerLetter(char character)
{
    return character >= 'A' && character <= 'Z' ? "abcdefghijklmnopqrstuvwxyz"[character - 'A'] : character;
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
