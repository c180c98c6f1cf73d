// A guid is no condition: index 0 would read as "not found".
//
// EXPECT: deleted
#include "qv_guid.h"

using namespace Quorvane;

int Use(const CGuid &guid)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    if (guid.Valid())
#else
    if (guid)
#endif
        return 1;
    return 0;
}
