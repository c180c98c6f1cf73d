// The walk over a folder.
#include "catalogue.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "kr_string_std.h"
#include "name_pool.h"
#include "text.h"

using namespace Quorvane;

namespace fs = std::filesystem;

namespace AssetCatalogue
{

namespace
{

enum EItemKind
{
    ItemKind_File,
    ItemKind_Folder,
    ItemKind_Link,
    ItemKind_Other,
};

struct SItem
{
    CString m_Name;
    EItemKind m_Kind;
};

EItemKind KindOf(const fs::directory_entry &entry, bool followLinks)
{
    std::error_code ignored; // what cannot be asked is something other
    if (!followLinks && entry.is_symlink(ignored))
        return ItemKind_Link;
    if (entry.is_directory(ignored))
        return ItemKind_Folder;
    return entry.is_regular_file(ignored) ? ItemKind_File : ItemKind_Other;
}

bool IsBefore(const SItem &a, const SItem &b)
{
    return std::strcmp(Terminated(a.m_Name), Terminated(b.m_Name)) < 0;
}

class CWalker
{
public:
    CWalker(const SWalkOptions &options, CWalkObserver &observer) : m_Options(options), m_Observer(observer) {}

    SCatalogue Run();

private:
    void _VisitFolder(const CString &path);
    std::error_code _ReadItems(const CString &path);
    void _KeepItems(const CString &folder);
    void _KeepFile(const CString &folder, const CString &name);
    CString _CatalogueName(const CString &name);
    void _SkipBackslashName(const CString &folder, const CString &name);
    void _NoteLength(const CString &path);
    bool _IsFirstVisit(const CString &path);

    const SWalkOptions &m_Options;
    CWalkObserver &m_Observer;
    SCatalogue m_Catalogue;
    CNamePool m_Names;
    std::vector<CString> m_Pending; // folders yet to be visited, the next one last
    std::vector<SItem> m_Items;     // of the folder being visited
    std::unordered_set<std::string> m_Visited;
};

// A list instead of recursion: folders may be nested deeper than the stack.
SCatalogue CWalker::Run()
{
    // Joining with nothing takes the slashes off the end.
    m_Pending.push_back(m_Options.m_Root / "");
    for (u64 done = 1; !m_Pending.empty(); ++done)
    {
        const CString path = std::move(m_Pending.back());
        m_Pending.pop_back();
        _VisitFolder(path);
        m_Observer.OnProgress(done, done + m_Pending.size());
    }
    return std::move(m_Catalogue);
}

void CWalker::_VisitFolder(const CString &path)
{
    if (m_Options.m_FollowLinks && !_IsFirstVisit(path))
        return;
    const std::error_code error = _ReadItems(path);
    if (error)
    {
        ++m_Catalogue.m_UnreadableFolders;
        m_Observer.OnSkipped(path, error.message().c_str());
        return;
    }
    m_Catalogue.m_Folders.push_back(path);
    _NoteLength(path);
    _KeepItems(path);
}

// With links followed, several paths may lead to one folder, its own inside included.
bool CWalker::_IsFirstVisit(const CString &path)
{
    std::error_code error;
    const fs::path canonical = fs::canonical(Terminated(path), error);
    return error || m_Visited.insert(canonical.native()).second;
}

std::error_code CWalker::_ReadItems(const CString &path)
{
    m_Items.clear();
    std::error_code error;
    fs::directory_iterator it(Terminated(path), error);
    for (; !error && it != fs::directory_iterator(); it.increment(error))
        m_Items.push_back({m_Names.Share(it->path().filename().native()), KindOf(*it, m_Options.m_FollowLinks)});
    std::sort(m_Items.begin(), m_Items.end(), &IsBefore);
    return error;
}

void CWalker::_KeepItems(const CString &folder)
{
    const std::size_t firstFolder = m_Pending.size();
    for (const SItem &item : m_Items)
    {
        if (HoldsBackslash(item.m_Name))
            _SkipBackslashName(folder, item.m_Name);
        else if (item.m_Kind == ItemKind_File)
            _KeepFile(folder, item.m_Name);
        else if (item.m_Kind == ItemKind_Folder)
            m_Pending.push_back(folder / item.m_Name);
        else
            ++(item.m_Kind == ItemKind_Link ? m_Catalogue.m_Links : m_Catalogue.m_Others);
    }
    // The list is worked off from its end.
    std::reverse(m_Pending.begin() + static_cast<std::ptrdiff_t>(firstFolder), m_Pending.end());
}

void CWalker::_KeepFile(const CString &folder, const CString &name)
{
    if (!m_Options.m_Rules.Keeps(name))
    {
        ++m_Catalogue.m_Excluded;
        return;
    }
    m_Catalogue.m_Files.push_back({folder, _CatalogueName(name)});
    _NoteLength(m_Catalogue.m_Files.back().Path());
}

// A name that the rules change is shared with all that are equal to it, as every name is.
CString CWalker::_CatalogueName(const CString &name)
{
    const CString renamed = m_Options.m_Rules.Renamed(name);
    const CString recased = m_Options.m_Rules.Recased(renamed);
    m_Catalogue.m_Renamed += renamed.Data() != name.Data() ? 1 : 0;
    m_Catalogue.m_Recased += recased.Data() != renamed.Data() ? 1 : 0;
    return recased.Data() != name.Data() ? m_Names.Share(ToStdStringView(recased)) : name;
}

// The path of such a name is for people only: appended, not joined.
void CWalker::_SkipBackslashName(const CString &folder, const CString &name)
{
    ++m_Catalogue.m_BackslashNames;
    m_Observer.OnSkipped(folder.SlashAppended() + name, "a backslash in the name");
}

void CWalker::_NoteLength(const CString &path)
{
    if (path.Length() > m_Catalogue.m_LongestPath.Length())
        m_Catalogue.m_LongestPath = path;
}

} // namespace

SCatalogue Walk(const SWalkOptions &options, CWalkObserver &observer)
{
    return CWalker(options, observer).Run();
}

} // namespace AssetCatalogue
