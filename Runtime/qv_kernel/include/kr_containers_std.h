// Opt-in meeting points of views and arrays with the standard library: std::span both ways, where the library has it.
//
//     TArray<float> weights;
//     std::span<float> span(weights);                        // the standard's own constructor: arrays and views are ranges
//     Score(ToStdSpan(weights.View()));                      // the same of a view that is no variable
//     const TMemoryView<const float> view = FromStdSpan(span);
//
// The conversions are functions: a constructor would make calls ambiguous where a program takes views and spans alike.
// All of it borrows, and may be used from any thread.
#pragma once

#include <cstddef>

#if __has_include(<version>)
#include <version>
#endif
#if defined(__cpp_lib_span)
#include <span>
#endif

#include "kr_memoryviews.h"
#include "qv_defs.h"

#if defined(__cpp_lib_span)

namespace Quorvane
{

// The elements of a view, as the standard's.
template <typename T>
[[nodiscard]] constexpr std::span<T> ToStdSpan(const TMemoryView<T> &view) noexcept QV_NONBLOCKING
{
    return std::span<T>(view.Data(), view.Count());
}

// The elements of the standard's view, as ours. Of more than 32 bits can count the rest is cut off.
template <typename T, std::size_t Extent>
[[nodiscard]] constexpr TMemoryView<T> FromStdSpan(const std::span<T, Extent> &span) noexcept QV_NONBLOCKING
{
    constexpr std::size_t kMaxCount = 0xFFFFFFFFu;
    return TMemoryView<T>(span.data(), static_cast<u32>(QVMin(span.size(), kMaxCount)));
}

} // namespace Quorvane

#endif
