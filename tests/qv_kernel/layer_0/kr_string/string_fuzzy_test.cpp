// Fuzzy matching: the weight of two strings to the last bit, lists of weights, and the ranked lists.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "edge_allocators.h"
#include "every_text.h"
#include "fuzzy_model.h"
#include "fuzzy_texts.h"
#include "kr_string.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "text_pieces.h"
#include "wide_choice.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

typedef CString::SFuzzyMatchListElement SElement;

const char *const kWeightCountCheck = "outMatchResults.Count() == stringList.Count()";
const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInfinity = std::numeric_limits<float>::infinity();

const std::string kFuzzyLetters = "abcdefghijklmnopqrstuvwxyz";
const std::string kFewLetters = "ab";
const std::string kBytes("\x00\x01\x7F\x80\x81\xFF", 6);

float Weight(const std::string &query, const std::string &other)
{
    return Fixed(query).FuzzyMatch(Fixed(other));
}

std::vector<FuzzyModelElement> ElementsOf(const TArray<SElement> &array)
{
    std::vector<FuzzyModelElement> elements;
    for (const SElement &element : array)
        elements.emplace_back(element.m_IndexInStringList, element.m_MatchWeight);
    return elements;
}

std::vector<float> ModelWeights(const std::string &query, const std::vector<std::string> &texts)
{
    std::vector<float> weights;
    for (const std::string &text : texts)
        weights.push_back(FuzzyModelWeight(query, text));
    return weights;
}

std::vector<float> ListWeights(const CString &query, const TStridedMemoryView<const CString> &list)
{
    std::vector<float> weights(list.Count(), -1.0f);
    query.FuzzyMatchList(list, TMemoryView<float>(weights.data(), list.Count()));
    return weights;
}

// An array with something in it that has to go.
TArray<SElement> UsedElements()
{
    TArray<SElement> array;
    for (u32 i = 0; i < 3; ++i)
        array.PushBack(SElement(1000 + i, 7.0f));
    return array;
}

std::vector<FuzzyModelElement> Ordered(const CString &query, const TStridedMemoryView<const CString> &list,
                                       float tolerance)
{
    TArray<SElement> out = UsedElements();
    query.FuzzyMatchList_Ordered(list, out, tolerance);
    return ElementsOf(out);
}

std::vector<FuzzyModelElement> Top(const CString &query, const TStridedMemoryView<const CString> &list, float tolerance,
                                   u32 maxCount)
{
    TArray<SElement> out = UsedElements();
    EXPECT_TRUE(query.FuzzyMatchList_Top(list, out, tolerance, maxCount));
    return ElementsOf(out);
}

// Texts of all lengths that matter, half of them close to the query, in changing order.
std::vector<std::string> MixedTexts(CFuzzyTexts &source, const std::string &query, const std::string &alphabet,
                                    size_t count)
{
    const std::vector<size_t> lengths = FuzzyLengths();
    std::vector<std::string> texts;
    for (size_t i = 0; i < count; ++i)
    {
        // 7 has no factor in common with the number of lengths, and is none of the numbers of lanes.
        const size_t length = lengths[(i * 7) % lengths.size()];
        texts.push_back(i % 2 == 0 ? source.Random(alphabet, length) : source.Misspelt(query, alphabet, length));
    }
    return texts;
}

// The weight of two strings.

TEST(StringFuzzy, WorkedValues)
{
    EXPECT_EQ(Weight("abc", "abd"), 5.0f / 6.0f);
    EXPECT_EQ(Weight("sunday", "saturday"), 11.0f / 14.0f);
    EXPECT_EQ(Weight("saturday", "sunday"), 11.0f / 14.0f);
    EXPECT_EQ(Weight("Hello", "hello"), 0.9f);
    EXPECT_EQ(Weight("abc", "ab"), 0.8f);
    EXPECT_EQ(Weight("abcd", "bcd"), 6.0f / 7.0f);
    EXPECT_EQ(Weight("abcd", "abce"), 0.875f);
}

TEST(StringFuzzy, FuzzyMatchOfEqualTextsIsExactlyOne)
{
    CFuzzyTexts source(1);
    for (size_t length = 1; length <= 300; ++length)
    {
        const std::string text = source.Random(kFuzzyLetters, length);
        ASSERT_EQ(Weight(text, text), 1.0f) << length;
    }
    const CString string("shared");
    const CString copy = string;
    EXPECT_EQ(string.FuzzyMatch(copy), 1.0f);
    EXPECT_EQ(string.FuzzyMatch(string), 1.0f);
}

TEST(StringFuzzy, TextsWithNoCharacterInCommonWeighTheShorterByBoth)
{
    EXPECT_EQ(Weight("a", "b"), 0.5f);
    EXPECT_EQ(Weight("abc", "xyz"), 0.5f);
    for (const size_t a : {1u, 3u, 16u, 63u, 64u, 65u, 200u, 300u})
        for (const size_t b : {1u, 2u, 17u, 64u, 128u, 255u, 256u})
        {
            const float expected = static_cast<float>(a < b ? a : b) / static_cast<float>(a + b);
            EXPECT_EQ(Weight(std::string(a, 'x'), std::string(b, 'y')), expected) << a << " and " << b;
        }
}

TEST(StringFuzzy, TextsOfOneLengthAreNotSymmetric)
{
    EXPECT_EQ(Weight("ab", "xa"), 0.75f);
    EXPECT_EQ(Weight("xa", "ab"), 0.5f);
}

TEST(StringFuzzy, TextsOfTwoLengthsAreSymmetric)
{
    CFuzzyTexts source(2);
    for (int i = 0; i < 300; ++i)
    {
        const std::string a = source.Random(kFewLetters, 1 + source.Below(90));
        const std::string b = source.Random(kFewLetters, a.size() + 1 + source.Below(90));
        ASSERT_EQ(Weight(a, b), Weight(b, a)) << a << " and " << b;
    }
}

// A cheapest alignment that begins by leaving out characters of the shorter text is one better than others.
TEST(StringFuzzy, LeavingOutTheFirstCharacterOfTheShorterTextIsFree)
{
    // Left out: x. Put in: c, d. The distance is 3, as Levenshtein's, not one more.
    EXPECT_EQ(FuzzyModelDistance("xab", "abcd"), 3u);
    EXPECT_EQ(Weight("xab", "abcd"), 5.0f / 7.0f);
    EXPECT_EQ(Weight("abcd", "xab"), 5.0f / 7.0f);
}

TEST(StringFuzzy, EmptinessGoesByLength)
{
    CString emptied = Resizable("abc");
    emptied.Clear();
    const CString empties[] = {CString(), CString(""), emptied};
    const CAssertRecorder recorder;
    for (const CString &empty : empties)
    {
        for (const CString &other : empties)
            EXPECT_EQ(empty.FuzzyMatch(other), 1.0f);
        EXPECT_EQ(empty.FuzzyMatch(CString("a")), 0.0f);
        EXPECT_EQ(CString("a").FuzzyMatch(empty), 0.0f);
        // A text that begins with a terminator is not empty.
        EXPECT_EQ(empty.FuzzyMatch(Fixed(std::string("\0b", 2))), 0.0f);
        EXPECT_EQ(Fixed(std::string("\0b", 2)).FuzzyMatch(empty), 0.0f);
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringFuzzy, TerminatorsAreCharacters)
{
    EXPECT_EQ(Weight(std::string(1, '\0'), std::string(1, '\0')), 1.0f);
    EXPECT_EQ(Weight(std::string(1, '\0'), "a"), 0.5f);
    EXPECT_EQ(Weight(std::string("a\0b", 3), std::string("a\0c", 3)), 5.0f / 6.0f);
    EXPECT_EQ(Weight(std::string("a\0b", 3), "a"), 0.5f);
}

TEST(StringFuzzy, BytesAreComparedAsTheyAre)
{
    EXPECT_EQ(Weight("A", "a"), 0.5f);
    EXPECT_EQ(Weight("\xC9", "\xE9"), 0.5f);
    for (int byte = 0; byte < 256; ++byte)
        for (const int other : {0, 0x61, 0x80, 0xFF})
            ASSERT_EQ(Weight(std::string(1, static_cast<char>(byte)), std::string(1, static_cast<char>(other))),
                      byte == other ? 1.0f : 0.5f);
}

TEST(StringFuzzy, NeitherStringChanges)
{
    const CString query = Resizable("query");
    const CString other("other");
    const CString copies[] = {query, other};
    static_cast<void>(query.FuzzyMatch(other));
    EXPECT_EQ(query.Data(), copies[0].Data());
    EXPECT_EQ(other.Data(), copies[1].Data());
    EXPECT_EQ(ContainerOf(query)->RefCount(), 2u);
    ExpectText(query, "query");
    ExpectText(other, "other");
}

TEST(StringFuzzy, EveryPairOfShortTextsWeighsAsTheRecurrenceSays)
{
    std::vector<std::string> texts = EveryText("ab", 5);
    if (!kVerySlow)
        for (const std::string &text : EveryText("abc", 4))
            texts.push_back(text);
    const std::vector<CString> strings = StringsOf(texts);
    for (size_t i = 0; i < texts.size(); ++i)
        for (size_t j = 0; j < texts.size(); ++j)
            ASSERT_EQ(strings[i].FuzzyMatch(strings[j]), FuzzyModelWeight(texts[i], texts[j]))
                << texts[i] << " and " << texts[j];
}

TEST(StringFuzzy, EveryPairOfLengthsWeighsAsTheRecurrenceSays)
{
    CFuzzyTexts source(3);
    for (const std::string &alphabet : {kFewLetters, kFuzzyLetters, kBytes})
        for (const size_t length : FuzzyLengths())
            for (const size_t otherLength : FuzzyLengths())
            {
                const std::string query = source.Random(alphabet, length);
                const std::string other = source.Below(2) == 0 ? source.Random(alphabet, otherLength)
                                                               : source.Misspelt(query, alphabet, otherLength);
                ASSERT_EQ(Weight(query, other), FuzzyModelWeight(query, other)) << length << " and " << otherLength;
            }
}

TEST(StringFuzzy, RandomPairsWeighAsTheRecurrenceSays)
{
    CFuzzyTexts source(4);
    const int rounds = kVerySlow ? 300 : 3000;
    for (const std::string &alphabet : {kFewLetters, std::string("abcd"), kFuzzyLetters, kBytes})
        for (int i = 0; i < rounds; ++i)
        {
            const size_t most = i % 10 == 0 ? 300 : 70;
            const std::string query = source.Random(alphabet, source.Below(most + 1));
            const size_t otherLength = i % 4 == 0 ? query.size() : source.Below(most + 1);
            const std::string other =
                i % 3 == 0 ? source.Random(alphabet, otherLength) : source.Misspelt(query, alphabet, otherLength);
            ASSERT_EQ(Weight(query, other), FuzzyModelWeight(query, other)) << query << " and " << other;
        }
}

TEST(StringFuzzy, LongTextsWeighAsTheRecurrenceSays)
{
    CFuzzyTexts source(5);
    const std::string query = source.Random("abcd", 1500);
    const std::string near = source.Misspelt(query, "abcd", 1490);
    const std::string far = source.Random("abcd", 3000);
    EXPECT_EQ(Weight(query, near), FuzzyModelWeight(query, near));
    EXPECT_EQ(Weight(query, far), FuzzyModelWeight(query, far));
    EXPECT_EQ(Weight(far, query), FuzzyModelWeight(far, query));
}

// Memory.

TEST(StringFuzzy, TextsBelow256CharactersUseNoHeap)
{
    CTestAllocator allocator;
    for (const size_t length : {0u, 1u, 64u, 65u, 254u, 255u})
        for (const size_t otherLength : {0u, 1u, 64u, 65u, 254u, 255u})
        {
            const CString query = Fixed(std::string(length, 'a'));
            const CString other = Fixed(std::string(otherLength, 'b'));
            allocator.ForgetCalls();
            static_cast<void>(query.FuzzyMatch(other));
            EXPECT_TRUE(allocator.Calls().empty()) << length << " and " << otherLength;
        }
}

TEST(StringFuzzy, LongerTextsUseOneBlockOfFourBytesPerCounterAndFreeIt)
{
    CTestAllocator allocator;
    const size_t lengths[][3] = {{256, 1, 256}, {1, 256, 256}, {256, 256, 256}, {255, 256, 256}, {300, 1000, 1000}};
    for (const auto &pair : lengths)
    {
        const CString query = Fixed(std::string(pair[0], 'a'));
        const CString other = Fixed(std::string(pair[1], 'b'));
        allocator.ForgetCalls();
        const u64 before = allocator.LiveBlocks();
        static_cast<void>(query.FuzzyMatch(other));
        const std::vector<SAllocatorCall> calls = allocator.Calls();
        ASSERT_EQ(calls.size(), 2u);
        EXPECT_EQ(calls[0].m_Kind, SAllocatorCall::Kind_Alloc);
        EXPECT_EQ(calls[0].m_Size, (pair[2] + 1) * 4);
        EXPECT_EQ(calls[0].m_Type, Mem::AllocType_Generic);
        EXPECT_EQ(calls[0].m_Origin, Mem::Origin_Alloc);
        EXPECT_EQ(calls[0].m_Tag, "Kernel|Mem|Default");
        EXPECT_EQ(calls[1].m_Kind, SAllocatorCall::Kind_Free);
        EXPECT_EQ(calls[1].m_Block, calls[0].m_Result);
        EXPECT_EQ(allocator.LiveBlocks(), before);
    }
}

TEST(StringFuzzy, AnEmptyStringUsesNoHeapWhateverTheLengthOfTheOther)
{
    CTestAllocator allocator;
    const CString text = Fixed(std::string(1000, 'a'));
    allocator.ForgetCalls();
    EXPECT_EQ(CString().FuzzyMatch(text), 0.0f);
    EXPECT_EQ(text.FuzzyMatch(CString()), 0.0f);
    EXPECT_TRUE(allocator.Calls().empty());
}

TEST(StringFuzzy, RefusedMemoryWeighsZeroWithoutAReport)
{
    struct SPair
    {
        CString m_Query;
        CString m_Other;
        float m_Weight;
    };
    const size_t lengths[][2] = {{256, 256}, {3, 300}, {300, 3}};
    for (const auto &pair : lengths)
        SweepRefusals(
            [&] {
                return SPair{Fixed(std::string(pair[0], 'a')), Fixed(std::string(pair[1], 'a')), -1.0f};
            },
            [](SPair &state) { state.m_Weight = state.m_Query.FuzzyMatch(state.m_Other); },
            [](SPair &state, const SRefusal &refusal, const CAssertRecorder &recorder)
            {
                const float expected = FuzzyModelWeight(TextOf(state.m_Query), TextOf(state.m_Other));
                EXPECT_EQ(state.m_Weight, refusal.m_Refused ? 0.0f : expected);
                EXPECT_EQ(recorder.Count(), 0u);
            });
}

TEST(StringFuzzy, NothingOutsideTheBlocksIsRead)
{
    CPageEndAllocator allocator;
    CFuzzyTexts source(6);
    for (const size_t queryLength : {1u, 12u, 16u, 17u, 32u, 33u, 64u, 65u, 130u})
    {
        const std::string query = source.Random(kFuzzyLetters, queryLength);
        std::vector<std::string> texts;
        // Short texts beside long ones: those scored together end at different times.
        for (size_t i = 0; i <= 50; ++i)
            texts.push_back(source.Misspelt(query, kFuzzyLetters, i * 19 % 51));
        const CString queryString = Fixed(query);
        const std::vector<CString> strings = StringsOf(texts);
        const std::vector<float> expected = ModelWeights(query, texts);
        EXPECT_EQ(ListWeights(queryString, ListOf(strings)), expected);
        for (size_t i = 0; i < texts.size(); ++i)
            EXPECT_EQ(queryString.FuzzyMatch(strings[i]), expected[i]);
    }
}

// Lists.

// The weight of two views.

TEST(StringViewFuzzy, FuzzyMatchIsThatOfStringsOfTheSameCharacters)
{
    const CStringView names("sunday,saturday");
    EXPECT_EQ(names.Slice(0, 6).FuzzyMatch(names.Slice(7)), 11.0f / 14.0f);
    EXPECT_EQ(CStringView("abc").FuzzyMatch(CStringView("abd")), 5.0f / 6.0f);
    EXPECT_EQ(CStringView("abc").FuzzyMatch("abd"), 5.0f / 6.0f);
    EXPECT_EQ(CStringView("abc").FuzzyMatch(CString("abd")), 5.0f / 6.0f);
    EXPECT_EQ(CStringView("ab").FuzzyMatch("xa"), 0.75f);
    EXPECT_EQ(CStringView("xa").FuzzyMatch("ab"), 0.5f);
    EXPECT_EQ(names.FuzzyMatch(names), 1.0f);
}

TEST(StringViewFuzzy, EmptinessGoesByLengthAndNullHasNoCharacters)
{
    const char *const null = nullptr;
    const CStringView empty[] = {CStringView(), CStringView(nullptr, 3), CStringView("abc", 0)};
    for (const CStringView &view : empty)
    {
        for (const CStringView &other : empty)
            EXPECT_EQ(view.FuzzyMatch(other), 1.0f);
        EXPECT_EQ(view.FuzzyMatch(null), 1.0f);
        EXPECT_EQ(view.FuzzyMatch("a"), 0.0f);
        EXPECT_EQ(CStringView("a").FuzzyMatch(view), 0.0f);
    }
    EXPECT_EQ(CStringView("a").FuzzyMatch(null), 0.0f);
    EXPECT_EQ(CStringView("a\0b", 3).FuzzyMatch(CStringView("a\0b", 3)), 1.0f);
    EXPECT_EQ(CStringView("a\0b", 3).FuzzyMatch(CStringView("a\0c", 3)), 5.0f / 6.0f);
}

TEST(StringViewFuzzy, EveryPairOfShortViewsWeighsAsTheRecurrenceSays)
{
    const std::vector<std::string> texts = EveryText("ab", kVerySlow ? 4 : 5);
    for (const std::string &a : texts)
        for (const std::string &b : texts)
            ASSERT_EQ(ViewOf(a).FuzzyMatch(ViewOf(b)), FuzzyModelWeight(a, b)) << a << " and " << b;
}

TEST(StringViewFuzzy, ViewsWeighAsStringsDoAndNothingOutsideThemIsRead)
{
    CFuzzyTexts source(43);
    for (size_t length = 0; length < 70; ++length)
    {
        for (const size_t otherLength : {size_t(1), length / 2, length, length + 1, size_t(64), size_t(300)})
        {
            const std::string query = source.Random(kFuzzyLetters, length);
            const std::string other = source.Misspelt(query, kFuzzyLetters, otherLength);
            const CTextAtPageEnd queryAtEnd(query);
            const CTextAtPageEnd otherAtEnd(other);
            ASSERT_EQ(queryAtEnd.View().FuzzyMatch(otherAtEnd.View()), Weight(query, other))
                << length << " and " << otherLength;
        }
    }
}

TEST(StringViewFuzzy, LongViewsUseOneBlockThatMayBeRefused)
{
    const std::string text(300, 'a');
    CTestAllocator allocator;
    EXPECT_EQ(ViewOf(text).FuzzyMatch(ViewOf(text)), 1.0f);
    EXPECT_EQ(allocator.Requests().size(), 1u);
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
    EXPECT_EQ(ViewOf(text).Slice(100).FuzzyMatch(ViewOf(text).Slice(50)), Weight(text.substr(100), text.substr(50)));
    const CAssertRecorder recorder;
    {
        const CChoosyAllocator refusing([](u64, u64) { return true; });
        EXPECT_EQ(ViewOf(text).FuzzyMatch(ViewOf(text)), 0.0f);
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringViewFuzzy, LengthsThatNoStringCanHaveWeighZeroAndAreNotLookedAt)
{
    CTestAllocator allocator;
    for (const u32 length : {0x3FFFFFFFu, 0x40000000u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(CStringView("a", length).FuzzyMatch("a"), 0.0f);
        EXPECT_EQ(CStringView("a").FuzzyMatch(CStringView("a", length)), 0.0f);
        EXPECT_EQ(CStringView("a", length).FuzzyMatch(CStringView("a", length)), 0.0f);
    }
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringFuzzyList, EveryFormAgreesWithTheRecurrenceForEveryQueryAndListLength)
{
    CFuzzyTexts source(7);
    const size_t counts[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 63, 64, 65, 127, 128, 129, 200};
    for (const std::string &alphabet : {kFuzzyLetters, kFewLetters})
        for (const size_t queryLength : FuzzyLengths())
        {
            SCOPED_TRACE(queryLength);
            const std::string query = source.Random(alphabet, queryLength);
            const std::vector<std::string> texts = MixedTexts(source, query, alphabet, kSlow ? 130 : 200);
            const CString queryString = Fixed(query);
            const std::vector<CString> strings = StringsOf(texts);
            const std::vector<float> all = ModelWeights(query, texts);
            for (size_t i = 0; i < texts.size(); ++i)
                ASSERT_EQ(queryString.FuzzyMatch(strings[i]), all[i]) << i;
            for (size_t count : counts)
            {
                count = std::min(count, texts.size());
                SCOPED_TRACE(count);
                const std::vector<float> expected(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count));
                const TStridedMemoryView<const CString> list = ListOf(strings, count);
                ASSERT_EQ(ListWeights(queryString, list), expected);
                ASSERT_EQ(Ordered(queryString, list, 0.0f), FuzzyModelOrdered(expected, 0.0f));
                ASSERT_EQ(Top(queryString, list, 0.0f, 10), FuzzyModelTop(expected, 0.0f, 10));
            }
        }
}

TEST(StringFuzzyList, EveryQueryLengthOfALaneIsScoredInItself)
{
    CFuzzyTexts source(8);
    for (size_t queryLength = 1; queryLength <= 66; ++queryLength)
    {
        const std::string query = source.Random("abc", queryLength);
        std::vector<std::string> texts;
        for (size_t i = 0; i < 40; ++i)
            texts.push_back(source.Misspelt(query, "abc", 1 + source.Below(80)));
        ASSERT_EQ(ListWeights(Fixed(query), ListOf(StringsOf(texts))), ModelWeights(query, texts)) << queryLength;
    }
}

TEST(StringFuzzyList, EveryPairOfShortTextsWeighsAsTheRecurrenceSays)
{
    const std::vector<std::string> texts = EveryText("ab", 5);
    const std::vector<CString> strings = StringsOf(texts);
    for (size_t i = 0; i < texts.size(); ++i)
        ASSERT_EQ(ListWeights(strings[i], ListOf(strings)), ModelWeights(texts[i], texts)) << texts[i];
}

TEST(StringFuzzyList, BytesOfAllValuesAreToldApart)
{
    CFuzzyTexts source(9);
    for (const size_t queryLength : {5u, 16u, 30u, 40u, 100u})
    {
        const std::string query = source.Random(kBytes, queryLength);
        const std::vector<std::string> texts = MixedTexts(source, query, kBytes, 60);
        ASSERT_EQ(ListWeights(Fixed(query), ListOf(StringsOf(texts))), ModelWeights(query, texts)) << queryLength;
    }
}

TEST(StringFuzzyList, AnEmptyQueryWeighsOneForEmptyEntriesAndZeroForOthers)
{
    CString emptied = Resizable("abc");
    emptied.Clear();
    const std::vector<CString> strings = {CString("a"), CString(), emptied, Fixed(std::string(1, '\0')),
                                          Fixed(std::string(500, 'x'))};
    const std::vector<float> expected = {0.0f, 1.0f, 1.0f, 0.0f, 0.0f};
    EXPECT_EQ(ListWeights(CString(), ListOf(strings)), expected);
    EXPECT_EQ(ListWeights(emptied, ListOf(strings)), expected);
    EXPECT_EQ(Ordered(CString(), ListOf(strings), 0.5f), FuzzyModelOrdered(expected, 0.5f));
    EXPECT_EQ(Top(CString(), ListOf(strings), 0.0f, 5), FuzzyModelTop(expected, 0.0f, 5));
}

TEST(StringFuzzyList, TheQueryMayBeAnEntry)
{
    const std::vector<CString> strings = {CString("abc"), CString("abd")};
    EXPECT_EQ(ListWeights(strings[0], ListOf(strings)), (std::vector<float>{1.0f, 5.0f / 6.0f}));
}

TEST(StringFuzzyList, StridedViewsReachTheirElementsOnly)
{
    struct SRecord
    {
        u64 m_Id = 0;
        CString m_Name;
        char m_Tail[20] = {};
    };
    CFuzzyTexts source(10);
    const std::string query = "straddling";
    const std::vector<std::string> texts = MixedTexts(source, query, kFuzzyLetters, 70);
    std::vector<SRecord> records(texts.size());
    for (size_t i = 0; i < texts.size(); ++i)
        records[i].m_Name = Fixed(texts[i]);
    const std::vector<float> expected = ModelWeights(query, texts);
    const TStridedMemoryView<const CString> names(&records[0].m_Name, LengthOf(std::string(texts.size(), ' ')),
                                                  sizeof(SRecord));
    EXPECT_EQ(ListWeights(CString(query.c_str()), names), expected);
    EXPECT_EQ(Ordered(CString(query.c_str()), names, 0.3f), FuzzyModelOrdered(expected, 0.3f));
    EXPECT_EQ(Top(CString(query.c_str()), names, 0.3f, 7), FuzzyModelTop(expected, 0.3f, 7));
}

TEST(StringFuzzyList, PiecesOfAListGiveTheSameWeightsAsTheWhole)
{
    CFuzzyTexts source(11);
    const std::string query = "piecemeal";
    const std::vector<std::string> texts = MixedTexts(source, query, kFuzzyLetters, 100);
    const std::vector<CString> strings = StringsOf(texts);
    const std::vector<float> expected = ModelWeights(query, texts);
    for (const u32 step : {1u, 7u, 33u, 64u, 99u})
    {
        std::vector<float> weights(texts.size(), -1.0f);
        const TMemoryView<float> out(weights.data(), static_cast<u32>(weights.size()));
        for (u32 start = 0; start < out.Count(); start += step)
            CString(query.c_str()).FuzzyMatchList(ListOf(strings).SliceIFP(start, step), out.SliceIFP(start, step));
        EXPECT_EQ(weights, expected) << step;
    }
}

TEST(StringFuzzyList, FuzzyMatchListOfNoEntriesWritesNothing)
{
    const CAssertRecorder recorder;
    CString("abc").FuzzyMatchList(TStridedMemoryView<const CString>(), TMemoryView<float>());
    float untouched = -1.0f;
    CString("abc").FuzzyMatchList(TStridedMemoryView<const CString>(), TMemoryView<float>(&untouched, 0));
    EXPECT_EQ(untouched, -1.0f);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringFuzzyList, DifferentCountsReportAndWriteAsManyAsBothHave)
{
    const std::vector<CString> strings = {CString("abc"), CString("abd"), CString("xyz")};
    for (const u32 entries : {0u, 1u, 2u, 3u})
        for (const u32 results : {0u, 1u, 2u, 3u})
        {
            if (entries == results)
                continue;
            const float expected[] = {1.0f, 5.0f / 6.0f, 0.5f};
            float weights[] = {-1.0f, -1.0f, -1.0f};
            const CAssertRecorder recorder;
            CString("abc").FuzzyMatchList(ListOf(strings, entries), TMemoryView<float>(weights, results));
            ExpectReports(recorder, {kWeightCountCheck});
            for (u32 i = 0; i < 3; ++i)
                EXPECT_EQ(weights[i], i < entries && i < results ? expected[i] : -1.0f) << entries << " " << results;
        }
}

TEST(StringFuzzyList, ViewsWithoutElementsAreReportedByTheirOwnChecks)
{
    const CString list[] = {CString("abc"), CString("abd")};
    {
        const CAssertRecorder recorder;
        CString("abc").FuzzyMatchList(TStridedMemoryView<const CString>(list), TMemoryView<float>(nullptr, 2));
        ExpectReports(recorder, {"m_Data != null", "m_Data != null"});
    }
    {
        const CAssertRecorder recorder;
        float weights[] = {-1.0f, -1.0f};
        CString("abc").FuzzyMatchList(TStridedMemoryView<const CString>(nullptr, 2), TMemoryView<float>(weights));
        ExpectReports(recorder, {"m_Storage.m_RawDataPtr != null", "m_Storage.m_RawDataPtr != null"});
        // What such an access answers is an empty string.
        EXPECT_EQ(weights[0], 0.0f);
        EXPECT_EQ(weights[1], 0.0f);
    }
}

TEST(StringFuzzyList, EveryLongEntryUsesABlockOfItsOwnAndNoOtherDoes)
{
    CTestAllocator allocator;
    {
        const std::vector<CString> strings = {Fixed(std::string(255, 'a')), Fixed(std::string(256, 'a')),
                                              CString("abc"), Fixed(std::string(400, 'a')), CString()};
        for (const size_t queryLength : {3u, 20u, 40u, 100u, 255u})
        {
            const CString query = Fixed(std::string(queryLength, 'a'));
            allocator.ForgetCalls();
            const u64 before = allocator.LiveBlocks();
            float weights[5];
            query.FuzzyMatchList(ListOf(strings), TMemoryView<float>(weights));
            const std::vector<SAllocatorCall> requests = allocator.Requests();
            ASSERT_EQ(requests.size(), 2u) << queryLength;
            EXPECT_EQ(requests[0].m_Size, 257u * 4);
            EXPECT_EQ(requests[1].m_Size, 401u * 4);
            EXPECT_EQ(requests[0].m_Tag, "Kernel|Mem|Default");
            EXPECT_EQ(allocator.LiveBlocks(), before);
        }
        const CString longQuery = Fixed(std::string(300, 'a'));
        allocator.ForgetCalls();
        float weights[5];
        longQuery.FuzzyMatchList(ListOf(strings), TMemoryView<float>(weights));
        const std::vector<SAllocatorCall> requests = allocator.Requests();
        ASSERT_EQ(requests.size(), 4u);
        for (const size_t i : {0u, 1u, 2u})
            EXPECT_EQ(requests[i].m_Size, 301u * 4);
        EXPECT_EQ(requests[3].m_Size, 401u * 4);
    }
}

// A query and a list whose every entry takes a block, and where the results go.
struct SLongList
{
    SLongList()
    {
        for (size_t i = 0; i < 4; ++i)
            m_Strings.push_back(Fixed("query" + std::string(300 + i, 'x')));
    }

    float Expected(size_t i) const { return FuzzyModelWeight("query", TextOf(m_Strings[i])); }

    CString m_Query = CString("query");
    std::vector<CString> m_Strings;
    std::vector<float> m_Weights = std::vector<float>(4, -1.0f);
    TArray<SElement> m_Out = UsedElements();
    bool m_Result = false;
};

bool IsRefusedQuery(const SRefusal &refusal, u64 request)
{
    return refusal.m_Nth != 0 && (refusal.m_AndAllAfter ? request >= refusal.m_Nth : request == refusal.m_Nth);
}

TEST(StringFuzzyList, RefusedMemoryWeighsZeroForThatEntryAlone)
{
    SweepRefusals([] { return SLongList(); },
                  [](SLongList &list) {
                      list.m_Query.FuzzyMatchList(ListOf(list.m_Strings), TMemoryView<float>(list.m_Weights.data(), 4));
                  },
                  [](SLongList &list, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      for (size_t i = 0; i < 4; ++i)
                          EXPECT_EQ(list.m_Weights[i], IsRefusedQuery(refusal, i + 1) ? 0.0f : list.Expected(i)) << i;
                      EXPECT_EQ(recorder.Count(), 0u);
                  });
}

// Both forms of the code, with wide vectors and without.

TEST(StringFuzzyForms, EveryCountOfEntriesWeighsAsTheRecurrenceSays)
{
    CFuzzyTexts source(17);
    for (const size_t queryLength : {1u, 7u, 8u, 12u, 16u, 17u, 24u, 32u, 33u, 64u, 65u, 130u})
        for (const bool wide : {false, true})
        {
            const CWideChoice choice(wide);
            const std::string query = source.Random(kFuzzyLetters, queryLength);
            std::vector<std::string> texts = MixedTexts(source, query, kFuzzyLetters, 50);
            for (const size_t length : {16u, 17u, 32u, 33u, 255u, 256u, 0u, 1u})
                texts.push_back(source.Misspelt(query, kFuzzyLetters, length));
            while (texts.size() < 70)
                texts.push_back(source.Misspelt(query, kFuzzyLetters, source.Below(40)));
            std::vector<CString> strings = StringsOf(texts);
            strings[3] = CString();
            texts[3].clear();
            const std::vector<float> all = ModelWeights(query, texts);
            for (size_t count = 0; count <= texts.size(); ++count)
            {
                const std::vector<float> expected(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count));
                const TStridedMemoryView<const CString> list = ListOf(strings, count);
                ASSERT_EQ(ListWeights(Fixed(query), list), expected)
                    << queryLength << " against " << count << ", wide " << wide;
                ASSERT_EQ(Top(Fixed(query), list, 0.3f, 5), FuzzyModelTop(expected, 0.3f, 5))
                    << queryLength << " against " << count << ", wide " << wide;
            }
        }
}

// Lists of more entries than are scored at a time.
TEST(StringFuzzyForms, LongListsAreRankedAsTheModelRanksThem)
{
    CFuzzyTexts source(18);
    std::vector<std::string> texts;
    for (size_t i = 0; i < 1000; ++i)
        texts.push_back(source.Random("abcd", source.Below(45)));
    const std::vector<CString> strings = StringsOf(texts);
    for (const size_t queryLength : {0u, 5u, 12u, 20u, 40u})
    {
        const std::string query = source.Random("abcd", queryLength);
        const std::vector<float> weights = ModelWeights(query, texts);
        for (const bool wide : {false, true})
        {
            const CWideChoice choice(wide);
            EXPECT_EQ(ListWeights(Fixed(query), ListOf(strings)), weights);
            EXPECT_EQ(Ordered(Fixed(query), ListOf(strings), 0.5f), FuzzyModelOrdered(weights, 0.5f));
            for (const u32 count : {1u, 10u, 100u, 999u})
                EXPECT_EQ(Top(Fixed(query), ListOf(strings), 0.4f, count), FuzzyModelTop(weights, 0.4f, count))
                    << queryLength << ", wide " << wide;
        }
    }
}

// Ordered lists.

TEST(StringFuzzyOrdered, AnElementIsAnIndexAndAWeight)
{
    const SElement element(7, 0.25f);
    EXPECT_EQ(element.m_IndexInStringList, 7u);
    EXPECT_EQ(element.m_MatchWeight, 0.25f);
    EXPECT_EQ(sizeof(SElement), 8u);
    EXPECT_EQ(offsetof(SElement, m_IndexInStringList), 0u);
    EXPECT_EQ(offsetof(SElement, m_MatchWeight), 4u);
    EXPECT_TRUE(std::is_trivially_copyable<SElement>::value);
    EXPECT_TRUE(TTypeTraits<SElement>::HasTrivialRelocate);
}

template <typename Order>
void ExpectRankingOrder()
{
    const SElement better(5, 0.75f);
    const SElement worse(1, 0.5f);
    const SElement equal(9, 0.5f);
    EXPECT_TRUE(Order::Less(better, worse));
    EXPECT_FALSE(Order::Less(worse, better));
    EXPECT_FALSE(Order::Equal(better, worse));
    // The index takes no part.
    EXPECT_FALSE(Order::Less(worse, equal));
    EXPECT_FALSE(Order::Less(equal, worse));
    EXPECT_TRUE(Order::Equal(worse, equal));
}

TEST(StringFuzzyOrdered, AHigherWeightIsLess)
{
    ExpectRankingOrder<TSortDefaultCompare<TArray<SElement>::Iterator>>();
    ExpectRankingOrder<TSortDefaultCompare<SElement *>>();
}

TEST(StringFuzzyOrdered, FuzzyMatchListOrderedRanksEntriesAtOrAboveTheToleranceBestFirst)
{
    const std::vector<CString> strings = {CString("xyz"), CString("abd"), CString("abc"), CString("abcd"), CString()};
    TArray<SElement> out;
    CString("abc").FuzzyMatchList_Ordered(ListOf(strings), out, 0.5f);
    ASSERT_EQ(out.Count(), 4u);
    EXPECT_EQ(out[0].m_IndexInStringList, 2u);
    EXPECT_EQ(out[0].m_MatchWeight, 1.0f);
    EXPECT_EQ(out[1].m_IndexInStringList, 3u);
    EXPECT_EQ(out[1].m_MatchWeight, 6.0f / 7.0f);
    EXPECT_EQ(out[2].m_IndexInStringList, 1u);
    EXPECT_EQ(out[2].m_MatchWeight, 5.0f / 6.0f);
    EXPECT_EQ(out[3].m_IndexInStringList, 0u);
    EXPECT_EQ(out[3].m_MatchWeight, 0.5f);
}

TEST(StringFuzzyOrdered, AWeightEqualToTheToleranceIsKeptAndTheNextOneBelowIsNot)
{
    const std::vector<CString> strings = {CString("abd"), CString("abc")};
    const float weight = 5.0f / 6.0f;
    EXPECT_EQ(Ordered(CString("abc"), ListOf(strings), weight).size(), 2u);
    EXPECT_EQ(Ordered(CString("abc"), ListOf(strings), std::nextafter(weight, 1.0f)).size(), 1u);
    EXPECT_EQ(Ordered(CString("abc"), ListOf(strings), 1.0f).size(), 1u);
}

TEST(StringFuzzyOrdered, AToleranceAboveOneOrNoNumberKeepsNothing)
{
    const std::vector<CString> strings = {CString("abc"), CString("abd"), CString()};
    const CAssertRecorder recorder;
    for (const float tolerance : {std::nextafter(1.0f, 2.0f), 2.0f, kInfinity, kNaN, -kNaN})
    {
        EXPECT_TRUE(Ordered(CString("abc"), ListOf(strings), tolerance).empty()) << tolerance;
        EXPECT_TRUE(Top(CString("abc"), ListOf(strings), tolerance, 3).empty()) << tolerance;
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringFuzzyOrdered, AToleranceOfZeroOrBelowKeepsEveryEntry)
{
    const std::vector<CString> strings = {CString("abc"), CString("xyz"), CString()};
    for (const float tolerance : {0.0f, -0.0f, -1.0f, -kInfinity})
    {
        EXPECT_EQ(Ordered(CString("abc"), ListOf(strings), tolerance).size(), 3u) << tolerance;
        EXPECT_EQ(Top(CString("abc"), ListOf(strings), tolerance, 3).size(), 3u) << tolerance;
    }
}

TEST(StringFuzzyOrdered, TheArrayIsClearedEvenForAnEmptyListAndKeepsItsBlock)
{
    TArray<SElement> out = UsedElements();
    const SElement *const block = out.Data();
    const u32 capacity = out.MaxCount();
    CString("abc").FuzzyMatchList_Ordered(TStridedMemoryView<const CString>(), out, 0.0f);
    EXPECT_TRUE(out.Empty());
    EXPECT_EQ(out.MaxCount(), capacity);

    const std::vector<CString> strings = {CString("abc")};
    CString("abc").FuzzyMatchList_Ordered(ListOf(strings), out, 0.0f);
    EXPECT_EQ(out.Count(), 1u);
    EXPECT_EQ(out.Data(), block);
}

// Few different weights, and many of each: the order of equals shows every step of the sort.
TEST(StringFuzzyOrdered, EqualWeightsEndWhereTheSortLeavesThem)
{
    CFuzzyTexts source(12);
    for (size_t count = 0; count <= (kVerySlow ? 80u : 200u); ++count)
    {
        std::vector<std::string> texts;
        for (size_t i = 0; i < count; ++i)
            texts.push_back(source.Random(kFewLetters, 3));
        const std::vector<CString> strings = StringsOf(texts);
        const std::vector<float> weights = ModelWeights("aab", texts);
        for (const float tolerance : {0.0f, 0.6f, 0.7f, 0.9f, 1.0f})
            ASSERT_EQ(Ordered(CString("aab"), ListOf(strings), tolerance), FuzzyModelOrdered(weights, tolerance))
                << count << " at " << tolerance;
    }
}

TEST(StringFuzzyOrdered, EqualWeightsAreNotOrderedByIndex)
{
    const std::vector<CString> strings = {CString("a"), CString("a"), CString("b"), CString("a")};
    const std::vector<FuzzyModelElement> ranked = Ordered(CString("b"), ListOf(strings), 0.0f);
    ASSERT_EQ(ranked.size(), 4u);
    EXPECT_EQ(ranked[0], FuzzyModelElement(2, 1.0f));
    // The short sort brings the element nearest to the front to the end of the range, first.
    const std::vector<FuzzyModelElement> byIndex = {{2, 1.0f}, {0, 0.5f}, {1, 0.5f}, {3, 0.5f}};
    EXPECT_NE(ranked, byIndex);
    EXPECT_EQ(ranked, FuzzyModelOrdered({0.5f, 0.5f, 1.0f, 0.5f}, 0.0f));
}

TEST(StringFuzzyOrdered, TheArrayGrowsByItsOwnRule)
{
    const std::vector<CString> strings(24, CString("abc"));
    CTestAllocator allocator;
    TArray<SElement> out;
    CString("abc").FuzzyMatchList_Ordered(ListOf(strings, 9), out, 0.0f);
    EXPECT_EQ(out.MaxCount(), 9u);
    CString("abc").FuzzyMatchList_Ordered(ListOf(strings, 10), out, 0.0f);
    EXPECT_EQ(out.MaxCount(), 23u);
    CString("abc").FuzzyMatchList_Ordered(ListOf(strings, 24), out, 0.0f);
    EXPECT_EQ(out.MaxCount(), 44u);
}

// Every refused growth is one element less; what comes before it and after it is kept.
TEST(StringFuzzyOrdered, ElementsThatTheArrayCannotTakeAreLeftOut)
{
    const std::vector<std::string> texts = {"abc", "abd", "ab", "a",   "abcd", "xyz", "abcde", "bc",
                                            "ac",  "cab", "b",  "abx", "aabc", "c",   "bca",   "acb"};
    const std::vector<float> weights = ModelWeights("abc", texts);
    struct SState
    {
        CString m_Query = CString("abc");
        std::vector<CString> m_Strings;
        TArray<SElement> m_Out;
    };
    SweepRefusals(
        [&]
        {
            SState state;
            state.m_Strings = StringsOf(texts);
            return state;
        },
        [](SState &state) { state.m_Query.FuzzyMatchList_Ordered(ListOf(state.m_Strings), state.m_Out, 0.0f); },
        [&](SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            u64 request = 0;
            size_t refused = 0;
            size_t capacity = 0;
            std::vector<FuzzyModelElement> expected;
            for (size_t i = 0; i < texts.size(); ++i)
            {
                if (expected.size() == capacity)
                {
                    if (IsRefusedQuery(refusal, ++request))
                    {
                        ++refused;
                        continue;
                    }
                    capacity = expected.size() + 1 + (expected.size() + 1) / 2 + 8;
                }
                expected.emplace_back(static_cast<unsigned>(i), weights[i]);
            }
            ModelQuickSort<SFuzzyModelOrder>(expected);
            EXPECT_EQ(ElementsOf(state.m_Out), expected);
            // Nothing but what the array itself says of it.
            EXPECT_EQ(recorder.Count(), IfAsserting(refused));
            EXPECT_EQ(recorder.CountOf("false"), IfAsserting(refused));
        });
}

TEST(StringFuzzyOrdered, AnEntryWhoseRowIsRefusedWeighsZero)
{
    SweepRefusals([] { return SLongList(); },
                  [](SLongList &list)
                  {
                      // No growth, so that every request is a row's.
                      list.m_Query.FuzzyMatchList_Ordered(ListOf(list.m_Strings), list.m_Out, 0.0f);
                  },
                  [](SLongList &list, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      std::vector<float> weights;
                      for (size_t i = 0; i < 4; ++i)
                          weights.push_back(IsRefusedQuery(refusal, i + 1) ? 0.0f : list.Expected(i));
                      EXPECT_EQ(ElementsOf(list.m_Out), FuzzyModelOrdered(weights, 0.0f));
                      EXPECT_EQ(recorder.Count(), 0u);
                  });
}

// The best of a list.

TEST(StringFuzzyTop, TheBestAreRankedBestFirstAndEqualOnesByIndex)
{
    const std::vector<CString> strings = {CString("abd"), CString("xyz"), CString("abc"),
                                          CString("abx"), CString("aby"), CString("abc")};
    const std::vector<FuzzyModelElement> expected = {{2, 1.0f}, {5, 1.0f}, {0, 5.0f / 6.0f}, {3, 5.0f / 6.0f}};
    EXPECT_EQ(Top(CString("abc"), ListOf(strings), 0.0f, 4), expected);
}

void ExpectTopsOfTheModel(const std::string &query, const std::string &alphabet, CFuzzyTexts &source)
{
    // Short texts of two letters: few weights, many equal ones; and all lengths.
    std::vector<std::string> texts = MixedTexts(source, query, alphabet, 60);
    for (size_t i = 0; i < 140; ++i)
        texts.push_back(source.Random(kFewLetters, 1 + source.Below(6)));
    const std::vector<CString> strings = StringsOf(texts);
    const std::vector<float> weights = ModelWeights(query, texts);
    const CString queryString = Fixed(query);
    for (const float tolerance : {-1.0f, 0.0f, 0.3f, 0.5f, 0.75f, 0.8f, 0.9f, 1.0f, kNaN})
        for (const u32 maxCount : {0u, 1u, 2u, 3u, 5u, 10u, 63u, 64u, 65u, 199u, 200u, 201u, 0xFFFFFFFFu})
            ASSERT_EQ(Top(queryString, ListOf(strings), tolerance, maxCount),
                      FuzzyModelTop(weights, tolerance, maxCount))
                << query << ": " << maxCount << " at " << tolerance;
}

TEST(StringFuzzyTop, EveryCountAndToleranceGivesWhatTheModelGives)
{
    CFuzzyTexts source(13);
    for (const std::string &query : {std::string("ab"), std::string("abba"), source.Random(kFewLetters, 20),
                                     source.Random(kFewLetters, 40), source.Random(kFewLetters, 70)})
        ASSERT_NO_FATAL_FAILURE(ExpectTopsOfTheModel(query, kFewLetters, source));
}

// Which letters occur rules out most entries here.
TEST(StringFuzzyTop, TextsOfManyLettersGiveWhatTheModelGives)
{
    CFuzzyTexts source(25);
    for (const bool wide : {false, true})
    {
        const CWideChoice choice(wide);
        for (const std::string &alphabet : {kFuzzyLetters, kBytes})
            for (const size_t length : {12u, 33u, 64u})
                ASSERT_NO_FATAL_FAILURE(ExpectTopsOfTheModel(source.Random(alphabet, length), alphabet, source));
    }
}

TEST(StringFuzzyTop, FuzzyMatchListTopKeepsNoMoreThanTheCount)
{
    CFuzzyTexts source(14);
    const std::vector<CString> strings = StringsOf(MixedTexts(source, "abcabc", kFewLetters, 100));
    for (const u32 maxCount : {0u, 1u, 2u, 5u, 99u, 100u, 1000u})
    {
        TArray<SElement> out;
        EXPECT_TRUE(CString("abcabc").FuzzyMatchList_Top(ListOf(strings), out, 0.0f, maxCount));
        EXPECT_EQ(out.Count(), std::min(maxCount, 100u));
        EXPECT_LE(out.MaxCount(), maxCount);
    }
}

TEST(StringFuzzyTop, NothingToFindClearsTheOutputWithoutAllocating)
{
    const std::vector<CString> strings = {CString("abc")};
    CTestAllocator allocator;
    {
        const CString query("abc");
        TArray<SElement> out = UsedElements();
        allocator.ForgetCalls();
        EXPECT_TRUE(query.FuzzyMatchList_Top(TStridedMemoryView<const CString>(), out, 0.0f, 5));
        EXPECT_TRUE(out.Empty());
        EXPECT_TRUE(allocator.Calls().empty());
    }
    {
        const CString query("abc");
        TArray<SElement> out = UsedElements();
        allocator.ForgetCalls();
        EXPECT_TRUE(query.FuzzyMatchList_Top(ListOf(strings), out, 0.0f, 0));
        EXPECT_TRUE(out.Empty());
        EXPECT_TRUE(allocator.Calls().empty());
    }
}

TEST(StringFuzzyTop, AnEntryWhoseLengthAloneRulesItOutIsNotLookedAt)
{
    CBrokenString unreadable;
    const std::vector<CString> strings = {unreadable.Get(), Fixed(std::string(500, 'q'))};
    const CString query = Fixed(std::string(60, 'q'));
    CTestAllocator allocator;
    {
        TArray<SElement> out;
        EXPECT_TRUE(query.FuzzyMatchList_Top(ListOf(strings), out, 0.5f, 2));
        EXPECT_TRUE(out.Empty());
        // The output's block, and no row for the long one.
        EXPECT_EQ(allocator.Requests().size(), 1u);
    }
}

// Whatever entries of other lengths came before it: what those need is not what a longer one needs.
TEST(StringFuzzyTop, ALongEntryThatItsLengthRulesOutIsNotWeighedBehindOthersThatItDoesNot)
{
    const CString query = Fixed(std::string(60, 'q'));
    for (const size_t length : {253u, 254u, 255u, 256u})
    {
        const std::vector<CString> one = {Fixed(std::string(length, 'q'))};
        const std::vector<CString> two = {one[0], Fixed(std::string(500, 'q'))};
        const auto requests = [&](const std::vector<CString> &strings)
        {
            CTestAllocator allocator;
            TArray<SElement> out;
            // The length of the first one allows 120 of 316 or more, that of the long one 120 of 560.
            EXPECT_TRUE(query.FuzzyMatchList_Top(ListOf(strings), out, 0.3f, 1));
            EXPECT_EQ(out.Count(), 1u);
            return allocator.RequestCount();
        };
        EXPECT_EQ(requests(two), requests(one)) << length;
    }
}

TEST(StringFuzzyTop, AnEntryOfOneCharacterOrForAQueryOfOneIsNotLookedAtWhereTheLengthRulesItOut)
{
    for (const size_t length : {1u, 60u})
    {
        const CString query = Fixed(std::string(61 - length, 'q'));
        const std::vector<CString> unreadable = {Fixed(std::string(length, 'q'))};
        CStringContainer &container = *ContainerOf(unreadable[0]);
        char *const characters = FieldAt<char *>(container, kCharactersOffset);
        SetFieldAt<char *>(container, kCharactersOffset, nullptr);
        EXPECT_TRUE(Top(query, ListOf(unreadable), 0.5f, 1).empty());
        SetFieldAt(container, kCharactersOffset, characters);
    }
}

// A weight that fills the list counts for the entries behind it: not at once, but before a few hundred of them.
TEST(StringFuzzyTop, AnEntryThatIsNoBetterThanWhatFillsTheListIsNotLookedAt)
{
    CBrokenString unreadable;
    std::vector<CString> strings = {CString("abcdef")};
    strings.resize(300, CString("abc"));
    strings.push_back(unreadable.Get());
    EXPECT_EQ(Top(CString("abcdef"), ListOf(strings), 0.0f, 1), (std::vector<FuzzyModelElement>{{0, 1.0f}}));
}

TEST(StringFuzzyTop, AnEntryWhoseLettersRuleItOutIsNotWeighed)
{
    const CString query = Fixed(std::string(60, 'q'));
    const std::vector<CString> strings = {Fixed(std::string(500, 'z'))};
    CTestAllocator allocator;
    {
        TArray<SElement> out;
        // The length allows 120 of 560, which is more.
        EXPECT_TRUE(query.FuzzyMatchList_Top(ListOf(strings), out, 0.2f, 1));
        EXPECT_TRUE(out.Empty());
        // The output's block, and no row.
        EXPECT_EQ(allocator.Requests().size(), 1u);
    }
}

// Of 300 characters in 300, 255 matches would do.
TEST(StringFuzzyTop, AnEntryOfALongQueryIsKeptHoweverManyMatchesItNeeds)
{
    const std::string text(300, 'q');
    const std::vector<CString> strings = {Fixed(text)};
    for (const u32 matches : {1u, 253u, 254u, 255u, 256u, 299u})
    {
        const float tolerance = static_cast<float>(300 + matches) / 600.0f;
        EXPECT_EQ(Top(Fixed(text), ListOf(strings), tolerance, 1), (std::vector<FuzzyModelElement>{{0, 1.0f}}));
    }
}

// The bound by length must not rule out what would just do.
TEST(StringFuzzyTop, AnEntryThatReachesTheToleranceByItsLengthIsKept)
{
    for (size_t queryLength = 1; queryLength <= 70; ++queryLength)
    {
        const std::string query(queryLength, 'q');
        std::vector<std::string> texts;
        for (size_t length = 1; length <= 90; ++length)
            texts.push_back(std::string(length, 'q'));
        const std::vector<CString> strings = StringsOf(texts);
        const std::vector<float> weights = ModelWeights(query, texts);
        // The tolerance of each text is exactly the weight that its length allows.
        for (size_t i = 0; i < texts.size(); i += 9)
            ASSERT_EQ(Top(CString(query.c_str()), ListOf(strings), weights[i], 100),
                      FuzzyModelTop(weights, weights[i], 100));
    }
}

TEST(StringFuzzyTop, RefusedMemoryAnswersFalseAndLeavesTheOutputEmpty)
{
    SweepRefusals([] { return SLongList(); },
                  [](SLongList &list)
                  { list.m_Result = list.m_Query.FuzzyMatchList_Top(ListOf(list.m_Strings), list.m_Out, 0.0f, 4); },
                  [](SLongList &list, const SRefusal &refusal, const CAssertRecorder &)
                  {
                      EXPECT_EQ(list.m_Result, !refusal.m_Refused);
                      std::vector<float> weights;
                      for (size_t i = 0; i < 4; ++i)
                          weights.push_back(list.Expected(i));
                      EXPECT_EQ(ElementsOf(list.m_Out),
                                refusal.m_Refused ? std::vector<FuzzyModelElement>() : FuzzyModelTop(weights, 0.0f, 4));
                  });
}

TEST(StringFuzzyTop, AnOutputThatCannotGrowIsReportedAndLeftEmpty)
{
    struct SState
    {
        CString m_Query = CString("a");
        CString m_List[2] = {CString("b"), CString("c")};
        TArray<SElement> m_Out;
        bool m_Result = false;
    };
    SweepRefusals([] { return SState(); },
                  [](SState &state)
                  { state.m_Result = state.m_Query.FuzzyMatchList_Top(state.m_List, state.m_Out, 0.0f, 2); },
                  [](SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      EXPECT_EQ(state.m_Result, !refusal.m_Refused);
                      EXPECT_EQ(state.m_Out.Count(), refusal.m_Refused ? 0u : 2u);
                      EXPECT_EQ(recorder.Count(), IfAsserting(refusal.m_Refused ? 1 : 0));
                      EXPECT_EQ(recorder.CountOf("false"), recorder.Count());
                  });
}

} // namespace
