// asset_finder: catalogues the files of a folder, or of a list, and finds them by names with typing errors.
//
//     asset_finder /usr --query stdoi.h --top 5 --time
//     git ls-files | asset_finder - --include '*.cpp' --query mian.cpp
//     asset_finder assets --rules example_rules.txt --report
//
// The catalogue holds handles on shared strings; the report says what the sharing saves. Wildcard patterns, and rules
// from a file (example_rules.txt is one), say which files are kept. A query ranks the names by their edit distance.
//
// Exit codes: 0 done (skipped folders and names, and mistakes in the rules, are reported on stderr, and counted), 1 the
// output could not be written or memory was refused, 2 wrong arguments.
#include <cstdio>
#include <optional>

#include "answers.h"
#include "arguments.h"
#include "catalogue.h"
#include "console.h"
#include "dialogue.h"
#include "finder.h"
#include "folder_source.h"
#include "kr_string.h"
#include "line_source.h"
#include "prompt.h"
#include "report.h"
#include "rules.h"
#include "stopwatch.h"
#include "text.h"

using namespace AssetFinder;
using namespace Quorvane;

namespace
{

// What all of the program knows once the arguments are read.
struct SSession
{
    SArguments m_Arguments;
    std::optional<SRulesFile> m_Rules;
    SCatalogue m_Catalogue;
    double m_CatalogueSeconds = 0;
};

// Reads the rules file and reports its mistakes. Returns: whether it could be read.
bool ReadRules(SRulesFile &file)
{
    const CString objection = ReadRulesFile(file);
    if (!objection.Empty())
        Complain("rules file \"" + file.m_Path + "\"", objection.CStr());
    for (const SRuleMistake &mistake : file.m_Mistakes)
        Complain(Text("%s:%u", file.m_Path.CStr(), mistake.m_Line), mistake.m_What.CStr());
    return objection.Empty();
}

bool ReadRulesIfAny(SSession &session)
{
    if (!session.m_Arguments.m_RulesFile.has_value())
        return true;
    session.m_Rules.emplace().m_Path = *session.m_Arguments.m_RulesFile;
    return ReadRules(*session.m_Rules);
}

bool IsStandardInput(const SArguments &arguments)
{
    return arguments.m_Source == kStandardInput;
}

CString NameOfSource(const SArguments &arguments)
{
    return IsStandardInput(arguments) ? CString("standard input") : arguments.m_Source;
}

// Returns: why there is no catalogue, empty when there is.
CString FillCatalogue(const SArguments &arguments, const SFilters &filters, SCatalogue &catalogue)
{
    CConsole console(!arguments.m_NoProgress);
    if (IsStandardInput(arguments))
        return CatalogueLines(stdin, filters, console, catalogue);
    const CString objection = ObjectionToFolder(arguments.m_Source);
    if (objection.Empty())
        catalogue = CatalogueFolder({arguments.m_Source, arguments.m_FollowLinks}, filters, console);
    return objection;
}

bool MakeCatalogue(SSession &session)
{
    const SArguments &arguments = session.m_Arguments;
    const SFilters filters = {arguments.m_Patterns, session.m_Rules.has_value() ? session.m_Rules->m_Rules : SRules()};
    const CStopwatch watch;
    const CString objection = FillCatalogue(arguments, filters, session.m_Catalogue);
    session.m_CatalogueSeconds = watch.Seconds();
    if (!objection.Empty())
        Complain(IsStandardInput(arguments) ? NameOfSource(arguments) : "\"" + arguments.m_Source + "\"",
                 objection.CStr());
    return objection.Empty();
}

CString Report(const SSession &session)
{
    const SRulesFile *rules = session.m_Rules.has_value() ? &*session.m_Rules : nullptr;
    return FormatReport(NameOfSource(session.m_Arguments), session.m_Catalogue, session.m_Arguments.m_Patterns, rules,
                        session.m_CatalogueSeconds);
}

CString CatalogueTime(const SSession &session)
{
    return Grouped(session.m_Catalogue.m_Files.size()) + " files of " + Printable(NameOfSource(session.m_Arguments)) +
           Text(" catalogued in %.3f s", session.m_CatalogueSeconds);
}

bool AnswerAll(const CFinder &finder, const SArguments &arguments)
{
    for (const CString &query : arguments.m_Queries)
        if (!AnswerQuery(finder, query, arguments.m_Time))
            return false;
    return true;
}

bool RunQueries(const SSession &session, bool atPrompt)
{
    const SArguments &arguments = session.m_Arguments;
    const CStopwatch watch;
    const CFinder finder(session.m_Catalogue, arguments.m_Find);
    const CString casing = arguments.m_Find.m_IgnoreCase ? CString(" and lower-cased") : CString();
    const CString gathered = Text(", %s names gathered", Grouped(finder.Names().size()).CStr()) + casing +
                             Text(" in %.3f s", watch.Seconds());
    if (arguments.m_Time && !Print(CatalogueTime(session) + gathered + "\n"))
        return false;
    return atPrompt ? CDialogue(finder, arguments.m_Time).Run() : AnswerAll(finder, arguments);
}

// Without anything to do, and nobody to ask, the report is what is wanted.
bool Run(const SSession &session)
{
    const SArguments &arguments = session.m_Arguments;
    const bool hasTask = arguments.m_Report || !arguments.m_Queries.empty();
    const bool atPrompt = !hasTask && !IsStandardInput(arguments) && CanPrompt();
    if ((arguments.m_Report || (!hasTask && !atPrompt)) && !Print(Report(session)))
        return false;
    return (arguments.m_Queries.empty() && !atPrompt) || RunQueries(session, atPrompt);
}

} // namespace

int main(int argc, char **argv)
{
    SSession session;
    if (const std::optional<int> code = ReadArguments(argc, argv, session.m_Arguments))
        return *code;
    if (!ReadRulesIfAny(session) || !MakeCatalogue(session))
        return kExitWrongArguments;
    return Run(session) ? kExitDone : kExitNotFinished;
}
