// The walk over a folder, and what it keeps.
//
// Of every file the catalogue keeps two handles: its folder's path, whose characters all files of the folder share,
// and its name, whose characters all files of that name share. A full path is joined when somebody asks for it.
// Everything stands in the order of the names on disk (by bytes), whatever order the file system gives.
// Rules decide which files are kept, and under which names; where they change a name, its path is one of the catalogue,
// not of the disk.
#pragma once

#include <vector>

#include "kr_string.h"
#include "rules.h"

namespace AssetCatalogue
{

struct SFile
{
    Quorvane::CString m_Folder;
    Quorvane::CString m_Name;

    Quorvane::CString Path() const { return m_Folder / m_Name; }
};

struct SCatalogue
{
    std::vector<Quorvane::CString> m_Folders; // paths of the folders that could be read, the first one included
    std::vector<SFile> m_Files;
    Quorvane::CString m_LongestPath; // of all files and folders; the first of several

    // What the rules did to files.
    Quorvane::u64 m_Excluded = 0; // seen but not kept
    Quorvane::u64 m_Renamed = 0;  // by a renaming
    Quorvane::u64 m_Recased = 0;  // by a casing, after that

    // What else was seen but not kept.
    Quorvane::u64 m_Links = 0;  // symbolic links that were not followed
    Quorvane::u64 m_Others = 0; // devices, sockets, pipes, and what vanished meanwhile
    Quorvane::u64 m_UnreadableFolders = 0;
    Quorvane::u64 m_BackslashNames = 0;
};

struct SWalkOptions
{
    Quorvane::CString m_Root;
    bool m_FollowLinks = false;
    SRules m_Rules;
};

// Hears of the walk while it goes on.
class CWalkObserver
{
public:
    virtual ~CWalkObserver() = default;

    // `done` folders of the `known` ones are finished; `known` grows on the way.
    virtual void OnProgress(Quorvane::u64 done, Quorvane::u64 known) = 0;
    virtual void OnSkipped(const Quorvane::CString &path, const char *reason) = 0;
};

// Requires: a root without a backslash.
SCatalogue Walk(const SWalkOptions &options, CWalkObserver &observer);

} // namespace AssetCatalogue
