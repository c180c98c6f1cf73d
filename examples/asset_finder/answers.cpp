// Answers.
#include "answers.h"

#include <vector>

#include "console.h"
#include "patterns.h"
#include "results.h"
#include "stopwatch.h"

using namespace Quorvane;

namespace AssetFinder
{

bool AnswerQuery(const CFinder &finder, const CString &query, bool showTime)
{
    CHits hits;
    const CStopwatch watch;
    const bool found = finder.Find(query, hits);
    const double seconds = watch.Seconds();
    if (!found)
        Complain("\"" + query + "\"", "memory was refused");
    return found && Print(FormatResults(finder, query, hits, HighlightForStdout(), showTime ? seconds : -1));
}

bool AnswerPattern(const CFinder &finder, const CString &pattern, bool showTime)
{
    const char *objection = ObjectionToPattern(pattern);
    if (*objection != '\0')
    {
        Complain("\"" + pattern + "\"", objection);
        return true;
    }
    const CStopwatch watch;
    const std::vector<u32> matches = finder.Match(pattern);
    const double seconds = watch.Seconds();
    return Print(FormatMatches(finder, pattern, matches, showTime ? seconds : -1));
}

} // namespace AssetFinder
