// A catalogue of what lies in a folder, and in the folders below it.
//
// Everything stands in the order of the names on disk (by bytes), whatever order the file system gives.
#pragma once

#include "catalogue.h"
#include "catalogue_builder.h"

namespace AssetFinder
{

struct SWalkOptions
{
    Quorvane::CString m_Root;
    bool m_FollowLinks = false;
};

// Why a folder cannot be walked; empty when it can.
Quorvane::CString ObjectionToFolder(const Quorvane::CString &folder);

// Requires: a root that nothing is objected to.
SCatalogue CatalogueFolder(const SWalkOptions &options, const SFilters &filters, CCatalogueObserver &observer);

} // namespace AssetFinder
