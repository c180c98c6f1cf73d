// Path joining: two pieces, or many, with exactly one slash at each seam.
//
// Two pieces are joined in the string's own container, when nobody shares it and it is of the resizable form, or in a
// new one; many always in a new one. Only the seams are looked at for slashes, all of it for backslashes, where that may
// be reported: of a text that joins are made to in place, only what the one before did not look at.
//
// Each of the three, in place, of two pieces and of many, has a fast path for short pieces that need no trimming and have
// nothing to report. Two pieces are not joined as many are, though the result is the same: that took 61 instructions
// more on the fast path, of 727 with the allocations, and 112 of 1,106 on the slow one.
#include "kr_string.h"

#include "copy_figures.h"
#include "path_pieces.h"

namespace Quorvane
{

namespace
{

using namespace Internal::String;

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

// In place. Returns false, with the container as it was, when it cannot grow.

bool IsFastJoin(CStringContainer &container, const char *b, u32 bLen)
{
    return Internal::WrappingDifference(bLen, 1u) < SGrowth::kMaxInlineCopy && SGrowth::MayGrowFast(container) &&
           !SGrowth::OverlapsRoomFast(container, b, bLen) && NeedsNoTrimming(container.Data(), container.Length(), b) &&
           (!QV_ASSERTS || !Internal::Buffer::Holds(b, bLen, kBackslash)) &&
           (!QV_ASSERTS || SearchFurther(container) == container.Length());
}

bool JoinInPlaceFast(CStringContainer &container, const char *b, u32 bLen)
{
    if (!container.DynamicResize(container.Length() + 1 + bLen))
        return false;
    char *const writeTo = SGrowth::LengthenFast(container, 1 + bLen);
    writeTo[0] = kSlash;
    Mem::Internal::CopyUpTo32(writeTo + 1, b, bLen);
    return true;
}

bool JoinInPlaceSlow(CStringContainer &container, SPathPieces pieces)
{
    const u32 aLen = container.Length();
    const u32 newLen = pieces.Length();
    const bool overlaps = SGrowth::OverlapsRoom(container, pieces.m_Right, pieces.m_RightLength);
    const bool grown = overlaps ? SGrowth::ReserveAround(container, QVMax(aLen, newLen), pieces.m_Right)
                                : newLen <= aLen || SGrowth::Lengthen(container, newLen - aLen) != nullptr;
    if (!grown)
        return false;
    char *writeToBegin = container.Data();
    QV_INTERNAL_ASSERT_TEXT("writeTo != null", writeToBegin != nullptr);
    SGrowth::KeepSearched(container, pieces.m_LeftLength);
    const char *writeTo = pieces.WriteBehindLeft(writeToBegin);
    // Only Lengthen has set the length: not where the right side overlaps the room, nor where the path becomes shorter
    // by the slashes that it loses.
    if (newLen != container.Length())
        SGrowth::EndAt(container, newLen);
    CheckJoined(writeToBegin, writeTo, newLen);
    return true;
}

// Whether the right side shares characters with what is kept of the left one, or is empty and lies there.
bool LiesInLeft(const char *a, const SPathPieces &pieces)
{
    const ureg left = reinterpret_cast<ureg>(a);
    const ureg right = reinterpret_cast<ureg>(pieces.m_Right);
    return left < right ? right - left < pieces.m_LeftLength : left - right < pieces.m_RightLength;
}

// Two pieces, in a new container of the resizable form. Each returns null, after a report, when memory is refused.

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

// Out of line, so that the fast path needs no frame for it.
QV_INTERNAL_NOINLINE PStringContainer JoinTwoSlow(CStringView a, CStringView b)
{
    CheckLeftSide(a.Data(), a.Length());
    CheckRightSide(b.Data(), b.Length());
    return NewJoinedPath(a.Data(), SPathPieces(SPathEnd::Of(a.Data(), a.Length()), b.Data(), b.Length()));
}

PStringContainer JoinTwoFast(const CString &a, CStringView b)
{
    const u32 aLen = a.Length();
    const u32 bLen = b.Length();
    const bool isFast = Internal::WrappingDifference(bLen, 1u) < SGrowth::kMaxInlineCopy &&
                        aLen <= Mem::Internal::kShortCopyBytes && NeedsNoTrimming(a.Data(), aLen, b.Data()) &&
                        (!QV_ASSERTS || !Internal::Buffer::Holds(b.Data(), bLen, kBackslash)) &&
                        (!QV_ASSERTS || !Internal::Buffer::HoldsInBlocks(a.Data(), aLen, kBackslash));
    if (!QV_INTERNAL_LIKELY(isFast))
        return JoinTwoSlow(CStringView(a), b);
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
CString JoinTwoOrLeft(const CString &a, CStringView b)
{
    PStringContainer joined = JoinTwoFast(a, b);
    return joined != null ? CString(std::move(joined)) : a;
}

// Many pieces. On the slow path the first walk measures and the second one writes.

QV_INTERNAL_NOINLINE CString JoinManySlow(const TMemoryView<const CStringView> &pieces)
{
    const CStringView first = ReadableView(pieces[0]);
    CheckLeftSide(first.Data(), first.Length());
    for (u32 i = 1; i < pieces.Count(); ++i)
        CheckRightSide(pieces[i].Data(), ReadableView(pieces[i]).Length());
    PStringContainer path = NewPath(ForEachJoin(pieces, [](const SPathPieces &) {}));
    if (path == null)
        return CString();
    // One piece alone stays as it is.
    const u32 kept = pieces.Count() > 1 ? SPathEnd::Of(first.Data(), first.Length()).m_Kept : path->Length();
    char *const writeToBegin = path->Data();
    char *writeTo = writeToBegin + kept;
    Mem::Internal::CopyDisjoint(writeToBegin, first.Data(), kept);
    ForEachJoin(pieces, [&](const SPathPieces &join) { writeTo = join.WriteApart(writeToBegin); });
    CheckJoined(writeToBegin, writeTo, path->Length());
    return CString(std::move(path));
}

// The length of the path where the fast path is that of the pieces, else 0. None of them is empty then, nor ends with a
// slash, and only the first one may begin with one.
u32 FastLength(const TMemoryView<const CStringView> &pieces)
{
    u64 length = 0;
    for (const CStringView &piece : pieces)
    {
        const char *const data = piece.Data();
        const u32 pieceLength = piece.Length();
        const bool isFast = data != nullptr &&
                            Internal::WrappingDifference(pieceLength, 1u) < Mem::Internal::kShortCopyBytes &&
                            data[pieceLength - 1] != kSlash && (data[0] != kSlash || length == 0) &&
                            (!QV_ASSERTS || !Internal::Buffer::Holds(data, pieceLength, kBackslash));
        if (!isFast)
            return 0;
        length += pieceLength + 1;
    }
    return CheckedLength(length - 1);
}

void WriteFast(const TMemoryView<const CStringView> &pieces, char *writeTo)
{
    for (const CStringView &piece : pieces)
    {
        Mem::Internal::CopyUpTo64(writeTo, piece.Data(), piece.Length());
        writeTo += piece.Length();
        *writeTo++ = kSlash;
    }
    // The slash behind the last piece is where the terminator belongs.
    writeTo[-1] = '\0';
}

} // namespace

// The same question as that about any other text, without a look at what was looked at before.
bool CString::_ContainsBackslash() const noexcept QV_NONBLOCKING
{
    if (!_IsUniqueAndResizable())
        return ContainsBackslash(Data(), Length());
    const u32 place = SearchFurther(*m_Container);
    return place != Length() && Data()[place] == kBackslash;
}

CString &CString::_JoinFast(const char *b, u32 bLen) noexcept
{
    CStringContainer *const container = m_Container.Get();
    const bool isFast = container != nullptr && IsFastJoin(*container, b, bLen);
    const bool isDone = isFast && JoinInPlaceFast(*container, b, bLen);
    // When the fast path fails, growth was refused: it is not asked for again.
    return QV_INTERNAL_LIKELY(isDone) ? *this : _JoinSlow(b, bLen, !isFast);
}

QV_INTERNAL_NOINLINE CString &CString::_JoinSlow(const char *b, u32 bLen, bool mayGrow) noexcept
{
    const char *a = Data();
    const u32 aLen = Length();
    PStringContainer copy;
    if (!SGrowth::CopyBeyondRoom(m_Container.Get(), b, bLen, copy))
    {
        ReportRefused();
        return *this;
    }
    QV_ASSERT(aLen == 0 || a != null);
    QV_INTERNAL_ASSERT_TEXT("aLen == 0 || !_ContainsBackSlash(a, length)", aLen == 0 || !_ContainsBackslash());
    CheckRightSide(b, bLen);
    const SPathPieces pieces(SPathEnd::Of(a, aLen), b, bLen);
    const bool inPlace = mayGrow && _IsUniqueAndResizable() && !LiesInLeft(a, pieces);
    if (!inPlace || !JoinInPlaceSlow(*m_Container, pieces))
    {
        PStringContainer newContainer = NewJoinedPath(a, pieces);
        if (newContainer == null)
            return *this;
        Internal::String::CountCopyToGrow(m_Container.Get(), newContainer);
        m_Container = std::move(newContainer);
    }
    QV_INTERNAL_ASSERT_TEXT("CStringContainer::SafeLength(m_Container.Get()) == newLen", Length() == pieces.Length());
    return *this;
}

CString &CString::AppendSlashAnd(const CString &other) noexcept
{
    QV_INTERNAL_EDIT;
    if (other.Empty() || other.Length() == 0)
        return _JoinFast("", 0);
    return _JoinFast(other.Data(), other.Length());
}

CString &CString::AppendSlashAnd(const CStringView &other) noexcept
{
    QV_INTERNAL_EDIT;
    if (other.Empty() || other.Data() == nullptr)
        return _JoinFast("", 0);
    return _JoinFast(other.Data(), other.Length());
}

CString &CString::AppendSlashAnd(const char *other) noexcept
{
    QV_INTERNAL_EDIT;
    return AppendSlashAnd(CStringView::FromNullTerminatedString(other));
}

CString &CString::AppendSlashAnd(const char *other, u32 length) noexcept
{
    QV_INTERNAL_EDIT;
    if (other == nullptr || length == 0)
        return _JoinFast("", 0);
    // The fast path looks at all of a few characters at once. It is for those that are there.
    const bool mayBeShort =
        QV_ASSERTS && length <= SGrowth::kMaxInlineCopy && Internal::Buffer::HoldsTerminator(other, length);
    return mayBeShort ? _JoinSlow(other, length, true) : _JoinFast(other, length);
}

CString &CString::AppendSlash() noexcept
{
    QV_INTERNAL_EDIT;
    if (Empty() || Last() == kSlash)
        return *this;
    return _AppendFast("/", 1);
}

CString CString::SlashAppended() const noexcept
{
    QV_INTERNAL_NO_EDIT;
    CString result(*this);
    result.AppendSlash();
    return result;
}

CString JoinPath(const TMemoryView<const CStringView> &pieces) noexcept
{
    if (pieces.Empty())
        return CString();
    const u32 fastLength = FastLength(pieces);
    if (fastLength == 0)
        return JoinManySlow(pieces);
    PStringContainer newContainer = CStringContainer::NewResizable(null, fastLength, 0);
    if (!QV_VERIFY(newContainer != null))
        WriteFast(pieces, newContainer->Data());
    return CString(std::move(newContainer));
}

// The operators. With a temporary on the left they edit it in place; otherwise the left side is shared, so that an edit
// of a copy of it would come to a new container: they make that one without the copy.

CString operator/(const CString &a, const CString &b) noexcept
{
    return JoinTwoOrLeft(a, ToView(b));
}

CString operator/(const CString &a, const CStringView &b) noexcept
{
    return JoinTwoOrLeft(a, ReadableView(b));
}

CString operator/(const CString &a, const char *b) noexcept
{
    return JoinTwoOrLeft(a, CStringView::FromNullTerminatedString(b));
}

CString operator/(const CStringView &a, const CString &b) noexcept
{
    return CString(JoinTwoSlow(ReadableView(a), ToView(b)));
}

CString operator/(const char *a, const CString &b) noexcept
{
    return CString(JoinTwoSlow(CStringView::FromNullTerminatedString(a), ToView(b)));
}

CString operator/(CString &&a, const CString &b) noexcept
{
    QV_INTERNAL_EDIT;
    return std::move(a.AppendSlashAnd(b));
}

CString operator/(CString &&a, const CStringView &b) noexcept
{
    QV_INTERNAL_EDIT;
    return std::move(a.AppendSlashAnd(b));
}

CString operator/(CString &&a, const char *b) noexcept
{
    QV_INTERNAL_EDIT;
    return std::move(a.AppendSlashAnd(b));
}

} // namespace Quorvane
