// Results.
#include "results.h"

#include "text.h"

using namespace Quorvane;

namespace AssetFinder
{

namespace
{

// Longer names push their paths to the right instead of everybody's.
constexpr u32 kMaxNameColumns = 40;

CString Heading(const CFinder &finder, const CString &query, const CHits &hits, double seconds)
{
    const CString names = Grouped(finder.Names().size()) + " names";
    const CString found = hits.Empty()
                              ? "nothing at " + Text("%.2f", static_cast<double>(finder.Options().m_Tolerance)) +
                                    " or more among " + names
                              : "the best " + Grouped(hits.Count()) + " of " + names;
    const CString time = seconds < 0 ? CString() : Text(", ranked in %.2f ms", seconds * 1000);
    return "\"" + Printable(query) + "\": " + found + time + "\n";
}

// One line: the name is marked already.
CString HitLine(float weight, const CString &name, u32 nameColumns, const CString &path, u32 files)
{
    const u32 columns = ColumnsOf(name);
    const u32 blanks = columns < nameColumns ? nameColumns - columns : 0;
    const CString others = files > 1 ? " and " + Grouped(files - 1) + " more" : CString();
    return Text("  %.3f  %s%*s  %s%s\n", static_cast<double>(weight), name.CStr(), static_cast<int>(blanks), "",
                Printable(path).CStr(), others.CStr());
}

} // namespace

CString FormatResults(const CFinder &finder, const CString &query, const CHits &hits, EHighlight highlight,
                      double seconds)
{
    std::vector<CString> names;
    TArray<u32> positions;
    u32 nameColumns = 0;
    for (const SHit &hit : hits)
    {
        finder.Positions(query, hit.m_IndexInStringList, positions);
        names.push_back(Highlighted(finder.Names()[hit.m_IndexInStringList].m_Name, positions, highlight));
        nameColumns = QVMax(nameColumns, QVMin(ColumnsOf(names.back()), kMaxNameColumns));
    }

    CString text = Heading(finder, query, hits, seconds);
    for (u32 i = 0; i < hits.Count(); ++i)
    {
        const SNamedFiles &named = finder.Names()[hits[i].m_IndexInStringList];
        const CString path = finder.Catalogue().m_Files[named.m_FirstFile].Path();
        text.Append(HitLine(hits[i].m_MatchWeight, names[i], nameColumns, path, named.m_Count));
    }
    return text;
}

CString FormatMatches(const CFinder &finder, const CString &pattern, const std::vector<u32> &matches, double seconds)
{
    const std::vector<SFile> &files = finder.Catalogue().m_Files;
    const u32 shown = QVMin(checked_numcast<u32>(matches.size()), finder.Options().m_Top);
    const CString cut = shown < matches.size() ? ", the first " + Grouped(shown) : CString();
    const CString time = seconds < 0 ? CString() : Text(", matched in %.2f ms", seconds * 1000);
    CString text = "\"" + Printable(pattern) + "\": matches " + Grouped(matches.size()) + " of " +
                   Grouped(files.size()) + " files" + cut + time + "\n";
    for (u32 i = 0; i < shown; ++i)
        text += "  " + Printable(files[matches[i]].Path()) + "\n";
    return text;
}

} // namespace AssetFinder
