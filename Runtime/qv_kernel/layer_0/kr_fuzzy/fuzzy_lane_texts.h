// The texts that are weighed together, a vector lane each.
#pragma once

#include "fuzzy_recurrence.h"

namespace Quorvane::Internal::Fuzzy
{

constexpr u32 kLaneTexts = 16;

// Texts up to this length are weighed in lanes; their distances fit the narrowest lane.
constexpr u32 kMaxLaneText = 255;

// What is read of a text that has ended.
alignas(16) constexpr char kEndedText[16] = {};

// Lanes in use come first.
struct SLaneTexts
{
    const char *m_Data[kLaneTexts];
    alignas(32) u16 m_Lengths[kLaneTexts]; // 0 for an unused lane

    // The characters of a text from one on that its 16-byte blocks start with; zeros where it has ended.
    const char *From(u32 text, u32 start) const { return start < m_Lengths[text] ? m_Data[text] + start : kEndedText; }
};

} // namespace Quorvane::Internal::Fuzzy
