// Ranking and matching.
#include "finder.h"

#include <unordered_map>

#include "patterns.h"

using namespace Quorvane;

namespace AssetFinder
{

CFinder::CFinder(const SCatalogue &catalogue, const SFindOptions &options) : m_Catalogue(catalogue), m_Options(options)
{
    _GatherNames();
    if (!m_Options.m_IgnoreCase)
        return;
    m_LowercaseNames.reserve(m_Names.size());
    for (const SNamedFiles &named : m_Names)
        m_LowercaseNames.push_back(_Cased(named.m_Name));
}

// Equal names are one shared string in a catalogue, so that its address tells which they are.
void CFinder::_GatherNames()
{
    const std::vector<SFile> &files = m_Catalogue.m_Files;
    std::unordered_map<const char *, u32> known;
    for (u32 i = 0; i < checked_numcast<u32>(files.size()); ++i)
    {
        const auto [found, isNew] = known.emplace(files[i].m_Name.Data(), checked_numcast<u32>(m_Names.size()));
        if (isNew)
            m_Names.push_back({files[i].m_Name, i, 0});
        ++m_Names[found->second].m_Count;
    }
}

bool CFinder::Find(const CString &query, CHits &hits) const
{
    return _Cased(query).FuzzyMatchList_Top(_Texts(), hits, m_Options.m_Tolerance, m_Options.m_Top);
}

void CFinder::Positions(const CString &query, u32 name, TArray<u32> &positions) const
{
    static_cast<void>(_Texts()[name].FuzzyMatchPositions(_Cased(query), positions)); // none without memory
}

std::vector<u32> CFinder::Match(const CString &pattern) const
{
    SPatterns patterns;
    patterns.m_Includes.push_back(pattern);
    patterns.m_CaseSensitivity = m_Options.m_IgnoreCase ? CaseInsensitive : CaseSensitive;
    const std::vector<SFile> &files = m_Catalogue.m_Files;
    std::vector<u32> found;
    for (u32 i = 0; i < checked_numcast<u32>(files.size()); ++i)
        if (patterns.Keep(files[i]))
            found.push_back(i);
    return found;
}

// A text that is lower case already stays shared.
CString CFinder::_Cased(const CString &text) const
{
    return !m_Options.m_IgnoreCase || text.IsLower() ? text : text.Lowercase();
}

// The texts stand in the names' records: a strided view needs no list of its own.
TStridedMemoryView<const CString> CFinder::_Texts() const
{
    const u32 count = checked_numcast<u32>(m_Names.size());
    if (count == 0)
        return {};
    if (m_Options.m_IgnoreCase)
        return {m_LowercaseNames.data(), count};
    return {&m_Names.front().m_Name, count, sizeof(SNamedFiles)};
}

} // namespace AssetFinder
