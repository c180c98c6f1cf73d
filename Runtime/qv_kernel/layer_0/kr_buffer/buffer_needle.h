// Private header: which three characters of a needle a search looks for.
#pragma once

#include "qv_defs.h"

#include "buffer_kernels.h"
#include "buffer_text.h"

namespace Quorvane::Internal::Buffer
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

QV_INTERNAL_HIDDEN inline constexpr SCommonness kCommonness = RankCharacters();

// Where a text is this long, it pays to look at the needle first.
constexpr u32 kLongText = 512;
// As many characters of the needle are examined: a rarer one further behind is not worth the time.
constexpr u32 kMaxExamined = 64;

// The first of the needle's rarest characters but two; the last character where there is no other.
inline u32 RarestBut(const u8 *needle, u32 needleLength, int except, int exceptToo)
{
    u32 rarest = needleLength - 1;
    u32 rank = sizeof(kCommonness.m_Ranks);
    for (u32 i = 0; i < QVMin(needleLength, kMaxExamined); ++i)
    {
        if (needle[i] != except && needle[i] != exceptToo && kCommonness.m_Ranks[needle[i]] < rank)
        {
            rarest = i;
            rank = kCommonness.m_Ranks[needle[i]];
        }
    }
    return rarest;
}

// What to look for: in a long text the three characters of the needle that it is likely to have least of, in a short one,
// where choosing takes longer than it saves, the first, the last and one between.
inline SNeedle NeedleFor(u32 length, const char *needle, u32 needleLength)
{
    const u8 *const bytes = ToBytes(needle);
    if (length < kLongText)
        return {bytes, needleLength, 0, needleLength - 1, needleLength / 2};
    const u32 first = RarestBut(bytes, needleLength, -1, -1);
    const u32 second = RarestBut(bytes, needleLength, bytes[first], -1);
    return {bytes, needleLength, first, second, RarestBut(bytes, needleLength, bytes[first], bytes[second])};
}

} // namespace Quorvane::Internal::Buffer
