// A catalogue of the paths on the lines of a stream, such as a list that another program prints.
#pragma once

#include <cstdio>

#include "catalogue.h"
#include "catalogue_builder.h"

namespace AssetFinder
{

// Every line is a path: what stands behind its last slash is the name. The files stand in the order of their lines, the
// folders in the order in which they were first named. Empty lines are passed over; a line without a name, with a NUL,
// or longer than any path is counted among the others.
// Returns: why the stream cannot be read, empty when it was; `catalogue` holds the lines before that.
Quorvane::CString CatalogueLines(std::FILE *stream, const SFilters &filters, CCatalogueObserver &observer,
                                 SCatalogue &catalogue);

} // namespace AssetFinder
