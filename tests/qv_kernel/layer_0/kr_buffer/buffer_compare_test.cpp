// Comparison of containers' characters: each helper in each form against the byte-wise model; then of counted text.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "buffer_forms.h"
#include "buffer_model.h"
#include "every_locale.h"
#include "guarded_page.h"
#include "guarded_text.h"
#include "kr_buffer.h"
#include "wide_choice.h"

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

template <typename Form>
class BufferCompare : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!Form::IsAvailable())
            GTEST_SKIP() << "this machine has no wide instructions";
    }
};

TYPED_TEST_SUITE(BufferCompare, CHelperForms, SFormNames);

// Past four of the widest blocks.
constexpr u32 kMaxLength = 130;

u32 LengthOf(const std::string &text)
{
    return static_cast<u32>(text.size());
}

// The helpers that order on two texts of the same size, against the model.
template <typename Form>
void ExpectOrderAsModel(const char *a, const char *b, const std::string &textA, const std::string &textB)
{
    const u32 length = LengthOf(textA);
    const int order = ModelCompare(textA, textB);
    const int orderCase = ModelCompare(ModelLowercase(textA), ModelLowercase(textB));
    ASSERT_EQ(SignOf(Form::Compare(a, b, length)), order);
    ASSERT_EQ(SignOf(Form::CompareCase(a, b, length)), orderCase);
    // The forms agree in more than the sign.
    ASSERT_EQ(Form::Compare(a, b, length), TFormOf<SBlockPortable>::Compare(a, b, length));
    ASSERT_EQ(Form::CompareCase(a, b, length), TFormOf<SBlockPortable>::CompareCase(a, b, length));
}

// All four.
template <typename Form>
void ExpectAsModel(const char *a, const char *b, const std::string &textA, const std::string &textB)
{
    const u32 length = LengthOf(textA);
    ASSERT_EQ(Form::Equal(a, b, length), textA == textB);
    ASSERT_EQ(Form::EqualCase(a, b, length), ModelLowercase(textA) == ModelLowercase(textB));
    ASSERT_NO_FATAL_FAILURE(ExpectOrderAsModel<Form>(a, b, textA, textB));
}

template <typename Form>
void ExpectAsModel(const std::string &textA, const std::string &textB)
{
    CCanaryText a(textA);
    CCanaryText b(textB);
    ExpectAsModel<Form>(a.Data(), b.Data(), textA, textB);
}

} // namespace

TYPED_TEST(BufferCompare, Equal16IsTrueForTheSameBytesOnlyAndEqualCase16WithoutCase)
{
    CCanaryText a("same text, and more than one block of it");
    CCanaryText b("same text, and more than one block of it");
    CCanaryText c("same text, and more than one Block of it");
    EXPECT_TRUE(TypeParam::Equal(a.Data(), b.Data(), 40));
    EXPECT_FALSE(TypeParam::Equal(a.Data(), c.Data(), 40));
    EXPECT_TRUE(TypeParam::Equal(a.Data(), c.Data(), 29));
    EXPECT_TRUE(TypeParam::EqualCase(a.Data(), c.Data(), 40));
}

TYPED_TEST(BufferCompare, CaseIsThatOfAsciiLettersAlone)
{
    CCanaryText a("@[`{ \xC1\xE1 \xC4\xE4");
    CCanaryText b("`{@[ \xE1\xC1 \xE4\xC4");
    for (u32 i = 0; i < 10; ++i)
    {
        CCanaryText one(std::string(1, a.Data()[i]));
        CCanaryText other(std::string(1, b.Data()[i]));
        EXPECT_EQ(TypeParam::EqualCase(one.Data(), other.Data(), 1), one.Data()[0] == ' ') << i;
    }
    CCanaryText lower("the quick brown fox jumps over the lazy dog");
    CCanaryText upper("THE QUICK BROWN FOX JUMPS OVER THE LAZY DOG");
    EXPECT_TRUE(TypeParam::EqualCase(lower.Data(), upper.Data(), 43));
    EXPECT_EQ(TypeParam::CompareCase(lower.Data(), upper.Data(), 44), 0);
}

TYPED_TEST(BufferCompare, TheTerminatorOrdersAPrefixFirst)
{
    CCanaryText shorter("ab");
    CCanaryText longer("abc");
    EXPECT_LT(TypeParam::Compare(shorter.Data(), longer.Data(), 3), 0);
    EXPECT_GT(TypeParam::Compare(longer.Data(), shorter.Data(), 4), 0);
    EXPECT_LT(TypeParam::CompareCase(shorter.Data(), longer.Data(), 3), 0);
    EXPECT_GT(TypeParam::CompareCase(longer.Data(), shorter.Data(), 4), 0);
}

TYPED_TEST(BufferCompare, BytesAreUnsigned)
{
    CCanaryText ascii("\x7F");
    CCanaryText high("\x80");
    EXPECT_LT(TypeParam::Compare(ascii.Data(), high.Data(), 1), 0);
    EXPECT_GT(TypeParam::Compare(high.Data(), ascii.Data(), 1), 0);
    EXPECT_LT(TypeParam::CompareCase(ascii.Data(), high.Data(), 1), 0);
    EXPECT_GT(TypeParam::CompareCase(high.Data(), ascii.Data(), 1), 0);
}

TYPED_TEST(BufferCompare, CompareCase16IsDecidedByTheLowerCaseForms)
{
    // '_' stands between the two cases.
    CCanaryText upper("Z");
    CCanaryText underscore("_");
    EXPECT_LT(TypeParam::Compare(upper.Data(), underscore.Data(), 1), 0);
    EXPECT_GT(TypeParam::CompareCase(upper.Data(), underscore.Data(), 1), 0);
}

TYPED_TEST(BufferCompare, Compare16IsDecidedByTheFirstDifference)
{
    CCanaryText a("aaaaaaaaaaaaaaaaaaaa1bbbbbbbbbbbbbbbbbbb9");
    CCanaryText b("aaaaaaaaaaaaaaaaaaaa2bbbbbbbbbbbbbbbbbbb0");
    EXPECT_LT(TypeParam::Compare(a.Data(), b.Data(), 41), 0);
    EXPECT_GT(TypeParam::Compare(b.Data(), a.Data(), 41), 0);
    EXPECT_EQ(TypeParam::Compare(a.Data(), b.Data(), 20), 0);
}

TYPED_TEST(BufferCompare, EmbeddedTerminatorsAreCharacters)
{
    CCanaryText a(std::string("ab\0cd", 5));
    CCanaryText b(std::string("ab\0ce", 5));
    EXPECT_FALSE(TypeParam::Equal(a.Data(), b.Data(), 5));
    EXPECT_TRUE(TypeParam::Equal(a.Data(), b.Data(), 4));
    EXPECT_LT(TypeParam::Compare(a.Data(), b.Data(), 6), 0);
    EXPECT_FALSE(TypeParam::EqualCase(a.Data(), b.Data(), 5));
    EXPECT_LT(TypeParam::CompareCase(a.Data(), b.Data(), 6), 0);
}

TYPED_TEST(BufferCompare, NothingIsEqualToNothing)
{
    EXPECT_TRUE(TypeParam::Equal(nullptr, nullptr, 0));
    EXPECT_TRUE(TypeParam::EqualCase(nullptr, nullptr, 0));
    EXPECT_EQ(TypeParam::Compare(nullptr, nullptr, 0), 0);
    EXPECT_EQ(TypeParam::CompareCase(nullptr, nullptr, 0), 0);
}

TYPED_TEST(BufferCompare, NothingIsReadForLengthZero)
{
    const CGuardedPage page;
    EXPECT_TRUE(TypeParam::Equal(page.End(), page.Begin() - 16, 0));
    EXPECT_TRUE(TypeParam::EqualCase(page.End(), page.Begin() - 16, 0));
    EXPECT_EQ(TypeParam::Compare(page.End(), page.Begin() - 16, 0), 0);
    EXPECT_EQ(TypeParam::CompareCase(page.End(), page.Begin() - 16, 0), 0);
}

TYPED_TEST(BufferCompare, EveryPairOfBytesIsAsTheModelSays)
{
    // In a block of its own, and in the last place of a whole one.
    for (u32 i = 0; i < 256; ++i)
    {
        for (u32 j = 0; j < 256; ++j)
        {
            const std::string a(1, static_cast<char>(i));
            const std::string b(1, static_cast<char>(j));
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>(a, b)) << i << ", " << j;
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>("aaaaaaaaaaaaaaa" + a, "AAAAAAAAAAAAAAA" + b));
        }
    }
}

TYPED_TEST(BufferCompare, EqualTextsOfEveryLengthWhateverStandsBehind)
{
    for (u32 length = 0; length <= kMaxLength; ++length)
    {
        const std::string text = MixedText(length);
        CCanaryText a(text, '<');
        CCanaryText b(text, '>');
        ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>(a.Data(), b.Data(), text, text)) << length;
    }
}

TYPED_TEST(BufferCompare, OneDifferenceInEveryPlaceOfEveryLength)
{
    // The lowest bit, the one between the cases, and the highest.
    for (const int bit : {0x01, 0x20, 0x80})
    {
        for (u32 length = 1; length <= kMaxLength; ++length)
        {
            for (u32 place = 0; place < length; ++place)
            {
                const std::string a = MixedText(length, place);
                std::string b = a;
                b[place] = static_cast<char>(b[place] ^ bit);
                ASSERT_FALSE(a == b);
                ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>(a, b)) << length << ", " << place << ", " << bit;
            }
        }
    }
}

TYPED_TEST(BufferCompare, TextsThatDifferInCaseEverywhere)
{
    for (u32 length = 0; length <= kMaxLength; ++length)
    {
        const std::string text = MixedText(length, 3);
        ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>(ModelUppercase(text), ModelLowercase(text))) << length;
    }
}

TYPED_TEST(BufferCompare, DifferencesAfterTheLengthAreNotSeen)
{
    // In the same block and in the next.
    for (u32 length = 0; length <= kMaxLength; ++length)
    {
        const std::string same = MixedText(length);
        CCanaryText a(same + "x" + MixedText(20, 1));
        CCanaryText b(same + "y" + MixedText(20, 2));
        ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>(a.Data(), b.Data(), same, same)) << length;
    }
}

TYPED_TEST(BufferCompare, ReadsNoBlockThatHoldsNoByteToCompare)
{
    const CGuardedPage pageA;
    const CGuardedPage pageB;
    for (u32 length = 1; length <= kMaxLength; ++length)
    {
        const std::string text = MixedText(length);
        const size_t bytes = BlockBytes(length);
        for (const bool atEnd : {true, false})
        {
            char *const a = atEnd ? pageA.Last(bytes) : pageA.Begin();
            char *const b = atEnd ? pageB.Last(bytes) : pageB.Begin();
            std::memcpy(a, text.data(), length);
            std::memcpy(b, text.data(), length);
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>(a, b, text, text)) << length;
        }
    }
}

TYPED_TEST(BufferCompare, OrderingReadsNothingBehindTheBlockOfTheFirstDifference)
{
    const CGuardedPage shortPage;
    const CGuardedPage longPage;
    for (u32 length = 1; length <= kMaxLength; ++length)
    {
        for (u32 place = 0; place < length; ++place)
        {
            // One text ends with the block in which the two differ; the other goes on.
            const std::string longText = MixedText(length);
            std::string shortText = longText;
            shortText[place] = static_cast<char>(shortText[place] ^ 0x05);
            const size_t bytes = BlockBytes(place + 1);
            char *const shortData = shortPage.Last(bytes);
            char *const longData = longPage.Last(BlockBytes(length));
            std::memcpy(shortData, shortText.data(), std::min<size_t>(bytes, length));
            std::memcpy(longData, longText.data(), length);
            ASSERT_NO_FATAL_FAILURE(ExpectOrderAsModel<TypeParam>(shortData, longData, shortText, longText));
            ASSERT_NO_FATAL_FAILURE(ExpectOrderAsModel<TypeParam>(longData, shortData, longText, shortText));
        }
    }
}

TYPED_TEST(BufferCompare, ToleratesMisalignedCharacters)
{
    for (const size_t offset : {1u, 8u, 15u})
    {
        for (u32 length = 0; length <= kMaxLength; ++length)
        {
            const std::string text = MixedText(length);
            CCanaryText a(text, '<', offset);
            CCanaryText b(text, '>', 0);
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel<TypeParam>(a.Data(), b.Data(), text, text)) << length;
        }
    }
}

// Counted text.

TEST(BufferEqualCase, CaseIsThatOfTheAsciiLettersInEveryLocale)
{
    InEveryLocale(
        [](const char *locale)
        {
            SCOPED_TRACE(locale);
            for (int a = 0; a < 256; ++a)
            {
                for (int b = 0; b < 256; ++b)
                {
                    const char first = static_cast<char>(a);
                    const char second = static_cast<char>(b);
                    ASSERT_EQ(SNativeStringUtils::EqualCase(&first, &second, 1),
                              ModelLowerLetter(first) == ModelLowerLetter(second))
                        << a << " and " << b;
                }
            }
        });
}

TEST(BufferEqualCase, ComparesCountedTexts)
{
    EXPECT_TRUE(SNativeStringUtils::EqualCase("aBcx", "AbCy", 3));
    EXPECT_FALSE(SNativeStringUtils::EqualCase("aBcx", "AbCy", 4));
    EXPECT_FALSE(SNativeStringUtils::EqualCase("aBd", "AbC", 3));
    EXPECT_TRUE(SNativeStringUtils::EqualCase("a", "b", 0));
    EXPECT_TRUE(SNativeStringUtils::EqualCase(nullptr, nullptr, 0));
}

TEST(BufferEqualCase, GoesBeyondTerminators)
{
    EXPECT_TRUE(SNativeStringUtils::EqualCase("a\0B", "A\0b", 3));
    EXPECT_FALSE(SNativeStringUtils::EqualCase("a\0B", "A\0c", 3));
}

TEST(BufferEqualCase, SeesADifferenceInEveryPlaceAndNothingBehindTheEnd)
{
    for (size_t length = 1; length <= 50; ++length)
    {
        const std::string text(length, 'q');
        const std::string otherCase(length, 'Q');
        const CGuardedText a(text.data(), length);
        const CGuardedText b(otherCase.data(), length);
        const u32 count = static_cast<u32>(length);
        ASSERT_TRUE(SNativeStringUtils::EqualCase(a.Get(), b.Get(), count));
        for (size_t place = 0; place < length; ++place)
        {
            b.Get()[place] = 'r';
            ASSERT_FALSE(SNativeStringUtils::EqualCase(a.Get(), b.Get(), count));
            ASSERT_TRUE(SNativeStringUtils::EqualCase(a.Get(), b.Get(), static_cast<u32>(place)));
            b.Get()[place] = 'Q';
        }
    }
}

TEST(BufferCompareCase, OrdersCountedTextsByTheLowerCaseFormsOfTheirBytes)
{
    EXPECT_EQ(SNativeStringUtils::CompareCase("aBcx", "AbCy", 3), 0);
    EXPECT_LT(SNativeStringUtils::CompareCase("aBcx", "AbCy", 4), 0);
    EXPECT_GT(SNativeStringUtils::CompareCase("Z", "_", 1), 0);
    EXPECT_LT(SNativeStringUtils::CompareCase("\x7F", "\x80", 1), 0);
    EXPECT_LT(SNativeStringUtils::CompareCase("a\0B", "A\0c", 3), 0);
    EXPECT_EQ(SNativeStringUtils::CompareCase("a", "b", 0), 0);
    EXPECT_EQ(SNativeStringUtils::CompareCase(nullptr, nullptr, 0), 0);
}

TEST(BufferCompareCase, IsDecidedByTheFirstDifferenceInEveryPlaceWithNothingBehindTheEnd)
{
    for (const bool wide : {false, true})
    {
        const CWideChoice choice(wide);
        for (size_t length = 1; length <= 150; ++length)
        {
            const std::string text = MixedText(static_cast<u32>(length));
            const std::string otherCase = ModelUppercase(text);
            const CGuardedText a(text.data(), length);
            const CGuardedText b(otherCase.data(), length);
            const u32 count = static_cast<u32>(length);
            ASSERT_EQ(SNativeStringUtils::CompareCase(a.Get(), b.Get(), count), 0) << length;
            for (size_t place = 0; place < length; ++place)
            {
                b.Get()[place] = static_cast<char>(otherCase[place] ^ 0x85);
                const int expected = ModelCompare(ModelLowercase(std::string(a.Get(), length)),
                                                  ModelLowercase(std::string(b.Get(), length)));
                ASSERT_EQ(SignOf(SNativeStringUtils::CompareCase(a.Get(), b.Get(), count)), expected);
                ASSERT_EQ(SignOf(SNativeStringUtils::CompareCase(b.Get(), a.Get(), count)), -expected);
                ASSERT_EQ(SNativeStringUtils::CompareCase(a.Get(), b.Get(), static_cast<u32>(place)), 0);
                b.Get()[place] = otherCase[place];
            }
        }
    }
}
