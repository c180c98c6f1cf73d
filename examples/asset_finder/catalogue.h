// A catalogue: the files that are known, and what was seen but not kept.
//
// Of every file the catalogue keeps two handles: its folder's path, whose characters all files of the folder share,
// and its name, whose characters all files of that name share. A full path is joined when somebody asks for it.
// Where rules changed a name, its path is one of the catalogue, not of the disk.
#pragma once

#include <vector>

#include "kr_string.h"
#include "text.h"

namespace AssetFinder
{

struct SFile
{
    Quorvane::CString m_Folder; // empty for a file that was named without one
    Quorvane::CString m_Name;   // never empty

    Quorvane::CString Path() const { return PathOf(m_Folder, m_Name); }
};

struct SCatalogue
{
    std::vector<Quorvane::CString> m_Folders; // paths of the folders that could be read, or were named
    std::vector<SFile> m_Files;
    Quorvane::CString m_LongestPath; // of all files and folders; the first of several

    // What the patterns and the rules did to files.
    Quorvane::u64 m_LeftOut = 0;  // not kept, by the patterns
    Quorvane::u64 m_Excluded = 0; // not kept, by the rules
    Quorvane::u64 m_Renamed = 0;  // by a renaming
    Quorvane::u64 m_Recased = 0;  // by a casing, after that

    // What else was seen but not kept.
    Quorvane::u64 m_Links = 0;  // symbolic links that were not followed
    Quorvane::u64 m_Others = 0; // devices, sockets, pipes, what vanished meanwhile; lines that name no file
    Quorvane::u64 m_UnreadableFolders = 0;
};

// Hears of the making of a catalogue while it goes on.
class CCatalogueObserver
{
public:
    virtual ~CCatalogueObserver() = default;

    // `done` folders of the `known` ones are finished; `known` grows on the way.
    virtual void OnProgress(Quorvane::u64 done, Quorvane::u64 known) = 0;
    virtual void OnSkipped(const Quorvane::CString &what, const char *reason) = 0;
};

} // namespace AssetFinder
