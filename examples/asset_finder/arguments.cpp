// Reading the arguments.
//
// Numbers are read here, not by the command line's parser, so that all bad input is refused in the same words.
#include "arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "console.h"
#include "platform.h"
#include "rules.h"
#include "text.h"

using namespace Quorvane;

namespace AssetFinder
{

namespace
{

typedef std::vector<std::string> CTexts;

constexpr u32 kMaxTop = 1000000;

// As they stand on the command line.
struct SRawArguments
{
    std::string m_Source;
    std::optional<std::string> m_RulesFile;
    CTexts m_Includes;
    CTexts m_Excludes;
    CTexts m_Queries;
    std::string m_Top = "10";
    std::string m_Tolerance = "0.6";
};

// An option that may be given several times, with one value each time.
void AddRepeatable(CLI::App &app, const char *name, CTexts &texts, const char *what, const char *type)
{
    app.add_option(name, texts, what)->type_name(type)->expected(1)->take_all()->allow_extra_args(false);
}

void AddSourceOptions(CLI::App &app, SRawArguments &raw, SArguments &arguments)
{
    app.add_option("source", raw.m_Source, "The folder to catalogue, or - for paths on standard input, one on a line")
        ->capture_default_str();
    AddRepeatable(app, "--include", raw.m_Includes, "Keep only files that a pattern matches; may be repeated",
                  "PATTERN");
    AddRepeatable(app, "--exclude", raw.m_Excludes, "Leave out files that a pattern matches; may be repeated",
                  "PATTERN");
    app.add_option("--rules", raw.m_RulesFile, "Read rules from a file: which files are kept, and their names")
        ->type_name("FILE");
    app.add_flag("--follow-links", arguments.m_FollowLinks, "Follow symbolic links; each folder is walked once");
}

void AddFindOptions(CLI::App &app, SRawArguments &raw, SArguments &arguments)
{
    AddRepeatable(app, "--query", raw.m_Queries,
                  "Rank the files by their names, typing errors forgiven; may be repeated", "TEXT");
    app.add_option("--top", raw.m_Top, "Show so many files for a query")->type_name("N")->capture_default_str();
    app.add_option("--tolerance", raw.m_Tolerance, "Show files of this weight or more, from 0 to 1")
        ->type_name("W")
        ->capture_default_str();
    app.add_flag("--ignore-case", arguments.m_Find.m_IgnoreCase, "Upper and lower case are the same, in patterns too");
}

void AddOutputOptions(CLI::App &app, SArguments &arguments)
{
    app.add_flag("--report", arguments.m_Report, "Print the catalogue's figures, before any query");
    app.add_flag("--time", arguments.m_Time, "Say how long everything took");
    app.add_flag("--no-progress", arguments.m_NoProgress, "No progress bar, not even on a terminal");
}

std::string Footer()
{
    return std::string(
               R"(Without a query, it asks for queries at a terminal (:help there), and prints the report elsewhere.

Patterns: * stands for any run of characters, ? for one, a backslash makes the next one
literal. A pattern with a slash is matched with the whole path, every other with the name.

)") + RulesHelp();
}

std::optional<int> Parse(int argc, char **argv, SRawArguments &raw, SArguments &arguments)
{
    CLI::App app("Catalogues files, and finds them by names that are not quite right.", "asset_finder");
    app.set_version_flag("--version", "asset_finder " ASSET_FINDER_VERSION);
    AddSourceOptions(app, raw, arguments);
    AddFindOptions(app, raw, arguments);
    AddOutputOptions(app, arguments);
    app.footer(Footer());
    try
    {
        // What comes first is the program; the parser takes the others from their end.
        std::vector<std::string> words = Utf8Arguments(argc, argv);
        std::reverse(words.begin(), words.end());
        words.pop_back();
        app.parse(std::move(words));
    }
    catch (const CLI::Success &wish)
    {
        return app.exit(wish);
    }
    catch (const CLI::ParseError &error)
    {
        Complain("arguments", (std::string(error.what()) + " (--help says what there is)").c_str());
        return kExitWrongArguments;
    }
    return std::nullopt;
}

// Complains of an option's value, and gives false.
bool Refuse(const char *option, const std::string &value, const char *why)
{
    Complain(Text("%s \"%s\"", option, value.c_str()), why);
    return false;
}

bool ReadPatterns(const char *option, const CTexts &texts, std::vector<CString> &patterns)
{
    for (const std::string &text : texts)
    {
        const char *objection = ObjectionToPattern(text.c_str());
        if (*objection != '\0')
            return Refuse(option, text, objection);
        patterns.push_back(text.c_str());
    }
    return true;
}

bool ReadQueries(const CTexts &texts, std::vector<CString> &queries)
{
    for (const std::string &text : texts)
    {
        if (text.empty())
            return Refuse("--query", text, "an empty query finds nothing");
        queries.push_back(text.c_str());
    }
    return true;
}

bool ReadTop(const std::string &text, u32 &top)
{
    const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos;
    const unsigned long long number = isNumber ? std::strtoull(text.c_str(), nullptr, 10) : 0;
    if (number == 0 || number > kMaxTop)
        return Refuse("--top", text, "wanted a whole number from 1 to 1000000");
    top = static_cast<u32>(number);
    return true;
}

bool ReadTolerance(const std::string &text, float &tolerance)
{
    char *end = nullptr;
    const float number = std::strtof(text.c_str(), &end);
    const bool isNumber = !text.empty() && *end == '\0';
    // Not a number is neither at least 0 nor at most 1.
    if (!isNumber || !(number >= 0.0f && number <= 1.0f))
        return Refuse("--tolerance", text, "wanted a number from 0 to 1");
    tolerance = number;
    return true;
}

} // namespace

std::optional<int> ReadArguments(int argc, char **argv, SArguments &arguments)
{
    SRawArguments raw;
    raw.m_Source = arguments.m_Source.CStr();
    if (const std::optional<int> code = Parse(argc, argv, raw, arguments))
        return code;

    arguments.m_Source = raw.m_Source.c_str();
    if (raw.m_RulesFile.has_value())
        arguments.m_RulesFile = raw.m_RulesFile->c_str();
    SPatterns &patterns = arguments.m_Patterns;
    patterns.m_CaseSensitivity = arguments.m_Find.m_IgnoreCase ? CaseInsensitive : CaseSensitive;
    const bool good = ReadPatterns("--include", raw.m_Includes, patterns.m_Includes) &&
                      ReadPatterns("--exclude", raw.m_Excludes, patterns.m_Excludes) &&
                      ReadQueries(raw.m_Queries, arguments.m_Queries) && ReadTop(raw.m_Top, arguments.m_Find.m_Top) &&
                      ReadTolerance(raw.m_Tolerance, arguments.m_Find.m_Tolerance);
    return good ? std::nullopt : std::optional<int>(kExitWrongArguments);
}

} // namespace AssetFinder
