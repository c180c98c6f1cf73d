// A view of constants does not become one for writing.
//
// EXPECT: no matching|could not convert|no viable conversion|conversion from
#include "kr_memoryviews.h"

using namespace Quorvane;

#if defined(QV_COMPILE_FAIL_CONTROL)
TMemoryView<const int> Use(const TMemoryView<int> &view)
#else
TMemoryView<int> Use(const TMemoryView<const int> &view)
#endif
{
    return view;
}
