// Private header: the inline bodies of kr_string.h.
//
// Users include kr_string.h, which ends with this header.
//
// Where a declaration has an attribute of lifetime, the compiler wants it here again.
#pragma once

#include "kr_string.h"

#include <cstring>
#include <utility>

#include "kr_assert.h"
#include "kr_internal/kr_string_compare.h"
#include "kr_internal/kr_string_split.h"
#include "kr_internal/kr_string_strip.h"
#include "kr_internal/kr_string_tail.h"
#include "qv_defs.h"
#include "qv_guid.h"

namespace Quorvane
{

inline bool CStringContainer::_BeginBlock(u32 newLength) noexcept QV_NONBLOCKING
{
    if (newLength >= m_Capacity)
        return false;
    std::memset(m_Characters + newLength, 0, kBlockBytes);
    return true;
}

// As few instructions as there can be: programs build text in this loop.
inline bool CStringContainer::_AppendFast(char character) noexcept QV_NONBLOCKING
{
    if (RefCount() != 1)
        return false;
    // One comparison for the form and for the longest length; with the reserved bit set it takes the slow path.
    const u32 word = m_Length;
    const u32 length = Internal::WrappingDifference(word, kResizableFlag);
    if (length >= kLengthMask - 1)
        return false;
    // The block of the old terminator is ours to its end, and zero behind it: only a new block needs a capacity check.
    if (QV_INTERNAL_UNLIKELY((word + 1) % kBlockBytes == 0) && !_BeginBlock(length + 1))
        return false;
    Internal::String::STail::Restore(m_Characters, length);
    _ChangeLengthBy(1);
    m_Characters[length] = character;
    Internal::String::STail::Poison(m_Characters, length + 1);
    return true;
}

inline CString::CString(const char *source, u32 sourceLen) noexcept
    : m_Container(_IsText(source, sourceLen) ? CStringContainer::New(source, sourceLen) : PStringContainer())
{
    QV_INTERNAL_ASSERT_TEXT("sourceLen == 0", sourceLen == 0 || _IsText(source));
}

// The usual case of each comparison: two containers with characters. Everything else goes to the .cpp.

inline bool CString::operator==(const CString &other) const noexcept QV_NONBLOCKING
{
    const CStringContainer *a = m_Container.Get();
    const CStringContainer *b = other.m_Container.Get();
    const char *dataA = CStringContainer::SafeData(a);
    const char *dataB = CStringContainer::SafeData(b);
    if (QV_INTERNAL_UNLIKELY(dataA == nullptr || dataB == nullptr))
        return Compare(other, CaseSensitive);
    const u32 length = a->Length();
    return length == b->Length() && (dataA == dataB || Internal::String::EqualCharacters(dataA, dataB, length));
}

inline bool CString::operator<(const CString &other) const noexcept QV_NONBLOCKING
{
    const CStringContainer *a = m_Container.Get();
    const CStringContainer *b = other.m_Container.Get();
    const char *dataA = CStringContainer::SafeData(a);
    const char *dataB = CStringContainer::SafeData(b);
    if (QV_INTERNAL_UNLIKELY(dataA == nullptr || dataB == nullptr))
        return _IsLess(other);
    // The shorter one's terminator takes part. What may follow it, in a longer text that holds terminators, makes no text
    // less than this.
    return std::memcmp(dataA, dataB, QVMin(a->Length(), b->Length()) + 1) < 0;
}

inline bool CString::operator>(const CString &other) const noexcept QV_NONBLOCKING
{
    const CStringContainer *a = m_Container.Get();
    const CStringContainer *b = other.m_Container.Get();
    const char *dataA = CStringContainer::SafeData(a);
    const char *dataB = CStringContainer::SafeData(b);
    if (QV_INTERNAL_UNLIKELY(dataA == nullptr || dataB == nullptr))
        return _IsGreater(other);
    const u32 wanted = a->Length() + 1;
    const u32 common = QVMin(wanted, CStringContainer::_PaddedLength(b->Length()));
    const int order = std::memcmp(dataA, dataB, common);
    return order > 0 || (order == 0 && common < wanted);
}

inline char *CString::RawDataForWriting() noexcept QV_NONALLOCATING QV_INTERNAL_LIFETIMEBOUND
{
    _MakeUnique();
    CStringContainer *container = m_Container.Get();
    if (QV_INTERNAL_UNLIKELY(container == nullptr))
        return nullptr;
    container->_ForgetSearched();
    return container->Data();
}

inline CGuid CString::FindNextOf(char character, u32 start) const noexcept QV_NONBLOCKING
{
    const u32 length = Length();
    if (start >= length)
        return CGuid::INVALID;
    const char *data = Data();
    if (QV_INTERNAL_FAILS(data != null))
        return CGuid::INVALID;
    const void *found = __builtin_memchr(data + start, character, length - start);
    return found != nullptr ? CGuid(static_cast<u32>(static_cast<const char *>(found) - data)) : CGuid::INVALID;
}

inline CGuid CString::FindLastOf(char character) const noexcept QV_NONBLOCKING
{
    const u32 length = Length();
    const char *data = Data();
    if (length == 0 || QV_INTERNAL_FAILS(data != null))
        return CGuid::INVALID;
    return CGuid(Internal::String::LastIndexInContainer(data, length, character));
}

inline CStringView CString::Slice(u32 start) const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
{
    return CStringView(Data(), Length()).Slice(start);
}

inline CStringView CString::Slice(u32 start, u32 count) const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
{
    return CStringView(Data(), Length()).Slice(start, count);
}

inline const char &CString::At(u32 index) const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
{
    const CStringContainer *container = m_Container.Get();
    if (QV_INTERNAL_FAILS_TEXT("_P::m_Ptr != null", container != nullptr))
        return kNoCharacter;
    if (QV_INTERNAL_FAILS_TEXT("index < m_Container->Length()", index < container->Length()))
        return kNoCharacter;
    return container->Data()[index];
}

inline const char &CString::First() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
{
    if (QV_INTERNAL_FAILS(!Empty()))
        return kNoCharacter;
    return *Data();
}

inline const char &CString::Last() const noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND
{
    if (QV_INTERNAL_FAILS(!Empty()))
        return kNoCharacter;
    const u32 length = Length();
    return QV_INTERNAL_LIKELY(length != 0) ? Data()[length - 1] : kNoCharacter;
}

// Nothing looks at a handle or a view again once its characters are known: it may lie in the array, which moves its
// elements when it grows, and a predicate may change it.

template <typename Predicate, typename>
bool CString::Split(Predicate &&isSeparator, TArray<CString> &outPieces) const
{
    return Empty() || Internal::String::SplitByPredicate(Data(), Length(), isSeparator, outPieces);
}

template <typename Predicate, typename>
bool CString::Split(Predicate &&isSeparator, TArray<CStringView> &outPieces) const &
{
    return Empty() || Internal::String::SplitByPredicate(Data(), Length(), isSeparator, outPieces);
}

template <typename Predicate, typename>
bool CStringView::Split(Predicate &&isSeparator, TArray<CStringView> &outPieces) const
{
    return begin() == end() || Internal::String::SplitByPredicate(m_Data, m_Length, isSeparator, outPieces);
}

namespace Internal::String
{

// What SNativeStringUtils::Length answers; known to the compiler for a literal.
constexpr u32 LengthOfText(const char *str) noexcept QV_NONBLOCKING
{
    constexpr u64 kMaxLength = 0xFFFFFFFFu;
    return str != nullptr ? static_cast<u32>(QVMin<u64>(__builtin_strlen(str), kMaxLength)) : 0;
}

} // namespace Internal::String

// Stripping a few characters of a set that the compiler knows takes less time than a call.

QV_INTERNAL_ALWAYS_INLINE inline CStringView CStringView::StripLeft(const char *set) const noexcept QV_NONBLOCKING
{
    const u64 bits = Internal::String::KnownBits(set);
    if (bits == 0 || m_Data == nullptr)
        return Internal::String::StripLeftSlow(*this, set);
    const u32 count = Internal::String::CountLeadingShort(m_Data, m_Length, Internal::String::CLowSet(bits));
    if (QV_INTERNAL_UNLIKELY(count == Internal::String::kShortRun))
        return Internal::String::StripLeftSlow(*this, set);
    return CStringView(m_Data + count, m_Length - count);
}

QV_INTERNAL_ALWAYS_INLINE inline CStringView CStringView::StripRight(const char *set) const noexcept QV_NONBLOCKING
{
    const u64 bits = Internal::String::KnownBits(set);
    if (bits == 0 || m_Data == nullptr)
        return Internal::String::StripRightSlow(*this, set);
    const u32 count = Internal::String::CountTrailingShort(m_Data, m_Length, Internal::String::CLowSet(bits));
    if (QV_INTERNAL_UNLIKELY(count == Internal::String::kShortRun))
        return Internal::String::StripRightSlow(*this, set);
    return CStringView(m_Data, m_Length - count);
}

QV_INTERNAL_ALWAYS_INLINE inline CStringView CStringView::Strip(const char *set) const noexcept QV_NONBLOCKING
{
    if (Internal::String::KnownBits(set) == 0)
        return Internal::String::StripSlow(*this, set);
    return StripLeft(set).StripRight(set);
}

constexpr CStringView::CStringView(const char *str QV_INTERNAL_LIFETIMEBOUND) noexcept QV_NONBLOCKING
    : m_Data(str),
      m_Length(Internal::String::LengthOfText(str))
{
}

inline CStringView::CStringView(const CString &string QV_INTERNAL_LIFETIMEBOUND) noexcept QV_NONBLOCKING
    : CStringView(string.Data(), string.Length())
{
}

inline CStringView::CStringView(CString &&string QV_INTERNAL_LIFETIMEBOUND) noexcept QV_NONBLOCKING
    : CStringView(string.Data(), string.Length())
{
}

namespace Internal::String
{

inline CStringView ToView(const CStringView &piece) noexcept QV_NONBLOCKING
{
    return piece;
}

inline CStringView ToView(const CString &piece) noexcept QV_NONBLOCKING
{
    return piece.Empty() ? CStringView() : CStringView(piece);
}

inline CStringView ToView(const char *piece) noexcept QV_NONBLOCKING
{
    return CStringView::FromNullTerminatedString(piece);
}

// What stands on the left of the first seam: there a string counts by its length, as it does on the left of operator/.
template <typename Piece>
CStringView ToViewByLength(const Piece &piece) noexcept QV_NONBLOCKING
{
    return ToView(piece);
}

inline CStringView ToViewByLength(const CString &piece) noexcept QV_NONBLOCKING
{
    return CStringView(piece);
}

} // namespace Internal::String

template <typename First, typename Second, typename... More>
CString JoinPath(const First &first, const Second &second, const More &...more) noexcept
{
    const CStringView pieces[] = {Internal::String::ToViewByLength(first), Internal::String::ToView(second),
                                  Internal::String::ToView(more)...};
    return JoinPath(TMemoryView<const CStringView>(pieces));
}

// The comparisons that are others with their sides exchanged or their answer negated.

namespace Internal::String
{

// Negative, 0 or positive.
QV_INTERNAL_API s32 OrderOfViews(const CStringView &a, const CStringView &b) noexcept QV_NONBLOCKING;
QV_INTERNAL_API s32 OrderOfViews(const CStringView &a, const char *b) noexcept QV_NONBLOCKING;

} // namespace Internal::String

inline bool operator==(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING
{
    return b == a;
}
inline bool operator!=(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return !(a == b);
}
inline bool operator!=(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING
{
    return !(b == a);
}
inline bool operator<=(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return !(a > b);
}
inline bool operator>=(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return !(a < b);
}
inline bool operator<(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING
{
    return b > a;
}
inline bool operator>(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING
{
    return b < a;
}
inline bool operator<=(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING
{
    return b >= a;
}
inline bool operator>=(const CStringView &a, const CString &b) noexcept QV_NONBLOCKING
{
    return b <= a;
}
inline bool operator<(const CStringView &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return Internal::String::OrderOfViews(a, b) < 0;
}
inline bool operator>(const CStringView &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return b < a;
}
inline bool operator<=(const CStringView &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return !(b < a);
}
inline bool operator>=(const CStringView &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return !(a < b);
}
inline bool operator<(const CStringView &a, const char *b) noexcept QV_NONBLOCKING
{
    return Internal::String::OrderOfViews(a, b) < 0;
}
inline bool operator>(const CStringView &a, const char *b) noexcept QV_NONBLOCKING
{
    return Internal::String::OrderOfViews(a, b) > 0;
}
inline bool operator<=(const CStringView &a, const char *b) noexcept QV_NONBLOCKING
{
    return !(a > b);
}
inline bool operator>=(const CStringView &a, const char *b) noexcept QV_NONBLOCKING
{
    return !(a < b);
}
inline bool operator<(const char *a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return b > a;
}
inline bool operator>(const char *a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return b < a;
}
inline bool operator<=(const char *a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return b >= a;
}
inline bool operator>=(const char *a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return b <= a;
}
inline bool operator==(const char *a, const CString &b) noexcept QV_NONBLOCKING
{
    return b == a;
}
inline bool operator!=(const char *a, const CString &b) noexcept QV_NONBLOCKING
{
    return b != a;
}
inline bool operator<(const char *a, const CString &b) noexcept QV_NONBLOCKING
{
    return b > a;
}
inline bool operator>(const char *a, const CString &b) noexcept QV_NONBLOCKING
{
    return b < a;
}
inline bool operator<=(const char *a, const CString &b) noexcept QV_NONBLOCKING
{
    return b >= a;
}
inline bool operator>=(const char *a, const CString &b) noexcept QV_NONBLOCKING
{
    return b <= a;
}
inline bool operator==(const char *a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return b == a;
}
inline bool operator!=(const char *a, const CStringView &b) noexcept QV_NONBLOCKING
{
    return b != a;
}

} // namespace Quorvane
