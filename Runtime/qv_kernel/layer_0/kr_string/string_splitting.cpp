// Splitting: by a character into views or strings, and by a configured set into strings.
#include "kr_string.h"

#include <cstring>

namespace Quorvane
{

namespace
{

// How a piece is stored, by the array's element type. Returns whether it was.
bool Store(TArray<CStringView> &pieces, const char *piece, u32 length)
{
    return pieces.PushBack(CStringView(piece, length)).Valid();
}

bool Store(TArray<CString> &pieces, const char *piece, u32 length)
{
    return pieces.PushBack(CString::Extract(piece, 0, length)).Valid();
}

// The end of the piece that begins at `cur`: the next separator, or `end`.
const char *PieceEnd(const char *cur, const char *end, char separator)
{
    const void *found = std::memchr(cur, separator, static_cast<std::size_t>(end - cur));
    return found != nullptr ? static_cast<const char *>(found) : end;
}

template <typename Piece>
bool SplitInto(TArray<Piece> &outPieces, const CString &source, char separator)
{
    outPieces.Clear();
    if (source.Empty())
        return true;
    const char *cur = source.Data();
    const char *const end = cur + source.Length();
    while (cur < end)
    {
        const char *const stop = PieceEnd(cur, end, separator);
        if (stop != cur && !Store(outPieces, cur, static_cast<u32>(stop - cur)))
            return false;
        cur = stop + 1;
    }
    return true;
}

// True when the string is an element of the array, so that clearing the array would take its characters away.
bool LiesIn(const CString &string, const TArray<CString> &array)
{
    const ureg address = reinterpret_cast<ureg>(&string);
    const ureg begin = reinterpret_cast<ureg>(array.Data());
    return address >= begin && address - begin < array.Count() * sizeof(CString);
}

} // namespace

bool CString::Split(char separator, TArray<CStringView> &outPieces) const
{
    return SplitInto(outPieces, *this, separator);
}

bool CString::Split(char separator, TArray<CString> &outPieces) const
{
    return LiesIn(*this, outPieces) ? Split_ThreadSafe(separator, outPieces) : SplitInto(outPieces, *this, separator);
}

bool CString::Split_ThreadSafe(char separator, TArray<CStringView> &outPieces) const
{
    const CString kept(*this);
    return SplitInto(outPieces, kept, separator);
}

bool CString::Split_ThreadSafe(char separator, TArray<CString> &outPieces) const
{
    const CString kept(*this);
    return SplitInto(outPieces, kept, separator);
}

CStringBatchSplitter::CStringBatchSplitter()
{
    std::memset(m_SplitTable, 0, sizeof(m_SplitTable));
    m_SplitTable[0] = 1;
}

void CStringBatchSplitter::AddSplitChar(char character)
{
    m_SplitTable[static_cast<u8>(character)] = 1;
}

void CStringBatchSplitter::AddSplitChars(const char *characters)
{
    for (; characters != nullptr && *characters != '\0'; ++characters)
        AddSplitChar(*characters);
}

void CStringBatchSplitter::AddSplitChars(const CString &characters)
{
    for (const char character : characters.View())
        AddSplitChar(character);
}

void CStringBatchSplitter::RemoveSplitChar(char c)
{
    QV_ASSERT(c != '\0');
    m_SplitTable[static_cast<u8>(c)] = 0;
}

void CStringBatchSplitter::RemoveSplitChars(const char *characters)
{
    for (; characters != nullptr && *characters != '\0'; ++characters)
        m_SplitTable[static_cast<u8>(*characters)] = 0;
}

void CStringBatchSplitter::RemoveSplitChars(const CString &characters)
{
    for (const char character : characters.View())
        if (character != '\0')
            m_SplitTable[static_cast<u8>(character)] = 0;
}

void CStringBatchSplitter::Split(const CString &str, TArray<CString> &outPieces)
{
    if (LiesIn(str, outPieces))
    {
        Split_ThreadSafe(str, outPieces);
        return;
    }
    outPieces.Clear();
    const char *cur = str.Data();
    QV_INTERNAL_ASSERT_TEXT("_P::m_Ptr != null", cur != nullptr);
    if (cur == nullptr)
        return;
    // The stored end stops the scan too: a table without the terminator must not send it off the block.
    const char *const end = cur + str.Length();
    while (cur < end && *cur != '\0')
    {
        const char *stop = cur;
        while (stop < end && m_SplitTable[static_cast<u8>(*stop)] == 0)
            ++stop;
        Store(outPieces, cur, static_cast<u32>(stop - cur));
        cur = stop < end && *stop != '\0' ? stop + 1 : stop;
    }
}

void CStringBatchSplitter::Split_ThreadSafe(const CString &str, TArray<CString> &outPieces)
{
    const CString kept(str);
    Split(kept, outPieces);
}

} // namespace Quorvane
