// The report: a catalogue's figures as text for people.
#pragma once

#include "catalogue.h"
#include "rules.h"

namespace AssetCatalogue
{

// One figure per line. `rules` is null when there was no rules file; `seconds` is what the walk took.
Quorvane::CString FormatReport(const Quorvane::CString &root, const SCatalogue &catalogue, const SRulesFile *rules,
                               double seconds);

} // namespace AssetCatalogue
