// examples/log_analyser written with Abseil's strings and maps: the same arguments and the same output.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <string>
#include <tuple>
#include <vector>

#include "absl/container/flat_hash_map.h"
#include "absl/strings/ascii.h"
#include "absl/strings/match.h"
#include "absl/strings/numbers.h"
#include "absl/strings/str_cat.h"
#include "absl/strings/str_format.h"
#include "absl/strings/str_split.h"
#include "absl/strings/string_view.h"

namespace
{

using u64 = std::uint64_t;

struct SHashIgnoringCase
{
    using is_transparent = void;
    std::size_t operator()(absl::string_view text) const
    {
        return absl::Hash<std::string>()(absl::AsciiStrToLower(text));
    }
};

struct SEqualIgnoringCase
{
    using is_transparent = void;
    bool operator()(absl::string_view a, absl::string_view b) const { return absl::EqualsIgnoreCase(a, b); }
};

struct SGroup
{
    u64 m_Count = 0;
    u64 m_Sum = 0;
};

using CGroups = absl::flat_hash_map<std::string, SGroup>;
using CKeys = absl::flat_hash_map<std::string, SGroup, SHashIgnoringCase, SEqualIgnoringCase>;

// A key by whose values the stanzas are grouped.
struct SGrouping
{
    std::string m_Key;
    std::string m_Value; // in the stanza at hand
    CGroups m_Groups;
};

struct SArguments
{
    std::string m_File;
    std::vector<std::string> m_Keys; // none: Section and Maintainer
    std::string m_SumKey = "Installed-Size";
    u64 m_Top = 10;
};

class CAnalysis
{
public:
    explicit CAnalysis(const SArguments &arguments) : m_SumKey(arguments.m_SumKey)
    {
        for (const std::string &key : arguments.m_Keys)
            m_Groupings.push_back({key, {}, {}});
    }

    void Read(absl::string_view text)
    {
        if (!text.empty())
        {
            absl::ConsumeSuffix(&text, "\n");
            for (const absl::string_view line : absl::StrSplit(text, '\n'))
                _ReadLine(line);
        }
        _EndStanza();
    }

    u64 m_Lines = 0;
    u64 m_Stanzas = 0;
    CKeys m_Keys;
    std::vector<SGrouping> m_Groupings;

private:
    void _ReadLine(absl::string_view line)
    {
        ++m_Lines;
        const absl::string_view content = absl::StripAsciiWhitespace(line);
        if (content.empty())
            _EndStanza();
        else if (content.data() == line.data())
            _ReadField(content);
        else if (m_Continued != nullptr)
            absl::StrAppend(m_Continued, m_Continued->empty() ? "" : " ", content);
    }

    void _ReadField(absl::string_view line)
    {
        m_Continued = nullptr;
        const std::size_t colon = line.find(':');
        const absl::string_view key =
            colon != line.npos ? absl::StripTrailingAsciiWhitespace(line.substr(0, colon)) : "";
        if (key.empty())
            return _Complain("no key in", line);
        const absl::string_view value = absl::StripLeadingAsciiWhitespace(line.substr(colon + 1));
        SGroup &occurrences = m_Keys[key];
        ++occurrences.m_Count;
        occurrences.m_Sum += value.size();
        m_InStanza = true;
        for (SGrouping &grouping : m_Groupings)
        {
            if (!absl::EqualsIgnoreCase(grouping.m_Key, key))
                continue;
            grouping.m_Value = std::string(value);
            m_Continued = &grouping.m_Value;
        }
        if (absl::EqualsIgnoreCase(m_SumKey, key) && !_ReadNumber(value))
            _Complain("no number in", line);
    }

    bool _ReadNumber(absl::string_view text)
    {
        u64 number;
        if (!absl::SimpleAtoi(text, &number))
            return false;
        m_Number = number;
        return true;
    }

    void _EndStanza()
    {
        m_Stanzas += m_InStanza;
        for (SGrouping &grouping : m_Groupings)
        {
            if (grouping.m_Value.empty())
                continue;
            SGroup &group = grouping.m_Groups[grouping.m_Value];
            ++group.m_Count;
            group.m_Sum += m_Number;
            grouping.m_Value.clear();
        }
        m_Continued = nullptr;
        m_InStanza = false;
        m_Number = 0;
    }

    void _Complain(const char *what, absl::string_view line)
    {
        absl::FPrintF(stderr, "log_analyser: line %d: %s \"%s\"\n", m_Lines, what, line);
    }

    std::string m_SumKey;
    std::string *m_Continued = nullptr; // the value that an indented line would continue
    bool m_InStanza = false;
    u64 m_Number = 0; // of the stanza at hand
};

// ---- Output ---------------------------------------------------------------------------------------------------------

// With a comma for every thousand.
std::string Grouped(u64 number)
{
    std::string digits = absl::StrCat(number);
    for (std::size_t i = digits.size(); i > 3; i -= 3)
        digits.insert(i - 3, 1, ',');
    return digits;
}

void AppendRow(std::string &out, const std::string &count, const std::string &sum, const std::string &name)
{
    absl::StrAppendFormat(&out, "%10s%16s  %s\n", count, sum, name);
}

// The largest sums first.
template <typename Map>
void AppendTable(std::string &out, const std::string &countTitle, const std::string &sumTitle, const std::string &title,
                 const Map &groups, u64 top)
{
    if (groups.empty())
        return;
    std::vector<const typename Map::value_type *> rows;
    for (const auto &group : groups)
        rows.push_back(&group);
    std::sort(rows.begin(), rows.end(),
              [](const auto *a, const auto *b)
              {
                  return std::tie(b->second.m_Sum, b->second.m_Count, a->first) <
                         std::tie(a->second.m_Sum, a->second.m_Count, b->first);
              });
    const std::size_t shown = std::min<u64>(rows.size(), top);
    out += '\n';
    AppendRow(out, countTitle, sumTitle, title);
    for (std::size_t i = 0; i < shown; ++i)
        AppendRow(out, Grouped(rows[i]->second.m_Count), Grouped(rows[i]->second.m_Sum), rows[i]->first);
    if (shown < rows.size())
        AppendRow(out, "", "", absl::StrCat("and ", Grouped(rows.size() - shown), " more"));
}

std::string Report(const CAnalysis &analysis, const SArguments &arguments)
{
    std::string out = absl::StrCat(Grouped(analysis.m_Lines), " lines, ", Grouped(analysis.m_Stanzas), " stanzas, ",
                                   Grouped(analysis.m_Keys.size()), " keys\n");
    AppendTable(out, "lines", "characters", "key", analysis.m_Keys, arguments.m_Top);
    for (const SGrouping &grouping : analysis.m_Groupings)
        AppendTable(out, "stanzas", arguments.m_SumKey, grouping.m_Key, grouping.m_Groups, arguments.m_Top);
    return out;
}

// ---- Suggestions ----------------------------------------------------------------------------------------------------

// Levenshtein's.
std::size_t EditDistance(absl::string_view a, absl::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t(0));
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j)
        {
            const std::size_t changed = diagonal + (a[i] != b[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
        }
    }
    return row[b.size()];
}

// The key that is most like the one that was asked for; empty when none is much like it.
std::string Suggestion(const CKeys &keys, const std::string &wanted)
{
    std::string best;
    double bestWeight = 0.7;
    for (const auto &[key, group] : keys)
    {
        const double total = static_cast<double>(key.size() + wanted.size());
        const double weight =
            1 - static_cast<double>(EditDistance(absl::AsciiStrToLower(key), absl::AsciiStrToLower(wanted))) / total;
        if (weight > bestWeight || (weight == bestWeight && key < best))
        {
            best = key;
            bestWeight = weight;
        }
    }
    return best;
}

// Is the key there that was asked for? Else says so.
bool CheckKey(const CKeys &keys, const std::string &wanted)
{
    if (keys.find(wanted) != keys.end())
        return true;
    const std::string suggestion = Suggestion(keys, wanted);
    const std::string hint = suggestion.empty() ? "" : absl::StrCat("; did you mean \"", suggestion, "\"?");
    absl::FPrintF(stderr, "log_analyser: no key \"%s\"%s\n", wanted, hint);
    return false;
}

// ---- The program ----------------------------------------------------------------------------------------------------

bool ReadFile(const std::string &name, std::string &text)
{
    std::FILE *const file = name == "-" ? stdin : std::fopen(name.c_str(), "rb");
    if (file == nullptr)
        return false;
    char buffer[65536];
    while (const std::size_t count = std::fread(buffer, 1, sizeof(buffer), file))
        text.append(buffer, count);
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
        else if (++i == argc)
            return false;
        else if (argument == "--key")
            arguments.m_Keys.emplace_back(argv[i]);
        else if (argument == "--sum")
            arguments.m_SumKey = argv[i];
        else if (argument != "--top" || !absl::SimpleAtoi(argv[i], &arguments.m_Top))
            return false;
    }
    if (arguments.m_File.empty())
        arguments.m_File = "/var/lib/dpkg/status";
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    SArguments arguments;
    if (!ReadArguments(argc, argv, arguments))
    {
        std::fputs("usage: log_analyser [file, or - for standard input] [--key NAME]... [--sum NAME] [--top N]\n",
                   stderr);
        return 2;
    }
    const bool chosen = !arguments.m_Keys.empty();
    if (!chosen)
        arguments.m_Keys = {"Section", "Maintainer"};
    std::string text;
    if (!ReadFile(arguments.m_File, text))
    {
        absl::FPrintF(stderr, "log_analyser: \"%s\" cannot be read\n", arguments.m_File);
        return 2;
    }
    CAnalysis analysis(arguments);
    analysis.Read(text);
    for (const std::string &key : arguments.m_Keys)
        if (chosen && !CheckKey(analysis.m_Keys, key))
            return 2;
    const std::string report = Report(analysis, arguments);
    const bool written = std::fwrite(report.data(), 1, report.size(), stdout) == report.size();
    return written && std::fflush(stdout) == 0 ? 0 : 1;
}
