// The inputs: text as people have it, and made-up text where a size is asked for. The same on every run on one machine.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Bench
{

// A small generator with a fixed start (xorshift, Marsaglia 2003).
class CRandom
{
public:
    uint32_t Below(uint32_t limit)
    {
        m_State ^= m_State << 13;
        m_State ^= m_State >> 17;
        m_State ^= m_State << 5;
        return m_State % limit;
    }

    // Letters, digits and what else file names have.
    std::string Name(uint32_t length);

private:
    uint32_t m_State = 2463534242u;
};

// The headers below /usr/include one after the other, repeated when they do not suffice. Printable ASCII, tabs and line
// feeds; what else they have becomes '?'.
std::string HeaderText(size_t length);

// Made-up words of 2 to 9 letters in mixed case with blanks between them; ends with a letter.
std::string Words(size_t length);

// Paths of files below /usr in a shuffled order; made up where the machine has fewer.
std::vector<std::string> Paths(size_t count);

// Made-up file names of 5 to 29 characters.
std::vector<std::string> Names(size_t count);

// A text with every occurrence of a character replaced or left out.
std::string Replaced(std::string text, char from, char to);

} // namespace Bench
