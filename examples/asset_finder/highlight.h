// Marks the characters of a name that a query matches.
#pragma once

#include "kr_containers_array.h"
#include "kr_string.h"

namespace AssetFinder
{

enum EHighlight
{
    Highlight_Brackets, // [std]i[o.h]: reads well anywhere, and survives being copied
    Highlight_Colour,   // for terminals
};

// The name with its control characters replaced (Printable), and marks around every run of characters at `positions`,
// which rise. A character of several bytes (UTF-8) is marked when all of them are at positions, so that none is torn.
Quorvane::CString Highlighted(const Quorvane::CString &name, const Quorvane::TArray<Quorvane::u32> &positions,
                              EHighlight highlight);

// The columns that a text takes on a terminal: its UTF-8 characters, each taken for one column, and no colours.
Quorvane::u32 ColumnsOf(const Quorvane::CString &text);

} // namespace AssetFinder
