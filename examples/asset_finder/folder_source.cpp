// The walk over a folder.
#include "folder_source.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "platform.h"
#include "text.h"

using namespace Quorvane;

namespace fs = std::filesystem;

namespace AssetFinder
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
    return std::strcmp(a.m_Name.CStr(), b.m_Name.CStr()) < 0;
}

// Folders are parted by slashes here, as they can be everywhere.
CString WithSlashes(const CString &folder)
{
    return kBackslashParts ? folder.Replace('\\', '/') : folder;
}

// The topmost folder is called by a slash.
CString WithoutSlashes(const CString &folder)
{
    CString stripped = folder;
    stripped.StripRight("/");
    return stripped.Length() != folder.Length() && IsTopmost(stripped) ? stripped + "/" : stripped;
}

class CWalker
{
public:
    CWalker(const SWalkOptions &options, const SFilters &filters, CCatalogueObserver &observer)
        : m_Options(options), m_Observer(observer), m_Builder(filters)
    {
    }

    SCatalogue Run();

private:
    void _VisitFolder(const CString &path);
    std::error_code _ReadItems(const CString &path);
    void _KeepItems(const CString &folder);
    bool _IsFirstVisit(const CString &path);

    const SWalkOptions &m_Options;
    CCatalogueObserver &m_Observer;
    CCatalogueBuilder m_Builder;
    std::vector<CString> m_Pending; // folders yet to be visited, the next one last
    std::vector<SItem> m_Items;     // of the folder being visited
    std::unordered_set<fs::path::string_type> m_Visited;
};

// A list instead of recursion: folders may be nested deeper than the stack.
SCatalogue CWalker::Run()
{
    m_Pending.push_back(WithoutSlashes(WithSlashes(m_Options.m_Root)));
    for (u64 done = 1; !m_Pending.empty(); ++done)
    {
        const CString path = std::move(m_Pending.back());
        m_Pending.pop_back();
        _VisitFolder(path);
        m_Observer.OnProgress(done, done + m_Pending.size());
    }
    return std::move(m_Builder.Catalogue());
}

void CWalker::_VisitFolder(const CString &path)
{
    if (m_Options.m_FollowLinks && !_IsFirstVisit(path))
        return;
    const std::error_code error = _ReadItems(path);
    if (error)
    {
        ++m_Builder.Catalogue().m_UnreadableFolders;
        m_Observer.OnSkipped(path, error.message().c_str());
        return;
    }
    m_Builder.AddFolder(path);
    _KeepItems(path);
}

// With links followed, several paths may lead to one folder, its own inside included.
bool CWalker::_IsFirstVisit(const CString &path)
{
    std::error_code error;
    const fs::path canonical = fs::canonical(path.CStr(), error);
    return error || m_Visited.insert(canonical.native()).second;
}

std::error_code CWalker::_ReadItems(const CString &path)
{
    m_Items.clear();
    std::error_code error;
    fs::directory_iterator it(path.CStr(), error);
    for (; !error && it != fs::directory_iterator(); it.increment(error))
        m_Items.push_back({m_Builder.ShareName(InUtf8(it->path().filename())), KindOf(*it, m_Options.m_FollowLinks)});
    std::sort(m_Items.begin(), m_Items.end(), &IsBefore);
    return error;
}

void CWalker::_KeepItems(const CString &folder)
{
    SCatalogue &catalogue = m_Builder.Catalogue();
    const std::size_t firstFolder = m_Pending.size();
    for (const SItem &item : m_Items)
    {
        if (item.m_Kind == ItemKind_File)
            m_Builder.AddFile(folder, item.m_Name);
        else if (item.m_Kind == ItemKind_Folder)
            m_Pending.push_back(PathOf(folder, item.m_Name));
        else
            ++(item.m_Kind == ItemKind_Link ? catalogue.m_Links : catalogue.m_Others);
    }
    // The list is worked off from its end.
    std::reverse(m_Pending.begin() + static_cast<std::ptrdiff_t>(firstFolder), m_Pending.end());
}

} // namespace

CString ObjectionToFolder(const CString &given)
{
    const CString folder = WithSlashes(given);
    std::error_code error;
    const fs::file_status status = fs::status(folder.CStr(), error);
    if (status.type() == fs::file_type::not_found)
        return "no such folder";
    if (!error && !fs::is_directory(status))
        return "is not a folder";
    if (!error)
        static_cast<void>(fs::directory_iterator(folder.CStr(), error));
    return error ? error.message().c_str() : "";
}

SCatalogue CatalogueFolder(const SWalkOptions &options, const SFilters &filters, CCatalogueObserver &observer)
{
    return CWalker(options, filters, observer).Run();
}

} // namespace AssetFinder
