#include "blind_inputs.h"

#include <algorithm>

namespace QuorvaneFuzz
{

namespace
{

constexpr std::size_t kMaxStepsBytes = 16;
constexpr std::size_t kMaxBytesWithoutSteps = 24;

CInputBytes::iterator AnyPlace(CInputBytes &bytes, CInputRandom &random)
{
    return bytes.begin() + random.Below(static_cast<std::uint32_t>(bytes.size()));
}

CInputBytes AnyBytes(CInputRandom &random)
{
    CInputBytes bytes(random.Below(kMaxBytesWithoutSteps + 1));
    for (std::uint8_t &byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

// One becomes any other, a neighbour, or one that stands elsewhere; one is left out, or comes twice.
void ChangeByte(CInputBytes &bytes, CInputRandom &random)
{
    const CInputBytes::iterator place = AnyPlace(bytes, random);
    switch (random.Below(5))
    {
    case 0:
        *place = static_cast<std::uint8_t>(*place ^ (1u << random.Below(8)));
        break;
    case 1:
        *place = *AnyPlace(bytes, random);
        break;
    case 2:
        bytes.erase(place);
        break;
    case 3:
        bytes.insert(place, *place);
        break;
    default:
        *place = static_cast<std::uint8_t>(random());
    }
}

} // namespace

std::vector<CInputBytes> ShortInputs(const CInputBytes &input, const SInputParts &parts)
{
    const std::vector<std::size_t> &steps = parts.m_Steps;
    const auto at = [&](std::size_t place) { return input.begin() + static_cast<std::ptrdiff_t>(place); };
    if (steps.empty())
        return {CInputBytes(input.begin(), at(std::min(input.size(), kMaxBytesWithoutSteps)))};
    const auto end = [&](std::size_t step) { return step + 1 < steps.size() ? steps[step + 1] : input.size(); };
    std::vector<CInputBytes> all;
    for (std::size_t first = 0; first < steps.size(); ++first)
    {
        std::size_t last = first;
        while (last + 1 < steps.size() && end(last + 1) - steps[first] <= kMaxStepsBytes)
            ++last;
        CInputBytes bytes(input.begin(), at(steps.front()));
        bytes.insert(bytes.end(), at(steps[first]), at(end(last)));
        all.push_back(std::move(bytes));
    }
    return all;
}

CInputBytes CBlindInputs::Make(std::uint64_t number) const
{
    CInputRandom random(number);
    if (m_Known.empty() || random.Below(8) == 0)
        return AnyBytes(random);
    const SKnown &known = m_Known[random.Below(static_cast<std::uint32_t>(m_Known.size()))];
    if (random.Below(2) == 0)
    {
        CInputBytes changed = ChangeParts(known.m_Input, known.m_Parts, random);
        if (!changed.empty())
            return changed;
    }
    CInputBytes bytes = known.m_Input;
    for (std::uint32_t changes = 1 + random.Below(4); changes != 0 && !bytes.empty(); --changes)
        ChangeByte(bytes, random);
    return bytes;
}

} // namespace QuorvaneFuzz
