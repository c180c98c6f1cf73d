// What the ways of splitting share: the walk over the pieces of a text, and the arrays that they go to.
#pragma once

#include "../kr_buffer/buffer_bitmap.h"
#include "../kr_containers/containers_array_access.h"
#include "kr_string.h"

namespace Quorvane::Internal::String
{

// Whether a piece may hold a terminator, which extracting it looks for and reports.
enum EPiece
{
    Piece_Any,
    Piece_WithoutTerminator,
};

// Appends pieces as strings of their own, made where they belong. The array grows when and as it would by one at a time; in
// between, its count is stale, until growth or the destructor writes it.
template <EPiece kind>
class TStringSink
{
public:
    explicit TStringSink(TArray<CString> &pieces) : m_Pieces(pieces), m_Count(pieces.Count()) { _SetRoom(); }
    ~TStringSink() { SArrayAccess::SetCount(m_Pieces, m_Count); }
    TStringSink(const TStringSink &) = delete;
    TStringSink &operator=(const TStringSink &) = delete;

    // Returns: whether the piece was stored.
    bool Add(const char *piece, u32 length)
    {
        if (QV_INTERNAL_UNLIKELY(m_Count == m_Room))
            return _AddToFull(piece, length);
        // What is reported of a piece finds the array as it is.
        if constexpr (kind == Piece_Any)
            SArrayAccess::SetCount(m_Pieces, m_Count);
        ::new (static_cast<void *>(m_Data + m_Count)) CString(_Made(piece, length));
        ++m_Count;
        return true;
    }

private:
    // Empty ones are many where a set is split at, and take no block.
    static CString _Made(const char *piece, u32 length)
    {
        if constexpr (kind == Piece_WithoutTerminator)
            return length != 0 ? CString(CStringContainer::New(piece, length)) : CString();
        else
            return CString::Extract(piece, 0, length);
    }

    bool _AddToFull(const char *piece, u32 length)
    {
        SArrayAccess::SetCount(m_Pieces, m_Count);
        const bool isStored = SArrayAccess::Append(m_Pieces, _Made(piece, length));
        m_Count = m_Pieces.Count();
        _SetRoom();
        return isStored;
    }

    void _SetRoom()
    {
        m_Data = m_Pieces.Data();
        m_Room = m_Pieces.MaxCount();
    }

    TArray<CString> &m_Pieces;
    u32 m_Count;
    CString *m_Data = nullptr;
    u32 m_Room = 0;
};

// Appends pieces as views, written where they belong: handed over one by one, each would be read back before its two
// halves have reached memory. The array grows when and as it would by one at a time; in between, its count is stale, until
// growth or the destructor writes it.
class CViewSink
{
public:
    explicit CViewSink(TArray<CStringView> &pieces) : m_Pieces(pieces), m_Count(pieces.Count()) { _SetRoom(); }
    ~CViewSink() { SArrayAccess::SetCount(m_Pieces, m_Count); }
    CViewSink(const CViewSink &) = delete;
    CViewSink &operator=(const CViewSink &) = delete;

    bool Add(const char *piece, u32 length)
    {
        if (m_Count == m_Room && !_MakeRoom())
            return false;
        ::new (static_cast<void *>(m_Data + m_Count)) CStringView(piece, length);
        ++m_Count;
        return true;
    }

    // Adds what stands before each of the separators, at `indices` from `text` on, unless that is nothing. `begin` is
    // where the first piece begins, and then the one behind the last separator.
    bool AddAll(const char *text, const u16 *indices, u32 count, const char *&begin)
    {
        for (u32 i = 0; i < count;)
        {
            // An empty one is written, too, and written over by the next: whether there is one would be a mispredicted
            // branch.
            const char *first = begin;
            CStringView *to = m_Data + m_Count;
            CStringView *const end = m_Data + m_Room;
            for (; i < count && to != end; ++i)
            {
                const char *const separator = text + indices[i];
                ::new (static_cast<void *>(to)) CStringView(first, static_cast<u32>(separator - first));
                to += separator != first ? 1 : 0;
                first = separator + 1;
            }
            m_Count = static_cast<u32>(to - m_Data);
            // Only a piece that is stored may make the array grow: where separators are left, there is no room.
            for (; i < count && text + indices[i] == first; ++i)
                ++first;
            begin = first;
            if (i < count && !_MakeRoom())
                return false;
        }
        return true;
    }

private:
    bool _MakeRoom()
    {
        SArrayAccess::SetCount(m_Pieces, m_Count);
        const bool hasRoom = m_Pieces.Resize(m_Count + 1);
        _SetRoom();
        return hasRoom;
    }

    void _SetRoom()
    {
        m_Data = m_Pieces.Data();
        m_Room = m_Pieces.MaxCount();
    }

    TArray<CStringView> &m_Pieces;
    u32 m_Count;
    CStringView *m_Data = nullptr;
    u32 m_Room = 0;
};

// Calls `onPiece(begin, end)`, indices both, for what stands before each separator, and for what stands behind the last
// one unless that is nothing. `find(bitmap, at, count)` finds the separators among `count` characters from `at` on.
// Returns: false when `onPiece` did, which ends the walk.
template <typename Find, typename OnPiece>
bool WalkPieces(u32 length, const Find &find, const OnPiece &onPiece)
{
    u64 bitmap[Buffer::kBitmapWords];
    u32 begin = 0;
    for (u32 at = 0; at < length; at += Buffer::kChunkCharacters)
    {
        const u32 count = QVMin(length - at, Buffer::kChunkCharacters);
        find(bitmap, at, count);
        const auto onSeparator = [&](u32 index)
        {
            const u32 end = at + index;
            const u32 first = begin;
            begin = end + 1;
            return onPiece(first, end);
        };
        if (!Buffer::ForEachMatch(bitmap, count, onSeparator))
            return false;
    }
    return begin >= length || onPiece(begin, length);
}

// True when the string is an element of the array, so that clearing the array would take its characters away.
inline bool LiesIn(const CString &string, const TArray<CString> &array)
{
    const ureg address = reinterpret_cast<ureg>(&string);
    const ureg begin = reinterpret_cast<ureg>(array.Data());
    return address >= begin && address - begin < array.Count() * sizeof(CString);
}

} // namespace Quorvane::Internal::String
