// Private header: the search for a substring in linear time and constant memory, whatever text and needle are.
//
// It is the two-way method of M. Crochemore and D. Perrin, "Two-way string-matching", Journal of the ACM 38 (1991),
// pages 651 to 675. The needle is cut at a critical position, where its local period is the needle's own period.
// Comparing the right part from left to right and only then the left part from right to left, a mismatch on the right
// at the d-th character behind the cut allows a shift by d, and one on the left a shift by the period. The period is
// known when the left part, which is no longer than it, stands in the needle once more one period later; otherwise it
// is long, and a lower bound serves as well.
//
// The paper remembers how much of the left part is known to match after a shift by the period. That is left out: the
// cost stays linear without it. A mismatch on the right costs what it shifts. One on the left costs up to the needle's
// length; either its shift is half of that, or the left part is sure to match after it, so that a mismatch on the right
// comes next, if any, and the two shifts together are as long.
//
// Case, the direction in which text and needle are read, and the counting of comparisons are policies, decided when the
// search is compiled. Reading both from behind finds the last occurrence as the first one. Only tests count.
#pragma once

#include <cstddef>

#include "buffer_text.h"

namespace Quorvane::Internal::Buffer
{

// The counting policy of the library; it compiles to nothing.
struct SComparisonsUncounted
{
    void Count() const {}
};

// A text as the search reads it: its first character is that of index 0. Forwards that is a pointer; backwards the first
// character is the last one.
class CBackwardText
{
public:
    explicit CBackwardText(const char *end) : m_End(end) {}

    char operator[](std::size_t index) const { return *(m_End - 1 - index); }
    CBackwardText operator+(std::size_t count) const { return CBackwardText(m_End - count); }

private:
    const char *m_End;
};

// Where a needle may be cut, and the period of the part behind the cut.
struct SNeedleCut
{
    std::size_t m_Position;
    std::size_t m_Period;
};

template <typename TCase, typename TComparisons, typename TText = const char *>
class TTwoWaySearch
{
public:
    // What is answered when the needle is not there.
    static constexpr std::size_t kNowhere = ~std::size_t(0);

    // Requires: 1 <= needleLength. Borrows the needle and `comparisons`.
    // Cost: at most 9 comparisons for each character of the needle.
    TTwoWaySearch(TText needle, std::size_t needleLength, TComparisons &comparisons)
        : m_Needle(needle), m_Length(needleLength), m_Comparisons(comparisons)
    {
        const SNeedleCut ascending = _MaximalSuffix(false);
        const SNeedleCut descending = _MaximalSuffix(true);
        m_Cut = ascending.m_Position > descending.m_Position ? ascending : descending;
        m_Shift = _LeftPartRepeats() ? m_Cut.m_Period : QVMax(m_Cut.m_Position, m_Length - m_Cut.m_Position) + 1;
    }

    // Returns: the index of the needle's first occurrence, or kNowhere.
    // Cost: at most 4 comparisons for each character of the text, and 1 for each of the needle.
    std::size_t FindIn(TText text, std::size_t textLength) const
    {
        const std::size_t places = textLength < m_Length ? 0 : textLength - m_Length + 1;
        std::size_t at = _NextCandidate(text, 0, places);
        while (at < places)
        {
            const std::size_t rightEnd = _RightPartMatch(text + at);
            if (rightEnd < m_Length)
                at += rightEnd - m_Cut.m_Position + 1;
            else if (_LeftPartMatches(text + at))
                return at;
            else
                at += m_Shift;
            at = _NextCandidate(text, at, places);
        }
        return kNowhere;
    }

private:
    bool _Same(char a, char b) const
    {
        m_Comparisons.Count();
        return TCase::Fold(a) == TCase::Fold(b);
    }

    // True when `a` comes before `b` in the order or in its reverse.
    bool _Before(char a, char b, bool reverse) const
    {
        m_Comparisons.Count();
        return reverse ? TCase::Fold(b) < TCase::Fold(a) : TCase::Fold(a) < TCase::Fold(b);
    }

    // The last of all suffixes of the needle in dictionary order, or in that of the reversed alphabet. The shorter of the
    // two begins at a critical position.
    SNeedleCut _MaximalSuffix(bool reverse) const
    {
        SNeedleCut best = {0, 1};
        std::size_t rival = 1;
        std::size_t same = 0; // characters in which the rival agrees with the best
        while (rival + same < m_Length)
        {
            const char ofRival = m_Needle[rival + same];
            const char ofBest = m_Needle[best.m_Position + same];
            if (_Same(ofRival, ofBest))
            {
                // A whole period agrees: the next rival begins behind it.
                ++same;
                if (same == best.m_Period)
                {
                    rival += same;
                    same = 0;
                }
            }
            else if (_Before(ofRival, ofBest, reverse))
            {
                // None of the suffixes passed over can win, and the best so far has no shorter period than this.
                rival += same + 1;
                same = 0;
                best.m_Period = rival - best.m_Position;
            }
            else
            {
                best = {rival, 1};
                ++rival;
                same = 0;
            }
        }
        return best;
    }

    // Whether the part before the cut stands in the needle once more, one period later: then that period is the whole
    // needle's.
    bool _LeftPartRepeats() const
    {
        for (std::size_t i = 0; i < m_Cut.m_Position; ++i)
            if (!_Same(m_Needle[i], m_Needle[i + m_Cut.m_Period]))
                return false;
        return true;
    }

    // The next place where the first character of the right part matches. All shifts up to there would be by one; this
    // is the loop in which ordinary searches spend their time.
    std::size_t _NextCandidate(TText text, std::size_t at, std::size_t places) const
    {
        const char first = m_Needle[m_Cut.m_Position];
        while (at < places && !_Same(first, text[m_Cut.m_Position + at]))
            ++at;
        return at;
    }

    // Where the needle's part behind the cut first differs from the text; the needle's length when it does not.
    std::size_t _RightPartMatch(TText text) const
    {
        std::size_t i = m_Cut.m_Position;
        while (i < m_Length && _Same(m_Needle[i], text[i]))
            ++i;
        return i;
    }

    bool _LeftPartMatches(TText text) const
    {
        std::size_t i = m_Cut.m_Position;
        while (i > 0 && _Same(m_Needle[i - 1], text[i - 1]))
            --i;
        return i == 0;
    }

    TText m_Needle;
    std::size_t m_Length;
    TComparisons &m_Comparisons;
    SNeedleCut m_Cut;
    std::size_t m_Shift; // when the right part matches and the left one does not
};

// The first and the last occurrence of a needle of 1 character or more; null when there is none. Preparing it reads the
// whole needle.

template <typename TCase>
const char *FindTwoWay(const char *text, std::size_t textLength, const char *needle, std::size_t needleLength)
{
    using CSearch = TTwoWaySearch<TCase, SComparisonsUncounted>;
    SComparisonsUncounted comparisons;
    const std::size_t place = CSearch(needle, needleLength, comparisons).FindIn(text, textLength);
    return place != CSearch::kNowhere ? text + place : nullptr;
}

template <typename TCase>
const char *FindLastTwoWay(const char *text, std::size_t textLength, const char *needle, std::size_t needleLength)
{
    using CSearch = TTwoWaySearch<TCase, SComparisonsUncounted, CBackwardText>;
    SComparisonsUncounted comparisons;
    const CSearch search(CBackwardText(needle + needleLength), needleLength, comparisons);
    const std::size_t place = search.FindIn(CBackwardText(text + textLength), textLength);
    return place != CSearch::kNowhere ? text + (textLength - place - needleLength) : nullptr;
}

} // namespace Quorvane::Internal::Buffer
