// The weight of two texts, in each form of the code: with wide vectors and without.
#include "kr_fuzzy/fuzzy_distance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "every_text.h"
#include "fuzzy_model.h"
#include "fuzzy_texts.h"
#include "kr_string.h"
#include "test_allocator.h"
#include "text_pieces.h"
#include "wide_choice.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;
using namespace Internal::Fuzzy;

const std::string kFewLetters = "ab";
const std::string kBytes("\x00\x01\x7F\x80\x81\xFF", 6);

float WeightOf(const CString &query, const CString &other)
{
    float weight = -1.0f;
    EXPECT_TRUE(WeighPair(SText::Of(query), SText::Of(other), weight));
    return weight;
}

float Weight(const std::string &query, const std::string &other)
{
    return WeightOf(Fixed(query), Fixed(other));
}

TEST(FuzzyDistance, WorkedValues)
{
    for (const bool wide : {false, true})
    {
        const CWideChoice choice(wide);
        EXPECT_EQ(Weight("ab", "xa"), 0.75f);
        EXPECT_EQ(Weight("xa", "ab"), 0.5f);
        EXPECT_EQ(Weight("same", "same"), 1.0f);
    }
}

TEST(FuzzyDistance, EmptinessGoesByLength)
{
    const SText empty = {nullptr, 0};
    float weight = -1.0f;
    EXPECT_TRUE(WeighPair(empty, empty, weight));
    EXPECT_EQ(weight, 1.0f);
    EXPECT_TRUE(WeighPair(empty, SText::Of(CString("a")), weight));
    EXPECT_EQ(weight, 0.0f);
    EXPECT_TRUE(WeighPair(SText::Of(CString("a")), empty, weight));
    EXPECT_EQ(weight, 0.0f);
}

TEST(FuzzyDistance, EveryPairOfShortTextsWeighsAsTheRecurrenceSays)
{
    const std::vector<std::string> texts = EveryText("ab", kVerySlow ? 4 : 5);
    const std::vector<CString> strings = StringsOf(texts);
    for (const bool wide : {false, true})
    {
        const CWideChoice choice(wide);
        for (size_t i = 0; i < texts.size(); ++i)
            for (size_t j = 0; j < texts.size(); ++j)
                ASSERT_EQ(WeightOf(strings[i], strings[j]), FuzzyModelWeight(texts[i], texts[j]))
                    << texts[i] << " and " << texts[j] << ", wide " << wide;
    }
}

TEST(FuzzyDistance, TextsOfEveryByteWeighAsTheRecurrenceSays)
{
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    std::string turned = all;
    std::reverse(turned.begin(), turned.end());
    const std::string texts[] = {all, turned, all + all, all.substr(128) + all, turned + all.substr(0, 100)};
    for (const bool wide : {false, true})
    {
        const CWideChoice choice(wide);
        for (const std::string &a : texts)
            for (const std::string &b : texts)
                ASSERT_EQ(Weight(a, b), FuzzyModelWeight(a, b)) << a.size() << " and " << b.size();
    }
}

// Every length at which pairs change their walk: registers, words, pairs of words, groups of eight.
TEST(FuzzyDistance, EveryPairOfLengthsWeighsAsTheRecurrenceSays)
{
    const size_t lengths[] = {1,   15,  16,  17,  32,  33,  63,  64,  65,  127, 128,
                              129, 136, 192, 193, 256, 320, 511, 512, 513, 577, 1030};
    CFuzzyTexts source(15);
    for (const std::string &alphabet : {kFewLetters, kBytes})
        for (const size_t length : lengths)
            for (const size_t otherLength : lengths)
            {
                if (kVerySlow && length * otherLength > 100000)
                    continue;
                const std::string query = source.Random(alphabet, length);
                const std::string other = source.Below(2) == 0 ? source.Random(alphabet, otherLength)
                                                               : source.Misspelt(query, alphabet, otherLength);
                const float expected = FuzzyModelWeight(query, other);
                for (const bool wide : {false, true})
                {
                    const CWideChoice choice(wide);
                    ASSERT_EQ(Weight(query, other), expected) << length << " and " << otherLength << ", wide " << wide;
                }
            }
}

// All lengths of rows and of columns that one group of eight strips may have at its edges.
TEST(FuzzyDistance, EveryLengthOfStripsWeighsAsTheRecurrenceSays)
{
    CFuzzyTexts source(16);
    for (size_t length = 125; length < 700; length += kVerySlow ? 67 : 7)
    {
        const std::string query = source.Random("abc", length);
        const std::string other = source.Misspelt(query, "abc", length + source.Below(20));
        ASSERT_EQ(Weight(query, other), FuzzyModelWeight(query, other)) << length;
    }
}

// Rows of more different characters than the tables of eight strips have room for.
TEST(FuzzyDistance, EveryNumberOfDifferentCharactersWeighsAsTheRecurrenceSays)
{
    CFuzzyTexts source(19);
    for (const size_t length : {200u, 255u, 300u, 600u})
        for (const size_t different : {30u, 35u, 36u, 37u, 94u, 95u, 96u, 97u, 200u})
        {
            std::string alphabet;
            for (size_t i = 0; i < different; ++i)
                alphabet += static_cast<char>(i + 20);
            // All of them for certain, and then by chance.
            const std::string query = (alphabet + source.Random(alphabet, length)).substr(0, length);
            const std::string other = source.Misspelt(query, alphabet, length);
            const float expected = FuzzyModelWeight(query, other);
            for (const bool wide : {false, true})
            {
                const CWideChoice choice(wide);
                ASSERT_EQ(Weight(query, other), expected) << length << ", " << different << ", wide " << wide;
            }
        }
}

// Queries whose characters differ in their upper halves, in their lower halves, and in both.
TEST(FuzzyDistance, EveryByteIsFoundWhereverTheQueryHoldsIt)
{
    for (const unsigned factor : {1u, 16u, 17u, 7u})
        for (const unsigned length : {1u, 8u, 9u, 16u, 25u, 32u})
        {
            std::string query;
            for (unsigned i = 0; i < length; ++i)
                query += static_cast<char>((i * factor + i / 16) & 0xFF);
            for (const bool wide : {false, true})
            {
                const CWideChoice choice(wide);
                for (int byte = 0; byte < 256; ++byte)
                {
                    const std::string text(1, static_cast<char>(byte));
                    ASSERT_EQ(Weight(query, text), FuzzyModelWeight(query, text)) << factor << ", wide " << wide;
                }
            }
        }
}

TEST(FuzzyDistance, NoPairOfItsLengthsWeighsMoreThanTheHighestWeight)
{
    const std::vector<std::string> texts = EveryText("ab", 5);
    for (const std::string &query : texts)
        for (const std::string &other : texts)
        {
            if (query.empty() || other.empty())
                continue;
            ASSERT_LE(FuzzyModelWeight(query, other),
                      MaxWeight(static_cast<u32>(query.size()), static_cast<u32>(other.size())))
                << query << " and " << other;
        }
    EXPECT_EQ(MaxWeight(4, 4, 3), Weight("same", "sane"));
    EXPECT_EQ(MaxWeight(4, 6, 3), Weight("same", "sanely"));
    EXPECT_EQ(MaxWeight(4, 4), Weight("same", "same"));
    EXPECT_EQ(MaxWeight(4, 6), Weight("same", "samely"));
}

TEST(FuzzyDistance, NoPairWeighsMoreThanItsLettersAllow)
{
    const std::vector<std::string> texts = EveryText("abc", 4);
    for (const std::string &query : texts)
        for (const std::string &other : texts)
        {
            if (query.empty() || other.empty())
                continue;
            size_t letters = 0;
            for (const char character : other)
                letters += query.find(character) != std::string::npos ? 1 : 0;
            const u32 matches = static_cast<u32>(std::min(letters, query.size()));
            ASSERT_LE(FuzzyModelWeight(query, other),
                      MaxWeight(static_cast<u32>(query.size()), static_cast<u32>(other.size()), matches))
                << query << " and " << other;
        }
}

TEST(FuzzyDistance, RefusedMemoryIsAnsweredAndWeighsZero)
{
    CTestAllocator allocator;
    const CString query = Fixed(std::string(300, 'a'));
    const CString other = Fixed(std::string(2, 'a'));
    allocator.RefuseFromNth(1);
    float weight = -1.0f;
    EXPECT_FALSE(WeighPair(SText::Of(query), SText::Of(other), weight));
    EXPECT_EQ(weight, 0.0f);
    EXPECT_EQ(allocator.RequestCount(), 1u);
    EXPECT_TRUE(WeighPair(SText::Of(other), SText::Of(other), weight));
    EXPECT_EQ(weight, 1.0f);
    allocator.RefuseFromNth(0);
}

// Neither text ends with a terminator, nor with room behind it.
TEST(FuzzyDistance, CountedPairsWeighTheSameAndNothingBehindThemIsRead)
{
    const size_t lengths[] = {0, 1, 2, 15, 16, 17, 31, 32, 33, 63, 64, 65, 128, 129, 200, 255, 256, 300};
    CFuzzyTexts source(41);
    for (const bool wide : {false, true})
    {
        const CWideChoice choice(wide);
        for (const size_t length : lengths)
        {
            for (const size_t otherLength : lengths)
            {
                const std::string query = source.Random(kBytes, length);
                const std::string other = source.Misspelt(query, kBytes, otherLength);
                const CTextAtPageEnd queryAtEnd(query);
                const CTextAtPageEnd otherAtEnd(other);
                float weight = -1.0f;
                EXPECT_TRUE(WeighCountedPair({queryAtEnd.Data(), LengthOf(query)}, {otherAtEnd.Data(), LengthOf(other)},
                                             weight));
                ASSERT_EQ(weight, FuzzyModelWeight(query, other)) << length << " and " << otherLength;
            }
        }
    }
}

} // namespace
