// Joining pieces of text into a new string, with a separator and without.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "edge_allocators.h"
#include "edit_model.h"
#include "every_text.h"
#include "kr_string.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

std::vector<CStringView> ViewsOf(const std::vector<std::string> &texts)
{
    std::vector<CStringView> views;
    for (const std::string &text : texts)
        views.push_back(ViewOf(text));
    return views;
}

std::vector<CString> StringsOf(const std::vector<std::string> &texts)
{
    std::vector<CString> strings;
    for (const std::string &text : texts)
        strings.push_back(strings.size() % 2 == 0 ? Fixed(text) : Resizable(text));
    return strings;
}

template <typename T>
TMemoryView<const T> ListOf(const std::vector<T> &elements)
{
    return TMemoryView<const T>(elements.data(), static_cast<u32>(elements.size()));
}

// What may stand for a piece, and as what.
struct SNamed
{
    operator CStringView() const noexcept { return CStringView("named", 5); }
};

// ---- Pieces given one by one -----------------------------------------------------------------------------------------

TEST(StringConcat, ConcatPutsPiecesOfEveryKindOneBehindTheOther)
{
    const CString string("string");
    char buffer[] = "buffer";
    char *const writable = buffer;
    const char *const none = nullptr;
    const char letter = 'l';
    ExpectText(Concat(string, CStringView("view!", 4), "text", 'c'), "stringviewtextc");
    ExpectText(Concat(buffer, writable, none, nullptr, letter, SNamed()), "bufferbufferlnamed");
    ExpectText(Concat(CString("temporary"), TMemoryView<const char>("characters", 4)), "temporarychar");
    ExpectText(Concat("a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"), "abcdefghijkl");
}

TEST(StringJoin, JoinPutsTheSeparatorBetweenPiecesOfEveryKind)
{
    const CString string("string");
    ExpectText(Join(", ", string, CStringView("view!", 4), "text", 'c', SNamed()), "string, view, text, c, named");
    ExpectText(Join(',', "a", "b"), "a,b");
    ExpectText(Join(CString(" and "), "a", "b"), "a and b");
    ExpectText(Join(CStringView("-+-+", 2), "a", "b", "c"), "a-+b-+c");
    ExpectText(Join(SNamed(), "a", "b"), "anamedb");
}

TEST(StringJoin, JoinOfOneStringIsThatOfAPieceNotOfAList)
{
    const CString string("ab");
    ExpectText(Join(", ", string), "ab");
    ExpectText(Join(string, string), "ab");
    ExpectText(Join(", ", "ab"), "ab");
    ExpectText(Join(", ", CStringView("ab", 2)), "ab");
}

TEST(StringJoin, JoinAndConcatOfNothingGiveAnEmptyStringWithoutAContainer)
{
    CTestAllocator allocator;
    for (const CString &empty :
         {Concat(), Join(","), Concat(""), Join(",", ""), Concat(CString(), CStringView(), nullptr),
          Join("", "", CString(), ""), Join(",", CStringView(nullptr, 3))})
        EXPECT_EQ(empty.Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringJoin, JoinAndConcatOfASinglePieceShareNothingWithIt)
{
    for (const CString &string : {Fixed("abc"), Resizable("abc", 100)})
        for (const CString &joined :
             {Concat(string), Join(",", string), Join(",", TMemoryView<const CString>(&string, 1))})
        {
            EXPECT_NE(ContainerOf(joined), ContainerOf(string));
            EXPECT_FALSE(ContainerOf(joined)->SupportsDynamicResize());
            ExpectText(joined, "abc");
        }
}

TEST(StringJoin, JoinKeepsTheSeparatorsOfEmptyPieces)
{
    ExpectText(Join("; ", "", CString(), nullptr, CStringView(), CStringView(nullptr, 7), CStringView("x", 0)),
               "; ; ; ; ; ");
    ExpectText(Join(',', "", "a", ""), ",a,");
}

TEST(StringJoin, JoinAndConcatTakeStringsAndViewsByTheirLengthsAndTextsUpToTheirTerminators)
{
    const std::string begun("\0ab", 3);
    ExpectCharacters(Concat(Fixed(begun), ViewOf(begun), "c\0d", '\0'), std::string("\0ab\0abc\0", 8));
    ExpectCharacters(Join(ViewOf(begun), "x", "y"), std::string("x\0aby", 5));
    ExpectCharacters(Join(Fixed(begun), "x", "y"), std::string("x\0aby", 5));
    ExpectCharacters(Join("\0-", "x", "y"), "xy");
    ExpectCharacters(Join('\0', "x", "y"), std::string("x\0y", 3));
}

TEST(StringJoin, JoinWithANullSeparatorPutsNothingBetween)
{
    const char *const none = nullptr;
    ExpectText(Join(none, "a", "b"), "ab");
    ExpectText(Join(nullptr, "a", "b"), "ab");
    ExpectText(Join(CString(), "a", "b"), "ab");
    ExpectText(Join(CStringView(nullptr, 9), "a", "b"), "ab");
}

TEST(StringJoin, JoinAndConcatAreTheModelsForEveryFewShortTexts)
{
    CTestAllocator allocator;
    const std::vector<std::string> texts = EveryText(std::string("a\0\x80", 3), 2);
    for (const std::string &a : texts)
        for (const std::string &b : texts)
            for (const std::string &c : texts)
            {
                const CString fixed = Fixed(b);
                const CString resizable = Resizable(b);
                ExpectCharacters(Concat(ViewOf(a), fixed, ViewOf(c)), a + b + c);
                ExpectCharacters(Concat(resizable, ViewOf(c)), b + c);
                ExpectCharacters(Join(ViewOf(c), ViewOf(a), fixed), ModelJoined(c, {a, b}));
                ExpectCharacters(Join(resizable, ViewOf(a), ViewOf(c), resizable), ModelJoined(b, {a, c, b}));
                ASSERT_FALSE(HasFailure());
            }
}

// Nothing behind a piece or a separator is read, and nothing outside the new block is written.
TEST(StringJoin, JoinWorksAtEveryLengthAtTheEndOfMemory)
{
    std::string text;
    CPageEndAllocator allocator;
    for (u32 length = 0; length <= 130; ++length)
    {
        const CTextAtPageEnd piece(text);
        for (const std::string &separator : {std::string(), std::string("-"), std::string("<->"), text})
        {
            const CTextAtPageEnd between(separator);
            ExpectText(Join(between.View(), piece.View(), "x", piece.View()),
                       ModelJoined(separator, {text, "x", text}));
        }
        ExpectText(Concat(piece.View(), piece.View(), 'x'), text + text + 'x');
        text += static_cast<char>('!' + length % 90);
    }
}

TEST(StringJoin, JoinMayBeAssignedToAStringThatIsEveryPieceOfIt)
{
    CTestAllocator allocator;
    for (CString string : {Fixed("ab"), Resizable("ab")})
    {
        string = Join(string, string, string, string);
        ExpectText(string, "ababababab");
        string = Concat(string, CStringView(string.Data() + 1, 2));
        ExpectText(string, "abababababba");
    }
}

TEST(StringJoin, JoinAndConcatMakeOneBlockOfExactlyTheirSizeAndOfTheFixedForm)
{
    const CString string("0123456789");
    CTestAllocator allocator;
    const CString concatenated = Concat(string, 'x', string, "0123456789");
    EXPECT_EQ(allocator.RequestCount(), 1u);
    EXPECT_FALSE(ContainerOf(concatenated)->SupportsDynamicResize());
    EXPECT_EQ(CapacityOf(*ContainerOf(concatenated)), 32u);
    const CString joined = Join(", ", string, string, string);
    EXPECT_EQ(allocator.RequestCount(), 2u);
    EXPECT_FALSE(ContainerOf(joined)->SupportsDynamicResize());
    EXPECT_EQ(CapacityOf(*ContainerOf(joined)), 48u);
}

TEST(StringJoin, JoinAndConcatGiveAnEmptyStringWhenMemoryIsRefused)
{
    struct SState
    {
        CString m_Source = CString("abc");
        CString m_Joined = CString("before");
        CString m_Concatenated = CString("before");
    };
    SweepRefusals([] { return SState(); },
                  [](SState &state)
                  {
                      state.m_Joined = Join(", ", state.m_Source, "x", state.m_Source);
                      state.m_Concatenated = Concat(state.m_Source, "x", 'y');
                  },
                  [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      const bool joinLost = refusal.m_Nth == 1;
                      const bool concatLost = refusal.m_Nth == 2 || (refusal.m_Nth == 1 && refusal.m_AndAllAfter);
                      ExpectText(state.m_Source, "abc");
                      ExpectText(state.m_Joined, joinLost ? "" : "abc, x, abc");
                      ExpectText(state.m_Concatenated, concatLost ? "" : "abcxy");
                      ExpectReports(recorder, {});
                  });
}

// Views of such lengths are refused before a character of them is read.
TEST(StringJoin, JoinAndConcatToALengthThatNoStringMayHaveAreRefusedAndAskForNothing)
{
    CAssertRecorder recorder;
    const CChoosyAllocator allocator([](u64, u64) { return true; });
    const auto claim = [](u32 length) { return CStringView("x", length); };
    EXPECT_EQ(Concat(claim(0x3FFFFFFFu)).Data(), nullptr);
    EXPECT_EQ(Concat(claim(0x3FFFFFFEu), 'x').Data(), nullptr);
    EXPECT_EQ(Concat(claim(0xFFFFFFFFu), 'x').Data(), nullptr);
    EXPECT_EQ(Concat(claim(0x80000000u), claim(0x80000000u), 'x').Data(), nullptr);
    EXPECT_EQ(Join(claim(0x3FFFFFFDu), "x", "y").Data(), nullptr);
    EXPECT_EQ(Join(claim(0x80000000u), "x", "y", "z").Data(), nullptr);
    EXPECT_EQ(Join(claim(0x80000000u), "x", claim(0x80000000u)).Data(), nullptr);
    // More than 64 bits hold; the lower 64 of them are a length that a string may have.
    const CStringView huge = claim(0xFFFFFFFFu);
    EXPECT_EQ(Join(claim(0xFFFEC858u), TStridedMemoryView<const CStringView>(&huge, 0x80004DEBu, 0)).Data(), nullptr);
    EXPECT_TRUE(allocator.Sizes().empty());
    // The longest ones are asked for.
    EXPECT_EQ(Concat(claim(0x3FFFFFFDu), 'x').Data(), nullptr);
    EXPECT_EQ(Join(claim(0x3FFFFFFCu), "x", "y").Data(), nullptr);
    EXPECT_EQ(allocator.Sizes(), std::vector<u64>(2, 0x3FFFFFFFu + 1 + 32));
    ExpectReports(recorder, {});
}

TEST(StringJoin, JoinTakesPiecesOfALengthThatNoStringMayHaveIfTheyAreNull)
{
    ExpectText(Join("-", CStringView(nullptr, 0xFFFFFFFFu), "a"), "-a");
    CBrokenString broken;
    ExpectText(Concat("a", broken.Get(), "b"), "ab");
}

// ---- Lists -----------------------------------------------------------------------------------------------------------

TEST(StringJoin, JoinTakesListsOfEveryKind)
{
    TArray<CString> strings;
    TArray<CStringView> views;
    TArray<const char *> texts;
    for (const char *const text : {"a", "bc", ""})
    {
        strings.PushBack(CString(text));
        views.PushBack(CStringView(text));
        texts.PushBack(text);
    }
    const TArray<CString> &constStrings = strings;
    CString stringArray[] = {"a", "bc", ""};
    const CString constStringArray[] = {"a", "bc", ""};
    CStringView viewArray[] = {CStringView("a"), CStringView("bc"), CStringView()};
    const char *textArray[] = {"a", "bc", nullptr};
    const char *const constTextArray[] = {"a", "bc", ""};
    for (const CString &joined :
         {Join(", ", strings), Join(", ", constStrings), Join(", ", views), Join(", ", texts), Join(", ", stringArray),
          Join(", ", constStringArray), Join(", ", viewArray), Join(", ", textArray), Join(", ", constTextArray),
          Join(", ", strings.View()), Join(", ", constStrings.View()), Join(", ", views.View()),
          Join(", ", TStridedMemoryView<CString>(stringArray)),
          Join(", ", TStridedMemoryView<const CString>(stringArray)),
          Join(", ", TStridedMemoryView<CStringView>(viewArray)), Join(CString(", "), strings),
          Join(CStringView(", "), strings)})
        ExpectText(joined, "a, bc, ");
    ExpectText(Join('+', strings), "a+bc+");
}

TEST(StringJoin, JoinTakesAFieldOfEveryRecord)
{
    struct SRecord
    {
        CString m_Name;
        int m_Number;
    };
    const SRecord records[] = {{"a", 1}, {"b", 2}, {"c", 3}};
    ExpectText(Join("/", TStridedMemoryView<const CString>(&records[0].m_Name, 3, sizeof(SRecord))), "a/b/c");
    ExpectText(Join("/", TStridedMemoryView<const CString>(&records[1].m_Name, 4, 0)), "b/b/b/b");
}

TEST(StringJoin, JoinOfAnEmptyListGivesAnEmptyStringWithoutAContainer)
{
    CTestAllocator allocator;
    const TArray<CString> none;
    EXPECT_EQ(Join(",", none).Data(), nullptr);
    EXPECT_EQ(Join(",", TMemoryView<const CStringView>()).Data(), nullptr);
    EXPECT_EQ(Join(",", TStridedMemoryView<const char *const>()).Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringJoin, JoinOfEveryShortListIsThatOfTheModel)
{
    CTestAllocator allocator;
    const std::vector<std::string> texts = EveryText(std::string("a\0", 2), 2);
    for (const std::string &list : EveryText("012345", 3))
    {
        std::vector<std::string> pieces;
        for (const char digit : list)
            pieces.push_back(texts[static_cast<size_t>(digit - '0')]);
        for (const std::string &separator : texts)
        {
            const std::string expected = ModelJoined(separator, pieces);
            ExpectCharacters(Join(ViewOf(separator), ListOf(ViewsOf(pieces))), expected);
            ExpectCharacters(Join(ViewOf(separator), ListOf(StringsOf(pieces))), expected);
            ASSERT_FALSE(HasFailure()) << list;
        }
    }
}

TEST(StringJoin, JoinOfAListOfTextsEndsEachAtItsTerminator)
{
    const std::vector<const char *> texts = {"ab\0c", nullptr, "\0d", "e"};
    ExpectText(Join(", ", ListOf(texts)), "ab, , , e");
}

TEST(StringJoin, JoinOfALongListMakesOneBlock)
{
    std::vector<std::string> texts;
    for (u32 i = 0; i < 1000; ++i)
        texts.push_back(std::string(i % 100, static_cast<char>('a' + i % 26)));
    const std::vector<CStringView> views = ViewsOf(texts);
    const std::string expected = ModelJoined(", ", texts);
    CTestAllocator allocator;
    const CString joined = Join(", ", ListOf(views));
    EXPECT_EQ(allocator.RequestCount(), 1u);
    ExpectText(joined, expected);
}

// ---- What compiles -----------------------------------------------------------------------------------------------------

template <typename... T>
using ConcatOf = decltype(Concat(std::declval<T>()...));
template <typename... T>
using JoinOf = decltype(Join(std::declval<T>()...));

template <template <typename...> class, typename, typename...>
struct TCompiles : std::false_type
{
};
template <template <typename...> class Call, typename... T>
struct TCompiles<Call, std::void_t<Call<T...>>, T...> : std::true_type
{
};

template <typename... T>
constexpr bool kConcatTakes = TCompiles<ConcatOf, void, T...>::value;
template <typename... T>
constexpr bool kJoinTakes = TCompiles<JoinOf, void, T...>::value;

static_assert(kConcatTakes<> && kConcatTakes<CString, const char *, char, CStringView>, "what a piece is");
static_assert(!kConcatTakes<int> && !kConcatTakes<bool> && !kConcatTakes<CString, unsigned char>, "no numbers");
static_assert(!kConcatTakes<const TArray<CString> &> && !kConcatTakes<const CString *>, "lists are for Join");
static_assert(kJoinTakes<char> && kJoinTakes<char, CString &> && kJoinTakes<char, TArray<CString> &>, "what it joins");
static_assert(!kJoinTakes<> && !kJoinTakes<int, CString> && !kJoinTakes<TArray<CString> &, char>,
              "separators are text");
static_assert(!kJoinTakes<char, TArray<int> &> && !kJoinTakes<char, TArray<CString> &, CString>, "one list, of text");
static_assert(noexcept(Concat("a", 'b')) &&noexcept(Join(',', "a")), "they do not throw");

// A program may have functions of these names, which may even need conversions. They are chosen before the library's.
namespace OwnFunctions
{

std::string Join(const CString &, const TMemoryView<const CString> &)
{
    return "own, of a list";
}

std::string Join(const CString &, const CString &, const CString &)
{
    return "own, of two";
}

std::string Concat(const CString &, const CString &)
{
    return "own";
}

// Where the program's own are found, nothing else is looked for, whatever fits the arguments better.
std::string ConcatOfAText(const CString &string)
{
    return Concat("text", string);
}

std::string JoinOfTexts(const CString &string)
{
    return Join("text", string, "text");
}

} // namespace OwnFunctions

TEST(StringJoin, JoinAndConcatOfTheProgramsOwnAreChosenBeforeTheLibrarys)
{
    using OwnFunctions::Concat;
    using OwnFunctions::Join;
    const CString string("a");
    const TArray<CString> list;
    EXPECT_EQ(Join(string, list), "own, of a list");
    EXPECT_EQ(Join(", ", list), "own, of a list");
    EXPECT_EQ(Join(", ", list.View()), "own, of a list");
    EXPECT_EQ(Join(string, string, string), "own, of two");
    EXPECT_EQ(Join(", ", string, string), "own, of two");
    EXPECT_EQ(Concat(string, string), "own");
    EXPECT_EQ(OwnFunctions::ConcatOfAText(string), "own");
    EXPECT_EQ(OwnFunctions::JoinOfTexts(string), "own, of two");
    ExpectText(Quorvane::Concat("a", string), "aa");
    ExpectText(Quorvane::Join(", ", string, "b"), "a, b");
}

} // namespace
