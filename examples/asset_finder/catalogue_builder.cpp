// Filling a catalogue.
#include "catalogue_builder.h"

#include "kr_string_std.h"

using namespace Quorvane;

namespace AssetFinder
{

void CCatalogueBuilder::AddFolder(const CString &path)
{
    m_Catalogue.m_Folders.push_back(path);
    _NoteLength(path);
}

void CCatalogueBuilder::AddFile(const CString &folder, const CString &name)
{
    SFile file = {folder, name};
    if (!_Keeps(file))
        return;
    file.m_Name = _CatalogueName(name);
    m_Catalogue.m_Files.push_back(file);
    _NoteLength(file.Path());
}

bool CCatalogueBuilder::_Keeps(const SFile &file)
{
    if (!m_Filters.m_Patterns.Keep(file))
    {
        ++m_Catalogue.m_LeftOut;
        return false;
    }
    if (!m_Filters.m_Rules.Keeps(file.m_Name))
    {
        ++m_Catalogue.m_Excluded;
        return false;
    }
    return true;
}

// A name that the rules change is shared with all that are equal to it, as every name is.
CString CCatalogueBuilder::_CatalogueName(const CString &name)
{
    const CString renamed = m_Filters.m_Rules.Renamed(name);
    const CString recased = m_Filters.m_Rules.Recased(renamed);
    m_Catalogue.m_Renamed += renamed.Data() != name.Data() ? 1 : 0;
    m_Catalogue.m_Recased += recased.Data() != renamed.Data() ? 1 : 0;
    return recased.Data() != name.Data() ? m_Names.Share(ToStdStringView(recased)) : name;
}

void CCatalogueBuilder::_NoteLength(const CString &path)
{
    if (path.Length() > m_Catalogue.m_LongestPath.Length())
        m_Catalogue.m_LongestPath = path;
}

} // namespace AssetFinder
