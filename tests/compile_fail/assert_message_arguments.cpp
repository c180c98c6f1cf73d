// The arguments of an assertion's message must fit its format.
//
// FLAGS: -Wformat -Werror=format
// EXPECT: -W(error=)?format
#include "kr_assert.h"

void Use(int count)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    QV_ASSERT_MESSAGE(count != 0, "%d", count);
#else
    QV_ASSERT_MESSAGE(count != 0, "%s", count);
#endif
}
