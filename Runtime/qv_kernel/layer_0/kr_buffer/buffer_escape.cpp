// Escape sequences.
//
// Both directions copy words of 8 characters while none in a word is special, and look at single characters elsewhere.
// Nothing behind the text is read and nothing behind the result is written: the end is known before the walk begins.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_text.h"

namespace Quorvane
{

namespace
{

// The sequences. Which characters have one, and their letters, Escape reads from the character table; Unescape needs
// the way back.

struct SSequence
{
    char m_Character;
    char m_Letter;
};

constexpr SSequence kSequences[] = {{'\a', 'a'}, {'\b', 'b'}, {'\t', 't'}, {'\n', 'n'},  {'\v', 'v'},
                                    {'\f', 'f'}, {'\r', 'r'}, {'"', '"'},  {'\'', '\''}, {'\\', '\\'}};

constexpr u32 kCharacters = 256;

struct SCharacterMap
{
    char m_Of[kCharacters];
};

// What a letter behind a backslash stands for; 0 where the two are no sequence.
constexpr SCharacterMap MapOfLetters()
{
    SCharacterMap map = {};
    for (const SSequence &sequence : kSequences)
        map.m_Of[static_cast<u8>(sequence.m_Letter)] = sequence.m_Character;
    return map;
}

constexpr SCharacterMap kCharacterOfLetter = MapOfLetters();

constexpr char LetterOf(u32 character)
{
    for (const SSequence &sequence : kSequences)
        if (static_cast<u8>(sequence.m_Character) == character)
            return sequence.m_Letter;
    return 0;
}

// Whether unescaping gives the character back from what it is escaped to: itself, or a backslash and its letter.
constexpr bool ComesBack(u32 character)
{
    const char letter = LetterOf(character);
    if (letter == 0)
        return character != '\\';
    return static_cast<u8>(kCharacterOfLetter.m_Of[static_cast<u8>(letter)]) == character;
}

constexpr bool AllComeBack()
{
    for (u32 character = 0; character < kCharacters; ++character)
        if (!ComesBack(character))
            return false;
    return true;
}

static_assert(AllComeBack(), "unescaping undoes escaping for every character");

// Words of 8 characters. The marks answer exactly whether any character of a word meets a condition, whatever the byte
// order; which of them does is not asked.

constexpr std::size_t kWordBytes = sizeof(u64);
constexpr u64 kOnes = 0x0101010101010101;
constexpr u64 kHighBits = 0x8080808080808080;

constexpr u64 WordOf(char character)
{
    return kOnes * static_cast<u8>(character);
}

// Not 0 when a character of the word, as an unsigned byte, is below the limit.
constexpr u64 MarksBelow(u64 word, u8 limit)
{
    return (word - kOnes * limit) & ~word & kHighBits;
}

// Not 0 when a character of the word is the given one.
constexpr u64 MarksOf(u64 word, char character)
{
    return MarksBelow(word ^ WordOf(character), 1);
}

// The characters up to the carriage return hold all control characters that have a sequence. The few others among them
// only make the walk take their word character by character.
constexpr bool MayHoldEscaped(u64 word)
{
    return (MarksBelow(word, '\r' + 1) | MarksOf(word, '"') | MarksOf(word, '\'') | MarksOf(word, '\\')) != 0;
}

// Whether no special character is missed, at either end of a word, and plain words pass.
constexpr bool WordsAreJudgedRight()
{
    for (const SSequence &sequence : kSequences)
    {
        const u64 character = static_cast<u8>(sequence.m_Character);
        if (!MayHoldEscaped((WordOf('x') & ~u64(0xFF)) | character))
            return false;
        if (!MayHoldEscaped((WordOf('\xFF') >> 8) | character << 56))
            return false;
    }
    return !MayHoldEscaped(WordOf('x')) && !MayHoldEscaped(WordOf('\xFF')) && !MayHoldEscaped(WordOf(' '));
}

static_assert(WordsAreJudgedRight(), "a word is copied as it is only when none of its characters has a sequence");

u64 LoadWord(const char *src)
{
    u64 word;
    std::memcpy(&word, src, sizeof(word));
    return word;
}

char *PutWord(u64 word, char *dst)
{
    std::memcpy(dst, &word, sizeof(word));
    return dst + sizeof(word);
}

// Each of the following returns where the result goes on.

// Writes what a character becomes. Which kind it is is computed with, never branched on: where special characters come
// and go, a wrong guess of the processor costs far more than writing twice.
char *PutEscaped(char character, char *dst)
{
    const u32 letter = Internal::EscapeLetterOf(character);
    const u32 hasLetter = letter != 0 ? 1 : 0;
    const u32 keepsItself = hasLetter - 1; // all bits or none
    *dst = '\\';
    dst += hasLetter;
    *dst = static_cast<char>(letter | (static_cast<u8>(character) & keepsItself));
    return dst + 1;
}

char *PutEscaped(const char *src, const char *end, char *dst)
{
    while (src != end)
        dst = PutEscaped(*src++, dst);
    return dst;
}

// Writes one character for a sequence or a single character, and steps `src` over it.
char *TakeUnescaped(const char *&src, const char *end, char *dst)
{
    char character = *src++;
    if (character == '\\' && src != end)
    {
        const char meant = kCharacterOfLetter.m_Of[static_cast<u8>(*src)];
        src += meant != 0 ? 1 : 0;
        character = meant != 0 ? meant : character;
    }
    *dst = character;
    return dst + 1;
}

u32 Terminate(const char *begin, char *end)
{
    *end = 0;
    return Internal::ReportedLength(static_cast<std::size_t>(end - begin));
}

u32 EscapeCounted(const char *src, std::size_t length, char *dst)
{
    const char *const end = src + length;
    char *out = dst;
    for (; static_cast<std::size_t>(end - src) >= kWordBytes; src += kWordBytes)
    {
        const u64 word = LoadWord(src);
        out = MayHoldEscaped(word) ? PutEscaped(src, src + kWordBytes, out) : PutWord(word, out);
    }
    return Terminate(dst, PutEscaped(src, end, out));
}

// The result never overtakes the source, so it may be written over it.
u32 UnescapeCounted(const char *src, std::size_t length, char *dst)
{
    const char *const end = src + length;
    char *out = dst;
    while (static_cast<std::size_t>(end - src) >= kWordBytes)
    {
        const char *const wordEnd = src + kWordBytes;
        const u64 word = LoadWord(src);
        if (MarksOf(word, '\\') == 0)
        {
            out = PutWord(word, out);
            src = wordEnd;
        }
        // A sequence may reach into the next word.
        while (src < wordEnd)
            out = TakeUnescaped(src, end, out);
    }
    while (src != end)
        out = TakeUnescaped(src, end, out);
    return Terminate(dst, out);
}

// The number of characters before the terminator, among the first `maxLength`.
std::size_t BoundedLength(const char *src, std::size_t maxLength)
{
    const void *terminator = std::memchr(src, 0, maxLength);
    return terminator != nullptr ? static_cast<std::size_t>(static_cast<const char *>(terminator) - src) : maxLength;
}

} // namespace

u32 SNativeStringUtils::Escape(const char *src, char *dst)
{
    src = Internal::TextOrEmpty(src);
    return dst != nullptr ? EscapeCounted(src, std::strlen(src), dst) : 0;
}

u32 SNativeStringUtils::Escape(const char *src, char *dst, u32 maxLength)
{
    src = Internal::TextOrEmpty(src);
    return dst != nullptr ? EscapeCounted(src, BoundedLength(src, maxLength), dst) : 0;
}

u32 SNativeStringUtils::Unescape(const char *src, char *dst)
{
    src = Internal::TextOrEmpty(src);
    return dst != nullptr ? UnescapeCounted(src, std::strlen(src), dst) : 0;
}

u32 SNativeStringUtils::Unescape(const char *src, char *dst, u32 maxLength)
{
    src = Internal::TextOrEmpty(src);
    return dst != nullptr ? UnescapeCounted(src, BoundedLength(src, maxLength), dst) : 0;
}

} // namespace Quorvane
