// Opt-in meeting points with the standard library: std::string_view both ways, hashing and transparent look-up, output
// to streams, and std::formatter and the traits of ranges where the library has them.
//
//     void Log(std::string_view text);
//     Log(CStringView(line).Slice(0, 4));            // views become each other
//     CString name(std::string_view("ann"));         // strings are made of the standard's views, and compare with them
//     name += std::string_view(" lee");
//
//     std::unordered_map<CString, int, SStringHash, SStringEqual> ages;
//     ages.find(CStringView(line).Slice(0, 4));      // no string is built (C++20's heterogeneous look-up)
//     std::unordered_set<CString, SStringHashCaseInsensitive, SStringEqualCaseInsensitive> names;
//     std::map<CString, int, SStringLess> ranks;
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

namespace Internal::String
{

// Declares the standard's view to strings and views: see kr_string_view.h.
SForeignView *KindOfView(TNameOf<std::string_view>) noexcept QV_NONBLOCKING;

// Comparison of a string or a view of ours with the standard's view, as with ours.
struct SComparisonWithStd
{
    template <typename Text>
    static bool Equal(const Text &a, const std::string_view &b) noexcept QV_NONBLOCKING
    {
        const CStringView view = b;
        return view.Length() == b.size() && a == view;
    }
    template <typename Text>
    static bool Less(const Text &a, const std::string_view &b) noexcept QV_NONBLOCKING
    {
        const CStringView view = b;
        return a < view || (view.Length() != b.size() && a == view);
    }
    template <typename Text>
    static bool Greater(const Text &a, const std::string_view &b) noexcept QV_NONBLOCKING
    {
        return a > CStringView(b);
    }
};

// Of a buffer: what the standard's own operators do. They meet ours in programs that use this namespace, where a buffer
// goes with a view of ours as well as with the standard's.
struct SComparisonOfBufferWithStd
{
    static constexpr bool Equal(std::string_view a, std::string_view b) noexcept QV_NONBLOCKING { return a == b; }
    static constexpr bool Less(std::string_view a, std::string_view b) noexcept QV_NONBLOCKING { return a < b; }
    static constexpr bool Greater(std::string_view a, std::string_view b) noexcept QV_NONBLOCKING { return a > b; }
};

template <typename Text>
constexpr bool IsOurs = std::is_same<Text, CString>::value || std::is_same<Text, CStringView>::value;
template <typename Text>
constexpr bool IsBuffer = !std::is_class<Text>::value && std::is_convertible<const Text &, const char *>::value;

// For exactly these types, so that whatever else becomes one of them stays what it was to every operator.
template <typename Text, typename View>
using ComparisonWithStd =
    std::enable_if_t<std::is_same<View, std::string_view>::value && (IsOurs<Text> || IsBuffer<Text>),
                     std::conditional_t<IsOurs<Text>, SComparisonWithStd, SComparisonOfBufferWithStd>>;

} // namespace Internal::String

// ---- Views, both ways -----------------------------------------------------------------------------------------------

// Besides the functions below, which say what they do: CStringView and the standard's view become each other by
// themselves, and CString takes the standard's view in its explicit constructor and in an assignment, and becomes one by
// an explicit conversion. See kr_string_view.h and kr_string.h.

// The characters of a string or a view, as the standard's view. A null text gives an empty one. Borrows.
[[nodiscard]] inline std::string_view ToStdStringView(const CStringView &view) noexcept QV_NONBLOCKING
{
    return view.Data() != nullptr ? std::string_view(view.Data(), view.Length()) : std::string_view();
}
[[nodiscard]] inline std::string_view
ToStdStringView(const CString &string QV_INTERNAL_LIFETIMEBOUND) noexcept QV_NONBLOCKING
{
    return ToStdStringView(CStringView(string));
}
// A literal would become a temporary string, and the view would outlive it.
[[nodiscard]] std::string_view ToStdStringView(const char *) noexcept = delete;

// The standard's view as ours. Views of more than 32 bits are cut. Borrows.
[[nodiscard]] inline CStringView FromStdStringView(std::string_view view) noexcept QV_NONBLOCKING
{
    return view;
}

// A string with a copy of the characters. Fails: an empty string, also for lengths that no string can have.
[[nodiscard]] inline CString StringFromStdStringView(std::string_view view) noexcept
{
    return CString(view);
}

// ---- Comparison -----------------------------------------------------------------------------------------------------

// The comparisons of strings, views and buffers with a view of ours, for the standard's view on either side. One of more
// than 32 bits is longer than every text of ours.
template <typename Text, typename View, typename By = Internal::String::ComparisonWithStd<Text, View>>
constexpr bool operator==(const Text &a, const View &b) noexcept QV_NONBLOCKING
{
    return By::Equal(a, b);
}
template <typename Text, typename View, typename By = Internal::String::ComparisonWithStd<Text, View>>
constexpr bool operator!=(const Text &a, const View &b) noexcept QV_NONBLOCKING
{
    return !By::Equal(a, b);
}
template <typename Text, typename View, typename By = Internal::String::ComparisonWithStd<Text, View>>
constexpr bool operator<(const Text &a, const View &b) noexcept QV_NONBLOCKING
{
    return By::Less(a, b);
}
template <typename Text, typename View, typename By = Internal::String::ComparisonWithStd<Text, View>>
constexpr bool operator>(const Text &a, const View &b) noexcept QV_NONBLOCKING
{
    return By::Greater(a, b);
}
template <typename Text, typename View, typename By = Internal::String::ComparisonWithStd<Text, View>>
constexpr bool operator<=(const Text &a, const View &b) noexcept QV_NONBLOCKING
{
    return !By::Greater(a, b);
}
template <typename Text, typename View, typename By = Internal::String::ComparisonWithStd<Text, View>>
constexpr bool operator>=(const Text &a, const View &b) noexcept QV_NONBLOCKING
{
    return !By::Less(a, b);
}
template <typename View, typename Text, typename By = Internal::String::ComparisonWithStd<Text, View>, int = 0>
constexpr bool operator==(const View &a, const Text &b) noexcept QV_NONBLOCKING
{
    return By::Equal(b, a);
}
template <typename View, typename Text, typename By = Internal::String::ComparisonWithStd<Text, View>, int = 0>
constexpr bool operator!=(const View &a, const Text &b) noexcept QV_NONBLOCKING
{
    return !By::Equal(b, a);
}
template <typename View, typename Text, typename By = Internal::String::ComparisonWithStd<Text, View>, int = 0>
constexpr bool operator<(const View &a, const Text &b) noexcept QV_NONBLOCKING
{
    return By::Greater(b, a);
}
template <typename View, typename Text, typename By = Internal::String::ComparisonWithStd<Text, View>, int = 0>
constexpr bool operator>(const View &a, const Text &b) noexcept QV_NONBLOCKING
{
    return By::Less(b, a);
}
template <typename View, typename Text, typename By = Internal::String::ComparisonWithStd<Text, View>, int = 0>
constexpr bool operator<=(const View &a, const Text &b) noexcept QV_NONBLOCKING
{
    return !By::Less(b, a);
}
template <typename View, typename Text, typename By = Internal::String::ComparisonWithStd<Text, View>, int = 0>
constexpr bool operator>=(const View &a, const Text &b) noexcept QV_NONBLOCKING
{
    return !By::Greater(b, a);
}

// ---- Hashing and look-up --------------------------------------------------------------------------------------------

namespace Internal
{

// A text for hashing and equality of all forms: one that begins with a terminator is empty, as in all comparisons of
// strings.
inline std::string_view ComparableText(std::string_view text) noexcept QV_NONBLOCKING
{
    if (!text.empty() && text.front() == '\0')
        return std::string_view();
    return text;
}
inline std::string_view ComparableText(const CString &text) noexcept QV_NONBLOCKING
{
    return ComparableText(ToStdStringView(text));
}
inline std::string_view ComparableText(const CStringView &text) noexcept QV_NONBLOCKING
{
    return ComparableText(ToStdStringView(text));
}
inline std::string_view ComparableText(const char *text) noexcept QV_NONBLOCKING
{
    return text != nullptr ? std::string_view(text) : std::string_view();
}

// How many of the characters of a standard view the kernels take at once.
constexpr u32 kMaxCountedPiece = 0xFFFFFFFFu;

inline u32 CountedPiece(std::size_t size, u32 maxPiece = kMaxCountedPiece) noexcept QV_NONBLOCKING
{
    return static_cast<u32>(QVMin<std::size_t>(size, maxPiece));
}

inline std::size_t HashIgnoringCase(std::string_view text) noexcept QV_NONBLOCKING
{
    const u64 hash = SNativeStringUtils::HashCase(text.data(), CountedPiece(text.size()));
    return static_cast<std::size_t>(sizeof(std::size_t) < sizeof(u64) ? hash ^ hash >> 32 : hash);
}

inline bool EqualIgnoringCase(std::string_view a, std::string_view b,
                              u32 maxPiece = kMaxCountedPiece) noexcept QV_NONBLOCKING
{
    if (a.size() != b.size())
        return false;
    do
    {
        const u32 piece = CountedPiece(a.size(), maxPiece);
        if (!SNativeStringUtils::EqualCase(a.data(), b.data(), piece))
            return false;
        a.remove_prefix(piece);
        b.remove_prefix(piece);
    } while (!a.empty());
    return true;
}

inline bool IsLessIgnoringCase(std::string_view a, std::string_view b,
                               u32 maxPiece = kMaxCountedPiece) noexcept QV_NONBLOCKING
{
    s32 order;
    do
    {
        const u32 piece = CountedPiece(QVMin(a.size(), b.size()), maxPiece);
        order = SNativeStringUtils::CompareCase(a.data(), b.data(), piece);
        a.remove_prefix(piece);
        b.remove_prefix(piece);
    } while (order == 0 && !a.empty() && !b.empty());
    return order < 0 || (order == 0 && a.size() < b.size());
}

// Unchecked: the standard library's hash is a function of the characters that it reads.
QV_INTERNAL_UNCHECKED_BEGIN
inline std::size_t HashOf(std::string_view text) noexcept QV_NONBLOCKING
{
    return std::hash<std::string_view>()(text);
}
QV_INTERNAL_UNCHECKED_END

} // namespace Internal

// A hash of strings, views, the standard's views and buffers: equal for equal characters, and equal to what std::hash
// gives the standard's view of them (of the empty view, for a text that begins with a terminator). This and what follows is
// as nonblocking as the conversion of what it is called with to the standard's view.
struct SStringHash
{
    // Containers look up by any form of text.
    using is_transparent = void;

    // The hash of a text.
    template <typename Text>
    std::size_t operator()(const Text &text) const noexcept
    {
        return Internal::HashOf(Internal::ComparableText(text));
    }
};

// The equality that goes with it, between any two forms.
struct SStringEqual
{
    // Containers look up by any form of text.
    using is_transparent = void;

    // Whether two texts are equal.
    template <typename TextA, typename TextB>
    bool operator()(const TextA &a, const TextB &b) const noexcept
    {
        return Internal::ComparableText(a) == Internal::ComparableText(b);
    }
};

// The order of all of these forms by bytes, taken as unsigned; a text that starts another one is before it.
struct SStringLess
{
    // Containers look up by any form of text.
    using is_transparent = void;

    // Whether `a` comes before `b`.
    template <typename TextA, typename TextB>
    bool operator()(const TextA &a, const TextB &b) const noexcept
    {
        return Internal::ComparableText(a) < Internal::ComparableText(b);
    }
};

// The three without regard to the case of ASCII letters, at the speed of the library's kernels, for keys that are found
// however they are written. They go together: texts that are equal have one hash, and neither is before the other.

// The hash, by that of SNativeStringUtils::HashCase, of at most 2^32 - 1 characters.
struct SStringHashCaseInsensitive
{
    // Containers look up by any form of text.
    using is_transparent = void;

    // The hash of a text.
    template <typename Text>
    std::size_t operator()(const Text &text) const noexcept
    {
        return Internal::HashIgnoringCase(Internal::ComparableText(text));
    }
};

// The equality that goes with it.
struct SStringEqualCaseInsensitive
{
    // Containers look up by any form of text.
    using is_transparent = void;

    // Whether two texts are equal.
    template <typename TextA, typename TextB>
    bool operator()(const TextA &a, const TextB &b) const noexcept
    {
        return Internal::EqualIgnoringCase(Internal::ComparableText(a), Internal::ComparableText(b));
    }
};

// The order, by lower-cased bytes.
struct SStringLessCaseInsensitive
{
    // Containers look up by any form of text.
    using is_transparent = void;

    // Whether `a` comes before `b`.
    template <typename TextA, typename TextB>
    bool operator()(const TextA &a, const TextB &b) const noexcept
    {
        return Internal::IsLessIgnoringCase(Internal::ComparableText(a), Internal::ComparableText(b));
    }
};

// ---- Streams --------------------------------------------------------------------------------------------------------

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
    std::size_t operator()(const Quorvane::CString &string) const noexcept QV_NONBLOCKING
    {
        return Quorvane::SStringHash()(string);
    }
};

template <>
struct std::hash<Quorvane::CStringView>
{
    std::size_t operator()(const Quorvane::CStringView &view) const noexcept QV_NONBLOCKING
    {
        return Quorvane::SStringHash()(view);
    }
};

#if defined(__GLIBCXX__)

// libstdc++ keeps the hash of a key in its node when it is told that making it anew takes time, as it is for its own
// strings. A look-up then passes the keys beside the one that it wants without reading their characters.
template <>
struct std::__is_fast_hash<Quorvane::SStringHash> : std::false_type
{
};

template <>
struct std::__is_fast_hash<Quorvane::SStringHashCaseInsensitive> : std::false_type
{
};

template <>
struct std::__is_fast_hash<std::hash<Quorvane::CString>> : std::false_type
{
};

template <>
struct std::__is_fast_hash<std::hash<Quorvane::CStringView>> : std::false_type
{
};

#endif

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
