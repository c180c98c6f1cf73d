// Private header: the wildcard matcher.
//
// It walks pattern and text together and remembers the last star only. On a mismatch that star takes one character
// more, and the walk goes on behind it. Earlier stars never have to be tried again: whatever stands between two stars
// was matched as early in the text as it can be, so giving an earlier star more leaves less text for the rest and opens
// nothing new. Hence neither recursion nor memory, and a cost of at most (pattern + 1) * (text + 1) steps.
//
// Case, inhibitors and the counting of steps are policies, decided when the matcher is compiled. Only tests count.
#pragma once

#include "buffer_text.h"

namespace Quorvane::Internal
{

// Case policies: two characters are the same when their folded forms are.

struct SCaseMatters
{
    static u8 Fold(char character) { return static_cast<u8>(character); }
};

struct SCaseIgnored
{
    static u8 Fold(char character) { return LowerCaseOf(character); }
};

// Inhibitor policies: whether the character at `pattern` only makes the next one literal.

struct SNoInhibitors
{
    static bool InhibitsAt(const char *) { return false; }
};

struct SBackslashInhibits
{
    // A lone backslash at the end has nothing to make literal, so it stands for itself.
    static bool InhibitsAt(const char *pattern) { return pattern[0] == '\\' && pattern[1] != 0; }
};

// The step policy of the library; it compiles to nothing.
struct SStepsUncounted
{
    void Count() const {}
};

// One match. A step is one character of the text looked at, or one star of the pattern skipped.
template <typename TCase, typename TInhibitors, typename TSteps>
class TWildcardMatcher
{
public:
    // Requires: two texts. Borrows all three arguments.
    TWildcardMatcher(const char *pattern, const char *text, TSteps &steps)
        : m_Pattern(pattern), m_Text(text), m_Steps(steps)
    {
    }

    // Returns: whether the pattern matches the whole text. To be called once.
    bool Matches()
    {
        while (*m_Text != 0)
        {
            if (*m_Pattern == '*')
            {
                if (!_TakeStars())
                    return true;
            }
            else if (!_TakeCharacter() && !_ExtendStar())
                return false;
        }
        _SkipStars();
        return *m_Pattern == 0;
    }

private:
    void _SkipStars()
    {
        for (; *m_Pattern == '*'; ++m_Pattern)
            m_Steps.Count();
    }

    // Goes on behind a star of the pattern, which begins with the shortest run that can work.
    // Returns: false when nothing follows the star, which then matches whatever is left.
    bool _TakeStars()
    {
        _SkipStars();
        if (*m_Pattern == 0)
            return false;
        m_BehindStar = m_Pattern;
        _FindCandidate();
        return true;
    }

    // Gives the last star a longer run.
    // Returns: false when there was no star.
    bool _ExtendStar()
    {
        if (m_BehindStar == nullptr)
            return false;
        m_Pattern = m_BehindStar;
        m_Text = m_BehindCandidate;
        _FindCandidate();
        return true;
    }

    // Gives the star each character that cannot match what follows the star, and steps over the first that can.
    void _FindCandidate()
    {
        while (*m_Text != 0 && !_TakeCharacter())
            ++m_Text;
        m_BehindCandidate = m_Text;
    }

    // Steps over one character of the text and what stands for it in the pattern.
    // Returns: false when the pattern is at its end or has another character there; then nothing moves.
    bool _TakeCharacter()
    {
        m_Steps.Count();
        const char *end = _MatchingEnd();
        if (end == nullptr)
            return false;
        m_Pattern = end;
        ++m_Text;
        return true;
    }

    // Where the pattern goes on if its next element, which is not a star, matches the text's character; else null.
    const char *_MatchingEnd() const
    {
        if (*m_Pattern == '?')
            return m_Pattern + 1;
        const char *literal = m_Pattern + (TInhibitors::InhibitsAt(m_Pattern) ? 1 : 0);
        return TCase::Fold(*literal) == TCase::Fold(*m_Text) ? literal + 1 : nullptr;
    }

    const char *m_Pattern;
    const char *m_Text;
    const char *m_BehindStar = nullptr;      // in the pattern, the last star's; null before the first
    const char *m_BehindCandidate = nullptr; // in the text, where that star's next longer run may end
    TSteps &m_Steps;
};

// Requires: two texts.
// Returns: whether the pattern matches the whole text. `steps` has counted the steps.
template <typename TCase, typename TInhibitors, typename TSteps>
bool MatchWildcards(const char *pattern, const char *text, TSteps &steps)
{
    return TWildcardMatcher<TCase, TInhibitors, TSteps>(pattern, text, steps).Matches();
}

} // namespace Quorvane::Internal
