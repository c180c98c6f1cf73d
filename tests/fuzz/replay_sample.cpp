// A fuzz target with a fault that few inputs meet: for what runs targets.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size >= 2 && data[0] == '!' && data[1] == '?')
        std::abort();
    return 0;
}
