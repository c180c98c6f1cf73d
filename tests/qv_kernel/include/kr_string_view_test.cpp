// What the view's declaration promises by itself: its type, and reading what it was given.
#include "kr_string_view.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "assert_recorder.h"
#include "kr_string.h"
#include "string_checks.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

u32 LengthOfConstView(const CStringView &view)
{
    return view.Length();
}

TEST(ViewHeader, AViewIsAPlainValueOfPointerAndLength)
{
    EXPECT_TRUE(std::is_trivially_copyable<CStringView>::value);
    EXPECT_TRUE(std::is_standard_layout<CStringView>::value);
    const char text[] = "abc";
    const CStringView view(text, 2);
    const char *data = nullptr;
    u32 length = 0;
    std::memcpy(&data, &view, sizeof(data));
    std::memcpy(&length, reinterpret_cast<const char *>(&view) + sizeof(data), sizeof(length));
    EXPECT_EQ(data, text);
    EXPECT_EQ(length, 2u);
}

TEST(ViewHeader, AStringBecomesAViewByItself)
{
    const CString string("abc");
    EXPECT_EQ(LengthOfConstView(string), 3u);
    EXPECT_EQ(LengthOfConstView(CString("abcd")), 4u);
    EXPECT_EQ(LengthOfConstView(string.View()), 3u);
}

TEST(ViewHeader, DefaultViewIsNullAndEmpty)
{
    const CStringView view;
    EXPECT_EQ(view.Data(), nullptr);
    EXPECT_EQ(view.Length(), 0u);
    EXPECT_TRUE(view.Empty());
}

TEST(ViewHeader, ViewStoresPointerAndLengthUnchanged)
{
    const char text[] = "abc";
    const CStringView view(text, 2);
    EXPECT_EQ(view.Data(), text);
    EXPECT_EQ(view.Length(), 2u);
    const CStringView odd(nullptr, 7);
    EXPECT_EQ(odd.Data(), nullptr);
    EXPECT_EQ(odd.Length(), 7u);
}

TEST(ViewHeader, ViewOfAStringIsItsCharactersAndLength)
{
    const CString string("abc");
    const CStringView view = string;
    EXPECT_EQ(view.Data(), string.Data());
    EXPECT_EQ(view.Length(), 3u);
    EXPECT_EQ(ContainerOf(string)->RefCount(), 1u);
}

TEST(ViewHeader, ViewOfANullStringIsNullAndEmpty)
{
    const CString string;
    const CStringView view = string;
    EXPECT_EQ(view.Data(), nullptr);
    EXPECT_EQ(view.Length(), 0u);
}

TEST(ViewHeader, ViewOfATemporaryLivesAsLongAsTheExpression)
{
    EXPECT_EQ(TextOf(CStringView(CString("temporary"))), "temporary");
}

TEST(ViewHeader, ViewOfAMemoryViewIsItsDataAndCount)
{
    const char text[] = "abc";
    const CStringView view = TMemoryView<const char>(text, 2);
    EXPECT_EQ(view.Data(), text);
    EXPECT_EQ(view.Length(), 2u);
}

TEST(ViewHeader, AViewIsEmptyByItsLengthAlone)
{
    EXPECT_TRUE(CStringView("abc", 0).Empty());
    EXPECT_FALSE(CStringView(nullptr, 1).Empty());
    EXPECT_FALSE(CStringView("\0", 1).Empty());
}

TEST(ViewHeader, ClearOfAViewIsNullAndEmpty)
{
    CStringView view("abc", 3);
    view.Clear();
    EXPECT_EQ(view.Data(), nullptr);
    EXPECT_EQ(view.Length(), 0u);
}

TEST(ViewHeader, ViewOfAViewIsTheSameMemory)
{
    const CStringView view("abc", 2);
    EXPECT_EQ(view.View().Data(), view.Data());
    EXPECT_EQ(view.View().Count(), 2u);
}

TEST(ViewHeader, ViewReadsEveryCharacterByValue)
{
    CAssertRecorder recorder;
    const CStringView view("abc", 3);
    EXPECT_EQ(view[0], 'a');
    EXPECT_EQ(view[2], 'c');
    EXPECT_TRUE((std::is_same<decltype(view[0]), char>::value));
    ExpectReports(recorder, {});
}

TEST(ViewHeader, ViewReportsAnIndexBeyondItsEndAndReadsAllTheSame)
{
    CAssertRecorder recorder;
    const CStringView view("abcdef", 3);
    EXPECT_EQ(view[3], 'd');
    ExpectReports(recorder, {"index < m_Length"});
    EXPECT_EQ(view[5], 'f');
    ExpectReports(recorder, {"index < m_Length", "index < m_Length"});
}

TEST(ViewHeader, NullViewReportsAnIndexAndAnswersNul)
{
    CAssertRecorder recorder;
    EXPECT_EQ(CStringView()[0], '\0');
    ExpectReports(recorder, {"index < m_Length"});
}

} // namespace
