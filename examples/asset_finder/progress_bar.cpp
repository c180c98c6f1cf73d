// A progress bar on stderr.
#include "progress_bar.h"

#include <cstdio>

#include "platform.h"
#include "text.h"

using namespace Quorvane;

namespace AssetFinder
{

namespace
{

constexpr u32 kBarWidth = 30;
constexpr std::chrono::milliseconds kDrawInterval(50);

CString Bar(u64 done, u64 known)
{
    const u64 filled = known != 0 ? kBarWidth * done / known : 0;
    CString bar("[");
    for (u64 i = 0; i < kBarWidth; ++i)
        bar.Append(i < filled ? '#' : '.');
    return bar.Append(']');
}

} // namespace

CProgressBar::CProgressBar(bool wanted) : m_Enabled(wanted && IsTerminal(stderr)) {}

void CProgressBar::Show(u64 done, u64 known)
{
    if (!m_Enabled)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now < m_NextDraw)
        return;
    m_NextDraw = now + kDrawInterval;
    _Draw(Bar(done, known) + Text(" %llu of %llu folders", done, known));
}

void CProgressBar::Hide()
{
    if (m_DrawnLength == 0)
        return;
    _Draw(CString());
    std::fputc('\r', stderr);
    m_NextDraw = std::chrono::steady_clock::time_point();
}

// Blanks wipe what a longer line before has left; no escape sequence, so that every terminal will do.
void CProgressBar::_Draw(const CString &line)
{
    const u32 surplus = m_DrawnLength > line.Length() ? m_DrawnLength - line.Length() : 0;
    std::fprintf(stderr, "\r%s%*s", line.CStr(), static_cast<int>(surplus), "");
    std::fflush(stderr);
    m_DrawnLength = line.Length();
}

} // namespace AssetFinder
