// The non-owning view: what it needs a string for.
#include "kr_string.h"

namespace Quorvane
{

CStringView CStringView::FromNullTerminatedString(const char *str)
{
    return CStringView(str, SNativeStringUtils::Length(str));
}

CString CStringView::ToString() const
{
    // Not through the counted constructor, which judges emptiness by the first character.
    return m_Data != nullptr ? CString(CStringContainer::New(m_Data, m_Length)) : CString();
}

} // namespace Quorvane
