// Escape sequences.
//
// Both directions copy words of 8 characters while none in a word is special, and look at single characters elsewhere.
// With wide instructions, escaping takes 32 characters at a time first.
// Nothing behind the text is read and nothing behind the result is written: the end is known before the walk begins.
#include "kr_buffer.h"

#include <cstring>

#include "../kr_simd/simd_wide.h"
#include "buffer_kernels.h"
#include "buffer_text.h"
#include "character_table.h"

namespace Quorvane
{

namespace
{

using Internal::Buffer::kEscapeSequences;
using Internal::Buffer::ListedEscapeLetterOf;
using Internal::Buffer::SEscapeSequence;

constexpr u32 kCharacters = 256;

struct SCharacterMap
{
    char m_Of[kCharacters];
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
    for (const SEscapeSequence &sequence : kEscapeSequences)
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
    const u32 letter = Internal::Buffer::EscapeLetterOf(character);
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
    return Internal::Buffer::ReportedLength(static_cast<std::size_t>(end - begin));
}

#if QV_SIMD_HAS_WIDE

// For each choice of special characters among 8, the shuffle that makes room before them. Made by the compiler.

constexpr u32 kExpandedBytes = 2 * kWordBytes;

struct SExpansions
{
    u8 m_Order[kCharacters][kExpandedBytes]; // of the characters; the room before one has the top bit set
};

constexpr SExpansions MakeExpansions()
{
    SExpansions expansions = {};
    for (u32 special = 0; special < kCharacters; ++special)
    {
        u32 at = 0;
        for (u32 i = 0; i < kWordBytes; ++i)
        {
            if ((special >> i & 1) != 0)
                expansions.m_Order[special][at++] = 0x80;
            expansions.m_Order[special][at++] = static_cast<u8>(i);
        }
        while (at < kExpandedBytes)
            expansions.m_Order[special][at++] = 0x80;
    }
    return expansions;
}

constexpr SExpansions kExpansions = MakeExpansions();

constexpr char kFirstControl = '\a';
constexpr char kLastControl = '\r';

// Whether the sequences are what the wide form takes them for: all characters from one control character to another,
// which have letters, and others that stay themselves behind the backslash.
constexpr bool SequencesAreAsTheWideFormHasThem()
{
    for (u32 character = 0; character < kCharacters; ++character)
    {
        const u8 letter = ListedEscapeLetterOf(character);
        const bool isControl = character >= kFirstControl && character <= kLastControl;
        const bool isItself = character == '"' || character == '\'' || character == '\\';
        if (isControl ? letter == 0 : isItself ? letter != character : letter != 0)
            return false;
    }
    return true;
}

static_assert(SequencesAreAsTheWideFormHasThem(), "the wide form knows all sequences");

QV_SIMD_WIDE_BEGIN

namespace Wide
{

constexpr std::size_t kBlockBytes = sizeof(__m256i);

// What a control character becomes, by its lower half; 0 for the others.
QV_BUFFER_INLINE inline __m128i ControlLetters()
{
    return _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 'a', 'b', 't', 'n', 'v', 'f', 'r', 0, 0);
}

// Writes 8 characters, of which `special` are, and returns where the result goes on. Writes kExpandedBytes.
QV_BUFFER_INLINE inline char *PutExpanded(__m128i characters, u32 special, char *dst)
{
    const __m128i order = _mm_loadu_si128(reinterpret_cast<const __m128i *>(kExpansions.m_Order[special]));
    // Behind the result's end there are backslashes, too, which what comes next is written over.
    const __m128i room = _mm_cmpgt_epi8(_mm_setzero_si128(), order);
    const __m128i expanded = _mm_shuffle_epi8(characters, order);
    const __m128i result = _mm_or_si128(expanded, _mm_and_si128(room, _mm_set1_epi8('\\')));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(dst), result);
    return dst + kWordBytes + static_cast<u32>(_mm_popcnt_u32(special));
}

QV_BUFFER_INLINE inline char *PutHalf(__m128i characters, u32 special, char *dst)
{
    dst = PutExpanded(characters, special & 0xFF, dst);
    return PutExpanded(_mm_srli_si128(characters, kWordBytes), special >> 8, dst);
}

// Escapes whole blocks of the text and returns how many characters those were; `dst` is moved on.
// What is written behind the result of 8 characters is room for 8 more, so a word of the text is left behind the last
// block: then nothing is written behind the whole result.
std::size_t EscapeBlocks(const char *src, std::size_t length, char *&dst)
{
    const __m256i quote = _mm256_set1_epi8('"');
    const __m256i apostrophe = _mm256_set1_epi8('\'');
    const __m256i backslash = _mm256_set1_epi8('\\');
    const __m256i behindFirst = _mm256_set1_epi8(kFirstControl - 1);
    const __m256i beforeLast = _mm256_set1_epi8(kLastControl + 1);
    const __m256i letters = _mm256_broadcastsi128_si256(ControlLetters());
    char *out = dst;
    std::size_t at = 0;
    for (; length - at >= kBlockBytes + kWordBytes; at += kBlockBytes)
    {
        const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(src + at));
        const __m256i isControl =
            _mm256_and_si256(_mm256_cmpgt_epi8(block, behindFirst), _mm256_cmpgt_epi8(beforeLast, block));
        const __m256i isItself =
            _mm256_or_si256(_mm256_cmpeq_epi8(block, backslash),
                            _mm256_or_si256(_mm256_cmpeq_epi8(block, quote), _mm256_cmpeq_epi8(block, apostrophe)));
        const u32 special = static_cast<u32>(_mm256_movemask_epi8(_mm256_or_si256(isControl, isItself)));
        if (special == 0)
        {
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), block);
            out += kBlockBytes;
            continue;
        }
        // Not by the instruction that chooses: g++ 12 takes its mask for never set where char is unsigned.
        const __m256i named = _mm256_or_si256(_mm256_andnot_si256(isControl, block),
                                              _mm256_and_si256(isControl, _mm256_shuffle_epi8(letters, block)));
        out = PutHalf(_mm256_castsi256_si128(named), special & 0xFFFF, out);
        out = PutHalf(_mm256_extracti128_si256(named, 1), special >> 16, out);
    }
    dst = out;
    return at;
}

} // namespace Wide

QV_SIMD_WIDE_END

#endif

u32 EscapeCounted(const char *src, std::size_t length, char *dst)
{
    const char *const end = src + length;
    char *out = dst;
#if QV_SIMD_HAS_WIDE
    if (Internal::HasWideInstructions())
        src += Wide::EscapeBlocks(src, length, out);
#endif
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

} // namespace

u32 SNativeStringUtils::Escape(const char *src, char *dst)
{
    src = Internal::Buffer::TextOrEmpty(src);
    return dst != nullptr ? EscapeCounted(src, std::strlen(src), dst) : 0;
}

u32 SNativeStringUtils::Escape(const char *src, char *dst, u32 maxLength)
{
    src = Internal::Buffer::TextOrEmpty(src);
    return dst != nullptr ? EscapeCounted(src, Internal::Buffer::LengthWithin(src, maxLength), dst) : 0;
}

u32 SNativeStringUtils::Unescape(const char *src, char *dst)
{
    src = Internal::Buffer::TextOrEmpty(src);
    return dst != nullptr ? UnescapeCounted(src, std::strlen(src), dst) : 0;
}

u32 SNativeStringUtils::Unescape(const char *src, char *dst, u32 maxLength)
{
    src = Internal::Buffer::TextOrEmpty(src);
    return dst != nullptr ? UnescapeCounted(src, Internal::Buffer::LengthWithin(src, maxLength), dst) : 0;
}

} // namespace Quorvane
