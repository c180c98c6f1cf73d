// Private header: the wildcard matcher.
//
// It walks pattern and text together and remembers the last star only. On a mismatch that star takes one character
// more, and the walk goes on behind it. Earlier stars never have to be tried again: whatever stands between two stars
// was matched as early in the text as it can be, so giving an earlier star more leaves less text for the rest and opens
// nothing new. Hence neither recursion nor memory, and a cost of at most (pattern + 1) * (text + 1) steps.
//
// Case, inhibitors, where texts end, and the counting of steps are policies, decided when the matcher is compiled. Only
// tests count.
#pragma once

#include <cstring>

#include "../kr_simd/simd_block.h"

#include "buffer_text.h"

namespace Quorvane::Internal::Buffer
{

using Simd::SBlock;

// Policies of the end, of the pattern's and of the text's.

// At the terminator.
struct SToTerminator
{
    static constexpr bool kIsCounted = false;

    bool EndsAt(const char *at) const { return *at == 0; }
    // Whether the text goes on with a character, which is not the terminator.
    bool Has(const char *at, char character) const { return *at == character; }
    std::size_t LengthOf(const char *text) const { return std::strlen(text); }
};

// Behind the last character of those that were counted.
struct SToEnd
{
    static constexpr bool kIsCounted = true;

    bool EndsAt(const char *at) const { return at == m_End; }
    bool Has(const char *at, char character) const { return at != m_End && *at == character; }
    std::size_t LengthOf(const char *text) const { return static_cast<std::size_t>(m_End - text); }

    const char *m_End;
};

// A pattern or a text: where it begins, and where it ends.
template <typename TEnd>
struct TCharacters
{
    const char *m_Begin;
    TEnd m_End;
};

// Inhibitor policies: whether the character at `pattern`, which is not its end, only makes the next one literal.

struct SNoInhibitors
{
    template <typename TEnd>
    static bool InhibitsAt(const char *, const TEnd &)
    {
        return false;
    }
};

struct SBackslashInhibits
{
    // A lone backslash at the end has nothing to make literal, so it stands for itself.
    template <typename TEnd>
    static bool InhibitsAt(const char *pattern, const TEnd &end)
    {
        return pattern[0] == '\\' && !end.EndsAt(pattern + 1);
    }
};

// The step policy of the library; it compiles to nothing.
struct SStepsUncounted
{
    void Count() const {}
};

// One match. A step is one character of the text looked at, or one star of the pattern skipped.
template <typename TCase, typename TInhibitors, typename TEnd, typename TSteps>
class TWildcardMatcher
{
public:
    // Requires: two texts. Borrows all three arguments.
    TWildcardMatcher(const TCharacters<TEnd> &pattern, const TCharacters<TEnd> &text, TSteps &steps)
        : m_Pattern(pattern.m_Begin),
          m_Text(text.m_Begin),
          m_PatternEnd(pattern.m_End),
          m_TextEnd(text.m_End),
          m_Steps(steps)
    {
    }

    // Returns: whether the pattern matches the whole text. To be called once.
    bool Matches()
    {
        while (!m_TextEnd.EndsAt(m_Text))
        {
            if (m_PatternEnd.Has(m_Pattern, '*'))
            {
                if (!_TakeStars())
                    return true;
            }
            else if (!_TakeCharacter() && !_ExtendStar())
                return false;
        }
        _SkipStars();
        return m_PatternEnd.EndsAt(m_Pattern);
    }

private:
    void _SkipStars()
    {
        for (; m_PatternEnd.Has(m_Pattern, '*'); ++m_Pattern)
            m_Steps.Count();
    }

    // Goes on behind a star of the pattern, which begins with the shortest run that can work.
    // Returns: false when nothing follows the star, which then matches whatever is left.
    bool _TakeStars()
    {
        _SkipStars();
        if (m_PatternEnd.EndsAt(m_Pattern))
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
        while (!m_TextEnd.EndsAt(m_Text) && !_TakeCharacter())
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
        // A terminator matches no character of a text that ends with one.
        if (TEnd::kIsCounted && m_PatternEnd.EndsAt(m_Pattern))
            return nullptr;
        if (*m_Pattern == '?')
            return m_Pattern + 1;
        const char *literal = m_Pattern + (TInhibitors::InhibitsAt(m_Pattern, m_PatternEnd) ? 1 : 0);
        return TCase::Fold(*literal) == TCase::Fold(*m_Text) ? literal + 1 : nullptr;
    }

    const char *m_Pattern;
    const char *m_Text;
    const char *m_BehindStar = nullptr;      // in the pattern, the last star's; null before the first
    const char *m_BehindCandidate = nullptr; // in the text, where that star's next longer run may end
    TEnd m_PatternEnd;
    TEnd m_TextEnd;
    TSteps &m_Steps;
};

// Requires: two texts.
// Returns: whether the pattern matches the whole text. `steps` has counted the steps.
template <typename TCase, typename TInhibitors, typename TEnd, typename TSteps>
bool MatchWildcards(const TCharacters<TEnd> &pattern, const TCharacters<TEnd> &text, TSteps &steps)
{
    return TWildcardMatcher<TCase, TInhibitors, TEnd, TSteps>(pattern, text, steps).Matches();
}

// What a pattern with stars asks of a text at least: its first character, what follows the last star at the end, and
// the characters before the stars somewhere, in order. Most texts that do not match are told from the others by that,
// which is looked up faster than a walk comes to it.
//
// Where nothing but literals stands between the stars, as in most patterns, each of them is searched for behind the one
// before it, and nothing is left to walk for.
template <typename TCase, typename TInhibitors, typename TEnd>
class TWildcardNeeds
{
public:
    explicit TWildcardNeeds(const TCharacters<TEnd> &pattern) : m_Pattern(pattern)
    {
        bool isLiteral = true; // the characters since the last star
        for (const char *at = pattern.m_Begin; !pattern.m_End.EndsAt(at);)
        {
            if (*at != '*')
            {
                isLiteral = isLiteral && *at != '?' && !_InhibitsAt(at);
                at = _Behind(at);
                ++m_TailLength;
                continue;
            }
            if (m_FirstStar == nullptr)
                m_FirstStar = at;
            else
                m_HasLiteralMiddles = m_HasLiteralMiddles && isLiteral;
            m_LastStar = at++;
            m_TailLength = 0;
            isLiteral = true;
        }
    }

    // Whether Match can tell.
    bool AreAll() const { return m_LastStar != nullptr && m_HasLiteralMiddles; }

    // Whether the pattern matches the text. Requires: AreAll, and a text that is not null.
    bool Match(const TCharacters<TEnd> &text) const
    {
        const char *begin = text.m_Begin;
        for (const char *at = m_Pattern.m_Begin; at != m_FirstStar; at = _Behind(at), ++begin)
            if (text.m_End.EndsAt(begin) || !_MatchesAt(at, *begin))
                return false;
        const std::size_t length = text.m_End.LengthOf(begin);
        if (length < m_TailLength)
            return false;
        const char *const tail = begin + (length - m_TailLength);
        return _EndsWithTail(tail) && _HasLiterals(begin, tail);
    }

    // Requires: a text that is not null, also where it has no characters.
    // Returns: false when the pattern cannot match; true when it may, and for a pattern without stars.
    bool AreMetBy(const TCharacters<TEnd> &text) const
    {
        if (m_LastStar == nullptr)
            return true;
        const char *const begin = text.m_Begin;
        if (m_FirstStar != m_Pattern.m_Begin && (text.m_End.EndsAt(begin) || !_MatchesAt(m_Pattern.m_Begin, *begin)))
            return false;
        const std::size_t length = text.m_End.LengthOf(begin);
        if (length < m_TailLength)
            return false;
        const char *const tail = begin + (length - m_TailLength);
        // What is between the stars is looked up by memchr, which knows no folding.
        return _EndsWithTail(tail) && (!TCase::kIsExact || _HasMiddles(begin, tail));
    }

private:
    bool _InhibitsAt(const char *at) const { return TInhibitors::InhibitsAt(at, m_Pattern.m_End); }

    // Behind the element of the pattern at `at`, which is no star.
    const char *_Behind(const char *at) const { return at + (_InhibitsAt(at) ? 2 : 1); }

    bool _MatchesAt(const char *at, char character) const
    {
        if (*at == '?')
            return true;
        const char literal = _InhibitsAt(at) ? at[1] : at[0];
        return TCase::Fold(literal) == TCase::Fold(character);
    }

    bool _EndsWithTail(const char *tail) const
    {
        for (const char *at = m_LastStar + 1; !m_Pattern.m_End.EndsAt(at); at = _Behind(at), ++tail)
            if (!_MatchesAt(at, *tail))
                return false;
        return true;
    }

    // Whether what stands between the stars follows each other in the text.
    bool _HasLiterals(const char *text, const char *end) const
    {
        for (const char *star = m_FirstStar; star != m_LastStar;)
        {
            const char *const literal = star + 1;
            for (star = literal; *star != '*';)
                ++star;
            const std::size_t length = static_cast<std::size_t>(star - literal);
            text = _Find(text, static_cast<std::size_t>(end - text), literal, length);
            if (text == nullptr)
                return false;
            text += length;
        }
        return true;
    }

    // The first place of a literal in the text; null when there is none. Most texts are a path or a name: a block of places
    // at a time, without a call, in which its first and its last character stand.
    static const char *_Find(const char *text, std::size_t length, const char *literal, std::size_t literalLength)
    {
        if (literalLength == 0)
            return text;
        if (length < literalLength)
            return nullptr;
        std::size_t places = length - literalLength + 1;
        for (; places < SBlock::kBytes; ++text, --places)
            if (places == 0 || _AreSame(text, literal, literalLength))
                return places != 0 ? text : nullptr;
        for (;;)
        {
            const SBlock pairs = _AreOf(text, *literal) & _AreOf(text + literalLength - 1, literal[literalLength - 1]);
            for (u64 found = pairs.DenseBits(); found != 0; found &= found - 1)
                if (_AreSame(text + Simd::TrailingZeroBits(found), literal, literalLength))
                    return text + Simd::TrailingZeroBits(found);
            if (places == SBlock::kBytes)
                return nullptr;
            // The last block overlaps the one before it.
            const std::size_t step = QVMin<std::size_t>(SBlock::kBytes, places - SBlock::kBytes);
            text += step;
            places -= step;
        }
    }

    // Which of a block's characters are a given one.
    static SBlock _AreOf(const char *block, char character)
    {
        const u8 lower = TCase::Fold(character);
        const bool isLetter = !TCase::kIsExact && lower >= 'a' && lower <= 'z';
        const u8 upper = isLetter ? static_cast<u8>(lower - ('a' - 'A')) : lower;
        const SBlock characters = SBlock::Padded(block);
        return SBlock::EqualBytes(characters, SBlock::Fill(lower)) |
               SBlock::EqualBytes(characters, SBlock::Fill(upper));
    }

    static bool _AreSame(const char *a, const char *b, std::size_t length)
    {
        std::size_t same = 0;
        while (same < length && TCase::Fold(a[same]) == TCase::Fold(b[same]))
            ++same;
        return same == length;
    }

    // Whether the last literals of what stands between the stars follow each other in the text. One that is a terminator,
    // as counted patterns may have it, is not looked for.
    bool _HasMiddles(const char *text, const char *end) const
    {
        char wanted = 0;
        for (const char *at = m_FirstStar; at <= m_LastStar;)
        {
            if (*at != '*')
            {
                wanted = *at == '?' ? wanted : _InhibitsAt(at) ? at[1] : at[0];
                at = _Behind(at);
                continue;
            }
            if (wanted != 0)
            {
                text = static_cast<const char *>(__builtin_memchr(text, wanted, static_cast<std::size_t>(end - text)));
                if (text == nullptr)
                    return false;
                ++text;
                wanted = 0;
            }
            ++at;
        }
        return true;
    }

    TCharacters<TEnd> m_Pattern;
    const char *m_FirstStar = nullptr;
    const char *m_LastStar = nullptr;
    std::size_t m_TailLength = 0; // in characters of the text
    bool m_HasLiteralMiddles = true;
};

// How a pattern is meant.
struct SWildcardRules
{
    bool m_IgnoresCase;
    bool m_HasInhibitors;
};

// The match of the first `length` characters by a pattern of `patternLength`; terminators are characters like others.
// Nothing behind either is read. With a length of 0 null will do.
bool MatchCounted(const char *pattern, u32 patternLength, const char *text, u32 length,
                  SWildcardRules rules) noexcept QV_NONBLOCKING;

} // namespace Quorvane::Internal::Buffer
