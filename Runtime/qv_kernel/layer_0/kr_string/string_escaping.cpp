// Escape sequences and indentation: rewrites of the whole string.
#include "kr_string.h"

#include <cstring>

#include "copy_figures.h"
#include "kr_mem_utils.h"
#include "null_text.h"
#include "string_block.h"

namespace Quorvane
{

namespace
{

// The white space that moves a line's end from one column to another.
struct SIndent
{
    u64 m_Tabs;
    u64 m_Spaces;
};

// A tab for every tab stop that is crossed, then spaces for the rest. `tabWidth` is not 0.
SIndent IndentOf(u32 column, u32 width, u32 tabWidth)
{
    const u64 reach = static_cast<u64>(column % tabWidth) + width;
    return SIndent{reach / tabWidth, reach < tabWidth ? width : reach % tabWidth};
}

} // namespace

CString &CString::Escape() noexcept
{
    if (Empty())
        return *this;
    // No character becomes more than two.
    const u64 newCapacity = 2 * static_cast<u64>(Length());
    PStringContainer escaped = CStringContainer::New(null, Internal::String::CheckedLength(newCapacity + 1));
    if (escaped == null)
        return *this;
    const u32 length = SNativeStringUtils::Escape(Data(), escaped->Data());
    QV_ASSERT(length <= newCapacity);
    escaped->UnsafeSetLength(length);
    m_Container = std::move(escaped);
    return *this;
}

CString &CString::Unescape() noexcept QV_NONALLOCATING
{
    QV_INTERNAL_EDIT;
    if (Empty())
        return *this;
    _MakeUnique();
    CStringContainer *container = m_Container.Get();
    const bool isMissing = QV_INTERNAL_FAILS_TEXT(Internal::String::kContainerCheck, container != nullptr);
    QV_INTERNAL_ASSERT_TEXT("m_Container->RefCount() == 1", !isMissing && container->RefCount() == 1);
    if (isMissing)
        return *this;
    // In place: no sequence is shorter than what it stands for. What was searched for backslashes has none, and so
    // stays as it is and searched.
    container->UnsafeSetLength(SNativeStringUtils::Unescape(container->Data(), container->Data()));
    return *this;
}

CString CString::Escaped() const noexcept
{
    CString result(*this);
    result.Escape();
    return result;
}

CString CString::Unescaped() const noexcept
{
    QV_INTERNAL_NO_EDIT;
    CString result(*this);
    result.Unescape();
    return result;
}

u32 CString::Ident(u32 column, u32 width, u32 tabWidth) noexcept
{
    if (QV_INTERNAL_FAILS(tabWidth != 0))
        return 0;
    const SIndent indent = IndentOf(column, width, tabWidth);
    const char *oldData = Data();
    const u32 oldLength = Length();
    const u32 newLength = Internal::String::CheckedLength(oldLength + indent.m_Tabs + indent.m_Spaces);
    if (newLength == 0)
        return 0;
    PStringContainer indented = CStringContainer::New(null, newLength);
    if (indented == null)
        return 0;
    if (QV_INTERNAL_FAILS(oldLength == 0 || oldData != null))
        return 0;
    char *writeTo = indented->Data();
    Mem::Copy(writeTo, oldData, oldLength);
    std::memset(writeTo + oldLength, '\t', static_cast<std::size_t>(indent.m_Tabs));
    std::memset(writeTo + oldLength + indent.m_Tabs, ' ', static_cast<std::size_t>(indent.m_Spaces));
    m_Container = std::move(indented);
    return newLength - oldLength;
}

} // namespace Quorvane
