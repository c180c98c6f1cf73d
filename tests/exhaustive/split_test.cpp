// Every short text cut at every short separator, and at every character and set of them.
#include <array>
#include <string>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "exhaustive.h"
#include "kr_string.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

constexpr size_t kLongest = 5;
static_assert(CountTexts(4, kLongest) * CountTexts(4, kLongest) == 1863225, "the domain that is promised");

const std::string kLetters("a,\xE9\0", 4);

// Pieces of a text: where each begins, and where it ends.
class CRanges
{
public:
    struct SRange
    {
        size_t m_Begin;
        size_t m_End;
    };

    void Add(size_t begin, size_t end) { m_Ranges[m_Count++] = {begin, end}; }
    void MakeFewer(size_t count) { m_Count = count; }
    size_t Count() const { return m_Count; }
    SRange &operator[](size_t index) { return m_Ranges[index]; }
    const SRange &operator[](size_t index) const { return m_Ranges[index]; }

private:
    std::array<SRange, 16> m_Ranges;
    size_t m_Count = 0;
};

// Both of the range of pieces, which is asked for them one by one, and of an array of them.
template <typename Pieces>
bool ArePieces(const Pieces &pieces, const std::string &text, const CRanges &expected)
{
    size_t index = 0;
    for (const auto &piece : pieces)
    {
        if (index == expected.Count())
            return false;
        const CRanges::SRange &range = expected[index];
        const size_t length = range.m_End - range.m_Begin;
        if (piece.Length() != length ||
            text.compare(range.m_Begin, length, piece.Data() != nullptr ? piece.Data() : "", length) != 0)
            return false;
        ++index;
    }
    return index == expected.Count();
}

// ---- Pieces one at a time -------------------------------------------------------------------------------------------

struct SHow
{
    bool m_WithEmpty;
    bool m_FromEnd;
    u32 m_AtMost;
};

constexpr u32 kAll = 0xFFFFFFFFu;
constexpr SHow kHows[] = {{false, false, kAll}, {true, false, kAll}, {false, true, kAll}, {true, true, kAll},
                          {false, false, 2},    {true, false, 2},    {false, true, 2},    {true, true, 2}};

// All pieces between the places where `isSeparator(at)` says that a separator of `length` characters begins, found from the
// one end or the other without overlap, in the order of that direction.
template <typename IsSeparator>
CRanges CutRanges(size_t size, size_t length, bool fromEnd, const IsSeparator &isSeparator)
{
    CRanges ranges;
    size_t begin = 0;
    for (size_t at = 0; !fromEnd && length != 0 && at + length <= size;)
    {
        const bool found = isSeparator(at);
        if (found)
            ranges.Add(begin, at);
        at += found ? length : 1;
        begin = found ? at : begin;
    }
    size_t end = size;
    for (size_t at = size; fromEnd && length != 0 && at >= length;)
    {
        const bool found = isSeparator(at - length);
        if (found)
            ranges.Add(at, end);
        at -= found ? length : 1;
        end = found ? at : end;
    }
    ranges.Add(begin, end);
    return ranges;
}

CRanges WithoutEmpty(const CRanges &all)
{
    CRanges kept;
    for (size_t i = 0; i < all.Count(); ++i)
        if (all[i].m_Begin != all[i].m_End)
            kept.Add(all[i].m_Begin, all[i].m_End);
    return kept;
}

// No more pieces than so many, at least one: the last of so many is all that is left.
CRanges AtMost(CRanges ranges, size_t size, u32 most, bool fromEnd)
{
    if (ranges.Count() < most)
        return ranges;
    ranges.MakeFewer(most);
    CRanges::SRange &last = ranges[most - 1];
    (fromEnd ? last.m_Begin : last.m_End) = fromEnd ? 0 : size;
    return ranges;
}

// Cuts as asked, which is another type for each way.
template <typename Pieces, typename See>
bool SeePieces(const Pieces &pieces, const SHow &how, const See &see)
{
    const Pieces kept = how.m_WithEmpty ? pieces.WithEmpty() : pieces.WithoutEmpty();
    const Pieces most = how.m_AtMost == kAll ? kept : kept.AtMost(how.m_AtMost);
    return how.m_FromEnd ? see(most.FromEnd()) : see(most);
}

template <typename Pieces, typename IsSeparator>
Wrong WrongPieces(const SEveryText &text, const Pieces &pieces, size_t length, const IsSeparator &isSeparator)
{
    const size_t size = text.m_Text.size();
    const CRanges all[] = {CutRanges(size, length, false, isSeparator), CutRanges(size, length, true, isSeparator)};
    for (const SHow &how : kHows)
    {
        const CRanges &cut = all[how.m_FromEnd ? 1 : 0];
        const CRanges kept = how.m_WithEmpty ? cut : WithoutEmpty(cut);
        const CRanges expected = how.m_AtMost == kAll ? kept : AtMost(kept, size, how.m_AtMost, how.m_FromEnd);
        const auto areExpected = [&](const auto &asked) { return ArePieces(asked, text.m_Text, expected); };
        QV_TEST_SAME(SeePieces(pieces, how, areExpected), true);
    }
    return nullptr;
}

TEST(SplitExhaustive, EveryTextIsCutAtEveryTextAsAskedFromBothEnds)
{
    const CDomain domain(kLetters, Longest(kLongest));
    ForEveryPair(domain, domain,
                 [](const SEveryText &text, const SEveryText &separator)
                 {
                     const size_t length = separator.m_Text.size();
                     const auto isSeparator = [&](size_t at)
                     { return text.m_Text.compare(at, length, separator.m_Text) == 0; };
                     return WrongPieces(text, Pieces(text.View(), separator.View()), length, isSeparator);
                 });
}

TEST(SplitExhaustive, EveryTextIsCutAtEverySetAsAskedFromBothEnds)
{
    // Each set of the letters is the set of some text of that length.
    ForEveryPair(CDomain(kLetters, Longest(kLongest)), CDomain(kLetters, kLetters.size()),
                 [](const SEveryText &text, const SEveryText &set)
                 {
                     const auto isSeparator = [&](size_t at)
                     { return set.m_Text.find(text.m_Text[at]) != std::string::npos; };
                     return WrongPieces(text, PiecesOfSet(text.View(), set.View()), 1, isSeparator);
                 });
}

// The last line needs no end; behind an end there is none. A carriage return in front of an end belongs to it.
CRanges LineRanges(const std::string &text, bool fromEnd)
{
    CRanges lines = CutRanges(text.size(), 1, false, [&](size_t at) { return text[at] == '\n'; });
    for (size_t i = 0; i + 1 < lines.Count(); ++i)
        if (lines[i].m_End > lines[i].m_Begin && text[lines[i].m_End - 1] == '\r')
            --lines[i].m_End;
    const CRanges::SRange last = lines[lines.Count() - 1];
    if (last.m_Begin == last.m_End)
        lines.MakeFewer(lines.Count() - 1);
    CRanges ordered;
    for (size_t i = 0; i < lines.Count(); ++i)
    {
        const CRanges::SRange &line = lines[fromEnd ? lines.Count() - 1 - i : i];
        ordered.Add(line.m_Begin, line.m_End);
    }
    return ordered;
}

Wrong WrongLines(const SEveryText &text)
{
    const auto pieces = Lines(text.View());
    for (const SHow &how : kHows)
    {
        const CRanges all = LineRanges(text.m_Text, how.m_FromEnd);
        const CRanges kept = how.m_WithEmpty ? all : WithoutEmpty(all);
        const CRanges expected =
            how.m_AtMost == kAll ? kept : AtMost(kept, text.m_Text.size(), how.m_AtMost, how.m_FromEnd);
        const auto areExpected = [&](const auto &asked) { return ArePieces(asked, text.m_Text, expected); };
        QV_TEST_SAME(SeePieces(pieces, how, areExpected), true);
    }
    return nullptr;
}

TEST(SplitExhaustive, EveryTextHasItsLinesAsAskedFromBothEnds)
{
    ForEveryText(CDomain("a\r\n", Longest(9)), WrongLines);
}

TEST(SplitExhaustive, EveryLongerTextIsCutAtACharacterAndAtATextAsAskedFromBothEnds)
{
    ForEveryText(CDomain("a,b", Longest(8)),
                 [](const SEveryText &text)
                 {
                     const auto isComma = [&](size_t at) { return text.m_Text[at] == ','; };
                     const auto isTwo = [&](size_t at) { return text.m_Text.compare(at, 2, ",,") == 0; };
                     const Wrong wrong = WrongPieces(text, Pieces(text.View(), ','), 1, isComma);
                     return wrong != nullptr ? wrong : WrongPieces(text, Pieces(text.View(), ",,"), 2, isTwo);
                 });
}

// ---- Arrays of pieces -----------------------------------------------------------------------------------------------

// The runs between separators. A string that begins with a terminator is empty, a view is not.
template <typename IsSeparator>
CRanges Runs(const std::string &text, bool isString, const IsSeparator &isSeparator)
{
    const auto at = [&](size_t index) { return isSeparator(text[index]); };
    const bool isEmpty = isString && (text.empty() || text[0] == '\0');
    return isEmpty ? CRanges() : WithoutEmpty(CutRanges(text.size(), 1, false, at));
}

// What stands in front of each separator, and behind the last one if there is anything, up to the first terminator.
template <typename IsSeparator>
CRanges Fields(const std::string &text, const IsSeparator &isSeparator)
{
    const std::string seen = ModelToTerminator(text);
    const auto at = [&](size_t index) { return isSeparator(seen[index]); };
    CRanges fields = CutRanges(seen.size(), 1, false, at);
    const CRanges::SRange &last = fields[fields.Count() - 1];
    if (last.m_Begin == last.m_End)
        fields.MakeFewer(fields.Count() - 1);
    return fields;
}

// The arrays are used again, as programs do.
class CSplits
{
public:
    Wrong WrongAtCharacter(const SEveryText &text, char separator)
    {
        const auto isSeparator = [separator](char character) { return character == separator; };
        const CRanges ofString = Runs(text.m_Text, true, isSeparator);
        const CRanges ofView = Runs(text.m_Text, false, isSeparator);
        const CString &string = text.m_String;
        QV_TEST_SAME(string.Split(separator, m_Views) && ArePieces(m_Views, text.m_Text, ofString), true);
        QV_TEST_SAME(string.Split(separator, m_Strings) && ArePieces(m_Strings, text.m_Text, ofString), true);
        QV_TEST_SAME(string.Split_ThreadSafe(separator, m_Views) && ArePieces(m_Views, text.m_Text, ofString), true);
        QV_TEST_SAME(string.Split_ThreadSafe(separator, m_Strings) && ArePieces(m_Strings, text.m_Text, ofString),
                     true);
        QV_TEST_SAME(text.View().Split(separator, m_Views) && ArePieces(m_Views, text.m_Text, ofView), true);
        return WrongPieces(text, Pieces(text.View(), separator), 1,
                           [&](size_t at) { return text.m_Text[at] == separator; });
    }

    Wrong WrongAtSet(const SEveryText &text, const std::string &set)
    {
        const auto isSeparator = [&set](char character) { return set.find(character) != std::string::npos; };
        const CRanges ofString = Runs(text.m_Text, true, isSeparator);
        m_Views.Clear();
        m_Strings.Clear();
        QV_TEST_SAME(text.m_String.Split(isSeparator, m_Views) && ArePieces(m_Views, text.m_Text, ofString), true);
        QV_TEST_SAME(text.m_String.Split(isSeparator, m_Strings) && ArePieces(m_Strings, text.m_Text, ofString), true);
        m_Views.Clear();
        QV_TEST_SAME(text.View().Split(isSeparator, m_Views) &&
                         ArePieces(m_Views, text.m_Text, Runs(text.m_Text, false, isSeparator)),
                     true);
        CStringBatchSplitter splitter;
        splitter.AddSplitChars(CString(set.c_str()));
        splitter.Split(text.m_String, m_Strings);
        QV_TEST_SAME(ArePieces(m_Strings, text.m_Text, Fields(text.m_Text, isSeparator)), true);
        return nullptr;
    }

private:
    TArray<CStringView> m_Views;
    TArray<CString> m_Strings;
};

TEST(SplitExhaustive, EveryTextSplitsIntoArraysAtEveryCharacterAndSet)
{
    // Strings of pieces with terminators in them are reported.
    const CAssertRecorder recorder;
    CSplits splits;
    ForEveryText(CDomain(kLetters, Longest(6)),
                 [&](const SEveryText &text)
                 {
                     for (const char separator : {'a', ',', '\xE9', '\0', 'x'})
                     {
                         const Wrong wrong = splits.WrongAtCharacter(text, separator);
                         if (wrong != nullptr)
                             return wrong;
                     }
                     for (const char *set : {"", "a", ",", "\xE9", "a,", "a\xE9", ",\xE9", "a,\xE9"})
                     {
                         const Wrong wrong = splits.WrongAtSet(text, set);
                         if (wrong != nullptr)
                             return wrong;
                     }
                     return Wrong(nullptr);
                 });
}

} // namespace
