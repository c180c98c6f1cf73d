// How the search makes new inputs of old ones: two in three times by the parts that the target finds in them
// (support/input_parts.h), else byte by byte. libFuzzer calls it by its name.
#include <algorithm>

#include "fuzz_support.h"

using namespace QuorvaneFuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t maxSize);

namespace
{

// A search changes an input several times, one change after the other, and runs it after each: its parts are known then.
// Any other that it changes has run without a fault, so that it is run once more without one.
const SInputParts &PartsOf(const std::uint8_t *data, std::size_t size)
{
    static SNotedInput s_Last;
    CInput::NoteIn(&s_Last);
    if (!std::equal(s_Last.m_Bytes.begin(), s_Last.m_Bytes.end(), data, data + size))
        LLVMFuzzerTestOneInput(data, size);
    return s_Last.m_Parts;
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
