// The program catalogue written with the standard library's strings: the same arguments and the same output.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "../wildcard.h"

namespace
{

using u64 = std::uint64_t;

char Lower(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
}

void MakeLower(std::string &text)
{
    for (char &character : text)
        character = Lower(character);
}

struct SArguments
{
    std::string m_File;
    std::vector<std::string> m_Include; // none: everything
    std::vector<std::string> m_Exclude;
    std::vector<std::pair<std::string, std::string>> m_Replacements;
};

bool MatchesOneOf(std::string_view path, const std::vector<std::string> &patterns)
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const std::string &pattern) { return MatchesWildcard(path, pattern); });
}

void ReplaceAll(std::string &text, const std::string &from, const std::string &to)
{
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

class CCatalogue
{
public:
    explicit CCatalogue(const SArguments &arguments) : m_Arguments(arguments)
    {
        for (std::string &pattern : m_Arguments.m_Include)
            MakeLower(pattern);
        for (std::string &pattern : m_Arguments.m_Exclude)
            MakeLower(pattern);
    }

    void Add(std::string_view line)
    {
        ++m_Lines;
        m_Path = line;
        MakeLower(m_Path);
        std::replace(m_Path.begin(), m_Path.end(), '\\', '/');
        const bool isIncluded = m_Arguments.m_Include.empty() || MatchesOneOf(m_Path, m_Arguments.m_Include);
        if (m_Path.empty() || !isIncluded || MatchesOneOf(m_Path, m_Arguments.m_Exclude))
            return;
        for (const auto &[from, to] : m_Arguments.m_Replacements)
            ReplaceAll(m_Path, from, to);
        m_Paths.push_back(m_Path);
    }

    u64 m_Lines = 0;
    std::vector<std::string> m_Paths;

private:
    SArguments m_Arguments;
    std::string m_Path; // its room is used again
};

// ---- Output ---------------------------------------------------------------------------------------------------------

// Lets a view be looked up without a string being built of it.
struct SHash
{
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

using CCounts = std::unordered_map<std::string, u64, SHash, std::equal_to<>>;

u64 &CountOf(CCounts &counts, std::string_view ending)
{
    const auto found = counts.find(ending);
    return found != counts.end() ? found->second : counts.emplace(ending, 0).first->second;
}

void AppendEndings(std::string &out, const CCounts &counts)
{
    std::vector<const CCounts::value_type *> rows;
    for (const auto &count : counts)
        rows.push_back(&count);
    std::sort(rows.begin(), rows.end(),
              [](const auto *a, const auto *b)
              { return std::tie(b->second, a->first) < std::tie(a->second, b->first); });
    for (const auto *row : rows)
    {
        const std::string count = std::to_string(row->second);
        out.append(10 - std::min<std::size_t>(count.size(), 10), ' ').append(count);
        out.append("  ").append(row->first).append("\n");
    }
}

std::string Report(CCatalogue &catalogue)
{
    std::sort(catalogue.m_Paths.begin(), catalogue.m_Paths.end());
    CCounts counts;
    std::string out;
    std::string_view folder = "no folder at all\n";
    for (const std::string_view path : catalogue.m_Paths)
    {
        const std::size_t slash = path.rfind('/');
        const std::string_view place = slash != path.npos ? path.substr(0, slash + 1) : std::string_view();
        const std::string_view name = path.substr(place.size());
        if (place != folder)
            out.append(place).append(":\n");
        folder = place;
        out.append("    ").append(name).append("\n");
        const std::size_t dot = name.rfind('.');
        ++CountOf(counts, dot != name.npos ? name.substr(dot) : std::string_view());
    }
    out += '\n';
    AppendEndings(out, counts);
    out += std::to_string(catalogue.m_Paths.size()) + " of " + std::to_string(catalogue.m_Lines) + " paths\n";
    return out;
}

// ---- The program ----------------------------------------------------------------------------------------------------

template <typename Use>
void ForEachLine(std::string_view text, Use use)
{
    while (!text.empty())
    {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end != text.npos ? end + 1 : text.size());
        if (end != text.npos && !line.empty() && line.back() == '\r')
            line.remove_suffix(1);
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
        const std::string_view text(buffer.data(), kept + count);
        const std::size_t complete = text.rfind('\n') + 1;
        ForEachLine(text.substr(0, complete), use);
        kept = text.size() - complete;
        std::memmove(buffer.data(), buffer.data() + complete, kept);
        if (kept == buffer.size())
            buffer.resize(2 * kept);
    }
    ForEachLine(std::string_view(buffer.data(), kept), use);
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
    if (!ReadLines(arguments.m_File, [&](std::string_view line) { catalogue.Add(line); }))
    {
        std::fprintf(stderr, "catalogue: \"%s\" cannot be read\n", arguments.m_File.c_str());
        return 2;
    }
    const std::string report = Report(catalogue);
    const bool written = std::fwrite(report.data(), 1, report.size(), stdout) == report.size();
    return written && std::fflush(stdout) == 0 ? 0 : 1;
}
