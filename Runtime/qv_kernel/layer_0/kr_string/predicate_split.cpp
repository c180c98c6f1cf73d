// Splitting at what a predicate says: what is done between the questions, a chunk of the text at a time.
#include "kr_string.h"

#include <cstring>
#include <type_traits>

#include "../kr_buffer/buffer_bitmap.h"
#include "../kr_simd/simd_words.h"
#include "split_pieces.h"

namespace Quorvane::Internal::String
{

using namespace Buffer;

template <typename Piece>
TPredicateSplit<Piece>::TPredicateSplit(const char *data, u32 length, TArray<Piece> &outPieces)
    : m_Data(data), m_Length(length), m_HoldsTerminator(false), m_Pieces(outPieces)
{
    if constexpr (std::is_same<Piece, CString>::value)
        m_HoldsTerminator = SNativeStringUtils::Length_16(data) != length;
    std::memset(m_IsUnknown, 1, sizeof(m_IsUnknown));
    std::memset(m_IsSeparator, 0, sizeof(m_IsSeparator));
}

// A chunk is cut as soon as all of its characters have their answers.
template <typename Piece>
bool TPredicateSplit<Piece>::Next(char &outCharacter)
{
    while (m_Cut < m_Length)
    {
        const u32 end = m_Cut + QVMin(m_Length - m_Cut, kChunkCharacters);
        if (_FindUnknown(end))
        {
            outCharacter = m_Data[m_Known];
            return true;
        }
        if (!_CutUpTo(end))
        {
            m_Failed = true;
            return false;
        }
        m_Cut = end;
    }
    m_Failed = !_Finish();
    return false;
}

// Whether there is a character to ask about before `end`. Almost all of them are met in the first chunk, which is
// walked character by character: a bitmap would have to be made anew after each answer.
template <typename Piece>
bool TPredicateSplit<Piece>::_FindUnknown(u32 end)
{
    if (m_Cut == 0)
    {
        while (m_Known < end && m_IsUnknown[static_cast<u8>(m_Data[m_Known])] == 0)
            ++m_Known;
        return m_Known < end;
    }
    u64 bitmap[kBitmapWords];
    const u32 count = end - m_Known;
    FindTableMatches(bitmap, m_Data + m_Known, count, m_IsUnknown);
    for (u32 at = 0; at < count; at += kBitmapWordBits)
    {
        if (bitmap[at / kBitmapWordBits] != 0)
        {
            m_Known += at + Simd::TrailingZeroBits(bitmap[at / kBitmapWordBits]);
            return true;
        }
    }
    m_Known = end;
    return false;
}

// Runs of separators are skipped in the bitmaps: to ask of each piece whether it is empty would be a mispredicted branch.
template <typename Piece>
bool TPredicateSplit<Piece>::_CutUpTo(u32 end)
{
    const u32 count = end - m_Cut;
    u64 bitmap[kBitmapWords];
    u64 beginBits[kBitmapWords];
    u64 endBits[kBitmapWords];
    FindTableMatches(bitmap, m_Data + m_Cut, count, m_IsSeparator);
    FindRuns(bitmap, count, m_AfterSeparator, beginBits, endBits);
    // Every other character may begin a piece, or end one.
    u16 begins[kChunkCharacters / 2 + 1 + kIndexSlack];
    u16 ends[kChunkCharacters / 2 + 1 + kIndexSlack];
    const u32 beginCount = ListMatches(begins, beginBits, count);
    const u32 endCount = ListMatches(ends, endBits, count);
    const auto cut = [&](auto &&sink)
    {
        u32 next = 0;
        for (u32 i = 0; i < endCount; ++i)
        {
            // A piece that began in an earlier chunk has no place among the begins of this one.
            const u32 first = m_InPiece ? m_First : m_Cut + begins[next++];
            m_InPiece = false;
            if (!sink.Add(m_Data + first, m_Cut + ends[i] - first))
                return false;
        }
        if (next < beginCount)
        {
            m_First = m_Cut + begins[next];
            m_InPiece = true;
        }
        return true;
    };
    return _UseSink(cut);
}

// Stores what stands behind the last separator. Where that one is the last character, a piece may seem to begin at the
// end of the text.
template <typename Piece>
bool TPredicateSplit<Piece>::_Finish()
{
    const u32 length = m_InPiece ? m_Length - m_First : 0;
    if (length == 0)
        return true;
    return _UseSink([&](auto &&sink) { return sink.Add(m_Data + m_First, length); });
}

// What `use` answers for what the pieces go to.
template <typename Piece>
template <typename Use>
bool TPredicateSplit<Piece>::_UseSink(const Use &use)
{
    if constexpr (std::is_same<Piece, CStringView>::value)
        return use(CViewSink(m_Pieces));
    else
        return m_HoldsTerminator ? use(TStringSink<Piece_Any>(m_Pieces))
                                 : use(TStringSink<Piece_WithoutTerminator>(m_Pieces));
}

template class TPredicateSplit<CString>;
template class TPredicateSplit<CStringView>;

} // namespace Quorvane::Internal::String
