// Wildcard matches of native strings.
#include "buffer_wildcard.h"

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
    if (!Internal::Buffer::TWildcardNeeds<TCase, TInhibitors>(pattern).AreMetBy(str))
        return false;
    Internal::Buffer::SStepsUncounted steps;
    return Internal::Buffer::MatchWildcards<TCase, TInhibitors>(pattern, str, steps);
}

} // namespace

bool SNativeStringUtils::Match(const char *pattern, const char *str) noexcept
{
    return MatchTexts<Internal::Buffer::SCaseMatters, Internal::Buffer::SNoInhibitors>(pattern, str);
}

bool SNativeStringUtils::MatchCase(const char *pattern, const char *str) noexcept
{
    return MatchTexts<Internal::Buffer::SCaseIgnored, Internal::Buffer::SNoInhibitors>(pattern, str);
}

bool SNativeStringUtils::MatchWithInhibitors(const char *pattern, const char *str) noexcept
{
    return MatchTexts<Internal::Buffer::SCaseMatters, Internal::Buffer::SBackslashInhibits>(pattern, str);
}

bool SNativeStringUtils::MatchCaseWithInhibitors(const char *pattern, const char *str) noexcept
{
    return MatchTexts<Internal::Buffer::SCaseIgnored, Internal::Buffer::SBackslashInhibits>(pattern, str);
}

} // namespace Quorvane
