// Pieces are views: of a text that is made for the call they would outlive it.
//
// EXPECT: no matching function
#include <string>

#include "kr_string.h"

using namespace Quorvane;

u32 CountFields(const std::string &line)
{
    u32 count = 0;
#if defined(QV_COMPILE_FAIL_CONTROL)
    for (const CStringView &field : Pieces(line.c_str(), ','))
#else
    for (const CStringView &field : Pieces(line + ",", ','))
#endif
        count += field.Empty() ? 0 : 1;
    return count;
}
