// The answer about a text is a condition; the number is in the other argument.
// EXPECT: cannot convert
// EXPECT: no viable conversion
#include "kr_string_numbers.h"

using namespace Quorvane;

int NumberOf(const CStringView &text)
{
    int number = 0;
#if defined(QV_COMPILE_FAIL_CONTROL)
    return ParseNumber(text, number) ? number : 0;
#else
    return ParseNumber(text, number);
#endif
}
