// Ranking.
#include "finder.h"

using namespace Quorvane;

namespace AssetFinder
{

CFinder::CFinder(const SCatalogue &catalogue, const SFindOptions &options) : m_Catalogue(catalogue), m_Options(options)
{
    if (!m_Options.m_IgnoreCase)
        return;
    m_LowercaseNames.reserve(m_Catalogue.m_Files.size());
    for (const SFile &file : m_Catalogue.m_Files)
        m_LowercaseNames.push_back(_Cased(file.m_Name));
}

bool CFinder::Find(const CString &query, CHits &hits) const
{
    return _Cased(query).FuzzyMatchList_Top(_Names(), hits, m_Options.m_Tolerance, m_Options.m_Top);
}

void CFinder::Positions(const CString &query, u32 file, TArray<u32> &positions) const
{
    static_cast<void>(_Names()[file].FuzzyMatchPositions(_Cased(query), positions)); // none without memory
}

// A text that is lower case already stays shared.
CString CFinder::_Cased(const CString &text) const
{
    return !m_Options.m_IgnoreCase || text.IsLower() ? text : text.Lowercase();
}

// The names stand in the files' records: a strided view needs no list of its own.
TStridedMemoryView<const CString> CFinder::_Names() const
{
    const std::vector<SFile> &files = m_Catalogue.m_Files;
    const u32 count = checked_numcast<u32>(files.size());
    if (count == 0)
        return {};
    if (m_Options.m_IgnoreCase)
        return {m_LowercaseNames.data(), count};
    return {&files.front().m_Name, count, sizeof(SFile)};
}

} // namespace AssetFinder
