// The text that a temporary string hands out dangles as soon as the expression ends.
// ONLY: clang
// FLAGS: -Werror=dangling
// EXPECT: temporary whose address is used as value of local variable .text. will be destroyed
#include "kr_string.h"

using namespace Quorvane;

char FirstOf(const char *source)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CString string(source);
    const char *text = string.CStr();
    // Used up within the expression.
    if (CString(source).CStr()[0] == '\0')
        return '\0';
    // A temporary that is walked lives as long as the loop.
    for (const char character : CString(source))
        if (character != '\0')
            return character;
#else
    const char *text = CString(source).CStr();
#endif
    return text[0];
}
