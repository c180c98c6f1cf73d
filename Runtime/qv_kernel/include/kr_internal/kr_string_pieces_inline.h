// Private header: cutting a text lazily, behind the declarations of kr_string.h: what a text can be cut at, the ranges of
// pieces, and their iterators.
//
// Users include kr_string.h, which ends with this header.
#pragma once

#include "kr_string.h"

#include <cstddef>
#include <utility>

#include "kr_internal/kr_iterator_traits.h"
#include "kr_internal/kr_string_pieces.h"
#include "qv_defs.h"

namespace Quorvane
{

namespace Internal::String
{

// A text that pieces or their separators come from, kept alive if it is a string's.
class CPieceText
{
public:
    explicit CPieceText(CString &&text) noexcept QV_NONBLOCKING : CPieceText(CStringView(text))
    {
        m_Kept = std::move(text);
    }
    explicit CPieceText(const char *text) noexcept QV_NONBLOCKING
        : CPieceText(CStringView::FromNullTerminatedString(text))
    {
    }
    explicit CPieceText(const CStringView &text) noexcept QV_NONBLOCKING
        : m_Begin(text.Data() != nullptr ? text.Data() : ""),
          m_End(m_Begin + (text.Data() != nullptr ? text.Length() : 0))
    {
    }

    // Never null: a text of nothing begins somewhere, too.
    const char *Begin() const noexcept QV_NONBLOCKING { return m_Begin; }
    const char *End() const noexcept QV_NONBLOCKING { return m_End; }
    u32 Length() const noexcept QV_NONBLOCKING { return static_cast<u32>(m_End - m_Begin); }

private:
    const char *m_Begin;
    const char *m_End;
    CString m_Kept;
};

// Some of the next separators, by the places where they begin: bit i is the place `i` characters behind `m_Base`.
struct SSeparators
{
    u64 m_Bits; // 0: there are no more
    const char *m_Base;
    const char *m_Known; // the others are all behind this, or in front of it: the way in which they are looked for
};

// What a text is cut at. Of each kind, `Next` finds some of the first separators in what is left of a text, of which it is
// known that none begins before `known`, and `Previous` some of the last ones, where none begins at `known` or behind it.
// None of these overlap. `Length` is that of each separator.

class CCharacterSeparator
{
public:
    static constexpr bool kIsLineEnd = false;

    explicit CCharacterSeparator(char character) noexcept QV_NONBLOCKING : m_Character(character) {}

    static constexpr u32 Length() noexcept QV_NONBLOCKING { return 1; }
    QV_INTERNAL_API SSeparators Next(const char *begin, const char *end,
                                     const char *known) const noexcept QV_NONBLOCKING;
    QV_INTERNAL_API SSeparators Previous(const char *begin, const char *end,
                                         const char *known) const noexcept QV_NONBLOCKING;

private:
    char m_Character;
};

// The line feed of a line's end; a carriage return in front of it is left to those who cut.
class CLineSeparator : public CCharacterSeparator
{
public:
    static constexpr bool kIsLineEnd = true;

    CLineSeparator() noexcept QV_NONBLOCKING : CCharacterSeparator('\n') {}
};

class CSetSeparator
{
public:
    static constexpr bool kIsLineEnd = false;

    QV_INTERNAL_API explicit CSetSeparator(const CPieceText &characters) noexcept QV_NONBLOCKING;

    static constexpr u32 Length() noexcept QV_NONBLOCKING { return 1; }
    QV_INTERNAL_API SSeparators Next(const char *begin, const char *end,
                                     const char *known) const noexcept QV_NONBLOCKING;
    QV_INTERNAL_API SSeparators Previous(const char *begin, const char *end,
                                         const char *known) const noexcept QV_NONBLOCKING;

private:
    static constexpr u32 kSetBytes = 32;

    u8 m_Set[kSetBytes] = {}; // a bit for each character, as the search wants them
};

class CTextSeparator
{
public:
    static constexpr bool kIsLineEnd = false;

    explicit CTextSeparator(CPieceText &&text) noexcept QV_NONBLOCKING : m_Text(std::move(text)) {}

    u32 Length() const noexcept QV_NONBLOCKING { return m_Text.Length(); }
    QV_INTERNAL_API SSeparators Next(const char *begin, const char *end,
                                     const char *known) const noexcept QV_NONBLOCKING;
    QV_INTERNAL_API SSeparators Previous(const char *begin, const char *end,
                                         const char *known) const noexcept QV_NONBLOCKING;

private:
    CPieceText m_Text;
};

inline CCharacterSeparator ToSeparator(char character) noexcept QV_NONBLOCKING
{
    return CCharacterSeparator(character);
}

template <typename Text>
CTextSeparator ToSeparator(Text text) noexcept QV_NONBLOCKING
{
    return CTextSeparator(CPieceText(std::move(text)));
}

// How many pieces there may be where nobody says so.
constexpr u64 kAllPieces = ~u64(0);

// The pieces of a text between separators, as Pieces declares them. A plain value.
template <typename Separator, EPieceOrder order>
class TPieces
{
public:
    class Iterator;
    using iterator = Iterator;
    using const_iterator = Iterator;
    using value_type = CStringView;

    TPieces(CPieceText &&text, Separator &&separator, bool keepsEmpty,
            u64 maxCount = kAllPieces) noexcept QV_NONBLOCKING : m_Text(std::move(text)),
                                                                 m_Separator(std::move(separator)),
                                                                 m_MaxCount(maxCount),
                                                                 m_KeepsEmpty(keepsEmpty)
    {
    }

    // The iterators borrow from the range: it must not be a temporary that ends before them.
    [[nodiscard]] Iterator begin() const &noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return Iterator(*this); }
    [[nodiscard]] Iterator end() const &noexcept QV_NONBLOCKING QV_INTERNAL_LIFETIMEBOUND { return Iterator(); }
    Iterator begin() const && = delete; // the iterator would outlive the range
    Iterator end() const && = delete;   // the iterator would outlive the range

    [[nodiscard]] TPieces WithEmpty() const &noexcept QV_NONBLOCKING { return TPieces(*this).WithEmpty(); }
    [[nodiscard]] TPieces WithEmpty() &&noexcept QV_NONBLOCKING
    {
        m_KeepsEmpty = true;
        return std::move(*this);
    }

    [[nodiscard]] TPieces WithoutEmpty() const &noexcept QV_NONBLOCKING { return TPieces(*this).WithoutEmpty(); }
    [[nodiscard]] TPieces WithoutEmpty() &&noexcept QV_NONBLOCKING
    {
        m_KeepsEmpty = false;
        return std::move(*this);
    }

    [[nodiscard]] TPieces AtMost(u32 count) const &noexcept QV_NONBLOCKING { return TPieces(*this).AtMost(count); }
    [[nodiscard]] TPieces AtMost(u32 count) &&noexcept QV_NONBLOCKING
    {
        m_MaxCount = count;
        return std::move(*this);
    }

    using CFromEnd = TPieces<Separator, PieceOrder_FromEnd>;
    [[nodiscard]] CFromEnd FromEnd() const &noexcept QV_NONBLOCKING { return TPieces(*this).FromEnd(); }
    [[nodiscard]] CFromEnd FromEnd() &&noexcept QV_NONBLOCKING
    {
        return CFromEnd(std::move(m_Text), std::move(m_Separator), m_KeepsEmpty, m_MaxCount);
    }

private:
    CPieceText m_Text;
    Separator m_Separator;
    u64 m_MaxCount;
    bool m_KeepsEmpty;
};

// Steps from piece to piece. A forward iterator, but for C++17's wish that it refer to an object: pieces are answered by
// value, and forget where they come from.
template <typename Separator, EPieceOrder order>
class TPieces<Separator, order>::Iterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using iterator_concept = std::forward_iterator_tag; // of C++20
    using value_type = CStringView;
    using difference_type = std::ptrdiff_t;
    using pointer = const CStringView *;
    using reference = CStringView;

    // Behind the last piece of any text.
    Iterator() noexcept = default;

    CStringView operator*() const noexcept QV_NONBLOCKING { return m_Piece; }
    // Good until the iterator moves on.
    const CStringView *operator->() const noexcept QV_NONBLOCKING { return &m_Piece; }

    Iterator &operator++() noexcept QV_NONBLOCKING
    {
        if constexpr (order == PieceOrder_FromBegin)
            _ToNext();
        else
            _ToPrevious();
        return *this;
    }
    Iterator operator++(int) noexcept QV_NONBLOCKING
    {
        const Iterator before = *this;
        ++*this;
        return before;
    }

    // No two pieces of a text begin at the same place, and that behind the last one is null.
    friend bool operator==(const Iterator &a, const Iterator &b) noexcept QV_NONBLOCKING
    {
        return a.m_Piece.Data() == b.m_Piece.Data();
    }
    friend bool operator!=(const Iterator &a, const Iterator &b) noexcept QV_NONBLOCKING { return !(a == b); }

private:
    friend class TPieces;

    explicit Iterator(const TPieces &pieces) noexcept QV_NONBLOCKING;

    void _ToNext() noexcept QV_NONBLOCKING;
    void _ToPrevious() noexcept QV_NONBLOCKING;

    const TPieces *m_Pieces = nullptr;
    u64 m_Bits = 0; // the separators that are known and ahead, as bits from `m_Base` on
    const char *m_Base = nullptr;
    const char *m_Known = nullptr; // up to here, or from here on, there are no other separators
    const char *m_Rest = nullptr;  // where the rest of the text begins, or ends; null when nothing is left
    u64 m_Left = 0;                // how many pieces there may be yet
    CStringView m_Piece;
};

template <typename Separator, EPieceOrder order>
TPieces<Separator, order>::Iterator::Iterator(const TPieces &pieces) noexcept QV_NONBLOCKING : m_Pieces(&pieces),
                                                                                               m_Left(pieces.m_MaxCount)
{
    const char *const begin = pieces.m_Text.Begin();
    const char *const end = pieces.m_Text.End();
    // A line's end ends a line, and begins none.
    if (m_Left == 0 || (Separator::kIsLineEnd && begin == end))
        return;
    if constexpr (order == PieceOrder_FromBegin)
        m_Rest = begin;
    else
        m_Rest = Separator::kIsLineEnd && end[-1] == '\n' ? end - 1 : end;
    m_Known = m_Rest;
    ++*this;
}

template <typename Separator, EPieceOrder order>
inline void TPieces<Separator, order>::Iterator::_ToNext() noexcept QV_NONBLOCKING
{
    const char *begin;
    const char *end;
    do
    {
        begin = m_Rest;
        if (begin == nullptr)
        {
            m_Piece = CStringView();
            return;
        }
        const char *const textEnd = m_Pieces->m_Text.End();
        if (QV_INTERNAL_UNLIKELY(m_Bits == 0) && m_Known != textEnd)
        {
            const SSeparators next = m_Pieces->m_Separator.Next(begin, textEnd, m_Known);
            m_Bits = next.m_Bits;
            m_Base = next.m_Base;
            m_Known = next.m_Known;
        }
        if (QV_INTERNAL_UNLIKELY(m_Bits == 0))
        {
            end = textEnd;
            m_Rest = nullptr;
            continue;
        }
        end = m_Base + __builtin_ctzll(m_Bits);
        m_Bits &= m_Bits - 1;
        m_Rest = end + m_Pieces->m_Separator.Length();
        if constexpr (Separator::kIsLineEnd)
        {
            m_Rest = m_Rest != textEnd ? m_Rest : nullptr;
            end -= end != begin && end[-1] == '\r' ? 1 : 0;
        }
    } while (begin == end && !m_Pieces->m_KeepsEmpty);
    if (QV_INTERNAL_UNLIKELY(--m_Left == 0))
    {
        end = m_Pieces->m_Text.End();
        m_Rest = nullptr;
    }
    m_Piece = CStringView(begin, static_cast<u32>(end - begin));
}

template <typename Separator, EPieceOrder order>
inline void TPieces<Separator, order>::Iterator::_ToPrevious() noexcept QV_NONBLOCKING
{
    const char *begin;
    const char *end;
    do
    {
        end = m_Rest;
        if (end == nullptr)
        {
            m_Piece = CStringView();
            return;
        }
        const char *const textBegin = m_Pieces->m_Text.Begin();
        if (QV_INTERNAL_UNLIKELY(m_Bits == 0) && m_Known != textBegin)
        {
            const SSeparators previous = m_Pieces->m_Separator.Previous(textBegin, end, m_Known);
            m_Bits = previous.m_Bits;
            m_Base = previous.m_Base;
            m_Known = previous.m_Known;
        }
        begin = textBegin;
        m_Rest = nullptr;
        if (QV_INTERNAL_LIKELY(m_Bits != 0))
        {
            const u32 last = 63 - static_cast<u32>(__builtin_clzll(m_Bits));
            m_Bits ^= u64(1) << last;
            m_Rest = m_Base + last;
            begin = m_Rest + m_Pieces->m_Separator.Length();
        }
        if constexpr (Separator::kIsLineEnd)
            end -= end != m_Pieces->m_Text.End() && end != begin && end[-1] == '\r' ? 1 : 0;
    } while (begin == end && !m_Pieces->m_KeepsEmpty);
    if (QV_INTERNAL_UNLIKELY(--m_Left == 0))
    {
        begin = m_Pieces->m_Text.Begin();
        m_Rest = nullptr;
    }
    m_Piece = CStringView(begin, static_cast<u32>(end - begin));
}

} // namespace Internal::String

namespace LazySplitting
{

template <typename Text, typename Separator, typename>
Internal::String::TPieces<Internal::String::TSeparatorOf<Separator>> Pieces(Text text,
                                                                            Separator separator) noexcept QV_NONBLOCKING
{
    using namespace Internal::String;
    return TPieces<TSeparatorOf<Separator>>(CPieceText(std::move(text)), ToSeparator(std::move(separator)), false);
}

// Drops the set, which a handle may keep alive.
template <typename Text, typename Set, typename, typename>
QV_INTERNAL_REALTIME_UNWATCHED Internal::String::TPieces<Internal::String::CSetSeparator>
PiecesOfSet(Text text, Set characters) noexcept QV_NONBLOCKING
{
    using namespace Internal::String;
    return TPieces<CSetSeparator>(CPieceText(std::move(text)), CSetSeparator(CPieceText(std::move(characters))), false);
}

template <typename Text, typename>
Internal::String::TPieces<Internal::String::CLineSeparator> Lines(Text text) noexcept QV_NONBLOCKING
{
    using namespace Internal::String;
    return TPieces<CLineSeparator>(CPieceText(std::move(text)), CLineSeparator(), true);
}

} // namespace LazySplitting

} // namespace Quorvane
