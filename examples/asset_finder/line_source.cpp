// Paths from the lines of a stream.
#include "line_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "kr_string_std.h"
#include "line_reader.h"
#include "platform.h"
#include "text.h"

using namespace Quorvane;

namespace AssetFinder
{

namespace
{

class CLineCatalogue
{
public:
    CLineCatalogue(const SFilters &filters, CCatalogueObserver &observer) : m_Observer(observer), m_Builder(filters) {}

    void AddLine(std::string_view line);
    SCatalogue &Catalogue() { return m_Builder.Catalogue(); }

private:
    void _AddPath(std::string_view path);
    CString _ShareFolder(std::string_view path);
    void _Skip(const CString &what, const char *reason);

    CCatalogueObserver &m_Observer;
    CCatalogueBuilder m_Builder;
    CNamePool m_Folders;
    CString m_LastFolder;
    std::unordered_set<const char *> m_KnownFolders;
};

void CLineCatalogue::AddLine(std::string_view line)
{
    if (line.empty())
        return;
    if (line.size() > kMaxLineLength)
        _Skip(StringFromStdStringView(line.substr(0, 60)) + "...", "longer than any path");
    else if (line.find('\0') != std::string_view::npos)
        _Skip(StringFromStdStringView(line), "a NUL in the line");
    else
        _AddPath(line);
}

void CLineCatalogue::_AddPath(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    const std::size_t nameStart = slash == std::string_view::npos ? 0 : slash + 1;
    const std::string_view name = path.substr(nameStart);
    if (name.empty())
        ++Catalogue().m_Others;
    else
        m_Builder.AddFile(_ShareFolder(path.substr(0, nameStart)), m_Builder.ShareName(name));
}

// All but the slash between folder and name, unless the folder is nothing but slashes: the topmost one.
CString CLineCatalogue::_ShareFolder(std::string_view path)
{
    if (path.size() > 1)
        path.remove_suffix(1);
    // Files of a folder stand together in most lists.
    if (path == ToStdStringView(m_LastFolder))
        return m_LastFolder;
    m_LastFolder = m_Folders.Share(path);
    if (!m_LastFolder.Empty() && m_KnownFolders.insert(m_LastFolder.Data()).second)
        m_Builder.AddFolder(m_LastFolder);
    return m_LastFolder;
}

void CLineCatalogue::_Skip(const CString &what, const char *reason)
{
    ++Catalogue().m_Others;
    m_Observer.OnSkipped(what, reason);
}

} // namespace

CString CatalogueLines(std::FILE *stream, const SFilters &filters, CCatalogueObserver &observer, SCatalogue &catalogue)
{
    CLineCatalogue lines(filters, observer);
    std::string line;
    while (ReadLine(stream, line))
    {
        if (kBackslashParts)
            std::replace(line.begin(), line.end(), '\\', '/');
        lines.AddLine(line);
    }
    const int error = std::ferror(stream) != 0 ? errno : 0;
    catalogue = std::move(lines.Catalogue());
    return error != 0 ? std::strerror(error) : "";
}

} // namespace AssetFinder
