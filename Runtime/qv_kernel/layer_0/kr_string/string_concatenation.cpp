// Concatenation: the edits that add characters at the end or at the front.
//
// Each decides between the string's own container, when nobody shares it and it is of the resizable form, and a new
// one. In place, an argument that lies in the string itself follows its characters when the buffer moves; with a new
// container the old one stays alive until the argument has been copied.
#include "kr_string.h"

#include <algorithm>
#include <cstring>

#include "../kr_buffer/buffer_scan.h"
#include "copy_figures.h"
#include "string_growth.h"

namespace Quorvane
{

namespace
{

using Internal::String::SGrowth;

constexpr const char *kCountCheck = "otherLength <= SNativeStringUtils::Length(other)";

// True when the text has that many characters before its terminator. Nothing behind the terminator is looked at, nor
// behind the count, nor behind the string's own room.
bool HasCount(const CStringContainer *container, const char *str, u32 length)
{
    return !SGrowth::EndsBeyondRoom(container, str, length) && !Internal::Buffer::HoldsTerminator(str, length);
}

// A new resizable container with the two texts in a row; null when memory is refused.
PStringContainer NewSum(const char *first, u32 firstLength, const char *second, u32 secondLength)
{
    const u32 newLength = Internal::String::CheckedSum(firstLength, secondLength);
    PStringContainer container = CStringContainer::NewResizable(null, newLength, 0);
    if (container == null)
        return container;
    char *writeTo = container->Data();
    Mem::Copy(writeTo, first, firstLength);
    Mem::Copy(writeTo + firstLength, second, secondLength);
    // The terminator comes from the zeroed last block.
    QV_INTERNAL_ASSERT_TEXT("writeTo[oldLength + length] == '\\0'", writeTo[newLength] == '\0');
    return container;
}

// In place. Each returns false, with the container as it was, when it cannot grow. What overlaps the container's own room
// is moved to its place before anything else is written there, be it the zeros behind the new end.

bool AppendFromRoom(CStringContainer &container, const char *other, u32 length)
{
    const u32 newLength = Internal::String::CheckedSum(container.Length(), length);
    if (!SGrowth::ReserveAround(container, newLength, other))
        return false;
    Mem::Copy_Overlapped(container.Data() + container.Length(), other, length);
    SGrowth::EndAt(container, newLength);
    return true;
}

bool AppendInPlace(CStringContainer &container, const char *other, u32 length)
{
    if (SGrowth::OverlapsRoom(container, other, length))
        return AppendFromRoom(container, other, length);
    char *const writeTo = SGrowth::Lengthen(container, length);
    if (writeTo == nullptr)
        return false;
    Mem::Copy(writeTo, other, length);
    return true;
}

// Moves a text up, and to its front what has moved along with it.
void MoveOwnTextToFront(char *data, u32 oldLength, const char *other, u32 length)
{
    Mem::Copy_Overlapped(data + length, data, oldLength);
    Mem::Copy_Overlapped(data, other + length, length);
}

// The same of what does not end within the text: put behind the text first, since that might be moved on top of it.
void MoveRoomToFront(char *data, u32 oldLength, const char *other, u32 length)
{
    Mem::Copy_Overlapped(data + oldLength, other, length);
    std::rotate(data, data + oldLength, data + oldLength + length);
}

bool PrependFromRoom(CStringContainer &container, const char *other, u32 length)
{
    const u32 oldLength = container.Length();
    const u32 newLength = Internal::String::CheckedSum(oldLength, length);
    if (!SGrowth::ReserveAround(container, newLength, other))
        return false;
    char *const data = container.Data();
    const bool endsInText = static_cast<u64>(other - data) + length <= oldLength;
    if (endsInText)
        MoveOwnTextToFront(data, oldLength, other, length);
    else
        MoveRoomToFront(data, oldLength, other, length);
    SGrowth::EndAt(container, newLength);
    return true;
}

bool PrependInPlace(CStringContainer &container, const char *other, u32 length)
{
    // What was searched will stand behind characters that were not.
    SGrowth::SetSearched(container, 0);
    if (SGrowth::OverlapsRoom(container, other, length))
        return PrependFromRoom(container, other, length);
    const u32 oldLength = container.Length();
    if (SGrowth::Lengthen(container, length) == nullptr)
        return false;
    char *const data = container.Data();
    Mem::Copy_Overlapped(data + length, data, oldLength);
    Mem::Copy(data, other, length);
    return true;
}

} // namespace

bool CString::_IsUniqueAndResizable() const noexcept QV_NONBLOCKING
{
    const CStringContainer *container = m_Container.Get();
    return container != nullptr && container->SupportsDynamicResize() && container->RefCount() == 1;
}

// The slow paths are functions of their own, so that the fast ones save no register.

CString &CString::_AppendFast(const char *other, u32 length) noexcept
{
    CStringContainer *const container = m_Container.Get();
    if (!QV_INTERNAL_LIKELY(SGrowth::TakesFast(container, other, length)))
        return _AppendSlow(other, length);
    Mem::Internal::CopyUpTo32(SGrowth::LengthenFast(*container, length), other, length);
    return *this;
}

QV_INTERNAL_NOINLINE CString &CString::_AppendSlow(const char *other, u32 length) noexcept
{
    PStringContainer copy;
    if (!SGrowth::CopyBeyondRoom(m_Container.Get(), other, length, copy))
    {
        m_Container.Clear();
        return *this;
    }
    const bool uniqueAndResizable = _IsUniqueAndResizable();
    if (!uniqueAndResizable && Empty())
    {
        m_Container = CStringContainer::NewResizable(other, length, 0);
        return *this;
    }
    QV_ASSERT(CStringContainer::SafeData(m_Container.Get()) != null);
    if (!uniqueAndResizable || !AppendInPlace(*m_Container, other, length))
    {
        PStringContainer sum = NewSum(Data(), Length(), other, length);
        Internal::String::CountCopyToGrow(m_Container.Get(), sum);
        m_Container = std::move(sum);
    }
    return *this;
}

bool CString::_TryAppend(const char *other, u32 length) noexcept QV_NONBLOCKING
{
    CStringContainer *const container = m_Container.Get();
    if (QV_INTERNAL_LIKELY(SGrowth::TakesFast(container, other, length)))
    {
        Mem::Internal::CopyUpTo32(SGrowth::LengthenFast(*container, length), other, length);
        return true;
    }
    if (!_IsUniqueAndResizable() || SGrowth::EndsBeyondRoom(container, other, length))
        return false;
    const u32 newLength = Internal::String::CheckedSum(container->Length(), length);
    if (!SGrowth::HoldsLength(*container, newLength))
        return false;
    if (SGrowth::OverlapsRoom(*container, other, length))
    {
        Mem::Copy_Overlapped(container->Data() + container->Length(), other, length);
        SGrowth::EndAt(*container, newLength);
    }
    else
        Mem::Internal::CopyDisjoint(SGrowth::LengthenWithin(*container, length), other, length);
    return true;
}

CString &CString::_PrependFast(const char *other, u32 length) noexcept
{
    CStringContainer *const container = m_Container.Get();
    if (!QV_INTERNAL_LIKELY(SGrowth::TakesFast(container, other, length)))
        return _PrependSlow(other, length);
    const u32 oldLength = container->Length();
    SGrowth::LengthenFast(*container, length);
    SGrowth::SetSearched(*container, 0);
    char *const data = container->Data();
    std::memmove(data + length, data, oldLength);
    Mem::Internal::CopyUpTo32(data, other, length);
    return *this;
}

QV_INTERNAL_NOINLINE CString &CString::_PrependSlow(const char *other, u32 length) noexcept
{
    const bool uniqueAndResizable = _IsUniqueAndResizable();
    if (!uniqueAndResizable && Empty())
    {
        // The whole text, whatever `length` says.
        *this = CString(other);
        return *this;
    }
    PStringContainer copy;
    if (!SGrowth::CopyBeyondRoom(m_Container.Get(), other, length, copy))
    {
        m_Container.Clear();
        return *this;
    }
    QV_ASSERT(CStringContainer::SafeData(m_Container.Get()) != null);
    if (!uniqueAndResizable || !PrependInPlace(*m_Container, other, length))
    {
        PStringContainer sum = NewSum(other, length, Data(), Length());
        Internal::String::CountCopyToGrow(m_Container.Get(), sum);
        m_Container = std::move(sum);
    }
    return *this;
}

CString &CString::Append(const CString &other) noexcept
{
    QV_INTERNAL_EDIT;
    return other.Empty() ? *this : _AppendFast(other.Data(), other.Length());
}

// What is left of the two below where the compiler does not know the length.

CString &CString::_AppendView(const char *other, u32 length) noexcept
{
    QV_INTERNAL_EDIT_NAMED("Append");
    if (length == 0 || other == nullptr)
        return *this;
    return _AppendFast(other, length);
}

CString &CString::_AppendText(const char *other) noexcept
{
    QV_INTERNAL_EDIT_NAMED("Append");
    if (other == nullptr || *other == '\0')
        return *this;
    return _AppendFast(other, SNativeStringUtils::Length(other));
}

CString &CString::Append(const char *other, u32 otherLength) noexcept
{
    QV_INTERNAL_EDIT;
    if (other == nullptr || otherLength == 0 || *other == '\0')
        return *this;
    QV_INTERNAL_ASSERT_TEXT(kCountCheck, HasCount(m_Container.Get(), other, otherLength));
    return _AppendFast(other, otherLength);
}

bool CString::TryAppend(const CString &other) noexcept QV_NONBLOCKING
{
    return other.Empty() || _TryAppend(other.Data(), other.Length());
}

bool CString::TryAppend(const CStringView &other) noexcept QV_NONBLOCKING
{
    return other.Empty() || other.Data() == nullptr || _TryAppend(other.Data(), other.Length());
}

bool CString::TryAppend(const char *other) noexcept QV_NONBLOCKING
{
    return other == nullptr || *other == '\0' || _TryAppend(other, SNativeStringUtils::Length(other));
}

bool CString::Reserve(u32 length) noexcept
{
    QV_INTERNAL_EDIT;
    if (length >= CStringContainer::kLengthMask)
        return false;
    if (_IsUniqueAndResizable())
        return m_Container->DynamicResize(length);
    const char *data = Data();
    if (QV_INTERNAL_FAILS_TEXT("data != null", data != nullptr || Length() == 0))
        return false;
    PStringContainer own = CStringContainer::NewResizable(data, Length(), QVMax(length, Length()));
    if (own == null)
        return false;
    Internal::String::CountCopyToGrow(m_Container.Get(), own);
    m_Container = std::move(own);
    return true;
}

CString &CString::_AppendSlow(char character) noexcept
{
    QV_INTERNAL_EDIT_NAMED("Append");
    return character == '\0' ? *this : _AppendFast(&character, 1);
}

CString &CString::Prepend(const CString &other) noexcept
{
    QV_INTERNAL_EDIT;
    return other.Empty() ? *this : _PrependFast(other.Data(), other.Length());
}

CString &CString::Prepend(const CStringView &other) noexcept
{
    QV_INTERNAL_EDIT;
    if (other.Empty() || other.Data() == nullptr)
        return *this;
    if (_IsUniqueAndResizable() || !Empty())
        return _PrependFast(other.Data(), other.Length());
    // A view need not be terminated: taken as it is, not up to a terminator.
    const char *data = other.Data();
    PStringContainer copy;
    const bool isThere = SGrowth::CopyBeyondRoom(m_Container.Get(), data, other.Length(), copy);
    if (isThere && copy == null)
        copy = CStringContainer::New(data, other.Length());
    m_Container = std::move(copy);
    return *this;
}

CString &CString::Prepend(const char *other) noexcept
{
    QV_INTERNAL_EDIT;
    if (other == nullptr || *other == '\0')
        return *this;
    return _PrependFast(other, SNativeStringUtils::Length(other));
}

CString &CString::Prepend(const char *other, u32 otherLength) noexcept
{
    QV_INTERNAL_EDIT;
    if (other == nullptr || otherLength == 0 || *other == '\0')
        return *this;
    QV_INTERNAL_ASSERT_TEXT(kCountCheck, HasCount(m_Container.Get(), other, otherLength));
    return _PrependFast(other, otherLength);
}

CString &CString::Prepend(char character) noexcept
{
    QV_INTERNAL_EDIT;
    return character == '\0' ? *this : Prepend(CStringView(&character, 1));
}

// The operators. With a temporary on the left they edit it in place; otherwise the left side is shared, so that an edit
// of a copy of it would come to a new container: they make that one without the copy.

namespace
{

CString Sum(const CString &a, const CStringView &b)
{
    if (b.Empty() || b.Data() == nullptr)
        return a;
    return a.Empty() ? CString(CStringContainer::NewResizable(b.Data(), b.Length(), 0))
                     : CString(NewSum(a.Data(), a.Length(), b.Data(), b.Length()));
}

} // namespace

// With a view on the left, which a string would be made of that is empty by its first character, too.
CString Internal::String::SumOfViews(const CStringView &a, const CStringView &b) noexcept
{
    if (b.Empty() || b.Data() == nullptr)
        return a.ToString();
    const bool nothing = a.Empty() || a.Data() == nullptr || *a.Data() == '\0';
    return CString(NewSum(a.Data(), nothing ? 0 : a.Length(), b.Data(), b.Length()));
}

CString operator+(const CString &a, const CString &b) noexcept
{
    return Sum(a, Internal::String::ToView(b));
}

CString operator+(const CString &a, const CStringView &b) noexcept
{
    return Sum(a, b);
}

CString operator+(const CString &a, const char *b) noexcept
{
    return Sum(a, CStringView::FromNullTerminatedString(b));
}

CString operator+(const CStringView &a, const CString &b) noexcept
{
    return Internal::String::SumOfViews(a, Internal::String::ToView(b));
}

CString operator+(const char *a, const CString &b) noexcept
{
    return Internal::String::SumOfViews(CStringView::FromNullTerminatedString(a), Internal::String::ToView(b));
}

CString operator+(CString &&a, const CString &b) noexcept
{
    QV_INTERNAL_EDIT;
    return std::move(a.Append(b));
}

CString operator+(CString &&a, const CStringView &b) noexcept
{
    QV_INTERNAL_EDIT;
    return std::move(a.Append(b));
}

CString operator+(CString &&a, const char *b) noexcept
{
    QV_INTERNAL_EDIT;
    return std::move(a.Append(b));
}

} // namespace Quorvane
