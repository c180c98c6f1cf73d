// examples/log_analyser written with the standard library's strings: the same arguments and the same output.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace
{

using u64 = std::uint64_t;

constexpr std::string_view kBlanks = " \t";

char Lower(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
}

// Lets a view be looked up without a string being built of it.
struct SHash
{
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

struct SHashIgnoringCase
{
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const
    {
        u64 hash = 0xCBF29CE484222325; // FNV-1a
        for (const char character : text)
            hash = (hash ^ static_cast<unsigned char>(Lower(character))) * 0x100000001B3;
        return static_cast<std::size_t>(hash);
    }
};

struct SEqualIgnoringCase
{
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const
    {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return Lower(x) == Lower(y); });
    }
};

struct SGroup
{
    u64 m_Count = 0;
    u64 m_Sum = 0;
};

using CGroups = std::unordered_map<std::string, SGroup, SHash, std::equal_to<>>;
using CKeys = std::unordered_map<std::string, SGroup, SHashIgnoringCase, SEqualIgnoringCase>;

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

std::string_view Strip(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool ParseNumber(std::string_view text, u64 &number)
{
    const char *const end = text.data() + text.size();
    u64 parsed = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, parsed);
    if (error != std::errc() || stop != end)
        return false;
    number = parsed;
    return true;
}

template <typename Map>
SGroup &GroupOf(Map &groups, std::string_view name)
{
    const auto found = groups.find(name);
    return found != groups.end() ? found->second : groups.emplace(name, SGroup()).first->second;
}

class CAnalysis
{
public:
    explicit CAnalysis(const SArguments &arguments) : m_SumKey(arguments.m_SumKey)
    {
        for (const std::string &key : arguments.m_Keys)
            m_Groupings.push_back({key, {}, {}});
    }

    void Read(std::string_view text)
    {
        while (!text.empty())
        {
            const std::size_t end = text.find('\n');
            std::string_view line = text.substr(0, end);
            text.remove_prefix(end != std::string_view::npos ? end + 1 : text.size());
            if (end != std::string_view::npos && !line.empty() && line.back() == '\r')
                line.remove_suffix(1);
            _ReadLine(line);
        }
        _EndStanza();
    }

    u64 m_Lines = 0;
    u64 m_Stanzas = 0;
    CKeys m_Keys;
    std::vector<SGrouping> m_Groupings;

private:
    void _ReadLine(std::string_view line)
    {
        ++m_Lines;
        const std::string_view content = Strip(line);
        if (content.empty())
            _EndStanza();
        else if (content.data() == line.data())
            _ReadField(content);
        else if (m_Continued != nullptr)
            m_Continued->append(m_Continued->empty() ? "" : " ").append(content);
    }

    void _ReadField(std::string_view line)
    {
        m_Continued = nullptr;
        const std::size_t colon = line.find(':');
        const std::string_view key = colon != std::string_view::npos ? Strip(line.substr(0, colon)) : "";
        if (key.empty())
            return _Complain("no key in", line);
        const std::string_view value = Strip(line.substr(colon + 1));
        SGroup &occurrences = GroupOf(m_Keys, key);
        ++occurrences.m_Count;
        occurrences.m_Sum += value.size();
        m_InStanza = true;
        for (SGrouping &grouping : m_Groupings)
        {
            if (!SEqualIgnoringCase()(grouping.m_Key, key))
                continue;
            grouping.m_Value = value;
            m_Continued = &grouping.m_Value;
        }
        if (SEqualIgnoringCase()(m_SumKey, key) && !ParseNumber(value, m_Number))
            _Complain("no number in", line);
    }

    void _EndStanza()
    {
        m_Stanzas += m_InStanza;
        for (SGrouping &grouping : m_Groupings)
        {
            if (grouping.m_Value.empty())
                continue;
            SGroup &group = GroupOf(grouping.m_Groups, grouping.m_Value);
            ++group.m_Count;
            group.m_Sum += m_Number;
            grouping.m_Value.clear();
        }
        m_Continued = nullptr;
        m_InStanza = false;
        m_Number = 0;
    }

    void _Complain(const char *what, std::string_view line)
    {
        std::fprintf(stderr, "log_analyser: line %llu: %s \"%s\"\n", static_cast<unsigned long long>(m_Lines), what,
                     std::string(line).c_str());
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
    std::string digits = std::to_string(number);
    for (std::size_t i = digits.size(); i > 3; i -= 3)
        digits.insert(i - 3, 1, ',');
    return digits;
}

void AppendRow(std::string &out, const std::string &count, const std::string &sum, const std::string &name)
{
    out.append(10 - std::min<std::size_t>(count.size(), 10), ' ').append(count);
    out.append(16 - std::min<std::size_t>(sum.size(), 16), ' ').append(sum);
    out.append("  ").append(name).append("\n");
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
        AppendRow(out, "", "", "and " + Grouped(rows.size() - shown) + " more");
}

std::string Report(const CAnalysis &analysis, const SArguments &arguments)
{
    std::string out = Grouped(analysis.m_Lines) + " lines, " + Grouped(analysis.m_Stanzas) + " stanzas, " +
                      Grouped(analysis.m_Keys.size()) + " keys\n";
    AppendTable(out, "lines", "characters", "key", analysis.m_Keys, arguments.m_Top);
    for (const SGrouping &grouping : analysis.m_Groupings)
        AppendTable(out, "stanzas", arguments.m_SumKey, grouping.m_Key, grouping.m_Groups, arguments.m_Top);
    return out;
}

// ---- Suggestions ----------------------------------------------------------------------------------------------------

// Levenshtein's, without regard to case.
std::size_t EditDistance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t(0));
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j)
        {
            const std::size_t changed = diagonal + (Lower(a[i]) != Lower(b[j]));
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
        const double weight = 1 - static_cast<double>(EditDistance(key, wanted)) / total;
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
    const std::string hint = suggestion.empty() ? "" : "; did you mean \"" + suggestion + "\"?";
    std::fprintf(stderr, "log_analyser: no key \"%s\"%s\n", wanted.c_str(), hint.c_str());
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
        const std::string_view argument = argv[i];
        if (!argument.starts_with("--") && arguments.m_File.empty())
            arguments.m_File = argument;
        else if (++i == argc)
            return false;
        else if (argument == "--key")
            arguments.m_Keys.emplace_back(argv[i]);
        else if (argument == "--sum")
            arguments.m_SumKey = argv[i];
        else if (argument != "--top" || !ParseNumber(argv[i], arguments.m_Top))
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
        std::fprintf(stderr, "log_analyser: \"%s\" cannot be read\n", arguments.m_File.c_str());
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
