// No guid is less than 0, and the compiler's message names what to ask instead.
//
// EXPECT: _AskValidInstead
#include "kr_string.h"

using namespace Quorvane;

bool IsMissing(const CStringView &view)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return !view.FindFirstOf('x').Valid();
#else
    return 0 > view.FindFirstOf('x');
#endif
}
