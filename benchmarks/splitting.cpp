// Cutting a text into pieces: by a character, by a set of characters, by a predicate; into views and into strings, or one at
// a time. The text is 1 MiB of headers, without empty lines where empty pieces would make a difference, or of words.
#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>

#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

constexpr size_t kSize = 1048576;
const char kSet[] = " \t\n,;()";

const auto IsSeparator = [](char c)
{ return c == ' ' || c == '\t' || c == '\n' || c == ',' || c == ';' || c == '(' || c == ')'; };

// Text of the given size without two line feeds in a row, or one at either end.
std::string Lines(size_t size)
{
    std::string text = HeaderText(2 * size);
    text.erase(std::unique(text.begin(), text.end(), [](char a, char b) { return a == '\n' && b == '\n'; }),
               text.end());
    text.resize(size);
    text.front() = text.back() = 'x';
    return text;
}

// The standard library's way: `find` gives the end of the piece that starts at an index.
template <typename Piece, typename Find>
std::vector<Piece> SplitWith(const std::string &text, bool keepsEmpty, Find find)
{
    std::vector<Piece> pieces;
    for (size_t from = 0; from <= text.size();)
    {
        const size_t end = std::min(find(from), text.size());
        if (keepsEmpty || end != from)
            pieces.emplace_back(text.data() + from, end - from);
        from = end + 1;
    }
    return pieces;
}

template <typename Piece>
std::vector<Piece> SplitAtCharacter(const std::string &text)
{
    return SplitWith<Piece>(text, false, [&text](size_t from) { return text.find('\n', from); });
}

std::vector<std::string> SplitAtSet(const std::string &text)
{
    return SplitWith<std::string>(text, true, [&text](size_t from) { return text.find_first_of(kSet, from); });
}

template <typename Piece>
std::vector<Piece> SplitAtPredicate(const std::string &text, bool keepsEmpty)
{
    const auto find = [&text](size_t from)
    { return std::find_if(text.data() + from, text.data() + text.size(), IsSeparator) - text.data(); };
    return SplitWith<Piece>(text, keepsEmpty, [&find](size_t from) { return static_cast<size_t>(find(from)); });
}

// A separator is one to a table, as people write it who know that a set has few characters.
std::vector<std::string> SplitAtTable(const std::string &text)
{
    static const std::array<bool, 256> isSeparator = []
    {
        std::array<bool, 256> table = {};
        for (size_t c = 0; c < table.size(); ++c)
            table[c] = IsSeparator(static_cast<char>(c));
        return table;
    }();
    return SplitWith<std::string>(text, true,
                                  [&text](size_t from)
                                  {
                                      while (from < text.size() && !isSeparator[static_cast<unsigned char>(text[from])])
                                          ++from;
                                      return from;
                                  });
}

std::vector<size_t> Sizes(const std::vector<std::string> &pieces)
{
    std::vector<size_t> sizes;
    for (const std::string &piece : pieces)
        sizes.push_back(piece.size());
    return sizes;
}

// What a loop over pieces does with them: their number and their lengths, in order.
class CSum
{
public:
    void Add(size_t length) { m_Sum = m_Sum * 3 + length + 1; }
    uint64_t Get() const { return m_Sum; }

private:
    uint64_t m_Sum = 0;
};

template <typename Range>
uint64_t SumOf(const Range &pieces)
{
    CSum sum;
    for (const auto &piece : pieces)
        sum.Add(static_cast<size_t>(piece.end() - piece.begin()));
    return sum.Get();
}

template <typename Range>
uint64_t SumOfOurs(const Range &pieces)
{
    CSum sum;
    for (const CStringView &piece : pieces)
        sum.Add(piece.Length());
    return sum.Get();
}

// The standard library's way: `find` gives the end of the piece that starts at an index.
template <typename Find>
uint64_t SumWith(const std::string &text, size_t separatorLength, Find find)
{
    CSum sum;
    for (size_t from = 0; from <= text.size();)
    {
        const size_t end = std::min(find(from), text.size());
        if (end != from)
            sum.Add(end - from);
        from = end + separatorLength;
    }
    return sum.Get();
}

#if QV_BENCH_BOOST
template <typename Finder>
uint64_t SumOfBoost(const std::string &text, Finder finder)
{
    using CIterator = boost::split_iterator<std::string::const_iterator>;
    CSum sum;
    for (CIterator piece(text, finder); piece != CIterator(); ++piece)
        if (!piece->empty())
            sum.Add(static_cast<size_t>(piece->size()));
    return sum.Get();
}
#endif

// Pieces in a loop, none of which is kept: between the characters of lines and of words, between texts, at a set.
void AddPieces(const char *name, const std::string &text, char separator)
{
    CRow row(name, text.size());
    row.Add("ours", [ours = CString(text.c_str()), separator] { return SumOfOurs(Pieces(ours, separator)); });
    row.Add("memchr",
            [text, separator]
            {
                const auto find = [&](size_t from)
                {
                    const void *const end = std::memchr(text.data() + from, separator, text.size() - from);
                    return end != nullptr ? static_cast<size_t>(static_cast<const char *>(end) - text.data())
                                          : std::string::npos;
                };
                return SumWith(text, 1, find);
            });
    row.Add("std::string_view",
            [text, separator]
            {
                const std::string_view view(text);
                return SumWith(text, 1, [&](size_t from) { return view.find(separator, from); });
            });
#if QV_BENCH_ABSL
    row.Add("absl::StrSplit", [text, separator] { return SumOf(absl::StrSplit(text, separator, absl::SkipEmpty())); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::split_iterator", [text, separator]
            { return SumOfBoost(text, boost::token_finder([separator](char c) { return c == separator; })); });
#endif
    row.Limit("read", ReadLimit(text.size()));
}

void AddPiecesAtText(size_t size)
{
    const std::string text = Lines(size);
    const std::string separator = ", ";
    CRow row("pieces_text", size);
    row.Add("ours", [ours = CString(text.c_str()), separator] { return SumOfOurs(Pieces(ours, separator.c_str())); });
    row.Add("std::string_view",
            [text, separator]
            {
                const std::string_view view(text);
                return SumWith(text, separator.size(), [&](size_t from) { return view.find(separator, from); });
            });
#if QV_BENCH_ABSL
    row.Add("absl::StrSplit", [text, separator] { return SumOf(absl::StrSplit(text, separator, absl::SkipEmpty())); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::split_iterator", [text, separator] { return SumOfBoost(text, boost::first_finder(separator)); });
#endif
    row.Limit("read", ReadLimit(size));
}

void AddPiecesOfSet(size_t size)
{
    const std::string text = Lines(size);
    CRow row("pieces_set", size);
    row.Add("ours", [ours = CString(text.c_str())] { return SumOfOurs(PiecesOfSet(ours, kSet)); });
    row.Add("std::find_first_of",
            [text] { return SumWith(text, 1, [&](size_t from) { return text.find_first_of(kSet, from); }); });
    row.Add("std::find_if",
            [text]
            {
                const char *const end = text.data() + text.size();
                const auto find = [&](size_t from)
                { return static_cast<size_t>(std::find_if(text.data() + from, end, IsSeparator) - text.data()); };
                return SumWith(text, 1, find);
            });
#if QV_BENCH_ABSL
    row.Add("absl::StrSplit", [text] { return SumOf(absl::StrSplit(text, absl::ByAnyChar(kSet), absl::SkipEmpty())); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::split_iterator", [text] { return SumOfBoost(text, boost::token_finder(IsSeparator)); });
#endif
    row.Limit("read", ReadLimit(size));
}

void AddViews(size_t size)
{
    const std::string text = Lines(size);
    CRow row("split_char_views", size);
    row.Add("ours",
            [ours = CString(text.c_str())]
            {
                TArray<CStringView> pieces;
                static_cast<void>(ours.Split('\n', pieces));
                return pieces;
            });
    row.Add("std::string_view", [text] { return SplitAtCharacter<std::string_view>(text); });
#if QV_BENCH_ABSL
    row.Add("absl::StrSplit",
            [text] { return std::vector<absl::string_view>(absl::StrSplit(text, '\n', absl::SkipEmpty())); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::split",
            [text]
            {
                std::vector<boost::iterator_range<std::string::const_iterator>> ranges;
                boost::split(
                    ranges, text, [](char c) { return c == '\n'; }, boost::token_compress_on);
                std::vector<std::string_view> pieces;
                pieces.reserve(ranges.size());
                for (const auto &range : ranges)
                    pieces.emplace_back(&*range.begin(), range.size());
                return pieces;
            });
#endif
    row.Limit("read", ReadLimit(size));
}

// A view, which has no terminator and no room behind its end.
void AddViewsOfView(size_t size)
{
    const std::string text = Lines(size);
    CRow row("split_view", size);
    row.Add("ours",
            [text]
            {
                TArray<CStringView> pieces;
                static_cast<void>(CStringView(text.data(), static_cast<u32>(text.size())).Split('\n', pieces));
                return pieces;
            });
    row.Add("std::string_view", [text] { return SplitAtCharacter<std::string_view>(text); });
#if QV_BENCH_ABSL
    row.Add("absl::StrSplit",
            [text] { return std::vector<absl::string_view>(absl::StrSplit(text, '\n', absl::SkipEmpty())); });
#endif
    row.Limit("read", ReadLimit(size));
}

void AddStrings(size_t size)
{
    const std::string text = Lines(size);
    CRow row("split_char", size);
    row.Add("ours",
            [ours = CString(text.c_str())]
            {
                TArray<CString> pieces;
                static_cast<void>(ours.Split('\n', pieces));
                return pieces;
            });
    row.Add("std::string", [text] { return SplitAtCharacter<std::string>(text); });
#if QV_BENCH_ABSL
    row.Add("absl::StrSplit",
            [text] { return std::vector<std::string>(absl::StrSplit(text, '\n', absl::SkipEmpty())); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::split",
            [text]
            {
                std::vector<std::string> pieces;
                boost::split(
                    pieces, text, [](char c) { return c == '\n'; }, boost::token_compress_on);
                return pieces;
            });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", [bytes = QByteArray::fromStdString(text)] { return bytes.split('\n'); });
#endif
    row.Limit("malloc+copy", MallocAndCopyManyLimit(Sizes(SplitAtCharacter<std::string>(text))));
}

#if QV_BENCH_BOOST
void AddBoostPeersOfSet(CRow &row, const std::string &text)
{
    row.Add("boost::split",
            [text]
            {
                std::vector<std::string> pieces;
                boost::split(pieces, text, boost::is_any_of(kSet));
                return pieces;
            });
    row.Add("boost::tokenizer",
            [text]
            {
                const boost::char_separator<char> separator(kSet, "", boost::keep_empty_tokens);
                const boost::tokenizer<boost::char_separator<char>> tokens(text, separator);
                return std::vector<std::string>(tokens.begin(), tokens.end());
            });
}
#endif

#if QV_BENCH_RE2
void AddRe2ToSet(CRow &row, const std::string &text)
{
    row.Add("re2::FindAndConsume",
            [text, pattern = std::make_shared<re2::RE2>("([^ \\t\\n,;()]*)(?:[ \\t\\n,;()]|\\z)")]
            {
                std::vector<std::string> pieces;
                re2::StringPiece rest(text);
                std::string piece;
                while (!rest.empty() && re2::RE2::Consume(&rest, *pattern, &piece))
                    pieces.push_back(piece);
                return pieces;
            });
}
#endif

// Empty pieces are kept. The largest text is left to those that are quick.
void AddSet(size_t size)
{
    const std::string text = Lines(size);
    CStringBatchSplitter splitter;
    splitter.AddSplitChars(kSet);
    CRow row("split_set", size);
    row.Add("ours",
            [ours = CString(text.c_str()), splitter]() mutable
            {
                TArray<CString> pieces;
                splitter.Split(ours, pieces);
                return pieces;
            });
    row.Add("std::find_first_of", [text] { return SplitAtSet(text); });
    row.Add("std::find_if", [text] { return SplitAtPredicate<std::string>(text, true); });
    row.Add("table", [text] { return SplitAtTable(text); });
#if QV_BENCH_ABSL
    row.Add("absl::StrSplit", [text] { return std::vector<std::string>(absl::StrSplit(text, absl::ByAnyChar(kSet))); });
#endif
#if QV_BENCH_BOOST
    if (size <= kSize)
        AddBoostPeersOfSet(row, text);
#endif
#if QV_BENCH_RE2
    if (size <= kSize)
        AddRe2ToSet(row, text);
#endif
    row.Limit("malloc+copy", MallocAndCopyManyLimit(Sizes(SplitAtSet(text))));
}

// Empty pieces are dropped.
void AddPredicate(size_t size)
{
    const std::string text = Lines(size);
    CRow row("split_predicate", size);
    row.Add("ours",
            [ours = CString(text.c_str())]
            {
                TArray<CString> pieces;
                static_cast<void>(ours.Split(IsSeparator, pieces));
                return pieces;
            });
    row.Add("std::find_if", [text] { return SplitAtPredicate<std::string>(text, false); });
#if QV_BENCH_ABSL
    row.Add("absl::StrSplit", [text]
            { return std::vector<std::string>(absl::StrSplit(text, absl::ByAnyChar(kSet), absl::SkipEmpty())); });
#endif
#if QV_BENCH_BOOST
    row.Add("boost::split",
            [text]
            {
                std::vector<std::string> pieces;
                boost::split(pieces, text, IsSeparator, boost::token_compress_on);
                return pieces;
            });
    row.Add("boost::tokenizer",
            [text]
            {
                const boost::char_separator<char> separator(kSet);
                const boost::tokenizer<boost::char_separator<char>> tokens(text, separator);
                return std::vector<std::string>(tokens.begin(), tokens.end());
            });
#endif
    row.Limit("malloc+copy", MallocAndCopyManyLimit(Sizes(SplitAtPredicate<std::string>(text, false))));
}

// The same into views.
void AddPredicateViews(size_t size)
{
    const std::string text = Lines(size);
    CRow row("split_predicate_views", size);
    row.Add("ours",
            [ours = CString(text.c_str())]
            {
                TArray<CStringView> pieces;
                static_cast<void>(ours.Split(IsSeparator, pieces));
                return pieces;
            });
    row.Add("std::find_if", [text] { return SplitAtPredicate<std::string_view>(text, false); });
#if QV_BENCH_ABSL
    row.Add("absl::StrSplit", [text]
            { return std::vector<absl::string_view>(absl::StrSplit(text, absl::ByAnyChar(kSet), absl::SkipEmpty())); });
#endif
    row.Limit("read", ReadLimit(size));
}

} // namespace

void RegisterRows()
{
    AddViews(kSize);
    AddViewsOfView(kSize);
    AddStrings(kSize);
    for (const size_t size : {kSize / 10 + 1, kSize})
        AddSet(size);
    if (!Once())
        AddSet(10 * kSize);
    AddPredicate(kSize);
    AddPredicateViews(kSize);
    AddPieces("pieces_words", Words(kSize), ' ');
    AddPieces("pieces_lines", Lines(kSize), '\n');
    AddPiecesAtText(kSize);
    AddPiecesOfSet(kSize);
}

} // namespace Bench
