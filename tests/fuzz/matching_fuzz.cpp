// Wildcard matching: the four native matchers and the string's own, against a table.
#include "fuzz_support.h"
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

template <typename Pattern>
bool StringMatches(const Pattern &pattern, const CString &text, bool ignoreCase, bool inhibitors)
{
    const ECaseSensitivity sensitivity = Sensitivity(ignoreCase);
    return inhibitors ? text.MatchWithInhibitors(pattern, sensitivity) : text.Match(pattern, sensitivity);
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
    for (u32 i = 0; i < 4; ++i)
    {
        const bool ignoreCase = (i & 1) != 0;
        const bool inhibitors = (i & 2) != 0;
        const bool expected = WildcardModelMatches(pattern.Text(), text.Text(), ignoreCase, inhibitors);
        QV_FUZZ_CHECK(NativeMatches(pattern.Data(), text.Data(), ignoreCase, inhibitors) == expected);
        QV_FUZZ_CHECK(StringMatches(pattern.Data(), string, ignoreCase, inhibitors) == expected);
        QV_FUZZ_CHECK(StringMatches(patternString, string, ignoreCase, inhibitors) == expected);
    }
    QV_FUZZ_CHECK(!watch.HasAllocated() && !watch.HasReported());
    return 0;
}
