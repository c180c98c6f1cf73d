// The weight of two texts.
#pragma once

#include "fuzzy_recurrence.h"

namespace Quorvane::Internal::Fuzzy
{

// Weighs `other` for a query: 1 when both are empty, 0 when one is.
// Allocates: 4 bytes for each character of the longer text, and 4 more, when it has kMinBlockLength or more and neither is
// empty.
// Fails: returns false when memory is refused; the weight is 0 then.
bool WeighPair(SText query, SText other, float &outWeight) noexcept QV_NONBLOCKING;

// The same of texts in any memory: nothing behind their last characters is read.
bool WeighCountedPair(SText query, SText other, float &outWeight) noexcept QV_NONBLOCKING;

} // namespace Quorvane::Internal::Fuzzy
