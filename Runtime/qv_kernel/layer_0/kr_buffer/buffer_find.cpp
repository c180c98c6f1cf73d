// Substring search in counted text, and comparison of counted text without case.
#include "kr_buffer.h"

#include "buffer_find_port.h"
#include "buffer_search.h"
#include "buffer_text.h"

namespace Quorvane
{

bool SNativeStringUtils::EqualCase(const char *data0, const char *data1, u32 length)
{
    for (u32 i = 0; i < length; ++i)
        if (Internal::LowerCaseOf(data0[i]) != Internal::LowerCaseOf(data1[i]))
            return false;
    return true;
}

const char *SNativeStringUtils::Find(const char *data, u32 length, const char *needle, u32 needleLength)
{
    if (needleLength == 0)
        return data;
    return needleLength <= length ? Internal::PortFind(data, length, needle, needleLength) : nullptr;
}

const char *SNativeStringUtils::FindCase(const char *data, u32 length, const char *needle, u32 needleLength)
{
    if (needleLength == 0)
        return data;
    // Preparing the search would read the whole needle.
    if (needleLength > length)
        return nullptr;
    Internal::SComparisonsUncounted comparisons;
    const Internal::TCaseIgnoringSearch<Internal::SComparisonsUncounted> search(needle, needleLength, comparisons);
    return search.FindIn(data, length);
}

const char *SNativeStringUtils::FindLast(const char *data, u32 length, char character)
{
    return length != 0 ? Internal::PortFindLast(data, length, character) : nullptr;
}

} // namespace Quorvane
