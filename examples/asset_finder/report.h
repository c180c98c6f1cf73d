// The report: a catalogue's figures as text for people.
#pragma once

#include "catalogue.h"
#include "patterns.h"
#include "rules.h"

namespace AssetFinder
{

// One figure per line. `rules` is null when there was no rules file; `seconds` is what the catalogue took.
Quorvane::CString FormatReport(const Quorvane::CString &source, const SCatalogue &catalogue, const SPatterns &patterns,
                               const SRulesFile *rules, double seconds);

} // namespace AssetFinder
