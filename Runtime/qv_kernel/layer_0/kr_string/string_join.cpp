// Joining: pieces of text one behind the other, with a separator between them or without, in a new container.
//
// The pieces are walked twice: the first walk measures, the second one writes into memory where no piece lies.
#include "kr_string.h"

#include "kr_mem_utils.h"
#include "null_text.h"
#include "string_block.h"

namespace Quorvane
{

namespace
{

using Internal::String::ReadableView;

// A piece by its length; null is one without characters.

CStringView ToPiece(const CStringView &piece)
{
    return ReadableView(piece);
}

CStringView ToPiece(const CString &piece)
{
    return ReadableView(CStringView(piece));
}

CStringView ToPiece(const char *piece)
{
    return CStringView(piece);
}

// Stops where no string may be so long: what two lengths add up to does not wrap then.
template <typename Piece>
u32 LengthOfJoined(const TStridedMemoryView<const Piece> &pieces, u32 separatorLength)
{
    u64 length = 0;
    for (u32 i = 0; i < pieces.Count() && length < Internal::String::kRefusedLength; ++i)
        length += u64(ToPiece(pieces[i]).Length()) + (i != 0 ? separatorLength : 0);
    return Internal::String::CheckedLength(length);
}

// `writeSeparator` answers where the next piece goes.
template <typename Piece, typename Write>
void WriteJoined(char *writeTo, const TStridedMemoryView<const Piece> &pieces, const Write &writeSeparator)
{
    for (u32 i = 0; i < pieces.Count(); ++i)
    {
        if (i != 0)
            writeTo = writeSeparator(writeTo);
        const CStringView piece = ToPiece(pieces[i]);
        Mem::Internal::CopyDisjoint(writeTo, piece.Data(), piece.Length());
        writeTo += piece.Length();
    }
}

template <typename Piece>
CString Joined(const CStringView &separator, const TStridedMemoryView<const Piece> &pieces)
{
    const u32 length = separator.Length();
    PStringContainer container = CStringContainer::New(null, LengthOfJoined(pieces, length));
    if (container == null)
        return CString();
    char *const writeTo = container->Data();
    // A single character, or none, is written without a call or a loop: most separators are that.
    if (length == 0)
        WriteJoined(writeTo, pieces, [](char *to) { return to; });
    else if (length == 1)
        WriteJoined(writeTo, pieces,
                    [character = *separator.Data()](char *to)
                    {
                        *to = character;
                        return to + 1;
                    });
    else
        WriteJoined(writeTo, pieces,
                    [&separator](char *to)
                    {
                        Mem::Internal::CopyDisjoint(to, separator.Data(), separator.Length());
                        return to + separator.Length();
                    });
    return CString(std::move(container));
}

} // namespace

namespace Internal::String
{

CString JoinList(const CStringView &separator, const TStridedMemoryView<const CStringView> &pieces) noexcept
{
    return Joined(ReadableView(separator), pieces);
}

CString JoinList(const CStringView &separator, const TStridedMemoryView<const CString> &pieces) noexcept
{
    return Joined(ReadableView(separator), pieces);
}

CString JoinList(const CStringView &separator, const TStridedMemoryView<const char *const> &pieces) noexcept
{
    return Joined(ReadableView(separator), pieces);
}

} // namespace Internal::String

} // namespace Quorvane
