// A slice of a temporary string dangles as soon as the expression ends.
// ONLY: clang
// FLAGS: -Werror=dangling
// EXPECT: temporary whose address is used as value of local variable .slice. will be destroyed
#include "kr_string.h"

using namespace Quorvane;

char SecondOf(const char *text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CString string(text);
    const CStringView slice = string.Slice(1);
    // Used up within the expression.
    if (CString(text).Slice(1, 1).Empty())
        return '\0';
#else
    const CStringView slice = CString(text).Slice(1);
#endif
    return slice[0];
}
