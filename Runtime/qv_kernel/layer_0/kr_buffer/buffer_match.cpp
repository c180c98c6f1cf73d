// Wildcard matches of native strings.
#include "buffer_match.h"

#include "kr_buffer.h"

namespace Quorvane
{

namespace
{

template <typename TCase, typename TInhibitors>
bool MatchTexts(const char *pattern, const char *str)
{
    if (pattern == nullptr || str == nullptr)
        return false;
    if (!Internal::TWildcardNeeds<TCase, TInhibitors>(pattern).AreMetBy(str))
        return false;
    Internal::SStepsUncounted steps;
    return Internal::MatchWildcards<TCase, TInhibitors>(pattern, str, steps);
}

} // namespace

bool SNativeStringUtils::Match(const char *pattern, const char *str)
{
    return MatchTexts<Internal::SCaseMatters, Internal::SNoInhibitors>(pattern, str);
}

bool SNativeStringUtils::MatchCase(const char *pattern, const char *str)
{
    return MatchTexts<Internal::SCaseIgnored, Internal::SNoInhibitors>(pattern, str);
}

bool SNativeStringUtils::MatchWithInhibitors(const char *pattern, const char *str)
{
    return MatchTexts<Internal::SCaseMatters, Internal::SBackslashInhibits>(pattern, str);
}

bool SNativeStringUtils::MatchCaseWithInhibitors(const char *pattern, const char *str)
{
    return MatchTexts<Internal::SCaseIgnored, Internal::SBackslashInhibits>(pattern, str);
}

} // namespace Quorvane
