// Texts that end at a protected page, so that a read or a write behind them does not go unnoticed in any build.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>

#include "guarded_page.h"

namespace QuorvaneTest
{

// A writable copy of which the last byte stands before a protected page.
class CGuardedText
{
public:
    // The characters and a terminator.
    explicit CGuardedText(const std::string &text) : CGuardedText(text.c_str(), text.size() + 1) {}

    // Just these bytes, which need hold no terminator.
    CGuardedText(const char *bytes, size_t count) : m_Page(count), m_Text(m_Page.Last(count))
    {
        std::memcpy(m_Text, bytes, count);
    }

    char *Get() const { return m_Text; }

private:
    CGuardedPage m_Page;
    char *m_Text;
};

} // namespace QuorvaneTest
