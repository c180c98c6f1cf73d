// A reference to a character of a temporary string dangles as soon as the expression ends.
// ONLY: clang
// FLAGS: -Werror=dangling
// EXPECT: temporary bound to local reference .first. will be destroyed
#include "kr_string.h"

using namespace Quorvane;

char FirstOf(const char *text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CString string(text);
    const char &first = string.First();
#else
    const char &first = CString(text).First();
#endif
    return first;
}
