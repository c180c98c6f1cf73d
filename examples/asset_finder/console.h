// What goes to the terminal, or where standard output and error were led.
#pragma once

#include "catalogue.h"
#include "highlight.h"
#include "kr_string.h"
#include "progress_bar.h"

namespace AssetFinder
{

// Says on stderr what is wrong with something.
void Complain(const Quorvane::CString &what, const char *why);

// Writes a text to stdout at once. Returns: whether all of it could be written; complains when not.
bool Print(const Quorvane::CString &text);

// Colours where stdout is a terminal that has some and nobody asked for none (NO_COLOR), else brackets.
EHighlight HighlightForStdout();

// Shows the progress of a catalogue, and what it skips, on stderr.
class CConsole final : public CCatalogueObserver
{
public:
    explicit CConsole(bool wantsProgress) : m_Bar(wantsProgress) {}

    void OnProgress(Quorvane::u64 done, Quorvane::u64 known) override { m_Bar.Show(done, known); }
    void OnSkipped(const Quorvane::CString &what, const char *reason) override;

private:
    CProgressBar m_Bar;
};

} // namespace AssetFinder
