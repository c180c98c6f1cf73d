// Opt-in: strings and views as arguments of the library fmt, with the format specifications of its own string view.
//
//     fmt::print("{:<20} {}\n", path, CStringView(line).Slice(4));
//     fmt::format("{}", names);                  // a TArray or a std::vector of strings, with <fmt/ranges.h>
//
// All characters are written, embedded terminators included; a null text is empty. A text is no range of characters to
// fmt, but one value, which is quoted where it is an element of a range.
#pragma once

#if !__has_include(<fmt/format.h>)
#error "kr_string_fmt.h needs the headers of the library fmt (https://fmt.dev), such as Debian's libfmt-dev"
#endif

#include <fmt/format.h>

#include "kr_string.h"

// Written out in full for both types, a formatter comes before those that fmt has for all ranges.

template <>
struct fmt::formatter<Quorvane::CStringView, char> : fmt::formatter<fmt::string_view, char>
{
    template <typename Context>
    auto format(const Quorvane::CStringView &view, Context &context) const -> decltype(context.out())
    {
        const fmt::string_view text =
            view.Data() != nullptr ? fmt::string_view(view.Data(), view.Length()) : fmt::string_view();
        return fmt::formatter<fmt::string_view, char>::format(text, context);
    }
};

template <>
struct fmt::formatter<Quorvane::CString, char> : fmt::formatter<Quorvane::CStringView, char>
{
    template <typename Context>
    auto format(const Quorvane::CString &string, Context &context) const -> decltype(context.out())
    {
        return fmt::formatter<Quorvane::CStringView, char>::format(Quorvane::CStringView(string), context);
    }
};
