// Search in counted text.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "edit_model.h"
#include "every_locale.h"
#include "every_text.h"
#include "guarded_page.h"
#include "guarded_text.h"
#include "hard_needles.h"
#include "kr_buffer.h"
#include "kr_buffer/buffer_find.h"
#include "kr_buffer/buffer_kernels.h"
#include "kr_buffer/buffer_needle.h"
#include "kr_simd/simd_machine.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

u32 LengthToFind(const std::string &text)
{
    return static_cast<u32>(text.size());
}

// Where the needle was found, or the model's word for nowhere.
size_t FoundFirst(const std::string &text, const char *found)
{
    return found != nullptr ? static_cast<size_t>(found - text.data()) : std::string::npos;
}

size_t Find(const std::string &text, const std::string &needle)
{
    return FoundFirst(text,
                      SNativeStringUtils::Find(text.data(), LengthToFind(text), needle.data(), LengthToFind(needle)));
}

size_t FindCase(const std::string &text, const std::string &needle)
{
    return FoundFirst(
        text, SNativeStringUtils::FindCase(text.data(), LengthToFind(text), needle.data(), LengthToFind(needle)));
}

constexpr size_t kNoPlace = std::string::npos;
constexpr size_t kLongestSearched = 4;

TEST(BufferFind, FindAnswersTheFirstOccurrence)
{
    EXPECT_EQ(Find("abcabc", "abc"), 0u);
    EXPECT_EQ(Find("abcabc", "bc"), 1u);
    EXPECT_EQ(Find("abcabc", "ca"), 2u);
    EXPECT_EQ(Find("abcabd", "abd"), 3u);
    EXPECT_EQ(Find("abc", "c"), 2u);
    EXPECT_EQ(Find("abc", "abc"), 0u);
    EXPECT_EQ(Find("abc", "d"), kNoPlace);
    EXPECT_EQ(Find("abc", "BC"), kNoPlace);
}

TEST(BufferFind, FindCaseAnswersTheFirstOccurrenceInAnyCase)
{
    EXPECT_EQ(FindCase("xaBcAbc", "ABC"), 1u);
    EXPECT_EQ(FindCase("xABcAbc", "abc"), 1u);
    EXPECT_EQ(FindCase("abc", "C"), 2u);
    EXPECT_EQ(FindCase("abc", "ABC"), 0u);
    EXPECT_EQ(FindCase("abc", "D"), kNoPlace);
}

TEST(BufferFind, AnEmptyNeedleIsFoundAtOnce)
{
    const char text[] = "abc";
    EXPECT_EQ(static_cast<const void *>(SNativeStringUtils::Find(text, 3, "", 0)), static_cast<const void *>(text));
    EXPECT_EQ(static_cast<const void *>(SNativeStringUtils::Find(text, 0, nullptr, 0)),
              static_cast<const void *>(text));
    EXPECT_EQ(static_cast<const void *>(SNativeStringUtils::FindCase(text, 3, "", 0)), static_cast<const void *>(text));
    EXPECT_EQ(static_cast<const void *>(SNativeStringUtils::FindCase(text, 0, nullptr, 0)),
              static_cast<const void *>(text));
}

TEST(BufferFind, NothingIsFoundInATextShorterThanTheNeedle)
{
    EXPECT_EQ(Find("ab", "abc"), kNoPlace);
    EXPECT_EQ(FindCase("ab", "abc"), kNoPlace);
    EXPECT_EQ(Find("", "a"), kNoPlace);
    EXPECT_EQ(FindCase("", "a"), kNoPlace);
    EXPECT_EQ(SNativeStringUtils::Find(nullptr, 0, "a", 1), nullptr);
    EXPECT_EQ(SNativeStringUtils::FindCase(nullptr, 0, "a", 1), nullptr);
    EXPECT_EQ(SNativeStringUtils::Find("abc", 3, "abc", 0xFFFFFFFFu), nullptr);
    EXPECT_EQ(SNativeStringUtils::FindCase("abc", 3, "abc", 0xFFFFFFFFu), nullptr);
}

TEST(BufferFind, WhatLiesBehindTheCountIsNeitherTextNorNeedle)
{
    EXPECT_EQ(SNativeStringUtils::Find("abc", 2, "bc", 2), nullptr);
    EXPECT_EQ(SNativeStringUtils::FindCase("abc", 2, "bc", 2), nullptr);
    const char text[] = "abc";
    EXPECT_EQ(static_cast<const void *>(SNativeStringUtils::Find(text, 3, "bx", 1)),
              static_cast<const void *>(text + 1));
    EXPECT_EQ(static_cast<const void *>(SNativeStringUtils::FindCase(text, 3, "Bx", 1)),
              static_cast<const void *>(text + 1));
}

TEST(BufferFind, TerminatorsAreCharactersLikeOthers)
{
    const std::string text("a\0b\0c", 5);
    for (const auto find : {&Find, &FindCase})
    {
        EXPECT_EQ(find(text, std::string("\0c", 2)), 3u);
        EXPECT_EQ(find(text, std::string("\0", 1)), 1u);
        EXPECT_EQ(find(text, "c"), 4u);
        EXPECT_EQ(find(text, std::string("\0x", 2)), kNoPlace);
    }
}

TEST(BufferFind, CaseIsThatOfTheAsciiLettersInEveryLocale)
{
    InEveryLocale(
        [](const char *locale)
        {
            SCOPED_TRACE(locale);
            for (int a = 0; a < 256; ++a)
            {
                for (int b = 0; b < 256; ++b)
                {
                    const std::string text = std::string("\x01\x02") + static_cast<char>(a);
                    const std::string needle(1, static_cast<char>(b));
                    const bool equal = ModelLowerLetter(static_cast<char>(a)) == ModelLowerLetter(static_cast<char>(b));
                    if (a <= 2 || b <= 2)
                        continue;
                    ASSERT_EQ(FindCase(text, needle), equal ? 2u : kNoPlace) << a << " and " << b;
                }
            }
        });
}

TEST(BufferFind, EveryCharacterIsFoundInALongTextWithoutRegardToCase)
{
    for (int character = 0; character < 256; ++character)
    {
        std::string text(200, character != '.' ? '.' : ',');
        text[150] = static_cast<char>(character);
        ASSERT_EQ(FindCase(text, std::string(1, static_cast<char>(character))), 150u) << character;
        ASSERT_EQ(FindCase(text, std::string(1, ModelLowerLetter(static_cast<char>(character)))), 150u) << character;
    }
}

TEST(BufferFind, ANeedleIsFoundInEveryPlaceAndOnlyWhole)
{
    for (const size_t needleLength : {1u, 2u, 3u, 15u, 16u, 17u, 31u})
    {
        const std::string needle(needleLength, 'n');
        const std::string otherCase(needleLength, 'N');
        for (size_t length = needleLength; length <= 70; ++length)
        {
            for (size_t place = 0; place + needleLength <= length; ++place)
            {
                std::string text(length, '.');
                text.replace(place, needleLength, needle);
                ASSERT_EQ(Find(text, needle), place);
                ASSERT_EQ(FindCase(text, otherCase), place);
                ASSERT_EQ(Find(text, needle + '!'), kNoPlace);
                // All but its last character.
                text[place + needleLength - 1] = '.';
                ASSERT_EQ(Find(text, needle), kNoPlace);
                ASSERT_EQ(FindCase(text, otherCase), kNoPlace);
            }
        }
    }
}

TEST(BufferFind, NeitherTextNorNeedleIsReadBehindItsEnd)
{
    for (size_t length = 0; length <= 66; ++length)
    {
        const std::string text = std::string(length, 'a');
        const CGuardedText guarded(text.data(), length);
        for (const size_t needleLength : {1u, 2u, 15u, 16u, 17u, 33u})
        {
            // A needle that begins as the text ends, and one that is there.
            const std::string missing = std::string(needleLength - 1, 'a') + 'b';
            const std::string there(needleLength, 'a');
            const CGuardedText guardedMissing(missing.data(), needleLength);
            const CGuardedText guardedThere(there.data(), needleLength);
            const u32 count = static_cast<u32>(length);
            const u32 needleCount = static_cast<u32>(needleLength);
            ASSERT_EQ(SNativeStringUtils::Find(guarded.Get(), count, guardedMissing.Get(), needleCount), nullptr);
            ASSERT_EQ(SNativeStringUtils::FindCase(guarded.Get(), count, guardedMissing.Get(), needleCount), nullptr);
            const bool fits = needleLength <= length;
            ASSERT_EQ(SNativeStringUtils::Find(guarded.Get(), count, guardedThere.Get(), needleCount),
                      fits ? guarded.Get() : nullptr);
            ASSERT_EQ(SNativeStringUtils::FindCase(guarded.Get(), count, guardedThere.Get(), needleCount),
                      fits ? guarded.Get() : nullptr);
        }
    }
}

TEST(BufferFind, ANeedleThatRecursInPartIsFound)
{
    EXPECT_EQ(Find("aabaabaaab", "aabaaab"), 3u);
    EXPECT_EQ(FindCase("aabaabaaab", "AABAAAB"), 3u);
    EXPECT_EQ(Find("aabaabaabaab", "aabaaab"), kNoPlace);
    EXPECT_EQ(FindCase("aabaabaabaab", "AABAAAB"), kNoPlace);
}

// In text times needle steps this would not come to an end.
TEST(BufferFind, TheCostIsLinearForANeedleThatRecursInPart)
{
    constexpr size_t kCount = 1000000;
    const std::string text(kCount, 'a');
    const std::string needle = std::string(kCount / 2, 'a') + 'b';
    EXPECT_EQ(Find(text, needle), kNoPlace);
    EXPECT_EQ(FindCase(text, needle), kNoPlace);
    EXPECT_EQ(Find(text + 'b', needle), kCount / 2);
    EXPECT_EQ(FindCase(text + 'B', needle), kCount / 2);
}

// The search by blocks gives up as long as what it has compared is linear.
TEST(BufferFind, SearchingGivesUpWithinItsCredit)
{
    namespace Kernels = Internal::Buffer::Narrow;
    using CSearch = Kernels::TNeedleSearch<Kernels::CBlock, Kernels::SExactBytes, Kernels::End_Counted>;
    u32 givenUp = 0;
    for (const SHardCase &hard : HardCases(40000))
    {
        // With some places walked over before the first try, which pay for more.
        const std::string text = std::string(1000, '-') + hard.m_Text;
        const u32 length = LengthToFind(text);
        const u32 needleLength = LengthToFind(hard.m_Needle);
        CSearch search(reinterpret_cast<const u8 *>(text.data()), length,
                       {reinterpret_cast<const u8 *>(hard.m_Needle.data()), needleLength, 0, needleLength - 1, 0});
        const Internal::Buffer::SNeedleFound found = search.Find();
        // What it had walked over paid for all but the last try.
        const bool gaveUp = found.m_Outcome == Internal::Buffer::NeedleFound_GaveUp;
        EXPECT_LE(search.Spent(), 4096u + 16u * (gaveUp ? found.m_Place : length) + 8u + needleLength);
        givenUp += gaveUp ? 1 : 0;
    }
    EXPECT_GT(givenUp, 0u);
}

TEST(BufferFind, EveryPeriodicNeedleIsFoundAsTheModelSays)
{
    const std::vector<std::string> needles = EveryText("ab", 7);
    for (const std::string &text : EveryText("ab", 10))
    {
        const std::string upper = ModelUppercase(text);
        for (const std::string &needle : needles)
        {
            const size_t expected = text.find(needle);
            if (Find(text, needle) != expected || FindCase(upper, needle) != expected)
            {
                FAIL() << ::testing::PrintToString(needle) << " in " << ::testing::PrintToString(text);
            }
        }
    }
}

TEST(BufferFind, EveryShortNeedleIsFoundInEveryShortTextAsTheModelSays)
{
    const std::vector<std::string> texts = EveryText("aAb\x80", kLongestSearched);
    std::vector<std::string> lowered;
    for (const std::string &text : texts)
        lowered.push_back(ModelLowercase(text));
    for (size_t i = 0; i < texts.size(); ++i)
    {
        for (size_t j = 0; j < texts.size(); ++j)
        {
            const bool right = Find(texts[i], texts[j]) == texts[i].find(texts[j]) &&
                               FindCase(texts[i], texts[j]) == lowered[i].find(lowered[j]);
            if (!right)
            {
                FAIL() << ::testing::PrintToString(texts[j]) << " in " << ::testing::PrintToString(texts[i]);
            }
        }
    }
}

TEST(BufferFind, FindLastAnswersTheLastOccurrenceInEveryPlace)
{
    for (u32 length = 0; length <= 80; ++length)
    {
        const std::string text(length, 'a');
        EXPECT_EQ(SNativeStringUtils::FindLast(text.data(), length, 'x'), nullptr);
        for (u32 place = 0; place < length; ++place)
        {
            std::string marked = "x" + text.substr(1);
            marked[place] = 'x';
            EXPECT_EQ(FoundFirst(marked, SNativeStringUtils::FindLast(marked.data(), length, 'x')), place);
        }
    }
}

TEST(BufferFind, FindLastFindsTerminatorsAndHighBytesAndNothingBehindTheEnd)
{
    const std::string text("a\0b\xFF"
                           "c\0",
                           6);
    EXPECT_EQ(FoundFirst(text, SNativeStringUtils::FindLast(text.data(), 6, '\0')), 5u);
    EXPECT_EQ(FoundFirst(text, SNativeStringUtils::FindLast(text.data(), 5, '\0')), 1u);
    EXPECT_EQ(FoundFirst(text, SNativeStringUtils::FindLast(text.data(), 6, '\xFF')), 3u);
    EXPECT_EQ(FoundFirst(text, SNativeStringUtils::FindLast(text.data(), 4, 'c')), kNoPlace);
    EXPECT_EQ(SNativeStringUtils::FindLast(nullptr, 0, 'a'), nullptr);
}

} // namespace

namespace
{

// As `strstr` has it.
size_t PlaceInTerminated(const char *text, const char *needle)
{
    const char *const found = std::strstr(text, needle);
    return found != nullptr ? static_cast<size_t>(found - text) : std::string::npos;
}

size_t FoundInTerminated(const char *text, size_t length, const char *needle)
{
    const char *const found = Internal::Buffer::FindInTerminated(text, static_cast<u32>(length), needle);
    return found != nullptr ? static_cast<size_t>(found - text) : std::string::npos;
}

} // namespace

TEST(BufferFind, ATerminatedTextIsSearchedUpToItsFirstTerminatorInEachForm)
{
    const CGuardedPage page;
    for (const u32 bytes : {16u, 32u, 64u})
    {
        Internal::Simd::AllowWidestInstructions(bytes == 64);
        if (bytes == 16)
            Internal::Simd::AllowWideInstructions(false);
        // A needle of rare characters, one of frequent ones, and single ones.
        for (const std::string needle : {"zebra", "text", "a longer needle that holds an X somewhere in it", "z", "e"})
        {
            for (const u32 length : {511u, 512u, 513u, 600u, 1000u})
            {
                char *const text = page.Last(length + 1);
                for (u32 i = 0; i < length; ++i)
                    text[i] = "some text to read "[i % 18];
                text[length] = '\0';
                for (u32 place = 0; place + needle.size() <= length; ++place)
                {
                    const std::string kept(text + place, needle.size());
                    std::memcpy(text + place, needle.data(), needle.size());
                    ASSERT_EQ(FoundInTerminated(text, length, needle.c_str()), PlaceInTerminated(text, needle.c_str()));
                    // An earlier end hides it, and one behind it does not.
                    for (const u32 end : {place / 2, place + static_cast<u32>(needle.size()) - 1,
                                          place + static_cast<u32>(needle.size())})
                    {
                        const char last = text[end];
                        text[end] = '\0';
                        ASSERT_EQ(FoundInTerminated(text, length, needle.c_str()),
                                  PlaceInTerminated(text, needle.c_str()))
                            << length << ", " << place << ", " << end;
                        text[end] = last;
                    }
                    std::memcpy(text + place, kept.data(), kept.size());
                }
            }
        }
    }
    Internal::Simd::AllowWideInstructions(true);
}

TEST(BufferFind, ATerminatedTextHoldsTheEmptyNeedleAndNoLongerOne)
{
    const std::string text(1000, 'a');
    EXPECT_EQ(FoundInTerminated(text.c_str(), text.size(), ""), 0u);
    EXPECT_EQ(FoundInTerminated(text.c_str(), text.size(), (text + 'a').c_str()), std::string::npos);
    EXPECT_EQ(FoundInTerminated(text.c_str(), text.size(), text.c_str()), 0u);
}

TEST(BufferFind, ATerminatedTextHoldsNoNeedleThatIsFarLonger)
{
    const CGuardedText text(std::string(1000, 'a'));
    const std::string needle(2000, 'a');
    EXPECT_EQ(FoundInTerminated(text.Get(), 1000, needle.c_str()), std::string::npos);
}

TEST(BufferFind, OfANeedleOfTwoCharactersATerminatedTextHoldsBoth)
{
    EXPECT_EQ(FoundInTerminated((std::string(999, 'a') + "b").c_str(), 1000, "ab"), 998u);
    EXPECT_EQ(FoundInTerminated(std::string(1000, 'a').c_str(), 1000, "ab"), std::string::npos);
}

namespace
{

// All searches in a text that ends with a terminator, of which that from behind and those in counted text do not know.
void ExpectOnlyAt(size_t place, const char *text, size_t length, const std::string &needle)
{
    const u32 count = static_cast<u32>(length);
    const u32 needleCount = LengthToFind(needle);
    const auto placeOf = [text](const char *found)
    { return found != nullptr ? static_cast<size_t>(found - text) : kNoPlace; };
    EXPECT_EQ(placeOf(SNativeStringUtils::Find(text, count, needle.data(), needleCount)), place);
    EXPECT_EQ(placeOf(SNativeStringUtils::FindCase(text, count, needle.data(), needleCount)), place);
    EXPECT_EQ(placeOf(Internal::Buffer::FindLastInCounted(text, count, needle.data(), needleCount)), place);
    EXPECT_EQ(placeOf(Internal::Buffer::FindLastInCountedCase(text, count, needle.data(), needleCount)), place);
    EXPECT_EQ(FoundInTerminated(text, length, needle.c_str()), place);
}

// Calls `check(text)` for a text of its own, and a terminator behind it, at both ends of memory.
template <typename Check>
void AtBothEndsOfMemory(const std::string &text, const Check &check)
{
    const CGuardedPage page(text.size() + 1);
    for (char *const begin : {page.Begin(), page.Last(text.size() + 1)})
    {
        std::memcpy(begin, text.c_str(), text.size() + 1);
        check(begin);
    }
}

} // namespace

// Fewer places than a block has, and the rarest character at the needle's front or far behind it.
TEST(BufferFind, ANeedleNearlyAsLongAsItsTextIsFoundInEveryPlace)
{
    constexpr size_t kLength = 520;
    for (size_t needleLength = kLength - 20; needleLength <= kLength; ++needleLength)
    {
        for (const size_t rarest : {size_t{0}, size_t{40}})
        {
            std::string needle(needleLength, 'a');
            needle[rarest] = 'Q';
            needle.back() = 'b';
            std::string absent = needle;
            absent[300] = 'c';
            for (size_t place = 0; place + needleLength <= kLength; ++place)
            {
                std::string text(kLength, 'a');
                text.replace(place, needleLength, needle);
                const auto check = [&](char *begin)
                {
                    ExpectOnlyAt(place, begin, kLength, needle);
                    ExpectOnlyAt(kNoPlace, begin, kLength, absent);
                    if (place == 0)
                        return;
                    begin[place - 1] = '\0';
                    EXPECT_EQ(FoundInTerminated(begin, kLength, needle.c_str()), kNoPlace);
                };
                AtBothEndsOfMemory(text, check);
            }
        }
    }
}

namespace
{

// Of two letters by turns but for one place, so that a text of these letters by turns nearly holds it at every other
// place, which is more than the search by blocks may try in vain.
constexpr size_t kTurns = 1200;

std::string NeedleOfTurns()
{
    std::string needle = Repeated("ab", 80);
    needle[61] = 'a';
    return needle;
}

void ExpectThatSearchesGiveUp(const std::string &text, const std::string &needle)
{
    namespace Kernels = Internal::Buffer::Narrow;
    const u32 length = LengthToFind(text);
    const u8 *const bytes = reinterpret_cast<const u8 *>(text.data());
    const Internal::Buffer::SNeedle wanted = Internal::Buffer::NeedleFor(length, needle.data(), LengthToFind(needle));
    EXPECT_EQ(Kernels::FindNeedle(bytes, length, wanted).m_Outcome, Internal::Buffer::NeedleFound_GaveUp);
    EXPECT_EQ(Kernels::FindNeedleCase(bytes, length, wanted).m_Outcome, Internal::Buffer::NeedleFound_GaveUp);
    EXPECT_EQ(Kernels::FindNeedleTerminated(bytes, length, wanted).m_Outcome, Internal::Buffer::NeedleFound_GaveUp);
    EXPECT_EQ(Kernels::FindLastNeedle(bytes, length, wanted).m_Outcome, Internal::Buffer::NeedleFound_GaveUp);
    EXPECT_EQ(Kernels::FindLastNeedleCase(bytes, length, wanted).m_Outcome, Internal::Buffer::NeedleFound_GaveUp);
}

} // namespace

TEST(BufferFind, WhereTheSearchGivesUpANeedleIsFoundInEveryPlace)
{
    const std::string needle = NeedleOfTurns();
    const std::string turns = Repeated("ab", kTurns);
    ExpectThatSearchesGiveUp(turns, needle);
    // The last place among them; at even ones it looks as the text does.
    for (size_t place = 0; place + needle.size() <= kTurns; place += 7)
    {
        std::string text = turns;
        text.replace(place, needle.size(), needle);
        AtBothEndsOfMemory(text, [&](char *begin) { ExpectOnlyAt(place, begin, kTurns, needle); });
    }
}

TEST(BufferFind, WhereTheSearchGivesUpNothingOutsideOfTheTextIsFound)
{
    const std::string needle = NeedleOfTurns();
    const std::string turns = Repeated("ab", kTurns);
    AtBothEndsOfMemory(turns, [&](char *begin) { ExpectOnlyAt(kNoPlace, begin, kTurns, needle); });
    // In front of the text and behind it there are needles.
    const std::string around = needle + needle + turns + '\0' + needle + needle;
    ExpectOnlyAt(kNoPlace, around.data() + 2 * needle.size(), kTurns, needle);
}

TEST(BufferFind, ATerminatedTextIsSearchedInLinearTimeForANeedleThatRecursInPart)
{
    // Multiplied, the lengths would be 10^10 comparisons.
    std::string text(1000000, 'a');
    std::string needle(10000, 'a');
    needle[5000] = 'b';
    EXPECT_EQ(FoundInTerminated(text.c_str(), text.size(), needle.c_str()), std::string::npos);
    text.replace(900000, needle.size(), needle);
    EXPECT_EQ(FoundInTerminated(text.c_str(), text.size(), needle.c_str()), 900000u);
    text[500000] = '\0';
    EXPECT_EQ(FoundInTerminated(text.c_str(), text.size(), needle.c_str()), std::string::npos);
}
