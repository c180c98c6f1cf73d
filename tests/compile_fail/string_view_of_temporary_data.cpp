// A view of a temporary string's characters dangles as soon as the expression ends, in whichever way it is made of them.
// ONLY: clang
// FLAGS: -Werror=dangling
// EXPECT: temporary whose address is used as value of local variable .view. will be destroyed
#include "kr_string.h"

using namespace Quorvane;

char FirstOf(const char *text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CString string(text);
    const CStringView view(string.Data(), 1);
#else
    const CStringView view(CString(text).Data(), 1);
#endif
    return view[0];
}
