// Wildcard matches of native strings, and of counted ones.
#include "buffer_wildcard.h"

#include "kr_buffer.h"

namespace Quorvane
{

namespace
{

using Internal::Buffer::SBackslashInhibits;
using Internal::Buffer::SCaseIgnored;
using Internal::Buffer::SCaseMatters;
using Internal::Buffer::SNoInhibitors;
using Internal::Buffer::SToEnd;
using Internal::Buffer::SToTerminator;
using Internal::Buffer::TCharacters;

template <typename TCase, typename TInhibitors, typename TEnd>
bool MatchCharacters(const TCharacters<TEnd> &pattern, const TCharacters<TEnd> &text)
{
    const Internal::Buffer::TWildcardNeeds<TCase, TInhibitors, TEnd> needs(pattern);
    if (needs.AreAll())
        return needs.Match(text);
    if (!needs.AreMetBy(text))
        return false;
    Internal::Buffer::SStepsUncounted steps;
    return Internal::Buffer::MatchWildcards<TCase, TInhibitors>(pattern, text, steps);
}

template <typename TCase, typename TInhibitors>
bool MatchTexts(const char *pattern, const char *str)
{
    if (pattern == nullptr || str == nullptr)
        return false;
    return MatchCharacters<TCase, TInhibitors, SToTerminator>({pattern, {}}, {str, {}});
}

} // namespace

bool SNativeStringUtils::Match(const char *pattern, const char *str) noexcept QV_NONBLOCKING
{
    return MatchTexts<SCaseMatters, SNoInhibitors>(pattern, str);
}

bool SNativeStringUtils::MatchCase(const char *pattern, const char *str) noexcept QV_NONBLOCKING
{
    return MatchTexts<SCaseIgnored, SNoInhibitors>(pattern, str);
}

bool SNativeStringUtils::MatchWithInhibitors(const char *pattern, const char *str) noexcept QV_NONBLOCKING
{
    return MatchTexts<SCaseMatters, SBackslashInhibits>(pattern, str);
}

bool SNativeStringUtils::MatchCaseWithInhibitors(const char *pattern, const char *str) noexcept QV_NONBLOCKING
{
    return MatchTexts<SCaseIgnored, SBackslashInhibits>(pattern, str);
}

namespace Internal::Buffer
{

bool MatchCounted(const char *pattern, u32 patternLength, const char *text, u32 length,
                  SWildcardRules rules) noexcept QV_NONBLOCKING
{
    const char *const begin = TextOrEmpty(text);
    const TCharacters<SToEnd> characters = {begin, {begin + length}};
    const TCharacters<SToEnd> wanted = {pattern, {pattern + patternLength}};
    if (rules.m_HasInhibitors)
        return rules.m_IgnoresCase ? MatchCharacters<SCaseIgnored, SBackslashInhibits>(wanted, characters)
                                   : MatchCharacters<SCaseMatters, SBackslashInhibits>(wanted, characters);
    return rules.m_IgnoresCase ? MatchCharacters<SCaseIgnored, SNoInhibitors>(wanted, characters)
                               : MatchCharacters<SCaseMatters, SNoInhibitors>(wanted, characters);
}

} // namespace Internal::Buffer

} // namespace Quorvane
