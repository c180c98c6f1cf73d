// One container for each distinct name.
//
// Folders are full of equal names ("README", "index.html", "LC_MESSAGES"). The pool answers each with a handle on the
// same characters, however often it is asked.
#pragma once

#include <string_view>
#include <unordered_map>

#include "kr_string.h"

namespace AssetFinder
{

class CNamePool
{
public:
    // A string with the characters of `name`, shared with every other string given for an equal name.
    Quorvane::CString Share(std::string_view name);

private:
    // Keys point into the characters of their own values. They stay as they are while the pool holds its handles:
    // whoever writes to another handle of the same characters gets a copy.
    std::unordered_map<std::string_view, Quorvane::CString> m_Names;
};

} // namespace AssetFinder
