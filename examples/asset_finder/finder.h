// Ranks the files of a catalogue by how well their names match a query, typing errors forgiven.
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

// A ranked file by its index in the catalogue, and its weight.
typedef Quorvane::CString::SFuzzyMatchListElement SHit;
typedef Quorvane::TArray<SHit> CHits;

class CFinder
{
public:
    // Borrows the catalogue. Where case is ignored, all names are lower-cased here, once for all queries.
    CFinder(const SCatalogue &catalogue, const SFindOptions &options);

    const SFindOptions &Options() const { return m_Options; }
    const SCatalogue &Catalogue() const { return m_Catalogue; }

    // The best files, best first, equal ones in the order of the catalogue.
    // Requires: a query that is not empty. Returns: false when memory is refused.
    bool Find(const Quorvane::CString &query, CHits &hits) const;

    // The indices of the characters of a file's name that the query matches, rising; none when memory is refused.
    void Positions(const Quorvane::CString &query, Quorvane::u32 file,
                   Quorvane::TArray<Quorvane::u32> &positions) const;

private:
    Quorvane::CString _Cased(const Quorvane::CString &text) const;
    Quorvane::TStridedMemoryView<const Quorvane::CString> _Names() const;

    const SCatalogue &m_Catalogue;
    const SFindOptions m_Options;
    std::vector<Quorvane::CString> m_LowercaseNames; // one for each file where case is ignored, else none
};

} // namespace AssetFinder
