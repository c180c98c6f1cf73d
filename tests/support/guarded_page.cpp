#include "guarded_page.h"

#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "test_port.h"

namespace QuorvaneTest
{

CGuardedPage::CGuardedPage(size_t bytes)
{
    m_PageBytes = SystemPageBytes();
    m_Bytes = (bytes + m_PageBytes - 1) / m_PageBytes * m_PageBytes;
    void *mapped = MapPages(m_Bytes + 2 * m_PageBytes, PageAccess_None);
    // Without its protection no test that asked for it means anything.
    if (mapped == nullptr)
        std::abort();
    m_Begin = static_cast<char *>(mapped) + m_PageBytes;
    // Emulators refuse to protect nothing.
    if (m_Bytes != 0 && !ProtectPages(m_Begin, m_Bytes, PageAccess_ReadWrite))
        std::abort();
    Fill();
}

CGuardedPage::~CGuardedPage()
{
    UnmapPages(m_Begin - m_PageBytes, m_Bytes + 2 * m_PageBytes);
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
    return CanReadByte(address);
}

} // namespace QuorvaneTest
