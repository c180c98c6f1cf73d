// Replacing a substring: what is found, what comes of it, and what is left of it when memory is refused.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "edge_allocators.h"
#include "edit_model.h"
#include "every_text.h"
#include "guarded_page.h"
#include "kr_string.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const std::string kReplacedLetters = "aAb\x80";
constexpr size_t kLongestReplaced = 4;

// Bytes of a fixed container of this length.
u64 ReplacedFixedBytes(u64 length)
{
    return (length + 16) / 16 * 16 + 32;
}

// What is found.

TEST(StringReplace, EveryOccurrenceIsReplaced)
{
    ExpectText(CString("abc").Replace("b", "xyz"), "axyzc");
    ExpectText(CString("one two one").Replace("one", "three"), "three two three");
    ExpectText(CString("one two one").Replace("one", "1"), "1 two 1");
    ExpectText(CString("one two one").Replace("one", "uno"), "uno two uno");
    ExpectText(CString("one two one").Replace(" ", ""), "onetwoone");
}

TEST(StringReplace, OccurrencesAreTakenLeftToRightWithoutOverlap)
{
    ExpectText(CString("aaa").Replace("aa", "b"), "ba");
    ExpectText(CString("aaa").Replace("aa", "bc"), "bca");
    ExpectText(CString("aaa").Replace("aa", "bcd"), "bcda");
    ExpectText(CString("aaaaa").Replace("aa", "x"), "xxa");
    ExpectText(CString("ababa").Replace("aba", "X"), "Xba");
}

TEST(StringReplace, InsertedTextIsNotSearchedAgain)
{
    ExpectText(CString("abc").Replace("b", "bbb"), "abbbc");
    ExpectText(CString("ab").Replace("a", "aa"), "aab");
    ExpectText(CString("aab").Replace("ab", "b"), "ab");
    ExpectText(CString("abab").Replace("ab", "ba"), "baba");
    // What the replacement forms with the text behind it is none, either.
    ExpectText(CString("xab").Replace("x", "ab"), "abab");
    ExpectText(CString("aabb").Replace("ab", ""), "ab");
}

TEST(StringReplace, CaseAndAllBytesAreToldApart)
{
    ExpectText(CString("aAa").Replace("A", "xy"), "axya");
    ExpectText(CString("\xE9\x69").Replace("\xE9", "\xC9\xC9"), "\xC9\xC9\x69");
    ExpectText(CString("aBc").Replace("ABC", "x"), "aBc");
}

TEST(StringReplace, TheWholeTextMayBeThePattern)
{
    ExpectText(CString("abc").Replace("abc", "x"), "x");
    ExpectText(CString("abc").Replace("abc", "xyz"), "xyz");
    ExpectText(CString("abc").Replace("abc", "wxyz"), "wxyz");
    ExpectText(CString("abcabc").Replace("abc", ""), "");
    EXPECT_EQ(CString("abc").Replace("abc", "").Data(), nullptr);
}

TEST(StringReplace, APatternLongerThanTheStringGivesACopy)
{
    for (const char *replacement : {"", "wxyz", "abcdefgh"})
        ExpectText(CString("abc").Replace("abcd", replacement), "abc");
}

TEST(StringReplace, APatternThatIsNotThereGivesACopyInANewContainer)
{
    const CString source = Resizable("abc");
    for (const char *replacement : {"", "y", "yz"})
    {
        const CString result = source.Replace("x", replacement);
        ExpectText(result, "abc");
        EXPECT_NE(ContainerOf(result), ContainerOf(source));
        EXPECT_FALSE(ContainerOf(result)->SupportsDynamicResize());
        EXPECT_EQ(ContainerOf(source)->RefCount(), 1u);
    }
}

TEST(StringReplace, AnEmptyOrNullPatternGivesAnotherHandleOfTheSameContainer)
{
    CTestAllocator allocator;
    const CString source("abc");
    const u64 requests = allocator.RequestCount();
    const char *null = nullptr;
    for (const CString &result :
         {source.Replace("", "x"), source.Replace(null, "x"), source.Replace(CStringView(), "x"),
          source.Replace(CStringView("abc", 0), CStringView("x", 1)), source.Replace(CString(), CString())})
        EXPECT_EQ(ContainerOf(result), ContainerOf(source));
    EXPECT_EQ(allocator.RequestCount(), requests);
}

TEST(StringReplace, ANullReplacementIsAnEmptyOne)
{
    const char *null = nullptr;
    ExpectText(CString("abc").Replace("b", null), "ac");
    ExpectText(CString("abc").Replace("b", CStringView()), "ac");
    ExpectText(CString("abc").Replace("b", CStringView(nullptr, 3)), "ac");
    ExpectText(CString("abc").Replace(CString("b"), CString()), "ac");
}

TEST(StringReplace, ANullPatternWithALengthFindsNothing)
{
    ExpectText(CString("abc").Replace(CStringView(nullptr, 3), "x"), "abc");
}

TEST(StringReplace, AStringWithoutAContainerGivesAnEmptyOne)
{
    CTestAllocator allocator;
    CAssertRecorder recorder;
    EXPECT_EQ(CString().Replace("a", "b").Data(), nullptr);
    EXPECT_EQ(CString().Replace("", "b").Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(StringReplace, AnEmptyTextGivesAnotherHandleOfTheSameContainer)
{
    CTestAllocator allocator;
    for (const CString &source : {Resizable(""), Fixed(std::string("\0aa", 3))})
    {
        const u64 requests = allocator.RequestCount();
        EXPECT_EQ(ContainerOf(source.Replace("a", "bc")), ContainerOf(source));
        EXPECT_EQ(allocator.RequestCount(), requests);
    }
}

TEST(StringReplace, AContainerWithoutCharactersGivesAnotherHandle)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    EXPECT_EQ(ContainerOf(broken.Get().Replace("a", "b")), ContainerOf(broken.Get()));
    ExpectReports(recorder, {});
}

// Terminators.

TEST(StringReplace, TheTextEndsAtItsFirstTerminator)
{
    const CString source = Fixed(std::string("ab\0ab", 5));
    ExpectText(source.Replace("b", "xyz"), "axyz");
    ExpectText(source.Replace("b", "x"), "ax");
    ExpectText(source.Replace("ab", "x"), "x");
    ExpectText(source.Replace("q", "x"), "ab");
    EXPECT_EQ(TextOf(source), std::string("ab\0ab", 5));
}

TEST(StringReplace, APatternWithATerminatorIsNotInTheText)
{
    const CString source = Fixed(std::string("ab\0c", 4));
    for (const CStringView &pattern : {CStringView("b\0", 2), CStringView("\0", 1), CStringView("b\0c", 3)})
    {
        for (const char *replacement : {"", "xy", "wxyz"})
            ExpectText(source.Replace(pattern, replacement), "ab");
    }
}

TEST(StringReplace, ATerminatorInTheReplacementEndsTheResult)
{
    const CStringView one("\0", 1);
    const CStringView three("x\0y", 3);
    ExpectText(CString("abc").Replace("b", one), "a");
    ExpectText(CString("abbc").Replace("bb", one), "a");
    ExpectText(CString("abc").Replace("b", three), "ax");
    ExpectText(CString("abcabc").Replace("abc", three), "x");
    EXPECT_EQ(CString("abc").Replace("a", one).Data(), nullptr);
}

// Arguments.

TEST(StringReplace, TakesAnyMixOfLiteralHandleAndView)
{
    const CString source("a-b");
    const CString dash("-");
    const CString plus("++");
    const CStringView dashView("-#", 1);
    const CStringView plusView("+++", 2);
    for (const CString &result :
         {source.Replace("-", "++"), source.Replace("-", plus), source.Replace("-", plusView),
          source.Replace(dash, "++"), source.Replace(dash, plus), source.Replace(dash, plusView),
          source.Replace(dashView, "++"), source.Replace(dashView, plus), source.Replace(dashView, plusView)})
        ExpectText(result, "a++b");
}

TEST(StringReplace, PatternAndReplacementMayBePiecesOfTheStringItself)
{
    const CString source("abcab");
    const CStringView all(source);
    ExpectText(source.Replace(all.Slice(0, 2), all.Slice(2)), "cabccab");
    ExpectText(source.Replace(all.Slice(0, 1), all.Slice(1, 1)), "bbcbb");
    ExpectText(source.Replace(all, all), "abcab");
    ExpectText(source.Replace(source, source), "abcab");
    ExpectText(source.Replace(source.Data() + 3, source.Data()), "abcabcabcab");
    ExpectText(source, "abcab");
}

TEST(StringReplace, TheResultMayBeAssignedToItsSource)
{
    CString string("a-b-c");
    string = string.Replace("-", "--");
    ExpectText(string, "a--b--c");
    string = string.Replace("--", CStringView(string).Slice(0, 1));
    ExpectText(string, "aabac");
}

TEST(StringReplace, TheSourceIsLeftAlone)
{
    const CString source("a-b");
    const CString other = source;
    const CString result = source.Replace("-", "+");
    ExpectText(source, "a-b");
    EXPECT_EQ(ContainerOf(source), ContainerOf(other));
    EXPECT_EQ(ContainerOf(source)->RefCount(), 2u);
    EXPECT_EQ(ContainerOf(result)->RefCount(), 1u);
}

// Cost.

TEST(StringReplace, TheResultIsAllocatedOnceInItsOwnSize)
{
    CTestAllocator allocator;
    const CString source("a-b-c-d-e-f-g-h-i-j");
    for (const char *replacement : {"", "+", "++", "++++++++++++++++++++"})
    {
        allocator.ForgetCalls();
        allocator.RefuseNth(0);
        const CString result = source.Replace("-", replacement);
        EXPECT_EQ(allocator.RequestCount(), 1u);
        EXPECT_EQ(allocator.Requests().back().m_Size, ReplacedFixedBytes(10 + 9 * std::strlen(replacement)));
        EXPECT_EQ(allocator.Requests().back().m_Origin, Mem::Origin_New);
        ExpectText(result, ModelReplaced(TextOf(source), "-", replacement));
    }
}

// In quadratic time none of these would come to an end.
TEST(StringReplace, TwoHundredThousandReplacementsTakeOneAllocation)
{
    constexpr size_t kCount = 200000;
    CTestAllocator allocator;
    const CString source = Fixed(std::string(kCount, 'a'));
    for (const std::string &replacement : {std::string("bc"), std::string("b"), std::string("aaa"), std::string()})
    {
        allocator.RefuseNth(0);
        const CString result = source.Replace("a", ViewOf(replacement));
        // Nothing at all needs no memory.
        EXPECT_EQ(allocator.RequestCount(), replacement.empty() ? 0u : 1u);
        EXPECT_TRUE(TextOf(result) == ModelReplaced(std::string(kCount, 'a'), "a", replacement));
    }
    const CString shrunk = source.Replace("aa", "b");
    EXPECT_TRUE(TextOf(shrunk) == std::string(kCount / 2, 'b'));
}

TEST(StringReplace, TheResultHasAZeroTailAtEveryLength)
{
    CTestAllocator allocator;
    for (size_t length = 1; length <= 70; ++length)
    {
        const std::string text = std::string(length - 1, 'x') + '-';
        const CString source = Fixed(text);
        for (const char *replacement : {"", "+", "++", "+++++++++++++++++"})
            ExpectText(source.Replace("-", replacement), ModelReplaced(text, "-", replacement));
    }
}

// Where gaps between occurrences are kept in a byte, in more, and not at all; and where there is no more room for them.
TEST(StringReplace, GapsOfEveryLengthBetweenOccurrencesAreKept)
{
    for (const size_t gap : {0u, 1u, 253u, 254u, 255u, 256u, 257u, 65534u, 65535u, 65536u, 70000u})
    {
        for (const size_t count : {1u, 3u, 52u, 53u, 54u, 157u, 158u, 159u, 300u, 6000u, 20000u})
        {
            if (gap * count > 4000000)
                continue;
            std::string text = "#";
            for (size_t i = 0; i < count; ++i)
                text += std::string(gap, '-') + "#";
            text += "end";
            const CString source = Fixed(text);
            for (const char *replacement : {"", "++"})
            {
                EXPECT_TRUE(TextOf(source.Replace("#", replacement)) == ModelReplaced(text, "#", replacement))
                    << count << " gaps of " << gap;
            }
        }
    }
}

TEST(StringReplace, LongStretchesAroundOccurrencesOfTheSameLengthAreKept)
{
    for (const size_t patternLength : {1u, 2u, 600u, 1025u})
    {
        const std::string pattern = std::string(patternLength - 1, 'p') + "q";
        const std::string replacement(patternLength, 'r');
        for (const size_t inFront : {0u, 1u, 1023u, 1024u, 1025u, 3000u})
            for (const size_t behind : {0u, 1u, 1024u, 3000u})
            {
                const std::string text = std::string(inFront, '-') + pattern + std::string(inFront, '+') + pattern +
                                         std::string(behind, '=');
                EXPECT_TRUE(TextOf(Fixed(text).Replace(ViewOf(pattern), ViewOf(replacement))) ==
                            ModelReplaced(text, pattern, replacement))
                    << patternLength << " characters behind " << inFront << " and in front of " << behind;
            }
    }
}

// Behind a gap that is too long to be kept, occurrences are searched for again.
TEST(StringReplace, OccurrencesBehindALongGapAreReplacedUpToTheRefusedOne)
{
    const std::string text = std::string(70000, '-') + "#a#b#c#";
    const CString source = Fixed(text);
    const std::vector<size_t> occurrences = ModelOccurrences(text, "#");
    for (size_t made = 0; made < occurrences.size(); ++made)
    {
        const CChoosyAllocator choosy([=](u64 nth, u64) { return nth == 1 || nth == 3 + made; });
        const std::vector<size_t> replaced(occurrences.begin(),
                                           occurrences.begin() + static_cast<std::ptrdiff_t>(made));
        EXPECT_TRUE(TextOf(source.Replace("#", "++")) == ModelReplacedAt(text, replaced, 1, "++")) << made;
    }
}

TEST(StringReplace, OccurrencesThatAreCutOffByRefusedMemoryAreNotReplacedFromTheirGaps)
{
    std::string text;
    for (size_t i = 0; i < 2000; ++i)
        text += std::string(i % 300, '-') + "#";
    const CString source = Fixed(text);
    const std::vector<size_t> occurrences = ModelOccurrences(text, "#");
    for (const size_t made : {0u, 1u, 157u, 158u, 159u, 255u, 256u, 1999u})
    {
        const CChoosyAllocator choosy([=](u64 nth, u64) { return nth == 1 || nth == 3 + made; });
        const std::vector<size_t> replaced(occurrences.begin(),
                                           occurrences.begin() + static_cast<std::ptrdiff_t>(made));
        EXPECT_TRUE(TextOf(source.Replace("#", "++")) == ModelReplacedAt(text, replaced, 1, "++"));
    }
}

// Against the model. Occurrences are found once for all replacements.

void ReplaceInEveryShortText(const std::function<bool(size_t, size_t)> &takes)
{
    const std::vector<std::string> patterns = EveryText(kReplacedLetters, 3);
    for (const std::string &text : EveryText(kReplacedLetters, kLongestReplaced))
    {
        const CString source = Fixed(text);
        for (const std::string &pattern : patterns)
        {
            if (pattern.empty())
                continue;
            const std::vector<size_t> occurrences = ModelOccurrences(text, pattern);
            for (const std::string &replacement : patterns)
            {
                if (!takes(pattern.size(), replacement.size()))
                    continue;
                const CString result = source.Replace(ViewOf(pattern), ViewOf(replacement));
                const std::string expected = ModelReplacedAt(text, occurrences, pattern.size(), replacement);
                const bool right =
                    result.Length() == expected.size() &&
                    (expected.empty() || std::memcmp(result.Data(), expected.c_str(), expected.size() + 1) == 0);
                if (!right)
                {
                    FAIL() << ::testing::PrintToString(pattern) << " by " << ::testing::PrintToString(replacement)
                           << " in " << ::testing::PrintToString(text) << " gave "
                           << ::testing::PrintToString(TextOf(result));
                }
            }
        }
    }
}

TEST(StringReplace, EveryShortPatternInEveryShortTextByALongerOne)
{
    ReplaceInEveryShortText([](size_t pattern, size_t replacement) { return replacement > pattern; });
}

TEST(StringReplace, EveryShortPatternInEveryShortTextByOneOfTheSameLength)
{
    ReplaceInEveryShortText([](size_t pattern, size_t replacement) { return replacement == pattern; });
}

TEST(StringReplace, EveryShortPatternInEveryShortTextByAShorterOne)
{
    ReplaceInEveryShortText([](size_t pattern, size_t replacement) { return replacement < pattern; });
}

TEST(StringReplace, NothingOutsideTextPatternAndReplacementIsTouchedAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (size_t length = 1; length <= 36; ++length)
    {
        for (const size_t patternLength : {1u, 2u, 15u, 16u, 17u})
        {
            const CTextAtPageEnd pattern(std::string(patternLength, 'p'));
            const std::string text = std::string(length, 'x') + std::string(2 * patternLength, 'p') + "xp";
            const CString source = Fixed(text);
            for (const size_t replacementLength : {0u, 1u, 2u, 16u, 33u})
            {
                const CTextAtPageEnd replacement(std::string(replacementLength, 'r'));
                const CString result = source.Replace(pattern.View(), replacement.View());
                ASSERT_EQ(TextOf(result), ModelReplaced(text, TextOf(pattern.View()), TextOf(replacement.View())));
                ExpectWellFormed(result);
            }
        }
    }
}

// Gaps are copied some characters at a time where there is room for that on both sides. Of what is replaced by nothing
// the text has more than the result.
TEST(StringReplace, NothingOutsideTextAndResultIsTouchedByGapsAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (const size_t gap : {63u, 64u, 65u, 100u, 128u, 129u, 511u, 512u, 513u})
        for (const size_t count : {1u, 2u})
            for (const std::string &behind :
                 {std::string(), std::string("z"), std::string(64, 'z'), std::string(65, 'z'), std::string(200, '#')})
            {
                std::string text;
                for (size_t i = 0; i < count; ++i)
                    text += std::string(gap, static_cast<char>('a' + i)) + "#";
                text += behind;
                const CString source = Fixed(text);
                for (const size_t replacementLength : {0u, 2u, 16u, 200u})
                {
                    const std::string replacement(replacementLength, 'r');
                    const CString result = source.Replace("#", ViewOf(replacement));
                    ASSERT_EQ(TextOf(result), ModelReplaced(text, "#", replacement));
                    ExpectWellFormed(result);
                }
            }
}

TEST(StringReplace, AReplacementOfNothingIsNotRead)
{
    const CGuardedPage page;
    const CString source("abc");
    for (const u32 length : {1u, 2u, 3u, 16u, 17u})
        ExpectText(source.Replace("xy", CStringView(page.End(), length)), "abc");
}

// Refused memory.

struct SReplacing
{
    CString m_Source;
    CString m_Result;
};

SReplacing Replacing(const char *text)
{
    return SReplacing{CString(text), CString("before")};
}

TEST(StringReplace, GrowingRefusedOnceStillGivesTheFullResultAndRefusedForGoodAnEmptyOne)
{
    SweepRefusals([] { return Replacing("a-b-c"); },
                  [](SReplacing &state) { state.m_Result = state.m_Source.Replace("-", "+++"); },
                  [](const SReplacing &state, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(state.m_Source, "a-b-c");
                      ExpectText(state.m_Result, refusal.m_Refused && refusal.m_AndAllAfter ? "" : "a+++b+++c");
                      ExpectReports(recorder, {});
                  });
}

TEST(StringReplace, SameLengthAndShrinkingRefusedGiveAnEmptyString)
{
    for (const char *replacement : {"+-", "+", ""})
    {
        SweepRefusals([] { return Replacing("a--b--c"); },
                      [&](SReplacing &state) { state.m_Result = state.m_Source.Replace("--", replacement); },
                      [&](const SReplacing &state, const SRefusal &refusal, const CAssertRecorder &recorder)
                      {
                          ExpectText(state.m_Source, "a--b--c");
                          ExpectText(state.m_Result,
                                     refusal.m_Refused ? "" : ModelReplaced("a--b--c", "--", replacement));
                          ExpectReports(recorder, {});
                      });
    }
}

TEST(StringReplace, RefusedMemoryLeavesNothingWhereNothingWasFoundEither)
{
    for (const char *replacement : {"", "y", "yz"})
    {
        SweepRefusals([] { return Replacing("abc"); },
                      [&](SReplacing &state) { state.m_Result = state.m_Source.Replace("x", replacement); },
                      [&](const SReplacing &state, const SRefusal &refusal, const CAssertRecorder &recorder)
                      {
                          ExpectText(state.m_Source, "abc");
                          const bool recovers = !refusal.m_AndAllAfter && std::strlen(replacement) > 1;
                          ExpectText(state.m_Result, refusal.m_Refused && !recovers ? "" : "abc");
                          ExpectReports(recorder, {});
                      });
    }
}

TEST(StringReplace, ATerminatorInTheReplacementRefusedItsShorterCopyGivesAnEmptyString)
{
    // The shorter copy is one more request, and not the growing road's business.
    SweepRefusals([] { return Replacing("ab"); },
                  [](SReplacing &state) { state.m_Result = state.m_Source.Replace("b", CStringView("\0", 1)); },
                  [](const SReplacing &state, const SRefusal &refusal, const CAssertRecorder &)
                  { ExpectText(state.m_Result, refusal.m_Refused ? "" : "a"); });
}

// The requests refused, by number.
CChoosyAllocator::FRefuses Refusing(std::set<u64> numbers)
{
    return [numbers](u64 nth, u64) { return numbers.count(nth) != 0; };
}

TEST(StringReplace, GrowingMatchByMatchTakesAWorkBufferThenOneBufferForEachMatch)
{
    CTestAllocator allocator;
    const CString source("a-b-c");
    allocator.ForgetCalls();
    std::vector<u64> sizes;
    {
        const CChoosyAllocator choosy(Refusing({1}));
        const CString result = source.Replace("-", "+++");
        ExpectText(result, "a+++b+++c");
        sizes = choosy.Sizes();
    }
    // The one that was refused; text and terminator; two more characters each time; the result.
    EXPECT_EQ(sizes, (std::vector<u64>{ReplacedFixedBytes(9), 6, 8, 10, ReplacedFixedBytes(9)}));
    const std::vector<SAllocatorCall> requests = allocator.Requests();
    ASSERT_EQ(requests.size(), 4u);
    for (size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(requests[i].m_Origin, Mem::Origin_Alloc);
        EXPECT_EQ(requests[i].m_Type, Mem::AllocType_Generic);
        EXPECT_EQ(requests[i].m_Tag, "Kernel|Mem|Default");
    }
    EXPECT_EQ(requests[3].m_Origin, Mem::Origin_New);
}

TEST(StringReplace, GrowingKeepsTheReplacementsMadeBeforeABufferIsRefused)
{
    CTestAllocator allocator;
    const CString source("a-b-c-d");
    const std::vector<std::string> kept = {"a-b-c-d", "a+++b-c-d", "a+++b+++c-d", "a+++b+++c+++d"};
    for (size_t made = 0; made < kept.size(); ++made)
    {
        // Requests 1 and 2 are the result and the work buffer, then comes one for each match.
        const CChoosyAllocator choosy(Refusing({1, 3 + made}));
        CString result = source.Replace("-", "+++");
        if (made < 3)
        {
            ExpectText(result, kept[made]);
        }
        else
        {
            // Here it is the result that is refused, once more.
            ExpectText(result, "");
        }
    }
}

// The text's own buffer of 8 bytes, then 10, 12 and 14: two at a time are held, and with the source's block the last two
// are beyond the limit.
TEST(StringReplace, GrowingMatchByMatchHoldsEachBufferUntilTheNextOneIsThere)
{
    CTestAllocator allocator;
    const CString source("a-b-c-d");
    const u64 limit = allocator.LiveBytes() + 12 + 14 - 1;
    const auto refuses = [&](u64 nth, u64 size)
    {
        const bool isBuffer = size < ReplacedFixedBytes(0);
        return nth == 1 || (isBuffer && allocator.LiveBytes() + size > limit);
    };
    const CChoosyAllocator choosy(refuses);
    ExpectText(source.Replace("-", "+++"), "a+++b+++c-d");
}

TEST(StringReplace, GrowingRefusedItsWorkBufferGivesAnEmptyString)
{
    const CString source("a-b");
    const CChoosyAllocator choosy(Refusing({1, 2}));
    ExpectText(source.Replace("-", "+++"), "");
    EXPECT_EQ(choosy.Sizes(), (std::vector<u64>{ReplacedFixedBytes(5), 4}));
}

TEST(StringReplace, GrowingMatchByMatchEndsAtATerminatorInTheReplacement)
{
    const CString source("abcb");
    const CChoosyAllocator choosy(Refusing({1}));
    ExpectText(source.Replace("b", CStringView("x\0y", 3)), "ax");
}

TEST(StringReplace, GrowingMatchByMatchGivesWhatTheShortRoadGivesUpToTheRefusedMatch)
{
    CTestAllocator allocator;
    const std::vector<std::string> pieces = EveryText("ab", 3);
    for (const std::string &text : EveryText("ab", 5))
    {
        if (text.empty())
            continue;
        const CString source = Fixed(text);
        for (const std::string &pattern : pieces)
        {
            if (pattern.empty())
                continue;
            const std::vector<size_t> occurrences = ModelOccurrences(text, pattern);
            for (const std::string &replacement : pieces)
            {
                if (replacement.size() <= pattern.size())
                    continue;
                for (size_t made = 0; made <= occurrences.size(); ++made)
                {
                    // With all of them made, the request refused is one that never comes.
                    const bool all = made == occurrences.size();
                    const CChoosyAllocator choosy(Refusing({1, all ? 1000 : 3 + made}));
                    const std::vector<size_t> replaced(occurrences.begin(),
                                                       occurrences.begin() + static_cast<std::ptrdiff_t>(made));
                    ASSERT_EQ(TextOf(source.Replace(ViewOf(pattern), ViewOf(replacement))),
                              ModelReplacedAt(text, replaced, pattern.size(), replacement));
                }
            }
        }
    }
}

// The growing replacement as it is told: one allocation for the result; where that is refused a work buffer, for each
// match a larger one into which all is copied, and the result at last.
class CGrowingModel
{
public:
    explicit CGrowingModel(const CChoosyAllocator::FRefuses &refuses) : m_Refuses(refuses) {}

    std::string Replace(const std::string &text, const std::string &pattern, const std::string &replacement)
    {
        if (_GrantsResult(ModelReplaced(text, pattern, replacement)))
            return _Result(ModelReplaced(text, pattern, replacement));
        if (!_Grants(text.size() + 1))
            return std::string();
        std::string work = text;
        for (size_t i = 0; i + pattern.size() <= work.size();)
        {
            if (work.compare(i, pattern.size(), pattern) != 0)
            {
                ++i;
                continue;
            }
            if (!_Grants(work.size() + replacement.size() - pattern.size() + 1))
                break;
            work = work.substr(0, i) + replacement + work.substr(i + pattern.size());
            i += replacement.size();
        }
        return _Result(ModelToTerminator(work));
    }

    const std::vector<u64> &Sizes() const { return m_Sizes; }

private:
    bool _Grants(u64 size)
    {
        m_Sizes.push_back(size);
        return !m_Refuses(m_Sizes.size(), size);
    }

    bool _GrantsResult(const std::string &result)
    {
        return result.empty() || _Grants(ReplacedFixedBytes(result.size()));
    }

    std::string _Result(const std::string &written)
    {
        const std::string result = ModelToTerminator(written);
        // What was written in one go, and has no terminator, is the result already.
        const bool isThere = m_Sizes.size() <= 1 && result == written;
        return isThere || _GrantsResult(result) ? result : std::string();
    }

    CChoosyAllocator::FRefuses m_Refuses;
    std::vector<u64> m_Sizes;
};

TEST(StringReplace, GrowingGivesAndAsksForWhatTheRoadWithCopiesDoesWhateverIsRefused)
{
    CTestAllocator allocator;
    std::mt19937 generator(9);
    const auto random = [&](u32 below) { return static_cast<u32>(generator()) % below; };
    const auto randomText = [&](size_t length, const std::string &letters)
    {
        std::string text;
        while (text.size() < length)
            text += letters[random(static_cast<u32>(letters.size()))];
        return text;
    };
    for (u32 round = 0; round < 4000; ++round)
    {
        const std::string text = randomText(1 + random(round % 50 == 0 ? 2000 : 40), "ab");
        const std::string pattern = randomText(1 + random(3), "ab");
        const std::string letters = random(8) == 0 ? std::string("ab\0", 3) : std::string("abc");
        const std::string replacement = randomText(pattern.size() + 1 + random(4), letters);
        // The first request as a rule, some of those that follow, or all beyond a size.
        const u32 kind = random(4);
        const u32 seed = random(1000);
        const u64 largest = ReplacedFixedBytes(text.size()) + random(64);
        const auto refuses = [=](u64 nth, u64 size)
        {
            if (kind == 0)
                return size > largest;
            if (kind == 1)
                return nth == 1 || nth == 2 + seed % 8;
            return (nth == 1 && seed % 10 != 0) || (kind == 2 && (nth * 7919 + seed) % 11 == 0);
        };
        CGrowingModel model(refuses);
        const std::string expected = model.Replace(text, pattern, replacement);
        const CString source = Fixed(text);
        CString result;
        std::vector<u64> sizes;
        {
            const CChoosyAllocator choosy(refuses);
            result = source.Replace(ViewOf(pattern), ViewOf(replacement));
            sizes = choosy.Sizes();
        }
        ASSERT_EQ(TextOf(result), expected) << text << " " << pattern << " " << replacement << " " << kind;
        ASSERT_EQ(sizes, model.Sizes()) << text << " " << pattern << " " << replacement << " " << kind;
        ExpectWellFormed(result);
    }
}

// While one lives, working memory is granted up to a size, and whoever reads or writes it ends the test program. Memory
// for results is had from the allocator before, but for the first request.
class CUntouchableMemory
{
public:
    explicit CUntouchableMemory(u64 largest) : m_Pages(std::make_unique<CGuardedPage>(1))
    {
        s_Current = this;
        m_Largest = largest;
        m_Before = Mem::SetAllocator(Mem::SAllocator{&_Alloc, &_Realloc, &_Free});
    }
    ~CUntouchableMemory() { Mem::SetAllocator(m_Before); }
    CUntouchableMemory(const CUntouchableMemory &) = delete;
    CUntouchableMemory &operator=(const CUntouchableMemory &) = delete;

    u64 Requests() const { return m_Requests; }

private:
    void *_Untouchable() const { return m_Pages->End(); }

    static void *_Alloc(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag,
                        const char *file, u32 line, const char *function)
    {
        if (++s_Current->m_Requests == 1)
            return nullptr;
        if (origin == Mem::Origin_Alloc)
            return size <= s_Current->m_Largest ? s_Current->_Untouchable() : nullptr;
        return s_Current->m_Before.m_Alloc(size, alignment, type, origin, tag, file, line, function);
    }

    static void *_Realloc(void *, u64, u32, Mem::EAllocType, const char *, const char *, u32, const char *)
    {
        return nullptr;
    }

    static void _Free(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file,
                      u32 line, const char *function)
    {
        if (block != s_Current->_Untouchable())
            s_Current->m_Before.m_Free(block, type, origin, tag, file, line, function);
    }

    static CUntouchableMemory *s_Current;

    std::unique_ptr<CGuardedPage> m_Pages;
    Mem::SAllocator m_Before;
    u64 m_Largest;
    u64 m_Requests = 0;
};

CUntouchableMemory *CUntouchableMemory::s_Current = nullptr;

// With a copy for each match, or a byte of one, this would not come to an end.
TEST(StringReplace, GrowingMatchByMatchTriesItsBuffersWithoutTouchingThem)
{
    constexpr u32 kCount = 200000;
    const CString source = Fixed(std::string(kCount, 'a'));
    for (const u32 made : {0u, 1u, kCount / 2, kCount})
    {
        const CUntouchableMemory memory(kCount + made + 1);
        const CString result = source.Replace("a", "bc");
        EXPECT_TRUE(TextOf(result) ==
                    ModelReplaced(std::string(made, 'a'), "a", "bc") + std::string(kCount - made, 'a'));
        // The result, the text, each match up to the one refused, and the result once more.
        EXPECT_EQ(memory.Requests(), 3 + QVMin(kCount, made + 1));
    }
}

TEST(StringReplace, GrowingMatchByMatchTouchesNothingOutsideItsBuffersAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (size_t length = 0; length <= 20; ++length)
    {
        const std::string text = "-" + std::string(length, 'x') + "--";
        const CString source = Fixed(text);
        for (const std::string &replacement : {std::string("++"), std::string(17, '+')})
        {
            const CChoosyAllocator choosy(Refusing({1}));
            ASSERT_EQ(TextOf(source.Replace("-", ViewOf(replacement))), ModelReplaced(text, "-", replacement));
        }
    }
}

// Sizes.

bool RefusesLargeResults(u64, u64 size)
{
    return size > 1 << 20;
}

TEST(StringReplace, AResultBeyond32BitsIsCutToTheReplacementsThatFitAndAsksForThatUnwrapped)
{
    const CString source("bbb");
    // Never read: memory for it is refused first.
    const CStringView half("x", 0x20000000u);
    const CChoosyAllocator choosy(RefusesLargeResults);
    ExpectText(source.Replace("b", half), "bbb");
    // One replacement fits, two do not; then text and terminator, the same one replacement, and what is left.
    EXPECT_EQ(choosy.Sizes(),
              (std::vector<u64>{ReplacedFixedBytes(0x20000002u), 4, 0x20000003u, ReplacedFixedBytes(3)}));
}

TEST(StringReplace, AReplacementThatNoStringCanHoldLeavesTheText)
{
    CAssertRecorder recorder;
    const CString source("bbb");
    for (const u32 length : {0x3FFFFFFDu, 0x3FFFFFFEu, 0x3FFFFFFFu, 0x40000000u, 0xFFFFFFFFu})
    {
        const CChoosyAllocator choosy(RefusesLargeResults);
        ExpectText(source.Replace("b", CStringView("x", length)), "bbb");
        for (const u64 size : choosy.Sizes())
            EXPECT_LT(size, 100u);
    }
    ExpectReports(recorder, {});
}

TEST(StringReplace, AReplacementThatGivesTheLongestStringIsAskedFor)
{
    const CString source("bbb");
    const CChoosyAllocator choosy(RefusesLargeResults);
    ExpectText(source.Replace("b", CStringView("x", 0x3FFFFFFCu)), "bbb");
    ASSERT_FALSE(choosy.Sizes().empty());
    EXPECT_EQ(choosy.Sizes().front(), ReplacedFixedBytes(0x3FFFFFFEu));
}

TEST(StringReplace, APatternLongerThanAnyStringIsNotFound)
{
    const CString source("bbb");
    for (const u32 length : {4u, 0x3FFFFFFFu, 0xFFFFFFFFu})
        ExpectText(source.Replace(CStringView("b", length), "x"), "bbb");
}

} // namespace
