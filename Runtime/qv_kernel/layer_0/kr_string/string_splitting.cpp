// Splitting at a character, into views or strings.
#include "kr_string.h"

#include <cstring>

#include "../kr_buffer/buffer_bitmap.h"
#include "../kr_containers/containers_array_access.h"
#include "split_pieces.h"

namespace Quorvane
{

namespace
{

using Internal::String::LiesIn;
using Internal::String::Piece_Any;
using Internal::String::Piece_WithoutTerminator;
using Internal::String::TStringSink;
using Internal::String::WalkPieces;

// Appends pieces as views, written where they belong: handed over one by one, each would be read back before its two
// halves have reached memory. The array grows when and as it would by one at a time; in between, its count is stale, until
// growth or the destructor writes it.
class CViewSink
{
public:
    explicit CViewSink(TArray<CStringView> &pieces) : m_Pieces(pieces) { _SetRoom(); }
    ~CViewSink() { Internal::SArrayAccess::SetCount(m_Pieces, m_Count); }
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
            // Only a piece that is stored may make the array grow.
            for (; i < count && text + indices[i] == first; ++i)
                ++first;
            begin = first;
            if (i < count && m_Count == m_Room && !_MakeRoom())
                return false;
        }
        return true;
    }

private:
    bool _MakeRoom()
    {
        Internal::SArrayAccess::SetCount(m_Pieces, m_Count);
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
    CStringView *m_Data = nullptr;
    u32 m_Count = 0;
    u32 m_Room = 0;
};

template <typename Sink>
bool SplitText(Sink &&sink, const CString &source, char separator)
{
    const char *const text = source.Data();
    const auto find = [&](u64 *bitmap, u32 at, u32 count)
    { Internal::Buffer::FindMatches(bitmap, text + at, count, separator); };
    const auto onPiece = [&](u32 begin, u32 end) { return begin == end || sink.Add(text + begin, end - begin); };
    return WalkPieces(source.Length(), find, onPiece);
}

bool SplitInto(TArray<CStringView> &outPieces, const CString &source, char separator)
{
    outPieces.Clear();
    if (source.Empty())
        return true;
    CViewSink sink(outPieces);
    const char *begin = source.Data();
    const char *const end = begin + source.Length();
    for (const char *text = begin; text != end;)
    {
        const u32 count = QVMin(static_cast<u32>(end - text), Internal::Buffer::kChunkCharacters);
        u64 bitmap[Internal::Buffer::kBitmapWords];
        u16 indices[Internal::Buffer::kChunkCharacters + Internal::Buffer::kIndexSlack];
        Internal::Buffer::FindMatches(bitmap, text, count, separator);
        if (!sink.AddAll(text, indices, Internal::Buffer::ListMatches(indices, bitmap, count), begin))
            return false;
        text += count;
    }
    return begin >= end || sink.Add(begin, static_cast<u32>(end - begin));
}

bool SplitInto(TArray<CString> &outPieces, const CString &source, char separator)
{
    outPieces.Clear();
    if (source.Empty())
        return true;
    // Whether extracting may have something to report is asked for all pieces at once.
    const bool mayReport = QV_ASSERTS && std::memchr(source.Data(), '\0', source.Length()) != nullptr;
    return mayReport ? SplitText(TStringSink<Piece_Any>(outPieces), source, separator)
                     : SplitText(TStringSink<Piece_WithoutTerminator>(outPieces), source, separator);
}

} // namespace

bool CString::Split(char separator, TArray<CStringView> &outPieces) const &noexcept
{
    return SplitInto(outPieces, *this, separator);
}

bool CString::Split(char separator, TArray<CString> &outPieces) const noexcept
{
    return LiesIn(*this, outPieces) ? Split_ThreadSafe(separator, outPieces) : SplitInto(outPieces, *this, separator);
}

bool CString::Split_ThreadSafe(char separator, TArray<CStringView> &outPieces) const &noexcept
{
    const CString kept(*this);
    return SplitInto(outPieces, kept, separator);
}

bool CString::Split_ThreadSafe(char separator, TArray<CString> &outPieces) const noexcept
{
    const CString kept(*this);
    return SplitInto(outPieces, kept, separator);
}

} // namespace Quorvane
