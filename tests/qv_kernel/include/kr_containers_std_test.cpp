// std::span and ours. Built as C++20, too: before that there is nothing to test but that the header can be included.
#include "kr_containers_std.h"

#include <gtest/gtest.h>

#include <array>
#include <type_traits>
#include <vector>

#include "kr_containers_array.h"
#include "kr_string.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

#if defined(__cpp_lib_span)

TEST(ContainersStd, SpanOfAnArrayOrAViewIsTheStandardsOwnConversion)
{
    TArray<u32> array;
    for (u32 i = 0; i < 5; ++i)
        array.PushBack(u32(i));
    const std::span<u32> writable(array);
    EXPECT_EQ(writable.data(), array.Data());
    EXPECT_EQ(writable.size(), 5u);
    writable[2] = 9;
    EXPECT_EQ(array[2], 9u);
    const TArray<u32> &constant = array;
    const std::span<const u32> readable(constant);
    EXPECT_EQ(readable.data(), array.Data());
    EXPECT_FALSE((std::is_constructible<std::span<u32>, const TArray<u32> &>::value));

    const TMemoryView<u32> view = array.View().Slice(1, 3);
    const std::span<u32> part(view);
    EXPECT_EQ(part.data(), array.Data() + 1);
    EXPECT_EQ(part.size(), 3u);
    const std::span<const char> text = CStringView("text").View();
    EXPECT_EQ(text.size(), 4u);
}

TEST(ContainersStd, ToStdSpanBorrowsTheElements)
{
    TArray<u32> array{1, 2, 3};
    const auto span = ToStdSpan(array.View());
    EXPECT_TRUE((std::is_same<decltype(span), const std::span<u32>>::value));
    EXPECT_EQ(span.data(), array.Data());
    EXPECT_EQ(span.size(), 3u);
    EXPECT_TRUE((std::is_same<decltype(ToStdSpan(TMemoryView<const u32>())), std::span<const u32>>::value));
    EXPECT_EQ(ToStdSpan(TMemoryView<const u32>()).data(), nullptr);
    EXPECT_TRUE(ToStdSpan(TMemoryView<const u32>()).empty());
}

TEST(ContainersStd, FromStdSpanBorrowsTheElements)
{
    std::vector<u32> values = {4, 5, 6};
    const auto view = FromStdSpan(std::span(values));
    EXPECT_TRUE((std::is_same<decltype(view), const TMemoryView<u32>>::value));
    EXPECT_EQ(view.Data(), values.data());
    EXPECT_EQ(view.Count(), 3u);
    const std::array<u32, 2> fixed = {7, 8};
    const TMemoryView<const u32> fixedView = FromStdSpan(std::span(fixed));
    EXPECT_EQ(fixedView.Data(), fixed.data());
    EXPECT_EQ(fixedView.Count(), 2u);
    EXPECT_TRUE(FromStdSpan(std::span<u32>()).Empty());
    EXPECT_EQ(FromStdSpan(std::span<u32>()).Data(), nullptr);

    TArray<u32> copy;
    EXPECT_TRUE(copy.CopyFrom(FromStdSpan(std::span(values))));
    EXPECT_EQ(copy.Last(), 6u);
}

TEST(ContainersStd, FromStdSpanCutsWhatTheCountCannotSay)
{
    const u64 tooMany = 0x100000002u;
    if (sizeof(std::size_t) < sizeof(tooMany))
        return;
    // Looked at by nobody.
    static const char first = 'x';
    const std::span<const char> span(&first, static_cast<std::size_t>(tooMany));
    EXPECT_EQ(FromStdSpan(span).Count(), 0xFFFFFFFFu);
    EXPECT_EQ(FromStdSpan(span).Data(), &first);
}

// A program that takes views and spans alike.
int Take(const TMemoryView<const u32> &)
{
    return 1;
}
int Take(std::span<const u32>)
{
    return 2;
}

TEST(ContainersStd, OverloadsForViewsAndSpansAreNotAmbiguous)
{
    u32 value = 1;
    EXPECT_EQ(Take(std::span<u32>(&value, 1)), 2);
    EXPECT_EQ(Take(std::span<const u32>(&value, 1)), 2);
    EXPECT_EQ(Take(TMemoryView<const u32>(&value, 1)), 1);
}

#else

TEST(ContainersStd, NothingIsThereBeforeTheStandardHasSpans)
{
    EXPECT_TRUE(TMemoryView<u32>().Empty());
}

#endif

} // namespace

} // namespace QuorvaneTest
