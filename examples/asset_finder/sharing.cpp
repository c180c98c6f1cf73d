// What sharing saves.
#include "sharing.h"

#include <unordered_set>

using namespace Quorvane;

namespace AssetFinder
{

namespace
{

class CSharingMeter
{
public:
    void Add(const CString &handle)
    {
        const u64 footprint = handle.MemoryFootprint();
        ++m_Sharing.m_Handles;
        m_Sharing.m_BytesIfUnshared += footprint;
        m_Sharing.m_BytesHeld += _IsNewContainer(handle) ? footprint : sizeof(CString);
    }

    SSharing Result()
    {
        m_Sharing.m_Containers = m_Seen.size();
        return m_Sharing;
    }

private:
    // Handles share a container exactly when they show the same characters at the same address.
    bool _IsNewContainer(const CString &handle)
    {
        return handle.Data() != nullptr && m_Seen.insert(handle.Data()).second;
    }

    std::unordered_set<const char *> m_Seen;
    SSharing m_Sharing;
};

} // namespace

SSharing MeasureSharing(const SCatalogue &catalogue)
{
    CSharingMeter meter;
    meter.Add(catalogue.m_LongestPath);
    for (const CString &folder : catalogue.m_Folders)
        meter.Add(folder);
    for (const SFile &file : catalogue.m_Files)
    {
        meter.Add(file.m_Folder);
        meter.Add(file.m_Name);
    }
    return meter.Result();
}

} // namespace AssetFinder
