// Either two characters or two texts: a character is not a text of one.
// EXPECT: no matching (member )?function for call
#include "kr_string.h"

using namespace Quorvane;

CString Dashed(const CString &string)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return string.Replace("_", "-").Replace('_', '-');
#else
    return string.Replace("_", '-');
#endif
}
