// Runs a check in each locale that the machine has of those that treat letters in their own ways.
#pragma once

#include <clocale>
#include <string>

namespace QuorvaneTest
{

// Turkish pairs its letters otherwise than ASCII does, and others have letters beyond ASCII. The locale before is put
// back. `check` gets the locale's name.
template <typename FCheck>
void InEveryLocale(FCheck check)
{
    const char *const names[] = {"C", "C.UTF-8", "de_DE.UTF-8", "de_DE.ISO-8859-1", "tr_TR.UTF-8", "tr_TR.ISO-8859-9"};
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char *name : names)
        if (std::setlocale(LC_ALL, name) != nullptr)
            check(name);
    std::setlocale(LC_ALL, before.c_str());
}

} // namespace QuorvaneTest
