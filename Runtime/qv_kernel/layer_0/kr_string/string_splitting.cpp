// Splitting: by a character into views or strings, and by a configured set into strings.
#include "kr_string.h"

#include <cstring>

#include "../kr_buffer/buffer_marks.h"

namespace Quorvane
{

namespace
{

// Where pieces are stored, by the array's element type. Add() tells whether the piece was. A sound piece is one known to
// hold no terminator, which is all that extracting it would find out.

enum EPiece
{
    Piece_Any,
    Piece_Sound,
};

template <EPiece kind>
class TStringSink
{
public:
    explicit TStringSink(TArray<CString> &pieces) : m_Pieces(pieces) {}

    bool Add(const char *piece, u32 length)
    {
        if constexpr (kind == Piece_Sound)
            return Internal::SArrayAccess::Append(m_Pieces, CString(CStringContainer::New(piece, length)));
        else
            return Internal::SArrayAccess::Append(m_Pieces, CString::Extract(piece, 0, length));
    }

private:
    TArray<CString> &m_Pieces;
};

// Views are written where they belong: handed over one by one, each would be read back before its two halves have
// reached memory. The array grows when and as it would by one at a time; in between, its count is of another time.
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
            // An empty one is written, too, and written over by the next.
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

// Calls `onPiece(begin, end)`, indices both, for what stands before each separator, and for what stands behind the last
// one unless that is nothing. `mark(marks, at, count)` marks the separators among `count` characters from `at` on.
// Returns: false when `onPiece` did, which ends the walk.
template <typename Mark, typename OnPiece>
bool WalkPieces(u32 length, const Mark &mark, const OnPiece &onPiece)
{
    u64 marks[Internal::kMarkWords];
    u32 begin = 0;
    for (u32 at = 0; at < length; at += Internal::kMarkedCharacters)
    {
        const u32 count = QVMin(length - at, Internal::kMarkedCharacters);
        mark(marks, at, count);
        const auto onSeparator = [&](u32 index)
        {
            const u32 end = at + index;
            const u32 first = begin;
            begin = end + 1;
            return onPiece(first, end);
        };
        if (!Internal::WalkMarks(marks, count, onSeparator))
            return false;
    }
    return begin >= length || onPiece(begin, length);
}

template <typename Sink>
bool SplitText(Sink &&sink, const CString &source, char separator)
{
    const char *const text = source.Data();
    const auto mark = [&](u64 *marks, u32 at, u32 count)
    { Internal::MarkCharacter(marks, text + at, count, separator); };
    const auto onPiece = [&](u32 begin, u32 end) { return begin == end || sink.Add(text + begin, end - begin); };
    return WalkPieces(source.Length(), mark, onPiece);
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
        const u32 count = QVMin(static_cast<u32>(end - text), Internal::kMarkedCharacters);
        u64 marks[Internal::kMarkWords];
        u16 indices[Internal::kMarkedCharacters + Internal::kIndexSlack];
        Internal::MarkCharacter(marks, text, count, separator);
        if (!sink.AddAll(text, indices, Internal::ListMarks(indices, marks, count), begin))
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
                     : SplitText(TStringSink<Piece_Sound>(outPieces), source, separator);
}

// Splits at the characters that the table lists, the terminator among them.
void SplitListed(TArray<CString> &outPieces, const char *text, u32 length, const u8 *table)
{
    const auto mark = [&](u64 *marks, u32 at, u32 count) { Internal::MarkListed(marks, text + at, count, table); };
    TStringSink<Piece_Sound> sink(outPieces);
    const auto onPiece = [&](u32 begin, u32 end)
    {
        sink.Add(text + begin, end - begin);
        return true;
    };
    const void *const terminator = std::memchr(text, '\0', length);
    const char *const end = terminator != nullptr ? static_cast<const char *>(terminator) : text + length;
    WalkPieces(static_cast<u32>(end - text), mark, onPiece);
}

// The same by a table whose entry of the terminator was cleared against its contract: pieces may hold terminators then,
// and only one where a piece would begin ends the text. The stored end must stop every scan.
void SplitListedBeyondTerminators(TArray<CString> &outPieces, const char *text, u32 length, const u8 *table)
{
    TStringSink<Piece_Any> sink(outPieces);
    const char *cur = text;
    const char *const end = text + length;
    while (cur < end && *cur != '\0')
    {
        const char *stop = cur;
        while (stop < end && table[static_cast<u8>(*stop)] == 0)
            ++stop;
        sink.Add(cur, static_cast<u32>(stop - cur));
        cur = stop < end && *stop != '\0' ? stop + 1 : stop;
    }
}

void SplitBatch(TArray<CString> &outPieces, const CString &source, const u8 *table)
{
    outPieces.Clear();
    const char *const text = source.Data();
    QV_INTERNAL_ASSERT_TEXT("_P::m_Ptr != null", text != nullptr);
    if (text == nullptr)
        return;
    if (table[0] != 0)
        SplitListed(outPieces, text, source.Length(), table);
    else
        SplitListedBeyondTerminators(outPieces, text, source.Length(), table);
}

// True when the string is an element of the array, so that clearing the array would take its characters away.
bool LiesIn(const CString &string, const TArray<CString> &array)
{
    const ureg address = reinterpret_cast<ureg>(&string);
    const ureg begin = reinterpret_cast<ureg>(array.Data());
    return address >= begin && address - begin < array.Count() * sizeof(CString);
}

} // namespace

Internal::CPredicateSplit::CPredicateSplit(const char *data, u32 length, TArray<CString> &outPieces)
    : m_Data(data),
      m_Length(length),
      m_HoldsTerminator(SNativeStringUtils::Length_16(data) != length),
      m_Pieces(outPieces)
{
    std::memset(m_IsUnknown, 1, sizeof(m_IsUnknown));
    std::memset(m_IsSeparator, 0, sizeof(m_IsSeparator));
}

bool Internal::CPredicateSplit::Next(char &outCharacter)
{
    while (m_Cut < m_Length)
    {
        const u32 end = m_Cut + QVMin(m_Length - m_Cut, kMarkedCharacters);
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

// Whether there is a character to ask about before `end`. Almost all of them are met in the first stretch.
bool Internal::CPredicateSplit::_FindUnknown(u32 end)
{
    if (m_Cut == 0)
    {
        while (m_Known < end && m_IsUnknown[static_cast<u8>(m_Data[m_Known])] == 0)
            ++m_Known;
        return m_Known < end;
    }
    u64 marks[kMarkWords];
    const u32 count = end - m_Known;
    MarkListed(marks, m_Data + m_Known, count, m_IsUnknown);
    for (u32 at = 0; at < count; at += kMarksPerWord)
    {
        if (marks[at / kMarksPerWord] != 0)
        {
            m_Known += at + TrailingZeroBits(marks[at / kMarksPerWord]);
            return true;
        }
    }
    m_Known = end;
    return false;
}

// Runs of separators are skipped as marks: whether a piece is empty is what processors cannot guess.
bool Internal::CPredicateSplit::_CutUpTo(u32 end)
{
    const u32 count = end - m_Cut;
    u64 marks[kMarkWords];
    u64 beginMarks[kMarkWords];
    u64 endMarks[kMarkWords];
    MarkListed(marks, m_Data + m_Cut, count, m_IsSeparator);
    MarkGaps(marks, count, m_AfterSeparator, beginMarks, endMarks);
    // Every other character may begin a piece, or end one.
    u16 begins[kMarkedCharacters / 2 + 1 + kIndexSlack];
    u16 ends[kMarkedCharacters / 2 + 1 + kIndexSlack];
    const u32 beginCount = ListMarks(begins, beginMarks, count);
    const u32 endCount = ListMarks(ends, endMarks, count);
    const auto cut = [&](auto &&sink)
    {
        u32 next = 0;
        for (u32 i = 0; i < endCount; ++i)
        {
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
    return m_HoldsTerminator ? cut(TStringSink<Piece_Any>(m_Pieces)) : cut(TStringSink<Piece_Sound>(m_Pieces));
}

// Stores what stands behind the last separator.
bool Internal::CPredicateSplit::_Finish()
{
    const u32 length = m_InPiece && m_First < m_Length ? m_Length - m_First : 0;
    if (length == 0)
        return true;
    return m_HoldsTerminator ? TStringSink<Piece_Any>(m_Pieces).Add(m_Data + m_First, length)
                             : TStringSink<Piece_Sound>(m_Pieces).Add(m_Data + m_First, length);
}

bool CString::Split(char separator, TArray<CStringView> &outPieces) const &
{
    return SplitInto(outPieces, *this, separator);
}

bool CString::Split(char separator, TArray<CString> &outPieces) const
{
    return LiesIn(*this, outPieces) ? Split_ThreadSafe(separator, outPieces) : SplitInto(outPieces, *this, separator);
}

bool CString::Split_ThreadSafe(char separator, TArray<CStringView> &outPieces) const &
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
        Split_ThreadSafe(str, outPieces);
    else
        SplitBatch(outPieces, str, m_SplitTable);
}

void CStringBatchSplitter::Split_ThreadSafe(const CString &str, TArray<CString> &outPieces)
{
    const CString kept(str);
    SplitBatch(outPieces, kept, m_SplitTable);
}

} // namespace Quorvane
