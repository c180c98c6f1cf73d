// Wildcards: one pattern over many paths, and patterns that lead simple matchers astray.
#include <cstring>
#include <memory>
#include <regex>
#include <string>
#include <string_view>

#include <fnmatch.h>

#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

// The textbook's way: a mismatch goes back to the last star.
bool MatchesPlain(std::string_view pattern, std::string_view text)
{
    constexpr size_t kNone = static_cast<size_t>(-1);
    size_t p = 0;
    size_t t = 0;
    size_t star = kNone;
    size_t mark = 0;
    while (t < text.size())
    {
        if (p < pattern.size() && pattern[p] == '*')
        {
            star = p++;
            mark = t;
        }
        else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t]))
        {
            ++p;
            ++t;
        }
        else if (star != kNone)
        {
            p = star + 1;
            t = ++mark;
        }
        else
            return false;
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

// The regular expression that means what a wildcard pattern means, for a library whose dots match line feeds or not.
std::string AsExpression(const char *pattern, bool isForDots)
{
    const std::string any = isForDots ? "." : "(?:.|\\n)";
    std::string expression;
    for (; *pattern != '\0'; ++pattern)
    {
        if (*pattern == '*')
            expression += any + "*";
        else if (*pattern == '?')
            expression += any;
        else if (std::strchr("\\.+()[]{}^$|", *pattern) != nullptr)
            expression += std::string("\\") + *pattern;
        else
            expression += *pattern;
    }
    return expression;
}

#if QV_BENCH_RE2
std::shared_ptr<re2::RE2> Compile(const std::string &expression)
{
    re2::RE2::Options options;
    options.set_encoding(re2::RE2::Options::EncodingLatin1);
    options.set_dot_nl(true);
    options.set_never_capture(true);
    return std::make_shared<re2::RE2>(expression, options);
}
#endif

template <typename Texts, typename Matches>
auto CountMatches(std::shared_ptr<Texts> texts, Matches matches)
{
    return [texts, matches]
    {
        size_t count = 0;
        for (const auto &text : *texts)
            count += matches(text) ? 1 : 0;
        return count;
    };
}

// How many of the texts match. The regular expressions are compiled once, outside the time.
void AddMatch(const char *name, size_t size, const char *pattern, const std::vector<std::string> &texts,
              bool isForBacktracking)
{
    const auto strings = std::make_shared<std::vector<std::string>>(texts);
    const auto ours = std::make_shared<std::vector<CString>>();
    size_t total = 0;
    for (const std::string &text : texts)
    {
        ours->emplace_back(text.c_str());
        total += text.size();
    }
    CRow row(name, size);
    row.Add("ours", CountMatches(ours, [pattern](const CString &text) { return text.Match(pattern); }));
    row.Add("textbook", CountMatches(strings, [view = std::string_view(pattern)](const std::string &text)
                                     { return MatchesPlain(view, text); }));
    if (isForBacktracking)
    {
        row.Add("fnmatch", CountMatches(strings, [pattern](const std::string &text)
                                        { return fnmatch(pattern, text.c_str(), FNM_NOESCAPE) == 0; }));
        row.Add("std::regex",
                CountMatches(strings, [expression = std::regex(AsExpression(pattern, false), std::regex::optimize)](
                                          const std::string &text) { return std::regex_match(text, expression); }));
    }
#if QV_BENCH_RE2
    row.Add("re2::FullMatch",
            CountMatches(strings, [expression = Compile(AsExpression(pattern, true))](const std::string &text)
                         { return re2::RE2::FullMatch(text, *expression); }));
#endif
    row.Limit("read", ReadLimit(total));
}

// The same of views of the paths, which stand in one text, one behind the other.
void AddMatchViews(const char *name, const char *pattern, const std::vector<std::string> &texts)
{
    const auto all = std::make_shared<std::string>();
    for (const std::string &text : texts)
        *all += text;
    // The views, and the text that they are of.
    struct SViews
    {
        std::vector<CStringView> m_Ours;
        std::vector<std::string_view> m_Standard;
        std::shared_ptr<std::string> m_All;
    };
    const auto views = std::make_shared<SViews>();
    views->m_All = all;
    size_t at = 0;
    for (const std::string &text : texts)
    {
        views->m_Ours.emplace_back(all->data() + at, static_cast<u32>(text.size()));
        views->m_Standard.emplace_back(all->data() + at, text.size());
        at += text.size();
    }
    const std::shared_ptr<std::vector<CStringView>> ours(views, &views->m_Ours);
    const std::shared_ptr<std::vector<std::string_view>> standard(views, &views->m_Standard);
    CRow row(name, texts.size());
    row.Add("ours", CountMatches(ours, [pattern](const CStringView &text) { return text.Match(pattern); }));
    row.Add("textbook", CountMatches(standard, [view = std::string_view(pattern)](std::string_view text)
                                     { return MatchesPlain(view, text); }));
#if QV_BENCH_RE2
    row.Add("re2::FullMatch",
            CountMatches(standard, [expression = Compile(AsExpression(pattern, true))](std::string_view text)
                         { return re2::RE2::FullMatch(re2::StringPiece(text.data(), text.size()), *expression); }));
#endif
    row.Limit("read", ReadLimit(all->size()));
}

} // namespace

void RegisterRows()
{
    // A tenth where nobody looks at the times: std::regex takes half a minute for all of them when it is not optimised.
    const std::vector<std::string> paths = Paths(Once() ? 10000 : 100000);
    AddMatch("match_paths", paths.size(), "*lib*/*.so.?", paths, true);
    AddMatchViews("match_views", "*lib*/*.so.?", paths);
    AddMatch("match_hard", 24, "*a*a*a*a*b", {std::string(24, 'a')}, true);
    AddMatch("match_hard", 64, "*a*a*a*a*b", {std::string(64, 'a')}, false);
    AddMatch("match_hard", 4096, "*a*a*a*a*b", {std::string(4096, 'a')}, false);
    std::string pairs;
    for (int i = 0; i < 2048; ++i)
        pairs += "ab";
    AddMatch("match_hard_words", 4096, "*aba*abb*c", {pairs}, false);
}

} // namespace Bench
