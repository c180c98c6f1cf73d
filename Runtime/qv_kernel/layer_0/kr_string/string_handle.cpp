// The string handle: construction, the private copy before a write, and clearing.
#include "kr_string.h"

#include "copy_figures.h"
#include "null_text.h"

namespace Quorvane
{

namespace
{

// What a writing access refers to after its report: the thread's own, so that threads do not meet there.
char &ScratchCharacter() noexcept QV_NONBLOCKING
{
    // Unchecked: a character that is a constant when the thread begins.
    QV_INTERNAL_UNCHECKED_BEGIN
    static thread_local char scratch;
    scratch = '\0';
    return scratch;
    QV_INTERNAL_UNCHECKED_END
}

} // namespace

QV_INTERNAL_CONSTINIT const char CString::kNoCharacter = '\0';

QV_INTERNAL_CONSTINIT QV_INTERNAL_NO_DESTROY const CString CString::EmptyString;

ureg CString::MemoryFootprint() const noexcept QV_NONBLOCKING
{
    const CStringContainer *container = m_Container.Get();
    return sizeof(*this) + (container != nullptr ? static_cast<ureg>(container->MemoryFootprint()) : 0);
}

// Out of line: where it returns to is the place of the edit, where that is the program's.
// Unchecked: whether characters are shared is not known before.
QV_INTERNAL_UNCHECKED_BEGIN
QV_INTERNAL_NOINLINE void CString::_MakeCopy() noexcept QV_NONALLOCATING
{
    const CStringContainer *container = m_Container.Get();
    if (container->Data() != nullptr)
        m_Container = CStringContainer::New(container->Data(), container->Length());
    if (QV_MEM_TRACKING && m_Container != null && m_Container.Get() != container)
        Internal::String::CountPrivateCopy(Length(), __builtin_return_address(0));
}
QV_INTERNAL_UNCHECKED_END

TMemoryView<char> CString::ViewForWriting() noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    char *data = RawDataForWriting();
    return data != nullptr ? TMemoryView<char>(data, Length()) : TMemoryView<char>();
}

void CString::RebuildAfterRawModification() noexcept QV_NONBLOCKING
{
    if (m_Container != null)
        m_Container->Rebuild();
}

// The reading access reports, and answers kNoCharacter where there is none: its address tells it from every character.

char &CString::AtForWriting(u32 index) noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    const bool readable = &At(index) != &kNoCharacter;
    return readable ? _CharacterForWriting(index) : ScratchCharacter();
}

char &CString::FirstForWriting() noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    const bool readable = &First() != &kNoCharacter;
    return readable ? _CharacterForWriting(0) : ScratchCharacter();
}

char &CString::LastForWriting() noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    const bool readable = &Last() != &kNoCharacter;
    return readable ? _CharacterForWriting(Length() - 1) : ScratchCharacter();
}

char &CString::_CharacterForWriting(u32 index) noexcept QV_NONALLOCATING
{
    char *data = RawDataForWriting();
    if (QV_INTERNAL_FAILS_TEXT(Internal::String::kContainerCheck, data != nullptr))
        return ScratchCharacter();
    return data[index];
}

QV_INTERNAL_REALTIME_UNWATCHED
void CString::Clear() noexcept QV_NONBLOCKING
{
    if (Empty())
        return;
    if (m_Container->RefCount() != 1)
    {
        m_Container.Clear();
        return;
    }
    // Its own container keeps its room. The new length is checked for the terminator, which comes first.
    char *data = m_Container->Data();
    QV_ASSERT(data != null);
    *data = '\0';
    m_Container->UnsafeSetLength(0);
}

} // namespace Quorvane
