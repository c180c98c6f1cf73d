// Memory between two protected pages: whoever reads or writes a byte in front of it or behind it ends the test program,
// whatever it was built with.
#pragma once

#include <cstddef>

namespace QuorvaneTest
{

// At least `bytes` bytes, rounded up to whole pages and filled with garbage (0xCD).
//
//     CGuardedPage page;
//     char *text = page.Last(5);   // its sixth byte is protected
class CGuardedPage
{
public:
    explicit CGuardedPage(size_t bytes = 1);
    ~CGuardedPage();
    CGuardedPage(const CGuardedPage &) = delete;
    CGuardedPage &operator=(const CGuardedPage &) = delete;

    // The first byte; the one before it is protected.
    char *Begin() const { return m_Begin; }
    // The first protected byte behind the memory; page-aligned.
    char *End() const { return m_Begin + m_Bytes; }
    size_t Bytes() const { return m_Bytes; }

    // The last `count` bytes. Fails the test when there are fewer.
    char *Last(size_t count) const;

    // Makes everything garbage again.
    void Fill() const;

    // Whether a byte anywhere in the process may be read, without reading it here.
    static bool CanRead(const char *address);

private:
    char *m_Begin;
    size_t m_Bytes;
    size_t m_PageBytes;
};

} // namespace QuorvaneTest
