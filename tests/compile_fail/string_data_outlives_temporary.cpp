// A pointer to the characters of a temporary string dangles as soon as the expression ends.
// ONLY: clang
// FLAGS: -Werror=dangling
// EXPECT: temporary whose address is used as value of local variable .data. will be destroyed
#include "kr_string.h"

using namespace Quorvane;

char FirstOf(const char *text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CString string(text);
    const char *data = string.Data();
    // Used up within the expression.
    if (CString(text).Data() == nullptr || CStringView(CString(text)).Empty())
        return '\0';
#else
    const char *data = CString(text).Data();
#endif
    return data[0];
}
