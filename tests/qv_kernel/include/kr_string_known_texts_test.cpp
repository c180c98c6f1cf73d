// What kr_string.h does in line where the compiler knows how long a text is, or which characters a set holds. Callers that
// are not optimised never get there, so this source is optimised in every build (tests/CMakeLists.txt).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "edit_model.h"
#include "guarded_page.h"
#include "kr_string.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const std::string kKnownLetters = "abcdefghijklmnopqrstuvwxyz0123456789";

// Or no test here reaches what it is about.
TEST(StringKnownTexts, TheCompilerKnowsThemHere)
{
#if defined(QV_INTERNAL_HAS_REALTIME_SANITIZER)
    GTEST_SKIP() << "the sanitizer's calls in each function keep the compiler from knowing";
#endif
    u32 length = CStringView(kKnownLetters.data(), 7).Length();
    EXPECT_TRUE(__builtin_constant_p(length));
}

// ---- Stripping a set --------------------------------------------------------------------------------------------------

void ExpectSameView(const CStringView &view, const char *data, u32 length)
{
    EXPECT_EQ(static_cast<const void *>(view.Data()), static_cast<const void *>(data));
    EXPECT_EQ(view.Length(), length);
}

// A set is stripped in line if it has up to 8 characters, all below 64: here with one that is not, at each place.
TEST(StringKnownTexts, StripTakesAnyCharacterOfASet)
{
    const auto strips = [](const CStringView &stripped, char high) { EXPECT_EQ(TextOf(stripped), "x") << high; };
    const CStringView view("0z7xz1");
    strips(view.Strip("z0123457"), 'z');
    strips(view.Strip("0z123457"), 'z');
    strips(view.Strip("01z23457"), 'z');
    strips(view.Strip("012z3457"), 'z');
    strips(view.Strip("0123z457"), 'z');
    strips(view.Strip("01234z57"), 'z');
    strips(view.Strip("012345z7"), 'z');
    strips(view.Strip("0123457z"), 'z');
    strips(CStringView("0674x12").Strip("01234567"), '7');
    strips(CStringView("08674x12").Strip("012345678"), '8');
}

// A set as text and as what the compiler knows.
struct SKnownSet
{
    std::string m_Set;
    CStringView (*m_Strip)(const CStringView &view);
    CStringView (*m_StripLeft)(const CStringView &view);
    CStringView (*m_StripRight)(const CStringView &view);
};

#define QV_KNOWN_SET(set)                                                                                              \
    SKnownSet                                                                                                          \
    {                                                                                                                  \
        set, [](const CStringView &view) { return view.Strip(set); },                                                  \
            [](const CStringView &view) { return view.StripLeft(set); },                                               \
            [](const CStringView &view) { return view.StripRight(set); }                                               \
    }

// Few characters and more than are stripped in line, with the last one that fits a word of bits and the first one that
// does not; one of them twice.
std::vector<SKnownSet> KnownSets()
{
    return {
        QV_KNOWN_SET(""),         QV_KNOWN_SET(" "),        QV_KNOWN_SET(" \t\n\v\f\r"), QV_KNOWN_SET("\"'"),
        QV_KNOWN_SET("?\x01"),    QV_KNOWN_SET("@ "),       QV_KNOWN_SET("\xA0 "),       QV_KNOWN_SET("01234567"),
        QV_KNOWN_SET("0123456 "), QV_KNOWN_SET("01234560"), QV_KNOWN_SET("012345678"),
    };
}

TEST(StringKnownTexts, StripOfRunsOfASetStripsThemWholly)
{
    // Each of these is the character of a set or differs from one by a bit that a word of 64 does not tell.
    const std::string others("w`\x60\xA0?\x7F@0p\x81\x01\0", 12);
    const CGuardedPage page;
    for (const SKnownSet &known : KnownSets())
        for (const size_t front : {0u, 1u, 2u, 7u, 15u, 16u, 17u, 18u, 34u})
            for (const size_t back : {0u, 1u, 2u, 15u, 16u, 17u, 31u, 33u})
                for (const char other : others)
                {
                    std::string text;
                    for (size_t i = 0; i < front + back && !known.m_Set.empty(); ++i)
                        text += known.m_Set[i % known.m_Set.size()];
                    if (known.m_Set.find(other) == std::string::npos)
                        text.insert(std::min(front, text.size()), 1, other);
                    char *const data = page.Last(text.size());
                    std::copy(text.begin(), text.end(), data);
                    const CStringView view(data, LengthOf(text));
                    const std::string left = ModelStripLeft(text, known.m_Set);
                    const std::string right = ModelStripRight(text, known.m_Set);
                    ASSERT_EQ(TextOf(known.m_StripLeft(view)), left) << ::testing::PrintToString(known.m_Set);
                    ASSERT_EQ(TextOf(known.m_StripRight(view)), right) << ::testing::PrintToString(known.m_Set);
                    ASSERT_EQ(TextOf(known.m_Strip(view)), ModelStrip(text, known.m_Set));
                    ASSERT_EQ(static_cast<const void *>(known.m_StripLeft(view).Data()),
                              static_cast<const void *>(data + text.size() - left.size()));
                    ASSERT_EQ(static_cast<const void *>(known.m_StripRight(view).Data()),
                              static_cast<const void *>(data));
                }
}

TEST(StringKnownTexts, StripLeavesTerminatorsWhichNoSetHolds)
{
    const char text[] = "\0 a \0";
    const CStringView view(text, 5);
    for (const SKnownSet &known : KnownSets())
    {
        ExpectSameView(known.m_Strip(view), text, 5);
        ExpectSameView(known.m_StripLeft(view), text, 5);
        ExpectSameView(known.m_StripRight(view), text, 5);
    }
    ExpectSameView(view.Strip(nullptr), text, 5);
    ExpectSameView(view.StripLeft(nullptr), text, 5);
    ExpectSameView(view.StripRight(nullptr), text, 5);
}

TEST(StringKnownTexts, StripOfNullStaysNull)
{
    const CStringView null(nullptr, 5);
    for (const SKnownSet &known : KnownSets())
    {
        ExpectSameView(known.m_Strip(null), nullptr, 0);
        ExpectSameView(known.m_StripLeft(null), nullptr, 5);
        ExpectSameView(known.m_StripRight(null), nullptr, 0);
        ExpectSameView(known.m_Strip(CStringView()), nullptr, 0);
    }
}

// ---- Appending a text -------------------------------------------------------------------------------------------------

// The forms of a string: none, fixed, resizable without room, and with it.
CString (*const kForms[])(const std::string &text) = {
    [](const std::string &) { return CString(); },
    [](const std::string &text) { return Fixed(text); },
    [](const std::string &text) { return Resizable(text, std::max(LengthOf(text), 1u)); },
    [](const std::string &text) { return Resizable(text, 200); },
};

// Appends by `append` to a string in each form, of its own and shared.
template <typename Append>
void CheckAppend(const std::string &text, const std::string &piece, CTestAllocator &allocator, const Append &append)
{
    for (const auto form : kForms)
        for (const bool isShared : {false, true})
        {
            CString string = form(text);
            const CString other = isShared ? string : CString();
            const std::string before = TextOf(string);
            const CStringContainer *const container = ContainerOf(string);
            const bool fits = !isShared && container != nullptr && container->SupportsDynamicResize() &&
                              before.size() + piece.size() < CapacityOf(*container);
            allocator.ForgetCalls();
            ASSERT_EQ(&append(string), &string);
            ExpectText(string, before + piece);
            ExpectText(other, isShared ? before : "");
            if (fits || piece.empty())
            {
                EXPECT_TRUE(allocator.Requests().empty());
            }
        }
}

template <u32... Lengths>
void CheckAppendOfLengths(std::integer_sequence<u32, Lengths...>, const std::string &text, CTestAllocator &allocator)
{
    (CheckAppend(text, kKnownLetters.substr(0, Lengths), allocator,
                 [](CString &string) -> CString &
                 { return string.Append(CStringView(kKnownLetters.data(), Lengths)); }),
     ...);
}

// In line are appended pieces of 1 to 32 characters for which there is room.
constexpr std::integer_sequence<u32, 0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 24, 31, 32, 33> kPieceLengths;

TEST(StringKnownTexts, AppendOfEveryShortLengthAddsThePiece)
{
    for (const size_t length : {0u, 1u, 14u, 15u, 16u, 17u, 31u})
    {
        CTestAllocator allocator;
        CheckAppendOfLengths(kPieceLengths, kKnownLetters.substr(0, length), allocator);
    }
}

TEST(StringKnownTexts, AppendOfALiteralAddsIt)
{
    for (const size_t length : {0u, 1u, 14u, 15u, 16u, 17u, 31u})
    {
        CTestAllocator allocator;
        const std::string text = kKnownLetters.substr(0, length);
        CheckAppend(text, ", then ", allocator, [](CString &string) -> CString & { return string += ", then "; });
        CheckAppend(text, ", then ", allocator, [](CString &string) -> CString & { return string.Append(", then "); });
    }
}

TEST(StringKnownTexts, AppendOfNothingLeavesTheString)
{
    CTestAllocator allocator;
    CheckAppend("ab", "", allocator, [](CString &string) -> CString & { return string.Append(""); });
    CheckAppend("ab", "", allocator,
                [](CString &string) -> CString & { return string.Append(static_cast<const char *>(nullptr)); });
    CheckAppend("ab", "", allocator,
                [](CString &string) -> CString & { return string.Append(CStringView(nullptr, 3)); });
}

TEST(StringKnownTexts, AppendOfTheStringsOwnCharactersIsRightWhileItGrows)
{
    CString string(CStringContainer::NewResizable("0123456789abcdef"));
    std::string text = "0123456789abcdef";
    for (int i = 0; i < 40; ++i)
    {
        string.Append(CStringView(string.Data() + 3, 5));
        text += text.substr(3, 5);
        ExpectText(string, text);
    }
}

} // namespace
