// Opt-in meeting points with the standard library: std::string_view both ways, hashing and transparent look-up, output
// to streams, and std::formatter and the traits of ranges where the library has them.
//
//     std::unordered_map<CString, int, SStringHash, SStringEqual> ages;
//     ages.find(CStringView(line).Slice(0, 4));      // no string is built (C++20's heterogeneous look-up)
//     std::cout << path << '\n';
//
// All of it may be used from any thread. Nothing here copies characters but the functions that return a CString.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <string_view>

#if __has_include(<version>)
#include <version>
#endif
#if defined(__cpp_lib_format)
#include <format>
#endif
#if defined(__cpp_lib_ranges)
#include <ranges>
#endif

#include "kr_string.h"

namespace Quorvane
{

// The characters of a string or a view, as the standard's view. A null text gives an empty one. Borrows.
[[nodiscard]] inline std::string_view ToStdStringView(const CStringView &view) noexcept
{
    return view.Data() != nullptr ? std::string_view(view.Data(), view.Length()) : std::string_view();
}
[[nodiscard]] inline std::string_view ToStdStringView(const CString &string QV_INTERNAL_LIFETIMEBOUND) noexcept
{
    return ToStdStringView(CStringView(string));
}
// A literal would become a temporary string, and the view would outlive it.
[[nodiscard]] std::string_view ToStdStringView(const char *) noexcept = delete;

// The standard's view as ours. Views of more than 32 bits are cut. Borrows.
[[nodiscard]] inline CStringView FromStdStringView(std::string_view view) noexcept
{
    constexpr std::size_t kMaxLength = 0xFFFFFFFFu;
    return CStringView(view.data(), static_cast<u32>(QVMin(view.size(), kMaxLength)));
}

// A string with a copy of the characters. Fails: an empty string, also for lengths that no string can have.
[[nodiscard]] inline CString StringFromStdStringView(std::string_view view) noexcept
{
    return view.size() < CStringContainer::kLengthMask ? FromStdStringView(view).ToString() : CString();
}

namespace Internal
{

// A text for hashing and equality of all forms: one that begins with a terminator is empty, as in all comparisons of
// strings.
inline std::string_view ComparableText(std::string_view text) noexcept
{
    return !text.empty() && text.front() == '\0' ? std::string_view() : text;
}
inline std::string_view ComparableText(const CString &text) noexcept
{
    return ComparableText(ToStdStringView(text));
}
inline std::string_view ComparableText(const CStringView &text) noexcept
{
    return ComparableText(ToStdStringView(text));
}
inline std::string_view ComparableText(const char *text) noexcept
{
    return text != nullptr ? std::string_view(text) : std::string_view();
}

} // namespace Internal

// A hash of strings, views, the standard's views and buffers: equal for equal characters, and equal to what std::hash
// gives the standard's view of them (of the empty view, for a text that begins with a terminator).
struct SStringHash
{
    using is_transparent = void;

    template <typename Text>
    std::size_t operator()(const Text &text) const noexcept
    {
        return std::hash<std::string_view>()(Internal::ComparableText(text));
    }
};

// The equality that goes with it, between any two forms.
struct SStringEqual
{
    using is_transparent = void;

    template <typename TextA, typename TextB>
    bool operator()(const TextA &a, const TextB &b) const noexcept
    {
        return Internal::ComparableText(a) == Internal::ComparableText(b);
    }
};

// Writes the characters, embedded terminators included, with the stream's width and fill.
inline std::ostream &operator<<(std::ostream &stream, const CStringView &view)
{
    return stream << ToStdStringView(view);
}
inline std::ostream &operator<<(std::ostream &stream, const CString &string)
{
    return stream << ToStdStringView(string);
}

} // namespace Quorvane

template <>
struct std::hash<Quorvane::CString>
{
    std::size_t operator()(const Quorvane::CString &string) const noexcept { return Quorvane::SStringHash()(string); }
};

template <>
struct std::hash<Quorvane::CStringView>
{
    std::size_t operator()(const Quorvane::CStringView &view) const noexcept { return Quorvane::SStringHash()(view); }
};

#if defined(__cpp_lib_format)

// With the format specifications of the standard's view.
template <>
struct std::formatter<Quorvane::CStringView, char> : std::formatter<std::string_view, char>
{
    template <typename Context>
    auto format(const Quorvane::CStringView &view, Context &context) const
    {
        return std::formatter<std::string_view, char>::format(Quorvane::ToStdStringView(view), context);
    }
};

template <>
struct std::formatter<Quorvane::CString, char> : std::formatter<std::string_view, char>
{
    template <typename Context>
    auto format(const Quorvane::CString &string, Context &context) const
    {
        return std::formatter<std::string_view, char>::format(Quorvane::ToStdStringView(string), context);
    }
};

#endif

#if defined(__cpp_lib_ranges)

// A view is copied by two words, and what it points at outlives it.
template <>
inline constexpr bool std::ranges::enable_view<Quorvane::CStringView> = true;

template <>
inline constexpr bool std::ranges::enable_borrowed_range<Quorvane::CStringView> = true;

#endif
