// Padding: a text brought to a width by characters in front of it or behind it.
#include "kr_string.h"

#include <cstring>

#include "kr_mem_utils.h"

namespace Quorvane
{

CString CString::_Padded(u32 width, char character, bool isLeft) const noexcept
{
    const char *const data = Data();
    const u32 length = Length();
    if (width <= length)
        return *this;
    if (length != 0 && QV_INTERNAL_FAILS(data != null))
        return CString();
    PStringContainer container = CStringContainer::New(null, width);
    if (container == null)
        return CString();
    char *const writeTo = container->Data();
    const u32 missing = width - length;
    std::memset(isLeft ? writeTo : writeTo + length, character, missing);
    Mem::Internal::CopyDisjoint(isLeft ? writeTo + missing : writeTo, data, length);
    return CString(std::move(container));
}

CString CString::PadLeft(u32 width, char character) const noexcept
{
    return _Padded(width, character, true);
}

CString CString::PadRight(u32 width, char character) const noexcept
{
    return _Padded(width, character, false);
}

} // namespace Quorvane
