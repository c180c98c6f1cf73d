// Edits of containers' characters: each helper in each form against the byte-wise model, with all the memory around.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "buffer_forms.h"
#include "buffer_model.h"
#include "guarded_page.h"
#include "kr_buffer.h"

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

template <typename Form>
class BufferEdit : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!Form::IsAvailable())
            GTEST_SKIP() << "this machine has no wide instructions";
    }
};

TYPED_TEST_SUITE(BufferEdit, CHelperForms, SFormNames);

// Past four of the widest blocks.
constexpr u32 kMaxEditLength = 130;

u32 EditLengthOf(const std::string &text)
{
    return static_cast<u32>(text.size());
}

std::string ReversedModel(std::string text)
{
    std::reverse(text.begin(), text.end());
    return text;
}

// Runs `edit(data, length)` on the text, with `behind` standing behind it up to the end of its block, and expects
// `expected` in its place and everything else as it was.
template <typename Edit>
void ExpectEdited(const std::string &text, char behind, size_t offset, const std::string &expected, const Edit &edit)
{
    CCanaryText actual(text, behind, offset);
    edit(actual.Data(), EditLengthOf(text));
    ASSERT_EQ(actual.Everything(), CCanaryText(expected, behind, offset).Everything()) << text.size();
}

// The same for every length, for the zero tail and another one, and for characters that are not aligned.
template <typename Edit, typename Model>
void ExpectEditedAtEveryLength(const Edit &edit, const Model &model)
{
    for (size_t length = 0; length <= kMaxEditLength; ++length)
    {
        const std::string text = MixedText(length, length);
        for (const char behind : {'\0', 'a', 'A', '\xE1'})
        {
            for (const size_t offset : {0u, 1u, 8u})
                ASSERT_NO_FATAL_FAILURE(ExpectEdited(text, behind, offset, model(text), edit));
        }
    }
}

// The same with protected pages around exactly the blocks that hold the characters and the terminator.
template <typename Edit, typename Model>
void ExpectEditedBetweenProtectedPages(const Edit &edit, const Model &model)
{
    const CGuardedPage page;
    for (size_t length = 0; length <= kMaxEditLength; ++length)
    {
        const std::string text = MixedText(length, length);
        const size_t bytes = BlockBytes(length + 1);
        for (char *const data : {page.Last(bytes), page.Begin()})
        {
            page.Fill();
            std::memset(data, 0, bytes);
            std::memcpy(data, text.data(), length);
            edit(data, EditLengthOf(text));
            const std::string expected = model(text) + std::string(bytes - length, '\0');
            ASSERT_EQ(std::string(data, bytes), expected) << length;
            // And not a byte on the other side.
            const size_t rest = page.Bytes() - bytes;
            ASSERT_EQ(std::string(data == page.Begin() ? data + bytes : page.Begin(), rest), std::string(rest, '\xCD'));
        }
    }
}

// Casing in place, as a function that is not overloaded.

template <typename Form>
void InPlaceUppercase(char *data, u32 length)
{
    Form::Uppercase(data, length);
}

template <typename Form>
void InPlaceLowercase(char *data, u32 length)
{
    Form::Lowercase(data, length);
}

// All 256 characters, from `first` on.
std::string AllCharacters(u32 first)
{
    std::string text;
    for (u32 i = 0; i < 256; ++i)
        text += static_cast<char>((first + i) & 0xFF);
    return text;
}

// The pairs that a replacement is tried with: ordinary ones, terminators, high bytes, a character and itself.
const char kReplacements[][2] = {{'a', 'b'}, {'Z', '\xFF'}, {'\xE1', 'x'}, {'\x80', '\0'}, {'\0', '_'}, {'m', 'm'}};

} // namespace

// Casing.

TYPED_TEST(BufferEdit, Uppercase16AndLowercase16TurnLettersAndNothingElse)
{
    const std::string text = "The Quick-Brown FOX @[`{ 0123 \xC1\xE1\xDA\xFA end";
    const std::string upper = "THE QUICK-BROWN FOX @[`{ 0123 \xC1\xE1\xDA\xFA END";
    const std::string lower = "the quick-brown fox @[`{ 0123 \xC1\xE1\xDA\xFA end";
    ExpectEdited(text, '\0', 0, upper, InPlaceUppercase<TypeParam>);
    ExpectEdited(text, '\0', 0, lower, InPlaceLowercase<TypeParam>);
}

TYPED_TEST(BufferEdit, CasingGoesOnBehindEmbeddedTerminators)
{
    ExpectEdited(std::string("a\0b\0C", 5), '\0', 0, std::string("A\0B\0C", 5), InPlaceUppercase<TypeParam>);
    ExpectEdited(std::string("A\0b\0C", 5), '\0', 0, std::string("a\0b\0c", 5), InPlaceLowercase<TypeParam>);
}

TYPED_TEST(BufferEdit, CasingOfEveryCharacterInEveryPlace)
{
    alignas(16) char data[272];
    for (u32 first = 0; first < 16; ++first)
    {
        const std::string text = AllCharacters(first);
        std::memset(data, 0, sizeof(data));
        std::memcpy(data, text.data(), 256);
        TypeParam::Uppercase(data, 256);
        EXPECT_EQ(std::string(data, 256), ModelUppercase(text));
        std::memcpy(data, text.data(), 256);
        TypeParam::Lowercase(data, 256);
        EXPECT_EQ(std::string(data, 256), ModelLowercase(text));
    }
}

TYPED_TEST(BufferEdit, CasingAtEveryLengthLeavesWhatStandsAround)
{
    ExpectEditedAtEveryLength(InPlaceUppercase<TypeParam>,
                              [](const std::string &text) { return ModelUppercase(text); });
    ExpectEditedAtEveryLength(InPlaceLowercase<TypeParam>,
                              [](const std::string &text) { return ModelLowercase(text); });
}

TYPED_TEST(BufferEdit, CasingStaysBetweenProtectedPages)
{
    ExpectEditedBetweenProtectedPages(InPlaceUppercase<TypeParam>,
                                      [](const std::string &text) { return ModelUppercase(text); });
    ExpectEditedBetweenProtectedPages(InPlaceLowercase<TypeParam>,
                                      [](const std::string &text) { return ModelLowercase(text); });
}

// Casing while copying.

namespace
{

// Copies into garbage, with `behind` standing behind the source, and expects zeros behind the copy.
template <typename Copy>
void ExpectCasedCopy(const std::string &text, char behind, const std::string &expected, const Copy &copy)
{
    CCanaryText source(text, behind);
    const std::string sourceBefore = source.Everything();
    CCanaryText target(std::string(text.size(), '\xCD'), '\xCD');
    copy(target.Data(), source.Data(), EditLengthOf(text));
    ASSERT_EQ(target.Everything(), CCanaryText(expected).Everything()) << text.size();
    ASSERT_EQ(source.Everything(), sourceBefore);
}

} // namespace

TYPED_TEST(BufferEdit, CasingIntoCopyAtEveryLengthZeroesTheTailAlone)
{
    const auto upper = [](char *dst, const char *src, u32 length) { TypeParam::Uppercase(dst, src, length); };
    const auto lower = [](char *dst, const char *src, u32 length) { TypeParam::Lowercase(dst, src, length); };
    for (size_t length = 0; length <= kMaxEditLength; ++length)
    {
        const std::string text = MixedText(length, length);
        for (const char behind : {'\0', 'a', 'A', '\xE1'})
        {
            ASSERT_NO_FATAL_FAILURE(ExpectCasedCopy(text, behind, ModelUppercase(text), upper));
            ASSERT_NO_FATAL_FAILURE(ExpectCasedCopy(text, behind, ModelLowercase(text), lower));
        }
    }
}

TYPED_TEST(BufferEdit, CasingIntoCopyStaysBetweenProtectedPages)
{
    const CGuardedPage sourcePage;
    const CGuardedPage targetPage;
    for (size_t length = 0; length <= kMaxEditLength; ++length)
    {
        const std::string text = MixedText(length);
        const size_t bytes = BlockBytes(length + 1);
        for (const bool atEnd : {true, false})
        {
            char *const source = atEnd ? sourcePage.Last(bytes) : sourcePage.Begin();
            char *const target = atEnd ? targetPage.Last(bytes) : targetPage.Begin();
            std::memset(source, 0, bytes);
            std::memcpy(source, text.data(), length);
            targetPage.Fill();
            TypeParam::Uppercase(target, source, EditLengthOf(text));
            ASSERT_EQ(std::string(target, bytes), ModelUppercase(text) + std::string(bytes - length, '\0'));
        }
    }
}

// Reversal.

TYPED_TEST(BufferEdit, Reverse16TurnsTheTextAround)
{
    ExpectEdited("abc", '\0', 0, "cba", TypeParam::Reverse);
    ExpectEdited("0123456789abcdef", '\0', 0, "fedcba9876543210", TypeParam::Reverse);
    ExpectEdited("0123456789abcdefg", '\0', 0, "gfedcba9876543210", TypeParam::Reverse);
    ExpectEdited(std::string("\0ab", 3), '\0', 0, std::string("ba\0", 3), TypeParam::Reverse);
}

TYPED_TEST(BufferEdit, ReverseOfDistinctCharactersAtEveryLength)
{
    for (size_t length = 0; length <= kMaxEditLength; ++length)
    {
        const std::string text = AllCharacters(0xE0).substr(0, length);
        ASSERT_NO_FATAL_FAILURE(ExpectEdited(text, '\0', 0, ReversedModel(text), TypeParam::Reverse));
    }
}

TYPED_TEST(BufferEdit, ReverseAtEveryLengthLeavesWhatStandsAround)
{
    ExpectEditedAtEveryLength(TypeParam::Reverse, ReversedModel);
}

TYPED_TEST(BufferEdit, ReverseStaysBetweenProtectedPages)
{
    ExpectEditedBetweenProtectedPages(TypeParam::Reverse, ReversedModel);
}

// Replacement in place.

TYPED_TEST(BufferEdit, Replace16InPlaceTellsHowMany)
{
    CCanaryText text("banana, and one more banana");
    EXPECT_EQ(TypeParam::Replace(text.Data(), 27, 'a', 'o'), 7u);
    EXPECT_STREQ(text.Data(), "bonono, ond one more bonono");
    EXPECT_EQ(TypeParam::Replace(text.Data(), 27, 'a', 'o'), 0u);
    EXPECT_STREQ(text.Data(), "bonono, ond one more bonono");
}

TYPED_TEST(BufferEdit, ReplaceInPlaceOfACharacterByItselfCountsIt)
{
    CCanaryText text("banana");
    EXPECT_EQ(TypeParam::Replace(text.Data(), 6, 'a', 'a'), 3u);
    EXPECT_STREQ(text.Data(), "banana");
}

TYPED_TEST(BufferEdit, ReplaceInPlaceOfTerminatorsLeavesTheTail)
{
    CCanaryText text(std::string("a\0b\0\0c", 6));
    EXPECT_EQ(TypeParam::Replace(text.Data(), 6, '\0', '.'), 3u);
    EXPECT_EQ(text.Everything(), CCanaryText("a.b..c").Everything());
}

TYPED_TEST(BufferEdit, ReplaceInPlaceFindsOneHitInEveryPlace)
{
    for (u32 length = 1; length <= kMaxEditLength; ++length)
    {
        for (u32 place = 0; place < length; ++place)
        {
            std::string text(length, 'x');
            text[place] = '\x81';
            // What stands behind is what is looked for.
            CCanaryText actual(text, '\x81');
            ASSERT_EQ(TypeParam::Replace(actual.Data(), length, '\x81', 'y'), 1u) << length << ", " << place;
            text[place] = 'y';
            ASSERT_EQ(actual.Everything(), CCanaryText(text, '\x81').Everything()) << length << ", " << place;
        }
    }
}

TYPED_TEST(BufferEdit, ReplaceInPlaceDoesNotSeeWhatStandsBehind)
{
    for (u32 length = 0; length <= kMaxEditLength; ++length)
    {
        const std::string text(length, 'x');
        CCanaryText actual(text, 'a');
        ASSERT_EQ(TypeParam::Replace(actual.Data(), length, 'a', 'b'), 0u) << length;
        ASSERT_EQ(actual.Everything(), CCanaryText(text, 'a').Everything()) << length;
    }
}

TYPED_TEST(BufferEdit, ReplaceInPlaceAtEveryLengthLeavesWhatStandsAround)
{
    for (const auto &pair : kReplacements)
    {
        const char from = pair[0];
        const char to = pair[1];
        const auto edit = [=](char *data, u32 length)
        {
            size_t count = 0;
            ModelReplace(std::string(data, length), from, to, &count);
            EXPECT_EQ(TypeParam::Replace(data, length, from, to), count) << length;
        };
        const auto model = [=](const std::string &text)
        {
            size_t count = 0;
            return ModelReplace(text, from, to, &count);
        };
        ExpectEditedAtEveryLength(edit, model);
        ExpectEditedBetweenProtectedPages(edit, model);
    }
}

TYPED_TEST(BufferEdit, ReplaceCountsMoreHitsThanAByteHolds)
{
    constexpr u32 kLength = 70001;
    struct SLong
    {
        alignas(16) char m_Characters[kLength + 15];
    };
    const auto text = std::make_unique<SLong>();
    std::memset(text->m_Characters, 'a', kLength);
    EXPECT_EQ(TypeParam::Replace(text->m_Characters, kLength, 'a', 'b'), kLength);
    EXPECT_EQ(std::string(text->m_Characters, kLength + 15), std::string(kLength, 'b') + std::string(15, '\0'));
}

// Replacement while copying.

namespace
{

// Copies the text into garbage, with `behind` standing behind the source: the characters that are replaced counted, and
// not counted.
template <typename Form>
void ExpectCopied(const std::string &text, char behind, char from, char to)
{
    size_t count = 0;
    const std::string expected = ModelReplace(text, from, to, &count);
    CCanaryText source(text, behind);
    const std::string sourceBefore = source.Everything();
    // The garbage of fresh memory, in the copy's own blocks.
    CCanaryText target(std::string(text.size(), '\xCD'), '\xCD');
    ASSERT_EQ(Form::Replace(target.Data(), source.Data(), EditLengthOf(text), from, to), count) << text.size();
    ASSERT_EQ(target.Everything(), CCanaryText(expected).Everything()) << text.size();
    CCanaryText uncounted(std::string(text.size(), '\xCD'), '\xCD');
    Form::ReplaceUncounted(uncounted.Data(), source.Data(), EditLengthOf(text), from, to);
    ASSERT_EQ(uncounted.Everything(), CCanaryText(expected).Everything()) << text.size();
    ASSERT_EQ(source.Everything(), sourceBefore);
}

} // namespace

TYPED_TEST(BufferEdit, ReplaceIntoCopyLeavesTheSource)
{
    CCanaryText source("banana, and one more banana");
    CCanaryText target("...........................");
    EXPECT_EQ(TypeParam::Replace(target.Data(), source.Data(), 27, 'a', 'o'), 7u);
    EXPECT_STREQ(target.Data(), "bonono, ond one more bonono");
    EXPECT_STREQ(source.Data(), "banana, and one more banana");
}

TYPED_TEST(BufferEdit, ReplaceIntoCopyAtEveryLengthZeroesTheTailAlone)
{
    for (const auto &pair : kReplacements)
    {
        for (size_t length = 0; length <= kMaxEditLength; ++length)
        {
            for (const char behind : {'\0', pair[0], 'x'})
                ASSERT_NO_FATAL_FAILURE(ExpectCopied<TypeParam>(MixedText(length, length), behind, pair[0], pair[1]));
        }
    }
}

TYPED_TEST(BufferEdit, ReplaceIntoCopyFindsOneHitInEveryPlace)
{
    for (size_t length = 1; length <= kMaxEditLength; ++length)
    {
        for (size_t place = 0; place < length; ++place)
        {
            std::string text(length, 'x');
            text[place] = '\x81';
            ASSERT_NO_FATAL_FAILURE(ExpectCopied<TypeParam>(text, '\x81', '\x81', 'y')) << place;
        }
    }
}

TYPED_TEST(BufferEdit, ReplaceIntoCopyWritesTheTerminatorsOwnBlock)
{
    CCanaryText source("0123456789abcdef");
    CCanaryText target(std::string(16, '\xCD'), '\xCD');
    EXPECT_EQ(TypeParam::Replace(target.Data(), source.Data(), 16, '5', '_'), 1u);
    EXPECT_EQ(target.Everything(), CCanaryText("01234_6789abcdef").Everything());
}

TYPED_TEST(BufferEdit, ReplaceIntoItselfWorksInPlace)
{
    for (size_t length = 0; length <= kMaxEditLength; ++length)
    {
        const std::string text = MixedText(length);
        size_t count = 0;
        const std::string expected = ModelReplace(text, 'M', '\xFF', &count);
        CCanaryText actual(text);
        ASSERT_EQ(TypeParam::Replace(actual.Data(), actual.Data(), EditLengthOf(text), 'M', '\xFF'), count);
        ASSERT_EQ(actual.Everything(), CCanaryText(expected).Everything()) << length;
    }
}

TYPED_TEST(BufferEdit, ReplaceIntoCopyStaysBetweenProtectedPages)
{
    const CGuardedPage sourcePage;
    const CGuardedPage targetPage;
    for (size_t length = 0; length <= kMaxEditLength; ++length)
    {
        const std::string text = MixedText(length);
        const size_t bytes = BlockBytes(length + 1);
        size_t count = 0;
        const std::string expected = ModelReplace(text, 'a', 'b', &count) + std::string(bytes - length, '\0');
        for (const bool atEnd : {true, false})
        {
            char *const source = atEnd ? sourcePage.Last(bytes) : sourcePage.Begin();
            char *const target = atEnd ? targetPage.Last(bytes) : targetPage.Begin();
            std::memset(source, 0, bytes);
            std::memcpy(source, text.data(), length);
            targetPage.Fill();
            ASSERT_EQ(TypeParam::Replace(target, source, EditLengthOf(text), 'a', 'b'), count);
            ASSERT_EQ(std::string(target, bytes), expected);
        }
    }
}

// Long texts, which wide forms walk from a boundary of theirs on.

namespace
{

// Memory for a long text, at a boundary of 32 bytes or 16 bytes behind one, between bytes that nobody may write.
class CLongText
{
public:
    CLongText(const std::string &text, size_t offset) : m_Offset(offset)
    {
        std::memset(m_Bytes, '\xA5', sizeof(m_Bytes));
        std::memset(Data(), 0, BlockBytes(text.size() + 1));
        std::memcpy(Data(), text.data(), text.size());
    }

    char *Data() { return m_Bytes + 32 + m_Offset; }
    std::string Everything() const { return std::string(m_Bytes, sizeof(m_Bytes)); }

private:
    alignas(32) char m_Bytes[1536];
    size_t m_Offset;
};

template <typename Edit>
void ExpectLongEdited(const std::string &text, size_t offset, const std::string &expected, const Edit &edit)
{
    CLongText actual(text, offset);
    edit(actual.Data());
    ASSERT_EQ(actual.Everything(), CLongText(expected, offset).Everything()) << text.size();
}

} // namespace

TYPED_TEST(BufferEdit, LongTextsFromEitherBoundary)
{
    for (u32 length = 1000; length <= 1200; ++length)
    {
        const std::string text = MixedText(length, length);
        size_t count = 0;
        const std::string replaced = ModelReplace(text, 'M', '\xFF', &count);
        for (const size_t offset : {0u, 16u})
        {
            ASSERT_NO_FATAL_FAILURE(ExpectLongEdited(text, offset, ModelUppercase(text),
                                                     [&](char *data) { TypeParam::Uppercase(data, length); }));
            ASSERT_NO_FATAL_FAILURE(ExpectLongEdited(text, offset, ModelLowercase(text),
                                                     [&](char *data) { TypeParam::Lowercase(data, length); }));
            ASSERT_NO_FATAL_FAILURE(ExpectLongEdited(text, offset, ReversedModel(text),
                                                     [&](char *data) { TypeParam::Reverse(data, length); }));
            ASSERT_NO_FATAL_FAILURE(
                ExpectLongEdited(text, offset, replaced,
                                 [&](char *data) { EXPECT_EQ(TypeParam::Replace(data, length, 'M', '\xFF'), count); }));
            for (const size_t sourceOffset : {0u, 16u})
            {
                CLongText source(text, sourceOffset);
                const std::string garbage(length, '\xCD');
                ASSERT_NO_FATAL_FAILURE(ExpectLongEdited(garbage, offset, ModelUppercase(text),
                                                         [&](char *data)
                                                         { TypeParam::Uppercase(data, source.Data(), length); }));
                ASSERT_NO_FATAL_FAILURE(ExpectLongEdited(garbage, offset, ModelLowercase(text),
                                                         [&](char *data)
                                                         { TypeParam::Lowercase(data, source.Data(), length); }));
                ASSERT_NO_FATAL_FAILURE(ExpectLongEdited(
                    garbage, offset, replaced,
                    [&](char *data)
                    { EXPECT_EQ(TypeParam::Replace(data, source.Data(), length, 'M', '\xFF'), count); }));
            }
        }
    }
}

// Nothing.

TYPED_TEST(BufferEdit, NothingIsDoneForLengthZero)
{
    TypeParam::Reverse(nullptr, 0);
    TypeParam::Uppercase(nullptr, 0);
    TypeParam::Lowercase(nullptr, 0);
    TypeParam::Uppercase(nullptr, nullptr, 0);
    TypeParam::Lowercase(nullptr, nullptr, 0);
    EXPECT_EQ(TypeParam::Replace(nullptr, 0, 'a', 'b'), 0u);
    EXPECT_EQ(TypeParam::Replace(nullptr, nullptr, 0, 'a', 'b'), 0u);

    const CGuardedPage page;
    TypeParam::Reverse(page.End(), 0);
    TypeParam::Uppercase(page.End(), 0);
    TypeParam::Lowercase(page.End(), 0);
    EXPECT_EQ(TypeParam::Replace(page.End(), 0, '\0', 'b'), 0u);
}

TYPED_TEST(BufferEdit, ReplaceIntoCopyOfNothingIsATerminator)
{
    const CGuardedPage page;
    CCanaryText target("", '\xCD');
    EXPECT_EQ(TypeParam::Replace(target.Data(), page.End(), 0, '\0', 'b'), 0u);
    EXPECT_EQ(target.Everything(), CCanaryText("").Everything());
}
