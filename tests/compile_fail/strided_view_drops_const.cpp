// A strided view of constants does not become one for writing.
//
// EXPECT: no matching|could not convert|no viable conversion|conversion from
#include "kr_memoryviews.h"

using namespace Quorvane;

#if defined(QV_COMPILE_FAIL_CONTROL)
TStridedMemoryView<const int> Use(const TStridedMemoryView<int> &view)
#else
TStridedMemoryView<int> Use(const TStridedMemoryView<const int> &view)
#endif
{
    return view;
}
