// The search for the last occurrence in counted text. A file of its own: together with the searches forwards it would be
// more than the compiler makes one function of each of.
#include "buffer_find.h"

#include "buffer_kernels.h"
#include "buffer_needle.h"
#include "buffer_text.h"
#include "two_way_search.h"

namespace Quorvane::Internal::Buffer
{

namespace
{

// What was found, when a search backwards that gave up is finished by the two-way search: in the text that ends with the
// needle, were it at the place of giving up.
template <typename TCase>
const char *FinishBackwards(const SNeedleFound &found, const char *data, const char *needle, std::size_t needleLength)
{
    if (found.m_Outcome == NeedleFound_GaveUp)
        return FindLastTwoWay<TCase>(data, found.m_Place + needleLength, needle, needleLength);
    return found.m_Outcome == NeedleFound_Here ? data + found.m_Place : nullptr;
}

} // namespace

const char *FindLastInCounted(const char *text, u32 length, const char *needle,
                              u32 needleLength) noexcept QV_NONBLOCKING
{
    if (needleLength > length)
        return nullptr;
    if (needleLength == 1)
        return SNativeStringUtils::FindLast(text, length, *needle);
    const SNeedle rareFirst = NeedleFor(length, needle, needleLength);
    const SNeedleFound found = QV_SIMD_CALL_WIDEST(length >= kMinWidestLength, length >= kMinWideLength,
                                                   FindLastNeedle(ToBytes(text), length, rareFirst));
    return FinishBackwards<SCaseMatters>(found, text, needle, needleLength);
}

const char *FindLastInCountedCase(const char *text, u32 length, const char *needle,
                                  u32 needleLength) noexcept QV_NONBLOCKING
{
    if (needleLength > length)
        return nullptr;
    const SNeedle rareFirst = NeedleFor(length, needle, needleLength);
    const SNeedleFound found =
        QV_SIMD_CALL(length >= kMinWideLength, FindLastNeedleCase(ToBytes(text), length, rareFirst));
    return FinishBackwards<SCaseIgnored>(found, text, needle, needleLength);
}

} // namespace Quorvane::Internal::Buffer
