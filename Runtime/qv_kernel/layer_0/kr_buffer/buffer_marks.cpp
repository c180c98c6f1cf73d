// Marks of characters: the wide forms take whole words of marks from the front, the others what is left.
#include "buffer_marks.h"

#include "../kr_simd/simd_wide.h"

namespace Quorvane::Internal
{

#if QV_SIMD_HAS_WIDE

QV_SIMD_WIDE_BEGIN

namespace Wide
{

namespace
{

// Each of the following marks the characters of as many whole words as there are, and returns how many those are.

// `mask(offset)` gives the mask of 32 characters.
template <typename Mask>
QV_BUFFER_INLINE inline u32 MarkWords(u64 *marks, u32 count, const Mask &mask)
{
    u32 at = 0;
    for (; count - at >= kMarksPerWord; at += kMarksPerWord)
    {
        const u64 lower = static_cast<u32>(_mm256_movemask_epi8(mask(at)));
        const u64 upper = static_cast<u32>(_mm256_movemask_epi8(mask(at + 32)));
        marks[at / kMarksPerWord] = lower | upper << 32;
    }
    return at;
}

QV_BUFFER_INLINE inline __m256i Load(const char *text)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(text));
}

u32 MarkCharacter(u64 *marks, const char *text, u32 count, char character)
{
    const __m256i wanted = _mm256_set1_epi8(character);
    return MarkWords(marks, count, [&](u32 at) QV_BUFFER_INLINE { return _mm256_cmpeq_epi8(Load(text + at), wanted); });
}

u32 MarkPairs(u64 *marks, const char *text, u32 count, char first, u32 distance, char last)
{
    const __m256i wantedFirst = _mm256_set1_epi8(first);
    const __m256i wantedLast = _mm256_set1_epi8(last);
    const char *const behind = text + distance;
    return MarkWords(marks, count,
                     [&](u32 at) QV_BUFFER_INLINE
                     {
                         return _mm256_and_si256(_mm256_cmpeq_epi8(Load(text + at), wantedFirst),
                                                 _mm256_cmpeq_epi8(Load(behind + at), wantedLast));
                     });
}

// The table as two rows, for the characters below 128 and above: byte i has a bit for each listed character
// whose lower half is i, at the place that the lower three bits of its upper half name.
struct SHalves
{
    __m256i m_Below128;
    __m256i m_Above127;
};

__m256i RowOf(const u8 *table)
{
    __m128i row = _mm_setzero_si128();
    for (u32 upper = 0; upper < 8; ++upper)
    {
        const __m128i entries = _mm_loadu_si128(reinterpret_cast<const __m128i *>(table + upper * sizeof(__m128i)));
        const __m128i listed = _mm_cmpgt_epi8(entries, _mm_setzero_si128());
        row = _mm_or_si128(row, _mm_and_si128(listed, _mm_set1_epi8(static_cast<char>(1 << upper))));
    }
    return _mm256_broadcastsi128_si256(row);
}

u32 MarkListed(u64 *marks, const char *text, u32 count, const u8 *table)
{
    const SHalves halves = {RowOf(table), RowOf(table + 128)};
    const __m256i places =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128));
    const __m256i topBit = _mm256_set1_epi8(-128);
    const __m256i lowerHalf = _mm256_set1_epi8(0x0F);
    const auto mask = [&](u32 at) QV_BUFFER_INLINE
    {
        // A shuffle looks up by the lower half and gives 0 where the top bit is set.
        const __m256i characters = Load(text + at);
        const __m256i found =
            _mm256_or_si256(_mm256_shuffle_epi8(halves.m_Below128, characters),
                            _mm256_shuffle_epi8(halves.m_Above127, _mm256_xor_si256(characters, topBit)));
        const __m256i upper = _mm256_and_si256(_mm256_srli_epi16(characters, 4), lowerHalf);
        const __m256i place = _mm256_shuffle_epi8(places, upper);
        return _mm256_cmpeq_epi8(_mm256_and_si256(found, place), place);
    };
    return MarkWords(marks, count, mask);
}

// Writes indices two, and then kIndexSlack at a time, whether a word has as many or not, none at all even, and goes on by
// those that it has: most words of sparse marks have none or one, which is what processors cannot guess.
u32 ListMarks(u16 *indices, const u64 *marks, u32 count)
{
    u32 listed = 0;
    for (u32 at = 0; at < count; at += kMarksPerWord)
    {
        u64 word = marks[at / kMarksPerWord];
        const auto write = [&](u32 to) QV_BUFFER_INLINE
        {
            indices[to] = static_cast<u16>(at + static_cast<u32>(_tzcnt_u64(word)));
            word = _blsr_u64(word);
        };
        const u32 end = listed + static_cast<u32>(_mm_popcnt_u64(word));
        write(listed);
        write(listed + 1);
        for (u32 to = listed + 2; QV_INTERNAL_UNLIKELY(to < end); to += kIndexSlack)
            for (u32 i = 0; i < kIndexSlack; ++i)
                write(to + i);
        listed = end;
    }
    return listed;
}

} // namespace

} // namespace Wide

QV_SIMD_WIDE_END

#endif

void MarkCharacter(u64 *marks, const char *text, u32 count, char character)
{
    u32 from = 0;
#if QV_SIMD_HAS_WIDE
    if (HasWideInstructions())
        from = Wide::MarkCharacter(marks, text, count, character);
#endif
    MarkCharacterFrom<SBlock>(marks, text, from, count, character);
}

void MarkListed(u64 *marks, const char *text, u32 count, const u8 *table)
{
    u32 from = 0;
#if QV_SIMD_HAS_WIDE
    // Preparing the rows costs as much as looking up a word of characters.
    if (count >= 2 * kMarksPerWord && HasWideInstructions())
        from = Wide::MarkListed(marks, text, count, table);
#endif
    for (; from < count; from += kMarksPerWord)
    {
        u64 word = 0;
        const u32 inWord = QVMin(count - from, kMarksPerWord);
        for (u32 i = 0; i < inWord; ++i)
            word |= static_cast<u64>(table[static_cast<u8>(text[from + i])]) << i;
        marks[from / kMarksPerWord] = word;
    }
}

void MarkPairs(u64 *marks, const char *text, u32 count, char first, u32 distance, char last)
{
    u32 from = 0;
#if QV_SIMD_HAS_WIDE
    if (HasWideInstructions())
        from = Wide::MarkPairs(marks, text, count, first, distance, last);
#endif
    MarkPairsFrom<SBlock>(marks, text, from, count, first, distance, last);
}

u32 ListMarks(u16 *indices, const u64 *marks, u32 count)
{
#if QV_SIMD_HAS_WIDE
    if (HasWideInstructions())
        return Wide::ListMarks(indices, marks, count);
#endif
    u32 listed = 0;
    for (u32 at = 0; at < count; at += kMarksPerWord)
        for (u64 word = marks[at / kMarksPerWord]; word != 0; word &= word - 1)
            indices[listed++] = static_cast<u16>(at + TrailingZeroBits(word));
    return listed;
}

} // namespace Quorvane::Internal
