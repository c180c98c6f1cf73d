// Substring search in counted text.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_find.h"
#include "buffer_find_port.h"
#include "buffer_kernels.h"
#include "buffer_text.h"
#include "two_way_search.h"

namespace Quorvane
{

using namespace Internal::Buffer;

namespace
{

// How common each character is in texts, paths and programs: 0 for the rarest, and for those that no such text has.
struct SCommonness
{
    u8 m_Ranks[256];
};

constexpr SCommonness RankCharacters()
{
    constexpr char kRarestFirst[] = "QZXJKVzqYWUjHGBxFDMOLkPNRIAECST5637849,()201*:-\"'w=/._;vybgpfmucdlhrsniaote ";
    SCommonness commonness = {};
    for (u32 i = 0; i + 1 < sizeof(kRarestFirst); ++i)
        commonness.m_Ranks[static_cast<u8>(kRarestFirst[i])] = static_cast<u8>(i + 1);
    return commonness;
}

constexpr SCommonness kCommonness = RankCharacters();

// Where a text is this long, it pays to look at the needle first.
constexpr u32 kLongText = 512;
// As many characters of the needle are examined: a rarer one further behind is not worth the time.
constexpr u32 kMaxExamined = 64;

// The first of the needle's rarest characters but `except`; the last character where there is no other.
u32 RarestBut(const u8 *needle, u32 needleLength, int except)
{
    u32 rarest = needleLength - 1;
    u32 rank = sizeof(kCommonness.m_Ranks);
    for (u32 i = 0; i < QVMin(needleLength, kMaxExamined); ++i)
    {
        if (needle[i] != except && kCommonness.m_Ranks[needle[i]] < rank)
        {
            rarest = i;
            rank = kCommonness.m_Ranks[needle[i]];
        }
    }
    return rarest;
}

// What to look for: in a long text the two characters of the needle that it is likely to have least of, in a short one,
// where choosing takes longer than it saves, the first and the last.
SNeedle NeedleFor(u32 length, const char *needle, u32 needleLength)
{
    const u8 *const bytes = ToBytes(needle);
    if (length < kLongText)
        return {bytes, needleLength, 0, needleLength - 1};
    const u32 first = RarestBut(bytes, needleLength, -1);
    return {bytes, needleLength, first, RarestBut(bytes, needleLength, bytes[first])};
}

// What was found, when a search that gave up is finished by the two-way search, whose cost is linear in every text.
template <typename TCase>
const char *Finish(const SPairFound &found, const char *data, std::size_t length, const char *needle,
                   std::size_t needleLength)
{
    if (found.m_Outcome == PairFound_GaveUp)
        return FindTwoWay<TCase>(data + found.m_Place, length - found.m_Place, needle, needleLength);
    return found.m_Outcome == PairFound_Here ? data + found.m_Place : nullptr;
}

} // namespace

const char *SNativeStringUtils::Find(const char *data, u32 length, const char *needle, u32 needleLength) noexcept
{
    if (needleLength == 0)
        return data;
    if (needleLength > length)
        return nullptr;
    if (needleLength == 1)
        return static_cast<const char *>(std::memchr(data, *needle, length));
    const SNeedle rareFirst = NeedleFor(length, needle, needleLength);
    const SPairFound found = QV_SIMD_CALL(length >= kMinWideLength, FindPair(ToBytes(data), length, rareFirst));
    return Finish<SCaseMatters>(found, data, length, needle, needleLength);
}

const char *SNativeStringUtils::FindCase(const char *data, u32 length, const char *needle, u32 needleLength) noexcept
{
    if (needleLength == 0)
        return data;
    if (needleLength > length)
        return nullptr;
    const SNeedle rareFirst = NeedleFor(length, needle, needleLength);
    const SPairFound found = QV_SIMD_CALL(length >= kMinWideLength, FindPairCase(ToBytes(data), length, rareFirst));
    return Finish<SCaseIgnored>(found, data, length, needle, needleLength);
}

const char *SNativeStringUtils::FindLast(const char *data, u32 length, char character) noexcept
{
    if (length == 0)
        return nullptr;
    if (length < kMinWideLength || !Internal::Simd::HasWideInstructions())
        return PortFindLast(data, length, character);
    const u32 last = Wide::LastOfByte(ToBytes(data), length, static_cast<u8>(character));
    return last != length ? data + last : nullptr;
}

namespace Internal::Buffer
{

const char *FindInTerminated(const char *text, u32 length, const char *needle)
{
    // So short a text bounds what the platform's search may cost, and that needs no preparation: to search 64
    // characters took 8.5 ns instead of 16.9.
    if (length < kLongText)
        return std::strstr(text, needle);
    const std::size_t needleLength = std::strlen(needle);
    if (needleLength <= 1)
        return needleLength == 0 ? text : std::strchr(text, *needle);
    if (needleLength > length)
        return nullptr;
    const SNeedle rareFirst = NeedleFor(length, needle, static_cast<u32>(needleLength));
    const SPairFound found =
        QV_SIMD_CALL(length >= kMinWideLength, FindPairTerminated(ToBytes(text), length, rareFirst));
    // No terminator stands before the place of giving up.
    if (found.m_Outcome == PairFound_GaveUp)
        return FindTwoWay<SCaseMatters>(text + found.m_Place, std::strlen(text + found.m_Place), needle, needleLength);
    return found.m_Outcome == PairFound_Here ? text + found.m_Place : nullptr;
}

} // namespace Internal::Buffer

} // namespace Quorvane
