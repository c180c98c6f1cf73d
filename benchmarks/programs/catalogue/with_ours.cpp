// catalogue: reads paths, one per line, and lists those that are wanted, folder by folder.
//
//     find / | catalogue - --include '*.h' --include '*/doc/*' --exclude '*~' --replace /usr/share '$SHARE'
//
// Backslashes are taken for slashes, upper and lower case are the same, and the list is in lower case. A path is wanted
// when one of the patterns to include matches the whole of it, or there are none, and none of those to exclude does.
// `*` stands for any characters, `?` for one. Each --replace changes all places of a text in the paths that are listed,
// one after another. Below the list stands how many paths of each ending there are.
//
// Exit codes: 0 done, 1 the output could not be written, 2 wrong arguments, or a file that cannot be read.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "kr_string.h"
#include "kr_string_numbers.h"
#include "kr_string_std.h"

using namespace Quorvane;

namespace
{

struct SReplacement
{
    CString m_From;
    CString m_To;
};

struct SArguments
{
    CString m_File;
    std::vector<CString> m_Include; // none: everything
    std::vector<CString> m_Exclude;
    std::vector<SReplacement> m_Replacements;
};

bool MatchesOneOf(const CStringView &path, const std::vector<CString> &patterns)
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const CString &pattern) { return path.Match(pattern, CaseInsensitive); });
}

class CCatalogue
{
public:
    explicit CCatalogue(const SArguments &arguments) : m_Arguments(arguments) {}

    void Add(const CStringView &line)
    {
        ++m_Lines;
        // Few have backslashes. The others are looked at where they are.
        const CString converted = line.FindFirstOf('\\').Valid() ? CString(line).Replace('\\', '/') : CString();
        const CStringView path = converted.Empty() ? line : CStringView(converted);
        const bool isIncluded = m_Arguments.m_Include.empty() || MatchesOneOf(path, m_Arguments.m_Include);
        if (!path.Empty() && isIncluded && !MatchesOneOf(path, m_Arguments.m_Exclude))
            m_Paths.PushBack(_Listed(path));
    }

    u64 m_Lines = 0;
    TArray<CString> m_Paths;

private:
    CString _Listed(const CStringView &path) const
    {
        CString listed(path);
        listed.ToLowercase();
        for (const SReplacement &replacement : m_Arguments.m_Replacements)
            listed = listed.Replace(replacement.m_From, replacement.m_To);
        return listed;
    }

    const SArguments &m_Arguments;
};

// ---- Output ---------------------------------------------------------------------------------------------------------

using CCounts = std::unordered_map<CString, u64, SStringHash, SStringEqual>;

// The count of an ending, which becomes a string only when it is new.
u64 &CountOf(CCounts &counts, const CStringView &ending)
{
    const auto found = counts.find(ending);
    return found != counts.end() ? found->second : counts.emplace(CString(ending), 0).first->second;
}

void AppendEndings(CString &out, const CCounts &counts)
{
    std::vector<const CCounts::value_type *> rows;
    for (const auto &count : counts)
        rows.push_back(&count);
    std::sort(rows.begin(), rows.end(),
              [](const auto *a, const auto *b)
              { return std::tie(b->second, a->first) < std::tie(a->second, b->first); });
    for (const auto *row : rows)
    {
        CString count;
        AppendNumber(count, row->second);
        out.Append(count.PadLeft(10)).Append("  ").Append(row->first).Append('\n');
    }
}

CString Report(CCatalogue &catalogue)
{
    std::sort(catalogue.m_Paths.begin(), catalogue.m_Paths.end());
    CCounts counts;
    CString out;
    CStringView folder("no folder at all\n");
    for (const CString &path : catalogue.m_Paths)
    {
        const CGuid slash = path.FindLastOf('/');
        const CStringView place = slash.Valid() ? path.Slice(0, slash + 1) : CStringView();
        const CStringView name = path.Slice(place.Length());
        if (place != folder)
            out.Append(place).Append(":\n");
        folder = place;
        out.Append("    ").Append(name).Append('\n');
        const CGuid dot = name.FindLastOf('.');
        ++CountOf(counts, dot.Valid() ? name.Slice(dot) : CStringView());
    }
    out.Append('\n');
    AppendEndings(out, counts);
    AppendNumber(out, catalogue.m_Paths.Count()).Append(" of ");
    AppendNumber(out, catalogue.m_Lines).Append(" paths\n");
    return out;
}

// ---- The program ----------------------------------------------------------------------------------------------------

// Calls `use` with each line of a file, or of standard input; what is read is a buffer at a time.
template <typename Use>
bool ReadLines(const CString &name, Use use)
{
    std::FILE *const file = name == "-" ? stdin : std::fopen(name.CStr(), "rb");
    if (file == nullptr)
        return false;
    std::vector<char> buffer(1 << 16);
    std::size_t kept = 0; // the beginning of a line whose end is not read yet
    while (const std::size_t count = std::fread(buffer.data() + kept, 1, buffer.size() - kept, file))
    {
        const CStringView text(buffer.data(), static_cast<u32>(kept + count));
        const CGuid end = text.FindLastOf('\n');
        const u32 complete = end.Valid() ? end + 1 : 0;
        for (const CStringView line : Lines(text.Slice(0, complete)))
            use(line);
        kept = text.Length() - complete;
        std::memmove(buffer.data(), buffer.data() + complete, kept);
        if (kept == buffer.size())
            buffer.resize(2 * kept);
    }
    for (const CStringView line : Lines(CStringView(buffer.data(), static_cast<u32>(kept))))
        use(line);
    const bool complete = std::ferror(file) == 0;
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
        else if (argument == "--include" && i + 1 < argc)
            arguments.m_Include.emplace_back(argv[++i]);
        else if (argument == "--exclude" && i + 1 < argc)
            arguments.m_Exclude.emplace_back(argv[++i]);
        else if (argument == "--replace" && i + 2 < argc && *argv[i + 1] != '\0')
        {
            arguments.m_Replacements.push_back({argv[i + 1], argv[i + 2]});
            i += 2;
        }
        else
            return false;
    }
    return !arguments.m_File.Empty();
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
    if (!ReadLines(arguments.m_File, [&](const CStringView &line) { catalogue.Add(line); }))
    {
        std::fprintf(stderr, "catalogue: \"%s\" cannot be read\n", arguments.m_File.CStr());
        return 2;
    }
    const CString report = Report(catalogue);
    const bool written = std::fwrite(report.CStr(), 1, report.Length(), stdout) == report.Length();
    return written && std::fflush(stdout) == 0 ? 0 : 1;
}
