// An array is not copied by assignment either.
//
// EXPECT: (deleted|implicitly-deleted)
#include <utility>

#include "kr_containers_array.h"

using namespace Quorvane;

void Use(TArray<int> &array, TArray<int> &other)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    array = std::move(other);
#else
    array = other;
#endif
}
