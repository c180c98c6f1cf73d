// The characters of a temporary string dangle as soon as the expression ends.
// ONLY: clang
// FLAGS: -Werror=dangling
// EXPECT: temporary whose address is used as value of local variable .at. will be destroyed
#include "kr_string.h"

using namespace Quorvane;

char FirstOf(const char *text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CString string(text);
    const char *at = string.begin();
#else
    const char *at = CString(text).begin();
#endif
    return *at;
}
