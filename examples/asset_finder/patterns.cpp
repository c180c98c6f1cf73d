// Wildcard patterns.
#include "patterns.h"

#include <algorithm>

using namespace Quorvane;

namespace AssetFinder
{

namespace
{

bool MatchesPath(const CString &pattern)
{
    return pattern.FindFirstOf('/').Valid();
}

// A file whose path is joined when the first pattern asks for it.
class CSubject
{
public:
    explicit CSubject(const SFile &file) : m_File(file) {}

    bool MatchesAny(const std::vector<CString> &patterns, ECaseSensitivity caseSensitivity)
    {
        const auto matches = [&](const CString &pattern)
        { return _TextFor(pattern).MatchWithInhibitors(pattern, caseSensitivity); };
        return std::any_of(patterns.begin(), patterns.end(), matches);
    }

private:
    const CString &_TextFor(const CString &pattern)
    {
        if (!MatchesPath(pattern))
            return m_File.m_Name;
        if (m_Path.Empty())
            m_Path = m_File.Path();
        return m_Path;
    }

    const SFile &m_File;
    CString m_Path;
};

// Each second backslash is taken literally by the one before it.
bool EndsInLoneBackslash(const CStringView &pattern)
{
    return (pattern.Length() - pattern.StripRight('\\').Length()) % 2 != 0;
}

} // namespace

bool SPatterns::Keep(const SFile &file) const
{
    CSubject subject(file);
    const bool included = m_Includes.empty() || subject.MatchesAny(m_Includes, m_CaseSensitivity);
    return included && !subject.MatchesAny(m_Excludes, m_CaseSensitivity);
}

const char *ObjectionToPattern(const CString &pattern)
{
    if (pattern.Empty())
        return "an empty pattern matches no file";
    return EndsInLoneBackslash(pattern) ? "a backslash at the end makes nothing literal" : "";
}

} // namespace AssetFinder
