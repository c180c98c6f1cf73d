// A string is not an argument of printf: its characters are.
// FLAGS: -Werror=format
// EXPECT: cannot pass non-trivial object of type
// EXPECT: cannot pass object of non-trivial
// EXPECT: expects argument of type .char\*., but argument 2 has type
#include "kr_string.h"

using namespace Quorvane;

CString Quoted(const CString &text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return CString::Format("\"%s\"", text.Data());
#else
    return CString::Format("\"%s\"", text);
#endif
}
