// A search does nothing but answer.
//
// FLAGS: -Werror=unused-result
// EXPECT: ignoring return value of .*nodiscard
#include "kr_string.h"

using namespace Quorvane;

void Search(const CStringView &view)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    static_cast<void>(view.FindText("x"));
#else
    view.FindText("x");
#endif
}
