// Replacing gives a new string: the one at hand stays as it is.
//
// FLAGS: -Werror=unused-result
// EXPECT: ignoring return value of .*nodiscard
#include "kr_string.h"

using namespace Quorvane;

void Tidy(CString &string)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    string = string.Replace("old", "new");
#else
    string.Replace("old", "new");
#endif
}
