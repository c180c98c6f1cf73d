// What null, empty, and a text that begins with a terminator mean to each operation: the table in kr_string.h, a test for
// each of its rows, in its order, with the three cells in theirs.
#include "kr_string.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const char *const kNoText = nullptr;
const char *const kNotEmptyCheck = "!Empty()";
const char *const kExtractOfStringCheck = "first < size && last <= size";
const char *const kExtractOfBufferCheck =
    "from != null && last > first && SNativeStringUtils::Length(from) >= QVMax(first, last)";

// The text that begins with a terminator.
std::string TerminatorAnd(const std::string &rest)
{
    return std::string(1, '\0') + rest;
}

// The three kinds of strings.
CString Null()
{
    return CString();
}

CString Empty()
{
    CString string = Fixed("abc");
    string.Clear();
    EXPECT_NE(string.Data(), nullptr);
    EXPECT_EQ(string.Length(), 0u);
    return string;
}

CString Begun()
{
    return Fixed(TerminatorAnd("ab"));
}

// The same in containers that can grow in place.
CString ResizableEmpty()
{
    CString string = Resizable("abc");
    string.Clear();
    return string;
}

CString ResizableBegun()
{
    return Resizable(TerminatorAnd("ab"));
}

bool IsNull(const CString &string)
{
    return string.Data() == nullptr && string.Length() == 0;
}

// Does the result share the string's container?
bool IsSame(const CString &result, const CString &string)
{
    return ContainerOf(result) == ContainerOf(string);
}

// An edit that does nothing leaves a shared container shared, and its characters alone.
template <typename Edit>
void ExpectNoEffect(const CString &string, Edit edit)
{
    const std::string before = TextOf(string);
    CString edited = string;
    edit(edited);
    EXPECT_TRUE(IsSame(edited, string));
    EXPECT_EQ(TextOf(string), before);
}

template <typename Edit>
std::string Edited(CString string, Edit edit)
{
    edit(string);
    return TextOf(string);
}

CString FormattedByList(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    CString result = CString::VAFormat(format, arguments);
    va_end(arguments);
    return result;
}

long long At(const CGuid &guid)
{
    return guid.Valid() ? static_cast<long long>(guid.Get()) : -1;
}

TEST(StringOfNothing, ConstructorOfIt)
{
    CAssertRecorder recorder;
    EXPECT_TRUE(IsNull(CString(kNoText)));
    EXPECT_TRUE(IsNull(CString("")));
    EXPECT_TRUE(IsNull(CString("abc", 0)));
    ExpectReports(recorder, {});
    EXPECT_TRUE(IsNull(CString("\0ab", 3)));
    ExpectReports(recorder, {"sourceLen == 0"});
}

TEST(StringOfNothing, ACopyOfAViewOfIt)
{
    EXPECT_TRUE(IsNull(CStringView().ToString()));
    EXPECT_TRUE(IsNull(CStringView(nullptr, 3).ToString()));
    EXPECT_TRUE(IsNull(CStringView("abc", 0).ToString()));
    EXPECT_EQ(TextOf(CStringView("\0ab", 3).ToString()), TerminatorAnd("ab"));
    EXPECT_TRUE(IsNull(CString(CStringView(nullptr, 3))));
    EXPECT_TRUE(IsNull(CString(CStringView("abc", 0))));
    EXPECT_EQ(TextOf(CString(CStringView("\0ab", 3))), TerminatorAnd("ab"));
    CString string("before");
    string = CStringView("\0ab", 3);
    EXPECT_EQ(TextOf(string), TerminatorAnd("ab"));
    string = CStringView("abc", 0);
    EXPECT_TRUE(IsNull(string));
}

TEST(StringOfNothing, DataAndLength)
{
    EXPECT_EQ(Null().Data(), nullptr);
    EXPECT_EQ(Null().Length(), 0u);
    EXPECT_STREQ(Empty().Data(), "");
    EXPECT_EQ(Empty().Length(), 0u);
    EXPECT_EQ(TextOf(Begun()), TerminatorAnd("ab"));
    EXPECT_EQ(Begun().Length(), 3u);
    EXPECT_TRUE(Null().Empty());
    EXPECT_TRUE(Empty().Empty());
    EXPECT_TRUE(Begun().Empty());
}

TEST(StringOfNothing, CStr)
{
    EXPECT_STREQ(Null().CStr(), "");
    EXPECT_STREQ(Empty().CStr(), "");
    EXPECT_STREQ(Begun().CStr(), "");
}

TEST(StringOfNothing, BeginAndEndAndSlice)
{
    const CString null = Null();
    EXPECT_EQ(null.begin(), null.end());
    EXPECT_EQ(null.Slice(0).Data(), nullptr);
    EXPECT_EQ(null.Slice(0).Length(), 0u);
    const CString empty = Empty();
    EXPECT_EQ(empty.begin(), empty.end());
    EXPECT_EQ(empty.Slice(0).Data(), empty.Data());
    EXPECT_EQ(empty.Slice(0).Length(), 0u);
    const CString begun = Begun();
    EXPECT_EQ(std::string(begun.begin(), begun.end()), TerminatorAnd("ab"));
    EXPECT_EQ(TextOf(begun.Slice(0)), TerminatorAnd("ab"));
    EXPECT_EQ(TextOf(begun.Slice(1, 1)), "a");
}

TEST(StringOfNothing, FirstAndLast)
{
    for (const CString &string : {Null(), Empty(), Begun()})
    {
        SCOPED_TRACE(string.Length());
        CAssertRecorder recorder;
        EXPECT_EQ(string.First(), '\0');
        EXPECT_EQ(string.Last(), '\0');
        ExpectReports(recorder, {kNotEmptyCheck, kNotEmptyCheck});
    }
}

TEST(StringOfNothing, IsShared)
{
    CString null;
    const CString nullCopy = null;
    EXPECT_FALSE(null.IsShared());
    for (const CString &string : {Empty(), Begun()})
    {
        EXPECT_FALSE(string.IsShared());
        const CString copy = string;
        EXPECT_TRUE(string.IsShared());
        EXPECT_TRUE(copy.IsShared());
    }
}

TEST(StringOfNothing, Clear)
{
    const auto clear = [](CString &string) { string.Clear(); };
    ExpectNoEffect(Null(), clear);
    ExpectNoEffect(Empty(), clear);
    ExpectNoEffect(Begun(), clear);
    EXPECT_EQ(Edited(Begun(), clear), TerminatorAnd("ab"));
}

TEST(StringOfNothing, FormatOfIt)
{
    CAssertRecorder recorder;
    EXPECT_TRUE(IsNull(FormattedByList(kNoText)));
    ExpectReports(recorder, {"format != null"});
    recorder.Clear();
    EXPECT_TRUE(IsNull(CString::Format("%s", "")));
    EXPECT_TRUE(IsNull(FormattedByList("%s", "")));
    const char *const begun = "\0ab";
    EXPECT_TRUE(IsNull(CString::Format("%s", begun)));
    EXPECT_TRUE(IsNull(FormattedByList("%s", begun)));
    ExpectReports(recorder, {});
}

TEST(StringOfNothing, AppendToIt)
{
    const auto append = [](CString &string) { string.Append("xy"); };
    EXPECT_EQ(Edited(Null(), append), "xy");
    EXPECT_EQ(Edited(Empty(), append), "xy");
    EXPECT_EQ(Edited(ResizableEmpty(), append), "xy");
    EXPECT_EQ(Edited(Begun(), append), "xy");
    EXPECT_EQ(Edited(ResizableBegun(), append), TerminatorAnd("abxy"));
    const CString shared = ResizableBegun();
    EXPECT_EQ(Edited(shared, append), "xy");

    const auto prepend = [](CString &string) { string.Prepend("xy"); };
    EXPECT_EQ(Edited(Null(), prepend), "xy");
    EXPECT_EQ(Edited(Empty(), prepend), "xy");
    EXPECT_EQ(Edited(ResizableEmpty(), prepend), "xy");
    EXPECT_EQ(Edited(Begun(), prepend), "xy");
    EXPECT_EQ(Edited(ResizableBegun(), prepend), "xy" + TerminatorAnd("ab"));
    EXPECT_EQ(Edited(shared, prepend), "xy");
}

TEST(StringOfNothing, AppendOfIt)
{
    const CString string("abc");
    ExpectNoEffect(string, [](CString &edited) { edited.Append(kNoText).Prepend(kNoText); });
    ExpectNoEffect(string, [](CString &edited) { edited.Append(kNoText, 3).Prepend(kNoText, 3); });
    ExpectNoEffect(string, [](CString &edited) { edited.Append(Null()).Prepend(Null()); });
    ExpectNoEffect(string,
                   [](CString &edited) { edited.Append(CStringView(nullptr, 3)).Prepend(CStringView(nullptr, 3)); });

    ExpectNoEffect(string, [](CString &edited) { edited.Append("").Prepend(""); });
    ExpectNoEffect(string, [](CString &edited) { edited.Append("x", 0).Prepend("x", 0); });
    ExpectNoEffect(string, [](CString &edited) { edited.Append(Empty()).Prepend(Empty()); });
    ExpectNoEffect(string, [](CString &edited) { edited.Append(CStringView("x", 0)).Prepend(CStringView("x", 0)); });

    ExpectNoEffect(string, [](CString &edited) { edited.Append(Begun()).Prepend(Begun()); });
    ExpectNoEffect(string, [](CString &edited) { edited.Append("\0ab", 3).Prepend("\0ab", 3); });
    ExpectNoEffect(string, [](CString &edited) { edited.Append('\0').Prepend('\0'); });
    const CStringView view("\0ab", 3);
    EXPECT_EQ(Edited(string, [&](CString &edited) { edited.Append(view); }), "abc" + TerminatorAnd("ab"));
    EXPECT_EQ(Edited(string, [&](CString &edited) { edited.Prepend(view); }), TerminatorAnd("ababc"));
}

TEST(StringOfNothing, TryAppendToIt)
{
    const auto append = [](CString &string) { string.TryAppend("xy"); };
    ExpectNoEffect(Null(), append);
    ExpectNoEffect(Empty(), append);
    ExpectNoEffect(Begun(), append);
    EXPECT_EQ(Edited(ResizableEmpty(), append), "xy");
    EXPECT_EQ(Edited(ResizableBegun(), append), TerminatorAnd("abxy"));
    const CString shared = ResizableBegun();
    EXPECT_EQ(Edited(shared, append), TerminatorAnd("ab"));
    EXPECT_FALSE(Null().TryAppend("xy"));
    EXPECT_FALSE(Empty().TryAppend("xy"));
}

TEST(StringOfNothing, TryAppendOfIt)
{
    const CString string("abc");
    CString edited = string;
    EXPECT_TRUE(edited.TryAppend(kNoText) && edited.TryAppend(Null()) && edited.TryAppend(CStringView(nullptr, 3)));
    EXPECT_TRUE(edited.TryAppend("") && edited.TryAppend(Empty()) && edited.TryAppend(CStringView("x", 0)));
    EXPECT_TRUE(edited.TryAppend(Begun()) && edited.TryAppend('\0'));
    EXPECT_EQ(edited.Data(), string.Data());
    EXPECT_TRUE(edited.Reserve(10));
    EXPECT_TRUE(edited.TryAppend(CStringView("\0ab", 3)));
    EXPECT_EQ(TextOf(edited), "abc" + TerminatorAnd("ab"));
}

TEST(StringOfNothing, ReserveOfIt)
{
    const auto reserve = [](CString &string) { EXPECT_TRUE(string.Reserve(10)); };
    EXPECT_EQ(Edited(Null(), reserve), "");
    EXPECT_EQ(Edited(Empty(), reserve), "");
    EXPECT_EQ(Edited(Begun(), reserve), TerminatorAnd("ab"));
    CString none;
    reserve(none);
    EXPECT_FALSE(IsNull(none));
    EXPECT_TRUE(none.TryAppend("0123456789"));
}

TEST(StringOfNothing, InsertIntoIt)
{
    const auto insert = [](CString &string) { string.Insert(0, "xy"); };
    EXPECT_EQ(Edited(Null(), insert), "xy");
    EXPECT_EQ(Edited(Empty(), insert), "xy");
    EXPECT_EQ(Edited(ResizableEmpty(), insert), "xy");
    EXPECT_EQ(Edited(Begun(), insert), "xy" + TerminatorAnd("ab"));
    EXPECT_EQ(Edited(ResizableBegun(), insert), "xy" + TerminatorAnd("ab"));
    const auto insertAtEnd = [](CString &string) { string.Insert(string.Length(), 'x'); };
    EXPECT_EQ(Edited(Begun(), insertAtEnd), TerminatorAnd("abx"));
    EXPECT_EQ(Edited(ResizableBegun(), insertAtEnd), TerminatorAnd("abx"));
}

TEST(StringOfNothing, InsertOfIt)
{
    const CString string("abc");
    ExpectNoEffect(string, [](CString &edited) { edited.Insert(1, kNoText).Insert(1, Null()); });
    ExpectNoEffect(string, [](CString &edited) { edited.Insert(1, CStringView(nullptr, 3)); });
    ExpectNoEffect(string, [](CString &edited) { edited.Insert(1, "").Insert(1, Empty()); });
    ExpectNoEffect(string, [](CString &edited) { edited.Insert(1, CStringView("x", 0)); });
    ExpectNoEffect(string, [](CString &edited) { edited.Insert(1, Begun()).Insert(1, "\0ab").Insert(1, '\0'); });
    EXPECT_EQ(Edited(string, [](CString &edited) { edited.Insert(1, CStringView("\0x", 2)); }),
              "a" + TerminatorAnd("xbc"));
}

TEST(StringOfNothing, EraseFromIt)
{
    ExpectNoEffect(Null(), [](CString &edited) { edited.Erase(0, 0); });
    ExpectNoEffect(Empty(), [](CString &edited) { edited.Erase(0, 0); });
    EXPECT_EQ(Edited(Begun(), [](CString &edited) { edited.Erase(1, 2); }), TerminatorAnd("b"));
    EXPECT_EQ(Edited(Begun(), [](CString &edited) { edited.Erase(0, 1); }), "ab");
}

TEST(StringOfNothing, PathJoinToIt)
{
    const auto join = [](CString &string) { string.AppendSlashAnd("x"); };
    EXPECT_EQ(Edited(Null(), join), "x");
    EXPECT_EQ(Edited(Empty(), join), "x");
    EXPECT_EQ(Edited(ResizableEmpty(), join), "x");
    EXPECT_EQ(Edited(Begun(), join), TerminatorAnd("ab/x"));
    EXPECT_EQ(Edited(ResizableBegun(), join), TerminatorAnd("ab/x"));
    EXPECT_EQ(TextOf(Begun() / "x"), TerminatorAnd("ab/x"));
    EXPECT_EQ(TextOf(JoinPath(Begun(), "x")), TerminatorAnd("ab/x"));
}

TEST(StringOfNothing, PathJoinOfIt)
{
    const CString string("dir//");
    EXPECT_EQ(TextOf(string / kNoText), "dir");
    EXPECT_EQ(TextOf(string / Null()), "dir");
    EXPECT_EQ(TextOf(string / CStringView(nullptr, 3)), "dir");
    EXPECT_EQ(Edited(string, [](CString &edited) { edited.AppendSlashAnd(kNoText, 3); }), "dir");

    EXPECT_EQ(TextOf(string / ""), "dir");
    EXPECT_EQ(TextOf(string / Empty()), "dir");
    EXPECT_EQ(TextOf(string / CStringView("x", 0)), "dir");
    EXPECT_EQ(Edited(string, [](CString &edited) { edited.AppendSlashAnd("x", 0); }), "dir");

    EXPECT_EQ(TextOf(string / Begun()), "dir");
    EXPECT_EQ(TextOf(string / CStringView("\0ab", 3)), "dir/" + TerminatorAnd("ab"));
    EXPECT_EQ(Edited(string, [](CString &edited) { edited.AppendSlashAnd("\0ab", 3); }), "dir/" + TerminatorAnd("ab"));
}

TEST(StringOfNothing, Casing)
{
    for (const CString &string : {Null(), Empty(), Begun()})
    {
        SCOPED_TRACE(string.Length());
        ExpectNoEffect(string, [](CString &edited) { edited.ToUppercase(); });
        ExpectNoEffect(string, [](CString &edited) { edited.ToLowercase(); });
        ExpectNoEffect(string, [](CString &edited) { edited.ConformTo(CasingType_Uppercase); });
        EXPECT_TRUE(string.IsUpper());
        EXPECT_TRUE(string.IsLower());
        EXPECT_EQ(string.AnalyzeCasing(), CasingType_Unspecified);
    }
}

TEST(StringOfNothing, EscapeAndUnescape)
{
    for (const CString &string : {Null(), Empty(), Fixed(TerminatorAnd("\t\\t"))})
    {
        SCOPED_TRACE(string.Length());
        ExpectNoEffect(string, [](CString &edited) { edited.Escape(); });
        ExpectNoEffect(string, [](CString &edited) { edited.Unescape(); });
    }
}

TEST(StringOfNothing, Ident)
{
    const auto ident = [](CString &string) { EXPECT_EQ(string.Ident(0, 6, 4), 3u); };
    EXPECT_EQ(Edited(Null(), ident), "\t  ");
    EXPECT_EQ(Edited(Empty(), ident), "\t  ");
    EXPECT_EQ(Edited(Begun(), ident), TerminatorAnd("ab\t  "));
}

TEST(StringOfNothing, ReverseAndStrip)
{
    for (const CString &string : {Null(), Empty()})
    {
        SCOPED_TRACE(string.Data() != nullptr);
        ExpectNoEffect(string, [](CString &edited) { edited.Reverse(); });
        ExpectNoEffect(string, [](CString &edited) { edited.Strip("ab").StripLeft("ab").StripRight("ab"); });
    }
    EXPECT_EQ(Edited(Begun(), [](CString &string) { string.Reverse(); }), std::string("ba\0", 3));
    EXPECT_EQ(Edited(Begun(), [](CString &string) { string.StripRight("b"); }), TerminatorAnd("a"));
    EXPECT_EQ(Edited(Begun(), [](CString &string) { string.Strip("ab"); }), TerminatorAnd(""));
    ExpectNoEffect(Begun(), [](CString &string) { string.StripLeft("ab"); });
}

TEST(StringOfNothing, PadIt)
{
    for (const CString &nothing : {Null(), Empty()})
    {
        EXPECT_EQ(TextOf(nothing.PadLeft(2, 'x')), "xx");
        EXPECT_EQ(TextOf(nothing.PadRight(2, 'x')), "xx");
    }
    EXPECT_EQ(TextOf(Begun().PadLeft(4, 'x')), "x" + TerminatorAnd("ab"));
    EXPECT_EQ(TextOf(Begun().PadRight(4, 'x')), TerminatorAnd("abx"));
}

TEST(StringOfNothing, StripWithASetOfIt)
{
    const CString string = Fixed("\tabc ");
    for (const char *const set : {kNoText, "", "\0ab"})
        ExpectNoEffect(string, [=](CString &edited) { edited.Strip(set).StripLeft(set).StripRight(set); });
}

TEST(StringOfNothing, RepeatIt)
{
    EXPECT_TRUE(IsNull(Null().Repeat(2)));
    const CString empty = Empty();
    EXPECT_TRUE(IsNull(empty.Repeat(2)));
    EXPECT_TRUE(IsSame(empty.Repeat(1), empty));
    EXPECT_EQ(TextOf(Begun().Repeat(2)), TerminatorAnd("ab") + TerminatorAnd("ab"));
}

TEST(StringOfNothing, JoinAndConcatOfIt)
{
    for (const CString &nothing : {Null(), Empty()})
    {
        EXPECT_EQ(TextOf(Join("-", "x", nothing, "y")), "x--y");
        EXPECT_EQ(TextOf(Concat("x", nothing, "y")), "xy");
        EXPECT_TRUE(IsNull(Concat(nothing)));
    }
    EXPECT_EQ(TextOf(Join("-", "x", kNoText, CStringView(nullptr, 3), "", "y")), "x----y");
    EXPECT_EQ(TextOf(Join("-", "x", Begun())), "x-" + TerminatorAnd("ab"));
    EXPECT_EQ(TextOf(Concat(Begun(), CStringView("\0x", 2), '\0')),
              TerminatorAnd("ab") + TerminatorAnd("x") + TerminatorAnd(""));
}

TEST(StringOfNothing, JoinWithIt)
{
    EXPECT_EQ(TextOf(Join(Null(), "x", "y")), "xy");
    EXPECT_EQ(TextOf(Join(kNoText, "x", "y")), "xy");
    EXPECT_EQ(TextOf(Join(CStringView(nullptr, 3), "x", "y")), "xy");
    EXPECT_EQ(TextOf(Join(Empty(), "x", "y")), "xy");
    EXPECT_EQ(TextOf(Join("", "x", "y")), "xy");
    EXPECT_EQ(TextOf(Join(Begun(), "x", "y")), "x" + TerminatorAnd("aby"));
}

TEST(StringOfNothing, Uncomment)
{
    const auto uncomment = [](CString &string) { string.Uncomment(); };
    CAssertRecorder recorder;
    EXPECT_EQ(Edited(Null(), uncomment), "");
    EXPECT_EQ(Edited(Empty(), uncomment), "");
    ExpectReports(recorder, {});
    EXPECT_EQ(Edited(Fixed(TerminatorAnd("//b")), uncomment), TerminatorAnd("//b"));
    ExpectReports(recorder, {"SNativeStringUtils::Length_16(Data()) == Length()"});
}

TEST(StringOfNothing, ReplaceInIt)
{
    EXPECT_TRUE(IsNull(Null().Replace("a", "x")));
    const CString empty = Empty();
    EXPECT_TRUE(IsSame(empty.Replace("a", "x"), empty));
    const CString begun = Begun();
    EXPECT_TRUE(IsSame(begun.Replace("a", "x"), begun));
}

TEST(StringOfNothing, ReplaceOfIt)
{
    const CString string("abc");
    EXPECT_TRUE(IsSame(string.Replace(kNoText, "x"), string));
    EXPECT_TRUE(IsSame(string.Replace(CStringView(nullptr, 3), "x"), string));
    EXPECT_TRUE(IsSame(string.Replace("", "x"), string));
    EXPECT_TRUE(IsSame(string.Replace(CStringView("a", 0), "x"), string));
    for (const char *const replacement : {"", "xyz", "xyzw"})
        EXPECT_EQ(TextOf(string.Replace(CStringView("\0ab", 3), replacement)), "abc");
}

TEST(StringOfNothing, ReplaceByIt)
{
    const CString string("a-b-c");
    EXPECT_EQ(TextOf(string.Replace("-", kNoText)), "abc");
    EXPECT_EQ(TextOf(string.Replace("-", CStringView(nullptr, 1))), "abc");
    EXPECT_EQ(TextOf(string.Replace("-", "")), "abc");
    EXPECT_EQ(TextOf(string.Replace("-", CStringView("x", 0))), "abc");
    EXPECT_EQ(TextOf(string.Replace("-", CStringView("\0ab", 3))), "a");
    EXPECT_EQ(TextOf(string.Replace("-", CStringView("\0ab", 1))), "a");
    EXPECT_EQ(TextOf(string.Replace("-b-", CStringView("\0ab", 1))), "a");
}

TEST(StringOfNothing, ReplaceACharacter)
{
    EXPECT_TRUE(IsNull(Null().Replace('a', 'x')));
    EXPECT_TRUE(IsNull(Empty().Replace('a', 'x')));
    EXPECT_EQ(TextOf(Begun().Replace('a', 'x')), TerminatorAnd("xb"));
}

TEST(StringOfNothing, EqualsNull)
{
    for (const CString &string : {Null(), Empty(), Begun()})
    {
        SCOPED_TRACE(string.Length());
        EXPECT_TRUE(string == Null());
        EXPECT_TRUE(Null() == string);
        EXPECT_TRUE(string == kNoText);
        EXPECT_TRUE(string == CStringView());
        EXPECT_TRUE(string.Compare(Null()));
        EXPECT_TRUE(string.Compare(kNoText));
        EXPECT_TRUE(string.Compare(CStringView()));
    }
}

TEST(StringOfNothing, EqualsAnEmptyString)
{
    EXPECT_TRUE(Null() == Empty());
    EXPECT_TRUE(Empty() == Empty());
    EXPECT_FALSE(Begun() == Empty());
    EXPECT_FALSE(Empty() == Begun());
    EXPECT_FALSE(Begun().Compare(Empty()));
}

TEST(StringOfNothing, EqualsAnEmptyTextAndView)
{
    for (const CString &string : {Null(), Empty(), Begun()})
    {
        SCOPED_TRACE(string.Length());
        EXPECT_TRUE(string == "");
        EXPECT_TRUE("" == string);
        EXPECT_TRUE(string.Compare(""));
        EXPECT_TRUE(string == CStringView("x", 0));
        EXPECT_TRUE(CStringView("x", 0) == string);
        EXPECT_TRUE(string.Compare(CStringView("x", 0)));
    }
}

TEST(StringOfNothing, EqualsAViewOfIt)
{
    const CString empty = Empty();
    const CString begun = Begun();
    EXPECT_TRUE(Null() == CStringView(nullptr, 0));
    EXPECT_TRUE(empty == CStringView(empty));
    EXPECT_FALSE(begun == CStringView(begun));
    EXPECT_TRUE(Null().Compare(CStringView(nullptr, 0)));
    EXPECT_TRUE(empty.Compare(CStringView(empty)));
    EXPECT_TRUE(begun.Compare(CStringView(begun)));
    EXPECT_FALSE(begun.Compare(CStringView("\0a", 2)));
}

TEST(StringOfNothing, LessThanAnEmptyString)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    EXPECT_TRUE(Null() < Empty());
    EXPECT_FALSE(Empty() < Empty());
    EXPECT_FALSE(Begun() < Empty());
    EXPECT_TRUE(Null().LessThan(Empty()));
    EXPECT_FALSE(Empty().LessThan(Empty()));
    EXPECT_FALSE(Begun().LessThan(Empty()));
}

TEST(StringOfNothing, GreaterThanAnEmptyString)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    EXPECT_FALSE(Null() > Empty());
    EXPECT_FALSE(Empty() > Empty());
    EXPECT_TRUE(Begun() > Empty());
    // No strict weak order: the other way round there is none.
    EXPECT_FALSE(Empty() < Begun());
}

TEST(StringOfNothing, FindACharacterInIt)
{
    EXPECT_EQ(At(Null().FindFirstOf('b')), -1);
    EXPECT_EQ(At(Empty().FindFirstOf('\0')), -1);
    EXPECT_EQ(At(Begun().FindFirstOf('b')), 2);
    EXPECT_EQ(At(Begun().FindLastOf('\0')), 0);
}

TEST(StringOfNothing, FindATextInIt)
{
    EXPECT_EQ(At(Null().FindFirstOf("b")), -1);
    EXPECT_EQ(At(Empty().FindFirstOf("b")), -1);
    EXPECT_EQ(At(Begun().FindFirstOf("b")), -1);
    EXPECT_EQ(At(Begun().FindNextOf("b", 1)), 2);
}

TEST(StringOfNothing, FindIt)
{
    const CString string("abc");
    EXPECT_EQ(At(string.FindNextOf(kNoText, 1)), -1);
    EXPECT_EQ(At(string.FindNextOf("", 1)), 1);
    EXPECT_EQ(At(string.FindNextOf("\0ab", 1)), 1);
    EXPECT_EQ(At(Null().FindFirstOf("")), -1);
    EXPECT_EQ(At(Empty().FindFirstOf("")), -1);
    EXPECT_EQ(At(Begun().FindFirstOf("")), 0);
}

TEST(StringOfNothing, FindTextAndItsKin)
{
    for (const CString &string : {Null(), Empty()})
    {
        SCOPED_TRACE(string.Data() != nullptr);
        EXPECT_EQ(At(string.FindText(kNoText)), 0);
        EXPECT_EQ(At(string.FindText("")), 0);
        EXPECT_EQ(At(string.FindText("", 1)), -1);
        EXPECT_EQ(At(string.FindText("a")), -1);
        EXPECT_EQ(At(string.FindText(CStringView("\0", 1))), -1);
        EXPECT_EQ(At(string.FindLastText(kNoText)), 0);
        EXPECT_EQ(At(string.FindLastText("")), 0);
        EXPECT_EQ(At(string.FindLastText("a")), -1);
    }
    EXPECT_EQ(At(Begun().FindText("b")), 2);
    EXPECT_EQ(At(Begun().FindText("")), 0);
    EXPECT_EQ(At(Begun().FindText(CStringView("\0a", 2))), 0);
    EXPECT_EQ(At(Begun().FindLastText("b")), 2);
    EXPECT_EQ(At(Begun().FindLastText("")), 3);
    EXPECT_EQ(At(Begun().FindLastText(CStringView("\0", 1))), 0);
}

TEST(StringOfNothing, FindTextOfItAndItsKin)
{
    const CString string = Fixed("abc" + TerminatorAnd("abc"));
    for (const u32 start : {0u, 4u, 7u})
    {
        EXPECT_EQ(At(string.FindText(kNoText, start)), start);
        EXPECT_EQ(At(string.FindText(Null(), start)), start);
        EXPECT_EQ(At(string.FindText(CStringView(nullptr, 3), start)), start);
        EXPECT_EQ(At(string.FindText("", start)), start);
        EXPECT_EQ(At(string.FindText(Empty(), start)), start);
        EXPECT_EQ(At(string.FindText(CStringView("x", 0), start)), start);
        EXPECT_EQ(At(string.FindText("\0ab", start)), start);
    }
    EXPECT_EQ(At(string.FindText(Begun())), 3);
    EXPECT_EQ(At(string.FindText(CStringView("\0ab", 3))), 3);
    EXPECT_EQ(At(string.FindText(Begun(), 4)), -1);

    EXPECT_EQ(At(string.FindLastText(kNoText)), 7);
    EXPECT_EQ(At(string.FindLastText(Null())), 7);
    EXPECT_EQ(At(string.FindLastText(CStringView(nullptr, 3))), 7);
    EXPECT_EQ(At(string.FindLastText("")), 7);
    EXPECT_EQ(At(string.FindLastText(Empty())), 7);
    EXPECT_EQ(At(string.FindLastText(CStringView("x", 0))), 7);
    EXPECT_EQ(At(string.FindLastText("\0ab")), 7);
    EXPECT_EQ(At(string.FindLastText(Begun())), 3);
    EXPECT_EQ(At(string.FindLastText(CStringView("\0ab", 3))), 3);
}

template <typename Text>
void ExpectHolds(const CString &string, const Text &text, bool holds)
{
    EXPECT_EQ(string.StartsWith(text), holds);
    EXPECT_EQ(string.EndsWith(text), holds);
    EXPECT_EQ(string.Contains(text), holds);
}

TEST(StringOfNothing, ContainsAndItsKin)
{
    for (const CString &string : {Null(), Empty()})
    {
        ExpectHolds(string, "", true);
        ExpectHolds(string, kNoText, true);
        ExpectHolds(string, "a", false);
        ExpectHolds(string, CStringView("\0", 1), false);
    }
    EXPECT_TRUE(Begun().StartsWith(CStringView("\0a", 2)));
    EXPECT_TRUE(Begun().EndsWith("ab"));
    EXPECT_TRUE(Begun().Contains("b"));
    EXPECT_FALSE(Begun().StartsWith("a"));
}

TEST(StringOfNothing, ContainsItAndItsKin)
{
    const CString string("abc");
    ExpectHolds(string, kNoText, true);
    ExpectHolds(string, Null(), true);
    ExpectHolds(string, CStringView(nullptr, 3), true);
    ExpectHolds(string, "", true);
    ExpectHolds(string, Empty(), true);
    ExpectHolds(string, CStringView("x", 0), true);
    ExpectHolds(string, Begun(), false);
    ExpectHolds(string, CStringView("\0ab", 3), false);
    ExpectHolds(Begun(), Begun(), true);
    ExpectHolds(Begun(), CStringView("\0ab", 3), true);
}

TEST(StringOfNothing, EmptyButForASet)
{
    for (const CString &string : {Null(), Empty(), Begun()})
    {
        SCOPED_TRACE(string.Length());
        EXPECT_TRUE(string.Empty(" "));
        EXPECT_TRUE(string.Empty("ab"));
    }
}

TEST(StringOfNothing, EmptyOfAViewButForASet)
{
    for (const char *set : {" ", "ab", "x"})
    {
        EXPECT_TRUE(CStringView(Null()).Empty(set));
        EXPECT_TRUE(CStringView("ab", 0).Empty(set));
        EXPECT_FALSE(CStringView("\0ab", 3).Empty(set));
    }
}

TEST(StringOfNothing, EmptyButForIt)
{
    for (const char *const set : {kNoText, "", "\0ab"})
    {
        EXPECT_TRUE(Null().Empty(set));
        EXPECT_TRUE(Empty().Empty(set));
        EXPECT_TRUE(Begun().Empty(set));
        EXPECT_FALSE(CString("ab").Empty(set));
    }
}

TEST(StringOfNothing, ExtractFromAString)
{
    CAssertRecorder recorder;
    EXPECT_TRUE(IsNull(Null().Extract(0, 0)));
    EXPECT_TRUE(IsNull(Empty().Extract(0, 0)));
    ExpectReports(recorder, {kExtractOfStringCheck, kExtractOfStringCheck});
    recorder.Clear();
    EXPECT_EQ(TextOf(Begun().Extract(0, 2)), TerminatorAnd("a"));
    ExpectReports(recorder, {kExtractOfBufferCheck});
}

TEST(StringOfNothing, ExtractFromABuffer)
{
    CAssertRecorder recorder;
    EXPECT_TRUE(IsNull(CString::Extract(kNoText, 0, 2)));
    EXPECT_EQ(TextOf(CString::Extract("", 0, 1)), TerminatorAnd(""));
    EXPECT_EQ(TextOf(CString::Extract("\0ab", 0, 2)), TerminatorAnd("a"));
    ExpectReports(recorder, {kExtractOfBufferCheck, kExtractOfBufferCheck, kExtractOfBufferCheck});
}

TEST(StringOfNothing, Split)
{
    for (const CString &string : {Null(), Empty(), Begun()})
    {
        SCOPED_TRACE(string.Length());
        TArray<CStringView> views;
        TArray<CString> strings;
        TArray<CString> appended;
        EXPECT_TRUE(string.Split(',', views));
        EXPECT_TRUE(string.Split(',', strings));
        EXPECT_TRUE(string.Split([](char character) { return character == ','; }, appended));
        EXPECT_EQ(views.Count() + strings.Count() + appended.Count(), 0u);
    }
}

TEST(StringOfNothing, SplitOfAView)
{
    const auto split = [](const CStringView &view)
    {
        std::vector<std::string> texts;
        TArray<CStringView> pieces;
        EXPECT_TRUE(view.Split(',', pieces));
        for (const CStringView &piece : pieces)
            texts.push_back(TextOf(piece));
        return texts;
    };
    EXPECT_TRUE(split(CStringView()).empty());
    EXPECT_TRUE(split(CStringView(nullptr, 3)).empty());
    EXPECT_TRUE(split(CStringView("a,b", 0)).empty());
    EXPECT_EQ(split(CStringView("\0a,b", 4)), (std::vector<std::string>{TerminatorAnd("a"), "b"}));
}

// The number of pieces, and of characters in them.
template <typename Range>
std::vector<u32> PiecesAndCharacters(const Range &range)
{
    std::vector<u32> counts = {0, 0};
    for (const CStringView &piece : range)
    {
        ++counts[0];
        counts[1] += piece.Length();
    }
    return counts;
}

TEST(StringOfNothing, PiecesAndLinesOfIt)
{
    for (const CString &string : {Null(), Empty()})
    {
        SCOPED_TRACE(string.Data() != nullptr);
        EXPECT_EQ(PiecesAndCharacters(Pieces(string, ',')), (std::vector<u32>{0, 0}));
        EXPECT_EQ(PiecesAndCharacters(Pieces(string, ",,").FromEnd()), (std::vector<u32>{0, 0}));
        EXPECT_EQ(PiecesAndCharacters(PiecesOfSet(string, ",")), (std::vector<u32>{0, 0}));
        EXPECT_EQ(PiecesAndCharacters(Lines(string)), (std::vector<u32>{0, 0}));
        EXPECT_EQ(PiecesAndCharacters(Pieces(string, ',').WithEmpty()), (std::vector<u32>{1, 0}));
        EXPECT_EQ(PiecesAndCharacters(Pieces(string, ",,").WithEmpty().FromEnd()), (std::vector<u32>{1, 0}));
        EXPECT_EQ(PiecesAndCharacters(PiecesOfSet(string, ",").WithEmpty()), (std::vector<u32>{1, 0}));
    }
    EXPECT_EQ(PiecesAndCharacters(Pieces(CStringView(nullptr, 3), ',')), (std::vector<u32>{0, 0}));
    EXPECT_EQ(PiecesAndCharacters(Pieces(kNoText, ',').WithEmpty()), (std::vector<u32>{1, 0}));
    EXPECT_EQ(PiecesAndCharacters(Pieces(Begun(), 'a')), (std::vector<u32>{2, 2}));
    EXPECT_EQ(PiecesAndCharacters(PiecesOfSet(Begun(), "a")), (std::vector<u32>{2, 2}));
    EXPECT_EQ(PiecesAndCharacters(Lines(Begun())), (std::vector<u32>{1, 3}));
}

TEST(StringOfNothing, PiecesAtItOrASet)
{
    const CString string("ab");
    for (const CString &nothing : {Null(), Empty()})
    {
        EXPECT_EQ(PiecesAndCharacters(Pieces(string, nothing)), (std::vector<u32>{1, 2}));
        EXPECT_EQ(PiecesAndCharacters(PiecesOfSet(string, nothing)), (std::vector<u32>{1, 2}));
    }
    for (const char *const nothing : {kNoText, "", "\0ab"})
    {
        EXPECT_EQ(PiecesAndCharacters(Pieces(string, nothing)), (std::vector<u32>{1, 2}));
        EXPECT_EQ(PiecesAndCharacters(PiecesOfSet(string, nothing)), (std::vector<u32>{1, 2}));
    }
    EXPECT_EQ(PiecesAndCharacters(Pieces(Fixed(std::string("x\0aby", 5)), Begun())), (std::vector<u32>{2, 2}));
    EXPECT_EQ(PiecesAndCharacters(PiecesOfSet(Fixed(std::string("x\0y", 3)), Begun())), (std::vector<u32>{2, 2}));
}

TEST(StringOfNothing, SplitByABatchSplitter)
{
    CStringBatchSplitter splitter;
    TArray<CString> pieces;
    CAssertRecorder recorder;
    splitter.Split(Null(), pieces);
    EXPECT_TRUE(pieces.Empty());
    ExpectReports(recorder, {"_P::m_Ptr != null"});
    recorder.Clear();
    for (const CString &string : {Empty(), Begun()})
    {
        splitter.Split(string, pieces);
        EXPECT_TRUE(pieces.Empty());
    }
    ExpectReports(recorder, {});
}

TEST(StringOfNothing, Match)
{
    for (const CString &string : {Null(), Empty(), Begun()})
    {
        SCOPED_TRACE(string.Length());
        CAssertRecorder recorder;
        EXPECT_TRUE(string.Match(kNoText));
        EXPECT_TRUE(string.Match(""));
        EXPECT_TRUE(string.Match("**"));
        EXPECT_FALSE(string.Match("?"));
        EXPECT_FALSE(string.Match("*b"));
        EXPECT_TRUE(string.MatchWithInhibitors(kNoText));
        EXPECT_TRUE(string.MatchWithInhibitors("**"));
        EXPECT_FALSE(string.MatchWithInhibitors("*b"));
        ExpectReports(recorder, {});
    }
}

TEST(StringOfNothing, MatchWithItAText)
{
    const CString string("ab");
    CAssertRecorder recorder;
    EXPECT_FALSE(string.Match(kNoText));
    ExpectReports(recorder, {"pattern != null"});
    recorder.Clear();
    for (const char *const pattern : {"", "\0ab"})
    {
        EXPECT_FALSE(string.Match(pattern));
        EXPECT_FALSE(string.MatchWithInhibitors(pattern));
        EXPECT_TRUE(Null().Match(pattern));
        EXPECT_TRUE(Begun().Match(pattern));
    }
    ExpectReports(recorder, {});
}

TEST(StringOfNothing, MatchWithItAString)
{
    for (const CString &pattern : {Null(), Empty(), Begun()})
    {
        SCOPED_TRACE(pattern.Length());
        EXPECT_FALSE(CString("ab").Match(pattern));
        EXPECT_FALSE(CString("ab").MatchWithInhibitors(pattern));
        for (const CString &string : {Null(), Empty(), Begun()})
        {
            EXPECT_TRUE(string.Match(pattern));
            EXPECT_TRUE(string.MatchWithInhibitors(pattern));
        }
    }
}

TEST(StringOfNothing, MatchOfAView)
{
    CAssertRecorder recorder;
    for (const CStringView &view : {CStringView(), CStringView(nullptr, 3), CStringView("ab", 0)})
    {
        EXPECT_TRUE(view.Match(kNoText));
        EXPECT_TRUE(view.Match("**"));
        EXPECT_FALSE(view.Match("a*"));
    }
    const CStringView begun("\0ab", 3);
    EXPECT_FALSE(begun.Match(kNoText));
    EXPECT_TRUE(begun.Match("?ab"));
    ExpectReports(recorder, {});
}

TEST(StringOfNothing, MatchOfAViewWithIt)
{
    CAssertRecorder recorder;
    const CString begun = Begun();
    const CString empty = Empty();
    for (const CStringView &view : {CStringView(), CStringView("ab"), CStringView(begun)})
    {
        const bool isEmpty = view.Length() == 0;
        EXPECT_EQ(view.Match(kNoText), isEmpty);
        EXPECT_EQ(view.Match(CStringView()), isEmpty);
        EXPECT_EQ(view.Match(CStringView(nullptr, 3)), isEmpty);
        EXPECT_EQ(view.Match(Null()), isEmpty);
        EXPECT_EQ(view.Match(""), isEmpty);
        EXPECT_EQ(view.Match(empty), isEmpty);
        EXPECT_EQ(view.Match("\0ab"), isEmpty);
        EXPECT_EQ(view.Match(begun), view.Length() == 3);
    }
    ExpectReports(recorder, {});
}

TEST(StringOfNothing, FuzzyWeightWithNull)
{
    EXPECT_EQ(Null().FuzzyMatch(Null()), 1.0f);
    EXPECT_EQ(Empty().FuzzyMatch(Null()), 1.0f);
    EXPECT_EQ(Null().FuzzyMatch(Empty()), 1.0f);
    EXPECT_EQ(Begun().FuzzyMatch(Null()), 0.0f);
    EXPECT_EQ(Null().FuzzyMatch(Begun()), 0.0f);
    EXPECT_EQ(Begun().FuzzyMatch(Begun()), 1.0f);
    const CString begun = Begun();
    for (const CStringView &view : {CStringView(), CStringView(nullptr, 3), CStringView("ab", 0)})
    {
        EXPECT_EQ(view.FuzzyMatch(CStringView()), 1.0f);
        EXPECT_EQ(view.FuzzyMatch(kNoText), 1.0f);
        EXPECT_EQ(view.FuzzyMatch(begun), 0.0f);
        EXPECT_EQ(CStringView(begun).FuzzyMatch(view), 0.0f);
    }
}

TEST(StringOfNothing, AViewGoesByItsLength)
{
    const CStringView null(nullptr, 3);
    const CStringView empty("ab", 0);
    const CStringView begun("\0ab", 3);
    EXPECT_TRUE(CStringView().Empty());
    EXPECT_TRUE(empty.Empty());
    EXPECT_FALSE(begun.Empty());
    EXPECT_EQ(At(null.FindFirstOf('a')), -1);
    EXPECT_EQ(At(empty.FindFirstOf('a')), -1);
    EXPECT_EQ(At(begun.FindFirstOf('a')), 1);
    EXPECT_EQ(At(null.FindText(null)), 0);
    EXPECT_EQ(At(null.FindText("a")), -1);
    EXPECT_EQ(At(null.FindText("", 1)), -1);
    EXPECT_EQ(At(null.FindLastText("")), 0);
    EXPECT_EQ(At(empty.FindText("a")), -1);
    EXPECT_EQ(At(empty.FindLastText("")), 0);
    EXPECT_EQ(At(begun.FindText("a")), 1);
    EXPECT_EQ(At(begun.FindLastText(begun)), 0);
    EXPECT_TRUE(null.StartsWith(empty));
    EXPECT_FALSE(null.StartsWith("a"));
    EXPECT_TRUE(begun.EndsWith("ab"));
    EXPECT_TRUE(begun == begun);
    EXPECT_FALSE(begun == CStringView("\0ax", 3));
    EXPECT_TRUE(begun.Compare(CStringView("\0ax", 3)));
    EXPECT_FALSE(begun == empty);
    EXPECT_EQ(TextOf(begun.StripRight('b')), TerminatorAnd("a"));
}

} // namespace
