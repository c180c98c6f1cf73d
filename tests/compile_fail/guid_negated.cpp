// "Not found" is not asked with an exclamation mark: it would be true for index 0.
//
// EXPECT: deleted
#include "qv_guid.h"

using namespace Quorvane;

bool Use(const CGuid &guid)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return !guid.Valid();
#else
    return !guid;
#endif
}
