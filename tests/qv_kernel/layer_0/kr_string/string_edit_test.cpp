// Edits that keep or shorten a string: reversing, replacing a character, stripping, blanking comments.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "comment_model.h"
#include "edge_allocators.h"
#include "edit_model.h"
#include "every_text.h"
#include "kr_string.h"
#include "odd_allocators.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const std::string kEditedLetters = "aAb\x80";

// Texts that tell every position apart, of lengths around the blocks.
std::string Counting(size_t length)
{
    std::string text;
    for (size_t i = 0; i < length; ++i)
        text += static_cast<char>('!' + i % 90);
    return text;
}

// A string to edit and another one that shares its container.
struct SSharedEdited
{
    CString m_String;
    CString m_Other;
};

SSharedEdited SharedText(const std::string &text)
{
    SSharedEdited shared;
    shared.m_String = Fixed(text);
    shared.m_Other = shared.m_String;
    return shared;
}

// Reverse.

TEST(StringEdit, ReverseReversesTheCharactersAndAnswersTheStringItself)
{
    CString string("abcd");
    EXPECT_EQ(&string.Reverse(), &string);
    ExpectText(string, "dcba");
    CString empty;
    EXPECT_EQ(&empty.Reverse(), &empty);
}

TEST(StringEdit, ReverseWorksAtEveryLengthAndKeepsTheZeroTail)
{
    CTestAllocator allocator;
    for (size_t length = 0; length <= 100; ++length)
    {
        const std::string text = Counting(length);
        for (CString string : {Fixed(text), Resizable(text)})
        {
            string.Reverse();
            ExpectText(string, ModelReversed(text));
        }
    }
}

TEST(StringEdit, ReverseOfOneOfTwoHandlesThatShareAContainerChangesBoth)
{
    CTestAllocator allocator;
    CString string("abc");
    const CString other = string;
    const CStringContainer *const container = ContainerOf(string);
    const u64 requests = allocator.RequestCount();
    string.Reverse();
    ExpectText(string, "cba");
    ExpectText(other, "cba");
    EXPECT_EQ(ContainerOf(string), container);
    EXPECT_EQ(ContainerOf(other), container);
    EXPECT_EQ(allocator.RequestCount(), requests);
}

TEST(StringEdit, ReverseKeepsLengthCapacityAndForm)
{
    CString string(CStringContainer::NewResizable("abc", 3, 50));
    const CStringContainer *const container = ContainerOf(string);
    string.Reverse();
    EXPECT_EQ(ContainerOf(string), container);
    EXPECT_EQ(CapacityOf(*container), 64u);
    EXPECT_TRUE(container->SupportsDynamicResize());
}

TEST(StringEdit, ReverseCoversTheStoredLengthWithTerminators)
{
    CString embedded = Fixed(std::string("ab\0c", 4));
    embedded.Reverse();
    ExpectCharacters(embedded, std::string("c\0ba", 4));
    // The length decides here, not the first character.
    CString leading = Fixed(std::string("\0ab", 3));
    leading.Reverse();
    ExpectCharacters(leading, std::string("ba\0", 3));
}

TEST(StringEdit, ReverseOfNoContainerOrOfLengthZeroDoesNothing)
{
    CTestAllocator allocator;
    CAssertRecorder recorder;
    CString null;
    null.Reverse();
    EXPECT_EQ(null.Data(), nullptr);
    CString cleared = Resizable("");
    const CStringContainer *const container = ContainerOf(cleared);
    const u64 requests = allocator.RequestCount();
    cleared.Reverse();
    EXPECT_EQ(ContainerOf(cleared), container);
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectReports(recorder, {});
}

TEST(StringEdit, ReverseReportsAContainerWithoutCharacters)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    broken.Get().Reverse();
    ExpectReports(recorder, {"data != null"});
}

TEST(StringEdit, ReverseReportsCharactersThatAreNotAligned)
{
    CAssertRecorder recorder;
    CMisalignedAllocator allocator;
    CString string("abc");
    recorder.Clear();
    string.Reverse();
    ExpectReports(recorder, {"QV_NAMESPACE::Mem::IsAligned<0x10>((data))"});
    if (kSitesReport)
    {
        char message[128];
        std::snprintf(message, sizeof(message), "Unaligned memory! %p should be 16-bytes aligned.",
                      static_cast<const void *>(string.Data()));
        EXPECT_EQ(recorder.Last().m_Message, message);
    }
    EXPECT_EQ(TextOf(string), "cba");
}

TEST(StringEdit, ReverseTouchesNothingOutsideItsBlocksAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (size_t length = 1; length <= 65; ++length)
    {
        for (CString string : {Fixed(Counting(length)), Resizable(Counting(length))})
        {
            string.Reverse();
            ExpectText(string, ModelReversed(Counting(length)));
        }
    }
}

// Reversed.

TEST(StringEdit, ReversedNeverTouchesTheSource)
{
    const CString source("abc");
    const CString other = source;
    const CStringContainer *const container = ContainerOf(source);
    const CString reversed = source.Reversed();
    ExpectText(reversed, "cba");
    ExpectText(source, "abc");
    ExpectText(other, "abc");
    EXPECT_EQ(ContainerOf(source), container);
    EXPECT_EQ(container->RefCount(), 2u);
    EXPECT_NE(ContainerOf(reversed), container);
}

TEST(StringEdit, ReversedOfATextOfOneCharacterIsACopyOfItsOwn)
{
    const CString source("a");
    CString reversed = source.Reversed();
    ExpectText(reversed, "a");
    // What is reversed later must not be seen by the source.
    EXPECT_NE(ContainerOf(reversed), ContainerOf(source));
}

TEST(StringEdit, ReversedCoversTheStoredLengthWithTerminators)
{
    ExpectCharacters(Fixed(std::string("ab\0c", 4)).Reversed(), std::string("c\0ba", 4));
    ExpectCharacters(Fixed(std::string("\0ab", 3)).Reversed(), std::string("ba\0", 3));
}

TEST(StringEdit, ReversedOfAnEmptyStringIsEmptyAndAllocatesNothing)
{
    CTestAllocator allocator;
    const CString cleared = Resizable("");
    const u64 requests = allocator.RequestCount();
    ExpectText(CString().Reversed(), "");
    ExpectText(cleared.Reversed(), "");
    EXPECT_EQ(allocator.RequestCount(), requests);
}

TEST(StringEdit, ReversedOfAContainerWithoutCharactersIsEmpty)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    EXPECT_EQ(broken.Get().Reversed().Data(), nullptr);
    ExpectReports(recorder, {});
}

TEST(StringEdit, ReversedRefusedIsEmptyAndLeavesTheSource)
{
    struct SState
    {
        CString m_Source;
        CString m_Reversed;
    };
    SweepRefusals(
        [] {
            return SState{CString("abc"), CString()};
        },
        [](SState &state) { state.m_Reversed = state.m_Source.Reversed(); },
        [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ExpectText(state.m_Source, "abc");
            ExpectText(state.m_Reversed, refusal.m_Refused ? "" : "cba");
            ExpectReports(recorder, {});
        });
}

// Replacing a character.

TEST(StringEdit, ReplaceOfACharacterReplacesEveryOccurrence)
{
    const CString source("banana");
    ExpectText(source.Replace('a', 'o'), "bonono");
    ExpectText(source.Replace('b', 'B'), "Banana");
    ExpectText(source, "banana");
}

TEST(StringEdit, ReplaceOfACharacterTellsCaseAndAllBytesApart)
{
    ExpectText(CString("aAa").Replace('a', 'x'), "xAx");
    ExpectText(CString("\xE9\x69\xE9").Replace('\xE9', '\xFF'), "\xFF\x69\xFF");
    ExpectText(CString("\x80\x7F").Replace('\x80', '\x01'), "\x01\x7F");
}

TEST(StringEdit, ReplaceOfACharacterThatIsNotThereIsACopyInANewContainer)
{
    const CString source("abc");
    const CString result = source.Replace('x', 'y');
    ExpectText(result, "abc");
    EXPECT_NE(ContainerOf(result), ContainerOf(source));
    EXPECT_EQ(ContainerOf(source)->RefCount(), 1u);
}

TEST(StringEdit, ReplaceOfACharacterAllocatesOneFixedContainerOfTheSameLength)
{
    CTestAllocator allocator;
    for (const u32 length : {1u, 15u, 16u, 33u})
    {
        const CString source = Resizable(Counting(length));
        allocator.ForgetCalls();
        allocator.RefuseNth(0);
        const CString result = source.Replace('!', '?');
        EXPECT_EQ(allocator.RequestCount(), 1u);
        EXPECT_EQ(allocator.Requests().back().m_Size, (length + 16) / 16 * 16 + 32);
        EXPECT_FALSE(ContainerOf(result)->SupportsDynamicResize());
        ExpectText(result, ModelReplaced(Counting(length), '!', '?'));
    }
}

TEST(StringEdit, ReplaceOfACharacterCoversTheStoredLengthWithTerminators)
{
    ExpectCharacters(Fixed(std::string("a\0a", 3)).Replace('a', 'b'), std::string("b\0b", 3));
    ExpectCharacters(Fixed(std::string("\0aa", 3)).Replace('a', 'b'), std::string("\0bb", 3));
}

TEST(StringEdit, ReplaceOfACharacterInAnEmptyStringIsEmptyAndAllocatesNothing)
{
    CTestAllocator allocator;
    CAssertRecorder recorder;
    const CString cleared = Resizable("");
    const u64 requests = allocator.RequestCount();
    for (const CString &result : {CString().Replace('a', 'b'), cleared.Replace('a', 'b')})
        EXPECT_EQ(result.Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectReports(recorder, {});
}

TEST(StringEdit, ReplaceOfACharacterInAContainerWithoutCharactersIsEmpty)
{
    CBrokenString broken;
    EXPECT_EQ(broken.Get().Replace('a', 'b').Data(), nullptr);
}

TEST(StringEdit, ReplaceOfTheTerminatorReportsAndGoesOnWithinTheStoredLength)
{
    CAssertRecorder recorder;
    const std::string report = "searchFor != '\\0' && replaceWith != '\\0'";
    ExpectCharacters(Fixed(std::string("a\0b", 3)).Replace('\0', 'x'), "axb");
    ExpectReports(recorder, {report});
    ExpectCharacters(CString("abc").Replace('b', '\0'), std::string("a\0c", 3));
    ExpectReports(recorder, {report, report});
    ExpectCharacters(CString("abc").Replace('\0', '\0'), "abc");
    ExpectReports(recorder, {report, report, report});
    EXPECT_EQ(CString().Replace('\0', 'x').Data(), nullptr);
    ExpectReports(recorder, {report, report, report, report});
}

TEST(StringEdit, ReplaceOfTheTerminatorLeavesTheTailZeroAndWhatLiesBehindTheBlock)
{
    CAssertRecorder recorder;
    CTestAllocator allocator; // notices writes behind a block
    for (size_t length = 1; length <= 80; ++length)
    {
        const CString result = Fixed(Counting(length)).Replace('\0', 'x');
        ExpectText(result, Counting(length));
    }
    EXPECT_EQ(recorder.Count(), IfAsserting(80));
}

TEST(StringEdit, ReplaceOfACharacterWorksAtEveryLengthAndPlaceAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (size_t length = 1; length <= 50; ++length)
    {
        for (size_t place = 0; place < length; ++place)
        {
            std::string text(length, 'a');
            text[place] = 'b';
            const CString source = Fixed(text);
            ASSERT_EQ(TextOf(source.Replace('b', 'c')), ModelReplaced(text, 'b', 'c'));
            ASSERT_EQ(TextOf(source.Replace('a', 'c')), ModelReplaced(text, 'a', 'c'));
        }
    }
}

TEST(StringEdit, EveryCharacterIsReplacedInEveryShortTextAsTheModelSays)
{
    for (const std::string &text : EveryText(kEditedLetters, 5))
    {
        const CString source = Fixed(text);
        for (const char from : kEditedLetters + "x")
        {
            for (const char to : kEditedLetters + "x")
            {
                ASSERT_EQ(TextOf(source.Replace(from, to)), ModelReplaced(text, from, to));
            }
        }
    }
}

TEST(StringEdit, ReplaceOfACharacterRefusedIsEmptyAndLeavesTheSource)
{
    struct SState
    {
        CString m_Source;
        CString m_Result;
    };
    SweepRefusals(
        [] {
            return SState{CString("abc"), CString("before")};
        },
        [](SState &state) { state.m_Result = state.m_Source.Replace('b', 'x'); },
        [](const SState &state, const SRefusal &refusal, const CAssertRecorder &recorder)
        {
            ExpectText(state.m_Source, "abc");
            ExpectText(state.m_Result, refusal.m_Refused ? "" : "axc");
            ExpectReports(recorder, {});
        });
}

// Stripping: what all three have in common.

typedef CString &(CString::*FStrip)(const char *);

struct SStrip
{
    const char *m_Name;
    FStrip m_Strip;
    std::string (*m_Model)(const std::string &, const std::string &);
};

const std::vector<SStrip> kStrips = {{"Strip", &CString::Strip, &ModelStrip},
                                     {"StripLeft", &CString::StripLeft, &ModelStripLeft},
                                     {"StripRight", &CString::StripRight, &ModelStripRight}};

TEST(StringEdit, StripLeftRemovesCharactersOfTheSetFromTheStart)
{
    CString string(" \tab c \t");
    EXPECT_EQ(&string.StripLeft("\t "), &string);
    ExpectText(string, "ab c \t");
}

TEST(StringEdit, StripRightRemovesCharactersOfTheSetFromTheEnd)
{
    CString string(" \tab c \t");
    EXPECT_EQ(&string.StripRight("\t "), &string);
    ExpectText(string, " \tab c");
}

TEST(StringEdit, StripRemovesCharactersOfTheSetFromBothEnds)
{
    CString string(" \tab c \t");
    EXPECT_EQ(&string.Strip("\t "), &string);
    ExpectText(string, "ab c");
}

TEST(StringEdit, StripMovesATextOfAnyLengthToTheFront)
{
    for (const size_t length : {1u, 2u, 31u, 32u, 33u, 62u, 63u, 64u, 65u, 66u, 100u, 1000u})
    {
        std::string text;
        for (size_t i = 0; i < length; ++i)
            text += static_cast<char>('a' + i % 23);
        for (const size_t blanks : {1u, 3u, 40u, 200u})
        {
            const std::string padding(blanks, ' ');
            ExpectText(Fixed(padding + text + padding).Strip(" "), text);
            ExpectText(Fixed(padding + text + padding).StripLeft(" "), text + padding);
        }
    }
}

TEST(StringEdit, StripTellsCaseAndAllBytesApart)
{
    CString string("aA\xE9x\xE9"
                   "Aa");
    string.Strip("a\xE9");
    ExpectText(string, "A\xE9x\xE9"
                       "A");
    string.Strip("\xE9"
                 "A");
    ExpectText(string, "x");
}

TEST(StringEdit, StripWithANullOrEmptySetStripsNothing)
{
    // There is no default set of blanks.
    CTestAllocator allocator;
    for (const SStrip &strip : kStrips)
    {
        for (const char *set : {static_cast<const char *>(nullptr), ""})
        {
            SSharedEdited shared = SharedText("  ab  ");
            const CStringContainer *const container = ContainerOf(shared.m_String);
            const u64 requests = allocator.RequestCount();
            (shared.m_String.*strip.m_Strip)(set);
            ExpectText(shared.m_String, "  ab  ");
            EXPECT_EQ(ContainerOf(shared.m_String), container) << strip.m_Name;
            EXPECT_EQ(allocator.RequestCount(), requests) << strip.m_Name;
        }
    }
}

TEST(StringEdit, StripWithNothingToStripLeavesASharedContainerShared)
{
    CTestAllocator allocator;
    for (const SStrip &strip : kStrips)
    {
        SSharedEdited shared = SharedText("a b");
        const CStringContainer *const container = ContainerOf(shared.m_String);
        const u64 requests = allocator.RequestCount();
        (shared.m_String.*strip.m_Strip)(" x");
        EXPECT_EQ(ContainerOf(shared.m_String), container) << strip.m_Name;
        EXPECT_EQ(ContainerOf(shared.m_Other), container) << strip.m_Name;
        EXPECT_EQ(allocator.RequestCount(), requests) << strip.m_Name;
    }
}

TEST(StringEdit, StripOfAnEmptyStringLeavesItsContainerAlone)
{
    CTestAllocator allocator;
    CAssertRecorder recorder;
    for (const SStrip &strip : kStrips)
    {
        for (const CString &source : {CString(), Resizable("")})
        {
            CString string = source;
            const u64 requests = allocator.RequestCount();
            (string.*strip.m_Strip)("ab");
            EXPECT_EQ(ContainerOf(string), ContainerOf(source)) << strip.m_Name;
            EXPECT_EQ(allocator.RequestCount(), requests) << strip.m_Name;
        }
    }
    ExpectReports(recorder, {});
}

TEST(StringEdit, StripOfAContainerWithoutCharactersDoesNothing)
{
    CAssertRecorder recorder;
    for (const SStrip &strip : kStrips)
    {
        CBrokenString broken;
        const CStringContainer *const container = ContainerOf(broken.Get());
        (broken.Get().*strip.m_Strip)("abc");
        EXPECT_EQ(ContainerOf(broken.Get()), container) << strip.m_Name;
        EXPECT_EQ(broken.Get().Length(), 3u) << strip.m_Name;
    }
    ExpectReports(recorder, {});
}

TEST(StringEdit, StripWorksInPlaceInAContainerOfItsOwn)
{
    CTestAllocator allocator;
    for (const SStrip &strip : kStrips)
    {
        CString string = Resizable("xxaxbxx");
        CStringContainer *const container = ContainerOf(string);
        const char *const data = string.Data();
        const u64 requests = allocator.RequestCount();
        (string.*strip.m_Strip)("x");
        ExpectText(string, strip.m_Model("xxaxbxx", "x"));
        EXPECT_EQ(ContainerOf(string), container) << strip.m_Name;
        EXPECT_EQ(static_cast<const void *>(string.Data()), static_cast<const void *>(data)) << strip.m_Name;
        EXPECT_TRUE(container->SupportsDynamicResize()) << strip.m_Name;
        EXPECT_EQ(allocator.RequestCount(), requests) << strip.m_Name;
    }
}

TEST(StringEdit, StripZeroesWhatTheShorterTextLeavesBehind)
{
    for (const SStrip &strip : kStrips)
    {
        for (size_t stripped = 1; stripped <= 40; ++stripped)
        {
            const std::string text = std::string(stripped, 'x') + "ab" + std::string(stripped, 'x');
            CString string = Fixed(text);
            (string.*strip.m_Strip)("x");
            ExpectText(string, strip.m_Model(text, "x"));
            ExpectZero(string.Data(), string.Length(), text.size() + 1);
        }
    }
}

TEST(StringEdit, StripOfASharedContainerCopiesItOnce)
{
    CTestAllocator allocator;
    for (const SStrip &strip : kStrips)
    {
        SSharedEdited shared = SharedText("xxaxbxx");
        allocator.RefuseNth(0);
        (shared.m_String.*strip.m_Strip)("x");
        EXPECT_EQ(allocator.RequestCount(), 1u) << strip.m_Name;
        ExpectText(shared.m_String, strip.m_Model("xxaxbxx", "x"));
        ExpectText(shared.m_Other, "xxaxbxx");
        EXPECT_EQ(ContainerOf(shared.m_Other)->RefCount(), 1u) << strip.m_Name;
    }
}

TEST(StringEdit, StripOfNothingElseLeavesLengthZeroInAContainerOfItsOwn)
{
    for (const SStrip &strip : kStrips)
    {
        for (const std::string &text : {std::string("a"), std::string("abab"), std::string(40, 'b')})
        {
            for (const bool isResizable : {false, true})
            {
                CString string = isResizable ? Resizable(text) : Fixed(text);
                CStringContainer *const container = ContainerOf(string);
                (string.*strip.m_Strip)("ab");
                EXPECT_EQ(ContainerOf(string), container) << strip.m_Name;
                EXPECT_EQ(container->SupportsDynamicResize(), isResizable) << strip.m_Name;
                EXPECT_EQ(string.Length(), 0u) << strip.m_Name;
                EXPECT_TRUE(string.Empty()) << strip.m_Name;
                ExpectZero(string.Data(), 0, text.size() + 1);
            }
        }
    }
}

TEST(StringEdit, StripOfNothingElseLeavesTheOtherHolderOfASharedContainerAlone)
{
    for (const SStrip &strip : kStrips)
    {
        SSharedEdited shared = SharedText("abab");
        (shared.m_String.*strip.m_Strip)("ab");
        EXPECT_EQ(shared.m_String.Length(), 0u) << strip.m_Name;
        EXPECT_TRUE(shared.m_String.Empty()) << strip.m_Name;
        ExpectText(shared.m_Other, "abab");
        EXPECT_EQ(ContainerOf(shared.m_Other)->RefCount(), 1u) << strip.m_Name;
    }
}

TEST(StringEdit, StripLeftOfNothingElseLetsGoOfASharedContainer)
{
    CTestAllocator allocator;
    SSharedEdited shared = SharedText("abab");
    const u64 requests = allocator.RequestCount();
    shared.m_String.StripLeft("ab");
    EXPECT_EQ(shared.m_String.Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), requests);
}

TEST(StringEdit, StripKeepsEmbeddedTerminatorsWhichNoSetHolds)
{
    CString left = Fixed(std::string("aa\0ab", 5));
    left.StripLeft("a");
    ExpectCharacters(left, std::string("\0ab", 3));
    CString right = Fixed(std::string("ba\0aa", 5));
    right.StripRight("a");
    ExpectCharacters(right, std::string("ba\0", 3));
    CString both = Fixed(std::string("a\0x\0a", 5));
    both.Strip("ax");
    ExpectCharacters(both, std::string("\0x\0", 3));
}

TEST(StringEdit, StripOfATextThatBeginsWithATerminatorFollowsItsLength)
{
    CString left = Fixed(std::string("\0aa", 3));
    const CStringContainer *const container = ContainerOf(left);
    left.StripLeft("a");
    EXPECT_EQ(ContainerOf(left), container);
    ExpectCharacters(left, std::string("\0aa", 3));
    CString right = Fixed(std::string("\0aa", 3));
    right.StripRight("a");
    ExpectCharacters(right, std::string("\0", 1));
}

TEST(StringEdit, TheSetMayBeAPieceOfTheStringItself)
{
    CString left("aabca");
    left.StripLeft(left.Data() + 4);
    ExpectText(left, "bca");
    CString right("abcaa");
    right.StripRight(right.Data() + 4);
    ExpectText(right, "abc");
    CString both("bacb");
    both.Strip(both.Data() + 3);
    ExpectText(both, "ac");
    CString all("abab");
    all.Strip(all.Data());
    EXPECT_EQ(all.Length(), 0u);
}

TEST(StringEdit, TheSetMayBeAPieceOfTheSharedContainer)
{
    for (const SStrip &strip : kStrips)
    {
        SSharedEdited shared = SharedText("bacb");
        (shared.m_String.*strip.m_Strip)(shared.m_String.Data() + 3);
        ExpectText(shared.m_String, strip.m_Model("bacb", "b"));
        ExpectText(shared.m_Other, "bacb");
    }
}

TEST(StringEdit, EverySetOfLettersIsStrippedFromEveryShortTextAsTheModelSays)
{
    for (const std::string &text : EveryText(kEditedLetters, 5))
    {
        for (unsigned members = 0; members < 16; ++members)
        {
            std::string set;
            for (unsigned letter = 0; letter < 4; ++letter)
                if ((members >> letter & 1) != 0)
                    set += kEditedLetters[letter];
            for (const SStrip &strip : kStrips)
            {
                for (const bool isShared : {false, true})
                {
                    CString string = Fixed(text);
                    const CString other = isShared ? string : CString();
                    (string.*strip.m_Strip)(set.c_str());
                    ASSERT_EQ(TextOf(string), strip.m_Model(text, set))
                        << strip.m_Name << " of " << ::testing::PrintToString(text) << " and "
                        << ::testing::PrintToString(set);
                    ASSERT_EQ(TextOf(other), isShared ? text : "");
                }
            }
        }
    }
}

TEST(StringEdit, StripTouchesNothingOutsideItsBlocksAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (const SStrip &strip : kStrips)
    {
        for (size_t length = 1; length <= 34; ++length)
        {
            for (size_t stripped = 0; 2 * stripped <= length; ++stripped)
            {
                const std::string text =
                    std::string(stripped, ' ') + std::string(length - 2 * stripped, 'a') + std::string(stripped, ' ');
                CString string = Fixed(text);
                (string.*strip.m_Strip)(" ");
                ASSERT_EQ(TextOf(string), strip.m_Model(text, " "));
                ExpectWellFormed(string);
            }
        }
    }
}

TEST(StringEdit, StripLeftRefusedItsCopyLeavesAnEmptyStringWithoutAReport)
{
    SweepRefusals([] { return SharedText("  ab  "); }, [](SSharedEdited &shared) { shared.m_String.StripLeft(" "); },
                  [](const SSharedEdited &shared, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(shared.m_String, refusal.m_Refused ? "" : "ab  ");
                      EXPECT_EQ(shared.m_String.Data() == nullptr, refusal.m_Refused);
                      ExpectText(shared.m_Other, "  ab  ");
                      ExpectReports(recorder, {});
                  });
}

TEST(StringEdit, StripRightRefusedItsCopyLeavesAnEmptyStringAndReports)
{
    for (const char *text : {"  ab  ", "      "})
    {
        SweepRefusals([&] { return SharedText(text); }, [](SSharedEdited &shared) { shared.m_String.StripRight(" "); },
                      [&](const SSharedEdited &shared, const SRefusal &refusal, const CAssertRecorder &recorder)
                      {
                          ExpectText(shared.m_String, refusal.m_Refused ? "" : ModelStripRight(text, " "));
                          ExpectText(shared.m_Other, text);
                          ExpectReports(recorder, refusal.m_Refused ? std::vector<std::string>{"data != null"}
                                                                    : std::vector<std::string>());
                      });
    }
}

TEST(StringEdit, StripRefusedItsCopyLeavesAnEmptyString)
{
    for (const char *text : {"  ab  ", "  ab", "ab  "})
    {
        SweepRefusals([&] { return SharedText(text); }, [](SSharedEdited &shared) { shared.m_String.Strip(" "); },
                      [&](const SSharedEdited &shared, const SRefusal &refusal, const CAssertRecorder &)
                      {
                          ExpectText(shared.m_String, refusal.m_Refused ? "" : "ab");
                          ExpectText(shared.m_Other, text);
                      });
    }
}

// Comments.

TEST(StringEdit, UncommentBlanksCommentsAndKeepsTheLength)
{
    CString string("a // b\nc /* d\n e */ f \"// g\"");
    EXPECT_EQ(&string.Uncomment(), &string);
    ExpectText(string, "a     \nc     \n      f \"// g\"");
}

TEST(StringEdit, UncommentWorksInPlaceWithoutAllocating)
{
    CTestAllocator allocator;
    CAssertRecorder recorder;
    CString string = Resizable("a // b");
    const CStringContainer *const container = ContainerOf(string);
    const u64 requests = allocator.RequestCount();
    string.Uncomment();
    EXPECT_EQ(ContainerOf(string), container);
    EXPECT_TRUE(container->SupportsDynamicResize());
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectText(string, "a     ");
    ExpectReports(recorder, {});
}

TEST(StringEdit, UncommentCopiesASharedContainerFirst)
{
    // Without a comment, too.
    for (const char *text : {"a // b", "plain"})
    {
        SSharedEdited shared = SharedText(text);
        shared.m_String.Uncomment();
        ExpectText(shared.m_String, CCommentModel::Blanked(text));
        ExpectText(shared.m_Other, text);
        EXPECT_NE(ContainerOf(shared.m_String), ContainerOf(shared.m_Other));
    }
}

TEST(StringEdit, UncommentOfAStringWithoutAContainerDoesNothing)
{
    CTestAllocator allocator;
    CAssertRecorder recorder;
    CString string;
    EXPECT_EQ(&string.Uncomment(), &string);
    EXPECT_EQ(string.Data(), nullptr);
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(StringEdit, UncommentOfASharedContainerOfLengthZeroLeavesTheStringWithoutAContainer)
{
    CAssertRecorder recorder;
    SSharedEdited shared{Resizable(""), CString()};
    shared.m_Other = shared.m_String;
    shared.m_String.Uncomment();
    EXPECT_EQ(shared.m_String.Data(), nullptr);
    EXPECT_NE(shared.m_Other.Data(), nullptr);
    ExpectReports(recorder, {});
}

TEST(StringEdit, UncommentReportsATextWithAnEmbeddedTerminator)
{
    CAssertRecorder recorder;
    CString string = Fixed(std::string("a//b\0//c", 8));
    string.Uncomment();
    ExpectCharacters(string, std::string("a   \0//c", 8));
    ExpectReports(recorder, {"SNativeStringUtils::Length_16(Data()) == Length()"});
}

TEST(StringEdit, UncommentReportsAContainerWithoutCharacters)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    broken.Get().Uncomment();
    ExpectReports(recorder, {"SNativeStringUtils::Length_16(Data()) == Length()"});
}

TEST(StringEdit, UncommentBlanksEveryShortTextAsTheModelSays)
{
    CAssertRecorder recorder;
    for (const std::string &text : EveryText("/*\\\n\r\"'x", 5))
    {
        CString string = Fixed(text);
        string.Uncomment();
        if (TextOf(string) != CCommentModel::Blanked(text))
        {
            FAIL() << ::testing::PrintToString(text) << " became " << ::testing::PrintToString(TextOf(string));
        }
    }
    ExpectReports(recorder, {});
}

TEST(StringEdit, UncommentTouchesNothingOutsideItsBlocksAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (size_t length = 1; length <= 40; ++length)
    {
        const std::string text =
            ("x /*" + std::string(length, 'c') + "*/ // " + std::string(length, 'd')).substr(0, length);
        CString string = Fixed(text);
        string.Uncomment();
        ExpectText(string, CCommentModel::Blanked(text));
    }
}

TEST(StringEdit, UncommentRefusedItsCopyLeavesAnEmptyStringWithoutAReport)
{
    SweepRefusals([] { return SharedText("a // b"); }, [](SSharedEdited &shared) { shared.m_String.Uncomment(); },
                  [](const SSharedEdited &shared, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      ExpectText(shared.m_String, refusal.m_Refused ? "" : "a     ");
                      EXPECT_EQ(shared.m_String.Data() == nullptr, refusal.m_Refused);
                      ExpectText(shared.m_Other, "a // b");
                      ExpectReports(recorder, {});
                  });
}

} // namespace
