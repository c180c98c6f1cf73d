// Repetition: a text several times in a row.
#include "kr_string.h"

#include <cstring>

#include "kr_mem_utils.h"
#include "string_block.h"

namespace Quorvane
{

namespace
{

// Repeats the first `length` characters, which are there, up to `end`. What is there is copied behind itself, so that
// each copy is as long as all before it: there are as many copies as the times have binary digits.
void FillFromFront(char *characters, u32 length, u32 end)
{
    for (u32 filled = length; filled != end;)
    {
        const u32 count = QVMin(filled, end - filled);
        Mem::Internal::CopyDisjoint(characters + filled, characters, count);
        filled += count;
    }
}

} // namespace

CString CString::Repeat(u32 times) const noexcept
{
    const char *const data = Data();
    const u32 length = Length();
    if (times == 1)
        return *this;
    if (times == 0 || length == 0)
        return CString();
    if (QV_INTERNAL_FAILS(data != null))
        return CString();
    const u32 newLength = Internal::String::CheckedLength(static_cast<u64>(length) * times);
    PStringContainer container = CStringContainer::New(null, newLength);
    if (container == null)
        return CString();
    // A single character takes one call: separators and padding are repeated most.
    if (length == 1)
        std::memset(container->Data(), *data, newLength);
    else
    {
        Mem::Internal::CopyDisjoint(container->Data(), data, length);
        FillFromFront(container->Data(), length, newLength);
    }
    return CString(std::move(container));
}

} // namespace Quorvane
