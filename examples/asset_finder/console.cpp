// What goes to the terminal.
#include "console.h"

#include <cstdio>
#include <cstdlib>

#include "platform.h"
#include "text.h"

using namespace Quorvane;

namespace AssetFinder
{

void Complain(const CString &what, const char *why)
{
    std::fprintf(stderr, "asset_finder: %s: %s\n", Printable(what).CStr(), why);
}

bool Print(const CString &text)
{
    const bool written = std::fputs(text.CStr(), stdout) >= 0 && std::fflush(stdout) == 0;
    if (!written)
        Complain("stdout", "the output could not be written");
    return written;
}

EHighlight HighlightForStdout()
{
    const CString terminal(std::getenv("TERM"));
    const CString noColour(std::getenv("NO_COLOR"));
    const bool hasColours = IsTerminal(stdout) && !terminal.Empty() && terminal != "dumb";
    return hasColours && noColour.Empty() ? Highlight_Colour : Highlight_Brackets;
}

void CConsole::OnSkipped(const CString &what, const char *reason)
{
    m_Bar.Hide();
    Complain("skipped " + what, reason);
}

} // namespace AssetFinder
