// Wildcard matching of strings: the empty ones, which native matcher is asked, and what it is asked.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "every_text.h"
#include "kr_string.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"
#include "wildcard_model.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const char *const kPatternCheck = "pattern != null";
const char *const kNoPattern = nullptr;

// The strings that are empty: never assigned, emptied, and those that begin with a terminator.
std::vector<CString> EmptyStrings()
{
    CString emptied = Resizable("abc");
    emptied.Clear();
    return {CString(), CString(""), emptied, Fixed(std::string("\0abc", 4)), Resizable(std::string("\0", 1))};
}

// Every verb, in both case modes, with a buffer.
std::vector<bool> AllAnswers(const CString &string, const char *pattern)
{
    return {string.Match(pattern, CaseSensitive), string.Match(pattern, CaseInsensitive),
            string.MatchWithInhibitors(pattern, CaseSensitive), string.MatchWithInhibitors(pattern, CaseInsensitive)};
}

std::vector<bool> AllAnswers(const CString &string, const CString &pattern)
{
    return {string.Match(pattern, CaseSensitive), string.Match(pattern, CaseInsensitive),
            string.MatchWithInhibitors(pattern, CaseSensitive), string.MatchWithInhibitors(pattern, CaseInsensitive)};
}

const std::vector<bool> kAllTrue(4, true);
const std::vector<bool> kAllFalse(4, false);

TEST(StringMatching, TheWholeTextIsMatched)
{
    EXPECT_TRUE(CString("readme.txt").Match("*.txt"));
    EXPECT_TRUE(CString("readme.txt").Match("read??.txt"));
    EXPECT_TRUE(CString("readme.txt").Match("*"));
    EXPECT_FALSE(CString("readme.txt").Match("readme"));
    EXPECT_FALSE(CString("readme.txt").Match("eadme*"));
    EXPECT_FALSE(CString("readme.txt").Match("*.txt?"));
}

TEST(StringMatching, CaseSensitiveTellsCaseApartAndIsTheDefault)
{
    const CString string("ReadMe");
    EXPECT_TRUE(string.Match("Read*", CaseSensitive));
    EXPECT_FALSE(string.Match("read*", CaseSensitive));
    EXPECT_FALSE(string.Match("read*"));
    EXPECT_FALSE(string.Match(CString("read*")));
    EXPECT_TRUE(string.MatchWithInhibitors("Read*", CaseSensitive));
    EXPECT_FALSE(string.MatchWithInhibitors("read*", CaseSensitive));
    EXPECT_FALSE(string.MatchWithInhibitors("read*"));
    EXPECT_FALSE(string.MatchWithInhibitors(CString("read*")));
}

TEST(StringMatching, EveryNonZeroSensitivityIgnoresCase)
{
    const CString string("ReadMe");
    for (const u32 value : {1u, 2u, 256u, 0x80000000u, 0xFFFFFFFFu})
    {
        const ECaseSensitivity sensitivity = static_cast<ECaseSensitivity>(value);
        EXPECT_TRUE(string.Match("rEAD*", sensitivity));
        EXPECT_TRUE(string.Match(CString("rEAD*"), sensitivity));
        EXPECT_TRUE(string.MatchWithInhibitors("rEAD*", sensitivity));
        EXPECT_TRUE(string.MatchWithInhibitors(CString("rEAD*"), sensitivity));
    }
}

TEST(StringMatching, InhibitorsBelongToMatchWithInhibitorsAlone)
{
    EXPECT_TRUE(CString("a*").MatchWithInhibitors("a\\*"));
    EXPECT_FALSE(CString("ab").MatchWithInhibitors("a\\*"));
    EXPECT_FALSE(CString("a*").Match("a\\*"));
    EXPECT_TRUE(CString("a\\b").Match("a\\*"));
    EXPECT_TRUE(CString("A*").MatchWithInhibitors("a\\*", CaseInsensitive));
    EXPECT_TRUE(CString("A\\b").Match("a\\*", CaseInsensitive));
}

TEST(StringMatching, AnEmptyStringMatchesNullTheEmptyPatternAndStars)
{
    const CAssertRecorder recorder;
    for (const CString &string : EmptyStrings())
        for (const char *pattern : {kNoPattern, "", "*", "***"})
            EXPECT_EQ(AllAnswers(string, pattern), kAllTrue);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringMatching, AnEmptyStringMatchesNothingElse)
{
    for (const CString &string : EmptyStrings())
        for (const char *pattern : {"a", "a*", "*a", "?", "*?", "\\", "*\\*", "\\*", " "})
            EXPECT_EQ(AllAnswers(string, pattern), kAllFalse) << pattern;
}

TEST(StringMatching, AnEmptyStringMatchesEveryShortPatternAsItsStarsSay)
{
    for (const std::string &pattern : EveryText("a*?\\", 4))
    {
        const bool onlyStars = pattern.find_first_not_of('*') == std::string::npos;
        ASSERT_EQ(AllAnswers(CString(), pattern.c_str()), onlyStars ? kAllTrue : kAllFalse) << pattern;
    }
}

TEST(StringMatching, ANullPatternForATextReportsAndMatchesNothing)
{
    const CString string("abc");
    CAssertRecorder recorder;
    EXPECT_FALSE(string.Match(kNoPattern));
    ExpectReports(recorder, {kPatternCheck});
    EXPECT_EQ(AllAnswers(string, kNoPattern), kAllFalse);
    EXPECT_EQ(recorder.CountOf(kPatternCheck), IfAsserting(5));
}

TEST(StringMatching, AnEmptyPatternStringMatchesEmptyStringsOnly)
{
    const CAssertRecorder recorder;
    for (const CString &pattern : EmptyStrings())
    {
        for (const CString &string : EmptyStrings())
            EXPECT_EQ(AllAnswers(string, pattern), kAllTrue);
        EXPECT_EQ(AllAnswers(CString("abc"), pattern), kAllFalse);
        EXPECT_EQ(AllAnswers(CString("*"), pattern), kAllFalse);
    }
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringMatching, AnEmptyLiteralMatchesNoText)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(AllAnswers(CString("abc"), ""), kAllFalse);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringMatching, AContainerWithoutCharactersIsEmpty)
{
    CBrokenString broken;
    const CAssertRecorder recorder;
    EXPECT_EQ(AllAnswers(broken.Get(), "*"), kAllTrue);
    EXPECT_EQ(AllAnswers(broken.Get(), "a"), kAllFalse);
    EXPECT_EQ(AllAnswers(CString("a"), broken.Get()), kAllFalse);
    EXPECT_EQ(AllAnswers(CString(), broken.Get()), kAllTrue);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringMatching, TextAndPatternEndAtTheirFirstTerminator)
{
    const CString string = Fixed(std::string("ab\0cd", 5));
    EXPECT_EQ(AllAnswers(string, "ab"), kAllTrue);
    EXPECT_EQ(AllAnswers(string, "a?"), kAllTrue);
    EXPECT_EQ(AllAnswers(string, "*cd"), kAllFalse);
    EXPECT_EQ(AllAnswers(CString("ab"), Fixed(std::string("ab\0cd", 5))), kAllTrue);
}

TEST(StringMatching, OnlyAsciiLettersHaveCase)
{
    EXPECT_TRUE(CString("\xE9").Match("\xE9", CaseInsensitive));
    EXPECT_FALSE(CString("\xE9").Match("\xC9", CaseInsensitive));
    EXPECT_FALSE(CString("[").Match("{", CaseInsensitive));
    EXPECT_TRUE(CString("\x80\xFF").Match("??", CaseInsensitive));
}

// The two flavours, in both case modes, against a table.
TEST(StringMatching, EveryShortPatternMatchesEveryShortTextAsTheModelSays)
{
    const std::vector<std::string> patterns = EveryText("aB*?\\", 3);
    const std::vector<std::string> texts = EveryText("aAb\\*", 3);
    std::vector<CString> strings;
    for (const std::string &text : texts)
        strings.push_back(CString(text.c_str()));
    for (const std::string &pattern : patterns)
    {
        const CString patternString(pattern.c_str());
        for (size_t i = 0; i < texts.size(); ++i)
        {
            std::vector<bool> expected;
            for (const bool inhibitors : {false, true})
                for (const bool ignoreCase : {false, true})
                    expected.push_back(WildcardModelMatches(pattern, texts[i], ignoreCase, inhibitors));
            ASSERT_EQ(AllAnswers(strings[i], pattern.c_str()), expected) << pattern << " on " << texts[i];
            ASSERT_EQ(AllAnswers(strings[i], patternString), expected) << pattern << " on " << texts[i];
        }
    }
}

TEST(StringMatching, MatchingNeitherAllocatesNorChangesAnything)
{
    CTestAllocator allocator;
    {
        const CString string = Resizable("readme.txt");
        const CString pattern("*.TXT");
        const CString copies[] = {string, pattern};
        allocator.ForgetCalls();
        EXPECT_TRUE(string.Match(pattern, CaseInsensitive));
        EXPECT_FALSE(string.MatchWithInhibitors(pattern, CaseSensitive));
        EXPECT_FALSE(CString().Match("a"));
        EXPECT_TRUE(allocator.Calls().empty());
        EXPECT_EQ(string.Data(), copies[0].Data());
        EXPECT_EQ(pattern.Data(), copies[1].Data());
        ExpectText(string, "readme.txt");
    }
}

// Views.

template <typename Pattern>
std::vector<bool> AnswersOfView(const CStringView &view, const Pattern &pattern)
{
    return {view.Match(pattern, CaseSensitive), view.Match(pattern, CaseInsensitive),
            view.MatchWithInhibitors(pattern, CaseSensitive), view.MatchWithInhibitors(pattern, CaseInsensitive)};
}

std::vector<bool> AnswersOfModel(const std::string &pattern, const std::string &text)
{
    std::vector<bool> answers;
    for (const bool inhibitors : {false, true})
        for (const bool ignoreCase : {false, true})
            answers.push_back(WildcardModelMatches(pattern, text, ignoreCase, inhibitors));
    return answers;
}

TEST(StringViewMatching, MatchIsOfTheWholeView)
{
    const CStringView path("textures/readme.txt");
    const CStringView name = path.Slice(9);
    EXPECT_TRUE(name.Match("*.txt"));
    EXPECT_TRUE(name.Match("read??.txt"));
    EXPECT_FALSE(name.Match("eadme*"));
    EXPECT_TRUE(path.Slice(9, 6).Match("readme"));
    EXPECT_FALSE(path.Slice(9, 6).Match("readme.txt"));
    EXPECT_FALSE(path.Slice(9, 6).Match("*.txt"));
}

TEST(StringViewMatching, PatternsAreTextsViewsAndStrings)
{
    const CStringView view("abc");
    const CStringView patterns("xa*cx");
    EXPECT_TRUE(view.Match("a*c"));
    EXPECT_TRUE(view.Match(patterns.Slice(1, 3)));
    EXPECT_FALSE(view.Match(patterns.Slice(1)));
    EXPECT_TRUE(view.Match(CString("a*c")));
    EXPECT_TRUE(view.MatchWithInhibitors("a*c"));
    EXPECT_TRUE(view.MatchWithInhibitors(patterns.Slice(1, 3)));
    EXPECT_TRUE(view.MatchWithInhibitors(CString("a*c")));
    // A buffer that no literal is.
    char buffer[] = "a*c";
    EXPECT_TRUE(view.Match(buffer));
}

TEST(StringViewMatching, CaseSensitiveIsTheDefaultAndEveryNonZeroSensitivityIgnoresCase)
{
    const CStringView view("ReadMe");
    EXPECT_FALSE(view.Match("read*"));
    EXPECT_FALSE(view.Match(CStringView("read*")));
    EXPECT_FALSE(view.MatchWithInhibitors("read*"));
    EXPECT_FALSE(view.MatchWithInhibitors(CStringView("read*")));
    for (const u32 value : {1u, 2u, 256u, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(view.Match("rEAD*", static_cast<ECaseSensitivity>(value)), true) << value;
    EXPECT_FALSE(CStringView("\xE9").Match("\xC9", CaseInsensitive));
}

TEST(StringViewMatching, InhibitorsBelongToMatchWithInhibitorsAlone)
{
    EXPECT_TRUE(CStringView("a*").MatchWithInhibitors("a\\*"));
    EXPECT_FALSE(CStringView("ab").MatchWithInhibitors("a\\*"));
    EXPECT_FALSE(CStringView("a*").Match("a\\*"));
    // What follows a backslash at the end of a view belongs to somebody else.
    const CStringView pattern("a\\*", 2);
    EXPECT_TRUE(CStringView("a\\").MatchWithInhibitors(pattern));
    EXPECT_FALSE(CStringView("a*").MatchWithInhibitors(pattern));
}

TEST(StringViewMatching, AViewWithoutCharactersMatchesNoCharactersAndStars)
{
    const CAssertRecorder recorder;
    for (const CStringView &view : {CStringView(), CStringView(nullptr, 5), CStringView("abc", 0)})
    {
        for (const char *pattern : {kNoPattern, "", "*", "***"})
            EXPECT_EQ(AnswersOfView(view, pattern), kAllTrue);
        for (const CStringView &pattern : {CStringView(), CStringView(nullptr, 5), CStringView("abc", 0)})
        {
            EXPECT_EQ(AnswersOfView(view, pattern), kAllTrue);
            EXPECT_EQ(AnswersOfView(CStringView("abc"), pattern), kAllFalse);
        }
        for (const char *pattern : {"a", "a*", "*a*", "?", "*?", "\\", "*\\*"})
            EXPECT_EQ(AnswersOfView(view, pattern), kAllFalse) << pattern;
    }
    EXPECT_EQ(AnswersOfView(CStringView("abc"), kNoPattern), kAllFalse);
    EXPECT_EQ(AnswersOfView(CStringView("abc"), ""), kAllFalse);
    EXPECT_EQ(AnswersOfView(CStringView("abc"), CString()), kAllFalse);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(StringViewMatching, TerminatorsAreCharactersButEndAPatternThatIsAText)
{
    const CStringView view("ab\0cd", 5);
    EXPECT_EQ(AnswersOfView(view, "ab"), kAllFalse);
    EXPECT_EQ(AnswersOfView(view, "*cd"), kAllTrue);
    EXPECT_EQ(AnswersOfView(view, "ab?cd"), kAllTrue);
    EXPECT_EQ(AnswersOfView(view, CStringView("a*\0c*", 5)), kAllTrue);
    EXPECT_EQ(AnswersOfView(view, Fixed(std::string("ab\0cd", 5))), kAllTrue);
    EXPECT_EQ(AnswersOfView(CStringView("ab"), CStringView("ab\0", 3)), kAllFalse);
    EXPECT_EQ(AnswersOfView(CStringView("ab"), "ab\0cd"), kAllTrue);
    EXPECT_EQ(AnswersOfView(CStringView("\0a", 2), "?a"), kAllTrue);
}

TEST(StringViewMatching, EveryShortPatternMatchesEveryShortViewAsTheModelSays)
{
    const std::vector<std::string> patterns = EveryText(std::string("aB*?\\\0", 6), 3);
    const std::vector<std::string> texts = EveryText(std::string("aAb\\\0", 5), 3);
    for (const std::string &pattern : patterns)
    {
        const CString patternString = Fixed(pattern);
        const bool isText = pattern.find('\0') == std::string::npos;
        for (const std::string &text : texts)
        {
            const std::vector<bool> expected = AnswersOfModel(pattern, text);
            ASSERT_EQ(AnswersOfView(ViewOf(text), ViewOf(pattern)), expected) << pattern << " on " << text;
            ASSERT_EQ(AnswersOfView(ViewOf(text), patternString), expected) << pattern << " on " << text;
            if (isText)
            {
                ASSERT_EQ(AnswersOfView(ViewOf(text), pattern.c_str()), expected) << pattern << " on " << text;
            }
        }
    }
}

TEST(StringViewMatching, PatternAndTextMayBeTheSameCharacters)
{
    const CStringView view("a*b*");
    EXPECT_EQ(AnswersOfView(view, view), kAllTrue);
    EXPECT_EQ(AnswersOfView(view.Slice(0, 3), view.Slice(2)), kAllFalse);
    EXPECT_EQ(AnswersOfView(view.Slice(2), view.Slice(1)), kAllTrue);
}

TEST(StringViewMatching, NothingOutsideEitherViewIsRead)
{
    for (const char *text : {"", "a", "abc", "a\\", "abcabcabcabcabcab"})
    {
        for (const char *pattern : {"", "*", "a*", "*c", "abc", "abc?", "a\\", "*b*a*c", "*\\"})
        {
            const CTextAtPageEnd guardedText(text);
            const CTextAtPageEnd guardedPattern(pattern);
            EXPECT_EQ(AnswersOfView(guardedText.View(), guardedPattern.View()), AnswersOfModel(pattern, text))
                << pattern << " on " << text;
        }
    }
}

TEST(StringViewMatching, MatchingAllocatesNothing)
{
    CTestAllocator allocator;
    const CString string("readme.txt");
    allocator.ForgetCalls();
    EXPECT_TRUE(string.Slice(2).Match("*.TXT", CaseInsensitive));
    EXPECT_FALSE(string.Slice(2).MatchWithInhibitors(string));
    EXPECT_TRUE(allocator.Calls().empty());
}

} // namespace
