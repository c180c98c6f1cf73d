// One container for each distinct name.
#include "name_pool.h"

using namespace Quorvane;

namespace AssetFinder
{

CString CNamePool::Share(std::string_view name)
{
    const auto found = m_Names.find(name);
    if (found != m_Names.end())
        return found->second;
    const CString made(name.data(), checked_numcast<u32>(name.size()));
    if (!made.Empty())
        m_Names.emplace(std::string_view(made.Data(), made.Length()), made);
    return made;
}

} // namespace AssetFinder
