// A view of a temporary string dangles as soon as the expression ends. g++ 12 has no attribute to say so
// with, and none of its warnings sees it.
// ONLY: clang
// FLAGS: -Werror=dangling
// EXPECT: temporary whose address is used as value of local variable .view. will be destroyed
#include "kr_string.h"

using namespace Quorvane;

char FirstOf(const char *text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CString string(text);
    const CStringView view = string;
#else
    const CStringView view = CString(text);
#endif
    return view[0];
}
