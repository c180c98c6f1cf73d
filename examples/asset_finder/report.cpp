// The report.
#include "report.h"

#include "sharing.h"
#include "text.h"

using namespace Quorvane;

namespace AssetFinder
{

namespace
{

// A figure's line: what it is, the figure, and perhaps a note.
CString Line(const char *label, const CString &figure, const CString &note)
{
    const CString line = Text("  %-18s%14s", label, figure.CStr());
    return (note.Empty() ? line : line + "   " + note) + "\n";
}

CString Line(const char *label, u64 figure, const CString &note)
{
    return Line(label, Grouped(figure), note);
}

CString ContentLines(const SCatalogue &catalogue)
{
    return Line("files", catalogue.m_Files.size(), "") + Line("folders", catalogue.m_Folders.size(), "") +
           Line("links", catalogue.m_Links, "symbolic links, not followed") +
           Line("other", catalogue.m_Others, "neither file, folder nor link") +
           Line("unreadable", catalogue.m_UnreadableFolders, "folders, skipped") +
           Line("longest path", catalogue.m_LongestPath.Length(), Printable(catalogue.m_LongestPath));
}

CString PatternLines(const SPatterns &patterns, const SCatalogue &catalogue)
{
    return patterns.Empty() ? CString() : Line("left out", catalogue.m_LeftOut, "files, by the patterns");
}

CString RulesLines(const SRulesFile &rules, const SCatalogue &catalogue)
{
    return Line("rules", rules.m_Rules.Count(), "from " + Printable(rules.m_Path)) +
           Line("mistakes", rules.m_Mistakes.size(), "in that file, their lines ignored") +
           Line("excluded", catalogue.m_Excluded, "files, by the rules") +
           Line("renamed", catalogue.m_Renamed, "names of files, by the rules") +
           Line("recased", catalogue.m_Recased, "names of files, by the rules");
}

double Ratio(u64 a, u64 b)
{
    return b != 0 ? static_cast<double>(a) / static_cast<double>(b) : 0.0;
}

CString SharingLines(const SSharing &sharing)
{
    return Line("handles", sharing.m_Handles, "strings held") +
           Line("containers", sharing.m_Containers,
                Text("behind them: %.1f handles share one", Ratio(sharing.m_Handles, sharing.m_Containers))) +
           Line("bytes held", sharing.m_BytesHeld, "containers and handles") +
           Line("without sharing", sharing.m_BytesIfUnshared,
                Text("%.1f times as many", Ratio(sharing.m_BytesIfUnshared, sharing.m_BytesHeld)));
}

} // namespace

CString FormatReport(const CString &source, const SCatalogue &catalogue, const SPatterns &patterns,
                     const SRulesFile *rules, double seconds)
{
    return Printable(source) + "\n" + ContentLines(catalogue) + PatternLines(patterns, catalogue) +
           (rules != nullptr ? RulesLines(*rules, catalogue) : CString()) + SharingLines(MeasureSharing(catalogue)) +
           Line("time", Text("%.3f s", seconds), "to catalogue, every file's path joined once");
}

} // namespace AssetFinder
