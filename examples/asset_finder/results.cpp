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
    const CString names = Grouped(finder.Catalogue().m_Files.size()) + " names";
    const CString found = hits.Empty()
                              ? "nothing at " + Text("%.2f", static_cast<double>(finder.Options().m_Tolerance)) +
                                    " or more among " + names
                              : "the best " + Grouped(hits.Count()) + " of " + names;
    const CString time = seconds < 0 ? CString() : Text(", ranked in %.2f ms", seconds * 1000);
    return "\"" + Printable(query) + "\": " + found + time + "\n";
}

// One line: the name is marked already.
CString HitLine(float weight, const CString &name, u32 nameColumns, const CString &path)
{
    const u32 columns = ColumnsOf(name);
    const u32 blanks = columns < nameColumns ? nameColumns - columns : 0;
    return Text("  %.3f  %s%*s  %s\n", static_cast<double>(weight), name.CStr(), static_cast<int>(blanks), "",
                Printable(path).CStr());
}

} // namespace

CString FormatResults(const CFinder &finder, const CString &query, const CHits &hits, EHighlight highlight,
                      double seconds)
{
    const std::vector<SFile> &files = finder.Catalogue().m_Files;
    std::vector<CString> names;
    TArray<u32> positions;
    u32 nameColumns = 0;
    for (const SHit &hit : hits)
    {
        finder.Positions(query, hit.m_IndexInStringList, positions);
        names.push_back(Highlighted(files[hit.m_IndexInStringList].m_Name, positions, highlight));
        nameColumns = QVMax(nameColumns, QVMin(ColumnsOf(names.back()), kMaxNameColumns));
    }

    CString text = Heading(finder, query, hits, seconds);
    for (u32 i = 0; i < hits.Count(); ++i)
        text.Append(HitLine(hits[i].m_MatchWeight, names[i], nameColumns, files[hits[i].m_IndexInStringList].Path()));
    return text;
}

} // namespace AssetFinder
