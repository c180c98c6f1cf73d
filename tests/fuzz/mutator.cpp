// How the search makes new inputs of old ones: two in three times by the parts that the target finds in them
// (support/input_parts.h), else byte by byte. libFuzzer calls it by its name.
#include <algorithm>

#include "fuzz_support.h"

using namespace QuorvaneFuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t maxSize);

namespace
{

// Inputs are changed that were run without a fault, so that they are run once more without one.
SInputParts PartsOf(const std::uint8_t *data, std::size_t size)
{
    SInputParts parts;
    CInput::NotePartsIn(&parts);
    LLVMFuzzerTestOneInput(data, size);
    CInput::NotePartsIn(nullptr);
    return parts;
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed)
{
    CInputRandom random(seed);
    if (random.Below(3) == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    const CInputBytes changed = ChangeParts(CInputBytes(data, data + size), PartsOf(data, size), random);
    if (changed.empty() || changed.size() > maxSize)
        return LLVMFuzzerMutate(data, size, maxSize);
    std::copy(changed.begin(), changed.end(), data);
    return changed.size();
}
