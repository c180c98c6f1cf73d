// Insertion and erasure: the edits that add and remove characters within a string.
//
// As for the edits at its ends, a string that nobody shares and that is of the resizable form takes what is inserted in
// place; every other gets a new container, and the old one stays alive until the piece has been copied. Nothing grows by
// erasing: it is done in place in either form, unless the characters are shared.
#include "kr_string.h"

#include <algorithm>
#include <cstring>

#include "copy_figures.h"
#include "kr_mem_utils.h"
#include "string_growth.h"

namespace Quorvane
{

namespace
{

using Internal::String::CheckedSum;
using Internal::String::SGrowth;

// A new resizable container with the piece in front of the text's character at `index`; null when memory is refused.
PStringContainer NewWithPiece(const char *text, u32 textLength, u32 index, const char *piece, u32 length)
{
    PStringContainer container = CStringContainer::NewResizable(null, CheckedSum(textLength, length), 0);
    if (container == null)
        return container;
    char *const writeTo = container->Data();
    Mem::Internal::CopyDisjoint(writeTo, text, index);
    Mem::Internal::CopyDisjoint(writeTo + index, piece, length);
    Mem::Internal::CopyDisjoint(writeTo + index + length, text + index, textLength - index);
    return container;
}

// Of a piece that lies within the text: one that begins behind the place moves on with the text; of any other, what the
// text leaves behind where it moves on is there still.
void InsertOwnText(char *data, u32 oldLength, u32 index, const char *piece, u32 length)
{
    char *const place = data + index;
    Mem::Copy_Overlapped(place + length, place, oldLength - index);
    Mem::Copy_Overlapped(place, piece < place ? piece : piece + length, length);
}

// The same of what does not end within the text: put behind the text first, since that might be moved on top of it.
void InsertOwnRoom(char *data, u32 oldLength, u32 index, const char *piece, u32 length)
{
    Mem::Copy_Overlapped(data + oldLength, piece, length);
    std::rotate(data + index, data + oldLength, data + oldLength + length);
}

// In place. Each returns false, with the container as it was, when it cannot grow.

bool InsertFromRoom(CStringContainer &container, u32 index, const char *piece, u32 length)
{
    const u32 oldLength = container.Length();
    const u32 newLength = CheckedSum(oldLength, length);
    if (!SGrowth::ReserveAround(container, newLength, piece))
        return false;
    char *const data = container.Data();
    const bool endsInText = static_cast<u64>(piece - data) + length <= oldLength;
    if (endsInText)
        InsertOwnText(data, oldLength, index, piece, length);
    else
        InsertOwnRoom(data, oldLength, index, piece, length);
    SGrowth::EndAt(container, newLength);
    return true;
}

bool InsertInPlace(CStringContainer &container, u32 index, const char *piece, u32 length)
{
    SGrowth::KeepSearched(container, index);
    if (SGrowth::OverlapsRoom(container, piece, length))
        return InsertFromRoom(container, index, piece, length);
    const u32 oldLength = container.Length();
    if (SGrowth::Lengthen(container, length) == nullptr)
        return false;
    char *const data = container.Data();
    Mem::Copy_Overlapped(data + index + length, data + index, oldLength - index);
    Mem::Internal::CopyDisjoint(data + index, piece, length);
    return true;
}

// A new fixed container with the characters but those from `first` to before `last`; null when memory is refused, or
// none are left.
PStringContainer NewWithout(const char *text, u32 length, u32 first, u32 last)
{
    PStringContainer container = CStringContainer::New(null, length - (last - first));
    if (container == null)
        return container;
    Mem::Internal::CopyDisjoint(container->Data(), text, first);
    Mem::Internal::CopyDisjoint(container->Data() + first, text + last, length - last);
    return container;
}

void EraseInPlace(CStringContainer &container, u32 first, u32 last)
{
    const u32 length = container.Length();
    const u32 newLength = length - (last - first);
    if (container.SupportsDynamicResize())
        SGrowth::KeepSearched(container, first);
    char *const data = container.Data();
    Mem::Copy_Overlapped(data + first, data + last, length - last);
    SGrowth::EndAt(container, newLength);
}

} // namespace

// As the edits at the ends have it: a few characters from elsewhere, for which there is room.
CString &CString::_InsertFast(u32 index, const char *other, u32 length) noexcept
{
    QV_INTERNAL_EDIT_NAMED("Insert");
    CStringContainer *const container = m_Container.Get();
    if (!QV_INTERNAL_LIKELY(SGrowth::TakesFast(container, other, length)) || index > container->Length())
        return _InsertSlow(index, CStringView(other, length));
    const u32 behind = container->Length() - index;
    SGrowth::LengthenFast(*container, length);
    SGrowth::KeepSearched(*container, index);
    char *const place = container->Data() + index;
    std::memmove(place + length, place, behind);
    Mem::Internal::CopyUpTo32(place, other, length);
    return *this;
}

QV_INTERNAL_NOINLINE CString &CString::_InsertSlow(u32 index, const CStringView &piece) noexcept
{
    const char *data = Data();
    const u32 oldLength = Length();
    if (QV_INTERNAL_FAILS_TEXT("index <= Length()", index <= oldLength))
        return *this;
    const char *other = piece.Data();
    const u32 length = piece.Length();
    if (length == 0 || (oldLength != 0 && QV_INTERNAL_FAILS(data != null)))
        return *this;
    PStringContainer copy;
    if (!SGrowth::CopyBeyondRoom(m_Container.Get(), other, length, copy))
    {
        m_Container.Clear();
        return *this;
    }
    if (!_IsUniqueAndResizable() || !InsertInPlace(*m_Container, index, other, length))
    {
        PStringContainer grown = NewWithPiece(data, oldLength, index, other, length);
        Internal::String::CountCopyToGrow(m_Container.Get(), grown);
        m_Container = std::move(grown);
    }
    return *this;
}

CString &CString::Insert(u32 index, const CString &piece) noexcept
{
    QV_INTERNAL_EDIT;
    return piece.Empty() ? _InsertFast(index, nullptr, 0) : _InsertFast(index, piece.Data(), piece.Length());
}

CString &CString::Insert(u32 index, const CStringView &piece) noexcept
{
    QV_INTERNAL_EDIT;
    return piece.Data() != nullptr ? _InsertFast(index, piece.Data(), piece.Length()) : _InsertFast(index, nullptr, 0);
}

CString &CString::Insert(u32 index, const char *piece) noexcept
{
    QV_INTERNAL_EDIT;
    return _InsertFast(index, piece, SNativeStringUtils::Length(piece));
}

CString &CString::Erase(u32 first, u32 last) noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    if (QV_INTERNAL_FAILS(first <= last && last <= Length()))
        return *this;
    if (first == last)
        return *this;
    const char *data = Data();
    if (QV_INTERNAL_FAILS(data != null))
        return *this;
    if (m_Container->RefCount() == 1)
    {
        EraseInPlace(*m_Container, first, last);
        return *this;
    }
    // Unchecked: whether characters are shared is not known before.
    QV_INTERNAL_UNCHECKED_BEGIN
    m_Container = NewWithout(data, Length(), first, last);
    if (QV_MEM_TRACKING && m_Container != null)
        Internal::String::CountPrivateCopy(Length(), nullptr);
    QV_INTERNAL_UNCHECKED_END
    return *this;
}

} // namespace Quorvane
