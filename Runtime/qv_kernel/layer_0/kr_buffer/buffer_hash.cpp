// Hashes of counted text that ignore case.
#include "kr_buffer.h"

#include "buffer_hash.h"
#include "buffer_kernels.h"
#include "buffer_text.h"

namespace Quorvane
{

using namespace Internal::Buffer;

namespace
{

using Internal::Simd::LittleEndian;
using Internal::Simd::LoadWord;
using Internal::Simd::SBlock;

using Narrow::SHashWords;

// The same pairs of words are hashed whether they come from a block or from the text. Up to 16 bytes: words that overlap
// in the middle, or all that there is.
SHashWords WordsOfFew(const u8 *bytes, u32 length)
{
    if (length >= sizeof(u64))
        return {LittleEndian(LoadWord<u64>(bytes)), LittleEndian(LoadWord<u64>(bytes + length - sizeof(u64)))};
    if (length >= sizeof(u32))
        return {LittleEndian(LoadWord<u32>(bytes)), LittleEndian(LoadWord<u32>(bytes + length - sizeof(u32)))};
    if (length == 0)
        return {0, 0};
    return {bytes[0] | static_cast<u64>(bytes[length / 2]) << 8 | static_cast<u64>(bytes[length - 1]) << 16, 0};
}

u64 HashFewCase(const u8 *bytes, u32 length)
{
    const SHashWords words = WordsOfFew(bytes, length);
    return FinishHash(Internal::Simd::LowerCaseBytes(words.m_First), Internal::Simd::LowerCaseBytes(words.m_Second),
                      kHashConstants[3], length);
}

u64 MixWords(const SHashWords &words, u64 constant)
{
    return MultiplyAndFold(words.m_First ^ constant, words.m_Second ^ kHashConstants[3]);
}

// More than 16 bytes, up to a stride: the first and the last 16, and those beside them where there are more than 32.
u64 HashBlocksCase(const u8 *bytes, u32 length)
{
    const auto wordsAt = [bytes](u32 at) QV_SIMD_INLINE { return Narrow::HashWordsCase<SBlock>(bytes + at); };
    u64 before = MixWords(wordsAt(0), kHashConstants[2]);
    if (length > 2 * SBlock::kBytes)
        before ^= MixWords(wordsAt(SBlock::kBytes), kHashConstants[4]) ^
                  MixWords(wordsAt(length - 2 * SBlock::kBytes), kHashConstants[6]);
    const SHashWords last = wordsAt(length - SBlock::kBytes);
    return FinishHash(last.m_First, last.m_Second, before, length);
}

} // namespace

u64 SNativeStringUtils::HashCase(const char *data, u32 length) noexcept QV_NONBLOCKING
{
    const u8 *const bytes = ToBytes(data);
    if (length <= SBlock::kBytes)
        return HashFewCase(bytes, length);
    if (length <= kHashStride)
        return HashBlocksCase(bytes, length);
    return QV_SIMD_CALL(true, HashStridesCase(bytes, length));
}

} // namespace Quorvane
