// What the header promises by itself: sizes, traits, which overloads resolve, the operators, and strings in
// static objects.
#include "kr_string.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

#include "refusal_sweep.h"
#include "static_strings.h"
#include "string_checks.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// Initialised by the compiler, or this file does not build.
QV_INTERNAL_CONSTINIT CString g_ConstantString;
constexpr CStringView kConstantView("constant", 8);
constexpr CStringView kConstantEmptyView;

// The overload that an argument selects.
const char *Taken(const CString &)
{
    return "string";
}

const char *Taken(const CStringView &)
{
    return "view";
}

const char *Taken(const char *)
{
    return "text";
}

u32 LengthOfString(const CString &string)
{
    return string.Length();
}

// Sharing.

TEST(StringHeader, IsSharedWhileAnotherHandleHoldsTheCharacters)
{
    CString string("abc");
    EXPECT_FALSE(string.IsShared());
    {
        const CString other = string;
        EXPECT_TRUE(string.IsShared());
        EXPECT_TRUE(other.IsShared());
        const CStringView view = other;
        EXPECT_EQ(view.Data(), string.Data());
    }
    EXPECT_FALSE(string.IsShared());
    const PStringContainer container(ContainerOf(string));
    EXPECT_TRUE(string.IsShared());
}

TEST(StringHeader, IsSharedNoMoreAfterAWriteOrAMove)
{
    CString string("abc");
    CString other = string;
    string.AtForWriting(0) = 'x';
    EXPECT_FALSE(string.IsShared());
    EXPECT_FALSE(other.IsShared());
    const CString moved = std::move(other);
    EXPECT_FALSE(moved.IsShared());
}

// Types.

TEST(StringHeader, AStringIsOnePointer)
{
    EXPECT_EQ(sizeof(CString), sizeof(void *));
    EXPECT_EQ(alignof(CString), alignof(void *));
}

TEST(StringHeader, MovesDoNotThrow)
{
    EXPECT_TRUE(std::is_nothrow_default_constructible<CString>::value);
    EXPECT_TRUE(std::is_nothrow_move_constructible<CString>::value);
    EXPECT_TRUE(std::is_nothrow_move_assignable<CString>::value);
    EXPECT_TRUE(std::is_nothrow_destructible<CString>::value);
}

TEST(StringHeader, StringsMayBeRelocatedByTheirBytes)
{
    EXPECT_TRUE(TTypeTraits<CString>::HasTrivialRelocate);
}

TEST(StringHeader, StringsAndViewsAreConstantInitialised)
{
    EXPECT_EQ(g_ConstantString.Data(), nullptr);
    EXPECT_EQ(kConstantView.Length(), 8u);
    EXPECT_STREQ(kConstantView.Data(), "constant");
    EXPECT_TRUE(kConstantEmptyView.Empty());
}

// Conversions and overloads.

TEST(StringHeader, TextBecomesAStringByItself)
{
    EXPECT_EQ(LengthOfString("abc"), 3u);
    EXPECT_EQ(LengthOfString(nullptr), 0u);
    EXPECT_EQ(LengthOfString(CStringContainer::New("abcd")), 4u);
    EXPECT_TRUE((std::is_convertible<const char *, CString>::value));
    EXPECT_TRUE((std::is_convertible<const PStringContainer &, CString>::value));
}

TEST(StringHeader, AViewOrACharacterDoesNotBecomeAStringByItself)
{
    EXPECT_FALSE((std::is_convertible<CStringView, CString>::value));
    EXPECT_FALSE((std::is_convertible<char, CString>::value));
    EXPECT_FALSE((std::is_convertible<int, CString>::value));
}

TEST(StringHeader, EachArgumentSelectsItsOwnOverload)
{
    const CString string("abc");
    const CStringView view(string);
    EXPECT_STREQ(Taken(string), "string");
    EXPECT_STREQ(Taken(CString("abc")), "string");
    EXPECT_STREQ(Taken(view), "view");
    EXPECT_STREQ(Taken("abc"), "text");
    EXPECT_STREQ(Taken(string.Data()), "text");
    EXPECT_STREQ(Taken(nullptr), "text");
    EXPECT_STREQ(Taken(null), "text");
}

TEST(StringHeader, EditsTakeNullLiteralHandleViewAndCharacter)
{
    const CString handle("h");
    const CStringView view("v", 1);
    char text[] = "t";
    CString string;
    string.Append(nullptr).Append("l").Append(handle).Append(view).Append('c').Append(text).Append("cde", 2);
    ExpectText(string, "lhvctcd");
    string.Prepend(nullptr).Prepend("l").Prepend(handle).Prepend(view).Prepend('c').Prepend(text).Prepend("cde", 2);
    ExpectText(string, "cdtcvhllhvctcd");
    CString path;
    path.AppendSlashAnd("l").AppendSlashAnd(nullptr).AppendSlashAnd(handle).AppendSlashAnd(view).AppendSlashAnd(text);
    path.AppendSlashAnd("cde", 2).AppendSlash();
    ExpectText(path, "l/h/v/t/cd/");
}

TEST(StringHeader, EditsReturnTheStringItself)
{
    CString string("a");
    EXPECT_EQ(&string.Append("b"), &string);
    EXPECT_EQ(&string.Append(""), &string);
    EXPECT_EQ(&string.Prepend("b"), &string);
    EXPECT_EQ(&string.Prepend(""), &string);
    EXPECT_EQ(&string.AppendSlashAnd("b"), &string);
    EXPECT_EQ(&string.AppendSlashAnd(""), &string);
    EXPECT_EQ(&string.AppendSlash(), &string);
    EXPECT_EQ(&(string += "b"), &string);
    EXPECT_EQ(&(string /= "b"), &string);
}

// Operators.

TEST(StringHeader, PlusJoinsEveryMixWithAStringOnEitherSide)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const CString a("ab");
    const CString b("cd");
    const CStringView aView("abx", 2);
    const CStringView bView("cdx", 2);
    ExpectText(a + b, "abcd");
    ExpectText(a + bView, "abcd");
    ExpectText(a + "cd", "abcd");
    ExpectText(aView + b, "abcd");
    ExpectText("ab" + b, "abcd");
    ExpectText(CString("ab") + b, "abcd");
    ExpectText(CString("ab") + bView, "abcd");
    ExpectText(CString("ab") + "cd", "abcd");
    ExpectText(a + CString("cd"), "abcd");
    ExpectText(CString("ab") + CString("cd"), "abcd");
    ExpectText(aView + CString("cd"), "abcd");
    ExpectText("ab" + CString("cd"), "abcd");
    ExpectText(a + "-" + b + "-" + bView, "ab-cd-cd");
    ExpectText(a, "ab");
    ExpectText(b, "cd");
    ExpectReports(recorder, {});
}

TEST(StringHeader, PlusWithNothingIsTheOtherSide)
{
    const CString a("ab");
    const CString none;
    ExpectText(a + none, "ab");
    ExpectText(a + "", "ab");
    ExpectText(a + nullptr, "ab");
    ExpectText(a + CStringView(), "ab");
    ExpectText(none + a, "ab");
    ExpectText("" + a, "ab");
    ExpectText(static_cast<const char *>(nullptr) + a, "ab");
    ExpectText(CStringView() + a, "ab");
    ExpectText(none + none, "");
}

TEST(StringHeader, PlusWithNothingSharesTheLeftSide)
{
    CTestAllocator allocator;
    const CString a("ab");
    allocator.ForgetCalls();
    const CString sum = a + "";
    EXPECT_EQ(sum.Data(), a.Data());
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(StringHeader, PlusOfAStringWithItself)
{
    const CString a("ab");
    ExpectText(a + a, "abab");
    ExpectText(a, "ab");
}

TEST(StringHeader, ATemporaryOnTheLeftIsEditedInPlace)
{
    CTestAllocator allocator;
    CString temporary = CString("ab") + "cd";
    const CStringContainer *container = ContainerOf(temporary);
    allocator.ForgetCalls();
    const CString sum = std::move(temporary) + "ef";
    ExpectText(sum, "abcdef");
    EXPECT_EQ(ContainerOf(sum), container);
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(StringHeader, SlashJoinsEveryMixWithAStringOnEitherSide)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const CString a("ab/");
    const CString b("/cd");
    const CStringView aView("ab/x", 3);
    const CStringView bView("/cdx", 3);
    ExpectText(a / b, "ab/cd");
    ExpectText(a / bView, "ab/cd");
    ExpectText(a / "/cd", "ab/cd");
    ExpectText(aView / b, "ab/cd");
    ExpectText("ab/" / b, "ab/cd");
    ExpectText(CString("ab/") / b, "ab/cd");
    ExpectText(CString("ab/") / bView, "ab/cd");
    ExpectText(CString("ab/") / "/cd", "ab/cd");
    ExpectText(a / CString("/cd"), "ab/cd");
    ExpectText(CString("ab/") / CString("/cd"), "ab/cd");
    ExpectText(aView / CString("/cd"), "ab/cd");
    ExpectText("ab/" / CString("/cd"), "ab/cd");
    ExpectText(a / "x" / b / bView, "ab/x/cd/cd");
    ExpectText(a, "ab/");
    ExpectText(b, "/cd");
    ExpectReports(recorder, {});
}

TEST(StringHeader, SlashWithNothingStillTrimsTheLeftSide)
{
    const CString a("ab/");
    ExpectText(a / "", "ab");
    ExpectText(a / nullptr, "ab");
    ExpectText(a / CString(), "ab");
    ExpectText(a / CStringView(), "ab");
    ExpectText(a, "ab/");
}

TEST(StringHeader, PlusAssignAppendsEveryForm)
{
    CString string("a");
    string += "b";
    string += CString("c");
    string += CStringView("dx", 1);
    string += nullptr;
    const CString &itself = string;
    string += itself;
    ExpectText(string, "abcdabcd");
}

TEST(StringHeader, SlashAssignJoinsEveryForm)
{
    CString path("a/");
    path /= "/b";
    path /= CString("c");
    path /= CStringView("dx", 1);
    const CString &itself = path;
    path /= itself;
    ExpectText(path, "a/b/c/d/a/b/c/d");
    path /= nullptr;
    ExpectText(path, "a/b/c/d/a/b/c/d");
}

TEST(StringHeader, OperatorsOnASharedStringLeaveTheOtherAlone)
{
    CString string("a");
    const CString other = string;
    string += "b";
    string /= "c";
    ExpectText(string, "ab/c");
    ExpectText(other, "a");
}

TEST(StringHeader, PlusRefusedIsEmptyAndLeavesItsOperandsAlone)
{
    struct SState
    {
        CString m_A;
        CString m_B;
        CString m_Result;
    };
    SweepRefusals(
        [] {
            return SState{CString("ab"), CString("cd"), CString("before")};
        },
        [](SState &state) { state.m_Result = state.m_A + state.m_B; },
        [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ExpectText(state.m_Result, refusal.m_Refused ? "" : "abcd");
            ExpectText(state.m_A, "ab");
            ExpectText(state.m_B, "cd");
            ExpectReports(recorder, {});
        });
}

TEST(StringHeader, SlashRefusedReportsAndIsTheLeftSide)
{
    struct SState
    {
        CString m_A;
        CString m_B;
        CString m_Result;
    };
    SweepRefusals(
        [] {
            return SState{CString("ab"), CString("cd"), CString("before")};
        },
        [](SState &state) { state.m_Result = state.m_A / state.m_B; },
        [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ExpectText(state.m_Result, refusal.m_Refused ? "ab" : "ab/cd");
            ExpectText(state.m_A, "ab");
            ExpectText(state.m_B, "cd");
            if (refusal.m_Refused)
                ExpectReports(recorder, {"newContainer != null"});
            else
                ExpectReports(recorder, {});
        });
}

// Static objects.

TEST(StringHeader, StringsWorkInStaticObjectsOfOtherFiles)
{
    const char *fault = StaticStringsFault();
    EXPECT_EQ(fault, nullptr) << fault;
}

} // namespace
