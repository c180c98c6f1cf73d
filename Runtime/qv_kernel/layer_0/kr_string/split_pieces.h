// What the ways of splitting share: the walk over the pieces of a text, and the array that strings of them go to.
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

// Appends pieces as strings of their own.
template <EPiece kind>
class TStringSink
{
public:
    explicit TStringSink(TArray<CString> &pieces) : m_Pieces(pieces) {}

    // Returns: whether the piece was stored.
    bool Add(const char *piece, u32 length)
    {
        if constexpr (kind == Piece_WithoutTerminator)
            return SArrayAccess::Append(m_Pieces, CString(CStringContainer::New(piece, length)));
        else
            return SArrayAccess::Append(m_Pieces, CString::Extract(piece, 0, length));
    }

private:
    TArray<CString> &m_Pieces;
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
