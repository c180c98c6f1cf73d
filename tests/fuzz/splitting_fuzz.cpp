// Splitting by a character, a predicate and a configured set; pieces one at a time; extraction and search.
#include <vector>

#include "edit_model.h"
#include "fuzz_support.h"
#include "search_model.h"
#include "split_model.h"

namespace
{

using namespace QuorvaneFuzz;
using namespace QuorvaneTest;

typedef std::vector<std::string> Pieces;

bool IsEmpty(const std::string &text)
{
    return text.empty() || text[0] == '\0';
}

// The runs between separators, none of them empty.
template <typename Predicate>
Pieces ModelSplit(const std::string &text, const Predicate &isSeparator)
{
    Pieces pieces;
    std::string piece;
    for (std::size_t i = 0; i <= text.size() && !IsEmpty(text); ++i)
    {
        const bool ends = i == text.size() || isSeparator(text[i]);
        if (!ends)
            piece += text[i];
        else if (!piece.empty())
            pieces.push_back(std::exchange(piece, std::string()));
    }
    return pieces;
}

// Pieces may be empty, but there is none behind the last separator. The text ends at its terminator.
Pieces ModelBatchSplit(const std::string &text, const std::string &set)
{
    Pieces pieces;
    bool begins = true;
    for (const char character : ModelToTerminator(text))
    {
        if (begins)
            pieces.emplace_back();
        begins = set.find(character) != std::string::npos;
        if (!begins)
            pieces.back() += character;
    }
    return pieces;
}

// All pieces; or, after refused memory, the first ones, of which any may be empty. `kept` stood there before.
template <typename Piece>
void CheckPieces(const TArray<Piece> &pieces, const Pieces &expected, bool refused, u32 kept = 0)
{
    QV_FUZZ_CHECK(pieces.Count() >= kept);
    const u32 count = pieces.Count() - kept;
    QV_FUZZ_CHECK(refused ? count <= expected.size() : count == expected.size());
    for (u32 i = 0; i < count; ++i)
    {
        const std::string piece = TextOf(pieces[kept + i]);
        QV_FUZZ_CHECK(piece == expected[i] || (refused && piece.empty()));
    }
}

void CheckWellFormed(const TArray<CString> &pieces)
{
    for (const CString &piece : pieces)
        QV_FUZZ_CHECK(IsWellFormed(piece));
}

class CSplitting
{
public:
    CSplitting(CInput &input, CWatch &watch) : m_Input(input), m_Watch(watch)
    {
        const u32 capacity = input.Byte();
        m_Text = input.Text();
        m_String = NewString(m_Text, capacity);
        m_Usable = !watch.HasRefused();
    }

    void Run()
    {
        if (m_Usable)
            TakeSteps(m_Input, 8, [this] { _Step(); });
    }

private:
    void _Step()
    {
        switch (m_Input.Below(7))
        {
        case 0:
            return _SplitByCharacter();
        case 1:
            return _SplitByPredicate();
        case 2:
            return _SplitInBatch();
        case 3:
            return _Extract();
        case 4:
            return _Find();
        case 5:
            return _FindOneOfASet();
        default:
            return _CutLazily();
        }
    }

    void _SplitByCharacter()
    {
        const char separator = static_cast<char>(m_Input.Byte());
        const bool safe = m_Input.Flag();
        const Pieces expected = ModelSplit(m_Text, [&](char c) { return c == separator; });

        m_Watch.BeginStep();
        TArray<CStringView> views;
        const bool allViews = safe ? m_String.Split_ThreadSafe(separator, views) : m_String.Split(separator, views);
        QV_FUZZ_CHECK(allViews == !m_Watch.HasRefused());
        CheckPieces(views, expected, m_Watch.HasRefused());

        m_Watch.BeginStep();
        const bool allStrings =
            safe ? m_String.Split_ThreadSafe(separator, m_Pieces) : m_String.Split(separator, m_Pieces);
        QV_FUZZ_CHECK(allStrings || m_Watch.HasRefused());
        QV_FUZZ_CHECK(!allStrings || m_Pieces.Count() == expected.size());
        CheckPieces(m_Pieces, expected, m_Watch.HasRefused());
        _CheckStep();
        _SplitAnOwnPiece(separator);
        _SplitView([&](const CStringView &view, TArray<CStringView> &out) { return view.Split(separator, out); },
                   [&](char c) { return c == separator; });
    }

    // By length: a terminator in front is a character like others.
    template <typename Split, typename IsSeparator>
    void _SplitView(const Split &split, const IsSeparator &isSeparator)
    {
        const CExactText text(m_Text, false);
        // The model takes a text that begins with a terminator for empty, unless something stands in front of it.
        char guard = '\1';
        while (isSeparator(guard))
            ++guard;
        Pieces expected = ModelSplit(guard + m_Text, isSeparator);
        expected.front().erase(0, 1);
        if (expected.front().empty())
            expected.erase(expected.begin());
        TArray<CStringView> views;
        m_Watch.BeginStep();
        const bool all = split(text.View(), views);
        QV_FUZZ_CHECK(all == !m_Watch.HasRefused());
        CheckPieces(views, expected, m_Watch.HasRefused());
        QV_FUZZ_CHECK(!m_Watch.HasReported() || m_Watch.HasRefused());
        for (const CStringView &view : views)
            QV_FUZZ_CHECK(view.Data() >= text.Data() && view.Data() + view.Length() <= text.Data() + text.Length());
    }

    // The source is an element of the output.
    void _SplitAnOwnPiece(char separator)
    {
        if (m_Pieces.Empty())
            return;
        const u32 index = m_Input.Below(m_Pieces.Count());
        const std::string text = TextOf(m_Pieces[index]);
        m_Watch.BeginStep();
        static_cast<void>(m_Pieces[index].Split(separator, m_Pieces)); // what is missing is seen below
        CheckPieces(m_Pieces, ModelSplit(text, [&](char c) { return c == separator; }), m_Watch.HasRefused());
        _CheckStep();
    }

    void _SplitByPredicate()
    {
        const std::string set = m_Input.Text();
        const auto isSeparator = [&](char c) { return set.find(c) != std::string::npos; };
        const u32 kept = m_Pieces.Count();
        m_Watch.BeginStep();
        const bool all = m_String.Split(isSeparator, m_Pieces);
        QV_FUZZ_CHECK(all || m_Watch.HasRefused());
        CheckPieces(m_Pieces, ModelSplit(m_Text, isSeparator), m_Watch.HasRefused(), kept);
        _CheckStep();
        m_Pieces.Clear();
        m_Watch.BeginStep();
        TArray<CStringView> views;
        QV_FUZZ_CHECK(m_String.Split(isSeparator, views) == !m_Watch.HasRefused());
        CheckPieces(views, ModelSplit(m_Text, isSeparator), m_Watch.HasRefused());
        if (set.size() < 200)
            _SplitView([&](const CStringView &view, TArray<CStringView> &out) { return view.Split(isSeparator, out); },
                       isSeparator);
    }

    void _SplitInBatch()
    {
        const std::string added = m_Input.PlainText();
        const std::string removed = m_Input.PlainText();
        CStringBatchSplitter splitter;
        // One half one by one, the other one as a list.
        for (const char character : added.substr(0, added.size() / 2))
            splitter.AddSplitChar(character);
        splitter.AddSplitChars(added.c_str() + added.size() / 2);
        for (const char character : removed.substr(0, removed.size() / 2))
            splitter.RemoveSplitChar(character);
        splitter.RemoveSplitChars(removed.c_str() + removed.size() / 2);
        std::string set;
        for (const char character : added)
            if (removed.find(character) == std::string::npos)
                set += character;

        m_Watch.BeginStep();
        if (m_String.Data() != nullptr)
            splitter.Split(m_String, m_Pieces);
        else
            m_Pieces.Clear();
        // A lost piece does not end the splitting.
        if (!m_Watch.HasRefused())
            CheckPieces(m_Pieces, ModelBatchSplit(m_Text, set), false);
        _CheckStep();
    }

    void _Extract()
    {
        const u32 first = m_Input.Below(LengthOf(m_Text) + 2);
        const u32 last = m_Input.Below(LengthOf(m_Text) + 2);
        const bool isRange = first < m_Text.size() && last <= m_Text.size() && first < last;
        const std::string expected = isRange ? m_Text.substr(first, last - first) : std::string();

        m_Watch.BeginStep();
        const CString extracted = m_String.Extract(first, last);
        QV_FUZZ_CHECK(IsWellFormed(extracted));
        QV_FUZZ_CHECK(TextOf(extracted) == (m_Watch.HasRefused() ? std::string() : expected));
        if (!isRange)
            return;
        // A buffer that ends where the range does.
        const CExactText buffer(m_Text.substr(0, last), false);
        m_Watch.BeginStep();
        const CString fromBuffer = CString::Extract(buffer.Data(), first, last);
        QV_FUZZ_CHECK(TextOf(fromBuffer) == (m_Watch.HasRefused() ? std::string() : expected));
        QV_FUZZ_CHECK(m_Watch.HasReported() == HoldsTerminator(buffer.Text()));
    }

    static CGuid _Found(std::size_t index)
    {
        return index != std::string::npos ? CGuid(static_cast<u32>(index)) : CGuid::INVALID;
    }

    void _Find()
    {
        const u32 start = m_Input.Below(LengthOf(m_Text) + 2);
        const char character = static_cast<char>(m_Input.Byte());
        const CExactText needle(m_Input.PlainText());
        const CExactText text(m_Text, false);
        m_Watch.BeginStep();
        QV_FUZZ_CHECK(m_String.FindNextOf(character, start) == _Found(m_Text.find(character, start)));
        QV_FUZZ_CHECK(m_String.FindFirstOf(character) == _Found(m_Text.find(character)));
        QV_FUZZ_CHECK(m_String.FindLastOf(character) == _Found(m_Text.rfind(character)));
        QV_FUZZ_CHECK(text.View().FindNextOf(character, start) == _Found(m_Text.find(character, start)));
        QV_FUZZ_CHECK(text.View().FindLastOf(character) == _Found(m_Text.rfind(character)));

        CGuid expected = CGuid::INVALID;
        if (start < m_Text.size())
        {
            const std::string searched = ModelToTerminator(m_Text.substr(start));
            const std::size_t at = SearchModelFind(searched, needle.Text(), false);
            expected = _Found(at != std::string::npos ? at + start : at);
        }
        QV_FUZZ_CHECK(m_String.FindNextOf(needle.Data(), start) == expected);
        QV_FUZZ_CHECK(!m_Watch.HasAllocated() && !m_Watch.HasReported());
    }

    void _FindOneOfASet()
    {
        const u32 start = m_Input.Below(LengthOf(m_Text) + 2);
        const CExactText set(m_Input.PlainText());
        const CExactText text(m_Text, false);
        m_Watch.BeginStep();
        QV_FUZZ_CHECK(text.View().FindNextOf(set.Data(), start) == _Found(m_Text.find_first_of(set.Text(), start)));
        const bool isBlank = ModelToTerminator(m_Text).find_first_not_of(set.Text()) == std::string::npos;
        QV_FUZZ_CHECK(m_String.Empty(set.Data()) == isBlank);
        const bool isBlankView = m_Text.find_first_not_of(set.Text()) == std::string::npos;
        QV_FUZZ_CHECK(text.View().Empty(set.Data()) == isBlankView);
        QV_FUZZ_CHECK(!m_Watch.HasAllocated() && !m_Watch.HasReported());
    }

    // Pieces one at a time, of the string and of a view that ends where its characters do.
    void _CutLazily()
    {
        const u8 options = m_Input.Byte();
        SLazySplit split;
        split.m_Cut = static_cast<ECut>(options & 3);
        split.m_WithEmpty = (options & 4) != 0;
        split.m_FromEnd = (options & 8) != 0;
        split.m_AtMost = (options & 16) != 0 ? m_Input.Below(5) : std::string::npos;
        const CExactText separator(m_Input.Text(), false);
        split.m_Separator = separator.Text();
        if (split.m_Cut == Cut_Character)
            split.m_Separator.resize(1, ',');
        const CExactText text(m_Text, false);
        m_Watch.BeginStep();
        _CheckLazily(text.View(), separator.View(), split);
        _CheckLazily(m_String, separator.View(), split);
        QV_FUZZ_CHECK(!m_Watch.HasAllocated() && !m_Watch.HasReported());
    }

    template <typename Text>
    void _CheckLazily(const Text &text, const CStringView &separator, const SLazySplit &split)
    {
        switch (split.m_Cut)
        {
        case Cut_Character:
            return _CheckRange(Quorvane::Pieces(text, split.m_Separator[0]), split);
        case Cut_Text:
            return _CheckRange(Quorvane::Pieces(text, separator), split);
        case Cut_Set:
            return _CheckRange(PiecesOfSet(text, separator), split);
        default:
            return _CheckRange(Lines(text), split);
        }
    }

    template <typename Range>
    void _CheckRange(Range range, const SLazySplit &split)
    {
        range = split.m_WithEmpty ? std::move(range).WithEmpty() : std::move(range).WithoutEmpty();
        if (split.m_AtMost != std::string::npos)
            range = std::move(range).AtMost(static_cast<u32>(split.m_AtMost));
        if (split.m_FromEnd)
            _CheckWalk(range.FromEnd(), split);
        else
            _CheckWalk(range, split);
    }

    template <typename Range>
    void _CheckWalk(const Range &range, const SLazySplit &split)
    {
        auto piece = range.begin();
        for (const std::string &expected : SplitModelLazily(m_Text, split))
        {
            QV_FUZZ_CHECK(piece != range.end());
            QV_FUZZ_CHECK(TextOf(*piece) == expected);
            ++piece;
        }
        QV_FUZZ_CHECK(piece == range.end());
    }

    // A piece that holds a terminator is built and reported.
    void _CheckStep()
    {
        CheckWellFormed(m_Pieces);
        QV_FUZZ_CHECK(!m_Watch.HasReported() || m_Watch.HasRefused() || HoldsTerminator(m_Text));
        QV_FUZZ_CHECK(TextOf(m_String) == m_Text);
    }

    CInput &m_Input;
    CWatch &m_Watch;
    std::string m_Text;
    CString m_String;
    TArray<CString> m_Pieces;
    bool m_Usable;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    input.ChooseLetters(std::string("ab,;\0", 5));
    CSplitting(input, watch).Run();
    return 0;
}
