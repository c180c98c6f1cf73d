// A constant array does not convert to a view for writing.
//
// EXPECT: no matching|could not convert|no viable conversion|conversion from|cannot convert
#include "kr_containers_array.h"

using namespace Quorvane;

#if defined(QV_COMPILE_FAIL_CONTROL)
TMemoryView<int> Use(TArray<int> &array)
#else
TMemoryView<int> Use(const TArray<int> &array)
#endif
{
    return array;
}
