// Escape sequences.
//
// Both directions copy words of 8 characters while none in a word is special, and look at single characters elsewhere.
// With wide instructions, escaping takes whole blocks first.
// Nothing behind the text is read and nothing behind the result is written: the end is known before the walk begins.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_kernels.h"
#include "buffer_text.h"
#include "character_table.h"

namespace Quorvane
{

namespace
{

using namespace Internal::Buffer;
using Internal::Simd::AnyEqual;
using Internal::Simd::AnyLess;
using Internal::Simd::FillWord;
using Internal::Simd::HoldsByte;
using Internal::Simd::LoadWord;
using Internal::Simd::StoreWord;

struct SCharacterMap
{
    char m_Of[kRowBytes];
};

// What a letter behind a backslash stands for; 0 where the two are no sequence.
constexpr SCharacterMap MapOfLetters()
{
    SCharacterMap map = {};
    for (const SEscapeSequence &sequence : kEscapeSequences)
        map.m_Of[static_cast<u8>(sequence.m_Letter)] = sequence.m_Character;
    return map;
}

constexpr SCharacterMap kCharacterOfLetter = MapOfLetters();

// Whether unescaping gives the character back from what it is escaped to: itself, or a backslash and its letter.
constexpr bool ComesBack(u32 character)
{
    const u8 letter = ListedEscapeLetterOf(character);
    if (letter == 0)
        return character != '\\';
    return static_cast<u8>(kCharacterOfLetter.m_Of[letter]) == character;
}

constexpr bool AllComeBack()
{
    for (u32 character = 0; character < kRowBytes; ++character)
        if (!ComesBack(character))
            return false;
    return true;
}

static_assert(AllComeBack(), "unescaping undoes escaping for every character");

// Words of 8 characters.

constexpr std::size_t kWordBytes = sizeof(u64);

// The characters up to the carriage return hold all control characters that have a sequence. The few others among them
// only make the walk take their word character by character.
constexpr bool MayHoldEscaped(u64 word)
{
    return (AnyLess(word, '\r' + 1) | AnyEqual(word, '"') | AnyEqual(word, '\'') | AnyEqual(word, '\\')) != 0;
}

// Whether no special character is missed, at either end of a word, and plain words pass.
constexpr bool WordsAreJudgedRight()
{
    for (const SEscapeSequence &sequence : kEscapeSequences)
    {
        const u64 character = static_cast<u8>(sequence.m_Character);
        if (!MayHoldEscaped((FillWord('x') & ~u64(0xFF)) | character))
            return false;
        if (!MayHoldEscaped((FillWord(0xFF) >> 8) | character << 56))
            return false;
    }
    return !MayHoldEscaped(FillWord('x')) && !MayHoldEscaped(FillWord(0xFF)) && !MayHoldEscaped(FillWord(' '));
}

static_assert(WordsAreJudgedRight(), "a word is copied as it is only when none of its characters has a sequence");

char *PutWord(u64 word, char *dst)
{
    StoreWord(dst, word);
    return dst + kWordBytes;
}

// Each of the following returns where the result goes on.

// Writes what a character becomes. Which kind it is is computed with, never branched on: where special characters come
// and go, a mispredicted branch costs far more than writing twice.
char *PutEscaped(char character, char *dst)
{
    const u32 letter = EscapeLetterOf(character);
    const u32 hasLetter = letter != 0 ? 1 : 0;
    const u32 keepsItself = Internal::WrappingDifference(hasLetter, 1u); // all bits or none
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
    // A backslash at the end has nothing behind it, and stands for itself, as one before any other character does.
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
    return ReportedLength(static_cast<std::size_t>(end - begin));
}

u32 EscapeCounted(const char *src, std::size_t length, char *dst)
{
    const char *const end = src + length;
    char *out = dst;
    if (Internal::Simd::HasWideInstructions())
        src += Wide::EscapeBlocks(src, length, out);
    for (; static_cast<std::size_t>(end - src) >= kWordBytes; src += kWordBytes)
    {
        const u64 word = LoadWord<u64>(src);
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
        const u64 word = LoadWord<u64>(src);
        if (!HoldsByte(word, '\\'))
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

} // namespace

u32 SNativeStringUtils::Escape(const char *src, char *dst) noexcept QV_NONBLOCKING
{
    src = TextOrEmpty(src);
    return dst != nullptr ? EscapeCounted(src, std::strlen(src), dst) : 0;
}

u32 SNativeStringUtils::Escape(const char *src, char *dst, u32 maxLength) noexcept QV_NONBLOCKING
{
    src = TextOrEmpty(src);
    return dst != nullptr ? EscapeCounted(src, LengthWithin(src, maxLength), dst) : 0;
}

u32 SNativeStringUtils::Unescape(const char *src, char *dst) noexcept QV_NONBLOCKING
{
    src = TextOrEmpty(src);
    return dst != nullptr ? UnescapeCounted(src, std::strlen(src), dst) : 0;
}

u32 SNativeStringUtils::Unescape(const char *src, char *dst, u32 maxLength) noexcept QV_NONBLOCKING
{
    src = TextOrEmpty(src);
    return dst != nullptr ? UnescapeCounted(src, LengthWithin(src, maxLength), dst) : 0;
}

} // namespace Quorvane
