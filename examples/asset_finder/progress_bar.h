// A progress bar on stderr, where stderr is a terminal.
#pragma once

#include <chrono>

#include "kr_string.h"

namespace AssetFinder
{

class CProgressBar
{
public:
    // A bar that is not wanted, or has no terminal, draws nothing.
    explicit CProgressBar(bool wanted);
    ~CProgressBar() { Hide(); }
    CProgressBar(const CProgressBar &) = delete;
    CProgressBar &operator=(const CProgressBar &) = delete;

    // Draws, at most twenty times a second.
    void Show(Quorvane::u64 done, Quorvane::u64 known);
    // Takes the bar off the line, for other output; the next Show draws it again.
    void Hide();

private:
    void _Draw(const Quorvane::CString &line);

    const bool m_Enabled;
    Quorvane::u32 m_DrawnLength = 0;
    std::chrono::steady_clock::time_point m_NextDraw;
};

} // namespace AssetFinder
