// An array is not copied by accident: the copy may fail, which a constructor cannot say. CopyFrom can.
//
// EXPECT: (deleted|implicitly-deleted)
#include <utility>

#include "kr_containers_array.h"

using namespace Quorvane;

TArray<int> Use(TArray<int> &array)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    TArray<int> other(std::move(array));
#else
    TArray<int> other(array);
#endif
    return other;
}
