// Path joining: two pieces, or many, with exactly one slash at each seam.
//
// Two pieces are joined in the string's own container, when nobody shares it and it is of the resizable form, or in a
// new one; many always in a new one. Only the seams are looked at for slashes, all of it for backslashes, where that may
// be reported: of a text that joins are made to in place, only what the one before did not look at.
#include "kr_string.h"

#include "../kr_buffer/buffer_kernels.h"
#include "../kr_buffer/buffer_text.h"
#include "character_scan.h"
#include "container_edits.h"
#include "null_text.h"

namespace Quorvane
{

namespace
{

using Internal::SContainerEdits;
using Internal::String::ReadableView;

constexpr char kSlash = '/';
constexpr char kBackSlash = '\\';

// True when a backslash stands within the first `length` characters, and before any terminator there. Nothing behind
// that terminator is looked at.
bool _ContainsBackSlash(const char *str, u32 length)
{
    if (length <= Internal::kShortScan && !Internal::HoldsTerminator(str, length))
        return Internal::Holds(str, length, kBackSlash);
    const u32 textLength = Internal::Buffer::LengthWithin(str, length);
    return textLength != 0 && std::memchr(str, kBackSlash, textLength) != nullptr;
}

// The place of the first backslash or terminator in a container's text, or its length. Requires: the resizable form, and
// nobody else who holds it. Cost: linear in what was not looked at before.
QV_BUFFER_INLINE inline u32 SearchFurther(CStringContainer &container)
{
    const u32 length = container.Length();
    const u32 place =
        Internal::FindInBlocks(container.Data(), SContainerEdits::Searched(container), length, kBackSlash);
    SContainerEdits::SetSearched(container, place);
    return place;
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

// What all ways of joining promise of the characters they wrote.
void CheckJoined(const char *writeToBegin, const char *writeTo, u32 newLen)
{
    QV_ASSERT(ureg(writeTo - writeToBegin) == newLen);
    QV_ASSERT(*writeTo == 0);
    static_cast<void>(writeToBegin), static_cast<void>(writeTo), static_cast<void>(newLen);
}

// The end of a path to which something is joined.
struct SPathEnd
{
    u32 m_Kept;     // its length without the slashes at its end
    bool m_WasRoot; // it was nothing but slashes

    static SPathEnd Of(const char *a, u32 aLen)
    {
        const u32 kept = LengthWithoutTrailingSlashes(a, aLen);
        return SPathEnd{kept, aLen != 0 && kept == 0};
    }
};

// What a path join writes, in order: the kept left side, a slash or none, the trimmed right side.
struct SPathPieces
{
    u32 m_LeftLength;
    bool m_Slash;
    const char *m_Right;
    u32 m_RightLength;

    SPathPieces(const SPathEnd &left, const char *b, u32 bLen)
    {
        const u32 bSkip = CountLeadingSlashes(b, bLen);
        const bool bRooted = bSkip != 0;
        m_LeftLength = left.m_Kept;
        m_Right = b + bSkip;
        m_RightLength = bLen - bSkip;
        m_Slash = m_LeftLength != 0 ? m_RightLength != 0 : bRooted || left.m_WasRoot;
    }

    u32 Length() const
    {
        return Internal::CheckedLength(static_cast<u64>(m_LeftLength) + (m_Slash ? 1 : 0) + m_RightLength);
    }

    // Drops the slashes at the end of what is joined, to which something else is joined next.
    SPathEnd TrimEnd()
    {
        m_RightLength = LengthWithoutTrailingSlashes(m_Right, m_RightLength);
        const bool isRoot = m_LeftLength == 0 && m_RightLength == 0;
        return isRoot ? SPathEnd{0, m_Slash} : SPathEnd{Length(), false};
    }

    // Writes the slash and the right side behind the left one, which stands at `writeToBegin`. Returns the end.
    char *WriteBehindLeft(char *writeToBegin) const
    {
        // The slash may take the place of a character of the right side, which goes first.
        char *const writeTo = _RightPlace(writeToBegin);
        Mem::Copy_Overlapped(writeTo, m_Right, m_RightLength);
        return _WriteSlash(writeTo);
    }

    // The same into memory where no piece lies.
    char *WriteApart(char *writeToBegin) const
    {
        char *const writeTo = _RightPlace(writeToBegin);
        Mem::Internal::CopyDisjoint(writeTo, m_Right, m_RightLength);
        return _WriteSlash(writeTo);
    }

private:
    char *_RightPlace(char *writeToBegin) const { return writeToBegin + m_LeftLength + (m_Slash ? 1 : 0); }

    char *_WriteSlash(char *writeTo) const
    {
        if (m_Slash)
            writeTo[-1] = kSlash;
        return writeTo + m_RightLength;
    }
};

void CheckLeftSide(const char *a, u32 aLen)
{
    QV_ASSERT(aLen == 0 || a != null);
    QV_INTERNAL_ASSERT_TEXT("aLen == 0 || !_ContainsBackSlash(a, length)",
                            aLen == 0 || a == null || !_ContainsBackSlash(a, aLen));
    static_cast<void>(a), static_cast<void>(aLen);
}

void CheckRightSide(const char *b, u32 bLen)
{
    QV_ASSERT(bLen == 0 || b != null);
    QV_INTERNAL_ASSERT_TEXT("bLen == 0 || !_ContainsBackSlash(b, length)",
                            bLen == 0 || b == null || !_ContainsBackSlash(b, bLen));
    static_cast<void>(b), static_cast<void>(bLen);
}

// Room for a joined path of that length; null, after a report, when memory is refused.
PStringContainer NewPath(u32 newLen)
{
    PStringContainer newContainer = CStringContainer::NewResizable(null, newLen, 0);
    if (QV_VERIFY(newContainer != null))
        return newContainer;
    QV_INTERNAL_ASSERT_TEXT("writeTo != null", newContainer->Data() != nullptr);
    return newContainer;
}

// Reports memory that was refused to something else than the new path itself.
QV_INTERNAL_COLD void ReportRefused()
{
    const PStringContainer newContainer;
    static_cast<void>(QV_VERIFY(newContainer != null));
}

// A new resizable container with the joined path; null, after a report, when memory is refused.
PStringContainer NewJoinedPath(const char *a, const SPathPieces &pieces)
{
    const u32 newLen = pieces.Length();
    PStringContainer newContainer = NewPath(newLen);
    if (newContainer == null)
        return newContainer;
    char *const writeToBegin = newContainer->Data();
    Mem::Internal::CopyDisjoint(writeToBegin, a, pieces.m_LeftLength);
    CheckJoined(writeToBegin, pieces.WriteApart(writeToBegin), newLen);
    return newContainer;
}

PStringContainer NewJoinedPath(const CStringView &a, const CStringView &b)
{
    CheckLeftSide(a.Data(), a.Length());
    CheckRightSide(b.Data(), b.Length());
    return NewJoinedPath(a.Data(), SPathPieces(SPathEnd::Of(a.Data(), a.Length()), b.Data(), b.Length()));
}

// The common case: a container's characters, and a few from anywhere, with no slash on either side of the seam and
// nothing to report. Requires: 1 to kFew of them.
QV_BUFFER_INLINE inline bool IsPlainSeam(const char *a, u32 aLen, const char *b, u32 bLen)
{
    return aLen != 0 && a[aLen - 1] != kSlash && b[0] != kSlash &&
           (!QV_ASSERTS || !Internal::Holds(b, bLen, kBackSlash));
}

bool IsPlainJoin(CStringContainer &container, const char *b, u32 bLen)
{
    return SContainerEdits::MayGrow(container) && SContainerEdits::IsElsewhere(container, b, bLen) &&
           IsPlainSeam(container.Data(), container.Length(), b, bLen) &&
           (!QV_ASSERTS || SearchFurther(container) == container.Length());
}

// Returns false, with the container as it was, when it cannot grow.
bool JoinPlainly(CStringContainer &container, const char *b, u32 bLen)
{
    if (!container.DynamicResize(container.Length() + 1 + bLen))
        return false;
    char *const writeTo = SContainerEdits::ExtendBy(container, 1 + bLen);
    writeTo[0] = kSlash;
    Mem::Internal::CopyUpTo32(writeTo + 1, b, bLen);
    return true;
}

// Any other join in place. Returns false, with the container as it was, when it cannot grow.
bool JoinInPlace(CStringContainer &container, SPathPieces pieces)
{
    const u32 aLen = container.Length();
    const u32 newLen = pieces.Length();
    const bool inRoom = SContainerEdits::IsInRoom(container, pieces.m_Right, pieces.m_RightLength);
    const bool grown = inRoom ? SContainerEdits::GrowAround(container, QVMax(aLen, newLen), pieces.m_Right)
                              : container.DynamicResize(QVMax(aLen, newLen));
    if (!grown)
        return false;
    char *writeToBegin = container.Data();
    QV_INTERNAL_ASSERT_TEXT("writeTo != null", writeToBegin != nullptr);
    SContainerEdits::KeepSearched(container, pieces.m_LeftLength);
    if (newLen > aLen && !inRoom)
        SContainerEdits::LengthenTo(container, newLen);
    const char *writeTo = pieces.WriteBehindLeft(writeToBegin);
    if (newLen != container.Length())
        SContainerEdits::EndAt(container, newLen);
    CheckJoined(writeToBegin, writeTo, newLen);
    return true;
}

} // namespace

// The same question as that about any other text, without a look at what was looked at before.
bool CString::_HoldsBackSlash() const
{
    const char *data = Data();
    if (data == nullptr || !_IsUniqueAndResizable())
        return data != nullptr && _ContainsBackSlash(data, Length());
    const u32 place = SearchFurther(*m_Container);
    return place != Length() && data[place] == kBackSlash;
}

CString &CString::_ConcatenatePath(const char *b, u32 bLen)
{
    CStringContainer *const container = m_Container.Get();
    const bool plainly = container != nullptr && bLen - 1 < SContainerEdits::kFew && IsPlainJoin(*container, b, bLen);
    const bool isDone = plainly && JoinPlainly(*container, b, bLen);
    return QV_INTERNAL_LIKELY(isDone) ? *this : _ConcatenatePathAnyhow(b, bLen, !plainly);
}

QV_INTERNAL_NOINLINE CString &CString::_ConcatenatePathAnyhow(const char *b, u32 bLen, bool mayGrow)
{
    const char *a = Data();
    const u32 aLen = Length();
    PStringContainer copy;
    if (!SContainerEdits::CopyBeyondRoom(m_Container.Get(), b, bLen, copy))
    {
        ReportRefused();
        return *this;
    }
    QV_ASSERT(aLen == 0 || a != null);
    QV_INTERNAL_ASSERT_TEXT("aLen == 0 || !_ContainsBackSlash(a, length)", aLen == 0 || !_HoldsBackSlash());
    CheckRightSide(b, bLen);
    const SPathPieces pieces(SPathEnd::Of(a, aLen), b, bLen);
    const bool inPlace = mayGrow && _IsUniqueAndResizable() &&
                         !Internal::IsAliased(a, pieces.m_LeftLength, pieces.m_Right, pieces.m_RightLength);
    if (!inPlace || !JoinInPlace(*m_Container, pieces))
    {
        PStringContainer newContainer = NewJoinedPath(a, pieces);
        if (newContainer == null)
            return *this;
        m_Container = std::move(newContainer);
    }
    QV_INTERNAL_ASSERT_TEXT("CStringContainer::SafeLength(m_Container.Get()) == newLen", Length() == pieces.Length());
    return *this;
}

CString &CString::AppendSlashAnd(const CString &other)
{
    return other.Empty() || other.Length() == 0 ? _ConcatenatePath("", 0)
                                                : _ConcatenatePath(other.Data(), other.Length());
}

CString &CString::AppendSlashAnd(const CStringView &other)
{
    return other.Empty() || other.Data() == nullptr ? _ConcatenatePath("", 0)
                                                    : _ConcatenatePath(other.Data(), other.Length());
}

CString &CString::AppendSlashAnd(const char *other)
{
    return AppendSlashAnd(CStringView::FromNullTerminatedString(other));
}

CString &CString::AppendSlashAnd(const char *other, u32 length)
{
    if (other == nullptr || length == 0)
        return _ConcatenatePath("", 0);
    // The short way looks at all of a few characters at once. It is for those that are there.
    const bool mayBeShort = QV_ASSERTS && length <= SContainerEdits::kFew && Internal::HoldsTerminator(other, length);
    return mayBeShort ? _ConcatenatePathAnyhow(other, length, true) : _ConcatenatePath(other, length);
}

CString &CString::AppendSlash()
{
    return Empty() || Last() == kSlash ? *this : _Concatenate("/", 1);
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

// Out of line, so that the common case needs no frame for the others.
QV_INTERNAL_NOINLINE PStringContainer JoinedPathAnyhow(CStringView a, CStringView b)
{
    return NewJoinedPath(a, b);
}

// The joined path; null, after a report, when memory is refused.
PStringContainer JoinedPath(const CString &a, CStringView b)
{
    const u32 aLen = a.Length();
    const u32 bLen = b.Length();
    const bool isPlain = bLen - 1 < SContainerEdits::kFew && aLen <= Mem::Internal::kShortCopyBytes &&
                         IsPlainSeam(a.Data(), aLen, b.Data(), bLen) &&
                         (!QV_ASSERTS || !Internal::HoldsInBlocks(a.Data(), aLen, kBackSlash));
    if (!QV_INTERNAL_LIKELY(isPlain))
        return JoinedPathAnyhow(CStringView(a), b);
    PStringContainer newContainer = CStringContainer::NewResizable(null, aLen + 1 + bLen, 0);
    if (QV_VERIFY(newContainer != null))
        return newContainer;
    char *const writeTo = newContainer->Data();
    Mem::Internal::CopyUpTo64(writeTo, a.Data(), aLen);
    writeTo[aLen] = kSlash;
    Mem::Internal::CopyUpTo32(writeTo + aLen + 1, b.Data(), bLen);
    return newContainer;
}

// The string on the left stays what it is when memory is refused.
CString JoinedOrLeft(const CString &a, CStringView b)
{
    PStringContainer joined = JoinedPath(a, b);
    return joined != null ? CString(std::move(joined)) : a;
}

} // namespace

CString operator/(const CString &a, const CString &b)
{
    return JoinedOrLeft(a, Internal::PieceOf(b));
}

CString operator/(const CString &a, const CStringView &b)
{
    return JoinedOrLeft(a, ReadableView(b));
}

CString operator/(const CString &a, const char *b)
{
    return JoinedOrLeft(a, CStringView::FromNullTerminatedString(b));
}

CString operator/(const CStringView &a, const CString &b)
{
    return CString(JoinedPathAnyhow(ReadableView(a), Internal::PieceOf(b)));
}

CString operator/(const char *a, const CString &b)
{
    return CString(JoinedPathAnyhow(CStringView::FromNullTerminatedString(a), Internal::PieceOf(b)));
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

// Many pieces. The first walk measures, the second one writes; both cut each piece by the end of those before it.

namespace
{

// Calls `use(join)` for each piece behind the first, without what the next one cuts off. Returns the path's length.
template <typename Use>
u32 WalkPath(const TMemoryView<const CStringView> &pieces, const Use &use)
{
    const CStringView first = ReadableView(pieces[0]);
    SPathEnd end = SPathEnd::Of(first.Data(), first.Length());
    u32 length = first.Length();
    for (u32 i = 1; i < pieces.Count(); ++i)
    {
        const CStringView piece = ReadableView(pieces[i]);
        SPathPieces join(end, piece.Data(), piece.Length());
        if (i + 1 != pieces.Count())
            end = join.TrimEnd();
        use(join);
        length = join.Length();
    }
    return length;
}

QV_INTERNAL_NOINLINE CString JoinPathAnyhow(const TMemoryView<const CStringView> &pieces)
{
    const CStringView first = ReadableView(pieces[0]);
    CheckLeftSide(first.Data(), first.Length());
    for (u32 i = 1; i < pieces.Count(); ++i)
        CheckRightSide(pieces[i].Data(), ReadableView(pieces[i]).Length());
    PStringContainer path = NewPath(WalkPath(pieces, [](const SPathPieces &) {}));
    if (path == null)
        return CString();
    // One piece alone stays as it is.
    const u32 kept = pieces.Count() > 1 ? SPathEnd::Of(first.Data(), first.Length()).m_Kept : path->Length();
    char *const writeToBegin = path->Data();
    char *writeTo = writeToBegin + kept;
    Mem::Internal::CopyDisjoint(writeToBegin, first.Data(), kept);
    WalkPath(pieces, [&](const SPathPieces &join) { writeTo = join.WriteApart(writeToBegin); });
    CheckJoined(writeToBegin, writeTo, path->Length());
    return CString(std::move(path));
}

// The length of the path in the common case: short pieces that are not empty, no slash at a seam, nothing to report.
// Returns: 0 in every other case.
u32 PlainLength(const TMemoryView<const CStringView> &pieces)
{
    u64 length = 0;
    for (const CStringView &piece : pieces)
    {
        const char *const data = piece.Data();
        const u32 pieceLength = piece.Length();
        const bool isPlain = data != nullptr && pieceLength - 1 < Mem::Internal::kShortCopyBytes &&
                             data[pieceLength - 1] != kSlash && (data[0] != kSlash || length == 0) &&
                             (!QV_ASSERTS || !Internal::Holds(data, pieceLength, kBackSlash));
        if (!isPlain)
            return 0;
        length += pieceLength + 1;
    }
    return Internal::CheckedLength(length - 1);
}

void WritePlainly(const TMemoryView<const CStringView> &pieces, char *writeTo)
{
    for (const CStringView &piece : pieces)
    {
        Mem::Internal::CopyUpTo64(writeTo, piece.Data(), piece.Length());
        writeTo += piece.Length();
        *writeTo++ = kSlash;
    }
    writeTo[-1] = '\0';
}

} // namespace

CString JoinPath(const TMemoryView<const CStringView> &pieces)
{
    if (pieces.Empty())
        return CString();
    const u32 plainLength = PlainLength(pieces);
    if (plainLength == 0)
        return JoinPathAnyhow(pieces);
    PStringContainer newContainer = CStringContainer::NewResizable(null, plainLength, 0);
    if (!QV_VERIFY(newContainer != null))
        WritePlainly(pieces, newContainer->Data());
    return CString(std::move(newContainer));
}

} // namespace Quorvane
