// A character is no number to be read into: who wants one of 8 bits says s8 or u8.
// EXPECT: no matching function for call to .*ParseNumber
#include "kr_string_numbers.h"

using namespace Quorvane;

bool IsSmall(const CStringView &text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    s8 number = 0;
#else
    char number = 0;
#endif
    return static_cast<bool>(ParseNumber(text, number));
}
