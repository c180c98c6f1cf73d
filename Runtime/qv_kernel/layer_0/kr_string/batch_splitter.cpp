// The batch splitter: at each character of a configured set, into strings.
#include "kr_string.h"

#include <cstring>

#include "../kr_buffer/buffer_bitmap.h"
#include "null_text.h"
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

// Splits at the characters that the table lists, the terminator among them.
void SplitListed(TArray<CString> &outPieces, const char *text, u32 length, const u8 *table)
{
    const auto find = [&](u64 *bitmap, u32 at, u32 count)
    { Internal::Buffer::FindTableMatches(bitmap, text + at, count, table); };
    TStringSink<Piece_WithoutTerminator> sink(outPieces);
    const auto onPiece = [&](u32 begin, u32 end)
    {
        sink.Add(text + begin, end - begin);
        return true;
    };
    const void *const terminator = __builtin_memchr(text, '\0', length);
    const char *const end = terminator != nullptr ? static_cast<const char *>(terminator) : text + length;
    WalkPieces(static_cast<u32>(end - text), find, onPiece);
}

// The same by a table whose entry of the terminator was cleared against its contract: pieces may hold terminators then,
// and only one where a piece would begin ends the text. The stored end must stop every scan.
void SplitListedBeyondTerminators(TArray<CString> &outPieces, const char *text, u32 length, const u8 *table)
{
    TStringSink<Piece_Any> sink(outPieces);
    const char *const end = text + length;
    for (const char *cur = text; cur < end && *cur != '\0';)
    {
        const char *stop = cur;
        while (stop < end && table[static_cast<u8>(*stop)] == 0)
            ++stop;
        sink.Add(cur, static_cast<u32>(stop - cur));
        // Behind the last piece, this is behind the terminator.
        cur = stop + 1;
    }
}

void SplitBatch(TArray<CString> &outPieces, const CString &source, const u8 *table)
{
    outPieces.Clear();
    const char *const text = source.Data();
    if (QV_INTERNAL_FAILS_TEXT(Internal::String::kContainerCheck, text != nullptr))
        return;
    if (table[0] != 0)
        SplitListed(outPieces, text, source.Length(), table);
    else
        SplitListedBeyondTerminators(outPieces, text, source.Length(), table);
}

} // namespace

CStringBatchSplitter::CStringBatchSplitter() noexcept QV_NONBLOCKING
{
    std::memset(m_SplitTable, 0, sizeof(m_SplitTable));
    m_SplitTable[0] = 1;
}

void CStringBatchSplitter::AddSplitChar(char character) noexcept QV_NONBLOCKING
{
    m_SplitTable[static_cast<u8>(character)] = 1;
}

void CStringBatchSplitter::AddSplitChars(const char *characters) noexcept QV_NONBLOCKING
{
    for (; characters != nullptr && *characters != '\0'; ++characters)
        AddSplitChar(*characters);
}

void CStringBatchSplitter::AddSplitChars(const CString &characters) noexcept QV_NONBLOCKING
{
    for (const char character : characters.View())
        AddSplitChar(character);
}

void CStringBatchSplitter::RemoveSplitChar(char c) noexcept QV_NONBLOCKING
{
    QV_ASSERT(c != '\0');
    m_SplitTable[static_cast<u8>(c)] = 0;
}

void CStringBatchSplitter::RemoveSplitChars(const char *characters) noexcept QV_NONBLOCKING
{
    for (; characters != nullptr && *characters != '\0'; ++characters)
        m_SplitTable[static_cast<u8>(*characters)] = 0;
}

void CStringBatchSplitter::RemoveSplitChars(const CString &characters) noexcept QV_NONBLOCKING
{
    for (const char character : characters.View())
        if (character != '\0')
            m_SplitTable[static_cast<u8>(character)] = 0;
}

void CStringBatchSplitter::Split(const CString &str, TArray<CString> &outPieces) noexcept
{
    if (LiesIn(str, outPieces))
        Split_ThreadSafe(str, outPieces);
    else
        SplitBatch(outPieces, str, m_SplitTable);
}

void CStringBatchSplitter::Split_ThreadSafe(const CString &str, TArray<CString> &outPieces) noexcept
{
    const CString kept(str);
    SplitBatch(outPieces, kept, m_SplitTable);
}

} // namespace Quorvane
