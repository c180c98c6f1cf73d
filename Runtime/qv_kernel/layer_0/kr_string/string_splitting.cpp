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

using Internal::String::CViewSink;
using Internal::String::LiesIn;
using Internal::String::Piece_Any;
using Internal::String::Piece_WithoutTerminator;
using Internal::String::TStringSink;
using Internal::String::WalkPieces;

template <typename Sink>
bool SplitText(Sink &&sink, const CString &source, char separator)
{
    const char *const text = source.Data();
    const auto find = [&](u64 *bitmap, u32 at, u32 count)
    { Internal::Buffer::FindMatches(bitmap, text + at, count, separator); };
    const auto onPiece = [&](u32 begin, u32 end) { return begin == end || sink.Add(text + begin, end - begin); };
    return WalkPieces(source.Length(), find, onPiece);
}

// `find(bitmap, text, count)` finds the separators among some characters. The view is a copy: the one to split may lie in
// the array.
template <typename Find>
bool SplitInto(TArray<CStringView> &outPieces, CStringView source, const Find &find)
{
    outPieces.Clear();
    CViewSink sink(outPieces);
    const char *begin = source.begin();
    const char *const end = source.end();
    for (const char *text = begin; text != end;)
    {
        const u32 count = QVMin(static_cast<u32>(end - text), Internal::Buffer::kChunkCharacters);
        u64 bitmap[Internal::Buffer::kBitmapWords];
        u16 indices[Internal::Buffer::kChunkCharacters + Internal::Buffer::kIndexSlack];
        find(bitmap, text, count);
        if (!sink.AddAll(text, indices, Internal::Buffer::ListMatches(indices, bitmap, count), begin))
            return false;
        text += count;
    }
    return begin >= end || sink.Add(begin, static_cast<u32>(end - begin));
}

bool SplitInto(TArray<CStringView> &outPieces, const CString &source, char separator)
{
    const CStringView characters = source.Empty() ? CStringView() : CStringView(source);
    return SplitInto(outPieces, characters,
                     [separator](u64 *bitmap, const char *text, u32 count)
                     { Internal::Buffer::FindMatches(bitmap, text, count, separator); });
}

bool SplitInto(TArray<CString> &outPieces, const CString &source, char separator)
{
    outPieces.Clear();
    if (source.Empty())
        return true;
    // Whether extracting may have something to report is asked for all pieces at once.
    const bool mayReport = QV_ASSERTS && __builtin_memchr(source.Data(), '\0', source.Length()) != nullptr;
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

bool CStringView::Split(char separator, TArray<CStringView> &outPieces) const noexcept
{
    return SplitInto(outPieces, *this,
                     [separator](u64 *bitmap, const char *text, u32 count)
                     { Internal::Buffer::FindMatchesInCounted(bitmap, text, count, separator); });
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
