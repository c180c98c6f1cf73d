// Wildcard matching: the empty strings are decided here, everything else by the native matchers; views are counted.
#include "kr_string.h"

#include "../kr_buffer/buffer_wildcard.h"
#include "null_text.h"

namespace Quorvane
{

namespace
{

using FMatcher = bool (*)(const char *pattern, const char *str) noexcept QV_NONBLOCKING;

// What an empty string matches: null, and nothing but stars.
bool MatchesEmpty(const char *pattern)
{
    while (pattern != nullptr && *pattern == '*')
        ++pattern;
    return Internal::String::IsNullOrEmpty(pattern);
}

bool MatchWith(FMatcher matcher, const CString &string, const char *pattern)
{
    if (string.Empty())
        return MatchesEmpty(pattern);
    QV_ASSERT(pattern != null);
    return matcher(pattern, string.Data());
}

bool MatchView(const CStringView &pattern, const CStringView &view, Internal::Buffer::SWildcardRules rules)
{
    using Internal::String::ReadableLength;
    return Internal::Buffer::MatchCounted(pattern.Data(), ReadableLength(pattern), view.Data(), ReadableLength(view),
                                          rules);
}

} // namespace

bool CString::Match(const char *pattern, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    const bool ignoresCase = caseSensitivity != CaseSensitive;
    return MatchWith(ignoresCase ? &SNativeStringUtils::MatchCase : &SNativeStringUtils::Match, *this, pattern);
}

bool CString::Match(const CString &pattern, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return pattern.Empty() ? Empty() : Match(pattern.Data(), caseSensitivity);
}

bool CString::MatchWithInhibitors(const char *pattern, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    const bool ignoresCase = caseSensitivity != CaseSensitive;
    return MatchWith(ignoresCase ? &SNativeStringUtils::MatchCaseWithInhibitors
                                 : &SNativeStringUtils::MatchWithInhibitors,
                     *this, pattern);
}

bool CString::MatchWithInhibitors(const CString &pattern,
                                  ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return pattern.Empty() ? Empty() : MatchWithInhibitors(pattern.Data(), caseSensitivity);
}

bool CStringView::Match(const CStringView &pattern, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return MatchView(pattern, *this, {caseSensitivity != CaseSensitive, false});
}

bool CStringView::Match(const char *pattern, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return Match(CStringView(pattern), caseSensitivity);
}

bool CStringView::MatchWithInhibitors(const CStringView &pattern,
                                      ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return MatchView(pattern, *this, {caseSensitivity != CaseSensitive, true});
}

bool CStringView::MatchWithInhibitors(const char *pattern,
                                      ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    return MatchWithInhibitors(CStringView(pattern), caseSensitivity);
}

} // namespace Quorvane
