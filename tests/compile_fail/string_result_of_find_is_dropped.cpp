// A search does nothing but answer.
//
// FLAGS: -Werror=unused-result
// EXPECT: ignoring return value of .*nodiscard
#include "kr_string.h"

using namespace Quorvane;

void Search(const CString &string)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    static_cast<void>(string.FindFirstOf('x'));
#else
    string.FindFirstOf('x');
#endif
}
