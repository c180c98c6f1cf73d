// Concatenation and path joining: the edits that grow a string.
//
// Each decides between the string's own container, when nobody shares it and it is of the resizable form, and a new
// one. In place, an argument that lies in the string itself follows its characters when the buffer moves; with a new
// container the old one stays alive until the argument has been copied.
#include "kr_string.h"

#include <cstring>

#include "kr_mem_utils.h"
#include "string_sizes.h"

namespace Quorvane
{

namespace
{

constexpr char kSlash = '/';
constexpr char kBackSlash = '\\';

// True when a terminator stands within the first `length` characters, so that the count goes beyond the text.
// The text is not looked at beyond the count.
bool EndsWithin(const char *str, u32 length)
{
    return std::memchr(str, '\0', length) != nullptr;
}

// True when a backslash stands within the first `length` characters, and before any terminator there.
bool _ContainsBackSlash(const char *str, u32 length)
{
    const void *found = length != 0 ? std::memchr(str, kBackSlash, length) : nullptr;
    return found != nullptr && !EndsWithin(str, static_cast<u32>(static_cast<const char *>(found) - str));
}

// True when the argument lies in the string's characters, so that it moves when they do.
bool IsAliased(const char *data, u32 dataLength, const char *other, u32 length)
{
    const ureg dataAddress = reinterpret_cast<ureg>(data);
    const ureg otherAddress = reinterpret_cast<ureg>(other);
    return dataAddress < otherAddress ? otherAddress - dataAddress < dataLength : dataAddress - otherAddress < length;
}

// Makes room for `length` characters more. Returns: the new length, or kRefusedLength when there is no room.
u32 GrowBy(CStringContainer &container, u32 length)
{
    const u32 newLength = Internal::CheckedSum(container.Length(), length);
    return container.DynamicResize(newLength) ? newLength : Internal::kRefusedLength;
}

// Terminates the text behind its new end and makes that its length.
void EndAt(CStringContainer &container, u32 newLength)
{
    container.Data()[newLength] = '\0';
    container.UnsafeSetLength(newLength);
}

// Returns false, with the container as it was, when it cannot grow.
bool AppendInPlace(CStringContainer &container, const char *other, u32 length)
{
    const u32 oldLength = container.Length();
    const bool aliased = IsAliased(container.Data(), oldLength, other, length);
    const sreg offset = aliased ? other - container.Data() : 0;
    const u32 newLength = GrowBy(container, length);
    if (newLength == Internal::kRefusedLength)
        return false;
    char *data = container.Data();
    if (aliased)
        Mem::Copy_Overlapped(data + oldLength, data + offset, length);
    else
        Mem::Copy(data + oldLength, other, length);
    EndAt(container, newLength);
    return true;
}

// Returns false, with the container as it was, when it cannot grow.
bool PrependInPlace(CStringContainer &container, const char *other, u32 length)
{
    const u32 oldLength = container.Length();
    const bool aliased = IsAliased(container.Data(), oldLength, other, length);
    const sreg offset = aliased ? other - container.Data() : 0;
    const u32 newLength = GrowBy(container, length);
    if (newLength == Internal::kRefusedLength)
        return false;
    char *data = container.Data();
    Mem::Copy_Overlapped(data + length, data, oldLength);
    // An aliased argument has just moved with the characters.
    if (aliased)
        Mem::Copy_Overlapped(data, data + offset + length, length);
    else
        Mem::Copy(data, other, length);
    EndAt(container, newLength);
    return true;
}

// A new resizable container with the two texts in a row; null when memory is refused.
PStringContainer NewJoined(const char *first, u32 firstLength, const char *second, u32 secondLength)
{
    const u32 newLength = Internal::CheckedSum(firstLength, secondLength);
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

// What a path join writes, in order: the kept left side, a slash or none, the trimmed right side.
struct SPathPieces
{
    u32 m_LeftLength;
    bool m_Slash;
    const char *m_Right;
    u32 m_RightLength;

    u32 Length() const
    {
        return Internal::CheckedLength(static_cast<u64>(m_LeftLength) + (m_Slash ? 1 : 0) + m_RightLength);
    }
};

u32 LengthWithoutTrailingSlashes(const char *str, u32 length)
{
    while (length != 0 && str[length - 1] == kSlash)
        --length;
    return length;
}

u32 CountLeadingSlashes(const char *str, u32 length)
{
    u32 count = 0;
    while (count < length && str[count] == kSlash)
        ++count;
    return count;
}

SPathPieces CutPath(const char *a, u32 aLen, const char *b, u32 bLen)
{
    const u32 aKeep = LengthWithoutTrailingSlashes(a, aLen);
    const bool aWasRoot = aLen != 0 && aKeep == 0;
    const u32 bSkip = CountLeadingSlashes(b, bLen);
    const bool bRooted = bSkip != 0;
    const u32 bKeep = bLen - bSkip;
    const bool slash = aKeep != 0 ? bKeep != 0 : bRooted || aWasRoot;
    return SPathPieces{aKeep, slash, b + bSkip, bKeep};
}

// Writes the slash and the right side behind the left one, which stands at `writeToBegin`. Returns the end.
char *WriteBehindLeft(char *writeToBegin, const SPathPieces &pieces)
{
    char *writeTo = writeToBegin + pieces.m_LeftLength;
    if (pieces.m_Slash)
        *writeTo++ = kSlash;
    if (Mem::Overlaps(writeTo, pieces.m_RightLength, pieces.m_Right, pieces.m_RightLength))
        Mem::Copy_Overlapped(writeTo, pieces.m_Right, pieces.m_RightLength);
    else
        Mem::Copy(writeTo, pieces.m_Right, pieces.m_RightLength);
    return writeTo + pieces.m_RightLength;
}

// What both ways of joining promise of the characters they wrote.
void CheckJoined(const char *writeToBegin, const char *writeTo, u32 newLen)
{
    QV_ASSERT(ureg(writeTo - writeToBegin) == newLen);
    QV_ASSERT(*writeTo == 0);
    static_cast<void>(writeToBegin), static_cast<void>(writeTo), static_cast<void>(newLen);
}

// Returns false, with the container as it was, when it cannot grow.
bool JoinPathInPlace(CStringContainer &container, const SPathPieces &pieces)
{
    const u32 aLen = container.Length();
    const u32 newLen = pieces.Length();
    if (!container.DynamicResize(QVMax(aLen, newLen)))
        return false;
    char *writeToBegin = container.Data();
    QV_INTERNAL_ASSERT_TEXT("writeTo != null", writeToBegin != nullptr);
    const char *writeTo = WriteBehindLeft(writeToBegin, pieces);
    if (newLen != aLen)
        EndAt(container, newLen);
    CheckJoined(writeToBegin, writeTo, newLen);
    return true;
}

// A new resizable container with the joined path; null when memory is refused.
PStringContainer NewJoinedPath(const char *a, const SPathPieces &pieces)
{
    const u32 newLen = pieces.Length();
    PStringContainer container = CStringContainer::NewResizable(null, newLen, 0);
    if (container == null)
        return container;
    char *writeToBegin = container->Data();
    QV_INTERNAL_ASSERT_TEXT("writeTo != null", writeToBegin != nullptr);
    Mem::Copy(writeToBegin, a, pieces.m_LeftLength);
    CheckJoined(writeToBegin, WriteBehindLeft(writeToBegin, pieces), newLen);
    return container;
}

} // namespace

bool CString::_IsUniqueAndResizable() const
{
    const CStringContainer *container = m_Container.Get();
    return container != nullptr && container->SupportsDynamicResize() && container->RefCount() == 1;
}

CString &CString::_Concatenate(const char *other, u32 length)
{
    const bool uniqueAndResizable = _IsUniqueAndResizable();
    if (!uniqueAndResizable && Empty())
    {
        m_Container = CStringContainer::NewResizable(other, length, 0);
        return *this;
    }
    QV_ASSERT(CStringContainer::SafeData(m_Container.Get()) != null);
    if (!uniqueAndResizable || !AppendInPlace(*m_Container, other, length))
        m_Container = NewJoined(Data(), Length(), other, length);
    return *this;
}

CString &CString::_Prepend(const char *other, u32 length)
{
    const bool uniqueAndResizable = _IsUniqueAndResizable();
    if (!uniqueAndResizable && Empty())
    {
        // The whole text, whatever `length` says.
        *this = CString(other);
        return *this;
    }
    QV_ASSERT(CStringContainer::SafeData(m_Container.Get()) != null);
    if (!uniqueAndResizable || !PrependInPlace(*m_Container, other, length))
        m_Container = NewJoined(other, length, Data(), Length());
    return *this;
}

CString &CString::_ConcatenatePath(const char *b, u32 bLen)
{
    const char *a = Data();
    const u32 aLen = Length();
    QV_ASSERT(aLen == 0 || a != null);
    QV_ASSERT(bLen == 0 || b != null);
    QV_INTERNAL_ASSERT_TEXT("aLen == 0 || !_ContainsBackSlash(a, length)", aLen == 0 || !_ContainsBackSlash(a, aLen));
    QV_INTERNAL_ASSERT_TEXT("bLen == 0 || !_ContainsBackSlash(b, length)", bLen == 0 || !_ContainsBackSlash(b, bLen));
    const SPathPieces pieces = CutPath(a, aLen, b, bLen);
    const bool inPlace =
        _IsUniqueAndResizable() && !IsAliased(a, pieces.m_LeftLength, pieces.m_Right, pieces.m_RightLength);
    if (!inPlace || !JoinPathInPlace(*m_Container, pieces))
    {
        PStringContainer newContainer = NewJoinedPath(a, pieces);
        if (QV_VERIFY(newContainer != null))
            return *this;
        m_Container = std::move(newContainer);
    }
    QV_INTERNAL_ASSERT_TEXT("CStringContainer::SafeLength(m_Container.Get()) == newLen", Length() == pieces.Length());
    return *this;
}

CString &CString::Append(const CString &other)
{
    return other.Empty() ? *this : _Concatenate(other.Data(), other.Length());
}

CString &CString::Append(const CStringView &other)
{
    return other.Empty() || other.Data() == nullptr ? *this : _Concatenate(other.Data(), other.Length());
}

CString &CString::Append(const char *other)
{
    if (other == nullptr || *other == '\0')
        return *this;
    return _Concatenate(other, SNativeStringUtils::Length(other));
}

CString &CString::Append(const char *other, u32 otherLength)
{
    if (other == nullptr || otherLength == 0 || *other == '\0')
        return *this;
    QV_INTERNAL_ASSERT_TEXT("otherLength <= SNativeStringUtils::Length(other)", !EndsWithin(other, otherLength));
    return _Concatenate(other, otherLength);
}

CString &CString::Append(char character)
{
    return character == '\0' ? *this : _Concatenate(&character, 1);
}

CString &CString::Prepend(const CString &other)
{
    return other.Empty() ? *this : _Prepend(other.Data(), other.Length());
}

CString &CString::Prepend(const CStringView &other)
{
    if (other.Empty() || other.Data() == nullptr)
        return *this;
    if (_IsUniqueAndResizable() || !Empty())
        return _Prepend(other.Data(), other.Length());
    // A view need not be terminated: taken as it is, not up to a terminator.
    *this = other.ToString();
    return *this;
}

CString &CString::Prepend(const char *other)
{
    if (other == nullptr || *other == '\0')
        return *this;
    return _Prepend(other, SNativeStringUtils::Length(other));
}

CString &CString::Prepend(const char *other, u32 otherLength)
{
    if (other == nullptr || otherLength == 0 || *other == '\0')
        return *this;
    QV_INTERNAL_ASSERT_TEXT("otherLength <= SNativeStringUtils::Length(other)", !EndsWithin(other, otherLength));
    return _Prepend(other, otherLength);
}

CString &CString::Prepend(char character)
{
    return character == '\0' ? *this : Prepend(CStringView(&character, 1));
}

CString &CString::AppendSlashAnd(const CString &other)
{
    return other.Empty() ? _ConcatenatePath("", 0) : AppendSlashAnd(other.Data(), other.Length());
}

CString &CString::AppendSlashAnd(const CStringView &other)
{
    return AppendSlashAnd(other.Data(), other.Length());
}

CString &CString::AppendSlashAnd(const char *other)
{
    return AppendSlashAnd(other, SNativeStringUtils::Length(other));
}

CString &CString::AppendSlashAnd(const char *other, u32 length)
{
    return other != nullptr && length != 0 ? _ConcatenatePath(other, length) : _ConcatenatePath("", 0);
}

CString &CString::AppendSlash()
{
    return Empty() || Last() == kSlash ? *this : Append("/", 1);
}

CString CString::SlashAppended() const
{
    CString result(*this);
    result.AppendSlash();
    return result;
}

// The operators build on the left side: a copy of the handle, or the temporary that it is.

CString operator+(const CString &a, const CString &b)
{
    return CString(a) + b;
}

CString operator+(const CString &a, const CStringView &b)
{
    return CString(a) + b;
}

CString operator+(const CString &a, const char *b)
{
    return CString(a) + b;
}

CString operator+(const CStringView &a, const CString &b)
{
    return a.ToString() + b;
}

CString operator+(const char *a, const CString &b)
{
    return CString(a) + b;
}

CString operator+(CString &&a, const CString &b)
{
    return std::move(a.Append(b));
}

CString operator+(CString &&a, const CStringView &b)
{
    return std::move(a.Append(b));
}

CString operator+(CString &&a, const char *b)
{
    return std::move(a.Append(b));
}

CString operator/(const CString &a, const CString &b)
{
    return CString(a) / b;
}

CString operator/(const CString &a, const CStringView &b)
{
    return CString(a) / b;
}

CString operator/(const CString &a, const char *b)
{
    return CString(a) / b;
}

CString operator/(const CStringView &a, const CString &b)
{
    return a.ToString() / b;
}

CString operator/(const char *a, const CString &b)
{
    return CString(a) / b;
}

CString operator/(CString &&a, const CString &b)
{
    return std::move(a.AppendSlashAnd(b));
}

CString operator/(CString &&a, const CStringView &b)
{
    return std::move(a.AppendSlashAnd(b));
}

CString operator/(CString &&a, const char *b)
{
    return std::move(a.AppendSlashAnd(b));
}

} // namespace Quorvane
