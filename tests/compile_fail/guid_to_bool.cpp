// A guid is not converted to bool, neither silently nor on demand.
//
// EXPECT: deleted
#include "qv_guid.h"

using namespace Quorvane;

bool Use(const CGuid &guid)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return guid != CGuid::INVALID;
#else
    return static_cast<bool>(guid);
#endif
}
