// Every guid is 0 or more, INVALID among them: whether something was found is asked by name.
//
// EXPECT: ambiguous
#include "kr_string.h"

using namespace Quorvane;

bool Holds(const CString &string)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return string.FindFirstOf('x').Valid();
#else
    return string.FindFirstOf('x') >= 0;
#endif
}
