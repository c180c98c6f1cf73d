// The program catalogue written with Abseil's strings, and with RE2 where it is installed: the same arguments and the same
// output.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "absl/container/flat_hash_map.h"
#include "absl/strings/ascii.h"
#include "absl/strings/match.h"
#include "absl/strings/str_cat.h"
#include "absl/strings/str_format.h"
#include "absl/strings/str_join.h"
#include "absl/strings/str_replace.h"
#include "absl/strings/string_view.h"
#include "absl/strings/strip.h"

#if defined(QV_PROGRAMS_RE2)
#include <re2/re2.h>
#else
#include "../wildcard.h"
#endif

namespace
{

using u64 = std::uint64_t;

struct SArguments
{
    std::string m_File;
    std::vector<std::string> m_Include; // none: everything
    std::vector<std::string> m_Exclude;
    std::vector<std::pair<std::string, std::string>> m_Replacements;
};

#if defined(QV_PROGRAMS_RE2)

// Several patterns, of which one must match the whole of a text, without regard to case.
class CPatterns
{
public:
    explicit CPatterns(const std::vector<std::string> &patterns)
        : m_Expression(absl::StrCat("(?is:", absl::StrJoin(patterns, "|", &CPatterns::_Append), ")"), RE2::Latin1)
    {
    }

    bool MatchOneOf(absl::string_view text) const
    {
        return RE2::FullMatch(re2::StringPiece(text.data(), text.size()), m_Expression);
    }

private:
    static void _Append(std::string *out, const std::string &pattern)
    {
        const std::string quoted = RE2::QuoteMeta(pattern);
        absl::StrAppend(out, absl::StrReplaceAll(quoted, {{"\\*", ".*"}, {"\\?", "."}}));
    }

    RE2 m_Expression;
};

#else

class CPatterns
{
public:
    explicit CPatterns(std::vector<std::string> patterns) : m_Patterns(std::move(patterns))
    {
        for (std::string &pattern : m_Patterns)
            absl::AsciiStrToLower(&pattern);
    }

    bool MatchOneOf(absl::string_view text) const
    {
        const std::string lower = absl::AsciiStrToLower(text);
        return std::any_of(m_Patterns.begin(), m_Patterns.end(),
                           [&](const std::string &pattern) { return MatchesWildcard(lower, pattern); });
    }

private:
    std::vector<std::string> m_Patterns;
};

#endif

class CCatalogue
{
public:
    explicit CCatalogue(const SArguments &arguments)
        : m_All(arguments.m_Include.empty()),
          m_None(arguments.m_Exclude.empty()),
          m_Include(arguments.m_Include),
          m_Exclude(arguments.m_Exclude),
          m_Replacements(arguments.m_Replacements)
    {
    }

    void Add(absl::string_view line)
    {
        ++m_Lines;
        m_Path.assign(line.data(), line.size());
        std::replace(m_Path.begin(), m_Path.end(), '\\', '/');
        const bool isIncluded = m_All || m_Include.MatchOneOf(m_Path);
        if (m_Path.empty() || !isIncluded || (!m_None && m_Exclude.MatchOneOf(m_Path)))
            return;
        absl::AsciiStrToLower(&m_Path);
        for (const auto &[from, to] : m_Replacements)
            absl::StrReplaceAll({{from, to}}, &m_Path);
        m_Paths.push_back(m_Path);
    }

    u64 m_Lines = 0;
    std::vector<std::string> m_Paths;

private:
    bool m_All;
    bool m_None;
    CPatterns m_Include;
    CPatterns m_Exclude;
    std::vector<std::pair<std::string, std::string>> m_Replacements;
    std::string m_Path; // its room is used again
};

// ---- Output ---------------------------------------------------------------------------------------------------------

using CCounts = absl::flat_hash_map<std::string, u64>;

void AppendEndings(std::string &out, const CCounts &counts)
{
    std::vector<const CCounts::value_type *> rows;
    for (const auto &count : counts)
        rows.push_back(&count);
    std::sort(rows.begin(), rows.end(),
              [](const auto *a, const auto *b)
              { return std::tie(b->second, a->first) < std::tie(a->second, b->first); });
    for (const auto *row : rows)
        absl::StrAppendFormat(&out, "%10d  %s\n", row->second, row->first);
}

std::string Report(CCatalogue &catalogue)
{
    std::sort(catalogue.m_Paths.begin(), catalogue.m_Paths.end());
    CCounts counts;
    std::string out;
    absl::string_view folder = "no folder at all\n";
    for (const absl::string_view path : catalogue.m_Paths)
    {
        const std::size_t slash = path.rfind('/');
        const absl::string_view place = slash != path.npos ? path.substr(0, slash + 1) : absl::string_view();
        const absl::string_view name = path.substr(place.size());
        if (place != folder)
            absl::StrAppend(&out, place, ":\n");
        folder = place;
        absl::StrAppend(&out, "    ", name, "\n");
        const std::size_t dot = name.rfind('.');
        ++counts[dot != name.npos ? name.substr(dot) : absl::string_view()];
    }
    out += '\n';
    AppendEndings(out, counts);
    absl::StrAppend(&out, catalogue.m_Paths.size(), " of ", catalogue.m_Lines, " paths\n");
    return out;
}

// ---- The program ----------------------------------------------------------------------------------------------------

template <typename Use>
void ForEachLine(absl::string_view text, Use use)
{
    while (!text.empty())
    {
        const std::size_t end = text.find('\n');
        absl::string_view line = text.substr(0, end);
        text.remove_prefix(end != text.npos ? end + 1 : text.size());
        if (end != text.npos)
            absl::ConsumeSuffix(&line, "\r");
        use(line);
    }
}

// Calls `use` with each line of a file, or of standard input; what is read is a buffer at a time.
template <typename Use>
bool ReadLines(const std::string &name, Use use)
{
    std::FILE *const file = name == "-" ? stdin : std::fopen(name.c_str(), "rb");
    if (file == nullptr)
        return false;
    std::vector<char> buffer(1 << 16);
    std::size_t kept = 0; // the beginning of a line whose end is not read yet
    while (const std::size_t count = std::fread(buffer.data() + kept, 1, buffer.size() - kept, file))
    {
        const absl::string_view text(buffer.data(), kept + count);
        const std::size_t complete = text.rfind('\n') + 1;
        ForEachLine(text.substr(0, complete), use);
        kept = text.size() - complete;
        std::memmove(buffer.data(), buffer.data() + complete, kept);
        if (kept == buffer.size())
            buffer.resize(2 * kept);
    }
    ForEachLine(absl::string_view(buffer.data(), kept), use);
    const bool complete = std::ferror(file) == 0;
    if (file != stdin)
        std::fclose(file);
    return complete;
}

bool ReadArguments(int argc, char **argv, SArguments &arguments)
{
    for (int i = 1; i < argc; ++i)
    {
        const absl::string_view argument = argv[i];
        if (!absl::StartsWith(argument, "--") && arguments.m_File.empty())
            arguments.m_File = std::string(argument);
        else if (argument == "--include" && i + 1 < argc)
            arguments.m_Include.emplace_back(argv[++i]);
        else if (argument == "--exclude" && i + 1 < argc)
            arguments.m_Exclude.emplace_back(argv[++i]);
        else if (argument == "--replace" && i + 2 < argc && *argv[i + 1] != '\0')
        {
            arguments.m_Replacements.emplace_back(argv[i + 1], argv[i + 2]);
            i += 2;
        }
        else
            return false;
    }
    return !arguments.m_File.empty();
}

} // namespace

int main(int argc, char **argv)
{
    SArguments arguments;
    if (!ReadArguments(argc, argv, arguments))
    {
        std::fputs("usage: catalogue <file, or - for standard input> [--include PATTERN]... [--exclude PATTERN]... "
                   "[--replace FROM TO]...\n",
                   stderr);
        return 2;
    }
    CCatalogue catalogue(arguments);
    if (!ReadLines(arguments.m_File, [&](absl::string_view line) { catalogue.Add(line); }))
    {
        std::fprintf(stderr, "catalogue: \"%s\" cannot be read\n", arguments.m_File.c_str());
        return 2;
    }
    const std::string report = Report(catalogue);
    const bool written = std::fwrite(report.data(), 1, report.size(), stdout) == report.size();
    return written && std::fflush(stdout) == 0 ? 0 : 1;
}
