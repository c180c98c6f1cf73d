// Inputs of a fuzz target that are made by chance of known ones, without a look at what they reach: what a search learns
// from each input takes several times as long as most inputs do.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "input_parts.h"

namespace QuorvaneFuzz
{

// What goes before the first step, with whole steps from any one on behind it, as many as have 16 bytes together, and one
// at least. The first 24 bytes of an input without steps.
std::vector<CInputBytes> ShortInputs(const CInputBytes &input, const SInputParts &parts);

class CBlindInputs
{
public:
    // An input to make others of, with the parts that the target finds in it.
    void Add(const CInputBytes &input, const SInputParts &parts) { m_Known.push_back({input, parts}); }

    // The input of this number, which is the same whenever the same inputs were added: one in eight any bytes, up to 24 of
    // them; of the others half with one of the parts changed, half with one to four changed bytes. May be empty.
    CInputBytes Make(std::uint64_t number) const;

private:
    struct SKnown
    {
        CInputBytes m_Input;
        SInputParts m_Parts;
    };

    std::vector<SKnown> m_Known;
};

} // namespace QuorvaneFuzz
