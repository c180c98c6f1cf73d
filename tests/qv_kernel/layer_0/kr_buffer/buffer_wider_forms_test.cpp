// The kernels of the wider forms that no other typed test covers, and the library with and without the wide one: the
// same answers.
#include "kr_buffer/buffer_kernels.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "buffer_forms.h"
#include "buffer_model.h"
#include "every_text.h"
#include "guarded_page.h"
#include "kr_string.h"
#include "random_numbers.h"

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

// Past four of the widest blocks.
constexpr u32 kMaxLength = 290;
// How much longer the next text is where every length would take too long: a step that meets all remainders of a block.
const u32 kLengthStep = kVerySlow ? 7 : 1;

const u8 *Bytes(const char *text)
{
    return reinterpret_cast<const u8 *>(text);
}

u32 LengthOf(const std::string &text)
{
    return static_cast<u32>(text.size());
}

// The kernels of each wider form.
template <typename Form>
class BufferWiderForms : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!Form::IsAvailable())
            GTEST_SKIP() << "this machine has no such instructions";
    }
};

TYPED_TEST_SUITE(BufferWiderForms, CWiderForms, SFormNames);

// The library with and without the wide form.
class BufferWide : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!Internal::Simd::HasWideInstructions())
            GTEST_SKIP() << "this machine has no wide instructions";
    }
    void TearDown() override { Internal::Simd::AllowWideInstructions(true); }
};

// What `ask` answers without and with wide instructions must be the same; gives that answer.
template <typename Ask>
auto AnswerOfBoth(const Ask &ask)
{
    Internal::Simd::AllowWideInstructions(false);
    const auto narrow = ask();
    Internal::Simd::AllowWideInstructions(true);
    const auto wide = ask();
    EXPECT_EQ(narrow, wide);
    return wide;
}

std::string TextOf(const CString &string)
{
    return std::string(string.Data(), string.Length());
}

} // namespace

TYPED_TEST(BufferWiderForms, FirstDifferenceIsFoundInEveryPlaceAtTheEndOfMemory)
{
    using CKernels = typename TypeParam::CKernels;
    const CGuardedPage pageA;
    const CGuardedPage pageB;
    // All lengths up to some, and then some up to past two rounds of eight blocks.
    for (u32 length = 0; length <= 1200; length += length < kMaxLength ? 1 : 37)
    {
        const std::string text = MixedText(length);
        char *const a = pageA.Last(length);
        char *const b = pageB.Last(length);
        std::memcpy(a, text.data(), length);
        std::memcpy(b, ModelUppercase(text).data(), length);
        ASSERT_EQ(CKernels::FirstDifferenceCase(a, b, length), length);
        for (u32 place = 0; place < length; ++place)
        {
            const char kept = b[place];
            b[place] = static_cast<char>(kept ^ 0x80);
            ASSERT_EQ(CKernels::FirstDifferenceCase(a, b, length), place) << length;
            b[place] = kept;
        }
    }
}

TYPED_TEST(BufferWiderForms, FirstDifferenceOfEveryPairOfBytes)
{
    using CKernels = typename TypeParam::CKernels;
    for (u32 i = 0; i < 256; ++i)
    {
        std::string a(64, static_cast<char>(i));
        for (u32 j = 0; j < 256; ++j)
        {
            std::string b(64, static_cast<char>(i));
            b[45] = static_cast<char>(j);
            const bool same = ModelLowerLetter(a[45]) == ModelLowerLetter(b[45]);
            ASSERT_EQ(CKernels::FirstDifferenceCase(a.data(), b.data(), 64), same ? 64u : 45u);
        }
    }
}

TYPED_TEST(BufferWiderForms, EqualSeesADifferenceInEveryPlaceAtTheEndOfMemory)
{
    using CKernels = typename TypeParam::CKernels;
    const CGuardedPage pageA;
    const CGuardedPage pageB;
    // Past two rounds of eight blocks, from the least that is taken.
    for (u32 length = CKernels::kBlockBytes; length <= 1200; length += kLengthStep)
    {
        const std::string text = MixedText(length);
        char *const a = pageA.Last(length);
        char *const b = pageB.Last(length);
        std::memcpy(a, text.data(), length);
        std::memcpy(b, text.data(), length);
        ASSERT_TRUE(CKernels::EqualInCounted(a, b, length)) << length;
        for (u32 place = 0; place < length; ++place)
        {
            b[place] = static_cast<char>(b[place] ^ 0x80);
            ASSERT_FALSE(CKernels::EqualInCounted(a, b, length)) << length << ", " << place;
            b[place] = static_cast<char>(b[place] ^ 0x80);
        }
    }
}

TYPED_TEST(BufferWiderForms, TheLastByteIsFoundInEveryPlaceAtBothEndsOfMemory)
{
    using CKernels = typename TypeParam::CKernels;
    const CGuardedPage page;
    for (u32 length = CKernels::kFewestBytesToSearch; length <= 600; ++length)
    {
        for (char *const text : {page.Begin(), page.Begin() + 1, page.Last(length)})
        {
            // None stands around it.
            page.Fill();
            std::memset(text, 'a', length);
            ASSERT_EQ(CKernels::LastOfByte(text, length, 'b'), Internal::Buffer::kNoIndex);
            for (u32 place = 0; place < length; ++place)
            {
                // All that come before are found no more.
                text[place] = 'b';
                ASSERT_EQ(CKernels::LastOfByte(text, length, 'b'), place) << length;
            }
        }
    }
}

TYPED_TEST(BufferWiderForms, EditsAreTheSameAtEveryAlignmentOfAContainer)
{
    using CKernels = typename TypeParam::CKernels;
    alignas(64) char memory[512];
    for (u32 offset = 0; offset < 64; offset += 16)
    {
        char *const text = memory + offset;
        for (u32 length = 48; length <= 400; ++length)
        {
            const std::string before = MixedText(length);
            const auto edited = [&](const auto &edit)
            {
                std::memcpy(text, before.data(), length);
                text[length] = '|';
                edit();
                EXPECT_EQ(text[length], '|') << length;
                return std::string(text, length);
            };
            ASSERT_EQ(edited([&] { CKernels::Uppercase(text, length); }), ModelUppercase(before)) << length;
            ASSERT_EQ(edited([&] { CKernels::Lowercase(text, length); }), ModelLowercase(before)) << length;
            size_t count = 0;
            const std::string replaced = ModelReplace(before, 'Z', '.', &count);
            ASSERT_EQ(edited([&] { EXPECT_EQ(CKernels::Replace(text, length, 'Z', '.'), count); }), replaced);
            ASSERT_EQ(edited([&] { CKernels::Reverse(text, length); }), std::string(before.rbegin(), before.rend()));
        }
    }
}

TYPED_TEST(BufferWiderForms, LettersAreFoundInEveryPlaceAtTheEndOfMemory)
{
    using CKernels = typename TypeParam::CKernels;
    const CGuardedPage page;
    const char notLetters[] = {'@', '[', '`', '{', '\0', '\x7F', '\xC1', '\xE1'};
    for (u32 length = 0; length <= kMaxLength; ++length)
    {
        char *const text = page.Last(length);
        for (u32 i = 0; i < length; ++i)
            text[i] = notLetters[i % sizeof(notLetters)];
        ASSERT_FALSE(CKernels::AnyBetweenAscii(text, length, 'a', 'z')) << length;
        ASSERT_FALSE(CKernels::AnyBetweenAscii(text, length, 'A', 'Z')) << length;
        for (u32 place = 0; place < length; ++place)
        {
            const char kept = text[place];
            text[place] = place % 2 == 0 ? 'a' : 'z';
            ASSERT_TRUE(CKernels::AnyBetweenAscii(text, length, 'a', 'z')) << length << ", " << place;
            ASSERT_FALSE(CKernels::AnyBetweenAscii(text, length, 'A', 'Z')) << length << ", " << place;
            text[place] = kept;
        }
    }
}

TYPED_TEST(BufferWiderForms, ReplaceCountsMoreHitsThanAByteHolds)
{
    using CKernels = typename TypeParam::CKernels;
    std::vector<char> text(70032, 'a');
    EXPECT_EQ(CKernels::Replace(text.data(), 70001, 'a', 'b'), 70001u);
    EXPECT_EQ(std::string(text.data(), text.size()), std::string(70001, 'b') + std::string(31, 'a'));
}

TYPED_TEST(BufferWiderForms, NeedlesAreFoundInEveryPlaceAtTheEndOfMemory)
{
    using CKernels = typename TypeParam::CKernels;
    const CGuardedPage page;
    for (const std::string needle : {"ab", "aXb", "needle", "a needle that is longer than one wide block is"})
    {
        for (u32 length = LengthOf(needle); length <= kMaxLength; length += kLengthStep)
        {
            char *const text = page.Last(length);
            // Full of beginnings, and of first characters at the right distance of last ones.
            for (u32 i = 0; i < length; ++i)
                text[i] = needle[i % (needle.size() - 1)];
            const Internal::Buffer::SNeedle wanted = {Bytes(needle.data()), LengthOf(needle), 0, LengthOf(needle) - 1,
                                                      LengthOf(needle) / 2};
            for (u32 place = 0; place + needle.size() <= length; ++place)
            {
                const std::string kept(text + place, needle.size());
                std::memcpy(text + place, needle.data(), needle.size());
                const u32 first = static_cast<u32>(std::string(text, length).find(needle));
                for (const auto &find :
                     {&CKernels::FindNeedle, &CKernels::FindNeedleCase, &CKernels::FindNeedleTerminated})
                {
                    const Internal::Buffer::SNeedleFound found = find(text, length, wanted);
                    ASSERT_EQ(found.m_Outcome, Internal::Buffer::NeedleFound_Here) << length << ", " << place;
                    ASSERT_EQ(found.m_Place, first) << length << ", " << place;
                }
                std::memcpy(text + place, kept.data(), kept.size());
            }
        }
    }
}

TYPED_TEST(BufferWiderForms, PairsAreFoundInTextsPastTheRareCharacters)
{
    // Long enough for the fours in which the first character is rare, for those in which it is not, and for the blocks
    // behind; a needle in every place around a block's ends, at every alignment of one.
    using CKernels = typename TypeParam::CKernels;
    constexpr u32 kBytes = CKernels::kBlockBytes;
    const std::string needle = "needle";
    const Internal::Buffer::SNeedle wanted = {Bytes(needle.data()), LengthOf(needle), 0, LengthOf(needle) - 1,
                                              LengthOf(needle) / 2};
    for (const char filler : {'x', 'n'})
    {
        for (u32 offset = 0; offset < kBytes; ++offset)
        {
            std::vector<char> memory(offset + 40 * kBytes, filler);
            char *const text = memory.data() + offset;
            const u32 length = static_cast<u32>(memory.size()) - offset;
            ASSERT_EQ(CKernels::FindNeedle(text, length, wanted).m_Outcome, Internal::Buffer::NeedleFound_Nowhere);
            for (u32 place = length - LengthOf(needle); place > length - 9 * kBytes; place -= 5)
            {
                std::vector<char> copy(text, text + length);
                std::memcpy(copy.data() + place, needle.data(), needle.size());
                const Internal::Buffer::SNeedleFound found = CKernels::FindNeedle(copy.data(), length, wanted);
                ASSERT_EQ(found.m_Outcome, Internal::Buffer::NeedleFound_Here) << offset << ", " << place;
                ASSERT_EQ(found.m_Place, place) << offset;
            }
        }
    }
}

TYPED_TEST(BufferWiderForms, LastNeedlesAreFoundInEveryPlaceAtBothEndsOfMemory)
{
    using CKernels = typename TypeParam::CKernels;
    const CGuardedPage page;
    for (const std::string needle : {"ab", "aXb", "needle", "a needle that is longer than one wide block is"})
    {
        const Internal::Buffer::SNeedle wanted = {Bytes(needle.data()), LengthOf(needle), 0, LengthOf(needle) - 1,
                                                  LengthOf(needle) / 2};
        for (u32 length = LengthOf(needle); length <= kMaxLength; length += kLengthStep)
        {
            for (char *const text : {page.Begin(), page.Last(length)})
            {
                // Full of endings, and of last characters at the right distance of first ones.
                for (u32 i = 0; i < length; ++i)
                    text[i] = needle[1 + i % (needle.size() - 1)];
                for (u32 place = 0; place + needle.size() <= length; ++place)
                {
                    const std::string kept(text + place, needle.size());
                    std::memcpy(text + place, needle.data(), needle.size());
                    const u32 last = static_cast<u32>(std::string(text, length).rfind(needle));
                    for (const auto &find : {&CKernels::FindLastNeedle, &CKernels::FindLastNeedleCase})
                    {
                        const Internal::Buffer::SNeedleFound found = find(text, length, wanted);
                        ASSERT_EQ(found.m_Outcome, Internal::Buffer::NeedleFound_Here) << length << ", " << place;
                        ASSERT_EQ(found.m_Place, last) << length << ", " << place;
                    }
                    std::memcpy(text + place, kept.data(), kept.size());
                }
            }
        }
    }
}

TYPED_TEST(BufferWiderForms, LastPairsAreFoundInTextsPastTheRareCharacters)
{
    // As forwards, with the needle in the first blocks, which are looked at last; then the same needle once more behind it.
    using CKernels = typename TypeParam::CKernels;
    constexpr u32 kBytes = CKernels::kBlockBytes;
    const std::string needle = "needle";
    const Internal::Buffer::SNeedle wanted = {Bytes(needle.data()), LengthOf(needle), 0, LengthOf(needle) - 1,
                                              LengthOf(needle) / 2};
    for (const char filler : {'x', 'n', 'e'})
    {
        for (u32 offset = 0; offset < kBytes; ++offset)
        {
            std::vector<char> memory(offset + 40 * kBytes, filler);
            char *const text = memory.data() + offset;
            const u32 length = static_cast<u32>(memory.size()) - offset;
            ASSERT_EQ(CKernels::FindLastNeedle(text, length, wanted).m_Outcome, Internal::Buffer::NeedleFound_Nowhere);
            for (u32 place = 0; place < 9 * kBytes; place += 5)
            {
                std::vector<char> copy(memory);
                char *const marked = copy.data() + offset;
                for (const u32 at : {place, place + 7})
                {
                    std::memcpy(marked + at, needle.data(), needle.size());
                    const Internal::Buffer::SNeedleFound found = CKernels::FindLastNeedle(marked, length, wanted);
                    ASSERT_EQ(found.m_Outcome, Internal::Buffer::NeedleFound_Here) << offset << ", " << place;
                    ASSERT_EQ(found.m_Place, at) << offset;
                }
            }
        }
    }
}

TEST_F(BufferWide, NeedlesAreFoundInEveryPlaceAtTheEndOfMemory)
{
    const CGuardedPage page;
    for (const std::string needle : {"ab", "aXb", "needle", "a needle that is longer than one wide block is"})
    {
        for (u32 length = LengthOf(needle); length <= kMaxLength; length += kLengthStep)
        {
            char *const text = page.Last(length);
            // Full of beginnings, and of first characters at the right distance of last ones.
            for (u32 i = 0; i < length; ++i)
                text[i] = needle[i % (needle.size() - 1)];
            for (u32 place = 0; place + needle.size() <= length; ++place)
            {
                const std::string kept(text + place, needle.size());
                std::memcpy(text + place, needle.data(), needle.size());
                const std::string all(text, length);
                const char *const found = AnswerOfBoth(
                    [&] { return SNativeStringUtils::Find(text, length, needle.data(), LengthOf(needle)); });
                ASSERT_EQ(found, text + all.find(needle)) << length << ", " << place;
                std::memcpy(text + place, kept.data(), kept.size());
            }
        }
    }
}

TEST_F(BufferWide, SearchesAnswerTheSameForManyTexts)
{
    // Few characters, so that partial matches abound.
    u32 state = 1;
    const auto next = [&](u32 below)
    {
        state = NextRandomState(state);
        return (state >> 16) % below;
    };
    for (u32 round = 0; round < 4000; ++round)
    {
        std::string text(next(300), 'a');
        for (char &character : text)
            character = "abAB"[next(round % 2 == 0 ? 2 : 4)];
        const std::string needle =
            round % 3 == 0 ? text.substr(next(LengthOf(text) + 1), next(40)) : text.substr(0, next(4)) + 'b';
        const u32 length = LengthOf(text);
        const char *const found = AnswerOfBoth(
            [&] { return SNativeStringUtils::Find(text.data(), length, needle.data(), LengthOf(needle)); });
        const size_t place = text.find(needle);
        ASSERT_EQ(found, place != std::string::npos ? text.data() + place : nullptr) << text << ", " << needle;
        const char *const foundCase = AnswerOfBoth(
            [&] { return SNativeStringUtils::FindCase(text.data(), length, needle.data(), LengthOf(needle)); });
        const size_t placeCase = ModelLowercase(text).find(ModelLowercase(needle));
        ASSERT_EQ(foundCase, placeCase != std::string::npos ? text.data() + placeCase : nullptr)
            << text << ", " << needle;
    }
}

TEST_F(BufferWide, SearchesThatGiveUpAreFinishedByAnother)
{
    // Each place is a candidate that agrees for long: comparing them all would be the product of the lengths.
    const std::string text = std::string(100000, 'a') + 'b';
    const std::string needle = std::string(1000, 'a') + "ba";
    const std::string atEnd = 'a' + std::string(998, 'a') + "ab";
    const auto find = [&](const std::string &wanted)
    { return SNativeStringUtils::Find(text.data(), LengthOf(text), wanted.data(), LengthOf(wanted)); };
    const auto findCase = [&](const std::string &wanted)
    { return SNativeStringUtils::FindCase(text.data(), LengthOf(text), wanted.data(), LengthOf(wanted)); };
    EXPECT_EQ(AnswerOfBoth([&] { return find(needle); }), nullptr);
    EXPECT_EQ(AnswerOfBoth([&] { return findCase(needle); }), nullptr);
    const std::string inner = "a" + std::string(500, 'b') + "a";
    EXPECT_EQ(AnswerOfBoth([&] { return find(inner); }), nullptr);
    // One character off in the middle: first and last agree everywhere.
    std::string middle(1000, 'a');
    middle[500] = 'c';
    EXPECT_EQ(AnswerOfBoth([&] { return find(middle); }), nullptr);
    EXPECT_EQ(AnswerOfBoth([&] { return findCase(middle); }), nullptr);
    EXPECT_EQ(
        Wide::SKernels::FindNeedle(text.data(), LengthOf(text), {Bytes(middle.data()), 1000, 0, 999, 0}).m_Outcome,
        Internal::Buffer::NeedleFound_GaveUp);
    EXPECT_EQ(AnswerOfBoth([&] { return find(atEnd); }), text.data() + text.size() - atEnd.size());
    std::string behind = text + middle + text;
    const char *const found = AnswerOfBoth(
        [&] { return SNativeStringUtils::Find(behind.data(), LengthOf(behind), middle.data(), LengthOf(middle)); });
    EXPECT_EQ(found, behind.data() + text.size());
}

TEST_F(BufferWide, StringsAnswerTheSame)
{
    for (u32 length = 1; length <= 300; ++length)
    {
        std::string text = MixedText(length, 1);
        std::string other = text;
        other[length - 1] = static_cast<char>(other[length - 1] ^ 0x11);
        const CString a(CStringContainer::New(text.data(), length));
        const CString b(CStringContainer::New(other.data(), length));
        const CString upper(CStringContainer::New(ModelUppercase(text).data(), length));
        for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
        {
            EXPECT_FALSE(AnswerOfBoth([&] { return a.Compare(b, sensitivity); }));
            EXPECT_EQ(AnswerOfBoth([&] { return a.Compare(upper, sensitivity); }),
                      sensitivity == CaseInsensitive || text == ModelUppercase(text));
            const bool less = AnswerOfBoth([&] { return a.LessThan(b, sensitivity); });
            EXPECT_NE(less, AnswerOfBoth([&] { return b.LessThan(a, sensitivity); })) << length;
        }
        EXPECT_EQ(AnswerOfBoth([&] { return TextOf(a.Uppercase()); }), ModelUppercase(text));
        EXPECT_EQ(AnswerOfBoth([&] { return TextOf(a.Lowercase()); }), ModelLowercase(text));
        EXPECT_EQ(AnswerOfBoth([&] { return TextOf(a.Reversed()); }), std::string(text.rbegin(), text.rend()));
        size_t count = 0;
        EXPECT_EQ(AnswerOfBoth([&] { return TextOf(a.Replace('Z', '.')); }), ModelReplace(text, 'Z', '.', &count));
        EXPECT_EQ(AnswerOfBoth([&] { return a.AnalyzeCasing(); }),
                  AnswerOfBoth([&] { return CStringView(a).AnalyzeCasing(); }));
        EXPECT_EQ(AnswerOfBoth([&] { return a.IsUpper(); }), text == ModelUppercase(text));
        EXPECT_EQ(AnswerOfBoth([&] { return a.IsLower(); }), text == ModelLowercase(text));
    }
}
