// A literal is no view: its terminator would count.
//
// EXPECT: no matching|could not convert|no viable conversion|conversion from
#include "kr_memoryviews.h"

using namespace Quorvane;

TMemoryView<const char> Use()
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return TMemoryView<const char>("text", 4);
#else
    return "text";
#endif
}
