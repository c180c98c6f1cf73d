// Ranks the names of a catalogue's files by how well they match a query, typing errors forgiven; or finds the files that a
// wildcard pattern matches.
#pragma once

#include <vector>

#include "catalogue.h"
#include "kr_containers_array.h"
#include "kr_string.h"

namespace AssetFinder
{

struct SFindOptions
{
    Quorvane::u32 m_Top = 10;
    // A name that has nothing in common with a query of its length comes to a half.
    float m_Tolerance = 0.6f;
    bool m_IgnoreCase = false;
};

// A name, and the files that are called by it.
struct SNamedFiles
{
    Quorvane::CString m_Name;
    Quorvane::u32 m_FirstFile; // its index in the catalogue
    Quorvane::u32 m_Count;
};

// A ranked name by its index, and its weight.
typedef Quorvane::CString::SFuzzyMatchListElement SHit;
typedef Quorvane::TArray<SHit> CHits;

class CFinder
{
public:
    // Borrows the catalogue. Gathers the files of one name; where case is ignored, all names are lower-cased, too: once for
    // all queries.
    CFinder(const SCatalogue &catalogue, const SFindOptions &options);

    const SFindOptions &Options() const { return m_Options; }
    const SCatalogue &Catalogue() const { return m_Catalogue; }

    // The names of the catalogue's files, each once, in the order in which they come there first.
    const std::vector<SNamedFiles> &Names() const { return m_Names; }

    // The best names, best first, equal ones in their order.
    // Requires: a query that is not empty. Returns: false when memory is refused.
    bool Find(const Quorvane::CString &query, CHits &hits) const;

    // The indices of the characters of a name that the query matches, rising; none when memory is refused.
    void Positions(const Quorvane::CString &query, Quorvane::u32 name,
                   Quorvane::TArray<Quorvane::u32> &positions) const;

    // The files that a wildcard pattern matches, by their indices in the catalogue, in its order.
    // Requires: a pattern without objection (ObjectionToPattern).
    std::vector<Quorvane::u32> Match(const Quorvane::CString &pattern) const;

private:
    Quorvane::CString _Cased(const Quorvane::CString &text) const;
    Quorvane::TStridedMemoryView<const Quorvane::CString> _Texts() const;
    void _GatherNames();

    const SCatalogue &m_Catalogue;
    const SFindOptions m_Options;
    std::vector<SNamedFiles> m_Names;
    std::vector<Quorvane::CString> m_LowercaseNames; // one for each name where case is ignored, else none
};

} // namespace AssetFinder
