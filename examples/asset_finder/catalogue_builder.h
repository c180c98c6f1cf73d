// Fills a catalogue, wherever its files come from: applies patterns and rules, and shares names.
#pragma once

#include <string_view>

#include "catalogue.h"
#include "name_pool.h"
#include "patterns.h"
#include "rules.h"

namespace AssetFinder
{

// Which files a catalogue keeps, and under which names. Patterns and rules see the name that the file came with.
struct SFilters
{
    SPatterns m_Patterns;
    SRules m_Rules;
};

class CCatalogueBuilder
{
public:
    // Borrows the filters.
    explicit CCatalogueBuilder(const SFilters &filters) : m_Filters(filters) {}

    // What was found, for the figures that nobody but the source of the files knows.
    SCatalogue &Catalogue() { return m_Catalogue; }

    Quorvane::CString ShareName(std::string_view name) { return m_Names.Share(name); }

    void AddFolder(const Quorvane::CString &path);
    // A file that patterns or rules do not want is counted, not kept.
    // Requires: a name of ShareName.
    void AddFile(const Quorvane::CString &folder, const Quorvane::CString &name);

private:
    bool _Keeps(const SFile &file);
    Quorvane::CString _CatalogueName(const Quorvane::CString &name);
    void _NoteLength(const Quorvane::CString &path);

    const SFilters &m_Filters;
    SCatalogue m_Catalogue;
    CNamePool m_Names;
};

} // namespace AssetFinder
