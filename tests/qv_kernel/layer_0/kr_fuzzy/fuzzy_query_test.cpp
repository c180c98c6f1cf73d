// One query against many texts, in each form of the code: with wide vectors and without.
#include "kr_fuzzy/fuzzy_query.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
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

const std::string kLetters = "abcdefghijklmnopqrstuvwxyz";

// What was handed out, in its order.
using Taken = std::vector<std::pair<u32, float>>;

Taken Weighed(const CString &query, const std::vector<CString> &texts, size_t count)
{
    Taken taken;
    EXPECT_TRUE(WeighAll(
        SText::Of(query), static_cast<u32>(count), [&](u32 i) { return SText::Of(texts[i]); },
        [&](u32 index, float weight) { taken.emplace_back(index, weight); }));
    return taken;
}

template <typename Needed>
Taken WeighedWanted(const CString &query, const std::vector<CString> &texts, size_t count, const Needed &needed)
{
    Taken taken;
    EXPECT_TRUE(WeighWanted(
        SText::Of(query), static_cast<u32>(count), [&](u32 i) { return SText::Of(texts[i]); }, needed,
        [&](u32 index, float weight) { taken.emplace_back(index, weight); }));
    return taken;
}

// Every entry of the first `count` that is wanted, by rising index.
template <typename Wants>
Taken Model(const std::string &query, const std::vector<std::string> &texts, size_t count, const Wants &wants)
{
    Taken taken;
    for (size_t i = 0; i < count; ++i)
        if (wants(texts[i]))
            taken.emplace_back(static_cast<u32>(i), FuzzyModelWeight(query, texts[i]));
    return taken;
}

Taken Model(const std::string &query, const std::vector<std::string> &texts, size_t count)
{
    return Model(query, texts, count, [](const std::string &) { return true; });
}

// Texts of all lengths that matter, half of them close to the query, in changing order.
std::vector<std::string> MixedTexts(CFuzzyTexts &source, const std::string &query, size_t count)
{
    const std::vector<size_t> lengths = FuzzyLengths();
    std::vector<std::string> texts;
    for (size_t i = 0; i < count; ++i)
    {
        // 7 has no factor in common with the number of lengths, and is none of the numbers of lanes.
        const size_t length = lengths[(i * 7) % lengths.size()];
        texts.push_back(i % 2 == 0 ? source.Random(kLetters, length) : source.Misspelt(query, kLetters, length));
    }
    return texts;
}

TEST(FuzzyQuery, EveryPairOfShortTextsWeighsAsTheRecurrenceSays)
{
    const std::vector<std::string> texts = EveryText("ab", kVerySlow ? 4 : 5);
    const std::vector<CString> strings = StringsOf(texts);
    for (const bool wide : {false, true})
    {
        const CWideChoice choice(wide);
        for (size_t i = 0; i < texts.size(); ++i)
            ASSERT_EQ(Weighed(strings[i], strings, strings.size()), Model(texts[i], texts, texts.size()))
                << texts[i] << ", wide " << wide;
    }
}

TEST(FuzzyQuery, EveryCountOfTextsWeighsAsTheRecurrenceSays)
{
    CFuzzyTexts source(17);
    for (const size_t queryLength : {0u, 1u, 7u, 8u, 12u, 16u, 17u, 24u, 32u, 33u, 64u, 65u, 130u})
        for (const bool wide : {false, true})
        {
            const CWideChoice choice(wide);
            const std::string query = source.Random(kLetters, queryLength);
            std::vector<std::string> texts = MixedTexts(source, query, 50);
            for (const size_t length : {16u, 17u, 32u, 33u, 255u, 256u, 0u, 1u})
                texts.push_back(source.Misspelt(query, kLetters, length));
            while (texts.size() < 70)
                texts.push_back(source.Misspelt(query, kLetters, source.Below(40)));
            texts[3].clear();
            std::vector<CString> strings = StringsOf(texts);
            strings[3] = CString();
            // Two batches of sixteen and one text more.
            for (size_t count = 0; count <= texts.size(); count += kSlow && count > 33 ? 6 : 1)
                ASSERT_EQ(Weighed(Fixed(query), strings, count), Model(query, texts, count))
                    << queryLength << " against " << count << ", wide " << wide;
        }
}

// More than are weighed at a time.
TEST(FuzzyQuery, LongListsAreWeighedInOrder)
{
    CFuzzyTexts source(18);
    std::vector<std::string> texts;
    for (size_t i = 0; i < 1000; ++i)
        texts.push_back(source.Random("abcd", source.Below(45)));
    const std::vector<CString> strings = StringsOf(texts);
    for (const size_t queryLength : {0u, 5u, 12u, 20u, 40u, 70u})
    {
        const std::string query = source.Random("abcd", queryLength);
        const Taken expected = Model(query, texts, texts.size());
        for (const bool wide : {false, true})
        {
            const CWideChoice choice(wide);
            EXPECT_EQ(Weighed(Fixed(query), strings, strings.size()), expected) << queryLength << ", wide " << wide;
        }
    }
}

TEST(FuzzyQuery, WhatIsNotWantedIsLeftOut)
{
    CFuzzyTexts source(20);
    for (const size_t queryLength : {0u, 9u, 20u, 50u, 70u})
    {
        const std::string query = source.Random(kLetters, queryLength);
        const std::vector<std::string> texts = MixedTexts(source, query, 300);
        const std::vector<CString> strings = StringsOf(texts);
        const Taken expected =
            Model(query, texts, texts.size(), [](const std::string &text) { return text.size() % 2 == 0; });
        ASSERT_FALSE(expected.empty());
        EXPECT_EQ(WeighedWanted(Fixed(query), strings, strings.size(),
                                [](u32 length) { return length % 2 == 0 ? 0u : kUnwanted; }),
                  expected)
            << queryLength;
        EXPECT_TRUE(WeighedWanted(Fixed(query), strings, strings.size(), [](u32) { return kUnwanted; }).empty());
    }
}

// How many characters of a text occur in the query.
u32 LettersIn(const std::string &query, const std::string &text)
{
    u32 count = 0;
    for (const char character : text)
        count += query.find(character) != std::string::npos ? 1 : 0;
    return count;
}

TEST(FuzzyQuery, TextsWithFewerLettersOfTheQueryThanTheyNeedAreLeftOut)
{
    CFuzzyTexts source(24);
    for (const std::string &alphabet : {kLetters, std::string("\x00\x0F\x10\x2F\x7F\x80\x8F\xAF\xF0\xFF", 10)})
        for (const size_t queryLength : {1u, 20u, 64u})
        {
            // Nothing but some of the letters, or every text would have as many as it has characters.
            const std::string query = source.Random(alphabet.substr(0, alphabet.size() / 2), queryLength);
            std::vector<std::string> texts;
            for (size_t i = 0; i < 100; ++i)
                texts.push_back(source.Random(alphabet, source.Below(i % 9 == 0 ? 300 : 50)));
            const std::vector<CString> strings = StringsOf(texts);
            for (const u32 need : {1u, 8u, 17u, 40u})
            {
                const Taken expected = Model(query, texts, texts.size(),
                                             [&](const std::string &text) { return LettersIn(query, text) >= need; });
                for (const bool wide : {false, true})
                {
                    const CWideChoice choice(wide);
                    ASSERT_EQ(WeighedWanted(Fixed(query), strings, strings.size(), [&](u32) { return need; }), expected)
                        << queryLength << ", " << need << ", wide " << wide;
                }
            }
        }
}

// Queries whose characters differ in their upper halves, in their lower halves, and in both.
TEST(FuzzyQuery, EveryByteIsFoundWhereverTheQueryHoldsIt)
{
    std::vector<std::string> texts;
    for (int byte = 0; byte < 256; ++byte)
        texts.push_back(std::string(1, static_cast<char>(byte)));
    const std::vector<CString> strings = StringsOf(texts);
    for (const unsigned factor : {1u, 16u, 17u, 7u})
        for (const unsigned length : {1u, 8u, 9u, 16u, 25u, 32u})
        {
            std::string query;
            for (unsigned i = 0; i < length; ++i)
                query += static_cast<char>((i * factor + i / 16) & 0xFF);
            const Taken expected = Model(query, texts, texts.size());
            for (const bool wide : {false, true})
            {
                const CWideChoice choice(wide);
                ASSERT_EQ(Weighed(Fixed(query), strings, strings.size()), expected) << factor << ", wide " << wide;
            }
        }
}

// Batches hold 256 texts, or 128 that are wanted.
TEST(FuzzyQuery, ARefusalInAnEarlierBatchIsAnsweredThoughLaterOnesAreGranted)
{
    CTestAllocator allocator;
    const std::string query(5, 'a');
    std::vector<CString> texts(600, Fixed("aaaaaa"));
    texts[3] = Fixed(std::string(300, 'a'));
    texts[400] = Fixed(std::string(300, 'a'));
    const CString asked = Fixed(query);
    const auto textAt = [&](u32 i) { return SText::Of(texts[i]); };
    for (const bool wanted : {false, true})
        for (const u32 refused : {1u, 0u})
        {
            std::vector<float> weights(texts.size(), -1.0f);
            const auto take = [&](u32 index, float weight) { weights[index] = weight; };
            const auto needed = [](u32) { return 0u; };
            allocator.RefuseNth(refused);
            const bool granted = wanted ? WeighWanted(SText::Of(asked), 600, textAt, needed, take)
                                        : WeighAll(SText::Of(asked), 600, textAt, take);
            allocator.RefuseNth(0);
            EXPECT_EQ(granted, refused == 0) << wanted;
            const float ofLong = FuzzyModelWeight(query, std::string(300, 'a'));
            EXPECT_EQ(weights[3], refused == 0 ? ofLong : 0.0f) << wanted;
            EXPECT_EQ(weights[400], ofLong) << wanted;
            EXPECT_EQ(weights[599], FuzzyModelWeight(query, "aaaaaa")) << wanted;
        }
}

TEST(FuzzyQuery, RefusedMemoryIsAnsweredAndWeighsZero)
{
    for (const size_t queryLength : {5u, 40u, 70u})
    {
        CTestAllocator allocator;
        const CString query = Fixed(std::string(queryLength, 'a'));
        const std::vector<CString> texts = {Fixed("aaaaa"), Fixed(std::string(300, 'a')), Fixed("aaaaaa")};
        std::vector<float> weights(texts.size(), -1.0f);
        allocator.RefuseFromNth(1);
        EXPECT_FALSE(WeighAll(
            SText::Of(query), 3, [&](u32 i) { return SText::Of(texts[i]); },
            [&](u32 index, float weight) { weights[index] = weight; }));
        allocator.RefuseFromNth(0);
        for (const size_t i : {0u, 2u})
            EXPECT_EQ(weights[i], FuzzyModelWeight(TextOf(query), TextOf(texts[i]))) << queryLength;
        EXPECT_EQ(weights[1], 0.0f) << queryLength;
    }
}

} // namespace
