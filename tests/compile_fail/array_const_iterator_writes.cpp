// Elements of a constant array are read-only through its iterators.
//
// EXPECT: read-only|cannot assign
#include "kr_containers_array.h"

using namespace Quorvane;

#if defined(QV_COMPILE_FAIL_CONTROL)
void Use(TArray<int> &array)
#else
void Use(const TArray<int> &array)
#endif
{
    *array.Begin() = 1;
}
