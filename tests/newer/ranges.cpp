// Strings and views as ranges of the standard library, in the standards that have them. Nothing runs: what is asked of
// views is known to the compiler.
#include <algorithm>
#include <span>
#include <string_view>
#include <vector>

#include "kr_string_std.h"

using namespace Quorvane;

static_assert(std::ranges::contiguous_range<CString> && std::ranges::contiguous_range<const CString>);
static_assert(std::ranges::contiguous_range<CStringView> && std::ranges::contiguous_range<const CStringView>);
static_assert(std::ranges::sized_range<CString> && std::ranges::sized_range<CStringView>);
static_assert(std::ranges::common_range<CString> && std::ranges::common_range<CStringView>);
static_assert(std::is_same_v<std::ranges::range_reference_t<CString>, const char &>);
static_assert(std::is_same_v<std::ranges::range_reference_t<CStringView>, const char &>);

static_assert(std::ranges::view<CStringView> && std::ranges::borrowed_range<CStringView>);
// The characters of a temporary string go with it.
static_assert(!std::ranges::view<CString> && !std::ranges::borrowed_range<CString>);
static_assert(std::is_same_v<decltype(std::ranges::find(CString(), 'a')), std::ranges::dangling>);
static_assert(std::is_same_v<std::views::all_t<CStringView>, CStringView>);

constexpr CStringView kText("a,b;c");

static_assert(std::ranges::size(kText) == 5 && std::ranges::data(kText) == kText.Data());
static_assert(std::ranges::count(kText, ',') == 1);
static_assert(std::ranges::equal(kText, std::string_view("a,b;c")));
static_assert(std::ranges::empty(CStringView(nullptr, 3)));
static_assert(std::ranges::equal(kText | std::views::reverse | std::views::take(3), std::string_view("c;b")));
static_assert(std::ranges::distance(kText | std::views::filter([](char c) { return c >= 'a'; })) == 3);

// What takes any range takes strings.
std::size_t Walk(const CString &string)
{
    std::size_t count = std::span<const char>(string).size();
    for (const char character : string | std::views::drop(1))
        count += character == ',' ? 1u : 0u;
    const std::vector<char> copy(string.begin(), string.end());
    return count + copy.size() + static_cast<std::size_t>(std::ranges::count(CString(string), 'a'));
}
