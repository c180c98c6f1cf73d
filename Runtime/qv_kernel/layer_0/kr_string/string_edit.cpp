// Edits that keep or shorten a string: reversing, replacing characters, stripping, blanking comments.
#include "kr_string.h"

#include <cstring>
#include <utility>

#include "../kr_buffer/buffer_edit.h"
#include "character_set.h"
#include "copy_figures.h"
#include "kr_internal/kr_string_tail.h"
#include "kr_mem_utils.h"
#include "null_text.h"

namespace Quorvane
{

namespace
{

using Internal::String::CCharacterSet;
using Internal::String::CountLeading;
using Internal::String::LengthWithoutTrailing;
using Internal::String::IsNullOrEmpty;

// Moves what is left of a stripped text to its front: mostly little, for which a call costs more than the copy. Either
// copy may overlap.
void MoveToFront(char *data, u32 from, u64 byteCount)
{
    if (byteCount > Mem::Internal::kShortCopyBytes)
        Mem::Copy_Overlapped(data, data + from, byteCount);
    else if (byteCount != 0)
        Mem::Internal::CopyUpTo64(data, data + from, byteCount);
}

} // namespace

CString &CString::Reverse() noexcept QV_NONBLOCKING
{
    CStringContainer *container = m_Container.Get();
    if (CStringContainer::SafeLength(container) == 0)
        return *this;
    // No private copy: every string that shares the characters sees them reversed.
    container->_ForgetSearched();
    char *data = container->Data();
    if (QV_INTERNAL_FAILS(data != null))
        return *this;
    QV_INTERNAL_ASSERT_ALIGNED_16(data);
    Internal::Buffer::ReverseInPlace(data, container->Length());
    return *this;
}

CString CString::Reversed() const noexcept
{
    if (Data() == nullptr)
        return CString();
    CString result(CStringContainer::New(Data(), Length()));
    result.Reverse();
    return result;
}

CString CString::Replace(char searchFor, char replaceWith) const noexcept
{
    QV_ASSERT(searchFor != '\0' && replaceWith != '\0');
    if (Data() == nullptr)
        return CString();
    const u32 length = Length();
    PStringContainer copy = CStringContainer::New(null, length);
    if (copy != null)
    {
        Internal::Buffer::ReplaceIntoCopy(copy->Data(), Data(), length, searchFor, replaceWith);
        Internal::String::STail::Poison(copy->Data(), length);
    }
    return CString(std::move(copy));
}

CString &CString::Strip(const char *chars) noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    if (IsNullOrEmpty(chars) || Data() == nullptr)
        return *this;
    // Both ends are found before either is stripped: the set may lie in the string itself.
    const CCharacterSet set(chars);
    const u32 length = Length();
    const u32 end = LengthWithoutTrailing(Data(), length, set);
    const u32 begin = CountLeading(Data(), end, set);
    const u32 newLength = end - begin;
    if (newLength == length)
        return *this;
    char *data = RawDataForWriting();
    if (QV_VERIFY(data != null))
        return *this;
    MoveToFront(data, begin, newLength);
    data[newLength] = '\0';
    m_Container->UnsafeSetLength(newLength);
    return *this;
}

CString &CString::StripLeft(const char *chars) noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    if (IsNullOrEmpty(chars) || Data() == nullptr)
        return *this;
    const u32 length = Length();
    const u32 stripped = CountLeading(Data(), length, CCharacterSet(chars));
    if (stripped == length)
        Clear();
    if (stripped == length || stripped == 0)
        return *this;
    char *data = RawDataForWriting();
    if (data == nullptr)
        return *this;
    const u32 newLength = length - stripped;
    // With the terminator.
    MoveToFront(data, stripped, static_cast<u64>(newLength) + 1);
    m_Container->UnsafeSetLength(newLength);
    return *this;
}

CString &CString::StripRight(const char *chars) noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    if (IsNullOrEmpty(chars) || Data() == nullptr)
        return *this;
    const u32 length = Length();
    const u32 newLength = LengthWithoutTrailing(Data(), length, CCharacterSet(chars));
    if (newLength == length)
        return *this;
    char *data = RawDataForWriting();
    if (QV_VERIFY(data != null))
        return *this;
    data[newLength] = '\0';
    m_Container->UnsafeSetLength(newLength);
    return *this;
}

CString &CString::Uncomment() noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    SNativeStringUtils::Uncomment(RawDataForWriting());
    QV_ASSERT(SNativeStringUtils::Length_16(Data()) == Length());
    return *this;
}

} // namespace Quorvane
