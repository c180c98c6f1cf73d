// log_analyser: groups the stanzas of "key: value" text, such as dpkg's status file, by the values of a key.
//
//     log_analyser                                          dpkg's status file, by Section and by Maintainer
//     log_analyser access.log --key Host --sum Bytes --top 20
//     zcat access.log.gz | log_analyser - --key host
//
// Blank lines separate stanzas. A line that begins with a blank continues the value above it. Upper and lower case are
// the same in keys, not in values. --sum names the key whose numbers are summed up for each group (Installed-Size).
//
// Exit codes: 0 done (lines that are not understood are named on stderr), 1 the output could not be written, 2 wrong
// arguments, a file that cannot be read, or a key that does not occur.
#include <algorithm>
#include <cstdio>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "kr_string.h"
#include "kr_string_numbers.h"
#include "kr_string_std.h"

using namespace Quorvane;

namespace
{

constexpr const char *kBlanks = " \t";

struct SGroup
{
    u64 m_Count = 0;
    u64 m_Sum = 0;
};

using CGroups = std::unordered_map<CString, SGroup, SStringHash, SStringEqual>;
using CKeys = std::unordered_map<CString, SGroup, SStringHashCaseInsensitive, SStringEqualCaseInsensitive>;

// A key by whose values the stanzas are grouped.
struct SGrouping
{
    CString m_Key;
    CString m_Value; // in the stanza at hand
    CGroups m_Groups;
};

struct SArguments
{
    CString m_File;
    std::vector<CString> m_Keys; // none: Section and Maintainer
    CString m_SumKey = "Installed-Size";
    u64 m_Top = 10;
};

// The group of a name, which becomes a string only when it is new.
template <typename Map>
SGroup &GroupOf(Map &groups, const CStringView &name)
{
    const auto found = groups.find(name);
    return found != groups.end() ? found->second : groups.emplace(CString(name), SGroup()).first->second;
}

class CAnalysis
{
public:
    explicit CAnalysis(const SArguments &arguments) : m_SumKey(arguments.m_SumKey)
    {
        for (const CString &key : arguments.m_Keys)
            m_Groupings.push_back({key, {}, {}});
    }

    void Read(const CString &text)
    {
        for (const CStringView line : Lines(text))
            _ReadLine(line);
        _EndStanza();
    }

    u64 m_Lines = 0;
    u64 m_Stanzas = 0;
    CKeys m_Keys;
    std::vector<SGrouping> m_Groupings;

private:
    void _ReadLine(const CStringView &line)
    {
        ++m_Lines;
        const CStringView content = line.Strip(kBlanks);
        if (content.Empty())
            _EndStanza();
        else if (content.Data() == line.Data())
            _ReadField(content);
        else if (m_Continued != nullptr)
            m_Continued->Append(m_Continued->Empty() ? "" : " ").Append(content);
    }

    void _ReadField(const CStringView &line)
    {
        m_Continued = nullptr;
        const CGuid colon = line.FindFirstOf(':');
        const CStringView key = colon.Valid() ? line.Slice(0, colon).StripRight(kBlanks) : CStringView();
        if (key.Empty())
            return _Complain("no key in", line);
        const CStringView value = line.Slice(colon + 1).StripLeft(kBlanks);
        SGroup &occurrences = GroupOf(m_Keys, key);
        ++occurrences.m_Count;
        occurrences.m_Sum += value.Length();
        m_InStanza = true;
        const SStringEqualCaseInsensitive isSameKey;
        for (SGrouping &grouping : m_Groupings)
        {
            if (!isSameKey(grouping.m_Key, key))
                continue;
            grouping.m_Value = value;
            m_Continued = &grouping.m_Value;
        }
        if (isSameKey(m_SumKey, key) && !ParseNumber(value, m_Number))
            _Complain("no number in", line);
    }

    void _EndStanza()
    {
        m_Stanzas += m_InStanza;
        for (SGrouping &grouping : m_Groupings)
        {
            if (grouping.m_Value.Empty())
                continue;
            SGroup &group = GroupOf(grouping.m_Groups, grouping.m_Value);
            ++group.m_Count;
            group.m_Sum += m_Number;
            grouping.m_Value.Clear();
        }
        m_Continued = nullptr;
        m_InStanza = false;
        m_Number = 0;
    }

    void _Complain(const char *what, const CStringView &line)
    {
        std::fprintf(stderr, "log_analyser: line %llu: %s \"%s\"\n", m_Lines, what, CString(line).CStr());
    }

    CString m_SumKey;
    CString *m_Continued = nullptr; // the value that an indented line would continue
    bool m_InStanza = false;
    u64 m_Number = 0; // of the stanza at hand
};

// ---- Output ---------------------------------------------------------------------------------------------------------

// With a comma for every thousand.
CString Grouped(u64 number)
{
    CString digits;
    AppendNumber(digits, number);
    for (u32 i = digits.Length(); i > 3; i -= 3)
        digits.Insert(i - 3, ',');
    return digits;
}

void AppendRow(CString &out, const CString &count, const CString &sum, const CString &name)
{
    out += Concat(count.PadLeft(10), sum.PadLeft(16), "  ", name, '\n');
}

// The largest sums first.
template <typename Map>
void AppendTable(CString &out, const CString &countTitle, const CString &sumTitle, const CString &title,
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
        AppendRow(out, "", "", Concat("and ", Grouped(rows.size() - shown), " more"));
}

CString Report(const CAnalysis &analysis, const SArguments &arguments)
{
    CString out = Concat(Grouped(analysis.m_Lines), " lines, ", Grouped(analysis.m_Stanzas), " stanzas, ",
                         Grouped(analysis.m_Keys.size()), " keys\n");
    AppendTable(out, "lines", "characters", "key", analysis.m_Keys, arguments.m_Top);
    for (const SGrouping &grouping : analysis.m_Groupings)
        AppendTable(out, "stanzas", arguments.m_SumKey, grouping.m_Key, grouping.m_Groups, arguments.m_Top);
    return out;
}

// The key that is most like the one that was asked for; empty when none is much like it.
CString Suggestion(const CKeys &keys, const CString &wanted)
{
    CString best;
    float bestWeight = 0.7f;
    for (const auto &[key, group] : keys)
    {
        const float weight = wanted.Lowercase().FuzzyMatch(key.Lowercase());
        if (weight > bestWeight || (weight == bestWeight && key < best))
        {
            best = key;
            bestWeight = weight;
        }
    }
    return best;
}

// Is the key there that was asked for? Else says so.
bool CheckKey(const CKeys &keys, const CString &wanted)
{
    if (keys.find(wanted) != keys.end())
        return true;
    const CString suggestion = Suggestion(keys, wanted);
    const CString hint = suggestion.Empty() ? CString() : Concat("; did you mean \"", suggestion, "\"?");
    std::fprintf(stderr, "log_analyser: no key \"%s\"%s\n", wanted.CStr(), hint.CStr());
    return false;
}

// ---- The program ----------------------------------------------------------------------------------------------------

bool ReadFile(const CString &name, CString &text)
{
    std::FILE *const file = name == "-" ? stdin : std::fopen(name.CStr(), "rb");
    if (file == nullptr)
        return false;
    char buffer[65536];
    bool complete = true;
    while (const std::size_t count = std::fread(buffer, 1, sizeof(buffer), file))
    {
        text.Append(CStringView(buffer, static_cast<u32>(count)));
        // Memory that is refused leaves an empty string.
        complete = complete && text.Length() != 0;
    }
    complete = complete && std::ferror(file) == 0;
    if (file != stdin)
        std::fclose(file);
    return complete;
}

bool ReadArguments(int argc, char **argv, SArguments &arguments)
{
    for (int i = 1; i < argc; ++i)
    {
        const CString argument = argv[i];
        if (!argument.StartsWith("--") && arguments.m_File.Empty())
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
    if (arguments.m_File.Empty())
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
    CString text;
    if (!ReadFile(arguments.m_File, text))
    {
        std::fprintf(stderr, "log_analyser: \"%s\" cannot be read\n", arguments.m_File.CStr());
        return 2;
    }
    CAnalysis analysis(arguments);
    analysis.Read(text);
    for (const CString &key : arguments.m_Keys)
        if (chosen && !CheckKey(analysis.m_Keys, key))
            return 2;
    const CString report = Report(analysis, arguments);
    const bool written = std::fwrite(report.CStr(), 1, report.Length(), stdout) == report.Length();
    return written && std::fflush(stdout) == 0 ? 0 : 1;
}
