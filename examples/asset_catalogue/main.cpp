// asset_catalogue: walks a folder and reports what lies in it, and what shared strings save while remembering it.
//
//     asset_catalogue [folder] [--rules FILE] [--follow-links] [--no-progress]
//
// A rules file says which files are kept, and under which names; example_rules.txt is one.
//
// Exit codes: 0 done (skipped folders and names, and mistakes in the rules, are reported on stderr, and counted), 1 the
// report could not be written, 2 wrong arguments.
#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "catalogue.h"
#include "kr_string.h"
#include "progress_bar.h"
#include "report.h"
#include "rules.h"
#include "text.h"

using namespace AssetCatalogue;
using namespace Quorvane;

namespace
{

constexpr int kExitDone = 0;
constexpr int kExitNotWritten = 1;
constexpr int kExitWrongArguments = 2;

struct SArguments
{
    std::string m_Folder = "/usr/share";
    std::optional<std::string> m_RulesFile;
    bool m_FollowLinks = false;
    bool m_NoProgress = false;
};

// The code to leave with, or nothing to go on.
std::optional<int> ReadArguments(int argc, char **argv, SArguments &arguments)
{
    CLI::App app("Walks a folder and reports what lies in it, and what shared strings save while remembering it.",
                 "asset_catalogue");
    app.add_option("folder", arguments.m_Folder, "The folder to walk")->capture_default_str();
    app.add_option("--rules", arguments.m_RulesFile, "Read rules from a file: which files are kept, and their names")
        ->type_name("FILE");
    app.add_flag("--follow-links", arguments.m_FollowLinks, "Follow symbolic links; each folder is walked once");
    app.add_flag("--no-progress", arguments.m_NoProgress, "No progress bar, not even on a terminal");
    app.footer(RulesHelp());
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError &error)
    {
        return app.exit(error) == 0 ? kExitDone : kExitWrongArguments;
    }
    return std::nullopt;
}

// Why a folder cannot be walked; empty when it can.
CString Objection(const CString &folder)
{
    if (HoldsBackslash(folder))
        return "paths with a backslash are not supported";
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(Terminated(folder), error);
    if (status.type() == std::filesystem::file_type::not_found)
        return "no such folder";
    if (error)
        return error.message().c_str();
    return std::filesystem::is_directory(status) ? "" : "is not a folder";
}

void Complain(const CString &what, const char *why)
{
    std::fprintf(stderr, "asset_catalogue: %s: %s\n", Terminated(Printable(what)), why);
}

// Reads the rules file and reports its mistakes. Returns: whether it could be read.
bool ReadRules(SRulesFile &file)
{
    const CString objection = ReadRulesFile(file);
    if (!objection.Empty())
        Complain("rules file \"" + file.m_Path + "\"", Terminated(objection));
    for (const SRuleMistake &mistake : file.m_Mistakes)
        std::fprintf(stderr, "%s:%u: %s\n", Terminated(Printable(file.m_Path)), mistake.m_Line,
                     Terminated(mistake.m_What));
    return objection.Empty();
}

// Shows progress and problems on stderr.
class CConsole final : public CWalkObserver
{
public:
    explicit CConsole(bool wantsProgress) : m_Bar(wantsProgress) {}

    void OnProgress(u64 done, u64 known) override { m_Bar.Show(done, known); }
    void OnSkipped(const CString &path, const char *reason) override
    {
        m_Bar.Hide();
        Complain("skipped " + path, reason);
    }

private:
    CProgressBar m_Bar;
};

double SecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

CString WalkAndReport(const SWalkOptions &options, const SRulesFile *rules, bool wantsProgress)
{
    CConsole console(wantsProgress);
    const auto start = std::chrono::steady_clock::now();
    const SCatalogue catalogue = Walk(options, console);
    return FormatReport(options.m_Root, catalogue, rules, SecondsSince(start));
}

bool Print(const CString &text)
{
    return std::fputs(Terminated(text), stdout) >= 0 && std::fflush(stdout) == 0;
}

} // namespace

int main(int argc, char **argv)
{
    SArguments arguments;
    if (const std::optional<int> code = ReadArguments(argc, argv, arguments))
        return *code;

    SWalkOptions options = {CString(arguments.m_Folder.c_str()), arguments.m_FollowLinks, {}};
    const CString objection = Objection(options.m_Root);
    if (!objection.Empty())
    {
        Complain("\"" + options.m_Root + "\"", Terminated(objection));
        return kExitWrongArguments;
    }

    std::optional<SRulesFile> rules;
    if (arguments.m_RulesFile.has_value())
    {
        rules.emplace().m_Path = arguments.m_RulesFile->c_str();
        if (!ReadRules(*rules))
            return kExitWrongArguments;
        options.m_Rules = rules->m_Rules;
    }

    const CString report = WalkAndReport(options, rules.has_value() ? &*rules : nullptr, !arguments.m_NoProgress);
    if (Print(report))
        return kExitDone;
    Complain("stdout", "the report could not be written");
    return kExitNotWritten;
}
