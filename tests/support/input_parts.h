// The parts of a fuzz target's input, noted while the target reads it, and changes that keep them whole. A change of single
// bytes mostly shifts what follows, so that all later choices of the input become others; these leave them as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "random_numbers.h"

namespace QuorvaneFuzz
{

// A text stands in an input as a head and its characters: the lower 6 bits of the head are their count.
constexpr std::size_t kMaxTextLength = 0x3F;

struct SInputText
{
    std::size_t m_Head;    // the place of the head
    std::size_t m_Length;  // so many characters stand behind it
    std::string m_Letters; // characters are numbers of these, by their remainder; any bytes where there are none
    std::string m_Special; // what has a meaning in such texts
};

struct SInputParts
{
    std::vector<std::size_t>
        m_Steps; // the places where they begin; each ends where the next one begins, the last at the end
    std::vector<SInputText> m_Texts; // in their order
};

using CInputBytes = std::vector<std::uint8_t>;
using CInputRandom = QuorvaneTest::CRandomStream;

// A step is left out, repeated, exchanged with the next one or moved to another place; into a text go one to three special
// characters or a piece of another text; characters are left out; or a text becomes as long as texts are whose length
// makes a difference. Empty where an input has no parts.
CInputBytes ChangeParts(const CInputBytes &input, const SInputParts &parts, CInputRandom &random);

} // namespace QuorvaneFuzz
