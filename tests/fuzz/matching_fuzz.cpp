// Wildcard matching: the four native matchers, the string's own and the view's, against a table. And the places of a text
// in another one, the first and the last.
#include <algorithm>
#include <array>

#include "fuzz_support.h"
#include "search_model.h"
#include "wildcard_model.h"

namespace
{

using namespace QuorvaneFuzz;
using namespace QuorvaneTest;

// What the table is filled for in reasonable time.
constexpr u32 kMaxCells = 12000;

ECaseSensitivity Sensitivity(bool ignoreCase)
{
    return ignoreCase ? CaseInsensitive : CaseSensitive;
}

bool NativeMatches(const char *pattern, const char *text, bool ignoreCase, bool inhibitors)
{
    if (inhibitors)
        return ignoreCase ? SNativeStringUtils::MatchCaseWithInhibitors(pattern, text)
                          : SNativeStringUtils::MatchWithInhibitors(pattern, text);
    return ignoreCase ? SNativeStringUtils::MatchCase(pattern, text) : SNativeStringUtils::Match(pattern, text);
}

template <typename Pattern, typename Text>
bool TextMatches(const Pattern &pattern, const Text &text, bool ignoreCase, bool inhibitors)
{
    const ECaseSensitivity sensitivity = Sensitivity(ignoreCase);
    return inhibitors ? text.MatchWithInhibitors(pattern, sensitivity) : text.Match(pattern, sensitivity);
}

long long PlaceOf(const CGuid &found)
{
    return found.Valid() ? static_cast<long long>(found.Get()) : -1;
}

long long PlaceOf(std::size_t found)
{
    return found != std::string::npos ? static_cast<long long>(found) : -1;
}

void CheckTextIsFound(const CString &string, const std::string &text, const std::string &part, u32 start,
                      bool ignoreCase)
{
    const ECaseSensitivity sensitivity = Sensitivity(ignoreCase);
    // In blocks of exactly their sizes, without terminators.
    const CExactText exactText(text, false);
    const CExactText exactPart(part, false);
    const CExactText terminatedPart(part);
    const long long first = PlaceOf(SearchModelFindFrom(text, part, start, ignoreCase));
    const long long last = PlaceOf(SearchModelFindLast(text, part, ignoreCase));
    QV_FUZZ_CHECK(PlaceOf(string.FindText(exactPart.View(), start, sensitivity)) == first);
    QV_FUZZ_CHECK(PlaceOf(exactText.View().FindText(exactPart.View(), start, sensitivity)) == first);
    QV_FUZZ_CHECK(PlaceOf(string.FindLastText(exactPart.View(), sensitivity)) == last);
    QV_FUZZ_CHECK(PlaceOf(exactText.View().FindLastText(exactPart.View(), sensitivity)) == last);
    if (HoldsTerminator(part))
        return;
    QV_FUZZ_CHECK(PlaceOf(string.FindText(terminatedPart.Data(), start, sensitivity)) == first);
    QV_FUZZ_CHECK(PlaceOf(exactText.View().FindLastText(terminatedPart.Data(), sensitivity)) == last);
}

std::string WithTerminators(std::string text)
{
    std::replace(text.begin(), text.end(), 'A', '\0');
    return text;
}

// A way to match, and whether the pattern matches the text that way.
struct SExpected
{
    bool m_IgnoreCase;
    bool m_Inhibitors;
    bool m_Matches = false;
};

std::array<SExpected, 4> ExpectedOf(const std::string &pattern, const std::string &text)
{
    std::array<SExpected, 4> all = {{{false, false}, {true, false}, {false, true}, {true, true}}};
    for (SExpected &way : all)
        way.m_Matches = WildcardModelMatches(pattern, text, way.m_IgnoreCase, way.m_Inhibitors);
    return all;
}

// Views and patterns by their lengths, in blocks of exactly their size.
void CheckViews(const std::string &pattern, const std::string &text, const std::array<SExpected, 4> &expected)
{
    const CExactText exactPattern(pattern, false);
    const CExactText exactText(text, false);
    for (const auto &[ignoreCase, inhibitors, matches] : expected)
    {
        QV_FUZZ_CHECK(TextMatches(exactPattern.View(), exactText.View(), ignoreCase, inhibitors) == matches);
        if (!HoldsTerminator(pattern))
            QV_FUZZ_CHECK(TextMatches(pattern.c_str(), exactText.View(), ignoreCase, inhibitors) == matches);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    input.ChooseLetters("ab*?\\A");
    const CExactText pattern(input.PlainText());
    const CExactText text(input.PlainText());
    if (static_cast<u64>(pattern.Length() + 1) * (text.Length() + 1) > kMaxCells)
        return 0;

    const CString string = NewString(text.Text(), input.Byte());
    const CString patternString = NewString(pattern.Text(), input.Byte());
    if (watch.HasRefused())
        return 0;
    watch.BeginStep();
    const std::array<SExpected, 4> expected = ExpectedOf(pattern.Text(), text.Text());
    for (const auto &[ignoreCase, inhibitors, matches] : expected)
    {
        QV_FUZZ_CHECK(NativeMatches(pattern.Data(), text.Data(), ignoreCase, inhibitors) == matches);
        QV_FUZZ_CHECK(TextMatches(pattern.Data(), string, ignoreCase, inhibitors) == matches);
        QV_FUZZ_CHECK(TextMatches(patternString, string, ignoreCase, inhibitors) == matches);
    }
    CheckViews(pattern.Text(), text.Text(), expected);
    QV_FUZZ_CHECK(!watch.HasAllocated() && !watch.HasReported());

    // The pattern in the text; then another part in it, with terminators, which may be cut out of it.
    const u32 start = input.Below(text.Length() + 2);
    std::string other = input.Flag() ? text.Text().substr(start % (text.Length() + 1), input.Byte()) : std::string();
    other += input.Text();
    const std::string withOther = text.Text() + other + text.Text();
    const CString longer = NewString(withOther, input.Byte());
    if (watch.HasRefused())
        return 0;
    watch.BeginStep();
    for (const bool ignoreCase : {false, true})
    {
        CheckTextIsFound(string, text.Text(), pattern.Text(), start, ignoreCase);
        CheckTextIsFound(longer, withOther, other, start, ignoreCase);
    }

    // What else there is of the input as a pattern and a text by length, with terminators for one of the letters.
    const std::string countedPattern = WithTerminators(input.Text());
    const std::string countedText = WithTerminators(input.Text());
    if (static_cast<u64>(countedPattern.size() + 1) * (countedText.size() + 1) <= kMaxCells)
        CheckViews(countedPattern, countedText, ExpectedOf(countedPattern, countedText));
    QV_FUZZ_CHECK(!watch.HasAllocated() && !watch.HasReported());
    return 0;
}
