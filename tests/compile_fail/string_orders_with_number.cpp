// A string orders with texts: a number is not turned into one.
// EXPECT: no match for .operator<.
// EXPECT: invalid conversion from .int. to .const char
// EXPECT: invalid operands to binary expression
#include "kr_string.h"

using namespace Quorvane;

bool IsBefore(const CString &string, int number)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return string < CString::Format("%d", number);
#else
    return string < number;
#endif
}
