#include "guarded_page.h"

#include <cstdlib>
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace QuorvaneTest
{

CGuardedPage::CGuardedPage(size_t bytes)
{
    m_PageBytes = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    m_Bytes = (bytes + m_PageBytes - 1) / m_PageBytes * m_PageBytes;
    void *mapped = mmap(nullptr, m_Bytes + 2 * m_PageBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    // Without its protection no test that asked for it means anything.
    if (mapped == MAP_FAILED)
        std::abort();
    m_Begin = static_cast<char *>(mapped) + m_PageBytes;
    // Emulators refuse to protect nothing.
    if (m_Bytes != 0 && mprotect(m_Begin, m_Bytes, PROT_READ | PROT_WRITE) != 0)
        std::abort();
    Fill();
}

CGuardedPage::~CGuardedPage()
{
    munmap(m_Begin - m_PageBytes, m_Bytes + 2 * m_PageBytes);
}

char *CGuardedPage::Last(size_t count) const
{
    EXPECT_LE(count, m_Bytes);
    return End() - count;
}

void CGuardedPage::Fill() const
{
    std::memset(m_Begin, 0xCD, m_Bytes);
}

bool CGuardedPage::CanRead(const char *address)
{
    // The system refuses to write from memory that may not be read.
    int ends[2];
    if (pipe(ends) != 0)
        std::abort();
    const bool canRead = write(ends[1], address, 1) == 1;
    close(ends[0]);
    close(ends[1]);
    return canRead;
}

} // namespace QuorvaneTest
