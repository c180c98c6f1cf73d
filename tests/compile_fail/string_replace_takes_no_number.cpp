// A number is no replacement; it has to be formatted first.
// EXPECT: no matching (member )?function for call
#include "kr_string.h"

using namespace Quorvane;

CString Filled(const CString &pattern, int number)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return pattern.Replace("%", CString::Format("%d", number));
#else
    return pattern.Replace("%", number);
#endif
}
