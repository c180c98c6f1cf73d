// Substring search in counted text.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_find.h"
#include "buffer_find_port.h"
#include "buffer_kernels.h"
#include "buffer_needle.h"
#include "buffer_text.h"
#include "two_way_search.h"

namespace Quorvane
{

using namespace Internal::Buffer;

namespace
{

// What was found, when a search that gave up is finished by the two-way search, whose cost is linear in every text.
template <typename TCase>
const char *Finish(const SNeedleFound &found, const char *data, std::size_t length, const char *needle,
                   std::size_t needleLength)
{
    if (found.m_Outcome == NeedleFound_GaveUp)
        return FindTwoWay<TCase>(data + found.m_Place, length - found.m_Place, needle, needleLength);
    return found.m_Outcome == NeedleFound_Here ? data + found.m_Place : nullptr;
}

} // namespace

const char *SNativeStringUtils::Find(const char *data, u32 length, const char *needle,
                                     u32 needleLength) noexcept QV_NONBLOCKING
{
    if (needleLength == 0)
        return data;
    if (needleLength > length)
        return nullptr;
    if (needleLength == 1)
        return static_cast<const char *>(__builtin_memchr(data, *needle, length));
    const SNeedle rareFirst = NeedleFor(length, needle, needleLength);
    const SNeedleFound found = QV_SIMD_CALL_WIDEST(length >= kMinWidestLength, length >= kMinWideLength,
                                                   FindNeedle(ToBytes(data), length, rareFirst));
    return Finish<SCaseMatters>(found, data, length, needle, needleLength);
}

const char *SNativeStringUtils::FindCase(const char *data, u32 length, const char *needle,
                                         u32 needleLength) noexcept QV_NONBLOCKING
{
    if (needleLength == 0)
        return data;
    if (needleLength > length)
        return nullptr;
    const SNeedle rareFirst = NeedleFor(length, needle, needleLength);
    const SNeedleFound found = QV_SIMD_CALL(length >= kMinWideLength, FindNeedleCase(ToBytes(data), length, rareFirst));
    return Finish<SCaseIgnored>(found, data, length, needle, needleLength);
}

const char *SNativeStringUtils::FindLast(const char *data, u32 length, char character) noexcept QV_NONBLOCKING
{
    const u32 last = LastIndexOf(data, length, character);
    return last != kNoIndex ? data + last : nullptr;
}

namespace Internal::Buffer
{

u32 LastIndexOf(const char *text, u32 length, char character) noexcept QV_NONBLOCKING
{
    if (length == 0)
        return kNoIndex;
    if (Simd::HasWidestInstructions())
        return Widest::LastOfByte(ToBytes(text), length, static_cast<u8>(character));
    if (length >= kMinWideLength && Simd::HasWideInstructions())
        return Wide::LastOfByte(ToBytes(text), length, static_cast<u8>(character));
    const char *const last = PortFindLast(text, length, character);
    return last != nullptr ? static_cast<u32>(last - text) : kNoIndex;
}

const char *FindInTerminated(const char *text, u32 length, const char *needle) noexcept QV_NONBLOCKING
{
    // So short a text bounds what the platform's search may cost, and that needs no preparation, which
    // takes longer than the search itself.
    if (length < kLongText)
        return __builtin_strstr(text, needle);
    const std::size_t needleLength = std::strlen(needle);
    if (needleLength <= 1)
        return needleLength == 0 ? text : __builtin_strchr(text, *needle);
    if (needleLength > length)
        return nullptr;
    const SNeedle rareFirst = NeedleFor(length, needle, static_cast<u32>(needleLength));
    const SNeedleFound found = QV_SIMD_CALL_WIDEST(length >= kMinWidestLength, length >= kMinWideLength,
                                                   FindNeedleTerminated(ToBytes(text), length, rareFirst));
    // No terminator stands before the place of giving up.
    if (found.m_Outcome == NeedleFound_GaveUp)
        return FindTwoWay<SCaseMatters>(text + found.m_Place, std::strlen(text + found.m_Place), needle, needleLength);
    return found.m_Outcome == NeedleFound_Here ? text + found.m_Place : nullptr;
}

} // namespace Internal::Buffer

} // namespace Quorvane
