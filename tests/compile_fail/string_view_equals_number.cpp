// A view compares with texts: a number is not turned into one.
// EXPECT: no match for .operator==.
// EXPECT: invalid conversion from .int. to .const char
// EXPECT: invalid operands to binary expression
// EXPECT: comparison between pointer and integer
#include "kr_string.h"

using namespace Quorvane;

bool IsOne(const CStringView &view, int one)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return view == CString::Format("%d", one);
#else
    return view == one;
#endif
}
