// Substring search in counted text, and comparison of counted text without case.
#include "kr_buffer.h"

#include <cstring>

#include "buffer_find_port.h"
#include "buffer_search.h"
#include "buffer_text.h"
#include "buffer_wide.h"

namespace Quorvane
{

namespace
{

using Internal::SBlock;
using Internal::SPairFound;

const u8 *Bytes(const char *data)
{
    return reinterpret_cast<const u8 *>(data);
}

SPairFound FindPair(const char *data, u32 length, const char *needle, u32 needleLength)
{
    if (Internal::WideIsWorthwhile(length))
        return Internal::Wide::FindPair(Bytes(data), length, Bytes(needle), needleLength);
    using CSearch = Internal::TPairSearch<SBlock, Internal::SExactBytes>;
    return CSearch(Bytes(data), length, Bytes(needle), needleLength).Find();
}

SPairFound FindPairCase(const char *data, u32 length, const char *needle, u32 needleLength)
{
    if (Internal::WideIsWorthwhile(length))
        return Internal::Wide::FindPairCase(Bytes(data), length, Bytes(needle), needleLength);
    using CSearch = Internal::TPairSearch<SBlock, Internal::SLowerCaseBytes>;
    return CSearch(Bytes(data), length, Bytes(needle), needleLength).Find();
}

// The search whose cost is linear for every text. Preparing it reads the whole needle.
const char *FindCaseInAnyText(const char *data, u32 length, const char *needle, u32 needleLength)
{
    Internal::SComparisonsUncounted comparisons;
    const Internal::TCaseIgnoringSearch<Internal::SComparisonsUncounted> search(needle, needleLength, comparisons);
    return search.FindIn(data, length);
}

} // namespace

bool SNativeStringUtils::EqualCase(const char *data0, const char *data1, u32 length)
{
    if (Internal::WideIsWorthwhile(length))
        return Internal::Wide::FirstDifferenceCase(Bytes(data0), Bytes(data1), length) == length;
    using CBytes = Internal::SLowerCaseBytes;
    return Internal::FirstDifferenceInCounted<SBlock, CBytes>(Bytes(data0), Bytes(data1), length) == length;
}

const char *SNativeStringUtils::Find(const char *data, u32 length, const char *needle, u32 needleLength)
{
    if (needleLength == 0)
        return data;
    if (needleLength > length)
        return nullptr;
    if (needleLength == 1)
        return static_cast<const char *>(std::memchr(data, *needle, length));
    const SPairFound found = FindPair(data, length, needle, needleLength);
    if (found.m_Outcome == Internal::PairFound_GaveUp)
        return Internal::PortFind(data + found.m_Place, length - found.m_Place, needle, needleLength);
    return found.m_Outcome == Internal::PairFound_Here ? data + found.m_Place : nullptr;
}

const char *SNativeStringUtils::FindCase(const char *data, u32 length, const char *needle, u32 needleLength)
{
    if (needleLength == 0)
        return data;
    if (needleLength > length)
        return nullptr;
    const SPairFound found = FindPairCase(data, length, needle, needleLength);
    if (found.m_Outcome == Internal::PairFound_GaveUp)
        return FindCaseInAnyText(data + found.m_Place, length - found.m_Place, needle, needleLength);
    return found.m_Outcome == Internal::PairFound_Here ? data + found.m_Place : nullptr;
}

const char *SNativeStringUtils::FindLast(const char *data, u32 length, char character)
{
    return length != 0 ? Internal::PortFindLast(data, length, character) : nullptr;
}

} // namespace Quorvane
