// Elements of an array are constructed and moved in place, so they cannot be constants.
//
// EXPECT: elements are plain objects
#include "kr_containers_array.h"

using namespace Quorvane;

#if defined(QV_COMPILE_FAIL_CONTROL)
TArray<int> g_Array;
#else
TArray<const int> g_Array;
#endif
