// Questions at the terminal, one after the other, and what else can be typed there.
#pragma once

#include <vector>

#include "finder.h"
#include "kr_string.h"

namespace AssetFinder
{

class CDialogue
{
public:
    // Borrows the finder.
    CDialogue(const CFinder &finder, bool showTime) : m_Finder(finder), m_ShowTime(showTime) {}

    // Asks until the input ends, or somebody says so. Returns: whether all answers could be found and written.
    bool Run();

private:
    bool _Answer(const Quorvane::CString &line);
    bool _Obey(const Quorvane::CString &command);
    bool _Ask(const Quorvane::CString &question);
    bool _AskAgain(const Quorvane::CString &command);

    const CFinder &m_Finder;
    const bool m_ShowTime;
    bool m_IsOver = false;
    std::vector<Quorvane::CString> m_Asked;
};

} // namespace AssetFinder
