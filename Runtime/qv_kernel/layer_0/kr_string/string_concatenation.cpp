// Concatenation and path joining: the edits that grow a string.
//
// Each decides between the string's own container, when nobody shares it and it is of the resizable form, and a new
// one. In place, an argument that lies in the string itself follows its characters when the buffer moves; with a new
// container the old one stays alive until the argument has been copied.
#include "kr_string.h"

#include <cstring>

#include "../kr_buffer/buffer_blocks.h"
#include "kr_mem_utils.h"
#include "string_sizes.h"

namespace Quorvane
{

namespace
{

constexpr char kSlash = '/';
constexpr char kBackSlash = '\\';

// Scans up to this many characters without a call.
constexpr u32 kShortScan = 64;

// A value of type T from any address.
template <typename T>
T Load(const char *str)
{
    T value;
    std::memcpy(&value, str, sizeof(T));
    return value;
}

// Whether one of the bytes is `byte`: subtracting 1 from each borrows into the top bit of those that are 0 after the
// exclusive or (S. E. Anderson, Bit Twiddling Hacks: "Determine if a word has a zero byte").
bool HoldsByte(u64 bytes, u8 byte)
{
    constexpr u64 kOnes = 0x0101010101010101u;
    const u64 difference = bytes ^ kOnes * byte;
    return ((difference - kOnes) & ~difference & kOnes << 7) != 0;
}

// Whether a character stands within the first `length`, fewer than a block. The front and the back are looked at
// together; they overlap in the middle.
bool HoldsShort(const char *str, u32 length, char character)
{
    const u8 byte = static_cast<u8>(character);
    if (length >= sizeof(u64))
        return HoldsByte(Load<u64>(str), byte) || HoldsByte(Load<u64>(str + length - sizeof(u64)), byte);
    if (length >= sizeof(u32))
        return HoldsByte(Load<u32>(str) | static_cast<u64>(Load<u32>(str + length - sizeof(u32))) << 32, byte);
    return length != 0 && (str[0] == character || str[length / 2] == character || str[length - 1] == character);
}

// Whether a character stands within the first `length`. A short scan goes block by block; the last one overlaps the one
// before.
bool Holds(const char *str, u32 length, char character)
{
    using Internal::SBlock;
    if (length < SBlock::kBytes)
        return HoldsShort(str, length, character);
    if (length > kShortScan)
        return std::memchr(str, character, length) != nullptr;
    const SBlock wanted = SBlock::Fill(static_cast<u8>(character));
    SBlock found = SBlock::EqualBytes(SBlock::Bounded(str + length - SBlock::kBytes, SBlock::kBytes), wanted);
    for (u32 at = 0; at + SBlock::kBytes < length; at += SBlock::kBytes)
        found = found | SBlock::EqualBytes(SBlock::Bounded(str + at, SBlock::kBytes), wanted);
    return found.Any();
}

// True when a terminator stands within the first `length` characters, so that the count goes beyond the text.
// The text is not looked at beyond the count.
bool EndsWithin(const char *str, u32 length)
{
    return Holds(str, length, '\0');
}

// True when a backslash stands within the first `length` characters, and before any terminator there.
bool _ContainsBackSlash(const char *str, u32 length)
{
    if (!Holds(str, length, kBackSlash))
        return false;
    const void *found = std::memchr(str, kBackSlash, length);
    return !EndsWithin(str, static_cast<u32>(static_cast<const char *>(found) - str));
}

// True when the argument lies in the string's characters, so that it moves when they do.
bool IsAliased(const char *data, u32 dataLength, const char *other, u32 length)
{
    const ureg dataAddress = reinterpret_cast<ureg>(data);
    const ureg otherAddress = reinterpret_cast<ureg>(other);
    return dataAddress < otherAddress ? otherAddress - dataAddress < dataLength : dataAddress - otherAddress < length;
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

// What both ways of joining promise of the characters they wrote.
void CheckJoined(const char *writeToBegin, const char *writeTo, u32 newLen)
{
    QV_ASSERT(ureg(writeTo - writeToBegin) == newLen);
    QV_ASSERT(*writeTo == 0);
    static_cast<void>(writeToBegin), static_cast<void>(writeTo), static_cast<void>(newLen);
}

// What a path join writes, in order: the kept left side, a slash or none, the trimmed right side.
struct SPathPieces
{
    u32 m_LeftLength;
    bool m_Slash;
    const char *m_Right;
    u32 m_RightLength;

    SPathPieces(const char *a, u32 aLen, const char *b, u32 bLen);

    u32 Length() const
    {
        return Internal::CheckedLength(static_cast<u64>(m_LeftLength) + (m_Slash ? 1 : 0) + m_RightLength);
    }

    // Writes the slash and the right side behind the left one, which stands at `writeToBegin`. Returns the end.
    char *WriteBehindLeft(char *writeToBegin) const;
};

SPathPieces::SPathPieces(const char *a, u32 aLen, const char *b, u32 bLen)
{
    const u32 bSkip = CountLeadingSlashes(b, bLen);
    m_LeftLength = LengthWithoutTrailingSlashes(a, aLen);
    m_Right = b + bSkip;
    m_RightLength = bLen - bSkip;
    const bool aWasRoot = aLen != 0 && m_LeftLength == 0;
    const bool bRooted = bSkip != 0;
    m_Slash = m_LeftLength != 0 ? m_RightLength != 0 : bRooted || aWasRoot;
}

char *SPathPieces::WriteBehindLeft(char *writeToBegin) const
{
    char *writeTo = writeToBegin + m_LeftLength;
    if (m_Slash)
        *writeTo++ = kSlash;
    if (Mem::Overlaps(writeTo, m_RightLength, m_Right, m_RightLength))
        Mem::Copy_Overlapped(writeTo, m_Right, m_RightLength);
    else
        Mem::Copy(writeTo, m_Right, m_RightLength);
    return writeTo + m_RightLength;
}

SPathPieces CutPath(const char *a, u32 aLen, const char *b, u32 bLen)
{
    QV_ASSERT(aLen == 0 || a != null);
    QV_ASSERT(bLen == 0 || b != null);
    QV_INTERNAL_ASSERT_TEXT("aLen == 0 || !_ContainsBackSlash(a, length)", aLen == 0 || !_ContainsBackSlash(a, aLen));
    QV_INTERNAL_ASSERT_TEXT("bLen == 0 || !_ContainsBackSlash(b, length)", bLen == 0 || !_ContainsBackSlash(b, bLen));
    return SPathPieces(a, aLen, b, bLen);
}

// A new resizable container with the joined path; null, after a report, when memory is refused.
PStringContainer NewJoinedPath(const char *a, const SPathPieces &pieces)
{
    const u32 newLen = pieces.Length();
    PStringContainer newContainer = CStringContainer::NewResizable(null, newLen, 0);
    if (QV_VERIFY(newContainer != null))
        return newContainer;
    char *writeToBegin = newContainer->Data();
    QV_INTERNAL_ASSERT_TEXT("writeTo != null", writeToBegin != nullptr);
    Mem::Copy(writeToBegin, a, pieces.m_LeftLength);
    CheckJoined(writeToBegin, pieces.WriteBehindLeft(writeToBegin), newLen);
    return newContainer;
}

} // namespace

// Edits of a container by the holder of its only reference. Each returns false, with the container as it was, when it
// cannot grow.
//
// What must be zero behind the new end is zeroed before the characters are written, since reading back a block that was
// just written in pieces stalls; only an argument that lies in the container's own room comes first.
struct Internal::SContainerEdits
{
    // Terminates the text behind its new end and makes that its length.
    static void EndAt(CStringContainer &container, u32 newLength)
    {
        container.Data()[newLength] = '\0';
        container.UnsafeSetLength(newLength);
    }

    static bool IsInRoom(const CStringContainer &container, const char *other, u32 length)
    {
        return Mem::Overlaps(container.Data(), container.m_Capacity, other, length);
    }

    // The common case of Append, in a straight line with as few instructions as there can be: nobody shares the
    // container, nothing has to move, and there are 1 to kFew characters, which programs append in loops.
    // Returns: false, with nothing done, in every other case.
    static constexpr u32 kFew = 32;
    static bool AppendFewWithinRoom(CStringContainer &container, const char *other, u32 length)
    {
        if (container.RefCount() != 1)
            return false;
        // One comparison for the form and for the longest length; with the reserved bit set it takes the longer road.
        const u32 word = container.m_Length;
        const u32 oldLength = word - CStringContainer::kResizableFlag;
        const u32 newLength = oldLength + length;
        if (oldLength >= CStringContainer::kLengthMask - kFew || newLength >= container.m_Capacity)
            return false;
        // Whether the argument lies in the room, again as one comparison.
        char *const data = container.m_Characters;
        const ureg fromRoom = reinterpret_cast<ureg>(other) - (reinterpret_cast<ureg>(data) - length);
        if (fromRoom < static_cast<ureg>(container.m_Capacity) + length)
            return false;
        const u32 lastBlock = LastBlockStart(newLength);
        if (lastBlock > oldLength)
            std::memset(data + lastBlock, 0, kCharacterBlockBytes);
        container.m_Length = word + length;
        Mem::Internal::CopyUpTo32(data + oldLength, other, length);
        return true;
    }

    // What an insertion finds when the room for it has been made.
    struct SInsertion
    {
        u32 m_OldLength;
        u32 m_NewLength;
        bool m_InRoom;       // the argument lies in the container's room: the length is set behind the copy
        bool m_Aliased;      // it lies in the text itself, and followed it when that moved
        const char *m_Other; // where it lies now
    };

    static bool MakeRoom(CStringContainer &container, const char *other, u32 length, SInsertion &out);
    static bool Append(CStringContainer &container, const char *other, u32 length);
    static bool Prepend(CStringContainer &container, const char *other, u32 length);
    static bool JoinPath(CStringContainer &container, const SPathPieces &pieces);
};

bool Internal::SContainerEdits::MakeRoom(CStringContainer &container, const char *other, u32 length, SInsertion &out)
{
    out.m_OldLength = container.Length();
    out.m_NewLength = Internal::CheckedSum(out.m_OldLength, length);
    out.m_InRoom = IsInRoom(container, other, length);
    out.m_Aliased = out.m_InRoom && IsAliased(container.Data(), out.m_OldLength, other, length);
    const sreg offset = out.m_Aliased ? other - container.Data() : 0;
    if (!container.DynamicResize(out.m_NewLength))
        return false;
    out.m_Other = out.m_Aliased ? container.Data() + offset : other;
    if (!out.m_InRoom)
        container._LengthenTo(out.m_NewLength);
    return true;
}

bool Internal::SContainerEdits::Append(CStringContainer &container, const char *other, u32 length)
{
    SInsertion insertion;
    if (!MakeRoom(container, other, length, insertion))
        return false;
    char *end = container.Data() + insertion.m_OldLength;
    if (insertion.m_Aliased)
        Mem::Copy_Overlapped(end, insertion.m_Other, length);
    else
        Mem::Copy(end, insertion.m_Other, length);
    if (insertion.m_InRoom)
        EndAt(container, insertion.m_NewLength);
    return true;
}

bool Internal::SContainerEdits::Prepend(CStringContainer &container, const char *other, u32 length)
{
    SInsertion insertion;
    if (!MakeRoom(container, other, length, insertion))
        return false;
    char *data = container.Data();
    Mem::Copy_Overlapped(data + length, data, insertion.m_OldLength);
    // An aliased argument has just moved with the characters.
    if (insertion.m_Aliased)
        Mem::Copy_Overlapped(data, insertion.m_Other + length, length);
    else
        Mem::Copy(data, insertion.m_Other, length);
    if (insertion.m_InRoom)
        EndAt(container, insertion.m_NewLength);
    return true;
}

bool Internal::SContainerEdits::JoinPath(CStringContainer &container, const SPathPieces &pieces)
{
    const u32 aLen = container.Length();
    const u32 newLen = pieces.Length();
    const bool inRoom = IsInRoom(container, pieces.m_Right, pieces.m_RightLength);
    if (!container.DynamicResize(QVMax(aLen, newLen)))
        return false;
    char *writeToBegin = container.Data();
    QV_INTERNAL_ASSERT_TEXT("writeTo != null", writeToBegin != nullptr);
    if (newLen > aLen && !inRoom)
        container._LengthenTo(newLen);
    const char *writeTo = pieces.WriteBehindLeft(writeToBegin);
    if (newLen != container.Length())
        EndAt(container, newLen);
    CheckJoined(writeToBegin, writeTo, newLen);
    return true;
}

bool CString::_IsUniqueAndResizable() const
{
    const CStringContainer *container = m_Container.Get();
    return container != nullptr && container->SupportsDynamicResize() && container->RefCount() == 1;
}

// In the common case no register has to be saved: what all other cases need is a function of its own.
CString &CString::_Concatenate(const char *other, u32 length)
{
    CStringContainer *container = m_Container.Get();
    const bool isDone = container != nullptr && length <= Internal::SContainerEdits::kFew &&
                        Internal::SContainerEdits::AppendFewWithinRoom(*container, other, length);
    return QV_INTERNAL_LIKELY(isDone) ? *this : _ConcatenateMany(other, length);
}

QV_INTERNAL_NOINLINE CString &CString::_ConcatenateMany(const char *other, u32 length)
{
    const bool uniqueAndResizable = _IsUniqueAndResizable();
    if (!uniqueAndResizable && Empty())
    {
        m_Container = CStringContainer::NewResizable(other, length, 0);
        return *this;
    }
    QV_ASSERT(CStringContainer::SafeData(m_Container.Get()) != null);
    if (!uniqueAndResizable || !Internal::SContainerEdits::Append(*m_Container, other, length))
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
    if (!uniqueAndResizable || !Internal::SContainerEdits::Prepend(*m_Container, other, length))
        m_Container = NewJoined(other, length, Data(), Length());
    return *this;
}

CString &CString::_ConcatenatePath(const char *b, u32 bLen)
{
    const char *a = Data();
    const SPathPieces pieces = CutPath(a, Length(), b, bLen);
    const bool inPlace =
        _IsUniqueAndResizable() && !IsAliased(a, pieces.m_LeftLength, pieces.m_Right, pieces.m_RightLength);
    if (!inPlace || !Internal::SContainerEdits::JoinPath(*m_Container, pieces))
    {
        PStringContainer newContainer = NewJoinedPath(a, pieces);
        if (newContainer == null)
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

CString &CString::_AppendCharacter(char character)
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

// The operators. With a temporary on the left they edit it in place; otherwise the left side is shared, so that an edit
// of a copy of it would come to a new container: they make that one without the copy.

namespace
{

CStringView ViewOf(const CString &string)
{
    return string.Empty() ? CStringView() : CStringView(string);
}

CString Joined(const CString &a, const CStringView &b)
{
    if (b.Empty() || b.Data() == nullptr)
        return a;
    return a.Empty() ? CString(CStringContainer::NewResizable(b.Data(), b.Length(), 0))
                     : CString(NewJoined(a.Data(), a.Length(), b.Data(), b.Length()));
}

// Null when memory is refused. A view of nothing joins as the empty text does.
CString JoinedPath(const CStringView &a, const CStringView &b)
{
    const bool nothing = b.Empty() || b.Data() == nullptr;
    return CString(
        NewJoinedPath(a.Data(), CutPath(a.Data(), a.Length(), nothing ? "" : b.Data(), nothing ? 0 : b.Length())));
}

CString JoinedPath(const CString &a, const CStringView &b)
{
    CString path = JoinedPath(CStringView(a), b);
    if (path.Data() == nullptr)
        return a;
    return path;
}

} // namespace

CString operator+(const CString &a, const CString &b)
{
    return Joined(a, ViewOf(b));
}

CString operator+(const CString &a, const CStringView &b)
{
    return Joined(a, b);
}

CString operator+(const CString &a, const char *b)
{
    return Joined(a, CStringView::FromNullTerminatedString(b));
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
    return JoinedPath(a, ViewOf(b));
}

CString operator/(const CString &a, const CStringView &b)
{
    return JoinedPath(a, b);
}

CString operator/(const CString &a, const char *b)
{
    return JoinedPath(a, CStringView::FromNullTerminatedString(b));
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
