// Search and extraction: where a character or a text stands in a string, and ranges copied out of it.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "edge_allocators.h"
#include "every_text.h"
#include "hard_needles.h"
#include "kr_string.h"
#include "refusal_sweep.h"
#include "search_model.h"
#include "string_checks.h"
#include "test_port.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const char *const kExtractOfStringCheck = "first < size && last <= size";
const char *const kExtractOfBufferCheck =
    "from != null && last > first && SNativeStringUtils::Length(from) >= QVMax(first, last)";
const char *const kDataCheck = "data != null";
const char *const kContainerDataCheck = "m_Container != null && m_Container->Data() != null";

// The index, or -1 for none.
long long At(const CGuid &guid)
{
    return guid.Valid() ? static_cast<long long>(guid.Get()) : -1;
}

long long AtOf(size_t place)
{
    return place != std::string::npos ? static_cast<long long>(place) : -1;
}

// The strings that hold nothing: never assigned, and emptied with their container kept.
std::vector<CString> EmptyStringsToSearch()
{
    CString emptied = Resizable("abc");
    emptied.Clear();
    EXPECT_NE(emptied.Data(), nullptr);
    return {CString(), CString(""), emptied};
}

// Finding a character.

TEST(StringSearch, FindNextOfACharacterAnswersTheFirstIndexAtOrAfterStart)
{
    const CString string("abcabc");
    EXPECT_EQ(At(string.FindNextOf('b', 0)), 1);
    EXPECT_EQ(At(string.FindNextOf('b', 1)), 1);
    EXPECT_EQ(At(string.FindNextOf('b', 2)), 4);
    EXPECT_EQ(At(string.FindNextOf('b', 4)), 4);
    EXPECT_EQ(At(string.FindNextOf('b', 5)), -1);
    EXPECT_EQ(At(string.FindNextOf('x', 0)), -1);
}

TEST(StringSearch, FindNextOfACharacterThatIsNotThereIsInvalid)
{
    EXPECT_EQ(CString("abc").FindNextOf('x', 0), CGuid::INVALID);
    EXPECT_FALSE(CString("abc").FindNextOf('B', 0).Valid());
}

TEST(StringSearch, FindNextOfACharacterFromTheLengthOrBeyondIsInvalid)
{
    const CString string("aaaaa");
    for (const u32 start : {5u, 6u, 16u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(string.FindNextOf('a', start), CGuid::INVALID) << start;
}

TEST(StringSearch, FindingInAnEmptyStringIsInvalidAndReportsNothing)
{
    const CAssertRecorder recorder;
    for (const CString &string : EmptyStringsToSearch())
    {
        for (const char character : {'a', '\0'})
        {
            EXPECT_EQ(string.FindNextOf(character, 0), CGuid::INVALID);
            EXPECT_EQ(string.FindFirstOf(character), CGuid::INVALID);
            EXPECT_EQ(string.FindLastOf(character), CGuid::INVALID);
        }
        for (const char *text : {"a", ""})
        {
            EXPECT_EQ(string.FindNextOf(text, 0), CGuid::INVALID);
            EXPECT_EQ(string.FindFirstOf(text), CGuid::INVALID);
        }
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringSearch, FindingACharacterIsBoundedByTheStoredLength)
{
    // Not the terminator behind the text, which is not part of it.
    EXPECT_EQ(At(CString("abc").FindNextOf('\0', 0)), -1);
    EXPECT_EQ(At(CString("abc").FindLastOf('\0')), -1);

    // Characters behind an embedded terminator, and the embedded terminator, are.
    const CString string = Fixed(std::string("a\0b\0c", 5));
    EXPECT_EQ(At(string.FindNextOf('c', 0)), 4);
    EXPECT_EQ(At(string.FindNextOf('\0', 0)), 1);
    EXPECT_EQ(At(string.FindNextOf('\0', 2)), 3);
    EXPECT_EQ(At(string.FindLastOf('\0')), 3);
    EXPECT_EQ(At(string.FindLastOf('a')), 0);

    // A text that begins with a terminator has characters all the same.
    const CString leading = Fixed(std::string("\0ab", 3));
    EXPECT_EQ(At(leading.FindNextOf('b', 0)), 2);
    EXPECT_EQ(At(leading.FindLastOf('\0')), 0);
}

TEST(StringSearch, FindingACharacterDoesNotSeeWhatLiesBehindTheLength)
{
    // The room of a resizable string that was made shorter.
    CString string = Resizable("abcxyz");
    ContainerOf(string)->Data()[3] = '\0';
    ContainerOf(string)->UnsafeSetLength(3);
    for (const char hidden : {'x', 'y', 'z'})
    {
        EXPECT_EQ(At(string.FindNextOf(hidden, 0)), -1);
        EXPECT_EQ(At(string.FindLastOf(hidden)), -1);
    }
}

TEST(StringSearch, FindLastOfAnswersTheLastIndex)
{
    EXPECT_EQ(At(CString("abcabc").FindLastOf('b')), 4);
    EXPECT_EQ(At(CString("abcabc").FindLastOf('c')), 5);
    EXPECT_EQ(At(CString("abcabc").FindLastOf('x')), -1);
}

TEST(StringSearch, FindLastOfTheFirstCharacterIsZero)
{
    const CGuid found = CString("abc").FindLastOf('a');
    EXPECT_TRUE(found.Valid());
    EXPECT_EQ(found, 0u);
}

TEST(StringSearch, FindFirstOfIsFindNextOfFromTheBeginning)
{
    const CString string("xabab");
    EXPECT_EQ(At(string.FindFirstOf('x')), 0);
    EXPECT_EQ(At(string.FindFirstOf('a')), 1);
    EXPECT_EQ(At(string.FindFirstOf('z')), -1);
    EXPECT_EQ(At(string.FindFirstOf("ab")), 1);
    EXPECT_EQ(At(string.FindFirstOf("ba")), 2);
    // The whole text, not any one of its characters.
    EXPECT_EQ(At(string.FindFirstOf("bx")), -1);
    EXPECT_EQ(At(string.FindFirstOf("")), 0);
    EXPECT_EQ(At(string.FindFirstOf(static_cast<const char *>(nullptr))), -1);
}

TEST(StringSearch, FindingTellsAllBytesApart)
{
    std::string text;
    for (int byte = 255; byte > 0; --byte)
        text += static_cast<char>(byte);
    const CString string = Fixed(text);
    for (int byte = 1; byte < 256; ++byte)
    {
        const char character = static_cast<char>(byte);
        const char needle[] = {character, '\0'};
        EXPECT_EQ(At(string.FindNextOf(character, 0)), 255 - byte);
        EXPECT_EQ(At(string.FindLastOf(character)), 255 - byte);
        EXPECT_EQ(At(string.FindNextOf(needle, 0)), 255 - byte);
    }
}

TEST(StringSearch, EveryPlaceFromEveryStartIsFound)
{
    for (size_t length = 1; length <= 65; ++length)
        for (size_t place = 0; place < length; ++place)
        {
            std::string text(length, '.');
            text[place] = '\xE9';
            const CString string = Fixed(text);
            EXPECT_EQ(At(string.FindLastOf('\xE9')), AtOf(place));
            for (size_t start = 0; start <= length; ++start)
                ASSERT_EQ(At(string.FindNextOf('\xE9', static_cast<u32>(start))), AtOf(text.find('\xE9', start)))
                    << place << " of " << length << " from " << start;
        }
}

// Finding a text.

TEST(StringSearch, FindNextOfATextAnswersWhereTheWholeOfItBegins)
{
    const CString string("one two one");
    EXPECT_EQ(At(string.FindNextOf("one", 0)), 0);
    EXPECT_EQ(At(string.FindNextOf("two", 0)), 4);
    EXPECT_EQ(At(string.FindNextOf("one two one", 0)), 0);
    EXPECT_EQ(At(string.FindNextOf("one two one!", 0)), -1);
    EXPECT_EQ(At(string.FindNextOf("eon", 0)), -1);
    EXPECT_EQ(At(string.FindNextOf("ONE", 0)), -1);
}

TEST(StringSearch, ATextThatStraddlesStartIsNotFoundAndOneThatBeginsThereIs)
{
    const CString string("xabxab");
    EXPECT_EQ(At(string.FindNextOf("ab", 1)), 1);
    EXPECT_EQ(At(string.FindNextOf("ab", 2)), 4);
    EXPECT_EQ(At(string.FindNextOf("ab", 4)), 4);
    EXPECT_EQ(At(string.FindNextOf("ab", 5)), -1);
}

TEST(StringSearch, AnEmptyTextIsFoundAtStart)
{
    const CString string("abc");
    for (const u32 start : {0u, 1u, 2u})
        EXPECT_EQ(At(string.FindNextOf("", start)), start);
    EXPECT_EQ(At(string.FindNextOf("", 3)), -1);

    // Where a terminator stands, too.
    const CString embedded = Fixed(std::string("a\0b", 3));
    EXPECT_EQ(At(embedded.FindNextOf("", 1)), 1);
}

TEST(StringSearch, FindNextOfATextFromTheLengthOrBeyondIsInvalid)
{
    const CString string("aaa");
    for (const u32 start : {3u, 4u, 100u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(string.FindNextOf("a", start), CGuid::INVALID) << start;
        EXPECT_EQ(string.FindNextOf("", start), CGuid::INVALID) << start;
    }
}

TEST(StringSearch, FindNextOfNullIsInvalidAndReportsNothing)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(CString("abc").FindNextOf(nullptr, 0), CGuid::INVALID);
    EXPECT_EQ(CString().FindNextOf(nullptr, 0), CGuid::INVALID);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringSearch, ASearchForATextStopsAtTheFirstTerminatorFromStart)
{
    const CString string = Fixed(std::string("ab\0cd", 5));
    EXPECT_EQ(At(string.FindNextOf("cd", 0)), -1);
    EXPECT_EQ(At(string.FindNextOf("cd", 2)), -1);
    EXPECT_EQ(At(string.FindNextOf("cd", 3)), 3);
    EXPECT_EQ(At(string.FindNextOf("b", 0)), 1);
}

TEST(StringSearch, EveryShortTextIsFoundInEveryOther)
{
    const std::vector<std::string> texts = EveryText("aA\xE9", kVerySlow ? 4 : 5);
    const std::vector<std::string> needles = EveryText("aA\xE9", 3);
    for (const std::string &text : texts)
    {
        const CString string(text.c_str());
        for (const std::string &needle : needles)
            for (size_t start = 0; start <= text.size(); ++start)
                ASSERT_EQ(At(string.FindNextOf(needle.c_str(), static_cast<u32>(start))),
                          start < text.size() ? AtOf(text.find(needle, start)) : -1)
                    << needle << " in " << text << " from " << start;
    }
}

// Finding a text by all its characters.

TEST(StringSearch, FindTextAnswersTheFirstPlaceAtOrAfterStart)
{
    const CString string("one two one");
    EXPECT_EQ(At(string.FindText("one")), 0);
    EXPECT_EQ(At(string.FindText("one", 0)), 0);
    EXPECT_EQ(At(string.FindText("one", 1)), 8);
    EXPECT_EQ(At(string.FindText("one", 8)), 8);
    EXPECT_EQ(At(string.FindText("one", 9)), -1);
    EXPECT_EQ(At(string.FindText("one two one")), 0);
    EXPECT_EQ(At(string.FindText("one two one!")), -1);
    EXPECT_EQ(At(string.FindText("ONE")), -1);
    EXPECT_EQ(At(string.FindText("ONE", 1, CaseInsensitive)), 8);
    EXPECT_EQ(At(string.FindText(CString("two"))), 4);
    EXPECT_EQ(At(string.FindText(CStringView("twofold", 3))), 4);
    EXPECT_EQ(At(string.FindText(CStringView("TWOFOLD", 3), 2, CaseInsensitive)), 4);
    EXPECT_EQ(string.FindText("three"), CGuid::INVALID);
}

TEST(StringSearch, FindLastTextAnswersTheLastPlace)
{
    const CString string("one two one");
    EXPECT_EQ(At(string.FindLastText("one")), 8);
    EXPECT_EQ(At(string.FindLastText("o")), 8);
    EXPECT_EQ(At(string.FindLastText("two")), 4);
    EXPECT_EQ(At(string.FindLastText("one two one")), 0);
    EXPECT_EQ(At(string.FindLastText("one two one!")), -1);
    EXPECT_EQ(At(string.FindLastText("ONE")), -1);
    EXPECT_EQ(At(string.FindLastText("ONE", CaseInsensitive)), 8);
    EXPECT_EQ(At(string.FindLastText(CString("two"))), 4);
    EXPECT_EQ(At(string.FindLastText(CStringView("ONES", 3), CaseInsensitive)), 8);
    EXPECT_EQ(At(CString("aaaa").FindLastText("aa")), 2);
    EXPECT_EQ(string.FindLastText("three"), CGuid::INVALID);
}

TEST(StringSearch, FindTextFromBeyondTheLengthIsInvalid)
{
    const CString string("aaa");
    for (const u32 start : {3u, 4u, 100u, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(string.FindText("a", start), CGuid::INVALID) << start;
    for (const u32 start : {4u, 100u, 0x80000000u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(string.FindText("", start), CGuid::INVALID) << start;
        EXPECT_EQ(string.FindText(CString(), start, CaseInsensitive), CGuid::INVALID) << start;
    }
}

TEST(StringSearch, FindTextOfAnEmptyTextIsAtStartAndFindLastTextAtTheLength)
{
    const CAssertRecorder recorder;
    const CString string = Fixed(std::string("a\0b", 3));
    const char *const null = nullptr;
    for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
    {
        for (const u32 start : {0u, 1u, 2u, 3u})
        {
            EXPECT_EQ(At(string.FindText("", start, sensitivity)), start);
            EXPECT_EQ(At(string.FindText(null, start, sensitivity)), start);
            EXPECT_EQ(At(string.FindText(CString(), start, sensitivity)), start);
            EXPECT_EQ(At(string.FindText(CStringView(nullptr, 5), start, sensitivity)), start);
            EXPECT_EQ(At(string.FindText(CStringView("xy", 0), start, sensitivity)), start);
        }
        EXPECT_EQ(At(string.FindLastText("", sensitivity)), 3);
        EXPECT_EQ(At(string.FindLastText(null, sensitivity)), 3);
        EXPECT_EQ(At(string.FindLastText(CString(), sensitivity)), 3);
        EXPECT_EQ(At(string.FindLastText(CStringView(nullptr, 5), sensitivity)), 3);
        EXPECT_EQ(At(string.FindLastText(CStringView("xy", 0), sensitivity)), 3);
    }
    for (const CString &empty : EmptyStringsToSearch())
    {
        EXPECT_EQ(At(empty.FindText("")), 0);
        EXPECT_EQ(At(empty.FindText("", 1)), -1);
        EXPECT_EQ(At(empty.FindText("a")), -1);
        EXPECT_EQ(At(empty.FindLastText(null)), 0);
        EXPECT_EQ(At(empty.FindLastText("a")), -1);
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringSearch, FindTextAndFindLastTextCountEmbeddedTerminators)
{
    const CString string = Fixed(std::string("\0ab\0ab\0", 7));
    EXPECT_EQ(At(string.FindText("ab")), 1);
    EXPECT_EQ(At(string.FindText("ab", 2)), 4);
    EXPECT_EQ(At(string.FindLastText("ab")), 4);
    const std::string part("b\0", 2);
    EXPECT_EQ(At(string.FindText(ViewOf(part))), 2);
    EXPECT_EQ(At(string.FindText(Fixed(part), 3)), 5);
    EXPECT_EQ(At(string.FindLastText(ViewOf(part))), 5);
    EXPECT_EQ(At(string.FindLastText(Fixed(part))), 5);
    EXPECT_EQ(At(string.FindLastText(ViewOf(std::string(1, '\0')))), 6);
    EXPECT_EQ(At(string.FindText(ViewOf(std::string("b\0b", 3)))), -1);
    // A buffer ends at its terminator.
    EXPECT_EQ(At(string.FindText("ab\0x")), 1);
    EXPECT_EQ(At(string.FindLastText("ab\0x")), 4);
    // Not the terminator behind the text, which is not part of it.
    EXPECT_EQ(At(CString("abc").FindText(CStringView("c\0", 2))), -1);
    EXPECT_EQ(At(CString("abc").FindLastText(CStringView("\0", 1))), -1);
}

TEST(StringSearch, FindTextAndFindLastTextIgnoreTheCaseOfAsciiLettersOnly)
{
    const CString string("[@\xE9[@\xE9");
    EXPECT_EQ(At(string.FindText("\xC9", 0, CaseInsensitive)), -1);
    EXPECT_EQ(At(string.FindText("{", 0, CaseInsensitive)), -1);
    EXPECT_EQ(At(string.FindLastText("`", CaseInsensitive)), -1);
    EXPECT_EQ(At(string.FindText("\xE9[", 0, CaseInsensitive)), 2);
    EXPECT_EQ(At(string.FindLastText("@\xE9", CaseInsensitive)), 4);
    // Every value but zero ignores case.
    for (const u32 value : {2u, 0x80000000u, 0xFFFFFFFFu})
    {
        const ECaseSensitivity sensitivity = static_cast<ECaseSensitivity>(value);
        EXPECT_EQ(At(CString("Hello").FindText("ELL", 0, sensitivity)), 1);
        EXPECT_EQ(At(CString("Hello").FindLastText("ELL", sensitivity)), 1);
    }
}

TEST(StringSearch, FindTextMayLookForThePiecesOfTheStringItself)
{
    const CString string("abcabcabc");
    EXPECT_EQ(At(string.FindText(string)), 0);
    EXPECT_EQ(At(string.FindText(string, 1)), -1);
    EXPECT_EQ(At(string.FindLastText(string)), 0);
    EXPECT_EQ(At(string.FindText(CStringView(string).Slice(3, 3))), 0);
    EXPECT_EQ(At(string.FindText(CStringView(string).Slice(3, 3), 1)), 3);
    EXPECT_EQ(At(string.FindLastText(CStringView(string).Slice(0, 3), CaseInsensitive)), 6);
    EXPECT_EQ(At(string.FindText(string.Data() + 4, 2)), 4);
}

TEST(StringSearch, FindTextAndFindLastTextDoNotSeeWhatLiesBehindTheLength)
{
    // The room of a resizable string that was made shorter.
    CString string = Resizable("abcabc");
    ContainerOf(string)->Data()[4] = '\0';
    ContainerOf(string)->UnsafeSetLength(4);
    EXPECT_EQ(At(string.FindLastText("a")), 3);
    EXPECT_EQ(At(string.FindLastText("c")), 2);
    EXPECT_EQ(At(string.FindText("c", 3)), -1);
    EXPECT_EQ(At(string.FindText(CStringView("\0c", 2))), -1);
}

// Where the string's last block ends there is no more memory.
TEST(StringSearch, FindNextOfATextReadsNothingBehindTheStringWhateverTheStart)
{
    CPageEndAllocator allocator;
    for (const size_t length : {607u, 1023u, 2047u})
    {
        std::string text(length, '.');
        text.replace(length - 2, 2, "ab");
        const CString string = Fixed(text);
        for (const u32 start : {0u, 1u, 63u, 64u, 95u, 511u})
        {
            EXPECT_EQ(At(string.FindNextOf("ba", start)), -1) << length << " from " << start;
            EXPECT_EQ(At(string.FindNextOf("ab", start)), AtOf(length - 2)) << length << " from " << start;
        }
    }
}

TEST(StringSearch, FindTextAndFindLastTextAgreeWithTheModelForEveryShortText)
{
    const std::vector<std::string> texts = EveryText(std::string("aA\0", 3), kSlow ? 4 : 5);
    const std::vector<std::string> parts = EveryText(std::string("aA\0", 3), 3);
    for (const std::string &text : texts)
    {
        const CString string = Fixed(text);
        for (const std::string &part : parts)
        {
            const CString partString = Fixed(part);
            for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
            {
                const bool ignoreCase = sensitivity == CaseInsensitive;
                const long long last = AtOf(SearchModelFindLast(text, part, ignoreCase));
                ASSERT_EQ(At(string.FindLastText(ViewOf(part), sensitivity)), last);
                ASSERT_EQ(At(string.FindLastText(partString, sensitivity)), last);
                // As much of it as a buffer has.
                const std::string plain(part.c_str());
                ASSERT_EQ(At(string.FindLastText(part.c_str(), sensitivity)),
                          AtOf(SearchModelFindLast(text, plain, ignoreCase)));
                for (size_t start = 0; start <= text.size() + 1; ++start)
                {
                    const u32 from = static_cast<u32>(start);
                    const long long first = AtOf(SearchModelFindFrom(text, part, start, ignoreCase));
                    ASSERT_EQ(At(string.FindText(ViewOf(part), from, sensitivity)), first);
                    ASSERT_EQ(At(string.FindText(partString, from, sensitivity)), first);
                    ASSERT_EQ(At(string.FindText(part.c_str(), from, sensitivity)),
                              AtOf(SearchModelFindFrom(text, plain, start, ignoreCase)));
                }
            }
        }
    }
}

TEST(StringSearch, FindTextAndFindLastTextFindEveryPlaceFromEveryStart)
{
    for (size_t length = 3; length <= 65; ++length)
    {
        for (size_t place = 0; place + 3 <= length; ++place)
        {
            std::string text(length, '.');
            text.replace(place, 3, "a\xE9Z");
            const CString string = place % 2 == 0 ? Fixed(text) : Resizable(text);
            ASSERT_EQ(At(string.FindLastText("a\xE9Z")), AtOf(place)) << length;
            ASSERT_EQ(At(string.FindLastText("A\xE9z", CaseInsensitive)), AtOf(place)) << length;
            for (u32 start = 0; start <= length; ++start)
            {
                const long long expected = start <= place ? AtOf(place) : -1;
                ASSERT_EQ(At(string.FindText("a\xE9Z", start)), expected) << length << " from " << start;
                ASSERT_EQ(At(string.FindText("A\xE9z", start, CaseInsensitive)), expected)
                    << length << " from " << start;
            }
        }
    }
}

// Multiplied, the lengths would be 2.5 * 10^9 comparisons for each case.
TEST(StringSearch, FindTextAndFindLastTextAreLinearForHardNeedles)
{
    for (const SHardCase &hard : HardCases(kVerySlow ? 20000 : 100000))
    {
        // Either way round, so that both directions have their worst.
        for (const bool reversed : {false, true})
        {
            const std::string text = reversed ? std::string(hard.m_Text.rbegin(), hard.m_Text.rend()) : hard.m_Text;
            const std::string part =
                reversed ? std::string(hard.m_Needle.rbegin(), hard.m_Needle.rend()) : hard.m_Needle;
            const CString inFront = Fixed(part + text);
            const CString behind = Fixed(text + part);
            const long long end = static_cast<long long>(text.size());
            for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
            {
                const long long last = At(inFront.FindLastText(ViewOf(part), sensitivity));
                const long long first = At(behind.FindText(ViewOf(part), 0, sensitivity));
                // Where it stands once more, the text itself holds it.
                EXPECT_TRUE(last == 0 || inFront.Data() + last == std::strstr(inFront.Data() + last, part.c_str()));
                EXPECT_TRUE(first == end || behind.Data() + first == std::strstr(behind.Data() + first, part.c_str()));
                EXPECT_EQ(At(inFront.FindText(ViewOf(part), 0, sensitivity)), 0);
                EXPECT_EQ(At(behind.FindLastText(ViewOf(part), sensitivity)), end);
            }
        }
    }
}

TEST(StringSearch, FindTextInAContainerWithoutCharactersFindsNothingButNothing)
{
    CBrokenString broken;
    const CAssertRecorder recorder;
    EXPECT_EQ(At(broken.Get().FindText("a")), -1);
    EXPECT_EQ(At(broken.Get().FindLastText("a")), -1);
    EXPECT_EQ(At(broken.Get().FindText("")), 0);
    EXPECT_EQ(At(broken.Get().FindLastText("")), 0);
    EXPECT_EQ(recorder.Count(), 0u);
}

// A container without characters, as no operation makes one.

TEST(StringSearch, FindingInAContainerWithoutCharactersReportsAndIsInvalid)
{
    CBrokenString broken;
    CAssertRecorder recorder;
    EXPECT_EQ(broken.Get().FindNextOf('a', 0), CGuid::INVALID);
    ExpectReports(recorder, {kDataCheck});

    recorder.Clear();
    EXPECT_EQ(broken.Get().FindLastOf('a'), CGuid::INVALID);
    ExpectReports(recorder, {kDataCheck});

    recorder.Clear();
    EXPECT_EQ(broken.Get().FindNextOf("a", 0), CGuid::INVALID);
    ExpectReports(recorder, {kContainerDataCheck});
}

TEST(StringSearch, AContainerWithoutCharactersIsBlank)
{
    CBrokenString broken;
    const CAssertRecorder recorder;
    EXPECT_TRUE(broken.Get().Empty(" "));
    EXPECT_TRUE(broken.Get().Empty(nullptr));
    EXPECT_EQ(recorder.Count(), 0u);
}

// Prefix, suffix and substring tests.

// All three forms of the argument give the same answer.
#define EXPECT_ALL_FORMS(string, verb, part, sensitivity, expected)                                                    \
    do                                                                                                                 \
    {                                                                                                                  \
        ASSERT_EQ((string).verb((part).c_str(), sensitivity), expected) << (part) << " in " << TextOf(string);         \
        ASSERT_EQ((string).verb(Fixed(part), sensitivity), expected) << (part) << " in " << TextOf(string);            \
        ASSERT_EQ((string).verb(ViewOf(part), sensitivity), expected) << (part) << " in " << TextOf(string);           \
    } while (false)

TEST(StringSearch, EveryPrefixSuffixAndPartIsToldInAllForms)
{
    const std::vector<std::string> texts = EveryText("aA\xE9", kVerySlow ? 3 : 4);
    const std::vector<std::string> parts = EveryText("aA\xE9", 3);
    for (const std::string &text : texts)
    {
        const CString string(text.c_str());
        for (const std::string &part : parts)
            for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
            {
                const bool ignoreCase = sensitivity == CaseInsensitive;
                EXPECT_ALL_FORMS(string, StartsWith, part, sensitivity, SearchModelStartsWith(text, part, ignoreCase));
                EXPECT_ALL_FORMS(string, EndsWith, part, sensitivity, SearchModelEndsWith(text, part, ignoreCase));
                EXPECT_ALL_FORMS(string, Contains, part, sensitivity,
                                 SearchModelFind(text, part, ignoreCase) != std::string::npos);
            }
    }
}

TEST(StringSearch, PartsAreCaseSensitiveUnlessAskedOtherwise)
{
    const CString string("Hello");
    EXPECT_TRUE(string.StartsWith("He"));
    EXPECT_FALSE(string.StartsWith("he"));
    EXPECT_TRUE(string.EndsWith("lo"));
    EXPECT_FALSE(string.EndsWith("LO"));
    EXPECT_TRUE(string.Contains("ell"));
    EXPECT_FALSE(string.Contains("ELL"));
    // Every value but zero ignores case.
    for (const u32 value : {1u, 2u, 0x80000000u, 0xFFFFFFFFu})
    {
        const ECaseSensitivity sensitivity = static_cast<ECaseSensitivity>(value);
        EXPECT_TRUE(string.StartsWith("hE", sensitivity));
        EXPECT_TRUE(string.EndsWith("LO", sensitivity));
        EXPECT_TRUE(string.Contains("ELL", sensitivity));
    }
}

TEST(StringSearch, CaseIsTheCaseOfAsciiLetters)
{
    const CString string("\xE9[@");
    EXPECT_FALSE(string.StartsWith("\xC9", CaseInsensitive));
    EXPECT_FALSE(string.Contains("{", CaseInsensitive));
    EXPECT_FALSE(string.EndsWith("`", CaseInsensitive));
}

TEST(StringSearch, EmptyAndNullPartsAreContainedInEverything)
{
    const CAssertRecorder recorder;
    std::vector<CString> strings = EmptyStringsToSearch();
    strings.push_back(CString("abc"));
    const char *const null = nullptr;
    for (const CString &string : strings)
        for (const ECaseSensitivity sensitivity : {CaseSensitive, CaseInsensitive})
        {
            EXPECT_TRUE(string.StartsWith(null, sensitivity));
            EXPECT_TRUE(string.StartsWith("", sensitivity));
            EXPECT_TRUE(string.StartsWith(CString(), sensitivity));
            EXPECT_TRUE(string.StartsWith(CStringView(), sensitivity));
            EXPECT_TRUE(string.EndsWith(null, sensitivity));
            EXPECT_TRUE(string.EndsWith("", sensitivity));
            EXPECT_TRUE(string.EndsWith(CString(), sensitivity));
            EXPECT_TRUE(string.EndsWith(CStringView(), sensitivity));
            EXPECT_TRUE(string.Contains(null, sensitivity));
            EXPECT_TRUE(string.Contains("", sensitivity));
            EXPECT_TRUE(string.Contains(CString(), sensitivity));
            EXPECT_TRUE(string.Contains(CStringView(), sensitivity));
        }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringSearch, NothingElseIsContainedInAnEmptyString)
{
    for (const CString &string : EmptyStringsToSearch())
    {
        EXPECT_FALSE(string.StartsWith("a"));
        EXPECT_FALSE(string.EndsWith(CString("a")));
        EXPECT_FALSE(string.Contains(CStringView("a", 1)));
    }
}

TEST(StringSearch, PartsMayHoldTerminators)
{
    const CString string = Fixed(std::string("a\0bc", 4));
    EXPECT_TRUE(string.StartsWith(ViewOf(std::string("a\0b", 3))));
    EXPECT_FALSE(string.StartsWith(ViewOf(std::string("a\0c", 3))));
    EXPECT_TRUE(string.EndsWith("bc"));
    EXPECT_TRUE(string.EndsWith(Fixed(std::string("a\0bc", 4))));
    EXPECT_TRUE(string.Contains(Fixed(std::string("a\0b", 3))));
    EXPECT_FALSE(string.Contains(Fixed(std::string("a\0c", 3))));
}

// Blank strings.

TEST(StringSearch, EmptyWithASetAsksForNothingButCharactersOfTheSet)
{
    EXPECT_TRUE(CString(" ").Empty(" "));
    EXPECT_FALSE(CString(" x ").Empty(" "));
    EXPECT_TRUE(CString(" \t \t").Empty("\t "));
    EXPECT_FALSE(CString(" \t\n").Empty("\t "));
    EXPECT_TRUE(CString("aaaa").Empty("a"));
    EXPECT_FALSE(CString("aaaa").Empty("A"));
    EXPECT_FALSE(CString("x   ").Empty(" "));
    EXPECT_FALSE(CString("   x").Empty(" "));
    // A long one whose last character alone is none of the set.
    EXPECT_FALSE(CString((std::string(1000, ' ') + "x").c_str()).Empty(" "));
    EXPECT_TRUE(CString(std::string(1000, ' ').c_str()).Empty(" "));
}

TEST(StringSearch, EmptyWithANullOrEmptySetIsPlainEmptiness)
{
    for (const char *set : {static_cast<const char *>(nullptr), ""})
    {
        EXPECT_FALSE(CString(" ").Empty(set));
        EXPECT_FALSE(CString("x").Empty(set));
        EXPECT_TRUE(CString().Empty(set));
        EXPECT_TRUE(Fixed(std::string("\0x", 2)).Empty(set));
    }
}

TEST(StringSearch, AnEmptyStringIsBlankForEverySet)
{
    for (const CString &string : EmptyStringsToSearch())
        for (const char *set : {"", " ", "abc"})
            EXPECT_TRUE(string.Empty(set));
    EXPECT_TRUE(Fixed(std::string("\0x", 2)).Empty(" "));
}

TEST(StringSearch, EmptyWithASetStopsAtTheFirstTerminator)
{
    EXPECT_TRUE(Fixed(std::string("  \0x", 4)).Empty(" "));
    EXPECT_FALSE(Fixed(std::string(" x\0 ", 4)).Empty(" "));
}

TEST(StringSearch, EmptyWithASetTellsAllBytesApart)
{
    for (int member = 1; member < 256; ++member)
    {
        const char set[] = {static_cast<char>(member), '\0'};
        for (int byte = 1; byte < 256; ++byte)
            ASSERT_EQ(Fixed(std::string(1, static_cast<char>(byte))).Empty(set), byte == member);
    }
}

TEST(StringSearch, EveryShortTextIsBlankAsItsCharactersSay)
{
    for (const std::string &text : EveryText("ab\xE9", 4))
        for (const std::string &set : EveryText("ab\xE9", 2))
        {
            const bool blank = set.empty() ? text.empty() : text.find_first_not_of(set) == std::string::npos;
            ASSERT_EQ(CString(text.c_str()).Empty(set.c_str()), blank) << text << " of " << set;
        }
}

// Extraction from a string.

TEST(StringExtract, ARangeIncludesFirstAndExcludesLast)
{
    const CString string("hello");
    ExpectText(string.Extract(1, 3), "el");
    ExpectText(string.Extract(0, 5), "hello");
    ExpectText(string.Extract(4, 5), "o");
    ExpectText(string.Extract(0, 1), "h");
}

TEST(StringExtract, EveryRangeOfATextIsCopied)
{
    std::string text;
    for (char character = '\x21'; text.size() < 50; ++character)
        text += character;
    const CString string(text.c_str());
    for (u32 first = 0; first < 50; ++first)
        for (u32 last = first + 1; last <= 50; ++last)
            ExpectText(string.Extract(first, last), text.substr(first, last - first));
}

TEST(StringExtract, EqualIndicesWithinTheStringGiveAnEmptyStringWithoutAReport)
{
    const CAssertRecorder recorder;
    for (const u32 index : {0u, 2u, 4u})
        EXPECT_EQ(CString("hello").Extract(index, index).Data(), nullptr);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringExtract, AnEmptyRangeAtTheVeryEndReportsAndGivesAnEmptyString)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(CString("hello").Extract(5, 5).Data(), nullptr);
    ExpectReports(recorder, {kExtractOfStringCheck});
}

TEST(StringExtract, ARangeBeyondTheStringReportsAndGivesAnEmptyString)
{
    const CString string("hello");
    const u32 ranges[][2] = {{0, 6}, {4, 6}, {5, 6}, {6, 6}, {6, 7}, {5, 0}, {0, 0xFFFFFFFF}, {0xFFFFFFFF, 0xFFFFFFFF}};
    for (const auto &range : ranges)
    {
        const CAssertRecorder recorder;
        EXPECT_EQ(string.Extract(range[0], range[1]).Data(), nullptr) << range[0] << " to " << range[1];
        ExpectReports(recorder, {kExtractOfStringCheck});
    }
}

TEST(StringExtract, ARangeOfAnEmptyStringReportsAndGivesAnEmptyString)
{
    for (const CString &string : EmptyStringsToSearch())
    {
        const CAssertRecorder recorder;
        EXPECT_EQ(string.Extract(0, 0).Data(), nullptr);
        EXPECT_EQ(string.Extract(0, 1).Data(), nullptr);
        ExpectReports(recorder, {kExtractOfStringCheck, kExtractOfStringCheck});
    }
}

TEST(StringExtract, ARangeTheWrongWayRoundReportsAndGivesAnEmptyString)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(CString("hello").Extract(3, 1).Data(), nullptr);
    EXPECT_EQ(CString("hello").Extract(4, 0).Data(), nullptr);
    ExpectReports(recorder, {kExtractOfBufferCheck, kExtractOfBufferCheck});
}

TEST(StringExtract, TheResultSharesNothingWithTheSource)
{
    CString string("hello");
    const CString whole = string.Extract(0, 5);
    EXPECT_NE(whole.Data(), string.Data());
    EXPECT_EQ(ContainerOf(whole)->RefCount(), 1u);
    EXPECT_FALSE(ContainerOf(whole)->SupportsDynamicResize());
    string.RawDataForWriting()[0] = 'j';
    EXPECT_EQ(TextOf(whole), "hello");
    EXPECT_EQ(ContainerOf(string)->RefCount(), 1u);
}

TEST(StringExtract, TheSourceStaysAsItWas)
{
    const CString string = Resizable("hello");
    const char *const data = string.Data();
    const CString copy = string;
    EXPECT_EQ(TextOf(string.Extract(1, 2)), "e");
    EXPECT_EQ(string.Data(), data);
    EXPECT_EQ(ContainerOf(string)->RefCount(), 2u);
    ExpectText(string, "hello");
}

TEST(StringExtract, AStringWithTerminatorsIsExtractedByItsStoredLengthAndReported)
{
    const CString string = Fixed(std::string("ab\0cd", 5));
    CAssertRecorder recorder;
    ExpectCharacters(string.Extract(0, 5), std::string("ab\0cd", 5));
    ExpectCharacters(string.Extract(3, 5), "cd");
    ExpectReports(recorder, {kExtractOfBufferCheck, kExtractOfBufferCheck});

    recorder.Clear();
    ExpectCharacters(string.Extract(0, 2), "ab");
    EXPECT_EQ(recorder.Count(), 0u);
}

// A terminator is looked for in what is extracted and the 4096 characters in front of it.
TEST(StringExtract, ATerminatorInFrontOfTheRangeIsReportedAsFarBackAsTheCheckLooks)
{
    std::string text(10000, 'x');
    text[1000] = '\0';
    const CString string(CStringContainer::New(text.data(), 10000));
    for (const u32 first : {999u, 1000u, 1001u, 1008u, 5000u, 5096u, 5097u, 9000u})
    {
        SCOPED_TRACE(first);
        CAssertRecorder recorder;
        ExpectCharacters(string.Extract(first, first + 8), text.substr(first, 8));
        if (first <= 5096)
            ExpectReports(recorder, {kExtractOfBufferCheck});
        else
            ExpectReports(recorder, {});
    }
}

TEST(StringExtract, TheFrontOfALongStringIsNotLookedAtForEachPiece)
{
    CAssertRecorder recorder;
    const size_t pageBytes = SystemPageBytes();
    const CString string(std::string(8 * pageBytes, 'x').c_str());
    const size_t address = (reinterpret_cast<size_t>(string.Data()) + pageBytes - 1) / pageBytes * pageBytes;
    ASSERT_TRUE(ProtectPages(reinterpret_cast<void *>(address), pageBytes, PageAccess_None));
    const u32 first = static_cast<u32>(8 * pageBytes - 8);
    const CString piece = string.Extract(first, first + 8);
    ASSERT_TRUE(ProtectPages(reinterpret_cast<void *>(address), pageBytes, PageAccess_ReadWrite));
    ExpectText(piece, "xxxxxxxx");
    ExpectReports(recorder, {});
}

// Extraction from a buffer.

TEST(StringExtract, ABufferIsExtractedFromFirstToBeforeLast)
{
    const CAssertRecorder recorder;
    ExpectText(CString::Extract("hello", 1, 3), "el");
    ExpectText(CString::Extract("hello", 0, 5), "hello");
    ExpectText(CString::Extract("hello", 4, 5), "o");
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringExtract, EqualIndicesOfABufferAssertNothing)
{
    const CAssertRecorder recorder;
    for (const u32 index : {0u, 3u, 5u, 6u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(CString::Extract("hello", index, index).Data(), nullptr);
        EXPECT_EQ(CString::Extract(nullptr, index, index).Data(), nullptr);
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringExtract, ANullBufferReportsAndGivesAnEmptyString)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(CString::Extract(nullptr, 0, 1).Data(), nullptr);
    EXPECT_EQ(CString::Extract(nullptr, 3, 1).Data(), nullptr);
    ExpectReports(recorder, {kExtractOfBufferCheck, kExtractOfBufferCheck});
}

TEST(StringExtract, ABufferRangeTheWrongWayRoundReportsAndGivesAnEmptyString)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(CString::Extract("hello", 3, 1).Data(), nullptr);
    EXPECT_EQ(CString::Extract("hello", 0xFFFFFFFF, 0).Data(), nullptr);
    ExpectReports(recorder, {kExtractOfBufferCheck, kExtractOfBufferCheck});
}

TEST(StringExtract, ABufferWithATerminatorBeforeLastReportsAndIsExtractedAllTheSame)
{
    const char buffer[] = "ab\0cd";
    CAssertRecorder recorder;
    ExpectCharacters(CString::Extract(buffer, 0, 5), std::string("ab\0cd", 5));
    ExpectCharacters(CString::Extract(buffer, 3, 5), "cd");
    ExpectCharacters(CString::Extract(buffer, 2, 3), std::string(1, '\0'));
    ExpectReports(recorder, {kExtractOfBufferCheck, kExtractOfBufferCheck, kExtractOfBufferCheck});

    recorder.Clear();
    ExpectText(CString::Extract(buffer, 0, 2), "ab");
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringExtract, ABufferIsLookedAtNoFurtherThanLast)
{
    // No terminator in all the memory that may be read.
    const std::string text = "hello world";
    const CTextAtPageEnd atEnd(text);
    const CAssertRecorder recorder;
    const u32 length = LengthOf(text);
    for (u32 first = 0; first < length; ++first)
        for (u32 last = first + 1; last <= length; ++last)
            ExpectText(CString::Extract(atEnd.Data(), first, last), text.substr(first, last - first));
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringExtract, AnExtractTakesOneBlockOfTheFixedForm)
{
    CTestAllocator allocator;
    {
        const CString piece = CString::Extract("0123456789abcdefgh", 1, 17);
        const std::vector<SAllocatorCall> requests = allocator.Requests();
        ASSERT_EQ(requests.size(), 1u);
        EXPECT_EQ(requests[0].m_Size, 64u);
        EXPECT_EQ(requests[0].m_Origin, Mem::Origin_New);
        EXPECT_EQ(requests[0].m_Tag, "Kernel|Mem|Default");
        EXPECT_EQ(TextOf(piece), "123456789abcdefg");
    }
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

TEST(StringExtract, RefusedMemoryGivesAnEmptyStringWithoutAReport)
{
    for (const bool ofString : {false, true})
        SweepRefusals([] { return std::make_pair(CString("hello"), CString()); },
                      [ofString](std::pair<CString, CString> &state) {
                          state.second =
                              ofString ? state.first.Extract(1, 4) : CString::Extract(state.first.Data(), 1, 4);
                      },
                      [](std::pair<CString, CString> &state, const SRefusal &refusal, const CAssertRecorder &recorder)
                      {
                          if (refusal.m_Refused)
                              EXPECT_EQ(state.second.Data(), nullptr);
                          else
                              ExpectText(state.second, "ell");
                          ExpectText(state.first, "hello");
                          EXPECT_EQ(recorder.Count(), 0u);
                      });
}

// What all of them have in common.

TEST(StringSearch, SearchingNeitherAllocatesNorChangesAnything)
{
    CTestAllocator allocator;
    {
        const CString string("one two one");
        const CString part("two");
        const CString copy = string;
        allocator.ForgetCalls();
        EXPECT_EQ(At(string.FindFirstOf('t')), 4);
        EXPECT_EQ(At(string.FindFirstOf("two")), 4);
        EXPECT_EQ(At(string.FindNextOf('o', 1)), 6);
        EXPECT_EQ(At(string.FindNextOf("one", 1)), 8);
        EXPECT_EQ(At(string.FindLastOf('o')), 8);
        EXPECT_EQ(At(string.FindText(part, 1)), 4);
        EXPECT_EQ(At(string.FindText("TWO", 1, CaseInsensitive)), 4);
        EXPECT_EQ(At(string.FindLastText("one")), 8);
        EXPECT_EQ(At(string.FindLastText("ONE", CaseInsensitive)), 8);
        EXPECT_FALSE(string.StartsWith(part));
        EXPECT_FALSE(string.EndsWith(part, CaseInsensitive));
        EXPECT_TRUE(string.Contains(part, CaseInsensitive));
        EXPECT_FALSE(string.Empty(" "));
        EXPECT_TRUE(allocator.Calls().empty());
        EXPECT_EQ(string.Data(), copy.Data());
        ExpectText(string, "one two one");
    }
}

TEST(StringSearch, NothingOutsideTheBlockIsRead)
{
    CPageEndAllocator allocator;
    for (u32 length = 1; length <= 48; ++length)
    {
        const std::string text(length, 'a');
        const CString string(text.c_str());
        EXPECT_EQ(At(string.FindNextOf('b', 0)), -1);
        EXPECT_EQ(At(string.FindNextOf('a', length - 1)), length - 1);
        EXPECT_EQ(At(string.FindNextOf("ab", 0)), -1);
        EXPECT_EQ(At(string.FindNextOf(text.c_str(), 0)), 0);
        EXPECT_EQ(At(string.FindLastOf('b')), -1);
        EXPECT_EQ(At(string.FindText(CStringView("a\0", 2))), -1);
        EXPECT_EQ(At(string.FindText(text.c_str(), 0, CaseInsensitive)), 0);
        EXPECT_EQ(At(string.FindLastText("ba", CaseInsensitive)), -1);
        EXPECT_EQ(At(string.FindLastText("ba")), -1);
        EXPECT_TRUE(string.Empty("ab"));
        EXPECT_TRUE(string.EndsWith("a", CaseInsensitive));
        EXPECT_FALSE(string.Contains("A"));
        ExpectText(string.Extract(length - 1, length), "a");
        ExpectText(string.Extract(0, length), text);
    }
}

} // namespace
