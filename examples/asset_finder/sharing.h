// What sharing saves, measured on the handles that a catalogue really holds.
#pragma once

#include "catalogue.h"

namespace AssetFinder
{

struct SSharing
{
    Quorvane::u64 m_Handles = 0;
    Quorvane::u64 m_Containers = 0;      // distinct ones behind the handles
    Quorvane::u64 m_BytesHeld = 0;       // footprints of these containers, and the handles
    Quorvane::u64 m_BytesIfUnshared = 0; // the same if every handle had a container of its own
};

SSharing MeasureSharing(const SCatalogue &catalogue);

} // namespace AssetFinder
