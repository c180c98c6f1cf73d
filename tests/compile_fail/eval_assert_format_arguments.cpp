// The arguments of a formatted report must fit its format.
//
// FLAGS: -Wformat -Werror=format
// EXPECT: -W(error=)?format
#include "kr_assert.h"

int Use(int count)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return Quorvane::Assert::EvalAssertFormat("file", "function", 1, "e", "e", "%d", count);
#else
    return Quorvane::Assert::EvalAssertFormat("file", "function", 1, "e", "e", "%s", count);
#endif
}
