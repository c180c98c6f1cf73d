// What the memory sanitizer has to be told of text that the standard library wrote. Nothing in any other build.
#pragma once

#include <cstddef>

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#define QV_INTERNAL_SANITIZES_MEMORY 1
extern "C" void __msan_unpoison(const volatile void *data, std::size_t size);
#endif
#endif

namespace Quorvane::Internal::Buffer
{

// Tells it that `size` bytes at `data` are initialised, by code that it does not see.
inline void MarkInitialised([[maybe_unused]] const char *data,
                            [[maybe_unused]] std::size_t size) noexcept QV_NONBLOCKING
{
#if defined(QV_INTERNAL_SANITIZES_MEMORY)
    __msan_unpoison(data, size);
#endif
}

} // namespace Quorvane::Internal::Buffer
