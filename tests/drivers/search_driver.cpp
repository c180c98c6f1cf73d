// Walks searching, extraction, splitting, wildcard and fuzzy matching against plain loops over character arrays,
// without a test framework: so that it can run under sanitizers which bear no foreign library. Returns 0 when all was
// right.
#include <cstdio>
#include <cstring>

#include "driver_checks.h"
#include "kr_string.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr u32 kMaxText = 320;
constexpr u32 kListCount = 150;

CRandom g_Random(19700101);

// A text in a plain array, terminated.
struct SText
{
    char m_Text[kMaxText + 1] = {};
    u32 m_Length = 0;

    void SetRandom(const char *alphabet, u32 maxLength)
    {
        const u32 letters = static_cast<u32>(std::strlen(alphabet));
        m_Length = g_Random.Next(maxLength + 1);
        for (u32 i = 0; i < m_Length; ++i)
            m_Text[i] = alphabet[g_Random.Next(letters)];
        m_Text[m_Length] = '\0';
    }

    // In either form of containers.
    CString ToString() const
    {
        return g_Random.Next(2) == 0 ? CString(CStringContainer::New(m_Text, m_Length))
                                     : CString(CStringContainer::NewResizable(m_Text, m_Length, 0));
    }
};

// The characters alone, as views have them: what stands behind them is not initialised.
class CBareText
{
public:
    explicit CBareText(const SText &text) : m_Length(text.m_Length)
    {
        if (text.m_Length != 0)
            std::memcpy(m_Characters, text.m_Text, text.m_Length);
    }
    CStringView View() const { return CStringView(m_Characters, m_Length); }

private:
    char m_Characters[kMaxText + 64];
    u32 m_Length;
};

bool Is(const char *data, u32 length, const char *expected, u32 expectedLength)
{
    return length == expectedLength && (length == 0 || std::memcmp(data, expected, length) == 0);
}

bool Is(const CString &string, const char *expected, u32 expectedLength)
{
    return Is(string.Data(), string.Length(), expected, expectedLength);
}

bool Is(const CStringView &view, const char *expected, u32 expectedLength)
{
    return Is(view.Data(), view.Length(), expected, expectedLength);
}

// The first place at or after `start`, or -1.
long FindByHand(const SText &text, const char *part, u32 start)
{
    const u32 length = static_cast<u32>(std::strlen(part));
    for (u32 at = start; at < text.m_Length; ++at)
        if (at + length <= text.m_Length && std::memcmp(text.m_Text + at, part, length) == 0)
            return static_cast<long>(at);
    return -1;
}

long Place(const CGuid &guid)
{
    return guid.Valid() ? static_cast<long>(guid.Get()) : -1;
}

void WalkSearches()
{
    SText text;
    for (u32 round = 0; round < 3000; ++round)
    {
        text.SetRandom("aab \xE9", 80);
        const CString string = text.ToString();
        const u32 start = g_Random.Next(text.m_Length + 2);
        for (const char *part : {"a", "ab", "aab", "\xE9\xE9", "x"})
        {
            QV_TEST_CHECK(Place(string.FindNextOf(part, start)) == FindByHand(text, part, start));
            QV_TEST_CHECK(string.Contains(part) == (FindByHand(text, part, 0) >= 0));
            QV_TEST_CHECK(string.StartsWith(part) == (FindByHand(text, part, 0) == 0));
        }
        for (const char *character : {"a", "b", " ", "\xE9", "x"})
        {
            QV_TEST_CHECK(Place(string.FindNextOf(*character, start)) == FindByHand(text, character, start));
            const char *last = std::strrchr(text.m_Text, *character);
            QV_TEST_CHECK(Place(string.FindLastOf(*character)) == (last != nullptr ? last - text.m_Text : -1));
            const bool ends = text.m_Length != 0 && text.m_Text[text.m_Length - 1] == *character;
            QV_TEST_CHECK(string.EndsWith(character) == ends);
        }
        QV_TEST_CHECK(string.Empty("ab") == (std::strspn(text.m_Text, "ab") == text.m_Length));
        QV_TEST_CHECK(CBareText(text).View().Empty("ab") == string.Empty("ab"));
        if (text.m_Length == 0)
            continue;
        const u32 first = g_Random.Next(text.m_Length);
        const u32 last = first + g_Random.Next(text.m_Length - first + 1);
        QV_TEST_CHECK(Is(string.Extract(first, last), text.m_Text + first, last - first));
        QV_TEST_CHECK(Is(CString::Extract(text.m_Text, first, last), text.m_Text + first, last - first));
    }
}

// Whether `part` stands at a place of the text, all its characters counted.
bool StandsByHand(const SText &text, u32 at, const SText &part, bool ignoreCase)
{
    const auto fold = [=](char c) { return ignoreCase && c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; };
    u32 same = 0;
    while (same < part.m_Length && fold(text.m_Text[at + same]) == fold(part.m_Text[same]))
        ++same;
    return same == part.m_Length;
}

// Texts and parts with terminators in them, and long ones of few characters, where parts nearly stand everywhere.
void WalkTextSearches()
{
    SText text;
    SText part;
    for (u32 round = 0; round < 6000; ++round)
    {
        text.SetRandom(round % 3 == 0 ? "ab" : "aAb \xE9;", round % 4 == 0 ? kMaxText : 40);
        part.SetRandom(round % 3 == 0 ? "ab" : "aAb \xE9;", round % 4 == 0 ? 12 : 4);
        for (SText *made : {&text, &part})
            for (u32 i = 0; i < made->m_Length; ++i)
                made->m_Text[i] = made->m_Text[i] == ';' ? '\0' : made->m_Text[i];
        const bool ignoreCase = g_Random.Next(2) != 0;
        const ECaseSensitivity sensitivity = ignoreCase ? CaseInsensitive : CaseSensitive;
        const u32 start = g_Random.Next(text.m_Length + 2);
        long first = -1;
        long last = -1;
        for (u32 at = 0; at + part.m_Length <= text.m_Length; ++at)
        {
            if (!StandsByHand(text, at, part, ignoreCase))
                continue;
            first = first < 0 && at >= start ? static_cast<long>(at) : first;
            last = static_cast<long>(at);
        }
        const CString string = text.ToString();
        const CStringView view(text.m_Text, text.m_Length);
        const CString partString = part.ToString();
        const CStringView partView(part.m_Text, part.m_Length);
        QV_TEST_CHECK(Place(string.FindText(partView, start, sensitivity)) == first);
        QV_TEST_CHECK(Place(view.FindText(partString, start, sensitivity)) == first);
        QV_TEST_CHECK(Place(string.FindLastText(partString, sensitivity)) == last);
        QV_TEST_CHECK(Place(view.FindLastText(partView, sensitivity)) == last);
        if (std::memchr(part.m_Text, '\0', part.m_Length) != nullptr)
            continue;
        QV_TEST_CHECK(Place(string.FindText(part.m_Text, start, sensitivity)) == first);
        QV_TEST_CHECK(Place(string.FindLastText(part.m_Text, sensitivity)) == last);
    }
}

// Every piece is the run that the separators leave, and no run is left over.
template <typename Piece>
void CheckRuns(const TArray<Piece> &pieces, const SText &text, const char *separators)
{
    const char *cur = text.m_Text;
    u32 count = 0;
    for (;;)
    {
        cur += std::strspn(cur, separators);
        const u32 length = static_cast<u32>(std::strcspn(cur, separators));
        if (length == 0)
            break;
        QV_TEST_CHECK(count < pieces.Count() && Is(pieces[count], cur, length));
        ++count;
        cur += length;
    }
    QV_TEST_CHECK(pieces.Count() == count);
}

void CheckFields(const TArray<CString> &pieces, const SText &text, const char *separators)
{
    u32 count = 0;
    for (const char *cur = text.m_Text; *cur != '\0'; ++count)
    {
        const u32 length = static_cast<u32>(std::strcspn(cur, separators));
        QV_TEST_CHECK(count < pieces.Count() && Is(pieces[count], cur, length));
        cur += length;
        cur += *cur != '\0' ? 1 : 0;
    }
    QV_TEST_CHECK(pieces.Count() == count);
}

void WalkSplits()
{
    SText text;
    TArray<CStringView> views;
    TArray<CString> strings;
    CStringBatchSplitter splitter;
    splitter.AddSplitChars(",\xE9;");
    splitter.RemoveSplitChars(CString(";"));
    for (u32 round = 0; round < 3000; ++round)
    {
        text.SetRandom("abc,,\xE9;", 100);
        const CString string = text.ToString();
        QV_TEST_CHECK(string.Split(',', views));
        CheckRuns(views, text, ",");
        QV_TEST_CHECK(string.Split_ThreadSafe('\xE9', views));
        CheckRuns(views, text, "\xE9");
        QV_TEST_CHECK(string.Split(',', strings));
        CheckRuns(strings, text, ",");
        QV_TEST_CHECK(string.Split_ThreadSafe(';', strings));
        CheckRuns(strings, text, ";");
        strings.Clear();
        QV_TEST_CHECK(string.Split([](char c) { return c == ',' || c == ';'; }, strings));
        CheckRuns(strings, text, ",;");
        views.Clear();
        QV_TEST_CHECK(string.Split([](char c) { return c == ',' || c == ';'; }, views));
        CheckRuns(views, text, ",;");
        const CBareText bare(text);
        QV_TEST_CHECK(bare.View().Split(',', views));
        CheckRuns(views, text, ",");
        views.Clear();
        QV_TEST_CHECK(bare.View().Split([](char c) { return c == 'a' || c == ';'; }, views));
        CheckRuns(views, text, "a;");
        if (string.Data() == nullptr)
            continue;
        splitter.Split(string, strings);
        CheckFields(strings, text, ",\xE9");
        strings.PushBack(string);
        splitter.Split_ThreadSafe(strings.Last(), strings);
        CheckFields(strings, text, ",\xE9");
        strings.PushBack(string);
        QV_TEST_CHECK(strings.Last().Split(',', strings));
        CheckRuns(strings, text, ",");
    }
}

// The pieces, each of which is the run that the separators leave, and no run is left over.
template <typename Range>
void CheckRunsOneByOne(const Range &range, const SText &text, const char *separators)
{
    const char *cur = text.m_Text;
    for (const CStringView &piece : range)
    {
        cur += std::strspn(cur, separators);
        const u32 length = static_cast<u32>(std::strcspn(cur, separators));
        QV_TEST_CHECK(length != 0 && Is(piece, cur, length));
        cur += length;
    }
    QV_TEST_CHECK(cur[std::strspn(cur, separators)] == '\0');
}

// The pieces between occurrences of a text, found one by one.
template <typename Range>
void CheckPiecesAtText(const Range &range, const SText &text, const char *separator)
{
    const u32 length = static_cast<u32>(std::strlen(separator));
    u32 begin = 0;
    for (const CStringView &piece : range)
    {
        const long found = FindByHand(text, separator, begin);
        const u32 end = found >= 0 ? static_cast<u32>(found) : text.m_Length;
        QV_TEST_CHECK(Is(piece, text.m_Text + begin, end - begin));
        begin = end + length;
    }
    QV_TEST_CHECK(begin == text.m_Length + length);
}

// As many pieces from the end, with as many characters.
template <typename Range>
void CheckFromEnd(const Range &range)
{
    u32 count = 0;
    u32 characters = 0;
    for (const CStringView &piece : range)
    {
        ++count;
        characters += piece.Length();
    }
    for (const CStringView &piece : range.FromEnd())
    {
        --count;
        characters -= piece.Length();
    }
    QV_TEST_CHECK(count == 0 && characters == 0);
}

void WalkPieces()
{
    SText text;
    for (u32 round = 0; round < 3000; ++round)
    {
        text.SetRandom("abcdefgh,,\xE9;\n", 300);
        const CString string = text.ToString();
        const CStringView view(text.m_Text, text.m_Length);
        CheckRunsOneByOne(Pieces(string, ','), text, ",");
        CheckRunsOneByOne(Pieces(view, ";"), text, ";");
        CheckRunsOneByOne(PiecesOfSet(view, ",\xE9;"), text, ",\xE9;");
        CheckRunsOneByOne(Lines(string).WithoutEmpty(), text, "\n");
        CheckFromEnd(Pieces(view, ',').WithEmpty());
        CheckFromEnd(PiecesOfSet(string, ",;"));
        CheckFromEnd(Lines(view));
        for (const char *separator : {",", ",,", "a,", "\xE9\xE9\xE9"})
            CheckPiecesAtText(Pieces(view, separator).WithEmpty(), text, separator);
        for (const CStringView &piece : Pieces(string, CString(",;")).FromEnd().AtMost(1))
            QV_TEST_CHECK(piece.Length() <= text.m_Length && piece.Data() == string.Data());
    }
}

bool MatchesByHand(const char *pattern, const char *text)
{
    if (*pattern == '\0')
        return *text == '\0';
    if (*pattern == '*')
        return MatchesByHand(pattern + 1, text) || (*text != '\0' && MatchesByHand(pattern, text + 1));
    return *text != '\0' && (*pattern == '?' || *pattern == *text) && MatchesByHand(pattern + 1, text + 1);
}

void WalkMatches()
{
    SText text;
    SText pattern;
    for (u32 round = 0; round < 20000; ++round)
    {
        text.SetRandom("ab", 12);
        pattern.SetRandom("ab*?", 7);
        const CString string = text.ToString();
        const bool expected = MatchesByHand(pattern.m_Text, text.m_Text);
        QV_TEST_CHECK(string.Match(pattern.m_Text) == expected);
        QV_TEST_CHECK(string.MatchWithInhibitors(pattern.m_Text) == expected);
        const CBareText bare(text);
        const CBareText barePattern(pattern);
        QV_TEST_CHECK(bare.View().Match(pattern.m_Text) == expected);
        QV_TEST_CHECK(bare.View().Match(barePattern.View()) == expected);
        QV_TEST_CHECK(bare.View().MatchWithInhibitors(barePattern.View(), CaseInsensitive) == expected);
        if (pattern.m_Length == 0)
            continue;
        QV_TEST_CHECK(string.Uppercase().Match(pattern.ToString(), CaseInsensitive) == expected);
        QV_TEST_CHECK(string.Uppercase().MatchWithInhibitors(pattern.ToString(), CaseInsensitive) == expected);
    }
}

// The recurrence, one row of counters.
float WeighByHand(const SText &query, const SText &other)
{
    if (query.m_Length == 0 || other.m_Length == 0)
        return query.m_Length == other.m_Length ? 1.0f : 0.0f;
    const SText &rows = query.m_Length < other.m_Length ? query : other;
    const SText &columns = query.m_Length < other.m_Length ? other : query;
    u32 cell[kMaxText + 1];
    for (u32 j = 0; j <= columns.m_Length; ++j)
        cell[j] = j + 1;
    for (u32 i = 0; i < rows.m_Length; ++i)
    {
        u32 diagonal = cell[0];
        cell[0] = i + 1;
        for (u32 j = 0; j < columns.m_Length; ++j)
        {
            const u32 above = cell[j + 1];
            const u32 paired = diagonal - (columns.m_Text[j] == rows.m_Text[i] ? 1 : 0);
            cell[j + 1] = QVMin(QVMin(paired, cell[j]), above) + 1;
            diagonal = above;
        }
    }
    const u32 total = rows.m_Length + columns.m_Length;
    return static_cast<float>(total - cell[columns.m_Length] + 1) / static_cast<float>(total);
}

struct SFuzzyWalk
{
    SText m_Query;
    SText m_Texts[kListCount];
    CString m_Strings[kListCount];
    float m_Expected[kListCount];
    float m_Weights[kListCount];
    TArray<CString::SFuzzyMatchListElement> m_Ranked;
    TArray<u32> m_Positions;

    void Set(u32 maxQuery);
    void CheckRanking(float tolerance, u32 count);
    void Walk(u32 maxQuery);
};

void SFuzzyWalk::Set(u32 maxQuery)
{
    m_Query.SetRandom("abc", maxQuery);
    for (u32 i = 0; i < kListCount; ++i)
    {
        m_Texts[i].SetRandom("abc", i % 10 == 0 ? kMaxText : 40);
        m_Strings[i] = m_Texts[i].ToString();
        m_Expected[i] = WeighByHand(m_Query, m_Texts[i]);
    }
}

// What the output must be, whatever the order of equals: `count` entries that are there once, none better left out.
void SFuzzyWalk::CheckRanking(float tolerance, u32 count)
{
    QV_TEST_CHECK(m_Ranked.Count() == count);
    bool seen[kListCount] = {};
    float last = 2.0f;
    for (const CString::SFuzzyMatchListElement &element : m_Ranked)
    {
        QV_TEST_CHECK(element.m_IndexInStringList < kListCount && !seen[element.m_IndexInStringList]);
        QV_TEST_CHECK(element.m_MatchWeight == m_Expected[element.m_IndexInStringList]);
        QV_TEST_CHECK(element.m_MatchWeight >= tolerance && element.m_MatchWeight <= last);
        seen[element.m_IndexInStringList] = true;
        last = element.m_MatchWeight;
    }
    for (u32 i = 0; i < kListCount && count != 0; ++i)
        QV_TEST_CHECK(seen[i] || m_Expected[i] < tolerance || m_Expected[i] <= last);
}

void SFuzzyWalk::Walk(u32 maxQuery)
{
    Set(maxQuery);
    const CString query = m_Query.ToString();
    const TStridedMemoryView<const CString> list(m_Strings, kListCount);
    query.FuzzyMatchList(list, TMemoryView<float>(m_Weights));
    for (u32 i = 0; i < kListCount; ++i)
    {
        QV_TEST_CHECK(m_Weights[i] == m_Expected[i]);
        QV_TEST_CHECK(query.FuzzyMatch(m_Strings[i]) == m_Expected[i]);
        QV_TEST_CHECK(CBareText(m_Query).View().FuzzyMatch(CBareText(m_Texts[i]).View()) == m_Expected[i]);
    }
    // Stored, since some processors compute in wider registers.
    const volatile float tolerance = static_cast<float>(g_Random.Next(10)) / 10.0f;
    u32 kept = 0;
    for (const float weight : m_Expected)
        kept += weight >= tolerance ? 1 : 0;
    query.FuzzyMatchList_Ordered(list, m_Ranked, tolerance);
    CheckRanking(tolerance, kept);
    const u32 maxCount = g_Random.Next(kListCount + 10);
    QV_TEST_CHECK(query.FuzzyMatchList_Top(list, m_Ranked, tolerance, maxCount));
    CheckRanking(tolerance, QVMin(kept, maxCount));
    for (u32 i = 0; i < 10; ++i)
    {
        QV_TEST_CHECK(query.FuzzyMatchPositions(m_Strings[i], m_Positions));
        for (u32 k = 0; k < m_Positions.Count(); ++k)
        {
            QV_TEST_CHECK(m_Positions[k] < m_Query.m_Length && (k == 0 || m_Positions[k - 1] < m_Positions[k]));
            QV_TEST_CHECK(std::memchr(m_Texts[i].m_Text, m_Query.m_Text[m_Positions[k]], m_Texts[i].m_Length) !=
                          nullptr);
        }
    }
}

void WalkFuzzyMatches()
{
    static SFuzzyWalk walk;
    for (const u32 maxQuery : {0u, 4u, 16u, 32u, 64u, 130u, kMaxText})
        for (u32 round = 0; round < 8; ++round)
            walk.Walk(maxQuery);
    for (CString &string : walk.m_Strings)
        string = CString();
    walk.m_Ranked = TArray<CString::SFuzzyMatchListElement>();
    walk.m_Positions = TArray<u32>();
}

// Bad input: a report where the contract promises one, and no damage.
void WalkBadInput()
{
    const CString text("abc");
    QV_TEST_CHECK(text.Extract(3, 3).Data() == nullptr);
    QV_TEST_CHECK(text.Extract(2, 1).Data() == nullptr);
    QV_TEST_CHECK(CString::Extract(nullptr, 0, 1).Data() == nullptr);
    QV_TEST_CHECK(!text.Match(static_cast<const char *>(nullptr)));
    TArray<CString> out;
    out.PushBack(text);
    CStringBatchSplitter splitter;
    splitter.Split(CString(), out);
    QV_TEST_CHECK(out.Empty());
    splitter.RemoveSplitChar('\0');
    splitter.Split(text, out);
    QV_TEST_CHECK(out.Count() == 1 && Is(out[0], "abc", 3));
    float weights[2] = {-1.0f, -1.0f};
    text.FuzzyMatchList(TStridedMemoryView<const CString>(&text, 1), TMemoryView<float>(weights));
    QV_TEST_CHECK(weights[0] == 1.0f && weights[1] == -1.0f);
    QV_TEST_CHECK(TakeReports() == 7 * kFromSites);
}

} // namespace

int main()
{
    const Assert::FHandler handler = Assert::SetHandler(&RecordReport);
    WalkSearches();
    WalkTextSearches();
    WalkSplits();
    WalkPieces();
    WalkMatches();
    WalkFuzzyMatches();
    WalkBadInput();
    QV_TEST_CHECK(TakeReports() == 0);
    Assert::SetHandler(handler);
    return ExitCode();
}
