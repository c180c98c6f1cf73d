// Arguments of Format are checked against the format.
// FLAGS: -Werror=format
// EXPECT: format .*%d.* expects argument of type .int., but argument 2 has type
// EXPECT: format specifies type .int. but the argument has type
#include "kr_string.h"

using namespace Quorvane;

CString CountOf(const char *name)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return CString::Format("%s: %d", name, 1);
#else
    return CString::Format("%d: %d", name, 1);
#endif
}
